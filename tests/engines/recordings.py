# SPDX-License-Identifier: Apache-2.0
"""Data sets of short recordings, the same for the same seed, with some that cannot be read.

    recordings.py FOLDER COUNT [SECONDS]        makes COUNT recordings in FOLDER and prints the name of their list
"""
import dataclasses
import os
import pathlib
import random
import struct
import sys

import numpy as np

RATE = 8000
BAD_KINDS = ("empty", "cut-header", "text", "folder", "dangling-link")
FILES_PER_FOLDER = 1000


@dataclasses.dataclass
class Recordings:
    list: pathlib.Path  # names of all, relative to where it lies
    good: dict  # name: number of samples, in the order of the list
    bad: list


def mu_law(samples):
    """The codes of G.711 for samples in -1..1."""
    magnitudes = np.minimum(np.abs(samples) * 32635, 32635).astype(np.int64) + 132
    exponents = np.maximum(np.log2(magnitudes).astype(np.int64) - 7, 0)
    mantissas = (magnitudes >> (exponents + 3)) & 15
    return (~(np.where(samples < 0, 128, 0) | exponents << 4 | mantissas) & 255).astype(np.uint8).tobytes()


def wav(samples, is_mu_law):
    tag, width = (7, 1) if is_mu_law else (1, 2)
    data = mu_law(samples) if is_mu_law else (samples * 32767).astype("<i2").tobytes()
    padded = data + bytes(len(data) % 2)
    form = struct.pack("<4s4sI2H2I2H", b"WAVE", b"fmt ", 16, tag, 1, RATE, RATE * width, width, 8 * width)
    body = form + struct.pack("<4sI", b"data", len(data)) + padded
    return struct.pack("<4sI", b"RIFF", len(body)) + body


def call(generator, nb_of_samples):
    """Two tones that come and go over noise, as a line between two telephones has them."""
    time = np.arange(nb_of_samples) / RATE
    tones = sum(generator.uniform(0.05, 0.4) * np.sin(2 * np.pi * generator.uniform(200, 3400) * time) for _ in range(2))
    on = np.sin(2 * np.pi * generator.uniform(0.5, 4) * time + generator.uniform(0, 6)) > generator.uniform(-0.9, 0.5)
    return tones * on + generator.uniform(0.0001, 0.1) * generator.standard_normal(nb_of_samples).clip(-1, 1)


def make_bad(path, kind, model):
    if kind == "empty":
        path.write_bytes(b"")
    elif kind == "cut-header":
        path.write_bytes(model[:30])
    elif kind == "text":
        path.write_text("The recorder has left a message here instead of a call.\n")
    elif kind == "folder":
        path.mkdir()
    else:
        path.symlink_to("nowhere.wav")  # unreadable even for root


def make(folder, count, seconds=(0.1, 0.3), distinct=200, seed=1):
    """Makes `count` recordings of so many seconds; no more than `distinct` of them differ, the others are links to these. One
    in a hundred is bad, the first one always, and at least one of each kind."""
    folder = pathlib.Path(folder)
    chance = random.Random(seed)
    generator = np.random.Generator(np.random.PCG64(seed))
    masters = []
    (folder / "masters").mkdir(parents=True)
    for index in range(min(distinct, count)):
        nb_of_samples = int(generator.uniform(*seconds) * RATE)
        masters.append((folder / f"masters/{index}.wav", nb_of_samples))
        masters[-1][0].write_bytes(wav(call(generator, nb_of_samples), index % 2 == 0))

    bad = {0, *chance.sample(range(1, count), max(len(BAD_KINDS), count // 100) - 1)}
    kinds = {index: BAD_KINDS[turn % len(BAD_KINDS)] for turn, index in enumerate(sorted(bad))}
    made = Recordings(folder / "calls.txt", {}, [])
    names = []
    for index in range(count):
        name = f"{index // FILES_PER_FOLDER:04}/{index:07}.wav"
        path = folder / name
        if index % FILES_PER_FOLDER == 0:
            path.parent.mkdir()
        names.append(name)
        if index in kinds:
            make_bad(path, kinds[index], masters[0][0].read_bytes())
            made.bad.append(name)
        else:
            # The first ones are all there; what comes later is drawn.
            master, nb_of_samples = masters[index if index < len(masters) else chance.randrange(len(masters))]
            os.link(master, path)
            made.good[name] = nb_of_samples
    made.list.write_text("".join(f"{name}\n" for name in names))
    return made


def lengthen(made, indexes, seconds):
    """Gives some recordings, by their places in the list, another content that is so long. Bad ones among them stay."""
    names = made.list.read_text().split()
    generator = np.random.Generator(np.random.PCG64(2))
    for name in (names[index] for index in indexes if names[index] in made.good):
        path = made.list.parent / name
        path.unlink()
        path.write_bytes(wav(call(generator, seconds * RATE), False))
        made.good[name] = seconds * RATE


if __name__ == "__main__":
    longest = float(sys.argv[3]) if len(sys.argv) > 3 else None
    print(make(sys.argv[1], int(sys.argv[2]), *([(longest, longest)] if longest else [])).list)
