/// One JSON object on one line: what the --json forms of the subcommands print, for job schedulers and scripts.
///
///     std::cout << JsonLine().add("file", path).add("violations", 3).text() << '\n';
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>
#include <string_view>

namespace dmtree
{

class JsonLine
{
public:
    JsonLine() { _writer.StartObject(); }

    JsonLine& add(std::string_view key, std::string_view value)
    {
        name(key);
        string(value);
        return *this;
    }
    JsonLine& add(std::string_view key, const char* value) { return add(key, std::string_view(value)); }
    JsonLine& add(std::string_view key, bool value)
    {
        name(key);
        _writer.Bool(value);
        return *this;
    }
    JsonLine& add(std::string_view key, int value)
    {
        name(key);
        _writer.Int(value);
        return *this;
    }
    JsonLine& add(std::string_view key, double value)
    {
        name(key);
        if (!_writer.Double(value)) // JSON has no word for what is not finite
            _writer.Null();
        return *this;
    }
    /// A range of strings.
    template <class Range>
    requires requires(const Range& range) { std::string_view(*range.begin()); }
    JsonLine& addList(std::string_view key, const Range& values)
    {
        name(key);
        _writer.StartArray();
        for (const auto& value : values)
            string(value);
        _writer.EndArray();
        return *this;
    }

    /// Ends the object that is added.
    JsonLine& addObject(std::string_view key, JsonLine& object)
    {
        name(key);
        raw(object.text());
        return *this;
    }
    /// A range of objects, as text() gives them.
    template <class Range>
    JsonLine& addObjects(std::string_view key, const Range& objects)
    {
        name(key);
        _writer.StartArray();
        for (const auto& object : objects)
            raw(object);
        _writer.EndArray();
        return *this;
    }

    /// Ends the object. The text lives as long as this.
    std::string_view text()
    {
        _writer.EndObject();
        return {_buffer.GetString(), _buffer.GetSize()};
    }

private:
    void name(std::string_view key) { _writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size())); }
    void string(std::string_view value)
    {
        _writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    }

    void raw(std::string_view object) { _writer.RawValue(object.data(), object.size(), rapidjson::kObjectType); }

    rapidjson::StringBuffer _buffer;
    rapidjson::Writer<rapidjson::StringBuffer> _writer{_buffer};
};

} // namespace dmtree
