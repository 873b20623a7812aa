#!/bin/sh
# Runs a live-reloading example (examples/watch_reload.cpp, or the Python
# one: the command is the rest of the arguments) as an operator would meet
# it: starts it, edits the site layer once it is watching, and expects the
# reload. Every wait is bounded: 10 s for the start, 10 s (the example's own
# limit) for the reload.
#
#   watch_reload_test.sh EXAMPLES_COPY COMMAND...
set -eu
dir=$1
shift
out=$dir/watch-output
"$@" 10 > "$out" &
pid=$!
tries=0
until grep -q '^watching' "$out"; do
    tries=$((tries + 1))
    if [ "$tries" -gt 1000 ]; then kill "$pid"; echo "the example did not start"; exit 1; fi
    sleep 0.01
done
# A save as editors make it: a temporary file renamed over the layer.
sed 's/^\tport\t18001/\tport\t18002/' "$dir/site-override/station.pf" > "$dir/site-override/.station.pf.tmp"
mv "$dir/site-override/.station.pf.tmp" "$dir/site-override/station.pf"
wait "$pid"
cat "$out"
grep -q '^changed \["telemetry"\]\["port"\]: .18001. -> .18002.' "$out"
grep -q '^telemetry port now 18002$' "$out"
