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


@pytest.mark.parametrize("call", [
    lambda pf: pf.getValue(None),
    lambda pf: pf.getValue(1.5),
    lambda pf: pf.getEntry([PORT]),
    lambda pf: pf.getSource(None),
    lambda pf: pf.getLevel(object()),
    lambda pf: pf.getComment(None),
    lambda pf: pf.getConstraints(2.0),
    lambda pf: pf.checkValue(None),
    lambda pf: pf.checkValue(PORT, 5),
    lambda pf: pf.setValue(None, "1"),
    lambda pf: pf.setValue(PORT, 1),
    lambda pf: pf.setComment(3.0, "c"),
    lambda pf: pf.getKey("0"),
    lambda pf: pf.getEntryIndex(0),
    lambda pf: pf.write(None),
    lambda pf: teskpf.TeskPf(None),
    lambda pf: teskpf.TeskPf.key2Perl(None),
    lambda pf: teskpf.TeskPf.escapeValue(1),
])
def test_wrong_argument_types_raise_type_error(station, call):
    with pytest.raises(TypeError):
        call(teskpf.TeskPf("station"))


def test_out_of_range_indices_find_no_entry(station):
    pf = teskpf.TeskPf("station")
    for index in (-1, pf.size(), 2**31, -(2**63), 2**100):
        assert pf.getValue(index) == ("", False, [])
