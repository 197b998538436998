#include "dmTextSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmTextSettings>;

eDmErrorId DmTextSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"layers", _layers)
        .mandatory(L"cropEnabled", _cropEnabled)
        .mandatory(L"cropLeft", _cropLeft)
        .mandatory(L"cropRight", _cropRight)
        .mandatory(L"cropBottom", _cropBottom)
        .mandatory(L"cropTop", _cropTop)
        .status();
}
