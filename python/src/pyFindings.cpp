#include "pyFindings.h"

#include "pyRelease.h"
#include "pyRules.h"
#include "pySet.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmFindings.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>

namespace zrpy
{
namespace
{

// What rules go by, from keywords

std::string textOf(py::handle value, const std::string& name)
{
    return dmUtf8(toText(value, name));
}

std::vector<std::string> textsOf(py::handle value, const std::string& name)
{
    if (PyUnicode_Check(value.ptr()))
        return {textOf(value, name)};
    std::vector<std::string> all;
    for (const py::handle each : py::iter(value))
        all.push_back(textOf(each, name));
    return all;
}

double numberOf(py::handle value, const std::string& name)
{
    if (!PyNumber_Check(value.ptr()) || PyBool_Check(value.ptr()))
        raiseType(name + " is a number of frames");
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred())
        throw py::error_already_set();
    if (!std::isfinite(number) || number < 0.0)
        raiseValue(name + " is a number of frames, from 0 on");
    return number;
}

using Option = void (*)(DmFindingOptions&, py::handle, const std::string&);

template <auto member>
constexpr Option text = [](DmFindingOptions& options, py::handle value, const std::string& name)
{ options.*member = textOf(value, name); };
template <auto member>
constexpr Option texts = [](DmFindingOptions& options, py::handle value, const std::string& name)
{ options.*member = textsOf(value, name); };
template <auto member>
constexpr Option number = [](DmFindingOptions& options, py::handle value, const std::string& name)
{ options.*member = numberOf(value, name); };

constexpr std::pair<std::string_view, Option> optionNames[] = {
    {"select", texts<&DmFindingOptions::select>},
    {"ignore", texts<&DmFindingOptions::ignore>},
    {"handles", number<&DmFindingOptions::handles>},
    {"flash", number<&DmFindingOptions::flash>},
    {"jump", number<&DmFindingOptions::jump>},
    {"dupe_handles", number<&DmFindingOptions::dupeHandles>},
    {"start", text<&DmFindingOptions::startLabel>},
    {"mark_words", texts<&DmFindingOptions::markWords>},
    {"media_root", text<&DmFindingOptions::mediaRoot>},
    {"required_paths", texts<&DmFindingOptions::requiredPaths>},
    {"forbidden_paths", texts<&DmFindingOptions::forbiddenPaths>},
    {"shot_names", text<&DmFindingOptions::shotNames>},
    {"reel_length", [](DmFindingOptions& options, py::handle value, const std::string& name)
     { options.reelLength = static_cast<std::size_t>(std::min(numberOf(value, name), 1e9)); }},
};

DmFindingOptions optionsOf(bool all, const py::kwargs& keywords)
{
    DmFindingOptions options;
    options.all = all;
    for (const auto& [key, value] : keywords)
    {
        const auto name = py::cast<std::string>(key);
        const auto* const option = std::ranges::find(optionNames, name, [](const auto& each) { return each.first; });
        if (option == std::end(optionNames))
            raiseType("check() and fix() have no option '" + name + "'");
        if (!value.is_none())
            option->second(options, value, name);
    }
    return options;
}

void requireKnown(const DmFindings& rules)
{
    if (const std::vector<std::string> unknown = rules.unknownWords(); !unknown.empty())
        raiseValue("there is no rule, group or code '" + unknown.front() + "': zrdmtree.rules() has them");
}

CoSharedPtr<DmTreeNode> requireCompositions(const py::object& object)
{
    CoSharedPtr<DmTreeNode> tree = requireTree(object);
    const eDmTreeNodeClassId kind = tree->whatIs();
    if (kind != DM_COMPOSITION_NODE && kind != DM_ROOT_NODE && kind != DM_REEL_NODE)
        raiseValue("the rules are those of compositions: a composition is asked for, or what holds some");
    return tree;
}

py::list check(const py::object& node, bool allRules, const py::kwargs& options)
{
    const CoSharedPtr<DmTreeNode> tree = requireCompositions(node);
    DmFindings rules(optionsOf(allRules, options));
    HostRules host(rules, *tree);
    requireKnown(rules);
    std::vector<DmFinding> found;
    {
        const OthersRun others{tree.get()};
        found = rules.find(*tree);
    }
    host.raise();
    return toPython(std::move(found));
}

int fix(const py::object& node, bool unsafe, bool allRules, const py::kwargs& options)
{
    const CoSharedPtr<DmTreeNode> tree = requireCompositions(node);
    if (tree->isFrozen())
        raiseStatus(DM_CANNOT_LOCK, "fix()");
    DmFindings rules(optionsOf(allRules, options));
    HostRules host(rules, *tree);
    requireKnown(rules);
    const DmFindings::Mended mended = rules.mend(*tree, unsafe ? DmRuleRun::Mending::Unsafe : DmRuleRun::Mending::Safe);
    host.raise();
    if (mended.status != DM_NO_ERROR)
        raiseStatus(mended.status, "fix()");
    return mended.count;
}

py::list ruleList()
{
    std::vector<const DmRule*> rules;
    for (const DmRule& rule : DmFindings::ownRules())
        rules.push_back(&rule);
    for (const DmRule* const rule : hostRules())
        rules.push_back(rule);
    py::list all;
    for (const DmRule* const each : rules)
    {
        const DmRule& rule = *each;
        py::dict entry;
        entry["code"] = rule.code;
        entry["name"] = rule.name;
        entry["group"] = dmFindingGroup(rule.code);
        DmFinding like;
        like.severity = rule.severity;
        entry["severity"] = like.severityName();
        entry["on"] = rule.isOn;
        entry["finds"] = rule.line;
        entry["page"] = dmRulePage(rule);
        all.append(entry);
    }
    return all;
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
        .def_readonly(
            "subject", &DmFinding::subject,
            "By which it is known again in a later version of the cut, wherever it plays by then; empty where "
            "there is\nno shot.")
        .def(py::pickle(
            [](const DmFinding& self)
            {
                return py::make_tuple(static_cast<int>(self.severity), self.code, self.line, self.column, self.nodePath,
                                      self.clip, self.track, self.record, self.text, self.subject);
            },
            [](const py::tuple& state)
            {
                DmFinding made;
                made.severity = static_cast<DmFinding::Severity>(py::cast<int>(state[0]));
                made.code = lastingCode(py::cast<std::string>(state[1]));
                made.line = py::cast<std::uint32_t>(state[2]);
                made.column = py::cast<std::uint32_t>(state[3]);
                int next = 4;
                for (std::string* const text :
                     {&made.nodePath, &made.clip, &made.track, &made.record, &made.text, &made.subject})
                    *text = py::cast<std::string>(state[static_cast<std::size_t>(next++)]);
                return made;
            }))
        .def("__eq__",
             [](const DmFinding& self, const py::object& other)
             {
                 if (!py::isinstance<DmFinding>(other))
                     return false;
                 auto like = py::cast<DmFinding>(other);
                 if (std::string_view(like.code) == self.code) // wherever each has it from
                     like.code = self.code;
                 return self == like;
             })
        .def("__str__",
             [](const DmFinding& self) { return self.toString(self.nodePath.empty() ? "document" : self.nodePath); })
        .def("__repr__", [](const DmFinding& self)
             { return "<Finding: " + self.toString(self.nodePath.empty() ? "document" : self.nodePath) + ">"; })
        .attr("__hash__") = py::none();
    module.def("check", &check, py::arg("node"), py::arg("all_rules") = false,
               "What there is to say about a cut: a list of Finding, in the order of the tree; empty for one without "
               "fault.\n\nall_rules: also those that a composition does not ask for itself. select, ignore: rules by "
               "code (\"DM301\"),\nname (\"flash-frame\") or group (\"cut\"); \"all\" for all that rules() names. "
               "handles, flash, jump,\ndupe_handles, start, mark_words, media_root, required_paths, forbidden_paths, "
               "shot_names, reel_length:\nwhat the rules go by.");
    module.def("fix", &fix, py::arg("node"), py::kw_only(), py::arg("unsafe") = false, py::arg("all_rules") = false,
               "Mends what check() finds with the same options, and what comes of that: how many findings it were.\n\n"
               "unsafe: also where other frames play then, or at other times.");
    module.def("rules", &ruleList,
               "The rules of check(), those of add_rule() behind the library's: for each its code, name, group, "
               "severity, whether it is on by itself, what it "
               "finds, and its\npage in words.");
}

} // namespace zrpy
