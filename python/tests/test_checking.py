"""Diagnostics and conversions."""

import math

import pytest
import teskpf
from teskpf import _teskpf


def test_check_reports_like_the_tool(write):
    path = write("bad.pf", "port\tx\t#<int>\nok\t1\t#<int>\n")
    for found in (teskpf.check(path), teskpf.load(path).check()):
        assert [(d.file, d.line, d.column, d.severity, d.rule) for d in found] == [
            (path, 1, 6, "error", "value-mismatch")]
        assert found[0].message.startswith("value 'x' does not satisfy '<int>'")


def test_check_of_a_clean_name_is_empty(station):
    assert teskpf.check("station") == []
    assert teskpf.load("station").check() == []


@pytest.mark.parametrize("text, expected", [
    ("0x1F", 31), ("017", 15), ("08", 0), ("12abc", 12), ("-", None), ("9223372036854775808", None), ("1 2", None),
])
def test_integer_conversion_matches_the_check(text, expected):
    assert _teskpf.to_integer(text) == expected


@pytest.mark.parametrize("text, expected", [
    (".5", 0.5), ("0x1p3", 8.0), ("INF", math.inf), ("1e999", None), ("abc", None),
])
def test_float_conversion_matches_the_check(text, expected):
    assert _teskpf.to_float(text) == expected


def test_nan_converts():
    assert math.isnan(_teskpf.to_float("nan"))


@pytest.mark.parametrize("text, expected", [
    ("yes", True), ("On", True), ("1", True), ("FALSE", False), ("off", False), ("0", False), ("maybe", None),
])
def test_bool_words(text, expected):
    assert _teskpf.to_bool(text) == expected


@pytest.mark.parametrize("disable, rules", [
    ((), ["duplicate-key", "bad-directive", "value-mismatch"]),
    (["duplicate-key"], ["bad-directive", "value-mismatch"]),
    (["duplicate-key, value-mismatch", "bad-directive"], []),
    (("value-mismatch",), ["duplicate-key", "bad-directive"]),
])
def test_check_leaves_out_disabled_rules(write, disable, rules):
    path = write("silenced.pf", "gain 1\ngain 2\n# teskpf-disable-file nope\nport x #<int>\n"
                 "# teskpf-disable-next-line value-mismatch\nrate y #<int>\n")
    assert [d.rule for d in teskpf.check(path, disable=disable)] == rules
    assert [d.rule for d in teskpf.load(path).check(disable=disable)] == rules


def test_check_refuses_unknown_rules(write):
    path = write("ok.pf", "a 1\n")
    with pytest.raises(teskpf.Error, match="cannot disable 'nope'"):
        teskpf.check(path, disable=["nope"])
    with pytest.raises(TypeError):
        teskpf.check(path, disable="duplicate-key")
    assert "value-mismatch" in _teskpf.rule_ids()
