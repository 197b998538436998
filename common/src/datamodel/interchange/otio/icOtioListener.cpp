#include "icOtioListener.h"

namespace interchange::otio
{

void Listener::time(std::string_view name, double rate, double frames)
{
    this->name(name);
    beginObject();
    this->name(schemaKey);
    text("RationalTime.1");
    this->name("rate");
    number(rate);
    this->name("value");
    number(frames);
    endObject();
}

void Listener::range(std::string_view name, double rate, double start, double length)
{
    this->name(name);
    beginObject();
    this->name(schemaKey);
    text("TimeRange.1");
    time("duration", rate, length);
    time("start_time", rate, start);
    endObject();
}

void Listener::value(const Value& value)
{
    if (value.IsObject())
    {
        beginObject();
        for (const auto& each : value.GetObject())
        {
            name(otio::text(&each.name));
            this->value(each.value);
        }
        endObject();
    }
    else if (value.IsArray())
    {
        beginList();
        for (const Value& each : value.GetArray())
            this->value(each);
        endList();
    }
    else if (value.IsString())
        text(otio::text(&value));
    else if (value.IsBool())
        flag(value.GetBool());
    else if (value.IsNull())
        nothing();
    else if (value.IsDouble())
        number(value.GetDouble());
    else if (value.IsInt64())
        integer(value.GetInt64());
    else
        integer(value.GetUint64());
}

void ValueMaker::put(Value value)
{
    if (_open.empty())
        _made = std::move(value);
    else if (Value& holder = _open.back().value; holder.IsArray())
        holder.PushBack(value, _allocator);
    else
        holder.AddMember(_name, value, _allocator);
}

void ValueMaker::close()
{
    Open closed = std::move(_open.back());
    _open.pop_back();
    _name = std::move(closed.name);
    put(std::move(closed.value));
}

} // namespace interchange::otio
