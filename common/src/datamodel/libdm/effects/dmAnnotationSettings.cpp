#include "dmAnnotationSettings.h"

#include "dmEffectImp.h"

template class DmEffect<DmAnnotationSettings>;

eDmErrorId DmAnnotationSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"layers", _layers).status();
}
