"""teskpf.watch with real files: accepted change sets, a broken edit rejected
while the last good document stays current, the fix accepted, the callback
form, polling, and a wait that Ctrl-C ends. Every wait is bounded: a timer
stops the watch when no event comes in time."""

import queue
import subprocess
import sys
import textwrap
import threading

import pytest

import teskpf

DEADLINE = 5  # seconds; a passing case takes a fraction of one


@pytest.fixture
def layers(tmp_path, monkeypatch):
    (tmp_path / "base").mkdir()
    (tmp_path / "site").mkdir()
    (tmp_path / "base" / "station.pf").write_text("status\tactive\t#<str>(active maintenance)\nport\t18000\t#<int>\n")
    (tmp_path / "site" / "station.pf").write_text("port\t18001\n")
    monkeypatch.setenv("PFPATH", f"{tmp_path / 'base'}:{tmp_path / 'site'}")
    return tmp_path


def next_event(watch):
    """The watch's next event, failing the test after DEADLINE seconds."""
    timer = threading.Timer(DEADLINE, watch.stop)
    timer.start()
    try:
        return next(watch)
    except StopIteration:
        pytest.fail(f"no event within {DEADLINE} s")
    finally:
        timer.cancel()


@pytest.mark.parametrize("poll", [None, 0.02], ids=["notifications", "polling"])
def test_changes_accepted_broken_edit_rejected_then_fixed(layers, poll):
    site = layers / "site" / "station.pf"
    with teskpf.watch("station", settle=0.02, poll=poll) as watch:
        assert watch.polling == (poll is not None)
        assert watch.initial.accepted and watch.current["port"] == "18001"

        site.write_text("port\t18002\nstatus\tmaintenance\n")
        event = next_event(watch)
        assert (event.event, event.accepted) == ("changed", True)
        assert event.files == [str(layers / "base" / "station.pf"), str(site)]
        assert [(c.key, c.change, c.old, c.new, c.file, c.line) for c in event.changes] == [
            ('["port"]', "changed", "18001", "18002", str(site), 1),
            ('["status"]', "changed", "active", "maintenance", str(site), 2),
        ]
        assert watch.current["port"] == "18002"

        site.write_text("port\teighteen\n")
        event = next_event(watch)
        assert (event.event, event.accepted, event.changes) == ("rejected", False, [])
        assert [(d.file, d.line, d.rule) for d in event.diagnostics] == [(str(site), 1, "value-mismatch")]
        assert watch.current["port"] == "18002"  # the last good document stays

        site.write_text("port\t18003\n")
        event = next_event(watch)
        assert event.accepted
        assert [(c.key, c.change, c.new) for c in event.changes] == [
            ('["port"]', "changed", "18003"), ('["status"]', "changed", "active")]


def test_callback_runs_on_the_watch_thread_until_stopped(layers):
    events = queue.Queue()
    watch = teskpf.watch(layers / "site" / "station.pf", lambda event: events.put(
        (event, threading.current_thread().name)), settle=0.02)
    try:
        (layers / "site" / "station.pf").write_text("port\t9\nextra\tyes\n")
        event, thread = events.get(timeout=DEADLINE)
        assert thread.startswith("teskpf.watch(")
        assert [(c.key, c.change) for c in event.changes] == [('["port"]', "changed"), ('["extra"]', "added")]
    finally:
        watch.stop()
    assert not watch._thread.is_alive()
    assert list(watch) == []  # a stopped watch delivers nothing more


def test_a_failing_callback_is_reported_and_the_watch_goes_on(layers, monkeypatch):
    reported = queue.Queue()
    monkeypatch.setattr(threading, "excepthook", lambda args: reported.put(args.exc_type))
    events = queue.Queue()

    def callback(event):
        events.put(event)
        if events.qsize() == 1:
            raise RuntimeError("the service could not apply it")

    site = layers / "site" / "station.pf"
    with teskpf.watch("station", callback, settle=0.02) as watch:
        site.write_text("port\t1\n")
        assert reported.get(timeout=DEADLINE) is RuntimeError
        events.get(timeout=DEADLINE)
        site.write_text("port\t2\n")
        assert events.get(timeout=DEADLINE).changes[0].new == "2"
        assert watch.current["port"] == "2"


def test_nothing_readable_is_rejected_with_an_error(tmp_path, monkeypatch):
    monkeypatch.setenv("PFPATH", str(tmp_path))
    with teskpf.watch("absent") as watch:
        assert watch.current is None
        assert not watch.initial.accepted and watch.initial.error
        (tmp_path / "absent.pf").write_text("a\t1\n")
        event = next_event(watch)
        assert event.accepted and watch.current["a"] == "1"


def test_bad_intervals_are_refused(layers):
    for settle, poll in [(-1, None), (0.1, 0), (0.1, -2)]:
        with pytest.raises(ValueError):
            teskpf.watch("station", settle=settle, poll=poll)


def test_ctrl_c_ends_a_wait(layers):
    # In a child with a time limit, so that a wait Ctrl-C cannot end fails
    # the test instead of stopping the run.
    code = textwrap.dedent("""
        import os, signal, threading, teskpf
        watch = teskpf.watch("station")
        threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
        try:
            next(watch)
        except KeyboardInterrupt:
            print("interrupted")
        """)
    child = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=30)
    assert (child.returncode, child.stdout) == (0, "interrupted\n"), child.stderr
