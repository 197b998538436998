#include "dmColourEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmColourSettings>;
template class DmEffect<DmLookSettings>;

eDmErrorId DmColourSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<CorrectionType>(L"correctionType", _correctionType,
                                   "The kind of correction: a code of the renderer.")
        .status();
}

eDmErrorId DmLookSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional<SlopeR>(L"SlopeR", _slopeR, "The slope of red; 1 changes nothing.")
        .optional<SlopeG>(L"SlopeG", _slopeG, "The slope of green; 1 changes nothing.")
        .optional<SlopeB>(L"SlopeB", _slopeB, "The slope of blue; 1 changes nothing.")
        .optional<OffsetR>(L"OffsetR", _offsetR, "The offset of red; 0 changes nothing.")
        .optional<OffsetG>(L"OffsetG", _offsetG, "The offset of green; 0 changes nothing.")
        .optional<OffsetB>(L"OffsetB", _offsetB, "The offset of blue; 0 changes nothing.")
        .optional<PowerR>(L"PowerR", _powerR, "The power of red; 1 changes nothing.")
        .optional<PowerG>(L"PowerG", _powerG, "The power of green; 1 changes nothing.")
        .optional<PowerB>(L"PowerB", _powerB, "The power of blue; 1 changes nothing.")
        .optional<Saturation>(L"Saturation", _saturation, "The saturation; 1 changes nothing.")
        .status();
}
