"""Lists and maps do what those of Python do: any sequence of operations is held against a list, and a dict."""

import operator

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import zrdmtree


def frame(number):
    return zrdmtree.DmKeyFrame(frame=number)


# Of each kind of list: the class, its property, and how a small number becomes an element.
KINDS = [
    ("DmGapNode", "segmentPreviousIds", str),
    ("DmAnimationChannel", "keyFrameList", frame),
]

small = st.integers(-6, 6)
slices = st.builds(slice, st.none() | small, st.none() | small, st.none() | st.sampled_from([-3, -2, -1, 1, 2, 3]))
numbers = st.lists(st.integers(0, 4), max_size=5)
elements = st.integers(0, 4)

operations = st.one_of(
    st.tuples(st.just("append"), elements),
    st.tuples(st.just("extend"), numbers),
    st.tuples(st.just("insert"), small, elements),
    st.tuples(st.just("pop")),
    st.tuples(st.just("pop"), small),
    st.tuples(st.just("remove"), elements),
    st.tuples(st.just("index"), elements),
    st.tuples(st.just("count"), elements),
    st.tuples(st.just("reverse")),
    st.tuples(st.just("clear")),
    st.tuples(st.just("copy")),
    st.tuples(st.just("set"), small | slices, elements),
    st.tuples(st.just("setSlice"), slices, numbers),
    st.tuples(st.just("delete"), small | slices),
    st.tuples(st.just("get"), small | slices),
    st.tuples(st.just("addInPlace"), numbers),
    st.tuples(st.just("multiplyInPlace"), st.integers(-1, 2)),
    st.tuples(st.just("addSelf")),
)


def apply(target, step, make):
    name, *args = step
    if name in ("append", "remove", "index", "count"):
        return getattr(target, name)(make(args[0]))
    if name == "extend":
        return target.extend([make(each) for each in args[0]])
    if name == "insert":
        return target.insert(args[0], make(args[1]))
    if name in ("pop", "reverse", "clear", "copy"):
        return getattr(target, name)(*args)
    if name == "set":
        target[args[0]] = make(args[1])
    elif name == "setSlice":
        target[args[0]] = [make(each) for each in args[1]]
    elif name == "delete":
        del target[args[0]]
    elif name == "get":
        return target[args[0]]
    elif name == "addInPlace":
        target += [make(each) for each in args[0]]
    elif name == "multiplyInPlace":
        target *= args[0]
    elif name == "addSelf":
        target[len(target):] = target
    return None


@pytest.mark.parametrize("cls, name, make", KINDS, ids=[kind[1] for kind in KINDS])
@settings(max_examples=300)
@given(steps=st.lists(operations, max_size=12))
def test_any_sequence_of_operations_does_what_a_list_does(cls, name, make, steps):
    owner, model = getattr(zrdmtree, cls)(), []
    view = getattr(owner, name)
    for step in steps:
        # A string can be assigned to a slice as its characters; objects and lists of them cannot be told apart there.
        if step[0] == "set" and isinstance(step[1], slice):
            step = ("setSlice", step[1], [step[2]])
        if len(model) > 60:
            break
        try:
            expected = apply(model, step, make)
        except (IndexError, ValueError) as error:
            before = list(view)
            with pytest.raises(type(error)):
                apply(view, step, make)
            assert list(view) == before
        else:
            assert apply(view, step, make) == expected
        assert view == model and len(view) == len(model) and list(view) == model
        assert list(reversed(view)) == model[::-1] and bool(view) == bool(model)


def test_long_lists_are_spliced_whole():
    gap = zrdmtree.DmGapNode(segmentPreviousIds=[str(i) for i in range(1000)])
    model = list(gap.segmentPreviousIds)
    for key, values in [(slice(100, 900), ["a"]), (slice(5, 5), ["b"] * 300), (slice(None, None, 2), None)]:
        if values is None:
            del gap.segmentPreviousIds[key], model[key]
        else:
            gap.segmentPreviousIds[key] = model[key] = values
        assert gap.segmentPreviousIds == model


def test_views_are_sequences_with_the_operators_of_lists():
    gap = zrdmtree.DmGapNode(segmentPreviousIds=["b", "a", "c"])
    view = gap.segmentPreviousIds
    assert view + ["d"] == ["b", "a", "c", "d"] and ["d"] + view == ["d", "b", "a", "c"]
    assert view * 2 == 2 * view == ["b", "a", "c"] * 2
    assert view == gap.segmentPreviousIds and view != ["b"] and view < ["c"] and view != ("b", "a", "c")
    assert repr(view) == "['b', 'a', 'c']" and "a" in view and 7 not in view
    view.sort(reverse=True)
    assert gap.segmentPreviousIds == ["c", "b", "a"]
    match view:
        case [first, *_]:
            assert first == "c"
    with pytest.raises(TypeError, match="unhashable"):
        hash(view)
    for bad in (None, 1.5, "x", (1, 2)):
        with pytest.raises(TypeError):
            view[bad]
    with pytest.raises(IndexError):
        view[10**30]
    with pytest.raises(TypeError):
        type(view)()


def test_a_list_that_changes_under_an_iteration_behaves_as_a_list():
    gap, model = zrdmtree.DmGapNode(segmentPreviousIds=list("abcdef")), list("abcdef")
    for target in (gap.segmentPreviousIds, model):
        for each in target:
            if each in "bd":
                target.remove(each)
    assert gap.segmentPreviousIds == model


@settings(max_examples=200)
@given(
    st.lists(
        st.one_of(
            st.tuples(st.just(operator.setitem), st.text(max_size=2), elements),
            st.tuples(st.just(operator.delitem), st.text(max_size=2)),
            st.tuples(st.just(operator.getitem), st.text(max_size=2)),
            st.tuples(st.just(dict.pop), st.text(max_size=2), st.none()),
            st.tuples(st.just(dict.clear)),
        ),
        max_size=12,
    )
)
def test_maps_do_what_a_dict_does(steps):
    effect, model = zrdmtree.DmLookSettings(), {}
    view = effect.attributList
    view.clear()
    for operation, *args in steps:
        key = args[0] if args else ""
        if operation is operator.setitem:
            value = zrdmtree.DmSimpleChannel(value=str(args[1]))
            if not key or "\0" in key:
                with pytest.raises(zrdmtree.DmValueError):
                    view[key] = value
            else:
                view[key] = model[key] = value
        elif operation is dict.pop:
            assert view.pop(*args) == model.pop(*args)
        elif operation is dict.clear:
            view.clear()
            model.clear()
        elif key in model:
            assert operation(view, key) == operation(model, key)
        else:
            with pytest.raises(KeyError):
                operation(view, key)
        assert view == model and len(view) == len(model)
        assert list(view) == sorted(model) and all(key in view for key in model)


def test_maps_have_the_methods_of_dicts():
    effect = zrdmtree.DmLookSettings(attributList={name: zrdmtree.DmSimpleChannel(value=name) for name in "bac"})
    view = effect.attributList
    assert list(reversed(view)) == ["c", "b", "a"] and type(view.copy()) is dict and view.copy() == view
    assert view.popitem()[0] == "c" and len(view) == 2
    for absent in ("\ud800", "a\0", "", None, (), 3):
        assert absent not in view and view.get(absent) is None
        for lookup in (view.__getitem__, view.__delitem__, view.pop):
            with pytest.raises(KeyError) as raised:
                lookup(absent)
            assert raised.value.args == (absent,)
    view.clear()
    with pytest.raises(KeyError, match="empty"):
        view.popitem()


def test_asking_a_list_changes_nothing():
    gap = zrdmtree.DmGapNode(segmentPreviousIds=["a", "b", "a"])
    heard = []
    ids = gap.segmentPreviousIds
    with gap.listen(lambda *change: heard.append(change)):
        assert (ids.count("a"), ids.index("b"), ids.copy()) == (2, 1, ["a", "b", "a"]) and not heard
    root = zrdmtree.DmRoot(children=[zrdmtree.DmCompositionNode(name="cut")])
    children = root.publish().root.children
    assert (children.index(children[0]), children.count(children[0])) == (0, 1) and children.copy() == list(children)


def test_channels_are_made_by_asking_and_never_by_reading():
    effect = zrdmtree.DmLookSettings()
    with pytest.raises(KeyError, match="gain"):
        effect.channelList["gain"]
    assert "gain" not in effect.channelList and effect.channelList.get("gain") is None
    effect.channel("gain").keyFrameList.append(zrdmtree.DmKeyFrame(frame=12, value=0.5))
    assert effect.channelList["gain"].keyFrameList[0].value == 0.5
    for name, error in [("", zrdmtree.DmValueError), ("a\0", zrdmtree.DmValueError), (None, TypeError)]:
        with pytest.raises(error):
            effect.channel(name)
    with pytest.raises(TypeError):
        effect.channelList["gain"] = zrdmtree.DmKeyFrame()
    with pytest.raises(TypeError):
        effect.channelList["gain"] = None
    with pytest.raises(TypeError):
        effect.channelList = 3
    effect.channelList = {"other": zrdmtree.DmAnimationChannel(name="other")}
    assert list(effect.channelList) == ["other"]
