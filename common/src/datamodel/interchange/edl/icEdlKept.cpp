#include "icEdlKept.h"

#include "icLeftovers.h"
#include "icText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace interchange
{

namespace
{

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

const Note* EdlKept::find(NoteKind kind) const
{
    const auto found = std::ranges::find(notes, kind, &Note::kind);
    return found == notes.end() ? nullptr : &*found;
}

std::string_view EdlKept::clipName(bool isTransition) const
{
    const Note* const to = isTransition ? find(NoteKind::ToClipName) : nullptr;
    const Note* const name = to ? to : find(NoteKind::FromClipName);
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
    appendNoteLines(text, notes);
    return setLeftover(node, edlLeftover, text);
}

std::optional<EdlKept> EdlKept::of(const DmTreeNode& node)
{
    const std::optional<std::string> text = leftoverOf(node, edlLeftover);
    if (!text)
        return std::nullopt;
    const std::size_t end = std::min(text->find('\n'), text->size());
    EdlKept kept;
    readFields(trimmed(std::string_view(*text).substr(0, end)), kept);
    kept.notes = readNoteLines(std::string_view(*text).substr(end));
    return kept;
}

} // namespace interchange
