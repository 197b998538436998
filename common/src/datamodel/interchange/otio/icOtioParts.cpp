#include "icOtioParts.h"

#include "icColours.h"
#include "icLook.h"
#include "icText.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmSetTools.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace interchange::otio
{

namespace
{

constexpr Loss lostEffect{"DM711", "left out"};
constexpr Loss otherMix{"DM712", "written as Custom_Transition"};
constexpr Loss wipeSettings{"DM730", "left out"};
constexpr Loss generatorSettings{"DM731", "left out"};
constexpr Loss furtherChannel{"DM732", "left out"};
constexpr Loss markColour{"DM721", "written in the nearest one"};

bool isSame(double a, double b)
{
    return a == b || std::abs(a - b) < 1e-6;
}

bool isFinite(const Look& look)
{
    constexpr auto areFinite = [](const std::array<double, 3>& numbers)
    { return std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); }); };
    return areFinite(look.slope) && areFinite(look.offset) && areFinite(look.power) && std::isfinite(look.saturation);
}

// Marks

using Colour = std::array<int, 3>;

Colour colourOf(const DmCueMark& mark)
{
    return {mark.getCueMarkColorRed(), mark.getCueMarkColorGreen(), mark.getCueMarkColorBlue()};
}

int distance(const Colour& colour, const NamedColour& named)
{
    const auto square = [](int a, int b) { return (a - b) * (a - b); };
    return square(std::clamp(colour[0], 0, 255), named.red) + square(std::clamp(colour[1], 0, 255), named.green) +
           square(std::clamp(colour[2], 0, 255), named.blue);
}

bool isSameMark(const DmCueMark& a, const DmCueMark& b)
{
    return isSame(a.getCueMarkTime(), b.getCueMarkTime()) && isSame(a.getCueMarkDuration(), b.getCueMarkDuration()) &&
           a.getCueMarkName() == b.getCueMarkName() && a.getCueMarkComment() == b.getCueMarkComment() &&
           colourOf(a) == colourOf(b);
}

/// For each mark the place of an equal one before, each of which is found once.
std::vector<std::optional<std::size_t>> placesOf(const std::vector<const DmCueMark*>& now,
                                                 const std::vector<CoSharedPtr<DmCueMark>>& before)
{
    // Marks keep their order as long as nobody sorts them: each search goes on where the last one has found something.
    std::vector<std::optional<std::size_t>> places(now.size());
    std::vector<bool> used(before.size());
    std::size_t next = 0;
    for (std::size_t i = 0; i < now.size(); ++i)
        for (std::size_t k = 0; k < before.size() && !places[i]; ++k)
            if (const std::size_t at = (next + k) % before.size(); !used[at] && isSameMark(*now[i], *before[at]))
            {
                used[at] = true;
                places[i] = at;
                next = at + 1;
            }
    return places;
}

// Media

const wchar_t* typeOf(const DmSourceNode::Input* input)
{
    const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input);
    return generated ? generated->getInputType().c_str() : L"";
}

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

bool isSameInput(const DmSourceNode::Input& a, const DmSourceNode::Input& b)
{
    const DmSourceInfo* const one = a.getSrcInfo();
    const DmSourceInfo* const other = b.getSrcInfo();
    const auto files = [](const DmSourceInfo& info)
    { return std::tuple(info.getSourceType(), info.getPath().view(), info.getFileSeqBegin()); };
    return nameOf(a) == nameOf(b) && std::wstring_view(typeOf(&a)) == typeOf(&b) &&
           (one != nullptr) == (other != nullptr) &&
           (!one || (files(*one) == files(*other) && one->getFileList() == other->getFileList()));
}

/// The schema of a reference to such an input.
std::string_view referenceSchema(const DmSourceNode::Input& input)
{
    if (dynamic_cast<const DmSourceNode::GeneratedInput*>(&input))
        return "GeneratorReference";
    if (isSequence(input))
        return "ImageSequenceReference";
    const DmSourceInfo* const info = input.getSrcInfo();
    return info && !info->getPath().empty() ? "ExternalReference" : "MissingReference";
}

// Transitions

struct MixOf
{
    Mix mix = Mix::Other;
    int pattern = 0;

    bool operator==(const MixOf&) const = default;
};

MixOf mixOf(const DmEffectSettings* effect)
{
    if (const auto* const wipe = dynamic_cast<const DmWipeSettings*>(effect))
        return {Mix::Wipe, wipe->getSmptePattern()};
    const bool isDissolve =
        dynamic_cast<const DmVDissolveSettings*>(effect) || dynamic_cast<const DmADissolveSettings*>(effect);
    return {isDissolve ? Mix::Dissolve : Mix::Other};
}

/// Whether a wipe is but for its pattern and its length as every fresh one.
bool isPlainWipe(const DmWipeSettings& wipe)
{
    const auto fresh = made(DmWipeSettings::create());
    require(fresh->setLength(wipe.getLength()));
    require(fresh->setSmptePattern(wipe.getSmptePattern()));
    bool isEqual = false;
    return dmDeepEqual(wipe, *fresh, isEqual) == DM_NO_ERROR && isEqual;
}

} // namespace

// JSON

Value Parts::string(std::string_view text) const
{
    return Value(text.data(), static_cast<json::SizeType>(text.size()), _allocator);
}

void Parts::set(Value& object, const char* name, Value value) const
{
    if (object.HasMember(name))
        object[name] = std::move(value);
    else
        object.AddMember(string(name), value, _allocator);
}

Value& Parts::inner(Value& object, const char* name) const
{
    if (!object.HasMember(name) || !object[name].IsObject())
        set(object, name, Value(json::kObjectType));
    return object[name];
}

Value Parts::object(const char* schema) const
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string(schema));
    set(made, "metadata", Value(json::kObjectType));
    set(made, "name", string(""));
    return made;
}

Value Parts::time(double frames) const
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string("RationalTime.1"));
    set(made, "rate", Value(_items.fps()));
    set(made, "value", Value(frames));
    return made;
}

Value Parts::range(double start, double length) const
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string("TimeRange.1"));
    set(made, "duration", time(length));
    set(made, "start_time", time(start));
    return made;
}

// Parts

void Parts::setName(Value& object, const DmTreeNode& node) const
{
    const std::string_view before = textOf(&object, "name");
    const bool isUntitled = node.getName() == L"untitled";
    if (!(node.getName() == toDmString(before)) && !(isUntitled && before.empty()))
        set(object, "name", string(isUntitled ? std::string() : dmUtf8(node.getName())));
}

void Parts::setMix(Value& object, const DmTrxEffectNode& node, bool isKept)
{
    const DmEffectSettings* const effect = node.getEffect();
    const MixOf now = mixOf(effect);
    if (now.mix == Mix::Other)
        _report.lose(otherMix);
    if (const auto* const wipe = dynamic_cast<const DmWipeSettings*>(effect); wipe && !isPlainWipe(*wipe))
        _report.lose(wipeSettings);
    if (isKept && mixOf(_items.mix(object, node.getMediaType(), 0).get()) == now)
        return;
    set(object, "transition_type",
        string(now.mix == Mix::Wipe       ? "SMPTE_Wipe"
               : now.mix == Mix::Dissolve ? "SMPTE_Dissolve"
                                          : "Custom_Transition"));
    if (now.mix != Mix::Wipe)
        return;
    char event[16];
    std::snprintf(event, sizeof event, "W%03d", now.pattern);
    set(inner(inner(object, "metadata"), "cmx_3600"), "transition", string(event));
}

Items::Range Parts::material(const DmSourceNode::Input& input, double base) const
{
    const DM::FrameCodeModes own = dmFcmFromText(input.getFcm());
    const double ratio = own == DM::FCM_NOT_DEFINED ? 1.0 : _items.fps() / DM::FcmUtil::getDoubleFPS(own);
    double start = base;
    if (const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(&input))
        start = ratio *
                (media->getSrcIn() == 0 && !media->getSrcInStr().empty() ? media->getTapeSrcIn() : media->getSrcIn());
    else if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(&input))
        start = ratio * derived->getSrcIn();
    return {start, ratio * input.getSrcLength()};
}

void Parts::setSource(Value& object, const DmSourceNode& node, bool isKept, Trim trim)
{
    const DmSourceNode::Input* const input = node.getSrcInput();
    const Extent before = isKept ? _items.clipExtent(object) : Extent();
    const double base = input ? material(*input, before.base).start : before.base;
    const CoSharedPtr<DmSourceNode> fresh =
        isKept ? _items.clip(object, node.getMediaType()) : CoSharedPtr<DmSourceNode>();
    if (input)
        setMedia(object, *input, fresh ? fresh->getSrcInput() : nullptr, base);
    if (node.getSrcMultiInput().count() != 0)
        _report.lose(furtherChannel);
    setRange(object, node, before, base, isKept, trim);
    setDress(object, node, base);
    setNotes(object, node);
}

void Parts::setRange(Value& object, const DmSegmentNode& node, const Extent& before, double base, bool isKept,
                     Trim trim) const
{
    const double start = base + node.getRelIn() - trim.in;
    const double length = node.getRecLength() + trim.in + trim.out;
    if (!isKept || !isSame(start, before.start) || !isSame(length, before.length))
        set(object, "source_range", range(start, length));
}

void Parts::setMedia(Value& clip, const DmSourceNode::Input& input, const DmSourceNode::Input* before, double base)
{
    if (const DmString reel = reelOf(input); before ? !(reelOf(*before) == reel) : !reel.empty())
        set(inner(inner(clip, "metadata"), "cmx_3600"), "reel", string(dmUtf8(reel)));
    const Items::Range now = material(input, base);
    const Items::Range then = before ? material(*before, base) : Items::Range{0, -1};
    const bool isSameRange = isSame(now.start, then.start) && isSame(now.length, then.length);
    if (before && isSameRange && isSameInput(*before, input))
        return;
    // The reference as it came, where it can still be that, with what was edited.
    const std::string_view wanted = referenceSchema(input);
    Value reference;
    if (const Value* const old = before ? mediaOf(clip) : nullptr; old && referenceSchema(*before) == wanted)
        reference = Value(*old, _allocator);
    if (!reference.IsObject())
        reference = object((std::string(wanted) + ".1").c_str());
    set(reference, "name", string(dmUtf8(nameOf(input))));
    const DmSourceInfo* const info = input.getSrcInfo();
    if (info && wanted == "ExternalReference")
        set(reference, "target_url", string(dmUtf8(info->getPath())));
    if (info && wanted == "ImageSequenceReference")
        setSequence(reference, *info);
    const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(&input);
    if (generated && std::wstring_view(typeOf(before)) != typeOf(generated))
        setGenerator(reference, *generated);
    if (!isSameRange)
        set(reference, "available_range", range(now.start, now.length));
    setReference(clip, std::move(reference));
}

void Parts::setReference(Value& clip, Value reference) const
{
    if (clip.HasMember("media_reference"))
        return set(clip, "media_reference", std::move(reference));
    const std::string key(mediaKey(clip));
    if (textOf(&clip, "active_media_reference_key").empty())
        set(clip, "active_media_reference_key", string(key));
    set(inner(clip, "media_references"), key.c_str(), std::move(reference));
}

void Parts::setSequence(Value& reference, const DmSourceInfo& info) const
{
    const std::string pattern = dmUtf8(info.getFileList().front());
    const std::size_t digits = std::min(pattern.find('#'), pattern.size());
    const std::size_t behind = std::min(pattern.find_first_not_of('#', digits), pattern.size());
    set(reference, "target_url_base", string(dmUtf8(info.getPath())));
    set(reference, "name_prefix", string(std::string_view(pattern).substr(0, digits)));
    set(reference, "name_suffix", string(std::string_view(pattern).substr(behind)));
    set(reference, "frame_zero_padding", Value(static_cast<int>(behind - digits)));
    set(reference, "start_frame", Value(info.getFileSeqBegin()));
    if (!reference.HasMember("frame_step"))
        set(reference, "frame_step", Value(1));
    if (!reference.HasMember("rate"))
        set(reference, "rate", Value(_items.fps()));
    if (!reference.HasMember("missing_frame_policy"))
        set(reference, "missing_frame_policy", string("error"));
}

void Parts::setGenerator(Value& reference, const DmSourceNode::GeneratedInput& input)
{
    struct Kind
    {
        std::wstring_view type;
        const char* kind;
        bool hasSettings;
    };
    constexpr std::array<Kind, 8> kinds{{{L"INPUT_BLACK", "black", false},
                                         {L"INPUT_COLOUR", "SolidColor", true},
                                         {L"INPUT_NOISE", "Noise", false},
                                         {L"INPUT_COLOUR_NOISE", "Noise", true},
                                         {L"INPUT_SMPTE_BARS", "SMPTEBars", false},
                                         {L"INPUT_PAL_BARS", "PALBars", false},
                                         {L"INPUT_SILENCE", "Silence", false},
                                         {L"INPUT_TONE", "Tone", true}}};
    for (const Kind& each : kinds)
        if (input.getInputType().view() == each.type)
        {
            set(reference, "generator_kind", string(each.kind));
            if (each.hasSettings)
                _report.lose(generatorSettings);
        }
    if (!reference.HasMember("parameters"))
        set(reference, "parameters", Value(json::kObjectType));
}

void Parts::setDress(Value& object, const DmSegmentNode& node, double base)
{
    setName(object, node);
    const Value* const enabled = member(&object, "enabled");
    if ((enabled && enabled->IsFalse()) != node.getMuted())
        set(object, "enabled", Value(!node.getMuted()));
    setMarks(object, node.getSegmentMarks(), base);
    setEffects(object, node);
}

void Parts::setMarks(Value& object, const DmSetList<DmCueMark>& marks, double origin)
{
    const Value* const old = arrayOf(&object, "markers");
    std::vector<CoSharedPtr<DmCueMark>> before;
    if (old)
        for (const Value& marker : old->GetArray())
            before.push_back(_items.mark(marker, origin));
    std::vector<const DmCueMark*> now;
    for (const DmPropertySetPtr& each : marks)
        if (const auto* const mark = dynamic_cast<const DmCueMark*>(each.get()))
            now.push_back(mark);
    const std::vector<std::optional<std::size_t>> places = placesOf(now, before);
    bool isSameList = now.size() == before.size();
    for (std::size_t i = 0; i < now.size() && isSameList; ++i)
        isSameList = places[i] == i;
    if (isSameList)
        return;
    Value list(json::kArrayType);
    for (std::size_t i = 0; i < now.size(); ++i)
    {
        // As many as before: one that is not found has been edited where it stands.
        const bool isEdited = !places[i] && now.size() == before.size() && std::ranges::find(places, i) == places.end();
        const std::optional<std::size_t> place = isEdited ? i : places[i];
        Value marker = place ? Value((*old)[static_cast<json::SizeType>(*place)], _allocator) : Value();
        if (!places[i])
            setMark(marker, *now[i], isEdited ? before[i].get() : nullptr, origin);
        list.PushBack(marker, _allocator);
    }
    set(object, "markers", std::move(list));
}

void Parts::setMark(Value& marker, const DmCueMark& mark, const DmCueMark* before, double origin)
{
    if (!marker.IsObject())
    {
        marker = object("Marker.2");
        before = nullptr;
    }
    if (!before || !(before->getCueMarkName() == mark.getCueMarkName()))
        set(marker, "name", string(dmUtf8(mark.getCueMarkName())));
    if (!before || !(before->getCueMarkComment() == mark.getCueMarkComment()))
        set(marker, "comment", string(dmUtf8(mark.getCueMarkComment())));
    if (!before || !isSame(before->getCueMarkTime(), mark.getCueMarkTime()) ||
        !isSame(before->getCueMarkDuration(), mark.getCueMarkDuration()))
        set(marker, "marked_range", range(mark.getCueMarkTime() + origin, mark.getCueMarkDuration()));
    const Colour colour = colourOf(mark);
    if (before && colourOf(*before) == colour)
        return;
    const NamedColour& nearest = *std::ranges::min_element(
        namedColours(), {}, [&colour](const NamedColour& named) { return distance(colour, named); });
    if (distance(colour, nearest) != 0)
        _report.lose(markColour);
    set(marker, "color", string(nearest.name));
}

void Parts::setEffects(Value& object, const DmSegmentNode& node)
{
    std::optional<double> speed;
    std::optional<Look> look;
    for (const DmPropertySetPtr& effect : node.getEffects())
    {
        const std::optional<double> itsSpeed = speed ? std::nullopt : speedOf(effect.get());
        const auto* const settings = dynamic_cast<const DmLookSettings*>(effect.get());
        if (itsSpeed)
            speed = itsSpeed;
        else if (settings && !look && isFinite(toLook(*settings)))
            look = toLook(*settings);
        else if (effect)
            _report.lose(lostEffect);
    }
    setSpeed(object, node.getMediaType(), speed);
    if (node.getMediaType() == DM_MEDIA_VIDEO)
        setLook(object, look);
    else if (look)
        _report.lose(lostEffect);
}

void Parts::setSpeed(Value& object, eDmTreeMediaType mediaType, const std::optional<double>& now) const
{
    const CoSharedPtr<DmEffectSettings> before = Items::timewarp(object, mediaType);
    const std::optional<double> then = speedOf(before.get());
    if (now == then)
        return;
    const Value* const effects = arrayOf(&object, "effects");
    Value list = effects ? Value(*effects, _allocator) : Value(json::kArrayType);
    auto* const warp = then ? std::find_if(list.Begin(), list.End(), isTimewarp) : list.End();
    if (!now)
        list.Erase(warp);
    else if (warp != list.End() && schemaOf(warp) == "LinearTimeWarp")
        set(*warp, "time_scalar", Value(*now));
    else
    {
        Value made = this->object("LinearTimeWarp.1");
        set(made, "effect_name", string("LinearTimeWarp"));
        set(made, "time_scalar", Value(*now));
        if (warp != list.End())
            *warp = std::move(made);
        else
            list.PushBack(made, _allocator);
    }
    set(object, "effects", std::move(list));
}

void Parts::setLook(Value& object, const std::optional<Look>& now) const
{
    const std::optional<Look> before = lookOf(object);
    if (now == before)
        return;
    Value& cdl = inner(inner(object, "metadata"), "cdl");
    const auto isSameSop = [](const Look& a, const Look& b)
    { return a.hasSop == b.hasSop && a.slope == b.slope && a.offset == b.offset && a.power == b.power; };
    const auto setNumbers = [&](const char* name, const std::array<double, 3>& numbers)
    {
        Value list(json::kArrayType);
        for (const double number : numbers)
            list.PushBack(Value(number), _allocator);
        set(inner(cdl, "asc_sop"), name, std::move(list));
    };
    if (!now || !now->hasSop)
        cdl.RemoveMember("asc_sop");
    else if (!before || !isSameSop(*now, *before))
    {
        setNumbers("slope", now->slope);
        setNumbers("offset", now->offset);
        setNumbers("power", now->power);
    }
    if (!now || !now->hasSaturation)
        cdl.RemoveMember("asc_sat");
    else if (!before || !before->hasSaturation || before->saturation != now->saturation)
        set(cdl, "asc_sat", Value(now->saturation));
    if (cdl.ObjectEmpty())
        inner(object, "metadata").RemoveMember("cdl");
}

// What cut lists have said

void Parts::setNotes(Value& object, const DmTreeNode& node) const
{
    const std::vector<Note> notes = interchange::notesOf(node);
    if (notes == otio::notesOf(object))
        return;
    Value comments(json::kArrayType);
    for (const Note& note : notes)
        if (!isOfModel(note.kind))
            comments.PushBack(string(noteText(note)), _allocator);
    if (!comments.Empty())
        set(inner(inner(object, "metadata"), "cmx_3600"), "comments", std::move(comments));
}

} // namespace interchange::otio
