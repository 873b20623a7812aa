"""The key paths Python accepts are those the tool, the editor and Document::find
accept: the shared table tests/agreement/key_paths.tsv on key_paths.pf."""

import shutil
from pathlib import Path

import pytest

import teskpf
from teskpf import _teskpf

TABLE = Path(__file__).resolve().parents[2] / "tests" / "agreement" / "key_paths"


def rows() -> list[tuple[str, str]]:
    lines = (TABLE.with_suffix(".tsv")).read_text().splitlines()
    return [tuple(line.split("\t")) for line in lines if line and not line.startswith("#")]


def walk(cfg: teskpf.Config, key: str):
    """cfg[name][position]... along the components the C++ parser reads."""
    node = cfg
    for part in _teskpf.parse_key_path(_teskpf.key_path(key)):
        if isinstance(node, str):  # a value has no members
            raise KeyError(part)
        node = node[part]
    return node


@pytest.mark.parametrize("key,expect", rows())
def test_python_accepts_what_the_tool_accepts(tmp_path: Path, key: str, expect: str) -> None:
    path = tmp_path / "key_paths.pf"
    shutil.copy(TABLE.with_suffix(".pf"), path)
    cfg = teskpf.load(path)
    found = expect != "missing"
    try:
        cfg.entry(key)
        entry_found = True
    except KeyError:
        entry_found = False
    assert entry_found == found
    try:
        walk(cfg, key)
        walked = True
    except (KeyError, IndexError, TypeError, teskpf.Error):
        walked = False
    assert walked == (expect in ("value", "block"))


def test_key_paths_from_tuples_and_names() -> None:
    assert _teskpf.key_path(("chan", "list", 1, "x")) == '["chan"]["list"][1]["x"]'
    assert _teskpf.key_path("gain") == '["gain"]'
    assert _teskpf.key_path('["a"][0]') == '["a"][0]'
    assert _teskpf.parse_key_path('["a"]b"][2]') == ('a"]b', 2)
    with pytest.raises(teskpf.Error, match="at offset 6"):
        _teskpf.parse_key_path('["l"][00]')
    with pytest.raises(teskpf.Error):
        _teskpf.key_path(("a", -1))
