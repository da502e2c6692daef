# SPDX-License-Identifier: Apache-2.0
import ast
import logging
import pathlib
import subprocess
import sys

import numpy as np
import pytest

import corvana
from corvana import _corvana


def test_hands_the_librarys_log_to_python(tmp_path, caplog):
    with caplog.at_level(logging.DEBUG), pytest.raises(corvana.Error):
        corvana.read(tmp_path / "absent.wav")
    (record,) = caplog.records
    assert record.name == "kestrivon.audio.AudioFileReader"
    assert record.levelno == logging.ERROR
    assert record.getMessage().startswith(f"failed to open {tmp_path}/absent.wav, ")
    assert (record.filename, record.lineno) == ("AudioFileReader", 99)


def test_hands_over_finer_messages_when_asked_to(call, caplog):
    corvana.set_log_level(logging.DEBUG)
    try:
        with caplog.at_level(logging.DEBUG):
            corvana.read(call)
    finally:
        corvana.set_log_level(logging.WARNING)
    assert any("sfInfo.format=0x10010" in record.getMessage() for record in caplog.records)
    caplog.clear()
    with caplog.at_level(logging.DEBUG):
        corvana.read(call)
    assert caplog.records == []


def test_says_nothing_in_a_program_that_configured_no_logging(tmp_path):
    program = f"import corvana\ntry: corvana.read({str(tmp_path / 'absent.wav')!r})\nexcept corvana.Error: pass\n"
    result = subprocess.run([sys.executable, "-c", program], check=True, capture_output=True, text=True)
    assert result.stdout == result.stderr == ""


def test_survives_a_handler_that_raises(tmp_path, monkeypatch):
    ignored = []
    monkeypatch.setattr(sys, "unraisablehook", lambda problem: ignored.append(str(problem.exc_value)))

    class Failing(logging.Handler):
        def emit(self, record):
            raise ValueError("no room for it")

    handler = Failing()
    logger = logging.getLogger("kestrivon")
    logger.addHandler(handler)
    try:
        with pytest.raises(corvana.Error, match="absent.wav"):
            corvana.read(tmp_path / "absent.wav")
    finally:
        logger.removeHandler(handler)
    assert ignored == ["no room for it"]


def names_of(class_or_module):
    return {name for name in vars(class_or_module) if not name.startswith("_")}


def test_describes_the_extension_in_its_stubs():
    tree = ast.parse((pathlib.Path(corvana.__file__).parent / "_corvana.pyi").read_text())
    described = {node.name: node for node in tree.body if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    assert set(described) == names_of(_corvana)
    for name, node in described.items():
        if isinstance(node, ast.ClassDef) and name != "Error":
            methods = {item.name for item in node.body if isinstance(item, ast.FunctionDef)}
            assert {m for m in methods if not m.startswith("_")} == names_of(getattr(_corvana, name)), name


def test_explains_everything_that_people_use():
    for name in corvana.__all__:
        if not name.startswith("__"):
            assert getattr(corvana, name).__doc__, name
    assert (pathlib.Path(corvana.__file__).parent / "py.typed").exists()


def test_names_the_instruction_set_and_version():
    assert corvana.simd() in {"portable", "baseline", "avx2", "avx512"}
    assert corvana.__version__.count(".") == 2
    assert np.isfinite(corvana.features(np.zeros(256), ["silenceratio"]).values).all()
