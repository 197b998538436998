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

constexpr std::array<std::string_view, 6> transitionNames{"cut", "dissolve", "wipe", "key background",
                                                          "key", "key out"};
constexpr std::array<std::string_view, 4> fcmLineNames{"", "unsaid", "said", "contrary"};

/// Lines of "key: value".
class Fields
{
public:
    Fields() { _text.reserve(usualSize); }

    void add(std::string_view key, std::string_view value)
    {
        _text.append(_text.empty() ? "" : "\n").append(key).append(": ").append(value);
    }
    template <typename Value>
    void add(std::string_view key, Value value)
    {
        add(key, std::string_view(std::to_string(value)));
    }
    void add(std::string_view key, double value)
    {
        std::string text;
        appendDecimal(text, value, 1, 0);
        add(key, std::string_view(text));
    }
    std::string take() { return std::move(_text); }

private:
    static constexpr std::size_t usualSize = 256; ///< with the notes behind them

    std::string _text;
};

/// Sets a value where the text is one of its kind.
template <typename Value>
bool set(Value& value, std::string_view text)
{
    const std::optional<Value> read = toNumber<Value>(text);
    value = read.value_or(value);
    return read.has_value();
}

EdlTransition transitionOf(std::string_view text)
{
    const auto* const named = std::ranges::find(transitionNames, text);
    std::size_t index = static_cast<std::size_t>(named - transitionNames.begin());
    if (named == transitionNames.end()) // the first version had numbers
        index = toNumber<std::uint8_t>(text).value_or(0);
    return static_cast<EdlTransition>(std::min(index, transitionNames.size() - 1));
}

void readField(EdlKept& kept, std::string_view key, std::string_view value)
{
    std::uint32_t position = 0;
    EdlSpeed speed = kept.speed.value_or(EdlSpeed{});
    if (key == "event" && set(position, value))
        kept.position = position;
    else if (key == "number")
        set(kept.number, value);
    else if (key == "digits")
        set(kept.numberWidth, value);
    else if (key == "tail")
        kept.numberTail = value;
    else if (key == "labels")
        kept.labels = value;
    else if (key == "reel")
        kept.reel = value;
    else if (key == "long reel")
        kept.longReel = value;
    else if (key == "made name")
        kept.madeName = value;
    else if (key == "transition")
        kept.transition = transitionOf(value);
    else if (key == "fades")
        kept.keyFades = value == "true";
    else if (key == "pattern")
        set(kept.wipePattern, value);
    else if (key == "length")
        set(kept.transitionLength, value);
    else if (key == "in")
        set(kept.source.in, value);
    else if (key == "out")
        set(kept.source.out, value);
    else if (key == "record")
        set(kept.recordLength, value);
    else if ((key == "speed" && set(speed.fps, value)) || (key == "at" && set(speed.at, value)))
        kept.speed = speed;
    else if (key == "speed's time")
        kept.speedHasNoTime = value == "none";
    else if (key == "speed's reel")
        kept.speedHasNoReel = value == "none";
    else if (key == "plays")
        kept.plays = toNumber<double>(value);
    else if (key == "after")
        kept.after = toNumber<std::int64_t>(value);
    else if (key == "speed reel")
        kept.speedReel = value;
    else if (key == "spelled")
        kept.spelling = value;
    else if (key == "speed spelled")
        kept.speedSpelling = value;
    else if (key == "fcm")
    {
        kept.hasNoFcm = value == "none";
        if (const auto* const named = std::ranges::find(fcmLineNames, value); named != fcmLineNames.end())
            kept.fcmLine = static_cast<EdlFcmLine>(named - fcmLineNames.begin());
    }
    else if (key == "title")
        kept.isUntitled = value == "none";
    else if (key == "order")
        kept.hasOwnOrder = value == "own";
}

/// The first note of a kind of which the condition holds.
template <class Condition>
const Note* findNote(const std::vector<Note>& notes, NoteKind kind, Condition&& holds)
{
    const auto found =
        std::ranges::find_if(notes, [&](const Note& note) { return note.kind == kind && holds(note.text); });
    return found == notes.end() ? nullptr : &*found;
}

bool isAny(std::string_view /*text*/)
{
    return true;
}

bool isName(std::string_view text)
{
    return !isPath(text);
}

template <class... Notes>
const Note* firstOf(Notes... notes)
{
    for (const Note* const note : {static_cast<const Note*>(notes)...})
        if (note)
            return note;
    return nullptr;
}

} // namespace

const Note* EdlKept::find(NoteKind kind) const
{
    return findNote(notes, kind, isAny);
}

eDmErrorId EdlKept::keepOn(DmTreeNode& node) const
{
    Fields fields;
    if (position)
    {
        fields.add("event", *position);
        fields.add("number", number);
        if (numberWidth != 0)
            fields.add("digits", numberWidth);
        if (!numberTail.empty())
            fields.add("tail", std::string_view(numberTail));
        if (!labels.empty())
            fields.add("labels", std::string_view(labels));
    }
    if (!reel.empty())
        fields.add("reel", std::string_view(reel));
    if (!longReel.empty())
        fields.add("long reel", std::string_view(longReel));
    if (!madeName.empty())
        fields.add("made name", std::string_view(madeName));
    if (transition != EdlTransition::Cut)
    {
        fields.add("transition", transitionNames[static_cast<std::size_t>(transition)]);
        if (keyFades)
            fields.add("fades", std::string_view("true"));
        fields.add("pattern", wipePattern);
        fields.add("length", transitionLength);
    }
    if (recordLength >= 0)
    {
        fields.add("in", source.in);
        fields.add("out", source.out);
        fields.add("record", recordLength);
    }
    if (speed)
    {
        fields.add("speed", speed->fps);
        fields.add("at", speed->at);
        if (speedHasNoTime)
            fields.add("speed's time", std::string_view("none"));
        if (speedHasNoReel)
            fields.add("speed's reel", std::string_view("none"));
    }
    if (plays)
        fields.add("plays", *plays);
    if (after)
        fields.add("after", *after);
    if (!speedReel.empty())
        fields.add("speed reel", std::string_view(speedReel));
    if (!spelling.empty())
        fields.add("spelled", std::string_view(spelling));
    if (!speedSpelling.empty())
        fields.add("speed spelled", std::string_view(speedSpelling));
    if (fcmLine != EdlFcmLine::AsNeeded || hasNoFcm)
        fields.add("fcm", hasNoFcm ? std::string_view("none") : fcmLineNames[static_cast<std::size_t>(fcmLine)]);
    if (isUntitled)
        fields.add("title", std::string_view("none"));
    if (hasOwnOrder)
        fields.add("order", std::string_view("own"));
    std::string text = fields.take();
    appendNoteLines(text, notes);
    return setEdlLeftover(node, text);
}

std::optional<EdlKept> EdlKept::of(const DmTreeNode& node)
{
    const std::optional<std::string> text = edlLeftoverOf(node);
    if (!text)
        return std::nullopt;
    EdlKept kept;
    forEachLine(*text,
                [&kept](std::string_view line)
                {
                    const std::size_t colon = std::min(line.find(": "), line.size());
                    if (std::optional<Note> note = noteOfLine(line))
                        kept.notes.push_back(std::move(*note));
                    else
                        readField(kept, line.substr(0, colon), trimmed(line.substr(std::min(colon + 2, line.size()))));
                });
    return kept;
}

const Note* clipNote(const std::vector<Note>& notes, bool isTransition)
{
    return firstOf(isTransition ? findNote(notes, NoteKind::ToClipName, isAny) : nullptr,
                   findNote(notes, NoteKind::FromClipName, isAny), findNote(notes, NoteKind::FromClip, isName));
}

const Note* pathNote(const std::vector<Note>& notes)
{
    return firstOf(findNote(notes, NoteKind::SourcePath, isAny), findNote(notes, NoteKind::FromFile, isPath),
                   findNote(notes, NoteKind::FromClip, isPath));
}

const Note* fileNote(const std::vector<Note>& notes)
{
    return firstOf(findNote(notes, NoteKind::SourceFile, isAny), findNote(notes, NoteKind::FromFile, isName));
}

std::string clipNameOf(const EdlKept& kept, std::string_view reel, bool isTransition)
{
    constexpr std::string_view frozen = " FF";
    if (const Note* const note = clipNote(kept.notes, isTransition); note && !note->text.empty())
    {
        std::string_view name = note->text;
        if (kept.speed && kept.speed->fps == 0 && name.ends_with(frozen))
            name = trimmed(name.substr(0, name.size() - frozen.size()));
        return std::string(name);
    }
    if (!reel.empty() && !equalsNoCase(reel, "AX"))
        return std::string(reel);
    constexpr std::size_t width = 3; // as lists write it
    const std::string digits = std::to_string(kept.number);
    return std::string(width - std::min(width, digits.size()), '0') + digits + kept.numberTail;
}

std::optional<EdlReelClip> reelClipOf(NoteKind kind, std::string_view note)
{
    constexpr std::string_view reel = "REEL ";
    constexpr std::string_view is = " IS CLIP ";
    const std::size_t at = note.starts_with(reel) ? note.find(is) : note.npos;
    const bool isFree = kind == NoteKind::Line || kind == NoteKind::Comment || kind == NoteKind::Unplayed;
    if (!isFree || at == note.npos || at < reel.size())
        return std::nullopt;
    return EdlReelClip{trimmed(note.substr(reel.size(), at - reel.size())), trimmed(note.substr(at + is.size()))};
}

std::optional<EdlLongReel> longReelOf(NoteKind kind, std::string_view note)
{
    const std::string_view prefix = trimmed(notePrefix(NoteKind::Reel));
    if (kind == NoteKind::Unplayed && note.starts_with(prefix))
        note.remove_prefix(prefix.size());
    else if (kind != NoteKind::Reel)
        return std::nullopt;
    constexpr std::string_view words = " REPLACED BY:";
    const std::size_t at = note.find(words);
    if (at == note.npos)
        return std::nullopt;
    const EdlLongReel reel{trimmed(note.substr(0, at)), trimmed(note.substr(at + words.size()))};
    return reel.longName.empty() || reel.shortName.empty() ? std::nullopt : std::optional(reel);
}

} // namespace interchange
