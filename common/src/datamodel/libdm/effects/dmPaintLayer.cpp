#include "dmPaintLayer.h"

#include "dmEffectImp.h"

template class DmEffect<DmPaintLayer, DmEffectLayer>;

eDmErrorId DmPaintLayer::createList()
{
    return declare(*this, DmEffect::createList()).mandatory(L"strokes", _strokes).status();
}
