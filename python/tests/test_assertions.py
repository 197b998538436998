"""Every assertion of the library that a script could reach: each is asked before, and raises.

An assertion that is reached ends this process, and the test with it.
"""

import pytest

import zrdmtree
from zrdmtree import DmError, DmValueError, Time


def composition(**properties):
    return zrdmtree.DmCompositionNode(**properties)


def track(media=1):
    return zrdmtree.DmTrackNode(mediaType=media)


def layer(media=1):
    return zrdmtree.DmLayerNode(mediaType=media)


def gap(media=1):
    return zrdmtree.DmGapNode(mediaType=media)


EFFECT = zrdmtree.DmLookSettings
# What is done, and what it raises.
REACHED = {
    "a composition holds tracks": (lambda: composition().children.append(layer()), DmError),
    "not segments": (lambda: composition().children.extend([track(), gap()]), DmError),
    "nor through a slice": (lambda: composition().children.__setitem__(slice(0, 0), [gap()]), DmError),
    "nor by replacing": (lambda: setattr(composition(), "children", [gap()]), DmError),
    "nor when it is made": (lambda: composition(children=[layer()]), DmError),
    "a track holds layers": (lambda: track().children.append(gap()), DmError),
    "of its own medium": (lambda: track(1).children.append(layer(2)), DmError),
    "a layer holds segments and transitions": (lambda: layer().children.append(track()), DmError),
    "no batch effects": (lambda: layer().children.append(zrdmtree.DmBatchFxNode()), DmError),
    "segments of its own medium": (lambda: layer(1).children.append(gap(2)), DmError),
    "transitions too": (lambda: layer(1).children.insert(0, zrdmtree.DmCutNode(mediaType=2)), DmError),
    "an empty channel name": (lambda: EFFECT().channel(""), DmValueError),
    "an empty attribute name": (lambda: EFFECT().attributList.__setitem__("", zrdmtree.DmSimpleChannel()), DmValueError),
    "an empty key": (lambda: EFFECT().channelList.__setitem__("", zrdmtree.DmAnimationChannel()), DmValueError),
    "looking an empty key up": (lambda: EFFECT().channelList[""], KeyError),
    "removing an empty key": (lambda: EFFECT().channelList.__delitem__(""), KeyError),
    "a text layer holds paragraphs": (lambda: zrdmtree.DmTextLayer().paragraphs.append(None), TypeError),
    "fields of labels": (lambda: Time("00:61:00:00", "25 fps"), DmValueError),
    "frames of labels": (lambda: Time("00:00:00:25", "25 fps"), DmValueError),
    "dropped labels": (lambda: zrdmtree.frames(["00;01;00;00"], "29.97 fps DF"), DmValueError),
    "no mode": (lambda: Time(1, 0), DmValueError),
    "a label without a mode": (lambda: composition(children=[track()]).segments(at="01:00:00:00"), DmValueError),
    "a time without a mode": (lambda: composition().segments(at=Time(1, 25)), DmValueError),
}


@pytest.mark.parametrize("name", REACHED)
def test_what_would_stop_a_program_raises(name):
    call, error = REACHED[name]
    with pytest.raises(error) as raised:
        call()
    assert str(raised.value) and (error is not DmValueError or isinstance(raised.value, DmError))


def test_trees_without_a_mode_are_answered():
    whole = layer()
    whole.children.extend([zrdmtree.DmSourceNode(mediaType=1, recLength=10), zrdmtree.DmCutNode(mediaType=1), gap()])
    one = track()
    one.children.append(whole)
    cut = composition(children=[one])
    root = zrdmtree.DmRoot(children=[cut])
    for node in (root, cut, one, whole):
        assert len(zrdmtree.table(node, into_containers=True)) == 2
        assert node.dump() and len(node.segments(at=5)) == 1
    assert isinstance(zrdmtree.check(root), list)


def test_nulls_and_cycles_are_answered():
    reel = zrdmtree.DmReelNode()
    for bad in (lambda: zrdmtree.check(None), lambda: zrdmtree.table(7), lambda: zrdmtree.dump("x")):
        with pytest.raises(TypeError):
            bad()
    with pytest.raises(DmValueError):
        zrdmtree.check(gap())
    assert zrdmtree.check(zrdmtree.DmRoot(children=[reel, gap()]))[0].text == "It stands outside of a composition"
