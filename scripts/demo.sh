#!/usr/bin/env bash
# Installs the dependencies, builds, and runs a short demonstration session.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
dir=$("$root/scripts/build.sh" normal)
cd "$root"
"$dir/kestrel" -e < "$root/examples/l2cap_echo.tcl"
