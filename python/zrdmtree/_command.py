"""The command dmtree, which the package brings along."""

import json
import os
import pathlib
import shutil
import subprocess
import sys


def program():
    """The path of the command; None where it is not installed beside the package."""
    package = pathlib.Path(__file__).parent
    # A wheel brings the command along; an installation by CMake has it among its programs.
    beside = [package / "bin" / "dmtree", *(parent / "bin" / "dmtree" for parent in package.parents)]
    return next((str(path) for path in beside if path.is_file()), None) or shutil.which("dmtree")


def schema():
    """The JSON Schema of documents, as `python -m zrdmtree schema` prints it."""
    path = program()
    if path is None:
        raise FileNotFoundError("the command dmtree is not installed beside the package")
    return json.loads(subprocess.run([path, "schema"], check=True, capture_output=True).stdout)


def main() -> None:
    path = program()
    if path is None:
        sys.exit("zrdmtree: the command dmtree is not installed beside the package")
    os.execv(path, ["dmtree", *sys.argv[1:]])
