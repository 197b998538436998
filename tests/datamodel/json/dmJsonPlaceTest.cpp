/// Where in a document an import finds what it cannot read, and documents that come in pieces.
#include "jsonSets.h"

TEST(JsonPlace, IsThatOfTheFaultThatIsReported)
{
    const std::string manyBlanks(200'000, ' ');
    const std::tuple<std::string, std::uint64_t, std::uint64_t> rows[] = {
        {"", 1, 1},
        {"\n\n[]", 3, 1},
        {"{\"JsonBox\":\n\t{ \"nothing\": 5 } }", 2, 15},
        {"{\"JsonBox\":\r\n\t{ \"name\": \"a\\n\\n\", \"nothing\": {} } }", 2,
         32}, // line feeds in a string end no line
        {"{\"NoSuchClass\": {\n\n} }", 1, 17},
        {"{\"JsonBox\":\n{ \"name\": \"cut off", 2, 11},
        {"{\"JsonBox\":\n{ \"name\": 12x } }", 2, 13},
        {"{\"JsonBox\": {\n" + manyBlanks + "\n" + manyBlanks + "\"nothing\": 1 } }", 3, 200'012},
        // Of two faults the one that is reported, though it stands second.
        {"{\"JsonBox\": {\n\"z\": 1,\n\"a\": 1 } }", 3, 6},
    };
    for (const auto& [json, line, column] : rows)
    {
        DmPropertySetPtr set;
        DmJsonPlace place;
        EXPECT_TRUE(DmJsonImporter::importSetFromStr(json, set, &place).failed());
        EXPECT_EQ(std::pair(place.line, place.column), std::pair(line, column)) << json.substr(0, 100);
    }
}

TEST(JsonPlace, IsNowhereForAFileThatIsNotThere)
{
    DmPropertySetPtr set;
    DmJsonPlace place;
    EXPECT_TRUE(DmJsonImporter::importSetFromFile("/nowhere.json", set, &place).failed());
    EXPECT_EQ(place.line, 0U);
}

/// Hands out a byte at a time.
class SlowSource final : public DmJsonSource
{
public:
    explicit SlowSource(std::string_view text)
        : _rest(text)
    {
    }
    std::size_t read(char* to, std::size_t /*size*/) override
    {
        const std::size_t count = _rest.copy(to, 1);
        _rest.remove_prefix(count);
        return count;
    }

private:
    std::string_view _rest;
};

/// Counts how often it is read from its beginning.
class CountingSource final : public DmJsonSource
{
public:
    explicit CountingSource(std::string_view text)
        : _text(text)
    {
    }
    std::size_t read(char* to, std::size_t size) override
    {
        const std::size_t count = _text.copy(to, size, _at);
        _at += count;
        return count;
    }
    bool rewind() override
    {
        _at = 0;
        ++readings;
        return true;
    }

    int readings = 0;

private:
    std::string_view _text;
    std::size_t _at = 0;
};

TEST(JsonSource, IsReadASecondTimeOnlyWhereThereIsSomethingToSay)
{
    const auto root = DmRoot::create();
    const auto segment = DmSourceNode::create();
    const auto effect = DmColourSettings::create();
    ASSERT_EQ(effect->createAttributes(), DM_NO_ERROR);
    ASSERT_EQ(segment->addEffect(effect), DM_NO_ERROR);
    const auto layer = DmLayerNode::create();
    for (int i = 0; i < 300; ++i)
        layer->addChild(segment);
    const auto composition = DmCompositionNode::create();
    const auto track = DmTrackNode::create();
    root->addChild(composition);
    composition->addChild(track);
    track->addChild(layer);
    for (const auto layout : {DmTreeJsonBuilder::Layout::Pretty, DmTreeJsonBuilder::Layout::Compact})
    {
        std::string text;
        ASSERT_TRUE(DmTreeJsonBuilder::generateUtf8(root.get(), text, layout).ok());
        CountingSource source(text);
        CoSharedPtr<DmRoot> back;
        EXPECT_TRUE(DmJsonImporter::importRoot(source, back).ok());
        EXPECT_EQ(source.readings, 1);
        text.replace(text.find("\"name\""), 6, "\"nome\"");
        CountingSource wrong(text);
        EXPECT_TRUE(DmJsonImporter::importRoot(wrong, back).failed());
        EXPECT_EQ(wrong.readings, 2);
    }
}

/// A file that somebody writes between its first reading and its second.
class ChangingSource final : public DmJsonSource
{
public:
    ChangingSource(std::string_view first, std::string_view second)
        : _first(first)
        , _second(second)
    {
    }
    std::size_t read(char* to, std::size_t size) override
    {
        const std::size_t count = _rest.copy(to, size);
        _rest.remove_prefix(count);
        return count;
    }
    bool rewind() override
    {
        _rest = std::exchange(_isFirst, false) ? _first : _second;
        return true;
    }

private:
    std::string_view _first;
    std::string_view _second;
    std::string_view _rest;
    bool _isFirst = true;
};

TEST(JsonSource, ThatIsAnotherOneTheSecondTimeIsNoDocument)
{
    const std::string blanks(100'000, ' ');
    const std::string wrong = blanks + R"({"DmRoot":{"name":7}})" + blanks;
    const std::string other = blanks + R"({"DmRoot":{"name":8}})" + blanks;
    const std::string swapped = blanks + R"({"mDRoot":{"name":7}})" + blanks;
    const std::tuple<std::string, std::string, const char*> rows[] = {
        {wrong, wrong, ""},
        {wrong, other, "JSON parse error"},
        {wrong, swapped, "JSON parse error"},
        {wrong, blanks, "JSON parse error"},
        {wrong, "", "JSON parse error"},
        {R"({"DmRoot":{)", R"({"DmRoot":{}})", "JSON parse error"}, // it had ended
        {R"({"DmRoot":{"nome":1)", R"({"DmRoot":{"nome":1)",
         "JSON parse error : Missing a comma or '}' after an object member."},
    };
    for (const auto& [first, second, words] : rows)
    {
        ChangingSource source(first, second);
        CoSharedPtr<DmRoot> root;
        EXPECT_EQ(dmUtf8(DmJsonImporter::importRoot(source, root).info()), words) << second.substr(0, 100);
        EXPECT_EQ(root != nullptr, *words == '\0');
    }
}

TEST(JsonSource, MayTakeItsTime)
{
    CoSharedPtr<DmRoot> root;
    SlowSource whole(
        R"({"DmRoot": {"name": "\u00e9t\u00e9", "children": [{"DmCompositionNode": {"startTC": -1.5e1}}]}})");
    ASSERT_TRUE(DmJsonImporter::importRoot(whole, root).ok());
    EXPECT_TRUE(root->getName() == L"\u00e9t\u00e9");
    EXPECT_EQ(root->getNbChildren(), 1);

    DmJsonPlace place;
    SlowSource cut("{\"DmRoot\":\n {\"name\": \"\\u00e");
    EXPECT_TRUE(DmJsonImporter::importRoot(cut, root, &place).failed());
    EXPECT_EQ(place.line, 2U);
    EXPECT_EQ(place.column, 11U);
    EXPECT_EQ(root->getNbChildren(), 1) << "what was there stays";
}
