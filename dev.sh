#!/usr/bin/env bash
# The one entry point of the project.
#   ./dev.sh demo      build, then run the main job
#   ./dev.sh test      build for Qt 5 and Qt 6, run every test on both (own X server),
#                      then again under ASan+UBSan (Qt 5)
#   ./dev.sh setup     install the missing Debian packages (cmake/debian-packages.txt)
#   ./dev.sh build     configure and build (build/)
#   ./dev.sh bench     Release build with benchmarks (build-release/), run them all
#   ./dev.sh compare <commit> [filter] [rounds]   benchmarks and answers against an
#                      older commit, both Release (build-compare/), new/old per round
#   ./dev.sh package [dir] [5|6]   builds for /usr (build-deb*/), Debian packages of both
#                      Qt flavours (or the one given) into out/ or dir
#   ./dev.sh docs      API reference with Doxygen into build/docs/html
#   ./dev.sh abi       record the binary interface of the libraries in abi/ (abidw)
#   ./dev.sh fuzz [target] [seconds]   clang fuzz build (build-fuzz/), run one or all targets
#   ./dev.sh mutants [subsystem] [count] [seed]   mutation check of the tests (build-mutants/)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$root"
build_dir=${LIBUTILITY_BUILD_DIR:-$root/build}
qt6_dir=${LIBUTILITY_QT6_BUILD_DIR:-$root/build-qt6}
release_dir=$root/build-release
deb_dir=$root/build-deb
asan_dir=$root/build-asan
fuzz_dir=$root/build-fuzz
jobs=$(nproc 2>/dev/null || echo 2)

log() { printf '==> %s\n' "$*" >&2; }
die() { printf 'dev.sh: %s\n' "$*" >&2; exit 1; }

# timed <what> <command...>: runs the command and logs how long it took, on the clock and
# in CPU time of the processes it ran (on a busy machine the second tells more).
timed() {
  local what=$1 start=$SECONDS cpu; shift
  cpu=$(child_cpu)
  "$@"
  log "$what: $((SECONDS - start)) s, CPU $((($(child_cpu) - cpu) / $(getconf CLK_TCK))) s"
}

# CPU ticks (user + system) of this shell's finished child processes.
child_cpu() {
  local stat
  read -r stat <"/proc/$$/stat"
  set -- ${stat##*) }
  echo $((${14} + ${15}))
}

setup() {
  local wanted missing=()
  wanted=$(grep -vE '^\s*(#|$)' cmake/debian-packages.txt)
  for pkg in $wanted; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
      log "installing with sudo: ${missing[*]}"
      sudo apt-get update -qq && sudo DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
      return 0
    fi
    echo "dev.sh: these Debian packages are missing and installing them needs root:" >&2
    echo "  apt-get install ${missing[*]}" >&2
    exit 1
  fi
  log "installing: ${missing[*]}"
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# With ccache installed every build folder compiles through it, and the folder is left
# out of the hash: the package build (build-deb/) compiles what the main build did with
# the same flags, so it takes its objects from the cache instead of compiling again.
launcher=()
if command -v ccache >/dev/null 2>&1; then
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root} CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi

configure() { # [source=<tree>] configure <dir> <cmake args...>
  local dir=$1 generator=Ninja; shift
  # A build folder keeps the generator it was made with.
  if [ -f "$dir/CMakeCache.txt" ]; then
    generator=$(sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' "$dir/CMakeCache.txt")
  fi
  cmake -S "${source:-$root}" -B "$dir" -G "$generator" "${launcher[@]}" "$@" >/dev/null
}

build() {
  setup
  build_flavour "$build_dir" 5
}

# build_flavour <dir> <Qt major> [cmake args...]
build_flavour() {
  local dir=$1 qt=$2; shift 2
  # Everything is built unless LIBUTILITY_CMAKE_ARGS says otherwise.
  configure "$dir" -U LIBUTILITY_SUBSYSTEMS -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLIBUTILITY_QT="$qt" "$@" \
    ${LIBUTILITY_CMAKE_ARGS:-}
  log "building for Qt $qt in $dir"
  cmake --build "$dir" -j "$jobs"
}

# Starts Xvfb and a window manager on a free display; sets DISPLAY. Stopped on exit.
# Xvfb picks the display itself (-displayfd): it binds every socket of a free number,
# abstract ones included, which a check of /tmp/.X11-unix cannot see. The window manager
# must be up before any test runs: without it no window is ever activated, and the
# focus tests would fail for a reason they cannot name.
start_display() {
  x_log=$(mktemp -t libutility-x.XXXXXX)
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$x_log.display" >"$x_log" 2>&1 &
  xvfb_pid=$!
  trap 'kill ${wm_pid:-} $xvfb_pid 2>/dev/null || true; rm -f "$x_log" "$x_log.display" "$x_log.wm"' EXIT
  for _ in $(seq 1 100); do grep -q '^[0-9][0-9]*$' "$x_log.display" 2>/dev/null && break; sleep 0.1; done
  grep -q '^[0-9][0-9]*$' "$x_log.display" 2>/dev/null \
    || { cat "$x_log" >&2; die "Xvfb did not start"; }
  export DISPLAY=":$(cat "$x_log.display")"
  start_wm
  log "X server on $DISPLAY with metacity"
}

# Starts metacity on DISPLAY and waits until it manages the screen; three tries, then
# the run stops with its output.
start_wm() {
  local id try
  for try in 1 2 3; do
    metacity --display="$DISPLAY" --replace >"$x_log.wm" 2>&1 &
    wm_pid=$!
    for _ in $(seq 1 100); do
      kill -0 "$wm_pid" 2>/dev/null || break
      # The root names a check window that names itself: a stale name left by a window
      # manager that died does not count.
      id=$(xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | sed -n 's/.*window id # //p')
      [ -n "$id" ] && xprop -id "$id" _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "# $id" && return 0
      sleep 0.1
    done
    kill "$wm_pid" 2>/dev/null || true
    log "metacity did not come up on $DISPLAY (try $try of 3); its output:"
    cat "$x_log.wm" >&2
  done
  die "no window manager on $DISPLAY"
}

# Before a rerun: a window manager that died is reported and started again.
check_wm() {
  [ -n "${wm_pid:-}" ] || return 0
  if ! kill -0 "$wm_pid" 2>/dev/null; then
    log "metacity on $DISPLAY had stopped; its output:"
    cat "$x_log.wm" >&2 || true
    start_wm
  fi
}

# The whole suite runs for both Qt majors. The Qt 6 build also compares its recogniser's
# answers with the Qt 5 build's and installs itself beside it (LIBUTILITY_COMPARE_BUILD).
run_tests() {
  local start=$SECONDS
  timed "set-up" setup
  timed "Qt 5 build" build_flavour "$build_dir" 5
  timed "Qt 6 build" build_flavour "$qt6_dir" 6 -DLIBUTILITY_COMPARE_BUILD="$build_dir"
  start_display
  timed "Qt 5 tests" suite "$build_dir" "Qt 5"
  timed "Qt 6 tests" suite "$qt6_dir" "Qt 6"
  timed "sanitizer build and tests (Qt 5)" sanitizer_tests
  log "dev.sh test passed in $((SECONDS - start)) s"
}

# suite <build dir> <what>: every test of one build.
suite() {
  local dir=$1
  log "running the tests of the $2 build"
  if ! ctest --test-dir "$dir" -j "$jobs" --output-on-failure --timeout 600; then
    # Window-manager tests depend on the timing of a real X server; a failure that does
    # not repeat is reported above and the run goes on with the verdict of the rerun.
    log "re-running the failed tests once"
    check_wm
    ctest --test-dir "$dir" --rerun-failed --output-on-failure --timeout 600
  fi
}

# The same tests once more in an ASan + UBSan build (build-asan/), the fuzz corpora
# replayed with them (suite "fuzz"). Qt and fontconfig keep some allocations for the life
# of the process, so leak checking is off; every other error stops the test that hit it.
sanitizer_tests() {
  configure "$asan_dir" -DCMAKE_BUILD_TYPE=Debug -DLIBUTILITY_SANITIZE=ON -DLIBUTILITY_BUILD_TOOLS=OFF \
    ${LIBUTILITY_CMAKE_ARGS:-}
  log "building the sanitizer build in $asan_dir"
  cmake --build "$asan_dir" -j "$jobs"
  log "running tests under ASan + UBSan"
  export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  # Packaging checks the installed layout and exported symbols, which this build changes.
  if ! ctest --test-dir "$asan_dir" -j "$jobs" -LE packaging --output-on-failure --timeout 900; then
    log "re-running the failed sanitizer tests once"
    check_wm
    ctest --test-dir "$asan_dir" -LE packaging --rerun-failed --output-on-failure --timeout 900
  fi
}

# ./dev.sh fuzz [target] [seconds]: each target runs alone (one process) for the given
# time (default 60 s), from its committed seeds and regressions plus the corpus it grew
# in earlier runs (build-fuzz/corpus/<target>/). Crashes, hangs and leaks land in
# build-fuzz/artifacts/<target>/; keep one as fuzz/corpus/<target>/regressions/<what-it-breaks>.
fuzz() {
  local only=${1:-} seconds=${2:-60}
  if [[ "$only" =~ ^[0-9]+$ ]] && [ -z "${2:-}" ]; then seconds=$only; only=; fi
  setup
  CC=clang CXX=clang++ configure "$fuzz_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DLIBUTILITY_BUILD_FUZZERS=ON -DLIBUTILITY_BUILD_TESTS=OFF -DLIBUTILITY_BUILD_TOOLS=OFF \
    ${LIBUTILITY_CMAKE_ARGS:-}
  cmake --build "$fuzz_dir" -j "$jobs"
  local exe name found=0 failed=0
  for exe in $(find "$fuzz_dir/fuzz" -maxdepth 1 -type f -name 'fuzz_*' -perm -u+x | sort); do
    name=${exe##*/fuzz_}
    [ -n "$only" ] && [ "$name" != "$only" ] && continue
    found=1
    mkdir -p "$fuzz_dir/corpus/$name" "$fuzz_dir/artifacts/$name"
    log "fuzzing $name for ${seconds}s (log: $fuzz_dir/$name.log)"
    QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 "$exe" -max_total_time="$seconds" \
      -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix="$fuzz_dir/artifacts/$name/" \
      "$fuzz_dir/corpus/$name" "$root/fuzz/corpus/$name" 2>"$fuzz_dir/$name.log" || failed=1
    grep -E '^#[0-9]+.*(DONE|pulse)|^stat::number_of_executed_units|^stat::peak_rss_mb|ERROR|^SUMMARY|FUZZ_CHECK' \
      "$fuzz_dir/$name.log" | tail -6 >&2 || true
  done
  if [ $found -eq 0 ]; then echo "dev.sh: no fuzz target ${only:-at all}" >&2; exit 2; fi
  if [ $failed -ne 0 ]; then log "findings: see $fuzz_dir/artifacts/ and $fuzz_dir/*.log"; exit 1; fi
}

# ./dev.sh mutants [subsystem] [count] [seed]: makes count small faults (default 40) in
# the subsystem's sources (default: every subsystem), one at a time, from a fixed seed
# (default 1), and reports which ones its test suite catches. Its own Debug build
# (build-mutants/) keeps each rebuild incremental. See tools/mutants/mutants.py.
mutants() {
  local only=${1:-} count=${2:-40} seed=${3:-1}
  setup
  # -O0 without debug information: the quickest rebuild and link per mutant.
  configure "$root/build-mutants" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
    -DLIBUTILITY_BUILD_TOOLS=OFF \
    ${LIBUTILITY_CMAKE_ARGS:-}
  cmake --build "$root/build-mutants" -j "$jobs"
  local args=(--root "$root" --build-dir "$root/build-mutants" --count "$count" --seed "$seed"
    --results "$root/build-mutants/mutants-${only:-all}-seed$seed.jsonl")
  [ -n "$only" ] && args+=(--subsystem "$only")
  start_display
  python3 "$root/tools/mutants/mutants.py" "${args[@]}"
}

demo() {
  build
  local tool="$build_dir/tools/inkrecog/inkrecog"
  if [ -x "$root/tools/demo.sh" ]; then
    exec "$root/tools/demo.sh" "$build_dir"
  fi
  log "libutility $(sed -n 's/#define LIBUTILITY_VERSION_STRING "\(.*\)"/\1/p' "$build_dir/generated/libutility/version.h") built in $build_dir"
  echo "Public headers:"
  sed -n 's/#include <\(libutility\/.*\)>/  \1/p' "$build_dir/generated/libutility/libutility.h"
  [ -x "$tool" ] && "$tool" --help || true
}

# The Release build with benchmarks and tools, no tests (build-release/).
release_build() {
  setup
  configure "$release_dir" -DCMAKE_BUILD_TYPE=Release -DLIBUTILITY_BUILD_BENCHMARKS=ON -DLIBUTILITY_BUILD_TESTS=OFF
  cmake --build "$release_dir" -j "$jobs"
}

bench() {
  release_build
  local filter=${1:-}
  for exe in $(find "$release_dir/bench" -type f -name 'bench_*' -perm -u+x | sort); do
    [ -n "$filter" ] && [[ "$(basename "$exe")" != *"$filter"* ]] && continue
    log "$(basename "$exe")"
    QT_QPA_PLATFORM=offscreen "$exe" --benchmark_counters_tabular=true
  done
}

# The benchmarks and the recogniser's answers against an older commit (by default the
# benchmark programs of every subsystem): that commit's sources are exported into
# build-compare/<commit>/src and built there (Release, benchmarks and tools, no tests),
# beside a link to ../shared, where its benchmarks look for the scribble sets. Then
# tools/benchcompare runs both builds' programs in turn and prints new/old per round, our
# classify benchmark times the older library's classifyScribble beside ours in one process
# (BM_ClassifySetAgainstOlderBuild), and inkrecog --json of both builds is compared on
# each scribble set.
compare() {
  local rev=${1:-} filter=${2:-} rounds=${3:-3} sha base
  [ -n "$rev" ] || die "usage: ./dev.sh compare <commit> [filter] [rounds]"
  sha=$(git rev-parse --verify --quiet "$rev^{commit}") || die "no such commit: $rev"
  base=$root/build-compare/$sha
  release_build
  if [ ! -d "$base/src" ]; then
    rm -rf "$base/src.part"
    mkdir -p "$base/src.part"
    git archive "$sha" | tar -x -C "$base/src.part"
    mv "$base/src.part" "$base/src"
  fi
  [ -e "$base/shared" ] || ln -s "$root/../shared" "$base/shared"
  source=$base/src configure "$base/build" -DCMAKE_BUILD_TYPE=Release \
    -DLIBUTILITY_BUILD_BENCHMARKS=ON -DLIBUTILITY_BUILD_TESTS=OFF
  cmake --build "$base/build" -j "$jobs"
  python3 "$root/tools/benchcompare/benchcompare.py" "$base/build/bench" "$release_dir/bench" \
    --filter "$filter" --rounds "$rounds"
  # The recogniser of both builds again, now in one process and taking turns round by
  # round, so that both see the machine as it is at that moment.
  local classify=$release_dir/bench/recognition/bench_recognition_classify
  if [[ -x "$classify" && ( -z "$filter" || "$(basename "$classify")" == *"$filter"* ) ]]; then
    log "classifyScribble of both builds in one process, new/old per round"
    LIBUTILITY_OLDER_LIB=$base/build/src/libutility.so.1 QT_QPA_PLATFORM=offscreen \
      "$classify" --benchmark_filter=AgainstOlderBuild --benchmark_counters_tabular=true
  fi
  local set changed
  [ -x "$base/build/tools/inkrecog/inkrecog" ] || { log "no inkrecog in $rev: answers not compared"; return 0; }
  for set in "$root"/../shared/data/scribbles/*.jsonl; do
    [ -f "$set" ] || continue
    changed=$(diff <(QT_QPA_PLATFORM=offscreen "$base/build/tools/inkrecog/inkrecog" --json "$set") \
      <(QT_QPA_PLATFORM=offscreen "$release_dir/tools/inkrecog/inkrecog" --json "$set") | grep -c '^>' || true)
    echo "answers, $(basename "$set"): $changed of $(wc -l <"$set") changed"
  done
}

# Both flavours' packages (libutility1, libutility-dev, libutility-tools; libutility-qt6-1,
# libutility-qt6-dev) install together: no two of them hold the same file, which is checked
# here. They are built like Debian builds its own (optimised, -g), then stripped.
package() {
  local out=${1:-$root/out}
  setup
  mkdir -p "$out"
  out=$(cd "$out" && pwd)
  rm -f "$out"/*.deb
  local qt dir
  for qt in ${2:-5 6}; do
    dir=$deb_dir
    [ "$qt" = 5 ] || dir=$deb_dir-qt$qt
    configure "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
      -DLIBUTILITY_BUILD_TESTS=OFF -U LIBUTILITY_SUBSYSTEMS -DLIBUTILITY_QT="$qt"
    cmake --build "$dir" -j "$jobs"
    (cd "$dir" && cpack -G DEB -B "$out" >/dev/null)
  done
  rm -rf "$out/_CPack_Packages"
  local shared
  shared=$(for deb in "$out"/*.deb; do dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$'; done |
    sort | uniq -d)
  if [ -n "$shared" ]; then
    echo "dev.sh: files in more than one package:" >&2; echo "$shared" >&2; exit 1
  fi
  ls -1 "$out"/*.deb
}

docs() {
  setup
  configure "$build_dir" -U LIBUTILITY_SUBSYSTEMS -DCMAKE_BUILD_TYPE=RelWithDebInfo ${LIBUTILITY_CMAKE_ARGS:-}
  cmake --build "$build_dir" --target docs
  if [ -s "$build_dir/docs/warnings.log" ]; then cat "$build_dir/docs/warnings.log" >&2; fi
  log "API reference: $build_dir/docs/html/index.html"
}

# Records the binary interface of the build (debug information needed: RelWithDebInfo).
abi() {
  build
  bash "$root/tests/packaging/abi_test.sh" "$build_dir" "$root/abi" --update
}

cmd=${1:-}
[ $# -gt 0 ] && shift
case "$cmd" in
  setup) setup ;;
  build) build ;;
  test) run_tests ;;
  demo) demo "$@" ;;
  bench) bench "$@" ;;
  compare) compare "$@" ;;
  package) package "$@" ;;
  docs) docs ;;
  abi) abi ;;
  fuzz) fuzz "$@" ;;
  mutants) mutants "$@" ;;
  *) sed -n '2,16s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac
