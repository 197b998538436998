#include "dmAnnotationSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmAnnotationSettings>;

eDmErrorId DmAnnotationSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Layers>(L"layers", _layers, "The layers, from the lowest to the highest.")
        .status();
}
