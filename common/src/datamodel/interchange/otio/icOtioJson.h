/// The JSON of OpenTimelineIO documents: parsing, looking at members, writing.
///
/// Numbers without fraction and exponent are integers where 64 bits hold them; all others have the precision of a
/// double: what is too small is zero, what is too large a fault of the text. NaN, Infinity and -Infinity are numbers.
///
/// For sources of this library only: rapidjson is compiled in a namespace of our own, and what it takes for granted is
/// an exception here, never the end of the process.
#pragma once

#include "icOtioNames.h"

#include <stdexcept>

namespace interchange::otio
{

/// The JSON library refuses what it was asked to do.
class JsonError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace interchange::otio

#define RAPIDJSON_ASSERT(x) ((x) ? static_cast<void>(0) : throw interchange::otio::JsonError(#x))

#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace interchange::otio
{

namespace json = RAPIDJSON_NAMESPACE;
using Value = json::Value;

/// Nesting of JSON values; deeper documents are refused, since writing them recurs.
constexpr int deepestJson = 1000;

/// Where a text is no JSON, and why.
struct JsonFault
{
    std::size_t offset = 0;
    std::string what;
};

/// Parses in place: strings, and the first name of each object, stay where `text` has them. False with the fault.
bool parse(json::Document& document, char* text, JsonFault& fault);

constexpr bool isJsonBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// A list that is left where it stands, to be parsed element by element.
struct ListApart
{
    const char* holder;    ///< the first name of the object that has it
    std::string_view text; ///< with its brackets
};

/// A file's bytes, and after parsing the text of the document's strings: it knows the lines of objects.
class ParsedText
{
public:
    explicit ParsedText(std::string bytes)
        : _text(std::move(bytes))
    {
    }

    bool parse(json::Document& document, JsonFault& fault);
    /// The same without the children of a timeline's tracks, those that can be told apart. False for a text that is not
    /// parsed quickly.
    bool parseApart(json::Document& document, std::vector<ListApart>& apart) const;
    const char* end() const { return _text.data() + _text.size(); }
    /// From 1 on; 0 for what is no object with members.
    std::uint32_t lineOf(const Value& object) const;
    std::uint32_t lineAt(std::size_t offset) const;
    /// Integers that 64 bits do not hold, and the line of the first.
    std::size_t wideIntegers() const { return _wideIntegers.size(); }
    std::uint32_t lineOfWideInteger() const
    {
        return lineAt(static_cast<std::size_t>(_wideIntegers.front() - _text.data()));
    }

private:
    std::string _text;
    std::vector<const char*> _wideIntegers;
    std::vector<const char*> _escapedLines;          ///< line ends inside strings, which were escaped in the file
    mutable std::vector<std::uint32_t> _linesBefore; ///< of each block of the text, counted when a line is first asked
};

/// What the member is called that tells an object's schema.
constexpr char schemaKey[] = "OTIO_SCHEMA";

// Members; null, "" or false where the object has none of this kind

/// The name is a literal.
template <std::size_t size>
const Value* member(const Value* object, const char (&name)[size]);
/// Of an object; a null, too, where the file has one.
template <std::size_t size>
const Value* memberOrNull(const Value& object, const char (&name)[size]);
const Value* member(const Value* object, std::string_view name);
template <std::size_t size>
const Value* arrayOf(const Value* object, const char (&name)[size]);
std::string_view text(const Value* value);
template <std::size_t size>
std::string_view textOf(const Value* object, const char (&name)[size]);
/// The schema without its version: "Clip" of "Clip.2".
std::string_view schemaOf(const Value* object);
inline std::string_view withoutVersion(std::string_view schema)
{
    return schema.substr(0, schema.rfind('.'));
}
bool isTrack(std::string_view schema);

// Text

/// "NaN", "Infinity" or "-Infinity".
std::string_view nonFiniteToken(double value);
/// Without white space.
void appendJson(std::string& text, const Value& value);

template <std::size_t size>
const Value* memberOrNull(const Value& object, const char (&name)[size])
{
    for (const auto& each : object.GetObject())
        if (each.name.GetStringLength() == size - 1 && isSameText(each.name.GetString(), name, size - 1))
            return &each.value;
    return nullptr;
}

template <std::size_t size>
const Value* member(const Value* object, const char (&name)[size])
{
    const Value* const value = object && object->IsObject() ? memberOrNull(*object, name) : nullptr;
    return value && !value->IsNull() ? value : nullptr;
}

template <std::size_t size>
const Value* arrayOf(const Value* object, const char (&name)[size])
{
    const Value* const value = member(object, name);
    return value && value->IsArray() ? value : nullptr;
}

template <std::size_t size>
std::string_view textOf(const Value* object, const char (&name)[size])
{
    return text(member(object, name));
}

} // namespace interchange::otio
