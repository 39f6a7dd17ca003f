#!/usr/bin/env bash
# Layout and static analysis of everything in the tree. Prints what is wrong, and nothing else.
set -euo pipefail
cd "$(dirname "$0")/.."

# The compile commands of the product and of the kernels, without building anything: each source by
# itself, and without headers that another compiler has precompiled.
mkdir -p build/log
for preset in win32-debug native; do
    cmake --preset "$preset" -B "build/lint/$preset" -DQ32BASE_JOIN_SOURCES=OFF \
        -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >build/log/"$preset".log 2>&1 ||
        { cat build/log/"$preset".log >&2; exit 1; }
done

mapfile -t code < <(git ls-files --cached --others --exclude-standard '*.c' '*.cpp' '*.h')
# Clang reads what ships and what measures it; tests have the other checks.
units=$(printf '%s\n' "${code[@]}" | grep -E '\.cpp$' | grep -vE '^tests/|_test\.cpp$')
# Other libraries are measured beside ours only where they are installed (./run setup bench).
if ! grep -q '/bench/peers/' build/lint/native/compile_commands.json; then
    echo "Left out: bench/peers, whose libraries are not installed"
    units=$(grep -v '^bench/peers/' <<<"$units")
fi
# Samples are built by their own CMakeLists.txt, in C++17 and with exceptions.
samples=$(grep '^samples/[0-9]' <<<"$units")
units=$(grep -v '^samples/[0-9]' <<<"$units")
native='/kernels/|^src/library/process/cpu|^bench/peers/'
status=0

# Runs a check and remembers that it found something.
check() {
    echo "Checking with $1"
    "${@:2}" || status=1
}

# tidy FOLDER [OPTION...]: reads file names from standard input, a few at a time for each processor.
# What it says beside its findings ("12 warnings generated") is kept out of sight.
# shellcheck disable=SC2317  # called by check
tidy() {
    tr '\n' '\0' | xargs -0 -P "$(nproc)" -n 4 clang-tidy --quiet -p "$@" 2>>build/log/clang-tidy.log
}

# Clang reads the Windows sources as the cross compiler does: its target, its headers but for the
# compiler's own, which are Clang's. Neither compiler knows all warnings of the other.
common_options=(--extra-arg=-Wno-unknown-warning-option)
cross_options=(--extra-arg=--target=i686-w64-windows-gnu)
while read -r folder; do
    cross_options+=("--extra-arg=-isystem$folder")
done < <(i686-w64-mingw32-g++-posix -E -x c++ - -v </dev/null 2>&1 |
    sed -n '/search starts/,/End of/s/^ //p' | grep -v '/12-posix/include$')

check "clang-format" clang-format --dry-run -Werror "${code[@]}"
check "clang-tidy, natively" tidy build/lint/native "${common_options[@]}" \
    < <(grep -E "$native" <<<"$units")
check "clang-tidy, for Windows" tidy build/lint/win32-debug "${common_options[@]}" \
    "${cross_options[@]}" < <(grep -vE "$native" <<<"$units")
# shellcheck disable=SC2086 # names without spaces
check "clang-tidy, samples" clang-tidy --quiet "${common_options[@]}" "${cross_options[@]}" $samples -- \
    -std=c++17 -Iinclude 2>>build/log/clang-tidy.log
# A family's wider forms hide those that they inherit: that is how a table is made (docs/decisions/0011).
# Tests make two things alike where only their fates will differ. Lambdas with template parameters are
# beyond the parser of version 2.10: what it cannot read in kernels the compilers and Clang have read.
check "cppcheck" cppcheck --quiet --enable=warning,performance,portability --error-exitcode=1 \
    --inline-suppr --suppress=uninitMemberVar --suppress=leakReturnValNotUsed \
    --suppress=passedByValue --suppress='resourceLeak:tests/*' \
    --suppress='syntaxError:src/*/kernels/*' --suppress='internalAstError:src/*/kernels/*' \
    --suppress='duplInheritedMember:src/*/kernels/*' --suppress='duplicateAssignExpression:tests/*' \
    --std=c++20 --language=c++ --platform=win32W --library=windows --library=googletest \
    -I. -Isrc -Iinclude "${code[@]}"
check "shellcheck" shellcheck -x run .ci/run scripts/*.sh scripts/wine-*
exit "$status"
