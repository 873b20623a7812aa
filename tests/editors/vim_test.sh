#!/bin/sh
# Runs the Vim syntax and file-type checks of vim/expected.tsv in a headless
# Vim that sees only editors/vim. Exit 77 (skipped) without vim unless
# TESKPF_REQUIRE_EDITOR_TESTS=1.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
editors=$(cd "$here/../../editors/vim" && pwd)
if ! command -v vim >/dev/null 2>&1; then
  if [ "${TESKPF_REQUIRE_EDITOR_TESTS:-0}" = 1 ]; then
    echo "vim is not installed, and TESKPF_REQUIRE_EDITOR_TESTS=1 requires the Vim syntax checks" >&2
    exit 1
  fi
  echo "vim is not installed: the Vim syntax checks are skipped"
  exit 77
fi
report=$(mktemp)
trap 'rm -f "$report"' EXIT
status=0
timeout 60 vim -N -u NONE -i NONE -es --cmd "set runtimepath^=$editors" -c 'filetype on' -c 'syntax on' \
  -c "let g:report = '$report'" -S "$here/vim/check.vim" </dev/null || status=$?
cat "$report"
[ "$status" = 0 ] && [ ! -s "$report" ] && echo "vim syntax: all rows of expected.tsv hold"
exit "$status"
