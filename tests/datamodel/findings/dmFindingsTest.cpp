#include "zrRuleCases.h"

namespace
{

using namespace zrRules;

/// A missing cut, and a transition that says another length.
const Cut twoFaults{"AAAA|BBBB//CCCC", "",
                    [](DmCompositionNode& it)
                    {
                        static_cast<void>(at<DmTransitionNode>(it, 3).setRecLength(1.0));
                        layerOf(it).removeChild(1);
                    }};

std::vector<std::string> codesOf(const DmFindingOptions& options)
{
    std::vector<std::string> codes;
    for (const DmFinding& finding : DmFindings(options).find(*twoFaults.tree()))
        codes.emplace_back(finding.code);
    return codes;
}

} // namespace

TEST(Findings, RulesAreSelectedByCodeBeginNameAndGroup)
{
    using Words = std::vector<std::string>;
    const struct
    {
        Words select;
        Words ignore;
        Words found;
    } rows[] = {
        {{"structure"}, {}, {"DM103", "DM109"}},
        {{"DM103"}, {}, {"DM103"}},
        {{"DM1"}, {"transition-length"}, {"DM103"}},
        {{"missing-transition", "times"}, {}, {"DM103"}},
        {{"all"}, {"DM10", "no-origin"}, {}},
        {{"media"}, {}, {"DM401"}},
        {{"dm1"}, {"Structure"}, {}},
    };
    for (const auto& row : rows)
    {
        DmFindingOptions options;
        options.select = row.select;
        options.ignore = row.ignore;
        EXPECT_EQ(codesOf(options), row.found) << testing::PrintToString(row.select);
    }
    DmFindingOptions options;
    options.select = {"DM1", "DM199"};
    options.ignore = {"flahs", "DM607"};
    EXPECT_EQ(DmFindings(options).unknownWords(), (Words{"DM199", "flahs"}));
}

TEST(Findings, EveryRuleHasItsCodeItsNameAndItsPage)
{
    std::set<std::string_view> names;
    std::string_view last;
    for (const DmRule& rule : DmFindings::ownRules())
    {
        EXPECT_LT(last, rule.code);
        last = rule.code;
        EXPECT_TRUE(names.insert(rule.name).second) << rule.name;
        for (const char* const text : {rule.line, rule.why, rule.example, rule.mending})
            EXPECT_STRNE(text, "") << rule.code;
        const std::string_view mending = rule.mending; // by which option, or why by none
        EXPECT_TRUE(mending.find("fix") != mending.npos || mending.find("o option") != mending.npos) << rule.code;
        const DmFindingCode* const code = dmFindingCode(rule.code);
        ASSERT_NE(code, nullptr);
        EXPECT_STREQ(code->text, rule.line);
    }
    last = "";
    for (const DmFindingCode& code : dmFindingCodes())
    {
        EXPECT_LT(last, code.code);
        last = code.code;
    }
}

TEST(Findings, HostsAddRulesOfTheirOwn)
{
    DmFindings findings;
    const DmRule noMusic{.code = "HOUSE1",
                         .name = "no-music",
                         .line = "compositions without sound",
                         .find = [](DmRuleRun& run)
                         {
                             for (const DmCutView& cut : run.cuts())
                                 if (std::ranges::all_of(cut.lanes, &DmLaneView::isPicture))
                                     run.add(cut, "there is no sound");
                         }};
    EXPECT_TRUE(findings.addRule(noMusic));
    EXPECT_FALSE(findings.addRule(noMusic));
    EXPECT_FALSE(findings.addRule({.code = "HOUSE2", .name = "hole", .find = [](DmRuleRun&) {}}));
    EXPECT_FALSE(findings.addRule({.code = "HOUSE2", .name = "nothing"}));
    EXPECT_EQ(allSaid(findings.find(*Cut{"AAAA"}.tree()), "HOUSE1"),
              std::vector<std::string>{"cut: there is no sound"});
    EXPECT_EQ(allSaid(findings.find(*Cut{"AAAA\naaaa"}.tree()), "HOUSE1"), std::vector<std::string>());
    EXPECT_STREQ(dmFindingGroup("HOUSE1"), "added");
}

TEST(Findings, PatternsMatchAsShellsMatchThem)
{
    const struct
    {
        const char* text;
        const char* pattern;
        bool matches;
    } rows[] = {
        {"/media/a.mov", "/media/*", true},
        {"/media/a.mov", "*.mov", true},
        {"/media/a.mov", "/other/*", false},
        {"sc010_sh020", "sc???_sh???", true},
        {"sc10_sh020", "sc???_sh???", false},
        {"", "*", true},
        {"", "?", false},
        {"abcabc", "*bc", true},
        {"abcab", "*bc", false},
        {"caf\u00e9", "caf?", true}, // a character, however many bytes it takes
        {"a\xff", "*", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(dmMatchesPattern(row.text, row.pattern), row.matches) << row.text << ' ' << row.pattern;
}

TEST(Findings, MendingOfConstantTreesSaysThatItCannot)
{
    const auto tree = twoFaults.tree();
    tree->freeze();
    const auto mended = DmFindings().mend(*tree, Mending::Unsafe);
    EXPECT_EQ(mended.count, 0);
    EXPECT_NE(mended.status, DM_NO_ERROR);
}
