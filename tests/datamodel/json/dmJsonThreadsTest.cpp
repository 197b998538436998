#include "jsonSets.h"

#include "zrTempDir.h"

#include <atomic>
#include <thread>

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
