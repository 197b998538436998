/// Where nodes stand in a tree: nodes know their children and not their parents, and one may stand in several places.
///
///     const DmTreePlaces places(root);
///     for (const DmTreePlace& place : places.of(segment))
///         std::cout << place.text() << " at " << place.composition()->getRecordLabel(segment->getRecIn()) << '\n';
///
/// The tree is walked once, containers included; from then on an answer takes time in proportion to the places it
/// names. It knows the tree as it was then: after changes of the lists of children, make another one. Any number of
/// threads may ask one object.
#pragma once

#include "dmTreeNode.h"

#include <string>
#include <unordered_map>
#include <vector>

/// One place of a node: the way to it.
class ZR_DM_API DmTreePlace
{
public:
    /// Among its parent's children, null ones counted; -1 for the first node of the tree and for the composition of a
    /// container.
    int position() const { return _steps.back().position; }
    /// 0 for the first node of the tree.
    int depth() const { return static_cast<int>(_steps.size()) - 1; }
    DmTreeNode* node() const { return _steps.back().node.get(); }
    /// The node `levels` above; null above the first.
    DmTreeNode* above(int levels = 1) const;
    DmTreeNode* parent() const { return above(); }

    // The nearest one above the node; null where it stands in none

    DmLayerNode* layer() const;
    DmTrackNode* track() const;
    DmCompositionNode* composition() const;

    /// As DmTreePath::text writes it: "children[0]/children[2]/composition/children[1]".
    std::string text() const;

private:
    friend class DmTreePlaces;

    struct Step
    {
        CoSharedPtr<DmTreeNode> node;
        int position;
    };

    template <class Node>
    Node* nearest() const;

    std::vector<Step> _steps; ///< from the first node of the tree to the node itself
};

class ZR_DM_API DmTreePlaces
{
public:
    /// Keeps the tree alive; in none, nothing stands. A node that stands below itself has no place there. Without
    /// memory, nothing stands in it either, and every answer's status says DM_BAD_VALUE.
    explicit DmTreePlaces(const CoSharedPtr<DmTreeNode>& tree);

    /// All places, in the order in which a walk comes to them; empty for a node that does not stand in the tree. With
    /// shared nodes above it, one for each way. `status`, if given, is DM_BAD_VALUE where memory ran out: places are
    /// missing then.
    std::vector<DmTreePlace> of(const DmTreeNode* node, eDmErrorId* status = nullptr) const;
    std::vector<DmTreePlace> of(const CoSharedPtr<DmTreeNode>& node, eDmErrorId* status = nullptr) const
    {
        return of(node.get(), status);
    }
    /// Each parent once; `status` as above.
    std::vector<DmTreeNode*> parentsOf(const DmTreeNode* node, eDmErrorId* status = nullptr) const;
    std::vector<DmTreeNode*> parentsOf(const CoSharedPtr<DmTreeNode>& node, eDmErrorId* status = nullptr) const
    {
        return parentsOf(node.get(), status);
    }

private:
    class Collector;
    struct Edge
    {
        DmTreeNode* parent;
        int position;
    };

    template <class Element, class Fill>
    std::vector<Element> listOf(eDmErrorId* status, const Fill& fill) const;
    void addWaysUp(const DmTreeNode* node, std::vector<DmTreePlace>& found) const;

    CoSharedPtr<DmTreeNode> _tree;
    eDmErrorId _status = DM_NO_ERROR;                        ///< of the walk
    std::unordered_multimap<const DmTreeNode*, Edge> _edges; ///< from a node to its parents
    std::vector<CoSharedPtr<DmTreeNode>> _parents;           ///< all of them, kept alive
};
