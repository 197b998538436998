#include "icEdlList.h"

#include "icEdlGrammar.h"
#include "icText.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace interchange
{

void EdlList::clear()
{
    title = {};
    isUntitled = hasNoFcm = hasOwnOrder = false;
    fcm = DM::FCM_NOT_DEFINED;
    events.clear();
    notes.clear();
    markers.clear();
    looks.clear();
    headNotes = {};
}

double edlSpeedOf(const EdlEvent& event, DM::FrameCodeModes sourceFcm)
{
    if (!event.speed)
        return 1.0;
    const double fps = event.speed->fps;
    const double exact = DM::FcmUtil::getDoubleFPS(sourceFcm);
    const double nominal = DM::FcmUtil::getIntFPS(sourceFcm);
    const double cut = std::floor(exact * 10) / 10;
    const auto source = static_cast<double>(event.source.length());
    const auto record = static_cast<double>(event.record.length());
    if (exact == nominal)
        return fps / exact;
    // Systems write three places at most; a figure of more is ours, and says the speed itself.
    constexpr double ours = 5e-4;
    const bool isOurs = std::abs(fps * 1000 - std::round(fps * 1000)) > ours;
    if (!isOurs && source == record && std::abs(fps) >= cut && std::abs(fps) <= nominal)
        return std::copysign(1.0, fps);
    const auto deviation = [=](double speed) { return std::abs(source - record * std::abs(speed)); };
    constexpr double places = 1e7;
    const double difference = deviation(fps / exact) - deviation(fps / nominal);
    if (isOurs && difference < 1.0)
        return std::round(fps / exact * places) / places;
    if (std::abs(difference) >= 1.0)
        return difference < 0 ? fps / exact : fps / nominal;
    // Of a short event both do: people set whole percents, and a figure that is not cut says them, or counts true
    // frames.
    const auto unevenness = [](double speed) { return std::abs(speed * 100 - std::round(speed * 100)); };
    constexpr double whole = 0.01;
    const bool isCut = std::abs(fps * 100 - std::round(fps * 100)) < whole;
    const bool isExact = isCut ? unevenness(fps / exact) < unevenness(fps / nominal)
                               : unevenness(fps / exact) < whole || unevenness(fps / nominal) >= whole;
    return fps / (isExact ? exact : nominal);
}

std::size_t EdlList::usualNumberWidth() const
{
    constexpr std::size_t narrowest = 3;
    std::uint32_t largest = 0;
    for (const EdlEvent& event : events)
        largest = std::max(largest, event.number);
    return std::max(narrowest, std::to_string(largest).size());
}

EdlEvent& EdlList::addEvent(const EdlEvent& event)
{
    EdlEvent& added = events.emplace_back(event);
    added.look = -1;
    added.notes = {static_cast<std::uint32_t>(notes.size()), 0};
    added.markers = {static_cast<std::uint32_t>(markers.size()), 0};
    return added;
}

void EdlList::addNote(NoteKind kind, std::string_view text, std::string_view written)
{
    notes.push_back({kind, text, written});
    ++(events.empty() ? headNotes : events.back().notes).count;
}

void EdlList::insertNote(std::size_t index, NoteKind kind, std::string_view text)
{
    notes.insert(notes.begin() + static_cast<std::ptrdiff_t>(std::min(index, notes.size())), {kind, text, {}});
    ++(events.empty() ? headNotes : events.back().notes).count;
}

void EdlList::addMarker(const EdlMarker& marker)
{
    markers.push_back(marker);
    ++events.back().markers.count;
}

void EdlList::dropEvent()
{
    notes.resize(events.back().notes.first);
    markers.resize(events.back().markers.first);
    if (events.back().look >= 0)
        looks.pop_back();
    events.pop_back();
}

Look& EdlList::look()
{
    EdlEvent& event = events.back();
    if (event.look < 0)
    {
        event.look = static_cast<std::int32_t>(looks.size());
        looks.emplace_back();
    }
    return looks[event.look];
}

bool operator==(const EdlList& a, const EdlList& b)
{
    const auto fields = [](const EdlEvent& event)
    {
        return std::tie(event.number, event.reel, event.channels, event.transition, event.sourceDrop, event.wipePattern,
                        event.keyFades, event.fcmLine, event.numberWidth, event.numberTail, event.transitionLength,
                        event.source, event.record, event.speed, event.speedHasNoTime, event.speedHasNoReel,
                        event.speedReel, event.speedSpelling);
    };
    const auto sameSpelling = [](const EdlEvent& x, const EdlEvent& y)
    {
        if (x.spelling == y.spelling)
            return true;
        const EdlSpelling one = spellingOf(x);
        const EdlSpelling other = spellingOf(y);
        return one.channels == other.channels && one.routed == other.routed &&
               haveSameWords(one.transition, other.transition);
    };
    const auto sameLook = [](const Look* x, const Look* y) { return x && y ? *x == *y : x == y; };
    return a.title == b.title && a.isUntitled == b.isUntitled && a.hasNoFcm == b.hasNoFcm &&
           a.hasOwnOrder == b.hasOwnOrder && a.fcm == b.fcm &&
           std::ranges::equal(a.notesOf(a.headNotes), b.notesOf(b.headNotes)) &&
           std::ranges::equal(a.events, b.events,
                              [&](const EdlEvent& x, const EdlEvent& y)
                              {
                                  return fields(x) == fields(y) && sameSpelling(x, y) &&
                                         sameLook(a.lookOf(x), b.lookOf(y)) &&
                                         std::ranges::equal(a.notesOf(x), b.notesOf(y)) &&
                                         std::ranges::equal(a.markersOf(x), b.markersOf(y));
                              });
}

EdlReelKind edlReelKind(std::string_view reel)
{
    if (equalsNoCase(reel, "BL") || equalsNoCase(reel, "BLACK"))
        return EdlReelKind::Black;
    return equalsNoCase(reel, "BARS") ? EdlReelKind::Bars : EdlReelKind::Tape;
}

} // namespace interchange
