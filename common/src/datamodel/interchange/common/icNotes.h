/// What cut lists say in words beside their events: notes, each of a kind. They travel in the leftover of the format
/// "edl", one a line: "comment: cut on Tuesday", "effect name (* EFFECT NAME:): WIPE".
#pragma once

#include "dmErrorId.h"
#include "dmTreeNode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

enum class NoteKind : std::uint8_t
{
    Comment, ///< any other "*" line: what follows the "*"
    Line,    ///< any other line, whole
    FromClipName,
    ToClipName,
    KeyClipName,
    SourceFile,
    SourcePath,
    EffectName,
    Split, ///< a split edit: which side is delayed, and by how much
    FromFile,
    FromClip,
    Reel, ///< "LONG REPLACED BY: SHORT", a reel's name before a system shortened it
    // What the model says, too: where among the notes it stands, and how it is written while the model still says so
    Locator, ///< without a text: marks come in their order
    SlopeOffsetPower,
    Saturation,
    Speed, ///< the M2 line; with a text, that of the line in front of it
    // What is none of the model's either
    Unplayed ///< a line of an event without channels
};

/// What stands before the text of a note of a kind, behind the "* " of those that have one.
std::string_view notePrefix(NoteKind kind);
bool isStarred(NoteKind kind);
/// Whether a list has it like that, give or take blanks.
bool isUsualPrefix(NoteKind kind, std::string_view written);

/// A note that owns its text.
struct Note
{
    NoteKind kind;
    std::string text;
    std::string written = {}; ///< what stands before the text, where that is not what we write

    bool operator==(const Note&) const = default;
};

/// Whether the text of a kind is anything that somebody wrote.
inline bool isFree(NoteKind kind)
{
    return kind == NoteKind::Comment || kind == NoteKind::Line;
}
/// Whether the model has what notes of a kind say (the names of clips and files, marks, looks), or nobody needs it who
/// does not write lists.
bool isOfModel(NoteKind kind);
inline bool isMarkOrLook(NoteKind kind)
{
    return kind >= NoteKind::Locator && kind <= NoteKind::Speed;
}
/// As a list has it, without the "* " in front.
std::string noteText(const Note& note);
/// The note that such a text is: a comment, unless it begins like one of another kind.
Note noteOf(std::string_view text);

/// Whether such a text stands for a path of a file, and not only for its name.
bool isPath(std::string_view text);

// In leftovers

/// Lines of notes behind those that stand there.
void appendNoteLines(std::string& text, const std::vector<Note>& notes);
/// The note that a line is; none for one that says something else.
std::optional<Note> noteOfLine(std::string_view line);

/// The leftover of cut lists that travels with a node, whichever version it was written in, in the form of the version
/// that is written now; none without.
std::optional<std::string> edlLeftoverOf(const DmTreeNode& node);
/// Puts one in the place of that of any version.
[[nodiscard]] eDmErrorId setEdlLeftover(DmTreeNode& node, std::string_view text);
/// The notes in it.
std::vector<Note> notesOf(const DmTreeNode& node);
/// A leftover with other notes.
std::string withNotes(std::string_view leftover, const std::vector<Note>& notes);

} // namespace interchange
