"""Timelines of a video edit: documents, their tree, and what is asked of and done with them.

    import zrdmtree
    root = zrdmtree.load("edit.json")
    for clip in root.segments(track="V1"):
        print(clip.name, clip.recIn, clip.recLength)

Classes and their properties are those of the model: zrdmtree.DmSourceNode, clip.recIn. What is wrong raises
AttributeError, TypeError or zrdmtree.DmError.
"""

from . import _interpreter  # noqa: F401: before the binding
from . import _zrdmtree
from ._zrdmtree import *  # noqa: F403: what the binding offers
from ._zrdmtree import DmError, DmErrorId, DmPropertySet, DmValueError, Fcm, Time
from ._documents import convert, dumps, load, loads, save
from ._command import schema
from . import _methods  # noqa: F401: gives classes their methods


def _restore(state):
    """What pickles of objects call."""
    return _zrdmtree._restore_state(state)


def __getattr__(name):
    """Classes are made when they are first asked for, a host's own included."""
    if name == "__all__":
        return __dir__()
    if not name.startswith("_"):
        for made in (_zrdmtree._type(name), _zrdmtree._enum(name)):
            if made is not None:
                return made
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


def __dir__():
    return sorted({name for name in globals() if not name.startswith("_")} | set(_zrdmtree._type_names())
                  | set(_zrdmtree._enum_names()))
