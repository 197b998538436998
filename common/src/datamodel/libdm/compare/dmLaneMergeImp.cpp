#include "dmLaneMergeImp.h"

#include "dmLayerBuilder.h"
#include "dmSetTools.h"
#include "dmTimelineImp.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace dmCompare
{
namespace
{

/// Whether the next element goes on from a transition, or from a shot that it touches.
bool builderEndsAt(const DmLayerBuilder& builder, double time)
{
    return builder.getEnd() > builder.getStart() && isNothing(builder.getEnd() - time);
}

bool hasOthers(const Lane& lane)
{
    return !lane.others.empty();
}

bool sameLane(const Lane& a, const Lane& b)
{
    const auto same = [](const DmTreeNode* one, const DmTreeNode* other)
    {
        bool equal = one == other;
        return equal || (one && other && dmDeepEqual(*one, *other, equal) == DM_NO_ERROR && equal);
    };
    const int count = a.layer->getNbChildren();
    bool equal = count == b.layer->getNbChildren();
    for (int i = 0; equal && i < count; ++i)
        equal = same(a.layer->getChild(i), b.layer->getChild(i));
    return equal;
}

} // namespace

LaneMerge::LaneMerge(const Cut& base, const Cut& ours, const Cut& theirs, bool favoursTheirs, Conflicts& conflicts)
    : _base(base)
    , _seams(seamsOf(base))
    , _conflicts(conflicts)
    , _ours(base, _seams, ours)
    , _theirs(base, _seams, theirs)
    , _sides{base, _seams, _ours, _theirs, favoursTheirs ? 1 : 0, &_clashes}
{
}

bool LaneMerge::isMerged(std::size_t lane) const
{
    const int ours = _ours.lanes()[lane];
    const int theirs = _theirs.lanes()[lane];
    return ours >= 0 && theirs >= 0 && !hasOthers(_base.lanes()[lane]) &&
           !hasOthers(_ours.cut().lanes()[std::size_t(ours)]) && !hasOthers(_theirs.cut().lanes()[std::size_t(theirs)]);
}

std::vector<LaneMerge::Merged> LaneMerge::run()
{
    const bool anyCrosses = _ours.crossesLanes() || _theirs.crossesLanes();
    std::vector<Merged> all;
    // Cuts that both trimmed are told of every lane before one is built.
    for (std::size_t lane = 0; lane < _base.lanes().size(); ++lane)
        if (Conflicts untold; isMerged(lane))
            static_cast<void>(LanePlan(_sides, int(lane), {}, untold));
    for (std::size_t lane = 0; lane < _base.lanes().size(); ++lane)
    {
        if (!isMerged(lane))
            continue;
        const int ours = _ours.lanes()[lane];
        const int theirs = _theirs.lanes()[lane];
        const Lane& b = _base.lanes()[lane];
        const Lane& o = _ours.cut().lanes()[std::size_t(ours)];
        const Lane& t = _theirs.cut().lanes()[std::size_t(theirs)];
        const bool isOurs = sameLane(b, t) || sameLane(o, t);
        const bool isTheirs = !isOurs && sameLane(b, o);
        const std::size_t before = _conflicts.size();
        const CoSharedPtr<DmLayerNode> layer = mergeLane(int(lane));
        if ((isOurs || isTheirs) && !anyCrosses)
        {
            _conflicts.resize(before);
            all.push_back({ours, isTheirs ? theirs : -1, {}});
            continue;
        }
        if (!layer)
        {
            DmMergeConflict& conflict = _conflicts.emplace_back();
            conflict.track = o.name;
            conflict.path = {};
            conflict.what = "the edits of this track cannot be put together";
            conflict.ours = "as it stands";
            conflict.theirs = "as it stands";
        }
        all.push_back({ours, !layer && _sides.favoured == 1 ? theirs : -1, layer});
    }
    return all;
}

std::vector<std::pair<int, CoSharedPtr<DmLayerNode>>> LaneMerge::pushedAlong(bool ours) const
{
    const Side& side = ours ? _ours : _theirs;
    const std::vector<LanePlan::Push>& pushes = _pushes[ours ? 0 : 1];
    const auto pushAt = [&](double time)
    {
        double by = 0.0;
        for (const LanePlan::Push& push : pushes)
            if (push.time <= time + leastDifference)
                by = push.by;
        return by;
    };
    std::vector<std::pair<int, CoSharedPtr<DmLayerNode>>> all;
    for (int l = 0; l < int(side.cut().lanes().size()); ++l)
    {
        const Lane& lane = side.cut().lanes()[std::size_t(l)];
        if (std::ranges::find(side.lanes(), l) != side.lanes().end() || hasOthers(lane))
            continue;
        const double toLabel = lane.start - lane.layer->getLayerStartTC();
        DmLayerBuilder builder(lane.layer->getLayerNum(), lane.layer->getMediaType(), lane.layer->getLayerStartTC());
        bool isPushed = false;
        bool isGood = true;
        double by = 0.0;
        for (const DmTreeNode* const node : lane.layer->getChildren())
        {
            const auto* const segment = node->asSegment();
            const auto* const transition = node->asTransition();
            // The builder fills up; a gap that keeps a shot is more than that.
            if (node->whatIs() == DM_CUT_NODE || (node->whatIs() == DM_GAP_NODE && !node->getBaseBlob()))
                continue;
            const double in = segment ? segment->getRecIn() : transition->getRecIn();
            by = segment && !builderEndsAt(builder, in + by) ? pushAt(in + toLabel) : by;
            isPushed = isPushed || by != 0.0;
            const CoSharedPtr<DmPropertySet> copy = copyOf(*node);
            auto* const element = static_cast<DmTreeNode*>(copy.get());
            if (element)
                dmStandAt(*element, in + by);
            isGood = isGood && element && builder.place(CoSharedPtr<DmTreeNode>(element)) == DM_NO_ERROR;
        }
        if (isPushed && isGood)
            all.emplace_back(l, builder.finish());
    }
    return all;
}

/// Null where nothing fits, whatever is left out.
CoSharedPtr<DmLayerNode> LaneMerge::mergeLane(int lane)
{
    constexpr int tries = 64;
    const std::size_t conflicts = _conflicts.size();
    _refused.clear();
    for (int i = 0; i < tries; ++i)
    {
        _conflicts.resize(conflicts);
        const LanePlan plan(_sides, lane, _refused, _conflicts);
        const Piece* misfit = plan.misfit();
        const CoSharedPtr<DmLayerNode> layer = misfit ? CoSharedPtr<DmLayerNode>() : build(lane, plan.pieces(), misfit);
        if (layer)
        {
            tellRefused(_base.lanes()[std::size_t(lane)]);
            placeConflicts(plan.pieces(), lane, conflicts);
            for (int s = 0; lane == 0 && s < 2; ++s)
                _pushes[s] = plan.pushesOf(s);
            return layer;
        }
        if (!misfit || !refuse(*misfit))
            return {};
    }
    return {};
}

/// Conflicts of a lane were told at the times of the side that has the shot: where that is in the result.
void LaneMerge::placeConflicts(const std::vector<Piece>& pieces, int laneAt, std::size_t first)
{
    const Lane& own = _ours.cut().lanes()[std::size_t(_ours.lanes()[std::size_t(laneAt)])];
    std::map<double, double> times[2];
    for (const Piece& piece : pieces)
        for (int s = 0; s < 2; ++s)
            if (const int shot = s == 0 ? piece.ours : piece.theirs; shot >= 0)
                times[s].emplace(_sides.side(s).shot(shot).node->getRecIn(),
                                 piece.in + own.layer->getLayerStartTC() - own.start);
    for (std::size_t i = first; i < _conflicts.size(); ++i)
    {
        DmMergeConflict& conflict = _conflicts[i];
        if (const auto& all = times[conflict.path.empty() ? 1 : 0]; all.contains(conflict.record))
            conflict.result = all.at(conflict.record);
        if (conflict.path.empty())
            conflict.path = _sides.pointerOf(own);
    }
}

/// Leaves out what the other side did at the seams of a piece; false where that is done already.
bool LaneMerge::refuse(const Piece& piece)
{
    const bool inFront = _refused.insert(piece.seam).second;
    const bool behind = piece.base >= 0 && _refused.insert(piece.seam + 1).second;
    return inFront || behind;
}

void LaneMerge::tellRefused(const Lane& lane)
{
    const int favoured = _sides.favoured;
    std::set<int> told;
    for (const int seam : _refused)
    {
        int base = std::min(seam, lane.last - 1);
        while (base >= lane.first && !_sides.side(favoured).edit(base).isThere)
            --base;
        // Both seams of a shot are one conflict.
        if (base >= lane.first && !told.contains(base - 1) && told.insert(base).second)
        {
            DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, _sides.side(favoured).edit(base).at,
                                                        "the edits of both do not fit together here");
            found.ours = favoured == 0 ? "as it stands" : "left out";
            found.theirs = favoured == 0 ? "left out" : "as it stands";
        }
    }
}

} // namespace dmCompare
