"""Copies: what they share, and what they have of their own."""

import copy
import pickle

import pytest

import zrdmtree


def test_a_copy_keeps_the_comment_and_shares_children():
    layer = zrdmtree.DmLayerNode(name="V1", comment="first pass")
    layer.children.append(zrdmtree.DmGapNode())
    twin = copy.copy(layer)
    assert twin == layer and twin is not layer and twin.comment == "first pass"
    assert twin.children[0] is layer.children[0]
    twin.children.append(zrdmtree.DmGapNode())
    assert len(layer.children) == 1


@pytest.mark.parametrize("duplicate", [copy.deepcopy, lambda each: pickle.loads(pickle.dumps(each))])
def test_deep_copies_and_pickles_share_nothing(commercial, duplicate):
    twin = duplicate(commercial)
    assert twin == commercial
    twin.children[0].children[0].children[0].children[0].recIn = 7
    assert twin != commercial
    assert zrdmtree.dumps(duplicate(commercial)) == zrdmtree.dumps(commercial)


@pytest.mark.parametrize("duplicate", [copy.deepcopy, lambda each: pickle.loads(pickle.dumps(each))])
def test_what_is_held_twice_is_held_twice_in_the_copy(duplicate):
    gap = zrdmtree.DmGapNode()
    layer = zrdmtree.DmLayerNode()
    layer.children = [gap, gap]
    twin = duplicate(layer)
    assert twin.children[0] is twin.children[1] is not gap


@pytest.mark.parametrize("duplicate", [copy.copy, copy.deepcopy, lambda each: pickle.loads(pickle.dumps(each))])
def test_marks_of_layers_go_along(duplicate):
    track = zrdmtree.DmTrackNode(trackNum=1, mediaType=1)
    track.children.append(zrdmtree.DmLayerNode(mediaType=1))
    layer = track.children[0]
    layer.cueMarks = [zrdmtree.DmCueMark(cueMarkName=name) for name in ("a", "b")]
    layer.cueMarks.insert(1, zrdmtree.DmCueMark(cueMarkName="between"))
    del layer.cueMarks[0]
    twin = duplicate(layer)
    assert twin.cueMarks == layer.cueMarks and twin.cueMarks[0] is not layer.cueMarks[0]
    twin.cueMarks.pop()
    assert [[each.cueMarkName for each in both.cueMarks] for both in (layer, twin)] == [["between", "b"], ["between"]]
    assert duplicate(layer.cueMarks) == layer.cueMarks and "between" in repr(layer.cueMarks)
    for bad in (None, 3, zrdmtree.DmKeyFrame(), "between"):
        with pytest.raises(TypeError):
            layer.cueMarks.append(bad)
    assert len(layer.cueMarks) == 2


def test_pickles_know_no_depth():
    outer = reel = zrdmtree.DmReelNode()
    for _ in range(500):
        reel.children.append(zrdmtree.DmReelNode())
        reel = reel.children[0]
    assert pickle.loads(pickle.dumps(outer)) == outer


@pytest.mark.parametrize("duplicate", [copy.copy, copy.deepcopy, lambda each: pickle.loads(pickle.dumps(each))])
def test_timelines_views_and_findings_travel(commercial, duplicate):
    timeline = commercial.publish()
    assert duplicate(timeline).root == timeline.root
    effects = timeline.segments(track="V1")[0].effects
    assert duplicate(effects) == effects and duplicate(effects[0].channelList) == effects[0].channelList
    commercial.segments(track="V1")[1].recLength = 10
    findings = zrdmtree.check(commercial)
    assert findings and duplicate(findings) == findings
    with pytest.raises(zrdmtree.DmError) as raised:
        zrdmtree.loads("TITLE: x\n001 AX V C 00:00:00:00\n", format="edl")
    again = duplicate(raised.value)
    assert (again.code, again.text, again.findings) == (raised.value.code, raised.value.text, raised.value.findings)
    assert again.findings


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
def test_every_protocol_of_pickle_answers(commercial, protocol):
    timeline = commercial.publish()
    for kept in (commercial, timeline, zrdmtree.Time(5, "25 fps"), commercial.segments()[0].effects):
        again = pickle.loads(pickle.dumps(kept, protocol))
        assert again == kept or again.root == kept.root
    for passing in (zrdmtree.History(timeline), timeline.edit(), zrdmtree.diff(commercial, None)):
        with pytest.raises(TypeError, match="pickle"):
            pickle.dumps(passing, protocol)
