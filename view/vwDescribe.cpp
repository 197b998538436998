#include "vwDescribe.h"

#include "vwLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace view
{
namespace
{

constexpr const char* dot = " \xC2\xB7 "; // U+00B7

std::string rangeText(const Scene& scene, const Composition& composition, Version version, double in, double out)
{
    const bool isOld = version == Version::Old && composition.versions;
    const Mode& mode = scene.modes[isOld ? composition.versions->oldMode : composition.mode];
    const double start = isOld ? composition.versions->oldLabelStart : composition.labelStart;
    return labelOf(mode, in + start) + " - " + labelOf(mode, out + start);
}

/// Of one piece in a hundred of normal: what speed the material's own clock makes of it.
double percentOf(const Scene& scene, const Composition& composition, const Piece& piece)
{
    const double record = scene.modes[composition.mode].rate;
    const double source = scene.modes[piece.mode].rate;
    return record > 0.0 && source > 0.0 ? piece.speed * record / source * 100.0 : piece.speed * 100.0;
}

/// The frame that is seen first: backwards, the one in front of the point.
double firstFrame(const Piece& piece)
{
    return piece.speed < 0.0 ? std::ceil(piece.source - 1e-5) - 1.0 : std::floor(piece.source + 1e-5);
}

} // namespace

std::string isolated(std::string_view name)
{
    const bool isAscii = std::all_of(name.begin(), name.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
    return isAscii ? std::string(name) : "\xE2\x81\xA8" + std::string(name) + "\xE2\x81\xA9"; // U+2068, U+2069
}

std::string shortened(std::string_view utf8, std::size_t characters)
{
    std::size_t at = 0;
    for (; at < utf8.size(); ++at)
        if ((static_cast<unsigned char>(utf8[at]) & 0xC0) != 0x80 && characters-- == 0)
            return std::string(utf8.substr(0, at)) + "\xE2\x80\xA6"; // U+2026
    return std::string(utf8);
}

std::string summaryOf(const Scene& scene, const Composition& composition)
{
    const auto counted = [](std::size_t count, const char* one)
    { return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s"); };
    const auto tracks =
        std::count_if(composition.rows.begin(), composition.rows.end(), [](const Row& row) { return row.isTrackTop; });
    if (composition.versions)
        return scene.modes[composition.mode].name + dot + scene.subtitle;
    const Segments& segments = composition.segments;
    const auto gaps = std::count(segments.kind.begin(), segments.kind.end(), Kind::Gap);
    return scene.modes[composition.mode].name + dot +
           rangeText(scene, composition, composition.version, composition.begin, composition.end) + dot +
           counted(static_cast<std::size_t>(tracks), "track") + ", " +
           counted(segments.size() - static_cast<std::size_t>(gaps), "segment");
}

std::string sourceLine(const Scene& scene, const Composition& composition, std::uint32_t segment)
{
    std::string line = isolated(scene.texts[composition.segments.reel[segment]]);
    if (composition.segments.kind[segment] == Kind::Generated)
        return line;
    if (const Piece* const piece = firstPiece(composition, segment))
        line += (line.empty() ? "" : dot) + labelOf(scene.modes[piece->mode], firstFrame(*piece));
    return line;
}

std::string badgeOf(const Scene& scene, const Composition& composition, std::uint32_t segment)
{
    std::string badge;
    const std::uint8_t flags = composition.segments.flags[segment];
    const Piece* const piece = firstPiece(composition, segment);
    if (flags & Keyed)
        badge = "speed curve";
    else if (piece && composition.segments.kind[segment] == Kind::Source && piece->speed == 0.0)
        badge = "freeze";
    else if (piece && composition.segments.kind[segment] != Kind::Generated)
        if (const double percent = percentOf(scene, composition, *piece); std::abs(percent - 100.0) > 0.05)
        {
            char text[32];
            std::snprintf(text, sizeof text, "%.4g %%", percent);
            badge = text;
        }
    if (flags & HasEffects)
        badge += badge.empty() ? "fx" : "  fx";
    return badge;
}

std::string describe(const Scene& scene, const Composition& composition, std::uint32_t segment)
{
    const Segments& segments = composition.segments;
    static constexpr const char* kinds[] = {"", "generated", "container", "gap"};
    std::string text = isolated(shortened(scene.texts[segments.name[segment]], 200));
    const std::string kind = kinds[static_cast<std::size_t>(segments.kind[segment])];
    if (!kind.empty())
        text += (text.empty() ? "" : dot) + kind;
    text += "\n" + rangeText(scene, composition, composition.rows[rowOf(composition, segment)].version,
                             segments.in[segment], segments.out(segment));
    if (const std::string source = sourceLine(scene, composition, segment); !source.empty())
        text += "\n" + shortened(source, 200);
    if (const std::string badge = badgeOf(scene, composition, segment); !badge.empty())
        text += "\n" + badge;
    if (segments.flags[segment] & Muted)
        text += "\nmuted";
    if (composition.versions)
        for (const Remark& remark : composition.remarks)
            if (remark.segment == segment)
                text += "\n" + remark.text;
    return text;
}

std::string describeTransition(const Scene& scene, const Composition& composition, const Transition& transition)
{
    return isolated(shortened(scene.texts[transition.name], 200)) + "\n" +
           rangeText(scene, composition, composition.rows[transition.row].version, transition.in,
                     transition.in + transition.length);
}

std::pair<std::string, std::string> tintsBeside(const Composition& composition, const Row& row,
                                                const Transition& transition)
{
    const Segments& segments = composition.segments;
    const auto begin = segments.in.begin() + row.first;
    const auto end = segments.in.begin() + row.last;
    // The one behind begins when the transition has ended.
    const auto behind = std::lower_bound(begin, end, transition.in + transition.length - 1e-5);
    const auto style = [&](auto at)
    { return "t" + std::to_string(segments.tint[static_cast<std::size_t>(at - segments.in.begin())]); };
    return {behind == begin ? "lane" : style(behind - 1), behind == end ? "lane" : style(behind)};
}

} // namespace view
