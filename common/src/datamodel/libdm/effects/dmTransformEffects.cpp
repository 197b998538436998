#include "dmTransformEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmAxisSettings>;
template class DmEffect<DmPPFxActionSettings>;
template class DmEffect<DmDDTransformSettings>;

eDmErrorId DmAxisSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<KeyerSetupFile>(L"keyerSetupFile", _keyerSetupFile, "The file of the keyer's setup.")
        .mandatory<KeyerSetupOutside>(L"keyerSetupOutside", _keyerSetupOutside,
                                      "The keyer's setup stands in a file of its own.")
        .mandatory<PropScaling>(L"propScaling", _propScaling, "The axes scale together.")
        .mandatory<Length>(L"length", _length, "The length of the effect.", dmFrames)
        .mandatory<Swap>(L"swap", _swap, "Front and back change places.")
        .mandatory<Convergence>(L"convergence", _convergence,
                                "The convergence of the two eyes of a stereoscopic picture.")
        .status();
}

eDmErrorId DmPPFxActionSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<PropScaling>(L"propScaling", _propScaling, "The axes scale together.")
        .mandatory<Length>(L"length", _length, "The length of the effect.", dmFrames)
        .mandatory<Swap>(L"swap", _swap, "Front and back change places.")
        .mandatory<BackgroundColourRed>(L"backgroundColourRed", _backgroundColourRed, "The red of the background.",
                                        dmZeroToOne)
        .mandatory<BackgroundColourGreen>(L"backgroundColourGreen", _backgroundColourGreen,
                                          "The green of the background.", dmZeroToOne)
        .mandatory<BackgroundColourBlue>(L"backgroundColourBlue", _backgroundColourBlue, "The blue of the background.",
                                         dmZeroToOne)
        .optional<UseBack>(L"useBack", _useBack, "The background is the picture below, not the colour.")
        .optional<ActiveShadow>(L"activeShadow", _activeShadow, "There is a shadow.")
        .optional<MatteInvert>(L"matteInvert", _matteInvert, "The matte is taken inverted.")
        .status();
}

eDmErrorId DmDDTransformSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional<PropScaling>(L"propScaling", _propScaling, "The axes scale together.")
        .status();
}
