#!/usr/bin/env python3
"""Checks and tabulates a folder of documents, on all processors of this machine or on a Dask cluster.

    farm.py FOLDER [--findings findings.csv] [--usage usage.csv] [--workers N] [--dask ADDRESS]

findings.csv has a row a finding: the document, where, and what. usage.csv says who uses which shot: a row for each
medium and document, with how often and for how many frames it plays. A document that cannot be read is a finding; so is
one whose worker died: the others are not lost. --dask takes a scheduler's address, or "local" for a cluster of its own.
"""

from __future__ import annotations

import argparse
import collections
import csv
import importlib
import pathlib
import sys
from collections.abc import Iterable, Iterator
from concurrent.futures import Future, ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from typing import Any

import zrdmtree

FINDING = ("document", "severity", "path", "track", "record", "text")
USAGE = ("media", "reel", "path", "document", "uses", "frames")


Rows = list[dict[str, Any]]
# What is to be said of one document, findings and usage: plain values, which travel between processes and machines.
Examined = tuple[Rows, Rows]


def failed(path: str, text: str) -> Examined:
    return ([dict.fromkeys(FINDING, "") | {"document": path, "severity": "error", "text": text}], [])


def examine(path: str) -> Examined:
    """Loads one document, checks it, and counts what it plays."""
    try:
        root = zrdmtree.load(path)
    except (zrdmtree.DmError, OSError) as error:
        return failed(path, str(error))
    findings = [
        {"document": path, "severity": each.severity, "path": each.path, "track": each.track, "record": each.record,
         "text": each.text}
        for each in zrdmtree.check(root)
    ]
    uses: collections.Counter[tuple[str, str, str]] = collections.Counter()
    frames: collections.Counter[tuple[str, str, str]] = collections.Counter()
    for row in zrdmtree.table(root, ["media", "reel", "path", "recLength"], into_containers=True):
        if row["path"]:
            medium = (row["media"], row["reel"], row["path"])
            uses[medium] += 1
            frames[medium] += row["recLength"]
    usage = [
        dict(zip(USAGE, (*medium, path, count, frames[medium]))) for medium, count in sorted(uses.items())
    ]
    return findings, usage


def on_processes(paths: list[str], workers: int | None = None) -> Iterator[Examined]:
    """A process that dies takes its pool along: what was on its way is done again, each document in a pool of its own."""
    suspects = []
    with ProcessPoolExecutor(workers) as pool:
        futures: list[tuple[str, Future[Examined] | None]] = []
        for path in paths:
            try:
                futures.append((path, pool.submit(examine, path)))
            except BrokenProcessPool:
                futures.append((path, None))
        for path, future in futures:
            try:
                if future is None:
                    raise BrokenProcessPool
                yield future.result()
            except BrokenProcessPool:
                suspects.append(path)
    for path in suspects:
        with ProcessPoolExecutor(1) as pool:
            try:
                yield pool.submit(examine, path).result()
            except BrokenProcessPool:
                yield failed(path, "the process that examined it died")


def on_dask(paths: list[str], address: str, workers: int | None = None) -> Iterator[Examined]:
    """The same function on a cluster, which gives a document whose worker died to another one, three times."""
    distributed: Any = importlib.import_module("distributed")
    local = {"processes": True, "n_workers": workers, "threads_per_worker": 1, "host": "127.0.0.1",
             "dashboard_address": None} if address == "local" else {"address": address}
    with distributed.Client(**local) as client:
        for path, future in [(path, client.submit(examine, path, pure=False)) for path in paths]:
            try:
                yield future.result()
            except Exception as error:  # the cluster's own, and what it passes on
                yield failed(path, f"the worker that examined it failed: {error}")


def write(path: pathlib.Path, columns: Iterable[str], rows: Iterable[dict[str, Any]]) -> None:
    with open(path, "w", newline="", encoding="utf-8") as file:
        table = csv.DictWriter(file, list(columns))
        table.writeheader()
        table.writerows(rows)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--findings", type=pathlib.Path, default=pathlib.Path("findings.csv"))
    parser.add_argument("--usage", type=pathlib.Path, default=pathlib.Path("usage.csv"))
    parser.add_argument("--workers", type=int)
    parser.add_argument("--dask", metavar="ADDRESS")
    options = parser.parse_args()
    paths = sorted(str(path) for path in options.folder.rglob("*.json"))
    examined = list(on_dask(paths, options.dask, options.workers) if options.dask
                    else on_processes(paths, options.workers))
    findings = [row for rows, _ in examined for row in rows]
    write(options.findings, FINDING, sorted(findings, key=lambda row: (row["document"], row["path"])))
    usage = [row for _, rows in examined for row in rows]
    write(options.usage, USAGE, sorted(usage, key=lambda row: (row["media"], row["path"], row["document"])))
    print(f"{len(paths)} documents, {len(findings)} findings, {len({row['path'] for row in usage})} media")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
