/// Rules in tables: a cut that breaks a rule, one nearby that does not, and what mending makes of the first.
#pragma once

#include "zrDrawing.h"
#include "zrTable.h"
#include "zrTest.h"

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

/// The words of a change: what is done, then to which element of the first layer, as a rule, and how.
class Words
{
public:
    explicit Words(const std::string& text)
        : _words(zrWordsOf(text))
    {
    }
    std::string text(std::size_t index) const { return index < _words.size() ? _words[index] : std::string(); }
    DmString wide(std::size_t index) const
    {
        DmString wide;
        EXPECT_TRUE(dmFromUtf8(text(index), wide));
        return wide;
    }
    double number(std::size_t index) const { return index < _words.size() ? std::stod(_words[index]) : 0.0; }
    int whole(std::size_t index) const { return static_cast<int>(number(index)); }

private:
    std::vector<std::string> _words;
};

/// Sets a number of an element: "length 2 0.5", of the second track "length 2 0.5 1".
inline auto setNumber(const wchar_t* property)
{
    return [property](DmCompositionNode& it, const Words& words)
    {
        const double value = words.number(2);
        return at<DmTreeNode>(it, words.whole(1), words.whole(3)).setPropertyValue(property, DM_DOUBLE, &value);
    };
}

inline eDmErrorId all(std::initializer_list<eDmErrorId> statuses)
{
    return std::max(statuses);
}

/// Gives each source a file of its letter, "/media/A.mov" for A and a.
inline eDmErrorId giveFiles(DmCompositionNode& it)
{
    for (int t = 0; t < it.getNbChildren(); ++t)
        for (int i = 0; i < layerOf(it, t).getNbChildren(); ++i)
            if (auto* const source = dynamic_cast<DmSourceNode*>(layerOf(it, t).getChild(i)))
            {
                const auto letter = static_cast<wchar_t>(std::toupper(static_cast<int>(source->getName().c_str()[0])));
                const std::wstring path = std::wstring(L"/media/") + letter + L".mov";
                EXPECT_EQ(mediaAt(it, i, t).getSrcInfo()->setPath(DmString(path.c_str())), DM_NO_ERROR);
            }
    return DM_NO_ERROR;
}

/// Lets a shot play from a frame of its material.
inline eDmErrorId playFrom(DmCompositionNode& it, const Words& words)
{
    auto& segment = at<DmSegmentNode>(it, words.whole(1), words.whole(3));
    auto& media = mediaAt(it, words.whole(1), words.whole(3));
    return all({media.setSrcLength(words.number(2) + segment.getRecLength()), segment.setRelIn(words.number(2))});
}

/// Puts a container with a composition of its own behind the last shot.
inline CoSharedPtr<DmCompositionNode> nest(DmCompositionNode& composition, double length)
{
    const auto inner = DmCompositionNode::create(L"inner", L"25 fps", nullptr);
    auto& layer = layerOf(composition);
    const double end = at<DmSegmentNode>(composition, layer.getNbChildren() - 1).getRecOut();
    layer.addChild(DmCutNode::create(DM_MEDIA_VIDEO, end));
    layer.addChild(DmContainerNode::create(inner, DM_MEDIA_VIDEO, end, length));
    EXPECT_EQ(all({layer.setLayerLength(end + length), composition.setCompLength(end + length)}), DM_NO_ERROR);
    return inner;
}

/// Attaches to the first transition what it leaves, as a list says it.
inline eDmErrorId leave(DmCompositionNode& it, double srcIn)
{
    const auto input =
        DmSourceNode::MediaInput::create(1.0, srcIn, DmSourceInfo::create(), L"25 fps", DM_MEDIA_VIDEO, true);
    auto& mix = at<DmTrxEffectNode>(it, 1);
    return all({input->setFcm(L"25 fps"),
                mix.setBaseBlob(DmSourceNode::create(input, mix.getRecIn(), 0.0, 0.0, false, false))});
}

inline eDmErrorId addKeys(DmCompositionNode& it, const Words& words)
{
    const auto resize = DmResizeSettings::create();
    for (const std::size_t i : {1U, 2U})
    {
        const auto frame = static_cast<float>(words.number(i));
        EXPECT_EQ(resize->getChannel(DmResizeSettings::ChannelId::scale_x)
                      ->addKeyFrame(DmKeyFrame::create2(frame, frame, {}, {}, 0, 0, 0, 0, 0)),
                  DM_NO_ERROR);
    }
    return at<DmSegmentNode>(it, 0).addEffect(resize);
}

/// Sizes of the composition and of the first source, and the colour space of the latter.
inline eDmErrorId setPictures(DmCompositionNode& it, const Words& words)
{
    const auto whole = DmFrameResolution::create();
    const auto own = DmFrameResolution::create();
    return all({whole->setWidth(words.whole(1)), whole->setHeight(1080), own->setWidth(words.whole(2)),
                own->setHeight(1080), own->setColorSpace(words.wide(3)), mediaAt(it, 0).setPrimaryRes(own),
                it.setResolution(whole), it.setColourSpace(L"Rec.709")});
}

inline eDmErrorId addMark(DmCompositionNode& it, const Words& words)
{
    const auto mark = DmCueMark::create(words.wide(1), words.number(4));
    return all({mark->setCueMarkColorRed(words.whole(2)), mark->setCueMarkColorGreen(words.whole(3)),
                mark->setCueMarkColorBlue(words.whole(5)), at<DmSegmentNode>(it, 0).addSegmentMark(mark)});
}

using It = DmCompositionNode;

inline const std::map<std::string, std::function<eDmErrorId(It&, const Words&)>> changes = {
    {"length", setNumber(L"recLength")},
    {"record", setNumber(L"recIn")},
    {"in", setNumber(L"relIn")},
    {"from", playFrom},
    {"keys", addKeys},
    {"picture", setPictures},
    {"mark", addMark},
    {"files", [](It& it, const Words&) { return giveFiles(it); }},
    {"leaves", [](It& it, const Words& w) { return leave(it, w.number(1)); }},
    {"sound", [](It& it, const Words& w) { return at<DmSegmentNode>(it, w.whole(1)).setMediaType(DM_MEDIA_AUDIO); }},
    {"effect", [](It& it, const Words& w)
     { return at<DmSegmentNode>(it, w.whole(1)).addEffect(dmCreateEffect(w.wide(2).c_str())); }},
    {"remove",
     [](It& it, const Words& w) { return layerOf(it).removeChild(w.whole(1)) >= 0 ? DM_NO_ERROR : DM_BAD_INDEX; }},
    {"no-effect", [](It& it, const Words& w) { return at<DmTrxEffectNode>(it, w.whole(1)).setEffect({}); }},
    {"no-input", [](It& it, const Words& w) { return at<DmSourceNode>(it, w.whole(1)).setSrcInput({}); }},
    {"nest",
     [](It& it, const Words& w)
     {
         const auto inner = nest(it, w.number(1));
         if (w.text(2) == "itself")
             inner->addChild(it.getChild(0));
         return DM_NO_ERROR;
     }},
    {"id",
     [](It& it, const Words& w) { return at<DmSegmentNode>(it, w.whole(1), w.whole(3)).setSegmentId(w.wide(2)); }},
    {"shot", [](It& it, const Words& w) { return at<DmSegmentNode>(it, w.whole(1)).setShotName(w.wide(2)); }},
    {"mute", [](It& it, const Words& w) { return at<DmSegmentNode>(it, w.whole(1)).setMuted(true); }},
    {"layer", [](It& it, const Words& w) { return layerOf(it).setLayerLength(w.number(1)); }},
    {"composition", [](It& it, const Words& w) { return it.setCompLength(w.number(1)); }},
    {"start", [](It& it, const Words& w) { return it.setStartTC(w.number(1), L"25 fps"); }},
    {"material", [](It& it, const Words& w) { return mediaAt(it, w.whole(1)).setSrcLength(w.number(2)); }},
    {"reel", [](It& it, const Words& w) { return mediaAt(it, w.whole(2)).getSrcInfo()->setReelName(w.wide(1)); }},
    {"path", [](It& it, const Words& w) { return mediaAt(it, w.whole(2)).getSrcInfo()->setPath(w.wide(1)); }},
    {"numbers",
     [](It& it, const Words& w)
     {
         DmSourceInfo& info = *mediaAt(it, 0).getSrcInfo();
         return all({info.setFileSeqBegin(w.whole(1)), info.setFileSeqEnd(w.whole(2))});
     }},
    {"label",
     [](It& it, const Words& w) {
         return all({mediaAt(it, 0).setSrcInStr(w.wide(1)), mediaAt(it, 0).setSrcInFcm(w.wide(2))});
     }},
    {"speed",
     [](It& it, const Words& w)
     {
         const auto warp = DmVTimewarpSettings::create();
         return all({warp->setSpeed(w.number(2)), at<DmSegmentNode>(it, w.whole(1)).addEffect(warp)});
     }},
    {"resize",
     [](It& it, const Words& w)
     {
         const auto resize = DmResizeSettings::create();
         return all({resize->setMuted(w.text(2) == "bypassed"),
                     at<DmSegmentNode>(it, w.whole(1), w.whole(3)).addEffect(resize)});
     }},
    {"rate",
     [](It& it, const Words& w)
     {
         const auto sound = DmAudioProperties::create();
         return all({sound->setSamplingRate(w.number(1)), mediaAt(it, 0).setAudioProperties(sound),
                     it.setSamplingRate(48000.0)});
     }},
};

/// "files, from 2 4"
inline std::function<void(DmCompositionNode&)> changeOf(const std::string& text)
{
    return [text](DmCompositionNode& it)
    {
        std::string rest = text;
        while (!rest.empty())
        {
            const std::size_t comma = rest.find(", ");
            const Words words(rest.substr(0, comma));
            rest.erase(0, comma == std::string::npos ? comma : comma + 2);
            EXPECT_EQ(changes.at(words.text(0))(it, words), DM_NO_ERROR) << text;
        }
    };
}

inline DmFindingOptions optionsOf(const std::string& text)
{
    const Words words(text);
    DmFindingOptions options;
    const std::map<std::string, std::function<void()>> known = {
        {"", [] {}},
        {"handles", [&] { options.handles = words.number(1); }},
        {"dupe-handles", [&] { options.dupeHandles = words.number(1); }},
        {"start-label", [&] { options.startLabel = words.text(1); }},
        {"forbidden", [&] { options.forbiddenPaths = {words.text(1)}; }},
        {"required",
         [&] {
             options.requiredPaths = {words.text(1), words.text(2)};
         }},
        {"shot-names", [&] { options.shotNames = words.text(1); }},
    };
    known.at(words.text(0))();
    return options;
}

/// A row of rules.txt.
struct RuleCase
{
    explicit RuleCase(const ZrRow& row)
        : code(row[0])
        , found{row[1], row[2], changeOf(row[3])}
        , nearby{row[5], row[6], changeOf(row[7])}
        , options(optionsOf(row[9]))
        , isCyclic(row[3].ends_with("itself"))
    {
        std::istringstream lines(row[4]);
        for (std::string line; std::getline(lines, line);)
            said.push_back(line);
        if (!row[8].empty())
            mending = row[8] == "safe" ? Mending::Safe : Mending::Unsafe;
    }

    std::string code;
    Cut found;
    std::vector<std::string> said; ///< "CLIP TRACK RECORD: text", in order
    Cut nearby;                    ///< nothing is found in it
    std::optional<Mending> mending;
    DmFindingOptions options;
    bool isCyclic; ///< what is found stands below itself, and would never be released
};

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
    SCOPED_TRACE(row.code + ":\n" + row.found.drawing);
    DmFindingOptions options = row.options;
    options.select = {row.code};
    const DmFindings findings(options);

    const auto tree = row.found.tree();
    EXPECT_EQ(allSaid(findings.find(*tree), row.code), row.said);
    EXPECT_EQ(allSaid(findings.find(*row.nearby.tree()), row.code), std::vector<std::string>()) << row.nearby.drawing;

    const auto rules = DmFindings::ownRules();
    const auto rule = std::ranges::find(rules, row.code, [](const DmRule& each) { return std::string(each.code); });
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
        EXPECT_TRUE(row.code != "DM302" || whatPlays(*tree) == before);
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
