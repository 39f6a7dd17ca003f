#!/usr/bin/env bash
# Runs the tests of all built presets as one CTest run with one summary: test.sh [FILTER]
set -euo pipefail
cd "$(dirname "$0")/.."

mkdir -p build/all
for preset in native-asan native win32; do # the longest first
    echo "subdirs(\"../$preset\")"
done >build/all/CTestTestfile.cmake

trap 'scripts/wine-run --stop' EXIT
ctest --test-dir build/all --output-on-failure --no-tests=error -j "$(nproc)" ${1:+-R "$1"}
