#!/usr/bin/env bash
# Runs one example of examples/ as a user would, in batch mode, in a fresh
# working directory with the script library: it passes when the session ends
# without Kestrel aborting on an error (each example checks its own results
# and raises an error when one is wrong).
# usage: run_example.sh KESTREL SOURCE_DIR EXAMPLE.tcl
set -u
kestrel=$1 source_dir=$2 example=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$source_dir/kestrellibs" "$work/"
(cd "$work" && "$kestrel" -b < "$example" > "$work/console.txt" 2>&1)
rc=$?
if [ $rc -ne 0 ] || grep -q "Aborting Kestrel due to errors" "$work/console.txt"; then
    cat "$work/console.txt"
    echo "example failed (exit status $rc)"
    exit 1
fi
grep -v '^KESTREL>$' "$work/console.txt" | sed -n '/^Batch mode enabled/,/^Session Statistics/p'
