"""The binding is for the main interpreter: in another one of the same process it would wait for itself for ever."""

import importlib

for _name in ("_interpreters", "_xxsubinterpreters"):  # as Python 3.13, and those before, call it
    try:
        _known = importlib.import_module(_name)
    except ImportError:
        continue
    if _known.get_current() != _known.get_main():
        raise ImportError("zrdmtree is for the main interpreter, not for sub-interpreters: run processes instead")
    break
