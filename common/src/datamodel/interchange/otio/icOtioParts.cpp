#include "icOtioParts.h"

#include "icColours.h"
#include "icLook.h"
#include "icPath.h"
#include "icText.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmMaterial.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace interchange::otio
{

namespace
{

bool isFinite(const Look& look)
{
    constexpr auto areFinite = [](const std::array<double, 3>& numbers)
    { return std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); }); };
    return areFinite(look.slope) && areFinite(look.offset) && areFinite(look.power) && std::isfinite(look.saturation);
}

// Media

DmString nameOf(const DmSourceNode::Input& input)
{
    if (const auto* const relinked = as<DmSourceNode::RelinkedInput>(&input))
        return relinked->getSourceName();
    return input.getSrcInfo() ? input.getSrcInfo()->getName() : input.getName();
}

bool isSequence(const DmSourceNode::Input& input)
{
    const DmSourceInfo* const info = input.getSrcInfo();
    return info && info->getSourceType() == DmSourceInfo::FileSequence && !info->getFileList().empty();
}

/// The length that a reader has stored beside the one that plays; none without, negative for an unknown one.
std::optional<double> storedLength(const DmSourceNode::Input& input)
{
    const auto* const media = as<DmSourceNode::MediaInput>(&input);
    if (!media)
        return std::nullopt;
    for (const DmPropertySetPtr& each : media->getExtraDataDictionary())
        if (const auto* const entry = static_cast<const DmSourceNode::DictionaryEntry*>(each.get());
            entry && entry->getKey() == dmMaterialLengthKey)
            return entry->getValue() == dmMaterialLengthUnknown
                       ? -1.0
                       : toNumber<double>(dmUtf8(entry->getValue())).value_or(-1.0);
    return std::nullopt;
}

const char* generatorKind(const DmSourceNode::GeneratedInput& input)
{
    constexpr std::pair<std::wstring_view, const char*> kinds[] = {
        {L"INPUT_BLACK", "black"},          {L"INPUT_COLOUR", "SolidColor"},
        {L"INPUT_NOISE", "Noise"},          {L"INPUT_COLOUR_NOISE", "Noise"},
        {L"INPUT_SMPTE_BARS", "SMPTEBars"}, {L"INPUT_PAL_BARS", "PALBars"},
        {L"INPUT_SILENCE", "Silence"},      {L"INPUT_TONE", "Tone"}};
    for (const auto& [type, kind] : kinds)
        if (input.getInputType().view() == type)
            return kind;
    return "black";
}

void emptyList(Listener& to, const char* name)
{
    to.name(name);
    to.beginList();
    to.endList();
}

} // namespace

const NamedColour& Parts::colourOf(const DmCueMark& mark)
{
    const auto distance = [&mark](const NamedColour& named)
    {
        const auto square = [](int a, int b) { return (a - b) * (a - b); };
        return square(std::clamp(mark.getCueMarkColorRed(), 0, 255), named.red) +
               square(std::clamp(mark.getCueMarkColorGreen(), 0, 255), named.green) +
               square(std::clamp(mark.getCueMarkColorBlue(), 0, 255), named.blue);
    };
    return *std::ranges::min_element(namedColours(), {}, distance);
}

Form Form::of(const Value& object, eDmTreeNodeClassId kind)
{
    Form form;
    const std::string_view schema = schemaOf(&object);
    if ((kind == DM_COMPOSITION_NODE && schema == "Stack") || (kind == DM_CONTAINER_NODE && isTrack(schema)))
        form.schema = schema;
    if (kind != DM_SOURCE_NODE)
        return form;
    form.isSingle = object.HasMember("media_reference");
    if (!form.isSingle && mediaKey(object) != "DEFAULT_MEDIA")
        form.key = mediaKey(object);
    return form;
}

Form Form::fromValue(const Value& value, Allocator& allocator)
{
    const auto isTrue = [&value](const char* name)
    {
        const Value* const flag = member(&value, std::string_view(name));
        return flag && flag->IsTrue();
    };
    Form form;
    form.schema = textOf(&value, "schema");
    form.key = textOf(&value, "key");
    form.isSingle = isTrue("single");
    form.isImplied = isTrue("implied");
    if (const Value* const rate = member(&value, "rate"); rate && rate->IsNumber())
        form.rate = rate->GetDouble();
    if (const Value* const whole = member(&value, "whole"); whole && whole->IsObject())
        form.wholeValue = Value(*whole, allocator);
    return form;
}

Value Form::toValue(Allocator& allocator) const
{
    Value value;
    const auto add = [&](const char* name, Value part)
    {
        if (!value.IsObject())
            value.SetObject();
        value.AddMember(json::StringRef(name), part, allocator);
    };
    const auto string = [&](const std::string& text)
    { return Value(text.data(), static_cast<json::SizeType>(text.size()), allocator); };
    if (!schema.empty())
        add("schema", string(schema));
    if (!key.empty())
        add("key", string(key));
    if (isSingle)
        add("single", Value(true));
    if (isImplied)
        add("implied", Value(true));
    if (rate != 0)
        add("rate", Value(rate));
    if (wholeValue)
        add("whole", Value(*wholeValue, allocator));
    return value;
}

double headOf(const DmSegmentNode& segment, Trim trim)
{
    std::optional<double> speed;
    for (const DmPropertySetPtr& effect : segment.getEffects())
        if (!speed)
            speed = speedOf(effect.get());
    const double factor = speed.value_or(1.0);
    return factor < 0 ? -factor * trim.out : factor * trim.in;
}

Items::Range sourceRangeOf(const DmSegmentNode& segment, Trim trim, double length, double base, double ratio)
{
    return {base + ratio * segment.getRelIn() - headOf(segment, trim), length + trim.in + trim.out};
}

Items::Range materialOf(const DmSourceNode::Input& input, double fps)
{
    const DM::FrameCodeModes own = dmFcmFromText(input.getFcm());
    const double ratio = own == DM::FCM_NOT_DEFINED ? 1.0 : fps / DM::FcmUtil::getDoubleFPS(own);
    double start = 0;
    if (const auto* const media = as<DmSourceNode::MediaInput>(&input))
        start = media->getSrcIn() == 0 && !media->getSrcInStr().empty() ? media->getTapeSrcIn() : media->getSrcIn();
    else if (const auto* const derived = as<DmSourceNode::DerivedInput>(&input))
        start = derived->getSrcIn();
    return {ratio * start, ratio * input.getSrcLength()};
}

std::optional<Items::Range> availableRangeOf(const DmSourceNode::Input& input, Items::Range material)
{
    const std::optional<double> stored = storedLength(input);
    if (stored && *stored < 0)
        return std::nullopt;
    return Items::Range{material.start, stored.value_or(material.length)};
}

const char* referenceSchema(const DmSourceNode::Input& input)
{
    if (as<DmSourceNode::GeneratedInput>(&input))
        return "GeneratorReference.1";
    if (isSequence(input))
        return "ImageSequenceReference.1";
    const DmSourceInfo* const info = input.getSrcInfo();
    return info && !info->getPath().empty() ? "ExternalReference.1" : "MissingReference.1";
}

// JSON

Value Parts::string(std::string_view text) const
{
    return Value(text.data(), static_cast<json::SizeType>(text.size()), *_allocator);
}

void Parts::set(Value& object, const char* name, Value value) const
{
    if (object.HasMember(name))
        object[name] = std::move(value);
    else
        object.AddMember(string(name), value, *_allocator);
}

Value& Parts::inner(Value& object, const char* name) const
{
    if (!object.HasMember(name) || !object[name].IsObject())
        set(object, name, Value(json::kObjectType));
    return object[name];
}

std::string_view Parts::utf8(const DmString& text) const
{
    _text.clear();
    if (!dmToUtf8(text.view(), _text))
        _text = dmUtf8(text);
    return _text;
}

std::string_view Parts::nameOf(const DmTreeNode& node) const
{
    return node.getName() == L"untitled" ? std::string_view() : utf8(node.getName());
}

void Parts::time(Listener& to, const char* name, double frames) const
{
    to.time(name, _items.rate(), frames);
}

void Parts::range(Listener& to, const char* name, Items::Range range) const
{
    to.range(name, _items.rate(), range.start, range.length);
}

// Objects

void Parts::begin(Listener& to, std::string_view schema, std::string_view name, const Metadata& metadata) const
{
    to.beginObject();
    to.name(schemaKey);
    to.text(schema);
    to.name("metadata");
    to.beginObject();
    if (metadata.look)
    {
        const Look& look = *metadata.look;
        const auto numbers = [&to](const char* part, const std::array<double, 3>& values)
        {
            to.name(part);
            to.beginList();
            for (const double each : values)
                to.number(each);
            to.endList();
        };
        to.name("cdl");
        to.beginObject();
        if (look.hasSop)
        {
            to.name("asc_sop");
            to.beginObject();
            numbers("slope", look.slope);
            numbers("offset", look.offset);
            numbers("power", look.power);
            to.endObject();
        }
        if (look.hasSaturation)
        {
            to.name("asc_sat");
            to.number(look.saturation);
        }
        to.endObject();
    }
    if (!metadata.transition.empty() || !metadata.notes.empty() || !metadata.reel.empty())
    {
        to.name("cmx_3600");
        to.beginObject();
        if (!metadata.transition.empty())
        {
            to.name("transition");
            to.text(metadata.transition);
        }
        if (!metadata.notes.empty())
        {
            to.name("comments");
            to.beginList();
            for (const Note& note : metadata.notes)
                to.text(noteText(note));
            to.endList();
        }
        if (!metadata.reel.empty())
        {
            to.name("reel");
            to.text(metadata.reel);
        }
        to.endObject();
    }
    to.endObject();
    to.name("name");
    to.text(name);
}

void Parts::item(Listener& to, std::string_view schema, const DmSegmentNode& node, double markOrigin,
                 std::string_view reel) const
{
    begin(to, schema, nameOf(node), {lookOf(node), {}, notesOf(node), reel});
    to.name("effects");
    effects(to, node);
    to.name("markers");
    marks(to, node.getSegmentMarks(), markOrigin);
    to.name("enabled");
    to.flag(!node.getMuted());
}

void Parts::segment(Listener& to, const DmSegmentNode& node, Trim trim, const Form& form,
                    std::optional<double> length) const
{
    const auto* const source = node.whatIs() == DM_SOURCE_NODE ? static_cast<const DmSourceNode*>(&node) : nullptr;
    const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
    const Items::Range material = input ? materialOf(*input, _items.fps()) : Items::Range{0, 0};
    const double base = material.start;
    const DM::FrameCodeModes own = input ? dmFcmFromText(input->getFcm()) : DM::FCM_NOT_DEFINED;
    const double ratio = own == DM::FCM_NOT_DEFINED ? 1.0 : _items.fps() / DM::FcmUtil::getDoubleFPS(own);
    item(to, source ? "Clip.2" : "Gap.1", node, base, input ? dmUtf8(dmReelOf(*input)) : std::string());
    range(to, "source_range", sourceRangeOf(node, trim, length.value_or(node.getRecLength()), base, ratio));
    const auto media = [&]
    {
        if (input)
            return reference(to, *input, material);
        begin(to, "MissingReference.1", {});
        to.endObject();
    };
    if (source && form.isSingle)
    {
        to.name("media_reference");
        media();
    }
    else if (source)
    {
        const std::string_view key = form.key.empty() ? std::string_view("DEFAULT_MEDIA") : form.key;
        to.name("active_media_reference_key");
        to.text(key);
        to.name("media_references");
        to.beginObject();
        to.name(key);
        media();
        to.endObject();
    }
    to.endObject();
}

void Parts::container(Listener& to, const DmContainerNode& node, Trim trim, const Form& form,
                      std::optional<double> length) const
{
    const bool isOfTrack = !form.schema.empty();
    item(to, isOfTrack ? "Track.1" : "Stack.1", node, 0, {});
    range(to, "source_range", sourceRangeOf(node, trim, length.value_or(node.getRecLength()), 0, 1));
    if (isOfTrack)
    {
        to.name("kind");
        to.text(node.getMediaType() == DM_MEDIA_AUDIO ? "Audio" : "Video");
    }
    to.name("children");
    to.beginList();
    to.endList();
    to.endObject();
}

void Parts::gap(Listener& to, double length) const
{
    begin(to, "Gap.1", {});
    emptyList(to, "effects");
    to.name("enabled");
    to.flag(true);
    emptyList(to, "markers");
    range(to, "source_range", {0, length});
    to.endObject();
}

bool Parts::hasSchema(const DmTrxEffectNode& node)
{
    const DmEffectSettings* const effect = node.getEffect();
    return dynamic_cast<const DmVDissolveSettings*>(effect) || dynamic_cast<const DmADissolveSettings*>(effect) ||
           dynamic_cast<const DmWipeSettings*>(effect);
}

void Parts::transition(Listener& to, const DmTrxEffectNode& node) const
{
    const auto* const wipe = dynamic_cast<const DmWipeSettings*>(node.getEffect());
    char event[16] = "";
    if (wipe)
        std::snprintf(event, sizeof event, "W%03d", wipe->getSmptePattern());
    begin(to, "Transition.1", nameOf(node), {{}, event, notesOf(node), {}});
    time(to, "in_offset", node.getRelIn());
    time(to, "out_offset", node.getRecLength() - node.getRelIn());
    to.name("transition_type");
    to.text(wipe ? "SMPTE_Wipe" : hasSchema(node) ? "SMPTE_Dissolve" : "Custom_Transition");
    to.endObject();
}

void Parts::track(Listener& to, const DmTreeNode& node, eDmTreeMediaType mediaType) const
{
    begin(to, "Track.1", nameOf(node));
    to.name("kind");
    to.text(mediaType == DM_MEDIA_AUDIO ? "Audio" : "Video");
    to.name("source_range");
    to.nothing();
    emptyList(to, "effects");
    emptyList(to, "markers");
    to.name("enabled");
    to.flag(true);
    emptyList(to, "children");
    to.endObject();
}

void Parts::stack(Listener& to, const DmCompositionNode& node, std::string_view name, double origin) const
{
    begin(to, "Stack.1", name);
    to.name("source_range");
    to.nothing();
    emptyList(to, "effects");
    to.name("markers");
    marks(to, node.getCueMarks(), -origin);
    to.name("enabled");
    to.flag(true);
    emptyList(to, "children");
    to.endObject();
}

void Parts::composition(Listener& to, const DmCompositionNode& node, const Form& form, double origin) const
{
    if (form.schema == "Stack")
        return stack(to, node, nameOf(node), origin);
    begin(to, "Timeline.1", nameOf(node), {{}, {}, notesOf(node), {}});
    if (node.getStartTC() != 0)
        time(to, "global_start_time", node.getStartTC());
    else
    {
        to.name("global_start_time");
        to.nothing();
    }
    to.name("tracks");
    stack(to, node, "tracks", origin);
    to.endObject();
}

void Parts::collection(Listener& to, const DmTreeNode& node) const
{
    begin(to, "SerializableCollection.1", nameOf(node));
    emptyList(to, "children");
    to.endObject();
}

void Parts::reference(Listener& to, const DmSourceNode::Input& input, Items::Range material) const
{
    const std::string_view schema = referenceSchema(input);
    begin(to, schema, utf8(otio::nameOf(input)));
    to.name("available_image_bounds");
    to.nothing();
    const DmSourceInfo* const info = input.getSrcInfo();
    if (info && schema == "ExternalReference.1")
    {
        to.name("target_url");
        to.text(urlOfPath(utf8(info->getPath())));
    }
    if (info && schema == "ImageSequenceReference.1")
        sequence(to, *info);
    const auto* const generated =
        schema == "GeneratorReference.1" ? dynamic_cast<const DmSourceNode::GeneratedInput*>(&input) : nullptr;
    if (generated)
    {
        to.name("generator_kind");
        to.text(generatorKind(*generated));
        to.name("parameters");
        to.beginObject();
        to.endObject();
    }
    if (const std::optional<Items::Range> available = availableRangeOf(input, material))
        range(to, "available_range", *available);
    else
    {
        to.name("available_range");
        to.nothing();
    }
    to.endObject();
}

void Parts::sequence(Listener& to, const DmSourceInfo& info) const
{
    const std::string pattern = dmUtf8(info.getFileList().front());
    const std::size_t digits = std::min(pattern.find('#'), pattern.size());
    const std::size_t behind = std::min(pattern.find_first_not_of('#', digits), pattern.size());
    to.name("target_url_base");
    to.text(urlOfPath(utf8(info.getPath())));
    to.name("name_prefix");
    to.text(std::string_view(pattern).substr(0, digits));
    to.name("name_suffix");
    to.text(std::string_view(pattern).substr(behind));
    to.name("frame_zero_padding");
    to.integer(static_cast<std::int64_t>(behind - digits));
    to.name("start_frame");
    to.integer(std::int64_t{info.getFileSeqBegin()});
    to.name("frame_step");
    to.integer(std::int64_t{1});
    to.name("rate");
    to.number(_items.rate());
    to.name("missing_frame_policy");
    to.text("error");
}

void Parts::marks(Listener& to, const DmSetList<DmCueMark>& marks, double origin) const
{
    to.beginList();
    for (const DmPropertySetPtr& each : marks)
    {
        const auto* const mark = static_cast<const DmCueMark*>(each.get());
        if (!mark)
            continue;
        begin(to, "Marker.2", utf8(mark->getCueMarkName()));
        to.name("comment");
        to.text(utf8(mark->getCueMarkComment()));
        to.name("color");
        to.text(colourOf(*mark).name);
        const double length = mark->getCueMarkDuration();
        range(to, "marked_range",
              {mark->getCueMarkTime() == dmNoTime ? 0.0 : mark->getCueMarkTime() + origin,
               length == dmNoTime ? 0.0 : length});
        to.endObject();
    }
    to.endList();
}

void Parts::effects(Listener& to, const DmSegmentNode& node) const
{
    to.beginList();
    std::optional<double> speed;
    for (const DmPropertySetPtr& effect : node.getEffects())
        if (!speed)
            speed = speedOf(effect.get());
    if (speed && std::isfinite(*speed))
    {
        begin(to, *speed == 0 ? "FreezeFrame.1" : "LinearTimeWarp.1", {});
        to.name("effect_name");
        to.text(*speed == 0 ? "FreezeFrame" : "LinearTimeWarp");
        to.name("time_scalar");
        to.number(*speed);
        to.endObject();
    }
    to.endList();
}

std::optional<Look> Parts::lookOf(const DmSegmentNode& node)
{
    const DmLookSettings* settings = nullptr;
    if (node.getMediaType() == DM_MEDIA_VIDEO)
        for (const DmPropertySetPtr& effect : node.getEffects())
            if (!settings)
                settings = dynamic_cast<const DmLookSettings*>(effect.get());
    if (!settings || !isFinite(toLook(*settings)))
        return std::nullopt;
    return toLook(*settings);
}

std::vector<Note> Parts::notesOf(const DmTreeNode& node)
{
    std::vector<Note> notes = interchange::notesOf(node);
    std::erase_if(notes, [](const Note& note) { return isOfModel(note.kind); });
    return notes;
}

} // namespace interchange::otio
