#include "checkReport.h"

#include "columns.h"
#include "documents.h"
#include "jsonLine.h"

#include "zrVersion.h"

#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string_view>
#include <utility>

namespace dmtree
{
namespace
{

std::string countOf(std::size_t count, const char* noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

/// "CLIP, V1, 01:00:02:00"; the path of what has none of these.
std::string whereOf(const DmFinding& finding)
{
    std::string where;
    for (const std::string* each : {&finding.clip, &finding.track, &finding.record})
        if (!each->empty())
            where.append(where.empty() ? "" : ", ").append(*each);
    return where.empty() ? finding.nodePath : where;
}

std::string messageOf(const DmFinding& finding)
{
    const std::string where = whereOf(finding);
    return where + (where.empty() ? "" : ": ") + finding.text;
}

class TextPrinter final : public CheckPrinter
{
public:
    explicit TextPrinter(bool colour)
        : _colour(colour)
    {
    }

    void print(std::ostream& out, const FileReport& report) override
    {
        for (const DmFinding& finding : report.mended)
            line(out, report.file, finding, "mended", "32");
        for (const DmFinding& finding : report.findings)
            line(out, report.file, finding, finding.severityName(),
                 finding.severity == DmFinding::Error     ? "1;31"
                 : finding.severity == DmFinding::Warning ? "1;35"
                                                          : "36");
        out << report.diff << report.file << ": ";
        const std::size_t errors = report.count(DmFinding::Error);
        if (!report.error.empty())
            out << "unreadable: " << report.error;
        else if (errors == 0)
            out << "valid";
        else
            out << countOf(errors, "violation");
        if (report.accepted != 0)
            out << ", " << report.accepted << " accepted";
        out << '\n';
    }

private:
    void line(std::ostream& out, const std::string& file, const DmFinding& finding, const char* word,
              const char* colour) const
    {
        out << file << ':';
        if (finding.line != 0)
            out << finding.line << ':';
        if (finding.line != 0 && finding.column != 0)
            out << finding.column << ':';
        out << ' ';
        if (_colour)
            out << "\x1b[" << colour << 'm' << word << ":\x1b[0m ";
        else
            out << word << ": ";
        out << messageOf(finding) << " [" << finding.code << "]\n";
    }

    bool _colour;
};

class JsonPrinter final : public CheckPrinter
{
public:
    void print(std::ostream& out, const FileReport& report) override
    {
        JsonLine line;
        line.add("file", report.file);
        if (!report.error.empty())
        {
            out << line.add("result", "unreadable").add("error", report.error).text() << '\n';
            return;
        }
        line.add("result", report.count(DmFinding::Error) == 0 ? "valid" : "violations");
        add(line, "violations", report, DmFinding::Error);
        add(line, "warnings", report, DmFinding::Warning);
        if (report.count(DmFinding::Note) != 0)
            add(line, "notes", report, DmFinding::Note);
        if (!report.mended.empty())
            line.addObjects("mended", objectsOf(report.mended));
        if (report.accepted != 0)
            line.add("accepted", static_cast<int>(report.accepted));
        if (!report.diff.empty())
            line.add("diff", report.diff);
        out << line.text() << '\n';
    }

private:
    static void add(JsonLine& line, const char* key, const FileReport& report, DmFinding::Severity severity)
    {
        std::vector<DmFinding> findings;
        std::ranges::copy_if(report.findings, std::back_inserter(findings),
                             [severity](const DmFinding& finding) { return finding.severity == severity; });
        line.addObjects(key, objectsOf(findings));
    }

    static std::vector<std::string> objectsOf(const std::vector<DmFinding>& findings)
    {
        std::vector<std::string> objects;
        for (const DmFinding& finding : findings)
        {
            JsonLine object;
            object.add("path", finding.nodePath.empty() ? placeText(finding) : finding.nodePath);
            if (!finding.record.empty())
                object.add("record", finding.record);
            object.add("message", finding.text).add("code", finding.code);
            if (!finding.clip.empty())
                object.add("clip", finding.clip);
            if (!finding.track.empty())
                object.add("track", finding.track);
            if (finding.line != 0)
                object.add("line", static_cast<int>(finding.line));
            if (finding.line != 0 && finding.column != 0)
                object.add("column", static_cast<int>(finding.column));
            objects.emplace_back(object.text());
        }
        return objects;
    }
};

/// The commands by which a job on a forge puts findings beside the lines of a change.
class GithubPrinter final : public CheckPrinter
{
public:
    void print(std::ostream& out, const FileReport& report) override
    {
        if (!report.error.empty())
            out << "::error file=" << escaped(report.file, true)
                << ",title=unreadable::" << escaped(report.error, false) << '\n';
        for (const DmFinding& finding : report.findings)
        {
            out << "::" << (finding.severity == DmFinding::Note ? "notice" : finding.severityName())
                << " file=" << escaped(report.file, true);
            if (finding.line != 0)
                out << ",line=" << finding.line;
            if (finding.line != 0 && finding.column != 0)
                out << ",col=" << finding.column;
            out << ",title=" << finding.code << "::" << escaped(messageOf(finding), false) << '\n';
        }
    }

private:
    static std::string escaped(std::string_view text, bool isProperty)
    {
        std::string out;
        for (const char c : text)
            if (c == '%')
                out += "%25";
            else if (c == '\r')
                out += "%0D";
            else if (c == '\n')
                out += "%0A";
            else if (isProperty && c == ':')
                out += "%3A";
            else if (isProperty && c == ',')
                out += "%2C";
            else
                out += c;
        return out;
    }
};

/// Static analysis results interchange format 2.1.0: one document for all files.
class SarifPrinter final : public CheckPrinter
{
public:
    explicit SarifPrinter(const DmFindings& findings)
        : _findings(findings)
    {
    }

    void begin(std::ostream& /*out*/) override
    {
        _writer.StartObject();
        add("$schema", "https://json.schemastore.org/sarif-2.1.0.json");
        add("version", "2.1.0");
        key("runs");
        _writer.StartArray();
        _writer.StartObject();
        key("tool");
        _writer.StartObject();
        key("driver");
        _writer.StartObject();
        add("name", "dmtree");
        add("version", zrLibraryVersion());
        key("rules");
        _writer.StartArray();
        for (const DmRule* const rule : _findings.rules())
            addRule(rule->code, rule->name, rule->line, rule->why, rule->severity);
        for (const DmFindingCode& code : dmFindingCodes())
            if (std::ranges::none_of(_findings.rules(),
                                     [&code](const DmRule* rule) { return std::string_view(rule->code) == code.code; }))
                addRule(code.code, "", code.text, "", code.severity);
        _writer.EndArray();
        _writer.EndObject();
        _writer.EndObject();
        add("columnKind", "unicodeCodePoints");
        key("results");
        _writer.StartArray();
    }

    void print(std::ostream& /*out*/, const FileReport& report) override
    {
        if (!report.error.empty())
        {
            DmFinding finding;
            finding.code = "DM601";
            finding.severity = DmFinding::Error;
            finding.text = report.error;
            addResult(report.file, finding);
        }
        for (const DmFinding& finding : report.findings)
            addResult(report.file, finding);
    }

    void end(std::ostream& out) override
    {
        _writer.EndArray();
        _writer.EndObject();
        _writer.EndArray();
        _writer.EndObject();
        out << _buffer.GetString() << '\n';
    }

private:
    void key(std::string_view name) { _writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }
    void add(std::string_view name, std::string_view value)
    {
        key(name);
        _writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    }
    void addText(std::string_view name, std::string_view value)
    {
        key(name);
        _writer.StartObject();
        add("text", value);
        _writer.EndObject();
    }

    void addRule(const char* code, std::string_view name, const char* line, std::string_view why,
                 DmFinding::Severity severity)
    {
        _writer.StartObject();
        add("id", code);
        if (!name.empty())
            add("name", name);
        addText("shortDescription", line);
        if (!why.empty())
            addText("fullDescription", why);
        key("defaultConfiguration");
        _writer.StartObject();
        DmFinding finding;
        finding.severity = severity;
        add("level", finding.severityName());
        _writer.EndObject();
        _writer.EndObject();
    }

    /// A reference of the kind that browsers take: what is no plain character of a path is %-encoded.
    static std::string uri(std::string_view path)
    {
        static constexpr char digits[] = "0123456789ABCDEF";
        std::string out;
        for (const char c : path)
            if (std::isalnum(static_cast<unsigned char>(c)) ||
                std::string_view("/._-~").find(c) != std::string_view::npos)
                out += c;
            else
                (out += '%').append({digits[static_cast<unsigned char>(c) >> 4], digits[c & 15]});
        return out;
    }

    void addResult(const std::string& file, const DmFinding& finding)
    {
        _writer.StartObject();
        add("ruleId", finding.code);
        add("level", finding.severityName());
        addText("message", messageOf(finding));
        key("locations");
        _writer.StartArray();
        _writer.StartObject();
        key("physicalLocation");
        _writer.StartObject();
        key("artifactLocation");
        _writer.StartObject();
        add("uri", uri(file));
        _writer.EndObject();
        if (finding.line != 0)
        {
            key("region");
            _writer.StartObject();
            key("startLine");
            _writer.Uint(finding.line);
            if (finding.column != 0)
            {
                key("startColumn");
                _writer.Uint(finding.column);
            }
            _writer.EndObject();
        }
        _writer.EndObject();
        if (!finding.nodePath.empty())
        {
            key("logicalLocations");
            _writer.StartArray();
            _writer.StartObject();
            add("fullyQualifiedName", finding.nodePath);
            _writer.EndObject();
            _writer.EndArray();
        }
        _writer.EndObject();
        _writer.EndArray();
        if (!finding.subject.empty())
        {
            key("partialFingerprints");
            _writer.StartObject();
            add("subject/v1", finding.subject);
            _writer.EndObject();
        }
        _writer.EndObject();
    }

    const DmFindings& _findings;
    rapidjson::StringBuffer _buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> _writer{_buffer};
};

class StatisticsPrinter final : public CheckPrinter
{
public:
    void print(std::ostream& out, const FileReport& report) override
    {
        if (!report.error.empty())
            out << report.file << ": unreadable: " << report.error << '\n';
        for (const DmFinding& finding : report.findings)
            ++_counts[{finding.code, finding.severity}];
    }

    void end(std::ostream& out) override
    {
        std::vector<std::pair<Key, std::size_t>> rows(_counts.begin(), _counts.end());
        std::ranges::stable_sort(rows, std::ranges::greater(), &std::pair<Key, std::size_t>::second);
        for (const auto& [key, count] : rows)
        {
            DmFinding finding;
            finding.severity = key.second;
            const DmFindingCode* const code = dmFindingCode(key.first);
            out << count << '\t' << key.first << '\t' << finding.severityName() << '\t' << (code ? code->text : "")
                << '\n';
        }
    }

private:
    using Key = std::pair<std::string, DmFinding::Severity>;
    std::map<Key, std::size_t> _counts;
};

} // namespace

std::size_t FileReport::count(DmFinding::Severity severity) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(findings, [severity](const DmFinding& each) { return each.severity == severity; }));
}

std::unique_ptr<CheckPrinter> checkPrinter(const std::string& form, const DmFindings& findings, bool colour)
{
    if (form == "json")
        return std::make_unique<JsonPrinter>();
    if (form == "github")
        return std::make_unique<GithubPrinter>();
    if (form == "sarif")
        return std::make_unique<SarifPrinter>(findings);
    return std::make_unique<TextPrinter>(colour);
}

std::unique_ptr<CheckPrinter> statisticsPrinter()
{
    return std::make_unique<StatisticsPrinter>();
}

std::string explain(const DmFindings& findings, const std::string& word)
{
    std::string text;
    for (const DmRule* const rule : findings.rules())
        if (word == "all" || word == rule->code || word == rule->name)
            text += (text.empty() ? "" : "\n") + dmRulePage(*rule);
    if (!text.empty())
        return text;
    const auto names = [&word](const std::string& code)
    { return word == dmFindingGroup(code) || (word.starts_with("DM") && code.starts_with(word) && code != word); };
    std::vector<Row> rows;
    for (const DmRule* const rule : findings.rules())
        if (names(rule->code))
            rows.push_back(
                {rule->code, rule->name, std::string(rule->line) + (rule->isOn ? "" : " (only when selected)")});
    const auto isShown = [&rows](const DmFindingCode& code)
    { return std::ranges::any_of(rows, [&code](const Row& row) { return row.front() == code.code; }); };
    for (const DmFindingCode& code : dmFindingCodes()) // the rules among them, too
        if (names(code.code) && !isShown(code))
            rows.push_back({code.code, code.text});
    std::ostringstream table;
    printColumns(table, rows);
    text = table.str();
    if (const DmFindingCode* const code = text.empty() ? dmFindingCode(word) : nullptr)
        text = std::string("## ") + code->code + "\n\nFinds " + code->text + ", of the group " +
               dmFindingGroup(code->code) + ".\n";
    return text;
}

} // namespace dmtree
