/// What was done to a timeline, step by step, and the way back.
///
///     DmHistory history(timeline);
///     DmEdit edit(history.current());
///     if (edit.roll(seam, 3).ok())
///         history.add(L"Roll", edit);
///     history.undo();                        // the timeline is as it was, byte for byte
///
/// A step holds the timeline that it led to, which shares all but the step's own changes with its neighbours. Undo and
/// redo hand one of them out: they cost nothing that grows with the cut.
///
/// Threads: any thread may ask for the current timeline, an autosave for one, and then write what it got: it waits for
/// no edit, and no edit for it. All else belongs to one thread.
#pragma once

#include "dmEdit.h"
#include "dmTimeline.h"

#include <mutex>
#include <string>

class ZR_DM_API DmHistory
{
public:
    explicit DmHistory(DmTimeline start);

    DmTimeline current() const;

    /// The current timeline is the step's from now on. What was undone before is dropped, or kept as a branch.
    void add(const DmString& name, const DmTimeline& timeline, std::size_t bytes = 0);
    void add(const DmString& name, const DmEdit& edit) { add(name, edit.timeline(), edit.bytes()); }

    bool canUndo() const { return !_open && _position > 0; }
    bool canRedo() const { return !_open && _position + 1 < _steps.size(); }
    /// Of the step that an undo, or a redo, would take; empty when there is none.
    DmString undoName() const;
    DmString redoName() const;
    /// False when there is nothing to undo or to redo.
    bool undo();
    bool redo();

    // An open step, for a drag: each update begins anew from the step's start, and only the last one is kept.

    void open(const DmString& name);
    bool isOpen() const { return _open; }
    /// What each update's edit begins on.
    DmTimeline start() const;
    void update(const DmTimeline& timeline, std::size_t bytes = 0);
    void update(const DmEdit& edit) { update(edit.timeline(), edit.bytes()); }
    /// Keeps the last update as a step; one that changed nothing leaves none.
    void close();
    /// Back to the step's start.
    void abandon();

    // Limits: the oldest branches go, then the oldest steps; 0 is no limit. The step that led to the current timeline
    // stays. A branch goes with the step that it left, too.

    void setLimit(std::size_t steps);
    /// Of what the steps hold themselves, those of branches among them.
    void setByteLimit(std::size_t bytes);
    std::size_t count() const { return _steps.size() - 1; }
    std::size_t position() const { return _position; }
    std::size_t bytes() const;

    // Save points

    void markSaved();
    /// Whether the current timeline is the one that was saved.
    bool isSaved() const;

    // Branches: what an edit after an undo would drop.

    void keepBranches(bool keep) { _keepsBranches = keep; }
    std::size_t branchCount() const { return _branches.size(); }
    /// Makes a branch the steps to come, from the step on that it left; the steps that are undone then become a branch.
    bool takeBranch(std::size_t branch);

private:
    using Value = std::shared_ptr<const DmTimelineValue>;
    struct Step
    {
        std::wstring name; // steps are moved about, and a moved DmString drops what its destination held
        Value value;
        std::size_t bytes = 0;
    };
    struct Branch
    {
        Value from; ///< the timeline that it goes on from
        std::vector<Step> steps;
    };

    void setCurrent(const Value& value);
    void dropUndone();
    void keepLimits();

    std::vector<Step> _steps; ///< the first one is the start
    std::size_t _position = 0;
    std::vector<Branch> _branches;
    Value _saved;
    bool _keepsBranches = false;
    bool _open = false;
    Step _opened;
    std::size_t _stepLimit = 0;
    std::size_t _byteLimit = 0;
    mutable std::mutex _mutex; ///< held for a copy of the pointer
    DmTimeline _current;
};
