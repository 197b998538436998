/// Walks: which nodes of a tree a visitor sees, in which order, and where it is.
///
///     ClipCounter counter;
///     if (DmPreIt(composition).apply(counter) != DM_NO_ERROR)
///         ...   // the tree holds itself somewhere; all the rest was visited
///
/// A node is visited at each place where it stands. Null children are passed over. A node that stands below itself, or
/// deeper than dmMaxNesting, is not followed: the visitor is told, the walk goes on, and its status is DM_BAD_VALUE.
///
/// A walk needs no stack of the thread's own for a tree's depth. It holds a reference on its first node and on no
/// other: the visitor may change nodes, but neither the lists of children on the way to the node that it visits nor
/// that node's life. Any number of walks may go through a tree that nobody changes.
#pragma once

#include "dmTreeNode.h"

#include <string>
#include <unordered_set>
#include <vector>

/// Appends one step of a path: "/children[2]", or "/composition" for the position -1.
void dmAddPathStep(std::string& text, int position);

/// The way from the node at which a walk began to the node being visited.
class ZR_DM_API DmTreePath
{
public:
    /// 0 for the node at which the walk began.
    int depth() const { return static_cast<int>(_steps.size()) - 1; }
    DmTreeNode* node() const { return _steps.back().node; }
    /// The node's place among its parent's children, null ones counted; -1 for the first node of the walk, and for the
    /// composition of a container.
    int index() const { return _steps.back().index; }
    /// The node `levels` above; null above the first.
    DmTreeNode* above(int levels = 1) const
    {
        return levels <= depth() ? _steps[_steps.size() - 1 - static_cast<std::size_t>(levels)].node : nullptr;
    }
    /// As paths of properties are written, from the first node on: "children[0]/children[2]/composition/children[1]";
    /// empty for the first node.
    std::string text() const;

private:
    friend class DmPreIt;

    struct Step
    {
        DmTreeNode* node;
        int index;
        int next; ///< the child that comes next
    };

    std::vector<Step> _steps;
};

class ZR_DM_API DmTreeIterator
{
public:
    virtual ~DmTreeIterator() = default;
    /// Visits the nodes. A visitor that stops the walk is no error.
    virtual eDmErrorId apply(DmTreeVisitor& visitor) = 0;

protected:
    /// Shows the visitor the way for as long as the walk lasts.
    class OnTheWay
    {
    public:
        OnTheWay(DmTreeVisitor& visitor, const DmTreePath& path)
            : _visitor(visitor)
            , _before(visitor._path)
        {
            visitor._path = &path;
        }
        ~OnTheWay() { _visitor._path = _before; }
        OnTheWay(const OnTheWay&) = delete;
        OnTheWay& operator=(const OnTheWay&) = delete;

    private:
        DmTreeVisitor& _visitor;
        const DmTreePath* const _before;
    };
};

struct DmWalkOptions
{
    /// Visits the compositions that containers hold, as if each were its container's child.
    bool intoContainers = false;
    /// Goes below a node that several parents share at its first place only.
    bool sharedOnce = false;
    /// How many levels below the first node are visited; -1 for all.
    int maxDepth = -1;
};

/// Pre-order: a node, then its children, then, for collections, the visitor's post-order function.
class ZR_DM_API DmPreIt final : public DmTreeIterator
{
public:
    /// Begins at the node and keeps it alive, unless nobody counts it; a null one has nothing to visit.
    explicit DmPreIt(DmTreeNode* first, const DmWalkOptions& options = {});
    explicit DmPreIt(const CoSharedPtr<DmTreeNode>& first, const DmWalkOptions& options = {});

    /// Where memory runs out, in the visitor too, the walk ends with DM_BAD_VALUE.
    eDmErrorId apply(DmTreeVisitor& visitor) override;
    /// The same, but throws std::bad_alloc then: for those whose own answer cannot say so.
    eDmErrorId applyOrThrow(DmTreeVisitor& visitor);

private:
    class Walk;

    DmTreeNode* _first;
    CoSharedPtr<DmTreeNode> _kept; ///< the first node, where it is counted
    DmWalkOptions _options;
};
