#include "dmTreeIterator.h"

#include "dmCompositionNode.h"
#include "dmMemoryImp.h"
#include "dmNesting.h"

#include <algorithm>

void dmAddPathStep(std::string& text, int position)
{
    if (!text.empty())
        text += '/';
    text += position < 0 ? "composition" : "children[" + std::to_string(position) + ']';
}

std::string DmTreePath::text() const
{
    return dmTextWithMemory(
        [this]
        {
            std::string text;
            for (std::size_t i = 1; i < _steps.size(); ++i)
                dmAddPathStep(text, _steps[i].index);
            return text;
        });
}

/// One walk of one visitor.
class DmPreIt::Walk
{
public:
    Walk(DmTreeVisitor& visitor, const DmWalkOptions& options)
        : _visitor(visitor)
        , _options(options)
        , _onTheWay(visitor, _path)
    {
    }

    eDmErrorId from(DmTreeNode* first)
    {
        enter(first, -1);
        while (!steps().empty() && !_visitor.hasStopped())
        {
            DmTreePath::Step& step = steps().back();
            if (step.next < countBelow(step.node))
            {
                const int index = step.next++;
                if (DmTreeNode* const child = below(step.node, index))
                    enter(child, step.node->getNbChildren() > 0 ? index : -1);
            }
            else
            {
                step.node->postProcess(_visitor);
                steps().pop_back();
            }
        }
        return _status;
    }

private:
    std::vector<DmTreePath::Step>& steps() { return _path._steps; }

    /// What stands below a node for this walk: its children, or the composition of a container.
    int countBelow(DmTreeNode* node) const
    {
        const int children = node->getNbChildren();
        return children == 0 && compositionOf(node) ? 1 : children;
    }
    DmTreeNode* below(DmTreeNode* node, int index) const
    {
        DmCompositionNode* const composition = compositionOf(node);
        return composition ? composition : node->getChild(index);
    }
    DmCompositionNode* compositionOf(const DmTreeNode* node) const
    {
        return _options.intoContainers ? node->getNestedComposition() : nullptr;
    }

    void enter(DmTreeNode* node, int index)
    {
        const int depth = static_cast<int>(steps().size());
        const int count = countBelow(node);
        if (depth >= dmMaxNesting)
            return leaveOut(node, DmNotFollowed::TooDeep);
        const auto isNode = [node](const DmTreePath::Step& step) { return step.node == node; };
        if (count > 0 && std::any_of(steps().begin(), steps().end(), isNode))
            return leaveOut(node, DmNotFollowed::BelowItself);

        steps().push_back({node, index, 0});
        node->accept(_visitor);
        if (_visitor.hasStopped())
            return;
        const bool isKnown = _options.sharedOnce && count > 0 && node->refCount() > 1 && !_entered.insert(node).second;
        if (isKnown)
            _visitor.notFollowed(node, DmNotFollowed::Known);
        if (isKnown || depth == _options.maxDepth)
            steps().back().next = countBelow(node);
    }

    void leaveOut(DmTreeNode* node, DmNotFollowed why)
    {
        _status = DM_BAD_VALUE;
        _visitor.notFollowed(node, why);
    }

    DmTreeVisitor& _visitor;
    const DmWalkOptions& _options;
    DmTreePath _path;
    const OnTheWay _onTheWay;
    std::unordered_set<const DmTreeNode*> _entered; ///< shared nodes that the walk has been below
    eDmErrorId _status = DM_NO_ERROR;
};

DmPreIt::DmPreIt(DmTreeNode* first, const DmWalkOptions& options)
    : _first(first)
    , _kept(first && first->refCount() > 0 ? first : nullptr)
    , _options(options)
{
}

DmPreIt::DmPreIt(const CoSharedPtr<DmTreeNode>& first, const DmWalkOptions& options)
    : DmPreIt(first.get(), options)
{
}

eDmErrorId DmPreIt::apply(DmTreeVisitor& visitor)
{
    return dmWithMemory([&] { return applyOrThrow(visitor); });
}

eDmErrorId DmPreIt::applyOrThrow(DmTreeVisitor& visitor)
{
    return _first && !visitor.hasStopped() ? Walk(visitor, _options).from(_first) : DM_NO_ERROR;
}
