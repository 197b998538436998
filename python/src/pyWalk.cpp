#include "pyWalk.h"

#include "pyDraft.h"
#include "pySet.h"
#include "pyTime.h"
#include "pyValue.h"

#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmNesting.h"
#include "dmSourceNode.h"
#include "dmStoredLabel.h"
#include "dmTimeline.h"
#include "dmTreeIterator.h"
#include "dmTreeUtil.h"
#include "dmUtf8.h"

#include <exception>
#include <optional>

namespace zrpy
{
namespace
{

class Collector final : public DmTreeVisitor
{
public:
    Collector(std::optional<std::string> track, const py::object& at)
        : DmTreeVisitor("SegmentCollector")
        , _track(std::move(track))
        , _at(at)
    {
        if (!at.is_none() && !PyUnicode_Check(at.ptr()) && !py::isinstance<Time>(at))
            _time = toFrames(at, DM::FCM_NOT_DEFINED);
    }

    void visitCompositionNode(DmCompositionNode* node) override
    {
        if (_at.is_none() || (!PyUnicode_Check(_at.ptr()) && !py::isinstance<Time>(_at)))
            return;
        // The walk is the library's, which knows nothing of exceptions: it is stopped, and the error raised behind it.
        try
        {
            _time = node->getRecordTime(toFrames(_at, dmFcmFromText(node->getFCM())));
        }
        catch (...)
        {
            _error = std::current_exception();
            stop();
        }
    }
    void visitSegmentNode(DmSegmentNode* node) override { add(node); }
    void visitSourceNode(DmSourceNode* node) override { add(node); }
    void visitContainerNode(DmContainerNode* node) override { add(node); }
    void visitGapNode(DmGapNode* node) override { add(node); }

    std::vector<SegmentPlace> take()
    {
        if (_error)
            std::rethrow_exception(_error);
        return std::move(_places);
    }

private:
    bool isWanted(const DmTrackNode* track) const { return !_track || (track && isCalled(*track, *_track)); }

    void add(DmSegmentNode* node)
    {
        SegmentPlace place{CoSharedPtr<DmSegmentNode>(node), nullptr, nullptr, nullptr, path()->index(), _time};
        for (int level = 1; DmTreeNode* const above = path()->above(level); ++level)
        {
            if (above->whatIs() == DM_LAYER_NODE && !place.layer)
                place.layer = static_cast<const DmLayerNode*>(above);
            else if (above->whatIs() == DM_TRACK_NODE && !place.track)
                place.track = static_cast<const DmTrackNode*>(above);
            else if (above->whatIs() == DM_COMPOSITION_NODE)
            {
                place.composition = static_cast<const DmCompositionNode*>(above);
                break;
            }
        }
        if (isWanted(place.track) && (!_time || (*_time >= node->getRecIn() && *_time < node->getRecOut())))
            _places.push_back(std::move(place));
    }

    const std::optional<std::string> _track;
    const py::object _at;
    std::optional<double> _time;
    std::exception_ptr _error;
    std::vector<SegmentPlace> _places;
};

/// The segments below a node of a session, as objects of it.
class Reach
{
public:
    Reach(Draft& draft, std::optional<std::string> track, const py::object& at, bool intoContainers)
        : _draft(draft)
        , _track(std::move(track))
        , _at(at)
        , _intoContainers(intoContainers)
    {
        if (!at.is_none() && !isLabel())
            _time = toFrames(at, DM::FCM_NOT_DEFINED);
    }

    void operator()(DmTreeNode& node, int depth = 0)
    {
        if (depth >= dmMaxNesting)
            raiseStatus(DM_BAD_VALUE, "a tree that holds itself");
        const DmTreeNode& now = _draft.current(node);
        if (now.whatIs() == DM_COMPOSITION_NODE && isLabel())
        {
            const auto& composition = static_cast<const DmCompositionNode&>(_draft.settled(node));
            _time = composition.getRecordTime(toFrames(_at, dmFcmFromText(composition.getFCM())));
        }
        else if (now.whatIs() == DM_TRACK_NODE && _track && !isCalled(static_cast<const DmTrackNode&>(now), *_track))
            return;
        for (int i = 0; i < now.getNbChildren(); ++i)
            if (DmTreeNode* const child = now.getChild(i))
                meet(node, *child, *now.classData().at(DmCollectionNode::Children), i, depth);
    }

    const py::list& found() const { return _found; }

private:
    bool isLabel() const { return PyUnicode_Check(_at.ptr()) || py::isinstance<Time>(_at); }

    void meet(DmTreeNode& parent, DmTreeNode& child, const DmPropertyDef& def, int index, int depth)
    {
        DmTreeNode& now = _draft.current(child);
        const auto* const segment = dynamic_cast<const DmSegmentNode*>(&now);
        if (segment && (!_time || (*_time >= segment->getRecIn() && *_time < segment->getRecOut())))
            _found.append(Reached(parent, &_draft).held(&child, def, index));
        if (!segment && now.getNbChildren() > 0)
        {
            _draft.reach(child, parent, index);
            (*this)(child, depth + 1);
        }
        else if (const auto* const container = dynamic_cast<const DmContainerNode*>(segment);
                 container && _intoContainers && container->getComposition())
        {
            _draft.reach(child, parent, index);
            _draft.reach(*container->getComposition(), child, -1);
            (*this)(*container->getComposition(), depth + 1);
        }
    }

    Draft& _draft;
    const std::optional<std::string> _track;
    const py::object _at;
    const bool _intoContainers;
    std::optional<double> _time;
    py::list _found;
};

/// The same asks for both walks.
std::optional<std::string> trackName(const py::object& track)
{
    if (track.is_none())
        return {};
    return dmUtf8(toText(track, "a track's name"));
}

void requireLabelled(const DmTreeNode& first, const py::object& at)
{
    if (PyUnicode_Check(at.ptr()) && first.whatIs() != DM_ROOT_NODE && first.whatIs() != DM_REEL_NODE &&
        first.whatIs() != DM_COMPOSITION_NODE)
        raiseValue("a label is one of a composition: ask the composition, or give record time in frames");
}

} // namespace

bool isCalled(const DmTrackNode& track, const std::string& name)
{
    const eDmTreeMediaType media = track.getMediaType();
    const char* const kind = media == DM_MEDIA_VIDEO ? "V" : media == DM_MEDIA_AUDIO ? "A" : "";
    return dmUtf8(track.getName()) == name || kind + std::to_string(track.getTrackNum()) == name;
}

DmTreeNode& requireNode(py::handle object)
{
    auto* const node = dynamic_cast<DmTreeNode*>(unwrap(object));
    if (!node)
        raiseType(std::string("a node of a tree is asked for, not ") +
                  (object.is_none() ? "None" : Py_TYPE(object.ptr())->tp_name));
    return *node;
}

CoSharedPtr<DmTreeNode> requireTree(py::handle object)
{
    if (py::isinstance<DmTimeline>(object))
        if (const auto& timeline = py::cast<const DmTimeline&>(object))
            return timeline.tree();
    return CoSharedPtr<DmTreeNode>(&requireNode(object));
}

CoSharedPtr<DmRoot> requireRoot(py::handle object)
{
    const CoSharedPtr<DmTreeNode> tree = requireTree(object);
    if (tree->whatIs() != DM_ROOT_NODE)
        raiseType("a DmRoot is asked for, or a timeline of one, not " + dmUtf8(tree->getPSetName()));
    return DM::staticPointerCast<DmRoot>(tree);
}

std::vector<SegmentPlace> segmentsOf(const py::object& node, const py::object& track, const py::object& at,
                                     bool intoContainers)
{
    const CoSharedPtr<DmTreeNode> tree = requireTree(node);
    DmTreeNode& first = *tree;
    requireLabelled(first, at);
    Collector collector(trackName(track), at);
    DmWalkOptions options;
    options.intoContainers = intoContainers;
    const eDmErrorId status = DmPreIt(&first, options).apply(collector);
    std::vector<SegmentPlace> places = collector.take();
    if (status != DM_NO_ERROR)
        raiseStatus(status, "a tree that holds itself");
    return places;
}

py::list segmentList(const py::object& node, const py::object& track, const py::object& at, bool intoContainers)
{
    if (const std::optional<Reached> reached = reachedBy(node); reached && reached->draft())
    {
        static_cast<void>(requireNode(node));
        auto& first = static_cast<DmTreeNode&>(reached->set());
        requireLabelled(first, at);
        Reach reach(*reached->draft(), trackName(track), at, intoContainers);
        reach(first);
        return reach.found();
    }
    const std::vector<SegmentPlace> places = segmentsOf(node, track, at, intoContainers);
    py::list all(places.size());
    Py_ssize_t i = 0;
    for (const SegmentPlace& each : places)
        PyList_SET_ITEM(all.ptr(), i++, wrap(each.segment.get()).release().ptr());
    return all;
}

} // namespace zrpy
