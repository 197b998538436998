/// A node with children: an ordered list that holds one reference on each.
///
/// Children are added and removed through the property layer, so listeners see it. Null nodes and positions that do not
/// exist change nothing. A copy shares the children: a snapshot costs one list.
#pragma once

#include "dmListWindow.h"
#include "dmSlots.h"
#include "dmTreeNode.h"

#include <memory>
#include <vector>

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
    /// Its children are in a list of its own, whatever form the other one keeps them in.
    DmCollectionNode(const DmCollectionNode& other);

    eDmErrorId createList() override;

    int getNbChildren() const override { return _form ? _formSize : _children.count(); }
    DmTreeNode* getChild(int index) const override { return _form ? childOfForm(index) : _children.at(index); }
    /// May hold null where a document has an empty element.
    DmListWindow<DmTreeNode> getChildren() const
    {
        return DmListWindow<DmTreeNode>(_form ? DmListWindow<DmPropertySet>(*_form)
                                              : DmListWindow<DmPropertySet>(_children));
    }

    /// Whether a node may become a child: DM_BAD_PROPERTY_TYPE when it is of a kind that this collection does not take,
    /// DM_BAD_VALUE when it is null or of another media type. addChild and insertChild stop the process where a layer,
    /// a track or a composition is given such a node; the property layer's list operations answer this status.
    virtual eDmErrorId mayHold(const DmTreeNode* node) const;

    // Each returns the number of children that there are then, not a status.

    int addChild(DmTreeNode* node) { return insertChild(node, getNbChildren()); }
    int addChild(const CoSharedPtr<DmTreeNode>& node) { return addChild(node.get()); }
    /// Before the child at `index`; the number of children appends.
    int insertChild(DmTreeNode* node, int index);
    int insertChild(const CoSharedPtr<DmTreeNode>& node, int index) { return insertChild(node.get(), index); }
    int removeChild(int index);
    /// Puts nodes in place of `count` children from `first` on, each of which must be one that this may hold: one
    /// change, announced once, that happens as a whole or not at all.
    eDmErrorId replaceChildren(int first, int count, const std::vector<CoSharedPtr<DmTreeNode>>& nodes);

    /// The children of a constant node without children: from now on they are what the form answers. Before anybody
    /// else sees the node.
    void keepChildren(std::unique_ptr<const DmListForm> form);

protected:
    /// Asked before a child is added or inserted: a class that does not take every node overrides it with the
    /// assertions that say so. Where they let the process go on, the node is added.
    virtual void checkChild(const DmTreeNode* node) const;

private:
    DmTreeNode* childOfForm(int index) const;

    DmSetList<DmTreeNode> _children;
    std::unique_ptr<const DmListForm> _form; ///< of a constant's children, where `_children` has none
    int _formSize = 0;
};
