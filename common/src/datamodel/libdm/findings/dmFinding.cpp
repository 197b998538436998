#include "dmFinding.h"

#include "dmFindings.h"

#include <algorithm>
#include <map>
#include <vector>

namespace
{

/// Of conversions; those of rules come from the rules.
constexpr DmFindingCode conversions[] = {
    {"DM601", DmFinding::Error, "files that cannot be read"},
    {"DM602", DmFinding::Error, "mistakes in cut lists"},
    {"DM603", DmFinding::Warning, "things that are read otherwise than the list says"},
    {"DM604", DmFinding::Note, "things that a list does not say and that are taken for granted"},
    {"DM605", DmFinding::Warning, "times of other rates that fall between frames"},
    {"DM606", DmFinding::Warning, "values that the document refuses"},
    {"DM607", DmFinding::Error, "values of documents that are not kept as they stand"},
    {"DM608", DmFinding::Note, "rates that nobody said"},
    {"DM611", DmFinding::Warning, "events on no channel"},
    {"DM612", DmFinding::Warning, "colour corrections of events without a picture"},
    {"DM613", DmFinding::Warning, "objects of unknown schemas"},
    {"DM614", DmFinding::Warning, "transitions other than dissolves and wipes"},
    {"DM615", DmFinding::Warning, "generators of unknown kinds"},
    {"DM616", DmFinding::Warning, "clips that two rows of a list of media fit"},
    {"DM617", DmFinding::Warning, "speeds that sound cannot play at"},
    {"DM618", DmFinding::Warning, "integers beyond 64 bits"},
    {"DM619", DmFinding::Warning, "transitions from a reel that does not play in front of them"},
    {"DM620", DmFinding::Warning, "transitions from frames that do not follow those in front of them"},
    {"DM701", DmFinding::Error, "documents that a format cannot hold"},
    {"DM702", DmFinding::Warning, "holes in a layer"},
    {"DM703", DmFinding::Warning, "segments that overlap the one before them"},
    {"DM711", DmFinding::Warning, "effects that the format has no words for"},
    {"DM712", DmFinding::Warning, "transitions other than dissolves and wipes"},
    {"DM713", DmFinding::Warning, "speeds that change"},
    {"DM714", DmFinding::Warning, "nested compositions"},
    {"DM715", DmFinding::Warning, "generated sources that the format does not know"},
    {"DM716", DmFinding::Warning, "muted segments"},
    {"DM717", DmFinding::Warning, "times between two frames"},
    {"DM718", DmFinding::Warning, "sources that count in another frame rate"},
    {"DM719", DmFinding::Warning, "in-times before zero"},
    {"DM720", DmFinding::Warning, "cue marks with a length"},
    {"DM721", DmFinding::Warning, "cue marks of a colour that has no name"},
    {"DM722", DmFinding::Warning, "cue marks without a time"},
    {"DM723", DmFinding::Warning, "cue marks of the composition where no event plays"},
    {"DM724", DmFinding::Warning, "further video tracks"},
    {"DM725", DmFinding::Warning, "audio tracks beyond what channels there are"},
    {"DM726", DmFinding::Warning, "further layers"},
    {"DM727", DmFinding::Warning, "further compositions"},
    {"DM728", DmFinding::Warning, "nodes of kinds that have no place where they stand"},
    {"DM729", DmFinding::Warning, "containers nested too deeply"},
    {"DM730", DmFinding::Warning, "settings of wipes other than their pattern"},
    {"DM731", DmFinding::Warning, "colours and levels of generated sources"},
    {"DM732", DmFinding::Warning, "further channels of sources"},
    {"DM733", DmFinding::Warning, "texts that the format cannot hold"},
    {"DM734", DmFinding::Note, "what a list of media does not say"},
    {"DM735", DmFinding::Warning, "looks that differ on one medium"},
    {"DM736", DmFinding::Warning, "transitions whose cut no alignment names"},
    {"DM737", DmFinding::Warning, "properties that the format has no words for"},
    {"DM738", DmFinding::Warning, "attached sets that the format has no words for"},
    {"DM739", DmFinding::Note, "details that only its own format has"},
    {"DM740", DmFinding::Warning, "clips and transitions without a length"},
    {"DM741", DmFinding::Note, "time that nothing fills at the begin or the end"},
    {"DM742", DmFinding::Note, "transitions that do not begin at their cut"},
    {"DM743", DmFinding::Note, "tracks on which nothing plays"},
    {"DM744", DmFinding::Warning, "segments that begin before their composition"},
};
static_assert(std::ranges::is_sorted(conversions, {},
                                     [](const DmFindingCode& each) { return std::string_view(each.code); }));

/// So that nothing of a file moves the cursor of a terminal, or begins a line of its own: control characters as \xNN.
std::string printable(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const auto c = static_cast<unsigned char>(text[i]);
        // U+0080 to U+009F are control characters, too.
        const bool isLead = c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (isLead || c < ' ' || c == 0x7F)
        {
            const auto shown = isLead ? static_cast<unsigned char>(text[++i]) : c;
            result += {'\\', 'x', digits[shown >> 4U], digits[shown & 15U]};
        }
        else
            result += text[i];
    }
    return result;
}

} // namespace

const char* DmFinding::severityName() const
{
    return severity == Error ? "error" : severity == Warning ? "warning" : "note";
}

std::string DmFinding::toString(std::string_view fileName) const
{
    std::string out(fileName);
    out += ':';
    if (line != 0)
        out.append(std::to_string(line)).append(":");
    if (line != 0 && column != 0)
        out.append(std::to_string(column)).append(":");
    out += ' ';
    if (severity != Error)
        out.append(severityName()).append(": ");
    std::string place;
    for (const std::string* each : {&clip, &track, &record})
        if (!each->empty())
            place.append(place.empty() ? "" : ", ").append(*each);
    return out.append(printable(place)).append(place.empty() ? "" : ": ").append(printable(text));
}

std::string dmFindingsText(std::string_view fileName, std::span<const DmFinding> findings, std::size_t shownOfOne)
{
    std::string text;
    std::map<std::string_view, std::size_t> counts;
    for (const DmFinding& finding : findings)
        if (const std::size_t count = ++counts[finding.code]; shownOfOne == 0 || count <= shownOfOne)
            text.append(finding.toString(fileName)).append("\n");
    for (const auto& [code, count] : counts)
        if (const DmFindingCode* const kind = dmFindingCode(code); kind && shownOfOne != 0 && count > shownOfOne)
            text.append(fileName)
                .append(": ")
                .append(std::to_string(count - shownOfOne))
                .append(" more: ")
                .append(kind->text)
                .append("\n");
    return text;
}

std::span<const DmFindingCode> dmFindingCodes()
{
    static const std::vector<DmFindingCode> all = []
    {
        std::vector<DmFindingCode> codes;
        for (const DmRule& rule : DmFindings::ownRules())
            codes.push_back({rule.code, rule.severity, rule.line});
        codes.insert(codes.end(), std::begin(conversions), std::end(conversions));
        return codes;
    }();
    return all;
}

const DmFindingCode* dmFindingCode(std::string_view code)
{
    const std::span<const DmFindingCode> all = dmFindingCodes();
    const auto found = std::ranges::find(all, code, &DmFindingCode::code);
    return found == all.end() ? nullptr : &*found;
}
