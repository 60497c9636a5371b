#!/usr/bin/env bash
# abi_test.sh <build dir> <baseline dir> [--update]
# Compares the binary interface of the libraries just built with the one recorded in
# <baseline dir> (abidw's XML from abigail-tools, gzip-compressed): the exported symbols
# and every type they reach, less the private halves of d-pointer classes
# (<baseline dir>/libutility.suppr).
# Added functions and types pass; a change that breaks applications built against the
# recorded interface fails. --update records the interface anew.
set -euo pipefail
build=$1 baseline=$2 update=${3:-}
suppr=$baseline/libutility.suppr
libs=(libutility.so.1 libutility_logging.so.1)
lib_path() { find "$build/src" -maxdepth 1 -name "$1" | head -n 1; }

if [ "$update" = --update ]; then
  mkdir -p "$baseline"
  for lib in "${libs[@]}"; do
    readelf -S "$(lib_path "$lib")" | grep -q '\.debug_info' ||
      { echo "$lib has no debug information: record from a RelWithDebInfo build"; exit 1; }
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --out-file "$baseline/$lib.abi" \
      "$(lib_path "$lib")"
    gzip -9nf "$baseline/$lib.abi"
    echo "recorded $baseline/$lib.abi.gz"
  done
  exit 0
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0
for lib in "${libs[@]}"; do
  gzip -dc "$baseline/$lib.abi.gz" >"$scratch/$lib.abi"
  set +e
  report=$(abidiff --suppressions "$suppr" --fail-no-debug-info \
    "$scratch/$lib.abi" "$(lib_path "$lib")")
  code=$?
  set -e
  # abidiff's exit code is a bit field: 1 error, 2 usage, 4 a change, 8 an incompatible one.
  # abidiff calls only a removed symbol "incompatible"; a changed public type (its size,
  # its members, a virtual function) comes as a plain change. Whatever remains once the
  # additions are left out is therefore taken as incompatible too.
  if [ $((code & 12)) -eq 4 ] &&
     ! abidiff --suppressions "$suppr" --no-added-syms \
       "$scratch/$lib.abi" "$(lib_path "$lib")" >/dev/null; then
    code=$((code | 8))
  fi
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
