#!/usr/bin/env bash
# Installs the Debian packages TeskPf needs: to build the library, the tool
# and the Python package, and with --dev also to run every test (GoogleTest,
# clang 14 for the fuzzers, pytest, mypy for the Python types, jq for the
# shell sessions of the docs, vim and npm for the editor highlighting tests,
# Neovim, Emacs and Eglot for the language-server sessions in real editors).
# Run as root.
set -euo pipefail
packages=(cmake make g++ pkg-config
          nlohmann-json3-dev python3-pybind11 pybind11-dev python3-dev python3-setuptools python3-wheel python3-pip python3-venv)
if [[ "${1:-}" == "--dev" ]]; then
  packages+=(libgtest-dev libgmock-dev clang-14 libclang-rt-14-dev clang-format-14 python3-pytest mypy jq
            vim neovim emacs-nox elpa-eglot)
  # Debian's npm conflicts with a Node.js that brings its own npm.
  command -v npm >/dev/null || packages+=(npm)
elif [[ $# -gt 0 ]]; then
  echo "usage: scripts/setup.sh [--dev]" >&2
  exit 2
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update
apt-get install -y --no-install-recommends "${packages[@]}"
