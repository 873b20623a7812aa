#!/bin/sh
# Peak memory of an in-place edit: `teskpf set` of one value in a generated
# file of LINES lines (default 1,930,000, about 50 MB), printed as the peak
# resident set size and its ratio to the file's size.
# Usage: bench/edit_memory.sh BUILD_DIR [LINES]   (BUILD_DIR built with
# -DTESKPF_BUILD_BENCHMARKS=ON, for teskpf-generate)
set -eu
build=$1
lines=${2:-1930000}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
"$build/bench/teskpf-generate" "$lines" "$dir/big.pf"
key=$("$build/tools/teskpf" keys "$dir/big.pf" | grep -v '^$' | tail -n 1)
for mode in set set--file; do
  /usr/bin/python3 - "$build/tools/teskpf" "$dir/big.pf" "$key" "$mode" <<'PY'
import os, resource, subprocess, sys
tool, path, key, mode = sys.argv[1:]
args = [tool, "set", path, key, "7"] if mode == "set" else [tool, "set", "--file", path, path, key, "7"]
subprocess.run(args, check=True)
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024
size = os.path.getsize(path)
print(f"{mode}: file {size / 1e6:.1f} MB, peak RSS {peak / 1e6:.0f} MB, {peak / size:.1f}x")
PY
done
