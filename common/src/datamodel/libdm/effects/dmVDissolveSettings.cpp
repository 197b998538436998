#include "dmVDissolveSettings.h"

#include "dmEffectDefinition.h"
#include "zrAssert.h"

#include <algorithm>
#include <cmath>

template class DmEffect<DmVDissolveSettings>;

namespace
{

bool isUsableScale(float limit)
{
    const bool isZero = std::fabs(limit) < 0.0001F;
    ZR_ASSERT_SOFT_AS("!EQUAL( limit, 0.0f )", !isZero);
    return !isZero && std::isfinite(limit);
}

/// False for what is no number, too.
bool isNormalised(float component)
{
    return component >= 0 && component <= 1;
}

} // namespace

eDmErrorId DmVDissolveSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length of the dissolve.", dmFrames)
        .mandatory<HasToFromColor>(L"hasToFromColor", _hasToFromColor,
                                   "Fades from or to the colour instead of between two pictures.")
        .mandatory<ToFromColorRed>(L"toFromColorRed", _toFromColorRed, "The red of that colour.", dmZeroToOne)
        .mandatory<ToFromColorGreen>(L"toFromColorGreen", _toFromColorGreen, "The green of that colour.", dmZeroToOne)
        .mandatory<ToFromColorBlue>(L"toFromColorBlue", _toFromColorBlue, "The blue of that colour.", dmZeroToOne)
        .status();
}

eDmErrorId DmVDissolveSettings::createAttributes()
{
    return createAttributesFromEnum<DmVDissolveSettings, AttributId>(5);
}

eDmErrorId DmVDissolveSettings::getToFromColor(float limit, float& red, float& green, float& blue) const
{
    const bool usable = isUsableScale(limit) && !std::isnan(_toFromColorRed) && !std::isnan(_toFromColorGreen) &&
                        !std::isnan(_toFromColorBlue);
    const auto scaled = [&](float stored) { return usable ? std::clamp(stored, 0.0F, 1.0F) * limit : 0; };
    red = scaled(_toFromColorRed);
    green = scaled(_toFromColorGreen);
    blue = scaled(_toFromColorBlue);
    return usable ? DM_NO_ERROR : DM_BAD_VALUE;
}

eDmErrorId DmVDissolveSettings::setToFromColor(float limit, float red, float green, float blue)
{
    if (!isUsableScale(limit) || !isNormalised(red / limit) || !isNormalised(green / limit) ||
        !isNormalised(blue / limit))
        return DM_BAD_VALUE;
    if (const eDmErrorId status = set(ToFromColorRed, red / limit); status != DM_NO_ERROR)
        return status;
    if (const eDmErrorId status = set(ToFromColorGreen, green / limit); status != DM_NO_ERROR)
        return status;
    return set(ToFromColorBlue, blue / limit);
}
