#include "icLook.h"

#include "icTree.h"

namespace interchange
{

namespace
{

constexpr const wchar_t* onlySop = L"ASC_SOP";
constexpr const wchar_t* onlySaturation = L"ASC_SAT";

} // namespace

CoSharedPtr<DmLookSettings> toLookSettings(const Look& look)
{
    auto settings = made(DmLookSettings::create());
    require(settings->setSlopeR(look.slope[0]));
    require(settings->setSlopeG(look.slope[1]));
    require(settings->setSlopeB(look.slope[2]));
    require(settings->setOffsetR(look.offset[0]));
    require(settings->setOffsetG(look.offset[1]));
    require(settings->setOffsetB(look.offset[2]));
    require(settings->setPowerR(look.power[0]));
    require(settings->setPowerG(look.power[1]));
    require(settings->setPowerB(look.power[2]));
    require(settings->setSaturation(look.saturation));
    require(settings->setComment(look.hasSop && look.hasSaturation ? L"" : look.hasSop ? onlySop : onlySaturation));
    return settings;
}

Look toLook(const DmLookSettings& settings)
{
    Look look{{settings.getSlopeR(), settings.getSlopeG(), settings.getSlopeB()},
              {settings.getOffsetR(), settings.getOffsetG(), settings.getOffsetB()},
              {settings.getPowerR(), settings.getPowerG(), settings.getPowerB()},
              settings.getSaturation(),
              true,
              true};
    const Look none;
    const DmString& from = settings.getComment();
    look.hasSaturation = !(from == onlySop) || look.saturation != none.saturation;
    look.hasSop =
        !(from == onlySaturation) || look.slope != none.slope || look.offset != none.offset || look.power != none.power;
    return look;
}

} // namespace interchange
