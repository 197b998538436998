// Lists that differ in one word, line, element or member from one that is kept: what is said of each, and what comes
// out of it, beside what does of the one it was made from. Rows that people can read stand in varied.txt, of which the
// last field is what was found: for each thing that comes out, how many of its lines went (-) and came (+), and a
// number that the same lines have; of what is said, the first new line. Who means to change that runs this with
// WRITE_VARIED=1 and reads the difference.
#include "icInterchange.h"

#include "vwPage.h"
#include "vwSceneBuild.h"
#include "vwSvg.h"

#include "dmFindings.h"

#include "zrTest.h"

using namespace interchange;

namespace
{

const std::string place = ZR_DRAWN;
std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Without what is different each time: ids that are made when a list has none.
std::string withoutMadeIds(std::string text)
{
    constexpr std::size_t length = 32;
    const char* const digits = "0123456789abcdef";
    for (std::size_t at = 0; (at = text.find('"', at)) != text.npos; ++at)
        if (const std::size_t end = text.find_first_not_of(digits, at + 1); end - at > length && end != text.npos)
            text.replace(at + 1, length, "id");
    return text;
}

/// All that comes of a list, by what it is.
using Outcome = std::map<std::string, std::string>;

Options as(const char* format)
{
    Options options;
    options.format = format;
    return options;
}

Options reading(bool lenient)
{
    Options options;
    options.lenient = lenient;
    options.places = true;
    return options;
}

DmFindings allRules()
{
    DmFindingOptions options;
    options.select = {"all"};
    options.handles = 12.0;
    options.dupeHandles = 2.0;
    options.startLabel = "01:00:00:00";
    return DmFindings(options);
}

/// `kept` is what the list was made from; null for that one itself.
Outcome outcomeOf(const std::string& text, const std::string& name, const DmRoot* kept)
{
    const Reading read = readBuffer(text, reading(true), name);
    Outcome all{{"said", dmFindingsText("", read.findings, 0)},
                {"strict", readBuffer(text, reading(false), name).root ? "read" : "refused"}};
    if (!read.root)
        return all;
    DmRoot& root = *read.root;
    const auto write = [&](const char* what, const Options& options)
    {
        std::string bytes;
        const Writing writing = writeBuffer(root, bytes, options);
        all[what] = bytes + dmFindingsText("", writing.findings, 0);
    };
    for (const char* const format : {"json", "edl", "fcp7xml", "otio", "ale"})
        write(format, as(format));
    Options flat = as("json");
    flat.flatten = true;
    write("flat", flat);
    view::Scene scene = view::sceneOf(root, "");
    view::addFindings(scene, root);
    all["page"] = view::pageOf(scene, {});
    const DmRoot& old = kept ? *kept : root;
    all["stills"] =
        view::svgOf(scene, {}) + view::svgOf(view::sceneOf(old, root, DmDiff::between(&old, &root), ""), {});
    const DmFindings rules = allRules();
    all["check"] = dmFindingsText("", rules.find(root), 0);
    static const Reading media = readFile(place + "/turnover.json");
    all["filled"] = dmFindingsText("", fillMedia(root, *media.root), 0);
    static_cast<void>(rules.mend(root, DmRuleRun::Mending::Unsafe));
    write("mended", as("json"));
    for (auto& [what, said] : all)
        said = withoutMadeIds(std::move(said));
    return all;
}

/// The lines of each that the other has not, in order. A page's end with each list.
std::array<std::vector<std::string>, 2> changedLines(const std::string& was, const std::string& is, char end)
{
    // What they begin and end with alike is most of them.
    const std::size_t least = std::min(was.size(), is.size());
    const char* const left = was.data();
    const char* const right = is.data();
    std::size_t begin = 0;
    while (begin < least && left[begin] == right[begin])
        ++begin;
    begin = begin == 0 ? 0 : was.rfind(end, begin - 1) + 1;
    std::size_t same = 0;
    while (same < least - begin && left[was.size() - same - 1] == right[is.size() - same - 1])
        ++same;
    std::array<std::vector<std::string>, 2> all;
    for (const auto& [text, lines] : {std::pair(&was, &all[0]), std::pair(&is, &all[1])})
    {
        const std::size_t close = std::min(text->find(end, text->size() - same), text->size());
        std::istringstream stream(text->substr(begin, close - begin));
        for (std::string line; std::getline(stream, line, end);)
            lines->push_back(line);
        std::ranges::sort(*lines);
    }
    std::vector<std::string> gone, come;
    std::ranges::set_difference(all[0], all[1], std::back_inserter(gone));
    std::ranges::set_difference(all[1], all[0], std::back_inserter(come));
    return {gone, come};
}

/// What is in one outcome and not in the other, as the rows have it.
std::string difference(const Outcome& was, const Outcome& is)
{
    std::string text;
    for (const auto& [what, before] : was)
    {
        const auto found = is.find(what);
        const std::string after = found == is.end() ? std::string() : found->second;
        if (before == after)
            continue;
        const auto lines = changedLines(before, after, what == "page" ? ']' : '\n');
        std::uint32_t number = 2166136261U;
        for (const auto& each : lines)
            for (const std::string& line : each)
                for (const char letter : line + '\n')
                    number = (number ^ static_cast<unsigned char>(letter)) * 16777619U;
        char digits[64];
        std::snprintf(digits, sizeof digits, " -%zu+%zu %04x", lines[0].size(), lines[1].size(), number % 0x10000);
        text += (text.empty() ? "" : ", ") + what + digits;
        if ((what == "said" || what == "check" || what == "filled") && !lines[1].empty())
            text += " \"" + lines[1].front() + '"';
    }
    return text.empty() ? "the same" : text;
}

} // namespace

TEST(Varied, IsReadAndWrittenAsItWas)
{
    const std::string path = ZR_VARIED;
    const bool isWriting = std::getenv("WRITE_VARIED") != nullptr;
    std::ifstream rows(path, std::ios::binary);
    std::map<std::string, std::pair<CoSharedPtr<DmRoot>, Outcome>> kept;
    std::string now;
    const std::string between = " ; ";
    for (std::string row; std::getline(rows, row); now += '\n')
    {
        if (row.empty() || row.front() == '#')
        {
            now += row;
            continue;
        }
        // FILE ; LINE ; COLUMN ; what stands there ; what stands there instead ; what was found
        std::vector<std::string> fields;
        std::size_t at = 0;
        for (std::size_t end = 0; fields.size() < 5; at = end + between.size())
        {
            end = row.find(between, at);
            ASSERT_NE(end, row.npos) << row;
            std::string field = row.substr(at, end - at);
            if (field == "\"\"")
                field.clear();
            for (std::size_t i = field.find("\\n"); i != field.npos; i = field.find("\\n", i))
                field.replace(i, 2, "\n");
            fields.push_back(std::move(field));
        }
        const std::string& file = fields[0];
        std::string text = contentOf(place + '/' + file);
        auto& [root, was] = kept[file];
        if (!root)
        {
            root = readBuffer(text, reading(true), file).root;
            was = outcomeOf(text, file, root.get());
        }
        std::size_t from = 0;
        for (int line = std::stoi(fields[1]); line > 1; --line)
            from = text.find('\n', from) + 1;
        from += std::stoul(fields[2]) - 1;
        ASSERT_EQ(text.substr(from, fields[3].size()), fields[3]) << row;
        text.replace(from, fields[3].size(), fields[4]);
        const std::string found = difference(was, outcomeOf(text, file, root.get()));
        EXPECT_TRUE(isWriting || row.substr(at) == found) << row << "\nhas become\n" << found;
        now += row.substr(0, at) + found;
    }
    EXPECT_FALSE(kept.empty());
    if (isWriting)
        std::ofstream(path, std::ios::binary) << now;
}
