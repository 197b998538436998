/// What a timeline plays, the long way round: an array of what stands at each frame of a layer. Nothing of the
/// library's own arithmetic is in it.
#pragma once

#include <ZRdmtree.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace zrNaive
{

/// Frames of the material, which is at 25, for one of the composition.
inline double rateOf(const DmTimeline& timeline)
{
    return DM::FcmUtil::getDoubleFPS(DM::FCM_25) /
           DM::FcmUtil::getDoubleFPS(dmFcmFromText(timeline.composition()->getFCM()));
}

/// "A1536": position 12 of A's medium, in parts of which 128 make a frame; "-": nothing; "A1536>B384 1/4": a quarter of
/// the way from one to the other. Of a keyed speed: how far its first key is away, and from where in the material its
/// values count.
using Frames = std::vector<std::string>;

inline std::string shown(const DmSegmentNode& segment, double passed, double length, double rate)
{
    // A shot that transitions cover stands in a gap of no length.
    const auto* source = dynamic_cast<const DmSourceNode*>(&segment);
    if (!source && segment.getRecLength() == 0.0)
        source = dynamic_cast<const DmSourceNode*>(segment.getBaseBlob());
    const auto* const container = dynamic_cast<const DmContainerNode*>(&segment);
    if (!source && !container)
        return "-";
    const DmSegmentNode& plays = source ? *source : segment;
    double speed = 1.0;
    const DmAnimationChannel* keys = nullptr;
    for (int i = 0; i < plays.getEffects().count(); ++i)
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(plays.getEffects().at(i)))
        {
            speed = warp->getSpeed();
            keys = warp->isConstantSpeed() ? nullptr : warp->getExistingChannelByName(L"timing").get();
        }
        else if (const auto* const sound = dynamic_cast<const DmATimewarpSettings*>(plays.getEffects().at(i)))
            speed = 1.0 / sound->getRatio();
    const auto* const media = source ? dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput()) : nullptr;
    const double begin = (media ? media->getTapeSrcIn() : 0.0) + plays.getRelIn();
    const std::string name = dmUtf8(plays.getName()).substr(0, 1);
    if (keys)
        return name + "k" + std::to_string(std::lround((passed - keys->getKeyFrame(0)->getFrame()) * 128)) + "@" +
               std::to_string(std::lround(begin * 128));
    const double played = speed < 0.0 ? (length - passed) * -speed : passed * speed;
    return name + std::to_string(std::lround((begin + played * rate) * 128));
}

/// A record time where another mode has it, for operations that change the mode.
using Clock = std::function<double(double)>;

/// `rate`: frames of the material for one of the composition. What is muted plays nothing where that is asked for.
inline Frames framesOf(const DmTimeline& timeline, int track, double rate, const Clock& at, bool isMutedBlack = false)
{
    const auto composition = timeline.composition();
    DmTreeNode* const layer = composition->getChild(track)->getChild(0);
    if (!layer)
        return {};
    const int count = layer->getNbChildren();
    Frames frames(count > 0 ? std::size_t(at(static_cast<DmLayerNode*>(layer)->getLayerStartTC())) : 0, "-");
    const auto plays = [&](const DmSegmentNode& segment, double time)
    {
        const double in = at(segment.getRecIn());
        return isMutedBlack && segment.getMuted() ? "-" : shown(segment, time - in, at(segment.getRecOut()) - in, rate);
    };
    for (int i = 0; i < count; ++i)
    {
        DmTreeNode* const node = layer->getChild(i);
        if (const DmSegmentNode* const segment = node->asSegment())
            for (double t = at(segment->getRecIn()); t < at(segment->getRecOut()) - 1e-6; t += 1.0)
                frames.push_back(plays(*segment, t));
        else if (const DmTransitionNode* const transition = node->asTransition())
        {
            const double in = at(transition->getRecIn());
            const double out = at(transition->getRecOut());
            for (double t = in; t < out - 1e-6; t += 1.0)
                frames.push_back(plays(*layer->getChild(i - 1)->asSegment(), t) + ">" +
                                 plays(*layer->getChild(i + 1)->asSegment(), t) + " " +
                                 std::to_string(std::lround(t - in)) + "/" + std::to_string(std::lround(out - in)));
        }
    }
    return frames;
}

inline Frames framesOf(const DmTimeline& timeline, int track)
{
    return framesOf(timeline, track, rateOf(timeline), [](double time) { return time; });
}

inline bool isTransition(const std::string& frame)
{
    return frame.find('>') != std::string::npos;
}

/// Of a frame in a transition: what goes out, or what comes in.
inline std::string sideOf(const std::string& transition, int side)
{
    const std::size_t seam = transition.find('>');
    return side == 0 ? transition.substr(0, seam) : transition.substr(seam + 1, transition.rfind(' ') - seam - 1);
}

/// The first frame that plays something else than expected, in words; empty when there is none. A transition may have
/// become a cut.
/// `isRounded`: a transition may be a frame shorter than expected.
inline std::string difference(const Frames& expected, const Frames& now, bool isRounded = false)
{
    const auto isNothing = [](const std::string& frame) { return frame == "-"; };
    if (now.empty() && std::ranges::all_of(expected, isNothing)) // a layer that begins later is empty
        return {};
    if (expected.size() != now.size())
        return std::to_string(now.size()) + " frames instead of " + std::to_string(expected.size());
    const auto mayBe = [isRounded](const std::string& wanted, const std::string& frame)
    {
        if (wanted.empty() || frame == wanted || !isTransition(wanted))
            return wanted.empty() || frame == wanted;
        if (isTransition(frame))
            return isRounded && sideOf(frame, 0) == sideOf(wanted, 0) && sideOf(frame, 1) == sideOf(wanted, 1);
        return frame == sideOf(wanted, 0) || frame == sideOf(wanted, 1);
    };
    for (std::size_t i = 0; i < now.size(); ++i)
        if (!mayBe(expected[i], now[i]))
            return "frame " + std::to_string(i) + " plays " + now[i] + " instead of " + expected[i];
    return {};
}

/// With the frames of [from, to) others, which are empty here, and all behind them `shift` later.
inline Frames edited(const Frames& was, double from, double to, double shift)
{
    const auto size = static_cast<double>(was.size());
    const auto first = static_cast<std::ptrdiff_t>(std::clamp(from, 0.0, size));
    const auto last = static_cast<std::ptrdiff_t>(std::clamp(to, static_cast<double>(first), size));
    Frames now(was.begin(), was.begin() + first);
    now.resize(static_cast<std::size_t>(std::max(static_cast<double>(first), static_cast<double>(last) + shift)));
    now.insert(now.end(), was.begin() + last, was.end());
    return now;
}

} // namespace zrNaive
