// dmtree env: what the system can be tuned with, and what it is tuned to here.
#include "dmtree.h"

#include "envVar.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Row = std::array<std::string, 4>;

/// A text that stays on its line and in its column.
std::string cell(const std::string& text)
{
    std::string result;
    for (const char c : text)
    {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
        {
            constexpr const char* digits = "0123456789abcdef";
            result += {'\\', 'x', digits[static_cast<unsigned char>(c) >> 4], digits[c & 15]};
        }
        else
            result += c;
    }
    return result.empty() ? "\"\"" : result;
}

/// The characters of a text in UTF-8.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

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

void printColumns(std::ostream& out, const std::vector<Row>& rows)
{
    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    for (const Row& row : rows)
    {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            out << row[i] << std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        out << row.back() << '\n';
    }
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
    rows.insert(rows.begin(), {"NAME", "VALUE", "DEFAULT", "FILE"});
    printColumns(std::cout, rows);
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
