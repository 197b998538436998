/// Rows of a test that are data: in a file beside it, a line a row, with " ; " between fields. "\n" in a field is the
/// end of a line; a field in quotes keeps its spaces; '#' begins a remark.
///
///     for (const ZrRow& row : zrRowsOf("labels.txt"))
///         EXPECT_EQ(label(row.number(0)), row[1]) << row;
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

class ZrRow
{
public:
    ZrRow(int line, const std::string& text)
        : _line(line)
    {
        const std::string between = " ; ";
        for (std::size_t at = 0; at <= text.size();)
        {
            const std::size_t end = std::min(text.find(between, at), text.size());
            _fields.push_back(fieldOf(text.substr(at, end - at)));
            at = end + between.size();
        }
    }
    /// Empty where the row has no such field.
    const std::string& operator[](std::size_t index) const
    {
        static const std::string none;
        return index < _fields.size() ? _fields[index] : none;
    }
    double number(std::size_t index) const { return std::stod((*this)[index]); }
    std::size_t size() const { return _fields.size(); }
    int line() const { return _line; }

private:
    static std::string fieldOf(const std::string& text)
    {
        const std::size_t first = text.find_first_not_of(' ');
        std::string field =
            first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
        if (field.size() > 1 && field.front() == '"' && field.back() == '"')
            return field.substr(1, field.size() - 2);
        for (std::size_t at = field.find("\\n"); at != std::string::npos; at = field.find("\\n", at))
            field.replace(at, 2, "\n");
        return field;
    }

    int _line;
    std::vector<std::string> _fields;
};

inline std::ostream& operator<<(std::ostream& out, const ZrRow& row)
{
    return out << "line " << row.line() << ": " << row[0];
}

/// Where the tests' sources are.
const char* zrTestsDirectory();

/// A file beside the source that asks.
inline std::string zrBeside(const std::string& source, const std::string& name) // the source's path is perhaps relative
{
    const std::size_t room = source.rfind("tests/") + 5;
    return zrTestsDirectory() + source.substr(room, source.rfind('/') + 1 - room) + name;
}

/// Against what is written down in a file beside the source that asks. What is found is left beside the program: where
/// a change is meant, it takes the file's place.
inline void zrExpectWritten(const std::string& found, const std::string& name,
                            const std::string& source = __builtin_FILE())
{
    std::ofstream(name) << found;
    std::ifstream file(zrBeside(source, name));
    std::istringstream lines(found);
    std::string now;
    std::string written;
    int number = 0;
    while (++number, std::getline(file, written))
        if (!std::getline(lines, now) || now != written)
            break;
    EXPECT_TRUE(!file && !std::getline(lines, now))
        << name << ':' << number << ": " << written << "\nnow: " << now << "\nWhat is found stands in " << name
        << ", here where the test ran.";
}

/// The rows of a file beside the source that asks.
inline std::vector<ZrRow> zrRowsOf(const std::string& name, const std::string& source = __builtin_FILE())
{
    std::ifstream file(zrBeside(source, name));
    std::vector<ZrRow> rows;
    int number = 0;
    for (std::string line; std::getline(file, line);)
        if (++number; !line.empty() && line[0] != '#')
            rows.emplace_back(number, line);
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}

/// Words between blanks, as a shell takes them: those with blanks of their own stand in single quotes.
inline std::vector<std::string> zrWordsOf(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream in(text);
    while (in >> std::ws && !in.eof())
        if (std::string& word = words.emplace_back(); in.peek() == '\'')
            std::getline(in.ignore(), word, '\'');
        else
            in >> word;
    return words;
}
