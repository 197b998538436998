#include "dmJsonFormatImp.h"

#include "dmRapidJsonImp.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "CoInteger.h"
#include "CoNumber.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace
{

using dmJson::numberSize;

/// Integers below this have at most 16 digits, which are their shortest form.
constexpr double exactIntegers = 9007199254740992.0; // 2^53

char* formatInteger(double value, char* out)
{
    const auto whole = static_cast<std::int64_t>(value);
    char* end = out;
    if (whole < 10)
        *end++ = static_cast<char>('0' + whole);
    else
        end = std::to_chars(out, out + numberSize, whole).ptr;
    *end++ = '.';
    *end++ = '0';
    return end;
}

/// The digits and the exponent of the shortest form, which the library then lays out. (Its own digits are not the
/// shortest for about one double in a thousand.)
char* formatFraction(double value, char* out)
{
    char text[numberSize];
    const char* const end = std::to_chars(text, text + numberSize, value, std::chars_format::scientific).ptr;
    int length = 0;
    const char* at = text;
    for (; *at != 'e'; ++at)
        if (*at != '.')
            out[length++] = *at;
    std::size_t read = 0;
    const int exponent = DM::CoInteger::read<int>(std::string_view(at + 1, end), read);
    return zrRapidjson::internal::Prettify(out, length, exponent - (length - 1), 324);
}

} // namespace

const dmJson::VersionKeys& dmJson::versionKeys()
{
    static const VersionKeys keys{dmUtf8(DmVersion::getKey()), dmUtf8(DmVersion::getMajorKey()),
                                  dmUtf8(DmVersion::getMinorKey())};
    return keys;
}

char* dmJson::writeDouble(double value, char* to)
{
    if (std::signbit(value))
        *to++ = '-';
    const double magnitude = std::fabs(value);
    const bool integer = magnitude < exactIntegers && std::trunc(magnitude) == magnitude;
    return integer ? formatInteger(magnitude, to) : formatFraction(magnitude, to);
}

std::string_view dmJson::formatDouble(double value, char (&buffer)[numberSize])
{
    return {buffer, static_cast<std::size_t>(writeDouble(value, buffer) - buffer)};
}

std::string_view dmJson::canonicalNumber(std::string_view text, char (&buffer)[numberSize])
{
    if (isInteger(text))
    {
        if (const std::optional<std::int64_t> number = DM::CoInteger::whole<std::int64_t>(text))
            return *number == 0 ? "0" : text;
        if (DM::CoInteger::whole<std::uint64_t>(text))
            return text;
    }
    double value = 0;
    return parseDouble(text, value) ? formatDouble(value, buffer) : std::string_view();
}

bool dmJson::parseDouble(std::string_view number, double& value)
{
    std::size_t length = 0;
    value = DM::CoNumber::read(number, length);
    return std::isfinite(value);
}
