#include "icOtioReader.h"

#include "icEdlKept.h"
#include "icOtioItems.h"

#include "dmADissolveSettings.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmReelNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "dmVDissolveSettings.h"

#include <algorithm>
#include <new>
#include <vector>

namespace interchange
{

using namespace otio;

namespace
{

constexpr int deepestNesting = 80;  ///< of containers; what documents can be read again with
constexpr double leastLength = 0.5; ///< of a segment that a layer takes

template <class T>
const CoSharedPtr<T>& made(const CoSharedPtr<T>& object)
{
    if (!object)
        throw std::bad_alloc();
    return object;
}

/// A child of a track: a segment, or a transition with its offsets.
struct Entry
{
    const Value* object;
    CoSharedPtr<DmSegmentNode> segment; ///< null for a transition
    double in = 0;                      ///< taken from a segment's begin; a transition's in offset
    double out = 0;                     ///< taken from its end; the out offset

    double rest() const { return segment->getRecLength() - in - out; }
};

class Maker
{
public:
    explicit Maker(Items& items)
        : _items(items)
    {
    }

    CoSharedPtr<DmRoot> root(const Value& top);

private:
    CoSharedPtr<DmCompositionNode> composition(const Value& top);
    CoSharedPtr<DmCompositionNode> nested(const Value& item, eDmTreeMediaType mediaType, double& length);
    CoSharedPtr<DmCompositionNode> empty(std::string_view name) const;
    /// The children of a stack, a track each; the longest one's length.
    double addTracks(DmCompositionNode& to, const Value* children, eDmTreeMediaType mediaType, double start);
    double addTrack(DmCompositionNode& to, const Value& object, eDmTreeMediaType mediaType, double start);
    void addItems(std::vector<Entry>& entries, const Value& object, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> segment(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> container(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> gap(const Value& item, eDmTreeMediaType mediaType);
    void overlap(std::vector<Entry>& entries);
    void place(DmLayerBuilder& builder, const Entry& entry, eDmTreeMediaType mediaType);

    Items& _items;
    int _depth = 0;
    int _segments = 0;
};

CoSharedPtr<DmRoot> Maker::root(const Value& top)
{
    auto root = made(DmRoot::create());
    const Value* const members = arrayOf(&top, "children");
    if (schemaOf(&top) != "SerializableCollection" || !members)
    {
        root->addChild(composition(top));
        return root;
    }
    const auto reel = made(DmReelNode::create());
    if (const std::string_view name = textOf(&top, "name"); !name.empty())
        require(reel->setName(toDmString(name)));
    keep(*reel, top);
    for (const Value& each : members->GetArray())
        reel->addChild(composition(each));
    root->addChild(reel);
    return root;
}

CoSharedPtr<DmCompositionNode> Maker::empty(std::string_view name) const
{
    return made(DmCompositionNode::create(toDmString(name.empty() ? "untitled" : name),
                                          DmString(DM::FcmUtil::getFCMString(_items.fcm())), {}));
}

CoSharedPtr<DmCompositionNode> Maker::composition(const Value& top)
{
    const std::string_view schema = schemaOf(&top);
    auto node = empty(textOf(&top, "name"));
    double start = 0;
    double length = 0;
    const Value* stack = nullptr;
    if (schema == "Timeline")
    {
        keep(*node, top);
        start = _items.frames(member(&top, "global_start_time"));
        stack = member(&top, "tracks");
    }
    else if (schema == "Stack")
    {
        keep(*node, top);
        stack = &top;
    }
    else
        keepImplied(*node);
    require(node->setStartTC(start, DmString(DM::FcmUtil::getFCMString(_items.fcm()))));
    if (stack)
    {
        length = addTracks(*node, arrayOf(stack, "children"), DM_MEDIA_VIDEO, start);
        if (const Value* const markers = arrayOf(stack, "markers"))
            for (const Value& marker : markers->GetArray())
                require(node->addCueMark(_items.mark(marker, -start)));
    }
    else if (isTrack(schema) || schema == "Clip" || schema == "Gap")
        length = addTrack(*node, top, DM_MEDIA_VIDEO, 0);
    else if (schema != "Timeline")
        _items.mistake(&top,
                       schema.empty() ? "no timeline, stack, track or clip"
                                      : "a " + std::string(schema) + " is no timeline, stack, track or clip",
                       "an empty composition stands for it");
    require(node->setCompLength(length));
    return node;
}

double Maker::addTracks(DmCompositionNode& to, const Value* children, eDmTreeMediaType mediaType, double start)
{
    double length = 0;
    if (children)
        for (const Value& child : children->GetArray())
            length = std::max(length, addTrack(to, child, mediaType, start));
    return length;
}

double Maker::addTrack(DmCompositionNode& to, const Value& object, eDmTreeMediaType mediaType, double start)
{
    const bool isReal = isTrack(schemaOf(&object));
    if (const std::string_view kind = textOf(&object, "kind"); isReal && !kind.empty())
    {
        mediaType = kind == "Audio" ? DM_MEDIA_AUDIO : DM_MEDIA_VIDEO;
        if (kind != "Audio" && kind != "Video")
            _items.warn(&object, "a track of the unknown kind \"" + std::string(kind) + "\" is taken for pictures");
    }
    int number = 1;
    for (int i = 0; i < to.getNbChildren(); ++i)
        if (const auto* const other = dynamic_cast<const DmTrackNode*>(to.getChild(i)))
            number += other->getMediaType() == mediaType ? 1 : 0;
    const auto track = made(DmTrackNode::create(number, mediaType));
    require(track->setTrackChannel(number));
    std::vector<Entry> entries;
    if (isReal)
    {
        keep(*track, object);
        if (const std::string_view name = textOf(&object, "name"); !name.empty())
            require(track->setName(toDmString(name)));
        if (const Value* const children = arrayOf(&object, "children"))
            for (const Value& child : children->GetArray())
                addItems(entries, child, mediaType);
        if (member(&object, "source_range") && _depth == 0)
            _items.warn(&object, "a track with a source range is laid out whole");
    }
    else
    {
        keepImplied(*track);
        addItems(entries, object, mediaType);
    }
    overlap(entries);
    DmLayerBuilder builder(0, mediaType, start);
    for (const Entry& entry : entries)
        place(builder, entry, mediaType);
    track->addChild(made(builder.finish()));
    const int index = to.addChild(track) - 1;
    if (mediaType == DM_MEDIA_VIDEO && number == 1)
        require(to.setPrimaryVideoTrackIndex(index));
    return builder.getEnd() - start;
}

void Maker::addItems(std::vector<Entry>& entries, const Value& object, eDmTreeMediaType mediaType)
{
    if (!object.IsObject())
        return _items.mistake(&object, "a child that is no object", "left out");
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
    CoSharedPtr<DmSegmentNode> node;
    if (schema == "Clip")
        node = _items.clip(item, mediaType);
    else if (schema == "Stack" || isTrack(schema))
        node = container(item, mediaType);
    else
        node = gap(item, mediaType);
    require(node->setSegmentId(toDmString(std::to_string(++_segments))));
    keep(*node, item);
    return node;
}

CoSharedPtr<DmSegmentNode> Maker::gap(const Value& item, eDmTreeMediaType mediaType)
{
    const std::string_view schema = schemaOf(&item);
    if (schema != "Gap" && schema != "Filler")
        _items.warn(&item, "an object of the unknown schema \"" + std::string(textOf(&item, "OTIO_SCHEMA")) +
                               "\" plays as a gap");
    const Items::Range played = _items.range(member(&item, "source_range")).value_or(Items::Range{0, 0});
    const auto node = made(DmGapNode::create(mediaType, 0, played.length));
    require(node->setRelIn(played.start));
    _items.dress(*node, item, 0);
    return node;
}

CoSharedPtr<DmSegmentNode> Maker::container(const Value& item, eDmTreeMediaType mediaType)
{
    auto inside = empty(textOf(&item, "name"));
    require(inside->setIsContainerComp(true));
    double length = 0;
    if (++_depth > deepestNesting)
        _items.mistake(&item, "stacks nested too deeply", "what is inside is left out");
    else if (schemaOf(&item) == "Stack")
        length = addTracks(*inside, arrayOf(&item, "children"), mediaType, 0);
    else
    {
        length = addTrack(*inside, item, mediaType, 0);
        // The container has the track's members.
        keepImplied(*inside->getChild(0));
    }
    --_depth;
    require(inside->setCompLength(length));
    const Extent extent = _items.extent(item, Items::Range{0, length});
    const auto node = made(DmContainerNode::create(inside, mediaType, 0, extent.length, extent.start - extent.base));
    _items.dress(*node, item, extent.base);
    return node;
}

void Maker::overlap(std::vector<Entry>& entries)
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
        const auto ofLength = [length](const auto& effect) -> CoSharedPtr<DmEffectSettings>
        {
            require(made(effect)->setLength(length));
            return effect;
        };
        const auto effect = mediaType == DM_MEDIA_AUDIO ? ofLength(DmADissolveSettings::create())
                                                        : ofLength(DmVDissolveSettings::create());
        const auto node = made(DmTrxEffectNode::create(effect, 0, length, entry.in));
        if (const std::string_view name = textOf(entry.object, "name"); !name.empty())
            require(node->setName(toDmString(name)));
        keep(*node, *entry.object);
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
        constexpr const char* names[] = {"media_references", "DEFAULT_MEDIA",    "media_reference", "available_range",
                                         "start_time",       "duration",         "source_range",    "children",
                                         "tracks",           "global_start_time"};
        for (const char* const name : names)
            if (const Value* const inner = member(value, name))
                open.push_back(inner);
    }
    return 0;
}

DM::FrameCodeModes modeOf(const Value& top, Report& report)
{
    const double rate = firstRate(top);
    if (rate == 0)
    {
        report.add(Report::Notice, 0, "no times, so the frame-code mode is taken to be '24 fps'");
        return DM::FCM_24;
    }
    const DM::FrameCodeModes fcm = DM::FcmUtil::FPStoFCM(rate, false);
    if (fcm == DM::FCM_NOT_DEFINED)
        report.add(Report::Error, 0,
                   "no frame-code mode has the rate " + std::to_string(rate) + "; name the mode to convert to");
    return fcm;
}

CoSharedPtr<DmRoot> read(const std::string& bytes, DM::FrameCodeModes fcm, Report& report)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::string text = bytes;
    char* const begin = text.data() + (bytes.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
    json::Document document;
    std::string error;
    std::size_t offset = bytes.find('\0');
    if (offset != bytes.npos)
        error = "a null character";
    else if (!parse(document, begin, error, offset))
        offset += static_cast<std::size_t>(begin - text.data());
    if (!error.empty())
    {
        const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(offset, bytes.size()));
        report.add(Report::Error, 1 + static_cast<std::uint32_t>(std::count(bytes.begin(), end, '\n')), error);
        return {};
    }
    const bool anyRate = fcm != DM::FCM_NOT_DEFINED;
    if (!anyRate)
        fcm = modeOf(document, report);
    if (report.hasErrors())
        return {};
    Items items(fcm, anyRate, &report, &bytes, text.data());
    CoSharedPtr<DmRoot> root = Maker(items).root(document);
    items.tell();
    return report.hasErrors() ? CoSharedPtr<DmRoot>() : root;
}

} // namespace

CoSharedPtr<DmRoot> readOtio(const std::string& bytes, DM::FrameCodeModes fcm, Report& report)
{
    try
    {
        return read(bytes, fcm, report);
    }
    catch (const std::bad_alloc&)
    {
        report.add(Report::Error, 0, "not enough memory");
        return {};
    }
}

} // namespace interchange
