#include "icOtioItems.h"

#include "icEdlKept.h"

#include "dmATimewarpSettings.h"
#include "dmBlobNode.h"
#include "dmTimewarpSettings.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>

namespace interchange::otio
{

namespace
{

/// Hands all on to the document, and stops where the nesting becomes too deep.
struct BoundedHandler
{
    json::Document& to;
    int depth = 0;

    bool enter() { return ++depth <= deepestJson; }
    bool Null() { return to.Null(); }
    bool Bool(bool value) { return to.Bool(value); }
    bool Int(int value) { return to.Int(value); }
    bool Uint(unsigned value) { return to.Uint(value); }
    bool Int64(std::int64_t value) { return to.Int64(value); }
    bool Uint64(std::uint64_t value) { return to.Uint64(value); }
    bool Double(double value) { return to.Double(value); }
    bool RawNumber(const char* text, json::SizeType size, bool copy) { return to.RawNumber(text, size, copy); }
    bool String(const char* text, json::SizeType size, bool copy) { return to.String(text, size, copy); }
    bool Key(const char* text, json::SizeType size, bool copy) { return to.Key(text, size, copy); }
    bool StartObject() { return enter() && to.StartObject(); }
    bool EndObject(json::SizeType count) { return --depth >= 0 && to.EndObject(count); }
    bool StartArray() { return enter() && to.StartArray(); }
    bool EndArray(json::SizeType count) { return --depth >= 0 && to.EndArray(count); }
};

using KeptWriter =
    json::Writer<json::StringBuffer, json::UTF8<>, json::UTF8<>, json::CrtAllocator, json::kWriteNanAndInfFlag>;

void writeKept(KeptWriter& writer, const Value& object)
{
    writer.StartObject();
    for (const auto& each : object.GetObject())
    {
        const std::string_view name = text(&each.name);
        if (name == "children" && each.value.IsArray())
            continue;
        writer.Key(each.name.GetString(), each.name.GetStringLength());
        if (name == "tracks" && each.value.IsObject() && schemaOf(&object) == "Timeline")
            writeKept(writer, each.value);
        else
            each.value.Accept(writer);
    }
    writer.EndObject();
}

void attach(DmTreeNode& node, std::string_view text)
{
    const auto blob = DmBlobNode::create(blobType, toDmString(text));
    require(blob ? node.setBaseBlob(blob) : DM_BAD_VALUE);
}

template <class T>
const CoSharedPtr<T>& made(const CoSharedPtr<T>& object)
{
    if (!object)
        throw std::bad_alloc();
    return object;
}

struct Generator
{
    std::string_view kind;
    const wchar_t* type;
};
constexpr std::array<Generator, 8> generators{{{"SMPTEBars", L"INPUT_SMPTE_BARS"},
                                               {"PALBars", L"INPUT_PAL_BARS"},
                                               {"black", L"INPUT_BLACK"},
                                               {"Black", L"INPUT_BLACK"},
                                               {"SolidColor", L"INPUT_COLOUR"},
                                               {"Noise", L"INPUT_NOISE"},
                                               {"Silence", L"INPUT_SILENCE"},
                                               {"Tone", L"INPUT_TONE"}}};

} // namespace

void require(eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        throw std::bad_alloc();
}

bool parse(json::Document& document, char* text, std::string& error, std::size_t& offset)
{
    constexpr unsigned flags = json::kParseInsituFlag | json::kParseIterativeFlag | json::kParseFullPrecisionFlag |
                               json::kParseNanAndInfFlag | json::kParseValidateEncodingFlag;
    json::Reader reader;
    json::ParseResult result;
    const auto generate = [&](json::Document& to)
    {
        BoundedHandler handler{to};
        json::InsituStringStream stream(text);
        result = reader.Parse<flags>(stream, handler);
        return !result.IsError();
    };
    document.Populate(generate);
    if (!result.IsError())
        return true;
    offset = result.Offset();
    error = result.Code() == json::kParseErrorTermination ? "nested too deeply" : json::GetParseError_En(result.Code());
    return false;
}

const Value* member(const Value* object, const char* name)
{
    if (!object || !object->IsObject())
        return nullptr;
    const auto found = object->FindMember(name);
    return found == object->MemberEnd() || found->value.IsNull() ? nullptr : &found->value;
}

const Value* arrayOf(const Value* object, const char* name)
{
    const Value* const value = member(object, name);
    return value && value->IsArray() ? value : nullptr;
}

std::string_view text(const Value* value)
{
    return value && value->IsString() ? std::string_view(value->GetString(), value->GetStringLength())
                                      : std::string_view();
}

std::string_view textOf(const Value* object, const char* name)
{
    return text(member(object, name));
}

std::string_view schemaOf(const Value* object)
{
    const std::string_view schema = textOf(object, "OTIO_SCHEMA");
    return schema.substr(0, schema.rfind('.'));
}

bool isTrack(std::string_view schema)
{
    return schema == "Track" || schema == "Sequence";
}

void keep(DmTreeNode& node, const Value& object)
{
    json::StringBuffer buffer;
    KeptWriter writer(buffer);
    writeKept(writer, object);
    attach(node, {buffer.GetString(), buffer.GetSize()});
}

void keepImplied(DmTreeNode& node)
{
    attach(node, "{}");
}

// Messages

Items::Items(DM::FrameCodeModes fcm, bool anyRate, Report* report, const std::string* source, const char* parsed)
    : _fcm(fcm)
    , _fps(DM::FcmUtil::getDoubleFPS(fcm))
    , _anyRate(anyRate)
    , _report(report)
    , _source(source)
    , _parsed(parsed)
{
}

std::uint32_t Items::lineOf(const Value* object) const
{
    // Parsed in place, so an object's first name tells where it stands.
    // A line is counted from the file's begin: not for messages that nobody will see.
    constexpr std::size_t most = 100;
    if (!_source || !object || _report->count(Report::Warning) + _report->count(Report::Error) > most ||
        !object->IsObject() || object->ObjectEmpty())
        return 0;
    const std::ptrdiff_t offset = object->MemberBegin()->name.GetString() - _parsed;
    if (offset < 0 || static_cast<std::size_t>(offset) > _source->size())
        return 0;
    return 1 + static_cast<std::uint32_t>(std::count(_source->begin(), _source->begin() + offset, '\n'));
}

void Items::mistake(const Value* object, std::string what, std::string_view choice)
{
    if (_report)
        _report->mistake(lineOf(object), std::move(what), choice);
}

void Items::warn(const Value* object, std::string what)
{
    if (_report)
        _report->add(Report::Warning, lineOf(object), std::move(what));
}

void Items::tell()
{
    if (_moved == 0 || !_report)
        return;
    char by[96];
    std::snprintf(by, sizeof by, "by at most %.4g frames (%.4g ms)", _furthest, 1000.0 * _furthest / _fps);
    _report->add(Report::Warning, 0,
                 "times of other rates that fall between frames (" + std::to_string(_moved) + "): moved " + by);
}

// Times

double Items::frames(const Value* time)
{
    const Value* const value = member(time, "value");
    const Value* const rate = member(time, "rate");
    if (!value || !value->IsNumber() || !rate || !rate->IsNumber())
    {
        if (time)
            mistake(time, "a time without a value and a rate", "taken as zero");
        return 0;
    }
    constexpr double limit = 1e12;
    const double count = value->GetDouble();
    const double ownFps = rate->GetDouble();
    if (count == 0)
        return 0;
    const double exact = count * _fps / ownFps;
    if (!(ownFps > 0) || !std::isfinite(ownFps) || !(std::abs(count) <= limit) || !(std::abs(exact) <= limit))
    {
        mistake(time, "a time out of range", "taken as zero");
        return 0;
    }
    const DM::FrameCodeModes own = DM::FcmUtil::FPStoFCM(ownFps, false);
    if (own != DM::FCM_NOT_DEFINED && own == DM::FcmUtil::toNonDrop(_fcm))
        return count;
    if (own == DM::FCM_NOT_DEFINED && !_anyRate && _report)
        _report->add(Report::Error, lineOf(time),
                     "no frame-code mode has the rate " + std::to_string(ownFps) + "; name the mode to convert to");
    const double nearest = std::round(exact);
    if (const double difference = std::abs(nearest - exact); difference > 1e-6)
    {
        ++_moved;
        _furthest = std::max(_furthest, difference);
    }
    return nearest;
}

std::optional<Items::Range> Items::range(const Value* range)
{
    if (!range || !range->IsObject())
        return std::nullopt;
    Range read{frames(member(range, "start_time")), frames(member(range, "duration"))};
    if (read.length < 0)
    {
        mistake(range, "a negative duration", "taken as zero");
        read.length = 0;
    }
    return read;
}

Extent Items::extent(const Value& item, const std::optional<Range>& material)
{
    std::optional<Range> played = range(member(&item, "source_range"));
    if (!played)
        played = material;
    if (!played)
    {
        mistake(&item, "an item without a length", "taken as zero");
        played = Range{0, 0};
    }
    Extent extent{played->start, played->start, played->length, 0};
    double end = played->start + played->length;
    if (material)
    {
        extent.base = std::min(material->start, extent.base);
        end = std::max(end, material->start + material->length);
    }
    extent.materialLength = std::max(1.0, end - extent.base);
    return extent;
}

// Parts of items

const Value* Items::mediaOf(const Value& clip) const
{
    if (const Value* const one = member(&clip, "media_reference"))
        return one;
    const std::string active(textOf(&clip, "active_media_reference_key"));
    return member(member(&clip, "media_references"), active.empty() ? "DEFAULT_MEDIA" : active.c_str());
}

Extent Items::clipExtent(const Value& clip)
{
    return extent(clip, range(member(mediaOf(clip), "available_range")));
}

CoSharedPtr<DmSourceNode::Input> Items::input(const Value* media, const Extent& extent, eDmTreeMediaType mediaType)
{
    const std::string_view schema = schemaOf(media);
    const DmString fcm(DM::FcmUtil::getFCMString(_fcm));
    if (schema == "GeneratorReference")
    {
        const auto known = std::ranges::find(generators, textOf(media, "generator_kind"), &Generator::kind);
        if (known == generators.end())
            warn(media, "a generator of the unknown kind \"" + std::string(textOf(media, "generator_kind")) +
                            "\" plays black");
        const auto generated = made(DmSourceNode::GeneratedInput::create(
            known == generators.end() ? L"INPUT_BLACK" : known->type, extent.materialLength, mediaType));
        require(generated->setFcm(fcm));
        require(generated->setName(toDmString(textOf(media, "name"))));
        return generated;
    }
    const auto info = made(DmSourceInfo::create());
    const bool isFile = schema == "ExternalReference";
    const bool isSequence = schema == "ImageSequenceReference";
    require(info->setName(toDmString(textOf(media, "name"))));
    require(info->setSourceType(isFile       ? DmSourceInfo::File
                                : isSequence ? DmSourceInfo::FileSequence
                                             : DmSourceInfo::Unknown));
    if (isFile)
        require(info->setPath(toDmString(textOf(media, "target_url"))));
    if (isSequence)
    {
        require(info->setPath(toDmString(textOf(media, "target_url_base"))));
        const Value* const padding = member(media, "frame_zero_padding");
        const int digits = padding && padding->IsInt() ? std::clamp(padding->GetInt(), 0, 32) : 0;
        std::string pattern(textOf(media, "name_prefix"));
        pattern.append(static_cast<std::size_t>(std::max(1, digits)), '#').append(textOf(media, "name_suffix"));
        require(info->addFile(toDmString(pattern)));
        const Value* const first = member(media, "start_frame");
        const double begin = first && first->IsInt() ? first->GetInt() : 1;
        constexpr double last = std::numeric_limits<int>::max();
        require(info->setFileSeqBegin(static_cast<int>(begin)));
        require(info->setFileSeqEnd(static_cast<int>(std::min(last, begin + extent.materialLength - 1))));
    }
    const auto recorded = made(DmSourceNode::MediaInput::create(extent.materialLength, extent.base, info, fcm,
                                                                mediaType, isFile || isSequence));
    require(recorded->setFcm(fcm));
    return recorded;
}

CoSharedPtr<DmSourceNode> Items::clip(const Value& item, eDmTreeMediaType mediaType)
{
    const Extent extent = clipExtent(item);
    auto node = made(DmSourceNode::create(input(mediaOf(item), extent, mediaType), 0, extent.length,
                                          extent.start - extent.base, false, false));
    dress(*node, item, extent.base);
    return node;
}

CoSharedPtr<DmCueMark> Items::mark(const Value& marker, double origin)
{
    const Value* const marked = member(&marker, "marked_range");
    const Range at = range(marked).value_or(Range{0, 0});
    auto mark = made(DmCueMark::create(toDmString(textOf(&marker, "name")), at.start - origin));
    require(mark->setCueMarkDuration(at.length));
    require(mark->setCueMarkComment(toDmString(textOf(&marker, "comment"))));
    std::array<int, 3> colour{};
    const Value* const given = member(&marker, "color");
    if (given && given->IsObject())
    {
        constexpr std::array<const char*, 3> parts{"r", "g", "b"};
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (const Value* const part = member(given, parts[i]); part && part->IsNumber() && part->GetDouble() > 0)
                colour[i] = static_cast<int>(std::round(255 * std::min(1.0, part->GetDouble())));
    }
    else
        for (const EdlColour& named : edlColours())
            if (named.name == text(given))
                colour = {named.red, named.green, named.blue};
    require(mark->setCueMarkColorRed(colour[0]));
    require(mark->setCueMarkColorGreen(colour[1]));
    require(mark->setCueMarkColorBlue(colour[2]));
    return mark;
}

void Items::dress(DmSegmentNode& segment, const Value& item, double origin)
{
    if (const std::string_view name = textOf(&item, "name"); !name.empty())
        require(segment.setName(toDmString(name)));
    if (const Value* const enabled = member(&item, "enabled"); enabled && enabled->IsFalse())
        require(segment.setMuted(true));
    if (const Value* const markers = arrayOf(&item, "markers"))
        for (const Value& marker : markers->GetArray())
            require(segment.addSegmentMark(mark(marker, origin)));
    const std::optional<double> speed = speedOf(item);
    if (speed && segment.getMediaType() == DM_MEDIA_VIDEO)
    {
        const auto warp = made(DmVTimewarpSettings::create());
        require(warp->setSpeed(*speed));
        require(segment.addEffect(warp));
    }
    else if (speed && *speed > 0)
    {
        const auto warp = made(DmATimewarpSettings::create());
        require(warp->setRatio(static_cast<float>(1 / *speed)));
        require(segment.addEffect(warp));
    }
}

bool Items::isTimewarp(const Value& effect)
{
    const std::string_view schema = schemaOf(&effect);
    return schema == "LinearTimeWarp" || schema == "FreezeFrame";
}

std::optional<double> Items::speedOf(const Value& item)
{
    const Value* const effects = arrayOf(&item, "effects");
    if (!effects)
        return std::nullopt;
    const auto warp = std::find_if(effects->Begin(), effects->End(), isTimewarp);
    if (warp == effects->End())
        return std::nullopt;
    if (schemaOf(warp) == "FreezeFrame")
        return 0;
    const Value* const scalar = member(warp, "time_scalar");
    return scalar && scalar->IsNumber() && std::isfinite(scalar->GetDouble()) ? scalar->GetDouble() : 1.0;
}

std::optional<double> speedOf(const DmSegmentNode& segment)
{
    for (const DmPropertySetPtr& effect : segment.getEffects())
    {
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get()))
            return warp->getSpeed();
        if (const auto* const warp = dynamic_cast<const DmATimewarpSettings*>(effect.get());
            warp && warp->getRatio() > 0)
            return 1 / static_cast<double>(warp->getRatio());
    }
    return std::nullopt;
}

} // namespace interchange::otio
