// dmtree classes: what a document can hold, told by the classes themselves.
#include "columns.h"
#include "dmtree.h"
#include "jsonLine.h"
#include "samples.h"

#include "dmPSetHelper.h"
#include "dmPropertyFactory.h"
#include "dmPropertyText.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

using dmtree::JsonLine;
using dmtree::Row;
using dmtree::sampleOf;

struct Options
{
    std::string name;
    bool json = false;
};

int listClasses(bool json)
{
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        const DmPropertySetPtr sample = sampleOf(name);
        const int properties = sample ? sample->classData().size() : 0;
        if (json)
            std::cout << JsonLine().add("class", dmUtf8(name)).add("properties", properties).text() << '\n';
        else
            std::cout << dmUtf8(name) << '\n';
    }
    return dmtree::Fine;
}

std::string defaultText(const DmPropertyDef& def)
{
    DmString text;
    const bool hasText = def._default && def._type != DM_PROPERTY_SET &&
                         DmPropertySet_Str_Utils::textOfValue(def, def._default, text) == DM_NO_ERROR;
    return hasText ? dmUtf8(text) : std::string();
}

int showClass(const Options& options)
{
    DmString name;
    const DmPropertySetPtr sample = dmFromUtf8(options.name, name) ? sampleOf(name) : DmPropertySetPtr();
    if (!sample)
    {
        std::cerr << "dmtree classes: no class is called '" << options.name << "'\n";
        return dmtree::Unusable;
    }
    std::vector<Row> rows{{"INDEX", "NAME", "TYPE", "DEFAULT", "WRITTEN", "HOLDS"}};
    const DmPropertySetData& data = sample->classData();
    for (int i = 0; i < data.size(); ++i)
    {
        const DmPropertyDef& def = *data.at(i);
        const std::string type = dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
        const char* const written = def._skipIfDefault ? "optional" : "mandatory";
        const std::string held = def._held ? dmUtf8(def._held->name) : std::string();
        if (options.json)
            std::cout << JsonLine()
                             .add("index", i)
                             .add("name", def._utf8Name)
                             .add("type", type)
                             .add("default", defaultText(def))
                             .add("written", written)
                             .add("holds", held)
                             .text()
                      << '\n';
        else
            rows.push_back({std::to_string(i), def._utf8Name, type, def._default ? dmtree::cell(defaultText(def)) : "-",
                            written, held.empty() ? "-" : held});
    }
    if (!options.json)
        dmtree::printColumns(std::cout, rows);
    return dmtree::Fine;
}

} // namespace

void dmtree::addClasses(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("classes", "List the classes that documents hold, or the properties of one of them");
    const auto options = std::make_shared<Options>();
    command->add_option("NAME", options->name, "A class: list its properties in index order");
    command->add_flag("--json", options->json, "Print one JSON object a line");
    command->callback(
        [&run, options]
        { run = [options] { return options->name.empty() ? listClasses(options->json) : showClass(*options); }; });
}
