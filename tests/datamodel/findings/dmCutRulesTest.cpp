#include "zrRuleCases.h"

#include "dmResizeSettings.h"
#include "dmTimewarpSettings.h"

namespace
{

using namespace zrRules;
using Composition = DmCompositionNode;

Change mark(const wchar_t* text, int red, int green, double time, int blue = 0)
{
    return [=](Composition& it)
    {
        const auto made = DmCueMark::create(text, time);
        static_cast<void>(made->setCueMarkColorRed(red));
        static_cast<void>(made->setCueMarkColorGreen(green));
        static_cast<void>(made->setCueMarkColorBlue(blue));
        static_cast<void>(at<DmSegmentNode>(it, 0).addSegmentMark(made));
    };
}

Change linked(double soundFrom)
{
    return [=](Composition& it)
    {
        static_cast<void>(at<DmSegmentNode>(it, 0).setSegmentId(L"a#V1"));
        static_cast<void>(at<DmSegmentNode>(it, 0, 1).setSegmentId(L"a#A1"));
        from(0, soundFrom, 1)(it);
    };
}

Change resized(int position, int track = 0, bool bypassed = false)
{
    return [=](Composition& it)
    {
        const auto resize = DmResizeSettings::create();
        static_cast<void>(resize->setMuted(bypassed));
        static_cast<void>(at<DmSegmentNode>(it, position, track).addEffect(resize));
    };
}

Change atSpeed(int position, double speed)
{
    return [=](Composition& it)
    {
        const auto warp = DmVTimewarpSettings::create();
        static_cast<void>(warp->setSpeed(speed));
        static_cast<void>(at<DmSegmentNode>(it, position).addEffect(warp));
    };
}

/// Two shots at one speed, of which the first plays from a frame of the material, and the second, too.
Change atSpeed(double speed, double first, double second)
{
    return [=](Composition& it)
    {
        atSpeed(0, speed)(it);
        atSpeed(2, speed)(it);
        from(0, first)(it);
        from(2, second)(it);
    };
}

Change both(const Change& one, const Change& two)
{
    return [=](Composition& it)
    {
        one(it);
        two(it);
    };
}

Change muted(int position, int track = 0)
{
    return [=](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, position, track).setMuted(true)); };
}

DmFindingOptions with(const std::function<void(DmFindingOptions&)>& change)
{
    DmFindingOptions options;
    change(options);
    return options;
}

const RuleCase cases[] = {
    {"DM301", {"AAAA|BB|CCCC"}, {"B V1 00:00:00:04: It is seen for 2 frames only"}, {"AAAA|BBB|CCCC"}},
    {"DM301", // transitions count, and so do pieces of one shot
     {"AAAA//B|CCCC|DD", "", withFiles()},
     {"D V1 00:00:00:11: It is seen for 2 frames only"},
     {"AAAA//B|CCCC|DD|D", "", withFiles(from(8, 2.0))}},
    {"DM302",
     {"AAAA|AAA|BB", "", withFiles(from(2, 4.0))},
     {"A V1 00:00:00:04: At the cut in front of it the material goes on"},
     {"AAAA|AAA|BB", "", withFiles(from(2, 5.0))},
     Mending::Unsafe},
    {"DM302", // a cut that is there for an effect
     {"AAAA|AAA|AA", "", withFiles(both(both(from(2, 4.0), from(4, 7.0)), resized(4)))},
     {"A V1 00:00:00:04: At the cut in front of it the material goes on"},
     {"AAAA|AAA|AA", "", from(2, 4.0)}, // nobody knows whether that is one medium
     Mending::Unsafe},
    {"DM302", // at twice the speed
     {"AAAA|A|BB", "", withFiles(atSpeed(2.0, 0.0, 8.0))},
     {"A V1 00:00:00:04: At the cut in front of it the material goes on"},
     {"AAAA|A|BB", "", withFiles(atSpeed(2.0, 0.0, 4.0))},
     Mending::Unsafe},
    {"DM302", // backwards: the second piece is the one in front in the material
     {"AAAA|AAA|BB", "", withFiles(atSpeed(-1.0, 13.0, 10.0))},
     {"A V1 00:00:00:04: At the cut in front of it the material goes on"},
     {"AAAA|AAA|BB", "", withFiles(atSpeed(-1.0, 13.0, 17.0))},
     Mending::Unsafe},
    {"DM303",
     {"AAAA|AAA|AAA", "", withFiles(both(from(2, 7.0), from(4, 8.0)))},
     {"A V1 00:00:00:04: At the cut in front of it the material skips 3 frames",
      "A V1 00:00:00:07: At the cut in front of it 2 frames of the material show twice"},
     {"AAAA|AAA|AAA", "", withFiles(both(from(2, 17.0), from(4, 20.0)))}},
    {"DM304", {"AAAA|--|BBBB|--"}, {"V1 00:00:00:04: No picture plays for 2 frames"}, {"    CCC\nAAAA|--|BBBB|--"}},
    {"DM304", {"AA|----|CC\nBBB|---|BB"}, {"00:00:00:03: No picture plays for 3 frames"}, {"AA|----|CC\nBBBBBB|BB"}},
    {"DM304", {"AAAA|BB|CCCC", "", muted(2)}, {"V1 00:00:00:04: No picture plays for 2 frames"}, {"AAAA//CCCC\nbb"}},
    {"DM305",
     {"AAAA|BBBB|AAAA", "", withFiles(from(4, 2.0))},
     {"A V1 00:00:00:08: 2 frames of it, from 00:00:40:02 of the source on, show in \"A\" at 00:00:00:00, too"},
     {"AAAA|BBBB|AAAA", "", withFiles(from(4, 4.0))}},
    {"DM305", // what is hidden, muted or held shows nothing; together on two tracks it shows once
     {"AAAA|BBBB|AAAA", "", withFiles()},
     {"A V1 00:00:00:08: 4 frames of it, from 00:00:40:00 of the source on, show in \"A\" at 00:00:00:00, too"},
     {"AAAA|BBBB|AAAA\n--------CCCC", "", withFiles()}},
    {"DM305",
     {"AAAA|BBBB|AAAA", "", withFiles()},
     {"A V1 00:00:00:08: 4 frames of it, from 00:00:40:00 of the source on, show in \"A\" at 00:00:00:00, too"},
     {"AAAA|BBBB|AAAA", "", withFiles(atSpeed(4, 0.0))}},
    {"DM305",
     {"AAAA|BBBB|AAAA", "", withFiles(from(4, 7.0))},
     {"A V1 00:00:00:08: It comes nearer than the handles asked for to what shows in \"A\" at 00:00:00:00, too"},
     {"AAAA|BBBB|AAAA", "", withFiles(from(4, 8.0))},
     {},
     with([](DmFindingOptions& it) { it.dupeHandles = 2.0; })},
    {"DM306", {"AAAA|BB", "", muted(2)}, {"B V1 00:00:00:04: It is muted"}, {"AAAA|--"}, Mending::Unsafe},
    {"DM307",
     {"AAAA|BB", "", resized(0, 0, true)},
     {"A V1 00:00:00:00: Its effect \"Resize\" is bypassed"},
     {"AAAA|BB", "", resized(0)},
     Mending::Unsafe},
    {"DM307", // behind one that is not, and two of them
     {"AAAA|BB", "", both(resized(0), both(resized(0, 0, true), resized(0, 0, true)))},
     {"A V1 00:00:00:00: Its effect \"Resize\" is bypassed", "A V1 00:00:00:00: Its effect \"Resize\" is bypassed"},
     {"AAAA|BB", "", both(resized(0), resized(0))},
     Mending::Unsafe},
    {"DM308",
     {"AA|BBBB|CC\n-|DDDDDD"},
     {"B V1 00:00:00:02: It lies wholly under picture of another track"},
     {"AA|BBBB|CC\n-|DDDDDD", "", resized(2, 1)}, // may let through what is below
     Mending::Unsafe},
    {"DM309",
     {"AAAA\n----\naaaa\n--"},
     {"cut: There is nothing on the tracks V2, V4"},
     {"AAAA\n--BB"},
     Mending::Unsafe},
    {"DM310",
     {"AAAA\naaaaaa"},
     {"a A2 00:00:00:00: It plays 2 frames beyond the last picture"},
     {"AAAA\naaaa"},
     Mending::Unsafe},
    {"DM310", // wholly
     {"AAAA\naaaa|bb"},
     {"b A2 00:00:00:04: It plays 2 frames beyond the last picture"},
     {"AAAA\naa|bb"},
     Mending::Unsafe},
    {"DM311",
     {"AAAABBBB\naa-aa"},
     {"cut 00:00:00:02: Picture plays without sound for 1 frame",
      "cut 00:00:00:05: Picture plays without sound for 3 frames"},
     {"AAAA"}},
    {"DM312", {"AA--BB\naaaaaa"}, {"cut 00:00:00:02: Sound plays without picture for 2 frames"}, {"AABB\naaaa"}},
    {"DM313",
     {"AAAA\naaaa", "", withFiles(linked(2.0))},
     {"a A2 00:00:00:00: It plays 2 frames ahead of the picture that it is linked to"},
     {"AAAA\naaaa", "", withFiles(linked(0.0))},
     Mending::Unsafe},
    {"DM313", // not of one file
     {"AAAA\naaaa", "A5", withFiles(linked(2.0))},
     {"a A2 00:00:00:00: It plays 3 frames behind the picture that it is linked to"},
     {"AAAA\nbbbb", "", withFiles(linked(2.0))},
     Mending::Unsafe},
    {"DM314",
     {"AAAA", "", [](Composition& it) { static_cast<void>(it.setStartTC(25.0 * 3599.0, L"25 fps")); }},
     {"cut: It begins at 00:59:59:00 instead of 01:00:00:00"},
     {"AAAA", "", [](Composition& it) { static_cast<void>(it.setStartTC(25.0 * 3600.0, L"25 fps")); }},
     Mending::Unsafe,
     with([](DmFindingOptions& it) { it.startLabel = "01:00:00:00"; })},
    {"DM315",
     {"AAAA", "A10", mark(L"check focus", 255, 0, 12.0)},
     {"A V1 00:00:00:02: A red mark says \"check focus\""},
     {"AAAA", "A10", mark(L"check focus", 255, 192, 12.0)}},
    {"DM315", // of what is red
     {"AAAA", "A10", mark(L"", 192, 64, 12.0, 64)},
     {"A V1 00:00:00:02: A red mark"},
     {"AAAA", "A10", both(mark(L"", 191, 64, 12.0, 64), mark(L"", 192, 64, 12.0, 65))}},
    {"DM315", // on frames that play, and as a word
     {"AAAA", "A10", mark(L"TODO: roto", 0, 255, 10.0)},
     {"A V1 00:00:00:00: A mark says \"TODO: roto\""},
     {"AAAA", "A10", both(mark(L"TODO: roto", 0, 255, 15.0), mark(L"TODOROV", 0, 255, 10.0))}},
};

} // namespace

TEST(CutRules, FindWhatBreaksThemAndNothingNearby)
{
    for (const RuleCase& row : cases)
        check(row);
}

/// What many rows say of one file must not be asked row by row.
TEST(CutRules, FindOneDupeOfManyShotsOfOneFile)
{
    std::string drawing;
    for (int i = 0; i < 3000; ++i)
        drawing += "AAAA|";
    drawing.pop_back();
    const auto tree = Cut{drawing, "", withFiles()}.tree();
    DmFindingOptions options;
    options.select = {"dupe"};
    // The second goes back behind a cut, which another rule tells.
    EXPECT_EQ(DmFindings(options).find(*tree).size(), 2998u);
}
