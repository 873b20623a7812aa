"""What Python code expects of the package: reprs, equality, copies, the
version, its names, editor values and keys, comments, errors and python -m."""

import copy
import json
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest
import teskpf

ROOT = Path(__file__).resolve().parents[2]


# Blocks and lists show their content, and equal the dict/list holding it.
@pytest.mark.parametrize("get, shown, plain", [
    (lambda c: c["telemetry"], "Block({'host': 'backup-gw.example.org', 'port': '18001', 'retry_seconds': '10 300'})",
     {"host": "backup-gw.example.org", "port": "18001", "retry_seconds": "10 300"}),
    (lambda c: c["digitizer"]["channels"], "List(['HHZ', 'HHN', 'HHE', 'LHZ'])", ["HHZ", "HHN", "HHE", "LHZ"]),
    (lambda c: teskpf.load(c.files[-1]), "Config({'status': 'maintenance', 'telemetry': {'host': "
     "'backup-gw.example.org', 'port': '18001', 'retry_seconds': '10 300'}})",
     {"status": "maintenance", "telemetry": {"host": "backup-gw.example.org", "port": "18001",
                                             "retry_seconds": "10 300"}}),
])
def test_repr_shows_content_and_equals_plain_data(station, get, shown, plain):
    value = get(teskpf.load("station"))
    assert repr(value) == shown
    assert value == plain and plain == value
    assert not value != plain


@pytest.mark.parametrize("other, equal", [
    (["HHZ", "HHN", "HHE", "LHZ"], True),
    (["HHZ", "HHN", "HHE"], False),          # shorter
    (["HHZ", "HHN", "HHE", "LHZ", "x"], False),
    (["HHZ", "HHN", "HHE", "LHN"], False),   # one item differs
    (("HHZ", "HHN", "HHE", "LHZ"), False),   # a tuple, as for list itself
    ("HHZ", False),
])
def test_list_equality(station, other, equal):
    channels = teskpf.load("station")["digitizer"]["channels"]
    assert (channels == other) is equal
    assert (channels != other) is not equal


def test_nested_blocks_and_lists_compare_with_nested_plain_data(station):
    cfg = teskpf.load("station")
    assert cfg == cfg.to_dict()
    assert cfg["digitizer"] == teskpf.load("station")["digitizer"]
    assert cfg["digitizer"] != dict(cfg["digitizer"].to_dict(), gain="2")


def test_copies_dict_and_json(station):
    cfg = teskpf.load("station")
    # Read-only views: a copy is the view itself, as for str and tuple.
    telemetry = cfg["telemetry"]
    assert copy.deepcopy(cfg) is cfg and copy.copy(telemetry) is telemetry
    assert copy.deepcopy(cfg) == cfg and copy.deepcopy(cfg["digitizer"]["channels"]) == cfg["digitizer"]["channels"]
    assert list(dict(cfg)) == list(cfg) and dict(cfg)["status"] == "maintenance"
    assert json.loads(json.dumps(cfg.to_dict())) == cfg
    assert json.loads(json.dumps(cfg["digitizer"]["channels"].to_list(typed=True))) == ["HHZ", "HHN", "HHE", "LHZ"]


def test_version_is_the_projects():
    cmake = (ROOT / "CMakeLists.txt").read_text()
    assert teskpf.__version__ == re.search(r"^project\(\w+\s+VERSION\s+([0-9.]+)", cmake, re.MULTILINE).group(1)


def test_dir_lists_the_api_only():
    public = [name for name in dir(teskpf) if not name.startswith("_")]
    assert public == sorted(teskpf.__all__)
    for name in public:
        assert getattr(teskpf, name) is not None


# Values an editor writes, and how the typed readers and the conversions read them back.
@pytest.mark.parametrize("value, written, read_back", [
    ("18002", "18002", 18002),
    (6545, "6545", 6545),
    (-7, "-7", -7),
    (True, "true", True),
    (False, "false", False),
    (0.1, "0.1", 0.1),
    (-2.5e-300, "-2.5e-300", -2.5e-300),
    (1e100, "1e+100", 1e100),
    (float("inf"), "inf", float("inf")),
    (b"18003", "18003", 18003),
])
def test_editor_values(write, value, written, read_back):
    path = write("v.pf", "n\t1\t#<int>\nf\t1\t#<float>\nb\tno\n")
    key = "b" if isinstance(value, bool) else "f" if isinstance(value, float) else "n"
    with teskpf.edit(path) as ed:
        ed.set(key, value)
        ed.add("new", value)
    cfg = teskpf.load(path)
    assert cfg[key] == written and cfg["new"] == written
    if isinstance(value, bool):
        assert teskpf._teskpf.to_bool(cfg[key]) is read_back
    else:
        assert cfg.to_dict(typed=True)[key] == read_back


# Every call taking a key takes a key path, a tuple, a list or a top-level name.
@pytest.mark.parametrize("key", ['["telemetry"]["port"]', ("telemetry", "port"), ["telemetry", "port"]])
def test_keys_in_every_call(station, key):
    path = station / "site-override" / "station.pf"
    assert teskpf.load("station").entry(key).value == "18001"
    with teskpf.edit(path) as ed:
        ed.set(key, 1)
        ed.set_comment(key, "the port")
        ed.unset(key)
        ed.add(key, 2, "again")
    entry = teskpf.load("station").entry(key)
    assert (entry.value, entry.comment) == ("2", "again")
    assert teskpf.load("station").entry(["digitizer", "channels", 1]).value == "HHN"
    assert teskpf.load("station").entry("status").value == "maintenance"


def test_edit_resolves_a_name_as_load_does(tmp_path, monkeypatch):
    (tmp_path / "app.pf").write_text("workers\t4\t#<int>\n")
    monkeypatch.setenv("PFPATH", str(tmp_path))
    monkeypatch.chdir("/")
    for name in ("app", "app.pf"):
        with teskpf.edit(name) as ed:
            ed.set("workers", 6 if name == "app" else 8)
        assert teskpf.load(name)["workers"] == ("6" if name == "app" else "8")


@pytest.mark.parametrize("line, comment", [
    ("k v #  site port", "site port"),
    ("k v #<int> seconds", "seconds"),
    ("k v #\tx # y ", "x # y"),
    ("k v #<int>", ""),
    ("k v", ""),
])
def test_comments_without_their_hash(write, line, comment):
    assert teskpf.load(write("c.pf", line + "\n")).entry("k").comment == comment


# Wrong arguments raise errors that name the call made, not the bindings inside.
@pytest.mark.parametrize("call, error, message", [
    (lambda ed: ed.set("n", [1]), TypeError, "Editor.set: a value is a str, int, float or bool, not list"),
    (lambda ed: ed.set("n", None), TypeError, "Editor.set: a value is a str, int, float or bool, not NoneType"),
    (lambda ed: ed.add("m", {}), TypeError, "Editor.add: a value is a str, int, float or bool, not dict"),
    (lambda ed: ed.add("m", "1", 5), TypeError, "Editor.add: a comment is a str, not int"),
    (lambda ed: ed.set_comment("n", 5), TypeError, "Editor.set_comment: a comment is a str, not int"),
    (lambda ed: ed.set(5, "1"), TypeError, "Editor.set: a key is a str, tuple or list, not int"),
    (lambda ed: ed.unset({"n"}), TypeError, "Editor.unset: a key is a str, tuple or list, not set"),
])
def test_errors_name_the_public_api(write, call, error, message):
    path = write("e.pf", "n\t1\n")
    with pytest.raises(error) as raised:
        with teskpf.edit(path) as ed:
            call(ed)
    assert str(raised.value) == message
    assert open(path).read() == "n\t1\n"


def test_other_misuse_names_the_public_api(write):
    path = write("e.pf", "n\t1\n")
    with pytest.raises(TypeError, match=r"^teskpf\.edit: timeout is a number of seconds or None, not str$"):
        with teskpf.edit(path, timeout="1"):  # type: ignore[arg-type]
            pass
    with pytest.raises(TypeError, match=r"^Config\.entry: a key is a str, tuple or list, not float$"):
        teskpf.load(path).entry(1.5)
    with pytest.raises(TypeError, match=r"^List indices are int or slice, not str$"):
        teskpf.load(write("l.pf", "l &Tbl{\n a\n}\n"))["l"]["a"]
    with teskpf.edit(path) as ed:
        pass
    with pytest.raises(teskpf.Error, match=r"^Editor\.set: the editor is closed"):
        ed.set("n", 2)


def _run_module(args, path):
    return subprocess.run([sys.executable, "-m", "teskpf", *args], env=dict(os.environ, PATH=path),
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60)


def test_python_m_runs_the_tool_with_its_arguments_and_status(tmp_path):
    tool = tmp_path / "teskpf"
    tool.write_text("#!/bin/sh\necho \"$0|$#|$1|$2\"\nexit 3\n")
    tool.chmod(0o755)
    result = _run_module(["get", "a b"], str(tmp_path))
    assert (result.returncode, result.stdout, result.stderr) == (3, "%s|2|get|a b\n" % tool, "")


def test_python_m_without_the_tool_says_so(tmp_path):
    result = _run_module(["check", "x"], str(tmp_path))
    assert result.returncode == 127 and result.stdout == ""
    assert "no 'teskpf' tool on PATH" in result.stderr
