#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the medians of Google Benchmark's JSON files, each benchmark beside its peer.

A benchmark is named GROUP_VARIANT/SIZE. Within a group and size, the variant named last in PEERS is what the others
are held against; the ratio is how many times as fast as the peer they are (below 1: slower)."""
import json
import statistics
import sys
from collections import defaultdict

PEERS = ("Literal", "Memcpy", "Sndfile", "Direct", "Copy", "Whole", "Own")


def measurements(paths):
    """{(group, size): {variant: [items per second of each repetition]}}, and the names of what failed."""
    groups = defaultdict(lambda: defaultdict(list))
    failed = []
    for path in paths:
        with open(path, encoding="utf-8") as stream:
            text = stream.read()
        for run in json.loads(text)["benchmarks"] if text.strip() else []:
            if run.get("error_occurred"):
                failed.append(f"{run['name']}: {run.get('error_message')}")
            elif run["run_type"] == "iteration":
                name, size = run["run_name"].split("/")[:2]
                group, variant = name.split("_")
                groups[group, int(size)][variant].append(run["items_per_second"])
    return groups, failed


def row(group, size, variant, values, peer, peer_values):
    median = statistics.median(values)
    spread = (max(values) - min(values)) / median
    nanoseconds = size / median * 1e9
    ratio = median / statistics.median(peer_values)
    return (f"{group:26} {size:6} {variant:10} {median / 1e6:12.1f} {nanoseconds:14.1f} {spread:8.0%}"
            f" {ratio:8.2f} x {peer}")


def main():
    groups, failed = measurements(sys.argv[1:])
    print(f"{'group':26} {'size':>6} {'variant':10} {'Msamples/s':>12} {'ns for size':>14} {'spread':>8} {'ratio':>8}")
    for (group, size), variants in sorted(groups.items()):
        peer = next((name for name in variants if name in PEERS), None)
        if peer is None:
            failed.append(f"{group}/{size}: no peer was measured")
            continue
        for variant, values in sorted(variants.items(), key=lambda item: item[0] == peer):
            print(row(group, size, variant, values, peer, variants[peer]))
    for line in failed:
        print(line, file=sys.stderr)
    return 1 if failed or not groups else 0


if __name__ == "__main__":
    sys.exit(main())
