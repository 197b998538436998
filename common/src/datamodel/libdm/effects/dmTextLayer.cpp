#include "dmTextLayer.h"

#include "dmEffectDefinition.h"
#include "zrAssert.h"

template class DmEffect<DmTextLayer, DmEffectLayer>;

eDmErrorId DmTextLayer::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"paragraphs", _paragraphs)
        .mandatory(L"background", _background)
        .mandatory(L"bgColorRed", _bgColorRed)
        .mandatory(L"bgColorGreen", _bgColorGreen)
        .mandatory(L"bgColorBlue", _bgColorBlue)
        .mandatory(L"bgOpacity", _bgOpacity)
        .status();
}

eDmErrorId DmTextLayer::addParagraph(const CoSharedPtr<DmTextParagraph>& paragraph)
{
    ZR_ASSERT_PLAIN(paragraph);
    return addTo(Paragraphs, paragraph);
}
