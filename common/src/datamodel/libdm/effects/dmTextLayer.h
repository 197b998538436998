/// A layer of a title: paragraphs that are placed, and roll or crawl, together.
#pragma once

#include "dmEffectLayer.h"
#include "dmTextParagraph.h"

class ZR_DM_API DmTextLayer final : public DmEffect<DmTextLayer, DmEffectLayer>
{
public:
    static constexpr const wchar_t* typeName = L"Text";
    ZR_DM_NAMES(enum class AttributId, attributNames, rollCrawlMode)
    ZR_DM_NAMES(enum class ChannelId, channelNames, layerPositionX, layerPositionY, layerScaleX, layerScaleY,
                layerRotation, layerTransparency)

    enum Property : int
    {
        Paragraphs = FirstOwn,
        Background,
        BgColorRed,
        BgColorGreen,
        BgColorBlue,
        BgOpacity,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    int getNbParagraphs() const { return _paragraphs.count(); }
    /// Null when there is no such paragraph.
    CoSharedPtr<DmTextParagraph> getParagraph(int index) const
    {
        return CoSharedPtr<DmTextParagraph>(_paragraphs.at(index));
    }
    /// Appends. Null is a programming error and stops the process.
    eDmErrorId addParagraph(const CoSharedPtr<DmTextParagraph>& paragraph);
    eDmErrorId clear() { return clearList(Paragraphs, DM_VECTOR_PROPERTY_SET); }

    /// Whether there is a plain colour behind the text; a fresh layer has none.
    bool getBackground() const { return _background; }
    eDmErrorId setBackground(bool on) { return set(Background, on); }
    /// The colour, from 0 to 1 like its opacity: opaque black until it is set.
    float getBgColorRed() const { return _bgColorRed; }
    eDmErrorId setBgColorRed(float red) { return set(BgColorRed, red); }
    float getBgColorGreen() const { return _bgColorGreen; }
    eDmErrorId setBgColorGreen(float green) { return set(BgColorGreen, green); }
    float getBgColorBlue() const { return _bgColorBlue; }
    eDmErrorId setBgColorBlue(float blue) { return set(BgColorBlue, blue); }
    float getBgOpacity() const { return _bgOpacity; }
    eDmErrorId setBgOpacity(float opacity) { return set(BgOpacity, opacity); }

private:
    DmOwnedList<DmTextParagraph> _paragraphs;
    float _bgColorRed = 0;
    float _bgColorGreen = 0;
    float _bgColorBlue = 0;
    float _bgOpacity = 1;
    bool _background = false;
};
