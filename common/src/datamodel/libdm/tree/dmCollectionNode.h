/// A node with children: an ordered list that holds one reference on each.
///
/// Children are added and removed through the property layer, so listeners see it. Null nodes and positions that do not
/// exist change nothing. A copy shares the children: a snapshot costs one list.
#pragma once

#include "dmSlots.h"
#include "dmTreeNode.h"

class ZR_DM_API DmCollectionNode : public DmTreeNode
{
public:
    static constexpr const wchar_t* className = dmClassName<DmCollectionNode>;
    enum Property : int
    {
        Children = DmTreeNode::PropertyCount,
        PropertyCount
    };

    using DmTreeNode::DmTreeNode;

    eDmErrorId createList() override;

    int getNbChildren() const override { return _children.count(); }
    DmTreeNode* getChild(int index) const override { return _children.at(index); }
    /// May hold null where a document has an empty element.
    const DmSetList<DmTreeNode>& getChildren() const { return _children; }

    // Each returns the number of children that there are then, not a status.

    int addChild(DmTreeNode* node) { return insertChild(node, getNbChildren()); }
    int addChild(const CoSharedPtr<DmTreeNode>& node) { return addChild(node.get()); }
    /// Before the child at `index`; the number of children appends.
    int insertChild(DmTreeNode* node, int index);
    int insertChild(const CoSharedPtr<DmTreeNode>& node, int index) { return insertChild(node.get(), index); }
    int removeChild(int index);

protected:
    /// Asked before a child is added or inserted: a class that does not take every node overrides it with the
    /// assertions that say so. Where they let the process go on, the node is added.
    virtual void checkChild(const DmTreeNode* node) const;

private:
    DmSetList<DmTreeNode> _children;
};
