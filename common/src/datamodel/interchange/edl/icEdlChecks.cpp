#include "icEdlChecks.h"

#include "icText.h"
#include "icTimeCode.h"

#include "tuTimeUnit.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace interchange
{

namespace
{

std::string framesText(std::int64_t frames)
{
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames");
}

void add(const EdlList& list, const EdlEvent& event, Report& report, std::string text)
{
    report.at(whereOf(list, event));
    report.add(Report::Warning, event.line, std::move(text));
    report.at({});
}

void mistake(const EdlList& list, const EdlEvent& event, Report& report, std::string what, std::string_view choice)
{
    report.at(whereOf(list, event));
    report.mistake(event.line, std::move(what), choice);
    report.at({});
}

/// Whether a list in which record times fall is one of another order, and not one with a mistake in it: it falls again
/// and again, or its numbers are those of the record order, or it is in an order that lists are made in: by reels, and
/// those by record or source times; by source times; each with transitions behind the cuts or among them.
bool hasOwnOrder(const EdlList& list, std::size_t falls)
{
    if (falls > 1)
        return true;
    std::vector<const EdlEvent*> units; // lines of one number as one
    for (const EdlEvent& event : list.events)
        if (units.empty() || !units.back()->hasNumberOf(event) || event.isKey())
            units.push_back(&event);
        else
            units.back() = &event;
    constexpr std::size_t fewest = 3;
    if (units.size() < fewest)
        return false;
    using Units = std::span<const EdlEvent* const>;
    const auto rises = [](Units part, auto value)
    { return std::ranges::adjacent_find(part, std::ranges::greater_equal(), value) == part.end(); };
    const auto recordIn = [](const EdlEvent* event) { return event->record.in; };
    const auto sourceIn = [](const EdlEvent* event) { return event->source.in; };
    const auto isByReels = [&](Units part, auto value)
    {
        std::vector<std::string_view> reels;
        while (!part.empty())
        {
            const std::string_view reel = part.front()->reel;
            const auto end = std::ranges::find_if(part, [reel](const EdlEvent* each) { return each->reel != reel; });
            const auto count = static_cast<std::size_t>(end - part.begin());
            if (std::ranges::find(reels, reel) != reels.end() || !rises(part.first(count), value))
                return false;
            reels.push_back(reel);
            part = part.subspan(count);
        }
        return true;
    };
    const auto isOrdered = [&](Units part) {
        return rises(part, recordIn) || rises(part, sourceIn) || isByReels(part, recordIn) || isByReels(part, sourceIn);
    };
    auto played = units;
    std::ranges::sort(played, {}, [](const EdlEvent* event) { return std::pair(event->record.in, event); });
    if (rises(played, [](const EdlEvent* event) { return event->number; }) || isOrdered(units))
        return true;
    const auto cuts = std::ranges::find_if(units, [](const EdlEvent* event) { return event->isTransition(); });
    const auto count = static_cast<std::size_t>(cuts - units.begin());
    return std::all_of(cuts, units.end(), [](const EdlEvent* event) { return event->isTransition(); }) &&
           isOrdered(Units(units).first(count)) && isOrdered(Units(units).subspan(count));
}

void checkNumbers(const EdlList& list, Report& report)
{
    constexpr std::uint32_t largestOfThreeDigits = 999;
    for (std::size_t i = 1; i < list.events.size(); ++i)
    {
        const std::uint32_t before = list.events[i - 1].number;
        const std::uint32_t number = list.events[i].number;
        if (number < before && number > 1 && before != largestOfThreeDigits)
            mistake(list, list.events[i], report,
                    "event " + std::to_string(number) + " comes after event " + std::to_string(before),
                    "it stays where its record time is");
    }
}

/// Says in which mode the lengths of a list agree, where many differ by a frame or two.
void suggestRate(const EdlList& list, Report& report)
{
    constexpr std::int64_t little = 2;
    constexpr std::size_t many = 3;
    const auto difference = [](const EdlEvent& event)
    {
        const bool counts = !event.speed && edlReelKind(event.reel) == EdlReelKind::Tape;
        return counts ? std::abs(event.source.length() - event.record.length()) : 0;
    };
    const auto differs = [&](const EdlEvent& event) { return difference(event) != 0 && difference(event) <= little; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(list.events, differs));
    if (count < many)
        return;
    const auto inMode = [](std::int64_t frames, DM::FrameCodeModes from, DM::FrameCodeModes to)
    {
        TimeLabel label;
        DM::TimeUnit(static_cast<double>(frames))
            .toTimeCode(label.hours, label.minutes, label.seconds, label.frames, from);
        return isInDay(label, to) ? std::optional(framesOf(label, to)) : std::nullopt;
    };
    const auto misfits = [&](DM::FrameCodeModes fcm)
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(list.events,
                                  [&](EdlEvent event)
                                  {
                                      const DM::FrameCodeModes source = list.sourceFcm(event);
                                      const auto in = inMode(event.source.in, source, fcm);
                                      const auto out = inMode(event.source.out, source, fcm);
                                      const auto recordIn = inMode(event.record.in, list.fcm, fcm);
                                      const auto recordOut = inMode(event.record.out, list.fcm, fcm);
                                      if (!in || !out || !recordIn || !recordOut)
                                          return true;
                                      event.source = {*in, *out};
                                      event.record = {*recordIn, *recordOut};
                                      return difference(event) != 0;
                                  }));
    };
    DM::FrameCodeModes best = list.fcm;
    std::size_t fewest = count / 4 + 1;
    for (const DM::FrameCodeModes fcm :
         {DM::FCM_24, DM::FCM_25, DM::FCM_29_97_NDF, DM::FCM_29_97_DF, DM::FCM_50, DM::FCM_59_94_NDF, DM::FCM_59_94_DF})
        if (const std::size_t others = misfits(fcm); others < fewest)
        {
            best = fcm;
            fewest = others;
        }
    if (best != list.fcm)
        report.add(Report::Warning, 0,
                   std::to_string(count) + " events have lengths that differ by a frame or two; in '" +
                       DM::FcmUtil::getFCMString(best) + "' " +
                       (fewest == 0 ? std::string("none has") : std::to_string(fewest) + " have") +
                       ": --fcm names the mode");
}

void checkLengths(const EdlList& list, EdlEvent& event, Report& report)
{
    const std::int64_t source = event.source.length();
    const std::int64_t record = event.record.length();
    if (event.transitionLength > record)
    {
        mistake(list, event, report,
                "the transition has " + framesText(event.transitionLength) + ", its event " + framesText(record),
                "it takes the whole event");
        event.transitionLength = static_cast<std::uint32_t>(record);
    }
    if (source == record || edlReelKind(event.reel) != EdlReelKind::Tape)
        return;
    const std::string lengths = "the source has " + framesText(source) + ", the record side " + framesText(record);
    if (!event.speed)
    {
        mistake(list, event, report, lengths, "the record side holds");
        event.source.out = event.source.in + record;
        return;
    }
    // Speeds are rounded to a tenth of a frame, and products differ in which end of the range takes the rest.
    const double rate = DM::FcmUtil::getDoubleFPS(list.sourceFcm(event));
    const double length = static_cast<double>(record);
    const double tolerance = 2 + length * (0.05 / rate + 0.001);
    const double expected = length * std::abs(list.speedOf(event));
    if (event.speed->fps != 0 && std::fabs(static_cast<double>(source) - expected) > tolerance)
        add(list, event, report, lengths + ", and its speed does not account for it");
}

/// What plays last on a channel.
struct Place
{
    std::int64_t in = 0;
    std::int64_t out = 0;
};
using Places = std::array<Place, EdlChannels::limit>;

void checkPlaces(const EdlList& list, Report& report)
{
    std::vector<const EdlEvent*> events;
    for (const EdlEvent& event : list.events)
        if (!event.isKey()) // a key lies over its background
            events.push_back(&event);
    if (list.hasOwnOrder)
        std::ranges::stable_sort(events, {}, [](const EdlEvent* event) { return event->record.in; });
    Places video{};
    Places audio{};
    for (const EdlEvent* const event : events)
    {
        bool falls = false;
        bool overlaps = false;
        const auto place = [&](std::uint64_t channels, Places& places)
        {
            for (; channels != 0; channels &= channels - 1)
            {
                Place& before = places[static_cast<std::size_t>(std::countr_zero(channels))];
                falls |= event->record.in < before.in;
                overlaps |= event->record.in >= before.in && event->record.in < before.out;
                before = {event->record.in, event->record.out};
            }
        };
        place(event->channels.video, video);
        place(event->channels.audio, audio);
        if (falls)
            mistake(list, *event, report, "the event begins before the one before it on its channel",
                    "it stays where its record time is");
        else if (overlaps)
            mistake(list, *event, report, "the event begins before the one before it on its channel has ended",
                    "it covers that one");
    }
}

} // namespace

Where whereOf(const EdlList& list, const EdlEvent& event)
{
    const bool isVideo = event.channels.video != 0;
    const std::uint64_t channels = isVideo ? event.channels.video : event.channels.audio;
    std::string_view clip = equalsNoCase(event.reel, "AX") ? std::string_view() : event.reel;
    bool isNamed = false;
    for (const EdlNote& note : list.notesOf(event))
    {
        const bool isTo = event.isTransition() && note.kind == NoteKind::ToClipName;
        if (isTo || (note.kind == NoteKind::FromClipName && !isNamed))
            clip = note.text;
        isNamed = isNamed || isTo || note.kind == NoteKind::FromClipName;
    }
    return {nullptr,
            isVideo ? DM_MEDIA_VIDEO : DM_MEDIA_AUDIO,
            channels == 0 ? 0 : std::countr_zero(channels) + 1,
            static_cast<double>(event.record.in),
            list.fcm,
            clip};
}

void settleOrder(EdlList& list, Report& report)
{
    const std::int64_t day = framesOfDay(list.fcm);
    std::vector<std::int64_t> days(list.events.size());
    std::array<std::int64_t, EdlChannels::limit> video{};
    std::array<std::int64_t, EdlChannels::limit> audio{};
    std::size_t falls = 0;
    std::int64_t before = 0;
    for (std::size_t i = 0; i < list.events.size(); ++i)
    {
        const EdlEvent& event = list.events[i];
        days[i] = std::max<std::int64_t>(0, (before - event.record.in + day / 2 - 1) / day) * day;
        before = event.record.in + days[i];
        if (event.isKey())
            continue;
        bool fell = false;
        const auto place = [&](std::uint64_t channels, auto& times)
        {
            for (; channels != 0; channels &= channels - 1)
            {
                std::int64_t& time = times[static_cast<std::size_t>(std::countr_zero(channels))];
                fell |= before < time;
                time = before;
            }
        };
        place(event.channels.video, video);
        place(event.channels.audio, audio);
        falls += fell ? 1 : 0;
    }
    list.hasOwnOrder = falls != 0 && hasOwnOrder(list, falls);
    if (list.hasOwnOrder)
        return;
    before = 0;
    for (std::size_t i = 0; i < list.events.size(); ++i)
    {
        EdlEvent& event = list.events[i];
        event.record.in += days[i];
        event.record.out += days[i];
        if (days[i] > before / day * day)
            add(list, event, report, "the record time passes midnight");
        for (std::uint32_t mark = 0; mark < event.markers.count; ++mark)
            list.markers[event.markers.first + mark].at += days[i];
        before = event.record.in;
    }
    checkNumbers(list, report);
}

void checkEvents(EdlList& list, Report& report)
{
    suggestRate(list, report);
    for (EdlEvent& event : list.events)
        checkLengths(list, event, report);
    checkPlaces(list, report);
}

} // namespace interchange
