#!/usr/bin/env bash
# Builds the libFuzzer targets in build-fuzz/ and runs each of them for
# SECONDS_PER_TARGET seconds. Every target is a fuzz/fuzz_*.cpp and starts
# from the same seeds: the .pf files of fuzz/seeds/ (seeds of their own),
# tests/data/ (round-trip, hostile and fuzz-regression inputs) and examples/,
# each kept once in the repository and deduplicated by content here.
# Exits non-zero when a target crashes; the crashing input is kept in
# build-fuzz/artifacts/. Without clang++-14 it skips, successfully.
set -euo pipefail
seconds=${1:?usage: scripts/fuzz.sh SECONDS_PER_TARGET}
cd "$(dirname "$0")/.."

if ! command -v clang++-14 >/dev/null 2>&1; then
  echo "fuzz: clang++-14 not found; skipping the fuzz runs"
  exit 0
fi

targets=()
for source in fuzz/fuzz_*.cpp; do targets+=("$(basename "$source" .cpp)"); done
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTESKPF_BUILD_FUZZERS=ON -DTESKPF_BUILD_TESTS=OFF -DTESKPF_BUILD_TOOL=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc)" --target "${targets[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
artifacts=build-fuzz/artifacts
mkdir -p "$artifacts"

# One copy of every seed content, named by its hash as libFuzzer names inputs.
seeds="$work/seeds"
mkdir -p "$seeds"
while IFS= read -r -d '' seed; do
  cp "$seed" "$seeds/$(sha1sum <"$seed" | cut -d' ' -f1)"
done < <(find fuzz/seeds tests/data examples -type f -name '*.pf' -print0)

failed=0
for target in "${targets[@]}"; do
  mkdir -p "$work/$target"
  cp "$seeds"/* "$work/$target"/
  log="$work/$target.log"
  if build-fuzz/fuzz/"$target" "$work/$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
      -dict=fuzz/pf.dict -artifact_prefix="$artifacts/$target-" -print_final_stats=1 >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "fuzz: $target: ${runs:-?} runs in ${seconds}s, no crash"
  else
    echo "fuzz: $target FAILED; its log ends with:"
    tail -n 40 "$log"
    failed=1
  fi
done
exit "$failed"
