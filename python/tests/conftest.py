import os
import pathlib

import hypothesis
import pytest

import zrdmtree

# The same sequences in every run, and nothing kept beside the tests.
hypothesis.settings.register_profile("tests", database=None, derandomize=True, deadline=None)
hypothesis.settings.load_profile("tests")

EXAMPLES = pathlib.Path(os.environ["ZR_EXAMPLES"])


@pytest.fixture
def commercial():
    return zrdmtree.load(EXAMPLES / "documents" / "commercial-25.json")


@pytest.fixture
def examples():
    return EXAMPLES
