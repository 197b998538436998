#include "icAleText.h"

#include "icText.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace interchange::ale
{

namespace
{

/// What stands on a keyword's line behind it; none where the line begins otherwise.
std::optional<std::string_view> behind(std::string_view line, std::string_view keyword)
{
    if (!startsWithNoCase(line, keyword) || (line.size() > keyword.size() && !isBlank(line[keyword.size()])))
        return std::nullopt;
    return line.substr(std::min(keyword.size() + 1, line.size()));
}

void readKeys(std::string_view line, Head& head)
{
    std::vector<std::string_view> words;
    if (line.find('\t') == line.npos)
    {
        line = trimmed(line);
        words.push_back(takeFirstWord(line));
        words.push_back(line);
    }
    else
        for (const std::string_view cell : cellsOf(line))
            if (!trimmed(cell).empty())
                words.push_back(trimmed(cell));
    for (std::size_t i = 0; i + 1 < words.size(); i += 2)
        if (equalsNoCase(words[i], "FPS"))
        {
            head.fps = words[i + 1];
            head.fpsLine = head.lines;
        }
        else if (equalsNoCase(words[i], "VIDEO_FORMAT"))
            head.format = words[i + 1];
        else if (equalsNoCase(words[i], "FIELD_DELIM"))
            head.hasOtherDelimiter = !startsWithNoCase(words[i + 1], "TAB");
}

} // namespace

Line takeLine(std::string_view& text)
{
    const std::size_t at = std::min(text.find_first_of("\r\n"), text.size());
    const std::size_t length = text.substr(at).starts_with("\r\n") ? 2 : std::min<std::size_t>(1, text.size() - at);
    const Line line{text.substr(0, at), text.substr(at, length)};
    text.remove_prefix(at + length);
    return line;
}

std::vector<std::string_view> cellsOf(std::string_view row)
{
    std::vector<std::string_view> cells;
    for (;;)
    {
        const std::size_t tab = row.find('\t');
        cells.push_back(row.substr(0, tab));
        if (tab == row.npos)
            return cells;
        row.remove_prefix(tab + 1);
    }
}

DM::FrameCodeModes Head::mode(bool drops) const
{
    const std::optional<double> rate = toNumber<double>(fps);
    return rate ? DM::FcmUtil::FPStoFCM(*rate, drops) : DM::FcmUtil::getFCMFromName(fps);
}

std::optional<Head> Head::take(std::string_view& text)
{
    enum
    {
        Heading,
        Column,
        Data
    } section = Heading;
    Head head;
    const std::string_view whole = text;
    while (!text.empty())
    {
        const Line line = takeLine(text);
        ++head.lines;
        if (head.lineEnd.empty())
            head.lineEnd = line.end;
        if (section == Data)
        {
            const std::optional<std::string_view> first = behind(line.text, "DATA");
            if (!first)
                continue;
            if (!first->empty()) // the first row
            {
                text = whole.substr(static_cast<std::size_t>(first->data() - whole.data()));
                --head.lines;
            }
            head.text = whole.substr(0, whole.size() - text.size());
            return head;
        }
        std::string_view rest = line.text;
        if (section == Heading)
        {
            const std::optional<std::string_view> columns = behind(rest, "COLUMN");
            if (!columns)
            {
                readKeys(behind(rest, "HEADING").value_or(rest), head);
                continue;
            }
            section = Column;
            rest = *columns;
        }
        if (trimmed(rest).empty())
            continue;
        head.lastLine = rest;
        head.columns = cellsOf(rest);
        section = Data;
    }
    return std::nullopt;
}

std::vector<std::string> keysOf(const std::vector<std::string_view>& columns)
{
    std::vector<std::string> keys;
    std::unordered_map<std::string, int> counts;
    for (const std::string_view column : columns)
    {
        std::string key(trimmed(column));
        if (key.starts_with('*')) // which is ours (icAleColumns.h)
            key.insert(0, 1, ' ');
        const std::string name = key;
        while (++counts[key] > 1)
            key = name + " (" + std::to_string(counts[name] > 2 ? counts[name] : 2) + ')';
        keys.push_back(std::move(key));
    }
    return keys;
}

} // namespace interchange::ale
