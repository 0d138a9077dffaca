#!/usr/bin/env bash
# Two Kestrel sessions, each on its own chip of one petrelsim, set up an
# L2CAP channel between the chips and exchange data, each waiting for what
# the other does. Passes when both sessions end without an error.
# usage: run_two_sessions.sh KESTREL SOURCE_DIR
set -u
kestrel=$1 source_dir=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
cp -r "$source_dir/kestrellibs" "$work/"
cd "$work"
timeout 60 "$(dirname "$kestrel")/petrelsim" --unix "$work/a.sock" --unix "$work/b.sock" --ignore-eof \
    < /dev/null > where.txt 2>&1 &
sim=$!
trap 'kill $sim 2>/dev/null; wait $sim 2>/dev/null; rm -rf "$work"' EXIT
for i in $(seq 100); do [ "$(wc -l < where.txt)" -ge 2 ] && break; sleep 0.05; done
timeout 50 "$kestrel" -b -v "device=$work/b.sock" -v "session_start=$here/two_sessions/session_start.tcl" < "$here/two_sessions/acceptor.tcl" > acceptor.txt 2>&1 &
acceptor=$!
timeout 50 "$kestrel" -b -v "device=$work/a.sock" -v "session_start=$here/two_sessions/session_start.tcl" < "$here/two_sessions/initiator.tcl" > initiator.txt 2>&1
wait $acceptor
status=0
for side in acceptor initiator; do
    if grep -q "Aborting Kestrel due to errors" $side.txt || ! grep -q "^$side: " $side.txt; then
        echo "--- $side"; cat $side.txt; status=1
    else
        grep "^$side: " $side.txt
    fi
done
exit $status
