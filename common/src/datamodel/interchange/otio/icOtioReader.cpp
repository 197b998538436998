#include "icOtioReader.h"

#include "icOtioItems.h"
#include "icText.h"
#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmReelNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"

#include <algorithm>
#include <array>
#include <new>
#include <vector>

namespace interchange
{

using namespace otio;

namespace
{

constexpr const char* noTimeline = "no timeline, stack, track or clip";
constexpr const char* noObject = "a child that is no object";
constexpr Loss otherSchema{"DM613", "play as gaps"};
constexpr double leastLength = 0.5; ///< of a segment that a layer takes

/// A child of a track: a segment, or a transition with its offsets.
struct Entry
{
    const Value* object;
    CoSharedPtr<DmSegmentNode> segment; ///< null for a transition
    double in = 0;                      ///< taken from a segment's begin; a transition's in offset
    double out = 0;                     ///< taken from its end; the out offset

    double rest() const { return segment->getRecLength() - in - out; }
};

using Entries = std::vector<Entry>;

double lengthOf(const Entries& entries)
{
    double length = 0;
    for (const Entry& entry : entries)
        length += entry.segment ? entry.rest() : entry.in + entry.out;
    return length;
}

/// A composition that gets its tracks.
struct Stage
{
    DmCompositionNode& composition;
    double start;                ///< in record time
    std::array<int, 3> tracks{}; ///< of each media type
};

class Maker
{
public:
    /// Without a mode, each composition gets its own.
    Maker(Items& items, DM::FrameCodeModes fcm)
        : _items(items)
        , _fcm(fcm)
    {
    }

    CoSharedPtr<DmRoot> root(const Value& top);

private:
    CoSharedPtr<DmReelNode> reel(const Value& object);
    void addComposition(DmCollectionNode& to, const Value& object);
    CoSharedPtr<DmCompositionNode> composition(const Value& top);
    bool chooseMode(const Value& top);
    CoSharedPtr<DmCompositionNode> empty(std::string_view name) const;

    // Tracks; their lengths

    /// The children of a stack, a track each; the longest one's.
    double addTracks(Stage& to, const Value* children, eDmTreeMediaType mediaType);
    double addTrack(Stage& to, const Value& object, eDmTreeMediaType mediaType);
    /// `object` is the track; null where the file has none.
    double layOut(Stage& to, const Value* object, eDmTreeMediaType mediaType, const Entries& entries);
    eDmTreeMediaType kindOf(const Value& object, eDmTreeMediaType mediaType);
    bool isTrimmed(const Value& track, double length);

    // What stands on tracks

    /// Those of a track, or one that stands there alone.
    Entries entriesOf(const Value& object, eDmTreeMediaType mediaType);
    void addEntry(Entries& entries, const Value& object, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> segment(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> gap(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> container(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmCompositionNode> inside(const Value& item) const;
    CoSharedPtr<DmSegmentNode> contain(const CoSharedPtr<DmCompositionNode>& inside, const Value& item, double length,
                                       eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> finish(const CoSharedPtr<DmSegmentNode>& node, const Value& item, LeftOut leftOut);
    void overlap(Entries& entries);
    void place(DmLayerBuilder& builder, const Entry& entry, eDmTreeMediaType mediaType);

    Items& _items;
    DM::FrameCodeModes _fcm;
    int _depth = 0;
    int _segments = 0;
};

/// The rate of the first time that stands in a range; the objects are asked in the file's order.
double firstRate(const Value& top)
{
    std::vector<const Value*> open{&top};
    while (!open.empty())
    {
        const Value* const value = open.back();
        open.pop_back();
        const Value* const rate = schemaOf(value) == "RationalTime" ? member(value, "rate") : nullptr;
        if (rate && rate->IsNumber())
            return rate->GetDouble();
        if (value->IsArray())
            for (auto each = value->End(); each != value->Begin();)
                open.push_back(--each);
        // What stands first is asked first: the global start time, then the children.
        constexpr std::string_view names[] = {
            "media_references", "DEFAULT_MEDIA", "media_reference", "available_range", "start_time",
            "duration",         "source_range",  "children",        "tracks",          "global_start_time"};
        for (const std::string_view name : names)
            if (const Value* const inner = member(value, name))
                open.push_back(inner);
    }
    return 0;
}

CoSharedPtr<DmRoot> Maker::root(const Value& top)
{
    auto root = made(DmRoot::create());
    const Value* const members = arrayOf(&top, "children");
    if (!top.IsObject())
        _items.add(Report::Error, nullptr, noTimeline);
    else if (!isCollection(top))
        root->addChild(composition(top));
    else if (!members || std::none_of(members->Begin(), members->End(), isCollection))
        root->addChild(reel(top));
    else
    {
        // A collection of collections: the root stands for the outer one.
        Items::setName(*root, top);
        _items.keep(*root, top, LeftOut::Children);
        for (const Value& each : members->GetArray())
            if (isCollection(each))
                root->addChild(reel(each));
            else
                addComposition(*root, each);
    }
    return root;
}

CoSharedPtr<DmReelNode> Maker::reel(const Value& object)
{
    auto reel = made(DmReelNode::create());
    Items::setName(*reel, object);
    _items.keep(*reel, object, LeftOut::Children);
    if (const Value* const members = arrayOf(&object, "children"))
        for (const Value& each : members->GetArray())
            addComposition(*reel, each);
    return reel;
}

void Maker::addComposition(DmCollectionNode& to, const Value& object)
{
    if (object.IsObject())
        to.addChild(composition(object));
    else
        _items.mistake(&object, noObject, "left out");
}

CoSharedPtr<DmCompositionNode> Maker::empty(std::string_view name) const
{
    return made(DmCompositionNode::create(toDmString(name.empty() ? "untitled" : name), _items.fcmText(), {}));
}

bool Maker::chooseMode(const Value& top)
{
    _items.setMode(_fcm != DM::FCM_NOT_DEFINED ? _fcm : DM::FCM_24);
    if (_fcm != DM::FCM_NOT_DEFINED)
        return true;
    const double rate = firstRate(top);
    const DM::FrameCodeModes own = DM::FcmUtil::FPStoFCM(rate, false);
    if (rate == 0)
        _items.add(Report::Notice, &top, "no times, so the frame-code mode is taken to be '24 fps'");
    else if (own == DM::FCM_NOT_DEFINED)
        _items.refuseRate(&top, rate);
    else
        _items.setMode(own);
    return rate == 0 || own != DM::FCM_NOT_DEFINED;
}

CoSharedPtr<DmCompositionNode> Maker::composition(const Value& top)
{
    const bool hasMode = chooseMode(top);
    auto node = empty(textOf(&top, "name"));
    if (!hasMode)
        return node;
    const std::string_view schema = schemaOf(&top);
    const Value* const start = schema == "Timeline" ? member(&top, "global_start_time") : nullptr;
    Stage stage{*node, _items.frames(start)};
    require(node->setStartTC(stage.start, _items.fcmText()));
    double length = 0;
    if (schema == "Timeline" || schema == "Stack")
    {
        const Value* const stack = schema == "Stack" ? &top : member(&top, "tracks");
        _items.keep(*node, top, schema == "Stack" ? LeftOut::Children : LeftOut::ChildrenOfTracks);
        length = addTracks(stage, arrayOf(stack, "children"), DM_MEDIA_VIDEO);
        if (const Value* const markers = arrayOf(stack, "markers"))
            for (const Value& marker : markers->GetArray())
                require(node->addCueMark(_items.mark(marker, -stage.start)));
        if (member(stack, "source_range"))
            _items.warn(stack, "the outermost stack has a source range: it is laid out whole");
    }
    else if (isTrack(schema) || schema == "Clip" || schema == "Gap")
    {
        Items::keepImplied(*node);
        length = addTrack(stage, top, DM_MEDIA_VIDEO);
    }
    else
    {
        _items.keep(*node, top, LeftOut::Nothing);
        _items.mistake(&top,
                       schema.empty() ? noTimeline
                       : isCollection(top)
                           ? "collections nested too deeply"
                           : "an object of the schema " + std::string(schema) + " is no timeline, stack, track or clip",
                       "an empty composition stands for it");
    }
    require(node->setCompLength(length));
    return node;
}

// Tracks

double Maker::addTracks(Stage& to, const Value* children, eDmTreeMediaType mediaType)
{
    double length = 0;
    if (!children)
        return length;
    for (const Value& child : children->GetArray())
        if (child.IsObject())
            length = std::max(length, addTrack(to, child, mediaType));
        else
            _items.mistake(&child, noObject, "left out");
    return length;
}

eDmTreeMediaType Maker::kindOf(const Value& object, eDmTreeMediaType mediaType)
{
    const std::string_view kind = isTrack(schemaOf(&object)) ? textOf(&object, "kind") : std::string_view();
    if (kind.empty())
        return mediaType;
    if (kind != "Audio" && kind != "Video")
        _items.warn(&object, "a track of the unknown kind \"" + std::string(kind) + "\" is taken for pictures");
    return kind == "Audio" ? DM_MEDIA_AUDIO : DM_MEDIA_VIDEO;
}

bool Maker::isTrimmed(const Value& track, double length)
{
    const std::optional<Items::Range> played = _items.range(member(&track, "source_range"));
    if (!played || (played->start == 0 && played->length == length))
        return false;
    const bool isWithin = played->start >= 0 && played->start + played->length <= length;
    if (!isWithin)
        _items.warn(&track, "a track's source range reaches beyond what the track holds: it is laid out whole");
    return isWithin;
}

double Maker::addTrack(Stage& to, const Value& object, eDmTreeMediaType mediaType)
{
    const bool isReal = isTrack(schemaOf(&object));
    const bool hasRange = isReal && member(&object, "source_range");
    mediaType = kindOf(object, mediaType);
    _depth += hasRange ? 1 : 0;
    const Entries entries = entriesOf(object, mediaType);
    _depth -= hasRange ? 1 : 0;
    if (!hasRange || !isTrimmed(object, lengthOf(entries)))
        return layOut(to, isReal ? &object : nullptr, mediaType, entries);
    // A part of a track is what a container plays.
    const CoSharedPtr<DmCompositionNode> inside = this->inside(object);
    Stage stage{*inside, 0};
    const double length = layOut(stage, nullptr, mediaType, entries);
    return layOut(to, nullptr, mediaType, {{&object, contain(inside, object, length, mediaType)}});
}

double Maker::layOut(Stage& to, const Value* object, eDmTreeMediaType mediaType, const Entries& entries)
{
    const int number = ++to.tracks[static_cast<std::size_t>(mediaType)];
    const auto track = made(DmTrackNode::create(number, mediaType));
    require(track->setTrackChannel(number));
    if (object)
    {
        _items.keep(*track, *object, LeftOut::Children);
        Items::setName(*track, *object);
    }
    else
        Items::keepImplied(*track);
    DmLayerBuilder builder(0, mediaType, to.start);
    for (const Entry& entry : entries)
        place(builder, entry, mediaType);
    track->addChild(made(builder.finish()));
    const int index = to.composition.addChild(track) - 1;
    if (mediaType == DM_MEDIA_VIDEO && number == 1)
        require(to.composition.setPrimaryVideoTrackIndex(index));
    return builder.getEnd() - to.start;
}

// What stands on tracks

Entries Maker::entriesOf(const Value& object, eDmTreeMediaType mediaType)
{
    Entries entries;
    const bool isReal = isTrack(schemaOf(&object));
    if (!isReal)
        addEntry(entries, object, mediaType);
    else if (const Value* const children = arrayOf(&object, "children"))
        for (const Value& child : children->GetArray())
            addEntry(entries, child, mediaType);
    overlap(entries);
    return entries;
}

void Maker::addEntry(Entries& entries, const Value& object, eDmTreeMediaType mediaType)
{
    if (!object.IsObject())
        return _items.mistake(&object, noObject, "left out");
    if (schemaOf(&object) != "Transition")
    {
        entries.push_back({&object, segment(object, mediaType)});
        return;
    }
    const double in = _items.frames(member(&object, "in_offset"));
    const double out = _items.frames(member(&object, "out_offset"));
    if (in < 0 || out < 0)
        _items.mistake(&object, "a transition with a negative offset", "taken as zero");
    entries.push_back({&object, {}, std::max(0.0, in), std::max(0.0, out)});
}

CoSharedPtr<DmSegmentNode> Maker::segment(const Value& item, eDmTreeMediaType mediaType)
{
    const std::string_view schema = schemaOf(&item);
    const bool isNested = schema == "Stack" || isTrack(schema);
    if (isNested && _depth < deepestNesting)
        return container(item, mediaType);
    if (isNested)
        _items.mistake(&item, "stacks nested too deeply", "what is inside plays as a gap");
    else if (schema != "Clip" && schema != "Gap" && schema != "Filler")
        _items.lose(otherSchema);
    return finish(schema == "Clip" ? _items.clip(item, mediaType) : gap(item, mediaType), item, LeftOut::Nothing);
}

CoSharedPtr<DmSegmentNode> Maker::finish(const CoSharedPtr<DmSegmentNode>& node, const Value& item, LeftOut leftOut)
{
    require(node->setSegmentId(toDmString(std::to_string(++_segments))));
    _items.keep(*node, item, leftOut);
    return node;
}

CoSharedPtr<DmSegmentNode> Maker::gap(const Value& item, eDmTreeMediaType mediaType)
{
    const Items::Range played = _items.range(member(&item, "source_range")).value_or(Items::Range{0, 0});
    const auto node = made(DmGapNode::create(mediaType, 0, played.length));
    require(node->setRelIn(played.start));
    _items.dress(*node, item, 0);
    return node;
}

CoSharedPtr<DmSegmentNode> Maker::container(const Value& item, eDmTreeMediaType mediaType)
{
    const CoSharedPtr<DmCompositionNode> inside = this->inside(item);
    Stage stage{*inside, 0};
    ++_depth;
    double length = 0;
    if (schemaOf(&item) == "Stack")
        length = addTracks(stage, arrayOf(&item, "children"), mediaType);
    else
    {
        const eDmTreeMediaType kind = kindOf(item, mediaType);
        length = layOut(stage, nullptr, kind, entriesOf(item, kind));
    }
    --_depth;
    return contain(inside, item, length, mediaType);
}

CoSharedPtr<DmCompositionNode> Maker::inside(const Value& item) const
{
    auto inside = empty(textOf(&item, "name"));
    require(inside->setIsContainerComp(true));
    return inside;
}

CoSharedPtr<DmSegmentNode> Maker::contain(const CoSharedPtr<DmCompositionNode>& inside, const Value& item,
                                          double length, eDmTreeMediaType mediaType)
{
    require(inside->setCompLength(length));
    const Extent extent = _items.extent(item, Items::Range{0, length});
    const auto node = made(DmContainerNode::create(inside, mediaType, 0, extent.length, extent.start - extent.base));
    _items.dress(*node, item, extent.base);
    return finish(node, item, LeftOut::Children);
}

void Maker::overlap(Entries& entries)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Entry& transition = entries[i];
        if (transition.segment)
            continue;
        Entry* const before = i > 0 && entries[i - 1].segment ? &entries[i - 1] : nullptr;
        Entry* const behind = i + 1 < entries.size() && entries[i + 1].segment ? &entries[i + 1] : nullptr;
        const double in = before ? std::min(transition.in, before->rest()) : 0.0;
        const double out = behind ? std::min(transition.out, behind->rest()) : 0.0;
        if (in != transition.in || out != transition.out)
            _items.warn(transition.object, "a transition is longer than what stands beside it: cut to that");
        transition.in = in;
        transition.out = out;
        if (before)
            before->out = in;
        if (behind)
            behind->in = out;
    }
}

void Maker::place(DmLayerBuilder& builder, const Entry& entry, eDmTreeMediaType mediaType)
{
    if (!entry.segment)
    {
        const double length = entry.in + entry.out;
        const auto effect = _items.mix(*entry.object, mediaType, length);
        const auto node = made(DmTrxEffectNode::create(effect, 0, length, entry.in));
        Items::setName(*node, *entry.object);
        _items.keep(*node, *entry.object, LeftOut::Nothing);
        return require(builder.append(node));
    }
    DmSegmentNode& segment = *entry.segment;
    const double length = entry.rest();
    require(segment.setRelIn(segment.getRelIn() + entry.in));
    require(segment.setRecLength(length));
    if (length >= leastLength || segment.whatIs() == DM_GAP_NODE)
        return require(builder.append(entry.segment));
    // Nothing of it is left to play: it travels with a gap of no length.
    require(segment.setRecIn(builder.getEnd()));
    const auto nothing = made(DmGapNode::create(mediaType, 0, 0));
    require(nothing->setBaseBlob(entry.segment));
    require(builder.append(nothing));
}

CoSharedPtr<DmRoot> read(std::string bytes, DM::FrameCodeModes fcm, Report& report)
{
    ParsedText text(std::move(bytes));
    json::Document document;
    JsonFault fault;
    if (!text.parse(document, fault))
    {
        report.add(Report::Error, text.lineAt(fault.offset), fault.what);
        return {};
    }
    Items items(fcm != DM::FCM_NOT_DEFINED, &report, &text);
    CoSharedPtr<DmRoot> root = Maker(items, fcm).root(document);
    items.tell();
    return report.hasErrors() ? CoSharedPtr<DmRoot>() : root;
}

} // namespace

CoSharedPtr<DmRoot> readOtio(std::string bytes, DM::FrameCodeModes fcm, Report& report)
{
    try
    {
        return read(std::move(bytes), fcm, report);
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
