#include "dmSegmentNode.h"

#include "dmDeclare.h"

DmSegmentNode::DmSegmentNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmLeafNode(kind, id, classData)
    , _own(std::make_unique<Own>())
{
}

DmSegmentNode::DmSegmentNode(const DmSegmentNode& other)
    : DmLeafNode(other)
    , _own(std::make_unique<Own>(*other._own))
{
}

eDmErrorId DmSegmentNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional(L"recIn", _own->recIn)
        .optional(L"recLength", _own->recLength)
        .optional(L"relIn", _own->relIn)
        .mandatory(L"effects", _own->effects)
        .mandatory(L"segmentMarks", _own->segmentMarks)
        .mandatory(L"mediaType", _own->mediaType)
        .mandatory(L"originalID", _own->originalID)
        .mandatory(L"segmentId", _own->segmentId)
        .mandatory(L"segmentPreviousIds", _own->segmentPreviousIds)
        .mandatory(L"shotName", _own->shotName)
        .optional(L"muted", _own->muted)
        .status();
}

const void* DmSegmentNode::getBase(int index) const
{
    return index >= RecIn && index <= Muted ? static_cast<const void*>(_own.get()) : this;
}
