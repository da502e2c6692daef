# SPDX-License-Identifier: Apache-2.0
"""Labels the stretches of a recording in which a formula holds for a while, and prints them.

    python3 label-events.py CALL.wav TYPE FORMULA [--window-ms N] [--at-least SECONDS] [--dry-run]

The formula is one over x, the window, as of `corvana eval`. The labels are added to those that the recording has.
"""
import argparse

import numpy as np

import corvana


def stretches(result, window, at_least):
    """Start and stop of each run of windows in which the formula is true, where it lasts long enough."""
    holds = np.concatenate([[0], result["event"] != 0, [0]]).astype(int)
    firsts, behinds = np.flatnonzero(np.diff(holds) == 1), np.flatnonzero(np.diff(holds) == -1)
    for first, behind in zip(firsts, behinds):
        start, stop = result.times[first] - window, result.times[behind - 1]  # times are the ends of windows
        if stop - start >= at_least:
            yield round(start, 6), round(stop, 6)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("recording")
    parser.add_argument("type")
    parser.add_argument("formula")
    parser.add_argument("--window-ms", type=int, default=32)
    parser.add_argument("--at-least", type=float, default=0.0, metavar="SECONDS")
    parser.add_argument("--dry-run", action="store_true", help="print only")
    given = parser.parse_args()

    result = corvana.features(given.recording, formulas={"event": given.formula}, window_ms=given.window_ms)
    found = [corvana.Region(given.type, *times) for times in stretches(result, given.window_ms / 1000, given.at_least)]
    for region in found:
        print(f"{region.type} {region.start:g} to {region.stop:g} s")
    if found and not given.dry_run:
        with corvana.edit_regions(given.recording) as regions:
            regions.extend(found)


if __name__ == "__main__":
    main()
