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
#include <sstream>
#include <string>
#include <utility>
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

/// "0 to 1", "0 undefined, 1 video, 2 audio", or the texts of a String: what the declaration says of the values.
std::string valuesText(const DmPropertyDef& def)
{
    std::ostringstream text;
    const char* between = "";
    if (def._range)
        text << def._range->least << " to " << def._range->most;
    for (const DmNamedValue& value : def._values)
        text << std::exchange(between, ", ") << value.code << ' ' << value.text;
    if (def._texts)
        for (const wchar_t* const known : def._texts->texts)
            text << std::exchange(between, ", ") << dmtree::cell(dmUtf8(std::wstring_view(known)));
    return text.str();
}

/// What else the declaration says, behind what every property has.
void addFacts(JsonLine& line, const DmPropertyDef& def)
{
    line.add("unit", def._unit).add("meaning", def._meaning);
    if (def._range)
        line.add("least", def._range->least).add("most", def._range->most);
    if (!def._values.empty())
    {
        std::vector<std::string> values;
        for (const DmNamedValue& value : def._values)
            values.emplace_back(
                JsonLine().add("code", value.code).add("name", value.name).add("text", value.text).text());
        line.addObjects("values", values);
    }
    if (def._texts)
    {
        std::vector<std::string> texts;
        for (const wchar_t* const text : def._texts->texts)
            texts.push_back(dmUtf8(std::wstring_view(text)));
        line.addList("texts", texts);
    }
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
    std::vector<Row> rows{{"INDEX", "NAME", "TYPE", "DEFAULT", "WRITTEN", "HOLDS", "UNIT", "VALUES", "MEANING"}};
    const auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
    const DmPropertySetData& data = sample->classData();
    for (int i = 0; i < data.size(); ++i)
    {
        const DmPropertyDef& def = *data.at(i);
        const std::string type = dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
        const char* const written = def._skipIfDefault ? "optional" : "mandatory";
        const std::string held = def._held ? dmUtf8(def._held->name) : std::string();
        if (options.json)
        {
            JsonLine line;
            line.add("index", i).add("name", def._utf8Name).add("type", type).add("default", defaultText(def));
            line.add("written", written).add("holds", held);
            addFacts(line, def);
            std::cout << line.text() << '\n';
        }
        else
            rows.push_back({std::to_string(i), def._utf8Name, type, def._default ? dmtree::cell(defaultText(def)) : "-",
                            written, orDash(held), orDash(def._unit), orDash(def._constant ? "" : valuesText(def)),
                            orDash(def._meaning)});
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
    command->add_flag("--json", options->json, "Print one JSON object on each line");
    command->callback(
        [&run, options]
        { run = [options] { return options->name.empty() ? listClasses(options->json) : showClass(*options); }; });
}
