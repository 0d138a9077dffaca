#!/usr/bin/env bash
# Installs what Kestrel needs to build and test on Debian 12. Quick when all
# of it is present already; otherwise it updates the package lists first.
set -euo pipefail

packages=(
    build-essential cmake pkg-config
    tcl8.6-dev tcl            # the interpreter library, and tclsh for the start-up benchmark
    libgtest-dev              # unit tests
    libusb-1.0-0-dev          # chips on USB
    expect socat              # terminal tests; pseudo-terminal pairs
    clang libclang-rt-14-dev  # libFuzzer for tests/fuzz/run_fuzzers.sh
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -ne 0 ] && sudo=(sudo)
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
