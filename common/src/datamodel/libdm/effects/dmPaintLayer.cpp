#include "dmPaintLayer.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPaintLayer, DmEffectLayer>;

eDmErrorId DmPaintLayer::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Strokes>(L"strokes", _strokes, "The strokes, in the order in which they were painted.")
        .status();
}
