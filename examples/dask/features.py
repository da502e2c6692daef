# SPDX-License-Identifier: Apache-2.0
"""Features of many recordings with Dask, in shards that are joined at the end.

    features.py [--shards N] [--scheduler ADDRESS] TABLE OPTION...

    features.py --shards 100 calls.csv --list calls.txt -f 'spectrum|flatness'

OPTION... goes to `corvana features`. The number of shards changes nothing in the result. What is computed lies in the folder
TABLE.parts, which all workers must see; delete it when there is a TABLE, or when recordings have changed. A shard whose worker dies is run again by Dask,
and goes on where it was. When this script itself was stopped, the same command does what is left.

Without --scheduler, a cluster of processes on this machine does the work, one for each processor.
"""
import argparse
import pathlib
import subprocess
import time

from distributed import Client, LocalCluster, as_completed


def compute(index, shards, parts, extension, options):
    """Runs in a worker. A program whose worker is killed has to die with it (setpriv, of util-linux): it would keep the next
    one from going on with this shard."""
    part = parts / f"{index}{extension}"
    command = ["setpriv", "--pdeathsig", "KILL", "corvana", "features", "--shard", f"{index}/{shards}", "--resume", "--jobs", "1",
               "--failures", f"{part}.failures.csv", "--progress", "never", "-o", part, *options]
    finished = part.with_name(f"{part.name}.done")
    if finished.exists() and finished.read_text() == repr(command):
        return part
    finished.unlink(missing_ok=True)
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, errors="replace")
    # 1: done, but for some recordings that cannot be read. They are named in the file of failures.
    if done.returncode not in (0, 1) or not part.exists():  # none when no recording of all can be read
        time.sleep(1)  # what was in the way may be gone when Dask tries again
        raise RuntimeError(f"shard {index} of {shards} ends with {done.returncode}: {done.stderr}")
    finished.write_text(repr(command))
    return part


def run(client, given):
    parts = pathlib.Path(f"{given.table}.parts").absolute()
    parts.mkdir(exist_ok=True)
    extension = pathlib.Path(given.table).suffix
    tasks = [client.submit(compute, index, given.shards, parts, extension, given.options, pure=False, retries=3)
             for index in range(1, given.shards + 1)]
    for count, task in enumerate(as_completed(tasks), 1):
        task.result()  # raises what the shard has raised
        print(f"{count} of {given.shards} shards", flush=True)
    subprocess.run(["corvana", "merge", given.table, *client.gather(tasks)], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--shards", type=int, default=100)
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of a cluster that runs already")
    parser.add_argument("table")
    parser.add_argument("options", nargs=argparse.REMAINDER, help="of corvana features")
    given = parser.parse_args()
    # Programs do the work, one for each worker; the workers themselves need next to no memory, whatever the programs need.
    local = {"threads_per_worker": 1, "memory_limit": 0, "dashboard_address": None}
    with Client(given.scheduler) if given.scheduler else Client(**local) as client:
        run(client, given)


if __name__ == "__main__":
    main()
