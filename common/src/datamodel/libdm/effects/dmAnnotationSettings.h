/// Notes drawn over the picture, for instance in a review: paint layers, and whatever other kind of layer.
#pragma once

#include "dmEffectLayer.h"

class ZR_DM_API DmAnnotationSettings final : public DmEffect<DmAnnotationSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Annotation";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        Layers = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    int getNbLayers() const { return _layers.count(); }
    /// Null when there is no such layer.
    CoSharedPtr<DmEffectLayer> getLayer(int index) const { return CoSharedPtr<DmEffectLayer>(_layers.at(index)); }
    /// Appends, so above those that are there. Null is DM_BAD_VALUE.
    eDmErrorId addLayer(const CoSharedPtr<DmEffectLayer>& layer) { return addTo(Layers, layer); }
    eDmErrorId clear() { return clearList(Layers, DM_VECTOR_PROPERTY_SET); }

private:
    DmOwnedList<DmEffectLayer> _layers;
};
