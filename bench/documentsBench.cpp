/// Documents: opening and saving them against the JSON library's own parser and writer on the same bytes, and the
/// memory of a tree against its document. Takes the numbers of segments as arguments; 1 000, 10 000 and 100 000
/// without.
///
/// Each cost is taken in a child process: it begins with a clean heap, as a host does that opens a document, and pays
/// for the memory that it needs itself, not for what another measurement has left.
#include "zrDocuments.h"
#include "zrRatio.h"

#include <rapidjson/document.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using Layout = DmTreeJsonBuilder::Layout;
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

[[noreturn]] void giveUp(const std::string& why)
{
    std::fprintf(stderr, "documentsBench: %s\n", why.c_str());
    std::exit(1);
}

void must(const DmStatus& status)
{
    if (status.failed())
        giveUp(dmUtf8(status.info()));
}

CoSharedPtr<DmRoot> open(const fs::path& file)
{
    CoSharedPtr<DmRoot> root;
    must(DmJsonImporter::importRootFromFile(file.c_str(), root));
    return root;
}

std::string contents(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
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

/// What `work` answers in a child process.
double inChild(const std::function<double()>& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        giveUp("cannot make a pipe");
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
    {
        const double result = work();
        _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    close(ends[1]);
    double result = 0;
    if (read(ends[0], &result, sizeof result) != sizeof result)
        giveUp("a measurement has failed");
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return result;
}

double secondsToImport(const Sample& sample)
{
    CoSharedPtr<DmRoot> root;
    return zrRatio::secondsOf([&] { root = open(sample.file); });
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
    return zrRatio::secondsOf([&] { document.Parse(text.c_str()); });
}

double secondsToSave(const Sample& sample)
{
    const CoSharedPtr<DmRoot> root = open(sample.file);
    return zrRatio::secondsOf([&] { must(DmTreeJsonBuilder::generate(root, sample.copy.c_str(), sample.layout)); });
}

double secondsToWrite(const Sample& sample)
{
    rapidjson::Document document;
    document.Parse(contents(sample.file).c_str());
    return zrRatio::secondsOf(
        [&]
        {
            if (sample.isPretty())
                writeWith<PrettyWriter>(document, sample.copy);
            else
                writeWith<CompactWriter>(document, sample.copy);
        });
}

/// The bytes of a tree.
double treeSize(const Sample& sample)
{
    const auto inUse = []
    {
        const struct mallinfo2 info = mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd);
    };
    const double before = inUse();
    const CoSharedPtr<DmRoot> root = open(sample.file);
    return inUse() - before;
}

/// The bytes that an import adds to the process while it runs.
double peakSize(const Sample& sample)
{
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

/// The median of each of two costs, taken in turns.
std::pair<double, double> medians(Measure ours, Measure reference, const Sample& sample, int rounds)
{
    std::vector<double> times;
    std::vector<double> referenceTimes;
    for (int i = 0; i < rounds; ++i)
    {
        times.push_back(inChild([&] { return ours(sample); }));
        referenceTimes.push_back(inChild([&] { return reference(sample); }));
    }
    return {zrRatio::median(times), zrRatio::median(referenceTimes)};
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

    const int rounds = segments > 50'000 ? 3 : 15;
    double seconds = 0;
    for (const Sample& sample : {pretty, compact})
    {
        const auto [import, parse] = medians(secondsToImport, secondsToParse, sample, rounds);
        const auto [save, write] = medians(secondsToSave, secondsToWrite, sample, rounds);
        // The compact form has as many values in less than half the bytes: its import is for information.
        std::printf("%d segments, %s: import / parse: ratio %.2f (%s)\n", segments, sample.name, import / parse,
                    sample.isPretty() ? "limit 2.50" : "no limit");
        std::printf("%d segments, %s: save / write: ratio %.2f (limit 3.00)\n", segments, sample.name, save / write);
        if (sample.isPretty())
            seconds = import / segments;
    }
    const auto [release, import] = medians(secondsToRelease, secondsToImport, pretty, rounds);
    std::printf("%d segments: release / import: ratio %.2f (limit 0.30)\n", segments, release / import);
    const double tree = inChild([&] { return treeSize(pretty); });
    std::printf("%d segments: tree in memory / compact document: ratio %.2f (limit 1.25)\n", segments, tree / size);
    std::printf("%d segments: peak of an import less the tree / compact document: ratio %.2f (limit 0.20)\n", segments,
                (inChild([&] { return peakSize(pretty); }) - tree) / size);
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i)
        sizes.push_back(std::atoi(argv[i]));
    if (sizes.empty())
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
    std::printf("import of a segment among %d / among %d: ratio %.2f (limit 1.15)\n", sizes.back(), sizes.front(),
                last / first);
    fs::remove_all(name);
    return 0;
}
