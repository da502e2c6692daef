#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_scale.py PROGRAM SOURCE [--files N] [--shards N,N,...] [--engines]: one table, made in many ways: with any number of
jobs, in shards, with kills and --resume, through Slurm, Dask and GNU parallel. Prints a hash of the table, of what lies beside
it and of what tells how it was made, for each way and format, and fails when they differ."""
import argparse
import hashlib
import itertools
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import engines_test
from slurm_cluster import Unavailable

FORMATS = ("csv", "jsonl", "npy")


class Ways:
    def __init__(self, given, folder, made):
        self.given, self.folder, self.made = given, folder, made
        self.chance, self.count, self.hashes = random.Random(1), itertools.count(), {}

    def fresh(self):
        folder = self.folder / str(next(self.count))
        folder.mkdir()
        return folder

    def command(self, form, table, *options):
        return [self.given.program, "features", "-q", "--list", self.made.list, "--format", form, "--sidecar", "-o", table,
                *engines_test.ANALYSIS, *options]

    def run(self, *command):
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, errors="replace")
        # 1: some recordings are bad.
        assert done.returncode in (0, 1), f"{' '.join(map(str, command))} ends with {done.returncode}: {done.stderr[-2000:]}"

    def run_with_kills(self, seconds, *command):
        """Kills it some times, each somewhere within the time that all of it takes."""
        for _ in range(3):
            program = subprocess.Popen([*command, "--resume"], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(self.chance.uniform(0, seconds))
            program.send_signal(signal.SIGKILL)
            program.wait()
        self.run(*command, "--resume")

    def add(self, way, form, hashes):
        """One hash for all files of a table, whatever folder they lie in."""
        text = "".join(f"{name} {digest}\n" for name, digest in sorted(hashes.items()))
        self.hashes[way, form] = hashlib.sha256(text.encode()).hexdigest()

    def one_run(self, form, jobs, seconds=None):
        folder = self.fresh()
        table = folder / f"table.{form}"
        start = time.monotonic()
        command = self.command(form, table, "--jobs", str(jobs))
        self.run(*command) if seconds is None else self.run_with_kills(seconds, *command)
        self.add(f"{jobs} jobs" + ("" if seconds is None else ", 3 kills"), form, engines_test.hashes(table))
        shutil.rmtree(folder)
        return time.monotonic() - start

    def shards(self, form, count, kills=False):
        """The shards one after another, in any order, and merged in any order."""
        folder = self.fresh()
        parts = [folder / f"part-{index}.{form}" for index in range(1, count + 1)]
        for index in self.chance.sample(range(count), count):
            command = self.command(form, parts[index], "--shard", f"{index + 1}/{count}", "--jobs", "2")
            self.run_with_kills(0.05, *command) if kills else self.run(*command)
        self.chance.shuffle(parts)
        table = folder / f"table.{form}"
        self.run(self.given.program, "merge", table, *parts)
        self.add(f"{count} shards" + (", kills" if kills else ""), form, engines_test.hashes(table))
        shutil.rmtree(folder)

    def engine(self, name, form):
        run = engines_test.Disturbed(self.given.program, self.given.source, self.fresh(), form, self.made)
        try:
            engines_test.ENGINES[name][0](run)
        except Unavailable as reason:
            print(f"{name}: skipped: {reason}")
            return
        self.add(f"{name}, 2 kills", form, run.hashes)

    def table(self):
        ways = dict.fromkeys(way for way, _ in self.hashes)
        print(f"{'':>22}  " + "  ".join(f"{form:<16}" for form in FORMATS))
        for way in ways:
            print(f"{way:>22}  " + "  ".join(f"{self.hashes.get((way, form), '')[:16]:<16}" for form in FORMATS))
        for form in FORMATS:
            different = {digest for (_, made), digest in self.hashes.items() if made == form}
            assert len(different) == 1, f"{form}: {len(different)} different hashes"
        print(f"{len(self.hashes)} tables of {self.given.files} recordings: the same bytes in each format")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("program", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("source", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("--files", type=int, default=1000)
    parser.add_argument("--shards", type=lambda text: [int(count) for count in text.split(",")], default=[1, 7, 100, 2000],
                        help="the second number is also tried with kills")
    parser.add_argument("--engines", action="store_true")
    given = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="corvana-scale-") as name:
        folder = pathlib.Path(name)
        ways = Ways(given, folder, engines_test.make_recordings(folder / "recordings", given.files))
        for form in FORMATS:
            seconds = [ways.one_run(form, jobs) for jobs in (1, 2, 8)]
            for jobs, taken in zip((1, 2, 8), seconds):
                ways.one_run(form, jobs, seconds=taken)
            for count in given.shards:
                # One format is enough for the largest numbers of processes.
                if form == "csv" or count <= given.files // 10:
                    ways.shards(form, count)
            ways.shards(form, given.shards[1], kills=True)
        for name, (_, form) in engines_test.ENGINES.items() if given.engines else ():
            ways.engine(name, form)
        ways.table()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    main()
