/// A node without children.
#pragma once

#include "dmTreeNode.h"

class ZR_DM_API DmLeafNode : public DmTreeNode
{
public:
    static constexpr const wchar_t* className = dmClassName<DmLeafNode>;

    using DmTreeNode::DmTreeNode;
};
