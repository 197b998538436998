#include "icEdlList.h"

#include "icText.h"

#include <algorithm>
#include <tuple>

namespace interchange
{

void EdlList::clear()
{
    title = {};
    fcm = DM::FCM_NOT_DEFINED;
    events.clear();
    notes.clear();
    markers.clear();
    looks.clear();
    headNotes = {};
}

EdlEvent& EdlList::addEvent(const EdlEvent& event)
{
    EdlEvent& added = events.emplace_back(event);
    added.look = -1;
    added.notes = {static_cast<std::uint32_t>(notes.size()), 0};
    added.markers = {static_cast<std::uint32_t>(markers.size()), 0};
    return added;
}

void EdlList::addNote(NoteKind kind, std::string_view text)
{
    notes.push_back({kind, text});
    ++(events.empty() ? headNotes : events.back().notes).count;
}

void EdlList::addMarker(const EdlMarker& marker)
{
    markers.push_back(marker);
    ++events.back().markers.count;
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
                        event.transitionLength, event.source, event.record, event.speed);
    };
    const auto sameLook = [](const Look* x, const Look* y) { return x && y ? *x == *y : x == y; };
    return a.title == b.title && a.fcm == b.fcm && std::ranges::equal(a.notesOf(a.headNotes), b.notesOf(b.headNotes)) &&
           std::ranges::equal(a.events, b.events,
                              [&](const EdlEvent& x, const EdlEvent& y)
                              {
                                  return fields(x) == fields(y) && sameLook(a.lookOf(x), b.lookOf(y)) &&
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
