// dmtree env: what the system can be tuned with, and what it is tuned to here.
#include "columns.h"
#include "dmtree.h"

#include "envVar.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

using dmtree::cell;
using dmtree::Row;

std::vector<Row> rowsOf(const DM::EnvVarRegistryImp& registry)
{
    std::vector<Row> rows;
    for (int i = 0; i < registry.getNumElements(); ++i)
    {
        const DM::BaseRegEnvVar& variable = *registry.getEnvVar(i);
        rows.push_back(
            {variable.getName(), cell(variable.valueText()), cell(variable.defaultValueText()), variable.getFile()});
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

int listVariables(bool asHtml)
{
    DM::EnvVarRegistryImp& registry = DM::EnvVarRegistryImp::getInstance();
    registry.useDeclared();
    if (asHtml)
    {
        registry.dumpHtml(std::cout);
        return dmtree::Fine;
    }
    std::vector<Row> rows = rowsOf(registry);
    rows.insert(rows.begin(), Row{"NAME", "VALUE", "DEFAULT", "FILE"});
    dmtree::printColumns(std::cout, rows);
    return dmtree::Fine;
}

} // namespace

void dmtree::addEnv(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("env", "List every environment variable of the system: value, default, declaring file");
    const auto asHtml = std::make_shared<bool>(false);
    command->add_flag("--html", *asHtml, "Print an HTML page instead of text columns");
    command->callback([&run, asHtml] { run = [asHtml] { return listVariables(*asHtml); }; });
}
