#include "icEdlReader.h"

#include "icEdlGrammar.h"
#include "icText.h"
#include "icTimeCode.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace interchange
{

namespace
{

/// Cuts a text into lines at LF, CR LF and CR.
class Lines
{
public:
    explicit Lines(std::string_view text)
        : _rest(text)
    {
        findLineFeed();
    }

    bool next(std::string_view& line)
    {
        if (_rest.empty())
            return false;
        ++_number;
        const void* carriageReturn = std::memchr(_rest.data(), '\r', _lineFeed);
        const std::size_t end = carriageReturn
                                    ? static_cast<std::size_t>(static_cast<const char*>(carriageReturn) - _rest.data())
                                    : _lineFeed;
        line = _rest.substr(0, end);
        const bool pair = end + 1 == _lineFeed && _lineFeed < _rest.size();
        const std::size_t used = std::min(end + (pair ? 2 : 1), _rest.size());
        _rest.remove_prefix(used);
        if (used > _lineFeed)
            findLineFeed();
        else
            _lineFeed -= used;
        return true;
    }

    std::uint32_t number() const { return _number; }

private:
    /// Looked for once a line feed, so that a text without any is not searched to its end for every line.
    void findLineFeed() { _lineFeed = std::min(_rest.find('\n'), _rest.size()); }

    std::string_view _rest;
    std::size_t _lineFeed = 0; ///< where the next one stands in the rest; its size if there is none
    std::uint32_t _number = 0;
};

std::string framesText(std::int64_t frames)
{
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames");
}

/// A picture keyed over the background that the line before it names.
bool isKey(const EdlEvent& event)
{
    return event.transition == EdlTransition::Key || event.transition == EdlTransition::KeyOut;
}

constexpr std::string_view leftOut = "the event is left out";

class Reader
{
public:
    /// `given`: the rate is the caller's; otherwise it is a guess that a statement of drop frame overthrows.
    Reader(EdlList& list, std::string_view text, DM::FrameCodeModes rate, bool given, Report& report)
        : _list(list)
        , _lines(text)
        , _report(report)
        , _rate(rate)
        , _nonDropMode(DM::FcmUtil::toNonDrop(rate))
        , _dropMode(DM::FcmUtil::toDrop(rate))
        , _given(given)
    {
        // More than most lists need; memory that is not used costs nothing.
        _list.events.reserve(text.size() / 100);
        _list.notes.reserve(text.size() / 60);
    }

    /// False: the list drops frames at a rate that was only a guess and has no drop-frame form.
    bool read();

private:
    struct Keyword;
    static const Keyword keywords[];

    // Lines

    void take(std::string_view line);
    bool takeKeyword(std::string_view text, bool starred);
    bool title(std::string_view text);
    bool fcm(std::string_view text);
    bool speed(std::string_view text);
    bool audio(std::string_view text);
    bool locator(std::string_view text);
    bool slopeOffsetPower(std::string_view text);
    bool saturation(std::string_view text);

    // Events

    void event(std::string_view line);
    void settleDropFrame(EdlEventLine& read);
    bool settleTimes(EdlEventLine& read);
    std::int64_t frames(const TimeLabel& label, DM::FrameCodeModes mode, std::string_view name);
    /// Whether the range lies in order, perhaps across midnight, which it then counts through.
    static bool order(EdlRange& range, std::int64_t day);
    void checkNumber(std::uint32_t number);

    // Checks that need the lines behind an event

    void finishEvents();
    void checkLengths(EdlEvent& event);
    void checkPlace(const EdlEvent& event);

    // Speaking

    void warn(std::string text) { _report.add(Report::Warning, _lines.number(), std::move(text)); }
    void mistake(std::string what, std::string_view choice)
    {
        _report.mistake(_lines.number(), std::move(what), choice);
    }
    /// A line that is a comment in spite of its keyword; false.
    bool keep(std::string why)
    {
        if (!_skipping)
            warn(std::move(why) + "; kept as a comment");
        return false;
    }
    /// A statement of drop frame; whether the rate has such a form.
    bool canDrop();

    EdlEvent* last() { return _list.events.empty() ? nullptr : &_list.events.back(); }
    /// The line before the last event that names the outgoing source of its transition.
    EdlEvent* outgoing();
    DM::FrameCodeModes mode(bool drop) const { return drop ? _dropMode : _nonDropMode; }

    /// What plays last on a channel.
    struct Place
    {
        std::int64_t in = 0;
        std::int64_t out = 0;
    };
    using Places = std::array<Place, EdlChannels::limit>;

    EdlList& _list;
    Lines _lines;
    Report& _report;
    DM::FrameCodeModes _rate;
    DM::FrameCodeModes _nonDropMode;
    DM::FrameCodeModes _dropMode; ///< the same where the rate has no drop-frame form
    bool _given;
    bool _guessFailed = false;
    bool _saidThatNothingDrops = false;
    bool _hasTitle = false;
    bool _skipping = false;          ///< behind an event that was left out
    std::optional<bool> _recordDrop; ///< as the first FCM line or the first event says
    std::optional<bool> _sourceDrop; ///< as the last FCM line says
    std::size_t _finished = 0;       ///< events that have had their checks
    Places _video{};
    Places _audio{};
};

/// A line that begins with `word` and perhaps a colon. `take` reads what stands behind, or answers false if it cannot;
/// without it, that is the text of a note.
struct Reader::Keyword
{
    enum Colon : std::uint8_t
    {
        Required,
        Optional,
        None
    };
    enum Star : std::uint8_t
    {
        Allowed,
        Never
    };
    std::string_view word;
    bool (Reader::*take)(std::string_view) = nullptr;
    NoteKind kind = NoteKind::Comment;
    Colon colon = Required;
    Star star = Allowed;
    bool needsEvent = false;
};

const Reader::Keyword Reader::keywords[] = {
    {"FROM CLIP NAME", nullptr, NoteKind::FromClipName},
    {"TO CLIP NAME", nullptr, NoteKind::ToClipName},
    {"KEY CLIP NAME", nullptr, NoteKind::KeyClipName},
    {"CLIP NAME", nullptr, NoteKind::FromClipName},
    {"SOURCE FILE PATH", nullptr, NoteKind::SourcePath},
    {"SOURCE FILE", nullptr, NoteKind::SourceFile},
    {"SOURCE PATH", nullptr, NoteKind::SourcePath},
    {"FILE PATH", nullptr, NoteKind::SourcePath},
    {"PATH", nullptr, NoteKind::SourcePath},
    {"EFFECT NAME", nullptr, NoteKind::EffectName},
    {"EFFECTS NAME IS", nullptr, NoteKind::EffectName, Keyword::None},
    {"SPLIT", nullptr, NoteKind::Split, Keyword::Required, Keyword::Never},
    {"ASC_SOP", &Reader::slopeOffsetPower, {}, Keyword::Optional, Keyword::Allowed, true},
    {"ASC_SAT", &Reader::saturation, {}, Keyword::Optional, Keyword::Allowed, true},
    {"LOC", &Reader::locator, {}, Keyword::Required, Keyword::Allowed, true},
    {"M2", &Reader::speed, {}, Keyword::None, Keyword::Never, true},
    {"AUD", &Reader::audio, {}, Keyword::None, Keyword::Never, true},
    {"FCM", &Reader::fcm, {}, Keyword::Required, Keyword::Never},
    {"TITLE", &Reader::title, {}, Keyword::Required, Keyword::Never},
};

bool Reader::read()
{
    std::string_view line;
    while (!_guessFailed && _lines.next(line))
        if (line = trimmed(line); !line.empty())
            take(line);
    if (_guessFailed)
        return false;
    finishEvents();
    _list.fcm = mode(_recordDrop.value_or(DM::FcmUtil::isDropFrame(_rate)));
    if (_list.events.empty() && !_hasTitle && !_recordDrop && !_report.hasErrors())
        _report.add(Report::Error, _lines.number(), "no event and no title up to the end: not a cut list");
    return true;
}

void Reader::take(std::string_view line)
{
    if (isDigit(line.front()))
        return event(line);
    const bool starred = line.front() == '*';
    const std::string_view text = starred ? trimmed(line.substr(1)) : line;
    if (takeKeyword(text, starred) || _skipping)
        return;
    _list.addNote(starred ? NoteKind::Comment : NoteKind::Line, text);
}

bool Reader::takeKeyword(std::string_view text, bool starred)
{
    for (const Keyword& keyword : keywords)
    {
        if (!startsWithNoCase(text, keyword.word) || (starred && keyword.star == Keyword::Never))
            continue;
        std::string_view rest = text.substr(keyword.word.size());
        const bool parted = rest.empty() || isBlank(rest.front()) ||
                            (keyword.colon != Keyword::None && (rest.front() == ':' || rest.front() == '('));
        rest = trimmed(rest);
        const bool colon = keyword.colon != Keyword::None && rest.starts_with(':');
        if (!parted || (!colon && keyword.colon == Keyword::Required))
            continue;
        if (_skipping && keyword.needsEvent)
            return true;
        rest = colon ? trimmed(rest.substr(1)) : rest;
        if (!keyword.take)
        {
            if (!_skipping)
                _list.addNote(keyword.kind, rest);
            return true;
        }
        if (keyword.needsEvent && !last())
            return keep(quoted(text) + " stands before any event");
        return (this->*keyword.take)(rest);
    }
    return starred ? false : keep(quoted(text) + " is neither an event nor a known note");
}

bool Reader::title(std::string_view text)
{
    if (_hasTitle)
        return keep("a second title");
    _list.title = text;
    _hasTitle = true;
    return true;
}

bool Reader::canDrop()
{
    if (_dropMode != _nonDropMode)
        return true;
    _guessFailed = !_given;
    if (_given && !_saidThatNothingDrops)
        warn(std::string("drop frame means nothing at ") + DM::FcmUtil::getFPSString(_rate) +
             " frames per second: no label is dropped");
    _saidThatNothingDrops = true;
    return false;
}

bool Reader::fcm(std::string_view text)
{
    const std::string_view word = takeFirstWord(text);
    const bool nonDrop = startsWithNoCase(word, "NON") || equalsNoCase(word, "NDF");
    if (!nonDrop && !equalsNoCase(word, "DROP") && !equalsNoCase(word, "DF"))
        return keep(quoted(word) + " is no frame-code mode");
    const bool drop = !nonDrop && canDrop();
    _sourceDrop = drop;
    if (!_recordDrop)
        _recordDrop = drop;
    return true;
}

EdlEvent* Reader::outgoing()
{
    const std::size_t count = _list.events.size();
    if (count < 2 || !last()->isTransition())
        return nullptr;
    EdlEvent& before = _list.events[count - 2];
    return before.number == last()->number && !before.isTransition() ? &before : nullptr;
}

/// The two lines of a transition have their M2 lines behind both, told apart by reel and in-time.
bool Reader::speed(std::string_view text)
{
    std::optional<EdlSpeedLine> read = parseSpeed(text);
    if (!read)
        return keep("the speed of the M2 line is missing or no number");

    EdlEvent* const own = last();
    EdlEvent* const other = outgoing();
    if (read->reel != own->reel && !(other && read->reel == other->reel))
    {
        if (!read->reel.empty())
            warn("M2 line of reel " + quoted(read->reel) + " behind an event of reel " + quoted(own->reel));
        read->reel = own->reel;
    }
    const auto inRange = [&](const EdlEvent& event) { return !read->at || isInDay(*read->at, mode(event.sourceDrop)); };
    const auto at = [&](const EdlEvent& event)
    { return read->at ? framesOf(*read->at, mode(event.sourceDrop)) : event.source.in; };
    const auto fits = [&](const EdlEvent& event) { return read->reel == event.reel && at(event) == event.source.in; };
    if (!inRange(*own) || (other && !inRange(*other)))
        return keep("the time code of the M2 line is out of range");
    const bool isOther =
        other && !other->speed && (read->reel != own->reel || (fits(*other) && !fits(*own)) || own->speed);
    EdlEvent& event = isOther ? *other : *own;
    if (event.speed)
        return keep("a second speed for the event");
    event.speed = EdlSpeed{read->fps, at(event)};
    return true;
}

bool Reader::audio(std::string_view text)
{
    EdlChannels channels;
    while (!text.empty())
    {
        const std::optional<int> channel = toNumber<int>(takeFirstWord(text));
        if (!channel || *channel < 1 || *channel > EdlChannels::limit)
            return keep("an AUD line lists channels from 1 to " + std::to_string(EdlChannels::limit));
        channels.audio |= std::uint64_t{1} << (*channel - 1);
    }
    last()->channels.audio |= channels.audio;
    return true;
}

bool Reader::locator(std::string_view text)
{
    const std::optional<TimeLabel> label = parseTimeLabel(takeFirstWord(text));
    const DM::FrameCodeModes recordMode = mode(*_recordDrop);
    if (!label || !isInDay(*label, recordMode))
        return keep("the time code of the locator is missing or out of range");
    EdlMarker marker{framesOf(*label, recordMode), {}, {}};
    const std::int64_t day = framesOfDay(recordMode);
    marker.at += (last()->record.in - marker.at + day / 2) / day * day;
    std::string_view rest = text;
    const std::string_view word = takeFirstWord(rest);
    for (const NamedColour& colour : namedColours())
        if (equalsNoCase(word, colour.name))
        {
            marker.colour = colour.name;
            text = rest;
        }
    marker.text = text;
    _list.addMarker(marker);
    return true;
}

bool Reader::slopeOffsetPower(std::string_view text)
{
    const std::optional<std::array<double, 9>> values = parseSlopeOffsetPower(text);
    const Look* const before = _list.lookOf(*last());
    if (!values)
        return keep("ASC_SOP takes three times three numbers");
    if (before && before->hasSop)
        return keep("a second ASC_SOP for the event");
    Look& look = _list.look();
    std::copy_n(values->begin(), 3, look.slope.begin());
    std::copy_n(values->begin() + 3, 3, look.offset.begin());
    std::copy_n(values->begin() + 6, 3, look.power.begin());
    look.hasSop = true;
    return true;
}

bool Reader::saturation(std::string_view text)
{
    const std::optional<double> value = toNumber<double>(text);
    const Look* const before = _list.lookOf(*last());
    if (!value || !std::isfinite(*value))
        return keep("ASC_SAT takes a number");
    if (before && before->hasSaturation)
        return keep("a second ASC_SAT for the event");
    Look& look = _list.look();
    look.saturation = *value;
    look.hasSaturation = true;
    return true;
}

void Reader::event(std::string_view line)
{
    _skipping = true;
    EdlEventLine read;
    EdlEvent& event = read.event;
    event.line = _lines.number();
    if (std::optional<std::string> wrong = parseEventLine(line, read))
        return mistake(std::move(*wrong), leftOut);
    settleDropFrame(read);
    if (_guessFailed || !settleTimes(read))
        return;
    if (event.reel.empty())
    {
        mistake("no reel name", "the reel is AX");
        event.reel = "AX";
    }
    if (read.hasMore)
        warn("what stands behind the record out-time is ignored");
    if (isKey(event))
        warn("a key: only its source and its times are understood");
    checkNumber(event.number);
    if (last() && last()->number != event.number)
        finishEvents();
    _list.addEvent(event);
    _skipping = false;
}

void Reader::settleDropFrame(EdlEventLine& read)
{
    const bool fallback = DM::FcmUtil::isDropFrame(_rate);
    bool source = read.labels[0].drop || read.labels[1].drop;
    bool record = read.labels[2].drop || read.labels[3].drop;
    if ((source || record) && !canDrop())
        source = record = false;
    const bool speaks = source || record;
    read.event.sourceDrop = speaks ? source : _sourceDrop.value_or(fallback);
    if (_list.events.empty())
        _recordDrop = speaks ? record : _recordDrop.value_or(fallback);
    else if (speaks && record != *_recordDrop)
        warn(std::string("the record time codes are ") + (record ? "drop frame" : "non-drop frame") +
             ", those of the first event were not");
}

std::int64_t Reader::frames(const TimeLabel& label, DM::FrameCodeModes fcm, std::string_view name)
{
    const std::int64_t count = framesOf(label, fcm);
    if (!isInDay(label, fcm))
    {
        std::string nearest;
        appendTimeLabel(nearest, count, fcm);
        mistake(std::string(name) + " is out of range at " + DM::FcmUtil::getFPSOrNDFString(fcm) +
                    (_given ? "" : ", and no frame rate was given"),
                "taken as " + nearest);
    }
    return count;
}

bool Reader::order(EdlRange& range, std::int64_t day)
{
    if (range.length() < -day / 2)
        range.out += day;
    return range.length() >= 0;
}

bool Reader::settleTimes(EdlEventLine& read)
{
    EdlEvent& event = read.event;
    const DM::FrameCodeModes sourceMode = mode(event.sourceDrop);
    const DM::FrameCodeModes recordMode = mode(*_recordDrop);
    std::array<std::int64_t, 4> times{};
    for (std::size_t i = 0; i < times.size(); ++i)
        times[i] = frames(read.labels[i], i < 2 ? sourceMode : recordMode, edlLabelNames[i]);
    event.source = {times[0], times[1]};
    event.record = {times[2], times[3]};

    const bool sourceOrdered = order(event.source, framesOfDay(sourceMode));
    const bool recordOrdered = order(event.record, framesOfDay(recordMode));
    if (!sourceOrdered && !recordOrdered)
    {
        mistake("source and record side end before they begin", leftOut);
        return false;
    }
    if (!recordOrdered)
    {
        mistake("the record side ends before it begins", "it gets the length of the source");
        event.record.out = event.record.in + event.source.length();
    }
    if (!sourceOrdered)
    {
        mistake("the source ends before it begins", "it gets the length of the record side");
        event.source.out = event.source.in + event.record.length();
    }

    const std::int64_t day = framesOfDay(recordMode);
    const std::int64_t before = last() ? last()->record.in : 0;
    const std::int64_t days = std::max<std::int64_t>(0, (before - event.record.in + day / 2 - 1) / day) * day;
    if (days > (before / day) * day)
        warn("the record time passes midnight");
    event.record.in += days;
    event.record.out += days;
    return true;
}

void Reader::checkNumber(std::uint32_t number)
{
    constexpr std::uint32_t largestOfThreeDigits = 999;
    if (!last() || number >= last()->number || number <= 1 || last()->number == largestOfThreeDigits)
        return;
    mistake("event " + std::to_string(number) + " comes after event " + std::to_string(last()->number),
            "it stays where its record time is");
}

void Reader::finishEvents()
{
    for (; _finished < _list.events.size(); ++_finished)
    {
        checkLengths(_list.events[_finished]);
        checkPlace(_list.events[_finished]);
    }
}

void Reader::checkLengths(EdlEvent& event)
{
    const std::int64_t source = event.source.length();
    const std::int64_t record = event.record.length();
    if (event.transitionLength > record)
    {
        _report.mistake(event.line,
                        "the transition has " + framesText(event.transitionLength) + ", its event " +
                            framesText(record),
                        "it takes the whole event");
        event.transitionLength = static_cast<std::uint32_t>(record);
    }
    if (source == record || edlReelKind(event.reel) != EdlReelKind::Tape)
        return;
    const std::string lengths = "the source has " + framesText(source) + ", the record side " + framesText(record);
    if (!event.speed)
    {
        _report.mistake(event.line, lengths, "the record side holds");
        event.source.out = event.source.in + record;
        return;
    }
    // Speeds are rounded to a tenth of a frame, and products differ in which end of the range takes the rest.
    const double rate = DM::FcmUtil::getDoubleFPS(mode(event.sourceDrop));
    const double length = static_cast<double>(record);
    const double tolerance = 2 + length * (0.05 / rate + 0.001);
    const double expected = length * std::fabs(event.speed->fps) / rate;
    if (event.speed->fps != 0 && std::fabs(static_cast<double>(source) - expected) > tolerance)
        _report.add(Report::Warning, event.line, lengths + ", and its speed does not account for it");
}

void Reader::checkPlace(const EdlEvent& event)
{
    // A key lies over its background.
    if (isKey(event))
        return;
    bool falls = false;
    bool overlaps = false;
    const auto place = [&](std::uint64_t channels, Places& places)
    {
        for (; channels != 0; channels &= channels - 1)
        {
            Place& before = places[static_cast<std::size_t>(std::countr_zero(channels))];
            falls |= event.record.in < before.in;
            overlaps |= event.record.in >= before.in && event.record.in < before.out;
            before = {event.record.in, event.record.out};
        }
    };
    place(event.channels.video, _video);
    place(event.channels.audio, _audio);
    if (falls)
        _report.mistake(event.line, "the event begins before the one before it on its channel",
                        "it stays where its record time is");
    else if (overlaps)
        _report.mistake(event.line, "the event begins before the one before it on its channel has ended",
                        "it covers the end of that one");
}

} // namespace

std::optional<EdlList> readEdl(std::string bytes, DM::FrameCodeModes fcm, Report& report)
{
    if (const std::size_t nul = bytes.find('\0'); nul != bytes.npos)
    {
        const auto line = 1 + std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(nul), '\n');
        report.add(Report::Error, static_cast<std::uint32_t>(line), "binary data: not a cut list");
        return std::nullopt;
    }
    const bool given = fcm != DM::FCM_NOT_DEFINED;
    if (given && *DM::FcmUtil::getFCMString(fcm) == '\0')
    {
        report.add(Report::Error, 0, "no frame-code mode has the number " + std::to_string(fcm));
        return std::nullopt;
    }
    if (makeUtf8(bytes))
        report.add(Report::Notice, 0, "no UTF-8: read as Latin-1");

    EdlList list;
    const std::string_view text = list.keep(std::move(bytes));
    const Report before = report;
    if (!Reader(list, text, given ? fcm : DM::FCM_24, given, report).read())
    {
        // The list drops frames, so it does not count 24 a second: again from the top.
        report = before;
        list.clear();
        static_cast<void>(Reader(list, text, DM::FCM_29_97_NDF, given, report).read());
    }
    if (!given)
        report.add(Report::Notice, 0,
                   std::string("no frame rate was given: read as ") + DM::FcmUtil::getFCMString(list.fcm));
    else if (list.fcm != fcm)
        report.add(Report::Warning, 0,
                   std::string("the list counts in ") + DM::FcmUtil::getFCMString(list.fcm) + ", not in " +
                       DM::FcmUtil::getFCMString(fcm));
    if (report.hasErrors())
        return std::nullopt;
    return list;
}

} // namespace interchange
