/// What changed between two versions of a cut, in an editor's words.
///
///     const DmDiff diff = DmDiff::between(before.get(), after.get());
///     for (const DmChange& change : diff.changes())
///         std::cout << change.track << ' ' << change.newLabel << ' ' << change.clip << ": " << change.text() << '\n';
///
/// Shots are told by who they are (docs/comparing.md says how), wherever they stand in either cut. A seam is one thing:
/// a transition that takes frames from both its neighbours trims neither, as long as it holds the old cut or overlaps
/// the old transition. What a shot's neighbours do to its time is a shift, and no change of the shot.
///
/// Times are label times, in frames of the older composition's mode; amounts are frames too, and later is positive, for
/// heads and tails alike. Cuts of different rates are compared by the clock.
///
/// Nothing is changed, and a diff keeps nothing of either tree: it is a value. Calls are independent of each other.
/// What edits left shared between two versions of a timeline is not looked at.
#pragma once

#include "dmStatus.h"
#include "dmTreeNode.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class DmTimeline;

enum class DmChangeKind : std::uint8_t
{
    Added,
    Removed,
    Moved,
    Shifted, ///< in time, by what others did
    Head,    ///< trimmed: begins later, or earlier
    Tail,
    Slipped,
    Speed,
    Replaced, ///< other material, or another version of it
    Renamed,
    Muted,
    TransitionAdded,
    TransitionRemoved,
    TransitionChanged,
    EffectAdded,
    EffectRemoved,
    EffectChanged,
    MarkAdded,
    MarkRemoved,
    MarkChanged,
    TrackAdded,
    TrackRemoved,
    TrackMoved,
    LayerAdded,
    LayerRemoved,
    LayerMoved,
    CompositionAdded,
    CompositionRemoved,
    Rate,
    Property
};

struct DmChangeKindName
{
    DmChangeKind kind;
    const char* name;  ///< "transition-added"
    const char* text;  ///< "transition added"
    const char* group; ///< "transition": what it is ignored by, as well
};
/// In the order of the enumerators.
ZR_DM_API std::span<const DmChangeKindName> dmChangeKinds();

struct ZR_DM_API DmChange
{
    DmChangeKind kind = DmChangeKind::Property;
    std::string composition; ///< its name
    std::string track;       ///< "V1", "A2.3" for its third layer; where the change left it
    std::string oldTrack;    ///< of what moved to another one; else empty
    std::string clip;        ///< its name; of a transition the shot that it leads to
    double oldRecord = 0.0;  ///< label times; what is not in a cut is at the other's
    double newRecord = 0.0;
    std::string oldLabel; ///< empty for what was not there
    std::string newLabel; ///< empty for what is gone
    double frames = 0.0;  ///< by how much, or how long
    int count = 1;        ///< of shots that one behind the other were shifted by as much: how many; this is the first
    std::string oldPath;  ///< "children[0]/children[0]/children[3]"; empty for what was not there
    std::string newPath;
    std::string property; ///< which, for effects and properties
    std::string was;      ///< as people read it
    std::string became;

    /// What happened, without where: "tail trimmed, 12 frames shorter".
    std::string text() const;
};

struct DmDiffOptions
{
    /// Times that differ by no more frames are the same.
    double tolerance = 0.0;
    /// Kinds that are not told, by name or group.
    std::vector<std::string> ignored = {};
    /// Tells each shot that was shifted, not a row of them as one change.
    bool eachShift = false;
};

class ZR_DM_API DmDiff
{
public:
    /// Null on one side: all of the other was added, or is gone. No changes, and a status that says why, for trees that
    /// hold themselves and for a kind to ignore that there is not.
    static DmDiff between(const DmTreeNode* before, const DmTreeNode* after, const DmDiffOptions& options = {},
                          DmStatus* status = nullptr);
    template <class Node>
    static DmDiff between(const CoSharedPtr<Node>& before, const CoSharedPtr<Node>& after,
                          const DmDiffOptions& options = {}, DmStatus* status = nullptr)
    {
        return between(static_cast<const DmTreeNode*>(before.get()), after.get(), options, status);
    }
    static DmDiff between(const DmTimeline& before, const DmTimeline& after, const DmDiffOptions& options = {},
                          DmStatus* status = nullptr);

    bool isSame() const { return _changes.empty(); }
    /// By composition, track and record time; shifts among them.
    const std::vector<DmChange>& changes() const { return _changes; }
    /// Of one kind: of shifts, the shots.
    int count(DmChangeKind kind) const;

    /// The change list, as it is read aloud. `each`: shifts one by one, too.
    std::string text(bool each = false) const;
    /// "2 trimmed, 1 added; 12 shifted": empty for no change.
    std::string stat() const;
    /// One JSON object (docs/comparing.md).
    std::string json() const;

private:
    struct Sharing;
    static DmDiff of(const DmTreeNode* before, const DmTreeNode* after, const DmDiffOptions& options, DmStatus* status,
                     const Sharing* sharing);

    std::vector<DmChange> _changes;
};
