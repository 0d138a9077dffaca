#!/usr/bin/env bash
# Runs one script case with a private X server: starts Xvfb on a display it
# finds free itself, records the pointer's button events with the recorder
# while tests/script/run_case.sh runs the case, then compares those events
# with CASE.events. Xvfb and the recorder are stopped by their process ids.
# A missing Xvfb or xdotool fails the test: scripts/install-deps.sh installs
# them.
#
# usage: run_case.sh KESTREL SOURCE_DIR CASE_PATH VERSION_LINE RECORDER
set -u
kestrel=$1 source_dir=$2 case=$3 version_line=$4 recorder=$5
here=$(cd "$(dirname "$0")" && pwd)

for tool in Xvfb xdotool; do
    command -v "$tool" > /dev/null || { echo "$tool is missing; scripts/install-deps.sh installs it"; exit 1; }
done

work=$(mktemp -d)
xvfb_pid="" recorder_pid=""
stop() {
    [ -n "$recorder_pid" ] && kill "$recorder_pid" 2> /dev/null && wait "$recorder_pid" 2> /dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2> /dev/null && wait "$xvfb_pid" 2> /dev/null
    rm -rf "$work"
}
trap stop EXIT

# -displayfd: Xvfb takes the first free display and writes its number.
Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3> "$work/display" 2> "$work/xvfb.log" &
xvfb_pid=$!
for _ in $(seq 100); do
    grep -q . "$work/display" && break
    kill -0 "$xvfb_pid" 2> /dev/null || break
    sleep 0.1
done
display=$(head -n 1 "$work/display")
if [ -z "$display" ]; then
    echo "Xvfb did not start:"
    cat "$work/xvfb.log"
    exit 1
fi
export DISPLAY=":$display"

"$recorder" > "$work/events" 2>&1 &
recorder_pid=$!
for _ in $(seq 100); do
    grep -q '^ready$' "$work/events" && break
    sleep 0.1
done
grep -q '^ready$' "$work/events" || { echo "the event recorder did not start:"; cat "$work/events"; exit 1; }

"$here/../script/run_case.sh" "$kestrel" "$source_dir" "$case" "$version_line"
status=$?

# Kestrel waits until the server has taken every input; the recorder may
# still be reading the last ones.
expected_lines=$(wc -l < "$case.events")
for _ in $(seq 50); do
    [ "$(grep -vc '^ready$' "$work/events")" -ge "$expected_lines" ] && break
    sleep 0.1
done
sleep 0.2
if ! diff -u "$case.events" <(grep -v '^ready$' "$work/events") > "$work/diff.txt"; then
    echo "the button events differ from $(basename "$case").events:"
    cat "$work/diff.txt"
    status=1
fi
exit $status
