/// One layer under an edit: the seams that operations make, and the pieces that they take out and put in.
///
/// Positions count elements: segments, and between two of them a transition. What an operation touches must be whole:
/// where it meets a hole, an overlap, or an order that is none, it is refused. A refusal is thrown; DmEdit undoes what
/// was done and hands it to its caller as a status.
#pragma once

#include "dmEdit.h"
#include "dmReachImp.h"
#include "dmTimelineImp.h"

#include <random>

struct DmRefusal
{
    DmStatus status;
};

/// Throws. printf-style.
[[noreturn, gnu::format(printf, 1, 2)]] void dmRefuse(const char* format, ...);

/// Refuses a range that is none.
void dmNeedRange(double in, double out);

/// What the lanes of a session have in common.
struct DmEditDraft
{
    DmTimelineValue value;
    DmEditOptions options;
    std::vector<DmEdit::Change> changes;
    std::size_t bytes = 0;
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED;
    std::optional<std::mt19937_64> seeded;
    std::map<DmString, std::size_t> copies; ///< of one operation: how many a segment has, by its id
    /// Of one operation: the link groups of the first copies, the second ones and so on, by their originals'.
    std::map<DmString, std::vector<DmString>> freshGroups;

    DmString freshId(const DmString& original);
    /// The segment as a copy: another id, and where it comes from.
    void reidentify(DmSegmentNode& segment);
    /// A record time as a text for a person: its label, or frames where the mode is not known.
    std::string label(double time) const;
};

class DmLane
{
public:
    using Node = DmRuns::Node;
    using Segment = CoSharedPtr<DmSegmentNode>;

    /// Refuses a place that is no layer.
    DmLane(DmEditDraft& draft, const DmLayerPlace& place);

    const DmLayerPlace& place() const { return _place; }
    DmTimelineValue::Layer& layer() const { return *_draft.value.layer(_place); }
    eDmTreeMediaType mediaType() const { return layer().bare->getMediaType(); }
    int count() const { return layer().runs.count(); }
    /// Null for another kind of element, and for none.
    const DmSegmentNode* segment(int index) const;
    const DmTransitionNode* transition(int index) const;
    /// Refuses what is no segment, with its place.
    const DmSegmentNode& needSegment(int index) const;
    /// One that nothing plays in: not one that keeps the place of a shot that two transitions cover wholly.
    bool isGap(int index) const;
    /// That shot, which is attached to a gap of no length; null for every other element.
    const DmSourceNode* covered(int index) const;
    double in(int index) const { return layer().runs.at(index).recIn(); }
    double length(int index) const;
    double out(int index) const { return in(index) + length(index); }
    double begin() const;
    double end() const;
    /// Lengths of the transitions beside a segment.
    DmPlayedBeside beside(int index) const;
    DmReach reach(int index) const;
    /// Refuses a segment of which nobody knows what it plays beside what it plays: a keyed speed is not evaluated.
    void needFrames(int index) const;
    /// Frames that the segment's head can move earlier, and its tail later, when the transitions beside it stay.
    /// Refused as above.
    double roomBefore(int index) const;
    double roomBehind(int index) const;
    /// "Shot 12" at 01:00:00:00, for messages.
    std::string called(int index) const;

    /// Refuses a segment whose neighbours do not meet it.
    void needWhole(int index) const;
    /// Refuses what is no transition between two such segments.
    void needSeam(int seam) const;

    // Changing

    /// A copy at its time, to change and put back.
    template <class T>
    CoSharedPtr<T> own(int index) const
    {
        const DmRuns::Element element = layer().runs.at(index);
        CoSharedPtr<T> copy = DM::staticPointerCast<T>(dmEditCopy(static_cast<const T&>(*element.node)));
        dmStandAt(*copy, element.recIn());
        return copy;
    }
    /// Of a shot that transitions cover, the shot itself, without a frame.
    Segment ownSegment(int index) const;
    DmSegmentChange change(const Segment& segment, int was) const
    {
        return DmSegmentChange(*segment, _draft.fcm, beside(was));
    }
    void put(int first, int last, std::vector<Node> nodes, double shiftBehind);
    /// A transition at the begin or the end of the layer gets a gap of no length on its other side; answers where the
    /// element of that position is then.
    int closeEnds(int index);
    /// Of a transition that begins so many frames later over the outgoing picture: the source that is attached to it
    /// follows, and lasts no longer than it. Of others, and without such a source, nothing changes.
    void attachedFollows(int index, double by);
    /// Takes such a source off: it is no longer what is outgoing.
    void dropAttached(int index);
    /// The source that is attached to a transition; null for none.
    CoSharedPtr<DmSourceNode> attachedTo(int index) const;
    /// Where a source is attached to the transition behind a segment, another one goes in its place: `theirs`, which
    /// came with the segment, or what the segment goes on with.
    void attachedIsOf(int segment, const CoSharedPtr<DmSourceNode>& theirs);

    Node makeCut(double time) const;
    Segment makeGap(double time, double length) const;

    /// Makes the time a seam between two segments and answers the position of the one behind it; at the end, the number
    /// of elements. Behind the end, a gap fills up to it. Splits what plays there; of a transition, see DmAtTransition.
    int seamAt(double time);
    int splitSegment(int index, double time);
    /// A seam at a time in the transition, as DmAtTransition says; answers the position of the segment behind.
    int seamInTransition(int index, double time);
    /// The same, whatever that says: the transition becomes a cut.
    int cutTransition(int index, double time);
    /// In place of the elements of [first, last), which begin and end at seams that are cuts, these segments, one
    /// behind the other from where the first stands; all behind moves.
    void replace(int first, int last, const std::vector<Segment>& segments, double shiftBehind);
    /// Leaves a gap in place of what plays in the range.
    void lift(double in, double out);
    /// Takes plain gaps of no length between cuts out, and makes plain gaps beside each other one, around a position.
    void tidy(int around);
    void fillTo(double time);
    /// A layer that begins later than others begins with them instead, with a gap; an empty one begins at the time.
    void beginBy(double time);
    /// Each of them, at the time of the seam in front of it or at an end, has half a frame or more.
    void needLength(const DmSegmentNode& segment) const;

private:
    /// A source that is attached to a gap plays inside it.
    void keepInside(const Node& gap) const;
    bool isPlainGap(int index) const;
    bool isCut(int index) const;

    DmEditDraft& _draft;
    DmLayerPlace _place;
};
