#include "pyTree.h"

#include "pyDraft.h"
#include "pySet.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmEffectSettings.h"
#include "dmLayerNode.h"
#include "dmSourceNode.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <array>
#include <sstream>
#include <vector>

namespace zrpy
{
namespace
{

std::string dump(const py::object& node, int maxDepth)
{
    std::ostringstream text;
    if (const eDmErrorId status = DmTreeTool::dump(requireTree(node), text, maxDepth); status != DM_NO_ERROR)
        raiseStatus(status, "a tree that holds itself");
    return text.str();
}

py::object channel(const py::object& effect, const py::object& name)
{
    const Reached owner = requireReached(effect, "channel()'s owner");
    auto* const settings = dynamic_cast<DmEffectSettings*>(&owner.read());
    if (!settings)
        raiseType("an effect is asked for");
    const DmString text = toText(name, "a channel's name");
    if (text.empty())
        raiseValue("a channel's name is not empty");
    if (text.view().find(L'\0') != std::wstring_view::npos)
        raiseValue("a channel's name holds no zero character");
    CoSharedPtr<DmAnimationChannel> found = settings->getExistingChannelByName(text);
    if (!found && owner.isConstant())
        raiseStatus(DM_CANNOT_LOCK, "making the channel \"" + dmUtf8(text) + "\"");
    if (!found)
        found = static_cast<DmEffectSettings&>(owner.write()).getChannelByName(text);
    const DmPropertySetData& data = owner.set().classData();
    return owner.held(found.get(), *data.at(data.find(L"channelList")));
}

Reached requireLayer(const py::object& object)
{
    const Reached layer = requireReached(object, "the owner of marks");
    if (!dynamic_cast<DmLayerNode*>(&layer.set()))
        raiseType("a layer is asked for");
    return layer;
}

py::list marks(const py::object& object)
{
    const Reached layer = requireLayer(object);
    const DmPropertyDef mark{};
    py::list all;
    for (const DmPropertySetPtr& each : marksOf(layer.read()))
        all.append(layer.held(each.get(), mark));
    return all;
}

void setMarks(const py::object& object, const py::list& marks)
{
    const Reached layer = requireLayer(object);
    DmPropertySetVector made;
    for (const py::handle each : marks)
    {
        const std::optional<Reached> mark = reachedBy(each);
        if (!mark || !dynamic_cast<DmCueMark*>(&mark->set()))
            raiseType(std::string("a layer's marks are of DmCueMark, not ") + Py_TYPE(each.ptr())->tp_name);
        const bool isOfSession = mark->draft() == layer.draft() || !mark->set().isFrozen();
        made.emplace_back(isOfSession ? &mark->set() : &mark->settled());
    }
    storeMarks(layer.write(), made);
}

/// Repairs the record times of sources that do not fit their material.
class Fixer final : public DmTreeVisitor
{
public:
    Fixer()
        : DmTreeVisitor("Fixer")
    {
    }

    void visitSourceNode(DmSourceNode* node) override
    {
        const auto times = [&] { return std::array{node->getRecIn(), node->getRecLength(), node->getRelIn()}; };
        const auto before = times();
        if (const eDmErrorId status = node->checkTimeIntegrity(); status != DM_NO_ERROR && _status == DM_NO_ERROR)
            _status = status;
        if (times() != before)
            _fixed.emplace_back(node);
    }

    eDmErrorId status() const { return _status; }
    const std::vector<CoSharedPtr<DmSourceNode>>& fixed() const { return _fixed; }

private:
    eDmErrorId _status = DM_NO_ERROR;
    std::vector<CoSharedPtr<DmSourceNode>> _fixed;
};

py::list repairTimes(const py::object& node)
{
    Fixer fixer;
    eDmErrorId status = DmPreIt(&requireNode(node), {.intoContainers = true, .sharedOnce = true}).apply(fixer);
    if (status == DM_NO_ERROR)
        status = fixer.status();
    if (status != DM_NO_ERROR)
        raiseStatus(status, "repair_times()");
    py::list all;
    for (const CoSharedPtr<DmSourceNode>& each : fixer.fixed())
        all.append(wrap(each.get()));
    return all;
}

} // namespace

void addTrees(py::module_& module)
{
    module.def("_segments", &segmentList, py::arg("node"), py::arg("track"), py::arg("at"), py::arg("into_containers"));
    module.def("repair_times", &repairTimes, py::arg("node"),
               "Repairs the record times of sources that do not fit their material; those that it changed.");
    module.def("_marks", &marks, py::arg("layer"));
    module.def("_set_marks", &setMarks, py::arg("layer"), py::arg("marks"));
    module.def("_channel", &channel, py::arg("effect"), py::arg("name"));
    module.def("dump", &dump, py::arg("node"), py::arg("max_depth") = -1,
               "The tree as indented text, one line for each node, its times as labels.");
}

} // namespace zrpy
