#!/usr/bin/env bash
# Builds and installs the Python package with pip into a throw-away venv,
# then runs its tests and the Python example, and type-checks the package, the
# example and the docs' Python blocks with mypy --strict. Only system packages
# are used (pybind11, pytest, setuptools, wheel, mypy from the distribution);
# nothing is downloaded.  TESKPF_PYTHON names the interpreter (default /usr/bin/python3,
# the one that sees the distribution's packages).
set -euo pipefail
cd "$(dirname "$0")/.."
python=${TESKPF_PYTHON:-/usr/bin/python3}
if ! "$python" -c 'import pybind11, pytest, setuptools, wheel' 2>/dev/null; then
  echo "python-test: $python lacks pybind11, pytest, setuptools or wheel;" \
       "install python3-pybind11 python3-pytest python3-setuptools python3-wheel python3-venv" >&2
  exit 1
fi
if ! command -v mypy >/dev/null; then
  echo "python-test: no mypy; install Debian's mypy (scripts/setup.sh --dev)" >&2
  exit 1
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$python" -m venv --system-site-packages "$scratch/venv"
"$scratch/venv/bin/python" -m pip install --quiet --no-build-isolation --no-index .

# Run from elsewhere so that the installed package is what gets imported.
root=$PWD
(cd "$scratch" && "$scratch/venv/bin/python" -m pytest -q -p no:cacheprovider "$root/python/tests")

cp -r examples "$scratch/examples"
(cd "$scratch/examples" && PFPATH="$scratch/examples:$scratch/examples/site-override" \
  "$scratch/venv/bin/python" "$root/examples/python_example.py")
# The live-reloading example, with an operator's edit of its site layer, on
# a fresh copy (the example above changed the site layer's port).
cp -r examples "$scratch/watch-examples"
(cd "$scratch/watch-examples" && PFPATH="$scratch/watch-examples:$scratch/watch-examples/site-override" \
  sh "$root/examples/watch_reload_test.sh" "$scratch/watch-examples" \
    "$scratch/venv/bin/python" "$root/examples/watch_reload.py")

# The Python blocks of the README and of the Python reference run as they stand.
for markdown in README.md docs/python-api.md; do
  "$scratch/venv/bin/python" "$root/tests/readme/python_blocks_test.py" "$root/$markdown" "$root/examples"
done

# The package's annotations and stubs hold under mypy --strict, and so do the
# examples users copy, checked against the installed package.
mypy --strict --no-incremental --cache-dir "$scratch/mypy-cache" python/teskpf
"$python" tests/readme/python_types_test.py "$scratch/venv/bin/python" \
  README.md docs/python-api.md examples/python_example.py examples/watch_reload.py
