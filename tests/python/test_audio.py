# SPDX-License-Identifier: Apache-2.0
import os
import pathlib
import subprocess
import sys

import numpy as np
import pytest

import corvana


def test_reads_a_whole_recording(call):
    samples, rate = corvana.read(call)
    assert rate == 8000
    assert samples.dtype == np.float64
    assert samples.shape == (152000,)
    assert 0.1 < np.abs(samples).max() <= 1.0


def test_reads_chunks_that_make_up_the_recording(call):
    samples, _ = corvana.read(call)
    reader = corvana.Reader(str(call), chunk_frames=1000)
    assert (reader.sample_rate, reader.frames) == (8000, 152000)
    assert reader.clipping_level == 0.980347
    assert reader.format == "WAV (Microsoft) (.wav) U-Law"
    chunks = list(reader)
    assert {len(chunk) for chunk in chunks} == {1000}
    assert (np.concatenate(chunks) == samples).all()
    assert reader.position == 152000


def test_keeps_chunks_that_were_handed_out(call):
    reader = corvana.Reader(str(call), chunk_frames=1000)
    first = next(reader)
    before = first.copy()
    for _ in reader:
        pass
    del reader
    assert (first == before).all()


def test_goes_to_a_time(call):
    samples, _ = corvana.read(call)
    reader = corvana.Reader(str(call), chunk_frames=10)
    reader.seek(12.3)
    assert (next(reader) == samples[98400:98410]).all()
    with pytest.raises(corvana.Error, match="gotoAudioTime"):
        reader.seek(-1.0)


def test_raises_when_a_recording_cannot_be_read_to_its_end(call):
    # A pipe that is not waited for fails to be read where nothing has been written yet.
    read_end, write_end = os.pipe()
    os.set_blocking(read_end, False)
    os.write(write_end, call.read_bytes()[:5000])
    for expression in ('corvana.Reader("-", chunk_frames=100)', 'corvana.windows("-")'):
        program = f"""
import corvana
count = 0
try:
    for frames in {expression}:
        count += len(frames)
    print("ended")
except corvana.Error as error:
    print(count > 0, error)
"""
        done = subprocess.run(
            [sys.executable, "-c", program], stdin=read_end, check=True, capture_output=True, text=True
        )
        assert done.stdout == "True -: could not be read to its end\n"
        os.write(write_end, call.read_bytes()[:5000])
    os.close(read_end)
    os.close(write_end)


def test_raises_why_a_recording_cannot_be_opened(tmp_path):
    stereo = tmp_path / "stereo.wav"
    header = b"RIFF\x34\0\0\0WAVEfmt \x10\0\0\0\1\0\2\0\x40\x1f\0\0\0\x7d\0\0\4\0\x10\0data\x10\0\0\0"
    stereo.write_bytes(header + bytes(16))
    with pytest.raises(corvana.Error, match=r"stereo.wav: Audio file is not mono \(more than 1 channel\)"):
        corvana.read(stereo)
    with pytest.raises(ValueError, match="null character"):
        corvana.read("a\0b")
    with pytest.raises(TypeError):
        corvana.read(b"bytes.wav")
    with pytest.raises(ValueError, match="at least 1"):
        corvana.Reader("x.wav", chunk_frames=0)


@pytest.mark.parametrize("options", [{}, {"window_ms": 32, "overlap_ms": 20}, {"suppress_dc": True}, {"window_ms": 7}])
def test_cuts_files_and_samples_into_the_same_windows(call, options):
    samples, _ = corvana.read(call)
    of_file = list(corvana.windows(call, **options))
    of_samples = list(corvana.windows(samples, **options))
    assert len(of_file) == len(of_samples)
    assert all((left == right).all() for left, right in zip(of_file, of_samples))


def test_hands_out_views_of_samples(call):
    samples, _ = corvana.read(call)
    window = next(iter(corvana.windows(samples)))
    assert window.base is samples or np.shares_memory(window, samples)


def test_refuses_windows_that_do_not_advance(call):
    with pytest.raises(ValueError, match="overlap"):
        corvana.windows(call, window_ms=16, overlap_ms=16)
    with pytest.raises(ValueError, match="overlap"):
        corvana.windows(np.zeros(100), window_ms=16, overlap_ms=16)


def test_tells_the_time_of_the_last_window(call):
    reader = corvana.windows(pathlib.Path(call), window_ms=32, overlap_ms=16)
    next(reader)
    next(reader)
    assert reader.time == 0.048
