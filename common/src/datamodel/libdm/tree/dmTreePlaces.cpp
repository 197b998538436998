#include "dmTreePlaces.h"

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmMemoryImp.h"
#include "dmTrackNode.h"
#include "dmTreeIterator.h"

#include <algorithm>

// A place

DmTreeNode* DmTreePlace::above(int levels) const
{
    return levels <= depth() ? _steps[_steps.size() - 1 - static_cast<std::size_t>(levels)].node.get() : nullptr;
}

template <class Node>
Node* DmTreePlace::nearest() const
{
    for (int i = 1; i <= depth(); ++i)
        if (auto* const node = dynamic_cast<Node*>(above(i)))
            return node;
    return nullptr;
}

DmLayerNode* DmTreePlace::layer() const
{
    return nearest<DmLayerNode>();
}

DmTrackNode* DmTreePlace::track() const
{
    return nearest<DmTrackNode>();
}

DmCompositionNode* DmTreePlace::composition() const
{
    return nearest<DmCompositionNode>();
}

std::string DmTreePlace::text() const
{
    return dmTextWithMemory(
        [this]
        {
            std::string text;
            for (std::size_t i = 1; i < _steps.size(); ++i)
                dmAddPathStep(text, _steps[i].position);
            return text;
        });
}

// All places

class DmTreePlaces::Collector final : public DmTreeVisitor
{
public:
    explicit Collector(DmTreePlaces& places)
        : DmTreeVisitor("DmTreePlaces")
        , _places(places)
    {
    }
    void visitNode(DmTreeNode* node) override
    {
        if (DmTreeNode* const parent = path()->above())
        {
            _places._edges.emplace(node, Edge{parent, path()->index()});
            if (_places._parents.empty() || _places._parents.back().get() != parent)
                _places._parents.emplace_back(parent);
        }
    }

private:
    DmTreePlaces& _places;
};

DmTreePlaces::DmTreePlaces(const CoSharedPtr<DmTreeNode>& tree)
    : _tree(tree)
{
    _status = dmWithMemory(
        [this]
        {
            Collector collector(*this);
            DmPreIt walk(_tree, {.intoContainers = true, .sharedOnce = true});
            static_cast<void>(walk.applyOrThrow(collector)); // cycles are left out
            return DM_NO_ERROR;
        });
    if (_status != DM_NO_ERROR)
        _tree = {};
}

template <class Element, class Fill>
std::vector<Element> DmTreePlaces::listOf(eDmErrorId* status, const Fill& fill) const
{
    std::vector<Element> list = dmListWithMemory<Element>(status, fill);
    if (status && *status == DM_NO_ERROR)
        *status = _status;
    return list;
}

/// All ways up from a node: each with the first node of the tree at its end.
void DmTreePlaces::addWaysUp(const DmTreeNode* node, std::vector<DmTreePlace>& found) const
{
    std::vector<DmTreePlace> open(1); // still on their way
    open.front()._steps.push_back({CoSharedPtr<DmTreeNode>(const_cast<DmTreeNode*>(node)), -1});
    while (!open.empty())
    {
        const DmTreePlace way = std::move(open.back());
        open.pop_back();
        const DmTreeNode* const top = way._steps.back().node.get();
        if (top == _tree.get())
            found.push_back(way);
        const auto [first, last] = _edges.equal_range(top);
        for (auto edge = first; edge != last; ++edge)
        {
            open.push_back(way);
            open.back()._steps.back().position = edge->second.position;
            open.back()._steps.push_back({CoSharedPtr<DmTreeNode>(edge->second.parent), -1});
        }
    }
}

std::vector<DmTreePlace> DmTreePlaces::of(const DmTreeNode* node, eDmErrorId* status) const
{
    const auto isBefore = [](const DmTreePlace& a, const DmTreePlace& b)
    {
        return std::lexicographical_compare(a._steps.begin(), a._steps.end(), b._steps.begin(), b._steps.end(),
                                            [](const auto& x, const auto& y) { return x.position < y.position; });
    };
    return listOf<DmTreePlace>(status,
                               [&](std::vector<DmTreePlace>& found)
                               {
                                   if (!node || (node != _tree.get() && !_edges.contains(node)))
                                       return;
                                   addWaysUp(node, found);
                                   for (DmTreePlace& place : found)
                                       std::reverse(place._steps.begin(), place._steps.end());
                                   std::sort(found.begin(), found.end(), isBefore);
                               });
}

std::vector<DmTreeNode*> DmTreePlaces::parentsOf(const DmTreeNode* node, eDmErrorId* status) const
{
    return listOf<DmTreeNode*>(status,
                               [&](std::vector<DmTreeNode*>& parents)
                               {
                                   const auto [first, last] = _edges.equal_range(node);
                                   for (auto edge = first; edge != last; ++edge)
                                       if (std::ranges::find(parents, edge->second.parent) == parents.end())
                                           parents.push_back(edge->second.parent);
                               });
}
