/// Operations as tests name them: how one is done, and what it may change at most.
#pragma once

#include "zrDrawing.h"
#include "zrNaive.h"

#include <ZRdmtree.h>

#include <algorithm>

namespace zrOperations
{

struct Arguments
{
    DmElementPlace element, other;
    double time = 0.0;
    double amount = 0.0;

    DmLayerPlace layer() const { return element.inLayer(); }
};

/// What plays in front of `from`, and from `to` on, plays as it did, the latter `shift` later.
struct Reach
{
    double from, to, shift;
};

/// A layer before the operation, with what an element and its neighbours take of it.
struct Before
{
    const DmTimeline& timeline;
    const Arguments& with;

    int count() const { return timeline.elementCount(with.layer()); }
    double in(int index) const
    {
        return timeline.recIn({with.element.track, with.element.layer, std::clamp(index, 0, std::max(0, count() - 1))});
    }
    double out(int index) const
    {
        return count() == 0
                   ? 0.0
                   : timeline.recOut({with.element.track, with.element.layer, std::clamp(index, 0, count() - 1)});
    }
    double end() const { return out(count() - 1); }
    int index() const { return with.element.index; }
    /// Elements around this one, which may change.
    Reach around(int from, int to, double shift = 0.0) const { return {in(index() - from), out(index() + to), shift}; }
    Reach range(double shift) const { return {with.time, with.time + with.amount, shift}; }
};

struct Operation
{
    const char* name;
    const char* arguments; ///< e: an element, s: a seam, t: a time, n: an amount
    DmStatus (*run)(DmEdit& edit, const Arguments& with);
    Reach (*reach)(const Before& before); ///< null: the whole layer
    /// Of those that ripple: where the time that others open or close begins; else dmNoTime.
    double (*ripplesAt)(const Before& before, double shift) = nullptr;
    bool isLength = false; ///< the amount is a length: 1 or more
    /// Of those on whole timelines: what each track plays then. Null for others.
    std::vector<zrNaive::Frames> (*plays)(const Before& before) = nullptr;
};

// What whole timelines play, told from what they played.

inline std::vector<zrNaive::Frames> playing(const DmTimeline& timeline)
{
    std::vector<zrNaive::Frames> tracks;
    for (int track = 0; track < timeline.trackCount(); ++track)
        tracks.push_back(zrNaive::framesOf(timeline, track));
    return tracks;
}

inline bool isPicture(const DmTimeline& timeline, int track)
{
    return timeline.layer({track, 0})->getMediaType() == DM_MEDIA_VIDEO;
}

/// Where a timeline's first layer begins, and where its last one ends; of layers that hold nothing, the first begin.
inline std::pair<std::size_t, std::size_t> extentOf(const DmTimeline& timeline)
{
    std::size_t begin = std::string::npos;
    std::size_t emptyBegin = std::string::npos;
    std::size_t end = 0;
    for (int track = 0; track < timeline.trackCount(); ++track)
    {
        const auto start = std::size_t(timeline.layer({track, 0})->getLayerStartTC());
        std::size_t& first = timeline.elementCount({track, 0}) > 0 ? begin : emptyBegin;
        first = std::min(first, start);
        end = std::max(end, zrNaive::framesOf(timeline, track).size());
    }
    return begin < end ? std::pair(begin, end) : std::pair(emptyBegin, emptyBegin);
}

inline std::vector<zrNaive::Frames> playingInRange(const Before& before)
{
    std::vector<zrNaive::Frames> tracks = playing(before.timeline);
    const std::size_t begin = extentOf(before.timeline).first;
    for (zrNaive::Frames& frames : tracks)
    {
        const auto at = [&frames](double time)
        { return frames.begin() + std::ptrdiff_t(std::min(frames.size(), std::size_t(time))); };
        frames.erase(at(before.with.time + before.with.amount), frames.end());
        frames.erase(at(double(begin)), at(std::max(double(begin), before.with.time)));
    }
    return tracks;
}

/// What is put behind or on top: of the amount's turn, in the timeline's mode.
inline DmTimeline another(const Before& before)
{
    static constexpr const char* drawings[] = {"XX//YY", "XX|--|YY\nxx//yy", "~~XX|Z\nYYYY\n~zz", "--|XX\nzzz"};
    const auto turn = std::size_t(before.with.amount + 4) % std::size(drawings);
    return zrDrawing::timeline(drawings[turn], "X3/40 Y7 x3/40 y7", false,
                               before.timeline.composition()->getFCM().c_str());
}

/// A timeline's frames as those of another that begins at another frame.
inline std::vector<zrNaive::Frames> playingFrom(const DmTimeline& timeline, std::size_t begin)
{
    std::vector<zrNaive::Frames> tracks = playing(timeline);
    const std::size_t from = extentOf(timeline).first;
    for (zrNaive::Frames& frames : tracks)
        if (!frames.empty())
        {
            frames.erase(frames.begin(), frames.begin() + std::ptrdiff_t(from));
            frames.insert(frames.begin(), begin, "-");
        }
    return tracks;
}

inline std::vector<zrNaive::Frames> playingBehind(const Before& before)
{
    std::vector<zrNaive::Frames> tracks = playing(before.timeline);
    const auto [begin, end] = extentOf(before.timeline);
    const DmTimeline other = another(before);
    const std::vector<zrNaive::Frames> theirs = playingFrom(other, end);
    std::vector<bool> taken(tracks.size(), false);
    for (std::size_t t = 0; t < theirs.size(); ++t)
    {
        std::size_t ours = 0;
        while (ours < taken.size() &&
               (taken[ours] || isPicture(before.timeline, int(ours)) != isPicture(other, int(t))))
            ++ours;
        if (ours == taken.size())
        {
            tracks.emplace_back();
            taken.push_back(true);
        }
        taken[ours] = true;
        tracks[ours].resize(end, "-");
        tracks[ours].insert(tracks[ours].end(), theirs[t].begin() + std::ptrdiff_t(end), theirs[t].end());
    }
    return tracks;
}

inline std::vector<zrNaive::Frames> playingStacked(const Before& before)
{
    std::vector<zrNaive::Frames> tracks = playing(before.timeline);
    const std::vector<zrNaive::Frames> theirs = playingFrom(another(before), extentOf(before.timeline).first);
    tracks.insert(tracks.end(), theirs.begin(), theirs.end());
    return tracks;
}

/// A track's frames with those of a higher one over them.
inline void cover(zrNaive::Frames& below, const zrNaive::Frames& above)
{
    for (std::size_t i = 0; i < above.size(); ++i)
    {
        std::string top = above[i];
        if (zrNaive::isTransition(top)) // to nothing: it is a cut
        {
            if (zrNaive::sideOf(top, 0) == "-")
                top = zrNaive::sideOf(top, 1);
            else if (zrNaive::sideOf(top, 1) == "-")
                top = zrNaive::sideOf(top, 0);
        }
        if (top == "-")
            continue;
        if (i >= below.size())
            below.resize(i + 1, "-");
        below[i] = top;
    }
}

inline std::vector<zrNaive::Frames> playingFlattened(const Before& before)
{
    const DmTimeline& timeline = before.timeline;
    int pictures = 0;
    for (int t = 0; t < timeline.trackCount(); ++t)
        pictures += isPicture(timeline, t) ? 1 : 0;
    std::vector<zrNaive::Frames> tracks;
    std::size_t flat = std::string::npos;
    for (int t = 0; t < timeline.trackCount(); ++t)
    {
        const bool isFlattened = pictures > 1 && isPicture(timeline, t);
        const zrNaive::Frames frames = zrNaive::framesOf(
            timeline, t, zrNaive::rateOf(timeline), [](double time) { return time; }, isFlattened);
        if (isFlattened && flat != std::string::npos)
            cover(tracks[flat], frames);
        else
            tracks.push_back(frames);
        if (isFlattened)
            flat = std::min(flat, tracks.size() - 1);
    }
    return tracks;
}

inline std::vector<zrNaive::Frames> playingWithout(const Before& before)
{
    std::vector<zrNaive::Frames> tracks = playing(before.timeline);
    tracks.erase(tracks.begin() + before.with.element.track);
    return tracks;
}

/// Modes by turn, none of which drops labels.
inline DM::FrameCodeModes modeOf(double amount)
{
    static constexpr DM::FrameCodeModes modes[] = {DM::FCM_25, DM::FCM_24, DM::FCM_30, DM::FCM_50};
    return modes[std::size_t(amount + 4) % std::size(modes)];
}

inline std::vector<zrNaive::Frames> playingConformed(const Before& before)
{
    const double from = DM::FcmUtil::getDoubleFPS(dmFcmFromText(before.timeline.composition()->getFCM()));
    const double to = DM::FcmUtil::getDoubleFPS(modeOf(before.with.amount));
    const auto at = [&](double time)
    {
        const double second = std::floor(time / from);
        return second * to + std::min(to - 1, std::round((time - second * from) * to / from));
    };
    std::vector<zrNaive::Frames> tracks;
    for (int t = 0; t < before.timeline.trackCount(); ++t)
        tracks.push_back(zrNaive::framesOf(before.timeline, t, 25 / to, at));
    return tracks;
}

inline CoSharedPtr<DmSegmentNode> fresh(double length, eDmTreeMediaType type = DM_MEDIA_VIDEO)
{
    return zrDrawing::shot('Y', 0.0, std::max(1.0, length), {30.0, 200.0}, type);
}

inline CoSharedPtr<DmSegmentNode> fresh(const DmEdit& edit, const Arguments& with)
{
    const DmTimeline timeline = edit.timeline();
    const DmLayerNode* const layer = timeline.layer(with.layer());
    return fresh(with.amount, layer ? layer->getMediaType() : DM_MEDIA_VIDEO);
}

inline Reach changesNoFrame(const Before& before)
{
    return {before.end(), before.end(), 0.0};
}

inline const Operation all[] = {
    {"insert", "tn", [](DmEdit& e, const Arguments& a) { return e.insert(a.layer(), a.time, fresh(e, a)); },
     [](const Before& b) {
         return Reach{b.with.time, b.with.time, b.with.amount + std::max(0.0, b.with.time - b.end())};
     },
     [](const Before& b, double) { return b.with.time; }, true},
    {"overwrite", "tn", [](DmEdit& e, const Arguments& a) { return e.overwrite(a.layer(), a.time, fresh(e, a)); },
     [](const Before& b) { return b.range(std::max(0.0, b.with.time + b.with.amount - b.end())); }, nullptr, true},
    {"fill", "tn",
     [](DmEdit& e, const Arguments& a)
     { return e.fill(a.layer(), fresh(e, a), a.time, a.time + a.amount, 40, dmNoTime); },
     [](const Before& b) { return b.range(std::max(0.0, b.with.time + b.with.amount - b.end())); }, nullptr, true},
    {"lift", "tn", [](DmEdit& e, const Arguments& a) { return e.lift(a.layer(), a.time, a.time + a.amount); },
     [](const Before& b) { return b.range(0.0); }, nullptr, true},
    {"extract", "tn", [](DmEdit& e, const Arguments& a) { return e.extract(a.layer(), a.time, a.time + a.amount); },
     [](const Before& b) { return b.range(b.with.time - std::min(b.end(), b.with.time + b.with.amount)); },
     [](const Before& b, double) { return b.with.time; }, true},
    {"split", "t", [](DmEdit& e, const Arguments& a) { return e.split(a.layer(), a.time); },
     [](const Before& b) {
         return Reach{b.with.time, b.with.time, 0.0};
     }},
    {"lift-segment", "e", [](DmEdit& e, const Arguments& a) { return e.liftSegment(a.element); },
     [](const Before& b) { return b.around(0, 0); }},
    {"remove", "e", [](DmEdit& e, const Arguments& a) { return e.extractSegment(a.element); },
     [](const Before& b) { return b.around(0, 0, b.in(b.index()) - b.out(b.index())); },
     [](const Before& b, double) { return b.in(b.index()); }},
    {"trim-head", "en", [](DmEdit& e, const Arguments& a) { return e.trim(a.element, DM_HEAD, a.amount); },
     [](const Before& b) {
         return Reach{b.in(b.index() - 1) - 4, b.in(b.index()) + 4, 0.0};
     }},
    {"trim-tail", "en", [](DmEdit& e, const Arguments& a) { return e.trim(a.element, DM_TAIL, a.amount); },
     [](const Before& b)
     {
         const bool isLast = b.index() + 1 >= b.count();
         return Reach{b.out(b.index()) - 4, b.out(b.index() + 1) + 4, isLast ? std::max(0.0, b.with.amount) : 0.0};
     }},
    {"ripple-head", "en", [](DmEdit& e, const Arguments& a) { return e.rippleTrim(a.element, DM_HEAD, a.amount); },
     // From the transition in front, whose frames are others, to what is taken off.
     [](const Before& b) {
         return Reach{b.in(b.index() - 1), b.in(b.index()) + std::max(0.0, b.with.amount), -b.with.amount};
     },
     [](const Before& b, double) { return b.in(b.index()); }},
    {"ripple-tail", "en", [](DmEdit& e, const Arguments& a) { return e.rippleTrim(a.element, DM_TAIL, a.amount); },
     // The transition behind goes along, with other frames.
     [](const Before& b) {
         return Reach{b.out(b.index()) - 4, b.out(b.index() + 1), b.with.amount};
     },
     [](const Before& b, double shift) { return b.out(b.index()) + std::min(0.0, shift); }},
    {"roll", "sn", [](DmEdit& e, const Arguments& a) { return e.roll(a.element, a.amount); },
     [](const Before& b) {
         return Reach{b.in(b.index()) - 4, b.out(b.index()) + 4, 0.0};
     }},
    {"slip", "en", [](DmEdit& e, const Arguments& a) { return e.slip(a.element, a.amount); },
     [](const Before& b) { return b.around(1, 1); }},
    {"slide", "en", [](DmEdit& e, const Arguments& a) { return e.slide(a.element, a.amount); },
     [](const Before& b) { return b.around(3, 3); }},
    {"join", "s", [](DmEdit& e, const Arguments& a) { return e.join(a.element); },
     [](const Before& b) { return b.around(0, 0); }},
    {"replace", "e", [](DmEdit& e, const Arguments& a) { return e.replace(a.element, fresh(e, a)); },
     [](const Before& b) { return b.around(1, 1); }},
    {"swap", "ee", [](DmEdit& e, const Arguments& a) { return e.swap(a.element, a.other); },
     [](const Before& b)
     {
         return Reach{b.in(std::min(b.index(), b.with.other.index) - 1),
                      b.out(std::max(b.index(), b.with.other.index) + 1), 0.0};
     }},
    {"move", "et", [](DmEdit& e, const Arguments& a) { return e.move(a.element, a.layer(), a.time); },
     [](const Before& b)
     {
         const double length = b.out(b.index()) - b.in(b.index());
         return Reach{std::min(b.with.time, b.in(b.index())), std::max(b.with.time + length, b.out(b.index())),
                      std::max(0.0, b.with.time + length - b.end())};
     }},
    {"dissolve-begins", "sn",
     [](DmEdit& e, const Arguments& a) { return e.transition(a.element, a.amount, DM_BEGINS_AT_CUT); },
     [](const Before& b) { return b.around(2, 2); }, nullptr, true},
    {"dissolve-centred", "sn",
     [](DmEdit& e, const Arguments& a) { return e.transition(a.element, a.amount, DM_CENTRED_ON_CUT); },
     [](const Before& b) { return b.around(2, 2); }, nullptr, true},
    {"dissolve-ends", "sn",
     [](DmEdit& e, const Arguments& a) { return e.transition(a.element, a.amount, DM_ENDS_AT_CUT); },
     [](const Before& b) { return b.around(2, 2); }, nullptr, true},
    {"cut", "s", [](DmEdit& e, const Arguments& a) { return e.cut(a.element); },
     [](const Before& b) { return b.around(0, 0); }},
    {"speed", "en", [](DmEdit& e, const Arguments& a) { return e.speed(a.element, a.amount / 2.0); },
     [](const Before& b) { return b.around(1, 1); }},
    {"freeze", "et", [](DmEdit& e, const Arguments& a) { return e.freeze(a.element, a.time); },
     [](const Before& b) { return b.around(1, 1); }},
    {"reverse", "e", [](DmEdit& e, const Arguments& a) { return e.reverse(a.element); },
     [](const Before& b) { return b.around(1, 1); }},
    {"mute", "e", [](DmEdit& e, const Arguments& a) { return e.mute(a.element, true); }, changesNoFrame},
    {"drop-transitions", "", [](DmEdit& e, const Arguments&) { return e.dropTransitions(); }, changesNoFrame},
    {"wipe", "sn",
     [](DmEdit& e, const Arguments& a)
     { return e.transition(a.element, a.amount, DM_BEGINS_AT_CUT, DmWipeSettings::create()); },
     [](const Before& b) { return b.around(2, 2); }, nullptr, true},
    {"rename", "e",
     [](DmEdit& e, const Arguments& a)
     {
         const DmTreeNode* node = e.timeline().storedElement(a.element);
         if (const auto* const covered = node ? dynamic_cast<const DmSourceNode*>(node->getBaseBlob()) : nullptr)
             node = node->asSegment() ? covered : node;
         return e.rename(a.element, DmString(((node ? dmUtf8(node->getName()) : "") + " again").c_str()));
     },
     changesNoFrame},
    {"mark", "e", [](DmEdit& e, const Arguments& a) { return e.addMark(a.element, DmCueMark::create()); },
     changesNoFrame},
    {"effect", "e", [](DmEdit& e, const Arguments& a) { return e.addEffect(a.element, DmResizeSettings::create()); },
     changesNoFrame},
    {"move-insert", "et",
     [](DmEdit& e, const Arguments& a)
     {
         e.options().insert = true;
         return e.move(a.element, a.layer(), a.time);
     },
     nullptr},
    {"range", "tn", [](DmEdit& e, const Arguments& a) { return e.trimToRange(a.time, a.time + a.amount); }, nullptr,
     nullptr, true, playingInRange},
    {"drop-effects", "", [](DmEdit& e, const Arguments&) { return e.dropEffects(); }, changesNoFrame},
};

/// Those that no table tries beside every neighbour: they have neither an element nor a time.
inline const Operation whole[] = {
    {"append", "n",
     [](DmEdit& e, const Arguments& a) {
         return e.concatenate(another({e.timeline(), a}));
     },
     nullptr, nullptr, false, playingBehind},
    {"stack", "n",
     [](DmEdit& e, const Arguments& a) {
         return e.stack(another({e.timeline(), a}));
     },
     nullptr, nullptr, false, playingStacked},
    {"flatten", "", [](DmEdit& e, const Arguments&) { return e.flatten(); }, nullptr, nullptr, false, playingFlattened},
    {"drop-track", "e",
     [](DmEdit& e, const Arguments& a) { // the last one stays
         return e.dropTracks({e.timeline().trackCount() > 1 ? a.element.track : -1});
     },
     nullptr, nullptr, false, playingWithout},
    {"conform", "n", [](DmEdit& e, const Arguments& a) { return e.conform(modeOf(a.amount), DmEdit::Conform::Labels); },
     nullptr, nullptr, false, playingConformed},
};

} // namespace zrOperations
