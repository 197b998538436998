/// The rules, a file a group, and what they share.
#pragma once

#include "dmFindings.h"

#include <cmath>
#include <string>
#include <vector>

const std::vector<DmRule>& dmStructureRules();
const std::vector<DmRule>& dmTimeRules();
const std::vector<DmRule>& dmCutRules();
const std::vector<DmRule>& dmMediaRules();

/// Times agree to within this much of a frame.
inline constexpr double dmTimeTolerance = 1e-5;

inline bool dmSameTime(double a, double b)
{
    return std::abs(a - b) <= dmTimeTolerance;
}

/// Whether a shot plays beyond the known end of its material, the speed counted. What a speed was rounded by is no
/// fault.
bool dmPlaysBeyond(const DmShotView& shot);
/// "1 frame", "16 frames"; from a second on as a label.
std::string dmLengthText(double frames, DM::FrameCodeModes fcm);
/// The label of a time in a mode.
std::string dmLabelText(double frames, DM::FrameCodeModes fcm);
/// "1 shot", "3 shots".
std::string dmCountText(std::size_t count, const char* noun);
/// Rules change what they mend: views show constant nodes.
template <class Node>
CoSharedPtr<Node> dmToChange(const Node* node)
{
    return CoSharedPtr<Node>(const_cast<Node*>(node));
}
