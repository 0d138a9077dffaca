#!/usr/bin/env bash
# Installs the dependencies, builds, and runs every test: units, script
# sessions through the real binary, and terminal sessions.
#   scripts/test.sh [normal|asan|tsan]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
flavour=${1:-normal}
"$root/scripts/install-deps.sh"
dir=$("$root/scripts/build.sh" "$flavour")
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd "$dir"
ctest --output-on-failure -j "$(nproc)"
