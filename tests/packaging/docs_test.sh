#!/usr/bin/env bash
# docs_test.sh <doxygen> <Doxyfile>: renders the API reference and fails on any Doxygen
# warning: an undocumented public class, function, enum or constant, a parameter list
# that leaves a parameter out, a broken reference or markup.
set -euo pipefail
doxygen=$1 doxyfile=$2
dir=$(dirname "$doxyfile")
rm -f "$dir/warnings.log"
(cd "$dir" && "$doxygen" "$doxyfile")
if [ -s "$dir/warnings.log" ]; then
  echo "Doxygen warnings (document what they name in the public headers):"
  cat "$dir/warnings.log"
  exit 1
fi
for page in index.html topics.html modules.html; do
  [ -f "$dir/html/$page" ] && echo "-- $dir/html/$page"
done
grep -l 'libutility' "$dir/html/index.html" >/dev/null
ls "$dir"/html/group__*.html | sed 's|.*/group__\(.*\)\.html|-- module \1|'
