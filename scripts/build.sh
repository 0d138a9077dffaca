#!/usr/bin/env bash
# Builds one flavour of Kestrel into build/FLAVOUR and prints that directory.
#   normal   optimised with debug information
#   asan     AddressSanitizer and UndefinedBehaviorSanitizer
#   tsan     ThreadSanitizer
set -euo pipefail
flavour=${1:-normal}
root=$(cd "$(dirname "$0")/.." && pwd)
case "$flavour" in
    normal) sanitize="" ;;
    asan) sanitize=address ;;
    tsan) sanitize=thread ;;
    *) echo "unknown flavour '$flavour' (normal, asan or tsan)" >&2; exit 2 ;;
esac
dir="$root/build/$flavour"
mkdir -p "$dir"
cmake -S "$root" -B "$dir" -DKESTREL_SANITIZE="$sanitize" > "$dir/configure.log" 2>&1 \
    || { cat "$dir/configure.log" >&2; exit 1; }
cmake --build "$dir" -j "$(nproc)" >&2
echo "$dir"
