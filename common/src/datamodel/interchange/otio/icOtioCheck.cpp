#include "icOtioCheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace interchange::otio
{

namespace
{

enum class Kind : std::uint8_t
{
    Any,
    Text,
    Flag,
    Number,
    WholeNumber,
    Object,
    Colour, ///< a name, or its parts
    Time,
    Range,
    Reference,
    References,
    Stack,
    Metadata,
    List,
    Marks,
    Effects
};

struct Expected
{
    Kind kind = Kind::Any;
    const char* choice = nullptr; ///< of a mistake: what is done about it; null for what does not decide what plays
};

constexpr const char* asMissing = "taken as missing";
constexpr const char* asZero = "taken as zero";

/// A name means the same in all schemas.
constexpr std::array<std::pair<std::string_view, Expected>, 37> expectedMembers{{
    {schemaKey, {Kind::Text, asMissing}},
    {"metadata", {Kind::Metadata}},
    {"name", {Kind::Text}},
    {"source_range", {Kind::Range, asMissing}},
    {"effects", {Kind::Effects, asMissing}},
    {"markers", {Kind::Marks}},
    {"enabled", {Kind::Flag, "taken as true"}},
    {"media_reference", {Kind::Reference, asMissing}},
    {"media_references", {Kind::References, asMissing}},
    {"active_media_reference_key", {Kind::Text, asMissing}},
    {"available_range", {Kind::Range, asMissing}},
    {"target_url", {Kind::Text}},
    {"children", {Kind::List}},
    {"kind", {Kind::Text, asMissing}},
    {"duration", {Kind::Time, asZero}},
    {"start_time", {Kind::Time, asZero}},
    {"in_offset", {Kind::Time, asZero}},
    {"out_offset", {Kind::Time, asZero}},
    {"transition_type", {Kind::Text, asMissing}},
    {"color", {Kind::Colour}},
    {"comment", {Kind::Text}},
    {"marked_range", {Kind::Range, asZero}},
    {"effect_name", {Kind::Text}},
    {"time_scalar", {Kind::Number, "taken as 1"}},
    {"global_start_time", {Kind::Time, asZero}},
    {"tracks", {Kind::Stack, asMissing}},
    {"generator_kind", {Kind::Text, asMissing}},
    {"parameters", {Kind::Object}},
    {"target_url_base", {Kind::Text}},
    {"name_prefix", {Kind::Text}},
    {"name_suffix", {Kind::Text}},
    {"start_frame", {Kind::WholeNumber, "taken as 1"}},
    {"frame_step", {Kind::WholeNumber}},
    {"frame_zero_padding", {Kind::WholeNumber}},
    {"rate", {Kind::Number}},
    {"missing_frame_policy", {Kind::Text}},
    {"available_image_bounds", {Kind::Object}},
}};

Expected expectedOf(std::string_view name)
{
    const auto* const found = std::ranges::find(expectedMembers, name, &std::pair<std::string_view, Expected>::first);
    return found == expectedMembers.end() ? Expected() : found->second;
}

class Check
{
public:
    explicit Check(Items& items)
        : _items(items)
    {
    }

    void object(const Value& object);

private:
    /// The names on the way to an object, the innermost last.
    class Inside
    {
    public:
        Inside(Check& check, std::string_view name)
            : _path(check._path)
        {
            _path.push_back(name);
        }
        ~Inside() { _path.pop_back(); }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        std::vector<std::string_view>& _path;
    };

    void value(const Value& holder, std::string_view name, const Value& value, Expected expected);
    void time(const Value& time, const char* choice);
    void range(const Value& range);
    void references(const Value& references);
    void colour(const Value& parts);
    /// Each must be an object; those that are looked at have the schema.
    void list(const Value& holder, const Value& list, std::string_view schema);
    /// Of members of one name the first counts.
    void repeated(const Value& object);
    std::string named(std::string_view name) const;
    void say(const Value& holder, std::string_view name, const char* what, const char* choice);

    Items& _items;
    std::vector<std::string_view> _path;
};

std::string Check::named(std::string_view name) const
{
    std::string text = "\"" + std::string(name) + '"';
    for (auto outer = _path.rbegin(); outer != _path.rend(); ++outer)
        text.append(" in \"").append(*outer).append(1, '"');
    return text;
}

void Check::say(const Value& holder, std::string_view name, const char* what, const char* choice)
{
    std::string text = named(name).append(1, ' ').append(what);
    if (choice)
        _items.mistake(&holder, std::move(text), choice);
    else
        _items.warn(&holder, text.append("; it is kept, and not read"));
}

void Check::object(const Value& object)
{
    repeated(object);
    for (const auto& each : object.GetObject())
    {
        const std::string_view name = text(&each.name);
        if (!each.value.IsNull())
            value(object, name, each.value, expectedOf(name));
    }
    if (schemaOf(&object) == "Clip" && !member(&object, "media_reference") &&
        !textOf(&object, "active_media_reference_key").empty() && !mediaOf(object))
        say(object, "active_media_reference_key", "names none of the media references", asMissing);
}

void Check::value(const Value& holder, std::string_view name, const Value& value, Expected expected)
{
    const auto mustBe = [&](bool is, const char* what)
    {
        if (!is)
            say(holder, name, what, expected.choice);
        return is;
    };
    switch (expected.kind)
    {
    case Kind::Any:
        return;
    case Kind::Text:
        mustBe(value.IsString(), "is no text");
        return;
    case Kind::Flag:
        mustBe(value.IsBool(), "is neither true nor false");
        return;
    case Kind::Number:
        if (mustBe(value.IsNumber(), "is no number"))
            mustBe(std::isfinite(value.GetDouble()), "is no finite number");
        return;
    case Kind::WholeNumber:
        mustBe(wholeNumber(&value).has_value(), "is no whole number");
        return;
    case Kind::Colour:
        if (mustBe(value.IsString() || value.IsObject(), "is neither a name nor a colour's parts") && value.IsObject())
            colour(value);
        return;
    case Kind::List:
    case Kind::Marks:
    case Kind::Effects:
        if (!mustBe(value.IsArray(), "is no list") || expected.kind == Kind::List)
            return;
        break;
    default:
        if (!mustBe(value.IsObject(), "is no object") || expected.kind == Kind::Object)
            return;
    }
    const Inside inside(*this, name);
    if (expected.kind == Kind::Marks)
        list(holder, value, "Marker");
    else if (expected.kind == Kind::Effects)
        list(holder, value, {});
    else if (expected.kind == Kind::Time)
        time(value, expected.choice);
    else if (expected.kind == Kind::Range)
        range(value);
    else if (expected.kind == Kind::References)
        references(value);
    else if (expected.kind == Kind::Metadata)
    {
        repeated(value);
        // What is none of ours comes back as it stands.
        for (const char* const ours : {"cmx_3600", "cdl"})
            if (const Value* const part = member(&value, std::string_view(ours)); part && part->IsObject())
            {
                const Inside further(*this, ours);
                repeated(*part);
            }
    }
    else
        object(value);
}

void Check::time(const Value& time, const char* choice)
{
    const Value* const rate = member(&time, "rate");
    const Value* const value = member(&time, "value");
    const auto number = [&](const Value* of, const char* name)
    {
        if (of && of->IsNumber() && std::isfinite(of->GetDouble()))
            return true;
        say(time, name, !of ? "is missing" : of->IsNumber() ? "is no finite number" : "is no number", choice);
        return false;
    };
    const bool hasValue = number(value, "value");
    if (!number(rate, "rate"))
        return;
    if (!(rate->GetDouble() > 0))
        // Whatever the rate, it is zero.
        say(time, "rate", "is not above zero", hasValue && value->GetDouble() == 0 ? nullptr : choice);
    else if (hasValue && !_items.isWithinReach(value->GetDouble(), rate->GetDouble()))
        say(time, "value", "is out of range", choice);
    repeated(time);
}

void Check::range(const Value& range)
{
    object(range);
    const Value* const duration = member(&range, "duration");
    if (!duration)
        say(range, "duration", "is missing", asZero);
    else if (const Value* const value = member(duration, "value"); value && value->IsNumber() && value->GetDouble() < 0)
        say(range, "duration", "is negative", asZero);
}

void Check::references(const Value& references)
{
    repeated(references);
    for (const auto& each : references.GetObject())
    {
        const std::string_view name = text(&each.name);
        if (each.value.IsNull())
            continue;
        if (!each.value.IsObject())
        {
            say(references, name, "is no object", asMissing);
            continue;
        }
        const Inside inside(*this, name);
        object(each.value);
    }
}

void Check::colour(const Value& parts)
{
    const Inside inside(*this, "color");
    for (const std::string_view part : {"r", "g", "b", "a"})
        if (const Value* const number = member(&parts, part); number && !number->IsNumber())
            say(parts, part, "is no number", nullptr);
}

void Check::list(const Value& holder, const Value& list, std::string_view schema)
{
    const std::string_view name = _path.back();
    for (const Value& each : list.GetArray())
        if (each.IsObject() && (schema.empty() || schemaOf(&each) == schema))
            object(each);
        else
        {
            _path.pop_back();
            say(holder, name, each.IsObject() ? "holds an object of another schema" : "holds what is no object",
                nullptr);
            _path.push_back(name);
        }
}

void Check::repeated(const Value& object)
{
    std::vector<std::string_view> names;
    names.reserve(object.MemberCount());
    for (const auto& each : object.GetObject())
        names.push_back(text(&each.name));
    std::ranges::sort(names);
    const auto twice = std::ranges::adjacent_find(names);
    if (twice == names.end())
        return;
    _items.warn(&object, named(*twice).append(" stands there more than once: the first counts"));
}

} // namespace

void checkMembers(Items& items, const Value& object)
{
    Check(items).object(object);
}

} // namespace interchange::otio
