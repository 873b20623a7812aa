"""Read, check and edit parameter files.

>>> cfg = teskpf.load("station")            # every station.pf along PFPATH
>>> cfg["telemetry"]["port"]                 # plain values are str
'18001'
>>> cfg.to_dict(typed=True)["telemetry"]["port"]
18001

Blocks are read-only mappings, lists are sequences. ``teskpf.check`` lists
the same diagnostics as ``teskpf check``; ``teskpf.edit`` changes a file in
place, byte for byte outside the edit. ``python -m teskpf ARGS`` runs the
``teskpf`` tool's commands.
"""

# Only the public names are imported here, so that dir(teskpf) lists the API
# and nothing the implementation happens to use.
from ._api import Block, Config, Editor, Entry, Key, List, Value, ValueArgument, check, edit, load, named_files
from ._teskpf import Diagnostic, EditError, Error, IoError, KeyChange, NamedFiles, TeskPf, WatchEvent
from ._watch import Watch, watch
from ._teskpf import __version__ as __version__  # the project's version, from CMake

__all__ = [
    "Block", "Config", "Diagnostic", "EditError", "Editor", "Entry", "Error", "IoError", "Key", "KeyChange", "List",
    "NamedFiles", "TeskPf", "Value", "ValueArgument", "Watch", "WatchEvent", "check", "edit", "load", "named_files",
    "watch",
]
