"""Pictures: what a notebook shows of a cut."""

import base64
import xml.etree.ElementTree as ElementTree

import pytest

import zrdmtree


def texts(svg):
    return " ".join("".join(each.itertext()) for each in ElementTree.fromstring(svg).iter() if each.tag.endswith("text"))


def test_notebooks_draw_what_holds_a_composition(commercial):
    for drawn in (commercial, commercial.children[0], commercial.publish()):
        svg = drawn._repr_svg_()
        assert "orchard dawn" in texts(svg) and svg == zrdmtree.picture(drawn)
        html = drawn._repr_html_()
        assert base64.b64decode(html.split("base64,")[1].split('"')[0]).decode() == svg
    assert zrdmtree.DmRoot()._repr_svg_() is zrdmtree.DmRoot()._repr_html_() is None
    assert not hasattr(commercial.segments()[0], "_repr_svg_")


def test_a_still_shows_a_range_and_tracks(commercial):
    part = texts(zrdmtree.picture(commercial, width=800, range=("10:00:03:13", 150), tracks=["V1"]))
    assert "hands picking" in part and "orchard dawn" not in part and "A1" not in part
    faulty = commercial.children[0].children[0].children[0]
    faulty.children[0].recLength = 10
    assert zrdmtree.picture(commercial, findings=True) != zrdmtree.picture(commercial)


@pytest.mark.parametrize("options", [{"width": 0}, {"width": float("nan")}, {"range": (5, 1)}, {"range": "ab"},
                                     {"range": (1,)}, {"range": ("x", "y")}, {"range": 3}, {"tracks": "V1"}, {"tracks": ["V9"]},
                                     {"tracks": [3]}])
def test_what_cannot_be_drawn_raises(commercial, options):
    with pytest.raises((zrdmtree.DmValueError, TypeError)):
        zrdmtree.picture(commercial, **options)
    for bad in (None, 3, zrdmtree.DmCueMark()):
        with pytest.raises(TypeError):
            zrdmtree.picture(bad)
    with pytest.raises(zrdmtree.DmValueError):
        zrdmtree.picture(zrdmtree.DmGapNode())
