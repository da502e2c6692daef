# SPDX-License-Identifier: Apache-2.0
import csv
import io
import os
import pickle
import signal
import threading
import warnings

import numpy as np
import pytest

import corvana

DESCRIPTIONS = ["spectrum|flatness", "silenceratio", "spectrum", "zerocrossingrate", "spectrum|spectralrange(1000,100)"]


def bits(values):
    return np.ascontiguousarray(values, dtype=np.float64).view(np.uint64)


def test_gives_the_bits_and_columns_of_the_command(call, command):
    text = command(
        "features", "--window-ms", 32, "--overlap-ms", 16, *(part for d in DESCRIPTIONS for part in ("-f", d)), call
    )
    rows = list(csv.reader(io.StringIO(text)))
    result = corvana.features(call, DESCRIPTIONS, window_ms=32, overlap_ms=16)
    assert result.columns == rows[0][2:]
    assert (bits([float(row[1]) for row in rows[1:]]) == bits(result.times)).all()
    assert (bits([[float(cell) for cell in row[2:]] for row in rows[1:]]) == bits(result.values)).all()


def test_gives_the_same_bits_for_a_file_its_samples_and_single_windows(call):
    samples, rate = corvana.read(call)
    of_file = corvana.features(call, DESCRIPTIONS, window_ms=32, overlap_ms=16, suppress_dc=True)
    of_samples = corvana.features(
        samples, DESCRIPTIONS, window_ms=32, overlap_ms=16, suppress_dc=True, sample_rate=rate
    )
    computer = corvana.FeatureComputer(DESCRIPTIONS)
    one_by_one = [
        computer.compute(window) for window in corvana.windows(call, window_ms=32, overlap_ms=16, suppress_dc=True)
    ]
    assert (bits(of_file.values) == bits(of_samples.values)).all()
    assert (bits(of_file.times) == bits(of_samples.times)).all()
    assert (bits(of_file.values) == bits(np.array(one_by_one))).all()


def test_gives_the_values_of_a_feature_by_its_name(call):
    result = corvana.features(call, ["spectrum", "silenceratio"], formulas={"loud": "max(abs(x)) > 0.1"})
    assert result["spectrum"].shape == (len(result), 64)
    assert result["silenceratio"].shape == (len(result),)
    assert (result["spectrum[3]"] == result.values[:, 3]).all()
    assert set(result["loud"]) == {0.0, 1.0}
    with pytest.raises(KeyError):
        result["flatness"]


def test_takes_the_commands_default_features_when_none_are_named(call, command):
    header = command("features", call).split("\n", 1)[0]
    assert corvana.features(call).columns == header.split(",")[2:]


def test_tells_the_labels_of_each_window(call):
    result = corvana.features(call, ["silenceratio"], window_ms=32, labels=True)
    assert result.labels[0] == ("RINGBACK",)
    assert len(result.labels) == len(result)
    assert {label for row in result.labels for label in row} >= {"BEEP", "CPA_BUSY", "SILENCE"}
    assert corvana.features(call, ["silenceratio"]).labels is None


def test_becomes_a_data_frame(call):
    frame = corvana.features(call, ["spectrum|flatness"], labels=True).to_pandas()
    assert list(frame.columns) == ["labels", "spectrum|flatness"]
    assert frame.index.name == "time"
    assert frame.index[0] == 0.016


def test_computes_formulas_alone(call):
    result = corvana.features(call, formulas={"tone": "flatness(spectrum(x)) < 0.001"}, window_ms=32)
    assert result.columns == ["tone"]
    assert 0 < result["tone"].sum() < len(result)


def test_gives_no_rows_for_too_few_samples_and_warns():
    with pytest.warns(UserWarning, match="shorter than one window of 16 ms: no rows"):
        result = corvana.features(np.zeros(127), ["silenceratio"])
    assert result.values.shape == (0, 1)
    assert result.times.shape == (0,)


@pytest.mark.parametrize(
    ("descriptions", "message"),
    [
        (["spectrum|spectralrang(1000,100)"], r"unknown feature 'spectralrang'; did you mean spectralrange\?\n"),
        (["silenceratio", "silenceratio"], "is asked for twice"),
    ],
)
def test_explains_faulty_descriptions(call, descriptions, message):
    with pytest.raises(corvana.Error, match=message):
        corvana.features(call, descriptions)


def test_explains_faulty_formulas(call):
    with pytest.raises(corvana.Error, match='unknown function "spectrm", did you mean "spectrum"'):
        corvana.features(call, formulas={"tone": "flatness(spectrm(x))"})


def test_raises_the_reason_why_a_file_cannot_be_read(tmp_path):
    with pytest.raises(corvana.Error, match="absent.wav: .*No such file"):
        corvana.features(tmp_path / "absent.wav", ["silenceratio"])
    broken = tmp_path / "broken.wav"
    broken.write_bytes(b"RIFF no sound at all")
    with pytest.raises(corvana.Error, match="broken.wav"):
        corvana.features(broken, ["silenceratio"])


def test_raises_when_a_recording_breaks_off(call, tmp_path):
    # Compressed frames that are missing cannot be told from the header alone.
    import subprocess

    whole = tmp_path / "whole.flac"
    subprocess.run(["sox", str(call), str(whole)], check=True)
    cut = tmp_path / "cut.flac"
    cut.write_bytes(whole.read_bytes()[: whole.stat().st_size // 2])
    with pytest.raises(corvana.Error, match="breaks off|cut.flac"):
        corvana.features(cut, ["silenceratio"])


@pytest.mark.parametrize("size", [3, 100])
def test_raises_why_a_feature_cannot_work_on_such_windows(call, size):
    with pytest.raises(corvana.Error, match="spectrum"):
        corvana.features(call, ["spectrum"], window_ms=size)


def test_refuses_samples_whose_full_scale_nobody_knows():
    with pytest.raises(TypeError, match="16-bit samples become that by / 32768"):
        corvana.features(np.zeros(1000, dtype=np.int16), ["silenceratio"])
    with pytest.raises(ValueError, match="one dimension"):
        corvana.features(np.zeros((2, 1000)), ["silenceratio"])


def test_takes_single_precision_and_strided_samples_for_what_they_are():
    samples = np.sin(np.arange(4000) * 0.1).astype(np.float32)
    strided = np.repeat(samples.astype(np.float64), 2)[::2]
    left = corvana.features(samples, ["spectrum|flatness"])
    right = corvana.features(strided, ["spectrum|flatness"])
    assert (bits(left.values) == bits(right.values)).all()


@pytest.mark.parametrize(
    ("options", "message"),
    [
        ({"window_ms": 0}, "window_ms must be 1 to 600000"),
        ({"window_ms": 600001}, "window_ms must be 1 to 600000"),
        ({"overlap_ms": 16}, "must be shorter than the window"),
        ({"sample_rate": 0}, "sample_rate must be at least 1"),
        ({"labels": True}, "labels are read from files"),
    ],
)
def test_refuses_unusable_options(options, message):
    with pytest.raises(ValueError, match=message):
        corvana.features(np.zeros(1000), ["silenceratio"], **options)


def test_refuses_a_description_in_place_of_a_list(call):
    with pytest.raises(TypeError, match="is a list of descriptions"):
        corvana.features(call, "silenceratio")
    with pytest.raises(ValueError, match="no features and no formulas"):
        corvana.features(call, [])


def test_warns_where_features_assume_another_rate():
    samples = np.sin(np.arange(16000) * 0.1)
    with pytest.warns(UserWarning, match="recorded at 16000 Hz, but spectralrange assumes 8000 Hz"):
        corvana.features(samples, ["spectrum|spectralrange(1000,100)"], sample_rate=16000)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(UserWarning):
            corvana.features(samples, ["spectrum|spectralrange(1000,100)"], sample_rate=16000)


def test_computes_in_several_threads_at_once_with_errors_of_their_own(call, tmp_path):
    expected = corvana.features(call, DESCRIPTIONS).values
    failures = []

    def work(number):
        for _ in range(5):
            if not (bits(corvana.features(call, DESCRIPTIONS).values) == bits(expected)).all():
                failures.append("values differ")
            try:
                corvana.features(tmp_path / f"absent-{number}.wav", ["silenceratio"])
                failures.append("no error")
            except corvana.Error as error:
                text = str(error)
                if f"absent-{number}.wav" not in text or any(f"absent-{o}.wav" in text for o in range(4) if o != number):
                    failures.append(text)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_lets_other_threads_run_and_can_be_interrupted():
    samples = np.zeros(8000 * 3600)
    timer = threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start() # fires while the call below works, or after it; either way an interruption comes
    with pytest.raises(KeyboardInterrupt):
        while True:
            corvana.features(samples, ["spectrum|flatness", "spectrum"])
    timer.join()


def test_computes_a_window_with_inputs_and_outputs():
    computer = corvana.FeatureComputer()
    computer.add("spectrum", output="spectrum of x")
    computer.add("flatness", input="spectrum of x")
    computer.add("silenceratio", input="other")
    computer.set_input("other", np.zeros(16))
    values = computer.compute(np.sin(np.arange(256) * 0.5))
    assert values.shape == (2,)
    assert computer.entries[1] == ("flatness", "spectrum of x", "")
    with pytest.raises(corvana.Error, match="output name 'spectrum of x' is in use"):
        computer.add("spectrum", output="spectrum of x")
    with pytest.raises(corvana.Error, match="unknown feature 'flatnes'; did you mean flatness"):
        computer.add("flatnes")


def test_raises_what_the_library_says_when_an_input_is_missing():
    computer = corvana.FeatureComputer()
    computer.add("silenceratio", input="other")
    with pytest.raises(corvana.Error, match="Missing input other of feature silenceratio"):
        computer.compute(np.zeros(16))


def test_forgets_when_reset():
    computer = corvana.FeatureComputer(["silenceratio|deltatoslidingmean"])
    quiet, loud = np.full(16, 0.5), np.concatenate([np.full(8, 0.001), np.full(8, 0.5)])
    first = computer.compute(loud)
    computer.compute(quiet)
    assert (computer.compute(loud) != first).any() # what came before counts
    computer.reset()
    assert (computer.compute(loud) == first).all()


def test_is_pickled_by_its_descriptions(call):
    computer = corvana.FeatureComputer(["spectrum|flatness"])
    computer.add("spectrum", output="s")
    computer.add("flatness", input="s")
    window = next(iter(corvana.windows(call)))
    again = pickle.loads(pickle.dumps(computer))
    assert again.entries == computer.entries
    assert (bits(again.compute(window)) == bits(computer.compute(window))).all()


def test_lists_what_descriptions_and_formulas_can_name():
    names = {feature.name for feature in corvana.list_features()}
    assert {"spectrum", "flatness", "spectralrange", "zerocrossingrate"} <= names
    functions = {function.name: function for function in corvana.list_functions()}
    assert functions["spectralRange"].parameters
    assert functions["max"].meaning
    for feature in corvana.list_features():
        corvana.FeatureComputer([feature.example])
