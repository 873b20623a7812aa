#!/usr/bin/env bash
# The main job end to end: builds the teskpf tool and the Python package, then
# checks, reads, explains and edits the bundled station configuration (a copy
# of examples/, so the tree is never touched). Every command is printed so
# that it can be pasted.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target teskpf-tool >/dev/null
export PATH="$root/build/tools:$PATH"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r examples "$work/examples"
cd "$work/examples"
export PFPATH=.:site-override

# A word as it would be typed: in single quotes when the shell would read it
# otherwise.
quoted() {
    if [[ $1 =~ ^[A-Za-z0-9_./:=@%+-]+$ ]]; then
        printf '%s' "$1"
    else
        printf "'%s'" "${1//\'/\'\\\'\'}"
    fi
}

# Prints a command as it would be typed, then runs it; a failing command
# shows its exit status and the demo goes on.
run() {
    printf '\n$'
    for word in "$@"; do printf ' %s' "$(quoted "$word")"; done
    printf '\n'
    "$@" || printf '(exit status %d)\n' "$?"
}

echo "# In a copy of examples/, with PFPATH=$PFPATH"
run teskpf check station.pf     # both layers: a name without "/"
run teskpf check broken.pf
run teskpf get station '["telemetry"]["port"]' --check
run teskpf get broken.pf network --check
run teskpf explain station status
# The port in effect comes from the site layer, so that is the file edited.
cp site-override/station.pf station.before
run teskpf set station '["telemetry"]["port"]' 18002
printf '\n$ diff station.before site-override/station.pf\n'
diff station.before site-override/station.pf || true   # diff exits 1 when the files differ

echo
echo "# The same through Python"
python=/usr/bin/python3
if "$python" -c 'import pybind11' 2>/dev/null; then
    venv="$work/venv"
    "$python" -m venv --system-site-packages "$venv"
    (cd "$root" && "$venv/bin/python" -m pip install --quiet --no-build-isolation --no-index .)
    cat > demo.py <<'PY'
import teskpf

cfg = teskpf.load("station")
rate = cfg.entry(("digitizer", "sample_rate"))
print(f"sample_rate {rate.value} from {rate.file}:{rate.line}, ok: {rate.ok}")
print("problems in broken.pf:", len(teskpf.check("broken.pf")))
with teskpf.edit("./station.pf") as ed:  # a path: that one file
    ed.set(("digitizer", "sample_rate"), "250")
print("now", teskpf.load("station")["digitizer"]["sample_rate"])
PY
    run "$venv/bin/python" demo.py
else
    echo "(skipped: $python cannot import pybind11; run scripts/setup.sh first)"
fi
