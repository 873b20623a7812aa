"""Waiting for a file's lock: other threads run meanwhile, a signal or a
timeout ends the wait. Every case runs in a child interpreter with a time
limit, so that a hang fails the test instead of stopping the run."""

import os
import signal
import subprocess
import sys
import textwrap
import time

import pytest

LIMIT = 30  # seconds; far beyond what a passing case takes


def _python(code: str, **kwargs) -> subprocess.Popen:
    return subprocess.Popen([sys.executable, "-c", textwrap.dedent(code)], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, **kwargs)


def _finish(child: subprocess.Popen) -> tuple[int, str, str]:
    try:
        out, err = child.communicate(timeout=LIMIT)
    except subprocess.TimeoutExpired:
        child.kill()
        child.communicate()
        pytest.fail(f"hung for {LIMIT} s")
    return child.returncode, out, err


def _holder(path) -> subprocess.Popen:
    """A process that holds the file's lock until its stdin closes."""
    child = subprocess.Popen([sys.executable, "-c", textwrap.dedent(f"""
        import fcntl, sys
        with open({str(path)!r}) as f:
            fcntl.flock(f, fcntl.LOCK_EX)
            print("held", flush=True)
            sys.stdin.read()
        """)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    assert child.stdout.readline() == "held\n"
    return child


def test_threads_editing_one_file_take_turns(tmp_path):
    path = tmp_path / "t.pf"
    path.write_text("a 0\n")
    code, out, err = _finish(_python(f"""
        import threading, time, teskpf
        def work():
            for i in range(100):
                with teskpf.edit({str(path)!r}) as ed:
                    ed.set("a", str(int(ed.text.split()[1]) + 1))
                    time.sleep(0.001)
        threads = [threading.Thread(target=work) for _ in range(2)]
        [t.start() for t in threads]
        [t.join() for t in threads]
        print("done")
        """))
    assert (code, out, err) == (0, "done\n", "")
    assert path.read_text() == "a 200\n"  # no update lost


def test_reading_threads_run_while_one_waits(tmp_path):
    path = tmp_path / "t.pf"
    path.write_text("a 0\n")
    holder = _holder(path)
    try:
        code, out, err = _finish(_python(f"""
            import threading, time, teskpf
            started = threading.Event()
            def wait():
                started.set()
                try:
                    teskpf.edit({str(path)!r}, timeout=3).__enter__()
                except teskpf.IoError:
                    pass
            waiting = threading.Thread(target=wait)
            waiting.start()
            started.wait()
            time.sleep(0.2)  # into the wait
            loads = sum(teskpf.load({str(path)!r})["a"] == "0" for _ in range(50))
            print(loads, waiting.is_alive())
            """))
    finally:
        holder.stdin.close()
        holder.wait(LIMIT)
    assert (code, out.split()) == (0, ["50", "True"]), err


def test_a_signal_ends_the_wait(tmp_path):
    path = tmp_path / "t.pf"
    path.write_text("a 0\n")
    holder = _holder(path)
    try:
        child = _python(f"""
            import sys, teskpf
            print("waiting", flush=True)
            try:
                with teskpf.edit({str(path)!r}):
                    pass
            except KeyboardInterrupt:
                print("interrupted", flush=True)
            """)
        assert child.stdout.readline() == "waiting\n"
        time.sleep(0.3)  # into the wait
        sent = time.monotonic()
        child.send_signal(signal.SIGINT)
        code, out, err = _finish(child)
        took = time.monotonic() - sent
    finally:
        holder.stdin.close()
        holder.wait(LIMIT)
    assert (code, out) == (0, "interrupted\n"), err
    assert took < 5, took  # the holder keeps the lock for good: only the signal ended the wait


@pytest.mark.parametrize("timeout", [0, 0.25])
def test_a_timeout_raises_ioerror_naming_the_file(tmp_path, timeout):
    import errno

    import teskpf

    path = tmp_path / "t.pf"
    path.write_text("a 0\n")
    holder = _holder(path)
    try:
        with pytest.raises(teskpf.IoError) as raised:
            with teskpf.edit(path, timeout=timeout):
                pass
    finally:
        holder.stdin.close()
        holder.wait(LIMIT)
    assert str(raised.value) == f"cannot lock '{path}': timed out after {timeout:g} s"
    assert (raised.value.file, raised.value.errno) == (str(path), errno.ETIMEDOUT)
    with teskpf.edit(path, timeout=0) as ed:  # free again: taken at once
        ed.set("a", "1")
    assert path.read_text() == "a 1\n"


@pytest.mark.parametrize("timeout", [-1, float("nan")])
def test_a_timeout_must_be_a_duration(tmp_path, timeout):
    import teskpf

    path = tmp_path / "t.pf"
    path.write_text("a 0\n")
    with pytest.raises(ValueError):
        with teskpf.edit(path, timeout=timeout):
            pass
