/// Where everything goes in a layer that both sides of a merge have.
///
/// What a side did to the old cut are events (dmSideImp.h), not times: of two neighbours, the difference of how far
/// they were pushed along is what happened between them. So pushes of both sides add up, and the same edit on both is
/// one.
#pragma once

#include "dmMerge.h"
#include "dmSideImp.h"

#include <limits>
#include <set>

namespace dmCompare
{

inline constexpr const char* bothTrimmed = "both trimmed this cut";

/// A shot of the merged layer, between its seams.
struct Piece
{
    int base = -1; ///< which shot it is in the old cut, in ours, in theirs
    int ours = -1;
    int theirs = -1;
    double in = 0.0;
    double out = 0.0;
    const Shot* like = nullptr; ///< whose material times it has, ...
    double later = 0.0;         ///< ... and by how much later in the record
    double slip = 0.0;
    double pushed = 0.0;  ///< against the old cut
    bool isWhole = false; ///< an old shot in its place, which a side may have split
    int called = -1;      ///< the side whose ids it has; -1 where they merge
    double marksFrom = -std::numeric_limits<double>::infinity(); ///< of a part: which of the shot's marks are its own
    double marksTo = std::numeric_limits<double>::infinity();
    int seam = 0; ///< number of the old shot that it is, or stands in front of
};

/// The three cuts of a merge, and how it is decided.
struct MergeSides
{
    const Cut& base;
    const Seams& seams; ///< of the old cut
    const Side& ours;
    const Side& theirs;
    int favoured; ///< 0: ours, 1: theirs
    /// How far ours and theirs pushed what is behind a cut that both trimmed: one of them is left out, on the tracks in
    /// sync too.
    std::vector<std::pair<double, double>>* clashes;

    const Side& side(int number) const { return number == 0 ? ours : theirs; }
    DmMergeConflict& addConflict(std::vector<DmMergeConflict>& conflicts, int number, int shot, const char* what) const;
    /// A JSON pointer to its elements.
    std::string pointerOf(const Lane& laneOfOurs) const;
};

class LanePlan
{
public:
    using Conflicts = std::vector<DmMergeConflict>;

    /// `refused`: seams in front of old shots at which what the side that is not favoured did is left out.
    LanePlan(const MergeSides& sides, int lane, const std::set<int>& refused, Conflicts& conflicts);

    const std::vector<Piece>& pieces() const { return _pieces; }
    /// A piece that is too short, or overlaps the one in front of it; null when all fit.
    const Piece* misfit() const;

    struct Push
    {
        double time; ///< in the side that is pushed
        double by;
        std::size_t piece;
    };
    /// How far a side's shots were pushed by the other side.
    const std::vector<Push>& pushesOf(int side) const { return _pushes[side]; }

private:
    /// Where a side split a shot, in times of the old cut: what it took out there, and the room that it made for what
    /// it put in.
    struct Break
    {
        int side;
        double from;
        double to;
        double room;
        int left;  ///< the part in front, among the side's shots
        int count; ///< of the shots behind that, which it put in
    };
    /// What is left of the shot between two of them.
    struct Slice
    {
        double from;
        double to;
        int shots[2];
        int called;                     ///< as in Piece
        std::vector<Break> behind = {}; ///< in their order
    };

    bool isRefused(int side, int seam) const { return side != _sides.favoured && _refused.contains(seam); }
    const SideEdit& edit(int side, int base) const { return _sides.side(side).edit(base); }
    double tail(int side, int seam) const;
    double head(int side, int seam) const;
    double pick(double ours, double theirs, bool& clashes) const;
    void collectAdded();
    void findRuns(int side);
    bool isInPlace(int side, int base) const { return edit(side, base).isThere && edit(side, base).isInPlace; }
    bool closesUp(int side, int at) const { return _closesUp[side][std::size_t(at - _lane.first)]; }
    bool isMovedFromTransition(int mover, int base) const;
    /// Whether the side that is not favoured moved it, and that is left out.
    bool stays(int base) const { return isMovedFromTransition(1 - _sides.favoured, base); }
    bool isTransitionNew(int side, int seam) const;
    bool leavesHole(int side, int seam) const;
    bool isLike(int side, int base) const;
    bool isLeftOut(int side, int shot) const;
    bool isCoverLeftOut(int side, int base) const;
    double lengthOf(int base) const { return _sides.seams.out[std::size_t(base)] - _sides.seams.in[std::size_t(base)]; }
    double growthOf(int side, int base) const;
    bool isOfClash(const double (&events)[2]) const;
    bool decideRemoved(int base, double (&dropped)[2]);
    void noteBothMoved(int base);
    void noteMovedFromTransition(int mover, int base);
    void placeOld(int base);
    void placeKept(int base, const double (&events)[2]);
    void placeAdded(int seam);
    Piece added(int side, int shot, int seam, bool isFirst) const;
    void closeTail(int seam);
    void splitPieces();
    std::vector<Break> breaksOf(int side, int base) const;
    std::vector<Break> breaksOfBoth(const Piece& piece);
    int partAt(int side, int base, double time) const;
    std::vector<Slice> slicesOf(int base, const std::vector<Break>& breaks) const;
    double addSlices(const Piece& piece, const std::vector<Slice>& slices, std::vector<Piece>& to) const;
    void addInserted(const Break& from, double in, int seam, std::vector<Piece>& to) const;

    const MergeSides& _sides;
    const Lane& _lane;
    int _laneAt;
    const std::set<int>& _refused;
    Conflicts& _conflicts;
    std::vector<Piece> _pieces;
    std::vector<Push> _pushes[2];
    std::vector<std::vector<int>> _put[2]; ///< what each side puts in front of which old shot
    std::vector<bool> _closesUp[2];      ///< by old shot: whether what is put in front pushes, and its own going pulls
    double _pushed = 0.0;                ///< the merged shift so far
    double _shifts[2] = {0.0, 0.0};      ///< each side's
    double _restored[2] = {0.0, 0.0};    ///< lengths that a side took out, and that stay
    int _uncovered[2] = {-1, -1};        ///< the seam at which what a side laid over both shots is left out
    double _closedTails[2] = {0.0, 0.0}; ///< of the shot in front, where its tail is placed
    int _last = -1; ///< the old shot in front that is in place on both sides, while its tail is not placed
    int _lastPiece = -1;
};

} // namespace dmCompare
