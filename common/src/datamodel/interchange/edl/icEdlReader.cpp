#include "icEdlReader.h"

#include "icEdlChecks.h"
#include "icEdlGrammar.h"
#include "icText.h"
#include "icTimeCode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

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

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

constexpr std::string_view leftOut = "the event is left out";
constexpr Loss noChannel{"DM611", "play nothing"};
constexpr Loss lookOfSound{"DM612", "kept as comments"};

/// Where nobody says it, a list counts at the lowest of these rates in which all its labels exist.
constexpr std::array guesses{DM::FCM_24, DM::FCM_25, DM::FCM_29_97_NDF, DM::FCM_50, DM::FCM_59_94_NDF};

/// Who says at which rate a list counts.
enum class Certainty : std::uint8_t
{
    Given,  ///< the caller
    Stated, ///< the list
    Beside, ///< the file beside it
    Guessed
};

class Reader
{
public:
    Reader(EdlList& list, std::string_view text, DM::FrameCodeModes rate, Certainty certainty, Report& report)
        : _list(list)
        , _lines(text)
        , _report(report)
        , _rate(rate)
        , _nonDropMode(DM::FcmUtil::toNonDrop(rate))
        , _dropMode(DM::FcmUtil::toDrop(rate))
        , _fps(DM::FcmUtil::getIntFPS(rate))
        , _certainty(certainty)
    {
        // More than most lists need; memory that is not used costs nothing.
        _list.events.reserve(text.size() / 100);
        _list.notes.reserve(text.size() / 60);
    }

    /// False: the list is to be read at another rate, as the list says or as its labels do.
    bool read();
    DM::FrameCodeModes otherRate() const { return _otherRate; }
    /// As a FRAME RATE comment says; not defined without one.
    DM::FrameCodeModes statedRate() const { return _statedRate; }

private:
    struct Keyword;
    static const Keyword keywords[];

    // Lines

    void take(std::string_view line);
    void addNote(NoteKind kind, std::string_view text, std::string_view written = {});
    /// Where marks stand is noted when something else stands behind them.
    void placeMarks(std::string_view written = {});
    /// Whether a look is written as we write it, in front of the notes.
    bool isFirstAndOurs(std::string_view text, std::string_view ours) const;
    /// `text` is what stands behind the star of a line that has one.
    bool takeKeyword(std::string_view line, std::string_view text, bool starred);
    bool title(std::string_view text);
    bool fcm(std::string_view text);
    void keepFcmLine();
    bool frameRate(std::string_view text);
    bool speed(std::string_view text);
    bool audio(std::string_view text);
    bool locator(std::string_view text);
    /// Whether the last event has one, for a look; says so where it has none.
    bool hasPicture();
    bool slopeOffsetPower(std::string_view text);
    bool saturation(std::string_view text);

    // Events

    void event(std::string_view line);
    void settleDropFrame(EdlEventLine& read);
    /// Notes how the labels stand, where that is not as we write them.
    void settleLabels(EdlEventLine& read) const;
    bool settleTimes(EdlEventLine& read);
    std::int64_t frames(const TimeLabel& label, DM::FrameCodeModes mode, std::string_view name);
    /// Whether the range lies in order, perhaps across midnight, which it then counts through.
    static bool order(EdlRange& range, DM::FrameCodeModes fcm);
    /// The rate may not have the label; `line`: of an event.
    void guessHigher(const TimeLabel& label, std::uint32_t line = 0);

    /// An event whose line, and whose AUD lines, name no channel: its lines are notes of the event before it.
    void settleUnplayed();
    void finishEvents();

    // Speaking

    void warn(std::string text) { _report.add(Report::Warning, _lines.number(), std::move(text)); }
    void mistake(std::string what, std::string_view choice)
    {
        _report.mistake(_lines.number(), std::move(what), choice);
    }
    /// A line that is a comment in spite of its keyword; false.
    bool keep(std::string why)
    {
        if (!_skipping && _otherRate == DM::FCM_NOT_DEFINED)
            warn(std::move(why) + "; kept as a comment");
        return false;
    }
    /// A statement of drop frame; whether the rate has such a form.
    bool canDrop();

    EdlEvent* last() { return _list.events.empty() ? nullptr : &_list.events.back(); }
    /// The line before the last event that names the outgoing source of its transition.
    EdlEvent* outgoing();
    DM::FrameCodeModes mode(bool drop) const { return drop ? _dropMode : _nonDropMode; }
    /// Nobody said the rate.
    bool isUnsaid() const { return _certainty == Certainty::Beside || _certainty == Certainty::Guessed; }

    EdlList& _list;
    Lines _lines;
    Report& _report;
    DM::FrameCodeModes _rate;
    DM::FrameCodeModes _nonDropMode;
    DM::FrameCodeModes _dropMode; ///< the same where the rate has no drop-frame form
    int _fps;                     ///< labels of a second
    Certainty _certainty;
    DM::FrameCodeModes _otherRate = DM::FCM_NOT_DEFINED;
    DM::FrameCodeModes _statedRate = DM::FCM_NOT_DEFINED;
    struct
    {
        std::uint32_t line = 0; ///< of the first label that the rate has not
        DM::FrameCodeModes rate = DM::FCM_NOT_DEFINED;
    } _missing; ///< the lowest rate that has all labels
    bool _saidThatNothingDrops = false;
    bool _hasTitle = false;
    std::uint32_t _marksBehind = 0;          ///< the last event's notes
    std::string_view _fcmLine;               ///< the last one
    std::vector<std::string_view> _unplayed; ///< the last event's lines, as long as it has no channel
    bool _hasFcm = false;                    ///< in front of the events
    bool _saysFcm = false;                   ///< once more, behind the last event
    std::size_t _notesBeforeFcm = 0;         ///< among which that line stands
    std::string_view _written;       ///< of the keyword that is read: what stands before its text, where it is not ours
    bool _skipping = false;          ///< behind an event that was left out
    std::optional<bool> _recordDrop; ///< as the first FCM line or the first event says
    std::optional<bool> _sourceDrop; ///< as the last FCM line says
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
    {"FROM FILE", nullptr, NoteKind::FromFile},
    {"FROM CLIP", nullptr, NoteKind::FromClip},
    {"FINAL CUT PRO REEL", nullptr, NoteKind::Reel},
    {"REEL", nullptr, NoteKind::Line, Keyword::None, Keyword::Never},
    {"GPI", nullptr, NoteKind::Line, Keyword::Optional, Keyword::Never},
    {"DLEDL", nullptr, NoteKind::Line, Keyword::Optional, Keyword::Never},
    {">>>", nullptr, NoteKind::Line, Keyword::Optional, Keyword::Never},
    {"FRAME RATE", &Reader::frameRate},
    {"ASC_SOP", &Reader::slopeOffsetPower, NoteKind::SlopeOffsetPower, Keyword::Optional, Keyword::Allowed, true},
    {"ASC_SAT", &Reader::saturation, NoteKind::Saturation, Keyword::Optional, Keyword::Allowed, true},
    {"LOC", &Reader::locator, NoteKind::Locator, Keyword::Required, Keyword::Allowed, true},
    {"M2", &Reader::speed, {}, Keyword::None, Keyword::Never, true},
    {"AUD", &Reader::audio, {}, Keyword::None, Keyword::Never, true},
    {"FCM", &Reader::fcm, {}, Keyword::Required, Keyword::Never},
    {"TITLE", &Reader::title, {}, Keyword::Required, Keyword::Never},
};

bool Reader::read()
{
    std::string_view line;
    while (_otherRate == DM::FCM_NOT_DEFINED && _lines.next(line))
        if (line = trimmed(line); !line.empty())
            take(line);
    if (_otherRate != DM::FCM_NOT_DEFINED)
        return false;
    keepFcmLine();
    settleUnplayed();
    _list.fcm = mode(_recordDrop.value_or(DM::FcmUtil::isDropFrame(_rate)));
    _list.isUntitled = !_hasTitle;
    finishEvents();
    // By a title, an event or this line it is known to be a list.
    const bool hasEvent =
        !_list.events.empty() || std::ranges::any_of(_list.notesOf(_list.headNotes), [](const EdlNote& note)
                                                     { return note.kind == NoteKind::Unplayed; });
    _list.hasNoFcm = !_hasFcm && (_hasTitle || hasEvent);
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
    const bool isTaken = takeKeyword(line, text, starred);
    const bool isFcm = isTaken && startsWithNoCase(line, "FCM");
    if (isFcm)
        _fcmLine = line;
    else if (!_unplayed.empty() && !_skipping && !(isTaken && startsWithNoCase(line, "TITLE")))
        _unplayed.push_back(line);
    if (isTaken || _skipping)
        return;
    addNote(starred ? NoteKind::Comment : NoteKind::Line, text);
}

void Reader::addNote(NoteKind kind, std::string_view text, std::string_view written)
{
    placeMarks();
    _list.addNote(kind, text, written);
}

void Reader::placeMarks(std::string_view written)
{
    for (; _marksBehind != 0; --_marksBehind)
        _list.addNote(NoteKind::Locator, {}, _marksBehind == 1 ? written : std::string_view());
}

bool Reader::isFirstAndOurs(std::string_view text, std::string_view ours) const
{
    return _written.empty() && text == ours && _list.events.back().notes.count == 0 && _marksBehind == 0;
}

bool Reader::takeKeyword(std::string_view line, std::string_view text, bool starred)
{
    const char first = text.empty() ? '\0' : toUpper(text.front());
    for (const Keyword& keyword : keywords)
    {
        if (first != keyword.word.front() || !startsWithNoCase(text, keyword.word) ||
            (starred && keyword.star == Keyword::Never))
            continue;
        std::string_view rest = text.substr(keyword.word.size());
        const bool parted = rest.empty() || isBlank(rest.front()) ||
                            (keyword.colon != Keyword::None && (rest.front() == ':' || rest.front() == '(')) ||
                            keyword.word.ends_with('>');
        rest = trimmed(rest);
        const bool colon = keyword.colon != Keyword::None && rest.starts_with(':');
        if (!parted || (!colon && keyword.colon == Keyword::Required))
            continue;
        if (_skipping && keyword.needsEvent)
            return true;
        rest = colon ? trimmed(rest.substr(1)) : rest;
        _written = trimmed(line.substr(0, static_cast<std::size_t>(rest.data() - line.data())));
        if (isUsualPrefix(keyword.kind, _written) || std::ranges::any_of(_written, isControl))
            _written = {};
        if (!keyword.take)
        {
            if (!_skipping)
                keyword.kind == NoteKind::Line ? addNote(NoteKind::Line, text) : addNote(keyword.kind, rest, _written);
            return true;
        }
        if (keyword.needsEvent && !last())
            return keep(quoted(text) + " stands before any event");
        return (this->*keyword.take)(rest);
    }
    if (starred || (last() && parseNoteMark(text)))
        return false;
    return keep(quoted(text) + " is neither an event nor a known note");
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
    if (_certainty == Certainty::Beside)
        _otherRate = guesses.front();
    else if (_certainty == Certainty::Guessed)
        _otherRate = *std::ranges::find_if(guesses, [this](DM::FrameCodeModes guess)
                                           { return guess > _rate && DM::FcmUtil::toDrop(guess) != guess; });
    else if (!_saidThatNothingDrops)
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
    if (nonDrop && startsWithNoCase(text, "DROP"))
        takeFirstWord(text);
    if (!_skipping && !text.empty() && !equalsNoCase(text, "FRAME"))
        warn(quoted(text) + " behind the mode of an FCM line is ignored");
    const bool drop = !nonDrop && canDrop();
    keepFcmLine();
    _saysFcm = _hasFcm || last();
    _notesBeforeFcm = _list.notes.size();
    _hasFcm = _hasFcm || !last();
    _sourceDrop = drop;
    if (!_recordDrop)
        _recordDrop = drop;
    return true;
}

/// One that no event follows says nothing, and stays.
void Reader::keepFcmLine()
{
    if (!_saysFcm || _skipping)
        return;
    if (_unplayed.empty())
        _list.insertNote(_notesBeforeFcm, NoteKind::Line, _fcmLine);
    else
        _unplayed.push_back(_fcmLine);
}

bool Reader::frameRate(std::string_view text)
{
    if (last() || _statedRate != DM::FCM_NOT_DEFINED)
        return false;
    const DM::FrameCodeModes stated = DM::FcmUtil::getFCMFromName(text);
    if (stated == DM::FCM_NOT_DEFINED)
        return keep(quoted(text) + " is no frame-code mode");
    _statedRate = stated;
    if (isUnsaid())
        _otherRate = stated;
    return true;
}

void Reader::guessHigher(const TimeLabel& label, std::uint32_t line)
{
    if (label.frames < _fps)
        return;
    if (_certainty == Certainty::Beside)
    {
        _otherRate = guesses.front();
        return;
    }
    const bool drops = _recordDrop.value_or(false) || _sourceDrop.value_or(false) || label.drop;
    const auto* const higher = std::ranges::find_if(
        guesses, [&](DM::FrameCodeModes guess)
        { return label.frames < DM::FcmUtil::getIntFPS(guess) && (!drops || DM::FcmUtil::toDrop(guess) != guess); });
    if (higher == guesses.end())
        return;
    if (_certainty == Certainty::Guessed)
        _otherRate = *higher;
    else if (line != 0 && (_missing.line == 0 || *higher > _missing.rate))
        _missing = {_missing.line == 0 ? line : _missing.line, *higher};
}

EdlEvent* Reader::outgoing()
{
    const std::size_t count = _list.events.size();
    if (count < 2 || !last()->isTransition())
        return nullptr;
    EdlEvent& before = _list.events[count - 2];
    return before.hasNumberOf(*last()) && !before.isTransition() ? &before : nullptr;
}

/// The two lines of a transition have their M2 lines behind both, told apart by reel and in-time.
bool Reader::speed(std::string_view text)
{
    std::optional<EdlSpeedLine> read = parseSpeed(text);
    if (!read)
        return keep("the speed of the M2 line is missing or no number");

    if (read->at)
        guessHigher(*read->at);
    EdlEvent* const own = last();
    EdlEvent* const other = outgoing();
    std::string_view foreign;
    const bool hasNoReel = read->reel.empty() && !own->reel.empty();
    if (read->reel != own->reel && !(other && read->reel == other->reel))
    {
        if (!read->reel.empty())
            warn("M2 line of reel " + quoted(read->reel) + " behind an event of reel " + quoted(own->reel));
        foreign = std::exchange(read->reel, own->reel);
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
    event.speedHasNoTime = !read->at;
    event.speedHasNoReel = hasNoReel;
    std::string ours;
    appendDecimal(ours, read->fps, 3, 1);
    if (read->number != ours)
        event.speedSpelling = read->number;
    event.speedReel = foreign;
    if (isOther || own->notes.count != 0 || _marksBehind != 0)
        addNote(NoteKind::Speed, isOther ? "outgoing" : "");
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
    if (label)
        guessHigher(*label);
    if (!label || !isInDay(*label, recordMode))
        return keep("the time code of the locator is missing or out of range");
    EdlMarker marker{framesOf(*label, recordMode), {}, {}};
    const std::int64_t day = framesOfDay(recordMode);
    const std::int64_t distance = last()->record.in - marker.at;
    marker.at += distance > day / 2 ? day : distance < -day / 2 ? -day : 0;
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
    ++_marksBehind;
    if (!_written.empty())
        placeMarks(_written);
    return true;
}

bool Reader::hasPicture()
{
    if (last()->channels.video != 0)
        return true;
    Where where = whereOf(_list, *last());
    where.fcm = mode(*_recordDrop);
    _report.at(where);
    _report.lose(lookOfSound, _lines.number());
    _report.at({});
    return false;
}

bool Reader::slopeOffsetPower(std::string_view text)
{
    const std::optional<std::array<double, 9>> values = parseSlopeOffsetPower(text);
    const Look* const before = _list.lookOf(*last());
    if (!values)
        return keep("ASC_SOP takes three times three numbers");
    if (before && before->hasSop)
        return keep("a second ASC_SOP for the event");
    if (!hasPicture())
        return false;
    Look& look = _list.look();
    std::copy_n(values->begin(), 3, look.slope.begin());
    std::copy_n(values->begin() + 3, 3, look.offset.begin());
    std::copy_n(values->begin() + 6, 3, look.power.begin());
    look.hasSop = true;
    if (before || !isFirstAndOurs(text, slopeOffsetPowerText(look)))
        addNote(NoteKind::SlopeOffsetPower, text, _written);
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
    if (!hasPicture())
        return false;
    Look& look = _list.look();
    look.saturation = *value;
    look.hasSaturation = true;
    if (!isFirstAndOurs(text, saturationText(look)))
        addNote(NoteKind::Saturation, text, _written);
    return true;
}

void Reader::event(std::string_view line)
{
    const bool wasSkipping = std::exchange(_skipping, true);
    EdlEventLine read;
    EdlEvent& event = read.event;
    event.line = _lines.number();
    if (std::optional<std::string> wrong = parseEventLine(line, read))
    {
        if (!last() || !parseNoteMark(line))
            return mistake(std::move(*wrong), leftOut);
        _skipping = wasSkipping;
        if (!_unplayed.empty() && !_skipping)
            _unplayed.push_back(line);
        return _skipping ? void() : addNote(NoteKind::Line, line);
    }
    settleUnplayed();
    settleDropFrame(read);
    settleLabels(read);
    for (const TimeLabel& label : read.labels)
        guessHigher(label, event.line);
    if (_otherRate != DM::FCM_NOT_DEFINED || !settleTimes(read))
        return;
    if (event.reel.empty())
    {
        mistake("no reel name", "the reel is AX");
        event.reel = "AX";
    }
    if (read.hasMore)
        warn("what stands behind the record out-time is ignored");
    if (event.isKey())
        warn("a key: only its source and its times are understood");
    const bool dropped = last() ? last()->sourceDrop : *_recordDrop;
    const bool changes = event.sourceDrop != dropped;
    if (event.channels.isEmpty() && _saysFcm)
        _unplayed.push_back(_fcmLine);
    if (!std::exchange(_saysFcm, false))
        event.fcmLine = changes ? EdlFcmLine::None : EdlFcmLine::AsNeeded;
    else if (*_sourceDrop != event.sourceDrop)
        event.fcmLine = EdlFcmLine::Contrary;
    else
        event.fcmLine = changes ? EdlFcmLine::AsNeeded : EdlFcmLine::Repeating;
    if (event.channels.isEmpty())
    {
        placeMarks(); // what follows is no longer behind them
        _unplayed.push_back(line);
    }
    _list.addEvent(event);
    _marksBehind = 0;
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

void Reader::settleLabels(EdlEventLine& read) const
{
    const auto isOurs = [&](std::size_t at, bool drop) { return read.labels[at].drop == drop; };
    const bool drop = read.event.sourceDrop;
    const bool areOurs = isOurs(0, drop) && isOurs(1, drop) && isOurs(2, *_recordDrop) && isOurs(3, *_recordDrop);
    if (read.hasUsualLabels && areOurs)
        return;
    std::string_view rest = read.labelsText;
    const std::string_view first = takeFirstWord(rest);
    bool isOneForm = true;
    while (isOneForm && !rest.empty())
        isOneForm = haveSameForm(first, takeFirstWord(rest));
    if (isOneForm && areOurs && first.size() == usualLabelSize && usualLabel(first.data()))
        return; // but for blanks
    read.event.labels = isOneForm ? first : read.labelsText;
}

std::int64_t Reader::frames(const TimeLabel& label, DM::FrameCodeModes fcm, std::string_view name)
{
    // Nearly all are counted here, without asking the library.
    const bool isUsual = fcm == _nonDropMode && label.hours < 24 && label.minutes < 60 && label.seconds < 60;
    if (isUsual && label.frames < _fps)
        return std::int64_t{((label.hours * 60 + label.minutes) * 60 + label.seconds)} * _fps + label.frames;
    const std::int64_t count = framesOf(label, fcm);
    if (!isInDay(label, fcm))
    {
        // The file beside it drops labels that are there.
        if (_certainty == Certainty::Beside && DM::FcmUtil::isDropFrame(_rate))
            _otherRate = _nonDropMode;
        std::string nearest;
        appendTimeLabel(nearest, count, fcm);
        mistake(std::string(name) + " is out of range at " + DM::FcmUtil::getFPSOrNDFString(fcm) +
                    (isUnsaid() ? ", and no frame rate was given" : ""),
                "taken as " + nearest);
    }
    return count;
}

bool Reader::order(EdlRange& range, DM::FrameCodeModes fcm)
{
    if (range.length() >= 0)
        return true;
    if (const std::int64_t day = framesOfDay(fcm); range.length() < -day / 2)
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

    const bool sourceOrdered = order(event.source, sourceMode);
    const bool recordOrdered = order(event.record, recordMode);
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
    return true;
}

void Reader::settleUnplayed()
{
    if (!_unplayed.empty() && last()->channels.isEmpty())
    {
        Where where = whereOf(_list, *last());
        where.fcm = mode(*_recordDrop);
        _report.at(where);
        _report.lose(noChannel, last()->line);
        _report.at({});
        _list.dropEvent();
        _marksBehind = 0;
        for (const std::string_view line : _unplayed)
            _list.addNote(NoteKind::Unplayed, line);
    }
    _unplayed.clear();
}

void Reader::finishEvents()
{
    const std::size_t usual = _list.usualNumberWidth();
    for (EdlEvent& event : _list.events)
        if (event.numberWidth == usual)
            event.numberWidth = 0;
    settleOrder(_list, _report);
    if (_missing.line != 0)
        _report.add(Report::Notice, _missing.line,
                    std::string("all labels exist at '") +
                        DM::FcmUtil::getFCMString(_recordDrop.value_or(false) ? DM::FcmUtil::toDrop(_missing.rate)
                                                                              : _missing.rate) +
                        "': --fcm names the mode");
    checkEvents(_list, _report);
}

} // namespace

std::optional<EdlList> readEdl(std::string bytes, DM::FrameCodeModes fcm, Report& report, DM::FrameCodeModes beside)
{
    if (fromUtf16(bytes))
        report.add(Report::Notice, 0, "the text is UTF-16: it goes out as UTF-8");
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
    const bool isBeside = !given && beside != DM::FCM_NOT_DEFINED;
    Certainty certainty = given ? Certainty::Given : isBeside ? Certainty::Beside : Certainty::Guessed;
    DM::FrameCodeModes rate = given ? fcm : isBeside ? beside : guesses.front();
    DM::FrameCodeModes stated = DM::FCM_NOT_DEFINED;
    for (;;)
    {
        Reader reader(list, text, rate, certainty, report);
        const bool isRead = reader.read();
        stated = reader.statedRate();
        if (isRead)
            break;
        // Again from the top: at the one that the list states, without dropping, or each time at a higher rate.
        if (stated != DM::FCM_NOT_DEFINED)
            certainty = Certainty::Stated;
        else if (!DM::FcmUtil::isDropFrame(rate) || reader.otherRate() != DM::FcmUtil::toNonDrop(rate))
            certainty = Certainty::Guessed;
        rate = reader.otherRate();
        report = before;
        list.clear();
    }
    const auto name = [](DM::FrameCodeModes mode) { return std::string(DM::FcmUtil::getFCMString(mode)); };
    if (certainty == Certainty::Beside || certainty == Certainty::Guessed)
        report.add("DM608", Report::Notice, 0,
                   "no frame rate was given: read as " + name(list.fcm) +
                       (certainty == Certainty::Beside ? ", at the rate of the file beside it; "
                                                       : ", the lowest rate that has all labels; ") +
                       "--fcm names another");
    else if (given && list.fcm != fcm)
        report.add(Report::Warning, 0, "the list counts in " + name(list.fcm) + ", not in " + name(fcm));
    if (given && stated != DM::FCM_NOT_DEFINED && stated != list.fcm)
        report.add(Report::Notice, 0, "the list says " + name(stated) + ": read as " + name(list.fcm));
    else if (certainty == Certainty::Stated && stated != list.fcm)
        report.add(Report::Warning, 0,
                   "the list says " + name(stated) + ", and counts in " + name(list.fcm) +
                       " by its FCM and its labels");
    if (report.hasErrors())
        return std::nullopt;
    return list;
}

} // namespace interchange
