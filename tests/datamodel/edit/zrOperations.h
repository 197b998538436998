/// Operations as tests name them: how one is done, and what it may change at most.
#pragma once

#include "zrDrawing.h"

#include "dmEdit.h"
#include "dmResizeSettings.h"
#include "dmUtf8.h"
#include "dmWipeSettings.h"

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
};

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
     nullptr, true},
    {"drop-effects", "", [](DmEdit& e, const Arguments&) { return e.dropEffects(); }, changesNoFrame},
};

} // namespace zrOperations
