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

/// The name of the nearest colour that has one.
std::string_view colourName(const DmCueMark& mark)
{
    const auto distance = [&mark](const NamedColour& named)
    {
        const auto square = [](int a, int b) { return (a - b) * (a - b); };
        return square(std::clamp(mark.getCueMarkColorRed(), 0, 255), named.red) +
               square(std::clamp(mark.getCueMarkColorGreen(), 0, 255), named.green) +
               square(std::clamp(mark.getCueMarkColorBlue(), 0, 255), named.blue);
    };
    return std::ranges::min_element(namedColours(), {}, distance)->name;
}

// Media

DmString reelOf(const DmSourceNode::Input& input)
{
    if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(&input))
        return derived->getReelName();
    if (const auto* const relinked = dynamic_cast<const DmSourceNode::RelinkedInput*>(&input))
        return relinked->getReelName();
    return input.getSrcInfo() ? input.getSrcInfo()->getReelName() : DmString();
}

DmString nameOf(const DmSourceNode::Input& input)
{
    if (const auto* const relinked = dynamic_cast<const DmSourceNode::RelinkedInput*>(&input))
        return relinked->getSourceName();
    return input.getSrcInfo() ? input.getSrcInfo()->getName() : input.getName();
}

bool isSequence(const DmSourceNode::Input& input)
{
    const DmSourceInfo* const info = input.getSrcInfo();
    return info && info->getSourceType() == DmSourceInfo::FileSequence && !info->getFileList().empty();
}

/// The schema of a reference to such an input.
const char* referenceSchema(const DmSourceNode::Input& input)
{
    if (dynamic_cast<const DmSourceNode::GeneratedInput*>(&input))
        return "GeneratorReference.1";
    if (isSequence(input))
        return "ImageSequenceReference.1";
    const DmSourceInfo* const info = input.getSrcInfo();
    return info && !info->getPath().empty() ? "ExternalReference.1" : "MissingReference.1";
}

/// Where material starts, and its length, in frames of the composition.
Items::Range materialOf(const DmSourceNode::Input& input, double fps)
{
    const DM::FrameCodeModes own = dmFcmFromText(input.getFcm());
    const double ratio = own == DM::FCM_NOT_DEFINED ? 1.0 : fps / DM::FcmUtil::getDoubleFPS(own);
    double start = 0;
    if (const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(&input))
        start = media->getSrcIn() == 0 && !media->getSrcInStr().empty() ? media->getTapeSrcIn() : media->getSrcIn();
    else if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(&input))
        start = derived->getSrcIn();
    return {ratio * start, ratio * input.getSrcLength()};
}

/// The length that a reader has stored beside the one that plays; none without, negative for an unknown one.
std::optional<double> storedLength(const DmSourceNode::Input& input)
{
    const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(&input);
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

} // namespace

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

void Parts::put(Value& object, const char* name, Value value) const
{
    object.AddMember(json::StringRef(name), value, *_allocator);
}

Value& Parts::inner(Value& object, const char* name) const
{
    if (!object.HasMember(name) || !object[name].IsObject())
        set(object, name, Value(json::kObjectType));
    return object[name];
}

Value Parts::object(const char* schema, const DmTreeNode* node) const
{
    Value made(json::kObjectType);
    put(made, "OTIO_SCHEMA", string(schema));
    put(made, "metadata", Value(json::kObjectType));
    const bool isNamed = node && !(node->getName() == L"untitled");
    put(made, "name", string(isNamed ? dmUtf8(node->getName()) : std::string()));
    return made;
}

Value Parts::time(double frames) const
{
    Value made(json::kObjectType);
    put(made, "OTIO_SCHEMA", string("RationalTime.1"));
    put(made, "rate", Value(_items.fps()));
    put(made, "value", Value(frames));
    return made;
}

Value Parts::range(double start, double length) const
{
    Value made(json::kObjectType);
    put(made, "OTIO_SCHEMA", string("TimeRange.1"));
    put(made, "duration", time(length));
    put(made, "start_time", time(start));
    return made;
}

// Objects

Value Parts::item(const char* schema, const DmSegmentNode& node, double markOrigin)
{
    Value made = object(schema, &node);
    put(made, "effects", effects(node));
    put(made, "markers", marks(node.getSegmentMarks(), markOrigin));
    put(made, "enabled", Value(!node.getMuted()));
    setLook(made, node);
    setNotes(made, node);
    return made;
}

Value Parts::segment(const DmSegmentNode& node, Trim trim, const Form& form, std::optional<double> length)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&node);
    const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
    const double base = input ? materialOf(*input, _items.fps()).start : 0.0;
    const DM::FrameCodeModes own = input ? dmFcmFromText(input->getFcm()) : DM::FCM_NOT_DEFINED;
    const double ratio = own == DM::FCM_NOT_DEFINED ? 1.0 : _items.fps() / DM::FcmUtil::getDoubleFPS(own);
    Value made = item(source ? "Clip.2" : "Gap.1", node, base);
    put(made, "source_range",
        range(base + ratio * node.getRelIn() - headOf(node, trim),
              length.value_or(node.getRecLength()) + trim.in + trim.out));
    if (!source)
        return made;
    Value media = input ? reference(*input, base, *source) : object("MissingReference.1", nullptr);
    if (input)
        if (const DmString reel = reelOf(*input); !reel.empty())
            set(inner(inner(made, "metadata"), "cmx_3600"), "reel", string(dmUtf8(reel)));
    if (form.isSingle)
    {
        put(made, "media_reference", std::move(media));
        return made;
    }
    const std::string key = form.key.empty() ? "DEFAULT_MEDIA" : form.key;
    put(made, "active_media_reference_key", string(key));
    set(inner(made, "media_references"), key.c_str(), std::move(media));
    return made;
}

Value Parts::container(const DmContainerNode& node, Trim trim, const Form& form, std::optional<double> length)
{
    const bool isOfTrack = !form.schema.empty();
    Value made = item(isOfTrack ? "Track.1" : "Stack.1", node, 0);
    put(made, "source_range",
        range(node.getRelIn() - headOf(node, trim), length.value_or(node.getRecLength()) + trim.in + trim.out));
    if (isOfTrack)
        put(made, "kind", string(node.getMediaType() == DM_MEDIA_AUDIO ? "Audio" : "Video"));
    put(made, "children", Value(json::kArrayType));
    return made;
}

Value Parts::gap(double length)
{
    Value made = object("Gap.1", nullptr);
    put(made, "effects", Value(json::kArrayType));
    put(made, "enabled", Value(true));
    put(made, "markers", Value(json::kArrayType));
    put(made, "source_range", range(0, length));
    return made;
}

Value Parts::transition(const DmTrxEffectNode& node)
{
    Value made = object("Transition.1", &node);
    put(made, "in_offset", time(node.getRelIn()));
    put(made, "out_offset", time(node.getRecLength() - node.getRelIn()));
    const DmEffectSettings* const effect = node.getEffect();
    const auto* const wipe = dynamic_cast<const DmWipeSettings*>(effect);
    const bool isDissolve =
        dynamic_cast<const DmVDissolveSettings*>(effect) || dynamic_cast<const DmADissolveSettings*>(effect);
    put(made, "transition_type", string(wipe ? "SMPTE_Wipe" : isDissolve ? "SMPTE_Dissolve" : "Custom_Transition"));
    if (wipe)
    {
        char event[16];
        std::snprintf(event, sizeof event, "W%03d", wipe->getSmptePattern());
        set(inner(inner(made, "metadata"), "cmx_3600"), "transition", string(event));
    }
    setNotes(made, node);
    return made;
}

Value Parts::track(const DmTreeNode& node, eDmTreeMediaType mediaType)
{
    Value made = object("Track.1", &node);
    put(made, "kind", string(mediaType == DM_MEDIA_AUDIO ? "Audio" : "Video"));
    put(made, "source_range", Value());
    put(made, "effects", Value(json::kArrayType));
    put(made, "markers", Value(json::kArrayType));
    put(made, "enabled", Value(true));
    put(made, "children", Value(json::kArrayType));
    return made;
}

Value Parts::composition(const DmCompositionNode& node, const Form& form, double origin)
{
    const bool isStack = form.schema == "Stack";
    Value stack = object("Stack.1", isStack ? &node : nullptr);
    put(stack, "source_range", Value());
    put(stack, "effects", Value(json::kArrayType));
    put(stack, "markers", marks(node.getCueMarks(), -origin));
    put(stack, "enabled", Value(true));
    put(stack, "children", Value(json::kArrayType));
    if (isStack)
        return stack;
    set(stack, "name", string("tracks"));
    Value made = object("Timeline.1", &node);
    put(made, "global_start_time", node.getStartTC() == 0 ? Value() : time(node.getStartTC()));
    setNotes(made, node);
    put(made, "tracks", std::move(stack));
    return made;
}

Value Parts::collection(const DmTreeNode& node)
{
    Value made = object("SerializableCollection.1", &node);
    put(made, "children", Value(json::kArrayType));
    return made;
}

Value Parts::reference(const DmSourceNode::Input& input, double base, const DmSourceNode& node)
{
    const std::string_view schema = referenceSchema(input);
    Value made = object(schema.data(), nullptr);
    set(made, "name", string(dmUtf8(nameOf(input))));
    put(made, "available_image_bounds", Value());
    const DmSourceInfo* const info = input.getSrcInfo();
    if (info && schema == "ExternalReference.1")
        put(made, "target_url", string(urlOfPath(dmUtf8(info->getPath()))));
    if (info && schema == "ImageSequenceReference.1")
        made = sequence(std::move(made), *info);
    if (const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(&input))
    {
        put(made, "generator_kind", string(generatorKind(*generated)));
        put(made, "parameters", Value(json::kObjectType));
    }
    const std::optional<double> stored = storedLength(input);
    const double length = stored.value_or(materialOf(input, _items.fps()).length);
    put(made, "available_range", stored && *stored < 0 ? Value() : range(base, length));
    static_cast<void>(node);
    return made;
}

Value Parts::sequence(Value reference, const DmSourceInfo& info) const
{
    const std::string pattern = dmUtf8(info.getFileList().front());
    const std::size_t digits = std::min(pattern.find('#'), pattern.size());
    const std::size_t behind = std::min(pattern.find_first_not_of('#', digits), pattern.size());
    put(reference, "target_url_base", string(urlOfPath(dmUtf8(info.getPath()))));
    put(reference, "name_prefix", string(std::string_view(pattern).substr(0, digits)));
    put(reference, "name_suffix", string(std::string_view(pattern).substr(behind)));
    put(reference, "frame_zero_padding", Value(static_cast<int>(behind - digits)));
    put(reference, "start_frame", Value(info.getFileSeqBegin()));
    put(reference, "frame_step", Value(1));
    put(reference, "rate", Value(_items.fps()));
    put(reference, "missing_frame_policy", string("error"));
    return reference;
}

Value Parts::marks(const DmSetList<DmCueMark>& marks, double origin) const
{
    Value list(json::kArrayType);
    for (const DmPropertySetPtr& each : marks)
    {
        const auto* const mark = static_cast<const DmCueMark*>(each.get());
        if (!mark)
            continue;
        Value made = object("Marker.2", nullptr);
        set(made, "name", string(dmUtf8(mark->getCueMarkName())));
        put(made, "comment", string(dmUtf8(mark->getCueMarkComment())));
        put(made, "color", string(colourName(*mark)));
        const double length = mark->getCueMarkDuration();
        put(made, "marked_range",
            range(mark->getCueMarkTime() == dmNoTime ? 0.0 : mark->getCueMarkTime() + origin,
                  length == dmNoTime ? 0.0 : length));
        list.PushBack(made, *_allocator);
    }
    return list;
}

Value Parts::effects(const DmSegmentNode& node) const
{
    Value list(json::kArrayType);
    std::optional<double> speed;
    for (const DmPropertySetPtr& effect : node.getEffects())
        if (!speed)
            speed = speedOf(effect.get());
    if (!speed || !std::isfinite(*speed))
        return list;
    Value made = object(*speed == 0 ? "FreezeFrame.1" : "LinearTimeWarp.1", nullptr);
    put(made, "effect_name", string(*speed == 0 ? "FreezeFrame" : "LinearTimeWarp"));
    put(made, "time_scalar", Value(*speed));
    list.PushBack(made, *_allocator);
    return list;
}

void Parts::setLook(Value& object, const DmSegmentNode& node) const
{
    if (node.getMediaType() != DM_MEDIA_VIDEO)
        return;
    const DmLookSettings* settings = nullptr;
    for (const DmPropertySetPtr& effect : node.getEffects())
        if (!settings)
            settings = dynamic_cast<const DmLookSettings*>(effect.get());
    if (!settings || !isFinite(toLook(*settings)))
        return;
    const Look look = toLook(*settings);
    Value& cdl = inner(inner(object, "metadata"), "cdl");
    const auto setNumbers = [&](const char* name, const std::array<double, 3>& numbers)
    {
        Value list(json::kArrayType);
        for (const double number : numbers)
            list.PushBack(Value(number), *_allocator);
        set(inner(cdl, "asc_sop"), name, std::move(list));
    };
    if (look.hasSop)
    {
        setNumbers("slope", look.slope);
        setNumbers("offset", look.offset);
        setNumbers("power", look.power);
    }
    if (look.hasSaturation)
        set(cdl, "asc_sat", Value(look.saturation));
}

/// Notes of cut lists become comments among their metadata.
void Parts::setNotes(Value& object, const DmTreeNode& node) const
{
    Value comments(json::kArrayType);
    for (const Note& note : interchange::notesOf(node))
        if (!isOfModel(note.kind))
            comments.PushBack(string(noteText(note)), *_allocator);
    if (!comments.Empty())
        set(inner(inner(object, "metadata"), "cmx_3600"), "comments", std::move(comments));
}

} // namespace interchange::otio
