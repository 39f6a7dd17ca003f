#!/usr/bin/env bash
# Shows the library at work: demo.sh [PICTURE...]. Takes a photograph, or the given pictures, through
# each of the scenes below and leaves the results in build/demo, with a sheet of all of them.
set -euo pipefail
callers_folder=$PWD
cd "$(dirname "$0")/.."
# shellcheck source=scripts/contact-sheet.sh
source scripts/contact-sheet.sh

photograph=/usr/share/palapeli/collection/european-honey-bee.jpg # both in the public domain
second_photograph=/usr/share/palapeli/collection/citrus-fruits.jpg
out=build/demo
swap=$out/swap

# file|what it shows|command of q32tool, for a picture of a size. IN stands for the picture, names of PNG
# files for files of the demo: scenes use what earlier ones have made. Without words a file is only
# a step to another.
scenes() { # WIDTH HEIGHT
    local w=$1 h=$2
    # A detail above and left of the middle, a frame around it, and a tile to repeat.
    local detail_at=$((w * 3 / 10)),$((h / 5)) detail_w=$((w / 4 + 1)) detail_h=$((h / 4 + 1))
    local frame=$((w / 100 + 1)) tile_at=$((w * 37 / 100)),$((h / 4))
    local framed_size=$((detail_w + 2 * frame))x$((detail_h + 2 * frame))
    local bar_at=-10,$((h * 17 / 20)) bar_size=$((w * 3 / 5 + 11))x$((h / 10 + 1))
    local part_at=$((w / 6)),$((h * 13 / 20)) part_size=$((w * 2 / 3 + 1))x$((h / 4 + 1))
    cat <<SCENES
24-bit.png|24 bits: 8 of red, 8 of green, 8 of blue|convert IN 24-bit.png --bits 24
565.png|16 bits: 5 of red, 6 of green, 5 of blue|convert IN 565.png --bits 16 --format 565
555.png|16 bits: 5 of each channel|convert IN 555.png --bits 16 --format 555
grey.png|8 bits: grey|convert IN grey.png --bits 8
black-and-white.png|1 bit: white above the threshold|convert IN black-and-white.png --bits 1 --threshold 110
inverted.png|24 bits: every byte inverted|convert IN inverted.png --bits 24 --invert
detail.png|a rectangle cut out|crop IN detail.png --at $detail_at --size ${detail_w}x$detail_h
framed.png|a larger one, with a background|crop detail.png framed.png --at -$frame,-$frame --size $framed_size --background 250,180,40
pasted.png|pasted over the picture and its edge|paste IN framed.png pasted.png --at $((w * 4 / 5)),$((h * 7 / 10))
filled.png|a rectangle filled with a colour|fill pasted.png filled.png --at $bar_at --size $bar_size --colour 250,180,40
tile.png||crop IN tile.png --at $tile_at --size $((w / 12 + 1))x$((h / 12 + 1))
pattern.png|a small piece, repeated as a pattern|pattern IN tile.png pattern.png
pattern-part.png|the same in a rectangle|pattern IN tile.png pattern-part.png --at $part_at --size $part_size
petals.png|a mask of two ranges of colours|filter IN petals.png --range 190,150,230:50,60,25 --range 150,100,190:50,45,50
hue.png|the hue of each pixel|colorspace IN hue.png --to hsv --field hue
turned.png|all hues turned by 120 degrees|colorspace IN turned.png --to hls --turn-hue 120
SCENES
}

q32tool() { scripts/wine-run build/win32/bin/q32tool.exe "$@"; }
q32tool64() { scripts/wine-run build/win64/bin/q32tool.exe "$@"; }
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

# The same work by the 64-bit edition.
show_editions() { # PICTURE NAME
    echo
    echo "Scaled by the 32-bit edition and by the 64-bit edition:"
    q32tool scale "$1" "$out/$2-32.png" --percent 30 --timings 2>&1 | indented
    q32tool64 scale "$1" "$out/$2-64.png" --percent 30 --timings 2>&1 | indented
    cmp "$out/$2-32.png" "$out/$2-64.png" && echo "    Both give the same picture, byte for byte."
    rm -f "$out/$2-32.png" "$out/$2-64.png"
}

# Pixels as numbers, and a bitmap that comes back as it was although its pixels were rearranged.
show_numbers_and_bitmap() { # PICTURE NAME
    echo
    echo "The first pixels of the first rows, as 24 bits and as words of 5, 6 and 5 bits:"
    q32tool crop "$1" "$out/$2-corner.png" --at 0,0 --size 6x3 --background 0,0,0 --quiet 2>&1 | indented
    q32tool rows "$out/$2-corner.png" | indented
    q32tool rows "$out/$2-corner.png" --bits 16 --format 565 | indented
    echo
    echo "Through a bitmap buffer, in place:"
    q32tool convert "$1" "$out/$2-before.bmp" --quiet 2>&1 | indented
    q32tool bitmap "$out/$2-before.bmp" "$out/$2-after.bmp" | indented
    cmp "$out/$2-before.bmp" "$out/$2-after.bmp" && echo "    Both files are the same, byte for byte."
    rm -f "$out/$2-corner.png" "$out/$2-before.bmp" "$out/$2-after.bmp"
}

size_of() { # PICTURE
    q32tool info "$1" 2>/dev/null | sed -n 's/^size: \([0-9]*\) x \([0-9]*\) .*/\1 \2/p'
}

show_scenes() { # PICTURE NAME WIDTH HEIGHT
    local file shows command words word sheet=()
    echo
    while IFS='|' read -r file shows command; do
        words=()
        for word in $command; do
            case $word in
                IN) words+=("$1") ;;
                *.png) words+=("$out/$2-$word") ;;
                *) words+=("$word") ;;
            esac
        done
        q32tool "${words[@]}" >/dev/null </dev/null
        [[ -n $shows ]] || continue
        printf '%-52s %s\n' "$out/$2-$file" "$shows"
        sheet+=("$out/$2-$file" "$shows")
    done < <(scenes "$3" "$4")
    contact_sheet "$out/$2.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$2.png" "all of these side by side"
}

# A part of the picture under a part of the second photograph, in every mode, through a mask that is
# white in the middle. What the two premultiplied modes expect is made from the same part first.
show_modes() { # PICTURE NAME WIDTH HEIGHT
    local w=$3 h=$4 mode number=0 overlay sheet=()
    local base_w=$((w < 720 ? w : 720)) base_h=$((h < 480 ? h : 480))
    local base=$out/$2-base.png mask=$out/$2-mask.png fruit=$out/$2-fruit.png
    pgmramp -ellipse 720 480 | pnmtopng -quiet >"$mask"
    pgmramp -ellipse 720 480 | pnminvert | pnmtopng -quiet >"$out/$2-mask-inverted.png"
    {
        q32tool crop "$1" "$base" --at $(((w - base_w) / 2)),$(((h - base_h) / 3)) --size "${base_w}x$base_h"
        q32tool crop "$second_photograph" "$fruit" --at 190,240 --size 720x480
        q32tool compose --base "$fruit" --overlay "$mask" --mode multiply -o "$out/$2-over-black.png"
        q32tool compose --base "$fruit" --overlay "$mask" --mode multiply -o "$out/$2-over-white.png"
        q32tool compose --base "$out/$2-over-white.png" --overlay "$out/$2-mask-inverted.png" --mode add \
            -o "$out/$2-over-white.png"
    } >/dev/null </dev/null
    echo
    for mode in normal color hue saturation value lighten darken relief difference add subtract \
        multiply screen premul-black premul-white mask-subtract; do
        number=$((number + 1))
        overlay=$fruit
        [[ $mode == premul-black ]] && overlay=$out/$2-over-black.png
        [[ $mode == premul-white ]] && overlay=$out/$2-over-white.png
        q32tool compose --base "$base" --overlay "$overlay" --mask "$mask" --mode "$mode" \
            -o "$out/$2-merge-$mode.png" >/dev/null </dev/null
        sheet+=("$out/$2-merge-$mode.png" "$number $mode")
    done
    sheet_columns=4 contact_sheet "$out/$2-modes.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$2-modes.png" "a second photograph merged onto it in the sixteen modes"
    rm -f "$out/$2-mask-inverted.png" "$out/$2-over-black.png" "$out/$2-over-white.png"
}

# A detail enlarged by each method, so that its pixels can be compared, and the picture made small.
show_methods() { # PICTURE NAME WIDTH HEIGHT
    local w=$3 h=$4 method sheet=()
    local detail=$out/$2-small-detail.png detail_w=$((w < 72 ? w : 72)) detail_h=$((h < 60 ? h : 60))
    q32tool crop "$1" "$detail" --at $(((w - detail_w) * 39 / 100)),$(((h - detail_h) * 28 / 100)) \
        --size "${detail_w}x$detail_h" >/dev/null </dev/null
    for method in nearest bilinear bicubic; do
        q32tool scale "$detail" "$out/$2-enlarged-$method.png" --percent 800 --method $method \
            >/dev/null </dev/null
        q32tool scale "$1" "$out/$2-reduced-$method.png" --fit 576x480 --method $method \
            >/dev/null </dev/null
        sheet+=("$out/$2-enlarged-$method.png" "$method: eight times as large")
    done
    for method in nearest bilinear bicubic; do
        sheet+=("$out/$2-reduced-$method.png" "$method: the whole in the same size")
    done
    sheet_tile_width=576 sheet_tile_height=480 contact_sheet "$out/$2-methods.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$2-methods.png" "a detail enlarged and the whole reduced by three methods"
    rm -f "$detail"
}

# The picture, small as show_methods has made it, as users of other displays see it.
show_displays() { # NAME
    local name display shows file sheet=()
    while IFS='|' read -r name display shows; do
        file=$out/$1-on-$name.png
        # shellcheck disable=SC2086 # its name and options
        q32tool show "$out/$1-reduced-bicubic.png" -o "$file" --depth-of $display >/dev/null </dev/null
        sheet+=("$file" "$shows")
    done <<'DISPLAYS'
monochrome|monochrome|black and white
16-colours|16-colours|16 colours: each channel on or off
256-colours|256-colours|256 colours: a cube of 6 x 6 x 6, dithered
16-greys|256-colours --bits 8 --levels-16|256 colours: sixteen greys
high-colour|high-colour|high colour: 5 bits of each channel, dithered
true-colour|true-colour|true colour
DISPLAYS
    sheet_tile_width=576 sheet_tile_height=480 contact_sheet "$out/$1-displays.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$1-displays.png" "what users of other displays see of it"
}

# What a colour picker shows.
show_bars() { # NAME
    local bar options shows file number=0 sheet=()
    while IFS='|' read -r bar options shows; do
        number=$((number + 1))
        file=$out/$1-bar-$number.png
        # shellcheck disable=SC2086 # options
        q32tool bars "$bar" -o "$file" --size 320x260 $options >/dev/null </dev/null
        sheet+=("$file" "$shows")
    done <<'BARS'
hsb|--style 1|hues across, black to white down
hsb|--style 2|the same from right to left
hsb|--style 3|hues down, black to white across
hsb|--style 4|from the bottom up, white to black
grey|--horizontal|black to white
grey|--from 255 --to 0|white to black, down
colour|--horizontal --rainbow|once around the colour circle
colour|--rainbow|the same, down
colour|--horizontal --from 230,60,20 --to 20,90,200|from one colour to another
BARS
    contact_sheet "$out/$1-bars.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$1-bars.png" "the ramps of a colour picker"
}

# The plates of a print and what they give together, and the order in which jobs are worked through.
show_plates_and_jobs() { # NAME
    local plate sheet=("$out/$1-reduced-bicubic.png" "the picture")
    q32tool separate "$out/$1-reduced-bicubic.png" "$out/$1-plate.png" >/dev/null </dev/null
    for plate in cyan magenta yellow black; do
        sheet+=("$out/$1-plate-$plate.png" "the plate for $plate")
    done
    sheet+=("$out/$1-plate-proof.png" "all four printed")
    sheet_tile_width=432 sheet_tile_height=360 contact_sheet "$out/$1-plates.png" "${sheet[@]}"
    printf '%-52s %s\n' "$out/$1-plates.png" "the picture separated into the plates of a print"
    printf '%-52s %s\n' "$out/$1-jobs.png" "four clients' jobs, coloured by the order of their steps:"
    q32tool jobs "$out/$1-jobs.png" </dev/null | sed 1d | indented
}

# The viewer's window, with a picture and with its test card.
show_viewer() { # PICTURE
    local viewer=build/win32/bin/q32view.exe
    scripts/wine-run "$viewer" "$1" --size 640x440 --whole-window --screenshot "$out/viewer.png"
    scripts/wine-run "$viewer" --test-card --size 640x440 --whole-window \
        --screenshot "$out/viewer-test-card.png"
    printf '%-52s %s\n' "$out/viewer.png" "the viewer, and its test card beside it"
}

# The viewer's laboratories: two photographs merged, one on all displays, and buffers after most of a
# script.
show_laboratories() { # PICTURE
    local laboratory=(scripts/wine-run build/win32/bin/q32view.exe --size 780x560)
    "${laboratory[@]}" --laboratory merge "$1" "$second_photograph" --set mode=screen --set opacity=80 \
        --set place=stretch --screenshot "$out/merge-laboratory.png"
    "${laboratory[@]}" --laboratory display "$1" --screenshot "$out/display-laboratory.png"
    "${laboratory[@]}" --laboratory buffer --set step=30 --screenshot "$out/buffer-laboratory.png"
    printf '%-52s %s\n' "$out/merge-laboratory.png" "what a merge mode does, with its formula" \
        "$out/display-laboratory.png" "all displays side by side, with their dither cells" \
        "$out/buffer-laboratory.png" "where the cells of buffers live"
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
    show_editions "$picture" "$name"
    show_numbers_and_bitmap "$picture" "$name"
    read -r width height < <(size_of "$picture")
    show_scenes "$picture" "$name" "$width" "$height"
    show_modes "$picture" "$name" "$width" "$height"
    show_methods "$picture" "$name" "$width" "$height"
    show_displays "$name"
    show_bars "$name"
    show_plates_and_jobs "$name"
done
show_viewer "$(cd "$callers_folder" && realpath "$1")"
show_laboratories "$(cd "$callers_folder" && realpath "$1")"

echo
echo "The pictures are in $out; look at these first:"
for picture in "$@"; do
    name=$out/$(basename "${picture%.*}")
    printf '    %s\n' "$name.png" "$name-modes.png" "$name-methods.png" "$name-displays.png" "$name-bars.png" \
        "$name-plates.png"
done
printf '    %s\n' "$out/viewer.png" "$out/viewer-test-card.png" "$out/merge-laboratory.png" \
    "$out/display-laboratory.png" "$out/buffer-laboratory.png"
