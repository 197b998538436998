/// A layer of an annotation: what was painted on it, in the order in which it was.
#pragma once

#include "dmEffectLayer.h"
#include "dmStroke.h"

class ZR_DM_API DmPaintLayer final : public DmEffect<DmPaintLayer, DmEffectLayer>
{
public:
    static constexpr const wchar_t* typeName = L"Paint";

    enum Property : int
    {
        Strokes = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    int getNbStrokes() const { return _strokes.count(); }
    /// Null when there is no such stroke.
    CoSharedPtr<DmStroke> getStroke(int index) const { return CoSharedPtr<DmStroke>(_strokes.at(index)); }
    /// Appends, so above those that are there. Null is DM_BAD_VALUE.
    eDmErrorId addStroke(const CoSharedPtr<DmStroke>& stroke) { return addTo(Strokes, stroke); }
    eDmErrorId clear() { return clearList(Strokes, DM_VECTOR_PROPERTY_SET); }

private:
    DmOwnedList<DmStroke> _strokes;
};
