#include "pyEdit.h"

#include "pySession.h"
#include "pySet.h"
#include "pyTime.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmCueMark.h"
#include "dmEffectSettings.h"
#include "dmHistory.h"
#include "dmKeyFrame.h"
#include "dmUtf8.h"

#include <pybind11/stl.h>

#include <map>
#include <optional>
#include <utility>

namespace zrpy
{
namespace
{

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

/// Keywords of every operation: the fields of DmEditOptions, and who is told how far it is.
EditOptions optionsOf(const py::kwargs& keywords)
{
    EditOptions options;
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
        {"own_composition", &options.ownComposition},
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
        else if (name == "progress")
        {
            if (!PyCallable_Check(value.ptr()))
                raiseType("progress is a callable");
            options.progress = py::reinterpret_borrow<py::object>(value);
            known = true;
        }
        if (!known)
            raiseType("there is no option '" + name + "' of edits");
    }
    return options;
}

template <class Target>
std::vector<int> tracksOf(const Target& self, const py::object& tracks)
{
    std::vector<int> all;
    for (const py::handle each : py::iter(tracks))
        all.push_back(PyLong_Check(each.ptr()) ? py::cast<int>(each)
                                               : self.layer(py::reinterpret_borrow<py::object>(each)).track);
    return all;
}

template <class Target>
double optionalTime(const Target& self, const py::object& time)
{
    return time.is_none() ? dmNoTime : self.time(time);
}

DmEditTime optionalPosition(const py::object& position)
{
    if (position.is_none())
        return dmNoTime;
    if (PyUnicode_Check(position.ptr()))
        return dmUtf8(toText(position, "a label"));
    return toFrames(position, DM::FCM_NOT_DEFINED);
}

/// Frames; or a text: a length in labels, or "@" and the label to go to.
DmEditAmount amountOf(const py::object& amount)
{
    if (PyUnicode_Check(amount.ptr()))
        return dmUtf8(toText(amount, "an amount"));
    const double frames = PyFloat_AsDouble(amount.ptr());
    if (PyErr_Occurred())
        throw py::error_already_set();
    return frames;
}

using Object = const py::object&;
using Keywords = const py::kwargs&;

/// To a session, or to its question.
template <class Target>
void addOperations(py::class_<Target>& type)
{
    type.def(
            "insert",
            [](Target& self, Object layer, Object time, Object segment, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                const auto what = requireOf<DmSegmentNode>(segment, "a segment");
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.insert(place, at, what); });
            },
            py::arg("layer"), py::arg("time"), py::arg("segment"),
            "Splits what plays there, and pushes it and all behind it away.")
        .def(
            "overwrite",
            [](Target& self, Object layer, Object time, Object segment, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                const auto what = requireOf<DmSegmentNode>(segment, "a segment");
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.overwrite(place, at, what); });
            },
            py::arg("layer"), py::arg("time"), py::arg("segment"), "Replaces what plays there.")
        .def(
            "lift",
            [](Target& self, Object layer, Object begin, Object end, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double in = self.time(begin), out = self.time(end);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.lift(place, in, out); });
            },
            py::arg("layer"), py::arg("begin"), py::arg("end"), "Takes a range out and leaves a gap.")
        .def(
            "extract",
            [](Target& self, Object layer, Object begin, Object end, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double in = self.time(begin), out = self.time(end);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.extract(place, in, out); });
            },
            py::arg("layer"), py::arg("begin"), py::arg("end"), "Takes a range out and closes up.")
        .def(
            "split",
            [](Target& self, Object layer, Object time, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const double at = self.time(time);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.split(place, at); });
            },
            py::arg("layer"), py::arg("time"), "Both halves play the frames that they played.")
        .def(
            "move",
            [](Target& self, Object element, Object layer, Object time, Keywords options)
            {
                const DmElementPlace what = self.place(element);
                const DmLayerPlace to = self.layer(layer);
                const double at = self.time(time);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.move(what, to, at); });
            },
            py::arg("element"), py::arg("layer"), py::arg("time"), "To another time or track.")
        .def(
            "swap",
            [](Target& self, Object a, Object b, Keywords options)
            {
                const DmElementPlace one = self.place(a), other = self.place(b);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.swap(one, other); });
            },
            py::arg("a"), py::arg("b"), "Two segments change places.")
        .def(
            "replace",
            [](Target& self, Object element, Object material, Keywords options)
            {
                const DmElementPlace what = self.place(element);
                const auto with = requireOf<DmSegmentNode>(material, "a segment");
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.replace(what, with); });
            },
            py::arg("element"), py::arg("material"), "Other material under the same times.")
        .def(
            "fill",
            [](Target& self, Object layer, Object material, Object recordIn, Object recordOut, Object sourceIn,
               Object sourceOut, Keywords options)
            {
                const DmLayerPlace place = self.layer(layer);
                const auto with = requireOf<DmSegmentNode>(material, "a segment");
                const double in = optionalTime(self, recordIn), out = optionalTime(self, recordOut);
                const DmEditTime from = optionalPosition(sourceIn), to = optionalPosition(sourceOut);
                return self.apply(optionsOf(options),
                                  [=](DmEdit& edit) { return edit.fill(place, with, in, out, from, to); });
            },
            py::arg("layer"), py::arg("material"), py::arg("record_in") = py::none(),
            py::arg("record_out") = py::none(), py::arg("source_in") = py::none(), py::arg("source_out") = py::none(),
            "Three- and four-point editing; source times are frames of the material, or its labels.")
        .def(
            "transition",
            [](Target& self, Object seam, Object wanted, const std::string& alignment, Object effect, Keywords options)
            {
                const DmEditAmount length = amountOf(wanted);
                const DmElementPlace at = self.place(seam);
                const eDmSeamAlignment where = alignmentOf(alignment);
                CoSharedPtr<DmEffectSettings> settings;
                if (!effect.is_none())
                    settings = requireOf<DmEffectSettings>(effect, "an effect");
                return self.apply(optionsOf(options),
                                  [=](DmEdit& edit) { return edit.transition(at, length, where, settings); });
            },
            py::arg("seam"), py::arg("length"), py::arg("alignment") = "centred", py::arg("effect") = py::none(),
            "Puts a transition on a seam, a dissolve by default, or changes the one there.");

    // Those on one element with an amount, and those on one element alone.
    struct Moving
    {
        const char* name;
        DmStatus (DmEdit::*how)(const DmElementPlace&, const DmEditAmount&);
        const char* doc;
    };
    for (const Moving& each :
         {Moving{"roll", &DmEdit::roll, "The seam moves."},
          Moving{"slip", &DmEdit::slip, "The material moves under the segment: later frames play."},
          Moving{"slide", &DmEdit::slide, "The segment moves between its neighbours."}})
        type.def(
            each.name,
            [how = each.how](Target& self, Object element, Object amount, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const DmEditAmount by = amountOf(amount);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return (edit.*how)(place, by); });
            },
            py::arg("element"), py::arg("by"), each.doc);
    struct Trimming
    {
        const char* name;
        DmStatus (DmEdit::*how)(const DmElementPlace&, eDmEdge, const DmEditAmount&);
        const char* doc;
    };
    for (const Trimming& each : {Trimming{"trim", &DmEdit::trim, "Moves an edge: opens a gap, or grows into one."},
                                 Trimming{"ripple_trim", &DmEdit::rippleTrim, "Moves an edge and all behind it."}})
        type.def(
            each.name,
            [how = each.how](Target& self, Object element, const std::string& edge, Object amount, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const DmEditAmount by = amountOf(amount);
                const eDmEdge which = edgeOf(edge);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return (edit.*how)(place, which, by); });
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
            [how = each.how](Target& self, Object element, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return (edit.*how)(place); });
            },
            py::arg("element"), each.doc);
    type.def(
        "speed",
        [](Target& self, Object element, double speed, Keywords options)
        {
            const DmElementPlace place = self.place(element);
            return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.speed(place, speed); });
        },
        py::arg("element"), py::arg("by"), "1 is normal, negative backwards.");
    type.def(
        "freeze",
        [](Target& self, Object element, Object time, Keywords options)
        {
            const DmElementPlace place = self.place(element);
            const double at = self.time(time);
            return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.freeze(place, at); });
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
            [how = each.how](Target& self, Keywords options)
            { return self.apply(optionsOf(options), [=](DmEdit& edit) { return (edit.*how)(); }); },
            each.doc);
    type.def(
            "trim_to_range",
            [](Target& self, Object begin, Object end, Keywords options)
            {
                const double in = self.time(begin), out = self.time(end);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.trimToRange(in, out); });
            },
            py::arg("begin"), py::arg("end"), "Keeps a range.")
        .def(
            "concatenate",
            [](Target& self, const DmTimeline& other, Keywords options)
            { return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.concatenate(other); }); },
            py::arg("other"), "The other timeline behind this one.")
        .def(
            "stack",
            [](Target& self, const DmTimeline& other, Keywords options)
            { return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.stack(other); }); },
            py::arg("other"), "The other timeline's tracks on top of these.")
        .def(
            "keep_tracks",
            [](Target& self, Object tracks, Keywords options)
            {
                const std::vector<int> which = tracksOf(self, tracks);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.keepTracks(which); });
            },
            py::arg("tracks"))
        .def(
            "drop_tracks",
            [](Target& self, Object tracks, Keywords options)
            {
                const std::vector<int> which = tracksOf(self, tracks);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.dropTracks(which); });
            },
            py::arg("tracks"))
        .def(
            "mute",
            [](Target& self, Object element, bool muted, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.mute(place, muted); });
            },
            py::arg("element"), py::arg("muted") = true, "So that it is neither seen nor heard.")
        .def(
            "rename",
            [](Target& self, Object element, Object name, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const DmString text = toText(name, "a name");
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.rename(place, text); });
            },
            py::arg("element"), py::arg("name"), "The element's own name.")
        .def(
            "add_mark",
            [](Target& self, Object mark, Object element, Keywords options)
            {
                const auto what = requireOf<DmCueMark>(mark, "a cue mark");
                std::optional<DmElementPlace> place;
                if (!element.is_none())
                    place = self.place(element);
                return self.apply(optionsOf(options), [=](DmEdit& edit)
                                  { return place ? edit.addMark(*place, what) : edit.addMark(what); });
            },
            py::arg("mark"), py::arg("element") = py::none(), "To a segment; to the composition without one.")
        .def(
            "add_effect",
            [](Target& self, Object element, Object effect, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const auto what = requireOf<DmEffectSettings>(effect, "an effect");
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.addEffect(place, what); });
            },
            py::arg("element"), py::arg("effect"), "Behind those that the segment has.")
        .def(
            "remove_effect",
            [](Target& self, Object element, int index, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.removeEffect(place, index); });
            },
            py::arg("element"), py::arg("index"), "By its position among the segment's effects.")
        .def(
            "add_key_frame",
            [](Target& self, Object element, int effect, Object channel, Object key, Keywords options)
            {
                const DmElementPlace place = self.place(element);
                const DmString name = toText(channel, "a channel's name");
                if (name.view().find(L'\0') != std::wstring_view::npos)
                    raiseValue("a channel's name holds no zero character");
                const auto what = requireOf<DmKeyFrame>(key, "a key frame");
                return self.apply(optionsOf(options),
                                  [=](DmEdit& edit) { return edit.addKeyFrame(place, effect, name, what); });
            },
            py::arg("element"), py::arg("effect"), py::arg("channel"), py::arg("key_frame"),
            "To a channel of an effect, which is named by its position among the segment's; the channel is made "
            "if there is none.")
        .def("relink",
             [](Target& self, const std::map<std::string, std::pair<std::string, std::string>>& how)
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
                 return self.apply({}, [=](DmEdit& edit) { return edit.relink(relink); });
             })
        .def(
            "conform",
            [](Target& self, Object mode, const std::string& keep, Keywords options)
            {
                const DM::FrameCodeModes fcm = toMode(mode);
                if (keep != "labels" && keep != "clock")
                    raiseValue("conform keeps 'labels' or the 'clock', not '" + keep + "'");
                const DmEdit::Conform what = keep == "labels" ? DmEdit::Conform::Labels : DmEdit::Conform::Clock;
                return self.apply(optionsOf(options), [=](DmEdit& edit) { return edit.conform(fcm, what); });
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
            "find",
            [](const DmTimeline& self, Object id) -> py::object
            {
                const std::optional<DmElementPlace> found = self.find(toText(id, "a segment's id"));
                return found ? wrap(self.element(*found).get()) : py::none();
            },
            py::arg("segment_id"), "The segment of an id; None when there is none.")
        .def(
            "linked",
            [](const DmTimeline& self, Object id)
            {
                py::list all;
                for (const DmElementPlace& place : self.linkedWith(toText(id, "a segment's id")))
                    all.append(wrap(self.element(place).get()));
                return all;
            },
            py::arg("segment_id"), "The segments that are edited together with that of the id, itself among them.")
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
        .def_property_readonly("notes", &Session::notes, "What operations had to say beside that they were done.")
        .def_property_readonly("root", &Session::root,
                               "The tree, whose nodes can be set. After an operation they are reached anew.")
        .def_property_readonly("composition", &Session::composition)
        .def("segments", &Session::segments, py::kw_only(), py::arg("track") = py::none(), py::arg("at") = py::none(),
             "The segments, which can be set, as of a node.")
        .def("find", &Session::find, py::arg("segment_id"),
             "The segment of an id, which can be set; None when there is none.")
        .def("element", &Session::element, py::arg("position"),
             "The element at (track, layer, index), which can be set.")
        .def_property_readonly(
            "result", [](const Session& self) { return self.result(); },
            "The new timeline, once the session has ended; the old one after an exception.")
        .def("__enter__", [](Object self) { return self; })
        .def("__exit__",
             [](Session& self, Object type, Object /*error*/, Object /*trace*/) { self.leave(!type.is_none()); });
    session
        .def(
            "can", [](const Session& self) { return Question{self}; }, py::keep_alive<0, 1>(),
            "The session's question: `e.can().roll(seam, 5)` is true where that could be done, and changes nothing.")
        .def(
            "inside",
            [](Object self, Object container, Keywords options)
            { return py::cast<Session&>(self).inside(self, container, optionsOf(options)); },
            py::arg("container"),
            "A session about the composition that a container plays, `with e.inside(container) as inner:`. Every "
            "container of it\nplays the new one, unless own_composition=True says that only this one does.");
    addOperations(session);
    py::class_<Answer>(module, "Answer", "Whether an edit could be done: true, or false with a reason.")
        .def_readonly("reason", &Answer::reason)
        .def("__bool__", [](const Answer& self) { return self.reason.empty(); })
        .def("__repr__", [](const Answer& self)
             { return self.reason.empty() ? std::string("<Answer: yes>") : "<Answer: no: " + self.reason + ">"; });
    py::class_<Question> question(module, "Question",
                                  "A session's operations, which answer whether they could be done.");
    addOperations(question);

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
                self.add(name, step.result(), step.bytes());
            },
            py::arg("edit"), "The timeline is the session's result from now on.")
        .def_property_readonly("can_undo", &DmHistory::canUndo)
        .def_property_readonly("can_redo", &DmHistory::canRedo)
        .def("undo", &DmHistory::undo, "False when there is nothing to undo.")
        .def("redo", &DmHistory::redo, "False when there is nothing to redo.")
        .def_property_readonly("undo_name", [](const DmHistory& self) { return dmUtf8(self.undoName()); })
        .def_property_readonly("redo_name", [](const DmHistory& self) { return dmUtf8(self.redoName()); })
        .def("__len__", &DmHistory::count)
        .def(
            "set_limit", [](DmHistory& self, std::size_t steps) { self.setLimit(steps); }, py::arg("steps"))
        .def(
            "set_byte_limit", [](DmHistory& self, std::size_t bytes) { self.setByteLimit(bytes); }, py::arg("bytes"),
            "Of what the steps hold themselves; the oldest go. 0 is no limit.")
        .def_property_readonly("position", &DmHistory::position, "How many steps led to the current timeline.")
        .def_property_readonly("bytes", &DmHistory::bytes)
        .def(
            "open", [](DmHistory& self, Object name) { self.open(toText(name, "a step's name")); }, py::arg("name"),
            "A step for a drag: each update begins anew from `start`, and only the last one is kept.")
        .def_property_readonly("is_open", &DmHistory::isOpen)
        .def_property_readonly("start", &DmHistory::start, "What each update's session begins on.")
        .def(
            "update",
            [](DmHistory& self, const Session& step)
            {
                if (!self.isOpen())
                    raiseValue("no step is open: open(name) opens one");
                self.update(step.result(), step.bytes());
            },
            py::arg("edit"))
        .def("close", &DmHistory::close, "Keeps the last update as a step; one that changed nothing leaves none.")
        .def("abandon", &DmHistory::abandon, "Back to the open step's start.")
        .def("keep_branches", &DmHistory::keepBranches, py::arg("keep") = true,
             "Whether what an edit after an undo would drop is kept as a branch.")
        .def_property_readonly("branch_count", &DmHistory::branchCount)
        .def(
            "take_branch",
            [](DmHistory& self, std::size_t branch)
            {
                if (!self.takeBranch(branch))
                    throw py::index_error("there is no such branch of the history that could be taken now");
            },
            py::arg("branch"), "Makes a branch the steps to come; those that are undone then become one.")
        .def("mark_saved", &DmHistory::markSaved)
        .def_property_readonly("is_saved", &DmHistory::isSaved);

    module.def("publish", &publish, py::arg("tree"), "A timeline of a tree, which stays as it is.");
}

} // namespace zrpy
