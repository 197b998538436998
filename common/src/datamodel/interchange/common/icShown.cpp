#include "icShown.h"

#include "dmPlayed.h"
#include "dmTransitionNode.h"

#include <algorithm>

namespace interchange
{

DmPlayedBeside playedBeside(const DmTreeNode& layer, int index)
{
    const auto lengthAt = [&layer](int at)
    {
        const DmTreeNode* const node = layer.getChild(at);
        const DmTransitionNode* const transition = node ? node->asTransition() : nullptr;
        return transition ? transition->getRecLength() : 0.0;
    };
    return {lengthAt(index - 1), lengthAt(index) + lengthAt(index + 1)};
}

Shown shownOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside)
{
    const DmPlayed played(segment, compositionFcm);
    Shown shown{played.begin(), played.end()};
    if (played.motion() == DmPlayed::Motion::Constant)
        for (const double time : {segment.getRecIn() - beside.before, segment.getRecOut() + beside.behind})
        {
            const double position = played.positionAt(time).value_or(shown.begin);
            shown = {std::min(shown.begin, position), std::max(shown.end, position)};
        }
    return shown;
}

} // namespace interchange
