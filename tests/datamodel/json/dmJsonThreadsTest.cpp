#include "jsonSets.h"
#include "zrTempDir.h"

/// One tree, saved by many at the same time, to one file.
TEST(JsonThreads, SavesAreIndependentOfEachOther)
{
    const auto box = JsonBox::create();
    for (int i = 0; i < 20'000; ++i)
        box->_numbers.push_back(i);
    const std::string expected = written(*box);
    const ZrTempDir directory;
    const std::string path = directory.path("edit.json");

    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 10; ++round)
                {
                    std::string text;
                    using Layout = DmTreeJsonBuilder::Layout;
                    const bool built = DmTreeJsonBuilder::generateUtf8(box.get(), text, Layout::Compact).ok();
                    const bool saved = DmTreeJsonBuilder::generate(box, path.c_str(), Layout::Compact).ok();
                    failures += !built || text != expected || !saved || ZrTempDir::read(path) != expected;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

/// Imports, each of a document of its own, beside creations that are none of theirs.
TEST(JsonThreads, ImportsRunBesideEachOtherAndBesideCreations)
{
    std::atomic<int> failures{0};
    std::atomic<bool> isDone{false};
    std::vector<std::thread> threads;
    threads.reserve(10);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(
            [&, i]
            {
                std::string json = R"({"JsonBox":{"things":[)";
                for (int k = 0; k < 200; ++k)
                    json += (k == 0 ? "" : ",") + ("{\"JsonBox\":{\"kind\":7,\"name\":\"" + std::to_string(i) + "\"}}");
                json += i % 2 == 0 ? "]}}" : "],\"name\":null}}"; // the one way of reading and the other
                for (int round = 0; round < 20; ++round)
                {
                    DmPropertySetPtr set;
                    if (DmJsonImporter::importSetFromStr(json, set).failed())
                        ++failures;
                    else if (static_cast<const JsonBox&>(*set)._channels.size() != 1) // its default attribute
                        ++failures;
                }
            });
    for (int i = 0; i < 2; ++i)
        threads.emplace_back(
            [&]
            {
                while (!isDone)
                    failures += !JsonBox::create()->_channels.empty();
            });
    for (int i = 0; i < 8; ++i)
        threads[static_cast<std::size_t>(i)].join();
    isDone = true;
    threads[8].join();
    threads[9].join();
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(DmPropertyFactory::getInstance().setCreateDefaultAttributes(false));
}
