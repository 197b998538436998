/// The segments of a tree, each with the place where it stands.
#pragma once

#include "pyError.h"

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmSegmentNode.h"
#include "dmTrackNode.h"

#include <optional>
#include <vector>

namespace zrpy
{

struct SegmentPlace
{
    CoSharedPtr<DmSegmentNode> segment;
    // Null above the node at which the walk began.
    const DmCompositionNode* composition;
    const DmTrackNode* track;
    const DmLayerNode* layer;
    int index;                ///< among the layer's children
    std::optional<double> at; ///< the record time that was asked for
};

/// Raises TypeError for what is no node.
DmTreeNode& requireNode(py::handle object);
/// The same, or the tree of a timeline.
CoSharedPtr<DmTreeNode> requireTree(py::handle object);
/// The same, of which other formats and merges are made.
CoSharedPtr<DmRoot> requireRoot(py::handle object);

/// Whether a track has that name, or that kind and number ("V1").
bool isCalled(const DmTrackNode& track, const std::string& name);

/// In the order of tracks and layers. `track`: the name of one, or its kind and number ("V1"), or None. `at`: what
/// plays then: a record time in frames, a label or a Time of the composition, or None.
std::vector<SegmentPlace> segmentsOf(const py::object& node, const py::object& track, const py::object& at,
                                     bool intoContainers);
/// The same as objects.
py::list segmentList(const py::object& node, const py::object& track, const py::object& at, bool intoContainers);

} // namespace zrpy
