#include "pyEdit.h"

#include "pySet.h"
#include "pyState.h"
#include "pyTime.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmCueMark.h"
#include "dmEdit.h"
#include "dmEffectSettings.h"
#include "dmHistory.h"
#include "dmStoredLabel.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <pybind11/stl.h>

#include <map>
#include <optional>
#include <utility>

namespace zrpy
{
namespace
{

void check(const DmStatus& status)
{
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
}

/// A session on a timeline: operations, and nodes that can be set.
///
/// Nodes to set are those of a copy of the tree, which the first that is reached makes. An operation publishes that
/// copy and makes it constant: nodes that were reached before it say so when they are set, and are reached anew behind
/// it.
class Session
{
public:
    Session(DmTimeline timeline, std::string name)
        : _start(timeline)
        , _current(std::move(timeline))
        , _name(std::move(name))
    {
    }

    const std::string& name() const { return _name; }
    bool isOpen() const { return _open; }

    CoSharedPtr<DmTreeNode> tree()
    {
        requireOpen();
        if (!_tree)
            _tree = DmTreeTool::deepClone(_current.tree());
        if (_tree && _tree->isFrozen()) // copies share what is constant; every property of this one is set anew
            _tree = CoSharedPtr<DmTreeNode>(dynamic_cast<DmTreeNode*>(unwrap(restore(stateOf(*_tree)))));
        if (!_tree)
            throw std::bad_alloc();
        return _tree;
    }

    /// What the operations, and what was set, have made of it so far.
    DmTimeline current()
    {
        if (_tree)
        {
            DmStatus status;
            const DmTimeline published = DmTimeline::publish(_tree, 0, &status);
            check(status);
            _current = published;
            _tree->freeze();
            _tree.reset();
        }
        return _current;
    }

    void leave(bool failed)
    {
        if (failed)
        {
            _current = _start;
            if (_tree)
                _tree->freeze();
            _tree.reset();
        }
        else
            current();
        _open = false;
    }

    const DmTimeline& result() const
    {
        if (_open)
            raiseValue("the session is still open: its result is there when the with block has ended");
        return _current;
    }

    /// One operation on the current timeline, whole or not at all.
    template <class Operation>
    void apply(const DmEditOptions& options, Operation&& operation)
    {
        requireOpen();
        DmEdit edit(current(), options);
        check(operation(edit));
        _current = edit.timeline();
    }

    DmElementPlace place(const py::object& element);
    DmLayerPlace layer(const py::object& layer);
    double time(const py::object& time);

private:
    void requireOpen() const
    {
        if (!_open)
            raiseValue("the session has ended: timeline.edit() opens another one");
    }

    DmTimeline _start;
    DmTimeline _current;
    CoSharedPtr<DmTreeNode> _tree; ///< null until a node to set is asked for
    std::string _name;
    bool _open = true;
};

int indexOf(const DmTreeNode& parent, const DmPropertySet& child)
{
    for (int i = 0; i < parent.getNbChildren(); ++i)
        if (parent.getChild(i) == &child)
            return i;
    return -1;
}

CoSharedPtr<DmCompositionNode> firstComposition(DmTreeNode& node)
{
    if (node.whatIs() == DM_COMPOSITION_NODE)
        return CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(&node));
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (DmTreeNode* const child = node.getChild(i))
            if (CoSharedPtr<DmCompositionNode> found = firstComposition(*child))
                return found;
    return {};
}

/// A segment, or a transition, of the session's tree or timeline; or its position (track, layer, index).
DmElementPlace Session::place(const py::object& element)
{
    if (py::isinstance<py::tuple>(element) && py::len(element) == 3)
    {
        const auto position = py::cast<py::tuple>(element);
        return {py::cast<int>(position[0]), py::cast<int>(position[1]), py::cast<int>(position[2])};
    }
    const DmTreeNode& node = requireNode(element);
    for (const CoSharedPtr<DmCompositionNode>& composition :
         {_tree ? firstComposition(*_tree) : CoSharedPtr<DmCompositionNode>(), _current.composition()})
        for (int track = 0; composition && track < composition->getNbChildren(); ++track)
            for (int layer = 0; composition->getChild(track) && layer < composition->getChild(track)->getNbChildren();
                 ++layer)
                if (const DmTreeNode* const at = composition->getChild(track)->getChild(layer))
                    if (const int index = indexOf(*at, node); index >= 0)
                        return {track, layer, index};
    if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(&node))
        if (const std::optional<DmElementPlace> found = current().placeOf(*segment))
            return *found;
    raiseValue("the element is not one of the session's timeline: reach it through the session");
}

/// "V1", a track or a layer of the session, or a position (track, layer).
DmLayerPlace Session::layer(const py::object& layer)
{
    if (py::isinstance<py::tuple>(layer) && py::len(layer) == 2)
    {
        const auto position = py::cast<py::tuple>(layer);
        return {py::cast<int>(position[0]), py::cast<int>(position[1])};
    }
    const CoSharedPtr<DmCompositionNode> composition = _tree ? firstComposition(*_tree) : _current.composition();
    for (int track = 0; composition && track < composition->getNbChildren(); ++track)
    {
        const auto* const at = dynamic_cast<const DmTrackNode*>(composition->getChild(track));
        if (!at)
            continue;
        if (PyUnicode_Check(layer.ptr()))
        {
            if (isCalled(*at, dmUtf8(toText(layer, "a track's name"))))
                return {track, 0};
        }
        else if (DmPropertySet* const node = unwrap(layer))
        {
            if (node == at)
                return {track, 0};
            if (const int index = indexOf(*at, *node); index >= 0)
                return {track, index};
        }
    }
    if (!PyUnicode_Check(layer.ptr()) && !unwrap(layer))
        raiseType("a layer is a track's name (\"V1\"), a track, a layer, or (track, layer)");
    raiseValue("there is no such track in the session's timeline");
}

/// Record time: frames, or a label or a Time of the composition.
double Session::time(const py::object& time)
{
    const CoSharedPtr<DmCompositionNode> composition = _tree ? firstComposition(*_tree) : _current.composition();
    const DM::FrameCodeModes mode = dmFcmFromText(composition->getFCM());
    const double frames = toFrames(time, mode);
    return PyUnicode_Check(time.ptr()) || py::isinstance<Time>(time) ? composition->getRecordTime(frames) : frames;
}

eDmEdge edgeOf(const std::string& edge)
{
    if (edge != "head" && edge != "tail")
        raiseValue("an edge is 'head' or 'tail', not '" + edge + "'");
    return edge == "head" ? DM_HEAD : DM_TAIL;
}

eDmSeamAlignment alignmentOf(const std::string& alignment)
{
    if (alignment == "begins")
        return DM_BEGINS_AT_CUT;
    if (alignment == "centred")
        return DM_CENTRED_ON_CUT;
    if (alignment == "ends")
        return DM_ENDS_AT_CUT;
    raiseValue("a transition 'begins' at its cut, is 'centred' on it, or 'ends' there; not '" + alignment + "'");
}

template <class T>
CoSharedPtr<T> requireOf(const py::object& object, const char* what)
{
    auto* const found = dynamic_cast<T*>(unwrap(object));
    if (!found)
        raiseType(std::string(what) + " is asked for, not " + Py_TYPE(object.ptr())->tp_name);
    return CoSharedPtr<T>(found);
}

/// Keywords of every operation: the fields of DmEditOptions.
DmEditOptions optionsOf(const py::kwargs& keywords)
{
    DmEditOptions options;
    const std::pair<const char*, bool*> flags[] = {
        {"clamp", &options.clamp},
        {"linked", &options.linked},
        {"link_by_medium", &options.linkByMedium},
        {"sync_lock", &options.syncLock},
        {"cut_synced", &options.cutSynced},
        {"insert", &options.insert},
        {"keys_follow", &options.keysFollow},
        {"keep_frames", &options.keepFrames},
        {"ripple", &options.ripple},
        {"fit", &options.fit},
    };
    for (const auto& [key, value] : keywords)
    {
        const auto name = py::cast<std::string>(key);
        bool known = false;
        for (const auto& [flag, field] : flags)
            if (name == flag)
            {
                if (!PyBool_Check(value.ptr()))
                    raiseType("the option " + name + " is True or False");
                *field = value.ptr() == Py_True;
                known = true;
            }
        if (name == "shorten_transitions")
        {
            options.atTransition = py::cast<bool>(value) ? DmAtTransition::Shortened : DmAtTransition::Cut;
            known = true;
        }
        else if (name == "unlocked_tracks")
        {
            for (const py::handle each : value)
                options.unlockedTracks.push_back(py::cast<int>(each));
            known = true;
        }
        if (!known)
            raiseType("there is no option '" + name + "' of edits");
    }
    return options;
}

std::vector<int> tracksOf(Session& self, const py::object& tracks)
{
    std::vector<int> all;
    for (const py::handle each : py::iter(tracks))
        all.push_back(PyLong_Check(each.ptr()) ? py::cast<int>(each)
                                               : self.layer(py::reinterpret_borrow<py::object>(each)).track);
    return all;
}

double optionalTime(Session& self, const py::object& time)
{
    return time.is_none() ? dmNoTime : self.time(time);
}

double optionalFrames(const py::object& frames)
{
    return frames.is_none() ? dmNoTime : toFrames(frames, DM::FCM_NOT_DEFINED);
}

using Object = const py::object&;
using Keywords = const py::kwargs&;

void addOperations(py::class_<Session>& type)
{
    type.def(
            "insert",
            [](Session& self, Object layer, Object time, Object segment, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                const auto what = requireOf<DmSegmentNode>(segment, "a segment");
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.insert(place, at, what); });
            },
            py::arg("layer"), py::arg("time"), py::arg("segment"),
            "Splits what plays there, and pushes it and all behind it away.")
        .def(
            "overwrite",
            [](Session& self, Object layer, Object time, Object segment, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                const auto what = requireOf<DmSegmentNode>(segment, "a segment");
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.overwrite(place, at, what); });
            },
            py::arg("layer"), py::arg("time"), py::arg("segment"), "Replaces what plays there.")
        .def(
            "lift",
            [](Session& self, Object layer, Object begin, Object end, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double in = self.time(begin), out = self.time(end);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.lift(place, in, out); });
            },
            py::arg("layer"), py::arg("begin"), py::arg("end"), "Takes a range out and leaves a gap.")
        .def(
            "extract",
            [](Session& self, Object layer, Object begin, Object end, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double in = self.time(begin), out = self.time(end);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.extract(place, in, out); });
            },
            py::arg("layer"), py::arg("begin"), py::arg("end"), "Takes a range out and closes up.")
        .def(
            "split",
            [](Session& self, Object layer, Object time, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.split(place, at); });
            },
            py::arg("layer"), py::arg("time"), "Both halves play the frames that they played.")
        .def(
            "move",
            [](Session& self, Object element, Object layer, Object time, Keywords options)
            {
                const DmElementPlace what = self.place(element);
                const DmLayerPlace to = self.layer(layer);
                const double at = self.time(time);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.move(what, to, at); });
            },
            py::arg("element"), py::arg("layer"), py::arg("time"), "To another time or track.")
        .def(
            "swap",
            [](Session& self, Object a, Object b, Keywords options)
            {
                const DmElementPlace one = self.place(a), other = self.place(b);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.swap(one, other); });
            },
            py::arg("a"), py::arg("b"), "Two segments change places.")
        .def(
            "replace",
            [](Session& self, Object element, Object material, Keywords options)
            {
                const DmElementPlace what = self.place(element);
                const auto with = requireOf<DmSegmentNode>(material, "a segment");
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.replace(what, with); });
            },
            py::arg("element"), py::arg("material"), "Other material under the same times.")
        .def(
            "fill",
            [](Session& self, Object layer, Object material, Object recordIn, Object recordOut, Object sourceIn,
               Object sourceOut, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const auto with = requireOf<DmSegmentNode>(material, "a segment");
                const double in = optionalTime(self, recordIn), out = optionalTime(self, recordOut);
                const double from = optionalFrames(sourceIn), to = optionalFrames(sourceOut);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.fill(place, with, in, out, from, to); });
            },
            py::arg("layer"), py::arg("material"), py::arg("record_in") = py::none(),
            py::arg("record_out") = py::none(), py::arg("source_in") = py::none(), py::arg("source_out") = py::none(),
            "Three- and four-point editing; source times are frames of the material.")
        .def(
            "transition",
            [](Session& self, Object seam, double length, const std::string& alignment, Object effect, Keywords options)
            {
                const DmElementPlace at = self.place(seam);
                const eDmSeamAlignment where = alignmentOf(alignment);
                CoSharedPtr<DmEffectSettings> settings;
                if (!effect.is_none())
                    settings = requireOf<DmEffectSettings>(effect, "an effect");
                self.apply(optionsOf(options),
                           [&](DmEdit& edit) { return edit.transition(at, length, where, settings); });
            },
            py::arg("seam"), py::arg("length"), py::arg("alignment") = "centred", py::arg("effect") = py::none(),
            "Puts a transition on a seam, a dissolve by default, or changes the one there.");

    // Those on one element with an amount, and those on one element alone.
    struct Moving
    {
        const char* name;
        DmStatus (DmEdit::*how)(const DmElementPlace&, double);
        const char* doc;
    };
    for (const Moving& each :
         {Moving{"roll", &DmEdit::roll, "The seam moves."},
          Moving{"slip", &DmEdit::slip, "The material moves under the segment: later frames play."},
          Moving{"slide", &DmEdit::slide, "The segment moves between its neighbours."},
          Moving{"speed", &DmEdit::speed, "1 is normal, negative backwards."}})
        type.def(
            each.name,
            [how = each.how](Session& self, Object element, double by, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return (edit.*how)(place, by); });
            },
            py::arg("element"), py::arg("by"), each.doc);
    struct Trimming
    {
        const char* name;
        DmStatus (DmEdit::*how)(const DmElementPlace&, eDmEdge, double);
        const char* doc;
    };
    for (const Trimming& each : {Trimming{"trim", &DmEdit::trim, "Moves an edge: opens a gap, or grows into one."},
                                 Trimming{"ripple_trim", &DmEdit::rippleTrim, "Moves an edge and all behind it."}})
        type.def(
            each.name,
            [how = each.how](Session& self, Object element, const std::string& edge, double by, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const eDmEdge which = edgeOf(edge);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return (edit.*how)(place, which, by); });
            },
            py::arg("element"), py::arg("edge"), py::arg("by"), each.doc);
    struct Single
    {
        const char* name;
        DmStatus (DmEdit::*how)(const DmElementPlace&);
        const char* doc;
    };
    for (const Single& each : {Single{"lift_segment", &DmEdit::liftSegment, "Takes a segment out and leaves a gap."},
                               Single{"extract_segment", &DmEdit::extractSegment, "Takes a segment out and closes up."},
                               Single{"join", &DmEdit::join, "Two halves that go on from each other become one."},
                               Single{"cut", &DmEdit::cut, "Takes a transition off."},
                               Single{"reverse", &DmEdit::reverse, "Plays the same frames backwards."}})
        type.def(
            each.name,
            [how = each.how](Session& self, Object element, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return (edit.*how)(place); });
            },
            py::arg("element"), each.doc);
    type.def(
        "freeze",
        [](Session& self, Object element, Object time, Keywords options)
        {
            const DmElementPlace place = self.place(element);
            const double at = self.time(time);
            self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.freeze(place, at); });
        },
        py::arg("element"), py::arg("time"), "Holds the frame that plays then.");

    // Whole timelines.
    struct Whole
    {
        const char* name;
        DmStatus (DmEdit::*how)();
        const char* doc;
    };
    for (const Whole& each : {Whole{"flatten", &DmEdit::flatten, "All picture layers into one."},
                              Whole{"drop_transitions", &DmEdit::dropTransitions, "Cuts in place of transitions."},
                              Whole{"drop_effects", &DmEdit::dropEffects, "All but timewarps."},
                              Whole{"redact", &DmEdit::redact, "Takes names, comments, paths and notes out."}})
        type.def(
            each.name,
            [how = each.how](Session& self, Keywords options)
            { self.apply(optionsOf(options), [&](DmEdit& edit) { return (edit.*how)(); }); },
            each.doc);
    type.def(
            "trim_to_range",
            [](Session& self, Object begin, Object end, Keywords options)
            {
                const double in = self.time(begin), out = self.time(end);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.trimToRange(in, out); });
            },
            py::arg("begin"), py::arg("end"), "Keeps a range.")
        .def(
            "concatenate",
            [](Session& self, const DmTimeline& other, Keywords options)
            { self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.concatenate(other); }); },
            py::arg("other"), "The other timeline behind this one.")
        .def(
            "stack",
            [](Session& self, const DmTimeline& other, Keywords options)
            { self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.stack(other); }); },
            py::arg("other"), "The other timeline's tracks on top of these.")
        .def(
            "keep_tracks",
            [](Session& self, Object tracks, Keywords options)
            {
                const std::vector<int> which = tracksOf(self, tracks);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.keepTracks(which); });
            },
            py::arg("tracks"))
        .def(
            "drop_tracks",
            [](Session& self, Object tracks, Keywords options)
            {
                const std::vector<int> which = tracksOf(self, tracks);
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.dropTracks(which); });
            },
            py::arg("tracks"))
        .def("relink",
             [](Session& self, const std::map<std::string, std::pair<std::string, std::string>>& how)
             {
                 DmEdit::Relink relink;
                 for (const auto& [what, names] : how)
                 {
                     DmString& from = what == "path"   ? relink.fromPath
                                      : what == "name" ? relink.fromName
                                                       : relink.fromReel;
                     DmString& to = what == "path" ? relink.toPath : what == "name" ? relink.toName : relink.toReel;
                     if ((what != "path" && what != "name" && what != "reel") || !dmFromUtf8(names.first, from) ||
                         !dmFromUtf8(names.second, to))
                         raiseValue("relink takes path, name and reel");
                 }
                 self.apply({}, [&](DmEdit& edit) { return edit.relink(relink); });
             })
        .def(
            "conform",
            [](Session& self, Object mode, const std::string& keep, Keywords options)
            {
                const DM::FrameCodeModes fcm = toMode(mode);
                if (keep != "labels" && keep != "clock")
                    raiseValue("conform keeps 'labels' or the 'clock', not '" + keep + "'");
                const DmEdit::Conform what = keep == "labels" ? DmEdit::Conform::Labels : DmEdit::Conform::Clock;
                self.apply(optionsOf(options), [&](DmEdit& edit) { return edit.conform(fcm, what); });
            },
            py::arg("mode"), py::arg("keep") = "labels", "To another mode: seams keep their labels, or the clock.");
}

py::object publish(const py::object& tree)
{
    DmStatus status;
    DmTimeline made = DmTimeline::publish(&requireNode(tree), 0, &status);
    check(status);
    return py::cast(std::move(made));
}

} // namespace

void addEdits(py::module_& module)
{
    py::class_<DmTimeline>(module, "Timeline",
                           "A timeline as a value: constant, and shared by as many threads as there are.")
        .def_property_readonly(
            "root", [](const DmTimeline& self) { return wrap(self.tree().get()); },
            "The tree, whose nodes are constant.")
        .def_property_readonly("composition", [](const DmTimeline& self) { return wrap(self.composition().get()); })
        .def(
            "segments",
            [](const DmTimeline& self, Object track, Object at)
            { return segmentList(wrap(self.composition().get()), track, at, false); },
            py::kw_only(), py::arg("track") = py::none(), py::arg("at") = py::none())
        .def(
            "edit", [](const DmTimeline& self, const std::string& name) { return Session(self, name); },
            py::arg("name") = "", "A session: `with timeline.edit('grade') as e:`; the new timeline is e.result.")
        .def("__eq__", [](const DmTimeline& self, Object other)
             { return py::isinstance<DmTimeline>(other) && self == py::cast<const DmTimeline&>(other); })
        .def("__repr__",
             [](const DmTimeline& self) { return "<Timeline \"" + dmUtf8(self.composition()->getName()) + "\">"; })
        .attr("__hash__") = py::none();

    py::class_<Session> session(module, "Edit", "A session on a timeline: operations, and nodes that can be set.");
    session.def_property_readonly("name", &Session::name)
        .def_property_readonly(
            "root", [](Session& self) { return wrap(self.tree().get()); },
            "The tree, whose nodes can be set. After an operation they are reached anew.")
        .def_property_readonly("composition", [](Session& self) { return wrap(firstComposition(*self.tree()).get()); })
        .def(
            "segments",
            [](Session& self, Object track, Object at)
            { return segmentList(wrap(firstComposition(*self.tree()).get()), track, at, false); },
            py::kw_only(), py::arg("track") = py::none(), py::arg("at") = py::none(),
            "The segments, which can be set, as of a node.")
        .def_property_readonly(
            "result", [](const Session& self) { return self.result(); },
            "The new timeline, once the session has ended; the old one after an exception.")
        .def("__enter__", [](Object self) { return self; })
        .def("__exit__",
             [](Session& self, Object type, Object /*error*/, Object /*trace*/) { self.leave(!type.is_none()); });
    addOperations(session);

    py::class_<DmHistory>(module, "History", "What was done to a timeline, step by step, and the way back.")
        .def(py::init<DmTimeline>(), py::arg("start"))
        .def_property_readonly("current", &DmHistory::current)
        .def(
            "add",
            [](DmHistory& self, const Session& step)
            {
                DmString name;
                if (!dmFromUtf8(step.name(), name))
                    raiseValue("a step's name is text");
                self.add(name, step.result());
            },
            py::arg("edit"), "The timeline is the session's result from now on.")
        .def("undo", &DmHistory::undo, "False when there is nothing to undo.")
        .def("redo", &DmHistory::redo, "False when there is nothing to redo.")
        .def_property_readonly("undo_name", [](const DmHistory& self) { return dmUtf8(self.undoName()); })
        .def_property_readonly("redo_name", [](const DmHistory& self) { return dmUtf8(self.redoName()); })
        .def("__len__", &DmHistory::count)
        .def(
            "set_limit", [](DmHistory& self, std::size_t steps) { self.setLimit(steps); }, py::arg("steps"))
        .def("mark_saved", &DmHistory::markSaved)
        .def_property_readonly("is_saved", &DmHistory::isSaved);

    module.def("publish", &publish, py::arg("tree"), "A timeline of a tree, which stays as it is.");
}

} // namespace zrpy
