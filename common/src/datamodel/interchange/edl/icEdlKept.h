/// What a cut list says that the model has no property for: it travels with the node in a blob of the type "edl", and
/// comes back when the node is written to a list.
///
/// The blob's text has a line of "key=value" words, then a line for every note: its kind, a blank, its text.
#pragma once

#include "icEdlList.h"

#include "dmTreeNode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

struct EdlKept
{
    using Note = interchange::Note;

    std::optional<std::uint32_t> position; ///< of the event in its list
    std::uint32_t number = 0;
    std::string reel;                              ///< of material that has no source info
    EdlTransition transition = EdlTransition::Cut; ///< keys, and wipes of sound
    std::uint16_t wipePattern = 0;                 ///< of those
    std::uint32_t transitionLength = 0;            ///< of those
    EdlRange source;                               ///< as it was read ...
    std::int64_t recordLength = -1;                ///< ... for this length on the record side; -1: not kept
    std::optional<EdlSpeed> speed;
    std::vector<Note> notes;

    /// The text of a note of a kind; null if there is none.
    const Note* find(NoteKind kind) const;
    Note* find(NoteKind kind) { return const_cast<Note*>(std::as_const(*this).find(kind)); }
    /// The name of the incoming clip, as the notes have it; empty if they have none.
    std::string_view clipName(bool isTransition) const;

    /// Attaches itself to the node.
    eDmErrorId keepOn(DmTreeNode& node) const;
    /// None where the node has no such blob. What cannot be read, in a document that somebody changed, is passed over.
    static std::optional<EdlKept> of(const DmTreeNode& node);
};

} // namespace interchange
