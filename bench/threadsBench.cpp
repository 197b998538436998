/// Eight threads that import different documents, against as many processes that import the same ones: what threads
/// wait for each other, because they share one library. Takes the segments of a document as an argument; 5 000 without.
///
/// Unlike the other benchmarks this one counts wall-clock time as well, since waiting takes no processor: both sides
/// use all processors that there are, and are run in turns.
#include "zrDocuments.h"
#include "zrRatio.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace
{

namespace fs = std::filesystem;

constexpr int importers = 8;

/// What a work took, its child processes included.
struct Cost
{
    double elapsed;
    double processor;
};

void import(const fs::path& file)
{
    CoSharedPtr<DmRoot> root;
    if (DmJsonImporter::importRootFromFile(file.c_str(), root).failed())
        _exit(1);
    static_cast<void>(root.detach()); // whoever opens a document keeps it
}

void startChild(const std::function<void()>& work)
{
    if (fork() == 0)
    {
        work();
        _exit(0);
    }
}

double childSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time)
    { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Cost costOf(const std::function<void()>& startChildren)
{
    const double processor = childSeconds();
    const auto start = std::chrono::steady_clock::now();
    startChildren();
    int status = 0;
    while (wait(&status) > 0)
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        {
            std::fprintf(stderr, "threadsBench: an import has failed\n");
            std::exit(1);
        }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return {elapsed.count(), childSeconds() - processor};
}

} // namespace

int main(int argc, char** argv)
{
    const int segments = argc > 1 ? std::atoi(argv[1]) : 5000;
    const fs::path directory = fs::temp_directory_path() / ("threadsBench." + std::to_string(getpid()));
    fs::create_directory(directory);
    const auto file = [&](int i) { return directory / (std::to_string(i) + ".json"); };
    for (int i = 0; i < importers; ++i)
        if (DmTreeJsonBuilder::generate(zrDocuments::make(segments + i), file(i).c_str()).failed())
            return 1;

    const auto processes = [&]
    {
        for (int i = 0; i < importers; ++i)
            startChild([&] { import(file(i)); });
    };
    const auto threads = [&]
    {
        startChild(
            [&]
            {
                std::vector<std::thread> all;
                for (int i = 0; i < importers; ++i)
                    all.emplace_back([&, i] { import(file(i)); });
                for (std::thread& thread : all)
                    thread.join();
            });
    };
    std::vector<double> elapsed;
    std::vector<double> processor;
    for (int round = 0; round < 11; ++round)
    {
        const Cost inThreads = costOf(threads);
        const Cost inProcesses = costOf(processes);
        elapsed.push_back(inThreads.elapsed / inProcesses.elapsed);
        processor.push_back(inThreads.processor / inProcesses.processor);
    }
    fs::remove_all(directory);
    zrRatio::print("import in 8 threads / in 8 processes, elapsed", 1.3, zrRatio::median(std::move(elapsed)));
    zrRatio::print("import in 8 threads / in 8 processes, processor", 1.3, zrRatio::median(std::move(processor)));
    return 0;
}
