#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/scale.py PROGRAM BENCHMARKS [--quick]: what extraction over many recordings costs. PROGRAM is the command, BENCHMARKS the
folder with the built benchmarks. All figures are of one run on one machine; what has a goal is a ratio of two of them."""
import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/engines"))
import recordings  # noqa: E402
import soak  # noqa: E402

HOUR = 3600
MILLION = 1000000
SECONDS_OF_MILLION = 30  # of each of the million recordings that docs/scale.md speaks of
# What the command does by itself, nine values a row; and two values of longer windows.
DEFAULT = []
TWO_VALUES = ["--window-ms", "32", "-f", "spectrum|flatness", "-f", "zerocrossingrate"]


class Done:
    """A program that has run: seconds, seconds of processors, and bytes of memory at most."""

    def __init__(self, *command):
        start, self.peak = time.monotonic(), 0
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while True:
            ended, status, usage = os.wait4(process.pid, os.WNOHANG)
            if ended:
                break
            self.peak = max(self.peak, soak.memory(process.pid)[1])
            time.sleep(0.002)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):
            sys.exit(f"{' '.join(map(str, command))} ends with {process.returncode}")
        self.seconds, self.cpu = time.monotonic() - start, usage.ru_utime + usage.ru_stime


class Scale:
    def __init__(self, given, folder):
        self.given, self.folder, self.failed = given, folder, False

    def features(self, made, table, *options):
        return Done(self.given.program, "features", "-q", "--sidecar", "-o", table, "--list", made.list, *options)

    def row(self, text, value, must=None, is_good=True):
        self.failed |= not is_good
        print(f"{text:<74} {value:>14}" + ("" if must is None else f"  {must:<8} {'yes' if is_good else 'NO'}"))

    def speed_up(self):
        """In memory, where the system has a folder for that: a disk has one speed for any number of jobs."""
        with tempfile.TemporaryDirectory(prefix="corvana-scale-", dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as name:
            self.speed_up_in(pathlib.Path(name))

    def speed_up_in(self, folder):
        count = 2000 if self.given.quick else 10000
        made = recordings.make(folder / "tens", count, seconds=(10, 10))
        table = folder / "table.csv"
        times = {jobs: [] for jobs in (1, 2)}
        for _ in range(3):
            for jobs, seconds in times.items():
                seconds.append(self.features(made, table, "--jobs", str(jobs)).seconds)
        one, two = (statistics.median(seconds) for seconds in times.values())
        self.row(f"{count} recordings of 10 s with --jobs 1, seconds", f"{one:.2f}")
        self.row("the same with --jobs 2, seconds", f"{two:.2f}")
        self.row("two jobs are faster than one, times", f"{one / two:.2f}", ">= 1.8", one / two >= 1.8)

    def cost_of_a_file(self):
        done = subprocess.run(
            [self.given.benchmarks / "corvana-ProgramFilesBench", f"--benchmark_repetitions={3 if self.given.quick else 9}",
             "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2", "--benchmark_format=json"],
            stdout=subprocess.PIPE, check=True)
        medians = {result["run_name"].split("/")[0]: 1e6 / result["items_per_second"]
                   for result in json.loads(done.stdout)["benchmarks"] if result.get("aggregate_name") == "median"}
        sndfile = medians["ProgramFiles_Sndfile"]
        self.row("a file of one window with libsndfile, and its features, microseconds", f"{sndfile:.1f}")
        for name, what in (("Command", "from a folder to CSV"), ("CommandNpy", "from a folder to NPY"),
                           ("CommandList", "from a list to CSV")):
            cost = medians["ProgramFiles_" + name]
            self.row(f"the same with the command, {what}, microseconds", f"{cost:.1f}")
            self.row("  times as much", f"{cost / sndfile:.2f}", "< 1.3", cost / sndfile < 1.3)

    def million(self):
        """Recordings of 30 s, and what a million of them come to."""
        count = 200 if self.given.quick else 2000
        made = recordings.make(self.folder / "thirties", count, seconds=(SECONDS_OF_MILLION, SECONDS_OF_MILLION), distinct=100)
        times = MILLION / len(made.good)
        for name, options in (("nine values, windows of 16 ms", DEFAULT), ("two values, windows of 32 ms", TWO_VALUES)):
            for form in ("csv", "jsonl", "npy"):
                table = self.folder / f"thirty/table.{form}"
                table.parent.mkdir(exist_ok=True)
                done = self.features(made, table, "--format", form, "--jobs", "1", *options)
                files = {path: path.stat().st_size for path in table.parent.iterdir()}
                size = sum(files.values()) - files[pathlib.Path(f"{table}.json")]
                hours = len(made.good) * SECONDS_OF_MILLION / HOUR
                self.row(f"{name}, {form}: core-hours for a million of 30 s", f"{done.cpu * times / HOUR:.2f}")
                self.row("  gigabytes for a million of 30 s", f"{size * times / 1e9:.1f}")
                self.row("  megabytes for an hour of audio", f"{size / hours / 1e6:.2f}")
                for path in files:
                    path.unlink()

    def inputs(self):
        """What inputs cost by their number alone: recordings of a few windows."""
        for count in (10000, 100000) if self.given.quick else (10000, 100000, MILLION):
            made = recordings.make(self.folder / f"short-{count}", count)
            table = self.folder / "short/table.csv"
            table.parent.mkdir(exist_ok=True)
            done = self.features(made, table, "--resume", *TWO_VALUES)
            sidecar = pathlib.Path(f"{table}.json").stat().st_size
            self.row(f"{count} short recordings, all cores, --resume: seconds", f"{done.seconds:.2f}")
            self.row("  seconds of processors", f"{done.cpu:.2f}")
            self.row("  memory at most, MiB", f"{done.peak / soak.MIB:.0f}")
            self.row("  sidecar, bytes an input", f"{sidecar / count:.0f}")
            part = self.folder / "short/part-1.csv"
            done = self.features(made, part, "--shard", "1/1000", *TWO_VALUES)
            self.row("  its first shard of 1000: seconds of processors", f"{done.cpu:.2f}")
            self.row("  its first shard of 1000: memory at most, MiB", f"{done.peak / soak.MIB:.0f}")
            self.merge(made, table)

    def merge(self, made, table):
        parts = [self.folder / f"short/part-{index}.csv" for index in range(1, 11)]
        for index, part in enumerate(parts, 1):
            self.features(made, part, "--shard", f"{index}/10", *TWO_VALUES)
        done = Done(self.given.program, "merge", self.folder / "short/merged.csv", *parts)
        assert (self.folder / "short/merged.csv").read_bytes() == table.read_bytes()
        self.row(f"  merging ten shards, {table.stat().st_size / 1e6:.0f} MB: seconds", f"{done.seconds:.2f}")
        self.row("  merging ten shards: memory at most, MiB", f"{done.peak / soak.MIB:.0f}")
        for path in table.parent.iterdir():
            path.unlink()

    def run(self):
        print(f"{'':<74} {'measured':>14}  {'must':<8} holds")
        self.speed_up()
        self.cost_of_a_file()
        self.million()
        self.inputs()
        return 1 if self.failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("program", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("benchmarks", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("--quick", action="store_true", help="fewer recordings")
    given = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="corvana-scale-") as folder:
        return Scale(given, pathlib.Path(folder)).run()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    sys.exit(main())
