"""The teskpf package's Python layer over the compiled _teskpf: mappings,
sequences, entries, checking and editing. Its public names are re-exported by
teskpf/__init__.py."""

from __future__ import annotations

import contextlib
import os
from dataclasses import dataclass
from typing import Any, Dict, Iterator, Mapping, Optional, Sequence, Tuple, TypeVar, Union, overload
from typing import List as _ListOf

from . import _teskpf
from ._teskpf import Diagnostic, Error, NamedFiles

# A key path ('["a"][0]'), its components as a tuple or list (("a", 0),
# ["a", 0]: str names, int list positions), or a top-level name ("a").
Key = Union[str, Tuple[Union[str, int], ...], _ListOf[Union[str, int]]]
# What indexing a Block or List gives. The file, not the program, decides
# which, so indexing is typed Any (as json.loads is); narrow with isinstance.
Value = Union["Block", "List", str]
# A value an editor writes: str as it is, bool as "true"/"false" (the words
# the bool conversion reads), int in decimal, float as repr() (read back
# exactly by <float>).
ValueArgument = Union[str, bytes, bool, int, float]


def _key_path(key: Key, caller: str) -> str:
    """A key path from ``'["a"][0]'``, ``("a", 0)``, ``["a", 0]`` or a top-level name ``"a"``."""
    if isinstance(key, list):
        key = tuple(key)
    if not isinstance(key, (str, bytes, tuple)):
        raise TypeError(f"{caller}: a key is a str, tuple or list, not {type(key).__name__}")
    return _teskpf.key_path(key)


def _value_text(value: ValueArgument, caller: str) -> Union[str, bytes]:
    """The text an editor writes for a value, so that the typed readers read it back."""
    if isinstance(value, (str, bytes)):
        return value
    if isinstance(value, bool):  # before int: a bool is an int
        return "true" if value else "false"
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return repr(value)
    raise TypeError(f"{caller}: a value is a str, int, float or bool, not {type(value).__name__}")


def _text(text: str, caller: str) -> str:
    """A comment argument, checked to be text."""
    if not isinstance(text, (str, bytes)):
        raise TypeError(f"{caller}: a comment is a str, not {type(text).__name__}")
    return text


def _comment_text(comment: str) -> str:
    """A comment as its author wrote it: without its "#" and the blanks around it."""
    return comment[1:].strip(" \t") if comment.startswith("#") else comment


def _wrap(node: _teskpf.Node) -> Value:
    if node.is_block():
        return Block(node)
    if node.is_list():
        return List(node)
    return node.text()


def _typed(node: _teskpf.Node) -> Any:
    """A value converted by the annotation in effect; str when it fails it."""
    fields = node.typed_fields()
    if fields is None:
        return node.text()
    return fields[0] if len(fields) == 1 else tuple(fields)


def _plain(node: _teskpf.Node, typed: bool) -> Any:
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


_View = TypeVar("_View", bound="_NodeView")


class _NodeView:
    """What Block and List share: a read-only view of a node, shown as its
    content; being read-only, a copy (shallow or deep) is the view itself."""

    def __init__(self, node: _teskpf.Node) -> None:
        self._node = node

    def __repr__(self) -> str:
        return f"{type(self).__name__}({_plain(self._node, False)!r})"

    def __copy__(self: _View) -> _View:
        return self

    def __deepcopy__(self: _View, memo: Dict[int, Any]) -> _View:
        return self


class Block(_NodeView, Mapping[str, Any]):
    """A read-only mapping of a block's members: nested Block, List or str.

    Equal to a dict (or any mapping) with the same content; read-only, so a
    copy (copy.copy, copy.deepcopy) is the object itself: to_dict() gives a
    mutable one."""

    def __getitem__(self, name: str) -> Any:  # a Block, List or str: see Value
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

    @property
    def key_path(self) -> str:
        """The block's key path, e.g. ``["digitizer"]``; "" for the document."""
        return self._node.key_path()

    def to_dict(self, typed: bool = False) -> Dict[str, Any]:
        """Nested dict/list/str; with ``typed`` values converted by their annotation."""
        result: Dict[str, Any] = _plain(self._node, typed)
        return result


class List(_NodeView, Sequence[Any]):
    """A read-only sequence of a list block's items: Block, List or str.

    Equal to a list (not a tuple, as for list itself) with the same content;
    copies as Block does."""

    @overload
    def __getitem__(self, index: int) -> Any: ...  # a Block, List or str: see Value

    @overload
    def __getitem__(self, index: slice) -> _ListOf[Any]: ...

    def __getitem__(self, index: Union[int, slice]) -> Any:
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(len(self)))]
        if not isinstance(index, int):
            raise TypeError(f"List indices are int or slice, not {type(index).__name__}")
        if index < 0:
            index += len(self)
        if not 0 <= index < len(self):
            raise IndexError(index)
        return _wrap(self._node.item(index))

    def __len__(self) -> int:
        return self._node.size()

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, (List, list)):
            return NotImplemented
        return len(self) == len(other) and all(mine == theirs for mine, theirs in zip(self, other))

    __hash__ = None  # type: ignore[assignment]  # equal to a list, so unhashable as a list is

    def to_list(self, typed: bool = False) -> _ListOf[Any]:
        """Nested list/dict/str; with ``typed`` values converted by their annotation."""
        result: _ListOf[Any] = _plain(self._node, typed)
        return result


@dataclass(frozen=True)
class Entry:
    """One entry: where it was read and what it holds."""

    file: str
    line: int  # 1-based
    level: int
    key: str
    value: str  # "&Arr"/"&Tbl" for a block
    comment: str  # as written after its "#", the annotation cut out; "" when none
    annotation: str  # the annotation in effect (its own, its block's or a lower file's); "" when none
    annotation_at: str  # "file:line" where that annotation is written; "" when none
    own_annotation: str  # the annotation written in the entry's own comment; "" when none
    ok: bool  # whether the value satisfies the annotation in effect


class Config(Block):
    """The files one argument names (see named_files), merged; a Block of top-level keys."""

    def __init__(self, document: _teskpf.Document, target: str) -> None:
        super().__init__(document.root())
        self._document = document
        self._target = target

    @property
    def files(self) -> _ListOf[str]:
        """The files read, lowest precedence first."""
        return list(self._document.files)

    def entry(self, key: Key) -> Entry:
        """The entry at a key path (``'["net"]["port"]'``, ``("net", "port")`` or
        ``["net", "port"]``); KeyError if none."""
        node = self._document.find(_key_path(key, "Config.entry"))
        if not node:
            raise KeyError(key)
        file, line = node.source()
        verdict = node.check()
        at = f"{verdict.where[0]}:{verdict.where[1]}" if verdict.annotation else ""
        return Entry(file, line, node.level(), node.key_path(), node.text(), _comment_text(node.comment()),
                     verdict.annotation, at, node.annotation(), verdict.ok)

    def check(self, disable: Sequence[str] = ()) -> _ListOf[Diagnostic]:
        """The diagnostics of the files read, as ``teskpf check`` reports them (see check)."""
        return check(self._target, disable)


def named_files(name_or_path: Union[str, os.PathLike[str]]) -> NamedFiles:
    """The files an argument names, and why: the one rule of every reader.

    A name without "/" (``"station"``, ``"station.pf"``) is every station.pf
    along PFPATH; a path (``"./station.pf"``, ``"dir/x"``) is that file alone;
    when neither finds one, the argument itself if it is a readable file.
    """
    return _teskpf.named_files(os.fspath(name_or_path))


def load(name_or_path: Union[str, os.PathLike[str]]) -> Config:
    """The files the argument names (see named_files), merged.

    Raises IoError when nothing can be read, Error for text that does not parse.
    """
    target = os.fspath(name_or_path)
    return Config(_teskpf.Document.load(target), target)


def check(name_or_path: Union[str, os.PathLike[str]], disable: Sequence[str] = ()) -> _ListOf[Diagnostic]:
    """The diagnostics of the files the argument names, layered (as ``teskpf check``).

    ``disable`` names rules to leave out (as ``teskpf check --disable``); an
    unknown one raises Error.
    """
    if isinstance(disable, str):
        raise TypeError("disable: a sequence of rule ids, not one str")
    return _teskpf.check_name(os.fspath(name_or_path), list(disable))


class Editor:
    """Edits of one file, each changing only the bytes concerned. Keys as for
    Config.entry; values str, or int, float and bool written as the typed
    readers read them back (see ValueArgument)."""

    def __init__(self, editor: Any) -> None:
        self._editor = editor

    def _open(self, caller: str) -> Any:
        """The compiled editor; Error once its teskpf.edit block has ended (the lock is gone)."""
        if self._editor is None:
            raise Error(f"{caller}: the editor is closed; edit inside the teskpf.edit block")
        return self._editor

    def set(self, key: Key, value: ValueArgument) -> None:
        """Replaces a value; EditError when missing, a block, or it would not read back."""
        self._open("Editor.set").set_value(_key_path(key, "Editor.set"), _value_text(value, "Editor.set"))

    def unset(self, key: Key) -> None:
        """Removes an entry (a block with its members); EditError when missing."""
        self._open("Editor.unset").remove(_key_path(key, "Editor.unset"))

    def add(self, key: Key, value: ValueArgument, comment: str = "") -> None:
        """Adds an entry as the last member of its block; EditError when it exists."""
        self._open("Editor.add").add(_key_path(key, "Editor.add"), _value_text(value, "Editor.add"),
                                     _text(comment, "Editor.add"))

    def set_comment(self, key: Key, comment: str) -> None:
        """Replaces an entry's comment (its annotation kept); EditError when missing."""
        self._open("Editor.set_comment").set_comment(_key_path(key, "Editor.set_comment"),
                                                     _text(comment, "Editor.set_comment"))

    @property
    def text(self) -> str:
        """The file's text with the edits so far (bytes that are not UTF-8 as surrogates)."""
        text: str = self._open("Editor.text").text
        return text

    @property
    def data(self) -> bytes:
        """The file's bytes with the edits so far."""
        data: bytes = self._open("Editor.data").data
        return data


@contextlib.contextmanager
def edit(path: Union[str, os.PathLike[str]], timeout: Optional[float] = None) -> Iterator[Editor]:
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
    if timeout is not None and (isinstance(timeout, bool) or not isinstance(timeout, (int, float))):
        raise TypeError(f"teskpf.edit: timeout is a number of seconds or None, not {type(timeout).__name__}")
    editor = Editor(_teskpf.Editor.open_locked(_teskpf.named_file(os.fspath(path)), timeout))
    try:
        yield editor
        if editor._editor.changed:
            editor._editor.save()
    finally:
        editor._editor = None  # releases the lock
