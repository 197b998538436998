#include "pyRules.h"

#include "pySet.h"
#include "pyValue.h"

#include "dmUtf8.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <set>

namespace zrpy
{
namespace
{

struct HostRule
{
    DmRule rule; ///< without what it does
    py::object find;
    DmRuleRun::Mending mending;
    bool isThere = true;
};

/// What was taken away stays as well: findings point at its code.
std::deque<HostRule>& all()
{
    static auto* const rules = new std::deque<HostRule>; // the interpreter is gone before static objects are
    return *rules;
}

const char* lasting(const std::string& text)
{
    static auto* const texts = new std::set<std::string>;
    return texts->insert(text).first->c_str();
}

DmFinding::Severity severityOf(const std::string& name)
{
    DmFinding like;
    for (const DmFinding::Severity each : {DmFinding::Note, DmFinding::Warning, DmFinding::Error})
    {
        like.severity = each;
        if (name == like.severityName())
            return each;
    }
    raiseValue("a finding is an 'error', a 'warning' or a 'note', not '" + name + "'");
}

void addRule(const std::string& code, const std::string& name, const py::object& find, const std::string& severity,
             bool on, const std::string& line, const std::string& why, const std::string& example,
             const std::string& mending, bool safe)
{
    if (!PyCallable_Check(find.ptr()))
        raiseType("a rule's find is a callable");
    const DmRule rule{.code = lasting(code),
                      .name = lasting(name),
                      .severity = severityOf(severity),
                      .isOn = on,
                      .line = lasting(line),
                      .why = lasting(why),
                      .example = lasting(example),
                      .mending = lasting(mending)};
    DmFindings taken;
    DmRule asked = rule;
    asked.find = [](DmRuleRun& /*run*/) {};
    bool isFree = taken.addRule(std::move(asked));
    for (const DmRule* const other : hostRules())
        isFree = isFree && code != other->code && name != other->name;
    if (!isFree)
        raiseValue("a rule has a code and a name of its own: '" + code + "' or '" + name + "' is taken, or empty");
    all().push_back({rule, find, safe ? DmRuleRun::Mending::Safe : DmRuleRun::Mending::Unsafe});
}

void removeRule(const std::string& code)
{
    for (HostRule& each : all())
        if (each.isThere && code == each.rule.code)
        {
            each.isThere = false;
            each.find = py::none();
            return;
        }
    raiseValue("no rule '" + code + "' was added");
}

} // namespace

HostRules::HostRules(DmFindings& findings, const DmTreeNode& tree)
    : _tree(tree)
{
    for (const HostRule& each : all())
    {
        if (!each.isThere)
            continue;
        DmRule rule = each.rule;
        // Copied and dropped by the library, which does not hold the interpreter: without an object of it.
        rule.find = [this, host = &each](DmRuleRun& run)
        {
            if (!_raised)
                look(run, host->find, host->mending);
        };
        findings.addRule(std::move(rule));
    }
}

void HostRules::raise()
{
    if (_raised)
        std::rethrow_exception(std::exchange(_raised, nullptr));
}

/// The library, which calls this, knows nothing of what is raised here.
void HostRules::look(DmRuleRun& run, const py::object& find, DmRuleRun::Mending mending)
{
    const py::gil_scoped_acquire interpreter;
    try
    {
        const py::object found = py::object(find)(wrap(const_cast<DmTreeNode*>(&_tree)));
        if (!found.is_none())
            for (const py::handle item : py::iter(found))
                report(run, item, mending);
    }
    catch (...)
    {
        _raised = std::current_exception();
    }
}

void HostRules::report(DmRuleRun& run, py::handle item, DmRuleRun::Mending mending)
{
    if (!py::isinstance<py::tuple>(item) || py::len(item) < 2 || py::len(item) > 3)
        raiseType("a rule tells findings as (node, text), or as (node, text, what mends it)");
    const auto parts = py::reinterpret_borrow<py::tuple>(item);
    const DmPropertySet* const node = unwrap(parts[0]);
    const std::string text = dmUtf8(toText(parts[1], "a finding's text"));
    const auto mendWith = [&](const DmRuleRun::Added& added)
    {
        if (parts.size() < 3)
            return;
        if (!PyCallable_Check(py::object(parts[2]).ptr()))
            raiseType("what mends a finding is a callable");
        const std::shared_ptr<py::object> how(new py::object(parts[2]),
                                              [](const py::object* object)
                                              {
                                                  const py::gil_scoped_acquire interpreter;
                                                  delete object;
                                              });
        added.mend(mending,
                   [this, how]
                   {
                       const py::gil_scoped_acquire interpreter;
                       try
                       {
                           (*how)();
                           return DM_NO_ERROR;
                       }
                       catch (...)
                       {
                           _raised = std::current_exception();
                           return DM_BAD_VALUE;
                       }
                   });
    };
    if (node == &_tree && node)
        if (const auto found = std::ranges::find(run.cuts(), node, &DmCutView::composition); found == run.cuts().end())
            return mendWith(run.add(std::string(), text));
    for (const DmCutView& cut : run.cuts())
    {
        if (cut.composition == node)
            return mendWith(run.add(cut, text));
        for (const DmLaneView& lane : cut.lanes)
        {
            if (lane.track == node || lane.layer == node)
                return mendWith(run.add(cut, lane, text));
            for (const DmShotView& shot : lane.shots)
                if (shot.segment == node)
                    return mendWith(run.add(cut, lane, shot, text));
            for (std::size_t i = 0; i < lane.elements.size(); ++i)
                if (lane.elements[i].node == node && node)
                    return mendWith(run.add(cut, lane, static_cast<int>(i), text));
        }
    }
    raiseValue("a rule's finding is about a node of the tree that it looks at: a composition, a track, a layer or what "
               "stands in one");
}

std::vector<const DmRule*> hostRules()
{
    std::vector<const DmRule*> rules;
    for (const HostRule& each : all())
        if (each.isThere)
            rules.push_back(&each.rule);
    return rules;
}

const char* lastingCode(const std::string& code)
{
    const DmFindingCode* const known = dmFindingCode(code);
    return known ? known->code : lasting(code);
}

void addRules(py::module_& module)
{
    module.def(
        "add_rule", &addRule, py::arg("code"), py::arg("name"), py::arg("find"), py::kw_only(),
        py::arg("severity") = "warning", py::arg("on") = true, py::arg("line") = "", py::arg("why") = "",
        py::arg("example") = "", py::arg("mending") = "", py::arg("safe") = false,
        "A rule of your own, for check() and fix(). find(tree) tells what it finds: (node, text), or (node, text, "
        "mend), where\nmend() mends it. code: \"HOUSE1\"; name: \"no-music\". on: without being selected. line: what "
        "it finds, in the plural.\nsafe: what it mends leaves every frame that plays, and when, as it was.");
    module.def("remove_rule", &removeRule, py::arg("code"), "Takes a rule away that was added.");
}

} // namespace zrpy
