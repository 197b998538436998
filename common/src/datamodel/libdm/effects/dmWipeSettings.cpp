#include "dmWipeSettings.h"

#include "dmEffectDefinition.h"
#include "envVar.h"

template class DmEffect<DmWipeSettings>;

namespace
{

constexpr int verticalEdge = 1;

ZR_ENV_VAR(int, wipePattern, "ZR_DEFAULT_DM_WIPE_PATTERN", verticalEdge);

} // namespace

int DmWipeSettings::defaultPattern()
{
    const int pattern = wipePattern().getValue();
    return pattern > 0 ? pattern : verticalEdge; // what is no number reads as 0
}

eDmErrorId DmWipeSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length of the wipe.", dmFrames)
        .mandatory<SmptePattern>(L"smptePattern", _smptePattern, "The SMPTE number of the edge's shape.", dmNotNegative)
        .mandatory<PositionX>(L"positionX", _positionX, "The shape's centre off the picture's, across.", dmPixels)
        .mandatory<PositionY>(L"positionY", _positionY, "The shape's centre off the picture's, vertically.", dmPixels)
        .mandatory<RotationZ>(L"rotationZ", _rotationZ, "How far the shape is turned.", dmDegrees)
        .mandatory<Softness>(L"softness", _softness, "How soft the edge is; 0 is hard.")
        .mandatory<Inverted>(L"inverted", _inverted, "The edge moves the other way.")
        .mandatory<ScaleX>(L"scaleX", _scaleX, "The size of the shape, across; 1 is its own.")
        .mandatory<ScaleY>(L"scaleY", _scaleY, "The size of the shape, vertically; 1 is its own.")
        .mandatory<ScaleZ>(L"scaleZ", _scaleZ, "The size of the shape in depth; 1 is its own.")
        .status();
}
