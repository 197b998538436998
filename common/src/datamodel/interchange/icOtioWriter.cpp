#include "icOtioWriter.h"

#include "icEdlKept.h"
#include "icOtioItems.h"

#include "dmADissolveSettings.h"
#include "dmBlobNode.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

namespace interchange
{

using namespace otio;

namespace
{

constexpr int deepestNesting = 220; ///< of containers, which JSON is then some thousand levels deep

enum Loss : std::uint8_t
{
    LostEffect,
    OtherTransition,
    FurtherLayer,
    TooDeep,
    LossCount
};
constexpr std::array<const char*, LossCount> lossTexts{{"effects other than constant speeds",
                                                        "transitions other than dissolves", "further layers",
                                                        "containers nested too deeply"}};

bool isSame(double a, double b)
{
    return std::abs(a - b) < 1e-6;
}

bool isSameMark(const DmCueMark& a, const DmCueMark& b)
{
    return a.getCueMarkName() == b.getCueMarkName() && a.getCueMarkComment() == b.getCueMarkComment() &&
           isSame(a.getCueMarkTime(), b.getCueMarkTime()) && isSame(a.getCueMarkDuration(), b.getCueMarkDuration()) &&
           a.getCueMarkColorRed() == b.getCueMarkColorRed() && a.getCueMarkColorGreen() == b.getCueMarkColorGreen() &&
           a.getCueMarkColorBlue() == b.getCueMarkColorBlue();
}

/// What transitions have taken of a segment.
struct Trim
{
    double in = 0;
    double out = 0;
};

class Maker
{
public:
    Maker(DM::FrameCodeModes fcm, json::Document& document)
        : _items(fcm, true, nullptr, nullptr, nullptr)
        , _allocator(document.GetAllocator())
    {
    }

    Value collection(const DmReelNode& reel);
    Value composition(const DmCompositionNode& node);
    void tell(Report& report) const;

private:
    // JSON

    Value string(std::string_view text) { return Value(text.data(), size(text), _allocator); }
    static json::SizeType size(std::string_view text) { return static_cast<json::SizeType>(text.size()); }
    void set(Value& object, const char* name, Value value);
    void setName(Value& object, const DmTreeNode& node);
    Value object(const char* schema);
    Value time(double frames);
    Value range(double start, double length);
    /// The members that travel with a node; null without any.
    Value kept(const DmTreeNode& node);

    // Nodes

    Value tracks(const DmCompositionNode& node);
    Value track(const DmTrackNode& node);
    Value elements(const DmTrackNode& node);
    Value element(const DmLayerNode& layer, int index);
    Value transition(const DmTrxEffectNode& node, const DmTreeNode* before, const DmTreeNode* behind);
    Value segment(const DmSegmentNode& node, Trim trim);
    void setChildren(Value& object, Value children);
    void setSource(Value& object, const DmSourceNode& node, bool isKept, Trim trim);
    void setMedia(Value& object, const DmSourceNode::Input& input, const DmSourceNode::Input* before, double base);
    void setRange(Value& object, const DmSegmentNode& node, const Extent& before, double base, bool isKept, Trim trim);
    void setDress(Value& object, const DmSegmentNode& node, double base);
    void setMarks(Value& object, const DmSetList<DmCueMark>& marks, double origin);
    void setEffects(Value& object, const DmSegmentNode& node);

    Items _items;
    json::Document::AllocatorType& _allocator;
    int _depth = 0;
    std::array<std::size_t, LossCount> _losses{};
};

void Maker::tell(Report& report) const
{
    for (std::size_t i = 0; i < _losses.size(); ++i)
        if (_losses[i] != 0)
            report.add(Report::Warning, 0,
                       lossTexts[i] + (" (" + std::to_string(_losses[i])) +
                           (i == OtherTransition ? "): written as dissolves" : "): left out"));
}

// JSON

void Maker::set(Value& object, const char* name, Value value)
{
    if (object.HasMember(name))
        object[name] = std::move(value);
    else
        object.AddMember(string(name), value, _allocator);
}

void Maker::setName(Value& object, const DmTreeNode& node)
{
    const std::string_view before = textOf(&object, "name");
    const bool isUntitled = node.getName() == L"untitled";
    if (!(node.getName() == toDmString(before)) && !(isUntitled && before.empty()))
        set(object, "name", string(isUntitled ? std::string() : dmUtf8(node.getName())));
}

Value Maker::object(const char* schema)
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string(schema));
    set(made, "metadata", Value(json::kObjectType));
    set(made, "name", string(""));
    return made;
}

Value Maker::time(double frames)
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string("RationalTime.1"));
    set(made, "rate", Value(_items.fps()));
    set(made, "value", Value(frames));
    return made;
}

Value Maker::range(double start, double length)
{
    Value made(json::kObjectType);
    set(made, "OTIO_SCHEMA", string("TimeRange.1"));
    set(made, "duration", time(length));
    set(made, "start_time", time(start));
    return made;
}

Value Maker::kept(const DmTreeNode& node)
{
    const auto* const blob = dynamic_cast<const DmBlobNode*>(node.getBaseBlob());
    if (!blob || !(blob->getBlobType() == blobType))
        return {};
    // Parsed in place, in memory that lives as long as the values.
    const std::string data = dmUtf8(blob->getData());
    auto* const text = static_cast<char*>(_allocator.Malloc(data.size() + 1));
    std::copy_n(data.c_str(), data.size() + 1, text);
    std::string error;
    std::size_t offset = 0;
    json::Document document(&_allocator);
    if (!parse(document, text, error, offset) || !document.IsObject())
        return {};
    return std::move(static_cast<Value&>(document));
}

// Nodes

Value Maker::collection(const DmReelNode& reel)
{
    Value made = kept(reel);
    if (!made.IsObject())
        made = object("SerializableCollection.1");
    setName(made, reel);
    Value children(json::kArrayType);
    for (int i = 0; i < reel.getNbChildren(); ++i)
        if (const auto* const each = dynamic_cast<const DmCompositionNode*>(reel.getChild(i)))
            children.PushBack(composition(*each), _allocator);
    setChildren(made, std::move(children));
    return made;
}

void Maker::setChildren(Value& object, Value children)
{
    // Where the file had none at all, none is as good.
    if (!children.Empty() || !object.HasMember("children"))
        set(object, "children", std::move(children));
}

Value Maker::composition(const DmCompositionNode& node)
{
    Value made = kept(node);
    Value children = tracks(node);
    if (made.IsObject() && made.ObjectEmpty())
    {
        if (children.Size() == 1)
            return Value(std::move(children[0]));
        made = Value();
    }
    const bool isStack = schemaOf(&made) == "Stack";
    if (!made.IsObject())
        made = object("Timeline.1");
    setName(made, node);
    if (isStack)
    {
        setMarks(made, node.getCueMarks(), 0);
        setChildren(made, std::move(children));
        return made;
    }
    if (const Value* const start = member(&made, "global_start_time");
        !isSame(start ? _items.frames(start) : 0, node.getStartTC()))
        set(made, "global_start_time", time(node.getStartTC()));
    const bool hadTracks = made.HasMember("tracks");
    if (!hadTracks || !made["tracks"].IsObject())
    {
        if (hadTracks && children.Empty() && node.getCueMarks().count() == 0)
            return made;
        set(made, "tracks", object("Stack.1"));
        set(made["tracks"], "name", string("tracks"));
    }
    Value& inside = made["tracks"];
    setMarks(inside, node.getCueMarks(), node.getStartTC());
    setChildren(inside, std::move(children));
    return made;
}

Value Maker::tracks(const DmCompositionNode& node)
{
    Value children(json::kArrayType);
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const auto* const each = dynamic_cast<const DmTrackNode*>(node.getChild(i)))
            children.PushBack(track(*each), _allocator);
    return children;
}

Value Maker::track(const DmTrackNode& node)
{
    Value made = kept(node);
    Value children = elements(node);
    if (made.IsObject() && made.ObjectEmpty())
    {
        if (children.Size() == 1)
            return Value(std::move(children[0]));
        made = Value();
    }
    const bool isKept = made.IsObject();
    if (!isKept)
        made = object("Track.1");
    setName(made, node);
    const bool isAudio = node.getMediaType() == DM_MEDIA_AUDIO;
    if (!isKept || (textOf(&made, "kind") == "Audio") != isAudio)
        if (!isKept || member(&made, "kind"))
            set(made, "kind", string(isAudio ? "Audio" : "Video"));
    setChildren(made, std::move(children));
    return made;
}

Value Maker::elements(const DmTrackNode& node)
{
    Value children(json::kArrayType);
    const auto* const layer = dynamic_cast<const DmLayerNode*>(node.getChild(0));
    if (node.getNbChildren() > 1)
        _losses[FurtherLayer] += static_cast<std::size_t>(node.getNbChildren() - 1);
    for (int i = 0; layer && i < layer->getNbChildren(); ++i)
        if (Value made = element(*layer, i); made.IsObject())
            children.PushBack(made, _allocator);
    return children;
}

Value Maker::element(const DmLayerNode& layer, int index)
{
    const DmTreeNode* const node = layer.getChild(index);
    const auto mix = [&layer](int at) { return dynamic_cast<const DmTrxEffectNode*>(layer.getChild(at)); };
    if (const DmTrxEffectNode* const transition = mix(index))
        return this->transition(*transition, layer.getChild(index - 1), layer.getChild(index + 1));
    const auto* segment = dynamic_cast<const DmSegmentNode*>(node);
    if (!segment)
        return {};
    if (const auto* const attached = dynamic_cast<const DmSegmentNode*>(node->getBaseBlob()))
        segment = attached;
    else if (segment->whatIs() == DM_GAP_NODE && segment->getRecLength() == 0 && kept(*segment).IsNull())
        return {}; // stands between two transitions, or at an end
    Trim trim;
    if (const DmTrxEffectNode* const before = mix(index - 1))
        trim.in = before->getRecLength() - before->getRelIn();
    if (const DmTrxEffectNode* const behind = mix(index + 1))
        trim.out = behind->getRelIn();
    return this->segment(*segment, trim);
}

Value Maker::transition(const DmTrxEffectNode& node, const DmTreeNode* before, const DmTreeNode* behind)
{
    Value made = kept(node);
    const DmEffectSettings* const effect = node.getEffect();
    const bool isKept = made.IsObject();
    if (!isKept)
    {
        made = object("Transition.1");
        set(made, "transition_type", string("SMPTE_Dissolve"));
        if (!dynamic_cast<const DmVDissolveSettings*>(effect) && !dynamic_cast<const DmADissolveSettings*>(effect))
            ++_losses[OtherTransition];
    }
    setName(made, node);
    // An offset that was cut to what stands beside it has left nothing of that.
    const auto setOffset = [&](const char* name, double now, const DmTreeNode* beside)
    {
        const double then = _items.frames(member(&made, name));
        const auto* const segment = dynamic_cast<const DmSegmentNode*>(beside);
        const bool isCut = std::max(0.0, then) > now && (!segment || segment->getRecLength() == 0);
        if (!isKept || (!isCut && !isSame(std::max(0.0, then), now)))
            set(made, name, time(now));
    };
    setOffset("in_offset", node.getRelIn(), before);
    setOffset("out_offset", node.getRecLength() - node.getRelIn(), behind);
    return made;
}

Value Maker::segment(const DmSegmentNode& node, Trim trim)
{
    Value made = kept(node);
    const bool isKept = made.IsObject();
    const auto* const container = dynamic_cast<const DmContainerNode*>(&node);
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(&node))
    {
        if (!isKept)
            made = object("Clip.2");
        setSource(made, *source, isKept, trim);
        return made;
    }
    if (!isKept)
        made = object(container ? "Stack.1" : "Gap.1");
    Extent before;
    const DmCompositionNode* const inside = container ? container->getComposition() : nullptr;
    if (inside && _depth < deepestNesting)
    {
        ++_depth;
        Value children(json::kArrayType);
        const auto* const only = dynamic_cast<const DmTrackNode*>(inside->getChild(0));
        if (!isTrack(schemaOf(&made)))
            children = tracks(*inside);
        else if (only)
            children = elements(*only);
        --_depth;
        before = _items.extent(made, Items::Range{0, inside->getCompLength()});
        setChildren(made, std::move(children));
    }
    else if (container)
        ++_losses[TooDeep];
    else if (const auto played = _items.range(member(&made, "source_range")))
        before = {0, played->start, played->length, 0};
    setRange(made, node, before, before.base, isKept, trim);
    setDress(made, node, before.base);
    return made;
}

void Maker::setSource(Value& object, const DmSourceNode& node, bool isKept, Trim trim)
{
    const DmSourceNode::Input* const input = node.getSrcInput();
    const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(input);
    const Extent before = isKept ? _items.clipExtent(object) : Extent();
    const double base = media ? media->getSrcIn() : before.base;
    const CoSharedPtr<DmSourceNode> fresh =
        isKept ? _items.clip(object, node.getMediaType()) : CoSharedPtr<DmSourceNode>();
    if (input)
        setMedia(object, *input, fresh ? fresh->getSrcInput() : nullptr, base);
    setRange(object, node, before, base, isKept, trim);
    setDress(object, node, base);
}

void Maker::setRange(Value& object, const DmSegmentNode& node, const Extent& before, double base, bool isKept,
                     Trim trim)
{
    const double start = base + node.getRelIn() - trim.in;
    const double length = node.getRecLength() + trim.in + trim.out;
    if (!isKept || !isSame(start, before.start) || !isSame(length, before.length))
        set(object, "source_range", range(start, length));
}

void Maker::setMedia(Value& object, const DmSourceNode::Input& input, const DmSourceNode::Input* before, double base)
{
    const DmSourceInfo* const info = input.getSrcInfo();
    const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(&input);
    const auto nameOf = [](const DmSourceNode::Input& each)
    { return each.getSrcInfo() ? each.getSrcInfo()->getName() : each.getName(); };
    const auto pathOf = [](const DmSourceNode::Input& each)
    { return each.getSrcInfo() ? each.getSrcInfo()->getPath() : DmString(); };
    const auto typeOf = [](const DmSourceNode::Input& each)
    {
        const auto* const made = dynamic_cast<const DmSourceNode::GeneratedInput*>(&each);
        return made ? made->getInputType() : DmString();
    };
    const auto baseOf = [base](const DmSourceNode::Input& each)
    {
        const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(&each);
        return media ? media->getSrcIn() : base;
    };
    const bool isSameRange =
        before && isSame(before->getSrcLength(), input.getSrcLength()) && isSame(baseOf(*before), base);
    if (isSameRange && nameOf(*before) == nameOf(input) && pathOf(*before) == pathOf(input) &&
        typeOf(*before) == typeOf(input))
        return;
    // The reference as it came, where there is one, with what was edited.
    Value reference;
    if (const Value* const old = before ? _items.mediaOf(object) : nullptr)
        reference = Value(*old, _allocator);
    const bool isFile = info && !pathOf(input).empty();
    const std::string_view schema = schemaOf(&reference);
    if (!reference.IsObject() || (generated != nullptr) != (schema == "GeneratorReference") ||
        (isFile && schema == "MissingReference"))
        reference = this->object(generated ? "GeneratorReference.1"
                                 : isFile  ? "ExternalReference.1"
                                           : "MissingReference.1");
    set(reference, "name", string(dmUtf8(nameOf(input))));
    if (isFile)
        set(reference, schemaOf(&reference) == "ImageSequenceReference" ? "target_url_base" : "target_url",
            string(dmUtf8(pathOf(input))));
    if (generated && !(before && typeOf(*before) == typeOf(input)))
    {
        constexpr std::array<std::pair<const wchar_t*, const char*>, 8> kinds{{{L"INPUT_BLACK", "black"},
                                                                               {L"INPUT_COLOUR", "SolidColor"},
                                                                               {L"INPUT_NOISE", "Noise"},
                                                                               {L"INPUT_COLOUR_NOISE", "Noise"},
                                                                               {L"INPUT_SMPTE_BARS", "SMPTEBars"},
                                                                               {L"INPUT_PAL_BARS", "PALBars"},
                                                                               {L"INPUT_SILENCE", "Silence"},
                                                                               {L"INPUT_TONE", "Tone"}}};
        for (const auto& [type, kind] : kinds)
            if (generated->getInputType() == type)
                set(reference, "generator_kind", string(kind));
    }
    if (info && !info->getReelName().empty() && !before)
    {
        Value reel(json::kObjectType);
        set(reel, "reel", string(dmUtf8(info->getReelName())));
        Value metadata(json::kObjectType);
        set(metadata, "cmx_3600", std::move(reel));
        set(object, "metadata", std::move(metadata));
    }
    if (!isSameRange)
        set(reference, "available_range", range(base, input.getSrcLength()));
    if (object.HasMember("media_reference"))
    {
        object["media_reference"] = std::move(reference);
        return;
    }
    std::string key(textOf(&object, "active_media_reference_key"));
    if (key.empty())
    {
        key = "DEFAULT_MEDIA";
        set(object, "active_media_reference_key", string(key));
    }
    if (!member(&object, "media_references") || !object["media_references"].IsObject())
        set(object, "media_references", Value(json::kObjectType));
    set(object["media_references"], key.c_str(), std::move(reference));
}

void Maker::setDress(Value& object, const DmSegmentNode& node, double base)
{
    setName(object, node);
    const Value* const enabled = member(&object, "enabled");
    if ((enabled && enabled->IsFalse()) != node.getMuted())
        set(object, "enabled", Value(!node.getMuted()));
    setMarks(object, node.getSegmentMarks(), base);
    setEffects(object, node);
}

void Maker::setMarks(Value& object, const DmSetList<DmCueMark>& marks, double origin)
{
    // The outermost stack counts its markers from its begin, where the composition's cue marks count record time.
    const bool isOuter = schemaOf(&object) == "Stack" && _depth == 0 && origin != 0;
    const double zero = isOuter ? -origin : origin;
    Value none(json::kArrayType);
    const Value* const old = arrayOf(&object, "markers");
    Value before(old ? *old : none, _allocator);
    std::vector<bool> used(before.Size());
    Value now(json::kArrayType);
    bool isChanged = static_cast<int>(before.Size()) != marks.count();
    json::SizeType next = 0;
    for (const DmPropertySetPtr& each : marks)
    {
        const auto* const mark = dynamic_cast<const DmCueMark*>(each.get());
        if (!mark)
            continue;
        // Marks keep their order as long as nobody sorts them: the search goes on where the last one was found.
        json::SizeType found = before.Size();
        for (json::SizeType i = 0; i < before.Size() && found == before.Size(); ++i)
            if (const json::SizeType at = (next + i) % before.Size();
                !used[at] && before[at].IsObject() && isSameMark(*mark, *_items.mark(before[at], zero)))
                found = at;
        if (found != before.Size())
        {
            isChanged |= found != next;
            used[found] = true;
            next = found + 1;
            now.PushBack(before[found], _allocator);
            continue;
        }
        isChanged = true;
        Value made = this->object("Marker.2");
        set(made, "name", string(dmUtf8(mark->getCueMarkName())));
        set(made, "comment", string(dmUtf8(mark->getCueMarkComment())));
        set(made, "marked_range", range(mark->getCueMarkTime() + zero, mark->getCueMarkDuration()));
        for (const EdlColour& named : edlColours())
            if (named.red == mark->getCueMarkColorRed() && named.green == mark->getCueMarkColorGreen() &&
                named.blue == mark->getCueMarkColorBlue())
                set(made, "color", string(named.name));
        now.PushBack(made, _allocator);
    }
    if (isChanged)
        set(object, "markers", std::move(now));
}

void Maker::setEffects(Value& object, const DmSegmentNode& node)
{
    const std::optional<double> speed = speedOf(node);
    for (const DmPropertySetPtr& effect : node.getEffects())
        _losses[LostEffect] += effect ? 1 : 0;
    _losses[LostEffect] -= speed ? 1 : 0;
    const std::optional<double> before = Items::speedOf(object);
    // Sound plays neither backwards nor a still.
    const bool isUnplayable = before && *before <= 0 && node.getMediaType() == DM_MEDIA_AUDIO && !speed;
    constexpr double precision = 1e-6; // of the ratio that sound has
    if (isUnplayable || (!speed && !before) || (speed && before && std::abs(*speed - *before) <= precision))
        return;
    Value now(json::kArrayType);
    if (Value* const old = const_cast<Value*>(arrayOf(&object, "effects")))
        for (Value& effect : old->GetArray())
            if (!Items::isTimewarp(effect))
                now.PushBack(effect, _allocator);
    if (speed)
    {
        Value warp = this->object("LinearTimeWarp.1");
        set(warp, "effect_name", string("LinearTimeWarp"));
        set(warp, "time_scalar", Value(*speed));
        now.PushBack(warp, _allocator);
    }
    set(object, "effects", std::move(now));
}

std::optional<std::string> write(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    const DmTreeNode* const top = root.getChild(0);
    const auto* const reel = dynamic_cast<const DmReelNode*>(top);
    const auto* const composition = dynamic_cast<const DmCompositionNode*>(reel ? reel->getChild(0) : top);
    if (!composition && !reel)
    {
        report.add(Report::Error, 0, "the document holds no composition");
        return std::nullopt;
    }
    if (composition)
        for (const DmString* const text : {&composition->getStartTcFcm(), &composition->getFCM()})
            if (const DM::FrameCodeModes own = dmFcmFromText(*text); own != DM::FCM_NOT_DEFINED)
                fcm = own;
    if (fcm == DM::FCM_NOT_DEFINED)
    {
        report.add(Report::Error, 0, "the composition names no frame-code mode, and no other was given");
        return std::nullopt;
    }
    if (root.getNbChildren() > 1)
        report.add(Report::Warning, 0, "only the first composition or reel of the document is written");
    json::Document document;
    Maker maker(fcm, document);
    const Value made = reel ? maker.collection(*reel) : maker.composition(*composition);
    maker.tell(report);
    json::StringBuffer buffer;
    json::Writer<json::StringBuffer, json::UTF8<>, json::UTF8<>, json::CrtAllocator, json::kWriteNanAndInfFlag> writer(
        buffer);
    made.Accept(writer);
    buffer.Put('\n');
    return std::string(buffer.GetString(), buffer.GetSize());
}

} // namespace

std::optional<std::string> writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    try
    {
        return write(root, fcm, report);
    }
    catch (const std::bad_alloc&)
    {
        report.add(Report::Error, 0, "not enough memory");
        return std::nullopt;
    }
}

} // namespace interchange
