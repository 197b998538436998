/// When what of a cut plays, for rules about what is seen and heard.
#pragma once

#include "dmRulesImp.h"

#include <algorithm>
#include <vector>

/// Sources agree to within this much of a frame.
inline constexpr double dmSourceTolerance = 1e-3;

/// Record times in order, none of which touch.
class DmIntervals
{
public:
    struct Interval
    {
        double in;
        double out;
    };

    void add(double in, double out)
    {
        if (!(out > in))
            return;
        if (!_all.empty() && in >= _all.back().in && in <= _all.back().out + dmTimeTolerance)
            _all.back().out = std::max(_all.back().out, out); // shots of a layer mostly touch
        else
            _all.push_back({in, out});
    }
    /// Puts what was added in order, and together.
    void merge()
    {
        std::ranges::sort(_all, {}, &Interval::in);
        std::size_t last = 0;
        for (std::size_t i = 1; i < _all.size(); ++i)
            if (_all[i].in <= _all[last].out + dmTimeTolerance)
                _all[last].out = std::max(_all[last].out, _all[i].out);
            else
                _all[++last] = _all[i];
        if (!_all.empty())
            _all.resize(last + 1);
    }
    const std::vector<Interval>& all() const { return _all; }
    bool isEmpty() const { return _all.empty(); }

    /// What of [in, out) none of these covers.
    std::vector<Interval> beside(double in, double out) const
    {
        std::vector<Interval> left;
        auto next = std::ranges::upper_bound(_all, in, {}, &Interval::out);
        for (; in < out - dmTimeTolerance; ++next)
        {
            const double until = next == _all.end() ? out : std::min(next->in, out);
            if (until > in + dmTimeTolerance)
                left.push_back({in, until});
            if (next == _all.end())
                break;
            in = std::max(in, next->out);
        }
        return left;
    }

private:
    std::vector<Interval> _all;
};

inline bool dmIsPlaying(const DmShotView& shot)
{
    return !shot.isGap && !shot.isMuted;
}

/// When any shot of a composition's picture, or sound, plays.
inline DmIntervals dmPlaying(const DmCutView& cut, bool isPicture)
{
    DmIntervals all;
    for (const DmLaneView& lane : cut.lanes)
        for (const DmShotView& shot : lane.shots)
            if (lane.isPicture == isPicture && dmIsPlaying(shot))
                all.add(shot.seenIn(), shot.seenOut());
    all.merge();
    return all;
}

/// Where the source of a shot stands at a record time, as a label time of its medium.
inline double dmSourceAt(const DmShotView& shot, double recordTime)
{
    return shot.sourceTime(shot.played.positionAt(recordTime).value_or(0.0));
}

/// How far the source of a shot is in front of record time.
inline double dmOffsetOf(const DmShotView& shot)
{
    return dmSourceAt(shot, shot.recIn) - shot.recIn;
}
