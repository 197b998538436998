#include "dmPictureEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmFlipSettings>;
template class DmEffect<DmSVGSettings>;
template class DmEffect<DmQuillSettings>;

eDmErrorId DmFlipSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"orientationType", _orientationType)
        .mandatory(L"domCorrectionType", _domCorrectionType)
        .status();
}

eDmErrorId DmSVGSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"svg", _svg).status();
}

eDmErrorId DmQuillSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"inputs", _inputs)
        .mandatory(L"pathName", _pathName)
        .status();
}
