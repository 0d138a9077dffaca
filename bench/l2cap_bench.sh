#!/usr/bin/env bash
# L2CAP data rate between Kestrel and the simulated remote peer (echoing,
# sourcing and sinking generated payloads), as a share of the simulated
# air's rate.
# usage: bench/l2cap_bench.sh [KESTREL]   (default: build/normal/kestrel)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kestrel=${1:-$root/build/normal/kestrel}
cd "$root"
echo "source bench/l2cap_rate.tcl" | "$kestrel" | grep -E "L2CAP (echo|from|to) " | sed "s/^KESTREL>//"
