#!/usr/bin/env bash
# Writes CASE.out (and CASE.log when the case has one) from a run of the
# current binary, for a new case or an intended change. Read what it wrote
# before committing it: a recorded mistake is a test that defends the bug.
#
# usage: record_case.sh KESTREL CASE_PATH...
set -u
kestrel=$1; shift
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
version_line=$(cd "$(mktemp -d)" && "$kestrel" < /dev/null | sed -n 10p)
header_lines=$(wc -l < "$here/header.txt")

source "$here/mask.sh"
# Replaces each copy of the start-up block (it always follows a line break)
# with @HEADER@.
fold_header() {
    python3 -c '
import sys
header = open(sys.argv[1]).read()
text = sys.stdin.read()
sys.stdout.write(text.replace("\n" + header, "\n@HEADER@\n"))' "$here/header.txt"
}

for case in "$@"; do
    case=$(realpath "${case%.tcl}.tcl"); case=${case%.tcl}
    work=$(mktemp -d)
    cp -r "$source_dir/kestrellibs" "$work/"
    args=()
    [ -f "$case.args" ] && mapfile -t args < "$case.args"
    [ -f "$case.setup" ] && (cd "$work" && SOURCE_DIR="$source_dir" KESTREL="$kestrel" bash -e "$case.setup")
    (cd "$work" && "$kestrel" "${args[@]}" < "$case.tcl" > console.txt 2>&1)
    echo "$case: exit status $?"
    mask "$version_line" "$case.mask" < "$work/console.txt" | fold_header > "$case.out"
    [ -f "$work/log.txt" ] && mask "$version_line" "$case.mask" < "$work/log.txt" | fold_header > "$case.log"
    rm -rf "$work"
done
