#include "dmMaterial.h"

#include "dmContainerNode.h"
#include "dmElementImp.h"
#include "dmLayerNode.h"
#include "dmMemoryImp.h"
#include "dmSourceInput.h"
#include "dmSpeedImp.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include "CoNumber.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <typeinfo>

namespace
{

using MediaInput = DmSourceNode::MediaInput;

/// What is played may miss the length of what was used by the rounding of a speed.
constexpr double lessThanAFrame = 1.0 - 1e-5;

DmSourceNode::DictionaryEntry* lengthEntry(const MediaInput& input)
{
    for (int i = 0; i < input.getExtraDataDictionary().count(); ++i)
        if (DmSourceNode::DictionaryEntry* const entry = input.getExtraDataDictionary().at(i);
            entry && entry->getKey() == dmMaterialLengthKey)
            return entry;
    return nullptr;
}

eDmErrorId setLengthEntry(MediaInput& input, const CoSharedPtr<DmSourceNode::DictionaryEntry>& entry)
{
    DmSourceNode::DictionaryEntry* const before = lengthEntry(input);
    if (before && entry && !before->isFrozen())
        return before->setValue(entry->getValue());
    int index = 0;
    while (before && input.getExtraDataDictionary().at(index) != before)
        ++index;
    const eDmErrorId status = input.addExtraData(entry);
    return before && status == DM_NO_ERROR ? input.removeExtraData(index) : status;
}

/// One for all: of most that lists play nobody knows the length. Throws while there is no memory to make it.
const CoSharedPtr<DmSourceNode::DictionaryEntry>& unknownEntry()
{
    static const auto& shared = *[]
    {
        auto made = DmSourceNode::DictionaryEntry::create(dmMaterialLengthKey, dmMaterialLengthUnknown);
        if (!made)
            throw std::bad_alloc();
        made->freeze();
        return new CoSharedPtr<DmSourceNode::DictionaryEntry>(made);
    }();
    return shared;
}

/// None for what is no length: such an entry says as much as "unknown".
std::optional<double> lengthFrom(const DmString& text)
{
    const std::optional<double> length = DM::CoNumber::whole(dmUtf8(text));
    return length.value_or(-1.0) >= 0.0 ? length : std::nullopt;
}

/// The in-time of a material that has only a label of it, in frames of the material's mode.
double labelTime(const DmString& text, const DmString& labelFcm, DM::FrameCodeModes fcm)
{
    if (text.empty())
        return 0.0;
    const DmStoredLabel label(text, labelFcm);
    if (label.isZero() || !label.isValid())
        return 0.0;
    DM::TimeUnit time(label.toFrames());
    if (label.fcm() != DM::FCM_NOT_DEFINED && fcm != DM::FCM_NOT_DEFINED && label.fcm() != fcm)
        static_cast<void>(time.getEquivTime(time, label.fcm(), fcm)); // both have a rate
    return time.getFrames();
}

/// Of an input in mode `fcm`, which `media` is, unless it is another.
double beginOf(const DmSourceNode::Input& input, const MediaInput* media, DM::FrameCodeModes fcm)
{
    if (media)
    {
        const double srcIn = media->getSrcIn();
        return srcIn != 0.0 ? srcIn : labelTime(media->getSrcInStr(), media->getSrcInFcm(), fcm);
    }
    if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(&input))
        return derived->getSrcIn() != 0.0 ? derived->getSrcIn()
                                          : labelTime(derived->getSrcInStr(), input.getFcm(), fcm);
    return 0.0;
}

/// Whether "srcLength" is just what plays: from its begin to its end, with or without the transitions beside the
/// segment, counted at its speed or, as lengths must be at least, as if that were normal.
bool isJustWhatPlays(const DmSegmentNode& segment, double length, double rate, DmPlayedBeside beside)
{
    // Most shots leave out what no transition plays: then the speed does not matter.
    if (beside.before == 0.0 && beside.behind == 0.0 && segment.getRelIn() > 0.5)
        return false;
    const DmSpeed speed = dmSpeedOf(segment);
    if (speed.speed < 0.0)
        std::swap(beside.before, beside.behind);
    for (const double scale : {speed.keyed ? 1.0 : std::abs(speed.speed) * rate, rate, 1.0})
    {
        if (segment.getRelIn() > beside.before * scale + 0.5)
            continue;
        const double end = segment.getRelIn() + segment.getRecLength() * scale;
        for (const double behind : {0.0, beside.behind * scale})
            if (std::abs(length - (end + behind)) < lessThanAFrame)
                return true;
    }
    return false;
}

DmMaterial materialOf(const DmSourceNode& source, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside)
{
    DmMaterial material;
    const DmSourceNode::Input* const input = source.getSrcInput();
    if (!input)
        return material;
    material.kind = DmMaterial::Kind::Moving;
    material.fcm = dmFcmFromText(input->getFcm());
    const auto* const media = dynamic_cast<const MediaInput*>(input);
    material.begin = beginOf(*input, media, material.fcm);
    material.length = input->getSrcLength();
    if (!media && dynamic_cast<const DmSourceNode::GeneratedInput*>(input))
    {
        material.kind = DmMaterial::Kind::Generated;
        return material;
    }
    if (const DmSourceNode::DictionaryEntry* const entry = media ? lengthEntry(*media) : nullptr)
    {
        const std::optional<double> own = lengthFrom(entry->getValue());
        material.known = own.has_value();
        material.length = own.value_or(material.length);
    }
    else
    {
        const DM::FrameCodeModes own = material.fcm == DM::FCM_NOT_DEFINED ? compositionFcm : material.fcm;
        material.known = material.length > 0.0 &&
                         !isJustWhatPlays(source, material.length, dmFramesPerFrame(own, compositionFcm), beside);
    }
    if (material.known && material.length > 0.0 && material.length <= 1.0 && source.getRecLength() > 1.0)
        material.kind = DmMaterial::Kind::Still;
    return material;
}

/// The record time at which all that stands in a composition has ended.
double endOf(const DmCompositionNode& composition)
{
    double end = composition.getRecordStart();
    for (int i = 0; i < composition.getNbChildren(); ++i)
    {
        const DmTreeNode* const track = composition.getChild(i);
        for (int j = 0; track && j < track->getNbChildren(); ++j)
        {
            const DmTreeNode* const layer = track->getChild(j);
            DmTreeNode* const last = layer ? layer->getChild(layer->getNbChildren() - 1) : nullptr;
            static_cast<void>(dmWithElement(last,
                                            [&end](const auto& element)
                                            {
                                                end = std::max(end, element.getRecOut());
                                                return DM_NO_ERROR;
                                            })); // a layer of nothing ends nowhere
        }
    }
    return end;
}

DmMaterial materialOf(const DmContainerNode& container)
{
    DmMaterial material;
    const DmCompositionNode* const composition = container.getComposition();
    if (!composition)
        return material;
    material.kind = DmMaterial::Kind::Moving;
    material.known = true;
    material.fcm = dmFcmFromText(composition->getFCM());
    material.begin = composition->getStartTC();
    material.length = composition->getCompLength() > 0.0 ? composition->getCompLength()
                                                         : endOf(*composition) - composition->getRecordStart();
    return material;
}

} // namespace

DmMaterial dmMaterialOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside)
{
    if (segment.whatIs() == DM_SOURCE_NODE)
        return materialOf(static_cast<const DmSourceNode&>(segment), compositionFcm, beside);
    if (const auto* const container = dynamic_cast<const DmContainerNode*>(&segment))
        return materialOf(*container);
    return {};
}

eDmErrorId dmSetMaterialLength(MediaInput& input, double length)
{
    if (!std::isfinite(length) || length < 0.0)
        return DM_BAD_VALUE;
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, length);
    return setLengthEntry(
        input, DmSourceNode::DictionaryEntry::create(dmMaterialLengthKey, DmString(std::wstring(text, written.ptr))));
}

eDmErrorId dmSetMaterialLengthUnknown(MediaInput& input)
{
    return dmWithMemory([&input] { return setLengthEntry(input, unknownEntry()); });
}

const DmString& dmReelOf(const DmSourceNode::Input& input)
{
    static const DmString none;
    const DmString* reel = &none;
    const bool isOther = typeid(input) != typeid(MediaInput); // few are, and casts search the bases
    if (const auto* const derived = isOther ? dynamic_cast<const DmSourceNode::DerivedInput*>(&input) : nullptr)
        reel = &derived->getReelName();
    else if (const auto* const relinked = isOther ? dynamic_cast<const DmSourceNode::RelinkedInput*>(&input) : nullptr)
        reel = &relinked->getReelName();
    const DmSourceInfo* const info = reel->empty() ? input.getSrcInfo() : nullptr;
    return info ? info->getReelName() : *reel;
}
