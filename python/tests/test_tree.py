"""Walks and tables."""

import copy
import csv
import io
import pickle

import pytest

import zrdmtree


def test_segments_by_track_and_time(commercial):
    composition = commercial.children[0]
    everything = commercial.segments()
    assert len(everything) == 13 and {type(each) for each in everything} == {zrdmtree.DmSourceNode, zrdmtree.DmGapNode}
    pictures = composition.segments(track="V1")
    assert [each.name for each in pictures[:3]] == ["orchard dawn", "hands picking", "crate drop"]
    assert pictures == composition.children[0].segments() == composition.children[0].children[0].segments()
    for at in ("10:00:04:12", 112, 112.0, zrdmtree.Time("10:00:04:12", "25 fps")):
        assert [each.name for each in commercial.segments(track="V1", at=at)] == ["hands picking"]
    assert commercial.segments(track="V9") == commercial.segments(at="23:00:00:00") == []
    for bad in ({"at": "10:00:04:99"}, {"at": "x"}, {"at": b""}, {"track": 1}, {"at": [], "track": "V1"}):
        with pytest.raises((zrdmtree.DmValueError, TypeError)):
            commercial.segments(**bad)
    with pytest.raises(zrdmtree.DmValueError, match="composition"):
        composition.children[0].segments(at="10:00:04:12")


def test_the_table_has_a_row_a_segment(commercial):
    rows = zrdmtree.table(commercial, track="V1")
    first = rows[0]
    assert list(first) == [name for name in zrdmtree.TABLE_COLUMNS if name != "object"]
    expected = {
        "composition": 'Lemon soda 30"', "track": "V1", "index": 0, "kind": "DmSourceNode", "name": "orchard dawn",
        "recIn": 0.0, "recOut": 88.0, "in": "10:00:00:00", "out": "10:00:03:13", "reel": "A001C002",
        "path": "/media/soda/A001C002.mxf", "sourceIn": "10:00:09:00", "sourceOut": "10:00:12:13", "speed": 1.0,
        "effects": "Colour", "muted": False, "segmentId": "soda-V1-1",
    }
    assert {name: first[name] for name in expected} == expected
    generated = [row for row in rows if row["path"] == "INPUT_BLACK" or row["media"] == ""]
    assert all(row["sourceIn"] is None for row in generated)
    picked = zrdmtree.table(commercial, ["name", "object"], track="V1", at="10:00:04:12")
    assert picked == [{"name": "hands picking", "object": commercial.segments(track="V1")[1]}]
    text = io.StringIO()
    csv.DictWriter(text, first).writerows(rows)
    assert text.getvalue().count("\n") == len(rows)
    for bad in ("name", ["nmae"], [None], 3):
        with pytest.raises((TypeError, zrdmtree.DmValueError)):
            zrdmtree.table(commercial, bad)
    for bad in (None, 3, zrdmtree.DmCueMark()):
        with pytest.raises(TypeError):
            zrdmtree.table(bad)


def test_tables_are_data_frames(commercial):
    pandas = pytest.importorskip("pandas")
    frame = pandas.DataFrame(zrdmtree.table(commercial))
    assert frame.groupby("track")["recLength"].sum()["V1"] > 600
    assert frame["recIn"].dtype == float and frame["muted"].dtype == bool


def test_dump_shows_the_tree(commercial):
    assert commercial.dump(0).startswith('DmRoot "Lemon soda')
    assert zrdmtree.dump(commercial).count("DmSourceNode") == 11


def test_what_plays_at_a_time(commercial):
    (here,) = zrdmtree.playing(commercial, "10:00:00:10", track="V1")
    assert (here["segment"].name, here["track"], here["frame"], here["label"]) == (
        "orchard dawn", "V1", 110.0, "10:00:09:10")
    gap = zrdmtree.playing(commercial, 0, track="A2")[0]
    assert gap["frame"] is None and gap["label"] is None
    for bad in (None, "x", []):
        with pytest.raises((TypeError, zrdmtree.DmValueError)):
            zrdmtree.playing(commercial, bad)


def test_checks_find_and_fixes_mend(examples):
    root = zrdmtree.load(examples / "documents" / "commercial-with-mistakes.json")
    faults = [each for each in zrdmtree.check(root) if each.severity == "error"]
    assert [(each.track, each.record, each.code[:3]) for each in faults] == [
        ("V1", "10:00:06:12", "DM2"), ("V1", "10:00:08:12", "DM1")]
    assert "cut is missing" in faults[1].text and faults[1].path.endswith("children[5]")
    timeline = root.publish()
    assert zrdmtree.check(timeline) == zrdmtree.check(root)
    assert zrdmtree.fix(root) == 1 and zrdmtree.fix(root) == 0
    assert [each.code for each in zrdmtree.check(root)] == [faults[0].code]
    with pytest.raises(zrdmtree.DmError, match="edit"):
        zrdmtree.fix(timeline)
    assert [each.name for each in zrdmtree.repair_times(copy.deepcopy(timeline.root))] == ["crate drop"]


def test_rules_are_chosen_and_told_what_to_go_by(commercial):
    rules = {rule["name"]: rule for rule in zrdmtree.rules()}
    assert rules["flash-frame"]["group"] == "cut" and rules["flash-frame"]["finds"] in rules["flash-frame"]["page"]
    commercial.segments(track="V1")[0].shotName = "a"
    for options, code in [({"flash": 100, "select": ["flash-frame"]}, rules["flash-frame"]["code"]),
                          ({"start": "01:00:00:00"}, "DM"), ({"forbidden_paths": ["/media/*"]}, "DM")]:
        found = zrdmtree.check(commercial, **options)
        assert len(found) > len(zrdmtree.check(commercial)) or {each.code for each in found} == {code}
    assert zrdmtree.check(commercial, flash=100, select="flash-frame", ignore=["cut"]) == []
    for options, error in [({"select": ["nothing-such"]}, zrdmtree.DmValueError), ({"flash": -1}, zrdmtree.DmValueError),
                           ({"flash": "x"}, TypeError), ({"flahs": 1}, TypeError), ({"select": 3}, TypeError),
                           ({"start": 3}, TypeError), ({"handles": float("nan")}, zrdmtree.DmValueError)]:
        with pytest.raises(error):
            zrdmtree.check(commercial, **options)


@pytest.fixture
def house_rule():
    def find(tree):
        for clip in tree.segments(track="V1"):
            if clip.name.startswith("orchard"):
                yield clip, f"{clip.name} is not cleared", lambda clip=clip: setattr(clip, "name", "cleared")

    zrdmtree.add_rule("HOUSE1", "uncleared", find, severity="error", line="shots that are not cleared", why="Ask first.",
                      safe=True)
    yield find
    zrdmtree.remove_rule("HOUSE1")


def test_rules_of_a_host_are_rules(commercial, house_rule):
    (found,) = [each for each in zrdmtree.check(commercial) if each.code == "HOUSE1"]
    assert (found.severity, found.track, found.clip, found.record, found.text) == (
        "error", "V1", "orchard dawn", "10:00:00:00", "orchard dawn is not cleared")
    assert found.path and found.subject and pickle.loads(pickle.dumps(found)) == found
    timeline = commercial.publish()
    assert found in zrdmtree.check(timeline) and zrdmtree.check(timeline, select=["uncleared"]) == [found]
    assert zrdmtree.check(commercial, ignore=["HOUSE1", "all"]) == []
    assert zrdmtree.rules()[-1]["finds"] == "shots that are not cleared" and zrdmtree.rules()[-1]["group"] == "added"
    assert zrdmtree.fix(commercial, select="HOUSE1") == 1 and commercial.segments(track="V1")[0].name == "cleared"
    assert zrdmtree.check(commercial, select="HOUSE1") == []


def test_what_a_host_says_wrong_about_a_rule_raises(commercial, house_rule):
    for code, name, more, error in [("HOUSE1", "other", {}, zrdmtree.DmValueError), ("", "other", {}, zrdmtree.DmValueError),
                                    ("H2", "uncleared", {}, zrdmtree.DmValueError), ("H2", None, {}, TypeError),
                                    ("DM101", "other", {}, zrdmtree.DmValueError),
                                    ("H2", "other", {"severity": "bad"}, zrdmtree.DmValueError)]:
        with pytest.raises(error):
            zrdmtree.add_rule(code, name, house_rule, **more)
    with pytest.raises(TypeError):
        zrdmtree.add_rule("H2", "other", None)
    with pytest.raises(zrdmtree.DmValueError):
        zrdmtree.remove_rule("H2")

    stranger = zrdmtree.DmGapNode()
    for find, error in [(lambda tree: 1 / 0, ZeroDivisionError), (lambda tree: 3, TypeError),
                        (lambda tree: [3], TypeError), (lambda tree: [(tree, 3)], TypeError),
                        (lambda tree: [(None, "x")], zrdmtree.DmValueError),
                        (lambda tree: [(stranger, "x")], zrdmtree.DmValueError),
                        (lambda tree: [(tree, "x", 3)], TypeError)]:
        zrdmtree.add_rule("H2", "other", find)
        try:
            for tree in (commercial, commercial.publish()):
                with pytest.raises(error):
                    zrdmtree.check(tree)
        finally:
            zrdmtree.remove_rule("H2")
    assert zrdmtree.check(commercial)


def test_the_schema_is_there():
    assert "DmSourceNode" in str(zrdmtree.schema())
