#!/usr/bin/env bash
# Fuzzes number conversion and the byte, word and long array conversions
# with libFuzzer (clang, AddressSanitizer, UndefinedBehaviorSanitizer), each
# target for SECONDS (default 80), three targets in turn: numbers, arrays
# without an interpreter, arrays with one (the $ tokens). Not part of ctest:
# it takes minutes. Builds and works in build/fuzz; a crash leaves its input
# there and makes the script fail.
#
# usage: tests/fuzz/run_fuzzers.sh [SECONDS]
set -euo pipefail
seconds=${1:-80}
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work="$root/build/fuzz"
mkdir -p "$work"

cxx=${CXX_FUZZ:-clang++}
command -v "$cxx" > /dev/null || { echo "$cxx not found: run scripts/install-deps.sh" >&2; exit 1; }
tcl_include=$(dirname "$(find /usr/include -name tcl.h -path '*tcl8.6*' | head -1)")
flags=(-std=c++20 -g -O1 -fno-omit-frame-pointer -fsanitize=fuzzer,address,undefined
       -fno-sanitize-recover=undefined -I"$root" -I"$tcl_include")
encode=("$root/encode/number_conversion.cpp" "$root/encode/array_conversion.cpp" "$root/shell/output.cpp")

echo "building the fuzz targets in $work"
"$cxx" "${flags[@]}" "$here/fuzz_number_conversion.cpp" "$root/encode/number_conversion.cpp" \
    -o "$work/fuzz_number_conversion"
"$cxx" "${flags[@]}" "$here/fuzz_array_conversion.cpp" "${encode[@]}" -ltcl8.6 -o "$work/fuzz_array_conversion"
"$cxx" "${flags[@]}" -DKESTREL_FUZZ_INTERP "$here/fuzz_array_conversion.cpp" "${encode[@]}" -ltcl8.6 \
    -o "$work/fuzz_array_conversion_interp"

# Seeds: the texts the unit tests use, so the fuzzer starts from real syntax.
seed() {  # seed CORPUS NAME TEXT
    mkdir -p "$work/$1"
    printf '%b' "$3" > "$work/$1/seed_$2"
}
seed number_corpus hex '\x00 0x1F'; seed number_corpus oct '\x0017'; seed number_corpus b '\x00b101'
seed number_corpus true '\x00-Truex'; seed number_corpus base '\x10 1f'; seed number_corpus blank '\x00\v\t 42'
for corpus in array_corpus array_interp_corpus; do
    seed $corpus list '{ 1 2 0x33 }'; seed $corpus string "'AB\\\\n' \\\"x\\\\cA\\\\cB\\\\x00\\\\x41\\\\\""
    seed $corpus mixed "1,'xy',\$fixed { 0x1FF }"
done
seed array_interp_corpus vars '$a 5 $b\x00$b 1\x00 2 $fixed'
seed array_interp_corpus missing '5 $missing 6\x00\x00'

status=0
run() {  # run TARGET CORPUS [DICT]
    local target=$1 corpus=$2
    shift 2
    echo "== $target, ${seconds}s"
    mkdir -p "$work/$corpus" "$work/artifacts"
    if ! (cd "$work" && "./$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=8192 \
            -print_final_stats=1 -artifact_prefix="$work/artifacts/$target-" "$@" "$work/$corpus" \
            > "$work/$target.log" 2>&1); then
        echo "$target FAILED: see $work/$target.log and $work/artifacts/"
        status=1
    fi
    grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+.*DONE|ERROR|SUMMARY" \
        "$work/$target.log" || true
}
run fuzz_number_conversion number_corpus
run fuzz_array_conversion array_corpus -dict="$here/array_conversion.dict"
run fuzz_array_conversion_interp array_interp_corpus -dict="$here/array_conversion.dict"
exit $status
