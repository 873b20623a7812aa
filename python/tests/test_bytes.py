"""Bytes that are not UTF-8 (a Latin-1 file, say) reach Python as str with
surrogates ("surrogateescape") and go back byte for byte; keys are the text
the file holds; any depth that reads converts."""

import pytest
import teskpf

LATIN1 = b"site Z\xfcrich\t# caf\xe9\n&Arr\xe4 &Arr{\n\tk\xf6 v\xe9\n}\nbad\xff <int>\xe9\t#<int>\n"


@pytest.fixture
def latin1(tmp_path):
    path = tmp_path / "l1.pf"
    path.write_bytes(LATIN1)
    return path


def test_reading_gives_surrogate_escaped_str(latin1):
    cfg = teskpf.load(latin1)
    site = cfg["site"]
    assert site == "Z\udcfcrich"
    assert site.encode("utf-8", "surrogateescape") == b"Z\xfcrich"
    assert cfg.to_dict() == {"site": "Z\udcfcrich", "&Arr\udce4": {"k\udcf6": "v\udce9"}, "bad\udcff": "<int>\udce9"}
    assert list(cfg) == ["site", "&Arr\udce4", "bad\udcff"]
    assert cfg["&Arr\udce4"]["k\udcf6"] == "v\udce9"
    entry = cfg.entry(("&Arr\udce4", "k\udcf6"))
    assert (entry.key, entry.value) == ('["&Arr\udce4"]["k\udcf6"]', "v\udce9")
    assert cfg.entry("site").comment == "caf\udce9"
    assert teskpf._teskpf.Document.parse(LATIN1).root().member("site").text() == "Z\udcfcrich"


def test_checking_reports_and_prints(latin1):
    found = teskpf.check(latin1)
    assert [(d.rule, d.key) for d in found] == [("value-mismatch", '["bad\udcff"]')]
    assert "'<int>\udce9'" in found[0].message
    for d in found:  # printing works, the bytes shown as their escapes
        assert repr(d).startswith(f"{latin1}:")
        print(d)


def test_a_value_read_set_and_saved_comes_back_byte_for_byte(latin1):
    with teskpf.edit(latin1) as ed:
        value = teskpf.load(latin1)["site"]
        ed.set("site", value + "!")
        ed.add(("&Arr\udce4", "neu"), "\udcc4rger", "caf\udce9")
        assert ed.data.startswith(b"site Z\xfcrich!\t# caf\xe9\n")
        assert ed.text.encode("utf-8", "surrogateescape") == ed.data
    assert latin1.read_bytes() == LATIN1.replace(b"Z\xfcrich", b"Z\xfcrich!").replace(
        b"\tk\xf6 v\xe9\n", b"\tk\xf6 v\xe9\n\tneu \xc4rger\t#caf\xe9\n")


def test_errors_carry_the_bytes(write):
    path = write("plain.pf", "a 1\n")
    with pytest.raises(teskpf.EditError) as refused:
        with teskpf.edit(path) as ed:
            ed.set("k\udcff", "x")
    assert str(refused.value) == 'cannot set ["k\udcff"]: there is no key ["k\udcff"]'


def test_a_name_is_the_key_as_written(write):
    cfg = teskpf.load(write("q.pf", "q[0] 3\nb &Arr{\n\tx[\"y\"] 4\n}\n"))
    assert cfg.to_dict() == {"q[0]": "3", "b": {'x["y"]': "4"}}
    assert cfg["q[0]"] == "3" and "q[0]" in cfg


def test_to_dict_converts_any_depth_that_reads(write):
    depth = 3000
    path = write("deep.pf", "".join(f"{'  ' * i}k &Arr{{\n" for i in range(depth)) + "v 1\n" + "}\n" * depth)
    cfg = teskpf.load(path)
    plain = cfg.to_dict()
    typed = cfg.to_dict(typed=True)
    for tree in (plain, typed):
        for _ in range(depth):
            tree = tree["k"]
        assert tree == {"v": "1"}
    tables = write("deep_list.pf", "t &Tbl{\n" + "&Tbl{\n" * (depth - 1) + "x\n" + "}\n" * depth)
    items = teskpf.load(tables).to_dict()["t"]
    for _ in range(depth - 1):
        items = items[0]
    assert items == ["x"]
