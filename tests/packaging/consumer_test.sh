#!/usr/bin/env bash
# consumer_test.sh <consumer source dir> <build dir>...
# The installed package as applications see it, with LD_LIBRARY_PATH unset. Each build
# is installed alone into a scratch prefix; two builds (the Qt 5 and the Qt 6 flavour)
# must not install any file under the same name. Then all are installed into one prefix:
# every library and program there must carry a RUNPATH relative to $ORIGIN; for each
# package found there (lib/cmake/<package>), examples/consumer is built with CMake
# (find_package(<package> 1 CONFIG)) and with the README's pkg-config line, run, and its
# library checked: SONAME <package>.so.1, and that is what the program loads. Last the
# prefix is moved and the installed inkrecog run from there.
set -euo pipefail
consumer=$1; shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
unset LD_LIBRARY_PATH
export QT_QPA_PLATFORM=offscreen

packages=() lists=()
for build in "$@"; do
  alone=$scratch/alone${#lists[@]}
  cmake --install "$build" --prefix "$alone" >/dev/null
  packages+=("$(basename "$(find "$alone" -path '*/cmake/*Config.cmake' -printf '%h\n')")")
  (cd "$alone" && find . ! -type d | sort) >"$alone.files"
  lists+=("$alone.files")
  cmake --install "$build" --prefix "$prefix" >/dev/null
done
if [ ${#lists[@]} -eq 2 ]; then
  shared=$(comm -12 "${lists[0]}" "${lists[1]}")
  if [ -n "$shared" ]; then
    echo "${packages[0]} and ${packages[1]} both install:"; echo "$shared"
    exit 1
  fi
  echo "-- ${packages[0]} ($(wc -l <"${lists[0]}") files) and ${packages[1]} ($(wc -l <"${lists[1]}") files) share no file"
fi

libdir=$(dirname "$(find "$prefix" -name 'libutility*.so.1' | head -n 1)")
echo "-- RUNPATH"
status=0
for file in "$libdir"/libutility*.so.1 "$prefix"/bin/*; do
  runpath=$(readelf -d "$file" | sed -n 's/.*Library runpath: \[\(.*\)\]/\1/p')
  echo "${file#"$prefix"/}: ${runpath:-none}"
  case "$runpath" in '$ORIGIN' | '$ORIGIN/'*) ;; *) status=1 ;; esac
done
[ $status -eq 0 ] || { echo "every installed library and program needs a RUNPATH relative to \$ORIGIN"; exit 1; }

export PKG_CONFIG_PATH=$libdir/pkgconfig
for package in "${packages[@]}"; do
  echo "-- CMake: find_package($package 1 CONFIG)"
  cmake -S "$consumer" -B "$scratch/$package-cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DLIBUTILITY_PACKAGE="$package" >/dev/null
  cmake --build "$scratch/$package-cmake" >/dev/null
  "$scratch/$package-cmake/consumer"

  echo "-- pkg-config $package (the line of the README)"
  # shellcheck disable=SC2046
  g++ -std=c++17 -fPIC "$consumer/main.cpp" -o "$scratch/$package-pc" $(pkg-config --cflags --libs "$package") \
    -Wl,-rpath,"$(pkg-config --variable=libdir "$package")"
  "$scratch/$package-pc"

  soname=$(readelf -d "$libdir/$package.so.1" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
  echo "-- SONAME $soname"
  [ "$soname" = "$package.so.1" ]
  for program in "$scratch/$package-cmake/consumer" "$scratch/$package-pc"; do
    loads=$(ldd "$program")
    # The run path may spell the directory another way (prefix/lib/pkgconfig/../../lib).
    loaded=$(sed -n "s|^\s*$package\.so\.1 => \(\S*\) .*|\1|p" <<<"$loads")
    [ -n "$loaded" ] && [ "$(readlink -f "$loaded")" = "$(readlink -f "$libdir/$package.so.1")" ] ||
      { echo "$program does not load $libdir/$package.so.1:"; echo "$loads"; exit 1; }
  done
done

echo "-- the prefix moved elsewhere"
mv "$prefix" "$scratch/moved"
if [ -x "$scratch/moved/bin/inkrecog" ]; then
  "$scratch/moved/bin/inkrecog" --version
fi
