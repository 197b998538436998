#include "dmMaskEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxLetterboxSettings>;
template class DmEffect<DmAngularMaskSettings>;
template class DmEffect<DmCompSettings>;

eDmErrorId DmPPFxLetterboxSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"aspectMode", _aspectMode)
        .mandatory(L"offset", _offset)
        .mandatory(L"ratio", _ratio)
        .mandatory(L"colourRed", _colourRed)
        .mandatory(L"colourGreen", _colourGreen)
        .mandatory(L"colourBlue", _colourBlue)
        .status();
}

eDmErrorId DmAngularMaskSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional(L"pivotX", _pivotX)
        .optional(L"pivotY", _pivotY)
        .optional(L"angleInRadians", _angleInRadians)
        .status();
}

eDmErrorId DmCompSettings::createList()
{
    return declare(*this, DmEffect::createList()).optional(L"matteInvert", _matteInvert).status();
}
