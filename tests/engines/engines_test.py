#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""engines_test.py PROGRAM SOURCE slurm|dask|gnu-parallel: runs the script of examples/ for an engine over some hundred short
recordings, some of them bad, and kills workers in the middle; what comes out has the bytes of one run that nothing disturbs.

Ends with 77, and tells why, where the engine cannot run."""
import hashlib
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

import recordings
from slurm_cluster import SlurmCluster, Unavailable

SKIPPED = 77
NB_OF_RECORDINGS = 400
NB_OF_SHARDS = 8
KILLED = (2, 5)
ANALYSIS = ["--window-ms", "16", "--overlap-ms", "12", "-f", "spectrum|flatness", "-f", "silenceratio"]


def make_recordings(folder, count=NB_OF_RECORDINGS):
    """With some in the middle of the shards of KILLED that are long enough for the program to be stopped in them."""
    made = recordings.make(folder, count)
    for shard in KILLED:
        middle = (2 * shard - 1) * count // (2 * NB_OF_SHARDS)
        recordings.lengthen(made, range(middle - 5, middle + 5), 10)
    return made


def hashes(table):
    """Of the table, of what lies beside it, and of what tells how it was made."""
    files = sorted(file for file in table.parent.glob(f"{table.stem}.*") if file.is_file())
    return {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in files}


def is_alive(process):
    """Whether it still runs; one that is dead but not yet waited for does not."""
    try:
        status = pathlib.Path(f"/proc/{process}/stat").read_text()
    except OSError:
        return False
    return status.rpartition(")")[2].split()[0] not in "ZX"


def wait(is_so, what, seconds=60):
    end = time.monotonic() + seconds
    while not is_so():
        if time.monotonic() > end:
            raise AssertionError(f"not after {seconds} s: {what}")
        time.sleep(0.02)


class Disturbed:
    """A run through an engine, some of whose programs stop in the middle."""

    def __init__(self, program, source, folder, extension, made):
        self.program, self.scripts, self.folder = program, source / "examples", folder
        self.options = ["--list", str(made.list), "--format", extension, *ANALYSIS]
        self.expected = folder / f"expected/table.{extension}"
        self.table = folder / f"work/table.{extension}"
        for name in ("expected", "work", "bin", "frozen"):
            (folder / name).mkdir()
        (folder / "bin/corvana").symlink_to(pathlib.Path(__file__).with_name("freezing_corvana.py"))

    def environment(self):
        return {**os.environ, "PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}", "CORVANA_PROGRAM": str(self.program),
                "CORVANA_FREEZE": ",".join(map(str, KILLED)), "CORVANA_FROZEN": str(self.folder / "frozen")}

    def make_expected(self):
        """One run; while the engine is at work, for the sake of time."""
        done = subprocess.run([self.program, "features", "-q", "--jobs", "1", "--sidecar", "-o", self.expected, *self.options],
                              stderr=subprocess.DEVNULL)
        assert done.returncode == 1, f"some recordings are bad, yet the exit code is {done.returncode}"

    def frozen(self, shard):
        """The process that was stopped in the middle of a shard, as soon as there is one."""
        marker = self.folder / f"frozen/frozen-{shard}"
        wait(marker.exists, f"shard {shard} is stopped in the middle")
        process, state = marker.read_text().split()
        assert state == "stopped" and is_alive(process), f"shard {shard} was complete before it could be stopped"
        return int(process)

    def runs(self, shard):
        return [line.split()[0] for line in (self.folder / "frozen/runs").read_text().splitlines()].count(str(shard))

    def check(self):
        """The bytes are those of one run, and the shards that were killed ran again."""
        for shard in KILLED:
            assert self.runs(shard) >= 2, f"shard {shard} did not run again"
        made, expected = hashes(self.table), hashes(self.expected)
        assert made == expected, f"differs:\n{made}\n{expected}"
        assert len(expected) == (3 if self.table.suffix == ".npy" else 2), f"unexpected files: {expected}"
        self.hashes = made
        print(f"{self.table.name}: {next(iter(made.values()))}, {sum(map(self.runs, range(1, NB_OF_SHARDS + 1)))} runs of "
              f"{NB_OF_SHARDS} shards")


def run_slurm(run):
    with SlurmCluster(cpus=4) as cluster:
        def submit(*arguments):
            return cluster.run("sbatch", "--parsable", *arguments, cwd=run.table.parent, env=run.environment()).strip()

        scripts = run.scripts / "slurm"
        array = submit(f"--array=1-{NB_OF_SHARDS}", scripts / "features.sbatch", run.table.name, *run.options)
        merge = submit(f"--dependency=afterok:{array}", "--kill-on-invalid-dep=yes", scripts / "merge.sbatch", run.table.name)
        os.kill(run.frozen(KILLED[0]), signal.SIGKILL)
        run.frozen(KILLED[1])
        cluster.lose_node()
        run.make_expected()
        try:
            cluster.wait(lambda: f"JobId={merge} " not in cluster.run("scontrol", "-o", "show", "job")
                         or "JobState=COMPLETED" in cluster.run("scontrol", "-o", "show", "job", merge), 90)
        except TimeoutError:
            logs = "".join(f"{log.name}:\n{log.read_text()}" for log in sorted(run.table.parent.glob("*.log")))
            raise AssertionError(f"{cluster.run('squeue')}{logs}{cluster.logs()}") from None
    run.check()


def run_dask(run):
    script = [sys.executable, "-B", run.scripts / "dask/features.py", "--shards", str(NB_OF_SHARDS), run.table.name, *run.options]
    with subprocess.Popen(script, cwd=run.table.parent, env=run.environment()) as dask:
        try:
            process = run.frozen(KILLED[0])
            worker = int(pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[1])
            assert worker != dask.pid, "the work is done in processes of their own"
            os.kill(worker, signal.SIGKILL)
            wait(lambda: not is_alive(process), "the program dies with its worker")
            os.kill(run.frozen(KILLED[1]), signal.SIGKILL)
            run.make_expected()
            assert dask.wait(120) == 0, f"the script ends with {dask.returncode}"
        finally:
            dask.kill()
    run.check()


def run_gnu_parallel(run):
    script = [run.scripts / "gnu-parallel/features.sh", str(NB_OF_SHARDS), run.table.name, *run.options]
    with subprocess.Popen(script, cwd=run.table.parent, env=run.environment()) as parallel:
        try:
            for shard in KILLED:
                os.kill(run.frozen(shard), signal.SIGKILL)
            run.make_expected()
            assert parallel.wait(120) == 0, f"the script ends with {parallel.returncode}"
        finally:
            parallel.kill()
    run.check()
    # What is done is not done again.
    done = (run.folder / "frozen/runs").read_text()
    run.table.unlink()
    subprocess.run(script, cwd=run.table.parent, env=run.environment(), check=True, timeout=60)
    assert (run.folder / "frozen/runs").read_text() == done, "shards that are done run again"
    run.check()


ENGINES = {"slurm": (run_slurm, "csv"), "dask": (run_dask, "npy"), "gnu-parallel": (run_gnu_parallel, "jsonl")}


def main():
    program, source = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    engine, extension = ENGINES[sys.argv[3]]
    with tempfile.TemporaryDirectory(prefix="corvana-engines-") as folder:
        try:
            made = make_recordings(pathlib.Path(folder) / "recordings")
            engine(Disturbed(program, source, pathlib.Path(folder), extension, made))
        except Unavailable as reason:
            print(f"skipped: {reason}")
            return SKIPPED
    return 0


if __name__ == "__main__":
    sys.exit(main())
