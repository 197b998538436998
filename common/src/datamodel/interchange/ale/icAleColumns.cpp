#include "icAleColumns.h"

#include "icText.h"
#include "icTimeCode.h"

#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace interchange::ale
{

namespace
{

struct KnownColumn
{
    std::string_view name;
    Role role;
};
/// Of several of a role, the first goes before the others.
constexpr std::array<KnownColumn, 17> knownColumns{{{"NAME", Role::Name},
                                                    {"TRACKS", Role::Tracks},
                                                    {"START", Role::Start},
                                                    {"END", Role::End},
                                                    {"DURATION", Role::Duration},
                                                    {"TAPE", Role::Reel},
                                                    {"REEL", Role::Reel},
                                                    {"REEL NAME", Role::Reel},
                                                    {"UNC PATH", Role::Path},
                                                    {"UNC", Role::Path},
                                                    {"SOURCE FILE PATH", Role::Path},
                                                    {"SOURCE PATH", Role::Directory},
                                                    {"SOURCE FILE", Role::FileName},
                                                    {"FPS", Role::Rate},
                                                    {"ASC_SOP", Role::Sop},
                                                    {"ASC_SAT", Role::Saturation},
                                                    {"CDL", Role::Cdl}}};

constexpr std::string_view cellsKey = "*cells";
constexpr std::string_view moreKey = "*more";
constexpr std::string_view endKey = "*end";
constexpr std::string_view rowKey = "*row";
constexpr std::array<std::string_view, 4> encodingKeys{"", "*mark", "*utf-16le", "*utf-16be"};
constexpr std::string_view headKey = "*head";

constexpr std::array<std::pair<std::string_view, std::string_view>, 4> lineEnds{
    {{"LF", "\n"}, {"CRLF", "\r\n"}, {"CR", "\r"}, {"none", ""}}};

std::string_view nameOfEnd(std::string_view end)
{
    return std::ranges::find(lineEnds, end, [](const auto& each) { return each.second; })->first;
}

std::string_view endNamed(std::string_view name)
{
    const auto* const found = std::ranges::find(lineEnds, name, [](const auto& each) { return each.first; });
    return found == lineEnds.end() ? std::string_view() : found->second;
}

std::string label(double frames, DM::FrameCodeModes fcm)
{
    constexpr double limit = 1e15;
    std::string text;
    if (std::isfinite(frames) && fcm != DM::FCM_NOT_DEFINED)
        appendTimeLabel(text, std::llround(std::clamp(frames, -limit, limit)), fcm);
    return text;
}

std::size_t nameBegin(std::string_view path)
{
    return path.find_last_of("/\\") + 1; // npos + 1 is the begin
}

} // namespace

Role roleOf(std::string_view column)
{
    const std::size_t rank = rankOf(column);
    return rank < knownColumns.size() ? knownColumns[rank].role : Role::Custom;
}

std::size_t rankOf(std::string_view column)
{
    const auto* const known = std::ranges::find_if(knownColumns, [name = trimmed(column)](const KnownColumn& each)
                                                   { return equalsNoCase(name, each.name); });
    return static_cast<std::size_t>(known - knownColumns.begin());
}

std::string Row::cell(Role role) const
{
    switch (role)
    {
    case Role::Custom:
        break;
    case Role::Name:
        return name;
    case Role::Tracks:
        return tracks;
    case Role::Start:
        return label(start, fcm);
    case Role::End:
        return label(end, fcm);
    case Role::Duration:
        return label(end - start, fcm);
    case Role::Reel:
        return reel;
    case Role::Path:
        return path;
    case Role::Directory:
        return path.substr(0, nameBegin(path));
    case Role::FileName:
        return fileName.empty() ? path.substr(nameBegin(path)) : fileName;
    case Role::Rate:
        return fcm == DM::FCM_NOT_DEFINED ? "" : DM::FcmUtil::getFPSString(fcm);
    case Role::Sop:
        return look && look->hasSop ? sopText(*look) : "";
    case Role::Saturation:
        return look && look->hasSaturation ? numberText(look->saturation) : "";
    case Role::Cdl:
        return look ? sopText(*look) + '(' + numberText(look->saturation) + ')' : "";
    }
    return {};
}

std::optional<Look> lookOf(const DmSegmentNode& segment)
{
    for (const DmPropertySetPtr& each : segment.getEffects())
        if (const auto* const settings = dynamic_cast<const DmLookSettings*>(each.get());
            settings && !settings->isMuted())
            if (const Look look = toLook(*settings); look.isFinite())
                return look;
    return std::nullopt;
}

Row rowOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm)
{
    Row row;
    if (!(segment.getName() == L"untitled"))
        row.name = dmUtf8(segment.getName());
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    if (!source)
        return row;
    row.tracks = segment.getMediaType() == DM_MEDIA_AUDIO ? "A1" : "V";
    const DmMaterial material = dmMaterialOf(segment, compositionFcm);
    const DmPlayed played(segment, compositionFcm);
    row.fcm = played.fcm();
    row.start = material.begin + played.begin();
    row.end = material.begin + played.end();
    row.look = lookOf(segment);
    const DmSourceNode::Input* const input = source->getSrcInput();
    row.reel = input ? dmUtf8(dmReelOf(*input)) : "";
    if (const DmSourceInfo* const info = input ? input->getSrcInfo() : nullptr)
    {
        row.path = dmUtf8(info->getPath());
        row.fileName = dmUtf8(info->getName());
    }
    return row;
}

Kept Kept::of(const DmTreeNode& node)
{
    Kept kept;
    const std::optional<std::string> text = leftoverOf(node, leftoverType);
    for (std::string_view rest = text ? std::string_view(*text) : std::string_view(); !rest.empty();)
    {
        const std::string_view line = takeLine(rest).text;
        const std::size_t tab = std::min(line.find('\t'), line.size());
        const std::string_view key = line.substr(0, tab);
        const std::string_view value = line.substr(std::min(tab + 1, line.size()));
        if (key == cellsKey)
            kept.count = toNumber<std::size_t>(value);
        else if (key == moreKey)
            kept.more = value;
        else if (key == endKey)
            kept.end = endNamed(value);
        else if (key == rowKey)
            kept.isRow = true;
        else
        {
            const std::size_t second = value.find('\t');
            Cell cell{std::string(value.substr(0, second)), std::nullopt};
            if (second != value.npos)
                cell.was = value.substr(second + 1);
            kept.cells.insert_or_assign(std::string(key), std::move(cell));
        }
    }
    return kept;
}

eDmErrorId Kept::keepOn(DmTreeNode& node) const
{
    std::string text;
    const auto add = [&text](std::string_view key, std::string_view value)
    { text.append(key).append("\t").append(value).append("\n"); };
    if (isRow)
        text.append(rowKey).append("\n");
    for (const auto& [key, cell] : cells)
        add(key, cell.was ? cell.text + '\t' + *cell.was : cell.text);
    if (count)
        add(cellsKey, std::to_string(*count));
    if (!more.empty())
        add(moreKey, more);
    if (end)
        add(endKey, nameOfEnd(*end));
    if (!text.empty())
        text.pop_back(); // as documents have it
    return setLeftover(node, leftoverType, text);
}

std::optional<KeptHead> KeptHead::of(const DmTreeNode& node)
{
    KeptHead head;
    if (std::optional<std::string> first = leftoverOf(node, leftoverType))
    {
        head.text = std::move(*first);
        std::string_view rest = head.text;
        const std::string_view end = takeLine(rest).end;
        // A document has texts without the line feed at their end.
        if (end == "\r\n" && head.text.ends_with('\r'))
            head.text += '\n';
        else if (head.text.empty() || !isBlank(head.text.back()))
            head.text += end.empty() ? "\n" : end;
        return head;
    }
    const std::optional<std::string> text = leftoverOf(node, headLeftover);
    if (!text)
        return std::nullopt;
    std::map<std::string, std::string_view, std::less<>> ends{{std::string(endKey), "\n"}};
    std::string_view rest = *text;
    for (std::string_view line; line != headKey && !rest.empty();)
    {
        line = takeLine(rest).text;
        const std::size_t tab = std::min(line.find('\t'), line.size());
        if (const auto* const named = std::ranges::find(encodingKeys, line);
            named != encodingKeys.end() && !line.empty())
            head.encoding = static_cast<Encoding>(named - encodingKeys.begin());
        if (tab != line.size())
            ends.insert_or_assign(std::string(line.substr(0, tab)), endNamed(line.substr(tab + 1)));
    }
    const std::string_view usual = ends.find(endKey)->second;
    for (std::size_t number = 1; !rest.empty(); ++number)
    {
        head.text.append(takeLine(rest).text);
        const auto own = ends.find(std::string(endKey) + ' ' + std::to_string(number));
        head.text.append(own == ends.end() ? usual : own->second);
    }
    return head;
}

eDmErrorId KeptHead::keepOn(DmTreeNode& node) const
{
    std::string kept(encodingKeys[static_cast<std::size_t>(encoding)]);
    kept.append(kept.empty() ? "" : "\n");
    std::string lines;
    std::string_view rest = text;
    std::string_view usual = "\n";
    for (std::size_t number = 1; !rest.empty(); ++number)
    {
        const Line line = takeLine(rest);
        const bool isFirst = number == 1;
        if (line.end != usual)
            kept.append(endKey)
                .append(isFirst ? "" : ' ' + std::to_string(number))
                .append("\t")
                .append(nameOfEnd(line.end))
                .append("\n");
        usual = isFirst ? line.end : usual;
        lines.append("\n").append(line.text);
    }
    return setLeftover(node, headLeftover, kept.append(headKey).append(lines));
}

} // namespace interchange::ale
