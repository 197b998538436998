/// Merges the layers of a composition that both sides have: shot by shot, seam by seam.
///
/// Where the edits of both do not fit at a seam (dmLanePlanImp.h says where everything goes), those of the side that is
/// not favoured are left out there, and that is a conflict.
#pragma once

#include "dmLanePlanImp.h"

#include "dmLayerBuilder.h"

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
    /// What lies on a seam, and what it takes from both shots.
    struct Joint
    {
        const DmTransitionNode* node = nullptr;
        double before = 0.0;
        double behind = 0.0;
        int side = 0; ///< that it is of: 0 ours, 1 theirs
    };

    CoSharedPtr<DmLayerNode> mergeLane(int lane);
    /// Whether a lane of the old cut is one of both sides, and none of the three holds what is no part of a cut.
    bool isMerged(std::size_t lane) const;
    bool refuse(const Piece& piece);
    void tellRefused(const Lane& lane);

    CoSharedPtr<DmLayerNode> build(int lane, const std::vector<Piece>& pieces, const Piece*& misfit);
    static Joint jointOf(const Cut& cut, const Seams& seams, int left, int right);
    /// Null for a piece that is not there: what a shot has towards a gap, or an end.
    Joint chooseJoint(const Piece* left, const Piece* right);
    /// Whether it is told that both trimmed the cut in front of a piece.
    bool isTrimTold(const Piece& behind) const;
    /// Gaps and cuts between two pieces as they stand in the side that changed them, at their times; null pieces are
    /// the ends. False where they are of no use.
    bool placeFillers(DmLayerBuilder& builder, int lane, const Piece* left, const Piece* right, double in, double out);
    std::vector<CoSharedPtr<DmPropertySet>> mergeFillers(const std::vector<const DmTreeNode*>* base,
                                                         const std::vector<const DmTreeNode*>& ours,
                                                         const std::vector<const DmTreeNode*>& theirs, const Lane& lane,
                                                         int left, double in);
    void placeConflicts(const std::vector<Piece>& pieces, int lane, std::size_t first);
    CoSharedPtr<DmSegmentNode> makeShot(const Piece& piece, const Joint& inFront, const Joint& behind);
    CoSharedPtr<DmSegmentNode> contents(const Piece& piece);

    const Cut& _base;
    Seams _seams; ///< of the old cut
    Conflicts& _conflicts;
    Side _ours;
    Side _theirs;
    std::vector<std::pair<double, double>> _clashes;
    MergeSides _sides;
    std::set<int> _refused;                 ///< in the lane at hand: seams at which what the other side did is left out
    std::vector<LanePlan::Push> _pushes[2]; ///< of ours by theirs, and of theirs by ours
};

} // namespace dmCompare
