/// What two cuts differ in around their shots: the compositions' own properties, tracks, and layers.
#pragma once

#include "dmChangesImp.h"

#include <map>

namespace dmCompare
{

class TrackCompare
{
public:
    /// `lanes`: of the new cut, for each of the old one.
    TrackCompare(Changes& changes, const std::vector<int>& lanes)
        : _changes(changes)
        , _lanes(lanes)
    {
    }

    void run();

private:
    void compareCompositions();
    void compareTracks();
    void compareLayers(const std::map<int, int>& tracks, const std::map<int, int>& backwards);
    void compareOthers(const Lane& before, const Lane& after);

    Changes& _changes;
    const std::vector<int>& _lanes;
};

} // namespace dmCompare
