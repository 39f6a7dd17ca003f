#!/usr/bin/env bash
# Shows the library at work: demo.sh [PICTURE...]. Takes a photograph, or the given pictures, through
# each of the scenes below and leaves the results in build/demo, with a sheet of all of them.
set -euo pipefail
callers_folder=$PWD
cd "$(dirname "$0")/.."
# shellcheck source=scripts/contact-sheet.sh
source scripts/contact-sheet.sh

photograph=/usr/share/palapeli/collection/european-honey-bee.jpg # in the public domain
out=build/demo
swap=$out/swap

# name|what it shows|options of q32tool convert
scenes=(
    "24-bit|24 bits: 8 of red, 8 of green, 8 of blue|--bits 24"
    "565|16 bits: 5 of red, 6 of green, 5 of blue|--bits 16 --format 565"
    "555|16 bits: 5 of each channel|--bits 16 --format 555"
    "grey|8 bits: grey|--bits 8"
    "black-and-white|1 bit: white above the threshold|--bits 1 --threshold 110"
    "inverted|24 bits: every byte inverted|--bits 24 --invert"
)

q32tool() { scripts/wine-run build/win32/bin/q32tool.exe "$@"; }
indented() { sed '/^wine: /d; s/^/    /'; } # Wine remarks that it cannot read the disk's label

# The same picture through a buffer in memory and through one in a swap file, with what both cost.
show_storage() { # PICTURE NAME
    local storage
    for storage in memory file; do
        echo
        echo "Through a buffer in ${storage/file/a swap file}:"
        q32tool convert "$1" "$out/$2-$storage.png" --storage "$storage" --swap-dir "$swap" --timings \
            2>&1 | indented
    done
    cmp "$out/$2-memory.png" "$out/$2-file.png" && echo "    Both give the same picture, byte for byte."
    rm -f "$out/$2-memory.png" "$out/$2-file.png"
}

show_scenes() { # PICTURE NAME
    local scene scene_name shows options sheet=()
    echo
    for scene in "${scenes[@]}"; do
        IFS='|' read -r scene_name shows options <<<"$scene"
        # shellcheck disable=SC2086  # options are words
        q32tool convert "$1" "$out/$2-$scene_name.png" $options >/dev/null
        printf '%-52s %s\n' "$out/$2-$scene_name.png" "$shows"
        sheet+=("$out/$2-$scene_name.png" "$shows")
    done
    contact_sheet "$out/$2.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$2.png" "all of these side by side"
}

(($#)) || set -- "$photograph"
rm -rf "$out"
mkdir -p "$swap"
trap 'scripts/wine-run --stop; rmdir "$swap" 2>/dev/null || true' EXIT

for picture in "$@"; do
    picture=$(cd "$callers_folder" && realpath "$picture")
    name=$(basename "${picture%.*}")
    echo
    q32tool info "$picture" | indented
    show_storage "$picture" "$name"
    show_scenes "$picture" "$name"
done

echo
echo "The pictures are in $out; look at these first:"
for picture in "$@"; do
    echo "    $out/$(basename "${picture%.*}").png"
done
