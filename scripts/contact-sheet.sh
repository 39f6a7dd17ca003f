# shellcheck shell=bash
# contact_sheet FILE.png PICTURE.png CAPTION...: small copies side by side over their captions.

sheet_columns=3
sheet_tile_width=320
sheet_tile_height=260

contact_sheet() {
    local file=$1 work number=0 tiles=() rows=()
    shift
    work=$(mktemp -d)
    while (($#)); do
        pngtopnm -quiet "$1" | pamscale -quiet -xyfit "$sheet_tile_width" "$sheet_tile_height" >"$work/small"
        pbmtext -quiet -builtin fixed "$2" >"$work/caption"
        pnmcat -quiet -topbottom -jcenter -white "$work/small" "$work/caption" |
            pnmpad -quiet -white -width "$((sheet_tile_width + 12))" -halign 0.5 -top 6 >"$work/tile-$number"
        tiles+=("$work/tile-$number")
        number=$((number + 1))
        shift 2
        if ((${#tiles[@]} == sheet_columns || $# == 0)); then
            pnmcat -quiet -leftright -jtop -white "${tiles[@]}" >"$work/row-$number"
            rows+=("$work/row-$number")
            tiles=()
        fi
    done
    pnmcat -quiet -topbottom -jleft -white "${rows[@]}" | pnmtopng -quiet >"$file"
    rm -rf "$work"
}
