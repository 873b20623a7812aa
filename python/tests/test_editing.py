"""teskpf.edit: in-place edits, saved only on a clean exit."""

import pytest
import teskpf


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


def test_unset_removes_a_block(station):
    path = station / "station.pf"
    with teskpf.edit(path) as ed:
        ed.unset("display")
    assert "display" not in teskpf.load(path)
