#include "pyFindings.h"

#include "pyWalk.h"

#include "dmNoTime.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <optional>

namespace zrpy
{
namespace
{

/// Of what stands in a tree, the rules of compositions; of roots and reels, that nothing else stands in them.
class Check
{
public:
    explicit Check(bool allRules)
        : _allRules(allRules)
    {
    }

    void node(DmTreeNode& node, const std::string& path, int depth)
    {
        if (node.whatIs() == DM_COMPOSITION_NODE)
            composition(static_cast<DmCompositionNode&>(node), path);
        else if (node.whatIs() == DM_ROOT_NODE || node.whatIs() == DM_REEL_NODE)
            collection(node, path, depth);
        else if (node.whatIs() != DM_BLOB_NODE)
            add(path, "It stands outside of a composition.");
    }

    std::vector<DmFinding> findings;

private:
    /// Reels in reels; far beyond what documents can hold.
    static constexpr int deepest = 1000;

    void collection(DmTreeNode& collection, const std::string& path, int depth)
    {
        if (depth == deepest)
        {
            add(path, "It stands too deep, or below itself.");
            return;
        }
        for (int i = 0; i < collection.getNbChildren(); ++i)
        {
            const std::string childPath = (path.empty() ? "" : path + '/') + "children[" + std::to_string(i) + ']';
            if (DmTreeNode* const child = collection.getChild(i))
                node(*child, childPath, depth + 1);
            else
                add(childPath, "Nothing stands here.");
        }
    }

    void composition(DmCompositionNode& composition, const std::string& path)
    {
        const unsigned options =
            _allRules ? static_cast<unsigned>(DM_VALIDATE_ALL) : DmTreeTool::getValidationOptions(&composition);
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(&composition, options))
        {
            const DmValidationPlace& place = violation.place;
            DmFinding& made = add(path + (path.empty() || violation.path.empty() ? "" : "/") + violation.path,
                                  dmUtf8(violation.message));
            if (place.mediaType != DM_MEDIA_UNDEFINED)
                made.track = (place.mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(place.trackIndex);
            if (place.recordFrame != dmNoTime)
                made.record = composition.getRecordLabel(place.recordFrame);
        }
    }

    DmFinding& add(const std::string& path, std::string text)
    {
        DmFinding& made = findings.emplace_back();
        made.severity = DmFinding::Error;
        made.nodePath = path;
        made.text = std::move(text);
        return made;
    }

    const bool _allRules;
};

py::list check(const py::object& node, bool allRules)
{
    DmTreeNode& first = requireNode(node);
    const eDmTreeNodeClassId kind = first.whatIs();
    if (kind != DM_COMPOSITION_NODE && kind != DM_ROOT_NODE && kind != DM_REEL_NODE)
        raiseValue("the rules are those of compositions: check a composition, or what holds some");
    Check check(allRules);
    {
        // Nobody changes a constant tree: the interpreter goes on meanwhile.
        std::optional<py::gil_scoped_release> others;
        if (first.isFrozen())
            others.emplace();
        check.node(first, "", 0);
    }
    return toPython(std::move(check.findings));
}

} // namespace

py::list toPython(std::vector<DmFinding>&& findings)
{
    py::list all;
    for (DmFinding& each : findings)
        all.append(py::cast(std::move(each)));
    return all;
}

void addFindings(py::module_& module)
{
    py::class_<DmFinding>(module, "Finding", "Something that is to be said about a document or a cut list.")
        .def_property_readonly(
            "severity", [](const DmFinding& self) { return self.severityName(); },
            "\"error\", \"warning\" or \"note\".")
        .def_property_readonly("code", [](const DmFinding& self) { return self.code; })
        .def_readonly("line", &DmFinding::line, "In the file, from 1 on; 0 where that is not known.")
        .def_readonly("column", &DmFinding::column)
        .def_readonly("path", &DmFinding::nodePath, "Of the node, from the root on: \"children[0]/children[2]\".")
        .def_readonly("clip", &DmFinding::clip)
        .def_readonly("track", &DmFinding::track)
        .def_readonly("record", &DmFinding::record, "The label of its record time.")
        .def_readonly("text", &DmFinding::text)
        .def("__eq__", [](const DmFinding& self, const py::object& other)
             { return py::isinstance<DmFinding>(other) && self == py::cast<const DmFinding&>(other); })
        .def("__str__",
             [](const DmFinding& self) { return self.toString(self.nodePath.empty() ? "document" : self.nodePath); })
        .def("__repr__", [](const DmFinding& self)
             { return "<Finding: " + self.toString(self.nodePath.empty() ? "document" : self.nodePath) + ">"; })
        .attr("__hash__") = py::none();
    module.def("check", &check, py::arg("node"), py::arg("all_rules") = false,
               "What of a tree breaks the rules of a timeline's structure; an empty list for a valid one.\n\n"
               "all_rules: also those that a composition does not ask for itself.");
}

} // namespace zrpy
