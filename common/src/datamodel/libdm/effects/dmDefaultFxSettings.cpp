#include "dmDefaultFxSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmDefaultFxSettings>;

eDmErrorId DmDefaultFxSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length of the effect.", dmFrames)
        .status();
}
