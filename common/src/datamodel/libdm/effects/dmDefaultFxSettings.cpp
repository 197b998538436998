#include "dmDefaultFxSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmDefaultFxSettings>;

eDmErrorId DmDefaultFxSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"length", _length).status();
}
