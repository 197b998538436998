"""Differences, patches and merges of documents and timelines."""

import json

import pytest

import zrdmtree
from zrdmtree import DmError, DmValueError


@pytest.fixture
def base(examples):
    return zrdmtree.load(examples / "documents" / "commercial-25.json")


def edited(root, *steps):
    with root.publish().edit() as e:
        for name, *args in steps:
            getattr(e, name)(*args, sync_lock=False) if name == "ripple_trim" else getattr(e, name)(*args)
    return e.result


def test_a_diff_tells_what_was_edited(base):
    after = edited(base, ("ripple_trim", (0, 0, 2), "tail", -12), ("rename", (0, 0, 6), "close up"))
    found = zrdmtree.diff(base, after)
    assert [(change.kind, change.track, change.frames) for change in found if change.kind == "tail"] == [("tail", "V1", -12.0)]
    (renamed,) = [change for change in found if change.kind == "renamed"]
    assert renamed.became == "close up" and renamed.new_label and "close up" in repr(renamed)
    assert found.count("shifted") > 0 and len(found) == len(list(found)) and len(found.text(True)) > len(found.text())
    assert found.stat() == "1 tail trimmed, 1 renamed; 9 shifted" and found[-1].text and str(found) == found.text()
    assert json.loads(found.json())["changes"]
    rows = [change.count for change in found if change.kind == "shifted"]
    each = [change.count for change in zrdmtree.diff(base, after, each_shift=True) if change.kind == "shifted"]
    assert len(rows) < len(each) and set(each) == {1} and sum(rows) == len(each)
    assert not zrdmtree.diff(base, base.publish()) and len(zrdmtree.diff(None, base)) > 0
    assert zrdmtree.diff(base, after, ignore=["shifted", "renamed"]).stat() == "1 tail trimmed"


def test_a_patch_makes_one_document_of_the_other(base):
    after = edited(base, ("ripple_trim", (0, 0, 0), "tail", -12)).root
    patch = zrdmtree.Patch.loads(zrdmtree.patch(base, after).dumps())
    done = patch.apply(base)
    assert patch and zrdmtree.dumps(done.root) == zrdmtree.dumps(after) and done.applied > 0 and done.left == []
    again = patch.apply(done.root)
    assert again.applied == 0 and again.skipped == done.applied
    assert not zrdmtree.patch(base, base)


def test_a_merge_puts_two_edits_together(base):
    ours = edited(base, ("rename", (0, 0, 0), "ours"))
    theirs = edited(base, ("mute", (0, 0, 2)), ("rename", (0, 0, 4), "theirs"))
    merged = zrdmtree.merge(base, ours, theirs)
    clips = merged.root.segments(track="V1")
    assert (clips[0].name, clips[1].muted, clips[2].name, merged.conflicts) == ("ours", True, "theirs", [])
    other = edited(base, ("rename", (0, 0, 0), "mine"))
    for favour, name, marks in (("mark", "ours", 1), ("ours", "ours", 0), ("theirs", "mine", 0)):
        merged = zrdmtree.merge(base, ours, other, favour)
        (conflict,) = merged.conflicts
        assert (conflict.track, conflict.ours, conflict.theirs) == ("V1", "ours", "mine") and str(conflict)
        assert merged.root.segments(track="V1")[0].name == name
        assert len(merged.root.children[0].cueMarks) - len(base.children[0].cueMarks) == marks


BAD = [
    (lambda root: zrdmtree.diff(root, 3), TypeError),
    (lambda root: zrdmtree.diff(root, root, ignore=["nothing such"]), DmError),
    (lambda root: zrdmtree.diff(root, root, ignore="tail"), TypeError),
    (lambda root: zrdmtree.diff(root, root, tolerance=float("nan")), DmValueError),
    (lambda root: zrdmtree.diff(root, root).count("nothing such"), DmValueError),
    (lambda root: zrdmtree.diff(root, root)[0], IndexError),
    (lambda root: zrdmtree.patch(root, None), TypeError),
    (lambda root: zrdmtree.patch(root, root.children[0]), TypeError),
    (lambda root: zrdmtree.Patch.loads("{"), DmError),
    (lambda root: zrdmtree.Patch.loads("\ud800"), DmValueError),
    (lambda root: zrdmtree.Patch.loads(3), TypeError),
    (lambda root: zrdmtree.patch(root, root).apply(zrdmtree.DmGapNode()), TypeError),
    (lambda root: zrdmtree.merge(root, root, None), TypeError),
    (lambda root: zrdmtree.merge(root, root, root, "both"), DmValueError),
]


@pytest.mark.parametrize("number", range(len(BAD)))
def test_what_cannot_be_compared_raises(base, number):
    call, error = BAD[number]
    with pytest.raises(error):
        call(base)
