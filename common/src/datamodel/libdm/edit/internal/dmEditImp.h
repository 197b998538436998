/// The inside of a session: how an operation is done whole or not at all, on which layers, and what follows it.
#pragma once

#include "dmLaneImp.h"

#include <new>
#include <set>

class DmRewrite;

class DmEdit::Imp
{
public:
    Imp(DmTimeline opened, DmEditOptions options);

    /// Does the operation on the draft; a refusal undoes all of it, as does a question.
    template <class Do>
    DmStatus run(Do&& operation)
    {
        if (!_timeline)
        {
            DmStatus status;
            status.fail(DM_BAD_VALUE, "There is no timeline to edit.");
            return status;
        }
        const DmTimelineValue before = draft.value;
        const auto undo =
            [&, fcm = draft.fcm, changes = draft.changes.size(), bytes = draft.bytes, noteCount = notes.size()]
        {
            draft.value = before;
            draft.fcm = fcm;
            draft.changes.resize(changes);
            draft.bytes = bytes;
            notes.resize(noteCount);
        };
        draft.copies.clear();
        draft.freshGroups.clear();
        DmStatus status;
        try
        {
            operation();
            followLengths(before);
            if (!isQuestion)
            {
                isChanged = true;
                return status;
            }
        }
        catch (const DmRefusal& refusal)
        {
            status = refusal.status;
        }
        catch (const std::bad_alloc&)
        {
            status.fail(DM_BAD_VALUE, "There is not enough memory for the edit.");
        }
        catch (...) // of a host's function: its own to handle
        {
            undo();
            throw;
        }
        undo();
        return status;
    }

    DmLane lane(const DmLayerPlace& place) { return DmLane(draft, place); }
    DmLane lane(const DmElementPlace& place) { return DmLane(draft, place.inLayer()); }
    const DmEditOptions& options() const { return draft.options; }

    /// Refuses a label that is none of the mode.
    double frames(const DmEditTime& time) const;
    /// From where what is edited is; dmNoTime where there is no time to go to. Refuses what is no number of frames.
    double frames(const DmEditAmount& amount, double from = dmNoTime) const;
    /// A position in the material, whose labels count in its own mode.
    double positionOf(const DmEditTime& time, const DmSegmentNode& material) const;

    /// The segment itself, and those that are edited together with it.
    std::vector<DmElementPlace> together(const DmElementPlace& segment);
    std::vector<DmElementPlace> withEffect(const DmElementPlace& segment, int index);
    /// A seam, which must be whole, and those of linked segments that lie at the same time; others lie where the editor
    /// put them. The first one is the seam itself, where it is then.
    std::vector<DmElementPlace> seamsTogether(const DmElementPlace& seam);
    /// What the other layers do when time opens (`by` > 0) at a record time, or closes in front of it: those of the
    /// same track, and of the tracks in sync. `done`: layers that moved themselves.
    void ripple(double time, double by, const std::set<std::pair<int, int>>& done);
    void insert(const DmLayerPlace& layer, double time, const DmSegmentNode& segment);
    void overwrite(const DmLayerPlace& layer, double time, const DmSegmentNode& segment);
    /// Takes [in, out) out of a layer and closes up.
    void close(const DmLayerPlace& layer, double in, double out);
    /// Each of one element, without those that are linked with it.
    void putTransition(const DmElementPlace& seam, double length, eDmSeamAlignment alignment,
                       const CoSharedPtr<DmEffectSettings>& effect);
    void cutSeam(const DmElementPlace& seam);
    void freeze(const DmElementPlace& segment, double time);
    void swap(const DmElementPlace& a, const DmElementPlace& b);
    void change(const DmElementPlace& element, const std::function<eDmErrorId(DmTreeNode&)>& how);
    void playInstead(const DmElementPlace& container, const CoSharedPtr<DmCompositionNode>& composition);
    /// A copy of a segment that goes in.
    DmLane::Segment incoming(const DmLane& lane, const DmSegmentNode& segment);
    /// Refuses, or takes what there is where options say so. Amounts are positive.
    double within(double wanted, double there, const char* what) const;

    CoSharedPtr<DmCompositionNode> ownComposition() const;
    void setComposition(const CoSharedPtr<DmCompositionNode>& composition);
    /// Throughout the tree; whether anything changed.
    bool rewrite(DmRewrite& how);
    /// Whether the host goes on; else refuses.
    void progress(double done) const;
    /// Of work that goes through the layers, element by element.
    void progressOf(const DmLayerPlace& layer, int element, int count) const;

    /// Marks of the composition, and of the layers that move, go along when time opens at `time`, or closes in front of
    /// it.
    void shiftMarks(double time, double by, const std::function<bool(int track)>& isMoved);

    DmEditDraft draft;
    std::vector<DmString> notes;
    std::function<bool(double)> host;
    bool isChanged = false;
    bool isQuestion = false; ///< an operation that succeeds is undone as well
    DmTimeline _timeline;    ///< that was opened, or as it was last asked for

private:
    void followLengths(const DmTimelineValue& before);
};

/// The time of the cut that a transition lies on.
double dmCutTimeOf(const DmTransitionNode& node, double recIn);

/// Refuses material that does not reach as far as it is to play, transitions beside it included.
void dmNeedMaterial(const DmSegmentNode& segment, DM::FrameCodeModes fcm, DmPlayedBeside beside);

/// Gives a segment, a fresh copy, one timewarp of a constant speed in the place of those that it has; none for normal
/// speed.
void dmSetSpeedOf(DmSegmentNode& segment, double speed);

inline std::pair<int, int> dmKeyOf(const DmLayerPlace& place)
{
    return {place.track, place.layer};
}
