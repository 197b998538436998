"""What docs/python.md shows is what happens."""

import doctest
import pathlib
import re

import pytest


def test_readme_prints_a_table_of_shots(examples, monkeypatch, capsys):
    monkeypatch.chdir(examples.parent)
    programs = re.findall(r"^```python\n(.*?)^```$", pathlib.Path("README.md").read_text(), re.DOTALL | re.MULTILINE)
    for program in programs:
        exec(program, {})
    shown = capsys.readouterr().out.splitlines()
    assert programs and shown[0] == "Harbour wide 10:00:00:00 10:00:04:00 A001C003 01:00:00:00 01:00:04:00"


def test_recipes_work_as_printed(examples, monkeypatch):
    pytest.importorskip("pandas")
    monkeypatch.chdir(examples.parent)
    failed, tried = doctest.testfile(str(examples.parent / "docs" / "python.md"), module_relative=False)
    assert failed == 0 and tried > 15
