#include "vwEscape.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace view
{
namespace
{

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

/// The two characters of the last page of Unicode's first plane that are no characters: U+FFFE and U+FFFF.
bool isNoCharacter(std::string_view utf8, std::size_t at)
{
    return utf8.size() - at >= 3 && utf8.substr(at, 2) == "\xEF\xBF" &&
           (utf8[at + 2] == '\xBE' || utf8[at + 2] == '\xBF');
}

} // namespace

void addXml(std::string& to, std::string_view utf8)
{
    for (std::size_t i = 0; i < utf8.size(); ++i)
    {
        const char c = utf8[i];
        const auto code = static_cast<unsigned char>(c);
        if (c == '<')
            to += "&lt;";
        else if (c == '>')
            to += "&gt;";
        else if (c == '&')
            to += "&amp;";
        else if (c == '"')
            to += "&quot;";
        else if (c == '\r')
            to += "&#13;";
        else if (code < 0x20 && c != '\n' && c != '\t')
            to += replacement;
        else if (isNoCharacter(utf8, i))
        {
            to += replacement;
            i += 2;
        }
        else
            to += c;
    }
}

std::string xml(std::string_view utf8)
{
    std::string text;
    text.reserve(utf8.size());
    addXml(text, utf8);
    return text;
}

void addJson(std::string& to, std::string_view utf8)
{
    to += '"';
    addJsonText(to, utf8);
    to += '"';
}

void addJsonText(std::string& to, std::string_view utf8)
{
    for (const char c : utf8)
    {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            (to += '\\') += c;
        else if (c == '<' || c == '>' || c == '&' || code < 0x20 || code == 0x7F)
        {
            char text[8];
            std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(code));
            to += text;
        }
        else
            to += c;
    }
}

void addNumber(std::string& to, double value)
{
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    to.append(text.data(), end);
}

void addPixel(std::string& to, double value)
{
    addNumber(to, std::round(value * 100.0) / 100.0);
}

} // namespace view
