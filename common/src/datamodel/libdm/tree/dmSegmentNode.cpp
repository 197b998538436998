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
        .optional<RecIn>(L"recIn", _own->recIn, "The record time at which the segment begins.", dmFrames)
        .optional<RecLength>(L"recLength", _own->recLength, "How long it lasts in record time.", dmFrames)
        .optional<RelIn>(L"relIn", _own->relIn,
                         "The first frame of its material that plays, counted from the begin of the material.",
                         dmMaterialFrames)
        .mandatory<Effects>(L"effects", _own->effects, "Its effects, in the order in which they are applied.")
        .mandatory<SegmentMarks>(L"segmentMarks", _own->segmentMarks, "Marks on the segment.")
        .mandatory<MediaType>(L"mediaType", _own->mediaType, "Its medium: that of the layer.", dmMediaTypes)
        .mandatory<OriginalID>(L"originalID", _own->originalID, "The id of the segment that it was derived from.")
        .mandatory<SegmentId>(L"segmentId", _own->segmentId, "Its id, unique within the composition; empty for none.")
        .mandatory<SegmentPreviousIds>(L"segmentPreviousIds", _own->segmentPreviousIds, "The ids that it had before.")
        .mandatory<ShotName>(L"shotName", _own->shotName, "The name of the shot.")
        .optional<Muted>(L"muted", _own->muted, "The segment is not played.")
        .status();
}

const void* DmSegmentNode::getBase(int index) const
{
    return index >= RecIn && index <= Muted ? static_cast<const void*>(_own.get()) : this;
}
