#include "pySession.h"

#include "pySet.h"
#include "pyTime.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmContainerNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <array>

namespace zrpy
{
namespace
{

/// Numbers of a tuple.
template <std::size_t count>
std::optional<std::array<int, count>> positionOf(const py::object& object)
{
    if (!py::isinstance<py::tuple>(object) || py::len(object) != count)
        return {};
    std::array<int, count> position{};
    for (std::size_t i = 0; i < count; ++i)
        position[i] = py::cast<int>(py::cast<py::tuple>(object)[i]);
    return position;
}

} // namespace

void check(const DmStatus& status)
{
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
}

Session::Session(DmTimeline timeline, std::string name)
    : _start(timeline)
    , _current(std::move(timeline))
    , _name(std::move(name))
{
}

// Nodes that can be set

py::object Session::root()
{
    Draft& draft = this->draft();
    return Reached(*draft.timeline().tree(), &draft).object();
}

py::object Session::composition()
{
    Draft& draft = this->draft();
    const CoSharedPtr<DmCompositionNode> composition = draft.composition();
    return composition ? Reached(*composition, &draft).object() : py::none();
}

py::list Session::segments(const py::object& track, const py::object& at)
{
    return segmentList(composition(), track, at, false);
}

py::object Session::elementAt(const DmElementPlace& place)
{
    Draft& draft = this->draft();
    py::object found = py::none();
    draft.forEachLayer(
        [&](const DmTrackNode& /*track*/, DmLayerNode& layer, const DmLayerPlace& at)
        {
            if (!(at == place.inLayer()))
                return true;
            const Reached owner(layer, &draft);
            if (DmTreeNode* const element = draft.current(layer).getChild(place.index))
                found = owner.held(element, *layer.classData().at(DmLayerNode::Children), place.index);
            return false;
        });
    return found;
}

py::object Session::find(const py::object& segmentId)
{
    const DmString id = toText(segmentId, "a segment's id");
    // Most ids are what they were when the session, or its last operation, left them.
    if (const std::optional<DmElementPlace> at = draft().timeline().find(id))
        if (const py::object element = elementAt(*at); const std::optional<Reached> reached = reachedBy(element))
            if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(&reached->read());
                segment && segment->getSegmentId() == id)
                return element;
    const std::optional<DmElementPlace> found = peek().find(id);
    return found ? elementAt(*found) : py::none();
}

py::object Session::element(const py::object& position)
{
    const std::optional<std::array<int, 3>> at = positionOf<3>(position);
    if (!at)
        raiseType("an element's position is (track, layer, index)");
    py::object found = elementAt({(*at)[0], (*at)[1], (*at)[2]});
    if (found.is_none())
        throw py::index_error("there is no element at this position");
    return found;
}

// What is made of it

DmTimeline Session::current()
{
    _current = peek();
    drop();
    return _current;
}

Session Session::inside(const py::object& self, const py::object& container, const EditOptions& options)
{
    const DmElementPlace at = place(container);
    const CoSharedPtr<DmTreeNode> element = current().element(at);
    const auto* const node = dynamic_cast<const DmContainerNode*>(element.get());
    if (!node || !node->getComposition())
        raiseValue("the element is no container of a composition");
    Session inner(DmTimeline::publish(node->getComposition()), _name);
    inner._inside = Inside{self, at, options, _current};
    return inner;
}

void Session::leave(bool failed)
{
    requireOpen();
    if (failed)
    {
        _current = _start;
        drop();
    }
    else
        current();
    _open = false;
    if (_inside && !failed)
        takeInside();
}

const DmTimeline& Session::result() const
{
    if (_open)
        raiseValue("the session is still open: its result is there when the with block has ended");
    return _current;
}

DmElementPlace Session::place(const py::object& element) const
{
    if (const std::optional<std::array<int, 3>> position = positionOf<3>(element))
        return {(*position)[0], (*position)[1], (*position)[2]};
    if (!dynamic_cast<const DmTreeNode*>(unwrap(element)))
        raiseType("an element is a node, or its (track, layer, index), not " +
                  std::string(element.is_none() ? "None" : Py_TYPE(element.ptr())->tp_name));
    const DmTreeNode& node = requireNode(element);
    const Reached reached = *reachedBy(element);
    std::optional<DmElementPlace> found;
    if (_draft && (reached.draft() == _draft.get() || !reached.draft()))
        found = _draft->placeOf(reached.set());
    if (found)
        return *found;
    const DmTimeline timeline = peek();
    if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(&node))
        found = timeline.placeOf(*segment);
    // A node of the timeline that the session was opened on, or of a version in between.
    const CoSharedPtr<DmCompositionNode> composition = timeline.composition();
    for (int track = 0; !found && composition && track < composition->getNbChildren(); ++track)
        for (int layer = 0; composition->getChild(track) && layer < composition->getChild(track)->getNbChildren();
             ++layer)
            if (const auto* const at = dynamic_cast<const DmLayerNode*>(composition->getChild(track)->getChild(layer)))
                for (int index = 0; index < at->getNbChildren() && !found; ++index)
                    if (at->getChild(index) == &node)
                        found = {track, layer, index};
    if (!found)
        raiseValue("the element is not one of the session's timeline: reach it through the session");
    return *found;
}

DmLayerPlace Session::layer(const py::object& layer) const
{
    if (const std::optional<std::array<int, 2>> position = positionOf<2>(layer))
        return {(*position)[0], (*position)[1]};
    const bool isName = PyUnicode_Check(layer.ptr());
    const std::optional<Reached> node = reachedBy(layer);
    if (!isName && !node)
        raiseType("a layer is a track's name (\"V1\"), a track, a layer, or (track, layer)");
    const std::string name = isName ? dmUtf8(toText(layer, "a track's name")) : std::string();
    const CoSharedPtr<Draft> reader = _draft ? _draft : CoSharedPtr<Draft>(new Draft(_current));
    std::optional<DmLayerPlace> found;
    reader->forEachLayer(
        [&](DmTrackNode& track, DmLayerNode& each, const DmLayerPlace& at)
        {
            if (isName ? isCalled(reader->current(track), name) : &node->set() == &track || &node->set() == &each)
                found = at;
            return !found;
        });
    if (!found)
        raiseValue("there is no such track in the session's timeline");
    return *found;
}

double Session::time(const py::object& time) const
{
    const bool isLabel = PyUnicode_Check(time.ptr()) || py::isinstance<Time>(time);
    if (!isLabel)
        return toFrames(time, DM::FCM_NOT_DEFINED);
    const CoSharedPtr<DmCompositionNode> composition = peek().composition();
    return composition->getRecordTime(toFrames(time, dmFcmFromText(composition->getFCM())));
}

void Session::requireOpen() const
{
    if (!_open)
        raiseValue("the session has ended: timeline.edit() opens another one");
}

Draft& Session::draft()
{
    requireOpen();
    if (!_draft)
        _draft.reset(new Draft(_current));
    return *_draft;
}

void Session::drop()
{
    if (_draft)
        _draft->close();
    _draft.reset();
}

void Session::takeInside()
{
    auto& outer = py::cast<Session&>(_inside->outer);
    if (!(outer.peek() == _inside->opened))
        raiseValue("the session around was changed while the one inside was open");
    if (_current == _start)
        return;
    outer.apply(_inside->options, [container = _inside->container, made = _current](DmEdit& edit)
                { return edit.inside(container, made); });
    outer._bytes += _bytes;
    outer._notes.insert(outer._notes.end(), _notes.begin(), _notes.end());
}

void Session::addNote(const DmString& note)
{
    _notes.push_back(dmUtf8(note));
}

Answer Session::answerOf(const DmStatus& status)
{
    return {status.failed() ? dmUtf8(status.info()) : std::string()};
}

} // namespace zrpy
