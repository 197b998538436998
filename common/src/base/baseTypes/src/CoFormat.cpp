// glibc's vsnprintf converts a wide argument through the process's locale and gives up on the whole text at the first
// character that the locale lacks; in the "C" locale that is every accent. A format with wide conversions is therefore
// taken apart here: the wide ones are encoded directly, each of the others goes to snprintf on its own. A format
// without any is left to vsnprintf.
#include "CoFormat.h"

#include "CoUtf8.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace DM::CoFormat
{
namespace
{

// All whole numbers longer than an int are then read and passed on as one type.
static_assert(sizeof(long) == sizeof(long long) && sizeof(std::intmax_t) == sizeof(long long) &&
              sizeof(std::size_t) == sizeof(long long) && sizeof(std::ptrdiff_t) == sizeof(long long));

constexpr int unset = -1;
constexpr int fromArgument = -2;

/// One conversion of a format, from the '%' to its letter.
struct Conversion
{
    char flags[8] = {};
    int width = unset;
    int precision = unset;
    bool isNumbered = false; ///< "%1$d"
    char length[3] = {};     ///< "hh", "l", ...
    char type = 0;           ///< 0 when the format ends within the conversion

    bool isWide() const { return type == 'S' || type == 'C' || (length[0] == 'l' && (type == 's' || type == 'c')); }
    bool isLong() const { return length[0] && length[0] != 'h'; }
    bool hasFlag(char flag) const { return std::strchr(flags, flag) != nullptr; }
};

int parseNumber(const char*& at)
{
    if (*at == '*')
    {
        ++at;
        return fromArgument;
    }
    int number = unset;
    for (; *at >= '0' && *at <= '9'; ++at)
        number = std::min<long>(std::max(number, 0) * 10L + (*at - '0'), INT_MAX);
    return number;
}

/// Reads the conversion that `at` (behind its '%') stands on and steps over it.
Conversion parseConversion(const char*& at)
{
    Conversion conversion;
    std::size_t flagCount = 0;
    for (; *at && std::strchr("-+ #0'I", *at); ++at)
        if (!conversion.hasFlag(*at))
            conversion.flags[flagCount++] = *at;
    conversion.width = parseNumber(at);
    conversion.isNumbered = *at == '$';
    if (*at == '.')
    {
        ++at;
        conversion.precision = parseNumber(at);
        if (conversion.precision == unset)
            conversion.precision = 0;
    }
    for (std::size_t i = 0; *at && std::strchr("hlqjzZtL", *at); ++at)
        if (i < 2)
            conversion.length[i++] = *at;
    conversion.type = *at;
    if (*at)
        ++at;
    return conversion;
}

bool hasWide(const char* format)
{
    for (const char* at = std::strchr(format, '%'); at; at = std::strchr(at, '%'))
    {
        ++at;
        if (parseConversion(at).isWide())
            return true;
    }
    return false;
}

/// The text as it grows, up to the end of the buffer.
class Writer
{
public:
    Writer(char* buffer, std::size_t size)
        : _buffer(buffer)
        , _capacity(size - 1)
    {
    }

    bool isCut() const { return _isCut; }

    void append(const char* text, std::size_t length)
    {
        const std::size_t taken = std::min(length, _capacity - _length);
        std::memcpy(_buffer + _length, text, taken);
        advance(length);
    }
    void pad(std::size_t count)
    {
        std::memset(_buffer + _length, ' ', std::min(count, _capacity - _length));
        advance(count);
    }
    template <class T>
    bool print(const char* conversion, T value)
    {
        const int length = std::snprintf(_buffer + _length, _capacity - _length + 1, conversion, value);
        if (length < 0)
            return false;
        advance(static_cast<std::size_t>(length));
        return true;
    }
    int finish()
    {
        if (_isCut)
            _length = CoUtf8::cut(_buffer, _length);
        _buffer[_length] = 0;
        return static_cast<int>(std::min<std::size_t>(_length, INT_MAX));
    }

private:
    void advance(std::size_t length)
    {
        _isCut = _isCut || length > _capacity - _length;
        _length += std::min(length, _capacity - _length);
    }

    char* _buffer;
    std::size_t _capacity;
    std::size_t _length = 0;
    bool _isCut = false;
};

int copy(char* buffer, std::size_t size, const char* text)
{
    Writer writer(buffer, size);
    writer.append(text, std::strlen(text));
    return writer.finish();
}

/// Writes the characters of `text` that fit into `limit` bytes, padded to the conversion's width.
void appendWide(Writer& writer, const Conversion& conversion, const wchar_t* text, std::size_t limit)
{
    char bytes[CoUtf8::maxBytes];
    std::size_t units = 0;
    std::size_t length = 0;
    // A text that fills the limit needs no terminator: the unit behind it is not read.
    while (length < limit && text[units])
    {
        const std::size_t more = CoUtf8::encode(static_cast<char32_t>(text[units]), bytes);
        if (more > limit - length)
            break;
        length += more;
        ++units;
    }
    const std::size_t width = conversion.width > 0 ? static_cast<std::size_t>(conversion.width) : 0;
    const std::size_t padding = width > length ? width - length : 0;
    if (!conversion.hasFlag('-'))
        writer.pad(padding);
    for (std::size_t i = 0; i < units && !writer.isCut(); ++i)
        writer.append(bytes, CoUtf8::encode(static_cast<char32_t>(text[i]), bytes));
    if (conversion.hasFlag('-'))
        writer.pad(padding);
}

/// Replaces the '*' of width and precision by their arguments.
void resolve(Conversion& conversion, va_list& arguments)
{
    if (conversion.width == fromArgument)
    {
        const int width = va_arg(arguments, int);
        if (width < 0 && !conversion.hasFlag('-'))
            conversion.flags[std::strlen(conversion.flags)] = '-';
        conversion.width = width < 0 ? -std::max(width, -INT_MAX) : width;
    }
    if (conversion.precision == fromArgument)
        conversion.precision = std::max(va_arg(arguments, int), unset);
}

/// The conversion as a format of its own.
struct ConversionText
{
    explicit ConversionText(const Conversion& conversion)
    {
        char width[12] = "";
        char precision[12] = "";
        if (conversion.width != unset)
            std::snprintf(width, sizeof(width), "%d", conversion.width);
        if (conversion.precision != unset)
            std::snprintf(precision, sizeof(precision), ".%d", conversion.precision);
        std::snprintf(text, sizeof(text), "%%%s%s%s%s%c", conversion.flags, width, precision, conversion.length,
                      conversion.type);
    }

    char text[48];
};

bool printNarrow(Writer& writer, const Conversion& conversion, va_list& arguments)
{
    const ConversionText format(conversion);
    switch (conversion.type)
    {
    case '%':
        writer.append("%", 1);
        return true;
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return conversion.isLong() ? writer.print(format.text, va_arg(arguments, long long))
                                   : writer.print(format.text, va_arg(arguments, int));
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        return conversion.length[0] == 'L' ? writer.print(format.text, va_arg(arguments, long double))
                                           : writer.print(format.text, va_arg(arguments, double));
    case 'c':
        return writer.print(format.text, va_arg(arguments, int));
    case 's':
        return writer.print(format.text, va_arg(arguments, const char*));
    case 'p':
        return writer.print(format.text, va_arg(arguments, const void*));
    default:
        return false;
    }
}

void printWide(Writer& writer, const Conversion& conversion, va_list& arguments)
{
    if (conversion.type == 's' || conversion.type == 'S')
    {
        const wchar_t* const text = va_arg(arguments, const wchar_t*);
        const std::size_t limit =
            conversion.precision == unset ? SIZE_MAX : static_cast<std::size_t>(conversion.precision);
        appendWide(writer, conversion, text ? text : L"(null)", limit);
    }
    else
    {
        // A zero is an empty text, which is padded and no more: as a byte, it would end the message early.
        const wchar_t text[] = {static_cast<wchar_t>(va_arg(arguments, std::wint_t)), 0};
        appendWide(writer, conversion, text, SIZE_MAX);
    }
}

/// False when the format holds what cannot be printed piece by piece.
bool printPieces(Writer& writer, const char* format, va_list& arguments)
{
    for (const char* at = format; *at && !writer.isCut();)
    {
        const std::size_t literal = std::strcspn(at, "%");
        writer.append(at, literal);
        at += literal;
        if (!*at)
            break;
        ++at;
        Conversion conversion = parseConversion(at);
        if (conversion.isNumbered)
            return false;
        resolve(conversion, arguments);
        if (conversion.isWide())
            printWide(writer, conversion, arguments);
        else if (!printNarrow(writer, conversion, arguments))
            return false;
    }
    return true;
}

} // namespace

int vformat(char* buffer, std::size_t size, const char* format, va_list arguments)
{
    if (size == 0)
        return 0;
    va_list pieces; // unlike the parameter, a variable that can be handed on by reference
    va_copy(pieces, arguments);
    int length = unset;
    if (hasWide(format))
    {
        Writer writer(buffer, size);
        if (printPieces(writer, format, pieces))
            length = writer.finish();
    }
    else
    {
        length = std::vsnprintf(buffer, size, format, pieces);
        if (length >= 0 && static_cast<std::size_t>(length) >= size)
        {
            length = static_cast<int>(CoUtf8::cut(buffer, size - 1));
            buffer[length] = 0;
        }
    }
    va_end(pieces);
    return length < 0 ? copy(buffer, size, format) : length;
}

int format(char* buffer, std::size_t size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = vformat(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace DM::CoFormat
