# SPDX-License-Identifier: Apache-2.0
"""Learns from a labelled call what is tone, voice and silence, and draws what it makes of the call.

    python3 train-classifier.py [CALL.wav [PICTURE.png]]

The labels stand in the recording itself. Windows of even seconds teach, those of odd seconds examine. The classifier is a
logistic regression over features of windows and of their surroundings, fitted by plain gradient steps, so that nothing but NumPy is needed.
"""
import pathlib
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import corvana

CLASSES = ["tone", "voice", "silence"]
CLASS_OF = {
    "RINGBACK": "tone",
    "BEEP": "tone",
    "DTMF_5": "tone",
    "CPA_BUSY": "tone",
    "CPA_MACHINE": "voice",
    "SILENCE": "silence",
}
COLOURS = {"tone": "#0072b2", "voice": "#d55e00", "silence": "#999999"}


def describe(path):
    """The times, features scaled to unit variance, and classes (-1: unlabelled) of all windows."""
    result = corvana.features(
        path,
        ["spectrum|flatness", "spectrum200hz", "zerocrossingrate", "silenceratio"],
        formulas={"level": "log(sqrt(mean(x * x)) + 1e-6)", "peak": "log(max(spectrum(x)) + 1e-6)"},
        window_ms=32,
        labels=True,
    )
    values = result.values.copy()
    shares = slice(0, result.columns.index("zerocrossingrate"))
    values[:, shares] = np.log(values[:, shares] + 1e-9)
    # What is heard lasts longer than a window: each one gets the mean of its neighbours as well.
    around = [np.convolve(column, np.ones(15) / 15, mode="same") for column in values.T]
    values = np.column_stack([values, *around])
    values = (values - values.mean(axis=0)) / values.std(axis=0)
    classes = [CLASSES.index(CLASS_OF[labels[0]]) if labels else -1 for labels in result.labels]
    return result.times, np.column_stack([values, np.ones(len(values))]), np.array(classes)


def probabilities(weights, values):
    scores = values @ weights
    scores = np.exp(scores - scores.max(axis=1, keepdims=True))
    return scores / scores.sum(axis=1, keepdims=True)


def train(values, classes, steps=3000, rate=0.5):
    weights = np.zeros((values.shape[1], len(CLASSES)))
    targets = np.eye(len(CLASSES))[classes]
    for _ in range(steps):
        weights += rate * (values.T @ (targets - probabilities(weights, values)) / len(values) - 0.01 * weights)
    return weights


def draw(path, times, heard, picture):
    samples, rate = corvana.read(path)
    figure, (wave, found) = plt.subplots(
        2, 1, sharex=True, figsize=(10, 4), gridspec_kw={"height_ratios": [3, 1]}, layout="constrained"
    )
    wave.plot(np.arange(len(samples)) / rate, samples, linewidth=0.3, color="#333333")
    for region in corvana.read_regions(path):
        colour = COLOURS[CLASS_OF[region.type]]
        wave.axvspan(region.start, region.stop, alpha=0.2, color=colour, linewidth=0)
        wave.text((region.start + region.stop) / 2, 0.93, region.type, ha="center", va="top", fontsize=7,
                  rotation=0 if region.duration > 1 else 90, transform=wave.get_xaxis_transform())
    wave.set_ylim(-1, 1)
    wave.set_ylabel("amplitude")
    wave.set_title("Labels, and below what each window was taken for", fontsize=10)
    for index, name in enumerate(CLASSES):
        chosen = heard == index
        found.scatter(times[chosen] - 0.016, np.full(chosen.sum(), index), s=6, marker="s", color=COLOURS[name])
    found.set_yticks(range(len(CLASSES)), CLASSES)
    found.set_ylim(len(CLASSES) - 0.5, -0.5)
    found.set_xlabel("time in seconds")
    found.set_xlim(0, len(samples) / rate)
    figure.savefig(picture, dpi=120)


def main():
    sample = pathlib.Path(__file__).parent / "data" / "sample-call.wav"
    path = sys.argv[1] if len(sys.argv) > 1 else sample
    picture = sys.argv[2] if len(sys.argv) > 2 else "classified-call.png"
    times, values, classes = describe(path)
    labelled = classes >= 0
    even = times.astype(int) % 2 == 0
    weights = train(values[labelled & even], classes[labelled & even])
    heard = probabilities(weights, values).argmax(axis=1)
    examined = labelled & ~even
    right = (heard == classes)[examined]
    print(f"{right.sum()} of {examined.sum()} windows of odd seconds are heard right ({100 * right.mean():.0f} %)")
    for index, name in enumerate(CLASSES):
        of_class = examined & (classes == index)
        if of_class.any():
            print(f"  {name:8} {(heard == classes)[of_class].sum():4} of {of_class.sum():4}")
    draw(path, times, heard, picture)
    print(f"picture: {picture}")


if __name__ == "__main__":
    main()
