#!/usr/bin/env bash
# Configures and builds the named presets: compile.sh PRESET... Silent unless something fails.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/log

for preset in "$@"; do
    echo "Building $preset"
    log=build/log/$preset.log
    { cmake --preset "$preset" && cmake --build --preset "$preset"; } >"$log" 2>&1 </dev/null ||
        { cat "$log" >&2; exit 1; }
done
