"""Timelines as values: publishing, sessions, history."""

import copy
import json
import re
import threading

import hypothesis
import hypothesis.strategies as st
import pytest

import zrdmtree
from zrdmtree import DmError, DmValueError


@pytest.fixture
def timeline(commercial):
    return commercial.publish()


def pictures(timeline):
    return [(each.name, each.recIn, each.recLength) for each in timeline.segments(track="V1")]


def faults(timeline):
    return [each for each in zrdmtree.check(timeline) if each.severity == "error"]


def test_published_nodes_are_constant_and_the_tree_is_not(commercial, timeline):
    assert timeline.root == commercial and timeline.root is not commercial
    clip = timeline.segments(track="V1")[0]
    assert zrdmtree.is_constant(clip)
    for attempt in (lambda: setattr(clip, "recIn", 3), lambda: clip.effects.clear(), lambda: clip.effects.append(None),
                    lambda: timeline.composition.children.pop(), lambda: clip.effects[0].channel("new")):
        with pytest.raises((DmError, TypeError)) as raised:
            attempt()
        assert not isinstance(raised.value, DmError) or "edit()" in str(raised.value)
    assert timeline.root == commercial
    commercial.segments()[0].recIn = 5
    assert timeline.segments()[0].recIn == 0


def test_a_session_sets_nodes_and_applies_operations(timeline):
    before = pictures(timeline)
    with timeline.edit("grade") as e:
        clip = e.segments(track="V1")[1]
        clip.name = "hands"
        e.ripple_trim(clip, "tail", -10, sync_lock=False)
        e.segments(track="V1")[1].shotName = "S2"
        with pytest.raises(DmError, match="edit"):
            clip.name = "of the version before"
        with pytest.raises(DmValueError, match="open"):
            e.result
    after = pictures(e.result)
    assert pictures(timeline) == before
    assert after[1] == ("hands", before[1][1], before[1][2] - 10) and e.result.segments(track="V1")[1].shotName == "S2"
    assert after[2][1] == before[2][1] - 10 and e.name == "grade"
    assert faults(e.result) == []
    with pytest.raises(DmValueError, match="ended"):
        e.segments()


def test_an_exception_leaves_the_timeline_as_it_was(timeline):
    with pytest.raises(ZeroDivisionError):
        with timeline.edit() as e:
            e.split("V1", "10:00:05:00")
            e.segments()[0].name = "half done"
            1 / 0
    assert e.result == timeline


def test_operations_take_labels_places_and_nodes(timeline):
    with timeline.edit() as e:
        e.split("V1", "10:00:05:00")
        e.split((0, 0), 130)
        e.slip(e.segments(track="V1", at=100)[0], 2)
        e.slip(e.segments(track="V1", at=100)[0], "-00:00:00:02")
        e.lift("V1", "10:00:20:00", zrdmtree.Time("10:00:21:00", "25 fps"))
        e.insert("V1", 0, zrdmtree.DmGapNode(mediaType=1, recLength=25))
    names = [each[0] for each in pictures(e.result)]
    assert names.count("hands picking") == 3 and len(names) > len(pictures(timeline)) + 2
    assert faults(e.result) == []


REFUSED = [
    (lambda e: e.trim((0, 0, 0), "middle", 1), DmValueError),
    (lambda e: e.trim((0, 0, 999), "tail", 1), DmError),
    (lambda e: e.trim((0, 0), "tail", 1), TypeError),
    (lambda e: e.trim(None, "tail", 1), TypeError),
    (lambda e: e.trim((0, 0, 0), "tail", None), TypeError),
    (lambda e: e.trim((0, 0, 0), "tail", float("nan")), DmError),
    (lambda e: e.trim((0, 0, 0), "tail", "00:00:61:00"), DmError),
    (lambda e: e.trim((0, 0, 0), "tail", "@10:00:99:00"), DmError),
    (lambda e: e.slip((0, 0, 0), "@10:00:05:00"), DmError),
    (lambda e: e.trim((0, 0, 0), "head", 5, nonsense=True), TypeError),
    (lambda e: e.trim((0, 0, 0), "head", 5, clamp=1), TypeError),
    (lambda e: e.trim(zrdmtree.DmGapNode(), "tail", 1), DmError),
    (lambda e: e.split("V7", 5), DmValueError),
    (lambda e: e.split(None, 5), TypeError),
    (lambda e: e.split("V1", "10:00:99:00"), DmValueError),
    (lambda e: e.split("V1", None), TypeError),
    (lambda e: e.insert("V1", 5, None), TypeError),
    (lambda e: e.insert("V1", 5, zrdmtree.DmCueMark()), TypeError),
    (lambda e: e.insert("V1", 5, zrdmtree.DmGapNode(mediaType=2, recLength=5)), DmError),
    (lambda e: e.transition((0, 0, 3), 5, "sideways"), DmValueError),
    (lambda e: e.swap((0, 0, 0), (9, 9, 9)), DmError),
    (lambda e: e.trim((0, 0, "x"), "tail", 1), TypeError),
    (lambda e: e.roll("V1", 1), TypeError),
    (lambda e: e.trim((10**30, 0, 0), "tail", 1), TypeError),
    (lambda e: e.trim((-1, -1, -1), "tail", 1), DmError),
    (lambda e: e.split("V1", 5, unlocked_tracks=["x"]), TypeError),
    (lambda e: e.keep_tracks([10**30]), TypeError),
    (lambda e: e.relink({"name": "x"}), TypeError),
    (lambda e: e.rename((0, 0, 0), "\ud800"), DmValueError),
    (lambda e: e.concatenate(None), TypeError),
]


@pytest.mark.parametrize("attempt", range(len(REFUSED)))
def test_what_cannot_be_done_raises_and_changes_nothing(timeline, attempt):
    operation, error = REFUSED[attempt]
    with timeline.edit() as e:
        with pytest.raises(error):
            operation(e)
    assert e.result == timeline


def test_what_a_session_does_not_change_is_shared(timeline):
    with timeline.edit() as e:
        clip = e.segments(track="V1")[1]
        clip.effects[0].channelList["gain"].keyFrameList[0].value = 0.25
        clip.comment = "graded"
        e.root.comment = "day 2"
        others = e.segments(track="V1")[2:]  # reached and read, and nothing more
        assert all(other.recIn > clip.recIn for other in others)
    old, new = timeline.root, e.result.root
    assert (new.comment, new.segments(track="V1")[1].comment) == ("day 2", "graded")
    assert new.segments(track="V1")[1].effects[0].channelList["gain"].keyFrameList[0].value == 0.25
    assert old.segments(track="V1")[1] != new.segments(track="V1")[1]
    for i, (was, now) in enumerate(zip(old.segments(), new.segments())):
        assert (was is now) == (i != 1)
    assert new.segments(track="V1")[1].srcInput is old.segments(track="V1")[1].srcInput
    with timeline.edit() as e:
        assert e.segments()[0].recIn == 0
    assert e.result == timeline


def layer_of(root):
    return root.children[0].children[0].children[0]


def swap_looks(root):
    first, second = layer_of(root).children[0], layer_of(root).children[2]
    first.effects, second.effects = list(second.effects), list(first.effects)


def move_up(root):
    track = root.children[0].children[1]
    moved = zrdmtree.DmTrackNode(name="moved", trackNum=9, mediaType=2)
    moved.children.append(track.children.pop(0))
    root.children[0].children.append(moved)
    moved.children[0].children[0].name = "in the new track"


# What a session does to a constant tree, and plain setting to one that can be changed.
SETTINGS = [
    lambda root: setattr(root.segments(track="V1")[0], "name", "opening"),
    lambda root: setattr(root.segments(at="10:00:04:12")[0], "recLength", 60.0),
    lambda root: setattr(root.segments(track="V1")[1].srcInput.srcInfo, "reelName", "B007"),
    lambda root: setattr(root.segments(track="V1")[1].srcInput, "name", "both"),
    lambda root: setattr(root.segments(track="V1")[0], "srcInput", root.segments(track="V1")[1].srcInput),
    lambda root: root.segments(track="V1")[1].effects[0].channel("gain").keyFrameList.clear(),
    lambda root: root.segments(track="V1")[1].effects[0].channel("new").keyFrameList.append(
        zrdmtree.DmKeyFrame(frame=3, value=0.5)),
    lambda root: root.segments(track="V1")[1].effects[0].channelList.pop("new", None),
    lambda root: root.segments()[2].effects.append(zrdmtree.DmLookSettings()),
    lambda root: setattr(root.segments()[2].effects[-1], "name", "once more") if root.segments()[2].effects else None,
    lambda root: root.children[0].cueMarks.append(zrdmtree.DmCueMark(cueMarkName="here", cueMarkTime=12.0)),
    lambda root: setattr(root.children[0].own("resolution"), "width", 1234),
    lambda root: setattr(root, "comment", "day 2"),
    lambda root: setattr(root.children[0], "name", "second cut"),
    lambda root: setattr(root.children[0].cueMarks[-1], "cueMarkName", "there"),
    lambda root: setattr(root.children[0].children[1], "name", "sound"),
    lambda root: setattr(layer_of(root), "layerStartTC", 5.0),
    lambda root: layer_of(root).cueMarks.append(zrdmtree.DmCueMark(cueMarkName="of the layer")),
    lambda root: setattr(layer_of(root).cueMarks[0], "cueMarkName", "renamed"),
    lambda root: setattr(root.children[1].segments()[0].srcInput, "name", "of the other cut"),
    lambda root: setattr(root.children[1], "name", "the other cut"),
    lambda root: layer_of(root).children.pop(0),
    lambda root: layer_of(root).children.insert(1, zrdmtree.DmSourceNode(
        name="new", mediaType=1, srcInput=root.segments(track="V1")[0].srcInput)),
    lambda root: layer_of(root).children[1].effects.extend(copy.deepcopy(list(layer_of(root).children[0].effects or []))),
    lambda root: layer_of(root).children.reverse(),
    swap_looks,
    move_up,
]


@hypothesis.given(st.lists(st.integers(0, len(SETTINGS) - 1), min_size=1, max_size=10), st.integers(1, 4))
@hypothesis.settings(max_examples=60, suppress_health_check=list(hypothesis.HealthCheck))
def test_setting_in_a_session_does_what_setting_in_a_tree_does(commercial, order, length):
    def outcome(step, root):
        try:
            SETTINGS[step](root)
        except (DmError, AttributeError, IndexError, TypeError) as error:
            return type(error)

    tree = copy.deepcopy(commercial)
    tree.children.append(copy.deepcopy(tree.children[0]))  # which shares media with the first
    for clip, other in zip(tree.segments(track="V1"), tree.children[1].segments(track="V1")):
        if isinstance(clip, zrdmtree.DmSourceNode):
            other.srcInput = clip.srcInput
    start = tree.publish()
    timeline, before = start, zrdmtree.dumps(start)
    for begin in range(0, len(order), length):
        with timeline.edit() as e:
            for step in order[begin:begin + length]:
                assert outcome(step, e.root) == outcome(step, tree), step
                assert e.root == tree, step
        assert e.result.root == tree
        timeline = e.result
    assert zrdmtree.dumps(start) == before


def test_nodes_of_a_session_are_the_same_ones_before_and_after_they_are_set(timeline):
    with timeline.edit() as e:
        clip = e.segments(track="V1")[1]
        key, effects = clip.key, clip.effects
        assert not zrdmtree.is_constant(clip) and clip is not timeline.segments(track="V1")[1]
        assert clip == timeline.segments(track="V1")[1]
        clip.name = "set"
        assert clip is e.segments(track="V1")[1] is e.element((0, 0, 2)) is e.find(clip.segmentId) is key.object
        assert key == clip.key and key != timeline.segments(track="V1")[1].key and clip != timeline.segments()[1]
        heard = []
        subscription = clip.listen(lambda node, name: heard.append((node is clip, name)))
        clip.effects.clear()
        assert len(effects) == 0 and heard == [(True, "effects")] and "set" in repr(clip)
        subscription.close()
        taken = zrdmtree.DmSourceNode(srcInput=clip.srcInput)
        assert e.find("nothing such") is None and copy.deepcopy(clip) == clip
        with pytest.raises(IndexError):
            e.element((0, 0, 999))
        with pytest.raises(DmError, match="edit"):
            zrdmtree.fix(e.root)
    assert zrdmtree.is_constant(clip) and clip.name == "set"
    assert zrdmtree.is_constant(taken.srcInput) and e.result.segments(track="V1")[1] == clip
    with pytest.raises(DmError, match="edit"):
        clip.name = "too late"


def test_what_is_shared_inside_a_timeline_is_set_once_for_all(timeline):
    with timeline.edit() as e:
        layer = e.composition.children[0].children[0]
        clips = [each for each in layer.children if isinstance(each, zrdmtree.DmSourceNode)]
        clips[1].srcInput = clips[0].srcInput
        clips[0].srcInput.srcInfo.reelName = "B007"
    with e.result.edit() as second:
        second.segments(track="V1")[0].srcInput.name = "both"
    clips = [each for each in second.result.segments(track="V1") if isinstance(each, zrdmtree.DmSourceNode)]
    assert clips[0].srcInput is clips[1].srcInput and clips[1].srcInput.srcInfo.reelName == "B007"
    assert clips[1].srcInput.name == "both"


def test_marks_of_layers_stay(examples):
    content = (examples / "lists" / "promo.otio").read_bytes()
    document = json.loads(content)
    marker = {"OTIO_SCHEMA": "Marker.2", "name": "of the track", "color": "RED", "metadata": {},
              "marked_range": {"OTIO_SCHEMA": "TimeRange.1",
                               "start_time": {"OTIO_SCHEMA": "RationalTime.1", "rate": 25.0, "value": 3.0},
                               "duration": {"OTIO_SCHEMA": "RationalTime.1", "rate": 25.0, "value": 0.0}}}
    document["tracks"]["children"][0]["markers"] = [marker]
    root = zrdmtree.loads(json.dumps(document), format="otio")
    assert b"of the track" in zrdmtree.dumps(root, format="otio")
    with root.publish().edit() as e:
        e.segments()[0].comment = "seen"
    for kept in (e.result, copy.deepcopy(root), copy.deepcopy(e.result.root)):
        assert zrdmtree.dumps(kept, format="otio").count(b"of the track") == 1


def test_a_question_changes_nothing(timeline):
    with timeline.edit() as e:
        clip = e.segments(track="V1")[0]
        yes, no = e.can().slip(clip, -5), e.can().trim(clip, "tail", 100000)
        assert yes and yes.reason == "" and not no and no.reason and no.reason in repr(no)
        with pytest.raises(DmError, match=re.escape(no.reason)):
            e.trim(clip, "tail", 100000)
        with pytest.raises(TypeError):
            e.can().trim(None, "tail", 1)
        question = e.can()
    assert e.result == timeline
    with pytest.raises(DmValueError, match="ended"):
        question.cut((0, 0, 1))


def test_properties_are_edited_by_operations(timeline):
    with timeline.edit() as e:
        first = (0, 0, 0)
        e.rename(first, "opening")
        e.mute(first)
        e.add_effect(first, zrdmtree.DmLookSettings())
        e.add_mark(zrdmtree.DmCueMark(cueMarkName="in the shot", cueMarkTime=3), first)
        e.add_mark(zrdmtree.DmCueMark(cueMarkName="in the cut", cueMarkTime=3))
    clip = e.result.find(timeline.segments()[0].segmentId)
    assert (clip.name, clip.muted, clip.segmentMarks[-1].cueMarkName) == ("opening", True, "in the shot")
    assert e.result.composition.cueMarks[-1].cueMarkName == "in the cut" and e.notes == []
    assert e.result.find("nothing such") is None and clip in e.result.linked(clip.segmentId)


@pytest.fixture
def feature(examples):
    return zrdmtree.load(examples / "documents" / "feature-23.976.json").publish()


def container_of(nodes):
    return next(each for each in nodes if isinstance(each, zrdmtree.DmContainerNode))


def test_edits_go_inside_containers(feature):
    uses = [each for each in feature.segments() if isinstance(each, zrdmtree.DmContainerNode)]
    with feature.edit() as e:
        with e.inside(container_of(e.segments()), own_composition=True) as inner:
            shot = inner.segments()[0]
            inner.rename(shot, "renamed inside")
            assert inner.can().mute(shot) and not inner.can().trim(shot, "tail", 1e6)
            with pytest.raises(DmError, match="edit"):
                shot.comment = "of the version before"
            inner.segments()[0].comment = "set inside"
            inner.root.comment = "set above"
            inner.add_mark(zrdmtree.DmCueMark(cueMarkName="behind it"))
    made = container_of(e.result.segments()).composition
    assert (made.segments()[0].name, made.segments()[0].comment, made.comment) == (
        "renamed inside", "set inside", "set above")
    assert made.cueMarks[-1].cueMarkName == "behind it"
    assert container_of(feature.segments()).composition.segments()[0].name != "renamed inside"
    with feature.edit() as e:
        with pytest.raises(ZeroDivisionError):
            with e.inside(container_of(e.segments())) as inner:
                inner.segments()[0].name = "half done"
                1 / 0
        with pytest.raises(DmValueError, match="container"):
            e.inside((0, 0, 0))
        with pytest.raises(DmValueError, match="while"):
            with e.inside(container_of(e.segments())) as inner:
                inner.rename(inner.segments()[0], "inside")
                e.rename((0, 0, 0), "outside")
        with e.inside(container_of(e.segments())) as inner:
            assert inner.segments()[0].name
    assert container_of(e.result.segments()).composition == uses[0].composition


def test_what_is_set_inside_is_set_for_every_use(feature):
    root = copy.deepcopy(feature.root)
    first = container_of(root.segments())
    layer = root.children[0].children[0].children[0].children[0]
    again = copy.copy(first)
    again.recIn, again.segmentId = layer.children[-1].recIn + layer.children[-1].recLength, "again"
    layer.children.extend([zrdmtree.DmCutNode(mediaType=layer.mediaType, recIn=again.recIn), again])
    assert again.composition is first.composition
    with root.publish().edit() as e:
        with e.inside(e.find("again")) as inner:
            inner.find(inner.segments()[0].segmentId).name = "for both"
    names = {each.composition.segments()[0].name for each in e.result.segments()
             if isinstance(each, zrdmtree.DmContainerNode) and each.composition.name == first.composition.name}
    assert names == {"for both"} and not faults(e.result)


def test_history_goes_back_and_forth(timeline):
    history = zrdmtree.History(timeline)
    documents = [zrdmtree.dumps(timeline.root)]
    for i in range(3):
        with history.current.edit(f"step {i}") as e:
            e.ripple_trim(e.segments(track="V1")[i], "tail", -1, sync_lock=False)
        history.add(e)
        documents.append(zrdmtree.dumps(e.result.root))
    assert len(history) == 3 and history.undo_name == "step 2"
    for document in documents[-2::-1]:
        assert history.undo() and zrdmtree.dumps(history.current.root) == document
    assert not history.undo() and history.current == timeline
    while history.redo():
        pass
    assert zrdmtree.dumps(history.current.root) == documents[-1] and history.redo_name == ""


def test_a_drag_is_one_step_and_branches_are_kept(timeline):
    history = zrdmtree.History(timeline)
    history.keep_branches()

    def trim(start, frames):
        with start.edit(f"trim {frames}") as e:
            e.ripple_trim((0, 0, 0), "tail", -frames, sync_lock=False)
        return e

    history.open("drag")
    for frames in (1, 2, 3):
        history.update(trim(history.start, frames))
        assert history.is_open and pictures(history.current)[0][2] == pictures(timeline)[0][2] - frames
    history.close()
    dragged = history.current
    assert (len(history), history.position, history.undo_name, history.bytes > 0) == (1, 1, "drag", True)
    history.open("another")
    history.update(trim(history.start, 9))
    history.abandon()
    assert history.current == dragged and not history.is_open and history.can_undo and not history.can_redo
    with pytest.raises(DmValueError, match="open"):
        history.update(trim(timeline, 1))

    assert history.undo()
    history.add(trim(timeline, 5))
    assert history.branch_count == 1
    history.take_branch(0)
    assert history.redo() and history.current == dragged and history.branch_count == 1
    for bad in (7, 10**30, -1, None):
        with pytest.raises((IndexError, TypeError)):
            history.take_branch(bad)
    history.set_byte_limit(1)
    assert len(history) == 1 and history.current == dragged


def test_long_operations_tell_how_far_they_are_and_can_be_cancelled(timeline):
    told = []
    with timeline.edit() as e:
        with pytest.raises(DmError):
            e.redact(progress=lambda done: told.append(done) or False)
        with pytest.raises(ZeroDivisionError):
            e.redact(progress=lambda done: 1 / 0)
        with pytest.raises(TypeError):
            e.redact(progress=3)
    assert e.result == timeline and told and all(0 <= done <= 1 for done in told)
    with timeline.edit() as e:
        e.redact(progress=told.append)
    assert e.result != timeline


def test_key_frames_and_marks_of_layers_are_edited(timeline):
    with timeline.edit() as e:
        e.add_key_frame((0, 0, 2), 0, "gain", zrdmtree.DmKeyFrame(frame=7, value=0.5))
        with pytest.raises(DmError):
            e.add_key_frame((0, 0, 2), 99, "gain", zrdmtree.DmKeyFrame())
        for bad, error in (("", DmError), ("a\0b", DmValueError), (None, TypeError)):
            with pytest.raises(error):
                e.add_key_frame((0, 0, 2), 0, bad, zrdmtree.DmKeyFrame())
        layer = e.composition.children[0].children[0]
        layer.cueMarks.append(zrdmtree.DmCueMark(cueMarkName="here"))
    keys = e.result.segments(track="V1")[1].effects[0].channelList["gain"].keyFrameList
    assert (keys[-1].frame, keys[-1].value) == (7, 0.5)
    with e.result.edit() as second:
        second.composition.children[0].children[0].cueMarks[0].cueMarkName = "there"
    names = [[mark.cueMarkName for mark in each.composition.children[0].children[0].cueMarks]
             for each in (timeline, e.result, second.result)]
    assert names == [[], ["here"], ["there"]]
    with pytest.raises(DmError, match="edit"):
        e.result.composition.children[0].children[0].cueMarks.clear()


def test_threads_read_what_one_edits(timeline):
    expected, wrong, done = pictures(timeline), [], threading.Event()

    def read():
        while not done.is_set():
            if pictures(timeline) != expected:
                wrong.append(1)

    readers = [threading.Thread(target=read) for _ in range(3)]
    for reader in readers:
        reader.start()
    current = timeline
    for _ in range(20):
        with current.edit() as e:
            e.ripple_trim((0, 0, 0), "tail", -1, sync_lock=False)
        current = e.result
    done.set()
    for reader in readers:
        reader.join()
    assert not wrong and pictures(current)[0][2] == expected[0][2] - 20


def test_what_is_no_tree_is_not_published():
    for bad, error in [(zrdmtree.DmCueMark(), TypeError), (None, TypeError), (zrdmtree.DmRoot(), DmError)]:
        with pytest.raises(error):
            zrdmtree.publish(bad)
