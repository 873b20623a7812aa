"""Loading, navigation and entries."""

import errno
from collections.abc import Mapping, Sequence

import pytest
import teskpf


def test_layers_files_with_the_last_winning(station):
    cfg = teskpf.load("station")
    assert cfg.files == [str(station / "station.pf"), str(station / "site-override" / "station.pf")]
    assert cfg["status"] == "maintenance"
    assert cfg["telemetry"]["port"] == "18001"
    assert "stream_pattern" not in cfg["telemetry"]  # replaced as a whole
    assert cfg["latitude"] == "61.2231"


def test_blocks_are_mappings_and_lists_sequences(station):
    cfg = teskpf.load(station / "station.pf")
    assert isinstance(cfg, Mapping)
    digitizer = cfg["digitizer"]
    assert isinstance(digitizer, Mapping)
    assert isinstance(digitizer["channels"], Sequence)
    assert list(digitizer["channels"]) == ["HHZ", "HHN", "HHE", "LHZ"]
    assert digitizer["channels"][-1] == "LHZ"
    assert digitizer["filters"][1]["name"] == "highpass"
    assert list(cfg["telemetry"]) == ["host", "port", "retry_seconds", "stream_pattern"]
    assert len(cfg["sensor"]) == 4
    assert cfg["site_note"] == "vault B#2, north wall"


def test_a_repeated_key_is_one_mapping_key_with_its_last_value(write):
    cfg = teskpf.load(write("dup.pf", "a\t1\nb &Arr{\n\tx\t1\n\tx\t2\n}\na\t3\n"))
    assert list(cfg) == ["a", "b"] and len(cfg) == 2
    assert dict(cfg["b"]) == {"x": "2"} and len(cfg["b"]) == 1
    assert cfg["a"] == "3"
    assert cfg.to_dict() == {"a": "3", "b": {"x": "2"}}


def test_an_empty_value_is_there_and_a_missing_key_is_not(write):
    cfg = teskpf.load(write("empty.pf", "empty\nblk &Arr{\n\tinner\n}\n"))
    assert cfg["empty"] == "" and "empty" in cfg
    assert cfg["blk"]["inner"] == "" and cfg.entry(("blk", "inner")).value == ""
    assert "gone" not in cfg and cfg.get("gone") is None


def test_missing_members_raise_key_and_index_errors(station):
    cfg = teskpf.load(station / "station.pf")
    with pytest.raises(KeyError):
        cfg["nope"]
    with pytest.raises(IndexError):
        cfg["digitizer"]["channels"][4]
    assert cfg.get("nope", "dflt") == "dflt"


def test_nodes_outlive_the_config_object(station):
    port = teskpf.load(station / "station.pf")["telemetry"]
    assert port["port"] == "18000"


def test_entry_reports_source_and_verdict(station):
    cfg = teskpf.load("station")
    for key in ('["telemetry"]["port"]', ("telemetry", "port")):
        entry = cfg.entry(key)
        assert entry.file == str(station / "site-override" / "station.pf")
        assert entry.line == 9
        assert (entry.level, entry.value, entry.annotation, entry.ok) == (1, "18001", "<int>", True)
    assert cfg.entry(("digitizer", "channels", 0)).value == "HHZ"
    with pytest.raises(KeyError):
        cfg.entry(("telemetry", "nope"))


def test_typed_dict_converts_by_annotation(station):
    data = teskpf.load(station / "station.pf").to_dict(typed=True)
    assert data["sensor"]["serial"] == 0x1F3A
    assert data["sensor"]["orientation"] == (0, 90.0)
    assert data["telemetry"]["retry_seconds"] == (30, 600)
    assert data["digitizer"]["sample_rate"] == 100.0
    assert data["installed"] == "2021-06-14"  # no annotation
    assert data["digitizer"]["filters"][0]["corners"] == 8
    plain = teskpf.load(station / "station.pf").to_dict()
    assert plain["sensor"]["serial"] == "0x1F3A"


def test_typed_value_failing_its_annotation_stays_text(write):
    cfg = teskpf.load(write("t.pf", "n\tabc\t#<int>\nm\t12abc\t#<int>\n"))
    assert cfg.to_dict(typed=True) == {"n": "abc", "m": 12}


# What cannot be read: the IoError names the file (as given) and the system's reason.
@pytest.mark.parametrize("read, file", [
    (lambda tmp: teskpf.load("absent"), "absent"),  # a name along PFPATH
    (lambda tmp: teskpf.load(tmp / "missing.pf"), "{tmp}/missing.pf"),
    (lambda tmp: teskpf.check("absent"), "absent"),
    (lambda tmp: teskpf.check(str(tmp / "gone" / "x.pf")), "{tmp}/gone/x.pf"),
])
def test_unreadable_input_raises_io_error_with_file_and_errno(tmp_path, monkeypatch, read, file):
    monkeypatch.setenv("PFPATH", str(tmp_path))
    with pytest.raises(teskpf.IoError) as raised:
        read(tmp_path)
    assert raised.value.file == file.format(tmp=tmp_path)
    assert raised.value.errno == errno.ENOENT
    assert raised.value.line == 0
    assert str(raised.value).startswith("no parameter file")  # str() is the message alone


def test_errors_form_a_hierarchy_with_empty_defaults():
    assert issubclass(teskpf.IoError, teskpf.Error)
    assert issubclass(teskpf.EditError, teskpf.Error)
    assert issubclass(teskpf.Error, Exception)
    made = teskpf.IoError("made in Python")
    assert (str(made), made.file, made.line, made.errno) == ("made in Python", "", 0, 0)
