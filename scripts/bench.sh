#!/usr/bin/env bash
# Builds the benchmark suites (Release, -O2) in build-bench/ and runs them at
# 1k, 10k, 100k and 1M lines. Arguments go to teskpf-bench, for example
#   scripts/bench.sh --benchmark_filter=Load
# JOBS sets the build's parallelism (default 2).
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# shellcheck source=bench/release_build.sh source-path=SCRIPTDIR/..
source "$root/bench/release_build.sh"

release_build "$root/build-bench" teskpf-bench -DTESKPF_BUILD_BENCHMARKS=ON
"$root/build-bench/bench/teskpf-bench" "$@"
