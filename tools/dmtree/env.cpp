// dmtree env: what the system can be tuned with, and what it is tuned to here.
#include "columns.h"
#include "dmtree.h"

#include "envVar.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using dmtree::cell;
using dmtree::Row;

/// What a variable takes and does. One that says nothing here is listed all the same.
struct Use
{
    std::string_view name;
    const char* values;
    const char* meaning;
};

constexpr Use uses[] = {
    {"ZR_ASSERT_IGNORE_ALL", "set: true", "Assertions that ask the host stop nothing; each still prints its stack"},
    {"ZR_ASSERT_STACK_SIZE", "a count", "How many calls deep the stack of a failed assertion is printed"},
    {"ZR_DEBUG_DM_LAYER_BUILDER", "true, false", "Posts each step of the builders of layers as a notice"},
    {"ZR_DEBUG_DM_TREE_VISITOR", "true, false", "Posts each node that a visitor visits as a notice"},
    {"ZR_DEBUG_WEAK_SUBJECT_OBSERVER", "true, false", "Prints each notification of weak subjects and observers"},
    {"ZR_DEFAULT_DM_WIPE_PATTERN", "a number from 1", "The SMPTE pattern of a new wipe"},
    {"ZR_DEFAULT_FCM", "a mode: 25 fps, 29.97 fps DF",
     "The mode of times that come without one; dmtree tc --help lists the modes"},
    {"ZR_DISABLE_ASSERT_STACKS", "set: true", "A failed assertion prints no stack"},
    {"ZR_DISABLE_TCC", "true, false", "The in-time of a source is not converted to the mode of its material"},
    {"ZR_EACH_OBJECT_ALONE", "true, false",
     "Objects of trees are allocated one by one, for tools that watch the allocator"},
    {"ZR_MSG_LEVEL", "user, error, warn, notice, debug",
     "The least important messages posted; notice if unset, in dmtree error"},
    {"ZR_MSG_VERBOSE", "true, false", "Messages name the place in the source that posts them"},
    {"ZR_NO_SOURCE_TIME_CHECK", "true, false",
     "Checks of the times of sources (checkTimeIntegrity) warn and repair nothing"},
    {"ZR_PRETTY_JSON_DMTREE", "true, false", "Documents are indented; false writes them on one line"},
    {"ZR_PROGRAM_TOLVANE_CHECK_DISABLED", "set: true",
     "An in-house installation behaves as a customer's: soft assertions are off"},
    {"ZR_VERBOSE_EXCEPTIONS", "set: true", "Texts of exceptions name the place in the source that raises them"},
};

Use useOf(std::string_view name)
{
    const auto* const found =
        std::find_if(std::begin(uses), std::end(uses), [name](const Use& use) { return use.name == name; });
    return found != std::end(uses) ? *found : Use{name, "", ""};
}

std::vector<Row> rowsOf(const DM::EnvVarRegistryImp& registry)
{
    std::vector<Row> rows;
    for (int i = 0; i < registry.getNumElements(); ++i)
    {
        const DM::BaseRegEnvVar& variable = *registry.getEnvVar(i);
        const Use use = useOf(variable.getName());
        rows.push_back({variable.getName(), cell(variable.valueText()), cell(variable.defaultValueText()), use.values,
                        use.meaning, variable.getFile()});
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
    rows.insert(rows.begin(), Row{"NAME", "VALUE", "DEFAULT", "TAKES", "MEANING", "FILE"});
    dmtree::printColumns(std::cout, rows);
    return dmtree::Fine;
}

} // namespace

void dmtree::addEnv(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand(
        "env", "List every environment variable of the system: value, default, what it takes and does, declaring file");
    const auto asHtml = std::make_shared<bool>(false);
    command->add_flag("--html", *asHtml, "Print names, values, defaults and files as an HTML page");
    command->footer(
        "Of \"true, false\", the texts false, FALSE and 0 are false and all others true. \"set: true\": "
        "set to whatever\n"
        "text. Each is read once, when it is first needed (ZR_DEFAULT_FCM again until it names a mode); those\n"
        "of assertions and exceptions, when the library is loaded. docs/environment.md has them all.");
    command->callback([&run, asHtml] { run = [asHtml] { return listVariables(*asHtml); }; });
}
