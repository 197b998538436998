/// A random cut, random operations on it, and what must hold after each, told by the naive model: for the tests, from a
/// seed, and for the fuzz target, from its input.
#pragma once

#include "zrDrawing.h"
#include "zrNaive.h"
#include "zrOperations.h"

#include <ZRdmtree.h>

#include <random>
#include <sstream>

namespace zrRandomEdits
{

/// Choices, from a seed or from bytes; 0 when these have run out.
class Source
{
public:
    explicit Source(unsigned seed)
        : _random(seed)
    {
    }
    Source(const unsigned char* data, std::size_t size)
        : _data(data)
        , _size(size)
    {
    }

    unsigned below(unsigned bound)
    {
        if (!_data)
            return static_cast<unsigned>(_random() % bound);
        return _at < _size ? _data[_at++] % bound : 0;
    }
    bool isOver() const { return _data && _at >= _size; }

private:
    std::mt19937 _random;
    const unsigned char* _data = nullptr;
    std::size_t _size = 0;
    std::size_t _at = 0;
};

/// Shots, gaps, containers, and shots that two transitions cover.
inline std::string randomDrawing(Source& source)
{
    std::string drawing;
    const unsigned shots = 2 + source.below(6);
    for (unsigned i = 0; i < shots; ++i)
    {
        const auto transition = [&] { return std::string(1 + source.below(3), '/'); };
        if (i > 0 && source.below(3) == 0)
        {
            drawing += transition();
            if (source.below(6) == 0)
                drawing += '(' + std::string(1, static_cast<char>('P' + i)) + ')' + transition();
        }
        else if (i > 0)
            drawing += '|';
        const unsigned kind = source.below(10);
        const char name = static_cast<char>(kind < 2 ? '-' : kind == 2 ? '1' + i : 'A' + i);
        drawing += std::string(1 + source.below(7), name);
    }
    return drawing;
}

/// What an operation must have done; empty when it did.
class Law
{
public:
    Law(const zrOperations::Operation& operation, const zrOperations::Arguments& with, const DmTimeline& before)
        : _operation(operation)
        , _with(with)
        , _before(before)
    {
    }

    /// `areLinked`: the operation may have been done to others as well, of which only that they are whole is said.
    std::string broken(const DmEdit& edit, bool areLinked) const
    {
        const DmTimeline after = edit.timeline();
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(after.composition(), DM_VALIDATE_ALL))
            return violation.path + ": " + dmUtf8(violation.message);
        if (const std::string drawing = zrDrawing::draw(after); drawing.find('?') != std::string::npos)
            return std::string(_operation.name) + " makes a hole or an overlap of\n" + zrDrawing::draw(_before) + "\n" +
                   drawing;
        const zrOperations::Before before{_before, _with};
        if (_operation.plays)
            return whole(_operation.plays(before), after);
        if (!_operation.reach || (areLinked && areLinkedOnOwnTrack()))
            return {};
        zrOperations::Reach reach = _operation.reach(before);
        if (edit.options().clamp) // by as much as there was
            reach.shift = endOf(after) - before.end();
        for (int track = 0; track < _before.trackCount(); ++track)
        {
            const bool isOwn = track == _with.element.track;
            if (!isOwn && areLinked)
                continue;
            const zrNaive::Frames was = zrNaive::framesOf(_before, track);
            zrNaive::Frames expected = isOwn ? zrNaive::edited(was, reach.from, reach.to, reach.shift) : was;
            if (!isOwn && _operation.ripplesAt && moves(edit.options(), track))
                if (const std::string why =
                        ripple(expected, _operation.ripplesAt(before, reach.shift),
                               reach.shift > 0.0 && _operation.isLength ? _with.amount : reach.shift);
                    !why.empty())
                    return why;
            if (const std::string why = zrNaive::difference(expected, zrNaive::framesOf(after, track)); !why.empty())
                return otherwise(track, why, after);
        }
        return {};
    }

private:
    /// Splits and copies link shots of one layer: an edit of one reaches the other.
    bool areLinkedOnOwnTrack() const
    {
        for (int i = 0; i < _before.elementCount(_with.layer()); ++i)
            if (const DmTreeNode* const node = _before.storedElement({_with.element.track, _with.element.layer, i});
                node && node->asSegment())
                for (const DmElementPlace& other : _before.linkedWith(node->asSegment()->getSegmentId()))
                    if (other.inLayer() == _with.layer() && other.index != i)
                        return true;
        return false;
    }
    std::string otherwise(int track, const std::string& why, const DmTimeline& after) const
    {
        return std::string(_operation.name) + ": on track " + std::to_string(track) + " " + why + "\n" +
               zrDrawing::draw(_before) + "\n" + zrDrawing::draw(after);
    }
    std::string whole(const std::vector<zrNaive::Frames>& expected, const DmTimeline& after) const
    {
        if (int(expected.size()) != after.trackCount())
            return std::string(_operation.name) + " leaves " + std::to_string(after.trackCount()) + " tracks of\n" +
                   zrDrawing::draw(_before);
        for (int track = 0; track < after.trackCount(); ++track)
        {
            if (const std::string why =
                    zrNaive::difference(expected[std::size_t(track)], zrNaive::framesOf(after, track), true);
                !why.empty())
                return otherwise(track, why, after);
        }
        return {};
    }
    static bool moves(const DmEditOptions& options, int track)
    {
        return options.syncLock && std::ranges::find(options.unlockedTracks, track) == options.unlockedTracks.end();
    }
    double endOf(const DmTimeline& timeline) const
    {
        const int count = timeline.elementCount(_with.layer());
        return count > 0 ? timeline.recOut({_with.element.track, _with.element.layer, count - 1}) : 0.0;
    }
    /// Of another track: time opens, which plays nothing, or closes, which nothing may have played in.
    static std::string ripple(zrNaive::Frames& frames, double at, double by)
    {
        const auto size = static_cast<double>(frames.size());
        if (at >= size || by == 0.0)
            return {};
        const auto from = frames.begin() + static_cast<std::ptrdiff_t>(at);
        if (by > 0.0)
        {
            frames.insert(from, static_cast<std::size_t>(by), "-");
            return {};
        }
        const auto to = frames.begin() + static_cast<std::ptrdiff_t>(std::min(size, at - by));
        if (std::any_of(from, to, [](const std::string& frame) { return frame != "-"; }))
            return "material of another track was taken out";
        frames.erase(from, to);
        return {};
    }

    const zrOperations::Operation& _operation;
    const zrOperations::Arguments& _with;
    const DmTimeline& _before;
};

inline zrOperations::Arguments argumentsFor(const zrOperations::Operation& operation, const DmTimeline& timeline,
                                            Source& source)
{
    zrOperations::Arguments with;
    with.element.track = static_cast<int>(source.below(static_cast<unsigned>(timeline.trackCount())));
    const auto count = static_cast<unsigned>(timeline.elementCount(with.layer()));
    const double end = count > 0 ? timeline.recOut({with.element.track, 0, int(count) - 1}) : 0.0;
    with.element.index = static_cast<int>(source.below(count + 1));
    with.other = {with.element.track, 0, static_cast<int>(source.below(count + 1))};
    if (source.below(8) != 0) // mostly what it takes: every second element is a seam
        for (DmElementPlace* const place : {&with.element, &with.other})
            place->index = operation.arguments[0] == 's' ? (place->index - 1) | 1 : place->index & ~1;
    with.time = source.below(static_cast<unsigned>(std::clamp(end, 0.0, 1e6)) + 2);
    with.amount = operation.isLength ? 1 + source.below(5) : static_cast<double>(source.below(9)) - 4.0;
    return with;
}

/// What an edit says that it changed: "0.0@2 1->3 +4": of layer 0.0, element 2 became three, and what follows is 4
/// later.
inline std::string changesOf(const DmEdit& edit)
{
    std::ostringstream text;
    for (const DmEdit::Change& each : edit.changes())
        text << " ; " << each.layer.track << '.' << each.layer.layer << '@' << each.first << ' ' << each.removed << "->"
             << each.added << (each.shift > 0.0 ? " +" : " ") << each.shift;
    return text.str();
}

/// The drawing of a timeline with its tracks in one line, and what it plays.
inline std::string inOneLine(const DmTimeline& timeline)
{
    std::string drawing = zrDrawing::draw(timeline);
    std::ranges::replace(drawing, '\n', ',');
    return drawing + " ; " + zrDrawing::positions(timeline);
}

inline std::string indented(const std::string& text)
{
    std::string lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines += "    " + line + "\n";
    return lines;
}

inline constexpr std::pair<const char*, bool DmEditOptions::*> flags[] = {{"clamp", &DmEditOptions::clamp},
                                                                          {"unlinked", &DmEditOptions::linked},
                                                                          {"no-sync", &DmEditOptions::syncLock},
                                                                          {"by-medium", &DmEditOptions::linkByMedium},
                                                                          {"cut-synced", &DmEditOptions::cutSynced},
                                                                          {"insert", &DmEditOptions::insert},
                                                                          {"keys-follow", &DmEditOptions::keysFollow},
                                                                          {"keep-frames", &DmEditOptions::keepFrames},
                                                                          {"ripple", &DmEditOptions::ripple},
                                                                          {"fit", &DmEditOptions::fit}};

/// An operation as a line says it.
inline std::string wordsOf(const zrOperations::Operation& operation, const zrOperations::Arguments& with,
                           const DmEditOptions& options)
{
    std::ostringstream words;
    words << operation.name << " on " << with.element.track;
    for (const char* kind = operation.arguments; *kind; ++kind)
        words << ' ' << *kind
              << (*kind == 't'   ? with.time
                  : *kind == 'n' ? with.amount
                                 : double((kind != operation.arguments ? with.other : with.element).index));
    for (const auto& [name, flag] : flags)
        words << (options.*flag != DmEditOptions().*flag ? std::string(" [") + name + "]" : "");
    words << (options.atTransition == DmAtTransition::Cut ? "" : " [shortened]")
          << (options.unlockedTracks.empty() ? "" : " [unlocked " + std::to_string(options.unlockedTracks[0]) + "]");
    return words.str();
}

/// Empty when all is well. What each step did is told, too.
inline std::string run(Source& source, int steps, std::string* told = nullptr)
{
    // Up to two tracks of picture and one of sound; what is linked is so by the letter.
    std::string drawing = randomDrawing(source);
    if (source.below(3) == 0)
        drawing += "\n" + randomDrawing(source);
    if (source.below(2) == 0)
    {
        std::string sound = randomDrawing(source);
        std::ranges::transform(sound, sound.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        drawing += "\n" + sound;
    }
    if (source.below(4) == 0) // a layer that begins later than others
    {
        const std::size_t at = source.below(2) == 0 ? 0 : drawing.rfind('\n') + 1;
        drawing.insert(at, 1 + source.below(4), '~');
    }
    const bool areLinked = source.below(4) == 0;
    std::string materials;
    for (char name = 'A'; name < 'H'; ++name)
    {
        std::string material = std::to_string(3 + source.below(4));
        if (source.below(2) == 0)
            material += '/' + std::to_string(14 + source.below(12));
        material += ' ';
        materials += std::string(1, name) + material + std::string(1, char(std::tolower(name))) + material;
    }
    const DmTimeline start = zrDrawing::timeline(drawing, materials, areLinked);
    DmHistory history(start);
    const CoSharedPtr<DmTreeNode> expected = DmTreeTool::deepClone(start.tree());
    if (told)
        *told += inOneLine(start) + (areLinked ? " ; linked\n" : "\n");
    for (int step = 0; step < steps && !source.isOver(); ++step)
    {
        const DmTimeline before = history.current();
        constexpr std::size_t common = std::size(zrOperations::all);
        const unsigned choice = source.below(static_cast<unsigned>(common + std::size(zrOperations::whole)));
        const zrOperations::Operation& operation =
            choice < common ? zrOperations::all[choice] : zrOperations::whole[choice - common];
        const zrOperations::Arguments with = argumentsFor(operation, before, source);
        DmEditOptions options;
        options.clamp = source.below(4) == 0;
        options.syncLock = source.below(4) != 0;
        if (source.below(3) == 0)
            options.unlockedTracks = {static_cast<int>(source.below(3))};
        DmEdit edit(before, options);
        edit.seedIds(static_cast<std::uint64_t>(step));
        const DmStatus status = operation.run(edit, with);
        if (told)
            *told += "  " + wordsOf(operation, with, options) + ": " +
                     (status.ok() ? inOneLine(edit.timeline()) + changesOf(edit) + "\n" +
                                        indented(DmDiff::between(before, edit.timeline()).text())
                                  : "! " + dmUtf8(status.info()) + "\n");
        if (!status.ok())
        {
            if (!(edit.timeline() == before))
                return "a refused operation changed something";
            continue;
        }
        if (const std::string why = Law(operation, with, before).broken(edit, areLinked); !why.empty())
            return why;
        history.add(L"step", edit);
    }
    while (history.undo())
    {
    }
    std::string difference;
    if (!DmTreeTool::areEqual(history.current().tree().get(), expected.get(), &difference))
        return "undoing all did not lead back: " + difference;
    return {};
}

} // namespace zrRandomEdits
