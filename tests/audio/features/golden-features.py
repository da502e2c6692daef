#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes golden-features.txt: what every feature yields for six windows of examples/data/sample-call.wav.

Plain Python with no library of signals, and with a transform straight from its definition, so that it shares nothing
with what it is the measure of. Run it in the root of the sources:

    tests/audio/features/golden-features.py > tests/audio/features/golden-features.txt

A line is: the window's first sample, the feature, and the values.
"""
import math
import struct

SIZE = 256
# ringback, the voice, the voice, the beep, line noise, a DTMF key
STARTS = [4000, 59200, 67200, 99200, 108000, 120400]


def mu_law(byte):
    byte = ~byte & 0xFF
    magnitude = (((byte & 0x0F) << 3) + 0x84) << ((byte & 0x70) >> 4)
    sample = magnitude - 0x84
    return (-sample if byte & 0x80 else sample) / 32768.0


def samples():
    data = open("examples/data/sample-call.wav", "rb").read()
    position = 12
    while position < len(data):
        name, size = data[position:position + 4], struct.unpack("<I", data[position + 4:position + 8])[0]
        if name == b"data":
            return [mu_law(byte) for byte in data[position + 8:position + 8 + size]]
        position += 8 + size + size % 2
    raise SystemExit("no samples")


def spectrum(window):
    n = len(window)
    tapered = [x * (1.0 - math.cos(2.0 * math.pi * i / (n - 1))) / 2.0 for i, x in enumerate(window)]
    powers = []
    for k in range(n // 2):
        real = math.fsum(x * math.cos(2.0 * math.pi * ((k * i) % n) / n) for i, x in enumerate(tapered))
        imaginary = math.fsum(x * math.sin(2.0 * math.pi * ((k * i) % n) / n) for i, x in enumerate(tapered))
        powers.append(real ** 2 + imaginary ** 2)
    total = math.fsum(powers)
    return [power / total for power in powers]


def bands(count):
    def reduce(window):
        bins = spectrum(window)
        group = len(bins) // count
        sums = [math.fsum(bins[j * group:(j + 1) * group]) for j in range(count)]
        whole = len(bins) // group
        if whole * group == len(bins):  # the last group is kept for the end
            if whole == count:
                sums[-1] = bins[count - 1] + math.fsum(bins[(whole - 1) * group:])
            else:
                sums[-1] += math.fsum(bins[(whole - 1) * group:])
        else:
            sums[-1] += math.fsum(bins[whole * group:])
        return sums
    return reduce


def flatness(bins):
    logs = math.fsum(math.log(x) for x in bins if x != 0.0)
    return [len(bins) * math.exp(logs / len(bins))]


class ZeroCrossingRate:
    def __init__(self):
        self.previous = 0.0

    def __call__(self, window):
        count = 0
        for x in window:
            count += self.previous * x < 0 or (x == 0 and self.previous != 0)
            self.previous = x
        return [count / len(window)]


def silence_ratio(ratio):
    return lambda window: [sum(abs(x) < max(map(abs, window)) / ratio for x in window) / len(window)]


class Ratios:
    def __init__(self, temporal):
        self.temporal, self.peak = temporal, 0.0

    def __call__(self, window):
        peak = max(map(abs, window))
        if self.temporal:
            peak = self.peak = max(peak, self.peak)
        counts = [0, 0, 0, 0]
        for x in window:
            counts[next((c for c, d in enumerate((5, 10, 50)) if abs(x) > peak / d), 3)] += 1
        return [count / len(window) for count in counts]


def neighbourhood(window):
    m = window.index(max(window))
    start = min(max(m - 1, 0), len(window) - 3)
    return window[start:start + 3]


class Delta:
    def __init__(self):
        self.last = []

    def __call__(self, values):
        self.last = (self.last + values)[-5:]
        return [values[0] - sum(self.last) / len(self.last)]


def spectral_range(center, half_width):
    def compute(bins):
        width_hz = 4000.0 / len(bins)
        index = math.floor(center / width_hz + 0.5)
        width = math.ceil(half_width / width_hz)
        return bins[index - width:index + width + 1] + [center / width_hz - index]
    return compute


def max_ranges(*centers):
    ranges = [spectral_range(center, 20) for center in centers]
    return lambda bins: max((r(bins) for r in ranges), key=lambda values: max(values[:-1]))


def low_ratio(bins):
    return [math.fsum(bins[:len(bins) // 4])]


def low_ratios(bins):
    return [math.fsum(bins[:len(bins) // 40]), math.fsum(bins[len(bins) // 40:len(bins) // 4])]


def weighted_area(bins):
    lowest, highest = int(len(bins) / 8 - 0.5), int(len(bins) * 3 / 8 + 0.5)
    return [math.fsum(k * bins[k] for k in range(lowest, highest + 1)) * (8000 // (2 * len(bins)))]


def harmonic(index):
    def compute(bins):
        m = (len(bins) - 1) // 5 + 1
        return [0.0 if i < max(1, len(bins) // 40) else math.prod(m * bins[index(h, i, len(bins))] for h in range(1, 6))
                for i in range(m)]
    return compute


def robust_index(h, i, size):
    return h * (i + 1) if h > 1 and h * (i + 1) < size else h * i


def anti_harmonic(bins):
    m = (len(bins) - 1) // 5 + 1
    return [math.prod(m * m * bins[h * i - i // 2] for h in range(1, 6)) for i in range(2, m)]


def old_harmonic(bins):
    size = len(bins)
    return [math.prod(size * bins[h * (i + 1) - 1] for h in range(1, 5)) for i in range(size // 4)] + \
        [0.0] * (size - size // 4)


def peaks(values):
    work, found = [abs(x) for x in values], []
    for _ in range(3):
        p = work.index(max(work))
        found.append((work[p], p))
        right, left = p + 1, p - 1
        while right < len(work) and work[right] < values_before(work, right, p):
            right += 1
        while left >= 0 and work[left] < values_before(work, left, p):
            left -= 1
        for i in range(left + 1, right):
            work[i] = 0.0
    return [value for value, _ in found] + [math.log(max(p, 1e-6)) for _, p in found]


def values_before(work, i, p):
    return work[i - 1] if i > p else work[i + 1]


def clipping(window):
    return [sum(x >= 0.1 or x <= -0.1 for x in window) / len(window)]


class MeanEnergy:
    def __init__(self, threshold):
        self.threshold, self.energies = threshold, []

    def __call__(self, window):
        self.energies += [x * x for x in window if x * x > self.threshold]
        return [sum(self.energies) / len(self.energies) if self.energies else 0.0]


def histogram(window):
    counts = [0] * 12
    for x in window:
        counts[min(int(12 * x * x / 0.05), 11)] += 1
    return counts


class MeanMax:
    """Blocks are counted in samples: 50 of 0.01 s are half a second, as doubles add up."""

    def __init__(self, step, baseline):
        self.step, self.baseline, self.block, self.elapsed, self.accepted = step, baseline, [], 0.0, []

    def __call__(self, window):
        for x in window:
            self.elapsed += self.step
            if self.elapsed > 0.5:
                self.judge(max(self.block))
                self.block, self.elapsed = [], 0.0
            self.block.append(abs(x))
        if not self.accepted:
            return [max(self.block)] * 2
        return [sum(self.accepted) / len(self.accepted), max(self.accepted)]

    def judge(self, maximum):
        above = maximum - self.baseline
        mean = sum(self.accepted) / len(self.accepted) - self.baseline if self.accepted else 0.0
        if not self.accepted or above > 2 * mean:
            self.accepted = [maximum]
        elif above >= 0.5 * mean:
            self.accepted.append(maximum)


def chain(*stages):
    def compute(values):
        for stage in stages:
            values = stage(values)
        return values
    return compute


FEATURES = [
    ("zerocrossingrate", ZeroCrossingRate()),
    ("spectrum", spectrum),
    ("spectrum100hz", bands(40)),
    ("spectrum200hz", bands(20)),
    ("spectrum500hz", bands(8)),
    ("spectrum|flatness", chain(spectrum, flatness)),
    ("spectrum|spectralrange(1010,100)", chain(spectrum, spectral_range(1010, 100))),
    ("spectrum|maxspectralranges(440,480,1000)", chain(spectrum, max_ranges(440, 480, 1000))),
    ("spectrum|oldharmonicproduct", chain(spectrum, old_harmonic)),
    ("spectrum|harmonicproduct", chain(spectrum, harmonic(lambda h, i, size: h * i))),
    ("spectrum|robustharmonicproduct", chain(spectrum, harmonic(robust_index))),
    ("spectrum|antiharmonicproduct", chain(spectrum, anti_harmonic)),
    ("spectrum|spectralweightedarea", chain(spectrum, weighted_area)),
    ("silenceratio", silence_ratio(50)),
    ("noiseratio", silence_ratio(10)),
    ("amplitudedistribution", Ratios(False)),
    ("temporalamplitudedistribution", Ratios(True)),
    ("spectrum|peaks", chain(spectrum, peaks)),
    ("neighbourhoodofmax", neighbourhood),
    ("spectrum|lowfreqenergyratio", chain(spectrum, low_ratio)),
    ("spectrum|lowfreqenergyratios", chain(spectrum, low_ratios)),
    ("silenceratio|deltatoslidingmean", chain(silence_ratio(50), Delta())),
    ("ClippingRate", clipping),
    ("MeanEnergyAboveThresh", MeanEnergy(0.01)),
    ("EnergyHistogram", histogram),
    ("MeanMax", MeanMax(0.01, 0.001)),
]

if __name__ == "__main__":
    call = samples()
    for start in STARTS:
        for name, feature in FEATURES:
            print(start, name, *(repr(float(value)) for value in feature(call[start:start + SIZE])))
