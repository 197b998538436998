#include "zrRuleCases.h"

#include "zrTempDir.h"

namespace
{

using namespace zrRules;
using Composition = DmCompositionNode;

Change info(const std::function<void(DmSourceInfo&)>& change, int position = 0)
{
    return [=](Composition& it) { change(*mediaAt(it, position).getSrcInfo()); };
}

Change reel(const wchar_t* name)
{
    return info([name](DmSourceInfo& it) { static_cast<void>(it.setReelName(name)); });
}

Change path(const wchar_t* text)
{
    return info([text](DmSourceInfo& it) { static_cast<void>(it.setPath(text)); });
}

Change twoFiles(const wchar_t* first, const wchar_t* second)
{
    return [=](Composition& it)
    {
        const wchar_t* const paths[] = {first, second};
        for (int i = 0; i < 2; ++i)
        {
            DmSourceInfo& source = *mediaAt(it, 2 * i).getSrcInfo();
            static_cast<void>(source.setReelName(L"A001"));
            static_cast<void>(source.setPath(paths[i]));
        }
    };
}

Change names(const wchar_t* first, const wchar_t* second)
{
    return withFiles(
        [=](Composition& it)
        {
            static_cast<void>(at<DmSegmentNode>(it, 0).setShotName(first));
            static_cast<void>(at<DmSegmentNode>(it, 2).setShotName(second));
        });
}

Change sizes(int width, int ownWidth)
{
    return [=](Composition& it)
    {
        const auto format = DmFrameResolution::create();
        static_cast<void>(format->setWidth(ownWidth));
        static_cast<void>(format->setHeight(1080));
        static_cast<void>(format->setColorSpace(ownWidth == width ? L"Rec.709" : L"Log"));
        static_cast<void>(mediaAt(it, 0).setPrimaryRes(format));
        const auto whole = DmFrameResolution::create();
        static_cast<void>(whole->setWidth(width));
        static_cast<void>(whole->setHeight(1080));
        static_cast<void>(it.setResolution(whole));
        static_cast<void>(it.setColourSpace(L"Rec.709"));
    };
}

Change sampled(double rate)
{
    return [=](Composition& it)
    {
        const auto sound = DmAudioProperties::create();
        static_cast<void>(sound->setSamplingRate(rate));
        static_cast<void>(mediaAt(it, 0).setAudioProperties(sound));
        static_cast<void>(it.setSamplingRate(48000.0));
    };
}

DmFindingOptions with(const std::function<void(DmFindingOptions&)>& change)
{
    DmFindingOptions options;
    change(options);
    return options;
}

const RuleCase cases[] = {
    {"DM401",
     {"AAAA|BBBB|AAAA", "", reel(L"AX")},
     {"cut: 2 sources have neither reel nor path: A, B"},
     {"AAAA|AAAA", "", withFiles(reel(L"AX"))}},
    {"DM402",
     {"AAAA", "", reel(L"A001C003_220310")},
     {"cut: 1 reel is more than a CMX list carries: A001C003_220310"},
     {"AAAA", "", reel(L"A001C003")}},
    {"DM403",
     {"AAAA|BBBB", "", twoFiles(L"/v1/a.mov", L"/v2/a.mov")},
     {"B V1 00:00:00:04: Reel \"A001\" at 00:00:40:00 is \"/v2/a.mov\" here and \"/v1/a.mov\" elsewhere"},
     {"AAAA|BBBB", "", twoFiles(L"/v1/a.mov", L"/v1/a.mov")}},
    {"DM405",
     {"AAAA|BBBB", "", withFiles(path(L"/Users/me/Desktop/a.mov"))},
     {"A V1 00:00:00:00: The path \"/Users/me/Desktop/a.mov\" is of the forbidden form \"*/Desktop/*\""},
     {"AAAA|BBBB", "", withFiles()},
     {},
     with([](DmFindingOptions& it) { it.forbiddenPaths = {"*/Desktop/*"}; })},
    {"DM405",
     {"AAAA|BBBB", "", withFiles(path(L"/stick/a.mov"))},
     {"A V1 00:00:00:00: The path \"/stick/a.mov\" is of no required form"},
     {"AAAA|BBBB", "", withFiles()},
     {},
     with(
         [](DmFindingOptions& it) {
             it.requiredPaths = {"/san/*", "/media/*"};
         })},
    {"DM406",
     {"AAAA", "", path(L"/media/take 3?.mov")},
     {"A V1 00:00:00:00: The path \"/media/take 3?.mov\" has the character ?"},
     {"AAAA", "", path(L"file:///media/take 3.%04d.mov")}},
    {"DM406",
     {"AAAA", "", path(L"/media/reel 1 /a.mov")},
     {"A V1 00:00:00:00: The path \"/media/reel 1 /a.mov\" has a blank at the end of a name"},
     {"AAAA", "", path(L"C:\\media\\..\\reel 1\\\u00e9t\u00e9.mov")}},
    {"DM407", {"AAAA|BBBB", "", names(L"sc010", L"")}, {"cut: 1 shot has no shot name: B"}, {"AAAA|BBBB"}},
    {"DM408",
     {"AAAA|BBBB", "", names(L"sc010", L"sc010")},
     {"B V1 00:00:00:04: Its shot name \"sc010\" is that of the shot at 00:00:00:00, too"},
     {"AAAA|AAAA", "", names(L"sc010", L"sc010")}},
    {"DM409",
     {"AAAA|BBBB", "", names(L"sc010", L"sc20")},
     {"B V1 00:00:00:04: Its shot name \"sc20\" is not of the form \"sc???\""},
     {"AAAA|BBBB", "", names(L"sc010", L"")},
     {},
     with([](DmFindingOptions& it) { it.shotNames = "sc???"; })},
    {"DM410",
     {"AAAA|BBBB", "", sizes(1920, 1280)},
     {"cut: 1 source has a size of 1280x1080, the composition 1920x1080: A"},
     {"AAAA|BBBB", "", sizes(1920, 1920)}},
    {"DM411",
     {"AAAA|BBBB", "", sizes(1920, 1280)},
     {"cut: 1 source has the colour space Log, the composition Rec.709: A"},
     {"AAAA|BBBB", "", sizes(1920, 1920)}},
    {"DM412",
     {"aaaa", "", sampled(44100.0)},
     {"cut: 1 source has a sampling rate of 44100, the composition 48000: a"},
     {"aaaa", "", sampled(48000.0)}},
};

} // namespace

TEST(MediaRules, FindWhatBreaksThemAndNothingNearby)
{
    for (const RuleCase& row : cases)
        check(row);
}

TEST(MediaRules, LookForFilesBelowTheirRoot)
{
    const ZrTempDir directory;
    directory.write("there.mov", "x");
    DmFindingOptions options;
    options.select = {"missing-file"};
    options.mediaRoot = directory.path();
    const DmFindings findings(options);
    const struct
    {
        const wchar_t* path;
        std::size_t found;
    } rows[] = {{L"/there.mov", 0}, {L"there.mov", 0}, {L"gone.mov", 1}, {L"gone.%04d.dpx", 0}, {L"s3://a/b.mov", 0}};
    for (const auto& row : rows)
        EXPECT_EQ(findings.find(*Cut{"AAAA", "", path(row.path)}.tree()).size(), row.found) << dmUtf8(row.path);
}
