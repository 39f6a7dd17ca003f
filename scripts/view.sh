#!/usr/bin/env bash
# Opens the viewer: view.sh [PICTURE] [OPTION...]. Without a display, what it would show is saved.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
viewer=$source_dir/build/win32/bin/q32view.exe

if [[ -n ${DISPLAY:-} ]]; then
    export WINEPREFIX=$source_dir/build/wine/viewer WINEARCH=win32 WINEDEBUG=-all \
        WINEDLLOVERRIDES="mscoree,mshtml="
    mkdir -p "$WINEPREFIX"
    exec wine "$viewer" "$@"
fi

shown=$source_dir/build/demo/view.png
mkdir -p "${shown%/*}"
trap '"$source_dir/scripts/wine-run" --stop' EXIT
"$source_dir/scripts/wine-run" "$viewer" --size 720x480 --whole-window --screenshot "$shown" "$@"
echo "There is no display to open a window on. It would show what is now in $shown"
