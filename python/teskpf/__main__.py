"""``python -m teskpf ARGS``: the ``teskpf`` tool's commands, run by the tool itself.

The command-line tool is built and installed with the C++ library (CMake);
the Python package carries only the library's bindings. Running the installed
tool keeps one implementation of every command, its options, messages and
exit statuses, whichever way it is started.
"""

import os
import shutil
import sys
from typing import List, Optional


def main(argv: Optional[List[str]] = None) -> int:
    """Replaces this process by ``teskpf ARGS``; returns 127 only when there is no tool on PATH."""
    args = sys.argv[1:] if argv is None else argv
    tool = shutil.which("teskpf")
    if tool is None:
        print("python -m teskpf: no 'teskpf' tool on PATH; build and install it with CMake "
              "(see the README, \"Installing and using the library\")", file=sys.stderr)
        return 127
    sys.stdout.flush()
    sys.stderr.flush()
    os.execv(tool, ["teskpf", *args])
    return 0  # not reached: execv returns only by raising


if __name__ == "__main__":
    sys.exit(main())
