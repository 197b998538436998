// Every operation beside every kind of neighbour, in every mode, at every speed: operations.txt, a drawing before and
// one after each.
#include "zrEditCases.h"
#include "zrRandomEdits.h"

using namespace zrEditCases;

namespace
{

struct Row
{
    int line = 0;
    std::string before = {}, materials = {}, operation = {}, expected = {}, positions = {};
    std::vector<std::string> arguments = {};
    DmEditOptions options = {};
    bool isLinked = false;
};

/// Tracks stand below each other in drawings, beside each other in rows.
std::string drawn(std::string row)
{
    std::ranges::replace(row, ',', '\n');
    return row;
}

const zrOperations::Operation* operationOf(const std::string& name)
{
    for (const zrOperations::Operation& each : zrOperations::all)
        if (name == each.name)
            return &each;
    const auto* const found = std::ranges::find(zrOperations::whole, name, &zrOperations::Operation::name);
    return found == std::end(zrOperations::whole) ? nullptr : found;
}

std::vector<Row> rows()
{
    const std::pair<const char*, void (*)(Row&)> options[] = {
        {"[clamp]", [](Row& row) { row.options.clamp = true; }},
        {"[shortened]", [](Row& row) { row.options.atTransition = DmAtTransition::Shortened; }},
        {"[keep-frames]", [](Row& row) { row.options.keepFrames = true; }},
        {"[ripple]", [](Row& row) { row.options.ripple = true; }},
        {"[unlocked]", [](Row& row) { row.options.unlockedTracks = {1}; }},
        {"[cut-synced]", [](Row& row) { row.options.cutSynced = true; }},
        {"[linked]", [](Row& row) { row.isLinked = true; }},
        {"[unlinked]", [](Row& row) { row.isLinked = true, row.options.linked = false; }},
    };
    std::ifstream file(ZR_OPERATIONS);
    std::vector<Row> all;
    Row row;
    for (std::string line; std::getline(file, line);)
    {
        ++row.line;
        std::istringstream words(line);
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] != ' ')
        {
            words >> row.before;
            row.before = drawn(row.before);
            row.materials.clear();
            std::getline(words >> std::ws, row.materials);
            continue;
        }
        row = {row.line, row.before, row.materials};
        words >> row.operation;
        if (const zrOperations::Operation* const operation = operationOf(row.operation))
            for (std::size_t i = 0; operation->arguments[i] != '\0'; ++i)
                words >> row.arguments.emplace_back();
        std::getline(words >> std::ws, row.expected);
        for (const auto& [word, set] : options)
            if (row.expected.starts_with(word))
            {
                set(row);
                row.expected.erase(0, row.expected.find_first_not_of(' ', row.expected.find(' ')));
            }
        const std::size_t plays = row.expected.find(" ; ");
        row.positions = plays == std::string::npos ? "" : row.expected.substr(plays + 3);
        row.expected.erase(std::min(row.expected.size(), row.expected.find_last_not_of(' ', plays) + 1));
        if (row.expected[0] != '!')
            row.expected = drawn(row.expected);
        all.push_back(row);
    }
    return all;
}

/// The shot of that letter, covered or not; or "#2", an element of the first track.
DmElementPlace placeOf(const DmTimeline& timeline, const std::string& word)
{
    if (word[0] == '#')
        return at(std::stoi(word.substr(1)));
    for (int track = 0; track < timeline.trackCount(); ++track)
        for (int i = 0; i < timeline.elementCount(layer(track)); ++i)
        {
            const DmTreeNode* const node = timeline.storedElement(at(i, track));
            const auto* const blob = dynamic_cast<const DmTreeNode*>(node->getBaseBlob());
            const DmTreeNode* const named = dynamic_cast<const DmGapNode*>(node) && blob ? blob : node;
            if (named->getName() == DmString(word.c_str()))
                return at(i, track);
        }
    return at(-1);
}

zrOperations::Arguments argumentsOf(const Row& row, const char* kinds, const DmTimeline& timeline)
{
    zrOperations::Arguments with;
    bool isOther = false;
    for (std::size_t i = 0; i < row.arguments.size(); ++i)
    {
        const std::string& word = row.arguments[i];
        if (kinds[i] == 't')
            with.time = std::stod(word);
        else if (kinds[i] == 'n')
            with.amount = std::stod(word);
        else
        {
            DmElementPlace& place = isOther ? with.other : with.element;
            place = placeOf(timeline, word);
            place.index -= kinds[i] == 's' ? 1 : 0;
            isOther = true;
        }
    }
    return with;
}

/// How all shots of a timeline play, and in which mode it counts.
struct Variant
{
    const char* name;
    const wchar_t* fcm;
    const char* materials;
    double speed; ///< 0 holds a frame
    bool isKeyed = false;
};

CoSharedPtr<DmEffectSettings> warpOf(const Variant& variant, double length)
{
    const auto warp = DmVTimewarpSettings::create();
    EXPECT_EQ(warp->setConstantSpeed(!variant.isKeyed), DM_NO_ERROR);
    EXPECT_EQ(warp->setSpeed(variant.speed), DM_NO_ERROR);
    for (const double frame : {0.0, length})
        if (variant.isKeyed)
        {
            const auto key = DmKeyFrame::create();
            EXPECT_EQ(key->setFrame(float(frame)), DM_NO_ERROR);
            EXPECT_EQ(key->setValue(float(frame * 2)), DM_NO_ERROR);
            EXPECT_EQ(warp->getChannelByName(L"timing")->addKeyFrame(key), DM_NO_ERROR);
        }
    return warp;
}

DmTimeline timelineOf(const Row& row, const Variant& variant)
{
    const auto root = zrDrawing::tree(row.before, row.materials.empty() ? variant.materials : row.materials,
                                      row.isLinked, variant.fcm);
    DmTreeNode* const layerNode = root->getChild(0)->getChild(0)->getChild(0);
    for (int i = 0; i < layerNode->getNbChildren(); ++i)
    {
        DmTreeNode* node = layerNode->getChild(i);
        if (auto* const covered = dynamic_cast<DmSourceNode*>(node->getBaseBlob()); covered && node->asSegment())
            node = covered;
        if (auto* const source = dynamic_cast<DmSourceNode*>(node); source && variant.speed != 1.0)
        {
            EXPECT_EQ(source->addEffect(warpOf(variant, source->getRecLength())), DM_NO_ERROR);
        }
    }
    return DmTimeline::publish(root);
}

void check(const Row& row, const Variant& variant)
{
    const zrOperations::Operation* const operation = operationOf(row.operation);
    ASSERT_TRUE(operation) << row.operation;
    const DmTimeline before = timelineOf(row, variant);
    ASSERT_EQ(draw(before), row.before);
    const zrOperations::Arguments with = argumentsOf(row, operation->arguments, before);
    DmEdit edit(before, row.options);
    DmEdit question = edit.can();
    const std::string may = dmUtf8(operation->run(question, with).info());
    const DmStatus status = operation->run(edit, with);
    const std::string why = dmUtf8(status.info());
    EXPECT_EQ(may, why) << "the question answers otherwise";
    if (!status.ok())
    {
        EXPECT_TRUE(edit.timeline() == before) << "a refused operation changed something";
        const bool isKeyed = variant.isKeyed && why.find("keyed speed") != std::string::npos;
        const bool isHeld = variant.speed == 0.0 && why.find("does not play at a constant speed") != std::string::npos;
        if (!isKeyed && !isHeld)
        {
            EXPECT_TRUE(row.expected[0] == '!' && why.find(row.expected.substr(2)) != std::string::npos) << why;
        }
        return;
    }
    const DmTimeline after = edit.timeline();
    // Changing places, what is keyed has no frames to lend to the transitions beside it.
    if (!variant.isKeyed || row.operation != "swap")
    {
        EXPECT_EQ(draw(after), row.expected);
    }
    if (variant.speed == 1.0 && !row.positions.empty())
    {
        EXPECT_EQ(positions(after), row.positions);
    }
    const bool isWhole = std::floor(with.time) == with.time && std::floor(with.amount) == with.amount;
    // The model's transitions keep their length or go, its segments keep theirs, and other tracks lose nothing.
    if (isWhole && row.options.atTransition == DmAtTransition::Cut && !row.options.keepFrames && !row.options.cutSynced)
    {
        EXPECT_EQ(zrRandomEdits::Law(*operation, with, before).broken(edit, row.isLinked), "");
    }
    DmHistory history(before);
    const CoSharedPtr<DmTreeNode> done = DmTreeTool::deepClone(after.tree());
    history.add(L"step", edit);
    ASSERT_TRUE(history.undo());
    EXPECT_TRUE(DmTreeTool::areEqual(history.current().tree().get(), timelineOf(row, variant).tree().get()));
    ASSERT_TRUE(history.redo());
    EXPECT_TRUE(DmTreeTool::areEqual(history.current().tree().get(), done.get()));
}

constexpr const char* unknown = "A30 B30 C30 X30";
constexpr const char* known = "A30/100 B30/100 C30/100 X30/100";

} // namespace

TEST(EditOperations, AreRightBesideEveryNeighbourAtEverySpeed)
{
    const Variant variants[] = {{"of unknown length", L"25 fps", unknown, 1.0},
                                {"of known length", L"25 fps", known, 1.0},
                                {"backwards", L"25 fps", known, -1.0},
                                {"backwards, unknown", L"25 fps", unknown, -1.0},
                                {"slow", L"25 fps", known, 0.5},
                                {"fast, unknown", L"25 fps", unknown, 2.0},
                                {"held", L"25 fps", known, 0.0},
                                {"keyed", L"25 fps", known, 2.0, true},
                                {"keyed, unknown", L"25 fps", unknown, 2.0, true}};
    for (const Row& row : rows())
        for (const Variant& variant : variants)
        {
            if (!row.materials.empty() && &variant != variants)
                break; // handles are told for normal speed
            SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.operation + ", " + variant.name);
            check(row, variant);
        }
}

TEST(EditOperations, AreAllTriedBesideEveryNeighbour)
{
    std::map<std::string, std::set<std::string>> tried;
    for (const Row& row : rows())
        if (row.materials.empty() && row.before != "AAAA///BBBB") // of the points of a transition alone
            tried[row.before].insert(row.operation);
    EXPECT_EQ(tried.size(), 13U);
    for (const auto& [drawing, operations] : tried)
        for (const zrOperations::Operation& each : zrOperations::all)
            EXPECT_TRUE(operations.contains(each.name)) << each.name << " on " << drawing;
}

TEST(EditOperations, AreRightInEveryMode)
{
    const DM::FrameCodeModes modes[] = {DM::FCM_23_976,    DM::FCM_24,        DM::FCM_29_97_DF,
                                        DM::FCM_29_97_NDF, DM::FCM_30,        DM::FCM_50,
                                        DM::FCM_59_94_DF,  DM::FCM_59_94_NDF, DM::FCM_60};
    // Three of them in turn: beside its neighbours, an operation meets all.
    std::size_t turn = 0;
    for (const Row& row : rows())
        for (int i = 0; i < 3 && row.materials.empty(); ++i, ++turn)
        {
            const DmString text = dmFcmText(modes[turn % std::size(modes)]);
            const Variant variant{"", text.c_str(), turn % 2 == 0 ? known : unknown, turn % 5 == 0 ? -1.0 : 1.0};
            SCOPED_TRACE("line " + std::to_string(row.line) + ": " + row.operation + " in " + dmUtf8(text));
            check(row, variant);
        }
}
