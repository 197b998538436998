#include "dmReachImp.h"

#include "dmKeyFrame.h"
#include "dmRunsImp.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>

DmReach::DmReach(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside)
    : _played(segment, compositionFcm)
    , _material(dmMaterialOf(segment, compositionFcm, beside))
{
    if (_played.motion() == DmPlayed::Motion::Keyed)
    {
        _before = _behind = 0.0;
        return;
    }
    if (_played.motion() != DmPlayed::Motion::Constant || !_material.isLimited())
        return;
    const double pace = std::abs(_played.speed()) * _played.rate();
    // Half a sub-frame more or less is none: lengths in another mode do not come out even.
    const auto frames = [pace](double positions) { return std::max(0.0, std::floor(positions / pace + 1e-3)); };
    _before = frames(_played.begin());
    _behind = frames(_material.length - _played.end());
    if (_played.isReverse())
        std::swap(_before, _behind);
}

namespace
{

void shiftKeysOf(const DmPropertySet& set, double by)
{
    dmForEachHeld(set,
                  [by](const DmPropertySetPtr& held)
                  {
                      if (auto* const key = dynamic_cast<DmKeyFrame*>(held.get()))
                          static_cast<void>(key->setFrame(static_cast<float>(key->getFrame() + by)));
                      else if (!held->isFrozen())
                          shiftKeysOf(*held, by);
                      return true;
                  });
}

} // namespace

DmSegmentChange::DmSegmentChange(DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside)
    : _segment(segment)
    , _fcm(compositionFcm)
    , _before(dmMaterialOf(segment, compositionFcm, beside))
{
}

void DmSegmentChange::shiftKeys(DmSegmentNode& segment, double by)
{
    if (by == 0.0)
        return;
    for (int i = 0; i < segment.getEffects().count(); ++i)
        if (const DmEffectSettings* const effect = segment.getEffects().at(i))
            shiftKeysOf(*effect, by);
}

void DmSegmentChange::moveHead(double by)
{
    const DmPlayed played(_segment, _fcm);
    if (played.motion() == DmPlayed::Motion::Constant && !played.isReverse())
        static_cast<void>(_segment.setRelIn(_segment.getRelIn() + by * played.speed() * played.rate()));
    static_cast<void>(_segment.setRecIn(_segment.getRecIn() + by));
    static_cast<void>(_segment.setRecLength(_segment.getRecLength() - by));
    shiftKeys(_segment, -by);
}

void DmSegmentChange::moveTail(double by)
{
    const DmPlayed played(_segment, _fcm);
    if (played.isReverse())
        static_cast<void>(_segment.setRelIn(_segment.getRelIn() + by * played.speed() * played.rate()));
    static_cast<void>(_segment.setRecLength(_segment.getRecLength() + by));
}

void DmSegmentChange::slip(double by, bool withKeys)
{
    const DmPlayed played(_segment, _fcm);
    if (played.motion() == DmPlayed::Motion::Constant)
        static_cast<void>(_segment.setRelIn(_segment.getRelIn() + by * played.speed() * played.rate()));
    else if (played.motion() != DmPlayed::Motion::None)
        static_cast<void>(_segment.setRelIn(_segment.getRelIn() + by * played.rate()));
    if (withKeys)
        shiftKeys(_segment, -by);
}

void DmSegmentChange::moveTo(double recIn)
{
    static_cast<void>(_segment.setRecIn(recIn));
}

void DmSegmentChange::setBegin(double position)
{
    static_cast<void>(_segment.setRelIn(position));
}

void DmSegmentChange::ownInput(DmSourceNode& source)
{
    const DmSourceNode::Input* const input = source.getSrcInput();
    if (input && (input->isFrozen() || input->refCount() > 1))
        static_cast<void>(source.setSrcInput(DM::staticPointerCast<DmSourceNode::Input>(input->clone())));
}

void DmSegmentChange::settle(DmPlayedBeside beside)
{
    auto* const source = dynamic_cast<DmSourceNode*>(&_segment);
    if (!source || !source->getSrcInput())
    {
        if (_segment.getRelIn() < 0.0 && _before.isEndless())
            static_cast<void>(_segment.setRelIn(0.0));
        return;
    }
    const bool unknown = !_before.known && _before.kind == DmMaterial::Kind::Moving;
    DmPlayed played(_segment, _fcm);
    const bool constant = played.motion() == DmPlayed::Motion::Constant;
    const double pace = constant ? std::abs(played.speed()) * played.rate() : 0.0;

    // In front of the material's begin.
    const double lowest =
        _segment.getRelIn() - (unknown ? (played.isReverse() ? beside.behind : beside.before) * pace : 0.0);
    if (lowest < 0.0 && unknown)
    {
        ownInput(*source);
        const double by = -lowest;
        if (auto* const media = dynamic_cast<DmSourceNode::MediaInput*>(source->getSrcInput()))
        {
            // "srcIn" counts in its own mode.
            const DM::FrameCodeModes counted = dmModeOrDefault(played.fcm());
            const DM::FrameCodeModes own = dmFcmFromText(media->getSrcInFcm());
            const double pulled = own == DM::FCM_NOT_DEFINED || counted == DM::FCM_NOT_DEFINED
                                      ? by
                                      : by * DM::FcmUtil::getDoubleFPS(own) / DM::FcmUtil::getDoubleFPS(counted);
            static_cast<void>(media->setSrcIn(media->getTapeSrcIn() - pulled));
            if (!media->getSrcInStr().empty() && own != DM::FCM_NOT_DEFINED && media->getSrcIn() >= 0.0)
            {
                char label[DM::TimeUnit::labelSize];
                DM::TimeUnit(media->getSrcIn()).toTimeCode(label, sizeof label, own);
                static_cast<void>(media->setSrcInStr(DmString(label)));
            }
        }
        static_cast<void>(source->getSrcInput()->setSrcLength(source->getSrcInput()->getSrcLength() + by));
        static_cast<void>(_segment.setRelIn(_segment.getRelIn() + by));
        // Marks count from the material's begin, too.
        for (int i = 0; i < _segment.getSegmentMarks().count(); ++i)
            if (const DmCueMark* const mark = _segment.getSegmentMarks().at(i);
                mark && dmIsTime(mark->getCueMarkTime()))
            {
                const DmPropertySetPtr moved = mark->clone();
                if (!moved)
                    continue; // without memory
                static_cast<void>(static_cast<DmCueMark&>(*moved).setCueMarkTime(mark->getCueMarkTime() + by));
                static_cast<void>(
                    _segment.setValueFromPropertyList(DmSegmentNode::SegmentMarks, DM_VECTOR_PROPERTY_SET, i, &moved));
            }
    }
    else if (_segment.getRelIn() < 0.0)
        static_cast<void>(_segment.setRelIn(0.0)); // endless, or by less than a sub-frame

    // At its end: what plays, and what the validation compares.
    const double length = source->getSrcInput()->getSrcLength();
    const double end = _segment.getRelIn() + _segment.getRecLength() * pace;
    const double highest = unknown ? end + (played.isReverse() ? beside.before : beside.behind) * pace : 0.0;
    const double needed = std::max(highest, _segment.getRelIn() + _segment.getRecLength());
    const bool grows = needed > length + dmEditTolerance && (length > 1.0 || unknown);
    auto* const media = dynamic_cast<DmSourceNode::MediaInput*>(source->getSrcInput());
    if (!grows && !(unknown && media))
        return;
    const double trueLength = _before.length;
    if (grows)
    {
        ownInput(*source);
        static_cast<void>(source->getSrcInput()->setSrcLength(needed));
    }
    // Without that entry, a source that no longer plays all of its input would count as known.
    const DmMaterial now = dmMaterialOf(_segment, _fcm, beside);
    const bool says = unknown ? !now.known : now.known && std::abs(now.length - trueLength) < dmEditTolerance;
    if (!media || says)
        return;
    ownInput(*source);
    auto& own = static_cast<DmSourceNode::MediaInput&>(*source->getSrcInput());
    static_cast<void>(unknown ? dmSetMaterialLengthUnknown(own) : dmSetMaterialLength(own, trueLength));
}
