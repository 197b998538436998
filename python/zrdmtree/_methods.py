"""Methods of classes that are no properties, by the class's name."""

from __future__ import annotations

import base64
import collections.abc

from . import _zrdmtree


def segments(
    self, *, track: str | None = None, at: TimeLike | None = None, into_containers: bool = False
) -> list[DmSegmentNode]:
    """The segments below this node, in the order of its tracks and layers.

    track: only those of the track of that name, or of that kind and number ("V1").
    at: only those that play then: a record time in frames, or a label or a Time of the composition.
    into_containers: those of the compositions that containers hold, too.
    """
    return _zrdmtree._segments(self, track, at, into_containers)


def dump(self, max_depth: int = -1) -> str:
    """The tree as indented text, one line for each node, its times as labels."""
    return _zrdmtree.dump(self, max_depth)


def publish(self) -> Timeline:
    """A timeline of this tree, constant and shared by threads; the tree stays as it is."""
    return _zrdmtree.publish(self)


def _repr_svg_(self) -> str | None:
    """The picture of a notebook; None where there is no composition to draw."""
    try:
        return _zrdmtree.picture(self)
    except _zrdmtree.DmError:
        return None


def _repr_html_(self) -> str | None:
    """The same as a page shows it, whose styles stay its own."""
    svg = _repr_svg_(self)
    if svg is None:
        return None
    return f'<img style="max-width:100%" src="data:image/svg+xml;base64,{base64.b64encode(svg.encode()).decode()}">'


def channel(self, name: str) -> DmAnimationChannel:
    """The animation channel of that name, which is made if there is none."""
    return _zrdmtree._channel(self, name)


class LayerMarks(collections.abc.MutableSequence):
    """The marks of a layer: a live view, which changes the layer."""

    def __init__(self, layer: DmLayerNode) -> None:
        self._layer = layer

    def _change(self, change):
        marks = _zrdmtree._marks(self._layer)
        change(marks)
        _zrdmtree._set_marks(self._layer, marks)

    def __len__(self) -> int:
        return len(_zrdmtree._marks(self._layer))

    def __getitem__(self, index):
        return _zrdmtree._marks(self._layer)[index]

    def __setitem__(self, index, marks) -> None:
        self._change(lambda all: all.__setitem__(index, marks))

    def __delitem__(self, index) -> None:
        self._change(lambda all: all.__delitem__(index))

    def insert(self, index: int, mark: DmCueMark) -> None:
        self._change(lambda all: all.insert(index, mark))

    def index(self, mark, *range) -> int:
        return list(self).index(mark, *range)

    def remove(self, mark) -> None:
        del self[self.index(mark)]

    def __eq__(self, other) -> bool:
        return list(self) == list(other) if isinstance(other, (list, LayerMarks)) else NotImplemented

    __hash__ = None

    def __repr__(self) -> str:
        return repr(list(self))

    def __reduce__(self):
        return list, (list(self),)


def _set_marks(self, marks) -> None:
    _zrdmtree._set_marks(self, list(marks))


_zrdmtree._methods["DmLayerNode"] = {
    "cueMarks": property(LayerMarks, _set_marks, doc="The layer's marks. They go along in copies, not in documents."),
}
_zrdmtree._methods["DmTreeNode"] = {"segments": segments, "dump": dump, "publish": publish}
def _publish(root):
    """What pickles of timelines call."""
    return _zrdmtree.publish(root)


# A timeline is a value: a copy of it is itself. A view that is copied or pickled is what it shows.
_zrdmtree.Timeline.__copy__ = lambda self: self
_zrdmtree.Timeline.__deepcopy__ = lambda self, memo: self
_zrdmtree.Timeline.__reduce__ = lambda self: (_publish, (self.root,))
_zrdmtree.ListView.__reduce__ = lambda self: (list, (list(self),))
_zrdmtree.MapView.__reduce__ = lambda self: (dict, (dict(self),))



def _reduce_ex(self, protocol):
    """The oldest protocols of pickle make an object of the binding's own base, which would end the process."""
    return object.__reduce_ex__(self, max(protocol, 2))


for _bound in vars(_zrdmtree).values():
    if type(_bound) is type(_zrdmtree.Time):
        _bound.__reduce_ex__ = _reduce_ex

for _drawn in ("DmRoot", "DmReelNode", "DmCompositionNode"):
    _zrdmtree._methods[_drawn] = {"_repr_svg_": _repr_svg_, "_repr_html_": _repr_html_}
_zrdmtree.Timeline._repr_svg_ = _repr_svg_
_zrdmtree.Timeline._repr_html_ = _repr_html_
_zrdmtree._methods["DmEffectSettings"] = {"channel": channel}
