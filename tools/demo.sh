#!/usr/bin/env bash
# The demo that `./dev.sh demo` runs: classifies the bundled sample set with inkrecog,
# prints the table, and writes a contact sheet of the samples.
#   tools/demo.sh <build dir>
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${1:?usage: tools/demo.sh <build dir>}
build_dir=$(cd "$build_dir" && pwd)
tool=$build_dir/tools/inkrecog/inkrecog
samples=$root/examples/scribbles
sheet=$build_dir/demo/scribbles-sheet.png

if [ ! -x "$tool" ]; then
  echo "demo: $tool is not built (the ink, geometry and recognition subsystems and the tools are needed)" >&2
  exit 1
fi
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}

echo "Sample set: $samples ($(find "$samples" -name '*.ink' | wc -l) scribbles)"
echo
"$tool" "$samples"
echo

mkdir -p "$(dirname "$sheet")"
"$tool" --sheet "$sheet" "$samples" >/dev/null
echo "Contact sheet: $sheet"

pad=$build_dir/tools/scribblepad/scribblepad
if [ -x "$pad" ]; then
  echo "Draw your own: $pad $samples/star.ink"
fi
