"""entry.ok, entry.annotation and to_dict(typed=True) follow the same
annotation in effect as ``teskpf.check``, over the random layered sets the
C++ agreement test reads (tests/agreement/layered_sets.py, same seed)."""

import sys
from pathlib import Path

import teskpf

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests" / "agreement"))
import layered_sets  # noqa: E402


def _keys(node, path=()):
    """Every (key tuple, is value) below a Block or List, in order."""
    items = node.items() if isinstance(node, teskpf.Block) else enumerate(node)
    for name, member in items:
        key = path + (name,)
        is_block = isinstance(member, (teskpf.Block, teskpf.List))
        yield key, not is_block
        if is_block:
            yield from _keys(member, key)


def _typed_at(tree, key):
    for part in key:
        tree = tree[part]
    return tree


def test_entry_and_typed_values_agree_with_check(tmp_path, monkeypatch):
    from_lower_files = set()  # verdicts (ok or not) on annotations another file wrote
    for pfpath in layered_sets.write_sets(str(tmp_path), 12):
        monkeypatch.setenv("PFPATH", pfpath)
        cfg = teskpf.load("cfg")
        failing = {d.key for d in teskpf.check("cfg") if d.rule == "value-mismatch" and d.severity == "error"}
        typed = cfg.to_dict(typed=True)
        for key, is_value in _keys(cfg):
            entry = cfg.entry(key)
            assert entry.ok == (entry.key not in failing), entry
            if entry.annotation_at and not entry.annotation_at.startswith(entry.file + ":"):
                from_lower_files.add(entry.ok)
            if not is_value:
                continue
            value = _typed_at(typed, key)
            if not entry.ok or not entry.annotation:
                assert value == entry.value, entry  # a value that fails stays text
            elif entry.annotation.startswith(("<int>", "<float>")):
                assert not isinstance(value, str), entry  # converted by the annotation in effect
    assert from_lower_files == {True, False}  # the sets reach the lower-file step


def test_an_override_keeps_the_annotation_it_replaces(monkeypatch, tmp_path):
    (tmp_path / "base").mkdir()
    (tmp_path / "site").mkdir()
    base = tmp_path / "base" / "cfg.pf"
    base.write_text("x 5 #<int>\n")
    monkeypatch.setenv("PFPATH", str(tmp_path / "base"))
    assert teskpf.load("cfg").to_dict(typed=True)["x"] == 5
    (tmp_path / "site" / "cfg.pf").write_text("x 7\n")
    monkeypatch.setenv("PFPATH", f"{tmp_path / 'base'}:{tmp_path / 'site'}")
    cfg = teskpf.load("cfg")
    assert cfg.to_dict(typed=True)["x"] == 7  # int with or without the site file
    entry = cfg.entry("x")
    assert (entry.own_annotation, entry.annotation, entry.annotation_at) == ("", "<int>", f"{base}:1")
    (tmp_path / "site" / "cfg.pf").write_text("x abc\n")
    assert not teskpf.load("cfg").entry("x").ok
