#include "dmTransitionNode.h"

#include "dmDeclare.h"

eDmErrorId DmTransitionNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional<RecIn>(L"recIn", _recIn, "The record time at which the transition begins.", dmFrames)
        .optional<RecLength>(L"recLength", _recLength, "How long it lasts; a cut has no length.", dmFrames)
        .optional<RelIn>(L"relIn", _relIn, "How much of it lies before the cut that it covers.", dmFrames)
        .mandatory<MediaType>(L"mediaType", _mediaType, "Its medium: that of the layer.", dmMediaTypes)
        .status();
}
