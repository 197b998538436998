// How a tree becomes a timeline: copied, or frozen in place where nobody else holds it.
#include "dmNesting.h"
#include "dmRewriteImp.h"
#include "dmSetTools.h"
#include "dmTimelineTreeImp.h"
#include "dmTreeTool.h"

#include <unordered_map>

namespace
{

template <class Node>
CoSharedPtr<Node> bareCopy(const Node& node)
{
    CoSharedPtr<Node> bare = dmEditCopy(node);
    if (bare)
        static_cast<void>(bare->clearList(DmCollectionNode::Children,
                                          DM_VECTOR_PROPERTY_SET)); // fresh: cannot fail
    return bare;
}

void fail(DmStatus* status, const char* text)
{
    if (status)
        status->fail(DM_BAD_VALUE, "%s", text);
}

/// The way to a composition, counted in the order of a walk; compositions that containers hold are not counted.
bool findComposition(const DmTreeNode* node, int& left, std::vector<int>& path)
{
    if (!node)
        return false;
    if (node->whatIs() == DM_COMPOSITION_NODE)
        return left-- == 0;
    if (node->whatIs() != DM_ROOT_NODE && node->whatIs() != DM_REEL_NODE)
        return false;
    for (int i = 0; i < node->getNbChildren(); ++i)
    {
        path.push_back(i);
        if (int(path.size()) < dmMaxNesting && findComposition(node->getChild(i), left, path))
            return true;
        path.pop_back();
    }
    return false;
}

/// A copy leaves the marks of layers behind, which are no property.
void copyLayerMarks(const DmTreeNode* from, DmTreeNode* to)
{
    if (!from || !to || from == to)
        return;
    if (const auto* const layer = dynamic_cast<const DmLayerNode*>(from))
    {
        for (int i = 0; i < layer->getCueMarks().count(); ++i)
            if (const DmCueMark* const mark = layer->getCueMarks().at(i))
                static_cast<void>(
                    static_cast<DmLayerNode*>(to)->addCueMark(DM::staticPointerCast<DmCueMark>(mark->clone())));
        return;
    }
    for (int i = 0; i < from->getNbChildren(); ++i)
        copyLayerMarks(from->getChild(i), to->getChild(i));
}

/// Who holds what of a tree that is handed over.
class HandOver
{
public:
    explicit HandOver(DmTreeNode& tree)
        : _met{{&tree, 1}}
    {
        count(tree);
    }

    /// Replaces what others hold too by copies. False when one cannot be made.
    bool separate(DmPropertySet& owner)
    {
        return dmReplaceHeld(owner, [this](const DmPropertySetPtr& held) { return own(held); });
    }

    /// Whether anything is held by others.
    bool isShared() const
    {
        for (const auto& [set, count] : _met)
            if (set->refCount() > count)
                return true;
        return false;
    }

private:
    void count(const DmPropertySet& set)
    {
        dmForEachHeld(set,
                      [this](const DmPropertySetPtr& held)
                      {
                          if (!held->isFrozen() && ++_met[held.get()] == 1)
                              count(*held);
                          return true;
                      });
    }

    /// The set itself, or a copy; null where none can be made.
    DmPropertySetPtr own(const DmPropertySetPtr& held)
    {
        if (held->isFrozen())
            return held;
        if (const auto known = _copies.find(held.get()); known != _copies.end())
            return known->second;
        // One more is the caller's pointer.
        if (held->refCount() - 1 <= _met[held.get()])
        {
            _copies[held.get()] = held;
            return separate(*held) ? held : DmPropertySetPtr();
        }
        DmPropertySetPtr copy;
        if (dmDeepCopy(*held, copy) != DM_NO_ERROR)
            return {};
        if (const auto* const node = dynamic_cast<const DmTreeNode*>(held.get()))
            copyLayerMarks(node, static_cast<DmTreeNode*>(copy.get()));
        _copies[held.get()] = copy;
        return copy;
    }

    std::unordered_map<const DmPropertySet*, int> _met; ///< how often each is held inside the tree
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _copies;
};

/// The nodes from the top down to the composition's parent.
std::vector<const DmTreeNode*> wayTo(const DmTreeNode& top, const std::vector<int>& path)
{
    std::vector<const DmTreeNode*> way;
    for (const DmTreeNode* node = &top; way.size() < path.size(); node = node->getChild(path[way.size() - 1]))
        way.push_back(node);
    return way;
}

/// What stands above keeps the composition's place, not the composition: its elements are the runs'.
CoSharedPtr<DmTreeNode> topOf(const std::vector<const DmTreeNode*>& above, const DmTimelineValue& value)
{
    CoSharedPtr<DmTreeNode> below = value.bare;
    for (std::size_t i = above.size(); i-- > 0;)
    {
        const CoSharedPtr<DmTreeNode> copy = dmEditCopy(*above[i]);
        dmReplaceUnchecked(*copy, value.path[i], below);
        copy->freeze();
        below = copy;
    }
    return below;
}

/// The value of a tree that is constant.
std::shared_ptr<DmTimelineValue> valueOf(const CoSharedPtr<DmTreeNode>& tree, int number)
{
    auto value = std::make_shared<DmTimelineValue>();
    value->number = number;
    if (!findComposition(tree.get(), number, value->path))
        return nullptr;
    const DmTreeNode* node = tree.get();
    for (const int step : value->path)
        node = node->getChild(step);
    const auto* const composition = dynamic_cast<const DmCompositionNode*>(node);
    if (!composition)
        return nullptr;

    value->bare = bareCopy(*composition);
    value->bare->freeze();
    for (int t = 0; t < composition->getNbChildren(); ++t)
    {
        DmTimelineValue::Track& track = value->tracks.emplace_back();
        const auto* const trackNode = dynamic_cast<const DmTrackNode*>(composition->getChild(t));
        if (!trackNode)
        {
            track.other = CoSharedPtr<DmTreeNode>(composition->getChild(t));
            continue;
        }
        track.bare = bareCopy(*trackNode);
        track.bare->freeze();
        for (int l = 0; l < trackNode->getNbChildren(); ++l)
        {
            DmTimelineValue::Layer& layer = track.layers.emplace_back();
            layer.number = value->nextLayer++;
            const auto* const layerNode = dynamic_cast<const DmLayerNode*>(trackNode->getChild(l));
            if (!layerNode)
            {
                layer.other = CoSharedPtr<DmTreeNode>(trackNode->getChild(l));
                continue;
            }
            std::vector<DmRuns::Node> nodes;
            nodes.reserve(std::size_t(layerNode->getNbChildren()));
            for (int i = 0; i < layerNode->getNbChildren(); ++i)
                nodes.emplace_back(layerNode->getChild(i));
            layer.bare = bareCopy(*layerNode);
            layer.bare->freeze();
            layer.runs = DmRuns(std::move(nodes));
            value->enter(layer);
        }
    }

    value->top = topOf(wayTo(*tree, value->path), *value);
    return value;
}

} // namespace

DmTimeline DmTimeline::publish(const DmTreeNode* tree, int composition, DmStatus* status)
{
    if (status)
        status->reset();
    if (!tree)
    {
        fail(status, "There is no tree to publish.");
        return {};
    }
    if (tree->isFrozen())
    {
        const std::shared_ptr<DmTimelineValue> value =
            valueOf(CoSharedPtr<DmTreeNode>(const_cast<DmTreeNode*>(tree)), composition);
        if (!value)
            fail(status, "The tree has no such composition.");
        return value ? DmTimeline(value) : DmTimeline();
    }
    CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(tree);
    if (!copy)
    {
        fail(status, "The tree holds itself, or is nested too deep.");
        return {};
    }
    copyLayerMarks(tree, copy.get());
    return takeOver(std::move(copy), composition, status);
}

DmTimeline DmTimeline::takeOver(CoSharedPtr<DmTreeNode>&& tree, int composition, DmStatus* status)
{
    if (status)
        status->reset();
    CoSharedPtr<DmTreeNode> own = std::move(tree);
    if (!own)
    {
        fail(status, "There is no tree to publish.");
        return {};
    }
    if (!own->isFrozen())
    {
        if (own->refCount() > 1)
            return publish(own.get(), composition, status);
        HandOver handOver(*own);
        if (handOver.isShared() && !handOver.separate(*own))
        {
            fail(status, "A part of the tree that others hold too could not be copied.");
            return {};
        }
        own->freeze();
    }
    const std::shared_ptr<DmTimelineValue> value = valueOf(own, composition);
    if (!value)
        fail(status, "The tree has no such composition.");
    return value ? DmTimeline(value) : DmTimeline();
}

DmTimeline DmTimeline::withNodes(std::span<const DmRenewedNode> nodes) const
{
    if (!_state)
        return {};
    std::unordered_map<const DmTreeNode*, const DmTreeNode*> others;
    for (const DmRenewedNode& each : nodes)
        if (!each.is || &each.is->classData() != &each.was->classData() ||
            !others.emplace(each.was, each.is.get()).second)
            return {};
    std::size_t met = 0;
    const auto renewed = [&](const DmTreeNode* node) -> const DmTreeNode*
    {
        const auto other = others.find(node);
        if (other == others.end())
            return nullptr;
        ++met;
        return other->second;
    };
    auto changed = std::make_shared<DmTimelineValue>(*value());
    const auto renew = [&]<class Node>(CoSharedPtr<Node>& bare, const DmTreeNode* node)
    {
        const DmTreeNode* const is = bare ? renewed(node) : nullptr;
        if (!is)
            return;
        bare = bareCopy(static_cast<const Node&>(*is));
        bare->freeze();
    };

    const CoSharedPtr<DmTreeNode> tree = this->tree();
    std::vector<const DmTreeNode*> above = wayTo(*tree, value()->path);
    const CoSharedPtr<DmCompositionNode> composition = this->composition();
    renew(changed->bare, composition.get());
    for (std::size_t t = 0; t < changed->tracks.size(); ++t)
    {
        const DmTreeNode* const track = composition->getChild(int(t));
        renew(changed->tracks[t].bare, track);
        for (std::size_t l = 0; l < changed->tracks[t].layers.size(); ++l)
            renew(changed->tracks[t].layers[l].bare, track->getChild(int(l)));
    }
    const std::size_t metBelow = met;
    for (const DmTreeNode*& node : above)
        if (const DmTreeNode* const is = renewed(node))
            node = is;
    if (met != others.size())
        return {};
    if (met > metBelow)
        changed->top = topOf(above, *changed);
    return DmTimeline(std::move(changed), *this);
}
