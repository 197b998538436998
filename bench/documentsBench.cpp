/// Documents: opening and saving them against the JSON library's own parser and writer on the same bytes, copying them,
/// and the memory of a tree against its document. Takes the numbers of segments as arguments; 1 000, 10 000 and 100 000
/// without. With --million: how what a million plain clips cost differs from what a hundred thousand do.
///
/// The sync of a save waits for the disk and not for us: its processor time is taken off, and what it takes by the
/// clock is printed.
///
/// Each cost is taken in a child process: it begins with a clean heap, as a host does that opens a document, and pays
/// for the memory that it needs itself, not for what another measurement has left.
#include "zrDocuments.h"
#include "zrRatio.h"

#include <rapidjson/document.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using Layout = DmTreeJsonBuilder::Layout;
using zrDocuments::giveUp;
using zrDocuments::must;
using PrettyWriter = rapidjson::PrettyWriter<rapidjson::FileWriteStream>;
using CompactWriter = rapidjson::Writer<rapidjson::FileWriteStream>;

/// A document, and where it is written to.
struct Sample
{
    fs::path file;
    fs::path copy;
    Layout layout;
    const char* name;

    bool isPretty() const { return layout == Layout::Pretty; }
};

/// What the syncs of this process have taken: processor time, and time by the clock.
double syncSeconds = 0;
double syncWait = 0;

CoSharedPtr<DmRoot> open(const fs::path& file)
{
    CoSharedPtr<DmRoot> root;
    must(DmJsonImporter::importRootFromFile(file.c_str(), root));
    return root;
}

/// In one piece: a text that grows leaves its pieces in the heap, where an import then begins otherwise than after
/// nothing.
std::string contents(const fs::path& file)
{
    std::string text(fs::file_size(file), '\0');
    std::ifstream(file, std::ios::binary).read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

template <class Writer>
void writeWith(const rapidjson::Document& document, const fs::path& file)
{
    static char buffer[65536];
    std::FILE* const out = std::fopen(file.c_str(), "w");
    rapidjson::FileWriteStream stream(out, buffer, sizeof buffer);
    Writer writer(stream);
    if constexpr (std::is_same_v<Writer, PrettyWriter>)
        writer.SetIndent('\t', 1);
    document.Accept(writer);
    std::fclose(out);
}

/// What `work` answers in a child process: a number or an array of them.
template <class Work>
auto inChild(const Work& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        giveUp("cannot make a pipe");
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
    {
        const auto result = work();
        _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    close(ends[1]);
    decltype(work()) result{};
    if (read(ends[0], &result, sizeof result) != sizeof result)
        giveUp("a measurement has failed");
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return result;
}

/// Before each cost that is taken: the host of a virtual machine takes back what the system has left, in pieces of
/// large pages, and whoever touches one of those first waits for the host. Nobody whose cost is taken is to be the
/// first.
void fetchMemory(std::size_t bytes)
{
    void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        giveUp("no memory");
    static_cast<void>(madvise(memory, bytes, MADV_HUGEPAGE));
    std::memset(memory, 1, bytes);
    munmap(memory, bytes);
}

/// As much as any of the works on a document takes.
template <class Work>
double secondsOf(const Sample& sample, const Work& work)
{
    fetchMemory(fs::file_size(sample.file) * (sample.isPretty() ? 2 : 4));
    return zrRatio::secondsOf(work);
}

double secondsToImport(const Sample& sample)
{
    CoSharedPtr<DmRoot> root;
    return secondsOf(sample, [&] { root = open(sample.file); });
}

double secondsToImportFromMemory(const Sample& sample)
{
    const std::string text = contents(sample.file);
    CoSharedPtr<DmRoot> root;
    return secondsOf(sample, [&] { must(DmJsonImporter::importRootFromStr(text.c_str(), root)); });
}

/// In a process that has the text all the same, as the one before: the two differ in nothing but where they read.
double secondsToImportBesideText(const Sample& sample)
{
    const std::string text = contents(sample.file);
    return secondsToImport(sample);
}

double secondsToRelease(const Sample& sample)
{
    CoSharedPtr<DmRoot> root = open(sample.file);
    return zrRatio::secondsOf([&] { root.reset(); });
}

double secondsToParse(const Sample& sample)
{
    const std::string text = contents(sample.file);
    rapidjson::Document document;
    return secondsOf(sample, [&] { document.Parse(text.c_str()); });
}

/// What stands there is not given back at anybody's cost.
void makeRoomFor(const fs::path& file)
{
    fs::remove(file);
}

double secondsToSave(const Sample& sample)
{
    const CoSharedPtr<DmRoot> root = open(sample.file);
    makeRoomFor(sample.copy);
    const double synced = syncSeconds;
    const double all =
        secondsOf(sample, [&] { must(DmTreeJsonBuilder::generate(root, sample.copy.c_str(), sample.layout)); });
    return all - (syncSeconds - synced);
}

double secondsToWaitForTheDisk(const Sample& sample)
{
    static_cast<void>(secondsToSave(sample));
    return syncWait;
}

double secondsToSaveToMemory(const Sample& sample)
{
    const CoSharedPtr<DmRoot> root = open(sample.file);
    std::string text;
    return secondsOf(sample, [&] { must(DmTreeJsonBuilder::generateUtf8(root.get(), text, sample.layout)); });
}

double secondsToCopy(const Sample& sample)
{
    const CoSharedPtr<DmRoot> root = open(sample.file);
    DmPropertySetPtr copy;
    return secondsOf(sample, [&] { must(dmDeepCopy(*root, copy)); });
}

double secondsToWrite(const Sample& sample)
{
    rapidjson::Document document;
    document.Parse(contents(sample.file).c_str());
    makeRoomFor(sample.copy);
    return secondsOf(sample,
                     [&]
                     {
                         if (sample.isPretty())
                             writeWith<PrettyWriter>(document, sample.copy);
                         else
                             writeWith<CompactWriter>(document, sample.copy);
                     });
}

double bytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

/// The bytes of a tree, without the tables of its classes, which a process has once.
double treeSize(const fs::path& file)
{
    static_cast<void>(zrDocuments::make(1));
    const double before = bytesInUse();
    const CoSharedPtr<DmRoot> root = open(file);
    return bytesInUse() - before;
}

/// The bytes that an import adds to the process while it runs.
double peakSize(const Sample& sample)
{
    static_cast<void>(zrDocuments::make(1));
    const auto peak = []
    {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return static_cast<double>(usage.ru_maxrss) * 1024;
    };
    const double before = peak();
    const CoSharedPtr<DmRoot> root = open(sample.file);
    return peak() - before;
}

using Measure = double (*)(const Sample&);

/// What a work takes, and its ratio to another.
struct Compared
{
    double seconds;
    double ratio;
};

/// Medians of costs taken in turns; of the ratios of neighbours, which share what the machine is busy with: one, the
/// other, the other, one.
Compared compare(Measure ours, Measure reference, const Sample& sample, int rounds)
{
    const auto costOf = [&sample](Measure measure) { return inChild([&] { return measure(sample); }); };
    std::vector<double> times;
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i)
    {
        const double first = costOf(ours);
        const double others = costOf(reference) + costOf(reference);
        times.push_back((first + costOf(ours)) / 2);
        ratios.push_back(2 * times.back() / others);
    }
    return {zrRatio::median(times), zrRatio::median(ratios)};
}

double makePlain(int clips, const fs::path& file)
{
    must(DmTreeJsonBuilder::generate(zrDocuments::makePlain(clips), file.c_str(), DmTreeJsonBuilder::Layout::Compact));
    return 0;
}

/// What is done with plain clips, in seconds a clip, and their memory.
constexpr const char* growing[] = {"open", "check", "save", "copy", "compare", "memory"};
using Growing = std::array<double, std::size(growing)>;

/// In the process that made the tree, as in an editor's.
Growing costsOfPlain(int clips, const fs::path& file)
{
    const auto secondsOf = [clips](const auto& work)
    {
        constexpr std::size_t bytesOfClip = 1500; // of a tree, or a file
        fetchMemory(clips * bytesOfClip);
        return zrRatio::secondsOf(work);
    };
    const double before = bytesInUse();
    const CoSharedPtr<DmRoot> root = zrDocuments::makePlain(clips);
    const double memory = bytesInUse() - before;
    const double synced = syncSeconds;
    const double save =
        secondsOf([&] { must(DmTreeJsonBuilder::generate(root, file.c_str(), DmTreeJsonBuilder::Layout::Compact)); });
    const double sync = syncSeconds - synced;
    const double check = secondsOf([&] { static_cast<void>(DmFindings().find(*root)); });
    DmPropertySetPtr copy;
    const double copying = secondsOf([&] { must(dmDeepCopy(*root, copy)); });
    bool equal = false;
    const double comparing = secondsOf([&] { must(dmDeepEqual(*root, *copy, equal)); });
    if (!equal)
        giveUp("a copy is another");
    CoSharedPtr<DmRoot> opened;
    const double opening = secondsOf([&] { opened = open(file); });
    Growing costs{opening, check, save - sync, copying, comparing, memory};
    for (double& cost : costs)
        cost /= clips;
    return costs;
}

/// Medians of several processes.
Growing mediansOfPlain(int clips, const fs::path& file)
{
    constexpr int rounds = 5;
    std::array<std::vector<double>, std::size(growing)> taken;
    for (int i = 0; i < rounds; ++i)
    {
        const Growing costs = inChild([&] { return costsOfPlain(clips, file); });
        for (std::size_t k = 0; k < taken.size(); ++k)
            taken[k].push_back(costs[k]);
    }
    Growing medians{};
    std::transform(taken.begin(), taken.end(), medians.begin(), zrRatio::median);
    return medians;
}

/// In seconds a clip.
struct LookUps
{
    double recordRange;
    double elementAt;
};

LookUps costsOfLookUps(int clips)
{
    const CoSharedPtr<DmRoot> root = zrDocuments::makePlain(clips);
    const auto& layer = static_cast<const DmLayerNode&>(*root->getChild(0)->getChild(0)->getChild(0));
    const double length = layer.getLayerLength();
    double played = 0;
    int found = 0;
    const double ranges = zrRatio::secondsOf(
        [&]
        {
            for (int i = 0; i < layer.getNbChildren(); i += 2)
            {
                const DmSegmentNode& segment = *layer.getChild(i)->asSegment();
                played += segment.getRecOut() - segment.getRecIn();
            }
        });
    const double elements = zrRatio::secondsOf(
        [&]
        {
            for (int i = 0; i < clips; ++i) // in record order, as the figure of the page's third column was taken
                found += DmTreeTool::getElementAt(&layer, length / clips * i) ? 1 : 0;
        });
    if (played != length || found != clips)
        giveUp("a look-up is wrong");
    return {ranges / clips, elements / clips};
}

void reportMillion(const fs::path& directory)
{
    constexpr int few = 100'000;
    constexpr int many = 1'000'000;
    constexpr int rounds = 5;
    std::array<std::vector<double>, std::size(growing)> ratios;
    for (int i = 0; i < rounds; ++i)
    {
        const auto costs = [&](int clips)
        { return inChild([&] { return costsOfPlain(clips, directory / "plain.json"); }); };
        const Growing reference = costs(few);
        const Growing grown = costs(many);
        for (std::size_t k = 0; k < ratios.size(); ++k)
            ratios[k].push_back(grown[k] / reference[k]);
    }
    for (std::size_t k = 0; k < ratios.size(); ++k)
        std::printf("%s: a clip among %d / among %d: ratio %.2f (limit %.2f)\n", growing[k], many, few,
                    zrRatio::median(ratios[k]), std::strcmp(growing[k], "memory") == 0 ? 1.05 : 1.2);
}

/// Seconds to import a segment.
double report(int segments, const fs::path& directory)
{
    const Sample pretty{directory / "pretty.json", directory / "copy.json", Layout::Pretty, "pretty"};
    const Sample compact{directory / "compact.json", directory / "copy.json", Layout::Compact, "compact"};
    inChild(
        [&]
        {
            const CoSharedPtr<DmRoot> root = zrDocuments::make(segments);
            for (const Sample& sample : {pretty, compact})
                must(DmTreeJsonBuilder::generate(root, sample.file.c_str(), sample.layout));
            return 0;
        });
    const auto size = static_cast<double>(fs::file_size(compact.file));
    std::printf("%d segments: %.1f MB pretty, %.1f MB compact\n", segments,
                static_cast<double>(fs::file_size(pretty.file)) / 1e6, size / 1e6);

    const int rounds = segments > 50'000 ? 3 : 9;
    double seconds = 0;
    const auto print = [&](const char* what, double ratio, double limit)
    { std::printf("%d segments, %s: ratio %.2f (limit %.2f)\n", segments, what, ratio, limit); };
    for (const Sample& sample : {pretty, compact})
    {
        const auto measure = [&](const char* what, Measure ours, Measure reference, double limit, int times = 1)
        {
            const Compared costs = compare(ours, reference, sample, times * rounds);
            print((std::string(sample.name) + ": " + what).c_str(), costs.ratio, limit);
            return costs.seconds;
        };
        const double import = measure("import / parse", secondsToImport, secondsToParse, 1.0);
        // One work twice, but for its source: what the machine is busy with differs by more than they do.
        measure("import from memory / from a file", secondsToImportFromMemory, secondsToImportBesideText, 1.0, 3);
        measure("save without the sync / write", secondsToSave, secondsToWrite, 0.7);
        measure("save to memory / to a file without the sync", secondsToSaveToMemory, secondsToSave, 1.0);
        if (sample.isPretty())
            seconds = import / segments;
    }
    std::printf("%d segments, pretty: a save waits for the disk: %.0f ms by the clock\n", segments,
                1000 * inChild([&] { return secondsToWaitForTheDisk(pretty); }));
    print("deep copy / import", compare(secondsToCopy, secondsToImport, pretty, rounds).ratio, 0.5);
    print("release / import", compare(secondsToRelease, secondsToImport, pretty, rounds).ratio, 0.3);
    const double tree = inChild([&] { return treeSize(pretty.file); });
    print("tree in memory / compact document", tree / size, 1.25);
    print("peak of an import less the tree / compact document",
          (inChild([&] { return peakSize(pretty); }) - tree) / size, 0.2);

    const fs::path plain = directory / "plain.json";
    inChild([&] { return makePlain(segments, plain); });
    const Sample clips{plain, directory / "copy.json", Layout::Compact, "plain clips"};
    print("plain clips: import / parse", compare(secondsToImport, secondsToParse, clips, rounds).ratio, 1.0);
    print("plain clips: tree in memory / compact document",
          inChild([&] { return treeSize(plain); }) / static_cast<double>(fs::file_size(plain)), 1.95);
    const auto printCost = [segments](const char* what, double cost, const char* unit)
    { std::printf("%d plain clips, %s: %.2f %s a clip with its cut\n", segments, what, cost, unit); };
    const Growing costs = mediansOfPlain(segments, plain);
    for (std::size_t i = 0; i < costs.size(); ++i)
        if (std::strcmp(growing[i], "memory") == 0)
            printCost(growing[i], costs[i] / 1024, "KiB");
        else
            printCost(growing[i], costs[i] * 1e6, "us");
    const LookUps lookUps = inChild([&] { return costsOfLookUps(segments); });
    printCost("record range", lookUps.recordRange * 1e6, "us");
    printCost("element at a time", lookUps.elementAt * 1e6, "us");
    return seconds;
}

} // namespace

/// In the place of the C library's, which it calls.
extern "C" int fsync(int file)
{
    const double start = zrRatio::processorSeconds();
    const auto begin = std::chrono::steady_clock::now();
    const auto result = static_cast<int>(syscall(SYS_fsync, file));
    syncSeconds += zrRatio::processorSeconds() - start;
    syncWait += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return result;
}

int main(int argc, char** argv)
{
    std::vector<int> sizes;
    bool isMillion = false;
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "--million") == 0)
            isMillion = true;
        else
            sizes.push_back(std::atoi(argv[i]));
    }
    if (sizes.empty() && !isMillion)
        sizes = {1'000, 10'000, 100'000};
    std::string name = (fs::temp_directory_path() / "documentsBenchXXXXXX").string();
    if (!mkdtemp(name.data()))
        giveUp("no temporary directory");
    double first = 0;
    double last = 0;
    for (const int segments : sizes)
    {
        last = report(segments, name);
        if (first == 0)
            first = last;
    }
    if (isMillion)
        reportMillion(name);
    if (sizes.size() > 1)
        std::printf("import of a segment among %d / among %d: ratio %.2f (limit 1.15)\n", sizes.back(), sizes.front(),
                    last / first);
    fs::remove_all(name);
    return 0;
}
