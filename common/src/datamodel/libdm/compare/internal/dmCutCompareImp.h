/// Two cuts, shot by shot: who is whose, what came, went and moved, and what the seams between them became.
#pragma once

#include "dmMatchImp.h"
#include "dmShotCompareImp.h"

#include <optional>
#include <unordered_set>

namespace dmCompare
{

class CutCompare
{
public:
    CutCompare(const Cut& before, const Cut& after, double tolerance, bool eachShift, std::vector<DmChange>& changes);

    /// Whether what both share keeps its order: if not, shots that are left out moved, and the cuts are to be compared
    /// as a whole.
    bool keepsShared() const { return _keepsShared; }
    /// False for cuts that hold themselves.
    [[nodiscard]] bool run();

private:
    void collectOrder(int lane);
    void compareTimes(int lane, bool tells);
    void compareShots();
    void compareSeams();
    /// How much later the transition behind a shot lies over that one, and over the next; none where there is not one
    /// of the same length in both cuts.
    struct Offsets
    {
        double tail;
        double head;
    };
    std::optional<Offsets> offsetsBehind(int shot) const;
    bool isTrimmedBehind(int shot) const;

    const Cut& _before;
    const Cut& _after;
    bool _keepsShared = true;
    Changes _changes;
    Match _match;
    std::vector<int> _lanes;
    std::vector<bool> _inOrder; ///< of old shots: in their lane, and in their order
};

} // namespace dmCompare
