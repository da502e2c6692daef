#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/table.py PROGRAMS [--rounds N] [--quick] [--json]: what the library costs beside others that do the same work, one
row for each goal that it has set itself. PROGRAMS is the folder with the built benchmarks.

Each benchmark is named GROUP_VARIANT/SIZE. A program measures its benchmarks round by round, interleaved at random, all
pinned to one core; a row's figure is the ratio of two medians over the rounds, or the geometric mean of such ratios over
several sizes. The spread is the middle half of the ratios of single rounds. A row whose benchmark or peer is not there
says so. The figures are meant to be read with 10 % of tolerance."""
import argparse
import json
import math
import os
import platform
import statistics
import subprocess
import sys
import time
from collections import defaultdict

TOLERANCE = 1.1
SIZES = (64, 128, 256, 512, 1024, 2048)
SPECTRUM_FILTER = "^(OneWindow|EightWindows)_"
# Program, which of its benchmarks, seconds that a round of one takes at least.
PROGRAMS = (
    ("MathSpectrumBench", SPECTRUM_FILTER, 0.002),
    ("AudioFeatureBench", "^Flatness_.*/128$", 0.002),
    ("AudioLinearWindowerBench", "^WindowerChunks_.*/256$", 0.002),
    ("AudioRoadBench", "^Road_", 0.0),
    ("ProgramFeaturesBench", "^Program(Features|TwoValues)_", 0.0),
    ("AudioAnnotationBench", "^(EditRegions_(Library|Copy)|ListRegions_(Library|Whole))/", 0.0),
)


def run_program(folder, program, pattern, seconds, rounds):
    """Google Benchmark's results; none where the program is missing or fails."""
    path = os.path.join(folder, "corvana-" + program)
    if not os.path.exists(path):
        print(f"{program} is not built", file=sys.stderr)
        return []
    print(f"running {program}", file=sys.stderr)
    run = subprocess.run(
        [path, f"--benchmark_filter={pattern}", f"--benchmark_repetitions={rounds}",
         "--benchmark_enable_random_interleaving=true", f"--benchmark_min_time={seconds}", "--benchmark_format=json"],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    if run.returncode != 0:
        print(f"{program} failed:\n{run.stderr}", file=sys.stderr)
        return []
    return json.loads(run.stdout)["benchmarks"]


class Times:
    """Seconds for a sample, of each round, by group, variant and size."""

    def __init__(self):
        self._rounds = defaultdict(dict)
        self.failed = False

    def add(self, results):
        for result in results:
            if result.get("error_occurred"):
                print(f"{result['name']}: {result.get('error_message')}", file=sys.stderr)
                self.failed = True
            elif result["run_type"] == "iteration":
                name, size = result["run_name"].split("/")[:2]
                index = result.get("repetition_index", 0)
                self._rounds[tuple(name.split("_")) + (int(size),)][index] = 1.0 / result["items_per_second"]

    def sizes(self, group):
        return sorted({size for name, _, size in self._rounds if name == group})

    def variants(self, group):
        return {variant for name, variant, _ in self._rounds if name == group}

    def median(self, group, variant, size):
        rounds = self._rounds.get((group, variant, size))
        return statistics.median(rounds.values()) if rounds else None

    def rounds(self, group, variant, size):
        rounds = self._rounds[group, variant, size]
        return [rounds[index] for index in sorted(rounds)]

    def fastest(self, group, variants, size):
        """The variant that took the least time, of those that were measured."""
        known = [variant for variant in variants if self.median(group, variant, size) is not None]
        return min(known, key=lambda variant: self.median(group, variant, size), default=None)


def geometric_mean(values):
    return math.exp(statistics.fmean(map(math.log, values)))


def ratio(times, group, variant, peers, sizes, inverse=False):
    """(measured, spread) of time / the peer's time, or its inverse; None where one of them is missing."""
    medians, rounds = [], []
    for size in sizes:
        peer = times.fastest(group, peers, size)
        if peer is None or times.median(group, variant, size) is None:
            return None
        medians.append(times.median(group, variant, size) / times.median(group, peer, size))
        rounds.append([own / others for own, others in
                       zip(times.rounds(group, variant, size), times.rounds(group, peer, size))])
    measured = geometric_mean(medians)
    means = [geometric_mean(values) for values in zip(*rounds)]
    low, _, high = statistics.quantiles(means, n=4) if len(means) > 1 else (means[0], means[0], means[0])
    if inverse:
        return 1.0 / measured, (1.0 / high, 1.0 / low)
    return measured, (low, high)


def differences(folder, largest):
    """Rows of values that differ from the plain algorithm's, one for each instruction set."""
    path = os.path.join(folder, "corvana-SpectrumDifferences")
    found = {}
    if os.path.exists(path):
        print("running SpectrumDifferences", file=sys.stderr)
        run = subprocess.run([path, str(largest)], stdout=subprocess.PIPE, text=True, check=False)
        if run.returncode == 0:
            found = {name: (int(values), int(count)) for name, values, count in map(str.split, run.stdout.splitlines())}
    for name in ("avx512", "avx2", "baseline", "portable"):
        values, count = found.get(name, (0, None))
        label = f"values that differ from the plain algorithm's, {name}, 2 to {largest}"
        yield make_row(label, None if count is None else (count, None), 0, 0, note=f"({values} values)" if values else "")


def make_row(name, result, must, aim, higher=False, note=""):
    measured, spread = result if result is not None else (None, None)
    return {"name": name, "measured": measured, "must": must, "aim": aim, "better": "higher" if higher else "lower",
            "spread": spread, "note": note}


def verdict(row):
    measured, must, aim = row["measured"], row["must"], row["aim"]
    if measured is None:
        return "not measured"
    if must is None:
        return ""
    sign = -1 if row["better"] == "higher" else 1
    if sign * measured <= sign * aim:
        return "aim"
    if sign * measured <= sign * must:
        return "must"
    factor = TOLERANCE if sign > 0 else 1.0 / TOLERANCE
    return "must, within 10 %" if sign * measured <= sign * must * factor else "MISSED"


FFTW = {"-O3": ("fftw",), "fast": ("fftwfast",)}
FFTW_EIGHT = {"-O3": ("fftw", "fftwmany"), "fast": ("fftwfast", "fftwmanyfast")}


ROAD_PEERS = ("Literal", "Reading", "fftw", "fftwfast", "aubio", "aubiofft")
ROAD_WINDOW = 256


def spectrum_rows(times):
    best = next((name for name in ("avx512", "avx2", "baseline", "portable")
                 if times.median("OneWindow", name, 256) is not None), "avx512")
    for simd, must, aim in (("avx512", 1.0, 0.85), ("avx2", 1.2, 1.0)):
        for flags, peers in FFTW.items():
            yield make_row(f"one window, {simd}, mean of 64 to 2048 / FFTW ({flags})",
                           ratio(times, "OneWindow", simd, peers, SIZES), must, aim)
    for flags, peers in FFTW_EIGHT.items():
        yield make_row(f"8 windows at once, {best}, 256 / FFTW ({flags})",
                       ratio(times, "EightWindows", best, peers, (256,)), 0.75, 0.55)
        yield make_row(f"8 windows at once, {best}, mean of 64 to 2048 / FFTW ({flags})",
                       ratio(times, "EightWindows", best, peers, SIZES), 0.75, 0.55)
    for peer in ("kissfft", "gsl"):
        yield make_row(f"one window, {best}, mean of 64 to 2048 / {peer}",
                       ratio(times, "OneWindow", best, (peer,), SIZES), None, None)
    for simd, must, aim in (("avx512", 5, 8), ("avx2", 4.5, 6.5), ("baseline", 2, 3)):
        yield make_row(f"one window, {simd}, 256: times as fast as the plain algorithm",
                       ratio(times, "OneWindow", simd, ("Literal",), (256,), inverse=True), must, aim, higher=True)


def other_rows(times):
    def row(name, group, variant, peer, must, aim):
        return make_row(name, ratio(times, group, variant, (peer,), times.sizes(group) or (0,)), must, aim)

    # The library's own ways are all that is no peer; the best one counts, as for whoever reads a file to its end.
    own = times.fastest("Road", times.variants("Road") - set(ROAD_PEERS), ROAD_WINDOW)
    for peer, name, must, aim in (
            ("Literal", "the plain road", 0.20, 0.14),
            ("fftw", "by hand with FFTW and libsndfile (-O3)", 1.0, 0.85),
            ("fftwfast", "by hand with FFTW and libsndfile (fast)", 1.0, 0.85),
            ("aubio", "aubio doing the like", 1 / 6, 1 / 10),
            ("aubiofft", "aubio without its phases", None, None),
            ("Reading", "sf_read_double, 1024 frames at a time, alone", 4.5, 3.2)):
        yield row(f"an hour from file to features / {name}", "Road", own, peer, must, aim)
    if own != "OneByOne":
        yield row("an hour from file to features, each window by itself / the plain road", "Road", "OneByOne", "Literal",
                  None, None)
    yield row("windower, chunks in, windows of 256 copied out / memcpy of the windows", "WindowerChunks", "Windows",
              "Memcpy", 2.7, 1.7)
    yield row("flatness of 128 bins / plain flatness", "Flatness", "Feature", "Literal", 0.75, 0.5)
    yield row("safe edit of a 100 MB recording / cp, then fsync", "EditRegions", "Library", "Copy", 1.3, 1.05)
    yield row("listing the regions of a 100 MB recording / reading it whole", "ListRegions", "Library", "Whole",
              0.05, 0.01)
    for group, name in (("ProgramFeatures", "its default"), ("ProgramTwoValues", "2 values, windows of 256")):
        yield row(f"corvana features as a process, CSV written, {name} / the features", group, "Command", "Own",
                  1.6, 1.25)


def machine(core, rounds):
    model = ""
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as stream:
            model = next((line.split(":", 1)[1].strip() for line in stream if line.startswith("model name")), "")
    except OSError:
        pass
    return {"processor": model or platform.machine(), "system": platform.platform(), "core": core,
            "rounds": rounds, "load": os.getloadavg()[0], "time": time.strftime("%Y-%m-%d %H:%M:%S")}


def number(value):
    return "-" if value is None else f"{value:.3f}".rstrip("0").rstrip(".")


def print_table(about, rows):
    print(f"{about['processor']}, core {about['core']}, {about['rounds']} rounds, load {about['load']:.1f}")
    print(f"{'':76} {'measured':>9} {'middle half':>15} {'must':>6} {'aim':>6}")
    for row in rows:
        spread = "" if row["spread"] is None else f"{row['spread'][0]:.3f} - {row['spread'][1]:.3f}"
        print(f"{row['name']:76} {number(row['measured']):>9} {spread:>15} {number(row['must']):>6} "
              f"{number(row['aim']):>6}  {verdict(row)} {row['note']}".rstrip())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder")
    parser.add_argument("--rounds", type=int, default=0)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--json", action="store_true")
    options = parser.parse_args()
    rounds = options.rounds or (5 if options.quick else 41)
    core = max(os.sched_getaffinity(0))
    os.sched_setaffinity(0, {core})

    times = Times()
    rows = list(differences(options.folder, 4096 if options.quick else 65536))
    for program, pattern, seconds in PROGRAMS:
        times.add(run_program(options.folder, program, pattern, seconds, rounds))
    rows += [*spectrum_rows(times), *other_rows(times)]
    about = machine(core, rounds)
    if options.json:
        for row in rows:
            row["verdict"] = verdict(row)
        json.dump({"machine": about, "rows": rows}, sys.stdout, indent=2)
        print()
    else:
        print_table(about, rows)
    return 1 if times.failed else 0


if __name__ == "__main__":
    sys.exit(main())
