# SPDX-License-Identifier: Apache-2.0
"""Exact audio features of telephone calls, and labelled regions in recordings.

    >>> import corvana
    >>> result = corvana.features("call.wav", ["spectrum|flatness", "silenceratio"], window_ms=32)
    >>> result.times.shape, result.values.shape, result.columns
    ((593,), (593, 2), ['spectrum|flatness', 'silenceratio'])

The numbers are those of the C++ library and of the corvana command, to the last bit. Times are seconds, samples lie in
-1..1, frequencies are Hz. Failures raise corvana.Error with the library's own message. What the library logs goes to the
logging module, to loggers below "kestrivon", when the call that caused it ends.
"""

from __future__ import annotations

import contextlib
import dataclasses
import logging
import os
from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Optional, Union

import numpy as np

from . import _corvana
from ._corvana import Error, Expression, FeatureComputer, Reader, __version__, set_log_level, simd

if TYPE_CHECKING:
    import pandas

__all__ = [
    "Error",
    "Expression",
    "FeatureComputer",
    "FeatureInfo",
    "Features",
    "FunctionInfo",
    "Reader",
    "Region",
    "__version__",
    "edit_regions",
    "export_regions",
    "features",
    "import_regions",
    "list_features",
    "list_functions",
    "read",
    "read_regions",
    "region_types",
    "set_log_level",
    "simd",
    "windows",
    "write_regions",
]

# Errors are raised as well; a program that did not ask for the log is not to see them twice.
logging.getLogger("kestrivon").addHandler(logging.NullHandler())

for _class in (Error, Expression, FeatureComputer, Reader):
    _class.__module__ = __name__ # where people find it, and pickles look for it

Path = Union[str, "os.PathLike[str]"]


def _path(path: Path) -> str:
    text = os.fspath(path)
    if not isinstance(text, str):
        raise TypeError("a path is a str or an os.PathLike of one")
    if "\0" in text:
        raise ValueError("a path cannot contain a null character")
    return text


def _samples(samples: Any) -> np.ndarray:
    array = np.asarray(samples)
    if array.dtype.kind != "f":
        raise TypeError(
            f"samples are floating-point numbers in -1..1, not {array.dtype}; 16-bit samples become that by / 32768"
        )
    if array.ndim != 1:
        raise ValueError(f"samples are an array of one dimension, one channel, not of {array.ndim}")
    return np.ascontiguousarray(array, dtype=np.float64)


# ---- Features of recordings


@dataclasses.dataclass(frozen=True)
class Features:
    """What features() gives for a recording of n windows.

    times: the end of each window in seconds, shape (n,).
    values: a row for each window and a column for each value, shape (n, len(columns)).
    columns: their names: the feature's own where it gives one value, else "spectrum[0]", "spectrum[1]" and so on.
    labels: for each window the types of the regions that cover its middle; None unless asked for.
    sample_rate: the rate that windows were cut for.
    """

    times: np.ndarray
    values: np.ndarray
    columns: list[str]
    labels: Optional[list[tuple[str, ...]]]
    sample_rate: int
    _slices: dict[str, slice] = dataclasses.field(repr=False)

    def __len__(self) -> int:
        return len(self.times)

    def __getitem__(self, feature: str) -> np.ndarray:
        """The values of a feature or formula: shape (n,) where it gives one value, else (n, values)."""
        if feature in self._slices:
            part = self._slices[feature]
            return self.values[:, part.start] if part.stop - part.start == 1 else self.values[:, part]
        if feature in self.columns:
            return self.values[:, self.columns.index(feature)]
        raise KeyError(feature)

    def to_pandas(self) -> pandas.DataFrame:
        """A DataFrame with the times as its index "time"; labels, where asked for, as its first column."""
        import pandas

        frame = pandas.DataFrame(self.values, index=pandas.Index(self.times, name="time"), columns=self.columns)
        if self.labels is not None:
            frame.insert(0, "labels", self.labels)
        return frame


def features(
    source: Union[Path, np.ndarray, Sequence[float]],
    features: Optional[Iterable[str]] = None,
    *,
    formulas: Optional[Mapping[str, str]] = None,
    window_ms: int = 16,
    overlap_ms: int = 0,
    suppress_dc: bool = False,
    sample_rate: Optional[int] = None,
    labels: bool = False,
) -> Features:
    """Cuts a recording into windows and computes features of each.

    source: the path of a mono recording, or its samples (floating-point, -1..1, one dimension).
    features: descriptions, such as "spectrum|flatness" or "spectrum|spectralrange(1000,100)"; see list_features(). None,
        without formulas: a coarse spectrum and its flatness.
    formulas: names and formulas over x, the window, such as {"tone": "flatness(spectrum(x)) < 0.001"}.
    window_ms, overlap_ms: the length of a window, and what consecutive windows share, in milliseconds.
    suppress_dc: subtract each window's mean from it.
    sample_rate: of samples, 8000 unless given. For a file: the rate that windows are cut for, instead of its own.
    labels: tell the labelled regions of each window; for files only.

    Raises Error: the recording cannot be read or breaks off, a description or formula is wrong, a feature fails.
    Warns where features assume 8000 samples per second and the recording has others. Other threads run meanwhile.
    """
    if isinstance(features, str):
        raise TypeError("features is a list of descriptions; write [" + repr(features) + "]")
    descriptions = list(features) if features is not None else []
    named = list((formulas or {}).items())
    if features is None and not named:
        descriptions = _corvana.default_features()
    if not descriptions and not named:
        raise ValueError("no features and no formulas are given")
    if isinstance(source, (str, os.PathLike)):
        raw = _corvana.features_of_file(
            _path(source), descriptions, named, window_ms, overlap_ms, suppress_dc, sample_rate or 0, labels
        )
    else:
        if labels:
            raise ValueError("labels are read from files, which samples are not")
        rate = 8000 if sample_rate is None else sample_rate
        if rate < 1:
            raise ValueError("sample_rate must be at least 1")
        raw = _corvana.features_of_samples(
            _samples(source), rate, descriptions, named, window_ms, overlap_ms, suppress_dc
        )
    ends = np.cumsum(raw["counts"])
    slices = {name: slice(int(end) - count, int(end)) for name, count, end in zip(raw["features"], raw["counts"], ends)}
    return Features(raw["times"], raw["values"], raw["columns"], raw["labels"], raw["sample_rate"], slices)


# ---- Samples and windows


def read(path: Path) -> tuple[np.ndarray, int]:
    """All samples of a mono recording (float64, -1..1) and its sample rate."""
    reader = Reader(_path(path))
    return reader.read(), reader.sample_rate


def windows(
    source: Union[Path, np.ndarray],
    *,
    window_ms: int = 16,
    overlap_ms: int = 0,
    suppress_dc: bool = False,
    sample_rate: Optional[int] = None,
) -> Iterator[np.ndarray]:
    """The windows of a recording, one after another, as arrays of one dimension; a short last one is left out.

    Windows of a file are arrays of their own. Those of samples in memory are views of them, which cost no copy, unless
    suppress_dc is set: then each is a copy less its mean.
    """
    if isinstance(source, (str, os.PathLike)):
        if sample_rate is not None:
            raise ValueError("sample_rate is for samples; a file has its own")
        return _corvana.WindowReader(_path(source), window_ms, overlap_ms, suppress_dc)
    return _windows_of_samples(_samples(source), window_ms, overlap_ms, suppress_dc, sample_rate or 8000)


def _windows_of_samples(
    samples: np.ndarray, window_ms: int, overlap_ms: int, suppress_dc: bool, rate: int
) -> Iterator[np.ndarray]:
    size = max(1, window_ms * rate // 1000)
    hop = size - overlap_ms * rate // 1000
    if hop < 1:
        raise ValueError(f"the overlap ({overlap_ms} ms) must be shorter than the window ({window_ms} ms)")

    def generate() -> Iterator[np.ndarray]:
        for start in range(0, len(samples) - size + 1, hop):
            window = samples[start : start + size]
            yield _corvana.without_mean(window) if suppress_dc else window

    return generate()


# ---- What there is


@dataclasses.dataclass(frozen=True)
class FeatureInfo:
    """A feature that descriptions can name.

    written: with its parameters, such as "spectralrange(centreHz,halfWidthHz)"; parameters: how many it takes.
    input: "window", "spectrum" or "value". number_of_values: for an input of n values, such as "n/2".
    """

    name: str
    written: str
    parameters: str
    example: str
    input: str
    number_of_values: str
    unit: str
    meaning: str
    needs_power_of_two: bool
    assumes_8000_hz: bool


@dataclasses.dataclass(frozen=True)
class FunctionInfo:
    """A function of formulas; "..." as the last argument stands for any number more."""

    name: str
    arguments: tuple[str, ...]
    parameters: tuple[str, ...]
    meaning: str


def list_features() -> list[FeatureInfo]:
    """The features that descriptions can name."""
    return [FeatureInfo(**one) for one in _corvana.describe_features()]


def list_functions() -> list[FunctionInfo]:
    """The functions that formulas can call."""
    return [FunctionInfo(**one) for one in _corvana.describe_functions()]


# ---- Labelled regions


@dataclasses.dataclass
class Region:
    """A labelled region of a recording: what is heard ("BEEP") or how the call came out ("CPA_MACHINE").

    type: one of region_types(), in upper or lower case, or "SF_1" to "SF_4000"; where regions come from label files, any
        text. start, stop: seconds from the beginning of the recording.
    """

    type: str
    start: float
    stop: float

    @property
    def duration(self) -> float:
        """Seconds."""
        return self.stop - self.start


def _raw(regions: Iterable[Region]) -> list[tuple[str, float, float]]:
    return [(region.type, float(region.start), float(region.stop)) for region in regions]


def region_types() -> list[str]:
    """The types that regions of recordings can have, without the numbered ones, "SF_1" to "SF_4000"."""
    return _corvana.region_types()


def read_regions(path: Path) -> list[Region]:
    """The labelled regions of a mono WAV file, in its order."""
    return [Region(*one) for one in _corvana.read_regions(_path(path))[0]]


def write_regions(path: Path, regions: Iterable[Region], *, clip: bool = False, interop: bool = False) -> None:
    """Replaces the labelled regions of a mono WAV file; its audio and all else stay as they are.

    The file is the whole old one or the whole new one at any moment. Times become those of the nearest samples.
    clip: cut regions at the end of the audio instead of refusing them.
    interop: write all names before all lengths, as some programs need it to find the names.
    """
    path = _path(path)
    expected = _corvana.read_regions(path)[0]
    _corvana.replace_regions(path, expected, _raw(regions), clip, interop)


@contextlib.contextmanager
def edit_regions(path: Path, *, clip: bool = False, interop: bool = False) -> Iterator[list[Region]]:
    """Gives the labelled regions as a list to change, and writes it back at the end of the with block.

        with corvana.edit_regions("call.wav") as regions:
            regions.append(corvana.Region("BEEP", 12.3, 12.8))

    An exception within the block, or another program that changed the regions meanwhile, leaves the file as it was.
    """
    path = _path(path)
    expected = _corvana.read_regions(path)[0]
    regions = [Region(*one) for one in expected]
    yield regions
    changed = _raw(regions)
    if changed != expected:
        _corvana.replace_regions(path, expected, changed, clip, interop)


def import_regions(path: Path, format: Optional[str] = None) -> list[Region]:
    """The regions of a label file; their types are its labels, any text.

    format: "csv", "json", "audacity" or "textgrid"; None: told by the file's ending (.csv, .json, .txt, .TextGrid).
    """
    path = _path(path)
    with open(path, "rb") as file:
        text = file.read()
    try:
        return [Region(*one) for one in _corvana.parse_regions(text, format or _corvana.format_of_file(path))]
    except Error as error:
        raise Error(f"{path}: {error}") from None


def export_regions(path: Path, regions: Iterable[Region], *, format: Optional[str] = None, duration: float = 0.0) -> None:
    """Writes a label file, whole or not at all.

    duration: of the recording in seconds; the end of a TextGrid, unless a region ends later.
    """
    path = _path(path)
    text = _corvana.format_regions(_raw(regions), format or _corvana.format_of_file(path), duration)
    unfinished = f"{path}.{os.getpid()}.tmp"
    try:
        with open(unfinished, "wb") as file:
            file.write(text.encode("utf-8", "surrogateescape"))
            file.flush()
            os.fsync(file.fileno())
        os.replace(unfinished, path)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(unfinished)
        raise
