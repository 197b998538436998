#include "dmCutImp.h"

#include "dmContainerNode.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmSourceInfo.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "tuLabel.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace dmCompare
{
namespace
{

constexpr std::uint64_t hashSeed = 0xcbf29ce484222325U;

wchar_t lower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? c + (L'a' - L'A') : c == L'\\' ? L'/' : c;
}
bool isDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}
bool isAlphanumeric(wchar_t c)
{
    return isDigit(c) || (lower(c) >= L'a' && lower(c) <= L'z') || c >= 0x80;
}

/// How many characters a version takes ("v003", "V3") that begins at `at`; 0 where none does.
std::size_t versionAt(std::wstring_view text, std::size_t at)
{
    if (lower(text[at]) != L'v' || (at > 0 && isAlphanumeric(text[at - 1])))
        return 0;
    std::size_t end = at + 1;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    const bool isOne = end > at + 1 && (end == text.size() || !isAlphanumeric(text[end]));
    return isOne ? end - at : 0;
}

/// Of a text in lower case, the version left out where that is asked for; 0 for the empty one.
std::uint64_t hashOfMedium(std::wstring_view text, bool withVersion)
{
    std::uint64_t hash = text.empty() ? 0 : hashSeed;
    for (std::size_t i = 0; i < text.size();)
    {
        if (const std::size_t version = withVersion ? 0 : versionAt(text, i); version != 0)
        {
            i += version;
            continue;
        }
        hash = (hash ^ static_cast<std::uint64_t>(lower(text[i++]))) * 0x100000001b3U;
    }
    return hash;
}

std::wstring_view baseOf(std::wstring_view path)
{
    if (const std::size_t slash = path.find_last_of(L"/\\"); slash != path.npos)
        path.remove_prefix(slash + 1);
    if (const std::size_t dot = path.rfind(L'.'); dot != path.npos && dot > 0)
        path.remove_suffix(path.size() - dot);
    return path;
}

const DmSourceNode::Input* inputOf(const DmSegmentNode& segment)
{
    if (segment.whatIs() != DM_SOURCE_NODE)
        return nullptr;
    return static_cast<const DmSourceNode&>(segment).getSrcInput();
}

struct MediumTexts
{
    std::wstring_view path;
    std::wstring_view reel;
};

MediumTexts textsOf(const DmSegmentNode& segment)
{
    MediumTexts texts;
    const DmSourceNode::Input* const input = inputOf(segment);
    if (!input)
    {
        if (const DmCompositionNode* const nested = segment.getNestedComposition())
            texts.path = nested->getName().view();
        return texts;
    }
    texts.reel = dmReelOf(*input).view();
    if (const DmSourceInfo* const info = input->getSrcInfo())
        texts.path = info->getPath().view();
    if (const auto* const relinked = dynamic_cast<const DmSourceNode::RelinkedInput*>(input))
        texts.path = relinked->getSourceName().view();
    else if (const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input))
        texts.path = generated->getInputType().view();
    if (texts.path.empty() && texts.reel.empty())
        texts.path = input->getName().view();
    return texts;
}

} // namespace

std::uint64_t hashOf(std::wstring_view text)
{
    return text.empty() ? 0 : std::hash<std::wstring_view>()(text);
}

Agreement agree(const Medium& a, const Medium& b)
{
    bool compared = false;
    const auto same = [&compared](std::uint64_t one, std::uint64_t other)
    {
        compared = compared || (one != 0 && other != 0);
        return one != 0 && one == other;
    };
    if (same(a.path, b.path) || same(a.reel, b.reel) || same(a.base, b.base) || same(a.reel, b.base) ||
        same(a.base, b.reel))
        return Agreement::Yes;
    return compared ? Agreement::No : Agreement::Unknown;
}

bool isMadeUp(const DmString& id)
{
    const std::wstring_view text = id.view();
    std::size_t at = 0;
    while (at < text.size() && isDigit(text[at]))
        ++at;
    if (at > 0 && at + 1 < text.size() && text[at] == L'-' && (text[at + 1] == L'A' || text[at + 1] == L'V'))
        return true;
    const std::size_t sign = text.rfind(L'@');
    if (sign == text.npos || sign + 1 == text.size())
        return false;
    at = sign + (text[sign + 1] == L'-' ? 2 : 1);
    const std::size_t digits = at;
    while (at < text.size() && isDigit(text[at]))
        ++at;
    return at > digits && (at == text.size() || text[at] == L'/' || text[at] == L'#');
}

std::string clipName(const DmSegmentNode& segment)
{
    if (!segment.getName().empty() && !(segment.getName() == L"untitled"))
        return dmUtf8(segment.getName());
    if (!segment.getShotName().empty())
        return dmUtf8(segment.getShotName());
    const std::string medium = mediumName(segment);
    return medium.empty() ? dmUtf8(segment.getName()) : medium;
}

std::string mediumName(const DmSegmentNode& segment)
{
    const MediumTexts texts = textsOf(segment);
    return dmUtf8(texts.path.empty() ? texts.reel : texts.path);
}

Shot shotOf(const DmSegmentNode& segment, DM::FrameCodeModes fcm)
{
    Shot shot;
    shot.node = &segment;
    shot.id = hashOf(segment.getSegmentId().view());
    shot.name = segment.getName() == L"untitled" ? 0 : hashOf(segment.getName().view());
    const MediumTexts texts = textsOf(segment);
    shot.medium = {hashOfMedium(texts.path, false), hashOfMedium(baseOf(texts.path), false),
                   hashOfMedium(texts.reel, false), hashOfMedium(texts.path, true)};
    // Picture and sound of one medium are two shots, whatever both are called.
    if (segment.getMediaType() == DM_MEDIA_AUDIO)
        for (std::uint64_t* const hash :
             {&shot.name, &shot.medium.path, &shot.medium.base, &shot.medium.reel, &shot.medium.version})
            *hash = *hash == 0 ? 0 : mixed(*hash, DM_MEDIA_AUDIO);
    const DmPlayed played(segment, fcm);
    const DmMaterial material = dmMaterialOf(segment, fcm);
    shot.rate = played.rate();
    shot.speed = played.speed();
    shot.isKeyed = played.motion() == DmPlayed::Motion::Keyed;
    if (!material.isEndless() && played.motion() != DmPlayed::Motion::None)
    {
        shot.srcIn = material.begin + played.begin();
        shot.srcOut = material.begin + played.end();
        if (!std::isfinite(shot.srcIn) || !std::isfinite(shot.srcOut))
            shot.srcIn = shot.srcOut = 0.0;
    }
    return shot;
}

std::string laneName(const DmTrackNode& track, int layerAt)
{
    std::string name = track.getName() == L"untitled" ? "" : dmUtf8(track.getName());
    if (name.empty())
        name = (track.getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(track.getTrackNum());
    return layerAt == 0 ? name : name + '.' + std::to_string(layerAt + 1);
}

/// Takes a layer's elements in their order.
class Cut::Elements
{
public:
    Elements(Cut& cut, Lane& lane)
        : _cut(cut)
        , _lane(lane)
    {
    }

    void take(const DmTreeNode* node, double recIn, int element, bool isShared)
    {
        const DmTransitionNode* const transition = node ? node->asTransition() : nullptr;
        const DmSegmentNode* const segment = node ? node->asSegment() : nullptr;
        const double in = recIn + _cut._toLabel;
        if (transition && _isBehindShot && transition->getRecLength() > 0.0)
        {
            _cut._shots.back().behind = transition;
            _cut._shots.back().behindAt = in;
        }
        _isBehindShot = false;
        if (segment)
            _lane.end = std::max(_lane.end, recIn + segment->getRecLength());
        if (!segment && !transition)
            _lane.others.push_back(node ? dmUtf8(node->getPSetName()) : "nothing");
        if (segment && node->whatIs() != DM_GAP_NODE)
        {
            Shot& shot = _cut._shots.emplace_back(shotOf(*segment, _cut._fcm));
            shot.lane = static_cast<int>(_cut._lanes.size());
            shot.element = element;
            shot.in = in;
            shot.out = in + segment->getRecLength();
            shot.inFront = _before;
            shot.inFrontAt = _beforeAt;
            shot.isShared = isShared;
            shot.leftOut = std::exchange(_leftOut, 0);
            _isBehindShot = true;
        }
        _before = transition && transition->getRecLength() > 0.0 ? transition : nullptr;
        _beforeAt = in;
    }
    /// Of a range that is shared, what stands at its ends: up to its second shot and the element behind that, and from
    /// the element in front of its last shot. The first one may be told to have moved, and the row of those that are
    /// shifted by that begins with the second.
    void takeEnds(const DmRuns& runs, const LayerSource::Range& range)
    {
        const int last = range.first + range.count;
        int headEnd = range.first;
        for (int shots = 0; shots < 2 && headEnd < last; ++headEnd)
            shots += DmRuns::Run::isShot(runs.at(headEnd).node) ? 1 : 0;
        headEnd = std::min(headEnd + 1, last);
        int tail = last;
        while (tail > headEnd && !DmRuns::Run::isShot(runs.at(--tail).node))
            ;
        tail = std::max(tail - 1, headEnd);
        const std::size_t before = _cut._shots.size();
        take(runs, range.first, headEnd, true);
        const std::size_t between = _cut._shots.size();
        int behind = 0;
        runs.forEach(tail, last,
                     [&](const DmRuns::Element& each) { behind += DmRuns::Run::isShot(each.node) ? 1 : 0; });
        if (tail > headEnd)
            _before = nullptr;
        _isBehindShot = _isBehindShot && tail == headEnd;
        _leftOut = range.shots - static_cast<int>(between - before) - behind;
        take(runs, tail, last, true);
    }
    void take(const DmRuns& runs, int first, int last, bool isShared)
    {
        int element = first;
        runs.forEach(first, last,
                     [&](const DmRuns::Element& each) { take(each.node, each.recIn(), element++, isShared); });
    }

private:
    Cut& _cut;
    Lane& _lane;
    const DmTransitionNode* _before = nullptr;
    double _beforeAt = 0.0;
    bool _isBehindShot = false;
    int _leftOut = 0;
};

Cut::Cut(const DmCompositionNode& composition, std::string path, const LayerSources* sources)
    : _composition(&composition)
    , _path(std::move(path))
    , _fcm(dmModeOrDefault(dmFcmFromText(composition.getFCM())))
    , _toLabel(composition.getLabelTime(0.0))
{
    for (int t = 0; t < composition.getNbChildren(); ++t)
    {
        const DmTreeNode* const track = composition.getChild(t);
        if (!track || track->whatIs() != DM_TRACK_NODE)
            continue;
        for (int l = 0; l < track->getNbChildren(); ++l)
        {
            const DmTreeNode* const layer = track->getChild(l);
            if (!layer || layer->whatIs() != DM_LAYER_NODE)
                continue;
            const LayerSource* source = nullptr;
            if (sources)
                if (const auto found = sources->find({t, l}); found != sources->end())
                    source = &found->second;
            addLayer(static_cast<const DmTrackNode&>(*track), static_cast<const DmLayerNode&>(*layer), t, l, source);
        }
    }
}

void Cut::addLayer(const DmTrackNode& track, const DmLayerNode& layer, int trackAt, int layerAt,
                   const LayerSource* source)
{
    Lane lane{&track,
              &layer,
              trackAt,
              layerAt,
              static_cast<int>(_shots.size()),
              0,
              layer.getLayerStartTC() + _toLabel,
              layer.getLayerStartTC(),
              laneName(track, layerAt),
              {}};
    Elements elements(*this, lane);
    int at = 0;
    if (source)
    {
        for (const LayerSource::Range& range : source->shared)
        {
            elements.take(*source->runs, at, range.first, false);
            elements.takeEnds(*source->runs, range);
            at = range.first + range.count;
        }
        elements.take(*source->runs, at, source->runs->count(), false);
    }
    else
        for (const DmTreeNode* const node : layer.getChildren())
            elements.take(node, dmStoredRecIn(node), at++, false);
    lane.last = static_cast<int>(_shots.size());
    _lanes.push_back(std::move(lane));
}

std::string Cut::pathOf(const Lane& lane, int element) const
{
    const auto step = [](int position) { return "children[" + std::to_string(position) + ']'; };
    std::string path = _path.empty() ? "" : _path + '/';
    path += step(lane.trackAt) + '/' + step(lane.layerAt);
    return element < 0 ? path : path + '/' + step(element);
}

std::string Cut::pathOf(const Shot& shot) const
{
    return pathOf(laneOf(shot), shot.element);
}

std::string Cut::label(double time) const
{
    return std::isfinite(time) ? DM::TimeLabel::text(DM::TimeUnit(time), _fcm) : std::string();
}

namespace
{

void addCuts(const DmTreeNode& node, const std::string& path, int depth, std::vector<Cut>& cuts)
{
    constexpr int deepest = 512;
    if (node.whatIs() == DM_COMPOSITION_NODE)
        cuts.emplace_back(static_cast<const DmCompositionNode&>(node), path);
    if ((node.whatIs() != DM_ROOT_NODE && node.whatIs() != DM_REEL_NODE) || depth > deepest)
        return;
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const DmTreeNode* const child = node.getChild(i))
            addCuts(*child, path + "/children/" + std::to_string(i) + '/' + dmUtf8(child->getPSetName()), depth + 1,
                    cuts);
}

} // namespace

std::vector<Cut> cutsOf(const DmRoot& root)
{
    std::vector<Cut> cuts;
    addCuts(root, "/DmRoot", 0, cuts);
    return cuts;
}

} // namespace dmCompare
