#include "icEdlGrammar.h"

#include "CoUtf8.h"
#include "icText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace interchange
{

namespace
{

using Wrong = std::optional<std::string>;

bool isLetter(char c)
{
    return toUpper(c) >= 'A' && toUpper(c) <= 'Z';
}

/// Four labels as nearly all lines end with: of one form, with a blank in front of each. False for others.
bool takeUsualLabels(std::string_view& text, EdlEventLine& read)
{
    constexpr std::size_t size = usualLabelSize + 1;
    const std::size_t all = read.labels.size() * size;
    if (text.size() < all)
        return false;
    const char* at = text.data() + text.size() - all;
    for (TimeLabel& label : read.labels)
    {
        const std::optional<TimeLabel> usual = isBlank(*at) ? usualLabel(at + 1) : std::nullopt;
        if (!usual)
            return false;
        label = *usual;
        at += size;
    }
    read.labelsText = text.substr(text.size() - all + 1);
    read.hasUsualLabels = true;
    text.remove_suffix(all);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return true;
}

/// Takes the four time codes off the end of a line.
Wrong parseLabels(std::string_view& text, EdlEventLine& read)
{
    if (takeUsualLabels(text, read))
        return std::nullopt;
    std::size_t found = 0;
    const char* end = nullptr; ///< of the last one
    while (found < read.labels.size() && !text.empty())
    {
        const std::string_view word = takeLastWord(text);
        const std::size_t index = read.labels.size() - 1 - found;
        if (const std::optional<TimeLabel> label = parseTimeLabel(word))
        {
            read.labels[index] = *label;
            end = end ? end : word.data() + word.size();
            read.labelsText = {word.data(), end};
            ++found;
        }
        else if (isDigit(word.front()) && word.find_first_of(":;") != word.npos)
            return Wrong(std::string(edlLabelNames[index]) + " " + quoted(word) + " is no time code");
        else if (found == 0)
            read.hasMore = true;
        else
            break;
    }
    if (found < read.labels.size())
        return Wrong("a time code is missing: " + std::to_string(found) + " of 4 found");
    return std::nullopt;
}

struct TransitionCode
{
    std::string_view text;
    EdlTransition transition;
    bool needsLength;
};
constexpr std::array<std::string_view, 6> transitionTexts{"C", "D", "W", "K B", "K", "K O"};
constexpr std::array<TransitionCode, 7> transitionCodes{{{"C", EdlTransition::Cut, false},
                                                         {"D", EdlTransition::Dissolve, true},
                                                         {"K", EdlTransition::Key, false},
                                                         {"KB", EdlTransition::KeyBackground, false},
                                                         {"KO", EdlTransition::KeyOut, false},
                                                         {"B", EdlTransition::KeyBackground, false},
                                                         {"O", EdlTransition::KeyOut, false}}};

/// Takes the transition off the end of what stands before the time codes: "C", "D 024", "W001 024", "K B (F)", "KB",
/// ...
Wrong parseTransition(std::string_view& text, EdlEvent& event)
{
    std::string_view word = takeLastWord(text);
    std::string_view digits;
    const auto takeDigits = [&]
    {
        if (digits.empty() && isAllDigits(word))
            digits = std::exchange(word, takeLastWord(text));
    };
    takeDigits();
    constexpr std::string_view fades = "(F)";
    event.keyFades = word.size() >= fades.size() && equalsNoCase(word.substr(word.size() - fades.size()), fades);
    if (event.keyFades)
        word.remove_suffix(fades.size());
    if (event.keyFades && word.empty())
        word = takeLastWord(text);
    if (event.keyFades)
        takeDigits();
    const std::optional<std::uint32_t> length = toNumber<std::uint32_t>(digits);
    if (!length && !digits.empty())
        return "transition length " + quoted(digits) + " is out of range";
    const std::optional<std::uint16_t> pattern =
        startsWithNoCase(word, "W") ? toNumber<std::uint16_t>(word.substr(1)) : std::nullopt;
    const auto* const code = std::ranges::find_if(transitionCodes, [&](const TransitionCode& candidate)
                                                  { return equalsNoCase(word, candidate.text); });
    const bool lacksKey = code != transitionCodes.end() && (code->text == "B" || code->text == "O") &&
                          !equalsNoCase(takeLastWord(text), "K");
    const bool isKey = code != transitionCodes.end() && toUpper(word.front()) != 'C' && toUpper(word.front()) != 'D';
    if (!pattern && (code == transitionCodes.end() || lacksKey || (event.keyFades && !isKey)))
        return word.empty() ? "no transition" : quoted(word) + " is no transition";
    if (!length && (pattern || code->needsLength))
        return "no transition length";
    event.transition = pattern ? EdlTransition::Wipe : code->transition;
    event.wipePattern = pattern.value_or(0);
    event.transitionLength = event.transition == EdlTransition::Cut ? 0 : length.value_or(0);
    return std::nullopt;
}

std::string threeDigits(std::uint32_t value)
{
    const std::string digits = std::to_string(value);
    return std::string(3 - std::min<std::size_t>(3, digits.size()), '0') + digits;
}

/// Whether nearly all lines say it so, and so do we.
bool isUsualSpelling(std::string_view channels, std::string_view transition)
{
    constexpr std::array<std::string_view, 5> usual{"V", "A", "AA", "AA/V", "B"};
    return transition == "C" && std::ranges::find(usual, channels) != usual.end();
}

} // namespace

bool haveSameWords(std::string_view a, std::string_view b)
{
    while (!a.empty() && !b.empty())
        if (takeFirstWord(a) != takeFirstWord(b))
            return false;
    return a.empty() && b.empty();
}

std::string channelsText(EdlChannels channels)
{
    constexpr std::array<std::string_view, 4> audioTexts{"", "A", "A2", "AA"};
    std::string text(audioTexts[channels.audio & 3]);
    if (channels.video == 1 && text == "A")
        return "B";
    for (std::uint64_t rest = channels.video; rest != 0; rest &= rest - 1)
    {
        const int channel = std::countr_zero(rest) + 1;
        text.append(text.empty() ? "" : "/").append("V").append(channel == 1 ? "" : std::to_string(channel));
    }
    return text.empty() ? "NONE" : text;
}

std::string transitionText(const EdlEvent& event)
{
    std::string text(transitionTexts[static_cast<std::size_t>(event.transition)]);
    if (event.transition == EdlTransition::Wipe)
        text += threeDigits(event.wipePattern);
    const bool hasLength = event.transitionLength != 0 || (event.isTransition() && !event.keyFades);
    if (event.keyFades && hasLength)
        text += " (F)";
    constexpr std::size_t column = 5;
    if (event.keyFades || hasLength)
        text.append(text.size() + 1 < column ? column - text.size() : 1, ' ')
            .append(hasLength ? threeDigits(event.transitionLength) : "(F)");
    return text;
}

EdlSpelling spellingOf(const EdlEvent& event)
{
    constexpr std::uint64_t unrouted = 3; // the first two
    std::string_view transition = event.spelling;
    const std::string_view channels = takeFirstWord(transition);
    const EdlChannels said = parseChannels(channels).value_or(EdlChannels{});
    const std::uint64_t others = event.channels.audio & ~said.audio;
    const bool saysChannels = !channels.empty() && said.video == event.channels.video &&
                              (said.audio & ~event.channels.audio) == 0 && (others & unrouted) == 0;
    EdlEvent read;
    std::string_view rest = transition;
    const bool saysTransition = !transition.empty() && !parseTransition(rest, read) && rest.empty() &&
                                read.transition == event.transition && read.wipePattern == event.wipePattern &&
                                read.keyFades == event.keyFades && read.transitionLength == event.transitionLength;
    return {saysChannels ? std::string(channels) : channelsText(event.channels),
            saysTransition ? std::string(transition) : transitionText(event),
            saysChannels ? others : event.channels.audio & ~unrouted};
}

std::optional<std::string> parseEventLine(std::string_view line, EdlEventLine& read)
{
    const std::string_view word = takeFirstWord(line);
    const auto tail = std::ranges::find_if_not(word, isDigit);
    const std::string_view digits(word.begin(), tail);
    read.event.numberTail = word.substr(digits.size());
    constexpr std::size_t longestTail = 3;
    const bool isTail =
        read.event.numberTail.size() <= longestTail && std::ranges::all_of(read.event.numberTail, isLetter);
    const std::optional<std::uint32_t> number = isTail ? toNumber<std::uint32_t>(digits) : std::nullopt;
    if (!number)
        return "event number " + quoted(word) + " is no number";
    read.event.number = *number;
    constexpr std::size_t mostDigits = 99;
    read.event.numberWidth = static_cast<std::uint8_t>(std::min(digits.size(), mostDigits));
    if (Wrong wrong = parseLabels(line, read))
        return wrong;
    const char* const end = line.data() + line.size();
    if (Wrong wrong = parseTransition(line, read.event))
        return wrong;
    const std::string_view transition = trimmed({line.data() + line.size(), end});
    const std::string_view channels = takeLastWord(line);
    const std::optional<EdlChannels> parsed = parseChannels(channels);
    if (!parsed)
        return channels.empty() ? "no channels" : quoted(channels) + " are no channels";
    read.event.channels = *parsed;
    read.event.reel = line;
    if (!isUsualSpelling(channels, transition) &&
        (channels != channelsText(*parsed) || !haveSameWords(transition, transitionText(read.event))))
        read.event.spelling = {channels.data(), end};
    return std::nullopt;
}

std::string movedLine(std::string_view line, std::int64_t frames, DM::FrameCodeModes fcm)
{
    std::array<std::string_view, 2> labels{};
    EdlEventLine read;
    std::string_view rest = line;
    if (!parseEventLine(line, read))
    {
        labels[1] = takeLastWord(read.labelsText);
        labels[0] = takeLastWord(read.labelsText);
    }
    else if (const std::size_t colon = rest.find(':'); colon != rest.npos && rest.substr(0, colon).ends_with("LOC"))
    {
        rest = trimmed(rest.substr(colon + 1));
        labels[0] = takeFirstWord(rest);
    }
    std::string moved;
    const char* from = line.data();
    for (const std::string_view each : labels)
    {
        const std::optional<TimeLabel> label = parseTimeLabel(each);
        if (each.empty())
            continue;
        if (!label || !isInDay(*label, fcm))
            return std::string(line);
        moved.append(from, each.data());
        appendTimeLabel(moved, framesOf(*label, fcm) + frames, fcm, each);
        from = each.data() + each.size();
    }
    return moved.append(from, line.data() + line.size());
}

std::optional<EdlChannels> parseChannels(std::string_view text)
{
    EdlChannels channels;
    if (equalsNoCase(text, "NONE"))
        return channels;
    if (text.empty())
        return std::nullopt;
    unsigned bareAudio = 0;
    for (std::size_t i = 0; i < text.size();)
    {
        const char kind = toUpper(text[i++]);
        if ((kind == '/' || kind == '+' || kind == ',') && i > 1 && i < text.size())
            continue;
        unsigned channel = 0;
        while (i < text.size() && isDigit(text[i]) && channel < EdlChannels::limit)
            channel = channel * 10 + static_cast<unsigned>(text[i++] - '0');
        const bool bare = !isDigit(text[i - 1]);
        if (bare)
            channel = kind == 'A' ? ++bareAudio : 1;
        if (channel < 1 || channel > EdlChannels::limit || (kind == 'B' && !bare))
            return std::nullopt;
        const std::uint64_t bit = std::uint64_t{1} << (channel - 1);
        if (kind == 'V' || kind == 'B')
            channels.video |= bit;
        if (kind == 'A' || kind == 'B')
            channels.audio |= bit;
        if (kind != 'A' && kind != 'B' && kind != 'V')
            return std::nullopt;
    }
    return channels;
}

std::optional<EdlSpeedLine> parseSpeed(std::string_view text)
{
    // Faster is no speed of anybody's machine.
    constexpr double fastest = 99999;
    EdlSpeedLine read;
    std::string_view word = takeLastWord(text);
    read.at = parseTimeLabel(word);
    if (read.at)
        word = takeLastWord(text);
    const std::optional<double> fps = toNumber<double>(word);
    if (!fps || !(std::fabs(*fps) <= fastest))
        return std::nullopt;
    read.fps = *fps;
    read.number = word;
    read.reel = text;
    return read;
}

std::optional<std::array<double, 9>> parseSlopeOffsetPower(std::string_view text)
{
    const auto parts = [](char c) { return isBlank(c) || c == '(' || c == ')' || c == ','; };
    std::array<double, 9> values{};
    const char* rest = text.data();
    const char* const end = text.data() + text.size();
    for (double& value : values)
    {
        const char* const begin = std::find_if_not(rest, end, parts);
        rest = std::find_if(begin, end, parts);
        const std::optional<double> number = toNumber<double>({begin, rest});
        if (!number || !std::isfinite(*number))
            return std::nullopt;
        value = *number;
    }
    return std::all_of(rest, end, parts) ? std::optional(values) : std::nullopt;
}

std::string slopeOffsetPowerText(const Look& look)
{
    std::string text;
    for (const std::array<double, 3>* values : {&look.slope, &look.offset, &look.power})
    {
        for (std::size_t i = 0; i < values->size(); ++i)
        {
            text.push_back(i == 0 ? '(' : ' ');
            appendDecimal(text, (*values)[i], 1, 4);
        }
        text.push_back(')');
    }
    return text;
}

std::string saturationText(const Look& look)
{
    std::string text;
    appendDecimal(text, look.saturation, 1, 4);
    return text;
}

std::optional<EdlNoteMark> parseNoteMark(std::string_view text)
{
    if (text.find('|') == text.npos)
        return std::nullopt;
    const auto fieldAt = [text](std::size_t at)
    {
        constexpr std::string_view letters = "CMD";
        return at + 2 < text.size() && text[at] == '|' && text[at + 2] == ':' && (at == 0 || isBlank(text[at - 1])) &&
               letters.find(text[at + 1]) != letters.npos;
    };
    const auto nextField = [&](std::size_t at)
    {
        while (at < text.size() && !fieldAt(at))
            ++at;
        return at;
    };
    std::size_t at = nextField(0);
    EdlNoteMark mark;
    mark.comment = trimmed(text.substr(0, at));
    bool isMark = false;
    while (at < text.size())
    {
        const std::size_t end = nextField(at + 1);
        const char letter = text[at + 1];
        const std::string_view value = trimmed(text.substr(at + 3, end - at - 3));
        const auto isNamed = [value](const NamedColour& colour)
        {
            return value.size() >= colour.name.size() &&
                   equalsNoCase(value.substr(value.size() - colour.name.size()), colour.name);
        };
        isMark = isMark || letter != 'D';
        if (letter == 'M')
            mark.name = value;
        else if (letter == 'D')
            mark.length = toNumber<std::int64_t>(value).value_or(0);
        else
            for (const std::span<const NamedColour> colours : {namedColours(), markColours()})
                if (const auto found = std::ranges::find_if(colours, isNamed); found != colours.end() && !mark.colour)
                    mark.colour = *found;
        at = end;
    }
    // One frame is what a point has, and no mark is longer than a day's frames or begins behind its end.
    constexpr std::int64_t longest = 24 * 3600 * 120;
    mark.length = mark.length > 1 ? std::min(mark.length, longest) : 0;
    return isMark ? std::optional(mark) : std::nullopt;
}

std::string quoted(std::string_view text)
{
    constexpr std::size_t longest = 60;
    const bool isLong = text.size() > longest;
    const std::string_view shown = isLong ? text.substr(0, DM::CoUtf8::cut(text.data(), longest)) : text;
    return "'" + std::string(shown) + (isLong ? "...'" : "'");
}

} // namespace interchange
