"""The example farm: a folder of documents into two tables, whatever happens to a worker."""

import csv
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

FARM = pathlib.Path(os.environ["ZR_EXAMPLES"]) / "farm" / "farm.py"
# In place of the library's: the worker of one document dies.
KILLS = """
import os, sys, runpy
import zrdmtree
load = zrdmtree.load
def deadly(path):
    if "deadly" in path:
        os._exit(9)
    return load(path)
zrdmtree.load = deadly
"""


@pytest.fixture
def folder(examples, tmp_path):
    documents = tmp_path / "documents"
    documents.mkdir()
    for i in range(4):
        shutil.copy(examples / "documents" / "commercial-25.json", documents / f"cut{i}.json")
    shutil.copy(examples / "documents" / "commercial-with-mistakes.json", documents / "mistakes.json")
    (documents / "broken.json").write_text("{")
    return documents


def run(folder, *options, program=FARM):
    done = subprocess.run([sys.executable, program, folder, "--workers", "2", *options], cwd=folder.parent,
                          capture_output=True, text=True, timeout=300)
    tables = []
    for name in ("findings.csv", "usage.csv"):
        with open(folder.parent / name, newline="", encoding="utf-8") as file:
            tables.append(list(csv.DictReader(file)))
    return done, *tables


def documents(rows):
    return sorted({pathlib.Path(row["document"]).name for row in rows})


@pytest.mark.parametrize("options", [(), ("--dask", "local")], ids=["processes", "dask"])
def test_findings_and_usage_of_a_folder(folder, options):
    if options:
        pytest.importorskip("distributed")
    done, findings, usage = run(folder, *options)
    assert done.returncode == 1 and done.stdout.startswith("6 documents, 3 findings"), done.stdout + done.stderr
    assert documents(findings) == ["broken.json", "mistakes.json"]
    shots = [row for row in usage if row["path"] == "/media/soda/A001C002.mxf"]
    assert documents(shots) == ["cut0.json", "cut1.json", "cut2.json", "cut3.json", "mistakes.json"]
    assert (shots[0]["uses"], shots[0]["frames"], shots[0]["reel"]) == ("1", "88.0", "A001C002")


def test_a_worker_that_dies_loses_nothing(folder, tmp_path):
    shutil.copy(folder / "cut0.json", folder / "deadly.json")
    program = tmp_path / "farm.py"
    program.write_text(FARM.read_text().replace("import zrdmtree\n", KILLS, 1))
    done, findings, usage = run(folder, program=program)
    assert "7 documents, 4 findings" in done.stdout, done.stdout + done.stderr
    assert [row["text"] for row in findings if "deadly" in row["document"]] == ["the process that examined it died"]
    assert {"cut0.json", "cut3.json", "mistakes.json"} <= set(documents(usage))
