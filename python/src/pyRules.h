/// Rules of a host, written in Python: check() and fix() go by them as by the library's own.
#pragma once

#include "pyError.h"

#include "dmFindings.h"

#include <exception>

namespace zrpy
{

/// The rules that were added, for one look at a tree, which must outlive it.
class HostRules
{
public:
    HostRules(DmFindings& findings, const DmTreeNode& tree);
    HostRules(const HostRules&) = delete;
    HostRules& operator=(const HostRules&) = delete;

    /// Raises what a rule has raised meanwhile.
    void raise();

private:
    void look(DmRuleRun& run, const py::object& find, DmRuleRun::Mending mending);
    void report(DmRuleRun& run, py::handle item, DmRuleRun::Mending mending);

    const DmTreeNode& _tree;
    std::exception_ptr _raised;
};

/// Those of the host as the library describes its own.
std::vector<const DmRule*> hostRules();
/// A code that lasts as long as the program.
const char* lastingCode(const std::string& code);

void addRules(py::module_& module);

} // namespace zrpy
