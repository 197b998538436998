#include "dmADissolveSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmADissolveSettings>;

eDmErrorId DmADissolveSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"length", _length)
        .mandatory(L"hasToFromColor", _hasToFromColor)
        .status();
}

eDmErrorId DmADissolveSettings::createAttributes()
{
    return createAttributesFromEnum<DmADissolveSettings, AttributId>(1);
}
