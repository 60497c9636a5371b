#!/usr/bin/env bash
# abi_test.sh <build dir> <baseline dir> [--update]
# Compares the binary interface of the libraries just built with the one recorded in
# <baseline dir> (abidw's XML, abigail-tools), restricted to the installed public
# headers. Added functions and types pass; a change that breaks applications built
# against the recorded interface fails. --update records the interface anew.
set -euo pipefail
build=$1 baseline=$2 update=${3:-}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" --component dev >/dev/null
headers=$scratch/prefix/include
libs=(libutility.so.1 libutility_logging.so.1)
lib_path() { find "$build/src" -maxdepth 1 -name "$1" | head -n 1; }

if [ "$update" = --update ]; then
  mkdir -p "$baseline"
  for lib in "${libs[@]}"; do
    abidw --headers-dir "$headers" --drop-private-types --no-corpus-path --no-comp-dir-path \
      --fail-no-debug-info --out-file "$baseline/$lib.abi" "$(lib_path "$lib")"
    echo "recorded $baseline/$lib.abi"
  done
  exit 0
fi

status=0
for lib in "${libs[@]}"; do
  set +e
  report=$(abidiff --headers-dir2 "$headers" --drop-private-types --fail-no-debug-info \
    "$baseline/$lib.abi" "$(lib_path "$lib")")
  code=$?
  set -e
  # abidiff's exit code is a bit field: 1 error, 2 usage, 4 a change, 8 an incompatible one.
  if [ $((code & 3)) -ne 0 ]; then
    echo "$lib: abidiff failed ($code)"; echo "$report"; status=1
  elif [ $((code & 8)) -ne 0 ]; then
    echo "$lib: INCOMPATIBLE change of the binary interface:"; echo "$report"; status=1
  elif [ $((code & 4)) -ne 0 ]; then
    echo "$lib: compatible changes (additions):"; echo "$report"
  else
    echo "$lib: same binary interface as recorded"
  fi
done
if [ $status -ne 0 ]; then
  cat <<'MSG'

An incompatible change of the binary interface breaks every application built against
the libraries, so it needs a new SOVERSION: raise the major version in project() of the
top CMakeLists.txt (libutility.so.1 becomes libutility.so.2, package libutility2), then
record the new interface with
    ./dev.sh abi
and commit abi/. Otherwise, undo the change (or make it compatible: add, do not alter).
MSG
fi
exit $status
