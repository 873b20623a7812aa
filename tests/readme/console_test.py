"""Runs the shell sessions of a Markdown file and compares their output.

Every ```console block is a session: lines starting with "$ " are commands,
the lines after one are what it prints (standard output and standard error
together). A line "..." ends the comparison of that command's output: what
follows it is not compared. Commands run with sh in a fresh copy of the
examples directory, one shell per block, with the built tool first on PATH.

usage: console_test.py MARKDOWN EXAMPLES_DIR TOOL_DIR
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```console\n(.*?)^```", re.MULTILINE | re.DOTALL)


def sessions(markdown):
    for match in BLOCK.finditer(markdown):
        commands = []
        for line in match.group(1).splitlines():
            if line.startswith("$ "):
                commands.append([line[2:], []])
            elif commands:
                commands[-1][1].append(line)
        yield commands


def run_session(commands, workdir, env):
    """Runs the commands one after the other in one shell; returns failures."""
    failures = []
    marker = "@@teskpf-console-test@@"
    script = "".join(f"{command}\necho '{marker}'\n" for command, _ in commands)
    result = subprocess.run(["sh", "-c", script], cwd=workdir, env=env, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, errors="replace", timeout=300)
    outputs = result.stdout.split(marker + "\n")
    for (command, expected), output in zip(commands, outputs):
        actual = output.splitlines()
        if "..." in expected:
            cut = expected.index("...")
            expected, actual = expected[:cut], actual[:cut]
        if actual != expected:
            failures.append((command, expected, actual))
    if len(outputs) < len(commands) + 1:
        failures.append(("(session)", ["all commands run"], ["the shell stopped early"]))
    return failures


def main():
    markdown_path, examples_dir, tool_dir = sys.argv[1:4]
    with open(markdown_path, encoding="utf-8") as f:
        markdown = f.read()
    env = dict(os.environ, PATH=tool_dir + os.pathsep + os.environ.get("PATH", ""))
    env.pop("PFPATH", None)
    failures = []
    count = 0
    for commands in sessions(markdown):
        count += len(commands)
        with tempfile.TemporaryDirectory() as tmp:
            workdir = os.path.join(tmp, "examples")
            shutil.copytree(examples_dir, workdir)
            failures += run_session(commands, workdir, env)
    for command, expected, actual in failures:
        print(f"FAILED: $ {command}\n  expected:\n" + "".join(f"    {l}\n" for l in expected)
              + "  actual:\n" + "".join(f"    {l}\n" for l in actual))
    print(f"{count - len(failures)} passed, {len(failures)} failed")
    sys.exit(1 if failures or count == 0 else 0)


if __name__ == "__main__":
    main()
