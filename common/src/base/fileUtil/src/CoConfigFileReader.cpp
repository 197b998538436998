#include "CoConfigFileReader.h"

#include "CoException.h"
#include "CoFile.h"
#include "zrSourcePath.h"

#include <algorithm>
#include <system_error>

namespace DM
{
namespace
{

constexpr std::string_view blanks = " \t\r\f\v";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

constexpr struct
{
    char letter;
    char character;
} escapes[] = {{'"', '"'}, {'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == text.npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

bool startsComment(std::string_view text)
{
    return text.starts_with('#') || text.starts_with(';');
}

/// What is wrong with a line; the reader adds the place.
struct BadLine
{
    const char* reason;
};

/// One line without the blanks at its ends, read from left to right.
class LineParser
{
public:
    explicit LineParser(std::string_view line)
        : _rest(trimmed(line))
    {
    }

    bool isDone() const { return _rest.empty() || startsComment(_rest); }
    bool isAt(char c) const { return _rest.starts_with(c); }

    bool skip(char c)
    {
        if (!isAt(c))
            return false;
        step(1);
        return true;
    }
    /// A quoted text, or all that stands before `terminator`.
    std::string name(char terminator)
    {
        return isAt('"') ? quoted() : unquoted(std::min(_rest.find(terminator), _rest.size()));
    }
    /// A quoted text, or all that stands before a comment.
    std::string value()
    {
        if (isAt('"'))
            return quoted();
        std::size_t end = 0;
        while (end < _rest.size() && !(startsComment(_rest.substr(end)) && (end == 0 || isBlank(_rest[end - 1]))))
            ++end;
        return unquoted(end);
    }

private:
    static bool isBlank(char c) { return blanks.find(c) != blanks.npos; }

    void step(std::size_t count) { _rest = trimmed(_rest.substr(count)); }

    std::string unquoted(std::size_t length)
    {
        std::string result(trimmed(_rest.substr(0, length)));
        step(length);
        return result;
    }
    std::string quoted()
    {
        std::string result;
        std::size_t at = 1;
        for (; at < _rest.size() && _rest[at] != '"'; ++at)
            result += _rest[at] == '\\' && at + 1 < _rest.size() ? unescaped(_rest[++at]) : _rest[at];
        if (at >= _rest.size())
            throw BadLine{"missing closing quote"};
        step(at + 1);
        return result;
    }
    static char unescaped(char letter)
    {
        for (const auto& escape : escapes)
            if (escape.letter == letter)
                return escape.character;
        throw BadLine{"unknown escape: only \\\", \\\\, \\n, \\r and \\t are known"};
    }

    std::string_view _rest;
};

std::string quotedText(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text)
    {
        char letter = 0;
        for (const auto& escape : escapes)
            if (escape.character == c)
                letter = escape.letter;
        if (letter)
            result += '\\';
        result += letter ? letter : c;
    }
    return result += '"';
}

/// A name as it can stand before `terminator`.
std::string nameText(std::string_view name, char terminator)
{
    const char special[] = {terminator, '"', '\n', 0};
    const bool isPlain = !name.empty() && trimmed(name) == name && name.find_first_of(special) == name.npos &&
                         !startsComment(name) && !name.starts_with('[');
    return isPlain ? std::string(name) : quotedText(name);
}

[[noreturn]] void fail(const std::string& what)
{
    throw CoException(what.c_str(), __LINE__, ZR_SOURCE_FILE);
}

std::string readWhole(const std::string& path)
{
    CoFileReader file(path.c_str());
    std::string text;
    char chunk[65536];
    while (const std::size_t count = file.read(chunk, sizeof(chunk)))
    {
        text.append(chunk, count);
        if (text.size() > CoConfigFileReader::maxFileSize)
            fail(path + ": too large for a configuration file");
    }
    if (file.error() != 0)
        fail(path + ": cannot be read: " + std::generic_category().message(file.error()));
    return text;
}

} // namespace

CoConfigFileReader::CoConfigFileReader(const std::string& path)
{
    read(readWhole(path), path);
}

CoConfigFileReader::CoConfigFileReader(std::string_view text, const std::string& name)
{
    read(text, name);
}

void CoConfigFileReader::read(std::string_view text, const std::string& name)
{
    if (text.find('\0') != text.npos)
        fail(name + ": binary data, not a configuration file");
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    Section* section = &_sections[""];
    for (int number = 1; !text.empty(); ++number)
    {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        try
        {
            section = readLine(line, section);
        }
        catch (const BadLine& bad)
        {
            CoException error(__LINE__, ZR_SOURCE_FILE);
            error.fire((name + ':' + std::to_string(number) + ": " + bad.reason).c_str(), "%.*s",
                       static_cast<int>(std::min<std::size_t>(line.size(), 1000)), line.data());
        }
    }
}

CoConfigFileReader::Section* CoConfigFileReader::readLine(std::string_view line, Section* section)
{
    if (line.size() > maxLineLength)
        throw BadLine{"line too long"};
    LineParser parser(line);
    if (parser.isDone())
        return section;
    if (parser.skip('['))
    {
        section = &_sections[parser.name(']')];
        if (!parser.skip(']'))
            throw BadLine{"missing ']'"};
    }
    else
    {
        if (parser.isAt('='))
            throw BadLine{"missing name before '='"};
        const std::string name = parser.name('=');
        if (!parser.skip('='))
            throw BadLine{"missing '='"};
        (*section)[name] = parser.value();
    }
    if (!parser.isDone())
        throw BadLine{"unexpected text at the end of the line"};
    return section;
}

const std::string* CoConfigFileReader::find(std::string_view section, std::string_view name) const
{
    const auto foundSection = _sections.find(section);
    if (foundSection == _sections.end())
        return nullptr;
    const auto found = foundSection->second.find(name);
    return found == foundSection->second.end() ? nullptr : &found->second;
}

std::string CoConfigFileReader::sectionLine(std::string_view section)
{
    return '[' + nameText(section, ']') + "]\n";
}

std::string CoConfigFileReader::entryLine(std::string_view name, std::string_view value)
{
    return nameText(name, '=') + " = " + quotedText(value) + '\n';
}

} // namespace DM
