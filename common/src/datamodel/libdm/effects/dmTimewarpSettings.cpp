#include "dmTimewarpSettings.h"

#include "dmEffectDefinition.h"
#include "zrPost.h"

template class DmEffect<DmVTimewarpSettings, DmTimewarpSettings>;
template class DmEffect<DmPPFxTWSettings, DmTimewarpSettings>;

DmTimewarpSettings::DmTimewarpSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmEffectSettings(id, classData)
{
}

eDmErrorId DmTimewarpSettings::createList()
{
    return declare(*this, DmEffectSettings::createList())
        .mandatory<StrobeMode>(L"strobeMode", _strobeMode, "Frames are held.")
        .mandatory<IsConstantSpeed>(L"isConstantSpeed", _isConstantSpeed,
                                    "The speed is the constant one, not that of the channels.")
        .mandatory<Speed>(L"speed", _speed, "The constant speed; 1 is normal, negative is backwards, 0 is a freeze.")
        .mandatory<StrobeRepeat>(L"strobeRepeat", _strobeRepeat, "For how many frames a frame is held.", dmFrames)
        .mandatory<Mix>(L"mix", _mix, "How much neighbouring frames are blended.", dmZeroToOne)
        .mandatory<OriginalRelIn>(L"originalRelIn", _originalRelIn,
                                  "The segment's first frame of material before the timewarp.", dmMaterialFrames)
        .status();
}

eDmErrorId DmPPFxTWSettings::createList()
{
    return declare(*this, DmTimewarpSettings::createList())
        .mandatory<TwDuration>(L"twDuration", _twDuration, "The duration of the timewarp.", dmFrames)
        .optional<ExtraTimingOffset>(L"extraTimingOffset", _extraTimingOffset,
                                     "How far the channel \"timing\" is moved.", dmFrames)
        .optional<OffsetTimingWithRelIn>(L"offsetTimingWithRelIn", _offsetTimingWithRelIn,
                                         "The channel \"timing\" begins at the first frame of material that plays.")
        .optional<ForceDuration>(L"forceDuration", _forceDuration,
                                 "The duration is the timewarp's own, whatever the segment's is.")
        .status();
}

void DmPPFxTWSettings::dump() const
{
    ZR_POST_DEBUG("DmPPFxTWSettings segcomp %d trxcomp %d mt %d strobeMode %d cs %d speed %f strobeRepeat %d mix %f",
                  isSegmentCompatible(), isTrxCompatible(), getMediaType(), getStrobeMode(), isConstantSpeed(),
                  getSpeed(), getStrobeRepeat(), static_cast<double>(getMix()));
}
