#!/usr/bin/python3
"""Runs one real editor (Neovim or Emacs) with the set-up of editors/ against
`teskpf lsp` on a layered example, and checks what it printed against the
patterns of expected_EDITOR.txt: each line a regular expression that some
line of the session's output must match.

    run_session.py nvim|emacs TESKPF_TOOL REPOSITORY
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


def command(editor, repository):
    if editor == "nvim":
        return ["nvim", "--headless", "-u", "NONE", "-i", "NONE", "--noplugin",
                "--cmd", "set runtimepath^=" + os.path.join(repository, "editors", "neovim"),
                "--cmd", "lua package.path = '" + os.path.join(repository, "editors", "neovim", "?.lua") +
                ";' .. package.path",
                "-c", "luafile " + os.path.join(HERE, "nvim_session.lua")]
    if editor == "emacs":
        return ["emacs", "--batch", "--no-init-file",
                "-L", os.path.join(repository, "editors", "emacs"),
                "-l", os.path.join(HERE, "emacs_session.el")]
    raise SystemExit("unknown editor " + editor)


def main():
    editor, tool, repository = sys.argv[1], sys.argv[2], os.path.abspath(sys.argv[3])
    program = command(editor, repository)[0]
    if not shutil.which(program):
        sys.exit(f"{program} is not installed: scripts/setup.sh --dev installs it")
    with tempfile.TemporaryDirectory() as scratch:
        layers = os.path.join(scratch, "layers")
        shutil.copytree(os.path.join(HERE, "layers"), layers)
        env = dict(os.environ,
                   TESKPF_TOOL=os.path.abspath(tool),
                   TESKPF_SESSION_PATH=os.path.join(layers, "base") + ":" + os.path.join(layers, "site"),
                   TESKPF_SESSION_FILE=os.path.join(layers, "site", "station.pf"),
                   HOME=scratch, XDG_CONFIG_HOME=scratch, XDG_DATA_HOME=scratch, XDG_STATE_HOME=scratch)
        env.pop("PFPATH", None)
        try:
            run = subprocess.run(command(editor, repository), env=env, cwd=scratch, stdin=subprocess.DEVNULL,
                                 capture_output=True, text=True, timeout=90)
        except subprocess.TimeoutExpired as timeout:
            sys.exit(f"{editor} did not finish within 90 s; output so far:\n{timeout.stdout}")
        output = (run.stdout + run.stderr).replace(scratch, "$TMP")
    print(output)
    with open(os.path.join(HERE, f"expected_{editor}.txt"), encoding="utf-8") as expected:
        patterns = [line.rstrip("\n") for line in expected if line.strip() and not line.startswith("#")]
    lines = output.splitlines()
    missing = [p for p in patterns if not any(re.search(p, line) for line in lines)]
    for pattern in missing:
        print("missing: " + pattern)
    sys.exit(1 if missing or run.returncode != 0 else 0)


if __name__ == "__main__":
    main()
