#!/usr/bin/env python3
"""Which tests catch which mutants, from the results file of mutants.py.

    kills.py RESULTS.jsonl [TEST_BINARY ...]

Per subsystem, every test that failed for at least one killed mutant, with the number it
caught and the number only it caught ("alone"): a test that catches nothing alone can go
without lowering the score on that sample, provided the tests that also catch its mutants
stay. With the suites' binaries given, the tests that caught nothing at all are listed
too (from --gtest_list_tests). A killed mutant with no failed test named (the suite
crashed or was stopped) is counted apart: any test may be the one that caught it.
"""

import collections
import json
import subprocess
import sys


def listed_tests(binary):
    out = subprocess.run([binary, "--gtest_list_tests"], capture_output=True, text=True,
                         env={"QT_QPA_PLATFORM": "offscreen"}).stdout
    tests, suite = [], None
    for line in out.splitlines():
        if not line.strip():
            continue
        if not line.startswith(" "):
            suite = line.split("#")[0].strip()
        else:
            tests.append(suite + line.split("#")[0].strip())
    return tests


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    rows = [json.loads(line) for line in open(sys.argv[1]) if line.strip()]
    known = {}
    for binary in sys.argv[2:]:
        sub = binary.rstrip("/").rsplit("test_", 1)[-1]
        known[sub] = listed_tests(binary)
    for sub in sorted({r["subsystem"] for r in rows}):
        mine = [r for r in rows if r["subsystem"] == sub]
        killed = [r for r in mine if r["verdict"] in ("killed", "timed")]
        caught = collections.defaultdict(list)
        unnamed = 0
        for r in killed:
            if not r["failed"]:
                unnamed += 1
            for test in r["failed"]:
                caught[test].append(r)
        print("== %s: %d mutants, %d killed (%d by a crash, a time-out or no report)" % (
            sub, len(mine), len(killed), unnamed))
        for test in sorted(caught, key=lambda t: (-len(caught[t]), t)):
            alone = [r for r in caught[test] if len(r["failed"]) == 1]
            print("  %3d caught, %3d alone  %s" % (len(caught[test]), len(alone), test))
            for r in alone:
                print("                 alone: %s %s: %s" % (r["where"], r["kind"], r["change"]))
        for test in known.get(sub, []):
            if test not in caught:
                print("    0 caught             %s" % test)
    return 0


if __name__ == "__main__":
    sys.exit(main())
