/// What a cut list says that the model has no property for: it travels with the node as the leftover of the format
/// "edl", and comes back when the node is written to a list.
///
/// Its text has a line "key: value" for every figure, then one for every note. A figure that depends on a value of the
/// model stands beside what the model said when the list was read, and counts only as long as it still says so.
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

    // Of an event

    std::optional<std::uint32_t> position; ///< of the event in its list
    std::uint32_t number = 0;
    std::uint8_t numberWidth = 0;                  ///< where it is not the usual one
    std::string reel;                              ///< as the list had it, where the model's name is none of a list's
    std::string longReel;                          ///< the model's name then, where it is another one
    std::string madeName;                          ///< the clip's, where no note names it
    EdlTransition transition = EdlTransition::Cut; ///< keys, and wipes of sound
    bool keyFades = false;                         ///< of those
    EdlFcmLine fcmLine = EdlFcmLine::AsNeeded;
    std::uint16_t wipePattern = 0;      ///< of those
    std::uint32_t transitionLength = 0; ///< of those
    EdlRange source;                    ///< as it was read ...
    std::int64_t recordLength = -1;     ///< ... for this length on the record side; -1: not kept
    std::optional<EdlSpeed> speed;
    bool speedHasNoTime = false; ///< in its line
    bool speedHasNoReel = false; ///< there
    std::optional<double> plays; ///< the speed that the model had for it
    std::string speedReel;       ///< of the speed's own line, where that is another one
    // As in EdlEvent
    std::string spelling;
    std::string speedSpelling;
    std::string labels;
    std::string numberTail;
    /// Of the line that a transition comes from: where, as the model said, the material in front of it ended.
    std::optional<std::int64_t> after;

    // Of a list

    bool isUntitled = false;
    bool hasNoFcm = false;
    bool hasOwnOrder = false; ///< its events are not in record order

    std::vector<Note> notes;

    /// The text of a note of a kind; null if there is none.
    const Note* find(NoteKind kind) const;
    Note* find(NoteKind kind) { return const_cast<Note*>(std::as_const(*this).find(kind)); }

    /// Attaches itself to the node.
    eDmErrorId keepOn(DmTreeNode& node) const;
    /// None where the node has no such blob. What cannot be read, in a document that somebody changed, is passed over.
    static std::optional<EdlKept> of(const DmTreeNode& node);
};

// What notes say of the clip that an event plays

/// The note that names it; null where none does.
const Note* clipNote(const std::vector<Note>& notes, bool isTransition);
/// The note with the path of its file, and the one with the file's name.
const Note* pathNote(const std::vector<Note>& notes);
const Note* fileNote(const std::vector<Note>& notes);
/// The clip's name: without the " FF" behind one that is frozen. Where none is noted, the reel stands for it, and the
/// event's number where the reel says nothing.
std::string clipNameOf(const EdlKept& kept, std::string_view reel, bool isTransition);

/// Another one names the clip of a reel: "REEL x IS CLIP y".
struct EdlReelClip
{
    std::string_view reel;
    std::string_view clip;
};
std::optional<EdlReelClip> reelClipOf(NoteKind kind, std::string_view note);

/// What a system says when it has shortened a reel's name: "LONG REPLACED BY: SHORT"; in an event that plays nothing,
/// too.
struct EdlLongReel
{
    std::string_view longName;
    std::string_view shortName;
};
std::optional<EdlLongReel> longReelOf(NoteKind kind, std::string_view note);

} // namespace interchange
