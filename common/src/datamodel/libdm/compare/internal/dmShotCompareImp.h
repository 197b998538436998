/// What a shot that is in both cuts has changed in: its edges, its material, its effects, and all else of it; and what
/// a seam has.
#pragma once

#include "dmChangesImp.h"

namespace dmCompare
{

class ShotCompare
{
public:
    explicit ShotCompare(Changes& changes)
        : _changes(changes)
    {
    }

    /// A transition that is as long as before, and lies otherwise over one of its shots than over the other: it covers
    /// a trim.
    struct Overlaps
    {
        bool trimsHead = false;
        bool trimsTail = false;
    };

    void compare(const Shot& a, const Shot& b, const Overlaps& overlaps);
    /// A seam of two shots that are each other's: null where it is a cut. `offset`: by how much later the transition
    /// lies over the shots' material.
    void compareSeam(const Shot& a, const Shot& b, const DmTransitionNode* was, const DmTransitionNode* is,
                     double offset);

private:
    double marksBy(const Shot& a, const Shot& b) const;
    void compareEdges(const Shot& a, const Shot& b, const Overlaps& overlaps);
    void compareEffects(const Shot& a, const Shot& b);
    void compareEffect(const Shot& a, const Shot& b, const DmPropertySet* one, const DmPropertySet* other, Kind kind);
    void compareRest(const Shot& a, const Shot& b);

    Changes& _changes;
};

} // namespace dmCompare
