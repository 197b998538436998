#include "dmTextLayer.h"

#include "dmEffectDefinition.h"
#include "zrAssert.h"

template class DmEffect<DmTextLayer, DmEffectLayer>;

eDmErrorId DmTextLayer::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Paragraphs>(L"paragraphs", _paragraphs, "The paragraphs, in order.")
        .mandatory<Background>(L"background", _background, "There is a plain colour behind the text.")
        .mandatory<BgColorRed>(L"bgColorRed", _bgColorRed, "The red of that colour.", dmZeroToOne)
        .mandatory<BgColorGreen>(L"bgColorGreen", _bgColorGreen, "The green of that colour.", dmZeroToOne)
        .mandatory<BgColorBlue>(L"bgColorBlue", _bgColorBlue, "The blue of that colour.", dmZeroToOne)
        .mandatory<BgOpacity>(L"bgOpacity", _bgOpacity, "The opacity of that colour.", dmZeroToOne)
        .status();
}

eDmErrorId DmTextLayer::addParagraph(const CoSharedPtr<DmTextParagraph>& paragraph)
{
    ZR_ASSERT_PLAIN(paragraph);
    return addTo(Paragraphs, paragraph);
}
