#!/usr/bin/env python3
"""Runs the benchmarks of two builds in turn and prints the new/old ratios.

    benchcompare.py OLD_BENCH_DIR NEW_BENCH_DIR [--filter TEXT] [--rounds N]

Every bench_* program under NEW_BENCH_DIR whose name contains TEXT, and that
OLD_BENCH_DIR has too, runs once per round with --benchmark_format=json: the old
build's, then the new one's, so that both see the machine in the same state. For every
benchmark both report without error, the ratio new/old is printed for cpu_time and for
every counter both report (rates per second left out: cpu_time says the same), one
column per round and then the range over the rounds. Below 1 the new build is faster.
Standard library only.
"""
import argparse
import json
import os
import subprocess
import sys

# Keys of a benchmark's JSON record that are not measurements.
NOT_MEASURED = {'name', 'run_name', 'run_type', 'family_index', 'per_family_instance_index',
                'repetitions', 'repetition_index', 'threads', 'iterations', 'real_time',
                'time_unit', 'error_occurred', 'error_message', 'label', 'aggregate_name'}
NANOS = {'ns': 1.0, 'us': 1e3, 'ms': 1e6, 's': 1e9}


def programs(folder):
    found = {}
    for parent, _, files in os.walk(folder):
        for name in files:
            path = os.path.join(parent, name)
            if name.startswith('bench_') and os.access(path, os.X_OK):
                found[name] = path
    return found


def measurements(program):
    """{benchmark: {measure: value}} of one run; cpu_time in nanoseconds."""
    env = dict(os.environ, QT_QPA_PLATFORM='offscreen')
    out = subprocess.run([program, '--benchmark_format=json'], env=env, check=True,
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    result = {}
    for record in json.loads(out)['benchmarks']:
        if record.get('error_occurred') or record.get('run_type') == 'aggregate':
            continue
        values = {'cpu_time': record['cpu_time'] * NANOS[record.get('time_unit', 'ns')]}
        for key, value in record.items():
            if (key not in NOT_MEASURED and key != 'cpu_time' and not key.endswith('_per_second')
                    and isinstance(value, (int, float))):
                values[key] = float(value)
        result[record['name']] = values
    return result


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('old')
    parser.add_argument('new')
    parser.add_argument('--filter', default='')
    parser.add_argument('--rounds', type=int, default=3)
    args = parser.parse_args()
    old, new = programs(args.old), programs(args.new)
    names = sorted(n for n in new if args.filter in n and n in old)
    if not names:
        sys.exit(f'benchcompare: no benchmark program matching "{args.filter}" in both builds')
    for name in names:
        ratios = {}  # (benchmark, measure) -> [ratio per round]
        for _ in range(args.rounds):
            before, after = measurements(old[name]), measurements(new[name])
            for bench, values in after.items():
                for measure, value in values.items():
                    base = before.get(bench, {}).get(measure)
                    if base:
                        ratios.setdefault((bench, measure), []).append(value / base)
        print(f'{name}: new/old over {args.rounds} rounds, old build first in each')
        width = max([len(b) for b, _ in ratios] + [9])
        for (bench, measure), values in ratios.items():
            rounds = ' '.join(f'{v:6.3f}' for v in values)
            shown = bench if measure == 'cpu_time' else ''
            print(f'  {shown:{width}}  {measure:14} {rounds}   range {min(values):.3f}-{max(values):.3f}')


if __name__ == '__main__':
    main()
