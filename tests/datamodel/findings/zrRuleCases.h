/// Rules in tables: a cut that breaks a rule, one nearby that does not, and what mending makes of the first.
#pragma once

#include "dmFindings.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"
#include "zrDrawing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>

namespace zrRules
{

using Mending = DmRuleRun::Mending;

/// A drawn cut, and what is done to it then.
struct Cut
{
    std::string drawing;
    std::string materials = {};
    std::function<void(DmCompositionNode&)> change = {};

    CoSharedPtr<DmRoot> tree() const
    {
        const auto root = zrDrawing::tree(drawing, materials);
        if (change)
            change(static_cast<DmCompositionNode&>(*root->getChild(0)));
        return root;
    }
};

struct RuleCase
{
    const char* code;
    Cut found;
    std::vector<std::string> said; ///< "CLIP TRACK RECORD: text", in order
    Cut nearby;                    ///< nothing is found in it
    std::optional<Mending> mending = {};
    DmFindingOptions options = {};
    bool isCyclic = false; ///< what is found stands below itself, and would never be released
};

inline DmLayerNode& layerOf(DmCompositionNode& composition, int track = 0)
{
    return static_cast<DmLayerNode&>(*composition.getChild(track)->getChild(0));
}
/// The n-th child of a layer, as what the test knows it to be.
template <class Node>
Node& at(DmCompositionNode& composition, int position, int track = 0)
{
    return dynamic_cast<Node&>(*layerOf(composition, track).getChild(position));
}
inline DmSourceNode::MediaInput& mediaAt(DmCompositionNode& composition, int position, int track = 0)
{
    return dynamic_cast<DmSourceNode::MediaInput&>(*at<DmSourceNode>(composition, position, track).getSrcInput());
}

using Change = std::function<void(DmCompositionNode&)>;

/// Gives each source a file of its letter, "/media/A.mov" for A and a, then does the rest.
inline Change withFiles(const Change& rest = {})
{
    return [rest](DmCompositionNode& it)
    {
        for (int t = 0; t < it.getNbChildren(); ++t)
            for (int i = 0; i < layerOf(it, t).getNbChildren(); ++i)
                if (auto* const source = dynamic_cast<DmSourceNode*>(layerOf(it, t).getChild(i)))
                {
                    const auto letter =
                        static_cast<wchar_t>(std::toupper(static_cast<int>(source->getName().c_str()[0])));
                    const std::wstring path = std::wstring(L"/media/") + letter + L".mov";
                    static_cast<void>(mediaAt(it, i, t).getSrcInfo()->setPath(DmString(path.c_str())));
                }
        if (rest)
            rest(it);
    };
}

/// Lets a shot play from a frame of its material.
inline Change from(int position, double relIn, int track = 0)
{
    return [=](DmCompositionNode& it)
    {
        auto& segment = at<DmSegmentNode>(it, position, track);
        static_cast<void>(mediaAt(it, position, track).setSrcLength(relIn + segment.getRecLength()));
        static_cast<void>(segment.setRelIn(relIn));
    };
}

inline std::string said(const DmFinding& finding)
{
    std::string text;
    for (const std::string* each : {&finding.clip, &finding.track, &finding.record})
        if (!each->empty())
            text += (text.empty() ? "" : " ") + *each;
    return text + ": " + finding.text;
}

inline std::vector<std::string> allSaid(const std::vector<DmFinding>& findings, std::string_view code)
{
    std::vector<std::string> texts;
    for (const DmFinding& finding : findings)
        if (finding.code == code)
            texts.push_back(said(finding));
    return texts;
}

/// Which frame of which medium plays at each record frame of each track: what safe mending leaves as it was.
inline std::multiset<std::string> whatPlays(const DmTreeNode& tree)
{
    std::multiset<std::string> frames;
    const DmCutViews views(tree);
    for (const DmCutView& cut : views.cuts())
        for (const DmLaneView& lane : cut.lanes)
            for (const DmShotView& shot : lane.shots)
                for (double time = shot.recIn; !shot.isGap && time < shot.recOut; ++time)
                    frames.insert(lane.name + ' ' + std::to_string(time) + ' ' + dmUtf8(shot.segment->getName()) + ' ' +
                                  std::to_string(shot.played.frameAt(time).value_or(-1.0)));
    return frames;
}

inline void check(const RuleCase& row)
{
    SCOPED_TRACE(std::string(row.code) + ":\n" + row.found.drawing);
    DmFindingOptions options = row.options;
    options.select = {row.code};
    const DmFindings findings(options);

    const auto tree = row.found.tree();
    EXPECT_EQ(allSaid(findings.find(*tree), row.code), row.said);
    EXPECT_EQ(allSaid(findings.find(*row.nearby.tree()), row.code), std::vector<std::string>()) << row.nearby.drawing;

    const auto rules = DmFindings::ownRules();
    const auto rule =
        std::ranges::find(rules, row.code, [](const DmRule& each) { return std::string_view(each.code); });
    const char* const option = !row.mending ? "" : *row.mending == Mending::Safe ? "`--fix`" : "`--unsafe-fixes`";
    EXPECT_NE(std::string_view(rule->mending).find(option), std::string_view::npos) << rule->mending;

    // No violation of a validation goes unsaid.
    DmFindingOptions everything = row.options;
    everything.all = true;
    for (const auto& each : {tree, row.nearby.tree()})
    {
        const auto found = DmFindings(everything).find(*each);
        const auto composition = CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(each->getChild(0)));
        if (!DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty())
        {
            EXPECT_TRUE(std::ranges::any_of(found, [](const DmFinding& finding)
                                            { return finding.severity == DmFinding::Error; }));
        }
    }

    const auto before = whatPlays(*tree);
    const auto safely = findings.mend(*tree, Mending::Safe);
    EXPECT_EQ(safely.status, DM_NO_ERROR);
    EXPECT_TRUE(whatPlays(*tree) == before);
    EXPECT_EQ(safely.count != 0, row.mending == Mending::Safe);
    if (row.mending == Mending::Unsafe)
    {
        const auto mended = findings.mend(*tree, Mending::Unsafe);
        EXPECT_EQ(mended.status, DM_NO_ERROR);
        EXPECT_NE(mended.count, 0);
        // Shots that are joined play what they played.
        EXPECT_TRUE(std::string_view(row.code) != "DM302" || whatPlays(*tree) == before);
    }
    if (row.mending)
    {
        EXPECT_EQ(allSaid(findings.find(*tree), row.code), std::vector<std::string>());
        EXPECT_EQ(findings.mend(*tree, Mending::Unsafe).count, 0);
        // What was mended breaks no rule that held before.
        const auto left = DmFindings(row.options).find(*tree);
        const auto first = DmFindings(row.options).find(*row.found.tree());
        for (const DmFinding& finding : left)
            EXPECT_TRUE(finding.severity != DmFinding::Error ||
                        std::ranges::any_of(first, [&](const DmFinding& each)
                                            { return std::string_view(each.code) == finding.code; }))
                << said(finding);
    }
    if (row.isCyclic)
    {
        auto& layer = layerOf(static_cast<DmCompositionNode&>(*tree->getChild(0)));
        while (layer.getNbChildren() > 0)
            layer.removeChild(0);
    }
}

} // namespace zrRules
