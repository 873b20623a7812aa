"""Shared fixtures: copies of the example files, laid out on PFPATH."""

import shutil
from pathlib import Path

import pytest

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


@pytest.fixture
def station(tmp_path, monkeypatch):
    """The layered station files copied to a temp dir and put on PFPATH."""
    shutil.copytree(EXAMPLES, tmp_path / "examples")
    base = tmp_path / "examples"
    monkeypatch.setenv("PFPATH", f"{base}:{base / 'site-override'}")
    return base


@pytest.fixture
def write(tmp_path):
    """Writes a file under tmp_path and returns its path as str."""

    def _write(name: str, text: str) -> str:
        path = tmp_path / name
        path.write_text(text)
        return str(path)

    return _write
