/// The rules, in files of what they look at, and what these share.
#pragma once

#include "dmFindings.h"

#include <cmath>
#include <string>
#include <vector>

// Each in a file of its name, in the order of their codes. The group of "structure" has two, and so has that of "cut".
const std::vector<DmRule>& dmStructureRules(); ///< from DM101: what the elements are, which a validation refuses, too
const std::vector<DmRule>& dmLayoutRules();    ///< from DM112: how they lie in time, which it lets pass
const std::vector<DmRule>& dmTimeRules();      ///< from DM201
const std::vector<DmRule>& dmCutRules();       ///< from DM301: single shots and tracks, and the cuts between them
const std::vector<DmRule>& dmProgrammeRules(); ///< from DM310: picture, sound and marks taken together
const std::vector<DmRule>& dmMediaRules();     ///< from DM401

/// Times agree to within this much of a frame.
inline constexpr double dmTimeTolerance = 1e-5;

inline bool dmSameTime(double a, double b)
{
    return std::abs(a - b) <= dmTimeTolerance;
}

/// Whether a shot plays beyond the known end of its material, the speed counted. What a speed was rounded by is no
/// fault.
bool dmPlaysBeyond(const DmShotView& shot);
/// Whether a transition is too long for the segments beside it.
bool dmReachesBeyond(const DmTransitionNode& transition, const DmSegmentNode& previous, const DmSegmentNode& next);
/// "1 frame", "16 frames"; from a second on as a label.
std::string dmLengthText(double frames, DM::FrameCodeModes fcm);
/// The label of a time in a mode.
std::string dmLabelText(double frames, DM::FrameCodeModes fcm);
/// "1 shot", "3 shots".
std::string dmCountText(std::size_t count, const char* noun);
inline std::size_t dmCountShots(const DmCutView& cut)
{
    std::size_t count = 0;
    for (const DmLaneView& lane : cut.lanes)
        count += lane.shots.size();
    return count;
}
inline std::size_t dmCountShots(const std::vector<DmCutView>& cuts)
{
    std::size_t count = 0;
    for (const DmCutView& cut : cuts)
        count += dmCountShots(cut);
    return count;
}
/// Rules change what they mend: views show constant nodes.
template <class Node>
CoSharedPtr<Node> dmToChange(const Node* node)
{
    return CoSharedPtr<Node>(const_cast<Node*>(node));
}

// The function of a rule that looks at one place after the other

template <class Use>
auto dmEachCut(Use use)
{
    return [use](DmRuleRun& run)
    {
        for (const DmCutView& cut : run.cuts())
            use(run, cut);
    };
}
template <class Use>
auto dmEachLane(Use use)
{
    return dmEachCut(
        [use](DmRuleRun& run, const DmCutView& cut)
        {
            for (const DmLaneView& lane : cut.lanes)
                use(run, cut, lane);
        });
}
template <class Use>
auto dmEachShot(Use use)
{
    return [use](DmRuleRun& run) { run.eachShot(use); };
}
template <class Use>
auto dmEachElement(Use use)
{
    return [use](DmRuleRun& run) { run.eachElement(use); };
}
/// With the segments beside each, which may be null.
template <class Use>
auto dmEachTransition(Use use)
{
    return dmEachElement(
        [use](DmRuleRun& run, const DmCutView& cut, const DmLaneView& lane, int i)
        {
            if (const DmTransitionNode* const transition = lane.at(i).transition)
                use(run, cut, lane, i, *transition, lane.at(i - 1).segment, lane.at(i + 1).segment);
        });
}

/// The shot in front of another one in its layer; null for the first.
inline const DmShotView* dmInFrontOf(const DmLaneView& lane, const DmShotView& shot)
{
    return &shot == lane.shots.data() ? nullptr : &shot - 1;
}
