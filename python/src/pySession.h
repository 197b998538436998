/// A session on a timeline: operations, and nodes that can be set.
#pragma once

#include "pyDraft.h"

#include "dmEdit.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zrpy
{

/// Raises what a status that is not ok says.
void check(const DmStatus& status);

struct EditOptions : DmEditOptions
{
    py::object progress = {}; ///< a callable, which is told how much is done, and answers False to cancel; or nothing
};

/// What an edit would say: true where it could be done, else the reason in words.
struct Answer
{
    std::string reason;
};

/// Nodes to set are those of a draft, which the first that is reached opens. An operation goes on from what was set,
/// and closes the draft: nodes that were reached before it say so when they are set, and are reached anew behind it.
class Session
{
public:
    Session(DmTimeline timeline, std::string name);

    const std::string& name() const { return _name; }
    const std::vector<std::string>& notes() const { return _notes; }

    // Nodes that can be set.

    py::object root();
    py::object composition();
    py::list segments(const py::object& track, const py::object& at);
    /// None where there is none.
    py::object find(const py::object& segmentId);
    /// By its position (track, layer, index).
    py::object element(const py::object& position);

    /// What the operations, and what was set, have made of it so far; nodes that were reached stay as they are.
    DmTimeline peek() const { return _draft ? _draft->read() : _current; }
    /// The same, and nodes that were reached become constant.
    DmTimeline current();
    /// A session about the composition that a container plays; `self` is this one.
    Session inside(const py::object& self, const py::object& container, const EditOptions& options);
    void leave(bool failed);
    const DmTimeline& result() const;
    /// About how much memory the operations made anew.
    std::size_t bytes() const { return _bytes; }

    /// One operation on the current timeline, whole or not at all.
    template <class Operation>
    void apply(const EditOptions& options, Operation&& operation)
    {
        requireOpen();
        DmEdit edit(current(), options);
        if (options.progress)
            edit.setProgress([&options](double done) { return options.progress(done).ptr() != Py_False; });
        check(operation(edit));
        _current = edit.timeline();
        _bytes += edit.bytes();
        for (const DmString& note : edit.notes())
            addNote(note);
    }
    /// Whether it could be done.
    template <class Operation>
    Answer ask(const EditOptions& options, Operation&& operation) const
    {
        requireOpen();
        DmEdit edit = DmEdit(peek(), options).can();
        return answerOf(operation(edit));
    }

    /// A segment, or a transition, of the session's tree or timeline; or its position (track, layer, index).
    DmElementPlace place(const py::object& element) const;
    /// "V1", a track or a layer of the session, or a position (track, layer).
    DmLayerPlace layer(const py::object& layer) const;
    /// Record time: frames, or a label or a Time of the composition.
    double time(const py::object& time) const;

private:
    struct Inside
    {
        py::object outer;
        DmElementPlace container;
        EditOptions options;
        DmTimeline opened; ///< the outer session's
    };

    void requireOpen() const;
    Draft& draft();
    void drop();
    py::object elementAt(const DmElementPlace& place);
    /// The container plays what was made here.
    void takeInside();
    void addNote(const DmString& note);
    static Answer answerOf(const DmStatus& status);

    DmTimeline _start;
    DmTimeline _current;
    CoSharedPtr<Draft> _draft; ///< none until a node to set is asked for
    std::string _name;
    std::vector<std::string> _notes;
    std::optional<Inside> _inside;
    std::size_t _bytes = 0;
    bool _open = true;
};

/// A session's question: its operations answer whether they could be done.
struct Question
{
    const Session& session;

    DmElementPlace place(const py::object& element) const { return session.place(element); }
    DmLayerPlace layer(const py::object& layer) const { return session.layer(layer); }
    double time(const py::object& time) const { return session.time(time); }
    template <class Operation>
    Answer apply(const EditOptions& options, Operation&& operation) const
    {
        return session.ask(options, operation);
    }
};

} // namespace zrpy
