#!/usr/bin/env bash
# Checks the ways into TeskPf from another project, as a user would take them.
# For a static and for a shared library: configure as documented (on a
# machine without GoogleTest, which is simulated), install into a temporary
# prefix and build against the installed files only: a CMake project using
# find_package(TeskPf CONFIG), and a one-file program compiled with
# `pkg-config --cflags --libs teskpf`. Then a CMake project that builds
# TeskPf itself through add_subdirectory. Each consumer runs the
# read/edit/write example on examples/station.pf, and the installed tool must
# read the file it wrote. The shared library must export the public API
# (TESKPF_API) and none of the internals.
#
# Nothing sets LD_LIBRARY_PATH: the installed tool finds a shared library
# through its $ORIGIN run path, the find_package consumer through the run
# path CMake gives it, and the pkg-config consumer is linked with
# -Wl,-rpath,<libdir> as docs/install.md recommends for a private prefix.
#
# Usage: scripts/check-install.sh [extra cmake options for the library]
# Set KEEP_WORK=1 to keep the temporary directory afterwards.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/teskpf-install.XXXXXX")
if [[ "${KEEP_WORK:-0}" != 1 ]]; then
  trap 'rm -rf "$work"' EXIT
fi
jobs=$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)
extra_options=("$@")

step() { printf '\n== %s\n' "$*"; }

# check_installed VARIANT CMAKE-OPTIONS...
check_installed() {
  local variant=$1
  shift
  local dir="$work/$variant"
  local prefix="$dir/prefix"

  step "$variant: configure without GoogleTest, build and install into $prefix"
  cmake -S "$root" -B "$dir/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    "$@" "${extra_options[@]}" 2>&1 | tee "$dir.configure.log"
  grep -q 'GoogleTest not found: the tests are skipped' "$dir.configure.log"
  cmake --build "$dir/build" -j "$jobs"
  cmake --install "$dir/build" --prefix "$prefix"
  "$prefix/bin/teskpf" --version

  step "$variant: find_package consumer"
  cmake -S "$root/tests/find-package" -B "$dir/consumer" -DCMAKE_PREFIX_PATH="$prefix"
  cmake --build "$dir/consumer" -j "$jobs"
  "$dir/consumer/consumer" "$root/examples/station.pf" "$dir/cmake-edited.pf"
  "$prefix/bin/teskpf" get "$dir/cmake-edited.pf" '["digitizer"]["sample_rate"]' --check
  cp -r "$root/examples" "$dir/examples"
  (cd "$dir/examples" && PFPATH="$dir/examples:$dir/examples/site-override" "$dir/consumer/modern-consumer")

  step "$variant: pkg-config consumer"
  local pc_dir
  pc_dir=$(dirname "$(find "$prefix" -name teskpf.pc -print -quit)")
  local flags
  flags="$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs teskpf)"
  flags+=" -Wl,-rpath,$(PKG_CONFIG_PATH="$pc_dir" pkg-config --variable=libdir teskpf)"
  echo "flags: $flags"
  # shellcheck disable=SC2086  # the flags are meant to split into words
  c++ -std=c++17 "$root/examples/read_edit_write.cpp" $flags -o "$dir/pkgconfig-consumer"
  "$dir/pkgconfig-consumer" "$root/examples/station.pf" "$dir/pkgconfig-edited.pf"
  c++ -std=c++17 "$root/examples/modern_api.cpp" $flags -o "$dir/pkgconfig-modern-consumer"
  "$prefix/bin/teskpf" check "$dir/pkgconfig-edited.pf"
}

# check_exports LIBRARY: the dynamic symbols LIBRARY defines include the
# public API and nothing of namespace teskpf::detail.
check_exports() {
  local exports
  exports=$(nm -DC --defined-only "$1")
  if grep 'teskpf::detail' <<<"$exports"; then
    echo "check-install: $1 exports the internals above" >&2
    return 1
  fi
  local symbol
  for symbol in 'TeskPf::TeskPf(' 'TeskPf::getValue(' 'teskpf::Editor::open(' 'teskpf::Document::load(' \
                'teskpf::saveFile(' 'typeinfo for teskpf::IoError' ' pfcompile' ' pffiles'; do
    if ! grep -qF -- "$symbol" <<<"$exports"; then
      echo "check-install: $1 does not export $symbol" >&2
      return 1
    fi
  done
}

check_installed static -DBUILD_SHARED_LIBS=OFF
check_installed shared -DBUILD_SHARED_LIBS=ON

step "shared: exports"
check_exports "$(find "$work/shared/prefix" -name libteskpf.so -print -quit)"

step "add_subdirectory consumer"
cmake -S "$root/tests/add-subdirectory" -B "$work/subdirectory" -DCMAKE_BUILD_TYPE=Release "${extra_options[@]}"
cmake --build "$work/subdirectory" -j "$jobs" --target consumer
"$work/subdirectory/consumer" "$root/examples/station.pf" "$work/subdirectory-edited.pf"
grep -q 'sample_rate.200' "$work/subdirectory-edited.pf"

step "install check passed"
