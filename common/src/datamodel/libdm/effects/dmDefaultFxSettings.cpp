#include "dmDefaultFxSettings.h"

#include "dmEffectImp.h"

template class DmEffect<DmDefaultFxSettings>;

eDmErrorId DmDefaultFxSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"length", _length).status();
}
