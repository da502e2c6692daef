# SPDX-License-Identifier: Apache-2.0
import doctest
import pathlib

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]


@pytest.mark.parametrize(("document", "least"), [("docs/python.md", 18), ("README.md", 3)])
def test_shows_what_the_module_really_answers(document, least, tmp_path, monkeypatch):
    (tmp_path / "examples").symlink_to(SOURCE / "examples")
    monkeypatch.chdir(tmp_path)
    text = (SOURCE / document).read_text()
    examples = doctest.DocTestParser().get_doctest(text.replace("```", ""), {}, document, None, 0)
    assert len(examples.examples) >= least
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    assert runner.run(examples).failed == 0
