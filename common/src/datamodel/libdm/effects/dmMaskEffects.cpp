#include "dmMaskEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxLetterboxSettings>;
template class DmEffect<DmAngularMaskSettings>;
template class DmEffect<DmCompSettings>;

eDmErrorId DmPPFxLetterboxSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<AspectMode>(L"aspectMode", _aspectMode, "How the ratio is chosen: a code of the renderer.")
        .mandatory<Offset>(L"offset", _offset, "How far the opening is off the picture's centre.")
        .mandatory<Ratio>(L"ratio", _ratio, "Width to height of the opening.")
        .mandatory<ColourRed>(L"colourRed", _colourRed, "The red of the bars.", dmZeroToOne)
        .mandatory<ColourGreen>(L"colourGreen", _colourGreen, "The green of the bars.", dmZeroToOne)
        .mandatory<ColourBlue>(L"colourBlue", _colourBlue, "The blue of the bars.", dmZeroToOne)
        .status();
}

eDmErrorId DmAngularMaskSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional<PivotX>(L"pivotX", _pivotX, "The point that the edge goes through, across.")
        .optional<PivotY>(L"pivotY", _pivotY, "The point that the edge goes through, vertically.")
        .optional<AngleInRadians>(L"angleInRadians", _angleInRadians, "How far the edge is turned.", dmRadians)
        .status();
}

eDmErrorId DmCompSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional<MatteInvert>(L"matteInvert", _matteInvert, "The matte is taken inverted.")
        .status();
}
