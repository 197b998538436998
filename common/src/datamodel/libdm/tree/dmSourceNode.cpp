#include "dmSourceNode.h"

#include "dmDeclare.h"
#include "dmSourceInput.h"

#include "envVar.h"
#include "tuTimeUnit.h"
#include "zrAssert.h"
#include "zrPost.h"

namespace
{
ZR_ENV_VAR(bool, noSourceTimeCheck, "ZR_NO_SOURCE_TIME_CHECK", false);
}

DmSourceNode::DmSourceNode(const DmNodeId& id)
    : DmNode(DM_SOURCE_NODE, id, DmPropertySetInit<DmSourceNode>::data())
{
}

eDmErrorId DmSourceNode::createList()
{
    return declare(*this, DmSegmentNode::createList())
        .mandatory<SrcInput>(L"srcInput", _srcInput, "The material.")
        .optional<SrcMultiInput>(L"srcMultiInput", _srcMultiInput, "Further inputs of a source of several channels.")
        .optional<IsMultiChannel>(L"isMultiChannel", _isMultiChannel, "The source plays its further inputs.")
        .optional<FxChecksum>(L"fxChecksum", _fxChecksum, "A checksum of the applied effects; 2147483647 for none.")
        .status();
}

CoSharedPtr<DmSourceNode> DmSourceNode::create(const CoSharedPtr<Input>& input, double recIn, double recLength,
                                               double relIn, bool isMultiChannel, bool /*flag*/)
{
    const eDmTreeMediaType mediaType = input ? input->getMediaType() : DM_MEDIA_UNDEFINED;
    CoSharedPtr<DmSourceNode> node = placed(create(), mediaType, recIn, recLength, relIn);
    if (node && (node->setIsMultiChannel(isMultiChannel) != DM_NO_ERROR || node->setSrcInput(input) != DM_NO_ERROR))
        node.reset();
    return node;
}

DmSourceNode::Input* DmSourceNode::getSrcInput() const
{
    return _srcInput.get();
}

eDmErrorId DmSourceNode::setSrcInput(const CoSharedPtr<Input>& input)
{
    return set(SrcInput, input);
}

eDmErrorId DmSourceNode::addSrcMultiInput(const CoSharedPtr<Input>& input)
{
    return addTo(SrcMultiInput, input);
}

eDmErrorId DmSourceNode::checkTimeIntegrity()
{
    Input* const input = getSrcInput();
    if (!input)
        return DM_NO_ERROR;
    const bool repair = !noSourceTimeCheck().getValue();
    eDmErrorId status = DM_NO_ERROR;

    if (input->getSrcLength() < 0.0)
    {
        ZR_POST_WARNING("%ls: SrcLength: %f < 0.0", getName().c_str(), input->getSrcLength());
        if (repair)
        {
            ZR_ASSERT_SOFT(!"Negative srcLength.");
            status = input->setSrcLength(DM::TimeUnit(1.0).roundToSubFrames().getFrames());
        }
    }
    const double srcLength = input->getSrcLength();
    if (srcLength <= 1.0) // always plays from its start
        return repair ? setRelIn(0.0) : status;

    if (getRelIn() < 0.0)
    {
        ZR_POST_WARNING("%ls: RelIn: %f < 0", getName().c_str(), getRelIn());
        if (repair)
        {
            ZR_ASSERT_SOFT(!"Negative relIn.");
            status = setRelIn(0.0);
        }
    }
    else if (getRelIn() >= srcLength)
    {
        ZR_POST_WARNING("%ls: RelIn: %f >= SrcLength: %f", getName().c_str(), getRelIn(), srcLength);
        if (repair)
        {
            ZR_ASSERT_SOFT(!"Integrity between relIn and srcLength is bad.");
            status = setRelIn(srcLength - 1.0);
        }
    }
    if (getRelIn() + getRecLength() > srcLength)
    {
        ZR_POST_WARNING("%ls: RelIn: %f + RecLength: %f > SrcLength: %f", getName().c_str(), getRelIn(), getRecLength(),
                        srcLength);
        if (repair)
        {
            ZR_ASSERT_SOFT(!"Integrity between recLength and srcLength is bad.");
            status = setRecLength(srcLength - getRelIn());
        }
    }
    return status;
}
