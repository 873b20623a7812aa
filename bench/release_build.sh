# shellcheck shell=bash
# Sourced by scripts/bench.sh and scripts/bench-peers.sh: the optimised build
# both measure, configured and built in a directory of its own.

TESKPF_RELEASE_FLAGS="-O2 -DNDEBUG"

# release_build BUILD_DIR "TARGET..." CMAKE_OPTION...
# Build output goes to stderr so that stdout holds only the results.
release_build() {
  local build_dir="$1" targets="$2"
  shift 2
  local root
  root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
  cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS_RELEASE="$TESKPF_RELEASE_FLAGS" -DCMAKE_C_FLAGS_RELEASE="$TESKPF_RELEASE_FLAGS" \
    -DTESKPF_BUILD_TESTS=OFF -DTESKPF_BUILD_TOOL=OFF "$@" >&2
  # shellcheck disable=SC2086  # the targets are a word list
  cmake --build "$build_dir" --target $targets -j "${JOBS:-2}" >&2
}
