#include "icEdlKept.h"

#include "icText.h"

#include "dmBlobNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace interchange
{

namespace
{

constexpr const wchar_t* blobType = L"edl";
constexpr int noteKinds = static_cast<int>(EdlNoteKind::Split) + 1;
constexpr int transitionKinds = static_cast<int>(EdlTransition::KeyOut) + 1;

/// A reel's name goes behind "reel=", last in its line, since it may hold blanks.
constexpr std::string_view reelKey = "reel=";

template <typename Value>
void add(std::string& text, std::string_view key, Value value)
{
    text.append(text.empty() ? "" : " ").append(key).append("=").append(std::to_string(value));
}

/// Sets a value from "key=value" if the word is of this key.
template <typename Value>
bool take(std::string_view word, std::string_view key, Value& value)
{
    if (word.size() <= key.size() || !word.starts_with(key) || word[key.size()] != '=')
        return false;
    if (const std::optional<Value> read = toNumber<Value>(word.substr(key.size() + 1)))
        value = *read;
    return true;
}

void readFields(std::string_view line, EdlKept& kept)
{
    if (const std::size_t reel = line.find(reelKey); reel != line.npos)
    {
        kept.reel = trimmed(line.substr(reel + reelKey.size()));
        line = trimmed(line.substr(0, reel));
    }
    int transition = 0;
    std::uint32_t position = 0;
    EdlSpeed speed;
    while (!line.empty())
    {
        const std::string_view word = takeFirstWord(line);
        if (take(word, "event", position))
            kept.position = position;
        else if (take(word, "speed", speed.fps) || take(word, "at", speed.at))
            kept.speed = speed;
        else
            take(word, "number", kept.number) || take(word, "transition", transition) ||
                take(word, "pattern", kept.wipePattern) || take(word, "length", kept.transitionLength) ||
                take(word, "in", kept.source.in) || take(word, "out", kept.source.out) ||
                take(word, "record", kept.recordLength);
    }
    kept.transition = static_cast<EdlTransition>(std::clamp(transition, 0, transitionKinds - 1));
}

} // namespace

const EdlKept::Note* EdlKept::find(EdlNoteKind kind) const
{
    const auto found = std::ranges::find(notes, kind, &Note::kind);
    return found == notes.end() ? nullptr : &*found;
}

std::string_view EdlKept::clipName(bool isTransition) const
{
    const Note* const to = isTransition ? find(EdlNoteKind::ToClipName) : nullptr;
    const Note* const name = to ? to : find(EdlNoteKind::FromClipName);
    return name ? std::string_view(name->text) : std::string_view();
}

eDmErrorId EdlKept::keepOn(DmTreeNode& node) const
{
    std::string text;
    if (position)
    {
        add(text, "event", *position);
        add(text, "number", number);
    }
    if (transition != EdlTransition::Cut)
    {
        add(text, "transition", static_cast<int>(transition));
        add(text, "pattern", wipePattern);
        add(text, "length", transitionLength);
    }
    if (recordLength >= 0)
    {
        add(text, "in", source.in);
        add(text, "out", source.out);
        add(text, "record", recordLength);
    }
    if (speed)
    {
        text.append(" speed=");
        appendDecimal(text, speed->fps, 1, 0);
        add(text, "at", speed->at);
    }
    if (!reel.empty())
        text.append(" ").append(reelKey).append(reel);
    for (const Note& note : notes)
        text.append("\n").append(std::to_string(static_cast<int>(note.kind))).append(" ").append(note.text);
    const CoSharedPtr<DmBlobNode> blob = DmBlobNode::create(blobType, toDmString(text));
    return blob ? node.setBaseBlob(blob) : DM_BAD_VALUE;
}

std::optional<EdlKept> EdlKept::of(const DmTreeNode& node)
{
    const auto* const blob = dynamic_cast<const DmBlobNode*>(node.getBaseBlob());
    if (!blob || !(blob->getBlobType() == blobType))
        return std::nullopt;
    const std::string text = dmUtf8(blob->getData());
    std::string_view rest = text;
    const auto takeLine = [&rest]
    {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        return line;
    };
    EdlKept kept;
    readFields(trimmed(takeLine()), kept);
    while (!rest.empty())
    {
        std::string_view line = trimmed(takeLine());
        const std::optional<int> kind = toNumber<int>(takeFirstWord(line));
        if (kind && *kind >= 0 && *kind < noteKinds)
            kept.notes.push_back({static_cast<EdlNoteKind>(*kind), std::string(line)});
    }
    return kept;
}

bool isOfModel(EdlNoteKind kind)
{
    constexpr std::array kinds{EdlNoteKind::FromClipName, EdlNoteKind::ToClipName, EdlNoteKind::SourceFile,
                               EdlNoteKind::SourcePath};
    return std::ranges::find(kinds, kind) != kinds.end();
}

std::string edlNoteText(const EdlKept::Note& note)
{
    return std::string(edlNotePrefix(note.kind)).append(note.text);
}

EdlKept::Note edlNoteOf(std::string_view text)
{
    for (int i = 0; i < noteKinds; ++i)
    {
        const auto kind = static_cast<EdlNoteKind>(i);
        const std::string_view prefix = trimmed(edlNotePrefix(kind));
        if (!prefix.empty() && text.starts_with(prefix))
            return {kind, std::string(trimmed(text.substr(prefix.size())))};
    }
    return {EdlNoteKind::Comment, std::string(text)};
}

DmString toDmString(std::string_view utf8)
{
    DmString text;
    [[maybe_unused]] const bool isUtf8 = dmFromUtf8(utf8, text); // texts of a list are, by its promise
    return text;
}

} // namespace interchange
