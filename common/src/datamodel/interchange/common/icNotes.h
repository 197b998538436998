/// What cut lists say in words beside their events: notes, each of a kind. They travel in the leftover of the format
/// "edl", one a line behind its first: its kind's number, a blank, its text.
#pragma once

#include "dmTreeNode.h"

#include <cstdint>
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
    Split ///< a split edit: which side is delayed, and by how much
};

/// What stands before the text of a note of a kind, behind the "* " of those that have one.
std::string_view notePrefix(NoteKind kind);

/// A note that owns its text.
struct Note
{
    NoteKind kind;
    std::string text;

    bool operator==(const Note&) const = default;
};

/// Whether the model has what notes of a kind say: the names of clips and files.
bool isOfModel(NoteKind kind);
/// As a list has it, without the "* " in front.
std::string noteText(const Note& note);
/// The note that such a text is: a comment, unless it begins like one of another kind.
Note noteOf(std::string_view text);

/// The lines of notes, each with its line end before it.
void appendNoteLines(std::string& text, const std::vector<Note>& notes);
/// What cannot be read is passed over.
std::vector<Note> readNoteLines(std::string_view lines);

/// The notes that travel with a node; none where it has no leftover of cut lists.
std::vector<Note> notesOf(const DmTreeNode& node);

} // namespace interchange
