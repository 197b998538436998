#include "dmSegmentNode.h"

#include "dmDeclare.h"

DmSegmentNode::DmSegmentNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmLeafNode(kind, id, classData)
{
}

eDmErrorId DmSegmentNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional<RecIn>(L"recIn", _recIn, "The record time at which the segment begins.", dmFrames)
        .optional<RecLength>(L"recLength", _recLength, "How long it lasts in record time.", dmFrames)
        .optional<RelIn>(L"relIn", _relIn,
                         "The first frame of its material that plays, counted from the begin of the material.",
                         dmMaterialFrames)
        .mandatory<Effects>(L"effects", _effects, "Its effects, in the order in which they are applied.")
        .mandatory<SegmentMarks>(L"segmentMarks", rare()->segmentMarks, rare(), "Marks on the segment.")
        .mandatory<MediaType>(L"mediaType", _mediaType, "Its medium: that of the layer.", dmMediaTypes)
        .mandatory<OriginalID>(L"originalID", rare()->originalID, rare(),
                               "The id of the segment that it was derived from.")
        .mandatory<SegmentId>(L"segmentId", _segmentId, "Its id, unique within the composition; empty for none.")
        .mandatory<SegmentPreviousIds>(L"segmentPreviousIds", rare()->segmentPreviousIds, rare(),
                                       "The ids that it had before.")
        .mandatory<ShotName>(L"shotName", rare()->shotName, rare(), "The name of the shot.")
        .optional<Muted>(L"muted", rare()->muted, rare(), "The segment is not played.")
        .status();
}
