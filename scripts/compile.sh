#!/usr/bin/env bash
# Configures a preset and builds it, or the named targets of it: compile.sh PRESET [TARGET...]
# Silent unless something fails.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/log

preset=$1
shift
echo "Building $preset"
log=build/log/$preset.log
{ cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1 </dev/null ||
    { cat "$log" >&2; exit 1; }
