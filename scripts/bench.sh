#!/usr/bin/env bash
# Prints the benchmarks: row kernels and buffer exports under Wine, then both beside peers:
#     bench.sh [short]    the short form has the kernels beside their peers, with fewer samples
set -euo pipefail
cd "$(dirname "$0")/.."

beside_peers() {
    printf '\nThe row kernels beside other libraries, 64 bits, on this machine\n'
    /usr/bin/python3 bench/peers/numpy_bits.py >build/numpy.txt
    build/native/bin/rows_peers build/numpy.txt

    printf '\nMerging and colour spaces beside other libraries, 64 bits, on this machine\n'
    build/native/bin/merge_peers

    printf '\nResampling beside other libraries, 64 bits, on this machine\n'
    build/native/bin/resample_peers

    printf '\nPreparing for displays beside other libraries, 64 bits, on this machine\n'
    build/native/bin/display_peers
}

if [[ ${1:-} == short ]]; then
    export Q32BASE_BENCH_ROUNDS=9
    beside_peers
    exit 0
fi

trap 'scripts/wine-run --stop' EXIT
echo "The row kernels, 32 bits, under Wine"
scripts/wine-run build/win32/bin/rows_bench.exe
printf '\n'
scripts/wine-run build/win32/bin/scaling_bench.exe

printf '\nThe kernel to copy (samples/kernel), 32 bits, under Wine\n'
scripts/wine-run build/win32/bin/dim_bench.exe

printf '\nThe merge and colour kernels, 32 bits, under Wine\n'
scripts/wine-run build/win32/bin/merge_bench.exe

printf '\nThe resampling kernels, 32 bits, under Wine\n'
scripts/wine-run build/win32/bin/resample_bench.exe

printf '\nThe display kernels, 32 bits, under Wine\n'
scripts/wine-run build/win32/bin/display_bench.exe

printf '\nThe buffers of Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/buffers_bench.exe 2> >(sed '/^wine: /d' >&2)
printf '\n'
scripts/wine-run build/win32/bin/rectangles_bench.exe build/rectangles.txt

printf '\nRectangles of plain images in Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/plain_images_bench.exe

printf '\nMerging in Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/merge_exports_bench.exe

printf '\nResampling in Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/resample_exports_bench.exe

printf '\nShowing pictures with Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/display_exports_bench.exe

printf '\nQueues and colour separation in Q32BASE.DLL, under Wine\n'
scripts/wine-run build/win32/bin/queues_bench.exe
scripts/wine-run build/win32/bin/separation_bench.exe

beside_peers

printf '\nRectangles, the DLL (32 bits, under Wine) beside a tile buffer (64 bits, on this machine)\n'
build/native/bin/buffers_peers build/rectangles.txt
