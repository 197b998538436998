/// What one side of a merge did to each shot of the old cut.
///
/// A seam is a point: a transition on it counts as the cut that it lies on, as long as it holds that cut's old time,
/// and what it takes from its neighbours is put back when the seam is where it shall be. Of each shot of the old cut a
/// side has moved head and tail over its material, slipped it, pushed it along in time, and split it.
#pragma once

#include "dmJsonValueImp.h"
#include "dmMatchImp.h"

namespace dmCompare
{

/// Times below this are noise of arithmetic.
inline constexpr double leastDifference = 1e-4;
bool isNothing(double frames);

/// Of a shot that was split, one part of it.
struct Part
{
    int shot;     ///< among the side's
    double shift; ///< how far it was pushed along, against the old cut's picture
};

struct SideEdit
{
    bool isThere = false;
    bool isInPlace = false;  ///< in its lane and its order
    bool isOther = false;    ///< plays something else, or otherwise
    bool isReplaced = false; ///< plays something else
    bool newInFront = false; ///< has another transition than it had, in front of it and behind it
    bool newBehind = false;
    bool isSame = false; ///< its contents, times apart
    double head = 0.0;
    double tail = 0.0;
    double slip = 0.0;
    double shift = 0.0;
    int at = -1;                  ///< among the side's shots: its first part
    int end = -1;                 ///< its last part
    std::vector<Part> parts = {}; ///< all of them, where it was split
};

/// Where each shot of a cut begins and ends when its transitions are cuts.
struct Seams
{
    std::vector<double> in;
    std::vector<double> out;
};
Seams seamsOf(const Cut& cut);

class Side
{
public:
    Side(const Cut& base, const Seams& baseSeams, const Cut& cut);

    const Cut& cut() const { return *_cut; }
    const Shot& shot(int at) const { return _cut->shots()[std::size_t(at)]; }
    double in(int shot) const { return _seams.in[std::size_t(shot)]; }
    double out(int shot) const { return _seams.out[std::size_t(shot)]; }
    const Seams& seams() const { return _seams; }
    /// The old shot that one of the side's is, or its first match is; -1 for none.
    int oldOf(int shot) const { return _match.toOld[std::size_t(shot)]; }
    /// Whether it is part of a shot that was split, or stands between two such.
    bool isInside(int shot) const { return _isInside[std::size_t(shot)]; }
    /// By lane of the old cut; -1 for none.
    const std::vector<int>& lanes() const { return _lanes; }
    const SideEdit& edit(int base) const { return _edits[std::size_t(base)]; }
    bool isUntouched(int base) const;
    /// Whether shots went to other lanes.
    bool crossesLanes() const;

private:
    void findParts(int base);
    void study(int base);

    const Cut& _base;
    const Cut* _cut;
    Match _match;
    std::vector<int> _lanes;
    std::vector<SideEdit> _edits; ///< by shot of the old cut
    std::vector<Part> _partOf;    ///< by the side's shots: of which old shot, and its shift; -1 for none
    std::vector<bool> _isInside;
    Seams _seams;
};

/// A shot as a value, without its record times, its keys where they would stand if its head were `head` later.
void valueOfShot(const Shot& shot, double head, json::Document& value);
/// A set as it stands in a document; false for one that cannot.
bool elementOf(const DmPropertySet& set, json::Document& value);
/// An element as it would stand at the record time 0, with the source that may be attached to it.
bool elementAtZero(const DmTreeNode& node, json::Document& value);
CoSharedPtr<DmPropertySet> copyOf(const DmPropertySet& set);

} // namespace dmCompare
