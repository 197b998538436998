/// Titles: text over the picture, in layers.
///
///     const CoSharedPtr<DmTextParagraph> paragraph = DmTextParagraph::create();
///     const CoSharedPtr<DmTextLayer> layer = DmTextLayer::create();
///     const CoSharedPtr<DmTextSettings> titles = DmTextSettings::create();
///     for (const eDmErrorId status :
///          {paragraph->setTextStr(L"Été 1982"), layer->addParagraph(paragraph), titles->addLayer(layer)})
///         if (status != DM_NO_ERROR)
///             return status;
#pragma once

#include "dmTextLayer.h"

class ZR_DM_API DmTextSettings final : public DmEffect<DmTextSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Text";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        Layers = FirstOwn,
        CropEnabled,
        CropLeft,
        CropRight,
        CropBottom,
        CropTop,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    int getNbLayers() const { return _layers.count(); }
    /// Null when there is no such layer.
    CoSharedPtr<DmTextLayer> getLayer(int index) const { return CoSharedPtr<DmTextLayer>(_layers.at(index)); }
    /// Appends, so above those that are there. Null is DM_BAD_VALUE.
    eDmErrorId addLayer(const CoSharedPtr<DmTextLayer>& layer) { return addTo(Layers, layer); }
    eDmErrorId clear() { return clearList(Layers, DM_VECTOR_PROPERTY_SET); }

    /// Whether the four limits hold; by default they do not.
    bool getCropEnabled() const { return _cropEnabled; }
    eDmErrorId setCropEnabled(bool on) { return set(CropEnabled, on); }
    /// Pixels that are cut off at a side of the picture: none by default.
    int getCropLeft() const { return _cropLeft; }
    eDmErrorId setCropLeft(int pixels) { return set(CropLeft, pixels); }
    int getCropRight() const { return _cropRight; }
    eDmErrorId setCropRight(int pixels) { return set(CropRight, pixels); }
    int getCropBottom() const { return _cropBottom; }
    eDmErrorId setCropBottom(int pixels) { return set(CropBottom, pixels); }
    int getCropTop() const { return _cropTop; }
    eDmErrorId setCropTop(int pixels) { return set(CropTop, pixels); }

private:
    DmOwnedList<DmTextLayer> _layers;
    int _cropLeft = 0;
    int _cropRight = 0;
    int _cropBottom = 0;
    int _cropTop = 0;
    bool _cropEnabled = false;
};
