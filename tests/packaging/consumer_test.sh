#!/usr/bin/env bash
# consumer_test.sh <build dir> <consumer source dir>
# Installs into a scratch prefix and uses it as an application would, with
# LD_LIBRARY_PATH unset: the libraries must find each other and the tools must find the
# libraries through their RUNPATH alone, also after the prefix has been moved.
set -euo pipefail
build=$1 consumer=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
unset LD_LIBRARY_PATH
export QT_QPA_PLATFORM=offscreen

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name 'libutility.so.1' | head -n 1)
libdir=$(dirname "$lib")

echo "-- RUNPATH"
status=0
for file in "$lib" "$libdir/libutility_logging.so.1" "$prefix"/bin/*; do
  runpath=$(readelf -d "$file" | sed -n 's/.*Library runpath: \[\(.*\)\]/\1/p')
  echo "${file#"$prefix"/}: ${runpath:-none}"
  case "$runpath" in '$ORIGIN' | '$ORIGIN/'*) ;; *) status=1 ;; esac
done
[ $status -eq 0 ] || { echo "every installed library and program needs a RUNPATH relative to \$ORIGIN"; exit 1; }

echo "-- CMake: find_package(libutility 1 CONFIG)"
cmake -S "$consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
"$scratch/cmake-build/consumer"

echo "-- pkg-config libutility (the line of the README)"
export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
g++ -std=c++17 -fPIC "$consumer/main.cpp" -o "$scratch/pc-consumer" $(pkg-config --cflags --libs libutility) \
  -Wl,-rpath,"$(pkg-config --variable=libdir libutility)"
"$scratch/pc-consumer"

echo "-- the prefix moved elsewhere"
mv "$prefix" "$scratch/moved"
if [ -x "$scratch/moved/bin/inkrecog" ]; then
  "$scratch/moved/bin/inkrecog" --version
fi

soname=$(readelf -d "$scratch/moved/${lib#"$prefix"/}" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
echo "-- SONAME $soname"
[ "$soname" = "libutility.so.1" ]
