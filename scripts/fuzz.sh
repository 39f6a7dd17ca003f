#!/usr/bin/env bash
# Runs the fuzz targets of the preset native-fuzz:
#     fuzz.sh [TARGET] [MINUTES]     TARGET, or every one in turn, for MINUTES (1) each
#     fuzz.sh --fixed TARGET RUNS    the same inputs every time, and nothing is kept: for CTest
# Inputs that reach something new go to build/fuzz/TARGET, what breaks something to build/fuzz/found.
set -euo pipefail
cd "$(dirname "$0")/.."

programs=build/native-fuzz/targets
found=build/fuzz/found
export UBSAN_OPTIONS=print_stacktrace=1

# start TARGET LOG OPTION...: one process of a target, in the background.
start() {
    local target=$1 log=$2 dictionary=tests/fuzz/dictionaries/$1.dict
    local options=(-max_len=1024 -timeout=20 -print_final_stats=1 -artifact_prefix="$found/$target-")
    [[ ! -e $dictionary ]] || options+=(-dict="$dictionary")
    "$programs/${target}_fuzz" "${options[@]}" "${@:3}" >"$log" 2>&1 &
    workers+=($!)
}

# Waits for all of them, or for an interrupt, which ends them. False when one of them has failed.
finish() {
    local worker status=0
    for worker in "${workers[@]}"; do
        wait "$worker" 2>/dev/null || status=1
    done
    return "$status"
}

# How many inputs the processes of these logs have run: the last count that each has told.
executions() {
    local log sum=0 count
    for log in "$@"; do
        count=$(grep -aoE '^#[0-9]+|number_of_executed_units: [0-9]+' "$log" | tail -n 1 | grep -oE '[0-9]+' || echo 0)
        sum=$((sum + count))
    done
    echo "$sum"
}

# run TARGET PROCESSES [OPTION...]: runs them to their end and tells in one line what they did.
run() {
    local target=$1 processes=$2 status=0 log logs=() count files
    workers=()
    mkdir -p "$found" build/log "build/fuzz/$target"
    touch "build/fuzz/$target.begin"
    for ((i = 1; i <= processes; ++i)); do
        log=build/log/fuzz-$target-$i.log
        logs+=("$log")
        start "$target" "$log" "${@:3}"
    done
    finish || status=$?
    count=$(executions "${logs[@]}")
    files=$(find "build/fuzz/$target" "tests/fuzz/corpus/$target" -type f 2>/dev/null | wc -l)
    echo "fuzz $target: $count executions in $SECONDS seconds, corpus of $files files"
    if [[ -n ${Q32BASE_TEST_FIGURES:-} ]]; then
        printf 'count\tfuzz executions\t%d\n' "$count" >>"$Q32BASE_TEST_FIGURES"
    fi
    ((status == 0 || interrupted)) || tell "$target" "${logs[@]}"
    ((!interrupted)) || exit 130
    return "$status"
}

# What was found, and how to see it again.
tell() {
    local target=$1 input
    grep -ahE '^found:|runtime error:|^SUMMARY:|ERROR: ' "${@:2}" >&2 || tail -n 20 "${@:2}" >&2
    while read -r input; do
        echo "fuzz $target: see it again with $programs/${target}_fuzz $input" >&2
    done < <(find "$found" -name "$target-*" -newer "build/fuzz/$target.begin")
}

names() {
    find "$programs" -name '*_fuzz' -printf '%f\n' | sed 's/_fuzz$//' | sort
}

interrupted=0
workers=()
# What they found lies in files already, and their own way of ending at an interrupt may hang. The
# shell has no need to tell that they were killed.
trap 'interrupted=1; exec 2>/dev/null; kill -KILL "${workers[@]}" || true' INT TERM

case ${1:-} in
    --fixed) # the seeds are not in a folder that it is given: it would write to that
        seeds=$(find "tests/fuzz/corpus/$2" -type f | sort | paste -sd ,)
        run "$2" 1 -seed=1 -runs="$3" ${seeds:+-seed_inputs="$seeds"}
        ;;
    --for) # TARGET PROCESSES MINUTES
        run "$2" "$3" -max_total_time="$((60 * $4))" "build/fuzz/$2" "tests/fuzz/corpus/$2"
        ;;
    '' | [0-9]*)
        names | xargs -P "$(nproc)" -I TARGET "$0" --for TARGET 1 "${1:-1}"
        ;;
    *)
        if [[ ! -x $programs/$1_fuzz ]]; then
            echo "There is no target $1, but $(names | paste -sd ' ')" >&2
            exit 2
        fi
        exec "$0" --for "$1" "$(nproc)" "${2:-1}"
        ;;
esac
