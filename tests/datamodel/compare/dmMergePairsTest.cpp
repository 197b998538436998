// Each kind of edit with each other, of one shot, by two editors: what both did is there, as if one had done it after
// the other; or it is told, where both want the same thing differently.
#include "zrLaws.h"
#include "zrNaive.h"
#include "zrTest.h"

namespace
{

/// What an edit is about.
enum Respect : unsigned
{
    Nothing = 0,
    TailInFront = 1, ///< of the shot in front
    Head = 2,
    Tail = 4,
    HeadBehind = 8,
    SeamInFront = 16, ///< its transition
    SeamBehind = 32,
    Picture = 64,
    Place = 128,
    Name = 256,
    Muted = 512,
    Effects = 1024,
    Marks = 2048,
    Speed = 4096,
    Medium = 8192,
    PutInFront = 16384,
    PutBehind = 32768,
    Inside = 65536,
    TheShot = Head | Tail | SeamInFront | SeamBehind | Picture | Place | Name | Muted | Effects | Marks | Speed |
              Medium | Inside,
};

struct Kind
{
    const char* name;
    unsigned about; ///< two edits about one thing are a conflict, unless they are the same, ...
    unsigned adds;  ///< ... or add to it, ...
    unsigned takes; ///< ... and so is one about what the other takes away
    /// `way`: of the second editor another one of the same kind.
    std::function<DmStatus(DmEdit& edit, const DmElementPlace& shot, int way)> run;
};

/// Each part of the shot, from the last on: an edit of the whole is one of all of them.
DmStatus toAll(DmEdit& edit, const DmElementPlace& shot, const std::function<DmStatus(const DmElementPlace&)>& how)
{
    const DmTimeline timeline = edit.timeline();
    const DmString name = timeline.storedElement(shot)->getName();
    DmStatus status;
    for (int i = timeline.elementCount({0, 0}); i-- > 0 && status.ok();)
        if (timeline.storedElement({0, 0, i})->getName() == name)
            status = how({0, 0, i});
    return status;
}

DmStatus recolour(DmEdit& edit, const DmElementPlace& shot, int way)
{
    CoSharedPtr<DmEffectSettings> effect;
    if (way == 0)
        effect = DmColourSettings::create();
    else
        effect = DmResizeSettings::create();
    return toAll(edit, shot, [&](const DmElementPlace& part) { return edit.addEffect(part, effect); });
}

CoSharedPtr<DmSegmentNode> fresh(int way)
{
    return zrDrawing::shot(way == 0 ? 'X' : 'Y', 0.0, 2.0 + way, {3.0, 40.0});
}

DmElementPlace beside(const DmElementPlace& shot, int by)
{
    return {shot.track, shot.layer, shot.index + by};
}

double relInOf(const DmEdit& edit, const DmElementPlace& shot)
{
    return edit.timeline().storedElement(shot)->asSegment()->getRelIn();
}

/// The part of the shot that plays a frame.
DmElementPlace partAt(const DmEdit& edit, const DmElementPlace& shot, double frame)
{
    const DmTimeline timeline = edit.timeline();
    const DmString name = timeline.storedElement(shot)->getName();
    DmElementPlace place = shot;
    for (int i = shot.index; i < timeline.elementCount({0, 0}); ++i)
        if (timeline.storedElement({0, 0, i})->getName() == name && relInOf(edit, {0, 0, i}) <= frame)
            place.index = i;
    return place;
}

/// When a frame of its material plays: of its 20th, counted on.
double timeOf(const DmEdit& edit, double frame)
{
    const DmTimeline timeline = edit.timeline();
    for (int i = 0; i < timeline.elementCount({0, 0}); ++i)
        if (const auto* const shot = dynamic_cast<const DmSourceNode*>(timeline.storedElement({0, 0, i}));
            shot && shot->getSrcInput()->getName() == L"C" && shot->getRelIn() <= 20.0 + frame &&
            20.0 + frame < shot->getRelIn() + shot->getRecLength())
            return timeline.recIn({0, 0, i}) + 20.0 + frame - shot->getRelIn();
    return 0.0;
}

using E = DmEdit;
using P = DmElementPlace;
const DmLayerPlace lane{0, 0};
const Kind kinds[] = {
    {"ripple head", Head, 0, 0, [](E& e, const P& p, int way) { return e.rippleTrim(p, DM_HEAD, 1.0 + way); }},
    {"ripple tail", Tail, 0, 0, [](E& e, const P& p, int way) { return e.rippleTrim(p, DM_TAIL, -1.0 - way); }},
    {"roll in front", TailInFront | Head, 0, 0,
     [](E& e, const P& p, int way) { return e.roll(beside(p, -1), 1.0 - 2 * way); }},
    {"roll behind", Tail | HeadBehind, 0, 0,
     [](E& e, const P& p, int way) { return e.roll(beside(p, 1), 1.0 - 2 * way); }},
    {"slide", TailInFront | HeadBehind, 0, 0, [](E& e, const P& p, int way) { return e.slide(p, 1.0 + way); }},
    {"slip", Picture, 0, 0,
     [](E& e, const P& p, int way) { return toAll(e, p, [&](const P& part) { return e.slip(part, 1.0 + way); }); }},
    {"dissolve in front", SeamInFront, 0, 0,
     [](E& e, const P& p, int way) { return e.transition(beside(p, -1), 2.0 + 2 * way, DM_CENTRED_ON_CUT); }},
    {"dissolve behind", SeamBehind, 0, 0,
     [](E& e, const P& p, int way) { return e.transition(beside(p, 1), 2.0 + 2 * way, DM_CENTRED_ON_CUT); }},
    {"move", Place, 0, SeamInFront | SeamBehind,
     [](E& e, const P& p, int way)
     {
         e.options().insert = true;
         return e.move(p, lane, way == 0 ? 0.0 : e.timeline().recOut({0, 0, e.timeline().elementCount(lane) - 1}));
     }},
    {"rename", Name, 0, 0,
     [](E& e, const P& p, int way)
     { return toAll(e, p, [&](const P& part) { return e.rename(part, way == 0 ? L"N" : L"M"); }); }},
    {"mute", Muted, 0, 0,
     [](E& e, const P& p, int) { return toAll(e, p, [&](const P& part) { return e.mute(part, true); }); }},
    {"effect", Effects, 0, 0, recolour},
    {"mark", 0, Marks, 0,
     [](E& e, const P& p, int way)
     { return e.addMark(partAt(e, p, 21.0 + 14 * way), DmCueMark::create(L"here", 21.0 + 14 * way)); }},
    {"speed", Speed, 0, 0,
     [](E& e, const P& p, int way)
     { return toAll(e, p, [&](const P& part) { return e.speed(part, way == 0 ? 0.5 : 1.5); }); }},
    {"replace", Medium | Name, 0, 0,
     [](E& e, const P& p, int way)
     {
         return toAll(
             e, p,
             [&](const P& part)
             {
                 const double later = relInOf(e, part) - 20.0;
                 return e.replace(part, zrDrawing::shot(way == 0 ? 'V' : 'W', 0.0, 20.0, {10.0 + later, 60.0}));
             });
     }},
    {"remove", 0, 0, TheShot, [](E& e, const P& p, int) { return e.extractSegment(p); }},
    {"lift", 0, 0, TheShot, [](E& e, const P& p, int) { return e.liftSegment(p); }},
    {"split", 0, Inside, 0, [](E& e, const P&, int way) { return e.split(lane, timeOf(e, 5.0 + 4 * way)); }},
    {"insert inside", 0, Inside, 0,
     [](E& e, const P&, int way) { return e.insert(lane, timeOf(e, 6.0 + 4 * way), fresh(way)); }},
    {"overwrite inside", 0, Inside, 0,
     [](E& e, const P&, int way) { return e.overwrite(lane, timeOf(e, 5.0 + 6 * way), fresh(way)); }},
    {"extract inside", 0, Inside, 0,
     [](E& e, const P&, int way) { return e.extract(lane, timeOf(e, 5.0 + 6 * way), timeOf(e, 5.0 + 6 * way) + 2.0); }},
    {"insert in front", PutInFront, 0, SeamInFront,
     [](E& e, const P& p, int way) { return e.insert(lane, e.timeline().recIn(p), fresh(way)); }},
    {"insert behind", PutBehind, 0, SeamBehind,
     [](E& e, const P& p, int way) { return e.insert(lane, e.timeline().recOut(p), fresh(way)); }},
};

/// Nothing where it cannot be done: the other edit may have left no room for it.
std::optional<DmTimeline> edited(const DmTimeline& from, const Kind& kind, int way)
{
    DmEdit edit(from);
    edit.seedIds(unsigned(&kind - kinds) * 2U + unsigned(way) + 1U);
    const auto place = from.find(L"C#T0");
    if (place && kind.run(edit, *place, way).failed())
        return {};
    return edit.timeline();
}

std::string conflictsOf(const DmMerge& merge)
{
    std::string text;
    for (const DmMergeConflict& conflict : merge.conflicts())
        text += (text.empty() ? "" : "; ") + (conflict.clip.empty() ? "" : conflict.clip + ": ") + conflict.what;
    return text;
}

/// What each frame plays, and what else shots have.
std::string told(const DmTimeline& timeline)
{
    std::string text = zrDrawing::draw(timeline) + " " + zrDrawing::positions(timeline);
    for (int i = 0; i < timeline.elementCount(lane); ++i)
        if (const auto* const segment = timeline.storedElement({0, 0, i})->asSegment())
        {
            for (int k = 0; k < segment->getEffects().count(); ++k)
                text += " " + std::to_string(i) + dmUtf8(segment->getEffects().at(k)->getPSetName());
            if (const double speed = DmPlayed(*segment, DM::FCM_25).speed(); speed != 1.0)
                text += " speed " + std::to_string(speed);
            if (segment->getSegmentMarks().count() > 0)
                text += " " + std::to_string(i) + "marks" + std::to_string(segment->getSegmentMarks().count());
            text += segment->getMuted() ? " muted" : "";
        }
    return text;
}

} // namespace

TEST(MergePairs, AreBothThereOrTold)
{
    const DmTimeline base = zrDrawing::timeline("AAAAAAAA|BBBBBBBB|CCCCCCCCCCCCCCCCCCCC|DDDDDDDD|EEEEEEEE",
                                                "A20/60 B20/60 C20/60 D20/60 E20/60", true);
    std::vector<DmTimeline> all[2];
    for (const Kind& kind : kinds)
        for (int way = 0; way < 2; ++way)
        {
            const std::optional<DmTimeline> one = edited(base, kind, way);
            ASSERT_TRUE(one) << kind.name;
            all[way].push_back(*one);
        }
    for (std::size_t i = 0; i < std::size(kinds); ++i)
        for (std::size_t j = 0; j < std::size(kinds); ++j)
        {
            const Kind& one = kinds[i];
            const Kind& two = kinds[j];
            SCOPED_TRACE(std::string(one.name) + ", " + two.name);
            const DmTimeline& ours = all[0][i];
            const DmTimeline& theirs = all[1][j];
            const DmMerge merge = DmMerge::merge(base.root().get(), *ours.root(), *theirs.root());
            const std::string conflicts = conflictsOf(merge);
            const DmTimeline result = DmTimeline::publish(merge.result());
            const bool clash = (one.about & two.about) != 0 || (one.takes & (two.about | two.adds)) != 0 ||
                               (two.takes & (one.about | one.adds)) != 0;
            EXPECT_TRUE(DmTreeTool::findViolations(result.composition(), DM_VALIDATE_ALL).empty());
            if (clash && told(ours) != told(theirs))
            {
                EXPECT_NE(conflicts, "") << told(result);
                continue;
            }
            EXPECT_EQ(conflicts, "");
            // As if one had done it after the other, whoever came first.
            std::vector<std::string> expected;
            if (const auto after = edited(ours, two, 1))
                expected.push_back(told(*after));
            if (const auto after = edited(theirs, one, 0))
                expected.push_back(told(*after));
            EXPECT_TRUE(std::ranges::find(expected, told(result)) != expected.end())
                << told(result) << "\nexpected " << testing::PrintToString(expected);
        }
}
