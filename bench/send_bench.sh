#!/usr/bin/env bash
# Primitive commands per second from a script to the simulated chip.
# usage: bench/send_bench.sh [KESTREL]   (default: build/normal/kestrel)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kestrel=${1:-$root/build/normal/kestrel}
cd "$root"
echo "source bench/send_rate.tcl" | "$kestrel" | grep "commands/s" | sed "s/^KESTREL>//"
