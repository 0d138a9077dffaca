#!/usr/bin/env bash
# Two Kestrel sessions, each on its own chip of one petrelsim, set up an
# L2CAP channel between the chips, exchange data, run an L2CAP and an RFCOMM
# bulk test against each other (one sending, the other receiving, both
# checking the payloads), each waiting for what the other does. Passes when
# both sessions end without an error and the lines each prints about itself
# ("acceptor: ...", "initiator: ...") equal two_sessions/SIDE.out exactly.
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
for i in $(seq 100); do [ -f where.txt ] && [ "$(wc -l < where.txt)" -ge 2 ] && break; sleep 0.05; done
session() {
    timeout 50 "$kestrel" -b -v "device=$work/$1" -v "session_start=$here/two_sessions/session_start.tcl" \
        -v "throughput=$here/data/throughput.tcl" < "$here/two_sessions/$2.tcl" > "$2.txt" 2>&1
}
session b.sock acceptor &
acceptor=$!
session a.sock initiator
wait $acceptor
status=0
for side in acceptor initiator; do
    grep "^$side: " $side.txt > $side.lines
    if grep -q "Aborting Kestrel due to errors" $side.txt || ! diff -u "$here/two_sessions/$side.out" $side.lines; then
        echo "--- $side"; cat $side.txt; status=1
    else
        cat $side.lines
    fi
done
exit $status
