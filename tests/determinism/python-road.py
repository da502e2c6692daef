# SPDX-License-Identifier: Apache-2.0
"""Stands in for the command on the road through the Python module: takes the options of "corvana features" that
corvana-determinism gives, and prints the table with every number as the shortest text that reads back as itself."""
import argparse
import sys
import warnings

import corvana


def parse():
    parser = argparse.ArgumentParser()
    parser.add_argument("features", choices=["features"])
    parser.add_argument("-q", action="store_true")
    parser.add_argument("--window-ms", type=int)
    parser.add_argument("--overlap-ms", type=int)
    parser.add_argument("--suppress-dc", action="store_true")
    parser.add_argument("--samples", action="store_true", help="hand over arrays of samples, not paths")
    parser.add_argument("-f", action="append", default=[])
    parser.add_argument("--expr", action="append", default=[])
    parser.add_argument("path", nargs="+")
    return parser.parse_args()


def main():
    arguments = parse()
    warnings.simplefilter("ignore") # of features that get windows in place of spectra: here any numbers will do
    settings = dict(
        formulas=dict(text.split("=", 1) for text in arguments.expr),
        window_ms=arguments.window_ms,
        overlap_ms=arguments.overlap_ms,
        suppress_dc=arguments.suppress_dc,
    )
    print("path,time,values")
    for path in arguments.path:
        if arguments.samples:
            samples, rate = corvana.read(path)
            result = corvana.features(samples, arguments.f, sample_rate=rate, **settings)
        else:
            result = corvana.features(path, arguments.f, **settings)
        for time, row in zip(result.times.tolist(), result.values.tolist()):
            print(",".join([path, repr(time), *map(repr, row)]))


if __name__ == "__main__":
    sys.exit(main())
