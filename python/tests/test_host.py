"""Classes of a host, whose library is loaded while the package is in use: one with a property of every type."""

import copy
import ctypes
import math
import os
import pickle

import pytest

import zrdmtree
from zrdmtree import DmError, DmValueError

pytestmark = pytest.mark.skipif("ZR_HOST" not in os.environ, reason="no library of a host was built")


@pytest.fixture(scope="module", autouse=True)
def host():
    assert not hasattr(zrdmtree, "TestEvery") and "TestEvery" not in dir(zrdmtree)
    return ctypes.CDLL(os.environ["ZR_HOST"])


def test_they_are_there_once_it_is_loaded():
    assert {"TestEvery", "TestPoint", "TestOptional"} <= set(dir(zrdmtree))
    made = zrdmtree.TestEvery(int=-3, string="of a host", points=[zrdmtree.TestPoint(x=2)])
    assert isinstance(made, zrdmtree.DmPropertySet) and type(made) is zrdmtree.TestEvery
    assert (made.int, made.string, made.points[0].x, made.point) == (-3, "of a host", 2.0, None)
    for again in (copy.copy(made), copy.deepcopy(made), pickle.loads(pickle.dumps(made))):
        assert again == made and type(again) is zrdmtree.TestEvery
    read = zrdmtree.loads(zrdmtree.dumps(made))
    assert type(read) is zrdmtree.TestEvery and (read.string, read.points) == (made.string, made.points)
    with pytest.raises(TypeError, match="TestPoint"):
        made.points.append(zrdmtree.DmCueMark())
    with pytest.raises(TypeError, match="no property 'double_'"):
        zrdmtree.TestEvery(double_=1)


# The least and the most of each type of number, and what lies beyond.
WHOLE = {"int": (-(2**31), 2**31 - 1), "uint": (0, 2**32 - 1), "short": (-(2**15), 2**15 - 1), "ushort": (0, 2**16 - 1),
         "int64": (-(2**63), 2**63 - 1), "uint64": (0, 2**64 - 1), "char": (-128, 127), "uchar": (0, 255)}
LISTS = {"ints": WHOLE["int"], "shorts": WHOLE["short"], "uint64s": WHOLE["uint64"]}


def test_numbers_keep_to_their_width():
    made = zrdmtree.TestEvery()
    for name, (least, most) in WHOLE.items():
        for value in (least, most, True):
            setattr(made, name, value)
            assert getattr(pickle.loads(pickle.dumps(made)), name) == getattr(made, name) == value
        for value, error in ((least - 1, DmValueError), (most + 1, DmValueError), (10**400, DmValueError),
                             (1.0, TypeError), ("1", TypeError), (None, TypeError)):
            with pytest.raises(error, match=f"TestEvery.{name} "):
                setattr(made, name, value)
        assert getattr(made, name) == 1
    for name, (least, most) in LISTS.items():
        numbers = getattr(made, name)
        numbers.extend([least, most, 5])
        numbers.sort(reverse=True)
        assert numbers == sorted([least, most, 5], reverse=True) == getattr(zrdmtree.loads(zrdmtree.dumps(made)), name)
        for change in (lambda: numbers.append(most + 1), lambda: numbers.__setitem__(0, least - 1),
                       lambda: numbers.extend([1, most + 1]), lambda: numbers.__setitem__(slice(0, 2), [most + 1])):
            with pytest.raises(DmValueError):
                change()
        assert len(numbers) == 3
    made.doubles, made.floats, made.strings = (0.5, 2), [1e-30], ("a", "")
    assert (made.doubles, made.strings, made.floats[0]) == ([0.5, 2.0], ["a", ""], pytest.approx(1e-30))
    for name, value, error in (("doubles", [math.nan], DmValueError), ("floats", [1e300], DmValueError),
                               ("strings", [b"a"], TypeError), ("strings", "ab", TypeError)):
        with pytest.raises(error):
            setattr(made, name, value)


def test_maps_and_slots_for_anything_hold_what_they_may():
    made, open_to_all = zrdmtree.TestEvery(), zrdmtree.TestOptional()
    made.pointMap["left"] = zrdmtree.TestPoint(x=-1)
    made.pointMap.update(right=zrdmtree.TestPoint(x=1))
    assert {name: point.x for name, point in made.pointMap.items()} == {"left": -1.0, "right": 1.0}
    with pytest.raises(TypeError):
        made.pointMap["middle"] = zrdmtree.DmCueMark()
    open_to_all.any, open_to_all.anything = made, [zrdmtree.DmCueMark(), made]
    assert open_to_all.any is open_to_all.anything[1] and math.isnan(open_to_all.notANumber)
    for below in (lambda: setattr(open_to_all, "any", open_to_all), lambda: open_to_all.anything.append(open_to_all)):
        with pytest.raises(DmValueError, match="below itself"):
            below()
    with pytest.raises(DmError, match="own"):
        open_to_all.shared.x = 5
    open_to_all.own("shared").x = 5
    with pytest.raises(DmValueError):
        open_to_all.kind = 8
    assert copy.deepcopy(open_to_all) == open_to_all and open_to_all.shared.x == 5
    assert zrdmtree.TestOptional().shared.x != 5
