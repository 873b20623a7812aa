"""Runs the install commands of docs/editors.md in a throwaway home directory
and checks that each editor finds what they install there: the VS Code
extension's manifest names the grammar, the Sublime Text file is the grammar
as a property list, and Vim (both ways the page shows) detects a .pf file and
highlights it."""
import json
import os
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
GRAMMAR = os.path.join(ROOT, "editors", "textmate", "teskpf.tmLanguage.json")
SAMPLE = os.path.join(ROOT, "tests", "editors", "vim", "sample.pf")

# What Vim must report with the installed files: the file type, and the
# group at line 2, column 1 of the sample (its first key).
VIM_QUERY = "redir! > {out} | echo &filetype synIDattr(synID(2, 1, 1), 'name') | redir END | qall!"


def blocks(language):
    with open(os.path.join(ROOT, "docs", "editors.md")) as page:
        return re.findall(r"```" + language + r"\n(.*?)```", page.read(), re.S)


def vim(home, args):
    out = os.path.join(home, "vim.out")
    subprocess.run(["vim", "-N", "-i", "NONE", "-es"] + args +
                   ["-c", VIM_QUERY.format(out=out), SAMPLE],
                   env=dict(os.environ, HOME=home), stdin=subprocess.DEVNULL, timeout=60, check=False)
    with open(out) as answer:
        return answer.read().split()


def main():
    failures = []
    shell = blocks("sh")
    vimrcs = blocks("vim")
    with tempfile.TemporaryDirectory() as home:
        for block in shell:
            subprocess.run(["sh", "-eu", "-c", block], cwd=ROOT, env=dict(os.environ, HOME=home),
                           timeout=60, check=True)
        with open(GRAMMAR) as source:
            grammar = json.load(source)

        ext = os.path.join(home, ".vscode", "extensions", "teskpf-highlighting")
        with open(os.path.join(ext, "package.json")) as manifest:
            contributed = json.load(manifest)["contributes"]["grammars"][0]
        with open(os.path.join(ext, contributed["path"])) as copied:
            if contributed["scopeName"] != grammar["scopeName"] or json.load(copied) != grammar:
                failures.append("VS Code: the extension does not hold the grammar under its scope")

        with open(os.path.join(home, ".config", "sublime-text", "Packages", "User", "TeskPf.tmLanguage"), "rb") as plist:
            if plistlib.load(plist) != grammar:
                failures.append("Sublime Text: the property list differs from the grammar")

        if shutil.which("vim"):
            copied = vim(home, ["-u", "NONE", "--cmd", "filetype on", "--cmd", "syntax on"])
            if copied != ["teskpf", "teskpfKey"]:
                failures.append(f"Vim, files copied into ~/.vim: {copied}")
            shutil.rmtree(os.path.join(home, ".vim"))
            vimrc = os.path.join(home, "vimrc")
            with open(vimrc, "w") as out:
                out.write(vimrcs[0].replace("/path/to/teskpf", ROOT))
            on_path = vim(home, ["-u", vimrc])
            if on_path != ["teskpf", "teskpfKey"]:
                failures.append(f"Vim, the folder on the runtime path: {on_path}")
        else:
            print("vim is not installed: the Vim install commands are not checked")

    for failure in failures:
        print(failure)
    print(f"editors doc: {len(shell)} install blocks ran, {len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
