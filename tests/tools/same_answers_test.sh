#!/usr/bin/env bash
# same_answers_test.sh <inkrecog> <other inkrecog> <scribbles dir>
# The recogniser answers the same in the Qt 5 and the Qt 6 build: inkrecog --json of
# both builds, with normalisation on and off, on every set in the shared folder of real
# hand-drawn scribbles. Skipped (77) when that folder is absent.
set -euo pipefail
ours=$1 theirs=$2 data=$3
sets=
[ -d "$data" ] && sets=$(find "$data" -maxdepth 1 -name '*.jsonl' | sort)
if [ -z "$sets" ]; then
  echo "no scribble sets in $data: skipped"
  exit 77
fi
[ -x "$theirs" ] || { echo "no inkrecog at $theirs: build the other Qt major first"; exit 1; }
export QT_QPA_PLATFORM=offscreen
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0
for set in $sets; do
  for options in "" "--no-normalize"; do
    # shellcheck disable=SC2086
    "$ours" --json $options "$set" >"$scratch/ours"
    # shellcheck disable=SC2086
    "$theirs" --json $options "$set" >"$scratch/theirs"
    what="$(basename "$set") ${options:-normalised}"
    if cmp -s "$scratch/ours" "$scratch/theirs"; then
      echo "-- $what: $(wc -l <"$scratch/ours") answers identical"
    else
      echo "-- $what: answers differ (< this build, > the other):"
      diff "$scratch/ours" "$scratch/theirs" | head -n 20 || true
      status=1
    fi
  done
done
exit $status
