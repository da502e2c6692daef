#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/spectrum.py PROGRAM [REPETITIONS]: runs corvana-MathSpectrumBench pinned to one core, its benchmarks interleaved
at random, and prints for each instruction set and size the median time of a window, how many times as fast as the
literal algorithm that is, and, where the program was built with CORVANA_BENCH_PEERS, the time as a share of FFTW's:
with plain loops around it, and with loops compiled with -ffast-math for this machine. Last the geometric means."""
import json
import math
import os
import statistics
import subprocess
import sys
from collections import defaultdict

PEERS = ("Literal", "fftw", "fftwfast")


def measure(program, repetitions):
    """{group: {variant: {size: median nanoseconds of a window}}}"""
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    run = subprocess.run(
        [program, f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
         "--benchmark_min_time=0.002", "--benchmark_format=json"],
        check=True, capture_output=True, text=True)
    times = defaultdict(lambda: defaultdict(lambda: defaultdict(list)))
    for result in json.loads(run.stdout)["benchmarks"]:
        if result["run_type"] != "iteration":
            continue
        name, size = result["run_name"].split("/")[:2]
        group, variant = name.split("_")
        times[group][variant][int(size)].append(int(size) / result["items_per_second"] * 1e9)
    return {group: {variant: {size: statistics.median(values) for size, values in sizes.items()}
                    for variant, sizes in variants.items()} for group, variants in times.items()}


def main():
    medians = measure(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "41")
    for group, variants in sorted(medians.items(), reverse=True):
        peers = [peer for peer in PEERS if peer in variants]
        print(f"{group:13} {'':9} {'size':>5} {'ns':>9}  " + "  ".join(f"{'/ ' + peer:>10}" for peer in peers)
              + "  times as fast as Literal")
        for variant, sizes in variants.items():
            ratios = defaultdict(list)
            for size, time in sorted(sizes.items()):
                for peer in peers:
                    ratios[peer].append(time / variants[peer][size])
                print(f"{'':13} {variant:9} {size:5} {time:9.1f}  "
                      + "  ".join(f"{ratios[peer][-1]:10.3f}" for peer in peers)
                      + f"  {variants['Literal'][size] / time:6.2f}")
            print(f"{'':13} {variant:9} {'mean':>5} {'':9}  "
                  + "  ".join(f"{math.exp(statistics.fmean(map(math.log, ratios[peer]))):10.3f}" for peer in peers))


if __name__ == "__main__":
    main()
