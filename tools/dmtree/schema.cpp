// dmtree schema: the document format as a JSON Schema, made from the definitions of the classes.
//
// "#/$defs/DmCueMark" are the members of that class, "#/$defs/any-DmTreeNode" is what stands where a DmTreeNode is
// held: an object with one member, named after the class. An empty object stands for a set that has nothing to write.
#include "dmtree.h"
#include "samples.h"

#include "dmPSetHelper.h"
#include "dmPropertyFactory.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include <CLI/CLI.hpp>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// A JSON text, with the brackets closed by whoever opens them.
class SchemaText
{
public:
    SchemaText() { _writer.SetIndent(' ', 2); }

    template <class Members>
    void object(std::string_view key, Members&& members)
    {
        name(key);
        object(members);
    }
    template <class Members>
    void object(Members&& members)
    {
        _writer.StartObject();
        members();
        _writer.EndObject();
    }
    void add(std::string_view key, std::string_view value)
    {
        name(key);
        string(value);
    }
    void add(std::string_view key, const char* value) { add(key, std::string_view(value)); }
    void add(std::string_view key, bool value)
    {
        name(key);
        _writer.Bool(value);
    }
    void add(std::string_view key, std::int64_t value)
    {
        name(key);
        _writer.Int64(value);
    }
    void add(std::string_view key, std::uint64_t value)
    {
        name(key);
        _writer.Uint64(value);
    }
    void add(std::string_view key, double value)
    {
        name(key);
        _writer.Double(value);
    }
    void addList(std::string_view key, const std::vector<std::string_view>& values)
    {
        name(key);
        _writer.StartArray();
        for (const std::string_view value : values)
            string(value);
        _writer.EndArray();
    }
    void addList(std::string_view key, const std::vector<std::int64_t>& values)
    {
        name(key);
        _writer.StartArray();
        for (const std::int64_t value : values)
            _writer.Int64(value);
        _writer.EndArray();
    }
    std::string_view text() const { return {_buffer.GetString(), _buffer.GetSize()}; }

private:
    void name(std::string_view key) { _writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size())); }
    void string(std::string_view value)
    {
        _writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    }

    rapidjson::StringBuffer _buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> _writer{_buffer};
};

constexpr std::string_view anySet = "any";

class SchemaBuilder
{
public:
    SchemaBuilder()
    {
        for (const DmString& name : DmPropertyFactory::getInstance().classNames())
            if (DmPropertySetPtr sample = dmtree::sampleOf(name))
                _samples.emplace(dmUtf8(name), std::move(sample));
    }

    std::string_view build()
    {
        _out.object(
            [&]
            {
                _out.add("$schema", "https://json-schema.org/draft/2020-12/schema");
                _out.add("title", "Timeline document, version " + DmVersion::getCurrent().toString());
                addDocument();
                _out.object("$defs", [&] { addDefinitions(); });
            });
        return _out.text();
    }

private:
    void addDocument()
    {
        _out.add("type", "object");
        _out.object("properties",
                    [&]
                    {
                        _out.object("DmRoot", [&] { refer("DmRoot"); });
                        _out.object(dmUtf8(DmVersion::getKey()), [&] { addVersion(); });
                    });
        _out.addList("required", {"DmRoot"});
        _out.add("additionalProperties", false);
    }

    void addVersion()
    {
        int major = 0;
        int minor = 0;
        DmVersion::getCurrent().get(major, minor);
        const std::string majorKey = dmUtf8(DmVersion::getMajorKey());
        const std::string minorKey = dmUtf8(DmVersion::getMinorKey());
        _out.add("type", "object");
        _out.object("properties",
                    [&]
                    {
                        _out.object(majorKey, [&] { integer<int>(0, major); });
                        _out.object(minorKey, [&] { integer<int>(std::numeric_limits<int>::min(), minor); });
                    });
        _out.addList("required", {majorKey, minorKey});
        _out.add("additionalProperties", false);
    }

    void addDefinitions()
    {
        for (const auto& [name, sample] : _samples)
            _out.object(name, [&, &set = *sample] { addClass(set); });
        for (const auto& [slot, held] : _slots)
            _out.object(slot, [&, heldClass = held] { addSlot(heldClass); });
    }

    void addClass(const DmPropertySet& sample)
    {
        const DmPropertySetData& data = sample.classData();
        _out.add("type", "object");
        _out.object("properties",
                    [&]
                    {
                        for (int i = 0; i < data.size(); ++i)
                            _out.object(data.at(i)->_utf8Name, [&] { addProperty(sample, i); });
                    });
        _out.add("additionalProperties", false);
    }

    /// One set of any class that may stand in a slot.
    void addSlot(const DmHeldClass* held)
    {
        _out.add("type", "object");
        _out.object("properties",
                    [&]
                    {
                        for (const auto& [name, sample] : _samples)
                            if (!held || held->accepts(*sample))
                                _out.object(name, [&, &className = name] { refer(className); });
                    });
        _out.add("additionalProperties", false);
        _out.add("maxProperties", std::int64_t{1});
    }

    void addProperty(const DmPropertySet& sample, int index)
    {
        const DmPropertyDef& def = *sample.classData().at(index);
        describe(def);
        if (def._serializer)
            string();
        else if (def._constant && def._type == DM_ENUM)
            _out.add("const", std::int64_t{*static_cast<const std::int32_t*>(sample.fieldOf(index))});
        else
            addType(def);
    }

    /// The meaning, then in what the number counts, then the usual values where others are no mistake.
    void describe(const DmPropertyDef& def)
    {
        std::ostringstream text;
        text << def._meaning;
        if (*def._unit)
            text << " In " << def._unit << '.';
        if (def._range && def._range->most < std::numeric_limits<std::int32_t>::max())
            text << " Usually " << def._range->least << " to " << def._range->most << '.';
        else if (def._range)
            text << " Usually " << def._range->least << " or more.";
        if (def._texts && !def._texts->isComplete)
            for (const wchar_t* const known : def._texts->texts)
                text << (known == def._texts->texts.front() ? " For example " : ", ")
                     << dmUtf8(std::wstring_view(known));
        for (const DmNamedValue& value : def._values)
            if (!def._constant)
                text << (&value == def._values.data() ? " " : ", ") << value.code << ": " << value.text;
        if (text.tellp() > 0)
            _out.add("description", text.str());
    }

    void addType(const DmPropertyDef& def)
    {
        switch (def._type)
        {
        case DM_ENUM:
            return def._values.empty() ? integer<std::int32_t>() : codes(def._values);
        case DM_INT:
            return integer<std::int32_t>();
        case DM_UINT:
            return integer<std::uint32_t>();
        case DM_SHORT:
            return integer<std::int16_t>();
        case DM_USHORT:
            return integer<std::uint16_t>();
        case DM_INT64:
            return integer<std::int64_t>();
        case DM_UINT64:
            return integer<std::uint64_t>();
        case DM_STRING:
            return def._texts && def._texts->isComplete ? string(patternOf(*def._texts)) : string();
        case DM_CHAR:
            return string("^[\\u0000-\\u00ff]$");
        case DM_UCHAR:
            return string();
        case DM_FLOAT:
            return number<float>();
        case DM_DOUBLE:
            return number<double>();
        case DM_BOOL:
            return _out.add("type", "boolean");
        case DM_PROPERTY_SET:
            return referToSlot(def);
        case DM_VECTOR_INT:
        case DM_VECTOR_SHORT:
            return list([&] { string("^-?[0-9]+$"); });
        case DM_VECTOR_UINT64:
            return list([&] { string("^(-0|[0-9]+)$"); });
        case DM_VECTOR_FLOAT:
        case DM_VECTOR_DOUBLE:
            return list([&] { string("^-?[0-9]+([.][0-9]+)?([eE][-+]?[0-9]+)?$"); });
        case DM_VECTOR_STRING:
        case DM_CDATA:
            return list([&] { string(); });
        case DM_VECTOR_PROPERTY_SET:
            return list([&] { referToSlot(def); });
        case DM_MAP_PROPERTY_SET:
            _out.add("type", "object");
            _out.object("propertyNames", [&] { _out.add("pattern", "^[^\\u0000]+$"); });
            return _out.object("additionalProperties", [&] { referToSlot(def); });
        case DM_NB_TYPES:
            break;
        }
    }

    template <class Int>
    void integer(Int least = std::numeric_limits<Int>::min(), Int most = std::numeric_limits<Int>::max())
    {
        using Wide = std::conditional_t<std::is_signed_v<Int>, std::int64_t, std::uint64_t>;
        _out.add("type", "integer");
        _out.add("minimum", Wide{least});
        _out.add("maximum", Wide{most});
    }
    template <class Float>
    void number()
    {
        _out.add("type", "number");
        _out.add("minimum", double{std::numeric_limits<Float>::lowest()});
        _out.add("maximum", double{std::numeric_limits<Float>::max()});
    }
    void codes(const DmEnumTable& values)
    {
        _out.add("type", "integer");
        std::vector<std::int64_t> all;
        for (const DmNamedValue& value : values)
            all.push_back(value.code);
        _out.addList("enum", all);
    }
    void string(const std::string& pattern = {})
    {
        _out.add("type", "string");
        if (!pattern.empty())
            _out.add("pattern", pattern);
    }
    /// One of the texts, letters in either case where the table says so.
    static std::string patternOf(const DmTextTable& table)
    {
        std::string pattern = "^(?:";
        for (const wchar_t* const text : table.texts)
        {
            if (text != table.texts.front())
                pattern += '|';
            for (const char c : dmUtf8(std::wstring_view(text)))
            {
                const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
                if (isLetter && table.ignoresCase)
                    pattern += {'[', static_cast<char>(c | 0x20), static_cast<char>(c & ~0x20), ']'};
                else if (c == '?' || c == '.')
                    pattern += {'\\', c};
                else
                    pattern += c;
            }
        }
        return pattern + ")$";
    }
    template <class Items>
    void list(Items&& items)
    {
        _out.add("type", "array");
        _out.object("items", items);
    }
    void refer(std::string_view definition) { _out.add("$ref", "#/$defs/" + std::string(definition)); }
    void referToSlot(const DmPropertyDef& def)
    {
        std::string slot(anySet);
        if (def._held)
            slot += '-' + dmUtf8(def._held->name);
        _slots.emplace(slot, def._held);
        refer(slot);
    }

    SchemaText _out;
    std::map<std::string, DmPropertySetPtr> _samples;
    std::map<std::string, const DmHeldClass*> _slots; ///< those that the classes refer to
};

int printSchema()
{
    SchemaBuilder builder;
    std::cout << builder.build() << '\n';
    return dmtree::Fine;
}

} // namespace

void dmtree::addSchema(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("schema", "Print the JSON Schema (draft 2020-12) of documents, for editors and validators");
    command->callback([&run] { run = printSchema; });
}
