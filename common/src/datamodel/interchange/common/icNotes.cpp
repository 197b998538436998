#include "icNotes.h"

#include "icLeftovers.h"
#include "icText.h"

#include <algorithm>
#include <array>
#include <optional>

namespace interchange
{

namespace
{

constexpr int noteKinds = static_cast<int>(NoteKind::Split) + 1;

} // namespace

std::string_view notePrefix(NoteKind kind)
{
    constexpr std::array<std::string_view, 9> prefixes{"",
                                                       "",
                                                       "FROM CLIP NAME: ",
                                                       "TO CLIP NAME: ",
                                                       "KEY CLIP NAME: ",
                                                       "SOURCE FILE: ",
                                                       "SOURCE PATH: ",
                                                       "EFFECTS NAME IS ",
                                                       "SPLIT:    "};
    return prefixes[static_cast<std::size_t>(kind)];
}

bool isOfModel(NoteKind kind)
{
    constexpr std::array kinds{NoteKind::FromClipName, NoteKind::ToClipName, NoteKind::SourceFile,
                               NoteKind::SourcePath};
    return std::ranges::find(kinds, kind) != kinds.end();
}

std::string noteText(const Note& note)
{
    return std::string(notePrefix(note.kind)).append(note.text);
}

Note noteOf(std::string_view text)
{
    for (int i = 0; i < noteKinds; ++i)
    {
        const auto kind = static_cast<NoteKind>(i);
        const std::string_view prefix = trimmed(notePrefix(kind));
        if (!prefix.empty() && text.starts_with(prefix))
            return {kind, std::string(trimmed(text.substr(prefix.size())))};
    }
    return {NoteKind::Comment, std::string(text)};
}

void appendNoteLines(std::string& text, const std::vector<Note>& notes)
{
    for (const Note& note : notes)
        text.append("\n").append(std::to_string(static_cast<int>(note.kind))).append(" ").append(note.text);
}

std::vector<Note> readNoteLines(std::string_view lines)
{
    std::vector<Note> notes;
    while (!lines.empty())
    {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        std::string_view line = trimmed(lines.substr(0, end));
        lines.remove_prefix(std::min(end + 1, lines.size()));
        const std::optional<int> kind = toNumber<int>(takeFirstWord(line));
        if (kind && *kind >= 0 && *kind < noteKinds)
            notes.push_back({static_cast<NoteKind>(*kind), std::string(line)});
    }
    return notes;
}

std::vector<Note> notesOf(const DmTreeNode& node)
{
    const std::optional<std::string> text = leftoverOf(node, edlLeftover);
    if (!text)
        return {};
    return readNoteLines(std::string_view(*text).substr(std::min(text->find('\n'), text->size())));
}

} // namespace interchange
