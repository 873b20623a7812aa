"""teskpf.edit: in-place edits, saved only on a clean exit, under the file's lock."""

import errno
import fcntl
import os

import pytest
import teskpf


def _locked(path) -> bool:
    """Whether another open file description would have to wait for the file's lock."""
    with open(path) as other:
        try:
            fcntl.flock(other, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            return True
        fcntl.flock(other, fcntl.LOCK_UN)
        return False


def test_edit_changes_only_the_value_and_saves(station):
    path = station / "site-override" / "station.pf"
    before = path.read_text()
    with teskpf.edit(path) as ed:
        ed.set(("telemetry", "port"), "18002")
        ed.set_comment("status", "swap done")
        ed.add(("telemetry", "timeout"), "5", "<int> seconds")
    after = path.read_text()
    assert after == before.replace("18001", "18002").replace("sensor swap in progress", "swap done").replace(
        "\tretry_seconds\t10 300\t#<int> <int>\n", "\tretry_seconds\t10 300\t#<int> <int>\n\ttimeout\t5\t#<int> seconds\n")
    cfg = teskpf.load("station")
    assert cfg["telemetry"]["port"] == "18002"
    assert cfg.entry(("telemetry", "timeout")).annotation == "<int>"


def test_an_exception_writes_nothing(station):
    path = station / "station.pf"
    before = path.read_bytes()
    with pytest.raises(RuntimeError):
        with teskpf.edit(path) as ed:
            ed.set("status", "retired")
            raise RuntimeError("stop")
    assert path.read_bytes() == before


def test_refused_edits_raise_edit_error(station):
    path = station / "station.pf"
    before = path.read_bytes()
    with pytest.raises(teskpf.EditError):
        with teskpf.edit(path) as ed:
            ed.set("status", "two\nlines")
    with pytest.raises(teskpf.EditError):
        with teskpf.edit(path) as ed:
            ed.unset("nope")
    assert path.read_bytes() == before


# A refused edit names the file and the 1-based line of the entry concerned, 0 when there is none.
@pytest.mark.parametrize("edit, line", [
    (lambda ed: ed.set("b", "two\nlines"), 3),
    (lambda ed: ed.set_comment("b", "two\nlines"), 3),
    (lambda ed: ed.add("b", "2"), 3),  # already there
    (lambda ed: ed.set("blk", "x"), 4),  # opens a block
    (lambda ed: ed.set(("blk", "c"), "two\nlines"), 5),
    (lambda ed: ed.unset("nope"), 0),
])
def test_refused_edits_name_the_file_and_the_entry_line(write, edit, line):
    path = write("b.pf", "a\t1\n# a note\nb\t2\nblk &Arr{\n\tc\t3\n}\n")
    with pytest.raises(teskpf.EditError) as raised:
        with teskpf.edit(path) as ed:
            edit(ed)
    assert (raised.value.file, raised.value.line) == (path, line)


# A file that cannot be locked or saved: IoError with the file and the system's reason.
# Read-only counts for root too.
@pytest.mark.parametrize("mode, reason", [(None, errno.ENOENT), (0o444, errno.EACCES)])
def test_files_that_cannot_be_edited_raise_io_error(tmp_path, mode, reason):
    path = str(tmp_path / "f.pf")
    if mode is not None:
        with open(path, "w") as f:
            f.write("a\t1\n")
        os.chmod(path, mode)
    with pytest.raises(teskpf.IoError) as raised:
        with teskpf.edit(path) as ed:
            ed.set("a", "2")
    assert (raised.value.file, raised.value.line, raised.value.errno) == (path, 0, reason)


def test_unset_removes_a_block(station):
    path = station / "station.pf"
    with teskpf.edit(path) as ed:
        ed.unset("display")
    assert "display" not in teskpf.load(path)


def _raise(error):
    raise error


# How the block ends: the edit made inside it, and the exception it ends with.
@pytest.mark.parametrize("edit, raised", [
    (lambda ed: ed.set("status", "retired"), None),
    (lambda ed: _raise(RuntimeError("stop")), RuntimeError),
    (lambda ed: ed.set("status", "two\nlines"), teskpf.EditError),
])
def test_the_lock_is_held_inside_the_block_and_released_on_leaving(station, edit, raised):
    path = station / "station.pf"
    seen_inside = []
    try:
        with teskpf.edit(path) as ed:
            seen_inside.append(_locked(path))
            edit(ed)
    except Exception as error:  # noqa: BLE001 - compared with the expected type below
        assert raised is not None and isinstance(error, raised)
    else:
        assert raised is None
    assert seen_inside == [True]
    assert not _locked(path)
