#include "icOtioWriter.h"

#include "icIds.h"
#include "icMisplaced.h"
#include "icMode.h"
#include "icOtioKeep.h"
#include "icOtioLayout.h"
#include "icOtioOwn.h"
#include "icOtioReadBack.h"
#include "icOtioText.h"
#include "icText.h"
#include "icTree.h"

#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmSetTools.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace interchange
{

using namespace otio;

namespace
{

constexpr Loss otherSegment{"DM728", "written as gaps"};
constexpr Loss tooDeep{"DM729", "written without what is inside"};
constexpr Loss hiddenEffect{"DM711", "other programs do not see them"};
constexpr Loss otherMix{"DM712", "written as Custom_Transition"};
constexpr Loss overlap{"DM703", "the later one covers the end of the earlier"};

/// Whether a schema says what a segment of its class is: a gap stands for the others.
bool hasObject(const DmSegmentNode& segment)
{
    const eDmTreeNodeClassId kind = segment.whatIs();
    return kind == DM_SOURCE_NODE || kind == DM_CONTAINER_NODE || kind == DM_GAP_NODE;
}

/// Whether anything stands on a composition: where not, its file has no times that would tell its rate.
bool holdsElements(const DmCompositionNode& composition)
{
    for (int i = 0; i < composition.getNbChildren(); ++i)
        if (const DmTreeNode* const track = composition.getChild(i))
            for (int k = 0; k < track->getNbChildren(); ++k)
                if (const DmTreeNode* const layer = track->getChild(k); layer && layer->getNbChildren() != 0)
                    return true;
    return false;
}

/// A look whose numbers are finite: others have no form in a file.
bool isShownLook(const DmPropertySet* effect)
{
    const auto* const settings = dynamic_cast<const DmLookSettings*>(effect);
    if (!settings)
        return false;
    const Look look = toLook(*settings);
    double sum = look.saturation;
    for (std::size_t i = 0; i < look.slope.size(); ++i)
        sum += look.slope[i] + look.offset[i] + look.power[i];
    return std::isfinite(sum);
}

class Maker
{
public:
    /// `fcm`: of compositions that name no mode.
    Maker(DM::FrameCodeModes fcm, JsonText& text, Report& report)
        : _fcm(fcm)
        , _report(report)
        , _out(text)
        , _items(nullptr, nullptr)
        , _parts(_items, _document.GetAllocator())
        , _keep(_items, _parts)
        , _readBack(_items)
    {
    }

    void root(const DmRoot& root);

private:
    /// Where the children of an object are written, in a stage that they stand on.
    struct Stage
    {
        const DmCompositionNode& composition;
        double origin;
        IdMaker ids;
        std::array<int, 3> tracks{};
        DM::FrameCodeModes fcm;
        bool isOff = false; ///< the track that is written says that it does not play
    };

    Allocator& allocator() { return _parts.allocator(); }
    /// Writes an object; `children` is called where they stand, if it has any.
    template <class Children>
    void write(const Value& object, const char* holder, Children&& children);
    /// Writes an object as it is described, with what the leftover adds, where there is no more to say.
    template <class Describe>
    void writeWithAdditions(const Value& difference, Describe&& describe);
    void setOwn(Value& object, Value own);
    /// Children have a place, whatever the file said when there were none.
    void letHaveChildren(Value& object, const DmTreeNode& node);

    void collection(const DmTreeNode& node, const DmRoot* root);
    void composition(const DmCompositionNode& node, const DmRoot* root);
    void tracks(Stage& stage);
    void track(Stage& stage, const DmTrackNode& node);
    /// Whether a track that was off still is, though not all that stands on it is muted.
    bool staysOff(const Layout& layout);
    void layer(Stage& stage, const DmTrackNode& track, const Layout& layout);
    void hole(double length, Trim trim);
    void element(Stage& stage, const DmTrackNode& track, const Layout& layout, std::size_t index);
    void container(const DmContainerNode& node, Value made, Value own, const Form& form);
    /// What stands in front of an item, or behind the last, where that is not the usual.
    void describeBetween(Value& own, const char* name, std::span<const DmTreeNode* const> nodes,
                         const DmTreeNode* previous, const DmTreeNode* next, eDmTreeMediaType mediaType, double time);
    void add(Value& own, const char* name, Value value);
    void lose(const Loss& loss, const DmTreeNode* node)
    {
        _report.at({.node = node});
        _report.lose(loss);
    }
    void warn(const DmTrackNode& track, const Item& item);
    bool chooseMode(const DmCompositionNode& node);

    DM::FrameCodeModes _fcm;
    Report& _report;
    JsonText& _out;
    json::Document _document;
    std::vector<char> _room = std::vector<char>(1 << 16); ///< kept from element to element
    Allocator _leaf{_room.data(), _room.size()};
    Items _items;
    Parts _parts;
    Keep _keep;
    ReadBack _readBack;
    /// What usually stands between two elements, of each media type.
    std::array<std::array<CoSharedPtr<DmTreeNode>, 3>, 3> _usual;
    int _depth = 0;
};

template <class Children>
void Maker::write(const Value& object, const char* holder, Children&& children)
{
    _out.beginObject();
    for (const auto& each : object.GetObject())
    {
        _out.name(text(&each.name));
        if (text(&each.name) != holder)
            _out.value(each.value);
        else if (each.value.IsObject())
            write(each.value, "children", children);
        else if (std::string_view(holder) == "children" && each.value.IsArray())
        {
            _out.beginList();
            children();
            _out.endList();
        }
        else
            _out.value(each.value);
    }
    _out.endObject();
}

template <class Describe>
void Maker::writeWithAdditions(const Value& difference, Describe&& describe)
{
    if (difference.IsNull())
        return describe(_out);
    Adder adder(_out, difference);
    describe(adder);
}

void Maker::setOwn(Value& object, Value own)
{
    if (own.IsNull())
        return;
    const bool isNew = !object.HasMember("metadata");
    _parts.set(_parts.inner(object, "metadata"), ownKey, std::move(own));
    // Behind the schema, where we write it when the file has it, too.
    for (auto each = object.MemberEnd() - 1; isNew && each > object.MemberBegin() + 1; --each)
    {
        each->name.Swap((each - 1)->name);
        each->value.Swap((each - 1)->value);
    }
}

void Maker::letHaveChildren(Value& object, const DmTreeNode& node)
{
    if (node.getNbChildren() != 0)
        _parts.set(object, "children", Value(json::kArrayType));
}

void Maker::add(Value& own, const char* name, Value value)
{
    if (!own.IsObject())
        own.SetObject();
    own.AddMember(json::StringRef(name), value, allocator());
}

void Maker::root(const DmRoot& root)
{
    tellMisplaced(root, _report);
    const DmTreeNode* const only = root.getNbChildren() == 1 ? root.getChild(0) : nullptr;
    Value difference;
    _keep.formOf(root, difference);
    if (only && difference.IsNull() && only->whatIs() == DM_COMPOSITION_NODE)
        return composition(static_cast<const DmCompositionNode&>(*only), &root);
    if (only && difference.IsNull() && only->whatIs() == DM_REEL_NODE)
        return collection(*only, &root);
    collection(root, nullptr);
}

void Maker::collection(const DmTreeNode& node, const DmRoot* root)
{
    Value difference;
    _keep.formOf(node, difference);
    Value object = _parts.value([&](Listener& to) { _parts.collection(to, node); });
    applyDifference(object, difference, allocator());
    Value own;
    bool holdsReel = false;
    for (int i = 0; i < node.getNbChildren(); ++i)
        holdsReel = holdsReel || (node.getChild(i) && node.getChild(i)->whatIs() == DM_REEL_NODE);
    if (node.whatIs() == DM_ROOT_NODE && !holdsReel)
        add(own, "isRoot", Value(true));
    _keep.describeDifference(own, node, *_keep.read(object, node, 0, 0), object);
    if (root)
        if (Value ofRoot;
            _keep.describeDifference(ofRoot, *root, *orBadAlloc(DmRoot::create()), Value(json::kObjectType)),
            !ofRoot.IsNull())
            add(own, "root", std::move(ofRoot));
    setOwn(object, std::move(own));
    letHaveChildren(object, node);
    write(object, "children",
          [&]
          {
              for (int i = 0; i < node.getNbChildren(); ++i)
              {
                  const DmTreeNode* const child = node.getChild(i);
                  if (child && child->whatIs() == DM_COMPOSITION_NODE)
                      composition(static_cast<const DmCompositionNode&>(*child), nullptr);
                  else if (child && child->whatIs() == DM_REEL_NODE && node.whatIs() == DM_ROOT_NODE)
                      collection(*child, nullptr);
              }
          });
}

bool Maker::chooseMode(const DmCompositionNode& node)
{
    const DM::FrameCodeModes own = modeOf(node);
    const DM::FrameCodeModes fcm = own != DM::FCM_NOT_DEFINED ? own : _fcm;
    if (fcm == DM::FCM_NOT_DEFINED)
        _report.add("DM701", Report::Error, 0,
                    "the composition names no frame-code mode, and no other was given (--fcm names one)");
    else
        _items.setMode(fcm);
    return fcm != DM::FCM_NOT_DEFINED;
}

void Maker::composition(const DmCompositionNode& node, const DmRoot* root)
{
    if (!chooseMode(node))
        return;
    Value difference;
    const Form form = _keep.formOf(node, difference);
    _items.setRate(form.rate);
    if (form.wholeValue && node.getNbChildren() == 0)
        return _out.value(*form.wholeValue);
    const bool isStack = form.schema == "Stack" && node.getStartTC() == 0;
    const double origin = originOf(node);
    Stage stage{node, origin, {}, {}, _items.fcm()};
    Form written;
    written.schema = isStack ? "Stack" : "";
    Value object = _parts.value([&](Listener& to) { _parts.composition(to, node, written, origin); });
    if (isStack == (form.schema == "Stack"))
        applyDifference(object, difference, allocator());
    Value own;
    if (DM::FcmUtil::isDropFrame(stage.fcm) || (node.getStartTC() == 0 && difference.IsNull() && !holdsElements(node)))
        if (dmFcmFromText(node.getFCM()) != DM::FCM_24)
            add(own, "mode", _parts.string(DM::FcmUtil::getFCMString(stage.fcm)));
    const CoSharedPtr<DmCompositionNode> read = _items.composition(object, origin);
    require(read->setCompLength(lengthOf(node, origin)));
    int firstVideo = -1;
    for (int i = node.getNbChildren() - 1; i >= 0; --i)
        if (const auto* const track = dynamic_cast<const DmTrackNode*>(node.getChild(i));
            track && track->getMediaType() == DM_MEDIA_VIDEO)
            firstVideo = i;
    require(read->setPrimaryVideoTrackIndex(firstVideo));
    if (origin != read->getStartTC())
        add(own, "recordStart", Value(origin));
    const Value unnamed(json::kObjectType);
    if (form.isImplied && node.getNbChildren() == 1 && own.IsNull() && !root)
        return tracks(stage);
    _keep.describeDifference(own, node, *read, object);
    if (root)
        if (Value ofRoot;
            _keep.describeDifference(ofRoot, *root, *orBadAlloc(DmRoot::create()), unnamed), !ofRoot.IsNull())
            add(own, "root", std::move(ofRoot));
    if (form.isImplied && node.getNbChildren() == 1)
    {
        // The only child stands for the composition, unless that has more to say than the child's name.
        const auto* const track = dynamic_cast<const DmTrackNode*>(node.getChild(0));
        if (track && own.IsNull() && node.getStartTC() == 0)
            return tracks(stage);
    }
    setOwn(object, std::move(own));
    if (isStack)
    {
        letHaveChildren(object, node);
        return write(object, "children", [&] { tracks(stage); });
    }
    if (node.getNbChildren() != 0 && (!object.HasMember("tracks") || !object["tracks"].IsObject()))
        _parts.set(object, "tracks",
                   std::move(_parts.value([&](Listener& to) { _parts.composition(to, node, {}, origin); })["tracks"]));
    if (node.getNbChildren() != 0)
        letHaveChildren(object["tracks"], node);
    write(object, "tracks", [&] { tracks(stage); });
}

void Maker::tracks(Stage& stage)
{
    tellMisplaced(stage.composition, _report);
    for (int i = 0; i < stage.composition.getNbChildren(); ++i)
        if (const auto* const each = dynamic_cast<const DmTrackNode*>(stage.composition.getChild(i)))
            track(stage, *each);
}

void Maker::track(Stage& stage, const DmTrackNode& node)
{
    const eDmTreeMediaType mediaType = node.getMediaType();
    const int number = ++stage.tracks[static_cast<std::size_t>(std::clamp<int>(mediaType, 0, 2))];
    const int base = baseLayerOf(node);
    Value difference;
    const Form form = _keep.formOf(node, difference);
    const auto writeLayer = [&](int index)
    {
        const auto* const layerNode = index < 0 ? nullptr : static_cast<const DmLayerNode*>(node.getChild(index));
        const Layout layout = layerNode ? layoutOf(*layerNode, stage.origin) : Layout{{}, {}, stage.origin, {}, {}};
        const bool isBase = index == base;
        Value object = _parts.value([&](Listener& to) { _parts.track(to, node, mediaType); });
        if (isBase)
            applyDifference(object, difference, allocator());
        const Value* const enabled = member(&object, "enabled");
        stage.isOff = isBase && enabled && enabled->IsFalse() && staysOff(layout);
        if (isBase && enabled && enabled->IsFalse() && !stage.isOff)
            _parts.set(object, "enabled", Value(true));
        Value own;
        if (!isBase)
        {
            add(own, "isLayer", Value(true));
            if (static_cast<const DmLayerNode*>(node.getChild(base))->isResultLayer())
                _parts.set(object, "enabled", Value(false));
        }
        if (index > 0)
            add(own, "index", Value(index));
        if (isBase)
            _keep.describeDifference(own, node, *_keep.read(object, node, 0, number), object);
        if (layerNode)
        {
            const auto read = orBadAlloc(DmLayerNode::create(0, mediaType, 0, false));
            require(read->setLayerStartTC(stage.origin));
            require(read->setLayerLength(layout.end - stage.origin));
            Value ofLayer;
            _keep.describeDifference(ofLayer, *layerNode, *read, Value(json::kObjectType));
            if (!ofLayer.IsNull())
                add(own, "layer", std::move(ofLayer));
            const DmTreeNode* const last = layout.items.empty() ? nullptr : layout.items.back().node;
            describeBetween(own, "behind", layout.behind(), last, nullptr, mediaType, layout.end);
        }
        else
            add(own, "isEmpty", Value(true));
        if (form.isImplied && isBase && own.IsNull() && layout.items.size() == 1 && layout.items[0].hole == 0)
            return layer(stage, node, layout);
        setOwn(object, std::move(own));
        if (layerNode)
            letHaveChildren(object, *layerNode);
        write(object, "children", [&] { layer(stage, node, layout); });
    };
    writeLayer(base);
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (i != base && dynamic_cast<const DmLayerNode*>(node.getChild(i)))
            writeLayer(i);
}

bool Maker::staysOff(const Layout& layout)
{
    // The file's word on what its track has muted; documents of former versions have muted nothing.
    const auto isMarked = [this](const DmSegmentNode& segment)
    {
        Value difference;
        static_cast<void>(_keep.formOf(segment, difference));
        return member(member(&difference, "other"), "enabled") || member(member(&difference, "missing"), "enabled");
    };
    bool areMuted = true;
    bool hasMarked = false;
    for (const Item& item : layout.items)
        if (item.segment && item.segment->whatIs() != DM_GAP_NODE)
            areMuted = areMuted && item.segment->getMuted();
    for (const Item& item : layout.items)
        if (!areMuted && item.segment && item.segment->whatIs() != DM_GAP_NODE)
            hasMarked = hasMarked || isMarked(*item.segment);
    return areMuted || !hasMarked;
}

void Maker::describeBetween(Value& own, const char* name, std::span<const DmTreeNode* const> nodes,
                            const DmTreeNode* previous, const DmTreeNode* next, eDmTreeMediaType mediaType, double time)
{
    const Between what = usualBetween(previous, next);
    bool isUsual = nodes.size() == (what == Between::Nothing ? 0U : 1U);
    if (isUsual && what != Between::Nothing)
    {
        CoSharedPtr<DmTreeNode>& usual =
            _usual[static_cast<std::size_t>(what)][static_cast<std::size_t>(std::clamp<int>(mediaType, 0, 2))];
        if (!usual)
            usual = makeBetween(what, mediaType, time);
        require(what == Between::Cut ? usual->asTransition()->setRecIn(time) : usual->asSegment()->setRecIn(time));
        isUsual = dmDeepEqual(*nodes.front(), *usual, isUsual) == DM_NO_ERROR && isUsual;
    }
    if (isUsual)
        return;
    Value list(json::kArrayType);
    for (const DmTreeNode* const node : nodes)
        if (Value value = setValue(*node, allocator()); !value.IsNull())
            list.PushBack(value, allocator());
    add(own, name, std::move(list));
}

void Maker::hole(double length, Trim trim)
{
    Value gap = _parts.value([&](Listener& to) { _parts.gap(to, length + trim.in + trim.out); });
    Value own;
    add(own, "isHole", Value(true));
    setOwn(gap, std::move(own));
    _out.value(gap);
}

void Maker::layer(Stage& stage, const DmTrackNode& track, const Layout& layout)
{
    for (std::size_t i = 0; i < layout.items.size(); ++i)
    {
        const bool isLeaf = !layout.items[i].segment || layout.items[i].segment->whatIs() != DM_CONTAINER_NODE;
        Allocator& outer = allocator();
        if (isLeaf)
            _parts.setAllocator(_leaf);
        element(stage, track, layout, i);
        _parts.setAllocator(outer);
        if (isLeaf)
            _leaf.Clear();
    }
}

void Maker::warn(const DmTrackNode& track, const Item& item)
{
    if (item.mix && !Parts::hasSchema(*item.mix))
        _report.lose(otherMix);
    if (item.segment && !hasObject(*item.segment))
        _report.lose(otherSegment);
    bool hasSpeed = false;
    bool hasLook = false;
    if (item.segment)
        for (const DmPropertySetPtr& effect : item.segment->getEffects())
        {
            const bool isSpeed = !hasSpeed && speedOf(effect.get()).has_value();
            const bool isLook =
                !hasLook && !isSpeed && track.getMediaType() == DM_MEDIA_VIDEO && isShownLook(effect.get());
            hasSpeed = hasSpeed || isSpeed;
            hasLook = hasLook || isLook;
            if (effect && !isSpeed && !isLook)
                _report.lose(hiddenEffect);
        }
}

void Maker::element(Stage& stage, const DmTrackNode& track, const Layout& layout, std::size_t index)
{
    const Item& item = layout.items[index];
    const auto mixAt = [&](std::size_t at) { return at < layout.items.size() ? layout.items[at].mix : nullptr; };
    const DmTrxEffectNode* const mixBefore = index > 0 && item.hole == 0 ? mixAt(index - 1) : nullptr;
    const DmTrxEffectNode* const mixBehind =
        index + 1 < layout.items.size() && layout.items[index + 1].hole == 0 ? mixAt(index + 1) : nullptr;
    const auto headBehind = [](const DmTrxEffectNode* mix)
    { return mix ? mix->getRecLength() - mix->getRelIn() : 0.0; };
    const auto tailBefore = [](const DmTrxEffectNode* mix) { return mix ? mix->getRelIn() : 0.0; };
    if (item.hole > 0)
        hole(item.hole, {headBehind(index > 0 ? mixAt(index - 1) : nullptr), tailBefore(item.mix)});
    _report.at({.node = item.segment ? static_cast<const DmTreeNode*>(item.segment) : item.mix});
    warn(track, item);
    if (std::ranges::binary_search(layout.covered, index))
        _report.lose(overlap);

    Value difference;
    Value own;
    const DmTreeNode* const previous = index > 0 && item.hole == 0 ? layout.items[index - 1].node : nullptr;
    describeBetween(own, "before", layout.before(item), previous, item.node, track.getMediaType(), item.start);
    if (item.mix)
    {
        _keep.formOf(*item.mix, difference);
        if (own.IsNull() && _readBack.isSame(*item.mix, difference))
            return writeWithAdditions(difference, [&](Listener& to) { _parts.transition(to, *item.mix); });
        Value object = _parts.value([&](Listener& to) { _parts.transition(to, *item.mix); });
        applyDifference(object, difference, allocator());
        _keep.describeDifference(own, *item.mix, *_keep.read(object, *item.mix, 0, 0), object);
        setOwn(object, std::move(own));
        return _out.value(object);
    }
    const Trim trim{headBehind(mixBefore), tailBefore(mixBehind)};
    const DmSegmentNode& segment = *item.segment;
    const Form form = _keep.formOf(segment, difference);
    const auto* const container =
        segment.whatIs() == DM_CONTAINER_NODE ? static_cast<const DmContainerNode*>(&segment) : nullptr;
    const auto describeSegment = [&](Listener& to)
    {
        if (container)
            _parts.container(to, *container, trim, form, item.length);
        else
            _parts.segment(to, segment, trim, form, item.length);
    };
    std::string madeUp;
    if (own.IsNull() && _readBack.isSame(segment, trim, item.length, difference))
    {
        madeUp = stage.ids.make(segment);
        const std::string id = dmUtf8(segment.getSegmentId());
        if (madeUp == id)
            return writeWithAdditions(difference, describeSegment);
    }
    Value object = _parts.value(describeSegment);
    applyDifference(object, difference, allocator());
    if (segment.getMuted() && !stage.isOff)
        _parts.set(object, "enabled", Value(false));
    double inside = 0;
    if (container && container->getComposition())
    {
        const DmCompositionNode& nested = *container->getComposition();
        const DM::FrameCodeModes mode = modeOf(nested);
        const double fps = mode == DM::FCM_NOT_DEFINED ? _items.fps() : DM::FcmUtil::getDoubleFPS(mode);
        inside = lengthOf(nested, originOf(nested)) * _items.fps() / fps;
    }
    const CoSharedPtr<DmTreeNode> readNode = _keep.read(object, segment, inside, 0);
    auto& read = static_cast<DmSegmentNode&>(*readNode);
    if (stage.isOff && read.whatIs() != DM_GAP_NODE)
        require(read.setMuted(true));
    require(read.setRelIn(read.getRelIn() + headOf(read, trim)));
    require(read.setRecLength(read.getRecLength() - trim.in - trim.out));
    setText(read, DmSegmentNode::SegmentId, madeUp.empty() ? stage.ids.make(read) : madeUp);
    stage.ids.take(dmUtf8(segment.getSegmentId()));
    _keep.describeDifference(own, segment, read, object);
    if (container)
        return this->container(*container, std::move(object), std::move(own), form);
    setOwn(object, std::move(own));
    _out.value(object);
}

void Maker::container(const DmContainerNode& node, Value object, Value own, const Form& form)
{
    const DmCompositionNode* const nested = node.getComposition();
    if (!nested || _depth >= deepestNesting)
    {
        if (nested)
            lose(tooDeep, &node);
        setOwn(object, std::move(own));
        return write(object, "children", [] {});
    }
    const DM::FrameCodeModes outer = _items.fcm();
    const DM::FrameCodeModes mode = modeOf(*nested) == DM::FCM_NOT_DEFINED ? outer : modeOf(*nested);
    if (mode != outer)
        add(own, "mode", _parts.string(DM::FcmUtil::getFCMString(mode)));
    const double rate = _items.rate();
    if (mode != outer)
        _items.setMode(mode);
    Stage stage{*nested, originOf(*nested), {}, {}, mode};
    if (stage.origin != 0)
        add(own, "recordStart", Value(stage.origin));
    // As the reader makes it of the object.
    const std::string_view name = textOf(&object, "name");
    const auto read =
        orBadAlloc(DmCompositionNode::create(toDmString(name.empty() ? "untitled" : name), _items.fcmText(), {}));
    require(read->setIsContainerComp(true));
    require(read->setCompLength(lengthOf(*nested, stage.origin)));
    const bool isOfTrack = !form.schema.empty();
    for (int i = nested->getNbChildren() - 1; i >= 0; --i)
        if (const auto* const track = dynamic_cast<const DmTrackNode*>(nested->getChild(i));
            track && track->getMediaType() == DM_MEDIA_VIDEO)
            require(read->setPrimaryVideoTrackIndex(i));
    Value ofInside;
    _keep.describeDifference(ofInside, *nested, *read, Value(json::kObjectType));
    if (!ofInside.IsNull())
        add(own, "inside", std::move(ofInside));
    setOwn(object, std::move(own));
    letHaveChildren(object, *nested);
    ++_depth;
    write(object, "children",
          [&]
          {
              const auto* const only = dynamic_cast<const DmTrackNode*>(nested->getChild(0));
              if (!isOfTrack)
                  tracks(stage);
              else if (const int base = only ? baseLayerOf(*only) : -1; base >= 0)
                  layer(stage, *only, layoutOf(static_cast<const DmLayerNode&>(*only->getChild(base)), stage.origin));
          });
    --_depth;
    _items.setMode(outer);
    _items.setRate(rate);
}

} // namespace

bool writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Sink& sink, Report& report)
{
    if (root.getNbChildren() == 0)
    {
        report.add("DM701", Report::Error, 0, "the document holds no composition");
        return false;
    }
    try
    {
        JsonText text(sink);
        Maker(fcm, text, report).root(root);
        return text.finish() && !report.hasErrors();
    }
    catch (...)
    {
        report.addException();
    }
    return false;
}

namespace
{

/// What stands on the layers of a document, without what is inside containers.
std::size_t elementsOf(const DmTreeNode& node)
{
    const auto count = static_cast<std::size_t>(node.getNbChildren());
    if (node.whatIs() == DM_LAYER_NODE)
        return count;
    std::size_t elements = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (const DmTreeNode* const child = node.getChild(static_cast<int>(i)))
            elements += elementsOf(*child);
    return elements;
}

/// Memory that is reserved and not written costs nothing, a copy of the text does, and so does each first touch of a
/// page of the copy: the text is made as long as the document will be. A large one asks for large pages, whose faults
/// are few.
class TextSink final : public Sink
{
public:
    explicit TextSink(std::size_t expected) { grow(expected); }

    bool write(std::string_view bytes) override
    {
        if (text.capacity() - text.size() < bytes.size())
            grow(4 * (text.size() + bytes.size()));
        text += bytes;
        return true;
    }
    std::string text;

private:
    void grow(std::size_t size)
    {
        constexpr std::size_t large = std::size_t{1} << 22;
        text.reserve(size);
        if (size < large)
            return;
        const auto page = static_cast<std::uintptr_t>(getpagesize());
        const auto begin = reinterpret_cast<std::uintptr_t>(text.data());
        const std::uintptr_t first = (begin + page - 1) / page * page;
        static_cast<void>(madvise(reinterpret_cast<void*>(first), begin + size - first, MADV_HUGEPAGE));
    }
};

} // namespace

std::optional<std::string> writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    constexpr std::size_t usualSize = 2048; ///< of an element; beside a clip mostly stands a cut, which is not written
    try
    {
        TextSink sink(usualSize * (elementsOf(root) + 1));
        if (writeOtio(root, fcm, sink, report))
            return std::move(sink.text);
    }
    catch (...)
    {
        report.addException();
    }
    return std::nullopt;
}

} // namespace interchange
