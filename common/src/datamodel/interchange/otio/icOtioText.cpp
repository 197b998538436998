#include "icOtioText.h"

#include <rapidjson/internal/dtoa.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace interchange::otio
{

namespace
{

constexpr std::size_t indent = 4;

bool isPlain(char c)
{
    return static_cast<unsigned char>(c) >= ' ' && c != '"' && c != '\\';
}

} // namespace

JsonText::JsonText(Sink& sink)
    : _sink(sink)
{
    _held.reserve(2 * pieceSize);
}

void JsonText::flush()
{
    _isGood = _isGood && _sink.write(_held);
    _held.clear();
}

bool JsonText::finish()
{
    _held += '\n';
    flush();
    return _isGood;
}

void JsonText::beginLine()
{
    if (_held.size() >= pieceSize)
        flush();
    _held += '\n';
    _held.append(_levels.size() * indent, ' ');
}

void JsonText::begin()
{
    if (_isNamed || _levels.empty())
    {
        _isNamed = false;
        return;
    }
    if (!_levels.back().isEmpty)
        _held += ',';
    _levels.back().isEmpty = false;
    beginLine();
}

void JsonText::open(char bracket)
{
    begin();
    _held += bracket;
    _levels.push_back({bracket == '['});
}

void JsonText::close(char bracket)
{
    const bool isEmpty = _levels.back().isEmpty;
    _levels.pop_back();
    if (!isEmpty)
        beginLine();
    _held += bracket;
}

void JsonText::name(std::string_view name)
{
    begin();
    quote(name);
    _held += ": ";
    _isNamed = true;
}

void JsonText::raw(std::string_view text)
{
    begin();
    _held += text;
}

void JsonText::text(std::string_view text)
{
    begin();
    quote(text);
}

void JsonText::quote(std::string_view text)
{
    _held += '"';
    while (!text.empty())
    {
        const auto length = static_cast<std::size_t>(std::ranges::find_if_not(text, isPlain) - text.begin());
        _held.append(text, 0, length);
        if (length == text.size())
            break;
        constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
        constexpr std::string_view letters = "\"\\bfnrt";
        constexpr std::string_view hex = "0123456789ABCDEF";
        const auto code = static_cast<unsigned char>(text[length]);
        if (const std::size_t at = escaped.find(text[length]); at != escaped.npos)
            _held.append({'\\', letters[at]});
        else
            _held.append({'\\', 'u', '0', '0', hex[code >> 4], hex[code & 15]});
        text.remove_prefix(length + 1);
    }
    _held += '"';
}

void JsonText::number(double number)
{
    constexpr double largestInteger = 9007199254740992; // beyond it doubles are further than one apart
    char text[32];
    if (!std::isfinite(number))
        return raw(nonFiniteToken(number));
    if (std::abs(number) < largestInteger && number == std::trunc(number) && (number != 0 || !std::signbit(number)))
    {
        char* const end = std::to_chars(text, text + sizeof text, static_cast<std::int64_t>(number)).ptr;
        std::copy_n(".0", 2, end);
        return raw({text, end + 2});
    }
    raw({text, json::internal::dtoa(number, text)});
}

void JsonText::integer(std::int64_t number)
{
    char text[32];
    raw({text, std::to_chars(text, text + sizeof text, number).ptr});
}

void JsonText::integer(std::uint64_t number)
{
    char text[32];
    raw({text, std::to_chars(text, text + sizeof text, number).ptr});
}

} // namespace interchange::otio
