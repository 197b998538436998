#include "dmShotCompareImp.h"

#include "dmEffectSettings.h"
#include "dmMaterial.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTimewarpSettings.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace dmCompare
{
namespace
{

const DmTimewarpSettings* warpOf(const DmSegmentNode& segment)
{
    for (const auto& effect : segment.getEffects())
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get()); warp && !warp->isMuted())
            return warp;
    return nullptr;
}

std::string speedText(const Shot& shot)
{
    if (shot.isKeyed)
        return "keyed";
    if (shot.speed == 0.0)
        return "freeze";
    char text[40];
    std::snprintf(text, sizeof text, "%.6g%%", shot.speed * 100.0);
    return text;
}

std::string effectName(const DmPropertySet* effect)
{
    const auto* const settings = dynamic_cast<const DmEffectSettings*>(effect);
    return settings ? dmUtf8(settings->getName()) : "nothing";
}

/// `channelList["gain"]/keyFrameList[2]/value` is "gain key at 2 value".
std::string parameterText(std::string path)
{
    for (const std::string_view list : {"attributList[\"", "channelList[\""})
        if (path.starts_with(list))
        {
            const std::size_t end = path.find("\"]", list.size());
            std::string rest = end == path.npos ? "" : path.substr(std::min(path.size(), end + 3));
            if (rest == "value")
                rest.clear();
            constexpr std::string_view keys = "keyFrameList[";
            if (rest.starts_with(keys))
            {
                const std::size_t close = rest.find(']');
                const std::string tail = close + 2 <= rest.size() ? rest.substr(close + 2) : "";
                rest = "key at " + rest.substr(keys.size(), close - keys.size()) + (tail.empty() ? "" : " " + tail);
            }
            return path.substr(list.size(), end - list.size()) + (rest.empty() ? "" : ' ' + rest);
        }
    return path;
}

bool isReplaced(const Shot& a, const Shot& b)
{
    const Agreement agreement = agree(a.medium, b.medium);
    return agreement == Agreement::No || a.node->whatIs() != b.node->whatIs() ||
           (a.medium.path != 0 && a.medium.path == b.medium.path && a.medium.version != b.medium.version);
}

std::string kindOf(const DmTransitionNode& node)
{
    const auto* const effect = dynamic_cast<const DmTrxEffectNode*>(&node);
    return effect && effect->getEffect() ? dmUtf8(effect->getEffect()->getName()) : dmUtf8(node.getPSetName());
}

} // namespace

void ShotCompare::compare(const Shot& a, const Shot& b, const Overlaps& overlaps)
{
    const bool isSamePiece = a.node == b.node;
    compareEdges(a, b, overlaps);
    if (isSamePiece)
        return;
    if (isReplaced(a, b))
    {
        DmChange& change = _changes.addOf(Kind::Replaced, a, &b, 0.0);
        change.was = mediumName(*a.node);
        change.became = mediumName(*b.node);
    }
    if (a.node->getName().view() != b.node->getName().view())
    {
        DmChange& change = _changes.addOf(Kind::Renamed, a, &b, 0.0);
        change.was = dmUtf8(a.node->getName());
        change.became = dmUtf8(b.node->getName());
    }
    if (a.node->getMuted() != b.node->getMuted())
    {
        DmChange& change = _changes.addOf(Kind::Muted, a, &b, 0.0);
        change.was = a.node->getMuted() ? "muted" : "heard";
        change.became = b.node->getMuted() ? "muted" : "heard";
    }
    compareEffects(a, b);
    const auto record = [&](const DmCueMark&, bool isOld)
    { return isOld ? _changes.before().label(a.in) : _changes.after().label(b.in); };
    _changes.compareMarks(a.node->getSegmentMarks(), b.node->getSegmentMarks(), _changes.after().pathOf(b),
                          _changes.after().laneOf(b).name, clipName(*b.node), record, marksBy(a, b));
    compareRest(a, b);
}

/// Marks count from where the file says that the material begins: a list knows no more of it than what plays.
double ShotCompare::marksBy(const Shot& a, const Shot& b) const
{
    const DmMaterial old = dmMaterialOf(*a.node, _changes.before().fcm());
    const DmMaterial now = dmMaterialOf(*b.node, _changes.after().fcm());
    return (old.known && now.known) || _changes.toOld() != 1.0 ? 0.0 : now.begin - old.begin;
}

void ShotCompare::compareEdges(const Shot& a, const Shot& b, const Overlaps& overlaps)
{
    const Edges edges = _changes.edgesOf(a, b);
    if (edges.isSlip)
    {
        _changes.addOf(Kind::Slipped, a, &b, edges.head);
        return;
    }
    // How far apart a point, or a transition, and the other lie.
    const auto apart = [](double oldLow, double oldHigh, double newLow, double newHigh) {
        return newLow > oldHigh ? newLow - oldHigh : newHigh < oldLow ? newHigh - oldLow : 0.0;
    };
    double head = apart(-a.lengthInFront(), 0.0, edges.head - b.lengthInFront() * _changes.toOld(), edges.head);
    double tail = apart(0.0, a.lengthBehind(), edges.tail, edges.tail + b.lengthBehind() * _changes.toOld());
    if (overlaps.trimsHead)
        head = edges.head;
    if (overlaps.trimsTail)
        tail = edges.tail;
    if (!_changes.isNothing(head))
        _changes.addOf(Kind::Head, a, &b, head);
    if (!_changes.isNothing(tail))
        _changes.addOf(Kind::Tail, a, &b, tail);
}

void ShotCompare::compareEffects(const Shot& a, const Shot& b)
{
    const bool speedChanged = std::abs(a.speed - b.speed) > 1e-9 || a.isKeyed != b.isKeyed;
    if (speedChanged)
    {
        DmChange& change = _changes.addOf(Kind::Speed, a, &b, 0.0);
        change.was = speedText(a);
        change.became = speedText(b);
    }
    std::map<std::wstring, std::vector<const DmPropertySet*>> left;
    const auto isTold = [&](const Shot& shot, const DmPropertySet* effect)
    { return speedChanged && !a.isKeyed && !b.isKeyed && effect == warpOf(*shot.node); };
    const auto className = [](const DmPropertySet* effect)
    { return effect ? std::wstring(effect->getPSetName().view()) : std::wstring(); };
    const auto& now = b.node->getEffects();
    for (auto effect = now.rbegin(); effect != now.rend(); ++effect)
        if (!isTold(b, effect->get()))
            left[className(effect->get())].push_back(effect->get());
    for (const auto& effect : a.node->getEffects())
    {
        if (isTold(a, effect.get()))
            continue;
        std::vector<const DmPropertySet*>& same = left[className(effect.get())];
        if (same.empty())
        {
            _changes.addOf(Kind::EffectRemoved, a, &b, 0.0).property = effectName(effect.get());
            continue;
        }
        compareEffect(a, b, effect.get(), same.back(), Kind::EffectChanged);
        same.pop_back();
    }
    for (const auto& effect : now)
        if (const auto found = left.find(className(effect.get()));
            found != left.end() && std::ranges::find(found->second, effect.get()) != found->second.end())
            _changes.addOf(Kind::EffectAdded, a, &b, 0.0).property = effectName(effect.get());
}

void ShotCompare::compareEffect(const Shot& a, const Shot& b, const DmPropertySet* one, const DmPropertySet* other,
                                Kind kind)
{
    if (!one || !other || one == other)
        return;
    // A key counts from the shot's first frame: it stays on its picture when the head is trimmed.
    std::vector<Difference> found;
    std::vector<Difference> onPicture;
    const auto into = [](std::vector<Difference>& to)
    { return Tell([&to](const Difference& difference) { to.push_back(difference); }); };
    _changes.compare(*one, *other, {}, {}, into(found));
    const Edges edges = _changes.edgesOf(a, b);
    if (!found.empty() && !edges.isSlip && edges.head != 0.0)
    {
        _changes.compare(*one, *other, {}, {}, into(onPicture), -edges.head);
        if (onPicture.size() < found.size())
            found = std::move(onPicture);
    }
    for (const Difference& difference : found)
    {
        DmChange& change = _changes.addOf(kind, a, &b, 0.0);
        change.property = effectName(other) + ' ' + parameterText(difference.path);
        change.was = difference.was;
        change.became = difference.became;
    }
}

/// All of a segment that has no word of its own.
void ShotCompare::compareRest(const Shot& a, const Shot& b)
{
    const bool replaced = isReplaced(a, b);
    const bool otherId = _changes.countsShots() || isMadeUp(a.node->getSegmentId()) || isMadeUp(b.node->getSegmentId());
    const bool leftovers = haveLeftovers(*a.node, *b.node);
    const std::string path = _changes.after().pathOf(b);
    const std::string track = _changes.after().laneOf(b).name;
    if (a.node->getPSetName() != b.node->getPSetName())
        return;
    const bool otherFormats = areOfOtherFormats(*a.node, *b.node);
    const Tell sink = [&](const Difference& difference)
    {
        if (otherFormats && isFormatsOwn(difference))
            return;
        DmChange& change = _changes.addOf(Kind::Property, a, &b, 0.0);
        change.property = difference.path;
        change.was = difference.was;
        change.became = difference.became;
    };
    const bool told = a.plays() && b.plays();
    const LeftOut segment = [&](int index)
    {
        switch (index)
        {
        case DmSegmentNode::Name:
        case DmSegmentNode::RecIn:
        case DmSegmentNode::RecLength:
        case DmSegmentNode::Effects:
        case DmSegmentNode::SegmentMarks:
        case DmSegmentNode::Muted:
            return true;
        case DmSegmentNode::BaseBlob:
            return leftovers;
        case DmSegmentNode::SegmentId:
            return otherId;
        case DmSegmentNode::RelIn:
            return told;
        case DmSourceNode::SrcInput:
            return a.node->whatIs() == DM_SOURCE_NODE;
        default:
            return false;
        }
    };
    _changes.compare(*a.node, *b.node, {}, segment, sink);
    if (a.node->whatIs() != DM_SOURCE_NODE || replaced)
        return;
    const auto* const one = static_cast<const DmSourceNode*>(a.node)->getSrcInput();
    const auto* const other = static_cast<const DmSourceNode*>(b.node)->getSrcInput();
    if (!one || !other)
    {
        if (one != other)
            sink({"srcInput", one ? dmUtf8(one->getPSetName()) : "", other ? dmUtf8(other->getPSetName()) : ""});
        return;
    }
    const DmMaterial old = dmMaterialOf(*a.node, _changes.before().fcm());
    const DmMaterial now = dmMaterialOf(*b.node, _changes.after().fcm());
    const auto* const oneMedia = dynamic_cast<const DmSourceNode::MediaInput*>(one);
    const auto* const otherMedia = dynamic_cast<const DmSourceNode::MediaInput*>(other);
    const bool isMedia = oneMedia && otherMedia;
    const bool otherStart = isMedia && oneMedia->getSrcIn() != otherMedia->getSrcIn();
    // A length that goes as far behind what plays as before says what a list knows: what is played.
    const double handle = now.begin + now.length - b.srcOut - (old.begin + old.length - a.srcOut);
    const LeftOut input = [&](int index)
    {
        if (index == DmSourceNode::Input::SrcLength)
            return !old.known || !now.known || std::abs(handle) < 0.5;
        return isMedia && ((told && index == DmSourceNode::MediaInput::SrcIn) ||
                           (otherStart && index == DmSourceNode::MediaInput::SrcInStr));
    };
    const Tell inputSink = [&](const Difference& difference)
    {
        // Of shots that a list's reader called, what one list does not say nobody changed.
        const auto isSilent = [](const std::string& text) { return text.empty() || text == "0" || text == "Unknown"; };
        const bool unsaid = otherId && (isSilent(difference.was) || isSilent(difference.became));
        const bool isExtra = difference.path.find("extraDataDictionary") != std::string::npos;
        if (!unsaid && (!isExtra || old.known || now.known))
            sink(difference);
    };
    _changes.compare(*one, *other, "srcInput", input, inputSink);
}

void ShotCompare::compareSeam(const Shot& a, const Shot& b, const DmTransitionNode* was, const DmTransitionNode* is,
                              double offset)
{
    if (!was && !is)
        return;
    const auto at = [&](DmChange& change)
    {
        if (was)
            change.oldRecord = _changes.before().composition().getLabelTime(was->getRecIn());
        change.newRecord = is ? _changes.after().composition().getLabelTime(is->getRecIn()) : change.oldRecord;
        if (!was)
            change.oldRecord = change.newRecord * _changes.toOld();
        change.oldLabel = was ? _changes.before().label(change.oldRecord) : "";
        change.newLabel = is ? _changes.after().label(change.newRecord) : "";
    };
    if (!was || !is)
    {
        DmChange& change = _changes.addOf(was ? Kind::TransitionRemoved : Kind::TransitionAdded, a, &b,
                                          was ? was->getRecLength() : is->getRecLength());
        change.property = kindOf(was ? *was : *is);
        at(change);
        return;
    }
    const double longer = is->getRecLength() * _changes.toOld() - was->getRecLength();
    const auto note = [&](const char* what, std::string old, std::string now, double frames)
    {
        DmChange& change = _changes.addOf(Kind::TransitionChanged, a, &b, frames);
        change.property = what;
        change.was = std::move(old);
        change.became = std::move(now);
        at(change);
    };
    if (!_changes.isNothing(longer))
        note("length", framesText(was->getRecLength()), framesText(was->getRecLength() + longer), longer);
    else if (!_changes.isNothing(offset))
        note("place on the cut", "", "", offset);
    if (was == is)
        return;
    if (kindOf(*was) != kindOf(*is))
    {
        note("kind", kindOf(*was), kindOf(*is), 0.0);
        return;
    }
    const auto* const one = dynamic_cast<const DmTrxEffectNode*>(was);
    const auto* const other = dynamic_cast<const DmTrxEffectNode*>(is);
    const Tell sink = [&](const Difference& difference)
    {
        if (difference.path == "length" || difference.path.ends_with("/length"))
            return; // said already
        note(difference.path.c_str(), difference.was, difference.became, 0.0);
    };
    if (one && other && one->getEffect() && other->getEffect())
    {
        const Tell parameter = [&](const Difference& difference)
        {
            Difference named = difference;
            named.path = parameterText(difference.path);
            sink(named);
        };
        _changes.compare(*one->getEffect(), *other->getEffect(), {}, {}, parameter);
    }
    const LeftOut leftOut = [](int index)
    {
        return index == DmTransitionNode::RecIn || index == DmTransitionNode::RecLength ||
               index == DmTransitionNode::BaseBlob || index == DmTrxEffectNode::Effect;
    };
    _changes.compare(*was, *is, {}, leftOut, sink);
}

} // namespace dmCompare
