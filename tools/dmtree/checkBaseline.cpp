#include "checkBaseline.h"

#include "jsonLine.h"
#include "textFile.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace dmtree
{
namespace
{

/// What no shot can be named for is known by its words, which tell no record time.
std::string subjectOf(const DmFinding& finding)
{
    return finding.subject.empty() ? finding.clip + ": " + finding.text : finding.subject;
}

} // namespace

CheckBaseline::CheckBaseline(const std::string& path)
{
    const std::string text = readText(path);
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    const auto isText = [](const rapidjson::Value& row, const char* key)
    { return row.HasMember(key) && row[key].IsString(); };
    bool isGood = !document.HasParseError() && document.IsObject() && document.HasMember("accepted") &&
                  document["accepted"].IsArray();
    for (rapidjson::SizeType i = 0; isGood && i < document["accepted"].Size(); ++i)
    {
        const rapidjson::Value& row = document["accepted"][i];
        const bool hasCount = row.IsObject() && row.HasMember("count");
        isGood = row.IsObject() && isText(row, "code") && isText(row, "of") &&
                 (!hasCount || (row["count"].IsInt() && row["count"].GetInt() > 0));
        if (isGood)
            _accepted[{row["code"].GetString(), row["of"].GetString()}] = hasCount ? row["count"].GetInt() : 1;
    }
    if (!isGood)
        throw std::runtime_error(path + ": this is no baseline, as --write-baseline writes it");
}

void CheckBaseline::accept(const std::vector<DmFinding>& findings)
{
    std::map<Key, int> counts;
    for (const DmFinding& finding : findings)
    {
        const Key key(finding.code, subjectOf(finding));
        int& accepted = _accepted[key];
        accepted = std::max(accepted, ++counts[key]);
    }
}

std::size_t CheckBaseline::hide(std::vector<DmFinding>& findings) const
{
    std::map<Key, int> counts;
    std::vector<DmFinding> left;
    for (DmFinding& finding : findings)
    {
        const Key key(finding.code, subjectOf(finding));
        const auto found = _accepted.find(key);
        if (found == _accepted.end() || ++counts[key] > found->second)
            left.push_back(std::move(finding));
    }
    findings.swap(left);
    return left.size() - findings.size();
}

std::size_t CheckBaseline::count() const
{
    return std::accumulate(_accepted.begin(), _accepted.end(), std::size_t(0),
                           [](std::size_t sum, const auto& each)
                           { return sum + static_cast<std::size_t>(each.second); });
}

std::string CheckBaseline::text() const
{
    std::string text = "{\"accepted\":[";
    const char* separator = "\n";
    for (const auto& [key, count] : _accepted)
    {
        JsonLine line;
        line.add("code", key.first).add("of", key.second);
        if (count != 1)
            line.add("count", count);
        text.append(separator).append(line.text());
        separator = ",\n";
    }
    return text + "\n]}\n";
}

} // namespace dmtree
