#include "dmPlayed.h"

#include "dmATimewarpSettings.h"
#include "dmMaterial.h"
#include "dmMemoryImp.h"
#include "dmSpeedImp.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Positions that are nearer than this to a frame's begin are that frame's: sums and ratios do not always come out
/// even.
constexpr double nearly = 1e-5;

/// The ratio is kept in single precision: what it was made from is found again, as far as it has few places.
double speedOfRatio(float ratio)
{
    constexpr double places = 1e6;
    constexpr double precision = 1e-7;
    const double speed = 1.0 / static_cast<double>(ratio);
    const double rounded = std::round(speed * places) / places;
    return std::abs(rounded - speed) <= precision * speed ? rounded : speed;
}

double toFrameBegin(double position)
{
    const double nearest = std::round(position);
    return std::abs(position - nearest) < nearly ? nearest : position;
}

} // namespace

DmSpeed dmSpeedOf(const DmSegmentNode& segment)
{
    for (int i = 0; i < segment.getEffects().count(); ++i)
    {
        const DmEffectSettings* const effect = segment.getEffects().at(i);
        if (!effect || effect->isMuted())
            continue;
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect))
        {
            if (!warp->isConstantSpeed())
                return {0.0, warp};
            return {std::isfinite(warp->getSpeed()) ? warp->getSpeed() : 1.0};
        }
        if (const auto* const warp = dynamic_cast<const DmATimewarpSettings*>(effect))
            return {std::isfinite(warp->getRatio()) && warp->getRatio() > 0.0F ? speedOfRatio(warp->getRatio()) : 1.0};
    }
    return {};
}

double dmFramesPerFrame(DM::FrameCodeModes of, DM::FrameCodeModes in)
{
    if (of == in)
        return 1.0;
    unsigned ofNum = 0;
    unsigned ofDen = 1;
    unsigned inNum = 0;
    unsigned inDen = 1;
    if (of == in || !DM::FcmUtil::getRational(of, ofNum, ofDen, false) ||
        !DM::FcmUtil::getRational(in, inNum, inDen, false))
        return 1.0;
    return static_cast<double>(ofNum) * inDen / (static_cast<double>(ofDen) * inNum);
}

DmPlayed::DmPlayed(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm)
    : _fcm(compositionFcm)
    , _recIn(segment.getRecIn())
{
    const DmMaterial material = dmMaterialOf(segment, compositionFcm);
    if (material.kind == DmMaterial::Kind::None)
        return;
    if (material.fcm != DM::FCM_NOT_DEFINED)
        _fcm = material.fcm;
    _rate = dmFramesPerFrame(_fcm, compositionFcm);
    _begin = segment.getRelIn();

    const DmSpeed speed = dmSpeedOf(segment);
    if (material.kind == DmMaterial::Kind::Still || (speed.speed == 0.0 && !speed.keyed))
    {
        _motion = Motion::Freeze;
        _begin = material.kind == DmMaterial::Kind::Still ? 0.0 : _begin;
        _end = _begin + 1.0;
    }
    else if (speed.keyed)
    {
        _motion = Motion::Keyed;
        setKeys(segment, *speed.keyed);
    }
    else
    {
        _motion = Motion::Constant;
        _speed = speed.speed;
        _end = _begin + std::abs(_speed) * segment.getRecLength() * _rate;
    }
}

void DmPlayed::setKeys(const DmSegmentNode& segment, const DmTimewarpSettings& warp)
{
    double first = _recIn;
    if (const auto* const moved = dynamic_cast<const DmPPFxTWSettings*>(&warp))
    {
        first += moved->getExtraTimingOffset();
        if (moved->getOffsetTimingWithRelIn())
            first -= segment.getRelIn() / _rate;
    }
    const double origin = _begin;
    const CoSharedPtr<DmAnimationChannel> timing =
        warp.getExistingChannelByName(DmTimewarpSettings::channelNames[DmTimewarpSettings::ChannelId::timing]);
    const auto read = [&]
    {
        for (int i = 0; timing && i < timing->getNbKeyFrames(); ++i)
            if (const CoSharedPtr<DmKeyFrame> key = timing->getKeyFrame(i))
                _keys.push_back(
                    {first + static_cast<double>(key->getFrame()), origin + static_cast<double>(key->getValue())});
        return DM_NO_ERROR;
    };
    if (dmWithMemory(read) != DM_NO_ERROR)
        _keys.clear();
    std::stable_sort(_keys.begin(), _keys.end(),
                     [](const Key& a, const Key& b) { return a.recordTime < b.recordTime; });
    _end = _begin;
    if (_keys.empty())
        return;
    const auto [lowest, highest] = std::minmax_element(
        _keys.begin(), _keys.end(), [](const Key& a, const Key& b) { return a.position < b.position; });
    _begin = lowest->position;
    _end = highest->position + 1.0;
}

std::optional<double> DmPlayed::positionAt(double recordTime) const
{
    switch (_motion)
    {
    case Motion::None:
        return std::nullopt;
    case Motion::Freeze:
        return _begin;
    case Motion::Constant:
        return (_speed < 0.0 ? _end : _begin) + _speed * _rate * (recordTime - _recIn);
    case Motion::Keyed:
        break;
    }
    for (const Key& key : _keys)
        if (std::abs(key.recordTime - recordTime) < nearly)
            return key.position;
    return std::nullopt;
}

std::optional<double> DmPlayed::frameAt(double recordTime) const
{
    const std::optional<double> position = positionAt(recordTime);
    if (!position)
        return std::nullopt;
    const double at = toFrameBegin(*position);
    return isReverse() ? std::ceil(at) - 1.0 : std::floor(at);
}

std::optional<double> DmPlayed::recordTimeAt(double position) const
{
    switch (_motion)
    {
    case Motion::None:
        return std::nullopt;
    case Motion::Freeze:
        return toFrameBegin(position) >= std::floor(_begin) && position < std::floor(_begin) + 1.0 - nearly
                   ? std::optional<double>(_recIn)
                   : std::nullopt;
    case Motion::Constant:
        return _recIn + (position - (_speed < 0.0 ? _end : _begin)) / (_speed * _rate);
    case Motion::Keyed:
        break;
    }
    for (const Key& key : _keys)
        if (std::abs(key.position - position) < nearly)
            return key.recordTime;
    return std::nullopt;
}

std::optional<double> DmPlayed::recordTimeOf(double frame) const
{
    return recordTimeAt(isReverse() ? frame + 1.0 : frame);
}
