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
        .mandatory(L"length", _length)
        .mandatory(L"smptePattern", _smptePattern)
        .mandatory(L"positionX", _positionX)
        .mandatory(L"positionY", _positionY)
        .mandatory(L"rotationZ", _rotationZ)
        .mandatory(L"softness", _softness)
        .mandatory(L"inverted", _inverted)
        .mandatory(L"scaleX", _scaleX)
        .mandatory(L"scaleY", _scaleY)
        .mandatory(L"scaleZ", _scaleZ)
        .status();
}
