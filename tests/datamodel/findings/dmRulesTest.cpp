#include "zrRuleCases.h"
#include "zrTempDir.h"

namespace
{

using namespace zrRules;

} // namespace

TEST(Rules, FindWhatBreaksThemAndNothingNearby)
{
    for (const ZrRow& row : zrRowsOf("rules.txt"))
        check(RuleCase(row));
}

TEST(StructureRules, NothingStandsWhereItHasNoPlace)
{
    const auto root = Cut{"AAAA"}.tree();
    const auto reel = DmReelNode::create();
    root->addChild(reel);
    EXPECT_EQ(allSaid(DmFindings().find(*root), "DM101"), std::vector<std::string>());
    reel->addChild(DmTrackNode::create(1, DM_MEDIA_VIDEO));
    const auto findings = DmFindings().find(*root);
    ASSERT_EQ(allSaid(findings, "DM101"), std::vector<std::string>{": It stands outside of a composition"});
    EXPECT_EQ(findings.front().nodePath, "children[1]/children[0]");
    EXPECT_EQ(DmFindings().mend(*root, Mending::Unsafe).status, DM_NO_ERROR);
    EXPECT_EQ(reel->getNbChildren(), 0);
}

TEST(StructureRules, OnesThatAnOriginAsksForAreWarningsWithoutIt)
{
    for (const ZrRow& line : zrRowsOf("rules.txt"))
    {
        const RuleCase row(line);
        const std::string& code = row.code;
        if (code != "DM109" && code != "DM110" && code != "DM111")
            continue;
        const auto tree = row.found.tree();
        DmFindingOptions options;
        options.select = {row.code};
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Warning) << code;
        options.all = true;
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Error) << code;
        options.all = false;
        ASSERT_EQ(static_cast<DmCompositionNode&>(*tree->getChild(0)).setOrigin(DM_ORIGIN_STRICT), DM_NO_ERROR);
        EXPECT_EQ(DmFindings(options).find(*tree).at(0).severity, DmFinding::Error) << code;
    }
}

TEST(StructureRules, LookIntoContainers)
{
    const auto tree = Cut{
        "AAAA", "",
        [](DmCompositionNode& it)
        {
            const auto inside = zrDrawing::tree("BBBB|CCCC");
            nest(it, 8.0)->addChild(inside->getChild(0)->getChild(0));
            layerOf(*at<DmContainerNode>(it, 2).getComposition()).removeChild(1);
        }}.tree();
    const auto findings = DmFindings().find(*tree);
    ASSERT_EQ(allSaid(findings, "DM103").size(), 1u);
    const auto found = std::ranges::find(findings, std::string_view("DM103"), &DmFinding::code);
    EXPECT_EQ(found->nodePath,
              "children[0]/children[0]/children[0]/children[2]/composition/children[0]/children[0]/children[1]");
}

/// What many rows say of one file must not be asked row by row.
TEST(CutRules, FindOneDupeOfManyShotsOfOneFile)
{
    std::string drawing;
    for (int i = 0; i < 3000; ++i)
        drawing += "AAAA|";
    drawing.pop_back();
    const auto tree = Cut{drawing, "", changeOf("files")}.tree();
    DmFindingOptions options;
    options.select = {"dupe"};
    // The second goes back behind a cut, which another rule tells.
    EXPECT_EQ(DmFindings(options).find(*tree).size(), 2998u);
}

TEST(MediaRules, LookForFilesBelowTheirRoot)
{
    const ZrTempDir directory;
    directory.write("there.mov", "x");
    DmFindingOptions options;
    options.select = {"missing-file"};
    options.mediaRoot = directory.path();
    const DmFindings findings(options);
    for (const auto& [path, found] : {std::pair{"/there.mov", 0U},
                                      {"there.mov", 0U},
                                      {"gone.mov", 1U},
                                      {"gone.%04d.dpx", 0U},
                                      {"s3://a/b.mov", 0U}})
        EXPECT_EQ(findings.find(*Cut{"AAAA", "", changeOf("path " + std::string(path))}.tree()).size(), found) << path;
}
