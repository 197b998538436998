/// Merges the layers of a composition that both sides have: shot by shot, seam by seam.
///
/// A seam is a point: a transition on it counts as the cut that it lies on, as long as it holds that cut's old time,
/// and what it takes from its neighbours is put back when the seam is where it shall be. Of each shot of the old cut
/// either side has moved head and tail over its material, slipped it, and pushed it along in time; of two neighbours,
/// the difference of how far they were pushed is what happened between them. These events, not times, are merged: so
/// pushes of both sides add up, and the same edit on both is one.
#pragma once

#include "dmMatchImp.h"
#include "dmMerge.h"

namespace dmCompare
{

class LaneMerge
{
public:
    using Conflicts = std::vector<DmMergeConflict>;

    LaneMerge(const Cut& base, const Cut& ours, const Cut& theirs, bool favoursTheirs, Conflicts& conflicts);

    /// Of ours: for each lane that both sides changed, the merged layer; null for one that is ours, or theirs, as it
    /// stands.
    struct Merged
    {
        int lane;   ///< of ours
        int theirs; ///< whose layer it is, where there is no merged one; -1 for ours
        CoSharedPtr<DmLayerNode> layer;
    };
    std::vector<Merged> run();
    /// Layers that one side alone has, each where the other side's first picture was pushed to at its times. After
    /// run().
    std::vector<std::pair<int, CoSharedPtr<DmLayerNode>>> pushedAlong(bool ours) const;

private:
    /// What a side did to a shot of the old cut.
    struct Edit
    {
        bool isThere = false;
        bool isInPlace = false; ///< in its lane and its order
        bool isOther = false;   ///< plays something else, or otherwise
        double head = 0.0;
        double tail = 0.0;
        double slip = 0.0;
        double shift = 0.0;
        double rawHead = 0.0; ///< with the transition in front
        int at = -1;          ///< among the side's shots
    };
    struct Side
    {
        const Cut* cut;
        Match match;
        std::vector<int> lanes; ///< by lane of the old cut
        std::vector<double> in; ///< of its shots, between their seams
        std::vector<double> out;
        std::vector<Edit> edits;  ///< by shot of the old cut
        std::vector<bool> isSame; ///< the shot's contents, times apart
    };
    struct Piece
    {
        int base = -1;
        int ours = -1;
        int theirs = -1;
        double in = 0.0;
        double out = 0.0;
        const Shot* like = nullptr; ///< whose material times it has, ...
        double later = 0.0;         ///< ... and by how much later in the record
        double slip = 0.0;
    };
    struct Joint
    {
        const DmTransitionNode* node = nullptr;
        double before = 0.0;
        double behind = 0.0;
    };

    void seams(const Cut& cut, std::vector<double>& in, std::vector<double>& out, const Side* side) const;
    void study(Side& side);
    bool isUntouched(const Side& side, int base) const;
    bool hasOthers(const Lane& lane) const;
    bool sameLane(const Lane& a, const Lane& b) const;
    CoSharedPtr<DmLayerNode> mergeLane(int lane);
    bool placePieces(int lane, std::vector<Piece>& pieces);
    Joint jointOf(const Cut& cut, const std::vector<double>& in, const std::vector<double>& out, int left,
                  int right) const;
    Joint chooseJoint(const Piece& left, const Piece& right);
    CoSharedPtr<DmSegmentNode> makeShot(const Piece& piece, const Joint& inFront, const Joint& behind);
    CoSharedPtr<DmSegmentNode> contents(const Piece& piece);
    DmMergeConflict& conflict(const Side& side, int shot, const char* what);
    std::string pointerOf(const Shot& shot) const;
    static bool near(double a, double b);

    const Cut& _base;
    bool _favoursTheirs;
    Conflicts& _conflicts;
    Side _ours;
    Side _theirs;
    std::vector<double> _in;
    std::vector<double> _out;
    struct Push
    {
        double time; ///< in the side that is pushed
        double by;
    };
    std::vector<Push> _ofTheirs; ///< by ours
    std::vector<Push> _ofOurs;
};

} // namespace dmCompare
