#include "icNotes.h"

#include "icLeftovers.h"
#include "icText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace interchange
{

namespace
{

/// By kind: what stands before its text in a list, and in a leftover.
struct Wording
{
    std::string_view prefix;
    std::string_view key;
    bool isOfModel = false;
};
constexpr std::array<Wording, 17> wordings{{{"", "comment"},
                                            {"", "line"},
                                            {"FROM CLIP NAME: ", "from clip name", true},
                                            {"TO CLIP NAME: ", "to clip name", true},
                                            {"KEY CLIP NAME: ", "key clip name"},
                                            {"SOURCE FILE: ", "source file", true},
                                            {"SOURCE PATH: ", "source path", true},
                                            {"EFFECTS NAME IS ", "effect name"},
                                            {"SPLIT:    ", "split"},
                                            {"FROM FILE: ", "from file", true},
                                            {"FROM CLIP: ", "from clip", true},
                                            {"FINAL CUT PRO REEL: ", "final cut pro reel"},
                                            {"LOC: ", "mark", true},
                                            {"ASC_SOP ", "slope offset power", true},
                                            {"ASC_SAT ", "saturation", true},
                                            {"M2", "speed line", true},
                                            {"", "unplayed", true}}};

constexpr LeftoverType firstVersion{"edl", L"edl"};

/// The first version: a line of "key=value" words, with a reel last, then notes by the numbers of their kinds.
std::string fromFirstVersion(std::string_view text)
{
    std::string made;
    const auto add = [&made](std::string_view key, std::string_view value)
    { made.append(made.empty() ? "" : "\n").append(key).append(": ").append(value); };
    std::string_view fields = text.substr(0, text.find('\n'));
    text.remove_prefix(fields.size());
    constexpr std::string_view reel = "reel=";
    if (const std::size_t at = fields.find(reel); at != fields.npos)
    {
        add("reel", trimmed(fields.substr(at + reel.size())));
        fields = fields.substr(0, at);
    }
    while (!trimmed(fields).empty())
    {
        const std::string_view word = takeFirstWord(fields);
        const std::size_t equals = std::min(word.find('='), word.size());
        add(word.substr(0, equals), word.substr(std::min(equals + 1, word.size())));
    }
    std::vector<Note> notes;
    while (!text.empty())
    {
        text.remove_prefix(1);
        std::string_view line = trimmed(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.find('\n'), text.size()));
        const std::optional<int> kind = toNumber<int>(takeFirstWord(line));
        if (kind && *kind >= 0 && std::cmp_less(*kind, wordings.size()))
            notes.push_back({static_cast<NoteKind>(*kind), std::string(line)});
    }
    appendNoteLines(made, notes);
    return made;
}

} // namespace

std::string_view notePrefix(NoteKind kind)
{
    return wordings[static_cast<std::size_t>(kind)].prefix;
}

bool isStarred(NoteKind kind)
{
    constexpr std::array bare{NoteKind::Line, NoteKind::EffectName, NoteKind::Split,
                              NoteKind::Reel, NoteKind::Speed,      NoteKind::Unplayed};
    return std::ranges::find(bare, kind) == bare.end();
}

bool isUsualPrefix(NoteKind kind, std::string_view written)
{
    const auto take = [](std::string_view& text)
    {
        while (!text.empty() && isBlank(text.front()))
            text.remove_prefix(1);
        const char first = text.empty() ? '\0' : text.front();
        text.remove_prefix(text.empty() ? 0 : 1);
        return first;
    };
    std::string_view usual = trimmed(notePrefix(kind));
    if (isStarred(kind) && take(written) != '*')
        return false;
    written = trimmed(written);
    if (written == usual)
        return true;
    for (char c = take(written); c == take(usual); c = take(written))
        if (c == '\0')
            return true;
    return false;
}

bool isOfModel(NoteKind kind)
{
    return wordings[static_cast<std::size_t>(kind)].isOfModel;
}

std::string noteText(const Note& note)
{
    return std::string(notePrefix(note.kind)).append(note.text);
}

Note noteOf(std::string_view text)
{
    for (std::size_t i = 0; i < wordings.size(); ++i)
    {
        const std::string_view prefix = trimmed(wordings[i].prefix);
        const bool mayBegin = !prefix.empty() && !text.empty() && prefix.front() == text.front();
        if (mayBegin && text.starts_with(prefix) && !isMarkOrLook(static_cast<NoteKind>(i)))
            return {static_cast<NoteKind>(i), std::string(trimmed(text.substr(prefix.size())))};
    }
    return {NoteKind::Comment, std::string(text)};
}

bool isPath(std::string_view text)
{
    return text.find_first_of("/\\") != text.npos;
}

void appendNoteLines(std::string& text, const std::vector<Note>& notes)
{
    for (const Note& note : notes)
    {
        const auto append = [&text](std::string_view part)
        {
            const auto begin = static_cast<std::ptrdiff_t>(text.size());
            text += part;
            std::replace_if(
                text.begin() + begin, text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
        };
        text.append(text.empty() ? "" : "\n").append(wordings[static_cast<std::size_t>(note.kind)].key);
        if (!note.written.empty())
        {
            text += " (";
            append(note.written);
            text += ')';
        }
        text += ": ";
        append(note.text);
    }
}

std::optional<Note> noteOfLine(std::string_view line)
{
    const std::size_t colon = std::min(line.find(": "), line.size());
    std::string_view key = line.substr(0, colon);
    std::string_view written;
    if (const std::size_t open = key.find(" ("); open != key.npos && key.ends_with(')'))
    {
        written = key.substr(open + 2, key.size() - open - 3);
        key = key.substr(0, open);
    }
    const auto* const found = std::ranges::find(wordings, key, &Wording::key);
    if (found == wordings.end())
        return std::nullopt;
    return Note{static_cast<NoteKind>(found - wordings.begin()),
                std::string(line.substr(std::min(colon + 2, line.size()))), std::string(written)};
}

std::optional<std::string> edlLeftoverOf(const DmTreeNode& node)
{
    if (std::optional<std::string> text = leftoverOf(node, edlLeftover))
        return text;
    const std::optional<std::string> old = leftoverOf(node, firstVersion);
    return old ? std::optional(fromFirstVersion(*old)) : std::nullopt;
}

eDmErrorId setEdlLeftover(DmTreeNode& node, std::string_view text)
{
    const eDmErrorId status = setLeftover(node, firstVersion, {});
    return status == DM_NO_ERROR ? setLeftover(node, edlLeftover, text) : status;
}

std::vector<Note> notesOf(const DmTreeNode& node)
{
    std::vector<Note> notes;
    const std::optional<std::string> text = edlLeftoverOf(node);
    if (text)
        forEachLine(*text,
                    [&notes](std::string_view line)
                    {
                        if (std::optional<Note> note = noteOfLine(line))
                            notes.push_back(std::move(*note));
                    });
    return notes;
}

std::string withNotes(std::string_view leftover, const std::vector<Note>& notes)
{
    std::string text;
    forEachLine(leftover,
                [&text](std::string_view line)
                {
                    if (!noteOfLine(line))
                        text.append(text.empty() ? "" : "\n").append(line);
                });
    appendNoteLines(text, notes);
    return text;
}

} // namespace interchange
