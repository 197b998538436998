// dmtree check: what is wrong with documents, for a person's eyes or for a job scheduler's.
#include "dmtree.h"
#include "documents.h"
#include "jsonLine.h"

#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using dmtree::JsonLine;

struct Options
{
    std::vector<std::string> files;
    std::string output;
    bool all = false;
    bool repair = false;
    bool json = false;
    bool lenient = false;
};

struct Finding
{
    const char* kind;
    std::string path;    ///< of the node, from the root on
    std::string record;  ///< label of its record time; empty where it has none
    std::string message; ///< on one line
};

struct Report
{
    std::string error; ///< why the document is unreadable
    std::vector<Finding> warnings;
    std::vector<Finding> violations;
};

/// Notes what is wrong with the times of sources.
void checkTimes(const DmRoot& root, std::vector<Finding>& findings)
{
    for (const DmFaultySource& source : DmTreeTool::findTimeFaults(&root))
        for (const DmTimeFault& fault : source.faults)
            findings.push_back(
                {"warning", source.path, source.record, dmUtf8(source.source->getName()) + ": " + fault.text()});
}

/// Notes the violations of a composition, whose path is given.
void checkComposition(DmCompositionNode& composition, const std::string& path, bool all, std::vector<Finding>& findings)
{
    const unsigned options = all ? DM_VALIDATE_ALL : DmTreeTool::getValidationOptions(&composition);
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(&composition, options))
        findings.push_back({"violation", violation.path.empty() ? path : path + '/' + violation.path, violation.record,
                            dmUtf8(violation.message)});
}

/// A root or a reel: the rules are those of compositions, so nothing else may stand where none looks at it.
void checkCollection(DmTreeNode& collection, const std::string& path, bool all, std::vector<Finding>& findings)
{
    for (int i = 0; i < collection.getNbChildren(); ++i)
    {
        const std::string childPath = path + "children[" + std::to_string(i) + ']';
        DmTreeNode* const child = collection.getChild(i);
        if (!child)
            findings.push_back({"violation", childPath, "", "Nothing stands here."});
        else if (child->whatIs() == DM_COMPOSITION_NODE)
            checkComposition(static_cast<DmCompositionNode&>(*child), childPath, all, findings);
        else if (child->whatIs() == DM_REEL_NODE)
            checkCollection(*child, childPath + '/', all, findings);
        else if (child->whatIs() != DM_BLOB_NODE)
            findings.push_back({"violation", childPath, "", "It stands outside of a composition."});
    }
}

/// What reading had to say: a value that is not kept as it stands is a fault, unless that is asked for.
void addFindings(const std::vector<DmFinding>& findings, const Options& options, Report& report)
{
    for (const DmFinding& finding : findings)
    {
        if (finding.severity == DmFinding::Note)
            continue;
        const bool isFault = dmtree::isChange(finding) && !options.lenient;
        (isFault ? report.violations : report.warnings)
            .push_back({isFault ? "violation" : "warning", dmtree::placeText(finding), finding.record, finding.text});
    }
}

Report checkFile(const std::string& file, const Options& options)
{
    Report report;
    interchange::Options reading;
    reading.lenient = true; // a list with mistakes is checked, too
    dmtree::Document document = dmtree::openDocument(file, reading);
    if (options.repair && !options.lenient)
        document.refuseChanges();
    report.error = document.what();
    if (!document.root)
        return report;
    addFindings(document.findings, options, report);
    checkTimes(*document.root, report.warnings);
    if (options.repair && DmTreeTool::repairTimes(document.root.get()) != DM_NO_ERROR)
        report.warnings.push_back({"warning", "", "", "Not all times could be repaired"});
    checkCollection(*document.root, "", options.all, report.violations);
    if (options.repair)
        dmtree::saveDocument(*document.root, options.output, DmTreeJsonBuilder::Layout::Environment);
    return report;
}

std::string countOf(std::size_t count, const char* noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void printText(const std::string& file, const Report& report)
{
    for (const auto* findings : {&report.warnings, &report.violations})
        for (const Finding& finding : *findings)
            std::cout << file << ": " << finding.kind << ": " << finding.path
                      << (finding.record.empty() ? "" : " at " + finding.record) << ": " << finding.message << '\n';
    std::cout << file << ": ";
    if (!report.error.empty())
        std::cout << "unreadable: " << report.error;
    else if (report.violations.empty())
        std::cout << "valid";
    else
        std::cout << countOf(report.violations.size(), "violation");
    std::cout << '\n';
}

void printJson(const std::string& file, const Report& report)
{
    JsonLine line;
    line.add("file", file);
    if (!report.error.empty())
    {
        std::cout << line.add("result", "unreadable").add("error", report.error).text() << '\n';
        return;
    }
    line.add("result", report.violations.empty() ? "valid" : "violations");
    for (const auto& [key, findings] : {std::pair("violations", &report.violations), {"warnings", &report.warnings}})
    {
        std::vector<std::string> objects;
        for (const Finding& finding : *findings)
        {
            JsonLine object;
            object.add("path", finding.path);
            if (!finding.record.empty())
                object.add("record", finding.record);
            objects.emplace_back(object.add("message", finding.message).text());
        }
        line.addObjects(key, objects);
    }
    std::cout << line.text() << '\n';
}

int checkAll(const Options& options)
{
    int worst = dmtree::Fine;
    for (const std::string& file : options.files)
    {
        const Report report = checkFile(file, options);
        (options.json ? printJson : printText)(file, report);
        std::cout.flush(); // whoever watches a long run sees how far it is
        const int code = !report.error.empty()        ? dmtree::Unusable
                         : !report.violations.empty() ? dmtree::Finding
                                                      : dmtree::Fine;
        worst = std::max(worst, code);
    }
    return worst;
}

} // namespace

void dmtree::addCheck(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("check", "Look for what is wrong with documents");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->files, fileHelp)->required();
    command->add_flag("--all", options->all, "Apply every rule, whatever the origin of a composition is");
    CLI::Option* const repair =
        command->add_flag("--repair", options->repair, "Repair the times of sources and write the document to OUT");
    CLI::Option* const output =
        command->add_option("-o,--output", options->output, "Where to; may be FILE itself")->type_name("OUT");
    repair->needs(output);
    output->needs(repair);
    dmtree::addLenient(*command, options->lenient);
    command->add_flag("--json", options->json, "Print one JSON object a file, on one line");
    command->footer("Each violation and each warning is a line, and a line ends the report on each file:\n"
                    "  FILE: valid\n"
                    "  FILE: 3 violations\n"
                    "  FILE: unreadable: WHY\n"
                    "A value of a document that would not be kept as it stands is a violation; with --repair such a "
                    "document\n"
                    "is not opened. With --lenient it is a warning.\n"
                    "With --repair, the violations are those of the document that was written.\n"
                    "Exit code: 0, or 1 when there was a violation, or 2 when a file was unreadable.");
    command->callback(
        [&run, options]
        {
            if (options->repair && options->files.size() > 1)
                throw CLI::ValidationError("--repair takes one FILE");
            if (options->repair && options->output == "-")
                throw CLI::ValidationError("--repair writes to a file: standard output has the report");
            run = [options] { return checkAll(*options); };
        });
}
