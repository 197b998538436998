"""Methods of classes that are no properties, by the class's name."""

from __future__ import annotations

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


def channel(self, name: str) -> DmAnimationChannel:
    """The animation channel of that name, which is made if there is none."""
    return _zrdmtree._channel(self, name)


_zrdmtree._methods["DmTreeNode"] = {"segments": segments, "dump": dump, "publish": publish}
_zrdmtree._methods["DmEffectSettings"] = {"channel": channel}
