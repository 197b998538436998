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
        .mandatory(L"strobeMode", _strobeMode)
        .mandatory(L"isConstantSpeed", _isConstantSpeed)
        .mandatory(L"speed", _speed)
        .mandatory(L"strobeRepeat", _strobeRepeat)
        .mandatory(L"mix", _mix)
        .mandatory(L"originalRelIn", _originalRelIn)
        .status();
}

eDmErrorId DmPPFxTWSettings::createList()
{
    return declare(*this, DmTimewarpSettings::createList())
        .mandatory(L"twDuration", _twDuration)
        .optional(L"extraTimingOffset", _extraTimingOffset)
        .optional(L"offsetTimingWithRelIn", _offsetTimingWithRelIn)
        .optional(L"forceDuration", _forceDuration)
        .status();
}

void DmPPFxTWSettings::dump() const
{
    ZR_POST_DEBUG("DmPPFxTWSettings segcomp %d trxcomp %d mt %d strobeMode %d cs %d speed %f strobeRepeat %d mix %f",
                  isSegmentCompatible(), isTrxCompatible(), getMediaType(), getStrobeMode(), isConstantSpeed(),
                  getSpeed(), getStrobeRepeat(), static_cast<double>(getMix()));
}
