#!/usr/bin/env bash
# Validated goodput of the throughput tests (L2CAP and RFCOMM, echoed,
# sourced and sunk by the simulated remote peer) over the simulated air and
# over a simulated 921600-baud PTSP line, with the CPU time Kestrel and the
# simulator each spend per megabyte moved. The chip is a petrelsim process
# on a Unix socket, driven through two pipes (bench/throughput_rate.tcl).
# Prints figures; judges none.
# usage: bench/throughput_bench.sh [KESTREL [PETRELSIM]] [air] [line]
#        (default: build/normal/kestrel and petrelsim, both parts)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kestrel=$root/build/normal/kestrel
petrelsim=$root/build/normal/petrelsim
[[ $# -gt 0 && $1 != air && $1 != line ]] && { kestrel=$1; shift; }
[[ $# -gt 0 && $1 != air && $1 != line ]] && { petrelsim=$1; shift; }
parts=${*:-air line}
cd "$root"
dir=$(mktemp -d)
sim_pid=
cleanup() {
    [[ -n $sim_pid ]] && kill "$sim_pid" 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT
export KESTREL_CLOCK_TICKS=$(getconf CLK_TCK) KESTREL_BENCH_DIR=$dir
for part in $parts; do
    rm -f "$dir/in" "$dir/out" "$dir/chip.sock"
    mkfifo "$dir/in" "$dir/out"
    "$petrelsim" --unix "$dir/chip.sock" < "$dir/in" > "$dir/out" 2>/dev/null &
    sim_pid=$!
    export KESTREL_BENCH_SIM_PID=$sim_pid
    printf 'set bench_part %s\nsource bench/throughput_rate.tcl\n' "$part" | "$kestrel" \
        | grep "BENCH " | sed "s/^\(KESTREL>\)*BENCH //"
    wait "$sim_pid" || true
    sim_pid=
done
