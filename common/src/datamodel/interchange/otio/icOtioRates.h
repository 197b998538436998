/// At which rates the picture of a file plays, and which mode that makes it.
#pragma once

#include "icOtioItems.h"

#include "tuFcm.h"

#include <map>
#include <utility>

namespace interchange::otio
{

/// Seconds of picture that play at each rate.
class PlayedRates
{
public:
    explicit PlayedRates(const Value& top) { add(top, false); }

    const std::map<double, double>& seconds() const { return _seconds; }
    /// That at which most plays, among those that have a mode, and its seconds; a tie goes to `start`. 0 for none.
    std::pair<double, double> most(double start) const;

    void add(const Value& top, bool isSound);
    void add(double rate, double frames);

private:
    void note(const Value& duration);

    std::map<double, double> _seconds;
};

/// The mode in which most times fall on frames: the lowest that counts each frame several times, else the highest that
/// counts every so many of them, else the one whose rate is nearest.
DM::FrameCodeModes bestMode(double rate);

} // namespace interchange::otio
