#include "icLook.h"

#include "icText.h"
#include "icTree.h"

#include <CoNumber.h>

#include <algorithm>
#include <cmath>

namespace interchange
{

namespace
{

constexpr const wchar_t* onlySop = L"ASC_SOP";
constexpr const wchar_t* onlySaturation = L"ASC_SAT";

} // namespace

CoSharedPtr<DmLookSettings> toLookSettings(const Look& look)
{
    auto settings = orBadAlloc(DmLookSettings::create());
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

bool Look::isFinite() const
{
    const auto areFinite = [](const std::array<double, 3>& values)
    { return std::ranges::all_of(values, [](double value) { return std::isfinite(value); }); };
    return areFinite(slope) && areFinite(offset) && areFinite(power) && std::isfinite(saturation);
}

std::vector<double> numbersOf(std::string_view text)
{
    std::vector<double> numbers;
    const auto isBetween = [](char c) { return isBlank(c) || c == '(' || c == ')' || c == ','; };
    while (true)
    {
        while (!text.empty() && isBetween(text.front()))
            text.remove_prefix(1);
        if (text.empty())
            return numbers;
        if (text.front() == '+')
            text.remove_prefix(1);
        std::size_t length = 0;
        const double value = DM::CoNumber::read(text, length);
        if (length == 0 || !std::isfinite(value) || (length < text.size() && !isBetween(text[length])))
            return {};
        numbers.push_back(value);
        text.remove_prefix(length);
    }
}

std::string numberText(double value)
{
    std::string text;
    appendDecimal(text, value, 1, 0);
    return text;
}

std::string sopText(const Look& look)
{
    std::string text;
    for (const std::array<double, 3>* const values : {&look.slope, &look.offset, &look.power})
        text.append("(" + numberText((*values)[0]) + ' ' + numberText((*values)[1]) + ' ' + numberText((*values)[2]) +
                    ')');
    return text;
}

bool readSop(std::string_view text, Look& look)
{
    const std::vector<double> numbers = numbersOf(text);
    if (numbers.size() != 9 && numbers.size() != 10)
        return false;
    std::copy_n(numbers.begin(), 3, look.slope.begin());
    std::copy_n(numbers.begin() + 3, 3, look.offset.begin());
    std::copy_n(numbers.begin() + 6, 3, look.power.begin());
    look.hasSop = true;
    if (numbers.size() == 10)
    {
        look.saturation = numbers[9];
        look.hasSaturation = true;
    }
    return true;
}

} // namespace interchange
