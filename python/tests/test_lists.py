"""Cut lists of every format: paths, file objects and bytes, with findings as objects."""

import io

import pytest

import zrdmtree


@pytest.fixture
def edl(examples):
    return examples / "lists" / "reel1.edl"


def test_every_format_reads_and_writes(examples, edl, tmp_path):
    assert {"edl", "json", "otio"} <= set(zrdmtree.formats())
    root = zrdmtree.load(edl, fcm="25 fps")
    assert [clip.name for clip in root.segments(track="V1")][:2] == ["Harbour wide", "Gulls"]
    assert zrdmtree.load(io.BytesIO(edl.read_bytes()), fcm=25).segments() == root.segments()
    assert zrdmtree.loads(edl.read_text(), fcm="PAL", format="edl").segments() == root.segments()
    assert zrdmtree.dumps(root, format="edl") == edl.read_bytes()
    for name in ("copy.edl", "copy.json", "copy.otio"):
        zrdmtree.save(root, tmp_path / name)
        again = zrdmtree.load(tmp_path / name, fcm="25 fps")
        assert [clip.recIn for clip in again.segments(track="V1")] == [clip.recIn for clip in root.segments(track="V1")]
    promo = examples / "lists" / "promo.otio"
    assert zrdmtree.convert(promo, tmp_path / "promo.otio") == []
    assert (tmp_path / "promo.otio").read_bytes() == promo.read_bytes()


def test_findings_say_what_and_where(edl, tmp_path, commercial):
    wrong = edl.read_text().replace("01:00:04:00 10:00:00", "01:00:04:05 10:00:00")
    with pytest.raises(zrdmtree.DmError, match="<document>:4: Harbour wide, V1, 10:00:00:00: the source has 105") as raised:
        zrdmtree.loads(wrong, fcm="25 fps")
    assert [(each.severity, each.line, each.code) for each in raised.value.findings] == [("error", 4, "DM602")]
    findings = []
    assert zrdmtree.loads(wrong, fcm="25 fps", lenient=True, findings=findings)
    assert [each.severity for each in findings] == ["warning"] and "105 frames" in str(findings[0])
    lost = zrdmtree.convert(io.BytesIO(zrdmtree.dumps(commercial)), tmp_path / "commercial.otio")
    assert {each.severity for each in lost} == {"warning"} and all(each.code.startswith("DM7") for each in lost)


def test_what_cannot_be_converted_raises(edl, tmp_path):
    root = zrdmtree.load(edl)
    for options, error in [({"format": "mp4"}, zrdmtree.DmValueError), ({"fcm": "26 fps"}, zrdmtree.DmValueError),
                           ({"fcm": []}, TypeError), ({"format": 3}, TypeError)]:
        with pytest.raises(error):
            zrdmtree.load(edl, **options)
        with pytest.raises(error):
            zrdmtree.dumps(root, **{"format": "edl", **options})
    with pytest.raises(TypeError):
        zrdmtree.dumps(zrdmtree.DmCueMark(), format="edl")
    with pytest.raises(zrdmtree.DmValueError, match="extension"):
        zrdmtree.convert(edl, tmp_path / "reel.oito")
    with pytest.raises(zrdmtree.DmError):
        zrdmtree.save(zrdmtree.DmRoot(), tmp_path / "empty.edl")
    assert not (tmp_path / "empty.edl").exists()
