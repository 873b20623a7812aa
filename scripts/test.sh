#!/usr/bin/env bash
# Builds and runs every test: the regular build, the same suite under
# AddressSanitizer and UndefinedBehaviorSanitizer with a shared library, the
# multi-threaded tests under ThreadSanitizer, the installed-package check,
# the Python package's tests, and short fuzz runs when clang is available.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

echo "== format"
# Every C++ source as .clang-format lays it out (clang-format-14 comes with
# scripts/setup.sh --dev).
if command -v clang-format-14 >/dev/null; then
  find include src platform tools tests bench fuzz examples python/src -path tests/data -prune -o \
       \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 clang-format-14 --dry-run --Werror
  echo "format: ok"
else
  echo "format: skipped, clang-format-14 is not installed"
fi

echo "== build and test"
# The editor highlighting tests need vim, node and npm (scripts/setup.sh
# --dev); here they fail rather than skip when those are missing.
export TESKPF_REQUIRE_EDITOR_TESTS=1
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESKPF_BUILD_TESTS=ON -DTESKPF_WARNINGS_AS_ERRORS=ON
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

# With a shared library: the tests that use only the public API then run
# against exactly what it exports.
echo "== sanitizer build and test"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DTESKPF_BUILD_TESTS=ON -DTESKPF_SANITIZE=ON -DTESKPF_WARNINGS_AS_ERRORS=ON \
  -DBUILD_SHARED_LIBS=ON
cmake --build build-asan -j "$jobs"
# The editor highlighting tests hold no C++: they ran above.
ctest --test-dir build-asan --output-on-failure -j "$jobs" -E '^editors_'

# The tests that use separate handles from several threads at once, and the
# watcher's thread beside a reader, under ThreadSanitizer: any data race
# between them fails the run.
echo "== thread sanitizer"
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DTESKPF_BUILD_TESTS=ON -DTESKPF_SANITIZE_THREAD=ON \
  -DTESKPF_WARNINGS_AS_ERRORS=ON -DTESKPF_BUILD_TOOL=OFF
cmake --build build-tsan -j "$jobs" --target threads_test watch_test
TSAN_OPTIONS=halt_on_error=1 build-tsan/tests/threads_test
TSAN_OPTIONS=halt_on_error=1 build-tsan/tests/watch_test

echo "== installed package"
scripts/check-install.sh

echo "== Python package"
scripts/python-test.sh

echo "== demo"
# The README's first command must show what it promises.
demo=$(scripts/demo.sh 2>&1)
for expected in 'ok: 2 files, no problems' '9 errors, 0 warnings in 1 file' '> 	port	18002	#<int>' 'now 250'; do
  grep -qF -- "$expected" <<<"$demo" || { echo "$demo"; echo "demo: missing '$expected'" >&2; exit 1; }
done
echo "demo: ok"

echo "== fuzzing"
scripts/fuzz.sh "${TESKPF_FUZZ_SECONDS:-20}"
