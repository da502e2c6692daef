#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stands in for `corvana` in a run that is to be disturbed: runs it, and stops (SIGSTOP) it in the middle of some shards, each
once, for the test to kill it there.

    CORVANA_PROGRAM   the program itself
    CORVANA_FREEZE    the numbers of the shards, with commas
    CORVANA_FROZEN    a folder in which "runs" gets a line with shard and process for each start, and a file frozen-SHARD the
                      process that was stopped
"""
import os
import pathlib
import signal
import sys

program, frozen = os.environ["CORVANA_PROGRAM"], pathlib.Path(os.environ["CORVANA_FROZEN"])


def argument(name):
    return sys.argv[sys.argv.index(name) + 1] if name in sys.argv else ""


def freeze(process, marker):
    """Waits until many rows are written, without a pause: a whole shard may take no longer than one."""
    part = pathlib.Path(argument("-o"))
    partial = part.with_name(part.name + ".partial")
    while os.getppid() == process:
        try:
            is_time = partial.stat().st_size > 65536
        except OSError:
            is_time = False
        if is_time:
            os.kill(process, signal.SIGSTOP)
            marker.with_suffix(".new").write_text(f"{process} {'finished' if part.exists() else 'stopped'}")
            marker.with_suffix(".new").rename(marker)
            return


shard = argument("--shard").split("/")[0]
if shard:
    with open(frozen / "runs", "a") as runs:
        runs.write(f"{shard} {os.getpid()}\n")
marker = frozen / f"frozen-{shard}"
if shard in os.environ["CORVANA_FREEZE"].split(",") and not marker.exists():
    if os.fork() == 0:
        freeze(os.getppid(), marker)
        os._exit(0)
os.execv(program, [program, *sys.argv[1:]])
