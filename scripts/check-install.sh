#!/usr/bin/env bash
# Installs TeskPf into a temporary prefix and builds against the installed
# files only: a CMake project using find_package(TeskPf CONFIG), and a
# one-file program compiled with `pkg-config --cflags --libs teskpf`. Both
# run the read/edit/write example on examples/station.pf; the installed
# tool must then read the file they wrote.
#
# Usage: scripts/check-install.sh [extra cmake options for the library]
#   e.g. scripts/check-install.sh -DBUILD_SHARED_LIBS=ON
# Set KEEP_WORK=1 to keep the temporary directory afterwards.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/teskpf-install.XXXXXX")
if [[ "${KEEP_WORK:-0}" != 1 ]]; then
  trap 'rm -rf "$work"' EXIT
fi
prefix="$work/prefix"
jobs=$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)

step() { printf '\n== %s\n' "$*"; }

step "build and install into $prefix"
cmake -S "$root" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DTESKPF_BUILD_TESTS=OFF "$@"
cmake --build "$work/build" -j "$jobs"
cmake --install "$work/build" --prefix "$prefix"
"$prefix/bin/teskpf" --version

# Shared builds: let the programs below find the installed library.
libdir=$(dirname "$(find "$prefix" -name 'libteskpf.*' -print -quit)")
export LD_LIBRARY_PATH="$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

step "find_package consumer"
cmake -S "$root/tests/find-package" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$work/consumer" -j "$jobs"
"$work/consumer/consumer" "$root/examples/station.pf" "$work/cmake-edited.pf"
"$prefix/bin/teskpf" get "$work/cmake-edited.pf" '["digitizer"]["sample_rate"]' --check

step "pkg-config consumer"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs teskpf)
echo "pkg-config: $flags"
# shellcheck disable=SC2086  # the flags are meant to split into words
c++ -std=c++17 "$root/examples/read_edit_write.cpp" $flags -o "$work/pkgconfig-consumer"
"$work/pkgconfig-consumer" "$root/examples/station.pf" "$work/pkgconfig-edited.pf"
"$prefix/bin/teskpf" check "$work/pkgconfig-edited.pf"

step "install check passed"
