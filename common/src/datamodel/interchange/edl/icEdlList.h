/// An edit decision list in the CMX 3600 form, as it is written: what stands in the file, not yet what it means on a
/// timeline. readEdl makes one from bytes, writeEdl turns one back into text.
///
///     for (const EdlEvent& event : list.events)
///         for (const EdlNote& note : list.notesOf(event))
///             if (note.kind == NoteKind::FromClipName)
///                 std::cout << event.number << ' ' << note.text << '\n';
///
/// Every text is UTF-8 and a view into storage that the list owns: the file's bytes, or copies made by keep(). So a
/// list moves but does not copy, and its texts end with it. The notes and markers of all events stand in one array
/// each, those of an event side by side; addEvent, addNote and addMarker keep it so.
///
/// Times are frames since midnight, counted in the record mode or the event's source mode (see EdlList::fcm). A range
/// that passes midnight goes on counting, so that a length is always out less in; so do the record times of later
/// events.
#pragma once

#include "icColours.h"
#include "icLook.h"
#include "icNotes.h"

#include "tuFcm.h"

#include <cstdint>
#include <forward_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// What an event edits onto: bit n-1 stands for channel n of a kind. The channel field writes video 1 as "V", audio 1
/// and 2 as "A" and "A2", both as "AA", video 1 with audio 1 as "B"; audio from 3 on stands in AUD lines.
struct EdlChannels
{
    static constexpr int limit = 64;

    std::uint64_t video = 0;
    std::uint64_t audio = 0;

    bool isEmpty() const { return video == 0 && audio == 0; }
    friend bool operator==(const EdlChannels&, const EdlChannels&) = default;
};

enum class EdlTransition : std::uint8_t
{
    Cut,           ///< C
    Dissolve,      ///< D: from what was there before to this event's source
    Wipe,          ///< Wnnn: the same by a pattern
    KeyBackground, ///< K B: what the next line of the same number is keyed over
    Key,           ///< K: this source over the background
    KeyOut         ///< K O: this source goes, the background stays
};

/// The FCM line in front of an event.
enum class EdlFcmLine : std::uint8_t
{
    AsNeeded,  ///< where the source side counts otherwise than that of the event before
    None,      ///< nor there: the labels say it
    Repeating, ///< there too where it does not
    Contrary   ///< saying otherwise than the labels, which hold
};

/// From the first frame to the one after the last.
struct EdlRange
{
    std::int64_t in = 0;
    std::int64_t out = 0;

    std::int64_t length() const { return out - in; }
    friend bool operator==(const EdlRange&, const EdlRange&) = default;
};

/// An M2 line: the source runs at `fps` instead of the list's rate; 0 freezes it, and a negative rate plays it
/// backwards.
struct EdlSpeed
{
    double fps = 0;
    std::int64_t at = 0; ///< source time at which the line takes effect: as a rule the in-time

    friend bool operator==(const EdlSpeed&, const EdlSpeed&) = default;
};

/// A LOC comment: a locator on the record side.
struct EdlMarker
{
    std::int64_t at = 0;     ///< record time
    std::string_view colour; ///< a name of namedColours in upper case, or empty
    std::string_view text;

    friend bool operator==(const EdlMarker&, const EdlMarker&) = default;
};

struct EdlNote
{
    NoteKind kind = NoteKind::Comment;
    std::string_view text;
    std::string_view written = {}; ///< what stands before the text, where that is not what we write

    friend bool operator==(const EdlNote&, const EdlNote&) = default;
};

/// A run in one of the list's arrays.
struct EdlRun
{
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

/// A line that edits a stretch of a source onto the record tape. A transition has, as a rule, two of the same number: a
/// cut of no length that names the outgoing source, then the dissolve, wipe or key to the incoming one.
struct EdlEvent
{
    std::uint32_t line = 0; ///< where it was read; 0 if it was not
    std::uint32_t number = 0;
    std::string_view reel;
    EdlChannels channels;
    EdlTransition transition = EdlTransition::Cut;
    bool sourceDrop = false;       ///< source times count in the list's drop-frame mode
    std::uint16_t wipePattern = 0; ///< SMPTE number of a wipe
    bool keyFades = false;         ///< a key with "(F)"
    bool speedHasNoTime = false;   ///< in the speed's line
    bool speedHasNoReel = false;   ///< there
    EdlFcmLine fcmLine = EdlFcmLine::AsNeeded;
    std::uint8_t numberWidth = 0;       ///< of the number with its zeros, where that is not the usual one; 0: it is
    std::uint32_t transitionLength = 0; ///< frames, from the record in-time on
    EdlRange source;
    EdlRange record;
    std::optional<EdlSpeed> speed;
    std::string_view speedReel; ///< of the speed's line, where that is another one
    // As they stood, where that is not as we write them
    std::string_view spelling;      ///< channels and transition: "VA1A2 D 24"
    std::string_view speedSpelling; ///< the number of the speed's line
    std::string_view labels;        ///< the four labels, or one where the others are of its form: "1.00.00.00"
    std::string_view numberTail;    ///< what stands behind the number: "A" of "001A"
    std::int32_t look = -1;         ///< index into EdlList::looks; -1: none
    EdlRun notes;
    EdlRun markers;

    bool hasNumberOf(const EdlEvent& other) const { return number == other.number && numberTail == other.numberTail; }
    /// A picture keyed over the background that the line before it names.
    bool isKey() const { return transition == EdlTransition::Key || transition == EdlTransition::KeyOut; }
    bool isTransition() const { return transition != EdlTransition::Cut && transition != EdlTransition::KeyBackground; }
};

/// The speed that an M2 line gives the event, whose source counts in that mode; 1 without one. At the 1000/1001 rates
/// such lines count true frames or nominal ones, as the system has it that wrote them, often cut to a tenth: what
/// accounts for the event's lengths is meant.
double edlSpeedOf(const EdlEvent& event, DM::FrameCodeModes sourceFcm);

class EdlList
{
public:
    EdlList() = default;
    EdlList(EdlList&&) = default;
    EdlList& operator=(EdlList&&) = default;
    EdlList(const EdlList&) = delete;
    EdlList& operator=(const EdlList&) = delete;

    std::string_view title;
    bool isUntitled = false;  ///< there is no title line
    bool hasNoFcm = false;    ///< there is no FCM line in front of the events
    bool hasOwnOrder = false; ///< by reels and source times, say: not by record times
    /// Mode of the record side: of the list as a whole. It also gives the rate of every source.
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED;
    std::vector<EdlEvent> events;
    std::vector<EdlNote> notes;
    std::vector<EdlMarker> markers;
    std::vector<Look> looks;
    EdlRun headNotes; ///< what stands before the first event

    // Reading

    DM::FrameCodeModes sourceFcm(const EdlEvent& event) const
    {
        return event.sourceDrop ? DM::FcmUtil::toDrop(fcm) : DM::FcmUtil::toNonDrop(fcm);
    }
    double speedOf(const EdlEvent& event) const { return edlSpeedOf(event, sourceFcm(event)); }
    std::span<const EdlNote> notesOf(EdlRun run) const { return {notes.data() + run.first, run.count}; }
    std::span<const EdlNote> notesOf(const EdlEvent& event) const { return notesOf(event.notes); }
    std::span<const EdlMarker> markersOf(const EdlEvent& event) const
    {
        return {markers.data() + event.markers.first, event.markers.count};
    }
    /// How many digits its numbers have as a rule.
    std::size_t usualNumberWidth() const;
    /// Null if it has none.
    const Look* lookOf(const EdlEvent& event) const { return event.look < 0 ? nullptr : &looks[event.look]; }

    // Building, in the order of the list

    /// Copies a text into the list's storage, where it stays as long as the list does.
    std::string_view keep(std::string text) { return _texts.emplace_front(std::move(text)); }
    /// Forgets everything but the kept texts.
    void clear();
    EdlEvent& addEvent(const EdlEvent& event);
    /// Attaches to the last event, and before the first one to the head. The text must be one that keep() returned, or
    /// live as long as the list.
    void addNote(NoteKind kind, std::string_view text, std::string_view written = {});
    /// The same in front of one of those that the last event, or the head, has.
    void insertNote(std::size_t index, NoteKind kind, std::string_view text);
    /// Attaches to the last event; there must be one.
    void addMarker(const EdlMarker& marker);
    /// Forgets the last event, with all that is attached to it.
    void dropEvent();
    /// The last event's look, made where there is none.
    Look& look();

    /// Equal content, wherever it was read: line numbers do not count.
    friend bool operator==(const EdlList& a, const EdlList& b);

private:
    std::forward_list<std::string> _texts;
};

/// Whether a reel's name stands for a picture that the edit system makes itself.
enum class EdlReelKind : std::uint8_t
{
    Tape,
    Black, ///< BL, BLACK
    Bars   ///< BARS
};
EdlReelKind edlReelKind(std::string_view reel);

} // namespace interchange
