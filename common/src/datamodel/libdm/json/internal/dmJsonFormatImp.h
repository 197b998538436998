/// What the document format says beyond JSON: how deep it nests, under which keys the version stands, how numbers are
/// spelled.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace dmJson
{

/// The most JSON objects and arrays inside each other that are read or written.
inline constexpr std::size_t maxDepth = 1024;

struct VersionKeys
{
    std::string version;
    std::string major;
    std::string minor;
};
const VersionKeys& versionKeys();

/// Room for any number: 17 digits, or 21 with the zeros behind them, sign, point, and an exponent.
inline constexpr std::size_t numberSize = 32;

/// A finite double in the shortest form that reads back as itself, laid out as the JSON library does: "250.0", "1e30",
/// "0.10000000149011612".
std::string_view formatDouble(double value, char (&buffer)[numberSize]);
/// The same where `numberSize` bytes may be written; answers where it ends.
char* writeDouble(double value, char* to);

/// A number of a document in the form in which it would be written again, which is the text that a property is set
/// from: "5.70" is "5.7", 1e3 is "1000.0", and an integer of more than 64 bits is a double. Empty when no double holds
/// it. The result lies in `buffer` or is `text` itself.
std::string_view canonicalNumber(std::string_view text, char (&buffer)[numberSize]);

/// Whether the text of a number is that of an integer.
inline bool isInteger(std::string_view number)
{
    for (const char c : number)
        if (c == '.' || c == 'e' || c == 'E')
            return false;
    return true;
}

/// The double nearest to a number of a document. False when it is too large for one.
bool parseDouble(std::string_view number, double& value);

} // namespace dmJson
