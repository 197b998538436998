#include "dmTextSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmTextSettings>;

eDmErrorId DmTextSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Layers>(L"layers", _layers, "The layers, from the lowest to the highest.")
        .mandatory<CropEnabled>(L"cropEnabled", _cropEnabled, "The four limits hold.")
        .mandatory<CropLeft>(L"cropLeft", _cropLeft, "What is cut off on the left.", dmPixels)
        .mandatory<CropRight>(L"cropRight", _cropRight, "What is cut off on the right.", dmPixels)
        .mandatory<CropBottom>(L"cropBottom", _cropBottom, "What is cut off at the bottom.", dmPixels)
        .mandatory<CropTop>(L"cropTop", _cropTop, "What is cut off at the top.", dmPixels)
        .status();
}
