#include "icOtioWriter.h"

#include "icOtioParts.h"
#include "icText.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace interchange
{

using namespace otio;

namespace
{

constexpr Loss furtherLayer{"DM726", "left out"};
constexpr Loss otherNode{"DM728", "left out"};
constexpr Loss tooDeep{"DM729", "written without what is inside"};

/// The frame-code mode that a composition names.
DM::FrameCodeModes modeOf(const DmCompositionNode& node)
{
    const DM::FrameCodeModes own = dmFcmFromText(node.getFCM());
    return own != DM::FCM_NOT_DEFINED ? own : dmFcmFromText(node.getStartTcFcm());
}

class Maker
{
public:
    /// `fcm`: of compositions that name no mode.
    Maker(DM::FrameCodeModes fcm, json::Document& document, Report& report)
        : _fcm(fcm)
        , _report(report)
        , _parts(document, report)
    {
    }

    Value root(const DmRoot& root);

private:
    Value kept(const DmTreeNode& node) { return keptOf(node, _parts.allocator()); }
    Value collection(const DmTreeNode& node);
    Value composition(const DmCompositionNode& node);
    Value timeline(Value before, const DmCompositionNode& node, Value children);
    bool chooseMode(const DmCompositionNode& node);

    Value tracks(const DmCompositionNode& node);
    Value track(const DmTrackNode& node);
    Value elements(const DmTrackNode& node);
    Value element(const DmLayerNode& layer, int index);
    Value transition(const DmTrxEffectNode& node, const DmTreeNode* before, const DmTreeNode* behind);
    Value segment(const DmSegmentNode& node, Trim trim);
    /// The children of a container; `length` becomes what it holds, in frames of what is around it.
    Value inside(const DmCompositionNode& node, bool isOfTrack, double& length);
    void setChildren(Value& object, Value children, bool isKept);

    DM::FrameCodeModes _fcm;
    Report& _report;
    Parts _parts;
    int _depth = 0;
};

Value Maker::root(const DmRoot& root)
{
    const DmTreeNode* const only = root.getNbChildren() == 1 && kept(root).IsNull() ? root.getChild(0) : nullptr;
    if (const auto* const composition = dynamic_cast<const DmCompositionNode*>(only))
        return this->composition(*composition);
    return collection(only && only->whatIs() == DM_REEL_NODE ? *only : static_cast<const DmTreeNode&>(root));
}

Value Maker::collection(const DmTreeNode& node)
{
    Value made = kept(node);
    const bool isKept = made.IsObject();
    if (!isKept)
        made = _parts.object("SerializableCollection.1");
    _parts.setName(made, node);
    Value children(json::kArrayType);
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        const DmTreeNode* const child = node.getChild(i);
        if (const auto* const each = dynamic_cast<const DmCompositionNode*>(child))
            children.PushBack(composition(*each), _parts.allocator());
        else if (child && child->whatIs() == DM_REEL_NODE && node.whatIs() == DM_ROOT_NODE)
            children.PushBack(collection(*child), _parts.allocator());
        else
            _report.lose(otherNode);
    }
    setChildren(made, std::move(children), isKept);
    return made;
}

void Maker::setChildren(Value& object, Value children, bool isKept)
{
    // An empty array is kept, and none stays none.
    if (!children.Empty() || !isKept)
        _parts.set(object, "children", std::move(children));
}

bool Maker::chooseMode(const DmCompositionNode& node)
{
    const DM::FrameCodeModes own = modeOf(node);
    const DM::FrameCodeModes fcm = own != DM::FCM_NOT_DEFINED ? own : _fcm;
    if (fcm == DM::FCM_NOT_DEFINED)
        _report.add(Report::Error, 0, "the composition names no frame-code mode, and no other was given");
    else
        _parts.items().setMode(fcm);
    return fcm != DM::FCM_NOT_DEFINED;
}

Value Maker::composition(const DmCompositionNode& node)
{
    if (!chooseMode(node))
        return {};
    Value made = kept(node);
    Value children = tracks(node);
    const std::string_view schema = schemaOf(&made);
    const bool isPlain = node.getStartTC() == 0 && node.getCueMarks().count() == 0;
    if (made.IsArray() && isPlain && children.Size() == 1)
    {
        // The only child stands for the composition, unless that has a name of its own.
        const DmString name = toDmString(textOf(&children[0], "name"));
        if (node.getName() == (name.empty() ? DmString(L"untitled") : name))
            return Value(std::move(children[0]));
    }
    if (schema == "Stack")
    {
        const double origin = -node.getStartTC();
        _parts.setName(made, node);
        _parts.setMarks(made, node.getCueMarks(), origin);
        setChildren(made, std::move(children), true);
        if (origin == 0)
            return made;
        Value outer = _parts.object("Timeline.1");
        _parts.setName(outer, node);
        _parts.set(outer, "global_start_time", _parts.time(node.getStartTC()));
        _parts.set(outer, "tracks", std::move(made));
        return outer;
    }
    // What was no timeline comes back as it was.
    if (made.IsObject() && schema != "Timeline" && children.Empty())
        return made;
    return timeline(schema == "Timeline" ? std::move(made) : Value(), node, std::move(children));
}

Value Maker::timeline(Value before, const DmCompositionNode& node, Value children)
{
    const bool isKept = before.IsObject();
    Value made = isKept ? std::move(before) : _parts.object("Timeline.1");
    _parts.setName(made, node);
    const Value* const start = member(&made, "global_start_time");
    if ((start ? _parts.items().frames(start) : 0) != node.getStartTC())
        _parts.set(made, "global_start_time", _parts.time(node.getStartTC()));
    _parts.setNotes(made, node);
    const bool hadStack = member(&made, "tracks") && made["tracks"].IsObject();
    if (isKept && !hadStack && children.Empty() && node.getCueMarks().count() == 0)
        return made;
    if (!hadStack)
    {
        _parts.set(made, "tracks", _parts.object("Stack.1"));
        _parts.set(made["tracks"], "name", _parts.string("tracks"));
    }
    Value& stack = made["tracks"];
    _parts.setMarks(stack, node.getCueMarks(), -node.getStartTC());
    setChildren(stack, std::move(children), hadStack);
    return made;
}

Value Maker::tracks(const DmCompositionNode& node)
{
    Value children(json::kArrayType);
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const auto* const each = dynamic_cast<const DmTrackNode*>(node.getChild(i)))
            children.PushBack(track(*each), _parts.allocator());
        else
            _report.lose(otherNode);
    return children;
}

Value Maker::track(const DmTrackNode& node)
{
    Value made = kept(node);
    Value children = elements(node);
    if (made.IsArray() && children.Size() == 1 && node.getName() == L"untitled")
        return Value(std::move(children[0]));
    const bool isKept = made.IsObject();
    if (!isKept)
        made = _parts.object("Track.1");
    _parts.setName(made, node);
    const bool isAudio = node.getMediaType() == DM_MEDIA_AUDIO;
    const std::string_view kind = textOf(&made, "kind");
    if (!isKept || (!kind.empty() && (kind == "Audio") != isAudio))
        _parts.set(made, "kind", _parts.string(isAudio ? "Audio" : "Video"));
    setChildren(made, std::move(children), isKept);
    return made;
}

Value Maker::elements(const DmTrackNode& node)
{
    Value children(json::kArrayType);
    const auto* const layer = dynamic_cast<const DmLayerNode*>(node.getChild(0));
    if (node.getNbChildren() > 1)
        _report.lose(furtherLayer);
    for (int i = 0; layer && i < layer->getNbChildren(); ++i)
        if (Value made = element(*layer, i); made.IsObject())
            children.PushBack(made, _parts.allocator());
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
    {
        if (!node || node->whatIs() != DM_CUT_NODE)
            _report.lose(otherNode);
        return {};
    }
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
    const bool isKept = made.IsObject();
    if (!isKept)
        made = _parts.object("Transition.1");
    _parts.setName(made, node);
    _parts.setMix(made, node, isKept);
    _parts.setNotes(made, node);
    // An offset that was cut to what stands beside it has left nothing of that.
    const auto setOffset = [&](const char* name, double now, const DmTreeNode* beside)
    {
        const double then = std::max(0.0, _parts.items().frames(member(&made, std::string_view(name))));
        const auto* const segment = dynamic_cast<const DmSegmentNode*>(beside);
        const bool isCut = then > now && (!segment || segment->getRecLength() == 0);
        if (!isKept || (!isCut && std::abs(then - now) > 1e-6))
            _parts.set(made, name, _parts.time(now));
    };
    setOffset("in_offset", node.getRelIn(), before);
    setOffset("out_offset", node.getRecLength() - node.getRelIn(), behind);
    return made;
}

Value Maker::inside(const DmCompositionNode& node, bool isOfTrack, double& length)
{
    const DM::FrameCodeModes outer = _parts.items().fcm();
    const DM::FrameCodeModes own = modeOf(node);
    if (own != DM::FCM_NOT_DEFINED)
        _parts.items().setMode(own);
    const double fps = _parts.items().fps();
    ++_depth;
    const auto* const only = dynamic_cast<const DmTrackNode*>(node.getChild(0));
    Value children = !isOfTrack ? tracks(node) : only ? elements(*only) : Value(json::kArrayType);
    --_depth;
    _parts.items().setMode(outer);
    length = node.getCompLength() * _parts.items().fps() / fps;
    return children;
}

Value Maker::segment(const DmSegmentNode& node, Trim trim)
{
    Value made = kept(node);
    const bool isKept = made.IsObject();
    const auto* const container = dynamic_cast<const DmContainerNode*>(&node);
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(&node))
    {
        if (!isKept)
            made = _parts.object("Clip.2");
        _parts.setSource(made, *source, isKept, trim);
        return made;
    }
    if (!isKept)
        made = _parts.object(container ? "Stack.1" : "Gap.1");
    Extent before;
    const DmCompositionNode* const composition = container ? container->getComposition() : nullptr;
    if (composition && _depth < deepestNesting)
    {
        double length = 0;
        Value children = inside(*composition, isTrack(schemaOf(&made)), length);
        before = _parts.items().extent(made, Items::Range{0, length});
        setChildren(made, std::move(children), isKept);
    }
    else if (container)
        _report.lose(tooDeep);
    else if (const auto played = _parts.items().range(member(&made, "source_range")))
        before = {0, played->start, played->length, 0};
    _parts.setRange(made, node, before, before.base, isKept, trim);
    _parts.setDress(made, node, before.base);
    return made;
}

} // namespace

std::optional<std::string> writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    if (root.getNbChildren() == 0)
    {
        report.add(Report::Error, 0, "the document holds no composition");
        return std::nullopt;
    }
    try
    {
        json::Document document;
        const Value made = Maker(fcm, document, report).root(root);
        if (!report.hasErrors())
            return toIndentedJson(made);
    }
    catch (...)
    {
        report.addException();
    }
    return std::nullopt;
}

} // namespace interchange
