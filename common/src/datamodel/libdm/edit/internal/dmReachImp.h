/// How far a segment's begin and end can move over its material, and what moving them does to it.
///
/// Amounts are frames of record time; later is positive. Marks count from the material's begin and never move; the
/// frames of keys count from "recIn", so they go the other way when the begin moves over the picture.
#pragma once

#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmSegmentNode.h"
#include "dmStatus.h"

#include <limits>

class DmSourceNode;

/// Times that differ by less meet: sums of frame counts do not always come out even.
inline constexpr double dmEditTolerance = 1e-5;
/// A segment that is no gap lasts at least so long: less is no frame.
inline constexpr double dmLeastLength = 0.5;
inline constexpr double dmNoLimit = std::numeric_limits<double>::infinity();

class DmReach
{
public:
    /// `beside`: the lengths of the transitions in front of the segment and behind it.
    DmReach(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside);

    // Of material in front of what plays, and behind it, transitions apart; dmNoLimit where there is as much as anybody
    // asks for. Of keyed speeds, none: what they play beside their keys nobody evaluates.

    double before() const { return _before; }
    double behind() const { return _behind; }
    const DmPlayed& played() const { return _played; }
    const DmMaterial& material() const { return _material; }

private:
    DmPlayed _played;
    DmMaterial _material;
    double _before = dmNoLimit;
    double _behind = dmNoLimit;
};

/// Changes to one segment, a fresh copy that nobody sees yet.
class DmSegmentChange
{
public:
    DmSegmentChange(DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside);

    void moveHead(double by);
    void moveTail(double by);
    /// The material moves under the segment: it plays what stood `by` frames later.
    void slip(double by, bool withKeys);
    /// Moves the segment as it is.
    void moveTo(double recIn);
    /// Plays from a position of the material on, as long as it lasts.
    void setBegin(double position);
    /// Makes room in the input for what plays then: for transitions of these lengths beside it too. Material of unknown
    /// length has the frames that are asked for.
    void settle(DmPlayedBeside beside);

    static void shiftKeys(DmSegmentNode& segment, double by);
    /// The input, as one that this source alone has.
    static void ownInput(DmSourceNode& source);

private:
    DmSegmentNode& _segment;
    DM::FrameCodeModes _fcm;
    DmMaterial _before;
};
