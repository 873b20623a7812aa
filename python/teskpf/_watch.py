"""Live reloading: teskpf.watch follows the files a name stands for and
reports each reload, accepted or rejected (see docs/watching.md)."""

from __future__ import annotations

import os
import select
import sys
import threading
from types import TracebackType
from typing import Callable, Iterator, Optional, Type, Union

from . import _teskpf
from ._api import Config
from ._teskpf import WatchEvent


class Watch:
    """A watch of the files one argument names. Iterate it for each delivered
    reload (an accepted change set or a rejection), or give teskpf.watch a
    callback, which then runs on a thread of the watch's own. ``current`` is
    the document in effect: the last reading that passed the checks."""

    def __init__(self, target: str, settle: float, poll: Optional[float]) -> None:
        if settle < 0 or (poll is not None and poll <= 0):
            raise ValueError("watch: settle must be >= 0 and poll > 0 seconds")
        self._target = target
        self._watcher = _teskpf.Watcher(target, round(settle * 1000), round(poll * 1000) if poll else 0)
        # stop() writes to this pipe to wake a waiting iterator.
        self._wake_read, self._wake_write = os.pipe()
        self._stopped = threading.Event()
        self._processing = threading.Lock()
        self._thread: Optional[threading.Thread] = None

    @property
    def current(self) -> Optional[Config]:
        """The document in effect; None while no reading has passed."""
        document = self._watcher.current()
        return None if document is None else Config(document, self._target)

    @property
    def initial(self) -> WatchEvent:
        """The outcome of the first reading: accepted with no changes, or rejected."""
        return self._watcher.initial()

    @property
    def polling(self) -> bool:
        """Whether the files are polled rather than followed by notifications."""
        return self._watcher.polling()

    def __iter__(self) -> Iterator[WatchEvent]:
        return self

    def __next__(self) -> WatchEvent:
        """The next delivered reload; waits (letting other threads and Ctrl-C
        through) until there is one. StopIteration once stop() is called."""
        while not self._stopped.is_set():
            ready, _, _ = select.select([self._watcher.fd(), self._wake_read], [], [])
            if self._wake_read in ready:
                break
            with self._processing:
                event = self._watcher.process()
            if event is not None:
                return event
        raise StopIteration

    def stop(self) -> None:
        """Ends the watch: the iterator stops and the callback thread, if any, is joined."""
        if not self._stopped.is_set():
            self._stopped.set()
            os.write(self._wake_write, b"x")
        if self._thread is not None and self._thread is not threading.current_thread():
            self._thread.join()

    def __enter__(self) -> Watch:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.stop()

    def __del__(self) -> None:
        for fd in (getattr(self, "_wake_read", -1), getattr(self, "_wake_write", -1)):
            if fd >= 0:
                os.close(fd)

    def _start(self, callback: Callable[[WatchEvent], None]) -> None:
        def run() -> None:
            for event in self:
                try:
                    callback(event)
                except Exception:  # reported, and the watch goes on with the next reload
                    threading.excepthook(threading.ExceptHookArgs(
                        (*sys.exc_info(), threading.current_thread())))

        self._thread = threading.Thread(target=run, name=f"teskpf.watch({self._target})", daemon=True)
        self._thread.start()


def watch(name_or_path: Union[str, os.PathLike[str]], callback: Optional[Callable[[WatchEvent], None]] = None, *,
          settle: float = 0.1, poll: Optional[float] = None) -> Watch:
    """Follows the files the argument names (see named_files) and reloads them
    when one changes, ``settle`` seconds after the last change of a burst.

    With a callback, it is called on a thread of the watch's own with each
    WatchEvent (an exception it raises is reported through
    threading.excepthook, and the watch goes on); without one, iterate the
    returned Watch. A reload that fails
    the checks is delivered as rejected (``accepted`` false, with its
    ``diagnostics``) and the last good document stays ``current``. ``poll``
    (seconds) compares the files at that interval instead of following
    notifications. Call stop(), or use the Watch in a with block, to end it.
    """
    handle = Watch(os.fspath(name_or_path), settle, poll)
    if callback is not None:
        handle._start(callback)
    return handle
