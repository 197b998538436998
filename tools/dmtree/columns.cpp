#include "columns.h"

#include <algorithm>

namespace dmtree
{
namespace
{

/// The characters of a text in UTF-8.
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

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

void printColumns(std::ostream& out, const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths;
    for (const Row& row : rows)
    {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    for (const Row& row : rows)
    {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            out << row[i] << std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        out << (row.empty() ? std::string() : row.back()) << '\n';
    }
}

} // namespace dmtree
