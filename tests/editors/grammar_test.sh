#!/bin/sh
# Runs the TextMate grammar tests (grammar/*.pf, in the comment-assertion
# format of vscode-tmgrammar-test) against editors/textmate. The test tool is
# installed with npm on first use into NPM_DIR, a directory of the build, never
# into the repository. Exit 77 (skipped) when node or npm is missing or the
# install fails, unless TESKPF_REQUIRE_EDITOR_TESTS=1.
set -eu
npm_dir=${1:?usage: grammar_test.sh NPM_DIR}
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
tool="$npm_dir/node_modules/.bin/vscode-tmgrammar-test"
skip() {
  if [ "${TESKPF_REQUIRE_EDITOR_TESTS:-0}" = 1 ]; then
    echo "$1, and TESKPF_REQUIRE_EDITOR_TESTS=1 requires the grammar tests" >&2
    exit 1
  fi
  echo "$1: the grammar tests are skipped"
  exit 77
}
command -v node >/dev/null 2>&1 || skip "node is not installed"
if [ ! -x "$tool" ]; then
  command -v npm >/dev/null 2>&1 || skip "npm is not installed"
  mkdir -p "$npm_dir"
  if ! timeout 300 npm install --no-save --no-package-lock --no-audit --no-fund --prefix "$npm_dir" \
      vscode-tmgrammar-test@0.1.3 >"$npm_dir/install.log" 2>&1; then
    cat "$npm_dir/install.log"
    skip "npm could not install vscode-tmgrammar-test"
  fi
fi
cd "$root"
timeout 120 "$tool" --compact --grammar editors/textmate/teskpf.tmLanguage.json 'tests/editors/grammar/*.pf'
