"""Read, check and edit parameter files.

>>> cfg = teskpf.load("station")            # every station.pf along PFPATH
>>> cfg["telemetry"]["port"]                 # plain values are str
'18001'
>>> cfg.to_dict(typed=True)["telemetry"]["port"]
18001

Blocks are read-only mappings, lists are sequences. ``teskpf.check`` lists
the same diagnostics as ``teskpf check``; ``teskpf.edit`` changes a file in
place, byte for byte outside the edit.
"""

from __future__ import annotations

import contextlib
import os
from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass
from typing import Any, Union

from . import _teskpf
from ._teskpf import Diagnostic, EditError, Error, IoError, NamedFiles, TeskPf

__all__ = [
    "Block", "Config", "Diagnostic", "EditError", "Editor", "Entry", "Error", "IoError", "List", "NamedFiles",
    "TeskPf", "check", "edit", "load", "named_files",
]

Key = Union[str, tuple]
Value = Union["Block", "List", str]


def _key_path(key: Key) -> str:
    """A key path from ``'["a"][0]'``, ``("a", 0)`` or a top-level name ``"a"``."""
    return _teskpf.key_path(key)


def _wrap(node: Any) -> Value:
    if node.is_block():
        return Block(node)
    if node.is_list():
        return List(node)
    return node.text()


def _typed(node: Any) -> Any:
    """A value converted by the annotation in effect; str when it fails it."""
    verdict = node.check()
    if not verdict.ok or not verdict.types:
        return node.text()
    fields = node.fields()
    converted = []
    for kind, field in zip(verdict.types, fields):
        number = {"int": _teskpf.to_integer, "float": _teskpf.to_float}.get(kind)
        converted.append(number(field) if number else field)
    return converted[0] if len(converted) == 1 else tuple(converted)


def _plain(node: Any, typed: bool) -> Any:
    """Nested dict/list/str of a node, built with a stack instead of recursion,
    so that any depth of nesting that reading accepts converts."""

    def start(of: Any) -> Any:  # a value, or the empty dict/list to fill
        if of.is_block():
            return {}
        if of.is_list():
            return []
        return _typed(of) if typed else of.text()

    result = start(node)
    pending = [(node, result)]
    while pending:
        parent, filled = pending.pop()
        if type(filled) is dict:
            # A repeated name stands for its last definition, at its first place.
            for name in dict.fromkeys(parent.names()):
                child = parent.member(name)
                filled[name] = value = start(child)
                if type(value) in (dict, list):
                    pending.append((child, value))
        else:
            for i in range(parent.size()):
                child = parent.item(i)
                filled.append(start(child))
                if type(filled[-1]) in (dict, list):
                    pending.append((child, filled[-1]))
    return result


class Block(Mapping):
    """A read-only mapping of a block's members: nested Block, List or str."""

    def __init__(self, node: Any) -> None:
        self._node = node

    def __getitem__(self, name: str) -> Value:
        member = self._node.member(name) if isinstance(name, str) else None
        if not member:
            raise KeyError(name)
        return _wrap(member)

    def _names(self) -> list[str]:
        """Each member name once, in file order; a repeated name stands for its last definition."""
        return list(dict.fromkeys(self._node.names()))

    def __iter__(self) -> Iterator[str]:
        return iter(self._names())

    def __len__(self) -> int:
        return len(self._names())

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and bool(self._node.member(name))

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self.key_path or 'document'})"

    @property
    def key_path(self) -> str:
        """The block's key path, e.g. ``["digitizer"]``; "" for the document."""
        return self._node.key_path()

    def to_dict(self, typed: bool = False) -> dict:
        """Nested dict/list/str; with ``typed`` values converted by their annotation."""
        return _plain(self._node, typed)


class List(Sequence):
    """A read-only sequence of a list block's items: Block, List or str."""

    def __init__(self, node: Any) -> None:
        self._node = node

    def __getitem__(self, index):  # type: ignore[override]
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(len(self)))]
        if index < 0:
            index += len(self)
        if not 0 <= index < len(self):
            raise IndexError(index)
        return _wrap(self._node.item(index))

    def __len__(self) -> int:
        return self._node.size()

    def __repr__(self) -> str:
        return f"List({self._node.key_path()})"

    def to_list(self, typed: bool = False) -> list:
        """Nested list/dict/str; with ``typed`` values converted by their annotation."""
        return _plain(self._node, typed)


@dataclass(frozen=True)
class Entry:
    """One entry: where it was read and what it holds."""

    file: str
    line: int  # 1-based
    level: int
    key: str
    value: str  # "&Arr"/"&Tbl" for a block
    comment: str
    annotation: str  # the annotation in effect (its own, its block's or a lower file's); "" when none
    annotation_at: str  # "file:line" where that annotation is written; "" when none
    own_annotation: str  # the annotation written in the entry's own comment; "" when none
    ok: bool  # whether the value satisfies the annotation in effect


class Config(Block):
    """The files one argument names (see named_files), merged; a Block of top-level keys."""

    def __init__(self, document: Any, target: str) -> None:
        super().__init__(document.root())
        self._document = document
        self._target = target

    @property
    def files(self) -> list[str]:
        """The files read, lowest precedence first."""
        return list(self._document.files)

    def entry(self, key: Key) -> Entry:
        """The entry at a key path (``'["net"]["port"]'`` or ``("net", "port")``); KeyError if none."""
        node = self._document.find(_key_path(key))
        if not node:
            raise KeyError(key)
        file, line = node.source()
        verdict = node.check()
        at = f"{verdict.where[0]}:{verdict.where[1]}" if verdict.annotation else ""
        return Entry(file, line, node.level(), node.key_path(), node.text(), node.comment(), verdict.annotation, at,
                     node.annotation(), verdict.ok)

    def check(self) -> list[Diagnostic]:
        """The diagnostics of the files read, as ``teskpf check`` reports them."""
        return _teskpf.check_name(self._target)


def named_files(name_or_path: str | os.PathLike) -> NamedFiles:
    """The files an argument names, and why: the one rule of every reader.

    A name without "/" (``"station"``, ``"station.pf"``) is every station.pf
    along PFPATH; a path (``"./station.pf"``, ``"dir/x"``) is that file alone;
    when neither finds one, the argument itself if it is a readable file.
    """
    return _teskpf.named_files(os.fspath(name_or_path))


def load(name_or_path: str | os.PathLike) -> Config:
    """The files the argument names (see named_files), merged.

    Raises IoError when nothing can be read, Error for text that does not parse.
    """
    target = os.fspath(name_or_path)
    return Config(_teskpf.Document.load(target), target)


def check(name_or_path: str | os.PathLike) -> list[Diagnostic]:
    """The diagnostics of the files the argument names, layered (as ``teskpf check``)."""
    return _teskpf.check_name(os.fspath(name_or_path))


class Editor:
    """Edits of one file, each changing only the bytes concerned. Keys as for Config.entry."""

    def __init__(self, editor: Any) -> None:
        self._editor = editor

    def set(self, key: Key, value: str) -> None:
        """Replaces a value; EditError when missing, a block, or it would not read back."""
        self._editor.set_value(_key_path(key), value)

    def unset(self, key: Key) -> None:
        """Removes an entry (a block with its members); EditError when missing."""
        self._editor.remove(_key_path(key))

    def add(self, key: Key, value: str, comment: str = "") -> None:
        """Adds an entry as the last member of its block; EditError when it exists."""
        self._editor.add(_key_path(key), value, comment)

    def set_comment(self, key: Key, comment: str) -> None:
        """Replaces an entry's comment (its annotation kept); EditError when missing."""
        self._editor.set_comment(_key_path(key), comment)

    @property
    def text(self) -> str:
        """The file's text with the edits so far (bytes that are not UTF-8 as surrogates)."""
        return self._editor.text

    @property
    def data(self) -> bytes:
        """The file's bytes with the edits so far."""
        return self._editor.data


@contextlib.contextmanager
def edit(path: str | os.PathLike, timeout: float | None = None) -> Iterator[Editor]:
    """Locks the one file ``path`` names, yields an Editor and saves on a clean exit.

    ``path`` follows the rule of named_files and must name one file: IoError
    when it names several (``"station"`` with two along PFPATH; write
    ``"./station.pf"``) or none.

    Waits for a lock another editor holds, other threads running meanwhile;
    with ``timeout`` (seconds, 0 to try once) for at most that long, then
    raises IoError (errno ETIMEDOUT). A signal ends the wait (Ctrl-C raises
    KeyboardInterrupt). On an exception nothing is written. The lock is
    released on leaving.
    """
    editor = Editor(_teskpf.Editor.open_locked(_teskpf.named_file(os.fspath(path)), timeout))
    try:
        yield editor
        if editor._editor.changed:
            editor._editor.save()
    finally:
        editor._editor = None  # releases the lock
