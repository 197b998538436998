#include "icOtioReader.h"

#include "icIds.h"
#include "icOtioChildren.h"
#include "icOtioKeep.h"
#include "icOtioLayout.h"
#include "icOtioOwn.h"
#include "icOtioRates.h"
#include "icOtioUsual.h"
#include "icText.h"
#include "icTree.h"

#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace interchange
{

using namespace otio;

namespace
{

constexpr const char* noTimeline = "no timeline, stack, track or clip";
constexpr const char* noObject = "a child that is no object";
constexpr Loss otherSchema{"DM613", "play as gaps"};

/// A child of a track: a segment, or a transition with its offsets.
struct Entry
{
    const Value* object;
    CoSharedPtr<DmSegmentNode> segment; ///< null for a transition
    Form form;
    bool isHole = false;                      ///< stands for time that nothing fills
    double in = 0;                            ///< taken from a segment's begin; a transition's in offset
    double out = 0;                           ///< taken from its end; the out offset
    std::string_view text = {};               ///< of a child that stood apart, of no known shape
    std::optional<std::string> leftover = {}; ///< of a clip that was recognised by its shape, which has no object
    std::vector<Note> notes = {};             ///< of such a one

    double rest() const { return segment->getRecLength() - in - out; }
};

using Entries = std::vector<Entry>;

double lengthOfAll(const Entries& entries)
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
    double start; ///< in record time
    IdMaker& ids;
    std::array<int, 3> tracks{};  ///< of each media type
    DmTrackNode* track = nullptr; ///< the last one with an object of its own
    bool isOff = false;           ///< the track that is laid out does not play
};

const Value* ownOf(const Value* object)
{
    return object ? ownMember(*object) : nullptr;
}
bool isTrue(const Value* own, std::string_view name)
{
    const Value* const flag = own ? member(own, name) : nullptr;
    return flag && flag->IsTrue();
}

/// Where the layers of a composition begin in record time, where that is not its start.
std::optional<double> recordStartOf(const Value* own)
{
    const Value* const start = own ? member(own, "recordStart") : nullptr;
    return start && start->IsNumber() && std::isfinite(start->GetDouble()) ? std::optional(start->GetDouble())
                                                                           : std::nullopt;
}

/// Whether a gap that we wrote for a hole is still no more than that: another program may have named it, or marked it.
bool saysNothingElse(const Value& gap)
{
    for (const auto& each : gap.GetObject())
    {
        const std::string_view name = text(&each.name);
        const bool isEmpty = each.value.IsNull() || (each.value.IsString() && each.value.GetStringLength() == 0) ||
                             (each.value.IsArray() && each.value.Empty()) || each.value.IsTrue();
        const bool isOurs = name == schemaKey || name == "source_range" ||
                            (name == "metadata" && each.value.IsObject() && each.value.MemberCount() == 1);
        if (!isEmpty && !isOurs)
            return false;
    }
    return true;
}

/// Whether a timeline has sound tracks only, whose rates tell no mode.
bool isSoundOnly(const Value& top)
{
    const Value* const tracks = arrayOf(member(&top, "tracks"), "children");
    return tracks && std::all_of(tracks->Begin(), tracks->End(),
                                 [](const Value& track)
                                 { return isTrack(schemaOf(&track)) && textOf(&track, "kind") == "Audio"; });
}

class Maker
{
public:
    /// Without a mode, each composition gets its own. `apart`: the lists that the document was parsed without.
    Maker(Items& items, const ParsedText& source, const std::vector<ListApart>& apart, DM::FrameCodeModes fcm)
        : _items(items)
        , _source(source)
        , _apart(apart)
        , _parts(items, _scratch)
        , _keep(items, _parts)
        , _fcm(fcm)
    {
    }

    CoSharedPtr<DmRoot> root(const Value& top);
    /// Lists of which something was made.
    std::size_t listsRead() const { return _listsRead; }

private:
    CoSharedPtr<DmReelNode> reel(const Value& object);
    void addComposition(DmCollectionNode& to, const Value& collection, const Value& object);
    /// What a collection holds, and what the collections in it do.
    void addCompositions(DmCollectionNode& to, const Value& collection);
    CoSharedPtr<DmCompositionNode> composition(const Value& top);
    bool chooseMode(const Value& top);
    /// Of children that stand apart, the first tell the mode; all of them must tell the same.
    void guessRate(PlayedRates& played, const Value& top) const;
    void confirmRate() const;
    void finishCollection(DmCollectionNode& node, const Value& object);

    // Tracks; their lengths

    /// The children of a stack, a track each; the longest one's.
    double addTracks(Stage& to, const Value* stack, eDmTreeMediaType mediaType);
    double addTrack(Stage& to, const Value& object, eDmTreeMediaType mediaType);
    /// `object` is the track; null where the file has none. `children`: an object whose children are laid out, too.
    double layOut(Stage& to, const Value* object, eDmTreeMediaType mediaType, Entries entries,
                  const Value* children = nullptr);
    CoSharedPtr<DmLayerNode> layer(Stage& to, const Value* object, eDmTreeMediaType mediaType, Entries& entries,
                                   const Value* children);
    eDmTreeMediaType kindOf(const Value& object, eDmTreeMediaType mediaType);
    bool isTrimmed(const Value& track, double length);

    // What stands on tracks

    /// Those of a track, or one that stands there alone.
    Entries entriesOf(const Value& object, eDmTreeMediaType mediaType);
    void addEntry(Entries& entries, const Value& track, const Value& object, eDmTreeMediaType mediaType);
    /// Null where the children stand in the object.
    const ListApart* apartOf(const Value& object) const;
    /// Each as soon as it is known what transitions take of it.
    void placeChildren(Stage& to, DmLayerNode& layer, const Value& track, eDmTreeMediaType mediaType);
    void addChild(const Stage& to, Entries& entries, const Value& track, Children& children,
                  eDmTreeMediaType mediaType);
    bool addKnown(Entries& entries, const KnownClip& clip, eDmTreeMediaType mediaType);
    void finishKnown(Stage& to, DmSegmentNode& node, Entry& entry);
    CoSharedPtr<DmSegmentNode> segment(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> container(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmCompositionNode> inside(const Value& item) const;
    CoSharedPtr<DmSegmentNode> contain(const CoSharedPtr<DmCompositionNode>& inside, const Value& item, double length,
                                       eDmTreeMediaType mediaType);
    /// What the node has of its own, its id, and what its file says beyond it.
    void finish(Stage& to, DmSegmentNode& node, const Value& item, const Entry& entry, Trim trim);
    void overlap(Entries& entries);
    void overlapAt(Entries& entries, std::size_t index);
    /// What stands between the layer's last element and the next; `own` says it where that is not the usual.
    void addBetween(DmLayerNode& layer, const Value* own, const char* name, const DmTreeNode* next,
                    eDmTreeMediaType mediaType);
    void place(Stage& to, DmLayerNode& layer, Entry& entry, eDmTreeMediaType mediaType);

    Items& _items;
    const ParsedText& _source;
    const std::vector<ListApart>& _apart;
    std::size_t _listsRead = 0;
    std::vector<Shape> _shapes;                           ///< of usual clips
    std::optional<PlayedRates> _played;                   ///< as far as children that stand apart were read
    double _guessed = 0;                                  ///< the rate that the first of them play at
    std::vector<char> _room = std::vector<char>(1 << 16); ///< kept from item to item
    Allocator _scratch{_room.data(), _room.size()};
    Parts _parts;
    Keep _keep;
    DM::FrameCodeModes _fcm;
    int _depth = 0;
    double _at = 0;                        ///< where the layer has come to
    double _from = 0;                      ///< where its last element has ended
    const DmTreeNode* _previous = nullptr; ///< on it; null at its begin and behind a hole
};

CoSharedPtr<DmRoot> Maker::root(const Value& top)
{
    auto root = orBadAlloc(DmRoot::create());
    const Value* const members = arrayOf(&top, "children");
    const bool isRoot = isTrue(ownOf(&top), "isRoot");
    if (!top.IsObject())
        _items.add(Report::Error, nullptr, noTimeline);
    else if (!isCollection(top))
    {
        root->addChild(composition(top));
        if (const Value* const own = ownOf(&top))
            if (const Value* const ofRoot = member(own, "root"))
                _keep.take(*root, Value(json::kObjectType), ofRoot);
    }
    else if (!isRoot && (!members || std::none_of(members->Begin(), members->End(), isCollection)))
    {
        root->addChild(reel(top));
        if (const Value* const own = ownOf(&top))
            if (const Value* const ofRoot = member(own, "root"))
                _keep.take(*root, Value(json::kObjectType), ofRoot);
    }
    else
    {
        // A collection of collections: the root stands for the outer one.
        Items::setName(*root, top);
        for (json::SizeType i = 0; members && i < members->Size(); ++i)
            if (isCollection((*members)[i]))
                root->addChild(reel((*members)[i]));
            else
                addComposition(*root, top, (*members)[i]);
        finishCollection(*root, top);
    }
    return root;
}

CoSharedPtr<DmReelNode> Maker::reel(const Value& object)
{
    auto reel = orBadAlloc(DmReelNode::create());
    Items::setName(*reel, object);
    addCompositions(*reel, object);
    finishCollection(*reel, object);
    return reel;
}

void Maker::finishCollection(DmCollectionNode& node, const Value& object)
{
    _keep.take(node, object, ownOf(&object));
    _keep.keepDifference(node, object, {}, [&](Listener& to) { _parts.collection(to, node); });
    _items.came(node, object);
}

void Maker::addCompositions(DmCollectionNode& to, const Value& collection)
{
    const Value* const members = arrayOf(&collection, "children");
    for (json::SizeType i = 0; members && i < members->Size(); ++i)
    {
        const Value& each = (*members)[i];
        if (!isCollection(each))
        {
            addComposition(to, collection, each);
            continue;
        }
        // A document has no place for it, but for all that it holds.
        _items.warn(&each, "a collection inside two others: what it holds stands in the one around it");
        addCompositions(to, each);
    }
}

void Maker::addComposition(DmCollectionNode& to, const Value& collection, const Value& object)
{
    if (object.IsObject())
        to.addChild(composition(object));
    else
        _items.mistake(&collection, noObject, "left out");
}

bool Maker::chooseMode(const Value& top)
{
    _items.setMode(_fcm != DM::FCM_NOT_DEFINED ? _fcm : DM::FCM_24);
    const Value* const startRate = member(member(&top, "global_start_time"), "rate");
    const double start = startRate && startRate->IsNumber() ? startRate->GetDouble() : 0;
    if (_fcm != DM::FCM_NOT_DEFINED)
    {
        _items.setRate(start);
        return true;
    }
    PlayedRates played(top);
    if (!_apart.empty())
    {
        _played = played;
        guessRate(played, top);
    }
    double rate = played.most(start).first;
    if (!_apart.empty() && rate == 0 && !isSoundOnly(top))
        throw NotInPieces();
    _guessed = rate;
    if (rate == 0 && played.seconds().empty() && DM::FcmUtil::FPStoFCM(start, false) != DM::FCM_NOT_DEFINED)
        rate = start;
    const Value* const own = ownOf(&top);
    const DM::FrameCodeModes named = own ? dmFcmFromText(toDmString(textOf(own, "mode"))) : DM::FCM_NOT_DEFINED;
    // The rates say more than we did, where they changed since.
    const DM::FrameCodeModes ofRate = DM::FcmUtil::FPStoFCM(rate, false);
    if (named != DM::FCM_NOT_DEFINED && (rate == 0 || DM::FcmUtil::toNonDrop(named) == DM::FcmUtil::toNonDrop(ofRate)))
        _items.setMode(named);
    else if (rate != 0)
        _items.setMode(ofRate);
    else if (const double other = played.seconds().empty() ? start : played.seconds().rbegin()->first; other > 0)
    {
        char text[160];
        std::snprintf(text, sizeof text,
                      "no frame-code mode has the rate %.10g; name one to convert to with --fcm, the best is '%s'",
                      other, DM::FcmUtil::getFCMString(bestMode(other)));
        _items.add(Report::Error, &top, text);
        return false;
    }
    else
        _items.add(Report::Notice, &top,
                   "no times, so the frame-code mode is taken to be '24 fps' (--fcm names another)");
    _items.setRate(rate);
    return true;
}

void Maker::guessRate(PlayedRates& played, const Value& top) const
{
    constexpr int enough = 16;
    const Value* const tracks = arrayOf(member(&top, "tracks"), "children");
    for (json::SizeType i = 0; tracks && i < tracks->Size(); ++i)
    {
        const Value& track = (*tracks)[i];
        const ListApart* const list = apartOf(track);
        if (!list || textOf(&track, "kind") == "Audio")
            continue;
        Children children(list->text, _source.end());
        for (int count = 0; count < enough && children.next(); ++count)
            played.add(children.parse(), false);
    }
}

void Maker::confirmRate() const
{
    // Sums in another order may differ in their last digits.
    constexpr double lessThanAll = 0.999;
    if (!_played)
        return;
    const std::pair<double, double> most = _played->most(0);
    const auto isClear = [&](const auto& each)
    { return each.first == _guessed || !(each.second > lessThanAll * most.second); };
    if (most.first != _guessed || !std::ranges::all_of(_played->seconds(), isClear))
        throw NotInPieces();
}

CoSharedPtr<DmCompositionNode> Maker::composition(const Value& top)
{
    const bool hasMode = chooseMode(top);
    _items.setMediaType(DM_MEDIA_VIDEO);
    const std::string_view schema = schemaOf(&top);
    const Value* const own = schema == "Timeline" || schema == "Stack" ? ownOf(&top) : nullptr;
    const std::optional<double> recordStart = recordStartOf(own);
    auto node = _items.composition(top, recordStart);
    if (!hasMode)
        return node;
    IdMaker ids;
    Stage stage{*node, recordStart.value_or(node->getStartTC()), ids};
    double length = 0;
    Form form = Form::of(top, DM_COMPOSITION_NODE);
    if (schema == "Timeline" || schema == "Stack")
    {
        const Value* const stack = schema == "Stack" ? &top : member(&top, "tracks");
        length = addTracks(stage, stack, DM_MEDIA_VIDEO);
        if (member(stack, "source_range"))
            _items.warn(stack, "the outermost stack has a source range: it is laid out whole");
        if (const Value* const enabled = member(stack, "enabled"); enabled && enabled->IsFalse())
            _items.warn(stack, "the outermost stack is disabled: it plays nevertheless");
        if (countOfTimewarps(stack) != 0)
            _items.warn(stack, "the outermost stack has a timewarp: it plays at normal speed");
    }
    else if (isTrack(schema) || schema == "Clip" || schema == "Gap")
    {
        form.isImplied = true;
        length = addTrack(stage, top, DM_MEDIA_VIDEO);
    }
    else
    {
        form.wholeValue = Value(top, _scratch);
        _items.mistake(&top,
                       schema.empty()
                           ? noTimeline
                           : "an object of the schema " + std::string(schema) + " is no timeline, stack, track or clip",
                       "an empty composition stands for it");
    }
    confirmRate();
    form.rate = _items.rate() == _items.fps() ? 0 : _items.rate();
    require(node->setCompLength(length));
    const Value nothing(json::kObjectType);
    _keep.take(*node, form.isImplied || form.wholeValue ? nothing : top, own);
    _keep.keepDifference(*node, top, form, [&](Listener& to) { _parts.composition(to, *node, form, stage.start); });
    _items.came(*node, top);
    return node;
}

// Tracks

double Maker::addTracks(Stage& to, const Value* stack, eDmTreeMediaType mediaType)
{
    double length = 0;
    const Value* const children = arrayOf(stack, "children");
    if (!children)
        return length;
    for (const Value& child : children->GetArray())
        if (child.IsObject())
            length = std::max(length, addTrack(to, child, mediaType));
        else
            _items.mistake(stack, noObject, "left out");
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
    _items.setMediaType(mediaType);
    const Value* const children = isReal && !hasRange ? &object : nullptr;
    _depth += hasRange ? 1 : 0;
    Entries entries = children ? Entries() : entriesOf(object, mediaType);
    _depth -= hasRange ? 1 : 0;
    const Value* const own = isReal ? ownOf(&object) : nullptr;
    // Beside a result layer, further layers are shown as tracks that are off.
    const Value* const enabled = isReal ? member(&object, "enabled") : nullptr;
    to.isOff = enabled && enabled->IsFalse() && !isTrue(own, "isLayer");
    if (isTrue(own, "isLayer") && to.track && to.track->getMediaType() == mediaType && !hasRange)
    {
        // Of the track below it, shown as a track of its own.
        const CoSharedPtr<DmLayerNode> made = layer(to, &object, mediaType, entries, children);
        const Value* const index = member(own, "index");
        to.track->insertChild(made,
                              index && index->IsInt() ? std::clamp(index->GetInt(), 0, to.track->getNbChildren()) : 0);
        return _at - to.start;
    }
    if (!hasRange || !isTrimmed(object, lengthOfAll(entries)))
        return layOut(to, isReal ? &object : nullptr, mediaType, std::move(entries), children);
    // A part of a track is what a container plays.
    const CoSharedPtr<DmCompositionNode> inside = this->inside(object);
    IdMaker ids;
    Stage stage{*inside, 0, ids};
    const double length = layOut(stage, nullptr, mediaType, std::move(entries));
    Entries whole;
    whole.push_back({&object, contain(inside, object, length, mediaType), Form::of(object, DM_CONTAINER_NODE)});
    return layOut(to, nullptr, mediaType, std::move(whole));
}

CoSharedPtr<DmLayerNode> Maker::layer(Stage& to, const Value* object, eDmTreeMediaType mediaType, Entries& entries,
                                      const Value* children)
{
    const Value* const own = ownOf(object);
    auto layer = orBadAlloc(DmLayerNode::create(0, mediaType, 0, false));
    _at = to.start;
    _from = to.start;
    _previous = nullptr;
    if (children)
        placeChildren(to, *layer, *children, mediaType);
    for (Entry& entry : entries)
        place(to, *layer, entry, mediaType);
    addBetween(*layer, own, "behind", nullptr, mediaType);
    require(layer->setLayerStartTC(to.start));
    require(layer->setLayerLength(_at - to.start));
    if (const Value* const ofLayer = own ? member(own, "layer") : nullptr)
        _keep.take(*layer, Value(json::kObjectType), ofLayer);
    return layer;
}

double Maker::layOut(Stage& to, const Value* object, eDmTreeMediaType mediaType, Entries entries, const Value* children)
{
    const int number = ++to.tracks[static_cast<std::size_t>(mediaType)];
    const Value nothing(json::kObjectType);
    const auto track = _items.track(object ? *object : nothing, mediaType, number);
    if (countOfTimewarps(object) != 0)
        _items.warn(object, "a track has a timewarp: it plays at normal speed");
    track->addChild(layer(to, object, mediaType, entries, children));
    const double end = _at;
    Form form;
    form.isImplied = !object;
    _keep.take(*track, object ? *object : nothing, ownOf(object));
    _keep.keepDifference(*track, object ? *object : nothing, form,
                         [&](Listener& listener) { _parts.track(listener, *track, mediaType); });
    if (object)
        _items.came(*track, *object);
    to.track = object ? track.get() : nullptr;
    const int index = to.composition.addChild(track) - 1;
    if (mediaType == DM_MEDIA_VIDEO && number == 1)
        require(to.composition.setPrimaryVideoTrackIndex(index));
    return end - to.start;
}

// What stands on tracks

Entries Maker::entriesOf(const Value& object, eDmTreeMediaType mediaType)
{
    Entries entries;
    const bool isReal = isTrack(schemaOf(&object));
    if (apartOf(object))
        throw NotInPieces();
    if (!isReal)
        addEntry(entries, object, object, mediaType);
    else if (const Value* const children = arrayOf(&object, "children"))
    {
        entries.reserve(children->Size());
        for (const Value& child : children->GetArray())
            addEntry(entries, object, child, mediaType);
    }
    overlap(entries);
    return entries;
}

void Maker::addEntry(Entries& entries, const Value& track, const Value& object, eDmTreeMediaType mediaType)
{
    if (!object.IsObject())
        return _items.mistake(&track, noObject, "left out");
    if (schemaOf(&object) != "Transition")
    {
        const std::size_t before = _items.findings();
        CoSharedPtr<DmSegmentNode> made = segment(object, mediaType);
        _items.about(before, *made);
        Form form = Form::of(object, made->whatIs());
        entries.push_back({&object, std::move(made), std::move(form)});
        const bool isGap = entries.back().segment->whatIs() == DM_GAP_NODE;
        entries.back().isHole = isGap && isTrue(ownOf(&object), "isHole") && saysNothingElse(object);
        return;
    }
    const double in = _items.frames(member(&object, "in_offset"));
    const double out = _items.frames(member(&object, "out_offset"));
    if (in < 0 || out < 0)
        _items.mistake(&object, "a transition with a negative offset", "taken as zero");
    entries.push_back({&object, {}, {}, false, std::max(0.0, in), std::max(0.0, out)});
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
        _items.lose(otherSchema, item);
    if (schema == "Clip")
        return _items.clip(item, mediaType);
    return _items.gap(item, mediaType);
}

const ListApart* Maker::apartOf(const Value& object) const
{
    if (_apart.empty() || !object.IsObject() || object.ObjectEmpty())
        return nullptr;
    const auto found = std::ranges::find(_apart, object.MemberBegin()->name.GetString(), &ListApart::holder);
    return found == _apart.end() ? nullptr : &*found;
}

void Maker::placeChildren(Stage& to, DmLayerNode& layer, const Value& track, eDmTreeMediaType mediaType)
{
    std::optional<Children> apart;
    Entries waiting; // a transition for what is behind it, and what is in front of it with it
    const auto isTransition = [&waiting](std::size_t fromEnd)
    { return waiting.size() >= fromEnd && !waiting[waiting.size() - fromEnd].segment; };
    const auto placeAllBut = [&](std::size_t count)
    {
        const auto end = waiting.end() - static_cast<std::ptrdiff_t>(std::min(count, waiting.size()));
        for (auto each = waiting.begin(); each != end; ++each)
            place(to, layer, *each, mediaType);
        waiting.erase(waiting.begin(), end);
    };
    const auto add = [&](const auto& addEntries)
    {
        const std::size_t count = waiting.size();
        const std::tuple here(_at, _from, _previous); // which layers inside have, too
        addEntries();
        std::tie(_at, _from, _previous) = here;
        if (waiting.size() == count)
            return;
        if (isTransition(2))
            overlapAt(waiting, waiting.size() - 2);
        placeAllBut(isTransition(1) && !isTransition(2) ? 2 : 1);
    };
    if (const ListApart* const list = apartOf(track))
    {
        ++_listsRead;
        apart.emplace(list->text, _source.end());
        while (apart->next())
        {
            const std::size_t before = _items.findings();
            add([&] { addChild(to, waiting, track, *apart, mediaType); });
            if (_items.isExpecting(before))
                apart->keep();
        }
    }
    else if (const Value* const children = arrayOf(&track, "children"))
        for (const Value& child : children->GetArray())
            add([&] { addEntry(waiting, track, child, mediaType); });
    if (isTransition(1))
        overlapAt(waiting, waiting.size() - 1);
    placeAllBut(0);
}

void Maker::addChild(const Stage& to, Entries& entries, const Value& track, Children& children,
                     eDmTreeMediaType mediaType)
{
    const std::optional<KnownClip> known = to.isOff ? std::nullopt : children.known(_shapes);
    if (known && addKnown(entries, *known, mediaType))
        return;
    const Value& child = children.parse();
    if (_played)
        _played->add(child, mediaType == DM_MEDIA_AUDIO);
    const std::size_t count = entries.size();
    addEntry(entries, track, child, mediaType);
    if (!known && entries.size() != count)
        entries.back().text = children.text();
}

bool Maker::addKnown(Entries& entries, const KnownClip& clip, eDmTreeMediaType mediaType)
{
    std::vector<Note> notes = notesOfMetadata(clip.metadata);
    std::optional<std::string> leftover = usualLeftover(*clip.metadata, clip.facts.manner, notes);
    CoSharedPtr<DmSegmentNode> node;
    if (leftover)
        node = _items.clip(clip.facts, reelOfMetadata(clip.metadata), mediaType);
    if (!node)
        return false;
    if (_played && mediaType != DM_MEDIA_AUDIO)
        _played->add(_items.rate(), clip.facts.length);
    Entry& entry = entries.emplace_back();
    entry.segment = std::move(node);
    entry.leftover = std::move(leftover);
    entry.notes = std::move(notes);
    return true;
}

void Maker::finishKnown(Stage& to, DmSegmentNode& node, Entry& entry)
{
    setText(node, DmSegmentNode::SegmentId, to.ids.make(node));
    _keep.keepKnown(node, entry.notes, *entry.leftover);
}

void Maker::finish(Stage& to, DmSegmentNode& node, const Value& item, const Entry& entry, Trim trim)
{
    const Form& form = entry.form;
    const double length = node.getRecLength();
    setText(node, DmSegmentNode::SegmentId, to.ids.make(node));
    const Value* const own = ownOf(&item);
    const DmString madeUp = own ? node.getSegmentId() : DmString();
    const std::vector<Note> notes = _keep.take(node, item, own);
    if (own)
    {
        // A clip that was cut in two elsewhere says one id twice.
        const DmString& id = node.getSegmentId();
        const bool isMade = id == madeUp;
        if (!isMade)
            to.ids.giveBack(dmUtf8(madeUp));
        if (!isMade && !id.empty() && !to.ids.take(dmUtf8(id)))
        {
            require(node.addSegmentPreviousId(id));
            setText(node, DmSegmentNode::SegmentId, freshId());
        }
    }
    else if (node.whatIs() == DM_SOURCE_NODE)
        if (const std::optional<Manner> manner = _keep.keepUsual(static_cast<DmSourceNode&>(node), item, trim, notes))
        {
            constexpr std::size_t mostShapes = 8;
            if (!entry.text.empty() && _shapes.size() < mostShapes)
                if (Shape shape(entry.text, node.getMuted(), *manner); shape.isPlain())
                    _shapes.push_back(std::move(shape));
            return _items.came(node, item);
        }
    const auto* const container =
        node.whatIs() == DM_CONTAINER_NODE ? static_cast<const DmContainerNode*>(&node) : nullptr;
    _keep.keepDifference(node, item, form,
                         [&](Listener& listener)
                         {
                             if (container)
                                 _parts.container(listener, *container, trim, form, length);
                             else
                                 _parts.segment(listener, node, trim, form, length);
                         });
    _items.came(node, item);
}

CoSharedPtr<DmSegmentNode> Maker::container(const Value& item, eDmTreeMediaType mediaType)
{
    const DM::FrameCodeModes outer = _items.fcm();
    const double rate = _items.rate();
    const Value* const own = ownOf(&item);
    const DM::FrameCodeModes named = own ? dmFcmFromText(toDmString(textOf(own, "mode"))) : DM::FCM_NOT_DEFINED;
    if (named != DM::FCM_NOT_DEFINED)
        _items.setMode(named);
    const CoSharedPtr<DmCompositionNode> inside = this->inside(item);
    IdMaker ids;
    Stage stage{*inside, recordStartOf(own).value_or(0.0), ids};
    ++_depth;
    double length = 0;
    if (schemaOf(&item) == "Stack")
        length = addTracks(stage, &item, mediaType);
    else
    {
        const eDmTreeMediaType kind = kindOf(item, mediaType);
        length = layOut(stage, nullptr, kind, entriesOf(item, kind));
    }
    --_depth;
    require(inside->setCompLength(length));
    const double seconds = length / _items.fps();
    if (const Value* const ofInside = own ? member(own, "inside") : nullptr)
        _keep.take(*inside, Value(json::kObjectType), ofInside);
    _items.setMode(outer);
    _items.setRate(rate);
    _items.setMediaType(mediaType);
    return contain(inside, item, named == DM::FCM_NOT_DEFINED ? length : seconds * _items.fps(), mediaType);
}

CoSharedPtr<DmCompositionNode> Maker::inside(const Value& item) const
{
    const std::string_view name = textOf(&item, "name");
    auto inside =
        orBadAlloc(DmCompositionNode::create(toDmString(name.empty() ? "untitled" : name), _items.fcmText(), {}));
    require(inside->setIsContainerComp(true));
    return inside;
}

CoSharedPtr<DmSegmentNode> Maker::contain(const CoSharedPtr<DmCompositionNode>& inside, const Value& item,
                                          double length, eDmTreeMediaType mediaType)
{
    if (inside->getCompLength() == 0)
        require(inside->setCompLength(length));
    return _items.container(item, inside, length, mediaType);
}

void Maker::overlap(Entries& entries)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (!entries[i].segment)
            overlapAt(entries, i);
}

void Maker::overlapAt(Entries& entries, std::size_t i)
{
    Entry& transition = entries[i];
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

void Maker::addBetween(DmLayerNode& layer, const Value* own, const char* name, const DmTreeNode* next,
                       eDmTreeMediaType mediaType)
{
    if (const Value* const list = own ? member(own, std::string_view(name)) : nullptr; list && list->IsArray())
    {
        for (const Value& each : list->GetArray())
        {
            const CoSharedPtr<DmPropertySet> set = setOf(each);
            auto* const node = dynamic_cast<DmTreeNode*>(set.get());
            DmTransitionNode* const transition = node ? node->asTransition() : nullptr;
            DmSegmentNode* const segment = node ? node->asSegment() : nullptr;
            // Others do not stand on layers, whatever a file says.
            const bool isTransition = transition && transition->getMediaType() == mediaType;
            const bool isSegment = segment && node->isSegment() && segment->getMediaType() == mediaType;
            if (!isTransition && !isSegment)
                continue;
            const double said = isTransition ? transition->getRecIn() : segment->getRecIn();
            const double time = std::isfinite(said) ? std::clamp(said, _from, _at) : _at;
            require(isTransition ? transition->setRecIn(time) : segment->setRecIn(time));
            layer.addChild(node);
        }
        return;
    }
    if (const CoSharedPtr<DmTreeNode> usual = makeBetween(usualBetween(_previous, next), mediaType, _at))
        layer.addChild(usual);
}

void Maker::place(Stage& to, DmLayerNode& layer, Entry& entry, eDmTreeMediaType mediaType)
{
    const Value* const own = ownOf(entry.object);
    if (!entry.segment)
    {
        const double length = entry.in + entry.out;
        const std::size_t before = _items.findings();
        const auto node = _items.transition(*entry.object, mediaType, entry.in, entry.out);
        _items.about(before, *node);
        addBetween(layer, own, "before", node.get(), mediaType);
        require(node->setRecIn(_at));
        _keep.take(*node, *entry.object, own);
        _keep.keepDifference(*node, *entry.object, {}, [&](Listener& listener) { _parts.transition(listener, *node); });
        _items.came(*node, *entry.object);
        layer.addChild(node);
        _at += length;
        _from = _at;
        _previous = node.get();
        return;
    }
    const double length = entry.rest();
    if (entry.isHole)
    {
        _at += length;
        _previous = nullptr;
        return;
    }
    DmSegmentNode& segment = *entry.segment;
    const Trim trim{entry.in, entry.out};
    if (entry.in != 0 || entry.out != 0)
    {
        require(segment.setRelIn(segment.getRelIn() + headOf(segment, trim)));
        require(segment.setRecLength(length));
    }
    CoSharedPtr<DmTreeNode> node = entry.segment;
    require(segment.setRecIn(_at));
    if (to.isOff && segment.whatIs() != DM_GAP_NODE)
        require(segment.setMuted(true));
    if (entry.leftover && (std::trunc(entry.in) != entry.in || std::trunc(entry.out) != entry.out))
        throw NotInPieces(); // what is left of it may not be what it says
    if (entry.leftover)
        finishKnown(to, segment, entry);
    else
        finish(to, segment, *entry.object, entry, trim);
    if (length < leastLength && segment.whatIs() != DM_GAP_NODE)
    {
        // Nothing of it is left to play: it travels with a gap of no length.
        node = orBadAlloc(DmGapNode::create(mediaType, _at, 0));
        require(node->setBaseBlob(entry.segment));
    }
    addBetween(layer, own, "before", node.get(), mediaType);
    layer.addChild(node);
    _at += node == entry.segment ? length : 0.0;
    _from = _at;
    _previous = node.get();
    _scratch.Clear(); // of a single item
}

/// Track by track and clip by clip, as nearly every file is read; null for one that must be parsed as a whole.
CoSharedPtr<DmRoot> readInPieces(const ParsedText& text, const json::Document& document,
                                 const std::vector<ListApart>& apart, DM::FrameCodeModes fcm, Report& report)
{
    const Report before = report;
    try
    {
        Items items(&report, &text);
        Maker maker(items, text, apart, fcm);
        CoSharedPtr<DmRoot> root = maker.root(document);
        if (maker.listsRead() == apart.size())
        {
            if (!report.hasErrors())
                items.reportWarnings();
            return root;
        }
    }
    catch (const NotInPieces&)
    {
    }
    report = before;
    return {};
}

/// Null with errors, which tell then where on the timeline they are.
CoSharedPtr<DmRoot> withoutErrors(const CoSharedPtr<DmRoot>& root, Report& report)
{
    if (!report.hasErrors())
        return root;
    report.locate(*root, false);
    return {};
}

CoSharedPtr<DmRoot> read(std::string bytes, DM::FrameCodeModes fcm, Report& report, bool places)
{
    ParsedText text(std::move(bytes));
    json::Document document;
    std::vector<ListApart> apart;
    bool isWhole = false;
    if (!places && text.parseApart(document, apart))
    {
        isWhole = apart.empty();
        if (CoSharedPtr<DmRoot> root =
                isWhole ? CoSharedPtr<DmRoot>() : readInPieces(text, document, apart, fcm, report))
            return withoutErrors(root, report);
    }
    if (!isWhole)
        json::Document().Swap(document);
    JsonFault fault;
    if (!isWhole && !text.parse(document, fault))
    {
        report.add(Report::Error, text.lineAt(fault.offset), fault.what);
        return {};
    }
    if (const std::size_t count = text.wideIntegers())
        report.add("DM618", Report::Warning, text.lineOfWideInteger(),
                   "integers beyond 64 bits (" + std::to_string(count) + "): kept to 17 digits");
    Items items(&report, &text, places);
    CoSharedPtr<DmRoot> root = Maker(items, text, {}, fcm).root(document);
    if (!report.hasErrors())
        items.reportWarnings();
    return withoutErrors(root, report);
}

} // namespace

CoSharedPtr<DmRoot> readOtio(std::string bytes, DM::FrameCodeModes fcm, Report& report, bool places)
{
    try
    {
        return read(std::move(bytes), fcm, report, places);
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
