#include "dmCutCompareImp.h"

#include "dmTrackCompareImp.h"

#include "dmCueMark.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dmCompare
{
namespace
{

/// What both cuts share, in the order of both; a row that is not the same in both is no such thing.
std::vector<std::pair<int, int>> sharedPairs(const Cut& before, const Cut& after, bool& isGood)
{
    const auto sharedOf = [](const Cut& cut)
    {
        std::vector<int> shared;
        for (std::size_t i = 0; i < cut.shots().size(); ++i)
            if (cut.shots()[i].isShared)
                shared.push_back(int(i));
        return shared;
    };
    const std::vector<int> olds = sharedOf(before);
    const std::vector<int> news = sharedOf(after);
    std::vector<std::pair<int, int>> pairs;
    isGood = olds.size() == news.size();
    for (std::size_t i = 0; isGood && i < olds.size(); ++i)
    {
        isGood = before.shots()[std::size_t(olds[i])].node == after.shots()[std::size_t(news[i])].node;
        pairs.emplace_back(olds[i], news[i]);
    }
    return pairs;
}

} // namespace

CutCompare::CutCompare(const Cut& before, const Cut& after, double tolerance, bool eachShift,
                       std::vector<DmChange>& changes)
    : _before(before)
    , _after(after)
    , _changes(before, after, tolerance, eachShift, changes)
    , _match(matchShots(before.shots(), after.shots(), sharedPairs(before, after, _keepsShared)))
    , _lanes(matchLanes(before, after, _match))
    , _inOrder(before.shots().size(), false)
{
    for (std::size_t lane = 0; lane < _lanes.size(); ++lane)
        collectOrder(int(lane));
}

bool CutCompare::run()
{
    TrackCompare(_changes, _lanes).run();
    for (const bool tells : {false, true})
        for (std::size_t lane = 0; lane < _lanes.size(); ++lane)
            if (_lanes[lane] >= 0)
                compareTimes(int(lane), tells);
    _changes.compareMarks(_before.composition().getCueMarks(), _after.composition().getCueMarks(), _after.path(), {},
                          {},
                          [&](const DmCueMark& mark, bool isOld)
                          {
                              const Cut& cut = isOld ? _before : _after;
                              return cut.label(cut.composition().getLabelTime(mark.getCueMarkTime()));
                          });
    compareShots();
    compareSeams();
    return _changes.isSound();
}

void CutCompare::collectOrder(int laneAt)
{
    const Lane& lane = _before.lanes()[std::size_t(laneAt)];
    const int other = _lanes[std::size_t(laneAt)];
    std::vector<int> order;
    int shared = -1; ///< the last one, in the new cut
    int leastRange = std::numeric_limits<int>::max();
    for (int i = lane.first; i < lane.last; ++i)
    {
        const Shot& shot = _before.shots()[std::size_t(i)];
        const int at = _match.toNew[std::size_t(i)];
        order.push_back(at >= 0 && _after.shots()[std::size_t(at)].lane == other ? at : -1);
        if (!shot.isShared)
            continue;
        if (order.back() <= shared)
            _keepsShared = false;
        shared = order.back();
        if (shot.leftOut > 0)
            leastRange = std::min(leastRange, shot.leftOut);
    }
    // What stands on the other side of something shared moved, unless more than the least of that did.
    if (shared >= 0)
    {
        int crossing = 0;
        const auto cross = [&](int i, bool crosses)
        {
            int& at = order[std::size_t(i - lane.first)];
            crossing += crosses && at >= 0 ? 1 : 0;
            at = crosses ? -1 : at;
        };
        int low = -1;
        for (int i = lane.first; i < lane.last; ++i)
        {
            cross(i, order[std::size_t(i - lane.first)] < low);
            if (_before.shots()[std::size_t(i)].isShared)
                low = order[std::size_t(i - lane.first)];
        }
        int high = std::numeric_limits<int>::max();
        for (int i = lane.last; i-- > lane.first;)
        {
            cross(i, order[std::size_t(i - lane.first)] > high);
            if (_before.shots()[std::size_t(i)].isShared)
                high = order[std::size_t(i - lane.first)];
        }
        _keepsShared = _keepsShared && crossing <= leastRange;
    }
    const std::vector<bool> keeps = keepsOrder(order);
    for (int i = lane.first; i < lane.last; ++i)
        _inOrder[std::size_t(i)] = keeps[std::size_t(i - lane.first)];
}

void CutCompare::compareShots()
{
    for (std::size_t i = 0; i < _before.shots().size(); ++i)
    {
        const Shot& a = _before.shots()[i];
        const int at = _match.toNew[i];
        if (at < 0)
        {
            _changes.addOf(Kind::Removed, a, nullptr, a.out - a.in);
            continue;
        }
        const Shot& b = _after.shots()[std::size_t(at)];
        if (!_inOrder[i])
        {
            DmChange& change = _changes.addOf(Kind::Moved, a, &b, b.in * _changes.toOld() - a.in);
            if (_lanes[std::size_t(a.lane)] != b.lane)
                change.oldTrack = _before.laneOf(a).name;
        }
        ShotCompare(_changes).compare(a, b, {isTrimmedBehind(int(i) - 1), isTrimmedBehind(int(i))});
    }
    for (std::size_t i = 0; i < _after.shots().size(); ++i)
        if (const Shot& shot = _after.shots()[i]; _match.toOld[i] < 0)
            _changes.addOf(Kind::Added, shot, nullptr, shot.out - shot.in);
}

std::optional<CutCompare::Offsets> CutCompare::offsetsBehind(int i) const
{
    if (i < 0 || i + 1 >= int(_before.shots().size()))
        return {};
    const int at = _match.toNew[std::size_t(i)];
    if (at < 0 || at + 1 >= int(_after.shots().size()) || _match.toNew[std::size_t(i) + 1] != at + 1)
        return {};
    const Shot* const a = &_before.shots()[std::size_t(i)];
    const Shot* const b = &_after.shots()[std::size_t(at)];
    if (!a->behind || !b->behind || a[1].inFront != a->behind || b[1].inFront != b->behind ||
        !_changes.isNothing(b->lengthBehind() * _changes.toOld() - a->lengthBehind()))
        return {};
    return Offsets{_changes.edgesOf(*a, *b).tail, _changes.edgesOf(a[1], b[1]).head};
}

bool CutCompare::isTrimmedBehind(int i) const
{
    const std::optional<Offsets> offsets = offsetsBehind(i);
    return offsets && !_changes.isNothing(offsets->tail - offsets->head);
}

/// A lane's shots in order: a time that moved with the one in front of it, or by what happened between them, or as
/// much as something did on another track, was shifted; another one was moved by itself.
void CutCompare::compareTimes(int laneAt, bool tells)
{
    const Lane& lane = _before.lanes()[std::size_t(laneAt)];
    const Lane& now = _after.lanes()[std::size_t(_lanes[std::size_t(laneAt)])];
    double shiftInFront = now.start * _changes.toOld() - lane.start;
    bool isMove = false; ///< what is followed moved by itself
    int lastOld = lane.first - 1;
    int lastNew = now.first - 1;
    for (int i = lane.first; i < lane.last; ++i)
    {
        if (!_inOrder[std::size_t(i)])
            continue;
        const int at = _match.toNew[std::size_t(i)];
        const Shot& a = _before.shots()[std::size_t(i)];
        const Shot& b = _after.shots()[std::size_t(at)];
        const Edges edges = _changes.edgesOf(a, b);
        const double shift = b.in * _changes.toOld() - a.in;
        const double inSync = edges.isSlip ? shift : shift - edges.head;
        const bool others = i != lastOld + 1 || at != lastNew + 1;
        if (!_changes.isNothing(shift) && !_changes.isNothing(inSync))
        {
            const bool follows = _changes.isNothing(shift - shiftInFront);
            const bool isShift = follows || others || (tells && _changes.isExplained(inSync));
            isMove = others ? false : follows ? isMove : !isShift;
            if (tells && !isShift)
                _changes.addOf(Kind::Moved, a, &b, shift);
            else if (tells)
                _changes.tellShift(a, b, shift, 1 + a.leftOut);
            if (!isMove || tells)
                _changes.explains(inSync);
        }
        shiftInFront = (b.out + b.lengthBehind()) * _changes.toOld() - (a.out + a.lengthBehind());
        lastOld = i;
        lastNew = at;
    }
}

void CutCompare::compareSeams()
{
    std::unordered_set<const DmTransitionNode*> told;
    const auto compare =
        [&](const Shot& a, const Shot& b, const DmTransitionNode* was, const DmTransitionNode* is, double offset)
    {
        if ((was && told.contains(was)) || (is && told.contains(is)))
            return;
        if (was)
            told.insert(was);
        if (is)
            told.insert(is);
        ShotCompare(_changes).compareSeam(a, b, was, is, offset);
    };
    const auto forPairs = [&](const auto& visit)
    {
        for (std::size_t i = 0; i < _before.shots().size(); ++i)
            if (const int at = _match.toNew[i]; at >= 0)
                visit(_before.shots()[i], _after.shots()[std::size_t(at)], int(i));
    };
    forPairs(
        [&](const Shot& a, const Shot& b, int i)
        {
            if (a.inFront && b.inFront)
                compare(a, b, a.inFront, b.inFront,
                        isTrimmedBehind(i - 1)
                            ? 0.0
                            : _changes.edgesOf(a, b).head - b.lengthInFront() * _changes.toOld() + a.lengthInFront());
        });
    forPairs(
        [&](const Shot& a, const Shot& b, int i)
        {
            if (a.behind && b.behind)
                compare(a, b, a.behind, b.behind, isTrimmedBehind(i) ? 0.0 : _changes.edgesOf(a, b).tail);
        });
    forPairs(
        [&](const Shot& a, const Shot& b, int)
        {
            compare(a, b, a.inFront, nullptr, 0.0);
            compare(a, b, nullptr, b.inFront, 0.0);
        });
    forPairs(
        [&](const Shot& a, const Shot& b, int)
        {
            compare(a, b, a.behind, nullptr, 0.0);
            compare(a, b, nullptr, b.behind, 0.0);
        });
    // Between shots of which neither has a partner, they come and go with these.
}

} // namespace dmCompare
