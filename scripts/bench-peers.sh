#!/usr/bin/env bash
# Compares loading with TeskPf and with other libraries: builds (Release, -O2)
# in build-peers/, writes the same generated content in every library's format
# and prints Markdown tables headed by the machine they ran on.
#   scripts/bench-peers.sh [LINES...]     (default: 50 500 100000)
# Needs: apt-get install -y libinih-dev libconfig++-dev libyaml-cpp-dev libtomlplusplus-dev libboost-dev
# JOBS sets the build's parallelism (default 2).
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${BUILD_DIR:-$root/build-peers}"  # BUILD_DIR: a build directory of your own
# shellcheck source=bench/release_build.sh source-path=SCRIPTDIR/..
source "$root/bench/release_build.sh"

sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(50 500 100000)

release_build "$build" "teskpf-peers teskpf-peer-files" -DTESKPF_BUILD_PEER_BENCHMARKS=ON

data="$(mktemp -d)"
trap 'rm -rf "$data"' EXIT
for lines in "${sizes[@]}"; do
  "$build/bench/peers/teskpf-peer-files" "$lines" "$data"
done

compiler="$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")"
versions=""
for package in libinih-dev libconfig++-dev libyaml-cpp-dev libtomlplusplus-dev libboost-dev; do
  versions+="${versions:+, }$package $(dpkg-query -W -f='${Version}' "$package" 2>/dev/null || echo '?')"
done

echo "### Loading a whole file: TeskPf and other libraries"
echo
echo "- Machine: $(nproc) cores, $(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)," \
     "load average $(cut -d' ' -f1-3 /proc/loadavg) at the start"
echo "- Compiler: $("$compiler" --version | head -1); build type Release, flags $TESKPF_RELEASE_FLAGS"
echo "- Peers (Debian packages): $versions"
echo "- Method: one process, libraries taken round-robin for 5 rounds (3 at 1M lines), median CPU time" \
     "of a load (destruction not timed); a library whose load takes over 10 s is loaded once." \
     "Heap: glibc mallinfo2() heap in use with the document loaded, minus before; per line: that over the" \
     "lines of content. Small files are loaded 200000/LINES times per measurement."
echo "- Files: the same generated content in each library's format; MB/s is of the library's own file."
"$build/bench/peers/teskpf-peers" "$data" "${sizes[@]}"
echo
echo "- Load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
