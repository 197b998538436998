#include "dmLaneMergeImp.h"

#include "dmValueMergeImp.h"

#include "dmCutNode.h"
#include "dmEditImp.h"
#include "dmGapNode.h"
#include "dmJsonImporter.h"
#include "dmLayerBuilder.h"
#include "dmMaterial.h"
#include "dmReachImp.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTimelineImp.h"

#include <algorithm>
#include <cmath>

namespace dmCompare
{
namespace
{

constexpr double tolerance = 1e-4;

bool isNothing(double frames)
{
    return std::abs(frames) < tolerance;
}

/// As it stands in a document.
bool elementOf(const DmPropertySet& set, json::Document& value)
{
    if (valueOf(set, value).failed())
        return false;
    while (value.MemberCount() > 1)
        value.EraseMember(value.MemberEnd() - 1); // the document's version
    return membersOf(value) != nullptr;
}

CoSharedPtr<DmPropertySet> copyOf(const DmPropertySet& set)
{
    CoSharedPtr<DmPropertySet> copy;
    return dmDeepCopy(set, copy) == DM_NO_ERROR ? copy : CoSharedPtr<DmPropertySet>();
}

/// A segment as a value, without its record times, its keys where they would stand if its head were `head` later.
void valueOfShot(const Shot& shot, double head, json::Document& value)
{
    const CoSharedPtr<DmPropertySet> copy = copyOf(*shot.node);
    if (!copy)
        return;
    auto& segment = static_cast<DmSegmentNode&>(*copy);
    DmSegmentChange::shiftKeys(segment, head);
    static_cast<void>(segment.setRecIn(0.0));
    static_cast<void>(segment.setRecLength(0.0));
    if (!elementOf(*copy, value))
        value.SetNull();
}

/// Whether the next element goes on from a transition, or from a shot that it touches.
bool builderEndsAt(const DmLayerBuilder& builder, double time)
{
    return builder.getEnd() > builder.getStart() && isNothing(builder.getEnd() - time);
}

/// What both sides added is the same where it plays the same for as long.
bool isSameShot(const Shot& a, const Shot& b)
{
    return agree(a.medium, b.medium) != Agreement::No && a.name == b.name && isNothing(a.srcIn - b.srcIn) &&
           isNothing(a.out - a.in - b.out + b.in) && a.speed == b.speed;
}

} // namespace

bool LaneMerge::near(double a, double b)
{
    return isNothing(a - b);
}

LaneMerge::LaneMerge(const Cut& base, const Cut& ours, const Cut& theirs, bool favoursTheirs, Conflicts& conflicts)
    : _base(base)
    , _favoursTheirs(favoursTheirs)
    , _conflicts(conflicts)
    , _ours{&ours, matchShots(base.shots(), ours.shots()), {}, {}, {}, {}, {}}
    , _theirs{&theirs, matchShots(base.shots(), theirs.shots()), {}, {}, {}, {}, {}}
{
    seams(base, _in, _out, nullptr);
    study(_ours);
    study(_theirs);
}

/// Where each shot begins and ends when its transitions are cuts.
void LaneMerge::seams(const Cut& cut, std::vector<double>& in, std::vector<double>& out, const Side* side) const
{
    const std::vector<Shot>& shots = cut.shots();
    in.resize(shots.size());
    out.resize(shots.size());
    for (std::size_t i = 0; i < shots.size(); ++i)
    {
        in[i] = shots[i].in;
        out[i] = shots[i].out;
    }
    const auto wanted = [&](std::size_t shot, bool isTail, double& time)
    {
        const int old = side ? side->match.toOld[shot] : -1;
        if (old < 0)
            return false;
        time = (isTail ? _out : _in)[std::size_t(old)] + side->edits[std::size_t(old)].shift;
        return true;
    };
    for (std::size_t i = 0; i < shots.size(); ++i)
    {
        const bool meets = i + 1 < shots.size() && shots[i].behind && shots[i + 1].inFront == shots[i].behind;
        const auto place = [&](const DmTransitionNode& node, double begin, int left, int right)
        {
            double time = 0.0;
            const bool known = (left >= 0 && wanted(std::size_t(left), true, time)) ||
                               (right >= 0 && wanted(std::size_t(right), false, time));
            const double end = begin + node.getRecLength();
            const double point = known ? std::clamp(time, begin, end) : dmCutTimeOf(node, begin);
            if (left >= 0)
                out[std::size_t(left)] = point;
            if (right >= 0)
                in[std::size_t(right)] = point;
        };
        if (shots[i].behind)
            place(*shots[i].behind, shots[i].out, int(i), meets ? int(i) + 1 : -1);
        if (shots[i].inFront && (i == 0 || shots[i - 1].behind != shots[i].inFront))
            place(*shots[i].inFront, shots[i].in - shots[i].lengthInFront(), -1, int(i));
    }
}

void LaneMerge::study(Side& side)
{
    const std::vector<Shot>& olds = _base.shots();
    side.lanes = matchLanes(_base, *side.cut, side.match);
    side.edits.resize(olds.size());
    side.isSame.resize(olds.size(), false);
    for (const Lane& lane : _base.lanes())
    {
        const int other = side.lanes[std::size_t(&lane - _base.lanes().data())];
        std::vector<int> order;
        for (int i = lane.first; i < lane.last; ++i)
        {
            const int at = side.match.toNew[std::size_t(i)];
            order.push_back(at >= 0 && side.cut->shots()[std::size_t(at)].lane == other ? at : -1);
        }
        const std::vector<bool> keeps = keepsOrder(order);
        for (int i = lane.first; i < lane.last; ++i)
            side.edits[std::size_t(i)].isInPlace = keeps[std::size_t(i - lane.first)];
    }
    for (std::size_t i = 0; i < olds.size(); ++i)
    {
        Edit& edit = side.edits[i];
        edit.at = side.match.toNew[i];
        edit.isThere = edit.at >= 0;
        if (!edit.isThere)
            continue;
        const Shot& a = olds[i];
        const Shot& b = side.cut->shots()[std::size_t(edit.at)];
        const double longer = (b.out - b.in) - (a.out - a.in);
        edit.isOther = agree(a.medium, b.medium) == Agreement::No || a.isKeyed != b.isKeyed ||
                       !near(a.speed, b.speed) || a.plays() != b.plays();
        if (!edit.isOther && a.plays() && !a.isKeyed && a.speed != 0.0)
        {
            const double frame = a.rate * std::abs(a.speed);
            const double in = (b.srcIn - a.srcIn) / frame;
            const double out = (b.srcOut - a.srcOut) / frame;
            edit.rawHead = a.speed > 0.0 ? in : -out;
            const bool slips = isNothing(longer) && !isNothing(edit.rawHead) &&
                               near(a.lengthInFront(), b.lengthInFront()) && near(a.lengthBehind(), b.lengthBehind());
            if (slips)
                edit.slip = std::exchange(edit.rawHead, 0.0);
        }
        else if (near(b.out, a.out) && !near(b.in, a.in))
            edit.rawHead = b.in - a.in;
        edit.shift = b.in - a.in - edit.rawHead;
    }
    seams(*side.cut, side.in, side.out, &side);
    for (std::size_t i = 0; i < olds.size(); ++i)
        if (Edit& edit = side.edits[i]; edit.isThere)
        {
            const auto clean = [](double frames) { return isNothing(frames) ? 0.0 : frames; };
            edit.head = clean(side.in[std::size_t(edit.at)] - edit.shift - _in[i]);
            edit.tail = clean(side.out[std::size_t(edit.at)] - edit.shift - _out[i]);
            edit.shift = clean(edit.shift);
            json::Document a;
            json::Document b;
            valueOfShot(olds[i], 0.0, a);
            valueOfShot(side.cut->shots()[std::size_t(edit.at)], edit.rawHead, b);
            const auto timeless = [](json::Document& value)
            {
                if (Value* const members = membersOf(value))
                    members->RemoveMember("relIn");
            };
            timeless(a);
            timeless(b);
            side.isSame[i] = isSame(a, b);
        }
}

bool LaneMerge::isUntouched(const Side& side, int base) const
{
    const Edit& edit = side.edits[std::size_t(base)];
    return edit.isThere && edit.isInPlace && side.isSame[std::size_t(base)] && edit.head == 0.0 && edit.tail == 0.0 &&
           edit.slip == 0.0;
}

bool LaneMerge::hasOthers(const Lane& lane) const
{
    for (const DmTreeNode* const node : lane.layer->getChildren())
        if (!node || (!node->isSegment() && !node->isTransition()))
            return true;
    return false;
}

bool LaneMerge::sameLane(const Lane& a, const Lane& b) const
{
    json::Document one;
    json::Document other;
    return elementOf(*a.layer, one) && elementOf(*b.layer, other) &&
           isSame((*membersOf(one))["children"], (*membersOf(other))["children"]);
}

std::vector<LaneMerge::Merged> LaneMerge::run()
{
    const auto crosses = [&](const Side& side)
    {
        for (std::size_t i = 0; i < side.edits.size(); ++i)
            if (const Edit& edit = side.edits[i]; edit.isThere && side.lanes[std::size_t(_base.shots()[i].lane)] !=
                                                                      side.cut->shots()[std::size_t(edit.at)].lane)
                return true;
        return false;
    };
    const bool anyCrosses = crosses(_ours) || crosses(_theirs);
    std::vector<Merged> all;
    for (std::size_t lane = 0; lane < _base.lanes().size(); ++lane)
    {
        const int ours = _ours.lanes[lane];
        const int theirs = _theirs.lanes[lane];
        if (ours < 0 || theirs < 0)
            continue;
        const Lane& b = _base.lanes()[lane];
        const Lane& o = _ours.cut->lanes()[std::size_t(ours)];
        const Lane& t = _theirs.cut->lanes()[std::size_t(theirs)];
        if (hasOthers(b) || hasOthers(o) || hasOthers(t))
            continue;
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
        all.push_back({ours, !layer && _favoursTheirs ? theirs : -1, layer});
    }
    return all;
}

std::vector<std::pair<int, CoSharedPtr<DmLayerNode>>> LaneMerge::pushedAlong(bool ours) const
{
    const Side& side = ours ? _ours : _theirs;
    const std::vector<Push>& pushes = ours ? _ofOurs : _ofTheirs;
    const auto pushAt = [&](double time)
    {
        double by = 0.0;
        for (const Push& push : pushes)
            if (push.time <= time + tolerance)
                by = push.by;
        return by;
    };
    std::vector<std::pair<int, CoSharedPtr<DmLayerNode>>> all;
    for (int l = 0; l < int(side.cut->lanes().size()); ++l)
    {
        const Lane& lane = side.cut->lanes()[std::size_t(l)];
        if (std::ranges::find(side.lanes, l) != side.lanes.end() || hasOthers(lane))
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
            if (node->whatIs() == DM_GAP_NODE || node->whatIs() == DM_CUT_NODE)
                continue;
            const double in = segment ? segment->getRecIn() : transition->getRecIn();
            by = segment && !builderEndsAt(builder, in + by) ? pushAt(in + toLabel) : by;
            isPushed = isPushed || by != 0.0;
            const CoSharedPtr<DmPropertySet> copy = copyOf(*node);
            auto* const element = static_cast<DmTreeNode*>(copy.get());
            isGood = isGood && element &&
                     (segment ? element->asSegment()->setRecIn(in + by) : element->asTransition()->setRecIn(in + by)) ==
                         DM_NO_ERROR &&
                     builder.place(CoSharedPtr<DmTreeNode>(element)) == DM_NO_ERROR;
        }
        if (isPushed && isGood)
            all.emplace_back(l, builder.finish());
    }
    return all;
}

std::string LaneMerge::pointerOf(const Shot& shot) const
{
    const Lane& lane = _ours.cut->laneOf(shot);
    return _ours.cut->path() + "/children/" + std::to_string(lane.trackAt) + "/DmTrackNode/children/" +
           std::to_string(lane.layerAt) + "/DmLayerNode/children/" + std::to_string(shot.element);
}

DmMergeConflict& LaneMerge::conflict(const Side& side, int shot, const char* what)
{
    const Shot& at = side.cut->shots()[std::size_t(shot)];
    DmMergeConflict& conflict = _conflicts.emplace_back();
    if (&side == &_ours)
        conflict.path = pointerOf(at);
    conflict.track = side.cut->laneOf(at).name;
    conflict.clip = clipName(*at.node);
    conflict.label = side.cut->label(at.in);
    conflict.record = at.node->getRecIn();
    conflict.what = what;
    return conflict;
}

bool LaneMerge::placePieces(int laneAt, std::vector<Piece>& pieces)
{
    const Lane& lane = _base.lanes()[std::size_t(laneAt)];
    const Side* const sides[] = {&_ours, &_theirs};
    const int favoured = _favoursTheirs ? 1 : 0;

    // What each side puts behind which shot of the old cut; [0] in front of all.
    std::vector<std::vector<int>> put[2];
    for (int s = 0; s < 2; ++s)
    {
        const Side& side = *sides[s];
        const Lane& own = side.cut->lanes()[std::size_t(side.lanes[std::size_t(laneAt)])];
        put[s].resize(std::size_t(lane.count()) + 1);
        std::size_t slot = 0;
        for (int j = own.first; j < own.last; ++j)
        {
            const int old = side.match.toOld[std::size_t(j)];
            if (old >= lane.first && old < lane.last && side.edits[std::size_t(old)].isInPlace)
                slot = std::size_t(old - lane.first) + 1;
            else
                put[s][slot].push_back(j);
        }
    }

    double pushed = 0.0;             ///< the merged shift so far
    double shifts[2] = {0.0, 0.0};   ///< each side's
    double restored[2] = {0.0, 0.0}; ///< lengths that a side took out, and that stay
    int last = -1;                   ///< the old shot in front that is in place on both sides
    int lastPiece = -1;

    const auto pick = [&](double ours, double theirs, bool& clashes)
    {
        if (near(ours, theirs) || theirs == 0.0)
            return ours;
        if (ours == 0.0)
            return theirs;
        clashes = true;
        return favoured == 0 ? ours : theirs;
    };

    for (int i = lane.first - 1; i < lane.last; ++i)
    {
        if (i >= lane.first)
        {
            const Edit& o = _ours.edits[std::size_t(i)];
            const Edit& t = _theirs.edits[std::size_t(i)];
            const Edit* const edits[] = {&o, &t};
            double dropped[2] = {0.0, 0.0}; ///< what pushes of a shot that goes amount to
            bool isKept = o.isThere && t.isThere;
            if (o.isThere != t.isThere)
            {
                const int keeper = o.isThere ? 0 : 1;
                if (!isUntouched(*sides[keeper], i))
                {
                    isKept = keeper == favoured;
                    DmMergeConflict& found =
                        conflict(*sides[keeper], edits[keeper]->at, "one side removed what the other changed");
                    found.ours = keeper == 0 ? "changed" : "removed";
                    found.theirs = keeper == 0 ? "removed" : "changed";
                    if (isKept)
                        restored[1 - keeper] += _out[std::size_t(i)] - _in[std::size_t(i)];
                    else
                        dropped[keeper] = edits[keeper]->head - edits[keeper]->tail;
                }
            }
            const bool inPlace = (!o.isThere || o.isInPlace) && (!t.isThere || t.isInPlace);
            if (isKept && o.isThere && t.isThere && !o.isInPlace && !t.isInPlace)
            {
                const auto standsBehind = [&](const Side& side, int at)
                { return at > 0 ? side.match.toOld[std::size_t(at) - 1] : -1; };
                if (standsBehind(_ours, o.at) != standsBehind(_theirs, t.at))
                {
                    DmMergeConflict& found = conflict(_ours, o.at, "both moved it");
                    found.ours = found.label;
                    found.theirs = _theirs.cut->label(_theirs.cut->shots()[std::size_t(t.at)].in);
                }
            }
            double events[2];
            for (int s = 0; s < 2; ++s)
            {
                events[s] = edits[s]->isThere && edits[s]->isInPlace ? edits[s]->shift - shifts[s] : 0.0;
                if (edits[s]->isThere && edits[s]->isInPlace)
                    shifts[s] = edits[s]->shift;
                if (restored[s] != 0.0 && near(events[s], -restored[s]))
                    events[s] = 0.0;
                if (edits[s]->isThere && edits[s]->isInPlace)
                    restored[s] = dropped[s];
            }
            if (isKept && inPlace)
            {
                bool clashes = false;
                double lastTail = 0.0;
                double head = pick(o.head, t.head, clashes);
                bool sameTail = true;
                if (last >= 0)
                {
                    const Edit& lo = _ours.edits[std::size_t(last)];
                    const Edit& lt = _theirs.edits[std::size_t(last)];
                    lastTail = pick(lo.tail, lt.tail, clashes);
                    sameTail = near(lo.tail, lt.tail);
                    if (clashes)
                        lastTail = favoured == 0 ? lo.tail : lt.tail;
                }
                if (clashes)
                {
                    head = edits[favoured]->head;
                    DmMergeConflict& found = conflict(*sides[favoured], edits[favoured]->at, "both trimmed this cut");
                    found.ours = _ours.cut->label(_ours.in[std::size_t(o.at)]);
                    found.theirs = _theirs.cut->label(_theirs.in[std::size_t(t.at)]);
                }
                const bool sameEdit = sameTail && near(o.head, t.head);
                if (clashes)
                    pushed += events[favoured];
                else if (sameEdit && near(events[0], events[1]))
                    pushed += events[0];
                else
                    pushed += events[0] + events[1];
                if (lastPiece >= 0 && last >= 0)
                    pieces[std::size_t(lastPiece)].out += lastTail;
                bool slipClashes = false;
                Piece piece;
                piece.base = i;
                piece.ours = o.at;
                piece.theirs = t.at;
                piece.in = _in[std::size_t(i)] + pushed + head;
                piece.out = _out[std::size_t(i)] + pushed;
                piece.like = &_base.shots()[std::size_t(i)];
                piece.later = pushed;
                piece.slip = pick(o.slip, t.slip, slipClashes);
                for (int s = 0; s < 2; ++s)
                    if (edits[s]->isOther && edits[s]->isThere && (s == favoured || !edits[1 - s]->isOther))
                    {
                        piece.like = &sides[s]->cut->shots()[std::size_t(edits[s]->at)];
                        piece.later = pushed - edits[s]->shift;
                    }
                if (slipClashes)
                {
                    DmMergeConflict& found = conflict(*sides[favoured], edits[favoured]->at, "both slipped it");
                    found.ours = std::to_string(std::llround(o.slip)) + " frames";
                    found.theirs = std::to_string(std::llround(t.slip)) + " frames";
                }
                const auto notePush = [&](int s, std::vector<Push>& to)
                {
                    if (edits[s]->isThere && laneAt == 0)
                        to.push_back({sides[s]->in[std::size_t(edits[s]->at)], pushed - edits[s]->shift});
                };
                notePush(0, _ofOurs);
                notePush(1, _ofTheirs);
                lastPiece = int(pieces.size());
                pieces.push_back(piece);
                last = i;
            }
            else
            {
                pushed += near(events[0], events[1]) ? events[0] : events[0] + events[1];
                // The tail in front belongs to a seam that one side alone has now.
                if (!isKept && last >= 0 && lastPiece >= 0)
                {
                    bool clashes = false;
                    pieces[std::size_t(lastPiece)].out +=
                        pick(_ours.edits[std::size_t(last)].tail, _theirs.edits[std::size_t(last)].tail, clashes);
                    last = -1;
                }
            }
        }

        // What stands behind it now.
        std::vector<Piece> added[2];
        for (int s = 0; s < 2; ++s)
            for (const int j : put[s][std::size_t(i - lane.first + 1)])
            {
                const Side& side = *sides[s];
                const int old = side.match.toOld[std::size_t(j)];
                Piece piece;
                (s == 0 ? piece.ours : piece.theirs) = j;
                piece.in = side.in[std::size_t(j)] + pushed - shifts[s];
                piece.out = side.out[std::size_t(j)] + pushed - shifts[s];
                piece.like = &side.cut->shots()[std::size_t(j)];
                piece.later = pushed - shifts[s];
                if (old >= 0)
                {
                    const Edit& other = sides[1 - s]->edits[std::size_t(old)];
                    if (other.isThere && !other.isInPlace && s != favoured)
                        continue; // both moved it
                    if (!other.isThere && s != favoured)
                        continue; // removed there
                    piece.base = old;
                    (s == 0 ? piece.theirs : piece.ours) = other.at;
                    piece.out += other.tail - other.head;
                    piece.later -= other.head;
                    piece.slip = other.slip;
                }
                // Its neighbour in front may have got another tail from the other side.
                if (lastPiece >= 0 && last >= 0 && i == last)
                {
                    const double own = sides[s]->edits[std::size_t(last)].tail;
                    const double foreign = sides[1 - s]->edits[std::size_t(last)].tail;
                    const double end = sides[s]->out[std::size_t(sides[s]->edits[std::size_t(last)].at)];
                    const bool touches = !added[s].empty() || near(end, side.in[std::size_t(j)]);
                    if (own == 0.0 && foreign != 0.0 && touches)
                    {
                        piece.in += foreign;
                        piece.out += foreign;
                        piece.later += foreign;
                    }
                }
                added[s].push_back(piece);
            }
        const bool same = !added[0].empty() && added[0].size() == added[1].size() &&
                          std::ranges::equal(added[0], added[1],
                                             [](const Piece& a, const Piece& b)
                                             { return isSameShot(*a.like, *b.like) && near(a.in, b.in); });
        const auto meet = [&]
        {
            return std::ranges::any_of(added[0],
                                       [&](const Piece& a)
                                       {
                                           return std::ranges::any_of(
                                               added[1], [&](const Piece& b)
                                               { return a.in < b.out - tolerance && b.in < a.out - tolerance; });
                                       });
        };
        if (same)
            added[1].clear();
        else if (!added[0].empty() && !added[1].empty() && meet())
        {
            const int j = favoured == 0 ? added[0].front().ours : added[1].front().theirs;
            DmMergeConflict& found = conflict(*sides[favoured], j, "both put other material at one place");
            found.ours = clipName(*added[0].front().like->node);
            found.theirs = clipName(*added[1].front().like->node);
            // What it pushed along stays where it is.
            const double length = added[1 - favoured].back().out - added[1 - favoured].front().in;
            restored[1 - favoured] = -length;
            added[1 - favoured].clear();
        }
        std::vector<Piece> both = added[0];
        both.insert(both.end(), added[1].begin(), added[1].end());
        std::ranges::stable_sort(both, {}, &Piece::in);
        if (!both.empty() && last >= 0 && lastPiece >= 0)
        {
            bool clashes = false;
            const Edit& lo = _ours.edits[std::size_t(last)];
            const Edit& lt = _theirs.edits[std::size_t(last)];
            pieces[std::size_t(lastPiece)].out += pick(lo.tail, lt.tail, clashes);
            if (clashes)
            {
                DmMergeConflict& found =
                    conflict(*sides[favoured], (favoured == 0 ? lo : lt).at, "both trimmed this cut");
                found.ours = _ours.cut->label(_ours.out[std::size_t(lo.at)]);
                found.theirs = _theirs.cut->label(_theirs.out[std::size_t(lt.at)]);
            }
            last = -1;
        }
        if (same)
            for (double& shift : restored)
                shift = 0.0;
        pieces.insert(pieces.end(), both.begin(), both.end());
    }
    if (last >= 0 && lastPiece >= 0)
    {
        bool clashes = false;
        const Edit& lo = _ours.edits[std::size_t(last)];
        const Edit& lt = _theirs.edits[std::size_t(last)];
        pieces[std::size_t(lastPiece)].out += pick(lo.tail, lt.tail, clashes);
        if (clashes)
        {
            DmMergeConflict& found = conflict(*sides[favoured], (favoured == 0 ? lo : lt).at, "both trimmed this cut");
            found.ours = _ours.cut->label(_ours.out[std::size_t(lo.at)]);
            found.theirs = _theirs.cut->label(_theirs.out[std::size_t(lt.at)]);
        }
    }
    for (std::size_t i = 0; i < pieces.size(); ++i)
        if (pieces[i].out - pieces[i].in < dmLeastLength || (i > 0 && pieces[i].in < pieces[i - 1].out - tolerance))
            return false;
    return true;
}

/// The transition between two shots of a cut that stand beside each other.
LaneMerge::Joint LaneMerge::jointOf(const Cut& cut, const std::vector<double>& in, const std::vector<double>& out,
                                    int left, int right) const
{
    Joint joint;
    const Shot* const a = left < 0 ? nullptr : &cut.shots()[std::size_t(left)];
    const Shot* const b = right < 0 ? nullptr : &cut.shots()[std::size_t(right)];
    if (a && a->behind && b && a->behind == b->inFront)
        joint = {a->behind, out[std::size_t(left)] - a->out, b->in - in[std::size_t(right)]};
    return joint;
}

LaneMerge::Joint LaneMerge::chooseJoint(const Piece& left, const Piece& right)
{
    const auto beside = [](const Cut& cut, int a, int b)
    { return a >= 0 && b == a + 1 && cut.shots()[std::size_t(a)].lane == cut.shots()[std::size_t(b)].lane; };
    const bool inBase = beside(_base, left.base, right.base);
    const bool inOurs = beside(*_ours.cut, left.ours, right.ours);
    const bool inTheirs = beside(*_theirs.cut, left.theirs, right.theirs);
    const Joint base = inBase ? jointOf(_base, _in, _out, left.base, right.base) : Joint();
    const Joint ours = inOurs ? jointOf(*_ours.cut, _ours.in, _ours.out, left.ours, right.ours) : Joint();
    const Joint theirs = inTheirs ? jointOf(*_theirs.cut, _theirs.in, _theirs.out, left.theirs, right.theirs) : Joint();
    if (!inTheirs)
        return ours;
    if (!inOurs)
        return theirs;
    const auto same = [](const Joint& a, const Joint& b)
    {
        if (!a.node || !b.node)
            return a.node == b.node;
        json::Document one;
        json::Document other;
        const bool read = elementOf(*a.node, one) && elementOf(*b.node, other);
        for (json::Document* const each : {&one, &other})
            if (Value* const members = read ? membersOf(*each) : nullptr)
                members->RemoveMember("recIn");
        return read && near(a.before, b.before) && near(a.behind, b.behind) && isSame(one, other);
    };
    if (same(ours, theirs) || same(base, theirs))
        return ours;
    if (same(base, ours))
        return theirs;
    DmMergeConflict& found = conflict(_ours, right.ours, "both changed the transition");
    const auto shown = [](const Joint& joint) {
        return joint.node ? std::to_string(std::llround(joint.node->getRecLength())) + " frames" : std::string("a cut");
    };
    found.ours = shown(ours);
    found.theirs = shown(theirs);
    return _favoursTheirs ? theirs : ours;
}

/// What the shot has beside its times, keys standing as they did in the old cut.
CoSharedPtr<DmSegmentNode> LaneMerge::contents(const Piece& piece)
{
    json::Document base;
    json::Document ours;
    json::Document theirs;
    const auto headOf = [&](const Side& side)
    { return piece.base < 0 ? 0.0 : side.edits[std::size_t(piece.base)].rawHead; };
    if (piece.base >= 0)
        valueOfShot(_base.shots()[std::size_t(piece.base)], 0.0, base);
    if (piece.ours >= 0)
        valueOfShot(_ours.cut->shots()[std::size_t(piece.ours)], headOf(_ours), ours);
    if (piece.theirs >= 0)
        valueOfShot(_theirs.cut->shots()[std::size_t(piece.theirs)], headOf(_theirs), theirs);
    const auto orNull = [](const json::Document& value)
    { return value.IsNull() ? nullptr : static_cast<const Value*>(&value); };
    const Value* const one = orNull(ours);
    const Value* const other = orNull(theirs);
    json::Document result;
    std::string text;
    if (one && other)
    {
        Conflicts found;
        ValueMerge merge(result.GetAllocator(), _favoursTheirs, found);
        bool isThere = false;
        const Value merged = merge.merge(orNull(base), one, other, "/DmLayerNode", isThere);
        text = textOf(merged);
        for (const DmMergeConflict& each : found)
        {
            DmMergeConflict& told = conflict(_ours, piece.ours, "");
            told.what = each.what;
            told.path += each.path.substr(std::string_view("/DmLayerNode").size());
            told.ours = each.ours;
            told.theirs = each.theirs;
        }
    }
    else if (one || other)
        text = textOf(one ? *one : *other);
    CoSharedPtr<DmPropertySet> set;
    if (text.empty() || DmJsonImporter::importSetFromStr(text, set).failed())
        return {};
    return CoSharedPtr<DmSegmentNode>(dynamic_cast<DmSegmentNode*>(set.get()));
}

CoSharedPtr<DmSegmentNode> LaneMerge::makeShot(const Piece& piece, const Joint& inFront, const Joint& behind)
{
    const CoSharedPtr<DmSegmentNode> node = contents(piece);
    if (!node)
        return {};
    const Shot& like = *piece.like;
    const double in = piece.in + inFront.behind;
    const double out = piece.out - behind.before;
    const double head = in - like.in - piece.later;
    const double tail = out - like.out - piece.later;
    if (out - in < dmLeastLength)
        return {};
    if (piece.base >= 0)
        DmSegmentChange::shiftKeys(*node, -(in - piece.later - _base.shots()[std::size_t(piece.base)].in));
    if (auto* const source = dynamic_cast<DmSourceNode*>(node.get()))
        DmSegmentChange::ownInput(*source);
    const DM::FrameCodeModes fcm = _base.fcm();
    const DmPlayedBeside beside{inFront.before + inFront.behind, behind.before + behind.behind};
    const DmMaterial material = dmMaterialOf(*node, fcm);
    DmSegmentChange change(*node, fcm, beside);
    const double pace = like.rate * std::abs(like.speed);
    if (like.plays() && !like.isKeyed)
    {
        const double srcIn =
            like.speed < 0.0 ? like.srcIn - (tail + piece.slip) * pace : like.srcIn + (head + piece.slip) * pace;
        change.setBegin(srcIn - material.begin);
    }
    if (node->setRecLength(out - in) != DM_NO_ERROR)
        return {};
    change.settle(beside);
    const DmMaterial now = dmMaterialOf(*node, fcm);
    if (now.isLimited() && like.plays() && !like.isKeyed && like.speed > 0.0 &&
        (node->getRelIn() - beside.before * pace < -tolerance ||
         node->getRelIn() + (out - in + beside.behind) * pace > now.length + tolerance))
        return {}; // there is not that much
    return node;
}

CoSharedPtr<DmLayerNode> LaneMerge::mergeLane(int laneAt)
{
    std::vector<Piece> pieces;
    if (!placePieces(laneAt, pieces))
        return {};
    const Lane& own = _ours.cut->lanes()[std::size_t(_ours.lanes[std::size_t(laneAt)])];
    const double toRecord = own.layer->getLayerStartTC() - own.start;
    std::vector<Joint> joints(pieces.size() + 1);
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i)
        if (near(pieces[i].out, pieces[i + 1].in))
            joints[i + 1] = chooseJoint(pieces[i], pieces[i + 1]);
    DmLayerBuilder builder(own.layer->getLayerNum(), own.layer->getMediaType(), own.layer->getLayerStartTC());
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        if (const Joint& joint = joints[i]; joint.node)
        {
            const CoSharedPtr<DmPropertySet> copy = copyOf(*joint.node);
            auto* const transition = dynamic_cast<DmTransitionNode*>(copy.get());
            if (!transition || transition->setRecIn(pieces[i].in - joint.before + toRecord) != DM_NO_ERROR ||
                transition->setRecLength(joint.before + joint.behind) != DM_NO_ERROR ||
                builder.place(CoSharedPtr<DmTreeNode>(transition)) != DM_NO_ERROR)
                return {};
        }
        const CoSharedPtr<DmSegmentNode> shot = makeShot(pieces[i], joints[i], joints[i + 1]);
        if (!shot || shot->setRecIn(pieces[i].in + joints[i].behind + toRecord) != DM_NO_ERROR ||
            builder.place(CoSharedPtr<DmTreeNode>(shot.get())) != DM_NO_ERROR)
            return {};
    }
    return builder.finish();
}

} // namespace dmCompare
