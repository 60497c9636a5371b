#!/usr/bin/env bash
# benchcompare_test.sh <benchcompare.py>
# Two builds of a benchmark program that print fixed results: the ratios are new/old per
# round, with cpu_time taken in each build's own unit; rates, failed benchmarks and
# programs only one build has are left out.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fake() { # fake <dir> <program> <json records>
  mkdir -p "$1"
  printf '#!/bin/sh\ncat <<"END"\n{"benchmarks": [%s]}\nEND\n' "$3" >"$1/$2"
  chmod +x "$1/$2"
}
fake "$scratch/old" bench_fake '{"name": "BM_A", "cpu_time": 2.0, "time_unit": "ms", "median_us": 4, "items_per_second": 10}'
fake "$scratch/new" bench_fake '{"name": "BM_A", "cpu_time": 1000, "time_unit": "us", "median_us": 1, "items_per_second": 20},
  {"name": "BM_Err", "cpu_time": 1, "error_occurred": true}'
fake "$scratch/new" bench_onlynew '{"name": "BM_B", "cpu_time": 1}'
out=$(python3 "$1" "$scratch/old" "$scratch/new" --rounds 2)
echo "$out"
grep -Eq 'BM_A +cpu_time +0\.500  0\.500   range 0\.500-0\.500' <<<"$out"
grep -Eq ' median_us +0\.250  0\.250 ' <<<"$out"
if grep -Eq 'items_per_second|BM_Err|BM_B|onlynew' <<<"$out"; then exit 1; fi
if python3 "$1" "$scratch/old" "$scratch/new" --filter nothing 2>/dev/null; then exit 1; fi
