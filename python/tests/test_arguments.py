"""teskpf.load, check, edit and named_files read the files each row of
tests/data/arguments/table says, in the layout the C++ arguments test
builds: the one rule for what an argument names, as the tool follows it."""

import os
from pathlib import Path

import pytest

import teskpf

TABLE = Path(__file__).resolve().parents[2] / "tests" / "data" / "arguments" / "table"
TAGS = ("here", "site", "other", "notes")


def _layout(root: Path) -> None:
    for name, tag in (("station.pf", "here"), ("site-override/station.pf", "site"),
                      ("other/station.pf", "other"), ("notes.conf", "notes")):
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).write_text(f"tag_{tag}\t1\nbad_{tag}\tx\t#<int>\nshared\t{tag}\n")
    (root / "sub").mkdir(exist_ok=True)


def _rows(root: Path):
    for number, line in enumerate(TABLE.read_text().splitlines(), 1):
        if line and not line.startswith("#"):
            pfpath, argument, *files = line.replace("{dir}", str(root)).split()
            yield number, pfpath, argument, [] if files == ["-"] else files


def _tag(root: Path, file: str) -> str:
    return (root / file).read_text().split("\t", 1)[0][len("tag_"):]


def test_every_python_reader_reads_the_files_of_the_table(tmp_path, monkeypatch):
    _layout(tmp_path)
    monkeypatch.chdir(tmp_path)
    rows = list(_rows(tmp_path))
    assert len(rows) >= 10
    for number, pfpath, argument, files in rows:
        where = f"table line {number}: PFPATH={pfpath} {argument}"
        monkeypatch.setenv("PFPATH", pfpath)
        assert teskpf.named_files(argument).files == files, where
        if not files:
            for read in (teskpf.load, teskpf.check):
                with pytest.raises(teskpf.IoError):
                    read(argument)
            with pytest.raises(teskpf.IoError):
                with teskpf.edit(argument):
                    pass
            continue
        assert teskpf.load(argument).files == files, where
        checked = {_tag(tmp_path, d.file) for d in teskpf.check(argument) if d.rule == "value-mismatch"}
        assert checked == {_tag(tmp_path, f) for f in files}, where
        if len(files) > 1:
            with pytest.raises(teskpf.IoError, match="names 2 files"):
                with teskpf.edit(argument):
                    pass
        else:
            with teskpf.edit(argument) as ed:
                ed.set("shared", "edited")
            assert "shared\tedited" in Path(files[0]).read_text(), where
            _layout(tmp_path)


def test_the_examples_name_with_its_suffix_reads_both_layers(tmp_path, monkeypatch):
    examples = Path(__file__).resolve().parents[2] / "examples"
    for file in ("station.pf", "site-override/station.pf"):
        (tmp_path / file).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / file).write_bytes((examples / file).read_bytes())
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("PFPATH", ".:site-override")
    assert teskpf.load("station.pf")["telemetry"]["port"] == "18001"
    assert teskpf.load("./station.pf")["telemetry"]["port"] == "18000"
    assert teskpf.named_files("station.pf").form == "name"
    assert teskpf.named_files(os.path.join(".", "station.pf")).form == "path"
