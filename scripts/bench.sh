#!/usr/bin/env bash
# Prints the benchmarks: the row exports of the DLL under Wine, then the kernels beside peers.
set -euo pipefail
cd "$(dirname "$0")/.."
trap 'scripts/wine-run --stop' EXIT

echo "The exports of Q32BASE.DLL, 32 bits, under Wine"
scripts/wine-run build/win32/bin/rows_bench.exe

printf '\nThe kernels beside other libraries, 64 bits, on this machine\n'
/usr/bin/python3 bench/peers/numpy_bits.py >build/numpy.txt
build/native/bin/rows_peers build/numpy.txt
