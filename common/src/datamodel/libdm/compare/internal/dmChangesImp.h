/// What is told of two cuts while they are compared, and what the telling needs to know of both.
#pragma once

#include "dmCutImp.h"
#include "dmDiff.h"
#include "dmSetCompareImp.h"

#include "dmSlots.h"

#include <functional>
#include <unordered_set>

class DmCueMark;

namespace dmCompare
{

using Kind = DmChangeKind;

std::string framesText(double frames);
std::string childPath(const std::string& above, int position);
/// Whether the blobs of two nodes, where there are such, are what a list's reader kept for its writer.
bool haveLeftovers(const DmTreeNode& a, const DmTreeNode& b);
/// Whether two nodes come from lists of different formats, or only one of them from a list.
bool areOfOtherFormats(const DmTreeNode& a, const DmTreeNode& b);
bool areOfOtherFormats(const Cut& a, const Cut& b);
/// Of such nodes: whether a difference is that one format does not say what the other one does, or writes a label its
/// own way, which nobody changed.
bool isFormatsOwn(const Difference& difference);

/// What a pair of shots says about what each plays: by how much its edges moved over the material, in record frames,
/// transitions not considered.
struct Edges
{
    double head = 0.0;
    double tail = 0.0;
    bool isSlip = false;
};

class Changes
{
public:
    Changes(const Cut& before, const Cut& after, double tolerance, bool eachShift, std::vector<DmChange>& changes);

    const Cut& before() const { return _before; }
    const Cut& after() const { return _after; }
    /// Frames of the old cut for one of the new one.
    double toOld() const { return _toOld; }
    bool isNothing(double frames) const;
    /// Whether the ids of both cuts are their shots' numbers.
    bool countsShots() const { return _countsShots; }
    bool areOfOtherFormats() const { return _areOfOtherFormats; }
    Edges edgesOf(const Shot& a, const Shot& b) const;

    DmChange& add(Kind kind);
    /// About a shot that is in one cut, or a matched pair.
    DmChange& addOf(Kind kind, const Shot& shot, const Shot* now, double frames);
    /// Of shots one behind the other that were shifted by as much, one change, unless each is wanted.
    void tellShift(const Shot& shot, const Shot& now, double frames, int count);
    void tellProperty(const std::string& path, const Difference& difference, const std::string& track);

    /// All differences of two sets, told as properties of what stands at `path`; those of formats aside.
    void compareAny(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const std::string& track,
                    const LeftOut& leftOut);
    /// Whether the sets could be gone through.
    void compare(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const LeftOut& leftOut,
                 const Tell& sink, double keysBy = 0.0);
    /// `label`: of a mark of the old cut, or of the new one.
    using MarkLabel = std::function<std::string(const DmCueMark& mark, bool isOld)>;
    /// `marksBy`: how much later the times of the new marks count from, where that is another point of the material.
    void compareMarks(const DmSetList<DmCueMark>& before, const DmSetList<DmCueMark>& after, const std::string& path,
                      const std::string& track, const std::string& clip, const MarkLabel& label, double marksBy = 0.0);

    /// Amounts by which shots were pushed along: what moved with them was shifted, too.
    void explains(double frames) { _explained.insert(amountOf(frames)); }
    bool isExplained(double frames) const { return _explained.contains(amountOf(frames)); }

    /// Whether nothing holds itself.
    bool isSound() const { return _isSound; }

private:
    static long long amountOf(double frames);

    const Cut& _before;
    const Cut& _after;
    double _tolerance;
    bool _eachShift;
    double _toOld = 1.0;
    bool _countsShots;
    bool _areOfOtherFormats;
    std::vector<DmChange>& _changes;
    std::unordered_set<long long> _explained;
    bool _isSound = true;
};

} // namespace dmCompare
