#!/usr/bin/env bash
# Makes the site of the documents, build/docs/html, and follows every link in it. The site is the same
# files whenever and wherever it is made from the same tree: it goes into a package that is compared.
set -euo pipefail
cd "$(dirname "$0")/.."

out=build/docs
export PYTHONDONTWRITEBYTECODE=1 PYTHONHASHSEED=0 SOURCE_DATE_EPOCH=0 LC_ALL=C.UTF-8 TZ=UTC
trap 'scripts/wine-run --stop' EXIT
rm -rf "$out"
mkdir -p "$out"

echo "Pictures, made by the library"
scripts/docs/gallery.py . "$out/source/gallery/pictures"
echo "Pages"
scripts/docs/make_site.py . "$out/source"
sphinx-build -q -n -W --keep-going -b html -c docs/site -d "$out/doctrees" "$out/source" "$out/html"
rm -f "$out"/html/{.buildinfo,objects.inv} # for other sites' builders
# What the site has of others, its theme and its search, comes with their terms.
cat /usr/share/doc/{furo,sphinx-common,libjs-jquery,libjs-underscore}/copyright >"$out/html/_static/licences.txt"
echo "Links"
scripts/docs/check_site.py "$out/html"
echo "The site: $out/html/index.html"
