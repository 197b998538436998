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

int& shotOf(Piece& piece, int side)
{
    return side == 0 ? piece.ours : piece.theirs;
}

} // namespace

// MergeSides

std::string MergeSides::pointerOf(const Shot& shot) const
{
    const Lane& lane = ours.cut().laneOf(shot);
    return ours.cut().path() + "/children/" + std::to_string(lane.trackAt) + "/DmTrackNode/children/" +
           std::to_string(lane.layerAt) + "/DmLayerNode/children/" + std::to_string(shot.element);
}

DmMergeConflict& MergeSides::addConflict(std::vector<DmMergeConflict>& conflicts, int number, int shot,
                                         const char* what) const
{
    const Cut& cut = side(number).cut();
    const Shot& at = cut.shots()[std::size_t(shot)];
    DmMergeConflict& conflict = conflicts.emplace_back();
    if (number == 0)
        conflict.path = pointerOf(at);
    conflict.track = cut.laneOf(at).name;
    conflict.clip = clipName(*at.node);
    conflict.label = cut.label(at.in);
    conflict.record = at.node->getRecIn();
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
    return _last < 0 || isRefused(side, seam) ? 0.0 : edit(side, _last).tail;
}

/// Where one side alone has a shot, whether it stays.
bool LanePlan::decideRemoved(int base, double (&dropped)[2])
{
    const int keeper = edit(0, base).isThere ? 0 : 1;
    const int favoured = _sides.favoured;
    const SideEdit& kept = edit(keeper, base);
    if (isRefused(1 - keeper, base) || isRefused(1 - keeper, base + 1))
        return true;
    if (_sides.side(keeper).isUntouched(base))
        return false;
    DmMergeConflict& found = _sides.addConflict(_conflicts, keeper, kept.at, "one side removed what the other changed");
    found.ours = keeper == 0 ? "changed" : "removed";
    found.theirs = keeper == 0 ? "removed" : "changed";
    if (keeper == favoured)
        _restored[1 - keeper] += _sides.seams.out[std::size_t(base)] - _sides.seams.in[std::size_t(base)];
    else
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
    const bool inPlace = (!o.isThere || o.isInPlace) && (!t.isThere || t.isInPlace);
    if (o.isThere && t.isThere && !o.isInPlace && !t.isInPlace)
        noteBothMoved(i);
    double events[2] = {0.0, 0.0};
    for (int s = 0; s < 2; ++s)
        if (const SideEdit& each = edit(s, i); each.isThere && each.isInPlace)
        {
            events[s] = each.shift - _shifts[s];
            _shifts[s] = each.shift;
            if ((_restored[s] != 0.0 && near(events[s], -_restored[s])) || isRefused(s, i))
                events[s] = 0.0;
            _restored[s] = dropped[s];
        }
    if (isKept && inPlace)
        return placeKept(i, events);
    _pushed += near(events[0], events[1]) ? events[0] : events[0] + events[1];
    // The tail in front belongs to a seam that one side alone has now.
    if (!isKept && _last >= 0)
    {
        bool clashes = false;
        _pieces[std::size_t(_lastPiece)].out += pick(tail(0, i), tail(1, i), clashes);
        _last = -1;
    }
}

void LanePlan::placeKept(int i, const double (&events)[2])
{
    const int favoured = _sides.favoured;
    const double heads[2] = {isRefused(0, i) ? 0.0 : edit(0, i).head, isRefused(1, i) ? 0.0 : edit(1, i).head};
    const double tails[2] = {tail(0, i), tail(1, i)};
    bool clashes = false;
    double head = pick(heads[0], heads[1], clashes);
    double lastTail = pick(tails[0], tails[1], clashes);
    if (clashes)
    {
        head = heads[favoured];
        lastTail = tails[favoured];
        DmMergeConflict& found =
            _sides.addConflict(_conflicts, favoured, edit(favoured, i).at, "both trimmed this cut");
        const auto cutOf = [&](int s)
        {
            const Side& side = _sides.side(s);
            return side.cut().label(edit(s, i).isThere ? side.in(edit(s, i).at) : side.out(edit(s, _last).end));
        };
        found.ours = cutOf(0);
        found.theirs = cutOf(1);
        _pushed += events[favoured];
    }
    else
    {
        const bool sameEdit = near(tails[0], tails[1]) && near(heads[0], heads[1]) && near(events[0], events[1]);
        _pushed += sameEdit ? events[0] : events[0] + events[1];
    }
    if (_last >= 0)
        _pieces[std::size_t(_lastPiece)].out += lastTail;

    Piece piece;
    piece.base = i;
    piece.ours = edit(0, i).at;
    piece.theirs = edit(1, i).at;
    piece.in = _sides.seams.in[std::size_t(i)] + _pushed + head;
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
        if (each.isOther && each.isThere && (s == favoured || !edit(1 - s, i).isOther))
        {
            piece.like = &_sides.side(s).shot(each.at);
            piece.later = _pushed - each.shift;
        }
        if (each.isThere && _laneAt == 0)
            _pushes[s].push_back({_sides.side(s).in(each.at), _pushed - each.shift});
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
        piece.out += other.tail - other.head;
        piece.later -= other.head;
        piece.slip = other.slip;
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
        }
    }
    return piece;
}

void LanePlan::placeAdded(int seam)
{
    const int favoured = _sides.favoured;
    std::vector<Piece> all[2];
    for (int s = 0; s < 2; ++s)
        for (const int j : _put[s][std::size_t(seam - _lane.first)])
        {
            const int old = _sides.side(s).oldOf(j);
            // Both moved it, or the other one removed it.
            if (old >= 0 && s != favoured && (!edit(1 - s, old).isThere || !edit(1 - s, old).isInPlace))
                continue;
            all[s].push_back(added(s, j, seam, all[s].empty()));
        }
    const bool same = !all[0].empty() && all[0].size() == all[1].size() &&
                      std::ranges::equal(all[0], all[1],
                                         [](const Piece& a, const Piece& b)
                                         { return isSameShot(*a.like, *b.like) && near(a.in, b.in); });
    const auto meets = [&](const Piece& a)
    {
        return std::ranges::any_of(all[1], [&](const Piece& b)
                                   { return a.in < b.out - leastDifference && b.in < a.out - leastDifference; });
    };
    if (same)
        all[1].clear();
    else if (!all[0].empty() && !all[1].empty() && std::ranges::any_of(all[0], meets))
    {
        const int j = favoured == 0 ? all[0].front().ours : all[1].front().theirs;
        DmMergeConflict& found = _sides.addConflict(_conflicts, favoured, j, "both put other material at one place");
        found.ours = clipName(*all[0].front().like->node);
        found.theirs = clipName(*all[1].front().like->node);
        // What it pushed along stays where it is.
        std::vector<Piece>& other = all[1 - favoured];
        _restored[1 - favoured] = -(other.back().out - other.front().in);
        other.clear();
    }
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

/// Trims the shot in front, when nothing else is there to meet it.
void LanePlan::closeTail(int seam)
{
    if (_last < 0)
        return;
    bool clashes = false;
    _pieces[std::size_t(_lastPiece)].out += pick(tail(0, seam), tail(1, seam), clashes);
    if (clashes)
    {
        const SideEdit& o = edit(0, _last);
        const SideEdit& t = edit(1, _last);
        DmMergeConflict& found =
            _sides.addConflict(_conflicts, _sides.favoured, edit(_sides.favoured, _last).at, "both trimmed this cut");
        found.ours = _sides.ours.cut().label(_sides.ours.out(o.end));
        found.theirs = _sides.theirs.cut().label(_sides.theirs.out(t.end));
    }
    _last = -1;
}

// Shots that were split

std::vector<LanePlan::Slice> LanePlan::slicesOf(int s, int base) const
{
    const Side& side = _sides.side(s);
    const std::vector<Part>& parts = edit(s, base).parts;
    std::vector<Slice> slices;
    if (isRefused(s, base) || isRefused(s, base + 1))
        return slices;
    for (std::size_t k = 0; k < parts.size(); ++k)
    {
        const bool isLast = k + 1 == parts.size();
        Slice slice{k == 0 ? -std::numeric_limits<double>::infinity() : side.in(parts[k].shot) - parts[k].shift,
                    isLast ? std::numeric_limits<double>::infinity() : side.out(parts[k].shot) - parts[k].shift,
                    parts[k].shift - parts[0].shift,
                    {edit(0, base).at, edit(1, base).at},
                    s,
                    -1,
                    isLast ? 0 : parts[k + 1].shot - parts[k].shot - 1};
        slice.shots[s] = parts[k].shot;
        slices.push_back(slice);
    }
    return slices;
}

/// Of a shot that both sides may have split.
std::vector<LanePlan::Slice> LanePlan::slicesOfBoth(const Piece& piece)
{
    const std::vector<Slice> ours = slicesOf(0, piece.base);
    const std::vector<Slice> theirs = slicesOf(1, piece.base);
    if (ours.empty() || theirs.empty())
        return ours.empty() ? theirs : ours;
    const auto isPlain = [](const std::vector<Slice>& slices)
    {
        for (std::size_t k = 0; k < slices.size(); ++k)
            if (slices[k].inserted != 0 || slices[k].push != 0.0 || (k > 0 && !near(slices[k].from, slices[k - 1].to)))
                return false;
        return true;
    };
    const std::vector<Slice>& favoured = _sides.favoured == 0 ? ours : theirs;
    const std::vector<Slice>& other = _sides.favoured == 0 ? theirs : ours;
    if (!isPlain(other))
    {
        DmMergeConflict& found =
            _sides.addConflict(_conflicts, _sides.favoured, favoured.front().shots[_sides.favoured], "both split it");
        found.ours = "in " + std::to_string(ours.size()) + " parts";
        found.theirs = "in " + std::to_string(theirs.size()) + " parts";
        return favoured;
    }
    // At the points of both: each part is one of each side.
    std::vector<Slice> slices;
    for (const Slice& one : favoured)
        for (const Slice& two : other)
        {
            Slice slice = one;
            slice.from = std::max(one.from, two.from);
            slice.to = std::min(one.to, two.to);
            slice.shots[two.side] = two.shots[two.side];
            slice.called = two.from > one.from + leastDifference ? two.side : one.side;
            if (!near(slice.to, one.to))
                slice.inserted = 0;
            if (slice.to - slice.from > dmLeastLength)
                slices.push_back(slice);
        }
    return slices;
}

void LanePlan::addSlices(const Piece& piece, const std::vector<Slice>& slices, std::vector<Piece>& to) const
{
    const double low = piece.in - piece.pushed;
    const double high = piece.out - piece.pushed;
    for (const Slice& slice : slices)
    {
        const double push = piece.pushed + slice.push;
        Piece part = piece;
        part.isWhole = false;
        part.in = std::clamp(slice.from, low, high) + push;
        part.out = std::clamp(slice.to, low, high) + push;
        part.later += slice.push;
        part.ours = slice.shots[0];
        part.theirs = slice.shots[1];
        part.called = slice.called;
        const double end = part.out;
        if (part.out - part.in > dmLeastLength - leastDifference)
            to.push_back(part);
        const Side& side = _sides.side(slice.side);
        const int shot = slice.shots[slice.side];
        for (int j = shot + 1; j <= shot + slice.inserted; ++j)
        {
            Piece inserted;
            shotOf(inserted, slice.side) = j;
            inserted.like = &side.shot(j);
            inserted.in = side.in(j)-side.out(shot) + end;
            inserted.out = side.out(j) - side.out(shot) + end;
            inserted.later = inserted.in - side.in(j);
            inserted.seam = piece.seam;
            to.push_back(inserted);
        }
    }
}

void LanePlan::splitPieces()
{
    std::vector<Piece> all;
    for (const Piece& piece : _pieces)
    {
        const std::vector<Slice> slices = piece.isWhole ? slicesOfBoth(piece) : std::vector<Slice>();
        if (slices.empty())
            all.push_back(piece);
        else
            addSlices(piece, slices, all);
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
