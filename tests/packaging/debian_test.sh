#!/usr/bin/env bash
# debian_test.sh <source dir>: makes the Debian packages (./dev.sh package, build-deb/),
# runs lintian on each, unpacks them into a scratch root and checks them there: what each
# package holds, no rpath and no debug information in the installed binaries, the man
# pages, the desktop entry (desktop-file-validate) and the .ink file type, seen through
# the scratch root's XDG data directory as a file manager sees it.
set -euo pipefail
root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
out=$scratch/out sysroot=$scratch/root
fail() { echo "FAIL: $*"; status=1; }
status=0

"$root/dev.sh" package "$out" 5 >/dev/null
ls -1 "$out"

echo "-- lintian"
for pkg in "$out"/*.deb; do
  report=$(lintian --tag-display-limit 0 --display-level '>=warning' "$pkg" 2>&1 | grep -v 'root privileges' || true)
  [ -n "$report" ] && echo "$report"
  if echo "$report" | grep -q '^E: '; then fail "lintian errors in ${pkg##*/}"; fi
done

echo "-- contents"
for deb in "$out"/*.deb; do dpkg -x "$deb" "$sysroot"; done
version=$(dpkg-deb -f "$out"/libutility1_*.deb Version)
for name in libutility1 libutility-dev libutility-tools; do
  [ -f "$out/${name}_${version}_$(dpkg --print-architecture).deb" ] || fail "no package $name"
done
others=$(dpkg-deb -c "$out"/libutility1_*.deb | awk '{print $6}' | grep -v '/$' |
  grep -vE '^\./usr/lib/[^/]+/libutility(_logging)?\.so\.[0-9.]+$|^\./usr/share/(doc|lintian)/' || true)
[ -z "$others" ] || fail "libutility1 holds more than the libraries: $others"
dpkg-deb -I "$out"/libutility1_*.deb shlibs triggers
for elf in "$sysroot"/usr/lib/*/libutility*.so.1 "$sysroot"/usr/bin/*; do
  readelf -d "$elf" | grep -qE 'RPATH|RUNPATH' && fail "${elf#"$sysroot"} carries an rpath"
  readelf -S "$elf" | grep -q '\.debug_info' && fail "${elf#"$sysroot"} is not stripped"
done

echo "-- man pages"
for tool in inkrecog scribblepad; do
  page=$sysroot/usr/share/man/man1/$tool.1.gz
  [ -f "$page" ] || { fail "no man page $tool(1)"; continue; }
  MANWIDTH=80 man -l "$page" 2>/dev/null | grep -A1 '^NAME' | tail -n 1
done

echo "-- desktop entry and .ink type"
desktop=$sysroot/usr/share/applications/scribblepad.desktop
desktop-file-validate "$desktop" || fail "desktop entry does not validate"
export XDG_DATA_DIRS=$sysroot/usr/share XDG_DATA_HOME=$scratch/home/.local/share
export XDG_CONFIG_HOME=$scratch/home/.config XDG_CONFIG_DIRS=$scratch/etc/xdg
export XDG_CURRENT_DESKTOP=X-Generic
update-mime-database "$sysroot/usr/share/mime"
update-desktop-database "$sysroot/usr/share/applications"
cp "$root/examples/scribbles/square.ink" "$scratch/drawing.ink"
type=$(xdg-mime query filetype "$scratch/drawing.ink")
app=$(xdg-mime query default "$type")
echo "drawing.ink: $type, opened with $app"
[ "$type" = application/x-libutility-ink ] || fail ".ink files are $type"
[ "$app" = scribblepad.desktop ] || fail ".ink files open with '$app'"
exit $status
