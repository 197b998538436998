#include "pyCompare.h"

#include "pyRelease.h"
#include "pySet.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmDiff.h"
#include "dmMerge.h"
#include "dmPatch.h"
#include "dmTimeline.h"
#include "dmUtf8.h"

#include <pybind11/stl.h>

#include <cmath>
#include <memory>

namespace zrpy
{
namespace
{

void check(const DmStatus& status)
{
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
}

// Differences

const char* kindOf(const DmChange& change)
{
    return dmChangeKinds()[static_cast<std::size_t>(change.kind)].name;
}

DmDiff diff(const py::object& before, const py::object& after, double tolerance, const py::object& ignore,
            bool eachShift)
{
    DmDiffOptions options;
    if (!std::isfinite(tolerance) || tolerance < 0.0)
        raiseValue("tolerance is a number of frames, from 0 on");
    options.tolerance = tolerance;
    options.eachShift = eachShift;
    if (PyUnicode_Check(ignore.ptr()))
        raiseType("ignore is a list of kinds");
    for (const py::handle each : py::iter(ignore))
        options.ignored.push_back(dmUtf8(toText(each, "a kind to ignore")));
    DmStatus status;
    DmDiff made;
    if (py::isinstance<DmTimeline>(before) && py::isinstance<DmTimeline>(after))
    {
        const auto old = py::cast<DmTimeline>(before);
        const auto now = py::cast<DmTimeline>(after);
        const Released others;
        made = DmDiff::between(old, now, options, &status);
    }
    else
    {
        const auto side = [](const py::object& tree)
        { return tree.is_none() ? CoSharedPtr<DmTreeNode>() : requireTree(tree); };
        const CoSharedPtr<DmTreeNode> old = side(before);
        const CoSharedPtr<DmTreeNode> now = side(after);
        const OthersRun others{old.get(), now.get()};
        made = DmDiff::between(old.get(), now.get(), options, &status);
    }
    check(status);
    return made;
}

const DmChange& changeAt(const DmDiff& self, py::ssize_t index)
{
    const auto size = static_cast<py::ssize_t>(self.changes().size());
    if (index < 0)
        index += size;
    if (index < 0 || index >= size)
        throw py::index_error("a diff has " + std::to_string(size) + " changes");
    return self.changes()[static_cast<std::size_t>(index)];
}

void addDiffs(py::module_& module)
{
    py::class_<DmChange>(module, "Change", "One thing that changed between two versions of a cut.")
        .def_property_readonly("kind", &kindOf, "\"added\", \"tail\", \"transition-added\" ...: one of CHANGE_KINDS.")
        .def_readonly("composition", &DmChange::composition)
        .def_readonly("track", &DmChange::track, "\"V1\", \"A2.3\" for its third layer; where the change left it.")
        .def_readonly("old_track", &DmChange::oldTrack, "Of what moved to another one; else empty.")
        .def_readonly("clip", &DmChange::clip, "Its name; of a transition the shot that it leads to.")
        .def_readonly("old_record", &DmChange::oldRecord, "Label time in frames of the older cut's mode.")
        .def_readonly("new_record", &DmChange::newRecord)
        .def_readonly("old_label", &DmChange::oldLabel, "Empty for what was not there.")
        .def_readonly("new_label", &DmChange::newLabel, "Empty for what is gone.")
        .def_readonly("frames", &DmChange::frames, "By how much, or how long; later is positive.")
        .def_readonly("count", &DmChange::count,
                      "Of shots that one behind the other were shifted by as much: how many; this is the first.")
        .def_readonly("old_path", &DmChange::oldPath)
        .def_readonly("new_path", &DmChange::newPath)
        .def_readonly("property", &DmChange::property, "Which, for effects and properties.")
        .def_readonly("was", &DmChange::was)
        .def_readonly("became", &DmChange::became)
        .def_property_readonly("text", &DmChange::text, "What happened, without where.")
        .def("__repr__", [](const DmChange& self)
             { return "<Change: " + self.track + " " + self.clip + ": " + self.text() + ">"; });

    py::class_<DmDiff>(module, "Diff",
                       "What changed between two versions of a cut: a sequence of Change; false for none.")
        .def("__len__", [](const DmDiff& self) { return self.changes().size(); })
        .def("__getitem__", &changeAt, py::return_value_policy::reference_internal)
        .def(
            "count",
            [](const DmDiff& self, const std::string& kind)
            {
                for (const DmChangeKindName& each : dmChangeKinds())
                    if (kind == each.name)
                        return self.count(each.kind);
                raiseValue("there is no kind of change '" + kind + "'");
            },
            py::arg("kind"), "How many there are of one kind.")
        .def("text", &DmDiff::text, py::arg("each") = false,
             "The change list, as it is read aloud. each: shifts one by one, too.")
        .def("stat", &DmDiff::stat, "\"2 trimmed, 1 added; 12 shifted\".")
        .def("json", &DmDiff::json, "As one JSON object.")
        .def("__str__", [](const DmDiff& self) { return self.text(); })
        .def("__repr__", [](const DmDiff& self) { return "<Diff: " + (self.isSame() ? "same" : self.stat()) + ">"; });
    module.def("diff", &diff, py::arg("before"), py::arg("after"), py::kw_only(), py::arg("tolerance") = 0.0,
               py::arg("ignore") = py::tuple(), py::arg("each_shift") = false,
               "What changed between two trees or timelines, in an editor's words; None for one that was not "
               "there.\n\ntolerance: times that differ by no more frames are the same. ignore: kinds that are not "
               "told, of CHANGE_KINDS\nor a group (\"transition\"). each_shift: each shot that was shifted, not a row "
               "of them as one change.");
    py::list kinds;
    for (const DmChangeKindName& each : dmChangeKinds())
        kinds.append(each.name);
    module.attr("CHANGE_KINDS") = py::tuple(kinds);
}

// Patches

/// What a patch made of a document.
struct Patched
{
    CoSharedPtr<DmRoot> root;
    DmPatchReport report;
};

void addPatches(py::module_& module)
{
    py::class_<Patched>(module, "Patched", "What a patch made of a document, which stays as it is.")
        .def_property_readonly(
            "root", [](const Patched& self) { return wrap(self.root.get()); }, "A tree of its own.")
        .def_property_readonly("applied", [](const Patched& self) { return self.report.applied; })
        .def_property_readonly(
            "skipped", [](const Patched& self) { return self.report.skipped; }, "Changes that were there already.")
        .def_property_readonly(
            "left", [](const Patched& self) { return self.report.left; },
            "A sentence for each change that was left out.");

    py::class_<DmPatch>(module, "Patch",
                        "A difference between two documents, to be kept, sent, and put on a document; false for none.")
        .def_static(
            "loads",
            [](const py::object& json)
            {
                std::string text;
                if (PyBytes_Check(json.ptr()))
                    text = py::cast<std::string>(json);
                else
                    text = dmUtf8(toText(json, "a patch"));
                DmPatch patch;
                check(DmPatch::read(text, patch));
                return patch;
            },
            py::arg("json"), "The patch of what dumps(), or `dmtree diff --patch`, gave.")
        .def("dumps", &DmPatch::json, "As JSON.")
        .def("__bool__", [](const DmPatch& self) { return !self.isEmpty(); })
        .def(
            "apply",
            [](const DmPatch& self, const py::object& document)
            {
                const CoSharedPtr<DmRoot> root = requireRoot(document);
                Patched made;
                DmStatus status;
                {
                    const OthersRun others{root.get()};
                    status = self.apply(*root, made.root, made.report);
                }
                check(status);
                return made;
            },
            py::arg("document"),
            "The document with the changes in it, a tree of its own. Shots are found by who they are; what does not "
            "fit is left out,\nand named.");
    module.def(
        "patch",
        [](const py::object& before, const py::object& after)
        {
            const CoSharedPtr<DmRoot> old = requireRoot(before);
            const CoSharedPtr<DmRoot> now = requireRoot(after);
            DmPatch patch;
            DmStatus status;
            {
                const OthersRun others{old.get(), now.get()};
                status = DmPatch::make(*old, *now, patch);
            }
            check(status);
            return patch;
        },
        py::arg("before"), py::arg("after"), "What makes the second document of the first: patch.apply(before).root.");
}

// Merges

DmMergeFavour favourOf(const std::string& favour)
{
    if (favour == "mark")
        return DmMergeFavour::OursAndMark;
    if (favour == "ours")
        return DmMergeFavour::Ours;
    if (favour == "theirs")
        return DmMergeFavour::Theirs;
    raiseValue("a merge favours 'ours' or 'theirs', or 'mark's where both differ; not '" + favour + "'");
}

void addMerges(py::module_& module)
{
    py::class_<DmMergeConflict>(module, "Conflict", "Where two editors wanted the same thing differently.")
        .def_readonly("path", &DmMergeConflict::path, "A JSON pointer into ours.")
        .def_readonly("track", &DmMergeConflict::track, "\"V1\"; empty beside the tracks.")
        .def_readonly("clip", &DmMergeConflict::clip)
        .def_readonly("label", &DmMergeConflict::label, "Of its record time.")
        .def_readonly("record", &DmMergeConflict::record)
        .def_readonly("result", &DmMergeConflict::result, "Where that is in the result.")
        .def_readonly("what", &DmMergeConflict::what, "\"both trimmed this cut\".")
        .def_readonly("ours", &DmMergeConflict::ours)
        .def_readonly("theirs", &DmMergeConflict::theirs)
        .def("__str__", &DmMergeConflict::text)
        .def("__repr__", [](const DmMergeConflict& self) { return "<Conflict: " + self.text() + ">"; });
    py::class_<DmMerge>(module, "Merge", "What two editors did to one cut, put together.")
        .def_property_readonly(
            "root", [](const DmMerge& self) { return wrap(self.result().get()); }, "A tree of its own.")
        .def_property_readonly("conflicts", &DmMerge::conflicts)
        .def_property_readonly("notes", &DmMerge::notes, "What was done that nobody asked for, in words.")
        .def("__repr__",
             [](const DmMerge& self)
             {
                 const std::size_t count = self.conflicts().size();
                 return "<Merge: " + std::to_string(count) + (count == 1 ? " conflict>" : " conflicts>");
             });
    module.def(
        "merge",
        [](const py::object& base, const py::object& ours, const py::object& theirs, const std::string& favour)
        {
            const DmMergeFavour favoured = favourOf(favour);
            const CoSharedPtr<DmRoot> common = base.is_none() ? CoSharedPtr<DmRoot>() : requireRoot(base);
            const CoSharedPtr<DmRoot> one = requireRoot(ours);
            const CoSharedPtr<DmRoot> other = requireRoot(theirs);
            std::unique_ptr<DmMerge> made;
            {
                const OthersRun others{common.get(), one.get(), other.get()};
                made = std::make_unique<DmMerge>(DmMerge::merge(common.get(), *one, *other, favoured));
            }
            check(made->status());
            return made;
        },
        py::arg("base"), py::arg("ours"), py::arg("theirs"), py::arg("favour") = "mark",
        "Puts together what two editors did to one cut. base: what both come from; None where nobody knows. favour: "
        "where both\nwant the same thing differently, \"ours\" or \"theirs\" stands; \"mark\": ours, and a cue mark "
        "says "
        "what theirs had.");
}

} // namespace

void addComparisons(py::module_& module)
{
    addDiffs(module);
    addPatches(module);
    addMerges(module);
}

} // namespace zrpy
