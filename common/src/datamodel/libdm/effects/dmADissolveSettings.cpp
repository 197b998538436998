#include "dmADissolveSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmADissolveSettings>;

eDmErrorId DmADissolveSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length of the dissolve.", dmFrames)
        .mandatory<HasToFromColor>(L"hasToFromColor", _hasToFromColor, "Fades from or to silence.")
        .status();
}

eDmErrorId DmADissolveSettings::createAttributes()
{
    return createAttributesFromEnum<DmADissolveSettings, AttributId>(1);
}
