"""Type-checks with `mypy --strict` the ```python blocks of Markdown files and
Python files, against the teskpf package the given interpreter imports (its
stubs and annotations): what the docs show, a user's checker accepts.

usage: python_types_test.py PYTHON FILE.md|FILE.py...
"""

import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```python\n(.*?)^```", re.MULTILINE | re.DOTALL)


def main() -> None:
    python, *sources = sys.argv[1:]
    with tempfile.TemporaryDirectory() as tmp:
        checked = []
        for source in sources:
            if not source.endswith(".md"):
                checked.append(source)
                continue
            with open(source, encoding="utf-8") as f:
                blocks = BLOCK.findall(f.read())
            stem = re.sub(r"\W", "_", os.path.basename(source)[:-3])
            for number, code in enumerate(blocks, 1):
                # One module per block, named after where it comes from, so a
                # finding reads "README_2.py:3".
                block_file = os.path.join(tmp, f"{stem}_{number}.py")
                with open(block_file, "w", encoding="utf-8") as f:
                    f.write(code)
                checked.append(block_file)
        result = subprocess.run(["mypy", "--strict", "--no-incremental", "--cache-dir", os.path.join(tmp, "cache"),
                                 "--python-executable", python, *checked])
        if result.returncode != 0:
            print(f"python_types_test: mypy --strict rejects {sources}", file=sys.stderr)
        sys.exit(result.returncode)


if __name__ == "__main__":
    main()
