/// Edits a timeline as a cut room does, on a value: the timeline that a session opens on stays as it is, and what it
/// ends with shares all that no edit touched.
///
///     DmEdit edit(timeline);
///     if (const DmStatus status = edit.rippleTrim({0, 0, 4}, DM_TAIL, -12); !status.ok())
///         show(status.info());                  // why not, in words; nothing has changed
///     timeline = edit.timeline();
///
/// An operation is done whole or not at all. Whether it could be done, to grey a button, is asked in the same words,
/// and costs what the edit costs, which is little:
///
///     button.enable(edit.can().roll(seam, 5).ok());
///
/// Times and amounts are frames of record time, or labels (dmEditTime.h); later is positive, for heads and tails alike.
/// Every default is an option (DmEditOptions). Elements are named by their place; places are those of the session's
/// current timeline.
///
/// Threads: a session belongs to one thread; the timelines that it opens on and ends with belong to everybody.
#pragma once

#include "dmEditTime.h"
#include "dmSourceNode.h"
#include "dmTimeline.h"
#include "tuFcm.h"

#include <functional>
#include <memory>
#include <vector>

class DmEffectSettings;
class DmKeyFrame;

enum eDmEdge
{
    DM_HEAD,
    DM_TAIL
};

/// Where a transition lies on its cut.
enum eDmSeamAlignment
{
    DM_BEGINS_AT_CUT,
    DM_CENTRED_ON_CUT, ///< of an odd length, the smaller half lies in front of the cut
    DM_ENDS_AT_CUT
};

enum class DmAtTransition
{
    Cut,      ///< the transition becomes a cut at the point
    Shortened ///< it ends one frame in front of the point, which the incoming shot then has
};

struct ZR_DM_API DmEditOptions
{
    /// Takes as many frames as there are, where a handle or a neighbour is in the way.
    bool clamp = false;
    /// What becomes of a transition that a point of the edit lies in.
    DmAtTransition atTransition = DmAtTransition::Cut;
    /// Edits what is linked with a segment (the part of "segmentId" before its last '#') together with it.
    bool linked = true;
    /// Takes for linked, where ids say nothing, picture and sound of one medium whose record and source in-times differ
    /// by the same amount.
    bool linkByMedium = false;
    /// What lengthens or shortens a track opens and closes the same time on the others.
    bool syncLock = true;
    /// Tracks that do not take part in that, by position.
    std::vector<int> unlockedTracks = {};
    /// Closing takes material out of sync-locked tracks too, not gaps only.
    bool cutSynced = false;
    /// A move, or a fill, pushes what is there instead of replacing it; a move closes up what it leaves.
    bool insert = false;
    /// Keys move with the picture when a segment is slipped.
    bool keysFollow = false;
    /// Another speed keeps the frames and changes the length.
    bool keepFrames = false;
    /// And pulls what is behind along.
    bool ripple = false;
    /// An edit inside a container changes this use only, not all uses of its composition.
    bool ownComposition = false;
    /// With four points, fits the source range into the record range.
    bool fit = false;
};

class ZR_DM_API DmEdit
{
public:
    explicit DmEdit(DmTimeline timeline, DmEditOptions options = {});
    ~DmEdit();
    DmEdit(const DmEdit&) = delete;
    DmEdit& operator=(const DmEdit&) = delete;

    DmEditOptions& options();
    const DmEditOptions& options() const;
    /// As the operations so far left it; one that none changed is the one that the session opened on.
    DmTimeline timeline() const;
    /// The session's question: its operations say what they would have said, and leave no trace.
    DmEdit can() const;
    /// Ids that the session makes up come from this seed instead of from the system: for tests.
    void seedIds(std::uint64_t seed);

    /// What an edit did to a layer: elements [first, first + removed) became `added` elements, all behind moved by
    /// `shift`.
    struct Change
    {
        DmLayerPlace layer;
        int first;
        int removed;
        int added;
        double shift;
    };
    /// Of all operations of the session, in their order; each in positions as it found them.
    const std::vector<Change>& changes() const;
    /// What the operations have to say beside that they were done: shots of a flattened cut that let through what lay
    /// below them.
    const std::vector<DmString>& notes() const;
    /// About how much memory the edits made anew.
    std::size_t bytes() const;

    // Pieces of time. Segments that go in are copied; their times in the record are the edit's.

    /// Splits what plays there and pushes it, and all behind it, away. Behind the end, a gap fills up to the time.
    DmStatus insert(const DmLayerPlace& layer, const DmEditTime& time, const CoSharedPtr<DmSegmentNode>& segment);
    /// Replaces what plays there.
    DmStatus overwrite(const DmLayerPlace& layer, const DmEditTime& time, const CoSharedPtr<DmSegmentNode>& segment);
    /// Leaves a gap.
    DmStatus lift(const DmLayerPlace& layer, const DmEditTime& in, const DmEditTime& out);
    /// Closes up.
    DmStatus extract(const DmLayerPlace& layer, const DmEditTime& in, const DmEditTime& out);
    DmStatus liftSegment(const DmElementPlace& segment);
    DmStatus extractSegment(const DmElementPlace& segment);

    // Edges.

    /// Opens a gap, or grows into one; against anything else it is refused.
    DmStatus trim(const DmElementPlace& segment, eDmEdge edge, const DmEditAmount& by);
    /// Pulls all behind it; a head keeps its in-time.
    DmStatus rippleTrim(const DmElementPlace& segment, eDmEdge edge, const DmEditAmount& by);
    /// The seam (a cut, or a transition with its neighbours) moves.
    DmStatus roll(const DmElementPlace& seam, const DmEditAmount& by);
    /// The material moves under the segment: later frames play.
    DmStatus slip(const DmElementPlace& segment, const DmEditAmount& by);
    /// The segment moves between its neighbours, which give and take.
    DmStatus slide(const DmElementPlace& segment, const DmEditAmount& by);

    // Pieces.

    DmStatus split(const DmLayerPlace& layer, const DmEditTime& time);
    /// Two halves that go on from each other become one.
    DmStatus join(const DmElementPlace& seam);
    /// Other material under the same times, of one segment, whatever it is linked with.
    DmStatus replace(const DmElementPlace& segment, const CoSharedPtr<DmSegmentNode>& material);
    DmStatus swap(const DmElementPlace& a, const DmElementPlace& b);
    DmStatus move(const DmElementPlace& segment, const DmLayerPlace& to, const DmEditTime& time);
    /// Three- and four-point editing: a time that is dmNoTime is not given. Source times are positions in the material,
    /// or its own labels.
    DmStatus fill(const DmLayerPlace& layer, const CoSharedPtr<DmSegmentNode>& material, const DmEditTime& recordIn,
                  const DmEditTime& recordOut, const DmEditTime& sourceIn, const DmEditTime& sourceOut);

    // Seams.

    /// Puts a transition of the effect's kind on the seam, or changes what is there. The effect is copied; null keeps
    /// the one that is there, or makes a dissolve.
    DmStatus transition(const DmElementPlace& seam, const DmEditAmount& length, eDmSeamAlignment alignment,
                        const CoSharedPtr<DmEffectSettings>& effect = {});
    /// Takes the transition off, to the cut that it lies on.
    DmStatus cut(const DmElementPlace& seam);

    // What a segment plays.

    /// 1 is normal, negative backwards. Keeps the record length, or the frames (options).
    DmStatus speed(const DmElementPlace& segment, double speed);
    /// Holds the frame that plays at the time.
    DmStatus freeze(const DmElementPlace& segment, const DmEditTime& time);
    DmStatus reverse(const DmElementPlace& segment);

    // Properties. What is linked gets them too: marks at the same record time, effects and keys where the media type,
    // or the effect that is there, is the same.

    DmStatus mute(const DmElementPlace& segment, bool muted);
    DmStatus rename(const DmElementPlace& element, const DmString& name);
    DmStatus addMark(const DmElementPlace& segment, const CoSharedPtr<DmCueMark>& mark);
    DmStatus addMark(const CoSharedPtr<DmCueMark>& mark);
    DmStatus addEffect(const DmElementPlace& segment, const CoSharedPtr<DmEffectSettings>& effect);
    DmStatus removeEffect(const DmElementPlace& segment, int index);
    DmStatus addKeyFrame(const DmElementPlace& segment, int effect, const DmString& channel,
                         const CoSharedPtr<DmKeyFrame>& key);
    /// Any change to one element but its times: the function gets a copy to change, and its status decides.
    DmStatus change(const DmElementPlace& element, const std::function<eDmErrorId(DmTreeNode&)>& how);

    /// Edits the composition that a container plays: the function gets a session about it, and a status of it that is
    /// not ok refuses all. Every container of that composition plays the new one, unless options say otherwise. None
    /// may be left without frames that it plays.
    DmStatus inside(const DmElementPlace& container, const std::function<DmStatus(DmEdit& session)>& edits);
    /// The same with what became of the composition elsewhere: in a session of the caller's own, as it stands.
    DmStatus inside(const DmElementPlace& container, const DmTimeline& edited);

    // Whole timelines.

    /// Keeps [in, out), from the begin of the layers on.
    DmStatus trimToRange(const DmEditTime& in, const DmEditTime& out);
    /// The other timeline behind this one, on the tracks that are alike.
    DmStatus concatenate(const DmTimeline& other);
    /// The other timeline's tracks on top of these.
    DmStatus stack(const DmTimeline& other);
    /// The layers of all picture tracks into one: the top one that is neither gap nor muted wins.
    DmStatus flatten();
    DmStatus keepTracks(const std::vector<int>& tracks);
    DmStatus dropTracks(const std::vector<int>& tracks);
    DmStatus dropTransitions();
    /// Of all segments; timewarps, without which other frames would play, stay.
    DmStatus dropEffects();
    struct ZR_DM_API Relink
    {
        DmString fromPath, toPath; ///< the begin of paths
        DmString fromName, toName; ///< of inputs
        DmString fromReel, toReel;
    };
    /// A shared input once, for all that use it.
    DmStatus relink(const Relink& how);
    /// Takes names, comments, paths and notes out.
    DmStatus redact();
    enum class Conform
    {
        Labels,
        Clock
    };
    /// To another mode: seams keep their labels, or their wall-clock time.
    DmStatus conform(DM::FrameCodeModes fcm, Conform keep);

    /// Of a timeline's seams: where the cut of a transition is.
    static double cutOf(const DmTimeline& timeline, const DmElementPlace& seam);
    /// Asked now and then by long operations, with how much is done, from 0 to 1: false cancels, and nothing changes.
    void setProgress(std::function<bool(double)> progress);

private:
    class Imp;
    explicit DmEdit(std::unique_ptr<Imp> imp);
    std::unique_ptr<Imp> _imp;
};
