/// What a timeline plays, the long way round: an array of what stands at each frame of a layer. Nothing of the
/// library's own arithmetic is in it.
#pragma once

#include "dmContainerNode.h"
#include "dmSourceInput.h"
#include "dmTimeline.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTransitionNode.h"
#include "dmUtf8.h"

#include <cmath>
#include <string>
#include <vector>

namespace zrNaive
{

/// "A12": frame 12 of A's medium; "-": nothing; "A12>B3 1/4": a quarter of the way from one to the other.
using Frames = std::vector<std::string>;

inline std::string shown(const DmSegmentNode& segment, double time)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    if (!source)
        return "-";
    double speed = 1.0;
    for (int i = 0; i < source->getEffects().count(); ++i)
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(source->getEffects().at(i)))
            speed = warp->getSpeed();
    const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput());
    const double begin = media ? media->getTapeSrcIn() : 0.0;
    const double passed = time - source->getRecIn();
    double frame = begin + source->getRelIn() + passed * speed;
    if (speed < 0.0)
        frame = begin + source->getRelIn() + (source->getRecLength() - passed) * -speed - 1.0;
    return dmUtf8(source->getName()) + std::to_string(static_cast<long>(std::floor(frame + 1e-6)));
}

inline Frames framesOf(const DmTimeline& timeline, int track)
{
    Frames frames;
    DmTreeNode* const layer = timeline.composition()->getChild(track)->getChild(0);
    for (int i = 0; i < layer->getNbChildren(); ++i)
    {
        DmTreeNode* const node = layer->getChild(i);
        if (const DmSegmentNode* const segment = node->asSegment())
            for (double t = segment->getRecIn(); t < segment->getRecOut() - 1e-6; t += 1.0)
                frames.push_back(shown(*segment, t));
        else if (const DmTransitionNode* const transition = node->asTransition())
            for (double t = transition->getRecIn(); t < transition->getRecOut() - 1e-6; t += 1.0)
                frames.push_back(shown(*layer->getChild(i - 1)->asSegment(), t) + ">" +
                                 shown(*layer->getChild(i + 1)->asSegment(), t) + " " +
                                 std::to_string(std::lround(t - transition->getRecIn())) + "/" +
                                 std::to_string(std::lround(transition->getRecLength())));
    }
    return frames;
}

inline bool isTransition(const std::string& frame)
{
    return frame.find('>') != std::string::npos;
}

} // namespace zrNaive
