/// What changed, in words.
#include "dmChangesImp.h"

#include <algorithm>
#include <map>

using namespace dmCompare;

namespace
{

constexpr DmChangeKindName kinds[] = {
    {Kind::Added, "added", "added", "shot"},
    {Kind::Removed, "removed", "removed", "shot"},
    {Kind::Moved, "moved", "moved", "shot"},
    {Kind::Shifted, "shifted", "shifted", "shot"},
    {Kind::Head, "head", "head trimmed", "trim"},
    {Kind::Tail, "tail", "tail trimmed", "trim"},
    {Kind::Slipped, "slipped", "slipped", "trim"},
    {Kind::Speed, "speed", "speed changed", "speed"},
    {Kind::Replaced, "replaced", "replaced", "replaced"},
    {Kind::Renamed, "renamed", "renamed", "renamed"},
    {Kind::Muted, "muted", "muted or unmuted", "muted"},
    {Kind::TransitionAdded, "transition-added", "transition added", "transition"},
    {Kind::TransitionRemoved, "transition-removed", "transition removed", "transition"},
    {Kind::TransitionChanged, "transition-changed", "transition changed", "transition"},
    {Kind::EffectAdded, "effect-added", "effect added", "effect"},
    {Kind::EffectRemoved, "effect-removed", "effect removed", "effect"},
    {Kind::EffectChanged, "effect-changed", "effect changed", "effect"},
    {Kind::MarkAdded, "mark-added", "mark added", "mark"},
    {Kind::MarkRemoved, "mark-removed", "mark removed", "mark"},
    {Kind::MarkChanged, "mark-changed", "mark changed", "mark"},
    {Kind::TrackAdded, "track-added", "track added", "track"},
    {Kind::TrackRemoved, "track-removed", "track removed", "track"},
    {Kind::TrackMoved, "track-moved", "track reordered", "track"},
    {Kind::LayerAdded, "layer-added", "layer added", "track"},
    {Kind::LayerRemoved, "layer-removed", "layer removed", "track"},
    {Kind::LayerMoved, "layer-moved", "layer reordered", "track"},
    {Kind::CompositionAdded, "composition-added", "composition added", "composition"},
    {Kind::CompositionRemoved, "composition-removed", "composition removed", "composition"},
    {Kind::Rate, "rate", "rate changed", "rate"},
    {Kind::Property, "property", "property changed", "property"},
};

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

} // namespace

std::span<const DmChangeKindName> dmChangeKinds()
{
    return kinds;
}

int DmDiff::count(DmChangeKind kind) const
{
    int number = 0;
    for (const DmChange& change : _changes)
        number += change.kind == kind ? change.count : 0;
    return number;
}

std::string DmChange::text() const
{
    const auto fromTo = [this](const std::string& what)
    {
        if (was.empty() && became.empty())
            return what;
        if (was.empty())
            return what + ": " + quoted(became);
        return what + ": " + quoted(was) + (became.empty() ? " is gone" : " -> " + quoted(became));
    };
    const auto change = [this](const std::string& what) { return what + ": " + was + " -> " + became; };
    const auto longer = [](double by) { return framesText(by) + (by > 0.0 ? " longer" : " shorter"); };
    const auto later = [](double by) { return framesText(by) + (by > 0.0 ? " later" : " earlier"); };
    switch (kind)
    {
    case Kind::Added:
        return "added, " + framesText(frames);
    case Kind::Removed:
        return "removed, " + framesText(frames);
    case Kind::Moved:
    {
        std::string text = "moved";
        if (!oldTrack.empty())
            text += " from " + oldTrack;
        return frames == 0.0 ? text : text + (oldTrack.empty() ? " " : ", ") + later(frames);
    }
    case Kind::Shifted:
        return (count > 1 ? "and " + std::to_string(count - 1) + " more shifted " : "shifted ") + later(frames);
    case Kind::Head:
        return "head trimmed, " + longer(-frames);
    case Kind::Tail:
        return "tail trimmed, " + longer(frames);
    case Kind::Slipped:
        return "slipped, plays what is " + later(frames);
    case Kind::Speed:
        return change("speed");
    case Kind::Replaced:
        return fromTo("replaced");
    case Kind::Renamed:
        return fromTo("renamed");
    case Kind::Muted:
        return became == "muted" ? "muted" : "unmuted";
    case Kind::TransitionAdded:
        return property + " added, " + framesText(frames);
    case Kind::TransitionRemoved:
        return property + " removed, " + framesText(frames);
    case Kind::TransitionChanged:
        return was.empty() && became.empty() ? "transition " + later(frames) + " on the cut"
                                             : change("transition " + property);
    case Kind::EffectAdded:
    case Kind::MarkAdded:
        return (kind == Kind::EffectAdded ? "effect " + property : "mark " + quoted(property)) + " added";
    case Kind::EffectRemoved:
    case Kind::MarkRemoved:
        return (kind == Kind::EffectRemoved ? "effect " + property : "mark " + quoted(property)) + " removed";
    case Kind::EffectChanged:
        return fromTo("effect " + property);
    case Kind::MarkChanged:
        return fromTo("mark " + property);
    case Kind::TrackMoved:
        return "track reordered: " + was + " -> " + became;
    case Kind::LayerMoved:
        return "layer moved from " + oldTrack;
    case Kind::CompositionAdded:
    case Kind::CompositionRemoved:
        return kinds[std::size_t(kind)].text + (", " + framesText(frames));
    case Kind::Rate:
        return change("rate") + "; compared by the clock";
    case Kind::Property:
        return fromTo(property.empty() ? newPath : property);
    default:
        return kinds[std::size_t(kind)].text;
    }
}

std::string DmDiff::stat() const
{
    std::string text;
    for (const DmChangeKindName& kind : kinds)
        if (const int number = count(kind.kind); number != 0 && kind.kind != Kind::Shifted)
            text += (text.empty() ? "" : ", ") + std::to_string(number) + ' ' + kind.text;
    if (const int shifted = count(Kind::Shifted); shifted != 0)
        text += (text.empty() ? "" : "; ") + std::to_string(shifted) + " shifted";
    return text;
}

std::string DmDiff::text(bool each) const
{
    std::string text;
    const std::string* composition = nullptr;
    const std::string* track = nullptr;
    std::map<double, int> shifts;
    const bool several = std::ranges::any_of(_changes, [&](const DmChange& change)
                                             { return change.composition != _changes.front().composition; });
    for (const DmChange& change : _changes)
    {
        if (change.kind == Kind::Shifted)
            shifts[change.frames] += change.count;
        if (change.kind == Kind::Shifted && !each)
            continue;
        if (several && (!composition || *composition != change.composition))
        {
            text += change.composition.empty() ? "" : "== " + change.composition + '\n';
            track = nullptr;
        }
        composition = &change.composition;
        if (!track || *track != change.track)
            text += change.track.empty() ? "" : change.track + '\n';
        track = &change.track;
        std::string labels = change.oldLabel;
        if (!change.newLabel.empty() && change.newLabel != change.oldLabel)
            labels += (labels.empty() ? "" : " -> ") + change.newLabel;
        text += "  " + labels + (labels.empty() ? "" : "  ") + change.clip + (change.clip.empty() ? "" : ": ") +
                change.text() + '\n';
    }
    for (const auto& [frames, number] : shifts)
        text +=
            std::to_string(number) + " shifted " + framesText(frames) + (frames > 0.0 ? " later" : " earlier") + '\n';
    return text + (_changes.empty() ? "" : stat() + '\n');
}
