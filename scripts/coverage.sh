#!/usr/bin/env bash
# Runs the tests on the libraries of build/win32-coverage, which count what is reached, and says what
# none of them reaches. The tests of kernels are built there as well; all others are the programs of
# build/win32, which load the counting library in place of the one that ships.
set -euo pipefail
cd "$(dirname "$0")/.."
counting=$PWD/build/win32-coverage
failed=0

run_tests() { # what build ctest-option...
    printf '\n%s\n' "$1"
    ctest --test-dir "build/$2" --output-on-failure --no-tests=error -j "$(nproc)" "${@:3}" || failed=1
}

trap 'scripts/wine-run --stop' EXIT
export Q32BASE_TEST_ROUND=medium Q32BASE_TEST_COUNTS=$counting/counts
rm -rf "$Q32BASE_TEST_COUNTS"
mkdir -p "$Q32BASE_TEST_COUNTS"
# The counts of an object get its name without the build's folder.
slashes=${counting//[^\/]/}
export GCOV_PREFIX_STRIP=${#slashes}

# A library that counts does not come to its start where threads have no slots left.
GTEST_FILTER=-Reports.NeedASlotOfTheThreads \
    run_tests 'Kernels, and the common library' win32-coverage -LE '^(long|library)$'
export Q32BASE_TEST_LIBRARY="Z:${counting//\//\\}\\bin\\Q32BASE.DLL"
run_tests 'The library' win32 -L '^library$' -L '^(short|medium)$'
# Of the ways in which calls fail the medium round draws a share; these are all. At its stop the
# library that counts needs memory for that.
GTEST_FILTER='-stop.*' \
    run_tests 'The library, with calls of the system failing' win32 -R '^failing_calls$'

scripts/coverage.py "$counting" tests/coverage-exceptions.txt || failed=1
exit "$failed"
