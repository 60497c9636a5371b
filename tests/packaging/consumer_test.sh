#!/usr/bin/env bash
# consumer_test.sh <build dir> <consumer source dir>
set -euo pipefail
build=$1 consumer=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
export LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name 'libutility.so.1' | head -n 1)")

echo "-- CMake: find_package(libutility 1 CONFIG)"
cmake -S "$consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
QT_QPA_PLATFORM=offscreen "$scratch/cmake-build/consumer"

echo "-- pkg-config libutility"
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name libutility.pc | head -n 1)")
# shellcheck disable=SC2046
g++ -std=c++17 "$consumer/main.cpp" -o "$scratch/pc-consumer" $(pkg-config --cflags --libs libutility)
QT_QPA_PLATFORM=offscreen "$scratch/pc-consumer"

soname=$(readelf -d "$LD_LIBRARY_PATH/libutility.so.1" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
echo "-- SONAME $soname"
[ "$soname" = "libutility.so.1" ]
