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

class Writer
{
public:
    explicit Writer(const EdlList& list)
        : _list(list)
    {
    }

    std::string write()
    {
        _usualWidth = _numberColumn = _list.usualNumberWidth();
        for (const EdlEvent& event : _list.events)
            _numberColumn = std::max(_numberColumn, std::size_t{event.numberWidth});
        _text.reserve(_list.events.size() * 200 + 100);

        if (!_list.isUntitled || !_list.title.empty())
            line("TITLE: ", _list.title);
        _drop = _saidDrop = DM::FcmUtil::isDropFrame(_list.fcm);
        // The first line would speak of the record side.
        if (!_list.hasNoFcm || (!_list.events.empty() && fcmOf(_list.events.front())))
            fcm(_drop);
        line("* FRAME RATE: ", DM::FcmUtil::getFCMString(_list.fcm));
        notes(_list.notesOf(_list.headNotes), {}, {}, [](const EdlNote&) {});
        for (const EdlEvent& event : _list.events)
        {
            if (const std::optional<bool> drop = fcmOf(event))
                fcm(*drop);
            _drop = event.sourceDrop;
            const EdlSpelling spelling = spellingOf(event);
            eventLine(event, spelling);
            audio(spelling.routed);
            const EdlEvent* const next = &event == &_list.events.back() ? nullptr : &event + 1;
            if (!placesSpeed(event, false) && !(next && outgoingOf(*next) && placesSpeed(*next, true)))
                speed(event);
            look(event);
            notes(_list.notesOf(event), _list.markersOf(event), formsOf(event)[2],
                  [&](const EdlNote& note)
                  {
                      if (const EdlEvent* const said = note.text.empty() ? &event : outgoingOf(event))
                          speed(*said);
                  });
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
        _saidDrop = drop;
    }

    /// What the line in front of an event says, if there is one: as it stood, where the event's labels or the line
    /// before say how it counts.
    std::optional<bool> fcmOf(const EdlEvent& event) const
    {
        const bool labelsSay = event.sourceDrop || DM::FcmUtil::isDropFrame(_list.fcm);
        const bool isSaid = event.fcmLine == EdlFcmLine::None && (labelsSay || event.sourceDrop == _saidDrop);
        const bool isContrary = event.fcmLine == EdlFcmLine::Contrary && labelsSay;
        const bool isThere =
            isContrary || event.fcmLine == EdlFcmLine::Repeating || (event.sourceDrop != _drop && !isSaid);
        return isThere ? std::optional(event.sourceDrop != isContrary) : std::nullopt;
    }

    /// The line in front of a transition that names what goes out; null without one.
    const EdlEvent* outgoingOf(const EdlEvent& event) const
    {
        const EdlEvent* const before = &event == _list.events.data() ? nullptr : &event - 1;
        return before && event.isTransition() && before->hasNumberOf(event) && !before->isTransition() ? before
                                                                                                       : nullptr;
    }

    /// Whether an M2 line stands among the event's notes: its own, or that of the line in front of it.
    bool placesSpeed(const EdlEvent& event, bool isOfOutgoing) const
    {
        return std::ranges::any_of(_list.notesOf(event), [isOfOutgoing](const EdlNote& note)
                                   { return note.kind == NoteKind::Speed && note.text.empty() != isOfOutgoing; });
    }

    /// Marks stand where the notes have a place for them, the others behind.
    template <class WriteSpeed>
    void notes(std::span<const EdlNote> notes, std::span<const EdlMarker> markers, std::string_view form,
               WriteSpeed&& writeSpeed)
    {
        for (const EdlNote& note : notes)
        {
            if (note.kind == NoteKind::Speed)
            {
                writeSpeed(note);
                continue;
            }
            if (note.kind == NoteKind::Locator && markers.empty())
                continue;
            prefix(note.kind, note.written, note.text);
            if (note.kind == NoteKind::Locator)
            {
                locator(markers.front(), form);
                markers = markers.subspan(1);
            }
            else
                line({}, note.text);
        }
        for (const EdlMarker& marker : markers)
        {
            prefix(NoteKind::Locator);
            locator(marker, form);
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

    void eventLine(const EdlEvent& event, const EdlSpelling& spelling)
    {
        const DM::FrameCodeModes sourceFcm = _list.sourceFcm(event);
        const Forms form = formsOf(event);
        column(_numberColumn + 1,
               [&]
               {
                   number(event.number, event.numberWidth ? event.numberWidth : _usualWidth);
                   oneLine(event.numberTail);
               });
        column(8, [&] { event.reel.empty() ? void(_text.append("AX")) : oneLine(event.reel); });
        column(5, [&] { oneLine(spelling.channels); });
        column(8, [&] { oneLine(spelling.transition); });
        column(11, [&] { appendTimeLabel(_text, event.source.in, sourceFcm, form[0]); });
        column(11, [&] { appendTimeLabel(_text, event.source.out, sourceFcm, form[1]); });
        column(11, [&] { appendTimeLabel(_text, event.record.in, _list.fcm, form[2]); });
        appendTimeLabel(_text, event.record.out, _list.fcm, form[3]);
        endLine();
    }

    using Forms = std::array<std::string_view, 4>;
    /// How the event's labels stood; empty where that would say another mode than the event counts in by now.
    Forms formsOf(const EdlEvent& event) const
    {
        Forms forms{};
        std::string_view rest = event.labels;
        forms.fill(takeFirstWord(rest));
        for (std::size_t i = 1; i < forms.size() && !rest.empty(); ++i)
            forms[i] = takeFirstWord(rest);
        if (forms[0].empty() ||
            !std::ranges::all_of(forms, [](std::string_view form) { return parseTimeLabel(form).has_value(); }))
            return {};
        const auto drops = [&forms](std::size_t i) { return forms[i].find_first_of(";,") != std::string_view::npos; };
        const bool source = drops(0) || drops(1);
        const bool record = drops(2) || drops(3);
        const bool holds = source || record
                               ? source == event.sourceDrop && record == DM::FcmUtil::isDropFrame(_list.fcm)
                               : _saidDrop == event.sourceDrop;
        return holds ? forms : Forms{};
    }

    void audio(std::uint64_t rest)
    {
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
        column(8, [&] { event.speedHasNoReel ? void() : reel.empty() ? void(_text.append("AX")) : oneLine(reel); });
        column(26,
               [&]
               {
                   _text.append("      ");
                   if (toNumber<double>(event.speedSpelling) == event.speed->fps)
                       _text.append(event.speedSpelling);
                   else
                       appendDecimal(_text, event.speed->fps, 3, 1);
               });
        if (!event.speedHasNoTime)
            appendTimeLabel(_text, event.speed->at, _list.sourceFcm(event), formsOf(event)[0]);
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
    void locator(const EdlMarker& marker, std::string_view form)
    {
        appendTimeLabel(_text, marker.at, _list.fcm, form);
        _text.push_back(' ');
        if (!marker.colour.empty())
            column(7, [&] { oneLine(marker.colour); });
        oneLine(marker.text);
        endLine();
    }

    const EdlList& _list;
    std::string _text;
    std::size_t _usualWidth = 0;
    std::size_t _numberColumn = 0;
    bool _drop = false;     ///< the last event's source does
    bool _saidDrop = false; ///< the last FCM line does
};

} // namespace

std::string writeEdl(const EdlList& list)
{
    return Writer(list).write();
}

} // namespace interchange
