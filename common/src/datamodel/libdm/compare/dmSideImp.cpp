#include "dmSideImp.h"

#include "dmSetCompareImp.h"

#include "dmEditImp.h"
#include "dmReachImp.h"
#include "dmSetTools.h"
#include "dmSourceNode.h"
#include "dmTimelineImp.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace dmCompare
{
namespace
{

/// `wanted(shot, isTail)`: where the seam at that end of a shot should lie; none where nobody knows.
template <class Wanted>
Seams seamsWith(const Cut& cut, const Wanted& wanted)
{
    const std::vector<Shot>& shots = cut.shots();
    Seams seams;
    for (const Shot& shot : shots)
    {
        seams.in.push_back(shot.in);
        seams.out.push_back(shot.out);
    }
    const auto place = [&](const DmTransitionNode& node, double begin, int left, int right)
    {
        double time = 0.0;
        const bool known = (left >= 0 && wanted(left, true, time)) || (right >= 0 && wanted(right, false, time));
        const double point = known ? std::clamp(time, begin, begin + node.getRecLength()) : dmCutTimeOf(node, begin);
        if (left >= 0)
            seams.out[std::size_t(left)] = point;
        if (right >= 0)
            seams.in[std::size_t(right)] = point;
    };
    for (std::size_t i = 0; i < shots.size(); ++i)
    {
        const bool meets = i + 1 < shots.size() && shots[i].behind && shots[i + 1].inFront == shots[i].behind;
        if (shots[i].behind)
            place(*shots[i].behind, shots[i].out, int(i), meets ? int(i) + 1 : -1);
        if (shots[i].inFront && (i == 0 || shots[i - 1].behind != shots[i].inFront))
            place(*shots[i].inFront, shots[i].in - shots[i].lengthInFront(), -1, int(i));
    }
    return seams;
}

/// Whether a side put a transition there, or changed the one that was.
bool isOtherTransition(const DmTransitionNode* before, const DmTransitionNode* now)
{
    if (!now || now == before)
        return false;
    bool differs = !before;
    // The source that may be attached follows the shot in front.
    const LeftOut times = [](int index)
    { return index == DmTransitionNode::RecIn || index == DmTransitionNode::BaseBlob; };
    return differs || !compareSets(*before, *now, {}, times, [&](const Difference&) { differs = true; }) || differs;
}

} // namespace

bool isNothing(double frames)
{
    return std::abs(frames) < leastDifference;
}

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

bool elementAtZero(const DmTreeNode& node, json::Document& value)
{
    const CoSharedPtr<DmPropertySet> copy = copyOf(node);
    if (!copy)
        return false;
    dmStandAt(static_cast<DmTreeNode&>(*copy), 0.0);
    return elementOf(*copy, value);
}

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

Seams seamsOf(const Cut& cut)
{
    return seamsWith(cut, [](int, bool, double&) { return false; });
}

Side::Side(const Cut& base, const Seams& baseSeams, const Cut& cut)
    : _base(base)
    , _cut(&cut)
    , _match(matchShots(base.shots(), cut.shots()))
    , _lanes(matchLanes(base, cut, _match))
    , _edits(base.shots().size())
    , _partOf(cut.shots().size(), Part{-1, 0.0})
    , _isInside(cut.shots().size(), false)
{
    for (const Lane& lane : base.lanes())
    {
        const int other = _lanes[std::size_t(&lane - base.lanes().data())];
        std::vector<int> order;
        for (int i = lane.first; i < lane.last; ++i)
        {
            const int at = _match.toNew[std::size_t(i)];
            order.push_back(at >= 0 && shot(at).lane == other ? at : -1);
        }
        const std::vector<bool> keeps = keepsOrder(order);
        for (int i = lane.first; i < lane.last; ++i)
            _edits[std::size_t(i)].isInPlace = keeps[std::size_t(i - lane.first)];
    }
    for (int i = 0; i < int(_edits.size()); ++i)
        study(i);
    _seams = seamsWith(cut,
                       [&](int at, bool isTail, double& time)
                       {
                           const Part& part = _partOf[std::size_t(at)];
                           if (part.shot < 0)
                               return false;
                           time = (isTail ? baseSeams.out : baseSeams.in)[std::size_t(part.shot)] + part.shift;
                           return true;
                       });
    for (int i = 0; i < int(_edits.size()); ++i)
        if (SideEdit& edit = _edits[std::size_t(i)]; edit.isThere)
        {
            const auto clean = [](double frames) { return isNothing(frames) ? 0.0 : frames; };
            edit.head = clean(in(edit.at) - edit.shift - baseSeams.in[std::size_t(i)]);
            edit.tail = clean(out(edit.end) - _partOf[std::size_t(edit.end)].shift - baseSeams.out[std::size_t(i)]);
            edit.shift = clean(edit.shift);
        }
}

/// What goes on with a shot's picture behind its match, or comes in front of it: the shot was split, and something may
/// have been put in between, or taken out.
void Side::findParts(int base)
{
    const Shot& whole = _base.shots()[std::size_t(base)];
    SideEdit& edit = _edits[std::size_t(base)];
    const Shot& match = shot(edit.at);
    if (!edit.isInPlace || !whole.plays() || whole.isKeyed || whole.speed <= 0.0 || match.isKeyed ||
        !isNothing(match.speed - whole.speed) || agree(whole.medium, match.medium) == Agreement::No)
        return;
    const auto isPart = [&](const Shot& each)
    {
        return each.plays() && !each.isKeyed && isNothing(each.speed - whole.speed) && each.name == match.name &&
               agree(each.medium, match.medium) != Agreement::No && each.srcIn > whole.srcIn - leastDifference &&
               each.srcOut < whole.srcOut + leastDifference;
    };
    const auto follows = [](const Shot& a, const Shot& b)
    { return !a.behind && !b.inFront && b.srcIn > a.srcOut - leastDifference; };
    const Lane& lane = _cut->laneOf(match);
    std::vector<int> parts = {edit.at};
    const auto isFree = [&](int at) { return _match.toOld[std::size_t(at)] < 0 && _partOf[std::size_t(at)].shot < 0; };
    for (int at = edit.at + 1; at < lane.last && isFree(at); ++at)
        if (isPart(shot(at)) && follows(shot(parts.back()), shot(at)))
            parts.push_back(at);
    for (int at = edit.at - 1; at >= lane.first && isFree(at); --at)
        if (isPart(shot(at)) && follows(shot(at), shot(parts.front())))
            parts.insert(parts.begin(), at);
    if (parts.size() == 1)
        return;
    edit.at = parts.front();
    edit.end = parts.back();
    for (const int at : parts)
    {
        const double picture = (shot(at).srcIn - whole.srcIn) / (whole.rate * whole.speed);
        edit.parts.push_back({at, shot(at).in - whole.in - picture});
        _partOf[std::size_t(at)] = {base, edit.parts.back().shift};
    }
    for (int at = parts.front(); at <= parts.back(); ++at)
        _isInside[std::size_t(at)] = true;
}

void Side::study(int base)
{
    SideEdit& edit = _edits[std::size_t(base)];
    edit.at = edit.end = _match.toNew[std::size_t(base)];
    edit.isThere = edit.at >= 0;
    if (!edit.isThere)
        return;
    findParts(base);
    const Shot& a = _base.shots()[std::size_t(base)];
    const Shot& b = shot(edit.at);
    const Shot& last = shot(edit.end);
    edit.isReplaced = agree(a.medium, b.medium) == Agreement::No || a.plays() != b.plays();
    edit.isOther = edit.isReplaced || a.isKeyed != b.isKeyed || !isNothing(a.speed - b.speed);
    edit.newInFront = isOtherTransition(a.inFront, b.inFront);
    edit.newBehind = isOtherTransition(a.behind, last.behind);
    double head = 0.0;
    if (!edit.isOther && a.plays() && !a.isKeyed && a.speed != 0.0)
    {
        const double frame = a.rate * std::abs(a.speed);
        const double in = (b.srcIn - a.srcIn) / frame;
        const double out = (last.srcOut - a.srcOut) / frame;
        head = a.speed > 0.0 ? in : -out;
        const bool slips = edit.parts.empty() && isNothing((b.out - b.in) - (a.out - a.in)) && !isNothing(head) &&
                           isNothing(a.lengthInFront() - b.lengthInFront()) &&
                           isNothing(a.lengthBehind() - b.lengthBehind());
        if (slips)
            edit.slip = std::exchange(head, 0.0);
    }
    else if (isNothing(b.out - a.out) && !isNothing(b.in - a.in))
        head = b.in - a.in;
    edit.shift = b.in - a.in - head;
    if (edit.parts.empty())
        _partOf[std::size_t(edit.at)] = {base, edit.shift};

    if (!edit.parts.empty())
        return;
    if (head == 0.0)
    {
        const LeftOut times = [](int index)
        { return index == DmSegmentNode::RecIn || index == DmSegmentNode::RecLength || index == DmSegmentNode::RelIn; };
        bool differs = false;
        edit.isSame = compareSets(*a.node, *b.node, {}, times, [&](const Difference&) { differs = true; }) && !differs;
        return;
    }
    json::Document one;
    json::Document other;
    valueOfShot(a, 0.0, one);
    valueOfShot(b, head, other);
    for (json::Document* const value : {&one, &other})
        if (Value* const members = membersOf(*value))
            members->RemoveMember("relIn");
    edit.isSame = isSame(one, other);
}

bool Side::isUntouched(int base) const
{
    const SideEdit& edit = _edits[std::size_t(base)];
    return edit.isThere && edit.isInPlace && edit.isSame && edit.head == 0.0 && edit.tail == 0.0 && edit.slip == 0.0 &&
           !edit.newInFront && !edit.newBehind;
}

bool Side::crossesLanes() const
{
    for (std::size_t i = 0; i < _edits.size(); ++i)
        if (const SideEdit& edit = _edits[i];
            edit.isThere && _lanes[std::size_t(_base.shots()[i].lane)] != shot(edit.at).lane)
            return true;
    return false;
}

} // namespace dmCompare
