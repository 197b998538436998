#include "dmColourEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmColourSettings>;
template class DmEffect<DmLookSettings>;

eDmErrorId DmColourSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"correctionType", _correctionType).status();
}

eDmErrorId DmLookSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional(L"SlopeR", _slopeR)
        .optional(L"SlopeG", _slopeG)
        .optional(L"SlopeB", _slopeB)
        .optional(L"OffsetR", _offsetR)
        .optional(L"OffsetG", _offsetG)
        .optional(L"OffsetB", _offsetB)
        .optional(L"PowerR", _powerR)
        .optional(L"PowerG", _powerG)
        .optional(L"PowerB", _powerB)
        .optional(L"Saturation", _saturation)
        .status();
}
