/// An object told member by member: who tells it (icOtioParts.h) need not know whether it is made, written or held
/// against what a file says.
///
/// For sources of this library only.
#pragma once

#include "icOtioJson.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace interchange::otio
{

using Allocator = json::Document::AllocatorType;

class Listener
{
public:
    virtual ~Listener() = default;

    virtual void beginObject() = 0;
    virtual void endObject() = 0;
    virtual void beginList() = 0;
    virtual void endList() = 0;
    /// Of the member whose value comes next.
    virtual void name(std::string_view name) = 0;
    virtual void text(std::string_view text) = 0;
    virtual void number(double number) = 0;
    virtual void integer(std::int64_t number) = 0;
    virtual void integer(std::uint64_t number) = 0;
    virtual void flag(bool flag) = 0;
    virtual void nothing() = 0;

    // Members that are times: half of what is told of a clip, so listeners take them at once where they can.
    virtual void time(std::string_view name, double rate, double frames);
    virtual void range(std::string_view name, double rate, double start, double length);
    /// Whatever the value is.
    void value(const Value& value);
};

/// Makes a value of what it hears.
class ValueMaker final : public Listener
{
public:
    explicit ValueMaker(Allocator& allocator)
        : _allocator(allocator)
    {
    }
    Value take() { return std::move(_made); }

    void beginObject() override { _open.push_back({std::move(_name), Value(json::kObjectType)}); }
    void endObject() override { close(); }
    void beginList() override { _open.push_back({std::move(_name), Value(json::kArrayType)}); }
    void endList() override { close(); }
    void name(std::string_view name) override { _name = string(name); }
    void text(std::string_view text) override { put(string(text)); }
    void number(double number) override { put(Value(number)); }
    void integer(std::int64_t number) override { put(Value(number)); }
    void integer(std::uint64_t number) override { put(Value(number)); }
    void flag(bool flag) override { put(Value(flag)); }
    void nothing() override { put(Value()); }

private:
    struct Open
    {
        Value name; ///< under which it will stand
        Value value;
    };

    Value string(std::string_view text) const
    {
        return Value(text.empty() ? "" : text.data(), static_cast<json::SizeType>(text.size()), _allocator);
    }
    void put(Value value);
    void close();

    Allocator& _allocator;
    std::vector<Open> _open;
    Value _name;
    Value _made;
};

} // namespace interchange::otio
