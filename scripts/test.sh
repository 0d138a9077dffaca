#!/usr/bin/env bash
# Installs the dependencies, builds, and runs every test: units, script
# sessions through the real binary, and terminal sessions.
#   scripts/test.sh [normal|asan|tsan]   (tsan runs the threaded units only)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
flavour=${1:-normal}
"$root/scripts/install-deps.sh"
dir=$("$root/scripts/build.sh" "$flavour")
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1}
cd "$dir"
# ThreadSanitizer looks at the threaded units; Tcl's own threads are not
# instrumented and would only add noise.
label=()
[ "$flavour" = tsan ] && label=(-L threaded)
ctest --output-on-failure -j "$(nproc)" "${label[@]}"
