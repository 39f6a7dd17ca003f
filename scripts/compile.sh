#!/usr/bin/env bash
# Configures a preset and builds it, or the named targets of it: compile.sh PRESET [TARGET...]
# Shows how far it is: on a terminal in one line, else once a minute. All that the tools say goes to
# build/log, and is shown when something fails.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build/log

preset=$1
shift
log=build/log/$preset.log

# Ninja's "[done/all] what" of each step becomes the line to look at.
show_progress() {
    local line shown=0 end=$'\n'
    [[ ! -t 1 ]] || end=$'\r'
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$log"
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        [[ -t 1 ]] || ((SECONDS - shown >= 60)) || continue
        shown=$SECONDS
        printf 'Building %s: %s of %s, %d:%02d min%s' "$preset" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" \
            $((SECONDS / 60)) $((SECONDS % 60)) "$end"
    done
}

build() {
    cmake --preset "$preset" >"$log" 2>&1 </dev/null || return 1
    NINJA_STATUS='[%f/%t] ' cmake --build --preset "$preset" ${1:+--target "$@"} 2>&1 </dev/null |
        show_progress
}

printf 'Building %s\n' "$preset"
if ! build "$@"; then
    cat "$log" >&2
    exit 1
fi
[[ ! -t 1 ]] || printf '\e[K'
