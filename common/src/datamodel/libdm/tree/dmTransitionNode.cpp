#include "dmTransitionNode.h"

#include "dmDeclare.h"

eDmErrorId DmTransitionNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional(L"recIn", _recIn)
        .optional(L"recLength", _recLength)
        .optional(L"relIn", _relIn)
        .mandatory(L"mediaType", _mediaType)
        .status();
}
