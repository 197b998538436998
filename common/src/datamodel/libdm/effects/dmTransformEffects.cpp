#include "dmTransformEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmAxisSettings>;
template class DmEffect<DmPPFxActionSettings>;
template class DmEffect<DmDDTransformSettings>;

eDmErrorId DmAxisSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"keyerSetupFile", _keyerSetupFile)
        .mandatory(L"keyerSetupOutside", _keyerSetupOutside)
        .mandatory(L"propScaling", _propScaling)
        .mandatory(L"length", _length)
        .mandatory(L"swap", _swap)
        .mandatory(L"convergence", _convergence)
        .status();
}

eDmErrorId DmPPFxActionSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"propScaling", _propScaling)
        .mandatory(L"length", _length)
        .mandatory(L"swap", _swap)
        .mandatory(L"backgroundColourRed", _backgroundColourRed)
        .mandatory(L"backgroundColourGreen", _backgroundColourGreen)
        .mandatory(L"backgroundColourBlue", _backgroundColourBlue)
        .optional(L"useBack", _useBack)
        .optional(L"activeShadow", _activeShadow)
        .optional(L"matteInvert", _matteInvert)
        .status();
}

eDmErrorId DmDDTransformSettings::createList()
{
    return declare(*this, DmEffect::createList()).optional(L"propScaling", _propScaling).status();
}
