#include "icEdlList.h"

#include "icText.h"

#include <algorithm>
#include <tuple>

namespace interchange
{

std::string_view edlNotePrefix(EdlNoteKind kind)
{
    constexpr std::array<std::string_view, 9> prefixes{"",
                                                       "",
                                                       "FROM CLIP NAME: ",
                                                       "TO CLIP NAME: ",
                                                       "KEY CLIP NAME: ",
                                                       "SOURCE FILE: ",
                                                       "SOURCE PATH: ",
                                                       "EFFECTS NAME IS ",
                                                       "SPLIT:    "};
    return prefixes[static_cast<std::size_t>(kind)];
}

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

void EdlList::addNote(EdlNoteKind kind, std::string_view text)
{
    notes.push_back({kind, text});
    ++(events.empty() ? headNotes : events.back().notes).count;
}

void EdlList::addMarker(const EdlMarker& marker)
{
    markers.push_back(marker);
    ++events.back().markers.count;
}

EdlLook& EdlList::look()
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
    const auto sameLook = [](const EdlLook* x, const EdlLook* y) { return x && y ? *x == *y : x == y; };
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

std::span<const EdlColour> edlColours()
{
    static constexpr std::array<EdlColour, 16> colours{{{"RED", 255, 0, 0},
                                                        {"GREEN", 0, 255, 0},
                                                        {"BLUE", 0, 0, 255},
                                                        {"CYAN", 0, 255, 255},
                                                        {"MAGENTA", 255, 0, 255},
                                                        {"YELLOW", 255, 255, 0},
                                                        {"BLACK", 0, 0, 0},
                                                        {"WHITE", 255, 255, 255},
                                                        {"PINK", 255, 192, 203},
                                                        {"FOREST", 34, 139, 34},
                                                        {"DENIM", 21, 96, 189},
                                                        {"VIOLET", 238, 130, 238},
                                                        {"PURPLE", 128, 0, 128},
                                                        {"ORANGE", 255, 165, 0},
                                                        {"GREY", 128, 128, 128},
                                                        {"GOLD", 255, 215, 0}}};
    return colours;
}

} // namespace interchange
