#!/usr/bin/env python3
"""Mutation check: how many small faults in a subsystem's sources its tests catch.

    mutants.py --root DIR --build-dir DIR [--subsystem NAME ...] [--count N] [--seed S]

For each subsystem (src/<name>/*.cpp) the tool lists every place where one of these
small faults can be made, outside comments and string literals:

  relational   <  <=  >  >=  swapped for its neighbour (< and <=, > and >=)
  equality     == and != swapped
  logical      && and || swapped
  arithmetic   binary + and - swapped
  constant     an integer literal one higher
  return       `return X;` made `return !(X);` (a bool-looking X) or `return {};`
  call         a statement that is only a call (its result ignored) removed

It draws --count of them at random from --seed (the same seed and sources give the same
sample), and for each one: writes the mutated file, rebuilds the subsystem's test
executable incrementally, runs that suite (test_<name>) under a time limit, and puts the
file back. A mutant that does not compile is skipped and not counted; one whose suite
fails was killed; one whose suite passes survived; one that runs past the limit timed
out. Survivors are listed with file, line and the change.

The sources are always restored: after each mutant, on any error, on Ctrl-C and SIGTERM
(the original bytes are also kept in <file>.mutant-orig until the file is restored, so
that even a run killed outright is undone by the next one, which restores any such file
it finds before it starts).

--results FILE keeps one JSON line per mutant (file, line, kind, change, verdict and, for
a killed one, the tests that failed, read from the suite's GoogleTest report): with it the
tests that alone catch a fault can be told from those that only catch what others catch.

--build-cmd and --test-cmd replace the build and test commands ({build_dir}, {subsystem},
{root}, {report}, the GoogleTest report file, and {platform}, the Qt platform the suite
needs, are filled in); the tool's own test uses them.
"""

import argparse
import json
import os
import random
import re
import shlex
import signal
import subprocess
import sys
import time

ORIG_SUFFIX = ".mutant-orig"

# Operators tried in this order at each position: longest first, so that "<=" is never
# read as "<" followed by "=".
SWAPS = [
    ("relational", "<=", "<"), ("relational", ">=", ">"),
    ("equality", "==", "!="), ("equality", "!=", "=="),
    ("logical", "&&", "||"), ("logical", "||", "&&"),
    ("relational", "<", "<="), ("relational", ">", ">="),
    ("arithmetic", "+", "-"), ("arithmetic", "-", "+"),
]
INT_LITERAL = re.compile(r"(?<![\w.])(\d+)(?![\w.'])")
RETURN_STMT = re.compile(r"\breturn\s+([^;{}]+);")
CALL_STMT = re.compile(r"^(\s*)((?:[\w:]+(?:\.|->))*[\w:]+\s*\([^;{}]*\)\s*;)\s*$")
KEYWORDS = {"return", "if", "while", "for", "switch", "sizeof", "delete", "new", "throw",
            "case", "static_assert", "Q_UNUSED", "Q_ASSERT", "TRACE_EXIT", "TRACE_FUNCTION"}


def code_mask(text):
    """Per character: True where it is code (not a comment, string or char literal,
    preprocessor line)."""
    mask = [True] * len(text)
    i, n = 0, len(text)
    line_start = True
    while i < n:
        c = text[i]
        if line_start and c == "#":
            j = text.find("\n", i)
            j = n if j < 0 else j
            for k in range(i, j):
                mask[k] = False
            i = j
            continue
        if c == "\n":
            line_start = True
            i += 1
            continue
        if not c.isspace():
            line_start = False
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            for k in range(i, j):
                mask[k] = False
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            for k in range(i, j):
                mask[k] = False
            i = j
        elif c in "\"'":
            j = i + 1
            while j < n and text[j] != c:
                j += 2 if text[j] == "\\" else 1
            j = min(j + 1, n)
            for k in range(i, j):
                mask[k] = False
            i = j
        else:
            i += 1
    return mask


def is_binary_context(text, at, length):
    """Whether the operator at text[at:at+length] sits between two operands (not a unary
    sign, not part of ->, ++, --, <<, >>, a template bracket or an include)."""
    before = text[:at].rstrip()
    after = text[at + length:].lstrip()
    if not before or not after:
        return False
    prev, nxt = before[-1], after[0]
    op = text[at:at + length]
    if op in ("+", "-"):
        if text[at - 1:at] == op or text[at + 1:at + 2] == op or text[at + 1:at + 2] in "=>":
            return False
        if re.search(r"[\d.][eE]$", before):  # the sign of an exponent
            return False
    if op in ("<", ">"):
        if text[at - 1:at] in "<>-" or text[at + 1:at + 2] in "<>=":
            return False
        # Template brackets: "<" right after a type-like name with no space.
        if op == "<" and text[at - 1:at].isalnum() and not text[at + 1:at + 2].isspace():
            return False
        if op == ">" and not text[at - 1:at].isspace():
            return False
    return prev.isalnum() or prev in ")]_"


def find_sites(path, text):
    mask = code_mask(text)
    sites = []
    line_starts = [0] + [m.end() for m in re.finditer("\n", text)]

    def line_of(pos):
        lo, hi = 0, len(line_starts) - 1
        while lo < hi:
            mid = (lo + hi + 1) // 2
            if line_starts[mid] <= pos:
                lo = mid
            else:
                hi = mid - 1
        return lo + 1

    i = 0
    while i < len(text):
        if not mask[i]:
            i += 1
            continue
        for kind, op, repl in SWAPS:
            if text.startswith(op, i) and all(mask[i:i + len(op)]):
                if is_binary_context(text, i, len(op)):
                    sites.append((kind, path, i, len(op), repl, line_of(i)))
                i += len(op) - 1
                break
        i += 1
    for m in INT_LITERAL.finditer(text):
        if re.search(r"[\d.][eE][-+]?$", text[:m.start()]):  # an exponent
            continue
        if all(mask[m.start():m.end()]):
            sites.append(("constant", path, m.start(), len(m.group(1)),
                          str(int(m.group(1)) + 1), line_of(m.start())))
    for m in RETURN_STMT.finditer(text):
        if not all(mask[m.start():m.end()]):
            continue
        value = m.group(1).strip()
        if value.startswith("TRACE_RETURN"):
            inner = value[value.index("(") + 1:value.rindex(")")]
            start = m.start(1) + m.group(1).index("(") + 1
            value, length = inner, len(inner)
        else:
            start, length = m.start(1), len(m.group(1).rstrip())
        looks_bool = value in ("true", "false") or value.startswith("!") or re.search(
            r" (<|<=|>|>=|==|!=|&&|\|\|) ", value)
        repl = "!(%s)" % value if looks_bool else "{}"
        sites.append(("return", path, start, length, repl, line_of(m.start())))
    for m in re.finditer(r"(?m)^.*$", text):
        c = CALL_STMT.match(m.group(0))
        if not c or not all(mask[m.start():m.end()]):
            continue
        name = re.match(r"\s*([\w:]+)", c.group(2)).group(1).split("::")[-1]
        if name in KEYWORDS:
            continue
        start = m.start() + c.start(2)
        sites.append(("call", path, start, len(c.group(2)), ";", line_of(m.start())))
    return sites


class Restorer:
    """Keeps the original of the one file being mutated and puts it back."""

    def __init__(self):
        self.path = None
        self.original = None

    def mutate(self, path, original, mutated):
        with open(path + ORIG_SUFFIX, "wb") as f:
            f.write(original)
        self.path, self.original = path, original
        write_keeping_time(path, mutated)

    def restore(self):
        if self.path is None:
            return
        write_keeping_time(self.path, self.original)
        os.remove(self.path + ORIG_SUFFIX)
        self.path = self.original = None


def write_keeping_time(path, data):
    with open(path, "wb") as f:
        f.write(data)
    # A fresh time stamp each write, so that the build always notices the change.
    now = time.time()
    os.utime(path, (now, now))


def restore_leftovers(root):
    restored = []
    for base, _, files in os.walk(os.path.join(root, "src")):
        for name in files:
            if name.endswith(ORIG_SUFFIX):
                orig = os.path.join(base, name)
                path = orig[:-len(ORIG_SUFFIX)]
                with open(orig, "rb") as f:
                    write_keeping_time(path, f.read())
                os.remove(orig)
                restored.append(path)
    return restored


RUNNING = []  # the command running now, stopped with the tool


def run(cmd, timeout):
    """(exit code or None on timeout, seconds). The command runs in its own process group
    so that a timeout, or the tool being stopped, stops everything it started."""
    start = time.time()
    proc = subprocess.Popen(cmd, shell=True, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, start_new_session=True)
    RUNNING.append(proc)
    try:
        return proc.wait(timeout=timeout), time.time() - start
    except subprocess.TimeoutExpired:
        os.killpg(proc.pid, signal.SIGKILL)
        proc.wait()
        return None, time.time() - start
    finally:
        RUNNING.remove(proc)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--root", required=True)
    ap.add_argument("--build-dir", required=True)
    ap.add_argument("--subsystem", action="append", default=[])
    ap.add_argument("--count", type=int, default=40)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--timeout", type=float, default=120.0,
                    help="seconds for one suite run (default 120)")
    ap.add_argument("--build-cmd", default="cmake --build {build_dir} --target test_{subsystem}")
    ap.add_argument("--test-cmd", default="QT_QPA_PLATFORM={platform} "
                    "{build_dir}/tests/{subsystem}/test_{subsystem} "
                    "--gtest_output=json:{report}")
    ap.add_argument("--results", help="write one JSON line per mutant to this file")
    ap.add_argument("--list", action="store_true", help="only list the sample, change nothing")
    args = ap.parse_args()

    root = os.path.abspath(args.root)
    for path in restore_leftovers(root):
        print("restored %s from an interrupted run" % os.path.relpath(path, root))
    subsystems = args.subsystem or sorted(
        d for d in os.listdir(os.path.join(root, "src"))
        if os.path.isdir(os.path.join(root, "src", d)) and d != "logging")

    restorer = Restorer()

    def stop(signum, _frame):
        for proc in list(RUNNING):
            try:
                os.killpg(proc.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        restorer.restore()
        print("\ninterrupted: sources restored", file=sys.stderr)
        sys.exit(128 + signum)

    signal.signal(signal.SIGINT, stop)
    signal.signal(signal.SIGTERM, stop)

    if args.results and not args.list:
        open(args.results, "w").close()
    rows = []
    try:
        for sub in subsystems:
            rows.append(check_subsystem(root, sub, args, restorer))
    finally:
        restorer.restore()

    if args.list:
        return 0
    print("\n| subsystem | sites | sampled | killed | survived | timed out | skipped | score |")
    print("|---|---|---|---|---|---|---|---|")
    for r in rows:
        counted = r["killed"] + len(r["survivors"]) + r["timeout"]
        score = "%.0f%%" % (100.0 * (r["killed"] + r["timeout"]) / counted) if counted else "-"
        print("| %s | %d | %d | %d | %d | %d | %d | %s |" % (
            r["name"], r["sites"], r["sampled"], r["killed"], len(r["survivors"]),
            r["timeout"], r["skipped"], score))
    for r in rows:
        for s in r["survivors"]:
            print("survived: %s" % s)
    return 0


def check_subsystem(root, sub, args, restorer):
    folder = os.path.join(root, "src", sub)
    sites = []
    texts = {}
    for name in sorted(os.listdir(folder)):
        if name.endswith(".cpp"):
            path = os.path.join(folder, name)
            with open(path, "rb") as f:
                texts[path] = f.read()
            sites += find_sites(path, texts[path].decode("utf-8"))
    rng = random.Random("%s:%d" % (sub, args.seed))
    sample = sorted(rng.sample(sites, min(args.count, len(sites))),
                    key=lambda s: (s[1], s[2]))
    row = {"name": sub, "sites": len(sites), "sampled": len(sample), "killed": 0,
           "timeout": 0, "skipped": 0, "survivors": []}
    # The desktop suite needs the X server (DISPLAY); the others run offscreen.
    report = os.path.join(os.path.abspath(args.build_dir), "mutant-report-%s.json" % sub)
    fill = {"build_dir": args.build_dir, "subsystem": sub, "root": root, "report": report,
            "platform": "xcb" if sub == "desktop" else "offscreen"}
    build = args.build_cmd.format(**fill)
    test = args.test_cmd.format(**fill)
    for kind, path, start, length, repl, line in sample:
        text = texts[path].decode("utf-8")
        change = "%s -> %s" % (" ".join(text[start:start + length].split()), repl)
        where = "%s:%d" % (os.path.relpath(path, root), line)
        if args.list:
            print("%s %s %s" % (where, kind, change))
            continue
        mutated = text[:start] + repl + text[start + length:]
        restorer.mutate(path, texts[path], mutated.encode("utf-8"))
        failed = []
        try:
            code, _ = run(build, 30 * 60)
            if code != 0:
                row["skipped"] += 1
                verdict = "skipped (does not build)"
            else:
                if os.path.exists(report):
                    os.remove(report)
                code, _ = run(test, args.timeout)
                if code is None:
                    row["timeout"] += 1
                    verdict = "timed out"
                elif code != 0:
                    row["killed"] += 1
                    verdict = "killed"
                    failed = failed_tests(report)
                else:
                    row["survivors"].append("%s %s: %s" % (where, kind, change))
                    verdict = "SURVIVED"
        finally:
            restorer.restore()
        print("%-11s %s %s: %s" % (verdict.split()[0], where, kind, change), flush=True)
        if args.results:
            with open(args.results, "a") as f:
                f.write(json.dumps({"subsystem": sub, "seed": args.seed, "where": where,
                                    "kind": kind, "change": change,
                                    "verdict": verdict.split()[0], "failed": failed}) + "\n")
    # Leave the build matching the restored sources.
    if not args.list and sample:
        run(build, 30 * 60)
    return row


def failed_tests(report):
    """Names (Suite.Test) of the failed tests in a GoogleTest JSON report; [] when the
    suite wrote none (it crashed, or the test command is not a GoogleTest binary)."""
    try:
        with open(report) as f:
            data = json.load(f)
    except (OSError, ValueError):
        return []
    return sorted("%s.%s" % (suite["name"], test["name"])
                  for suite in data.get("testsuites", [])
                  for test in suite.get("testsuite", [])
                  if test.get("failures"))


if __name__ == "__main__":
    sys.exit(main())
