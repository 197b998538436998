/// What dmtree check says of a file, and the forms in which it says it.
#pragma once

#include "dmFindings.h"

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace dmtree
{

/// What was found in one file.
struct FileReport
{
    std::string file;
    std::string error;             ///< why nothing can be read; empty where it can
    std::vector<DmFinding> mended; ///< what is no more
    std::vector<DmFinding> findings;
    std::size_t accepted = 0; ///< findings that were accepted before, and are not among these
    std::string diff;         ///< what mending changes, if that is asked for

    std::size_t count(DmFinding::Severity severity) const;
};

/// One form of output. Files come one after the other, in the order of the command line.
class CheckPrinter
{
public:
    virtual ~CheckPrinter() = default;
    virtual void begin(std::ostream& /*out*/) {}
    virtual void print(std::ostream& out, const FileReport& report) = 0;
    virtual void end(std::ostream& /*out*/) {}
};

/// "text", "json", "github" or "sarif". `findings`: whose rules the report may name; it outlives the printer.
/// `colour`: of text, for a terminal.
std::unique_ptr<CheckPrinter> checkPrinter(const std::string& form, const DmFindings& findings, bool colour);
/// Instead of findings, how many there are of each code, over all files.
std::unique_ptr<CheckPrinter> statisticsPrinter();

/// What there is to say about a rule, or a code of conversions; about every rule for "all". Empty for a word that names
/// nothing.
std::string explain(const DmFindings& findings, const std::string& word);

} // namespace dmtree
