# SPDX-License-Identifier: Apache-2.0
import os
import pathlib
import shutil
import subprocess

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def call():
    """The sample call: 19 s of mu-law at 8000 Hz with six labelled regions."""
    return SOURCE / "examples" / "data" / "sample-call.wav"


@pytest.fixture
def copy_of_call(call, tmp_path):
    return pathlib.Path(shutil.copy(call, tmp_path / "call.wav"))


@pytest.fixture
def command():
    """Runs the corvana command and returns what it prints."""

    def run(*arguments):
        return subprocess.run(
            [os.environ["CORVANA_PROGRAM"], *map(str, arguments)], check=True, capture_output=True, text=True
        ).stdout

    return run
