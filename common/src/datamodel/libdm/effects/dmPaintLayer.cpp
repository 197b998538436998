#include "dmPaintLayer.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPaintLayer, DmEffectLayer>;

eDmErrorId DmPaintLayer::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"strokes", _strokes).status();
}
