#include "zrFilled.h"
#include "zrRunCommand.h"
#include "zrTempDir.h"

using zrTest::runDmtree;

namespace
{

class DmtreeSchema : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto result = runDmtree({"schema"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        _schema = directory.write("schema.json", result.out);
    }

    zrTest::CommandResult validate(std::vector<std::string> documents) const
    {
        documents.insert(documents.begin(), {ZR_PYTHON, ZR_VALIDATOR, _schema});
        return zrTest::runCommand(documents);
    }

    const ZrTempDir directory;

    /// "valid" or "invalid", what was done, and the document: a line a mutation of the examples.
    zrTest::CommandResult mutate(int count) const
    {
        std::vector<std::string> command{ZR_PYTHON, ZR_MUTATOR, _schema, "25", std::to_string(count)};
        for (const char* const name : {"commercial-25", "news-29.97df", "feature-23.976"})
            command.push_back(std::string(ZR_EXAMPLES "/") + name + ".json");
        return zrTest::runCommand(command);
    }

private:
    std::string _schema;
};

/// What a schema cannot say of a change.
bool isBeyondSchema(const DmJsonChange& change)
{
    const bool isElement = change.path.ends_with(']');
    const bool vanished = change.became == "0" && change.was.find_first_of("eE") != std::string::npos;
    return change.reason == DmJsonChange::Twice ||
           (change.reason == DmJsonChange::Converted && (isElement || vanished));
}

} // namespace

TEST_F(DmtreeSchema, AcceptsEveryClassWithEveryPropertyAndTheExamples)
{
    DmPropertyFactory::getInstance().setCreateDefaultAttributes(true);
    const CoSharedPtr<DmRoot> root = DmRoot::create();
    int classes = 0;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        for (const bool filled : {false, true})
        {
            const DmPropertySetPtr set = zrTest::fresh(name);
            ASSERT_TRUE(set) << dmUtf8(name);
            if (filled)
                zrTest::fill(*set);
            const CoSharedPtr<DmBlobNode> carrier = DmBlobNode::create();
            ASSERT_EQ(carrier->setBaseBlob(set), DM_NO_ERROR) << dmUtf8(name);
            root->addChild(carrier);
            ++classes;
        }
    EXPECT_GT(classes, 100);
    const std::string file = directory.path("all.json");
    const DmStatus status = DmTreeJsonBuilder::generate(root, file.c_str());
    ASSERT_FALSE(status.failed()) << dmUtf8(status.info());
    std::vector<std::string> documents = {file};
    for (const char* const name : {"commercial-25", "news-29.97df", "feature-23.976", "commercial-with-mistakes"})
        documents.push_back(std::string(ZR_EXAMPLES "/") + name + ".json");
    const auto result = validate(documents);
    EXPECT_EQ(result.out, "valid\nvalid\nvalid\nvalid\nvalid\n") << result.err;
}

TEST_F(DmtreeSchema, RefusesWhatNoDocumentHolds)
{
    const std::string good = R"({"DmRoot":{"children":[{"DmGapNode":{"classId":5,"recIn":4.5}},{}]},)"
                             R"("VERSION":{"major":0,"minor":1}})";
    ASSERT_EQ(validate({directory.write("good.json", good)}).out, "valid\n");
    const std::pair<const char*, const char*> cases[] = {
        // a part of it, and what stands there instead
        {"recIn", "recin"},
        {"4.5", "\"4.5\""},
        {"4.5", "null"},
        {"\"recIn\":4.5", "\"mediaType\":3"},
        {"DmGapNode\":{\"classId\":5,\"recIn\":4.5}", "DmCompositionNode\":{\"origin\":-2147483649}"},
        {"DmGapNode\":{\"classId\":5,\"recIn\":4.5}", "DmCompositionNode\":{\"fcm\":\"26 fps\"}"},
        {"DmGapNode", "DmHoleNode"},
        {"DmGapNode\":{\"classId\":5,\"recIn\":4.5}", "DmKeyFrame\":{}"},
        {"{}]", "{\"DmGapNode\":{},\"DmCutNode\":{}}]"},
        {"\"classId\":5", "\"classId\":4"},
        {"\"classId\":5", "\"classId\":5.5"},
        {",\"minor\":1", ""},
        {"DmRoot", "DmReelNode"},
        {R"("DmRoot":{"children":[{"DmGapNode":{"classId":5,"recIn":4.5}},{}]},)", ""},
        {"\"VERSION\"", "\"comment\":\"\",\"VERSION\""},
    };
    std::vector<std::string> documents;
    for (const auto& [part, instead] : cases)
    {
        std::string bad = good;
        bad.replace(bad.find(part), std::string(part).size(), instead);
        documents.push_back(directory.write(std::to_string(documents.size()), bad));
    }
    const auto result = validate(documents);
    for (std::size_t i = 0; i < documents.size(); ++i)
        EXPECT_NE(result.out.find(documents[i] + ": $"), std::string::npos) << cases[i].second << result.err;
}

TEST_F(DmtreeSchema, AgreesWithStrictReadingOnMutationsOfTheExamples)
{
    constexpr int count = 8000;
    const auto result = mutate(count);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    int seen = 0;
    int agreed[2] = {};
    std::istringstream lines(result.out);
    for (std::string verdict, what, json;
         std::getline(lines, verdict, '\t') && std::getline(lines, what, '\t') && std::getline(lines, json);)
    {
        ++seen;
        CoSharedPtr<DmRoot> root;
        DmJsonChanges changes;
        const DmStatus status = DmJsonImporter::importRootFromStr(json.c_str(), root, nullptr, &changes);
        const bool isValid = verdict == "valid";
        const bool isTaken = status.ok() && changes.empty();
        if (isValid == isTaken)
            ++agreed[isTaken ? 1 : 0];
        else
            EXPECT_TRUE(isValid && status.ok() && std::ranges::all_of(changes.list, isBeyondSchema))
                << verdict << ", " << what << ": "
                << (status.failed()   ? dmUtf8(status.info())
                    : changes.empty() ? "taken"
                                      : changes.list.front().text())
                << '\n'
                << json;
    }
    EXPECT_EQ(seen, count);
    EXPECT_TRUE(agreed[0] > count / 4 && agreed[1] > count / 10) << agreed[0] << ' ' << agreed[1];
}
