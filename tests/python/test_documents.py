# SPDX-License-Identifier: Apache-2.0
import doctest
import pathlib
import re
import shutil

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
PYTHON = re.compile(r"^```python\n(.*?)^```$", re.MULTILINE | re.DOTALL)
DOCUMENTS = [
    name
    for name in ["README.md", *sorted(f"docs/{path.name}" for path in SOURCE.glob("docs/*.md"))]
    if PYTHON.search((SOURCE / name).read_text())
]


def test_finds_the_documents_that_show_python():
    assert {"README.md", "docs/python.md"} <= set(DOCUMENTS)


@pytest.mark.parametrize("document", DOCUMENTS)
def test_shows_what_the_module_really_answers(document, call, tmp_path, monkeypatch):
    (tmp_path / "examples").symlink_to(SOURCE / "examples")
    shutil.copy(call, tmp_path / "call.wav")
    monkeypatch.chdir(tmp_path)
    blocks = PYTHON.findall((SOURCE / document).read_text())
    assert all(block.startswith(">>> ") for block in blocks), "shows Python as a dialogue, so that it can be held to it"
    examples = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, document, None, 0)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    assert runner.run(examples).failed == 0
    assert len(examples.examples) >= len(blocks)
