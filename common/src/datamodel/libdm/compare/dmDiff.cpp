#include "dmDiff.h"

#include "dmCounterparts.h"
#include "dmCutCompareImp.h"

#include "dmReelNode.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmTimeline.h"
#include "dmTimelineImp.h"
#include "dmUtf8.h"

#include <algorithm>
#include <map>
#include <tuple>

using namespace dmCompare;

/// What edits left shared between two versions of a timeline.
struct DmDiff::Sharing
{
    const DmCompositionNode* before;
    const DmCompositionNode* after;
    LayerSources inBefore;
    LayerSources inAfter;

    void find(const DmTimelineValue& old, const DmTimelineValue& now);
};

/// Layers are told by the numbers that timelines give them, as long as they stand in one order.
void DmDiff::Sharing::find(const DmTimelineValue& old, const DmTimelineValue& now)
{
    const auto layersOf = [](const DmTimelineValue& value)
    {
        std::map<int, std::pair<int, int>> places;
        for (std::size_t t = 0; t < value.tracks.size(); ++t)
            for (std::size_t l = 0; l < value.tracks[t].layers.size(); ++l)
                if (value.tracks[t].layers[l].bare)
                    places[value.tracks[t].layers[l].number] = {int(t), int(l)};
        return places;
    };
    const std::map<int, std::pair<int, int>> olds = layersOf(old);
    for (const auto& [number, place] : layersOf(now))
    {
        const auto found = olds.find(number);
        if (found == olds.end())
            continue;
        const DmRuns& wasRuns = old.layer({found->second.first, found->second.second})->runs;
        const DmRuns& isRuns = now.layer({place.first, place.second})->runs;
        LayerSource was{&wasRuns, {}};
        LayerSource is{&isRuns, {}};
        for (const DmRuns::Shared& range : isRuns.sharedWith(wasRuns))
        {
            was.shared.push_back({range.otherFirst, range.count, range.shots});
            is.shared.push_back({range.first, range.count, range.shots});
        }
        if (is.shared.empty())
            continue;
        inBefore[found->second] = std::move(was);
        inAfter[place] = std::move(is);
    }
}

namespace
{

struct PlacedComposition
{
    const DmCompositionNode* node;
    std::string path;
};

bool holdsCompositions(const DmTreeNode& node)
{
    return node.whatIs() == DM_ROOT_NODE || node.whatIs() == DM_REEL_NODE;
}

/// Those of a tree, those inside containers aside. A reel that holds itself is met once.
void findCompositions(const DmTreeNode& node, const std::string& path, std::vector<const DmTreeNode*>& above,
                      std::vector<PlacedComposition>& found)
{
    if (node.whatIs() == DM_COMPOSITION_NODE)
        found.push_back({static_cast<const DmCompositionNode*>(&node), path});
    if (!holdsCompositions(node) || std::ranges::find(above, &node) != above.end())
        return;
    above.push_back(&node);
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const DmTreeNode* const child = node.getChild(i))
            findCompositions(*child, childPath(path, i), above, found);
    above.pop_back();
}

/// Roots, reels, and what else stands around compositions.
class Around
{
public:
    explicit Around(std::vector<DmChange>& changes)
        : _changes(changes)
    {
    }

    bool compare(const DmTreeNode& a, const DmTreeNode& b, const std::string& path)
    {
        const bool collections = holdsCompositions(a) && holdsCompositions(b) && a.whatIs() == b.whatIs();
        const Tell sink = [&](const Difference& difference) { addProperty(path, difference); };
        const LeftOut leftOut = [&](int index)
        {
            return (collections && index == DmCollectionNode::Children) ||
                   (index == DmTreeNode::BaseBlob && haveLeftovers(a, b));
        };
        if (!compareSets(a, b, {}, leftOut, sink) || ++_depth > limit)
            return false;
        if (!collections)
            return true;
        const auto others = [](const DmTreeNode& node)
        {
            std::vector<std::pair<int, const DmTreeNode*>> all;
            for (int i = 0; i < node.getNbChildren(); ++i)
                if (const DmTreeNode* const child = node.getChild(i); !child || child->whatIs() != DM_COMPOSITION_NODE)
                    all.emplace_back(i, child);
            return all;
        };
        const auto before = others(a);
        const auto after = others(b);
        for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i)
        {
            const DmTreeNode* const one = i < before.size() ? before[i].second : nullptr;
            const DmTreeNode* const other = i < after.size() ? after[i].second : nullptr;
            const int at = i < after.size() ? after[i].first : before[i].first;
            if (one && other)
            {
                if (!compare(*one, *other, childPath(path, at)))
                    return false;
            }
            else if (one || other || before.size() != after.size())
                addProperty(childPath(path, at), {"",
                                                  one                 ? dmUtf8(one->getPSetName())
                                                  : i < before.size() ? "nothing"
                                                                      : "",
                                                  other              ? dmUtf8(other->getPSetName())
                                                  : i < after.size() ? "nothing"
                                                                     : ""});
        }
        --_depth;
        return true;
    }

private:
    static constexpr int limit = 512; ///< reels inside each other

    void addProperty(const std::string& path, const Difference& difference)
    {
        DmChange& change = _changes.emplace_back();
        change.oldPath = change.newPath = path;
        change.property = difference.path;
        change.was = difference.was;
        change.became = difference.became;
    }

    std::vector<DmChange>& _changes;
    int _depth = 0;
};

void tellWhole(Kind kind, const PlacedComposition& composition, std::vector<DmChange>& changes)
{
    DmChange& change = changes.emplace_back();
    change.kind = kind;
    change.composition = dmUtf8(composition.node->getName());
    change.clip = change.composition;
    (kind == Kind::CompositionAdded ? change.newPath : change.oldPath) = composition.path;
    change.frames = composition.node->getCompLength();
}

/// Pairs compositions by name, then in order.
std::vector<std::pair<int, int>> pairCompositions(const std::vector<PlacedComposition>& before,
                                                  const std::vector<PlacedComposition>& after)
{
    std::vector<std::pair<int, int>> pairs;
    std::vector<int> partner(before.size(), -1);
    std::vector<bool> taken(after.size(), false);
    std::map<std::wstring, std::vector<int>> named;
    for (int i = int(after.size()); i-- > 0;)
        named[std::wstring(after[std::size_t(i)].node->getName().view())].push_back(i);
    for (std::size_t i = 0; i < before.size(); ++i)
        if (std::vector<int>& same = named[std::wstring(before[i].node->getName().view())]; !same.empty())
        {
            partner[i] = same.back();
            taken[std::size_t(same.back())] = true;
            same.pop_back();
        }
    std::size_t next = 0;
    for (int& at : partner)
    {
        while (next < taken.size() && taken[next])
            ++next;
        if (at < 0 && next < taken.size())
        {
            at = int(next);
            taken[next] = true;
        }
    }
    for (std::size_t i = 0; i < partner.size(); ++i)
        pairs.emplace_back(int(i), partner[i]);
    for (std::size_t i = 0; i < taken.size(); ++i)
        if (!taken[i])
            pairs.emplace_back(-1, int(i));
    return pairs;
}

bool isIgnored(const DmChange& change, const std::vector<std::string>& ignored)
{
    const DmChangeKindName& kind = dmChangeKinds()[std::size_t(change.kind)];
    return std::ranges::any_of(ignored,
                               [&](const std::string& name) { return name == kind.name || name == kind.group; });
}

} // namespace

DmDiff DmDiff::between(const DmTimeline& before, const DmTimeline& after, const DmDiffOptions& options,
                       DmStatus* status)
{
    if (before == after)
        return of(nullptr, nullptr, options, status, nullptr);
    // Shifts one by one are told of each shot.
    if (!before || !after || options.eachShift)
        return of(before.tree().get(), after.tree().get(), options, status, nullptr);
    Sharing sharing{before.composition().get(), after.composition().get(), {}, {}};
    sharing.find(*before.value(), *after.value());
    return of(before.tree().get(), after.tree().get(), options, status, &sharing);
}

DmDiff DmDiff::between(const DmTreeNode* before, const DmTreeNode* after, const DmDiffOptions& options,
                       DmStatus* status)
{
    return of(before, after, options, status, nullptr);
}

DmDiff DmDiff::of(const DmTreeNode* before, const DmTreeNode* after, const DmDiffOptions& options, DmStatus* status,
                  const Sharing* sharing)
{
    DmDiff diff;
    if (status)
        status->reset();
    for (const std::string& name : options.ignored)
        if (std::ranges::none_of(dmChangeKinds(),
                                 [&](const DmChangeKindName& kind) { return name == kind.name || name == kind.group; }))
        {
            if (status)
                status->fail(DM_BAD_VALUE, "%s: no kind of change", name.c_str());
            return diff;
        }
    if (before == after)
        return diff;
    std::vector<PlacedComposition> olds;
    std::vector<PlacedComposition> news;
    std::vector<const DmTreeNode*> above;
    if (before)
        findCompositions(*before, {}, above, olds);
    if (after)
        findCompositions(*after, {}, above, news);
    bool isSound = true;
    bool isOfOneFormat = true;
    const bool compositions =
        before && after && before->whatIs() == DM_COMPOSITION_NODE && after->whatIs() == DM_COMPOSITION_NODE;
    if (before && after && !compositions)
        isSound = Around(diff._changes).compare(*before, *after, {});
    for (const auto& [a, b] : pairCompositions(olds, news))
    {
        if (b < 0)
            tellWhole(Kind::CompositionRemoved, olds[std::size_t(a)], diff._changes);
        else if (a < 0)
            tellWhole(Kind::CompositionAdded, news[std::size_t(b)], diff._changes);
        else if (olds[std::size_t(a)].node != news[std::size_t(b)].node)
        {
            const PlacedComposition& old = olds[std::size_t(a)];
            const PlacedComposition& now = news[std::size_t(b)];
            const auto compare = [&](const LayerSources* inOld, const LayerSources* inNow)
            {
                const Cut one(*old.node, old.path, inOld);
                const Cut other(*now.node, now.path, inNow);
                CutCompare comparison(one, other, options.tolerance, options.eachShift, diff._changes);
                if (!comparison.keepsShared())
                    return false;
                isSound = comparison.run() && isSound;
                isOfOneFormat = isOfOneFormat && !areOfOtherFormats(one, other);
                return true;
            };
            const bool shares = sharing && old.node == sharing->before && now.node == sharing->after;
            if (!shares || !compare(&sharing->inBefore, &sharing->inAfter))
                compare(nullptr, nullptr);
        }
    }
    // What is no part of a cut (notes that a list's reader kept, ids that it made up) still makes two documents; of
    // lists of two formats they are what makes these two.
    std::string path;
    bool equal = true;
    if (isSound && diff._changes.empty() && before && after && isOfOneFormat && options.tolerance == 0.0)
    {
        isSound = dmDeepEqual(*before, *after, equal, &path) == DM_NO_ERROR;
        if (isSound && !equal)
            diff._changes.emplace_back().property = path + " differs";
    }
    if (!isSound)
    {
        diff._changes.clear();
        if (status)
            status->fail(DM_BAD_VALUE, "The tree holds itself.");
        return diff;
    }
    std::erase_if(diff._changes, [&](const DmChange& change) { return isIgnored(change, options.ignored); });
    std::ranges::stable_sort(diff._changes, {},
                             [](const DmChange& change) {
                                 return std::tuple(std::cref(change.composition).get(), change.track, change.oldRecord);
                             });
    return diff;
}

std::vector<DmCounterparts> dmCounterparts(const DmTreeNode& before, const DmTreeNode& after)
{
    std::vector<PlacedComposition> olds;
    std::vector<PlacedComposition> news;
    std::vector<const DmTreeNode*> above;
    findCompositions(before, {}, above, olds);
    findCompositions(after, {}, above, news);
    std::vector<DmCounterparts> all;
    for (const auto& [a, b] : pairCompositions(olds, news))
    {
        if (a < 0 || b < 0)
            continue;
        const Cut old(*olds[std::size_t(a)].node, olds[std::size_t(a)].path);
        const Cut now(*news[std::size_t(b)].node, news[std::size_t(b)].path);
        const Match match = matchShots(old.shots(), now.shots());
        DmCounterparts& found = all.emplace_back();
        found.oldPath = old.path();
        found.newPath = now.path();
        const auto placeOf = [](const Lane& lane, int element) {
            return DmCounterparts::Place{lane.trackAt, lane.layerAt, element};
        };
        const std::vector<int> lanes = matchLanes(old, now, match);
        for (std::size_t i = 0; i < lanes.size(); ++i)
            if (lanes[i] >= 0)
                found.layers.push_back({placeOf(old.lanes()[i], -1), placeOf(now.lanes()[std::size_t(lanes[i])], -1)});
        for (std::size_t i = 0; i < old.shots().size(); ++i)
            if (const int at = match.toNew[i]; at >= 0)
            {
                const Shot& one = old.shots()[i];
                const Shot& other = now.shots()[std::size_t(at)];
                found.shots.push_back(
                    {placeOf(old.laneOf(one), one.element), placeOf(now.laneOf(other), other.element)});
            }
    }
    return all;
}
