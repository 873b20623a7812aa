"""The classic class, with out-pointers returned as tuples."""

import pytest
import teskpf

PORT = '["telemetry"]["port"]'


def test_get_value_returns_value_verdict_and_types(station):
    pf = teskpf.TeskPf("station")
    assert pf.getValue(PORT) == ("18001", True, [1])
    assert pf.getValue('["nope"]') == ("", False, [])
    assert pf.checkValue(PORT, "abc") == (False, [1])
    assert pf.getConstraints(PORT) == ("<int>", True)
    index = pf.getEntryIndex(PORT)
    assert pf.getKey(index) == PORT
    assert pf.getValue(index)[0] == "18001"


def test_set_value_and_write(station, tmp_path):
    pf = teskpf.TeskPf(str(station / "station.pf"))
    pf.setValue(PORT, "9")
    written = pf.write(str(tmp_path / "out"))
    assert written == str(tmp_path / "out.pf")
    assert teskpf.load(written)["telemetry"]["port"] == "9"


def test_key_helpers():
    assert teskpf.TeskPf.key2Perl('["a"]["b"][0]') == "{a}{b}[0]"
    assert teskpf.TeskPf.key2Table('["a"][0]') == ['"a"', "0"]


def test_classic_errors_are_teskpf_errors(station, tmp_path):
    with pytest.raises(teskpf.Error, match="Unknown type") as raised:
        teskpf.TeskPf("station", 1)
    assert (raised.value.file, raised.value.line) == ("", 0)  # concerns no file
    with pytest.raises(teskpf.Error, match="cannot write"):
        teskpf.TeskPf("station").write(str(tmp_path / "missing-dir" / "out"))
