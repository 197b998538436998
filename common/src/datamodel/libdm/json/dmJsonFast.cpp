#include "dmJsonFastImp.h"

#include "dmJsonBytesImp.h"
#include "dmJsonFormatImp.h"
#include "dmJsonKeptImp.h"
#include "dmJsonParsedImp.h"
#include "dmNumberText.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "CoInteger.h"
#include "CoNumber.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <emmintrin.h>
#include <limits>

namespace dmJson
{
namespace
{

/// Sets inside each other; deeper documents go the other way, which needs less stack a level.
constexpr unsigned mostSets = 128;
/// Properties of a class, a bit each.
constexpr std::size_t mostProperties = 256;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

template <class T>
concept IsCharacter = std::same_as<T, signed char> || std::same_as<T, unsigned char>;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr std::size_t lane = sizeof(__m128i);
static_assert(lane <= Pieces::margin);

__m128i load(const char* from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

unsigned maskOf(__m128i bytes)
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

/// Which of 16 bytes mean something inside a string: a quote, a backslash, a control character, the end.
unsigned specials(__m128i bytes)
{
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
    return maskOf(_mm_or_si128(_mm_or_si128(quote, escape), control));
}

/// Which of 16 bytes are not `c`.
unsigned others(__m128i bytes, char c)
{
    return ~maskOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))) & 0xFFFF;
}

constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                  1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// So many digits are no more than 64 bits hold.
constexpr unsigned mostDigits = 18;

constexpr std::uint64_t wholePowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

/// How many digits stand there, of 16 that are looked at.
unsigned digitsAt(const char* at)
{
    const __m128i values = _mm_sub_epi8(load(at), _mm_set1_epi8('0'));
    const unsigned digits = maskOf(_mm_cmpeq_epi8(_mm_min_epu8(values, _mm_set1_epi8(9)), values));
    return static_cast<unsigned>(std::countr_one(digits));
}

/// Text of a byte a character, into an empty string or one whose text is not needed.
bool widen(std::string_view ascii, DmString& wide)
{
    constexpr std::size_t few = 4;
    const std::size_t size = ascii.size();
    if (size >= std::numeric_limits<unsigned>::max() || !wide.allocNewBuff(static_cast<unsigned>(size)))
        return false;
    if (size == 0)
        return true;
    wchar_t* const to = &wide[0];
    const auto widenFew = [&](std::size_t at)
    {
        std::int32_t four = 0;
        std::memcpy(&four, &ascii[at], sizeof four);
        const __m128i zero = _mm_setzero_si128();
        const __m128i words = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), zero);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + at), _mm_unpacklo_epi16(words, zero));
    };
    if (size >= Bytes::manyBytes)
        Bytes::best().widen(ascii, to);
    else if (size < few)
        for (std::size_t i = 0; i < size; ++i)
            to[i] = ascii[i];
    else
    {
        for (std::size_t i = 0; i + few < size; i += few)
            widenFew(i);
        widenFew(size - few); // over some of those before
    }
    to[size] = 0;
    return true;
}

/// The number that the first 1 to 8 digits are: neighbours are joined, to pairs, to fours, to all.
std::uint64_t eightDigits(const char* at, unsigned count)
{
    std::uint64_t digits = 0;
    std::memcpy(&digits, at, sizeof digits);
    digits = (digits - 0x3030303030303030) << (64 - 8 * count); // zeros in front; a borrow stays behind
    digits = digits * 10 + (digits >> 8);
    return (((digits & 0x000000FF000000FF) * 0x000F424000000064) +
            ((digits >> 16 & 0x000000FF000000FF) * 0x0000271000000001)) >>
           32;
}

/// Whether a field has the text already, which then goes on taking no memory.
bool isKeptDefault(const DmString& stored, const DmString& value)
{
    return stored.isKept() && stored == value;
}
template <class T>
bool isKeptDefault(const T& /*stored*/, const T& /*value*/)
{
    return false;
}

/// A double that lies between two floats of the normal range, and not in the middle: it rounds as its text does. The
/// middle itself may not, because its text is not its exact value.
bool roundsAsItsText(double value)
{
    constexpr std::uint64_t belowFloat = (std::uint64_t{1} << 29) - 1;
    constexpr std::uint64_t middle = std::uint64_t{1} << 28;
    const double magnitude = std::fabs(value);
    return (magnitude == 0 || magnitude >= std::numeric_limits<float>::min()) &&
           magnitude < std::numeric_limits<float>::max() &&
           (std::bit_cast<std::uint64_t>(value) & belowFloat) != middle;
}

} // namespace

// What stands next

/// Reads on behind `at`, and keeps what begins at the reader's place.
bool FastReader::refill(const char*& at)
{
    const std::ptrdiff_t ahead = at - _at;
    const bool isMore = _pieces.more(_at);
    _at = _pieces.at();
    at = _at + ahead;
    return isMore;
}

char FastReader::peekBehindBlanks()
{
    for (;;)
    {
        while (isBlank(*_at))
        {
            if (*_at++ != '\n')
                continue;
            // The indentation of the pretty layout.
            while (*_at == '\t')
            {
                const unsigned end = others(load(_at), '\t') | others(load(_at + lane), '\t') << lane;
                if (end != 0)
                {
                    _at += std::countr_zero(end);
                    break;
                }
                _at += 2 * lane;
            }
        }
        const char* at = _at;
        if (*at != '\0' || at != _pieces.end() || !refill(at))
            return *_at;
    }
}

FastReader::Expected::Expected(std::string_view name)
{
    constexpr std::string_view behind = "\":";
    const auto isPlain = [](char c) { return c >= ' ' && c != '"' && c != '\\'; };
    if (name.size() + behind.size() > sizeof bytes || !std::all_of(name.begin(), name.end(), isPlain))
        return;
    std::copy(behind.begin(), behind.end(), std::copy(name.begin(), name.end(), bytes));
    size = static_cast<unsigned>(name.size() + behind.size());
    places = ~std::uint32_t{0} >> (sizeof bytes - size);
}

FastReader::Property::Property(const DmPropertySet& object, std::size_t place)
    : def(object.classData().at(static_cast<int>(place)))
    , index(static_cast<unsigned>(place))
    , isInside(def->_isInside && !def->_constant)
    , name(def->_utf8Name)
{
}

/// At a quote. What is compared beyond the end is zero.
bool FastReader::isAt(const Expected& name) const
{
    static_assert(sizeof name.bytes == 2 * lane);
    const char* const at = _at + 1;
    const unsigned low = maskOf(_mm_cmpeq_epi8(load(at), load(name.bytes)));
    const unsigned high = maskOf(_mm_cmpeq_epi8(load(at + lane), load(name.bytes + lane)));
    return name.size != 0 && ((high << lane | low) & name.places) == name.places;
}

bool FastReader::word(std::string_view letters)
{
    const char* at = _at;
    for (const char letter : letters)
    {
        if (at == _pieces.end() && !refill(at))
            return false;
        if (*at++ != letter)
            return false;
    }
    _at = at;
    return true;
}

/// At its opening quote.
bool FastReader::string(Text& text)
{
    const char* at = _at + 1;
    text.isPlain = true;
    unsigned high = 0;
    for (;;)
    {
        const __m128i bytes = load(at);
        const unsigned special = specials(bytes);
        if (special == 0)
        {
            high |= maskOf(bytes);
            at += lane;
            if (static_cast<std::size_t>(at - _at) > Bytes::manyBytes)
                at = Bytes::best().plainEnd(at, high); // and look there again
            continue;
        }
        high |= maskOf(bytes) & ((special & (~special + 1)) - 1);
        at += std::countr_zero(special);
        if (*at == '"')
            break;
        if (at == _pieces.end() || (*at == '\\' && at + 1 == _pieces.end()))
        {
            if (!refill(at))
                return false;
        }
        else if (*at == '\\')
        {
            text.isPlain = false;
            at += 2;
        }
        else
            return false;
    }
    text.isAscii = high == 0;
    text.raw = {_at + 1, static_cast<std::size_t>(at - _at - 1)};
    _at = at + 1;
    return true;
}

/// Most numbers are short: their digits are found and weighed all at once, which leaves no loop to guess the end of.
bool FastReader::digits(Number& number)
{
    const char* at = _at;
    number = {{}, 0, 0, *at == '-', true, true};
    at += number.isNegative ? 1 : 0;
    if (isDigit(*at) && (at[1] == ',' || at[1] == '}')) // alone, as in the codes of enumerations
    {
        number.digits = static_cast<unsigned>(*at - '0');
        number.text = {_at, static_cast<std::size_t>(at + 1 - _at)};
        _at = at + 1;
        return true;
    }
    const unsigned whole = digitsAt(at);
    if (whole == 0 || whole > 8 || (whole > 1 && *at == '0'))
        return digitsOneByOne(number);
    number.digits = eightDigits(at, whole);
    at += whole;
    if (*at == '.')
    {
        number.isInteger = false;
        number.decimals = digitsAt(++at);
        if (number.decimals == 0 || whole + number.decimals > mostDigits || isDigit(at[number.decimals]))
            return digitsOneByOne(number);
        unsigned rest = number.decimals;
        if (rest > 8)
        {
            number.digits = number.digits * wholePowersOfTen[8] + eightDigits(at, 8);
            at += 8;
            rest -= 8;
        }
        number.digits = number.digits * wholePowersOfTen[rest] + eightDigits(at, rest);
        at += rest;
    }
    // At the end of what is in sight stands a zero.
    if (*at == 'e' || *at == 'E' || *at == '\0')
        return digitsOneByOne(number);
    number.text = {_at, static_cast<std::size_t>(at - _at)};
    _at = at;
    return true;
}

bool FastReader::digitsOneByOne(Number& number)
{
    const char* at = _at;
    for (;;)
    {
        number = {{}, 0, 0, *at == '-', true, true};
        if (number.isNegative)
            ++at;
        const char* const first = at;
        const auto skip = [&]
        {
            const char* const begin = at;
            for (; isDigit(*at); ++at)
                number.digits = number.digits * 10 + static_cast<unsigned>(*at - '0');
            return static_cast<unsigned>(at - begin);
        };
        unsigned count = skip();
        bool isNumber = count > 0 && (*first != '0' || count == 1);
        if (*at == '.')
        {
            ++at;
            number.isInteger = false;
            number.decimals = skip();
            count += number.decimals;
            isNumber = isNumber && number.decimals > 0;
        }
        number.isExact = count <= mostDigits;
        if (*at == 'e' || *at == 'E')
        {
            number.isInteger = false;
            number.isExact = false;
            ++at;
            if (*at == '-' || *at == '+')
                ++at;
            const char* const exponent = at;
            while (isDigit(*at))
                ++at;
            isNumber = isNumber && at != exponent && at - exponent <= 2;
        }
        if (at == _pieces.end())
        {
            if (!refill(at))
                return false;
            at = _at;
            continue;
        }
        number.text = {_at, static_cast<std::size_t>(at - _at)};
        _at = at;
        return isNumber && count <= 40;
    }
}

// What it means

bool FastReader::read(DmPropertySetPtr& set)
{
    DmPropertySetPtr made;
    if (!document(made) || !made || peek() != '\0' || _at != _pieces.end())
        return false;
    set.swap(made);
    return true;
}

bool FastReader::document(DmPropertySetPtr& made)
{
    if (!take('{'))
        return false;
    bool hasVersion = false;
    do
    {
        Text name{};
        if (peek() != '"' || !string(name))
            return false;
        if (name.raw == versionKeys().version)
        {
            if (std::exchange(hasVersion, true) || !version())
                return false;
            continue;
        }
        Class* const type = made ? nullptr : classOf(name);
        if (!type || !take(':') || !set(*type, made))
            return false;
    } while (take(','));
    return take('}');
}

bool FastReader::version()
{
    const auto member = [this](std::string_view key, int& number)
    {
        Text name{};
        return peek() == '"' && string(name) && name.raw == key && integer(number);
    };
    int major = 0;
    int minor = 0;
    return take(':') && take('{') && member(versionKeys().major, major) && take(',') &&
           member(versionKeys().minor, minor) && take('}') && !(DmVersion(major, minor) > DmVersion::getCurrent());
}

bool FastReader::integer(int& value)
{
    Number number{};
    if (!take(':') || (peek(), !digits(number)) || !number.isInteger)
        return false;
    const std::optional<int> whole = DM::CoInteger::whole<int>(number.text);
    value = whole.value_or(value);
    return whole.has_value();
}

/// Behind a class's name and its colon.
bool FastReader::set(Class& type, DmPropertySetPtr& set)
{
    DmPropertySet* made = nullptr;
    const eDmErrorId status = DmPropertyFactory::getInstance().create(type.creator, DmNodeId(), 0, made);
    set = DmPropertySetPtr(made);
    if (status != DM_NO_ERROR || made->isFrozen() || _depth == mostSets)
        return false;
    if (type.properties.empty())
    {
        const std::size_t count = std::min(static_cast<std::size_t>(made->classData().size()), mostProperties);
        type.properties.reserve(count); // they know each other by their places
        for (std::size_t i = 0; i < count; ++i)
            type.properties.emplace_back(*made, i);
        for (std::size_t i = 1; i < count; ++i)
            type.properties[i - 1].follower = &type.properties[i];
        type.first = type.properties.data();
    }
    ++_depth;
    const bool isRead = take('{') && members(type, *made);
    --_depth;
    return isRead;
}

bool FastReader::members(Class& type, DmPropertySet& set)
{
    if (take('}'))
        return true;
    std::uint64_t seen[mostProperties / 64] = {};
    Property* property = nullptr;
    do
    {
        if (peek() != '"' || !(property = memberName(type, property)))
            return false;
        std::uint64_t& word = seen[property->index / 64];
        const std::uint64_t bit = std::uint64_t{1} << property->index % 64;
        if ((word & bit) != 0 || !value(*property, set))
            return false;
        word |= bit;
    } while (take(','));
    DmSetAccess::touch(set);
    return take('}');
}

/// With its colon, of a member behind `last`: mostly the one that stood there the last time, or one of those behind it.
/// Null when there is none.
FastReader::Property* FastReader::memberName(Class& type, Property* last)
{
    Property* const guess = last ? last->follower : type.first;
    return guess && take(guess->name) ? guess : findMember(type, last);
}

FastReader::Property* FastReader::findMember(Class& type, Property* last)
{
    Text name{};
    if (!string(name))
        return nullptr;
    const std::size_t count = type.properties.size();
    for (std::size_t i = 0; i < count; ++i)
    {
        Property& property = type.properties[((last ? last->index + 1 : 0) + i) % count];
        if (property.def->_utf8Name == name.raw)
        {
            (last ? last->follower : type.first) = &property;
            return take(':') ? &property : nullptr;
        }
    }
    return nullptr;
}

/// A value is read beside its field, and stored as a fresh object's (store).
bool FastReader::value(Property& property, DmPropertySet& owner)
{
    if (property.def->_unserializer)
        return false;
    peek();
    return dmVisitStorage(property.def->_type,
                          [this, &property, &owner]<class T>(std::type_identity<T>)
                          {
                              const DmPropertyDef& def = *property.def;
                              if constexpr (std::same_as<T, DmPropertySetPtr>)
                              {
                                  DmPropertySetPtr child;
                                  // An empty object leaves what is there.
                                  return held(property, owner, child) && (!child || store(property, owner, child));
                              }
                              else if constexpr (std::same_as<T, DmPropertySetMap>)
                              {
                                  DmPropertySetMap map;
                                  return entries(property, owner, map) &&
                                         DmSetAccess::putAll(owner, DmStore::Fresh, static_cast<int>(property.index),
                                                             def, map) == DM_NO_ERROR;
                              }
                              else if constexpr (std::is_void_v<T>)
                                  return false;
                              else
                              {
                                  T value{};
                                  bool isRead = false;
                                  if constexpr (std::same_as<T, bool>)
                                      isRead = boolean(value);
                                  else if constexpr (IsCharacter<T>)
                                      isRead = *_at == '"' && character(value);
                                  else if constexpr (DmNumberStorage<T>)
                                      isRead = number(def, value);
                                  else if constexpr (std::same_as<T, DmString>)
                                      isRead = def._type == DM_CDATA
                                                   ? lines(value)
                                                   : *_at == '"' && text(value) && isMeant(def, value);
                                  else if constexpr (std::same_as<T, DmPropertySetVector>)
                                      isRead = elements(property, owner, value);
                                  else
                                      isRead = values(value);
                                  return isRead && store(property, owner, value);
                              }
                          });
}

/// Through the door, but for what it would only let pass: a value into a field of a fresh object's own.
template <class T>
bool FastReader::store(const Property& property, DmPropertySet& owner, T& value)
{
    if (!property.isInside)
        return DmSetAccess::swapValue(owner, DmStore::Fresh, static_cast<int>(property.index), *property.def, value) ==
               DM_NO_ERROR;
    void* const field = reinterpret_cast<char*>(&owner) + property.def->_offset;
    if constexpr (DmNumberStorage<T>)
        std::memcpy(field, &value, sizeof(T));
    else if (T& stored = *static_cast<T*>(field); !isKeptDefault(stored, value))
        stored.swap(value);
    return true;
}

template <class T>
bool FastReader::number(const DmPropertyDef& def, T& value)
{
    Number number{};
    if (!digits(number))
        return false;
    if constexpr (std::is_integral_v<T>)
    {
        if (!number.isInteger)
            return false;
        if (!number.isExact)
        {
            const std::optional<T> whole = DM::CoInteger::whole<T>(number.text);
            value = whole.value_or(value);
            return whole && isMeant(def, value);
        }
        if (number.isNegative && std::is_unsigned_v<T>)
            return false;
        if (number.digits > static_cast<std::uint64_t>(std::numeric_limits<T>::max()) + (number.isNegative ? 1 : 0))
            return false;
        value = static_cast<T>(number.isNegative ? 0 - number.digits : number.digits);
        return isMeant(def, value);
    }
    else
    {
        if (number.isInteger && number.isNegative && number.digits == 0) // -0 is 0
            return false;
        double exact = 0;
        // One division rounds correctly where both numbers are exact (Clinger 1990).
        if (number.isExact && number.digits <= std::uint64_t{1} << 53)
        {
            exact = static_cast<double>(number.digits) / powersOfTen[number.decimals];
            exact = number.isNegative ? -exact : exact;
        }
        else if (!parseDouble(number.text, exact) || exact == 0)
            return false;
        if constexpr (std::same_as<T, float>)
        {
            const bool isExact = number.isInteger && number.digits <= std::uint64_t{1} << 53 && number.isExact;
            if (!isExact && !roundsAsItsText(exact))
                return false;
        }
        value = static_cast<T>(exact);
        return isMeant(def, value);
    }
}

bool FastReader::boolean(bool& value)
{
    value = *_at == 't';
    const std::string_view letters = value ? "true" : "false";
    if (std::memcmp(_at, "true", 4) != 0 && std::memcmp(_at, "false", 5) != 0)
        return word(letters); // which may go on in the next piece
    _at += letters.size();
    return true;
}

template <class Character>
bool FastReader::character(Character& value)
{
    Text read{};
    if (!string(read) || read.raw.size() != 1 || !read.isPlain || !read.isAscii || read.raw[0] <= ' ')
        return false;
    value = static_cast<Character>(read.raw[0]);
    return true;
}

bool FastReader::toWide(const Text& text, DmString& wide)
{
    if (text.isPlain && text.isAscii)
        return widen(text.raw, wide);
    if (text.isPlain)
        return dmFromUtf8(text.raw, wide);
    _decoded.clear();
    return decode(text.raw, _decoded) && dmFromUtf8(_decoded, wide);
}

bool FastReader::text(DmString& wide)
{
    Text read{};
    return string(read) && toWide(read, wide);
}

/// The lines become one text. Its last line end is not written; so a last line that is empty stands for one more.
bool FastReader::lines(DmString& text)
{
    std::string all;
    if (!take('['))
        return false;
    bool isFirst = true;
    if (peek() != ']')
        do
        {
            Text line{};
            if (peek() != '"' || !string(line))
                return false;
            if (!std::exchange(isFirst, false))
                all += '\n';
            if (!decode(line.raw, all))
                return false;
            if (line.raw.empty() && peek() == ']')
                all += '\n';
        } while (take(','));
    return take(']') && dmFromUtf8(all, text);
}

template <class T>
bool FastReader::values(std::vector<T>& list)
{
    if (!take('['))
        return false;
    if (peek() != ']')
        do
        {
            T value{};
            if (peek() != '"' || !element(value))
                return false;
            list.push_back(std::move(value));
        } while (take(','));
    return take(']');
}

/// The writer spells the numbers of a vector with all their digits, in quotes.
template <class T>
bool FastReader::element(T& value)
{
    if constexpr (std::same_as<T, DmString>)
        return text(value);
    else
    {
        Text text{};
        if (!string(text) || text.raw.empty() || (!isDigit(text.raw[0]) && text.raw[0] != '-'))
            return false;
        if constexpr (std::is_floating_point_v<T>) // spellings that only one of the two ways takes
        {
            std::size_t length = 0;
            if constexpr (std::same_as<T, float>)
                value = DM::CoNumber::readFloat(text.raw, length);
            else
                value = DM::CoNumber::read(text.raw, length);
            return length == text.raw.size() && std::isfinite(value) && value != 0 && isDigit(text.raw.back()) &&
                   text.raw.find_first_not_of("-.0123456789e+") == text.raw.npos &&
                   text.raw.find("-.") == text.raw.npos;
        }
        else
        {
            const std::optional<T> whole = DM::CoInteger::whole<T>(text.raw);
            value = whole.value_or(value);
            return whole.has_value();
        }
    }
}

FastReader::Class* FastReader::classOf(const Text& name)
{
    if (!name.isPlain || !name.isAscii)
        return nullptr;
    auto found = _classes.find(name.raw);
    if (found == _classes.end())
    {
        DmString wide;
        const DmPropertyCreator creator =
            dmFromUtf8(name.raw, wide) ? DmPropertyFactory::getInstance().findCreator(wide.view()) : nullptr;
        found = _classes.emplace(name.raw, Class{std::string(name.raw), Expected(name.raw), creator, {}}).first;
    }
    return found->second.creator ? &found->second : nullptr;
}

/// The object of a slot; null when it is empty.
bool FastReader::held(Property& property, DmPropertySet& owner, DmPropertySetPtr& child)
{
    if (!take('{'))
        return false;
    if (take('}'))
        return true;
    if (peek() != '"')
        return false;
    const auto known = [&property](const auto& is)
    {
        const auto found = std::find_if(std::begin(property.lastHeld), std::end(property.lastHeld),
                                        [&is](const Class* type) { return type && is(*type); });
        return found == std::end(property.lastHeld) ? nullptr : *found;
    };
    Class* type = known([this](const Class& each) { return take(each.expected); });
    bool isKnown = type != nullptr;
    if (Text name{}; !isKnown)
    {
        if (!string(name))
            return false;
        type = known([&name](const Class& each) { return each.name == name.raw; });
        isKnown = type != nullptr;
        if (!isKnown)
            type = classOf(name);
        if (!take(':'))
            return false;
    }
    if (!type || !set(*type, child) || !take('}'))
        return false;
    if (!isKnown)
    {
        if (DmSetAccess::checkSlot(owner, *property.def, child.get()) != DM_NO_ERROR)
            return false;
        property.lastHeld[1] = std::exchange(property.lastHeld[0], type);
    }
    return true;
}

bool FastReader::makeDefault(const DmPropertyDef& def, DmPropertySetPtr& set)
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = def._held ? factory.findCreator(def._held->name) : nullptr;
    if (!creator)
        return true;
    DmPropertySet* made = nullptr;
    const eDmErrorId status = factory.create(creator, DmNodeId(), 0, made);
    set = DmPropertySetPtr(made);
    return status == DM_NO_ERROR;
}

bool FastReader::elements(Property& property, DmPropertySet& owner, DmPropertySetVector& list)
{
    if (!take('['))
        return false;
    if (take(']'))
        return true;
    const std::size_t before = _elements.size();
    do
    {
        DmPropertySetPtr child;
        if (!held(property, owner, child) || (!child && !makeDefault(*property.def, child)))
            return false;
        _elements.push_back(std::move(child));
    } while (take(','));
    const auto first = _elements.begin() + static_cast<std::ptrdiff_t>(before);
    list.assign(std::move_iterator(first), std::move_iterator(_elements.end()));
    _elements.resize(before);
    return take(']');
}

/// In key order, as the map is: so none comes twice.
bool FastReader::entries(Property& property, DmPropertySet& owner, DmPropertySetMap& map)
{
    if (!take('{'))
        return false;
    DmString key;
    if (peek() != '}')
        do
        {
            Text name{};
            if (peek() != '"' || !string(name) || !toWide(name, key) || key == DmVersion::getKey() ||
                (!map.empty() && !(map.rbegin()->first < key)))
                return false;
            DmPropertySetPtr child;
            if (!take(':') || !held(property, owner, child) || (!child && !makeDefault(*property.def, child)))
                return false;
            map.emplace_hint(map.end(), key, std::move(child));
        } while (take(','));
    return take('}');
}

} // namespace dmJson
