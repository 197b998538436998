#include "dmDiff.h"
#include "dmRapidJsonImp.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>

namespace
{

namespace json = RAPIDJSON_NAMESPACE;
using Writer = json::Writer<json::StringBuffer>;

void add(Writer& writer, const char* key, const std::string& text)
{
    if (text.empty())
        return;
    writer.Key(key);
    writer.String(text.data(), static_cast<json::SizeType>(text.size()));
}

void add(Writer& writer, const char* key, double value)
{
    writer.Key(key);
    if (!std::isfinite(value) || !writer.Double(value))
        writer.Null();
}

} // namespace

std::string DmDiff::json() const
{
    json::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("same");
    writer.Bool(isSame());
    writer.Key("totals");
    writer.StartObject();
    for (const DmChangeKindName& kind : dmChangeKinds())
        if (const int number = count(kind.kind); number != 0)
        {
            writer.Key(kind.name);
            writer.Int(number);
        }
    writer.EndObject();
    writer.Key("changes");
    writer.StartArray();
    for (const DmChange& change : _changes)
    {
        writer.StartObject();
        add(writer, "kind", std::string(dmChangeKinds()[std::size_t(change.kind)].name));
        add(writer, "composition", change.composition);
        add(writer, "track", change.track);
        add(writer, "oldTrack", change.oldTrack);
        add(writer, "clip", change.clip);
        add(writer, "oldRecord", change.oldLabel);
        add(writer, "newRecord", change.newLabel);
        if (change.frames != 0.0)
            add(writer, "frames", change.frames);
        if (change.count != 1)
        {
            writer.Key("count");
            writer.Int(change.count);
        }
        add(writer, "oldPath", change.oldPath);
        add(writer, "newPath", change.newPath);
        add(writer, "property", change.property);
        add(writer, "was", change.was);
        add(writer, "became", change.became);
        add(writer, "text", change.text());
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}
