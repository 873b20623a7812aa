#!/usr/bin/env bash
# Builds the teskpf tool and runs it on the bundled station configuration.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target teskpf-tool >/dev/null
teskpf="$PWD/build/tools/teskpf"
cd examples

run() {
    printf '\n$ teskpf %s\n' "$*"
    "$teskpf" "$@" || printf '(exit status %d)\n' "$?"
}

run show station.pf '["digitizer"]["channels"][3]'
run get station.pf '["digitizer"]["sample_rate"]' --check
run check station.pf
run check broken.pf
printf '\n$ PFPATH=.:site-override teskpf files station\n'
PFPATH=.:site-override "$teskpf" files station
