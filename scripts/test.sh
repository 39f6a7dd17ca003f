#!/usr/bin/env bash
# Runs a round of the tests of all built presets as one CTest run with one summary:
#     test.sh short|medium|long [FILTER]
# The medium round has the short one in it, and the long one everything.
set -euo pipefail
cd "$(dirname "$0")/.."
round=$1
filter=${2:-}

mkdir -p build/all
for preset in native-asan native-fuzz native win64 win32; do # the longest first
    [[ ! -e build/$preset/CTestTestfile.cmake ]] || echo "subdirs(\"../$preset\")"
done >build/all/CTestTestfile.cmake

case $round in
    short) labels='^short$' ;;
    medium) labels='^(short|medium)$' ;;
    long) labels='.' ;;
esac
trap 'scripts/wine-run --stop' EXIT
export Q32BASE_TEST_ROUND=$round
# A program that stands still under Wine costs a second try, which CTest prints, and not the round. A
# test that fails is never tried again.
# One more at once than there are processors: programs that are driven from outside wait now and then.
ctest --test-dir build/all --output-on-failure --no-tests=error --repeat after-timeout:2 \
    -j "$(($(nproc) + 1))" -L "$labels" ${filter:+-R "$filter"}
