#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""soak.py PROGRAM [--files N] [--kills K] [--seed S] [--jobs N]: extracts features of N short recordings, one in a hundred of
them bad, while K kills stop it at random places and --resume goes on. Every good recording is in the table exactly once, the
table and what tells of it have the bytes of a run that nothing disturbs, and memory stays flat; prints what was measured."""
import argparse
import hashlib
import itertools
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

import recordings

HOP = 128  # samples: windows of 16 ms at 8 kHz
ANALYSIS = ["-f", "spectrum|flatness", "-f", "silenceratio"]
MIB = 1024 * 1024


def memory(process):
    """Bytes that a process has in memory now, and has had at most; zeros when it is gone. What the system tells of a process
    that has ended counts the one it was started from."""
    try:
        lines = pathlib.Path(f"/proc/{process}/status").read_text().splitlines()
    except OSError:
        return 0, 0
    found = dict(line.split(":", 1) for line in lines)
    return tuple(1024 * int(found[name].split()[0]) if name in found else 0 for name in ("VmRSS", "VmHWM"))


class Run:
    """One start of the program, watched until it ends."""

    def __init__(self, program, table, options, log):
        self.partial = table.with_name(table.name + ".partial")
        self.start, self.samples, self.peak = time.monotonic(), [], 0
        self.process = subprocess.Popen([program, "features", "--progress", "never", "--sidecar", "-o", table, *options],
                                        stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def written(self):
        try:
            return self.partial.stat().st_size
        except OSError:
            return 0

    def wait(self, is_so=lambda: False):
        """True: it is so, and the program runs; false: it has ended by itself."""
        while True:
            process, status, usage = os.wait4(self.process.pid, os.WNOHANG)
            if process != 0:
                self.finish(status, usage)
                return False
            resident, peak = memory(self.process.pid)
            self.samples.append((time.monotonic() - self.start, resident))
            self.peak = max(self.peak, peak)
            if is_so():
                return True
            time.sleep(0.001)

    def kill(self, sig):
        self.process.send_signal(sig)
        _, status, usage = os.wait4(self.process.pid, 0)
        self.finish(status, usage)

    def finish(self, status, usage):
        self.process.returncode = os.waitstatus_to_exitcode(status)
        self.code, self.seconds = self.process.returncode, time.monotonic() - self.start
        self.cpu = usage.ru_utime + usage.ru_stime


class Soak:
    def __init__(self, given, folder):
        self.given, self.folder, self.chance = given, folder, random.Random(given.seed)
        self.log = open(folder / "messages", "wb")
        start = time.monotonic()
        self.made = recordings.make(folder / "recordings", given.files)
        print(f"{given.files} recordings, {len(self.made.bad)} of them bad, made in {time.monotonic() - start:.1f} s; "
              f"seed {given.seed}")
        self.options = ["--list", str(self.made.list), *(["--jobs", str(given.jobs)] if given.jobs else []), *ANALYSIS]
        for name in ("expected", "killed"):
            (folder / name).mkdir()
        self.expected, self.table = folder / "expected/table.csv", folder / "killed/table.csv"

    def row(self, name, run, done):
        print(f"{name:>14}  {run.code:>6}  {run.seconds:>7.2f}  {run.cpu:>7.2f}  {100 * done:>6.1f}  {run.peak / MIB:>8.1f}")

    def run_undisturbed(self):
        run = Run(self.given.program, self.expected, self.options, self.log)
        run.wait()
        assert run.code == 1, f"the exit code is {run.code}, and some recordings are bad: {self.messages()}"
        self.size, self.peak = self.expected.stat().st_size, run.peak
        print(f"{'run':>14}  {'code':>6}  {'seconds':>7}  {'CPU s':>7}  {'done %':>6}  {'peak MiB':>8}")
        self.row("undisturbed", run, 1)
        return run

    def kill_once(self, number):
        """Lets the program run, and kills it: most times at a random place of those that are still to come, so that the kills are
        spread over all of the work and some come near its end; at times at once, while it finds out where it was."""
        run = Run(self.given.program, self.table, [*self.options, "--resume"], self.log)
        is_last, is_early = number == self.given.kills, number % 4 == 2
        if is_early:
            moment = time.monotonic() + self.chance.uniform(0, 0.1)
            is_time = lambda: time.monotonic() >= moment
        else:
            # The rest is divided among the kills that are left; the last one comes where all rows but a few are written.
            share = 0.97 if is_last else (number - 1 + self.chance.random()) / self.given.kills
            goal = min(share, 0.97) * self.size
            is_time = lambda: run.written() >= goal
        if not run.wait(is_time):
            return run, False
        if not is_early and not is_last:
            time.sleep(self.chance.uniform(0, 0.02))
        run.kill(signal.SIGTERM if number % 5 == 4 else signal.SIGKILL)
        return run, True

    def run_killed(self):
        runs, hits = [], 0
        for number in range(1, self.given.kills + 1):
            run, is_killed = self.kill_once(number)
            assert is_killed or run.code == 1, f"run {number} ends with {run.code}: {self.messages()}"
            runs.append(run)
            hits += is_killed and run.code < 0
            written = self.size if self.table.exists() else run.written()
            self.row(f"kill {number}" if run.code < 0 else "not killed", run, written / self.size)
            if self.table.exists():
                break
        if not self.table.exists():
            run = Run(self.given.program, self.table, [*self.options, "--resume"], self.log)
            run.wait()
            runs.append(run)
            self.row("to the end", run, 1)
            assert run.code == 1, f"the last run ends with {run.code}: {self.messages()}"
        assert hits >= self.given.kills - 1, f"only {hits} of {self.given.kills} kills hit a run"
        return runs

    def messages(self):
        return (self.folder / "messages").read_text(errors="replace")[-2000:]

    def check_bytes(self):
        names = sorted(path.name for path in self.expected.parent.iterdir())
        assert sorted(path.name for path in self.table.parent.iterdir()) == names, "something is left beside the table"
        for name in names:
            hashes = [hashlib.sha256((folder / name).read_bytes()).hexdigest()
                      for folder in (self.expected.parent, self.table.parent)]
            print(f"{name:>14}  SHA-256 {hashes[0]} undisturbed\n{'':>14}          {hashes[1]} killed")
            assert hashes[0] == hashes[1], f"{name} differs"

    def check_recordings(self):
        """From the table alone: each good recording once, in the order of the list, with one row for each whole window."""
        with open(self.table, newline="") as table:
            next(table)
            found = [(pathlib.Path(path).relative_to(self.made.list.parent).as_posix(), [float(row.split(",")[1]) for row in rows])
                     for path, rows in itertools.groupby(table, key=lambda row: row.split(",")[0])]
        assert [name for name, _ in found] == list(self.made.good), "the table has other recordings than the good ones, each once"
        for name, times in found:
            wanted = [0.016 * (row + 1) for row in range(len(times))]
            assert len(times) == self.made.good[name] // HOP, f"{name} has {len(times)} rows"
            assert all(abs(a - b) < 1e-9 for a, b in zip(times, wanted)), f"{name} has rows of other times"
        outcomes = json.loads(self.table.with_name("table.csv.json").read_text())["inputs"]
        failed = [outcome["file"] for outcome in outcomes if "fault" in outcome]
        assert len(outcomes) == self.given.files and len(failed) == len(self.made.bad), f"{len(failed)} of {len(outcomes)} failed"
        print(f"{len(found)} good recordings, each exactly once; {len(failed)} bad ones, each told")

    def check_memory(self, undisturbed, runs):
        """Flat: it does not grow with what is done, but for some bytes an input, nor with what was done before a kill."""
        at = [max(bytes for moment, bytes in undisturbed.samples if moment <= quarter * undisturbed.seconds / 4)
              for quarter in (1, 2, 3, 4)]
        print("memory of the undisturbed run after each quarter: " + ", ".join(f"{bytes / MIB:.1f}" for bytes in at) + " MiB")
        highest = max(run.peak for run in runs)
        print(f"highest peak of the others: {highest / MIB:.1f} MiB; of the undisturbed run: {self.peak / MIB:.1f} MiB")
        allowance = 8 * MIB + 512 * self.given.files
        assert at[3] <= at[0] + allowance, "memory grows with what is done"
        assert highest <= self.peak + allowance, "memory grows with what was done before"

    def run(self):
        undisturbed = self.run_undisturbed()
        runs = self.run_killed()
        self.check_bytes()
        self.check_recordings()
        self.check_memory(undisturbed, runs)
        print("all good")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("program", type=lambda path: str(pathlib.Path(path).resolve()))
    parser.add_argument("--files", type=int, default=100000)
    parser.add_argument("--kills", type=int, default=20)
    parser.add_argument("--seed", type=int, default=random.randrange(1000000))
    parser.add_argument("--jobs", type=int)
    given = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="corvana-soak-") as folder:
        Soak(given, pathlib.Path(folder)).run()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    main()
