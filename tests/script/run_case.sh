#!/usr/bin/env bash
# Runs one script case: pipes CASE.tcl into the real kestrel, in a fresh
# working directory that holds a copy of the script library, and compares
# the console with CASE.out exactly. Only what truly varies is masked: the
# session times and the build's version line. In CASE.out a line @HEADER@
# stands for the start-up block in header.txt.
#
# Optional files beside the case:
#   CASE.args     command-line arguments, one per line
#   CASE.rc       the expected exit status (default 0)
#   CASE.setup    shell commands run in the working directory first (with
#                 SOURCE_DIR and KESTREL, the binary, in the environment)
#   CASE.log      the expected content of log.txt in the working directory
#   CASE.mask     sed -E expressions for what else truly varies in the case
#
# With KESTREL_LINE_DELAY set (seconds), the case is fed one line at a time
# with that pause before each next line, as a slow machine would reach them.
# A case whose console then changes depends on a race with the chip.
#
# usage: run_case.sh KESTREL SOURCE_DIR CASE_PATH VERSION_LINE
set -u
kestrel=$1 source_dir=$2 case=$3 version_line=$4
here=$(cd "$(dirname "$0")" && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$source_dir/kestrellibs" "$work/"

args=()
[ -f "$case.args" ] && mapfile -t args < "$case.args"
if [ -f "$case.setup" ]; then
    (cd "$work" && SOURCE_DIR="$source_dir" KESTREL="$kestrel" bash -e "$case.setup") || { echo "setup failed"; exit 1; }
fi

if [ -n "${KESTREL_LINE_DELAY:-}" ]; then
    # perl passes every byte through unchanged, NULs and a last line
    # without its newline included.
    perl -e '$| = 1; while (<STDIN>) { print; select(undef, undef, undef, $ARGV[0]) }' \
        "$KESTREL_LINE_DELAY" < "$case.tcl" | (cd "$work" && "$kestrel" "${args[@]}" > "$work/console.txt" 2>&1)
    rc=${PIPESTATUS[1]}
else
    (cd "$work" && "$kestrel" "${args[@]}" < "$case.tcl" > "$work/console.txt" 2>&1)
    rc=$?
fi

source "$here/mask.sh"
# @HEADER@ lines of an expected file become the start-up block.
expand() {
    awk -v header="$here/header.txt" '
        $0 == "@HEADER@" { while ((getline line < header) > 0) print line; close(header); next }
        { print }' "$1"
}

status=0
expected_rc=0
[ -f "$case.rc" ] && expected_rc=$(cat "$case.rc")
if [ "$rc" != "$expected_rc" ]; then
    echo "exit status $rc, expected $expected_rc"
    status=1
fi
# compare EXPECTED_FILE ACTUAL_FILE: the expected file after header
# expansion against the masked actual one.
compare() {
    if ! diff -u <(expand "$1") <(mask "$version_line" "$case.mask" < "$2") > "$work/diff.txt"; then
        echo "$(basename "$2") differs from $(basename "$1"):"
        cat "$work/diff.txt"
        status=1
    fi
}
compare "$case.out" "$work/console.txt"
if [ -f "$case.log" ]; then
    if [ -f "$work/log.txt" ]; then
        compare "$case.log" "$work/log.txt"
    else
        echo "no log.txt was written"
        status=1
    fi
fi
exit $status
