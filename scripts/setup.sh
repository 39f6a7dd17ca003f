#!/usr/bin/env bash
# Installs the Debian packages that the named purposes need (see packages.sh): setup.sh [PURPOSE...]
# Asks nothing; changes nothing when all is there, and then takes well under a second.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
source scripts/packages.sh

log=build/log/setup.log
apt_options=(-y -qq --no-install-recommends --no-remove -o DPkg::Lock::Timeout=300)
export DEBIAN_FRONTEND=noninteractive

missing_packages() {
    local package
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            echo "$package"
    done
}

# The machine's own package sources, as they are. An update that ends with an error is no reason to
# give up: the indexes that did arrive may well be enough.
install_the_ordinary_way() {
    apt-get update -qq || echo "apt-get update ended with an error; going on with what arrived"
    apt-get install "${apt_options[@]}" "$@"
}

# The main suite alone, from the machine's own mirror. Needed where the security suite's i386 index
# cannot be had: its amd64 libraries are then newer than their i386 twins, and Wine, which wants
# both in one version, cannot be installed. The pin lets a library go back to the main suite's
# version where its twin requires it; nothing else is touched.
install_from_the_main_suite() {
    local folder codename mirror options
    folder=$(mktemp -d)
    # shellcheck disable=SC2064  # the folder's name of now
    trap "rm -rf '$folder'" EXIT
    chmod 755 "$folder" # apt reads it as a user of its own

    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    # shellcheck disable=SC2016  # apt fills these in
    mirror=$(apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(SITE)' 'Created-By: Packages' |
        awk -v suite="$codename" '$1 == suite && $2 == "main" { print $3; exit }')
    [[ -n $mirror ]] || { echo "no package source for $codename main on this machine"; return 1; }

    mkdir -p "$folder/lists/partial"
    printf 'deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] %s %s main\n' \
        "$mirror" "$codename" >"$folder/main.list"
    printf 'Package: *\nPin: release n=%s\nPin-Priority: 1001\n' "$codename" >"$folder/preferences"
    options=(-o Dir::Etc::sourceparts=/dev/null -o Dir::Etc::sourcelist="$folder/main.list"
        -o Dir::Etc::preferencesparts=/dev/null -o Dir::Etc::preferences="$folder/preferences"
        -o Dir::State::Lists="$folder/lists" -o Acquire::Languages=none)

    apt-get update -qq "${options[@]}"
    apt-get install "${apt_options[@]}" --allow-downgrades "${options[@]}" "$@"
}

(($#)) || set -- build demo
wanted=()
for purpose in "$@"; do
    [[ $purpose =~ ^[a-z]+$ && -v packages_$purpose ]] || { echo "no such purpose: $purpose" >&2; exit 2; }
    declare -n list="packages_$purpose"
    wanted+=("${list[@]}")
done
mapfile -t missing < <(missing_packages "${wanted[@]}")
((${#missing[@]})) || exit 0

if ((EUID != 0)); then
    echo "Missing packages: ${missing[*]}" >&2
    echo "Run this first, as root: ./run setup $*" >&2
    exit 1
fi

echo "Installing ${missing[*]}"
mkdir -p "${log%/*}"
{
    dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
    install_the_ordinary_way "${missing[@]}" || install_from_the_main_suite "${missing[@]}"
} >"$log" 2>&1 </dev/null || { tail -n 40 "$log" >&2; echo "The set-up failed; all of it: $log" >&2; exit 1; }

# Tests run an SSH server of their own for a moment. The system's, which came with its program, stays off.
if [[ " ${missing[*]} " == *" openssh-server "* ]] && command -v systemctl >/dev/null; then
    systemctl disable --now ssh >>"$log" 2>&1 || true
fi
