#!/usr/bin/env bash
# The mutation check as a developer meets it: on a scratch tree it must leave every
# source byte for byte as it was, after a normal run, after Ctrl-C in the middle of a
# build, and after a run killed outright (the next run puts the file back); the same
# seed must draw the same sample, and the verdicts must follow the commands' results.
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/src/demo"
cat >"$work/src/demo/demo.cpp" <<'CPP'
// a < b in a comment stays; "a == b" in a string stays
#include <vector>
int clampAdd(int a, int b)
{
    if (a < 0 || b >= 10)
        return a + b - 1;
    std::vector<int> v;
    v.clear();
    return a == b;
}
CPP
cp "$work/src/demo/demo.cpp" "$work/original.cpp"
fail() { echo "FAIL: $*"; exit 1; }
same() { cmp -s "$work/src/demo/demo.cpp" "$work/original.cpp" || fail "$1: source changed"
         [ -z "$(find "$work/src" -name '*.mutant-orig')" ] || fail "$1: backup left behind"; }
mut() { python3 "$tool" --root "$work" --build-dir "$work/build" --subsystem demo "$@"; }

# Sites: never inside the comment or the string; the same seed gives the same sample.
mut --count 100 --list >"$work/all.txt"
grep -q 'demo.cpp:5 relational < -> <=' "$work/all.txt" || fail "relational site missing"
grep -q 'demo.cpp:8 call v.clear(); -> ;' "$work/all.txt" || fail "call site missing"
grep -q 'demo.cpp:9 return a == b -> !(a == b)' "$work/all.txt" || fail "return site missing"
! grep -q 'demo.cpp:1 ' "$work/all.txt" || fail "mutated a comment or a string"
mut --count 4 --seed 3 --list >"$work/a.txt"
mut --count 4 --seed 3 --list >"$work/b.txt"
cmp -s "$work/a.txt" "$work/b.txt" || fail "same seed, different sample"

# Verdicts follow the commands: a failing suite kills, a passing one lets survive, a
# failing build skips, a suite past the limit times out.
verdicts() { mut "$@" >"$work/run.txt"; cat "$work/run.txt"; }
verdicts --count 3 --build-cmd true --test-cmd false | grep -q '| 3 | 3 | 0 | 0 | 0 | 100% |' \
  || fail "failing suite should kill"
same "killed"
verdicts --count 3 --build-cmd true --test-cmd true | grep -c '^survived: ' | grep -qx 3 || fail "passing suite"
same "survived"
verdicts --count 2 --build-cmd false --test-cmd true | grep -q '| 0 | 0 | 0 | 2 | - |' || fail "skips"
verdicts --count 1 --build-cmd true --test-cmd 'sleep 30' --timeout 1 | grep -q '| 0 | 0 | 1 | 0 | 100% |' \
  || fail "timeout"
same "after every verdict"

# Ctrl-C while a mutant is being built.
python3 "$tool" --root "$work" --build-dir "$work/build" --subsystem demo --count 3 \
  --build-cmd 'sleep 30' --test-cmd true >/dev/null 2>&1 &
pid=$!
for _ in $(seq 50); do [ -n "$(find "$work/src" -name '*.mutant-orig')" ] && break; sleep 0.1; done
cmp -s "$work/src/demo/demo.cpp" "$work/original.cpp" && fail "no mutant was in place"
kill -INT $pid
wait $pid && fail "an interrupted run should fail" || true
same "Ctrl-C"

# Killed outright: the mutated file stays, and the next run restores it first.
python3 "$tool" --root "$work" --build-dir "$work/build" --subsystem demo --count 3 \
  --build-cmd 'sleep 31' --test-cmd true >/dev/null 2>&1 &
pid=$!
for _ in $(seq 50); do [ -n "$(find "$work/src" -name '*.mutant-orig')" ] && break; sleep 0.1; done
kill -KILL $pid; wait $pid 2>/dev/null || true
pkill -f 'sleep 31' || true
mut --count 1 --list >"$work/next.txt"
grep -q '^restored src/demo/demo.cpp' "$work/next.txt" || fail "leftover not restored"
same "after a killed run"
echo "mutants: all checks passed"
