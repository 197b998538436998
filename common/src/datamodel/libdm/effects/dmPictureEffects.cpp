#include "dmPictureEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmFlipSettings>;
template class DmEffect<DmSVGSettings>;
template class DmEffect<DmQuillSettings>;

eDmErrorId DmFlipSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<OrientationType>(L"orientationType", _orientationType, "How the picture is mirrored or turned.")
        .mandatory<DomCorrectionType>(L"domCorrectionType", _domCorrectionType,
                                      "How the dominance of fields is corrected.")
        .status();
}

eDmErrorId DmSVGSettings::createList()
{
    return declare(*this, DmEffect::createList()).mandatory<Svg>(L"svg", _svg, "The drawing, as SVG text.").status();
}

eDmErrorId DmQuillSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Inputs>(L"inputs", _inputs, "The numbers of the inputs, in order.")
        .mandatory<PathName>(L"pathName", _pathName, "The path of the setup.")
        .status();
}
