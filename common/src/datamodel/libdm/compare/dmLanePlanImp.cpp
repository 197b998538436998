#include "dmLanePlanImp.h"

#include "dmReachImp.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dmCompare
{
namespace
{

/// What both sides added is the same where it plays the same for as long.
bool isSameShot(const Shot& a, const Shot& b)
{
    return agree(a.medium, b.medium) != Agreement::No && a.name == b.name && isNothing(a.srcIn - b.srcIn) &&
           isNothing(a.out - a.in - b.out + b.in) && a.speed == b.speed;
}

bool near(double a, double b)
{
    return isNothing(a - b);
}

/// How far a side pushed what is behind an old shot.
double shiftBehind(const SideEdit& edit)
{
    return edit.parts.empty() ? edit.shift : edit.parts.back().shift;
}

int& shotOf(Piece& piece, int side)
{
    return side == 0 ? piece.ours : piece.theirs;
}

} // namespace

// MergeSides

std::string MergeSides::pointerOf(const Lane& laneOfOurs) const
{
    return ours.cut().path() + "/children/" + std::to_string(laneOfOurs.trackAt) + "/DmTrackNode/children/" +
           std::to_string(laneOfOurs.layerAt) + "/DmLayerNode/children";
}

DmMergeConflict& MergeSides::addConflict(std::vector<DmMergeConflict>& conflicts, int number, int shot,
                                         const char* what) const
{
    const Cut& cut = side(number).cut();
    const Shot& at = cut.shots()[std::size_t(shot)];
    DmMergeConflict& conflict = conflicts.emplace_back();
    if (number == 0)
        conflict.path = pointerOf(cut.laneOf(at)) + '/' + std::to_string(at.element);
    conflict.track = cut.laneOf(at).name;
    conflict.clip = clipName(*at.node);
    conflict.label = cut.label(at.in);
    conflict.record = conflict.result = at.node->getRecIn();
    conflict.what = what;
    return conflict;
}

// LanePlan

LanePlan::LanePlan(const MergeSides& sides, int lane, const std::set<int>& refused, Conflicts& conflicts)
    : _sides(sides)
    , _lane(sides.base.lanes()[std::size_t(lane)])
    , _laneAt(lane)
    , _refused(refused)
    , _conflicts(conflicts)
{
    collectAdded();
    for (int s = 0; s < 2; ++s)
        findRuns(s);
    placeAdded(_lane.first);
    for (int i = _lane.first; i < _lane.last; ++i)
    {
        placeOld(i);
        placeAdded(i + 1);
    }
    closeTail(_lane.last);
    splitPieces();
}

void LanePlan::collectAdded()
{
    for (int s = 0; s < 2; ++s)
    {
        const Side& side = _sides.side(s);
        const Lane& own = side.cut().lanes()[std::size_t(side.lanes()[std::size_t(_laneAt)])];
        _put[s].resize(std::size_t(_lane.count()) + 1);
        int seam = _lane.first;
        for (int j = own.first; j < own.last; ++j)
        {
            const int old = side.oldOf(j);
            if (old >= _lane.first && old < _lane.last && side.edit(old).isInPlace)
                seam = old + 1;
            else if (!side.isInside(j) && !isRefused(s, seam))
                _put[s][std::size_t(seam - _lane.first)].push_back(j);
        }
    }
}

/// Whether a side moved an old shot away from a transition that the other put there.
bool LanePlan::isMovedFromTransition(int mover, int base) const
{
    const SideEdit& moved = edit(mover, base);
    const SideEdit& other = edit(1 - mover, base);
    return moved.isThere && !moved.isInPlace && !moved.newInFront && !moved.newBehind && isInPlace(1 - mover, base) &&
           (other.newInFront || other.newBehind);
}

/// What a side has between two old shots that are in place pushes what is behind by its length, and what it took away
/// there pulls, where that is what happened to the next one.
void LanePlan::findRuns(int s)
{
    const Side& side = _sides.side(s);
    const Lane& own = side.cut().lanes()[std::size_t(side.lanes()[std::size_t(_laneAt)])];
    const auto endOf = [](const Lane& lane) { return lane.end - lane.layer->getLayerStartTC() + lane.start; };
    _closesUp[s].resize(std::size_t(_lane.count()) + 1);
    for (int first = _lane.first, last = first; first <= _lane.last; first = last + 1)
    {
        double by = 0.0;
        bool isKept = !isRefused(s, first);
        for (const int j : _put[s][std::size_t(first - _lane.first)])
            by += side.out(j) - side.in(j);
        for (last = first; last < _lane.last && !isInPlace(s, last); ++last)
        {
            by -= lengthOf(last);
            isKept = isKept && !isRefused(s, last + 1);
        }
        double shift = last < _lane.last ? edit(s, last).shift : endOf(own) - endOf(_lane);
        double tailInFront = 0.0;
        if (first > _lane.first)
        {
            shift -= shiftBehind(edit(s, first - 1));
            tailInFront = edit(s, first - 1).tail;
        }
        const bool closes = isKept && (near(shift, by) || near(shift - tailInFront, by));
        for (int i = first; i <= last; ++i)
            _closesUp[s][std::size_t(i - _lane.first)] = closes && (i < last || first == last);
    }
}

/// By how much longer a side made an old shot, what it put into it aside.
double LanePlan::growthOf(int side, int base) const
{
    return isRefused(side, base) || isRefused(side, base + 1) ? 0.0 : edit(side, base).tail - edit(side, base).head;
}

/// Whether this is what a cut that both trimmed pulls along on another track.
bool LanePlan::isOfClash(const double (&events)[2]) const
{
    return std::ranges::any_of(*_sides.clashes, [&](const std::pair<double, double>& each)
                               { return near(each.first, events[0]) && near(each.second, events[1]); });
}

/// Of two amounts the one that is not nothing.
double LanePlan::pick(double ours, double theirs, bool& clashes) const
{
    if (near(ours, theirs) || theirs == 0.0)
        return ours;
    if (ours == 0.0)
        return theirs;
    clashes = true;
    return _sides.favoured == 0 ? ours : theirs;
}

/// What a side did to the tail of the shot in front of a seam.
double LanePlan::tail(int side, int seam) const
{
    return _last < 0 || isRefused(side, seam) || _uncovered[side] == seam ? 0.0 : edit(side, _last).tail;
}

/// What a side did to the head of the shot behind a seam.
double LanePlan::head(int side, int seam) const
{
    return isRefused(side, seam) || _uncovered[side] == seam ? 0.0 : edit(side, seam).head;
}

/// Whether what a side put at a seam is an old shot that it moved there, and that is left out: both moved it, or the
/// other one removed it.
bool LanePlan::isLeftOut(int s, int shot) const
{
    const int old = _sides.side(s).oldOf(shot);
    return old >= 0 && s != _sides.favoured && (!isInPlace(1 - s, old) || stays(old));
}

/// Whether a side took a shot out by laying over it nothing but what is left out.
bool LanePlan::isCoverLeftOut(int s, int base) const
{
    int seam = base;
    while (seam > _lane.first && !isInPlace(s, seam - 1))
        --seam;
    const std::vector<int>& put = _put[s][std::size_t(seam - _lane.first)];
    return !put.empty() && std::ranges::all_of(put, [&](int shot) { return isLeftOut(s, shot); });
}

/// Where one side alone has a shot, whether it stays.
bool LanePlan::decideRemoved(int base, double (&dropped)[2])
{
    const int keeper = edit(0, base).isThere ? 0 : 1;
    const int favoured = _sides.favoured;
    const SideEdit& kept = edit(keeper, base);
    if (isRefused(1 - keeper, base) || isRefused(1 - keeper, base + 1) || isCoverLeftOut(1 - keeper, base))
        return true;
    if (_sides.side(keeper).isUntouched(base))
        return false;
    DmMergeConflict& found = _sides.addConflict(_conflicts, keeper, kept.at, "one side removed what the other changed");
    found.ours = keeper == 0 ? "changed" : "removed";
    found.theirs = keeper == 0 ? "removed" : "changed";
    if (keeper == favoured && !closesUp(1 - keeper, base))
        _restored[1 - keeper] += _sides.seams.out[std::size_t(base)] - _sides.seams.in[std::size_t(base)];
    else if (keeper != favoured)
        dropped[keeper] = kept.head - kept.tail;
    return keeper == favoured;
}

void LanePlan::noteBothMoved(int base)
{
    const auto standsBehind = [&](int s)
    {
        const int at = edit(s, base).at;
        return at > 0 ? _sides.side(s).oldOf(at - 1) : -1;
    };
    if (standsBehind(0) == standsBehind(1))
        return;
    DmMergeConflict& found = _sides.addConflict(_conflicts, 0, edit(0, base).at, "both moved it");
    found.ours = found.label;
    found.theirs = _sides.theirs.cut().label(_sides.theirs.shot(edit(1, base).at).in);
}

void LanePlan::placeOld(int i)
{
    double dropped[2] = {0.0, 0.0}; ///< what pushes of a shot that goes amount to
    const SideEdit& o = edit(0, i);
    const SideEdit& t = edit(1, i);
    const bool isKept = o.isThere != t.isThere ? decideRemoved(i, dropped) : o.isThere;
    const bool inPlace = stays(i) || ((!o.isThere || o.isInPlace) && (!t.isThere || t.isInPlace));
    if (o.isThere && t.isThere && !o.isInPlace && !t.isInPlace)
        noteBothMoved(i);
    for (int s = 0; s < 2; ++s)
        if (isMovedFromTransition(s, i))
            noteMovedFromTransition(s, i);
    double events[2] = {0.0, 0.0};
    bool closes = false;
    for (int s = 0; s < 2; ++s)
        if (const SideEdit& each = edit(s, i); each.isThere && each.isInPlace)
        {
            events[s] = each.shift - _shifts[s];
            _shifts[s] = shiftBehind(each);
            if ((_restored[s] != 0.0 && near(events[s], -_restored[s])) || isRefused(s, i))
                events[s] = 0.0;
            _restored[s] = dropped[s];
        }
        else if (closesUp(s, i))
        {
            closes = true;
            _shifts[s] -= lengthOf(i);
        }
    if (isKept && inPlace)
        return placeKept(i, events);
    _pushed += near(events[0], events[1]) ? events[0] : events[0] + events[1];
    if (closes)
    {
        _pushed -= lengthOf(i);
        // What the other side took off it, or gave it, is where it went.
        for (int s = 0; isKept && s < 2; ++s)
            _pushed -= isInPlace(s, i) ? growthOf(s, i) : 0.0;
    }
    // The tail in front belongs to a seam that one side alone has now.
    if (!isKept && _last >= 0)
    {
        bool clashes = false;
        _pieces[std::size_t(_lastPiece)].out += pick(tail(0, i), tail(1, i), clashes);
        _last = -1;
    }
}

void LanePlan::noteMovedFromTransition(int mover, int base)
{
    DmMergeConflict& found = _sides.addConflict(_conflicts, 0, edit(0, base).at,
                                                "one side moved it from a transition that the other changed");
    (mover == 0 ? found.ours : found.theirs) = "moved";
    (mover == 0 ? found.theirs : found.ours) = "a transition";
}

/// Whether a shot's material times are a side's: one that plays something else, or else one that plays otherwise.
bool LanePlan::isLike(int s, int base) const
{
    const SideEdit& own = edit(s, base);
    const SideEdit& other = edit(1 - s, base);
    if (!own.isThere || !own.isOther)
        return false;
    if (!other.isThere || !other.isOther || own.isReplaced != other.isReplaced)
        return !other.isThere || !other.isOther || own.isReplaced;
    return s == _sides.favoured;
}

void LanePlan::placeKept(int i, const double (&events)[2])
{
    const int favoured = _sides.favoured;
    const double heads[2] = {head(0, i), head(1, i)};
    const double tails[2] = {tail(0, i), tail(1, i)};
    bool clashes = false;
    double merged = pick(heads[0], heads[1], clashes);
    double lastTail = pick(tails[0], tails[1], clashes);
    if (clashes)
    {
        merged = heads[favoured];
        lastTail = tails[favoured];
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, edit(favoured, i).at, bothTrimmed);
        const auto cutOf = [&](int s)
        {
            const Side& side = _sides.side(s);
            return side.cut().label(edit(s, i).isThere ? side.in(edit(s, i).at) : side.out(edit(s, _last).end));
        };
        found.ours = cutOf(0);
        found.theirs = cutOf(1);
        if (found.ours == found.theirs) // a transition holds the cut
        {
            const auto longer = [&](int s)
            {
                const double by = tails[s] - heads[s];
                return std::to_string(std::llround(std::abs(by))) + (by < 0.0 ? " frames shorter" : " frames longer");
            };
            found.ours = longer(0);
            found.theirs = longer(1);
        }
        _pushed += events[favoured];
        if (!near(events[0], events[1]))
            _sides.clashes->emplace_back(events[0], events[1]);
    }
    else
    {
        const double* const were = _last >= 0 ? tails : _closedTails;
        const bool sameEdit = near(were[0], were[1]) && near(heads[0], heads[1]) && near(events[0], events[1]);
        const bool isOne = sameEdit || (merged == 0.0 && lastTail == 0.0 && isOfClash(events));
        _pushed += isOne ? events[favoured] : events[0] + events[1];
    }
    if (_last >= 0)
        _pieces[std::size_t(_lastPiece)].out += lastTail;

    Piece piece;
    piece.base = i;
    piece.ours = edit(0, i).at;
    piece.theirs = edit(1, i).at;
    piece.in = _sides.seams.in[std::size_t(i)] + _pushed + merged;
    piece.out = _sides.seams.out[std::size_t(i)] + _pushed;
    piece.like = &_sides.base.shots()[std::size_t(i)];
    piece.later = piece.pushed = _pushed;
    piece.isWhole = true;
    piece.seam = i;
    const auto slipOf = [&](int s) { return isRefused(s, i) || isRefused(s, i + 1) ? 0.0 : edit(s, i).slip; };
    bool slipClashes = false;
    piece.slip = pick(slipOf(0), slipOf(1), slipClashes);
    for (int s = 0; s < 2; ++s)
    {
        const SideEdit& each = edit(s, i);
        if (isLike(s, i))
        {
            piece.like = &_sides.side(s).shot(each.at);
            piece.later = _pushed - each.shift;
        }
        if (each.isThere && each.isInPlace && _laneAt == 0)
            _pushes[s].push_back({_sides.side(s).in(each.at), _pushed - each.shift, _pieces.size()});
    }
    if (slipClashes)
    {
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, edit(favoured, i).at, "both slipped it");
        found.ours = std::to_string(std::llround(edit(0, i).slip)) + " frames";
        found.theirs = std::to_string(std::llround(edit(1, i).slip)) + " frames";
    }
    _lastPiece = int(_pieces.size());
    _pieces.push_back(piece);
    _last = i;
    _closedTails[0] = _closedTails[1] = 0.0;
}

/// A shot of a side that is new at a seam: its own, or an old one that it moved there, which gets what the other did.
Piece LanePlan::added(int s, int shot, int seam, bool isFirst) const
{
    const Side& side = _sides.side(s);
    Piece piece;
    shotOf(piece, s) = shot;
    piece.later = _pushed - _shifts[s];
    piece.in = side.in(shot) + piece.later;
    piece.out = side.out(shot) + piece.later;
    piece.like = &side.shot(shot);
    piece.seam = seam;
    if (const int old = side.oldOf(shot); old >= 0)
    {
        const SideEdit& other = edit(1 - s, old);
        piece.base = old;
        shotOf(piece, 1 - s) = other.at;
        piece.pushed = piece.in - _sides.seams.in[std::size_t(old)] - edit(s, old).head - other.head;
        piece.out += other.tail - other.head;
        piece.later -= other.head;
        if (isLike(1 - s, old))
        {
            piece.like = &_sides.side(1 - s).shot(other.at);
            piece.later = piece.in - _sides.side(1 - s).in(other.at);
        }
        piece.slip = other.slip;
        piece.isWhole = true;
    }
    // Its neighbour in front may have got another tail from the other side.
    if (_last >= 0 && _last == seam - 1)
    {
        const double foreign = tail(1 - s, seam);
        const bool touches = !isFirst || near(side.out(edit(s, _last).end), side.in(shot));
        if (edit(s, _last).isThere && tail(s, seam) == 0.0 && foreign != 0.0 && touches)
        {
            piece.in += foreign;
            piece.out += foreign;
            piece.later += foreign;
            piece.pushed += foreign;
        }
    }
    return piece;
}

void LanePlan::placeAdded(int seam)
{
    const int favoured = _sides.favoured;
    const bool closesBefore[2] = {closesUp(0, seam), closesUp(1, seam)};
    std::vector<Piece> all[2];
    double skipped[2] = {0.0, 0.0};
    for (int s = 0; s < 2; ++s)
        for (const int j : _put[s][std::size_t(seam - _lane.first)])
            if (isLeftOut(s, j))
                skipped[s] += _sides.side(s).out(j) - _sides.side(s).in(j);
            else
                all[s].push_back(added(s, j, seam, all[s].empty()));
    const auto lengthOfAll = [](const std::vector<Piece>& pieces)
    {
        double length = 0.0;
        for (const Piece& piece : pieces)
            length += piece.out - piece.in;
        return length;
    };
    const bool same = !all[0].empty() && all[0].size() == all[1].size() &&
                      std::ranges::equal(all[0], all[1],
                                         [](const Piece& a, const Piece& b)
                                         { return isSameShot(*a.like, *b.like) && near(a.in, b.in); });
    const auto meets = [&](const Piece& a)
    {
        return std::ranges::any_of(all[1], [&](const Piece& b)
                                   { return a.in < b.out - leastDifference && b.in < a.out - leastDifference; });
    };
    double opened[2]; ///< what each side made room for
    for (int s = 0; s < 2; ++s)
    {
        opened[s] = lengthOfAll(all[s]);
        double own = skipped[s];
        for (const Piece& piece : all[s])
        {
            const int j = s == 0 ? piece.ours : piece.theirs;
            own += _sides.side(s).out(j) - _sides.side(s).in(j);
        }
        if (closesBefore[s])
            _shifts[s] += own;
    }
    const auto leaveOut = [&](int s)
    {
        const double length = all[s].back().out - all[s].front().in;
        // What it covered plays again; what it pushed along stays where it is.
        if (seam < _lane.last && isInPlace(s, seam) && near(head(s, seam) - tail(s, seam), length))
            _uncovered[s] = seam;
        else if (!closesBefore[s])
            _restored[s] = -length;
        opened[s] = 0.0;
        all[s].clear();
    };
    if (same)
    {
        opened[1] = closesBefore[0] ? 0.0 : opened[1];
        all[1].clear();
    }
    else if (!all[0].empty() && !all[1].empty() && std::ranges::any_of(all[0], meets))
    {
        const int j = favoured == 0 ? all[0].front().ours : all[1].front().theirs;
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, j, "both put other material at one place");
        found.ours = clipName(*all[0].front().like->node);
        found.theirs = clipName(*all[1].front().like->node);
        leaveOut(1 - favoured);
    }
    for (int s = 0; s < 2; ++s)
        if (!all[s].empty() && isTransitionNew(1 - s, seam))
        {
            const int j = s == 0 ? all[0].front().ours : all[1].front().theirs;
            DmMergeConflict& found =
                _sides.addConflict(_conflicts, s, j, "one side put material where the other changed a transition");
            (s == 0 ? found.ours : found.theirs) = clipName(*all[s].front().like->node);
            (s == 0 ? found.theirs : found.ours) = "a transition";
            if (s != favoured)
                leaveOut(s);
        }
    if (isTransitionNew(favoured, seam) && leavesHole(1 - favoured, seam))
    {
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, edit(favoured, seam).at,
                                                    "one side put a transition where the other pulled the shots apart");
        (favoured == 0 ? found.ours : found.theirs) = "a transition";
        (favoured == 0 ? found.theirs : found.ours) = "nothing";
        _uncovered[1 - favoured] = seam;
    }
    for (int s = 0; s < 2; ++s)
        _pushed += closesBefore[s] ? opened[s] : 0.0;
    std::vector<Piece> both = all[0];
    both.insert(both.end(), all[1].begin(), all[1].end());
    std::ranges::stable_sort(both, {}, &Piece::in);
    if (!both.empty())
        closeTail(seam);
    if (same)
        for (double& shift : _restored)
            shift = 0.0;
    _pieces.insert(_pieces.end(), both.begin(), both.end());
}

/// Whether a side pulled the old shots on both sides of a seam apart, and put nothing between them.
bool LanePlan::leavesHole(int s, int seam) const
{
    if (seam == _lane.first || seam == _lane.last || !isInPlace(s, seam) || !isInPlace(s, seam - 1) ||
        !_put[s][std::size_t(seam - _lane.first)].empty() || (head(s, seam) == 0.0 && tail(s, seam) == 0.0))
        return false;
    const Side& side = _sides.side(s);
    return side.in(edit(s, seam).at) - side.out(edit(s, seam - 1).end) > leastDifference;
}

/// Whether a side put a transition on the seam in front of an old shot, or changed the one there.
bool LanePlan::isTransitionNew(int s, int seam) const
{
    return seam > _lane.first && seam < _lane.last && isInPlace(s, seam - 1) && isInPlace(s, seam) &&
           edit(s, seam).newInFront && edit(s, seam - 1).newBehind && !isRefused(s, seam);
}

/// Trims the shot in front, when nothing else is there to meet it.
void LanePlan::closeTail(int seam)
{
    if (_last < 0)
        return;
    bool clashes = false;
    for (int s = 0; s < 2; ++s)
        _closedTails[s] = tail(s, seam);
    _pieces[std::size_t(_lastPiece)].out += pick(_closedTails[0], _closedTails[1], clashes);
    if (clashes)
    {
        const SideEdit& o = edit(0, _last);
        const SideEdit& t = edit(1, _last);
        DmMergeConflict& found =
            _sides.addConflict(_conflicts, _sides.favoured, edit(_sides.favoured, _last).at, bothTrimmed);
        found.ours = _sides.ours.cut().label(_sides.ours.out(o.end));
        found.theirs = _sides.theirs.cut().label(_sides.theirs.out(t.end));
    }
    _last = -1;
}

// Shots that were split

std::vector<LanePlan::Break> LanePlan::breaksOf(int s, int base) const
{
    const Side& side = _sides.side(s);
    const std::vector<Part>& parts = edit(s, base).parts;
    std::vector<Break> breaks;
    if (isRefused(s, base) || isRefused(s, base + 1))
        return breaks;
    for (std::size_t k = 1; k < parts.size(); ++k)
    {
        const double from = side.out(parts[k - 1].shot) - parts[k - 1].shift;
        const double to = side.in(parts[k].shot) - parts[k].shift;
        breaks.push_back({s, from, to, side.in(parts[k].shot) - side.out(parts[k - 1].shot), parts[k - 1].shot,
                          parts[k].shot - parts[k - 1].shot - 1});
    }
    return breaks;
}

/// Of a shot that both sides may have split: at the points of both, and what both put in at different ones.
std::vector<LanePlan::Break> LanePlan::breaksOfBoth(const Piece& piece)
{
    const int favoured = _sides.favoured;
    std::vector<Break> all = breaksOf(favoured, piece.base);
    const std::size_t first = all.size();
    const auto meets = [](const Break& a, const Break& b)
    {
        if (near(a.from, b.from) && near(a.to, b.to))
            return true;
        return std::max(a.from, b.from) < std::min(a.to, b.to) - leastDifference ||
               (near(a.from, a.to) && a.from > b.from + leastDifference && a.from < b.to - leastDifference) ||
               (near(b.from, b.to) && b.from > a.from + leastDifference && b.from < a.to - leastDifference);
    };
    const auto isSameBreak = [&](const Break& a, const Break& b)
    {
        if (!near(a.from, b.from) || !near(a.to, b.to) || !near(a.room, b.room) || a.count != b.count)
            return false;
        for (int k = 1; k <= a.count; ++k)
            if (!isSameShot(_sides.side(a.side).shot(a.left + k), _sides.side(b.side).shot(b.left + k)))
                return false;
        return true;
    };
    for (const Break& other : breaksOf(1 - favoured, piece.base))
    {
        const auto end = all.begin() + std::ptrdiff_t(first);
        if (std::any_of(all.begin(), end, [&](const Break& each) { return isSameBreak(each, other); }))
            continue;
        const auto clash = std::find_if(
            all.begin(), end,
            [&](const Break& each) { return !near(each.room, 0.0) && !near(other.room, 0.0) && meets(each, other); });
        if (clash == end)
        {
            all.push_back(other);
            continue;
        }
        const auto nameOf = [&](const Break& each)
        { return each.count > 0 ? clipName(*_sides.side(each.side).shot(each.left + 1).node) : std::string("a gap"); };
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, clash->left + (clash->count > 0 ? 1 : 0),
                                                    "both put other material at one place");
        found.ours = nameOf(favoured == 0 ? *clash : other);
        found.theirs = nameOf(favoured == 0 ? other : *clash);
    }
    std::ranges::stable_sort(all, {}, [](const Break& each) { return std::pair(each.from, each.to); });
    return all;
}

/// What is left between breaks, in their order.
std::vector<LanePlan::Slice> LanePlan::slicesOf(int base, const std::vector<Break>& breaks) const
{
    constexpr double infinite = std::numeric_limits<double>::infinity();
    const bool areOfBoth = !edit(0, base).parts.empty() && !edit(1, base).parts.empty();
    std::vector<Slice> slices;
    double from = -infinite;
    int called = areOfBoth ? _sides.favoured : -1;
    const auto addSlice = [&](double to) {
        slices.push_back({from, to, {partAt(0, base, from), partAt(1, base, from)}, called});
    };
    for (const Break& each : breaks)
    {
        if (slices.empty() || each.from > from + dmLeastLength)
            addSlice(each.from);
        slices.back().behind.push_back(each);
        if (each.to > from)
        {
            from = each.to;
            called = areOfBoth ? each.side : -1;
        }
    }
    addSlice(infinite);
    return slices;
}

/// Which of a side's shots plays what an old shot played from a time on.
int LanePlan::partAt(int s, int base, double time) const
{
    int shot = edit(s, base).at;
    for (const Part& part : edit(s, base).parts)
        if (isInPlace(s, base) && _sides.side(s).in(part.shot) - part.shift < time + leastDifference)
            shot = part.shot;
    return shot;
}

void LanePlan::addInserted(const Break& from, double in, int seam, std::vector<Piece>& to) const
{
    const Side& side = _sides.side(from.side);
    for (int j = from.left + 1; j <= from.left + from.count; ++j)
    {
        Piece inserted;
        shotOf(inserted, from.side) = j;
        inserted.like = &side.shot(j);
        inserted.in = side.in(j)-side.out(from.left) + in;
        inserted.out = side.out(j) - side.out(from.left) + in;
        inserted.later = inserted.in - side.in(j);
        inserted.seam = seam;
        to.push_back(inserted);
    }
}

double LanePlan::addSlices(const Piece& piece, const std::vector<Slice>& slices, std::vector<Piece>& to) const
{
    const double low = piece.in - piece.pushed;
    const double high = piece.out - piece.pushed;
    const Shot& like = *piece.like;
    const double pace = like.rate * std::abs(like.speed);
    double in = piece.in;
    for (const Slice& slice : slices)
    {
        const double from = std::clamp(slice.from, low, high);
        const double length = std::clamp(slice.to, low, high) - from;
        Piece part = piece;
        part.isWhole = false;
        part.in = in;
        part.out = in + length;
        part.later += in - from - piece.pushed;
        part.ours = slice.shots[0];
        part.theirs = slice.shots[1];
        part.called = slice.called;
        if (like.plays() && like.speed > 0.0)
        {
            const double srcIn = like.srcIn + (part.in - part.later - like.in + part.slip) * pace;
            part.marksFrom = &slice == &slices.front() ? part.marksFrom : srcIn;
            part.marksTo = &slice == &slices.back() ? part.marksTo : srcIn + length * pace;
        }
        if (length > dmLeastLength - leastDifference)
        {
            to.push_back(part);
            in += length;
        }
        for (const Break& each : slice.behind)
        {
            addInserted(each, in, piece.seam, to);
            in += each.room;
        }
    }
    return in;
}

void LanePlan::splitPieces()
{
    std::vector<Piece> all;
    double pushed = 0.0; ///< by what was put into shots, or taken out of them
    std::size_t push[2] = {0, 0};
    for (std::size_t i = 0; i < _pieces.size(); ++i)
    {
        Piece& piece = _pieces[i];
        for (double Piece::*const time : {&Piece::in, &Piece::out, &Piece::later, &Piece::pushed})
            piece.*time += pushed;
        for (int s = 0; s < 2; ++s)
            for (; push[s] < _pushes[s].size() && _pushes[s][push[s]].piece == i; ++push[s])
                _pushes[s][push[s]].by += pushed;
        const std::vector<Break> breaks = piece.isWhole ? breaksOfBoth(piece) : std::vector<Break>();
        if (breaks.empty())
        {
            all.push_back(piece);
            continue;
        }
        pushed += addSlices(piece, slicesOf(piece.base, breaks), all) - piece.out;
    }
    _pieces = std::move(all);
}

const Piece* LanePlan::misfit() const
{
    for (std::size_t i = 0; i < _pieces.size(); ++i)
        if (_pieces[i].out - _pieces[i].in < dmLeastLength ||
            (i > 0 && _pieces[i].in < _pieces[i - 1].out - leastDifference))
            return &_pieces[i];
    return nullptr;
}

} // namespace dmCompare
