#include "dmATimewarpSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmATimewarpSettings>;

eDmErrorId DmATimewarpSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"length", _length)
        .mandatory(L"ratio", _ratio)
        .mandatory(L"pitch", _pitch)
        .mandatory(L"rhythm", _rhythm)
        .mandatory(L"quality", _quality)
        .status();
}
