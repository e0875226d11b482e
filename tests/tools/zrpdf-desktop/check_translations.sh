#!/bin/sh
# SPDX-License-Identifier: MIT
# check_translations.sh LUPDATE FOLDER: whether the German texts are those of the sources, all of them, and no others.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$2/translations/zrpdf-desktop_de.ts" "$folder/de.ts"
"$1" -silent -locations none -source-language en -target-language de \
  "$2/model" "$2/preview" "$2/window" "$2/main.cpp" "$2"/resources/*.ui -ts "$folder/de.ts" >"$folder/log" 2>&1 ||
  { cat "$folder/log"; exit 1; }
texts=$(grep -c '<source>' "$folder/de.ts")
if grep -B1 -E 'type="(unfinished|vanished|obsolete)"' "$folder/de.ts"; then
  echo "these texts lack a translation, or aren't used any more"
  exit 1
fi
echo "$texts texts"
[ "$texts" -gt 50 ]
