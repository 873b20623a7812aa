#!/usr/bin/python3
"""Runs one real editor (Neovim or Emacs) against `teskpf lsp` on a layered
example, set up in a throwaway home as docs/editors.md says (its install
commands and its init file for that editor), and checks what the session
printed against the patterns of expected_EDITOR.txt: each line a regular
expression that some line of the output must match.

    run_session.py nvim|emacs TESKPF_TOOL REPOSITORY
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


# Per editor: the heading of its section in docs/editors.md, the language of
# its init block, where that block goes in the home directory, and the
# command that runs the session with it.
EDITORS = {
    "nvim": ("## Neovim", "lua", ".config/nvim/init.lua",
             lambda home: ["nvim", "--headless", "-i", "NONE", "-c", "luafile " + os.path.join(HERE, "nvim_session.lua")]),
    "emacs": ("## Emacs", "elisp", ".emacs.d/init.el",
              lambda home: ["emacs", "--batch", "-l", os.path.join(home, ".emacs.d", "init.el"),
                            "-l", os.path.join(HERE, "emacs_session.el")]),
}


def install(editor, repository, home):
    """Runs the section's install commands in `home` and writes its init block."""
    heading, language, init, _ = EDITORS[editor]
    with open(os.path.join(repository, "docs", "editors.md"), encoding="utf-8") as page:
        text = page.read()
    section = text[text.index(heading):]
    end = section.find("\n## ")
    section = section if end < 0 else section[:end]
    shell = re.findall(r"```sh\n(.*?)```", section, re.S)
    config = re.findall(r"```" + language + r"\n(.*?)```", section, re.S)
    if len(shell) != 1 or len(config) != 1:
        sys.exit(f"docs/editors.md, {heading}: expected one sh block and one {language} block")
    subprocess.run(["sh", "-eu", "-c", shell[0]], cwd=repository, env=dict(os.environ, HOME=home), check=True,
                   timeout=60)
    os.makedirs(os.path.dirname(os.path.join(home, init)), exist_ok=True)
    with open(os.path.join(home, init), "w", encoding="utf-8") as out:
        out.write(config[0])


def main():
    editor, tool, repository = sys.argv[1], sys.argv[2], os.path.abspath(sys.argv[3])
    if editor not in EDITORS:
        sys.exit("unknown editor " + editor)
    program = EDITORS[editor][3]("")[0]
    if not shutil.which(program):
        sys.exit(f"{program} is not installed: scripts/setup.sh --dev installs it")
    with tempfile.TemporaryDirectory() as scratch:
        layers = os.path.join(scratch, "layers")
        shutil.copytree(os.path.join(HERE, "layers"), layers)
        home = os.path.join(scratch, "home")
        os.makedirs(home)
        install(editor, repository, home)
        # The set-ups start `teskpf lsp` from PATH, with PFPATH as the search path.
        env = {key: value for key, value in os.environ.items() if not key.startswith("XDG_")}
        env.update(PATH=os.path.dirname(os.path.abspath(tool)) + os.pathsep + os.environ.get("PATH", ""),
                   PFPATH=os.path.join(layers, "base") + ":" + os.path.join(layers, "site"),
                   TESKPF_SESSION_FILE=os.path.join(layers, "site", "station.pf"),
                   HOME=home)
        try:
            run = subprocess.run(EDITORS[editor][3](home), env=env, cwd=scratch, stdin=subprocess.DEVNULL,
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
