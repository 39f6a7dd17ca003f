#!/usr/bin/env bash
# Makes a release that is ready to be tagged: release.sh [--check]
# Looks whether the tree and the papers are those of a release, runs the whole of the tests, makes the
# packages, and prints their digests and what is left to be done by hand. With --check it only looks.
set -euo pipefail
cd "$(dirname "$0")/.."

version=$(sed -nE 's/^#define Q32BASE_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+)$/\2/p' include/q32base/version.h | paste -sd.)
tag=v$version
notes=build/package/notes-$version.md
wrong=0

complain() {
    echo "Not ready: $1" >&2
    wrong=1
}

# The section of this version in the changelog, without its heading.
section() {
    awk -v heading="## [$version]" '
        index($0, "## [") == 1 { inside = index($0, heading) == 1; next }
        inside' CHANGELOG.md
}

[[ -z $(git status --porcelain) ]] || complain "the tree has changes that are not committed"
grep -qE "^## \[${version//./\\.}\] - [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md ||
    complain "CHANGELOG.md has no section \"## [$version] - YYYY-MM-DD\""
[[ -n $(section | tr -d '[:space:]') ]] || complain "the section of $version in CHANGELOG.md says nothing"
[[ -z $(awk '/^## \[Unreleased\]/ { inside = 1; next } /^## \[/ { inside = 0 } inside && NF' CHANGELOG.md) ]] ||
    complain "CHANGELOG.md has entries under \"Unreleased\": give them to $version, or to a later one"
tagged=$(git rev-parse -q --verify "$tag^{commit}" || true)
[[ -z $tagged || $tagged == "$(git rev-parse HEAD)" ]] ||
    complain "the tag $tag is on another commit: raise the version"
((wrong == 0)) || exit 1
echo "$version: the tree and the papers are ready"
[[ ${1:-} != --check ]] || exit 0

./run test
./run test long
./run package
section | sed '/./,$!d' >"$notes"

echo
(cd build/package && sha256sum "q32base-$version-win32.zip" "q32base-$version-win64.zip")
cat <<TEXT

$version is built, tested and packaged in build/package. What is left:
    git tag -s $tag -m "Q32BASE $version"
    git push origin $tag
and a release of that tag with both files, the digests above, and $notes as its text.
TEXT
