// dmtree check: what is wrong with documents and cut lists, for a person's eyes or for a job scheduler's.
#include "checkBaseline.h"
#include "checkConfig.h"
#include "checkReport.h"
#include "dmtree.h"
#include "documents.h"
#include "lineDiff.h"
#include "modes.h"
#include "textFile.h"

#include "CoInteger.h"
#include "dmTreeTool.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

struct Options
{
    std::vector<std::string> files;
    std::string output;
    std::string form = "text";
    std::string explain;
    std::string fcm;
    std::string config;
    std::string profile;
    std::string baseline;
    std::string newBaseline;
    dmtree::PerPath perPath; ///< what is not looked for in which files
    DmFindingOptions rules;
    dmtree::CheckBaseline accepted;
    unsigned jobs = 1;
    bool repair = false;
    bool fix = false;
    bool unsafeFixes = false;
    bool diff = false;
    bool json = false;
    bool lenient = false;
    bool statistics = false;
    bool failOnWarning = false;
    bool exitZero = false;
    bool noConfig = false;

    bool mends() const { return repair || fix || unsafeFixes; }
};

/// What reading had to say. A value that is not kept as it stands is a fault, unless that is asked for; what is taken
/// for granted is said to who asks for it.
void addReading(const std::vector<DmFinding>& found, const Options& options, const DmFindings& rules,
                std::vector<DmFinding>& findings)
{
    for (const DmFinding& each : found)
    {
        if (!rules.isOn(each.code) || (each.severity == DmFinding::Note && options.rules.select.empty()))
            continue;
        findings.push_back(each);
        if (dmtree::isChange(each))
            findings.back().severity = options.lenient ? DmFinding::Warning : DmFinding::Error;
    }
}

/// The node at a path, or the nearest one above it.
const DmTreeNode* nodeAt(const DmTreeNode& root, const std::string& path)
{
    const DmTreeNode* node = &root;
    std::istringstream steps(path);
    for (std::string step; std::getline(steps, step, '/');)
    {
        const DmTreeNode* next = nullptr;
        if (step == "composition")
            next = node->getNestedComposition();
        else if (step.starts_with("children["))
        {
            std::size_t digits = 0;
            next = node->getChild(DM::CoInteger::read<int>(std::string_view(step).substr(step.find('[') + 1), digits));
        }
        if (!next)
            break;
        node = next;
    }
    return node;
}

/// Where in the list each finding's node came from, as far as the format tells.
void addLines(const dmtree::Document& document, std::vector<DmFinding>& findings)
{
    if (document.places.empty())
        return;
    std::unordered_map<const DmTreeNode*, std::uint32_t> lines;
    for (const interchange::NodePlace& place : document.places)
        lines.try_emplace(place.node, place.line);
    for (DmFinding& finding : findings)
        if (const auto found = lines.find(nodeAt(*document.root, finding.nodePath)); found != lines.end())
            finding.line = found->second;
}

/// Takes what is written to it for written.
class Nowhere final : public interchange::Sink
{
public:
    bool write(std::string_view /*bytes*/) override { return true; }
};

/// What a conversion into the profile's format would say.
void addProfile(const DmRoot& root, const Options& options, const DmFindings& rules, std::vector<DmFinding>& findings)
{
    interchange::Options writing;
    writing.format = options.profile;
    writing.fcm = dmtree::modeOf(options.fcm);
    Nowhere nowhere;
    for (DmFinding& each : interchange::writeSink(root, nowhere, writing).findings)
        if (rules.isOn(each.code))
            findings.push_back(std::move(each));
}

void mend(DmRoot& root, const Options& options, const DmFindings& rules)
{
    eDmErrorId status = options.repair ? DmTreeTool::repairTimes(&root) : DM_NO_ERROR;
    if (status == DM_NO_ERROR && (options.fix || options.unsafeFixes))
        status = rules.mend(root, options.unsafeFixes ? DmRuleRun::Mending::Unsafe : DmRuleRun::Mending::Safe).status;
    if (status != DM_NO_ERROR)
        throw std::runtime_error("not all that was found could be mended");
}

/// Those that are found no more: neither as they were, nor with another length at their place, nor elsewhere by now.
std::vector<DmFinding> goneOf(std::vector<DmFinding> found, std::vector<DmFinding> left)
{
    const auto about = [](const DmFinding& each)
    { return each.code + ('\n' + each.track) + '\n' + each.clip + '\n' + (each.track.empty() ? each.nodePath : ""); };
    const auto place = [&](const DmFinding& each) { return about(each) + '\n' + each.record; };
    const auto whole = [&](const DmFinding& each)
    { return place(each) + '\n' + each.nodePath + '\n' + each.subject + '\n' + each.text; };
    // Each of those that are left is one that was found, if any is.
    const auto settle = [&](const auto& keyOf)
    {
        std::unordered_map<std::string, std::size_t> open;
        for (const DmFinding& each : left)
            ++open[keyOf(each)];
        std::unordered_map<std::string, std::size_t> settled;
        const auto take = [&keyOf](auto& counts, const DmFinding& each)
        {
            const auto one = counts.find(keyOf(each));
            const bool isOne = one != counts.end() && one->second != 0;
            if (isOne)
                --one->second;
            return isOne;
        };
        std::erase_if(found,
                      [&](const DmFinding& each)
                      {
                          const bool isLeft = take(open, each);
                          if (isLeft)
                              ++settled[keyOf(each)];
                          return isLeft;
                      });
        std::erase_if(left, [&](const DmFinding& each) { return take(settled, each); });
    };
    settle(whole);
    settle(place);
    settle(about);
    return found;
}

/// A line a node.
std::string dumpOf(DmRoot& root)
{
    std::ostringstream text;
    static_cast<void>(DmTreeTool::dump(&root, text)); // of what stands below itself, as far as it goes
    return std::move(text).str();
}

dmtree::FileReport checkFile(const std::string& file, const Options& options)
{
    const DmFindings rules(dmtree::optionsFor(file, options.rules, options.perPath));
    dmtree::FileReport report;
    report.file = file;
    interchange::Options reading;
    reading.lenient = true; // a list with mistakes is checked, too
    reading.places = true;
    reading.fcm = dmtree::modeOf(options.fcm);
    dmtree::Document document = dmtree::openDocument(file, reading);
    if (options.mends() && !options.lenient)
        document.refuseChanges();
    report.error = document.what();
    if (!document.root)
        return report;
    addReading(document.findings, options, rules, report.findings);
    std::vector<DmFinding> found = rules.find(*document.root);
    if (options.mends())
    {
        const std::string before = options.diff ? dumpOf(*document.root) : "";
        mend(*document.root, options, rules);
        if (options.diff)
            report.diff = dmtree::lineDiff(before, dumpOf(*document.root), file, file + ", mended");
        std::vector<DmFinding> left = rules.find(*document.root);
        report.mended = goneOf(std::move(found), left);
        found = std::move(left);
        if (!options.output.empty())
            dmtree::saveDocument(*document.root, options.output, DmTreeJsonBuilder::Layout::Environment);
    }
    addLines(document, found);
    std::ranges::move(found, std::back_inserter(report.findings));
    if (!options.profile.empty())
        addProfile(*document.root, options, rules, report.findings);
    report.accepted = options.accepted.hide(report.findings);
    return report;
}

int exitCodeOf(const dmtree::FileReport& report, const Options& options)
{
    if (!report.error.empty())
        return dmtree::Unusable;
    const bool fails =
        report.count(DmFinding::Error) != 0 || (options.failOnWarning && report.count(DmFinding::Warning) != 0);
    return fails && !options.exitZero ? dmtree::Finding : dmtree::Fine;
}

/// Reports come in the order of the files, whichever is done first; no more of them wait than there are jobs.
class Jobs
{
public:
    explicit Jobs(const Options& options)
        : _options(options)
    {
        const std::size_t count = std::min<std::size_t>(options.jobs, options.files.size());
        for (std::size_t i = 0; count > 1 && i < count; ++i)
            _threads.emplace_back([this] { work(); });
    }
    ~Jobs()
    {
        {
            const std::lock_guard lock(_mutex);
            _next = _options.files.size();
            _taken = _next;
        }
        _changed.notify_all();
        for (std::thread& thread : _threads)
            thread.join();
    }
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    dmtree::FileReport take()
    {
        if (_threads.empty())
            return checkFile(_options.files[_taken++], _options);
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [this] { return _done.contains(_taken); });
        auto node = _done.extract(_taken++);
        lock.unlock();
        _changed.notify_all();
        if (node.mapped().second)
            std::rethrow_exception(node.mapped().second);
        return std::move(node.mapped().first);
    }

private:
    void work()
    {
        std::unique_lock lock(_mutex);
        while (true)
        {
            _changed.wait(lock,
                          [this] { return _next >= _options.files.size() || _next < _taken + 2 * _threads.size(); });
            if (_next >= _options.files.size())
                return;
            const std::size_t mine = _next++;
            lock.unlock();
            std::pair<dmtree::FileReport, std::exception_ptr> result;
            try
            {
                result.first = checkFile(_options.files[mine], _options);
            }
            catch (...)
            {
                result.second = std::current_exception();
            }
            lock.lock();
            _done.emplace(mine, std::move(result));
            _changed.notify_all();
        }
    }

    const Options& _options;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::size_t _next = 0;  ///< the file that is checked next
    std::size_t _taken = 0; ///< the file whose report is wanted next
    std::map<std::size_t, std::pair<dmtree::FileReport, std::exception_ptr>> _done;
    std::vector<std::thread> _threads;
};

/// Takes what the command line does not say from the configuration.
void configure(const CLI::App& command, Options& options)
{
    const std::string path = options.noConfig         ? ""
                             : options.config.empty() ? dmtree::findCheckConfig()
                                                      : options.config;
    if (path.empty())
        return;
    dmtree::CheckConfig config = dmtree::readCheckConfig(path);
    const DmFindingOptions said = std::move(options.rules);
    options.rules = std::move(config.rules);
    if (!said.select.empty())
        options.rules.select = said.select;
    options.rules.ignore.insert(options.rules.ignore.end(), said.ignore.begin(), said.ignore.end());
    options.rules.all = options.rules.all || said.all;
    if (said.handles)
        options.rules.handles = said.handles;
    if (command.count("--media-root") != 0)
        options.rules.mediaRoot = said.mediaRoot;
    options.failOnWarning = options.failOnWarning || config.failOnWarning;
    options.perPath = std::move(config.perPath);
    for (const auto& [pattern, ignored] : options.perPath)
    {
        DmFindingOptions words;
        words.ignore = ignored;
        if (const std::vector<std::string> unknown = DmFindings(words).unknownWords(); !unknown.empty())
            throw std::runtime_error(path + ": there is no rule and no group \"" + unknown.front() + '"');
    }
}

int checkAll(const Options& options)
{
    const DmFindings rules(options.rules);
    if (!options.explain.empty())
    {
        const std::string text = dmtree::explain(rules, options.explain);
        if (text.empty())
            throw std::runtime_error("there is no rule and no group \"" + options.explain + '"');
        std::cout << text;
        return dmtree::Fine;
    }
    if (const std::vector<std::string> unknown = rules.unknownWords(); !unknown.empty())
        throw std::runtime_error("there is no rule and no group \"" + unknown.front() + '"');

    const bool colour = ::isatty(STDOUT_FILENO) == 1 && !std::getenv("NO_COLOR");
    const std::unique_ptr<dmtree::CheckPrinter> printer =
        options.statistics ? dmtree::statisticsPrinter()
                           : dmtree::checkPrinter(options.json ? "json" : options.form, rules, colour);
    int worst = dmtree::Fine;
    dmtree::CheckBaseline baseline;
    Jobs jobs(options);
    printer->begin(std::cout);
    for (std::size_t i = 0; i < options.files.size(); ++i)
    {
        const dmtree::FileReport report = jobs.take();
        printer->print(std::cout, report);
        std::cout.flush(); // whoever watches a long run sees how far it is
        worst = std::max(worst, exitCodeOf(report, options));
        if (!options.newBaseline.empty())
            baseline.accept(report.findings);
    }
    printer->end(std::cout);
    if (!options.newBaseline.empty())
    {
        dmtree::writeText(options.newBaseline, baseline.text());
        std::cerr << options.newBaseline << ": " << baseline.count() << " accepted\n";
        worst = worst == dmtree::Finding ? dmtree::Fine : worst;
    }
    return worst;
}

} // namespace

void dmtree::addCheck(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("check", "Look for what is wrong with documents and cut lists");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->files, fileHelp);
    command->add_flag("--all", options->rules.all, "Apply every rule, whatever the origin of a composition is");
    const auto words = [command](const char* name, std::vector<std::string>& to, const char* help)
    { command->add_option(name, to, help)->type_name("RULE")->delimiter(',')->allow_extra_args(false); };
    words("--select", options->rules.select, "Only these rules: by code, begin of a code, name or group, or all");
    words("--ignore", options->rules.ignore, "None of these rules");
    command
        ->add_option("--explain", options->explain,
                     "Say what a rule finds, why, and how to mend it; of a group, which rules it has")
        ->type_name("RULE");
    command->add_option("--handles", options->rules.handles, "Ask for N frames of material beside each shot")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--media-root", options->rules.mediaRoot, "Look whether the files of sources are in a folder")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory);
    addMode(*command, options->fcm);
    command->add_flag(
        "--fix", options->fix,
        "Mend what can be mended with every frame that plays left as it is, and write the document to OUT");
    command->add_flag("--unsafe-fixes", options->unsafeFixes, "Mend all that can be mended, and write it to OUT");
    command->add_flag("--repair", options->repair, "Repair the times of sources and write the document to OUT");
    command->add_option("-o,--output", options->output, "Where to; may be FILE itself")->type_name("OUT");
    dmtree::addLenient(*command, options->lenient);
    command->add_flag("--json", options->json, "Print one JSON object for each file, on one line");
    command->add_option("--output-format", options->form, "text, json (as --json), github or sarif")
        ->type_name("FORM")
        ->check(CLI::IsMember({"text", "json", "github", "sarif"}));
    command
        ->add_option("--profile", options->profile,
                     "Find what would be lost in a format that is delivered, by its name: edl, otio, ...")
        ->type_name("FORMAT")
        ->check(CLI::Validator([](const std::string& name)
                               { return interchange::formatNamed(name) ? "" : "there is no format " + name; },
                               ""));
    CLI::Option* const config =
        command->add_option("--config", options->config, "The configuration, instead of .dmtree.toml")
            ->type_name("TOML")
            ->check(CLI::ExistingFile);
    command->add_flag("--no-config", options->noConfig, "Read no configuration")->excludes(config);
    CLI::Option* const baseline =
        command->add_option("--baseline", options->baseline, "Say nothing of what was accepted before, as FILE has it")
            ->type_name("FILE")
            ->check(CLI::ExistingFile);
    command->add_option("--write-baseline", options->newBaseline, "Accept what is found: write it to FILE")
        ->type_name("FILE")
        ->excludes(baseline);
    command->add_flag("--diff", options->diff, "Show what mending changes, before and after; without -o, only that");
    command->add_flag("--statistics", options->statistics, "Count the findings of each rule instead of naming them");
    command->add_flag("--fail-on-warning", options->failOnWarning, "Exit with 1 for warnings, too");
    command->add_flag("--exit-zero", options->exitZero, "Exit with 0 whatever is found");
    command->add_option("-j,--jobs", options->jobs, "Check N files at once; reports keep the order of the files")
        ->type_name("N")
        ->check(CLI::Range(1U, 256U));
    command->footer(
        "Each finding is a line, and a line ends the report on each file:\n"
        "  FILE:LINE: error|warning|note: CLIP, TRACK, RECORD TIME: TEXT [CODE]\n"
        "  FILE: valid\n"
        "  FILE: 3 violations\n"
        "  FILE: unreadable: WHY\n"
        "Violations are errors: a broken structure, times that cannot be played. A value of a document that "
        "would not be\n"
        "kept as it stands is one; such a document is not mended. With --lenient it is a warning.\n"
        "With --fix, --unsafe-fixes and --repair, what was mended is told, and the findings are those of the "
        "document that was\n"
        "written. It is a document, whatever the format of FILE.\n"
        "What was accepted before, --baseline hides, wherever it plays by now; the exit code knows nothing of it. "
        "After\n"
        "--write-baseline it is 0, unless a file was unreadable.\n"
        "What the command line does not say, the file .dmtree.toml of this folder, or of the nearest one "
        "above it, says.\n"
        "Exit code: 0, or 1 when there was an error, or 2 when a file was unreadable.");
    command->callback(
        [&run, options, command]
        {
            if (options->explain.empty() && options->files.empty())
                throw CLI::RequiredError("FILE");
            const char* const mending = options->repair ? "--repair" : options->fix ? "--fix" : "--unsafe-fixes";
            if (options->diff && !options->mends())
                throw CLI::RequiresError("--diff", "--fix, --unsafe-fixes or --repair");
            if (options->mends() && options->output.empty() && !options->diff)
                throw CLI::RequiresError(mending, "-o");
            if (!options->mends() && !options->output.empty())
                throw CLI::RequiresError("-o", "--fix, --unsafe-fixes or --repair");
            if (options->mends() && options->files.size() > 1 && !options->output.empty())
                throw CLI::ValidationError(std::string(mending) + " takes one FILE");
            if (options->mends() && options->output == "-")
                throw CLI::ValidationError(std::string(mending) + " writes to a file: standard output has the report");
            run = [options, command]
            {
                configure(*command, *options);
                if (!options->baseline.empty())
                    options->accepted = CheckBaseline(options->baseline);
                return checkAll(*options);
            };
        });
}
