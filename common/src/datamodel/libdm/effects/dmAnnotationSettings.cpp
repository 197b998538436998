#include "dmAnnotationSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmAnnotationSettings>;

eDmErrorId DmAnnotationSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"layers", _layers).status();
}
