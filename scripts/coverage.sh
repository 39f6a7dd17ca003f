#!/usr/bin/env bash
# Runs the tests on the libraries of build/win32-coverage, which count what is reached, and says what
# none of them reaches. The tests of kernels are built there as well; all others are the programs of
# build/win32, which load the counting library in place of the one that ships.
set -euo pipefail
cd "$(dirname "$0")/.."
counting=$PWD/build/win32-coverage

# What only a display without true colours shows belongs to the long round.
displays='^(bars_on_contexts|display|display_runs|library)\.display'

run_tests() { # build ctest-option...
    ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$(nproc)" "${@:2}"
}

trap 'scripts/wine-run --stop' EXIT
find "$counting" -name '*.gcda' -delete
# Where the counts lie when seen from Wine: each process adds its own to those beside the objects.
export GCOV_PREFIX=Z: Q32BASE_TEST_ROUND=medium

run_tests win32-coverage -LE '^(long|library)$'
export Q32BASE_TEST_LIBRARY="Z:${counting//\//\\}\\bin\\Q32BASE.DLL"
run_tests win32 -L '^library$' -L '^(short|medium)$'
run_tests win32 -L '^library$' -R "$displays"
scripts/coverage.py "$counting" tests/coverage-exceptions.txt
