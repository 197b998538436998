"""Objects and their properties: what reading gives, what setting stores, and what raises."""

import enum
import gc
import math
import weakref

import pytest

import zrdmtree
from zrdmtree import DmError, DmValueError


def first_clip(root):
    return root.children[0].children[0].children[0].children[0]


def test_a_document_reads_as_attributes(commercial):
    clip = first_clip(commercial)
    assert type(clip) is zrdmtree.DmSourceNode
    assert (clip.name, clip.recIn, clip.recLength, clip.muted) == ("orchard dawn", 0.0, 88.0, False)
    assert clip.srcInput.srcInfo.name == "orchard dawn"
    assert commercial.children[0].fcm == "25 fps"
    assert isinstance(clip, zrdmtree.DmTreeNode)
    assert issubclass(zrdmtree.DmLookSettings, zrdmtree.DmEffectSettings)


def test_every_class_can_be_made_and_its_properties_read():
    made = 0
    for name in dir(zrdmtree):
        cls = getattr(zrdmtree, name)
        if not (isinstance(cls, type) and issubclass(cls, zrdmtree.DmPropertySet)):
            continue
        definitions = zrdmtree._zrdmtree._definitions(cls)
        try:
            made_object = cls()
        except TypeError as error:
            assert "abstract" in str(error)
            continue
        made += 1
        for each in definitions:
            getattr(made_object, each["name"])
        assert name in repr(made_object)
        assert made_object == cls()
    assert made > 60


MARK = "DmCueMark"
STORED = [
    (MARK, "cueMarkTime", 86400, 86400.0),
    (MARK, "cueMarkTime", zrdmtree.Time("01:00:00:00", "24 fps"), 86400.0),
    (MARK, "cueMarkTime", True, 1.0),
    (MARK, "cueMarkColorRed", -(2**31), -(2**31)),
    (MARK, "cueMarkColorRed", 2**31 - 1, 2**31 - 1),
    (MARK, "cueMarkName", "Été \U0001f3ac", "Été \U0001f3ac"),
    (MARK, "cueMarkName", "a\0b", "a\0b"),
    (MARK, "cueMarkName", "", ""),
    ("DmFrameNode", "frameId", 2**64 - 1, 2**64 - 1),
    ("DmKeyFrame", "value", 0.1, pytest.approx(0.1)),
    ("DmGapNode", "muted", True, True),
    ("DmGapNode", "baseBlob", None, None),
    ("DmGapNode", "segmentPreviousIds", ("a", "b"), ["a", "b"]),
]


@pytest.mark.parametrize("cls, name, value, stored", STORED)
def test_what_a_slot_can_hold_is_stored(cls, name, value, stored):
    made = getattr(zrdmtree, cls)(**{name: value})
    assert getattr(made, name) == stored


REFUSED = [
    (MARK, "cueMarkTime", None, TypeError),
    (MARK, "cueMarkTime", "12", TypeError),
    (MARK, "cueMarkTime", 1j, TypeError),
    (MARK, "cueMarkTime", math.nan, DmValueError),
    (MARK, "cueMarkTime", -math.inf, DmValueError),
    (MARK, "cueMarkTime", 10**400, DmValueError),
    (MARK, "cueMarkColorRed", 2**31, DmValueError),
    (MARK, "cueMarkColorRed", 10**30, DmValueError),
    (MARK, "cueMarkColorRed", 1.0, TypeError),
    (MARK, "cueMarkName", 7, TypeError),
    (MARK, "cueMarkName", b"x", TypeError),
    (MARK, "cueMarkName", "\ud800", DmValueError),
    (MARK, "cueMarkNaem", "x", AttributeError),
    ("DmFrameNode", "frameId", -1, DmValueError),
    ("DmFrameNode", "frameId", 2**64, DmValueError),
    ("DmKeyFrame", "value", 1e300, DmValueError),
    ("DmGapNode", "muted", 1, TypeError),
    ("DmGapNode", "classId", 3, DmValueError),
    ("DmGapNode", "effects", "abc", TypeError),
    ("DmGapNode", "effects", [zrdmtree.DmCueMark()], TypeError),
    ("DmGapNode", "effects", [None], TypeError),
    ("DmSourceNode", "srcInput", zrdmtree.DmCueMark(), TypeError),
    ("DmSourceNode", "srcInput", 3, TypeError),
]


@pytest.mark.parametrize("cls, name, value, error", REFUSED)
def test_what_a_slot_cannot_hold_raises_and_changes_nothing(cls, name, value, error):
    made = getattr(zrdmtree, cls)()
    with pytest.raises(error) as raised:
        setattr(made, name, value)
    assert name in str(raised.value)
    assert made == getattr(zrdmtree, cls)()
    assert not (error is DmValueError) or raised.value.code == zrdmtree.DmErrorId.DM_BAD_VALUE


def test_enumerations_are_named_where_the_definitions_name_them():
    track = zrdmtree.DmTrackNode(mediaType=2)
    assert track.mediaType is zrdmtree.MediaType.DM_MEDIA_AUDIO and track.mediaType == 2
    track.mediaType = zrdmtree.MediaType.DM_MEDIA_VIDEO
    assert track.mediaType.text == "video" and "DM_MEDIA_VIDEO" in repr(track.mediaType)
    track.mediaType = 77
    assert track.mediaType == 77 and type(track.mediaType) is int
    assert type(zrdmtree.DmCompositionNode(origin=3).origin) is int
    named = [each for each in dir(zrdmtree) if isinstance(getattr(zrdmtree, each), enum.EnumMeta)]
    assert len(named) > 4


def test_classes_take_their_own_properties_by_name():
    mark = zrdmtree.DmCueMark(cueMarkName="slate", cueMarkTime=12)
    assert repr(mark) == "DmCueMark(cueMarkName='slate', cueMarkTime=12.0)"
    assert eval(f"zrdmtree.{mark!r}") == mark
    for args, keywords in [((1,), {}), ((), {"recIn": 1})]:
        with pytest.raises(TypeError):
            zrdmtree.DmCueMark(*args, **keywords)
    with pytest.raises(TypeError, match="abstract"):
        zrdmtree.DmTreeNode()
    with pytest.raises(AttributeError, match="DmNoSuchNode"):
        zrdmtree.DmNoSuchNode
    with pytest.raises(TypeError):
        type("Mine", (zrdmtree.DmCueMark,), {})
    with pytest.raises(TypeError):
        del mark.cueMarkName


def test_identity_holds_as_long_as_the_object():
    layer = zrdmtree.DmLayerNode()
    layer.children.append(zrdmtree.DmGapNode(name="hole"))
    gap = layer.children[0]
    assert gap is layer.children[0] and gap.key == layer.children[0].key
    assert {gap.key: "here"}[layer.children[0].key] == "here"
    twin = zrdmtree.DmGapNode(name="hole")
    assert gap == twin and gap is not twin and gap.key != twin.key
    with pytest.raises(TypeError, match="unhashable"):
        hash(gap)
    entry = zrdmtree.DictionaryEntry(key="reel", value="7")
    assert entry.key == "reel" and zrdmtree.key(entry) == zrdmtree.key(entry)
    gone = weakref.ref(gap)
    del gap, twin
    assert gone() is None


def test_objects_outlive_what_they_came_from(commercial):
    clip = first_clip(commercial)
    marks, effects = clip.segmentMarks, clip.effects
    children = commercial.children[0].children
    commercial.children[0].children.clear()
    del commercial
    gc.collect()
    assert len(children) == 0 and clip.name == "orchard dawn"
    assert len(marks) == 0 and effects[0] is clip.effects[0]


def test_an_object_cannot_stand_below_itself():
    inner, outer = zrdmtree.DmReelNode(name="inner"), zrdmtree.DmReelNode(name="outer")
    outer.children.append(inner)
    for attempt in (
        lambda: inner.children.append(outer),
        lambda: inner.children.append(inner),
        lambda: setattr(inner, "baseBlob", outer),
        lambda: inner.children.extend([zrdmtree.DmReelNode(), outer]),
    ):
        with pytest.raises(DmValueError, match="below itself"):
            attempt()
    assert len(inner.children) == 0 and inner.baseBlob is None


def test_shared_defaults_are_constant_until_they_are_owned():
    one, other = zrdmtree.DmCompositionNode(), zrdmtree.DmCompositionNode()
    assert zrdmtree.is_constant(one.resolution)
    with pytest.raises(DmError, match=r"own\(\)") as raised:
        one.resolution.width = 17
    assert raised.value.code == zrdmtree.DmErrorId.DM_CANNOT_LOCK
    one.own("resolution").width = 17
    assert one.resolution.width == 17 and other.resolution.width != 17
    assert one.own("resolution") is one.resolution
    with pytest.raises(TypeError):
        one.own("name")


def test_listeners_hear_changes_until_they_are_closed(capsys):
    mark, heard = zrdmtree.DmCueMark(), []
    with mark.listen(lambda changed, name: heard.append((changed is mark, name))) as subscription:
        mark.cueMarkTime = 5
        mark.cueMarkName = "x"
    mark.cueMarkTime = 6
    assert heard == [(True, "cueMarkTime"), (True, "cueMarkName")] and not subscription.is_open

    def fails(changed, name):
        raise RuntimeError("from a listener")

    keep = mark.listen(fails)
    mark.cueMarkTime = 7
    assert mark.cueMarkTime == 7 and keep.is_open
    dropped = mark.listen(lambda *_: heard.append("dropped"))
    del dropped, keep
    mark.cueMarkTime = 8
    assert len(heard) == 2
    with pytest.raises(TypeError):
        mark.listen(None)
