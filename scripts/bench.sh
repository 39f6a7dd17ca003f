#!/usr/bin/env bash
# Prints all benchmarks: kernels and exports of both editions under Wine, then kernels beside peers. What
# is measured also goes to a file of figures (Q32BASE_BENCH_FILE; scripts/bench.py full makes one):
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

# A title, and one benchmark of both editions below it.
both_editions() {
    printf '\n%s, under Wine\n' "$1"
    scripts/both_editions.py "${@:2}"
}

trap 'scripts/wine-run --stop' EXIT
both_editions "The row kernels" rows
both_editions "Scaling by whole factors" scaling
both_editions "The kernel to copy (samples/kernel)" dim
both_editions "The merge and colour kernels" merge
both_editions "The resampling kernels" resample
both_editions "The display kernels" display
both_editions "The buffers of Q32BASE.DLL" buffers
both_editions "Rectangles in Q32BASE.DLL" rectangles 'build/{edition}/rectangles.txt'
both_editions "Rectangles of plain images in Q32BASE.DLL" plain_images
both_editions "Short rows in Q32BASE.DLL" short_rows
both_editions "Merging in Q32BASE.DLL" merge_exports
both_editions "Resampling in Q32BASE.DLL" resample_exports
both_editions "Showing pictures with Q32BASE.DLL" display_exports
both_editions "Queues in Q32BASE.DLL" queues
both_editions "Colour separation in Q32BASE.DLL" separation

beside_peers

printf '\nA photograph of 4000 x 3000 at 640 x 480: q32tool and q32view (32 bits, under Wine) beside tools of 64 bits\n'
/usr/bin/python3 bench/pictures/one_picture.py build/win32/bin/q32tool.exe build/win32/bin/q32view.exe \
    scripts/wine-run build/bench

printf '\nTwo hundred photographs of 1600 x 1200, 320 pixels wide: q32tool (32 bits, under Wine) beside\n'
printf 'mogrify and vipsthumbnail (64 bits, on this machine)\n'
/usr/bin/python3 bench/pictures/many_pictures.py build/win32/bin/q32tool.exe scripts/wine-run build/bench

printf '\nRectangles, the DLL (32 bits, under Wine) beside a tile buffer (64 bits, on this machine)\n'
build/native/bin/buffers_peers build/win32/rectangles.txt
printf '\nMeasured in %d minutes\n' $(((SECONDS + 59) / 60))
