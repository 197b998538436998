#include "dmSourceNode.h"

#include "dmDeclare.h"
#include "dmMemoryImp.h"
#include "dmSourceInput.h"

#include "envVar.h"
#include "tuTimeUnit.h"
#include "zrAssert.h"
#include "zrPost.h"

#include <string>

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
        .optional<SrcMultiInput>(L"srcMultiInput", rare()->srcMultiInput, rare(),
                                 "Further inputs of a source of several channels.")
        .optional<IsMultiChannel>(L"isMultiChannel", rare()->isMultiChannel, rare(),
                                  "The source plays its further inputs.")
        .optional<FxChecksum>(L"fxChecksum", rare()->fxChecksum, rare(),
                              "A checksum of the applied effects; 2147483647 for none.")
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

// Times

double DmTimeFault::repaired() const
{
    switch (kind)
    {
    case NegativeSrcLength:
        return DM::TimeUnit(1.0).roundToSubFrames().getFrames();
    case NegativeRelIn:
        return 0.0;
    case RelInBehindEnd:
        return srcLength - 1.0;
    case EndBehindEnd:
        return srcLength - relIn;
    }
    return 0.0;
}

std::string DmTimeFault::text() const
{
    const auto number = [](double frames) { return std::to_string(frames); };
    const auto said = [&]() -> std::string
    {
        switch (kind)
        {
        case NegativeSrcLength:
            return "SrcLength: " + number(srcLength) + " < 0.0";
        case NegativeRelIn:
            return "RelIn: " + number(relIn) + " < 0";
        case RelInBehindEnd:
            return "RelIn: " + number(relIn) + " >= SrcLength: " + number(srcLength);
        case EndBehindEnd:
            return "RelIn: " + number(relIn) + " + RecLength: " + number(recLength) +
                   " > SrcLength: " + number(srcLength);
        }
        return {};
    };
    return dmTextWithMemory(said);
}

namespace
{

/// The faults of these times, in order. Each is taken as repaired before the next is looked for, if that is what
/// happens.
DmTimeFaults faultsOf(double srcLength, double relIn, double recLength, bool repairing)
{
    DmTimeFaults faults;
    const auto add = [&](DmTimeFault::Kind kind, double& time)
    {
        faults.push_back({kind, srcLength, relIn, recLength});
        if (repairing)
            time = faults.back().repaired();
    };
    if (srcLength < 0.0)
        add(DmTimeFault::NegativeSrcLength, srcLength);
    if (srcLength <= 1.0) // always plays from its start
        return faults;
    if (relIn < 0.0)
        add(DmTimeFault::NegativeRelIn, relIn);
    else if (relIn >= srcLength)
        add(DmTimeFault::RelInBehindEnd, relIn);
    if (relIn + recLength > srcLength)
        add(DmTimeFault::EndBehindEnd, recLength);
    return faults;
}

} // namespace

DmTimeFaults DmSourceNode::findTimeFaults() const
{
    const Input* const input = getSrcInput();
    return input ? faultsOf(input->getSrcLength(), getRelIn(), getRecLength(), true) : DmTimeFaults();
}

eDmErrorId DmSourceNode::repair(const DmTimeFault& fault)
{
    switch (fault.kind)
    {
    case DmTimeFault::NegativeSrcLength:
        return getSrcInput()->setSrcLength(fault.repaired());
    case DmTimeFault::NegativeRelIn:
    case DmTimeFault::RelInBehindEnd:
        return setRelIn(fault.repaired());
    case DmTimeFault::EndBehindEnd:
        return setRecLength(fault.repaired());
    }
    return DM_BAD_VALUE;
}

bool DmSourceNode::playsOneFrame() const
{
    return getSrcInput() && getSrcInput()->getSrcLength() <= 1.0;
}

eDmErrorId DmSourceNode::repairTimes()
{
    eDmErrorId first = DM_NO_ERROR;
    const auto keep = [&first](eDmErrorId status) { first = first == DM_NO_ERROR ? status : first; };
    for (const DmTimeFault& fault : findTimeFaults())
        keep(repair(fault));
    if (playsOneFrame() && getRelIn() != 0.0)
        keep(setRelIn(0.0));
    return first;
}

eDmErrorId DmSourceNode::checkTimeIntegrity()
{
    const Input* const input = getSrcInput();
    if (!input)
        return DM_NO_ERROR;
    const bool repairing = !noSourceTimeCheck().getValue();
    eDmErrorId status = DM_NO_ERROR;
    for (const DmTimeFault& fault : faultsOf(input->getSrcLength(), getRelIn(), getRecLength(), repairing))
    {
        ZR_POST_WARNING("%ls: %s", getName().c_str(), fault.text().c_str());
        if (!repairing)
            continue;
        switch (fault.kind)
        {
        case DmTimeFault::NegativeSrcLength:
            ZR_ASSERT_SOFT(!"Negative srcLength.");
            break;
        case DmTimeFault::NegativeRelIn:
            ZR_ASSERT_SOFT(!"Negative relIn.");
            break;
        case DmTimeFault::RelInBehindEnd:
            ZR_ASSERT_SOFT(!"Integrity between relIn and srcLength is bad.");
            break;
        case DmTimeFault::EndBehindEnd:
            ZR_ASSERT_SOFT(!"Integrity between recLength and srcLength is bad.");
            break;
        }
        status = repair(fault);
    }
    return repairing && playsOneFrame() ? setRelIn(0.0) : status;
}
