"""Runs every ```python block of a Markdown file, each in a fresh copy of the
examples directory with PFPATH set to it and its site-override layer.

usage: python_blocks_test.py MARKDOWN EXAMPLES_DIR
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```python\n(.*?)^```", re.MULTILINE | re.DOTALL)


def main():
    markdown_path, examples_dir = sys.argv[1:3]
    with open(markdown_path, encoding="utf-8") as f:
        blocks = BLOCK.findall(f.read())
    failed = 0
    for number, code in enumerate(blocks, 1):
        with tempfile.TemporaryDirectory() as tmp:
            workdir = os.path.join(tmp, "examples")
            shutil.copytree(examples_dir, workdir)
            env = dict(os.environ, PFPATH=f"{workdir}:{workdir}/site-override")
            result = subprocess.run([sys.executable, "-c", code], cwd=workdir, env=env,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            if result.returncode != 0:
                failed += 1
                print(f"FAILED: python block {number}:\n{code}\n{result.stdout}")
    print(f"{len(blocks) - failed} passed, {failed} failed")
    sys.exit(1 if failed or not blocks else 0)


if __name__ == "__main__":
    main()
