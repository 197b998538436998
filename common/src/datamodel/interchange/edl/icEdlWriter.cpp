#include "icEdlWriter.h"

#include "icEdlGrammar.h"
#include "icText.h"
#include "icTimeCode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <span>

namespace interchange
{

namespace
{

constexpr std::array<std::string_view, 6> transitionTexts{"C", "D", "W", "K B", "K", "K O"};

class Writer
{
public:
    explicit Writer(const EdlList& list)
        : _list(list)
    {
    }

    std::string write()
    {
        std::uint32_t largest = 0;
        for (const EdlEvent& event : _list.events)
            largest = std::max(largest, event.number);
        _numberWidth = std::max<std::size_t>(3, std::to_string(largest).size());
        _text.reserve(_list.events.size() * 200 + 100);

        if (!_list.isUntitled || !_list.title.empty())
            line("TITLE: ", _list.title);
        _drop = DM::FcmUtil::isDropFrame(_list.fcm);
        if (!_list.hasNoFcm)
            fcm(_drop);
        line("* FRAME RATE: ", DM::FcmUtil::getFCMString(_list.fcm));
        notes(_list.notesOf(_list.headNotes), {});
        for (const EdlEvent& event : _list.events)
        {
            if (event.sourceDrop != _drop || event.saysFcm)
                fcm(event.sourceDrop);
            eventLine(event);
            audio(event.channels);
            speed(event);
            look(event);
            notes(_list.notesOf(event), _list.markersOf(event));
        }
        return std::move(_text);
    }

private:
    /// Text that stands on one line, whatever it is.
    void oneLine(std::string_view text)
    {
        const std::size_t begin = _text.size();
        _text.append(text);
        std::replace_if(
            _text.begin() + static_cast<std::ptrdiff_t>(begin), _text.end(),
            [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F'; }, ' ');
    }

    void endLine()
    {
        while (!_text.empty() && _text.back() == ' ')
            _text.pop_back();
        _text.push_back('\n');
    }

    void line(std::string_view prefix, std::string_view text)
    {
        _text.append(prefix);
        oneLine(text);
        endLine();
    }

    void fcm(bool drop)
    {
        line("FCM: ", drop ? "DROP FRAME" : "NON-DROP FRAME");
        _drop = drop;
    }

    /// Marks stand where the notes have a place for them, the others behind.
    void notes(std::span<const EdlNote> notes, std::span<const EdlMarker> markers)
    {
        for (const EdlNote& note : notes)
        {
            if (note.kind == NoteKind::Locator && markers.empty())
                continue;
            prefix(note.kind, note.written, note.text);
            if (note.kind == NoteKind::Locator)
            {
                locator(markers.front());
                markers = markers.subspan(1);
            }
            else
                line({}, note.text);
        }
        for (const EdlMarker& marker : markers)
        {
            prefix(NoteKind::Locator);
            locator(marker);
        }
    }

    void prefix(NoteKind kind, std::string_view written = {}, std::string_view text = {})
    {
        if (!written.empty())
        {
            oneLine(written);
            _text.push_back(' ');
            return;
        }
        // Those who read marks in notes look for a blank before each of their fields.
        _text.append(isStarred(kind) ? "* " : text.starts_with('|') ? " " : "").append(notePrefix(kind));
    }

    /// Appends a column and the blank behind it.
    template <typename Append>
    void column(std::size_t width, Append append)
    {
        const std::size_t end = _text.size() + width;
        append();
        _text.append(std::max(end, _text.size()) + 1 - _text.size(), ' ');
    }

    void number(std::uint32_t value, std::size_t width)
    {
        const std::string digits = std::to_string(value);
        _text.append(width - std::min(width, digits.size()), '0').append(digits);
    }

    void eventLine(const EdlEvent& event)
    {
        const DM::FrameCodeModes sourceFcm = _list.sourceFcm(event);
        column(_numberWidth + 1, [&] { number(event.number, _numberWidth); });
        column(8, [&] { event.reel.empty() ? void(_text.append("AX")) : oneLine(event.reel); });
        column(5, [&] { channels(event.channels); });
        column(4,
               [&]
               {
                   _text.append(transitionTexts[static_cast<std::size_t>(event.transition)]);
                   if (event.transition == EdlTransition::Wipe)
                       number(event.wipePattern, 3);
                   if (event.keyFades && event.transitionLength != 0)
                       _text.append(" (F)");
               });
        column(3,
               [&]
               {
                   if (event.keyFades && event.transitionLength == 0)
                       _text.append("(F)");
                   else if (event.isTransition() || event.transitionLength != 0)
                       number(event.transitionLength, 3);
               });
        column(11, [&] { appendTimeLabel(_text, event.source.in, sourceFcm); });
        column(11, [&] { appendTimeLabel(_text, event.source.out, sourceFcm); });
        column(11, [&] { appendTimeLabel(_text, event.record.in, _list.fcm); });
        appendTimeLabel(_text, event.record.out, _list.fcm);
        endLine();
    }

    void channels(EdlChannels channels)
    {
        constexpr std::array<std::string_view, 4> audioTexts{"", "A", "A2", "AA"};
        constexpr std::uint64_t first = 1;
        const std::string_view audioText = audioTexts[channels.audio & 3];
        if (channels.video == first && audioText == "A")
        {
            _text.append("B");
            return;
        }
        std::string_view separator = audioText.empty() ? "" : "/";
        _text.append(audioText);
        for (std::uint64_t rest = channels.video; rest != 0; rest &= rest - 1)
        {
            const int channel = std::countr_zero(rest) + 1;
            _text.append(separator).append("V").append(channel == 1 ? "" : std::to_string(channel));
            separator = "/";
        }
        if (separator.empty())
            _text.append("NONE");
    }

    void audio(EdlChannels channels)
    {
        std::uint64_t rest = channels.audio & ~std::uint64_t{3};
        if (rest == 0)
            return;
        _text.append("AUD");
        for (; rest != 0; rest &= rest - 1)
            _text.append("  ").append(std::to_string(std::countr_zero(rest) + 1));
        endLine();
    }

    void speed(const EdlEvent& event)
    {
        if (!event.speed)
            return;
        _text.append("M2   ");
        const std::string_view reel = event.speedReel.empty() ? event.reel : event.speedReel;
        column(8, [&] { reel.empty() ? void(_text.append("AX")) : oneLine(reel); });
        column(26,
               [&]
               {
                   _text.append("      ");
                   appendDecimal(_text, event.speed->fps, 3, 1);
               });
        appendTimeLabel(_text, event.speed->at, _list.sourceFcm(event));
        endLine();
    }

    /// But for what of it stands among the notes.
    void look(const EdlEvent& event)
    {
        const Look* const look = _list.lookOf(event);
        const auto add = [&](NoteKind kind, const std::string& text)
        {
            const std::span<const EdlNote> notes = _list.notesOf(event);
            if (std::ranges::find(notes, kind, &EdlNote::kind) != notes.end())
                return;
            prefix(kind);
            line({}, text);
        };
        if (look && look->hasSop)
            add(NoteKind::SlopeOffsetPower, slopeOffsetPowerText(*look));
        if (look && look->hasSaturation)
            add(NoteKind::Saturation, saturationText(*look));
    }

    /// Behind its prefix.
    void locator(const EdlMarker& marker)
    {
        appendTimeLabel(_text, marker.at, _list.fcm);
        _text.push_back(' ');
        if (!marker.colour.empty())
            column(7, [&] { oneLine(marker.colour); });
        oneLine(marker.text);
        endLine();
    }

    const EdlList& _list;
    std::string _text;
    std::size_t _numberWidth = 3;
    bool _drop = false;
};

} // namespace

std::string writeEdl(const EdlList& list)
{
    return Writer(list).write();
}

} // namespace interchange
