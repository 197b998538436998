/// What the members of OpenTimelineIO objects are called in nearly every file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace interchange::otio
{

/// A name's place is its code in the short form, so new ones go to the end.
inline constexpr std::array<std::string_view, 40> usualNames{"OTIO_SCHEMA",
                                                             "metadata",
                                                             "name",
                                                             "source_range",
                                                             "effects",
                                                             "markers",
                                                             "enabled",
                                                             "media_reference",
                                                             "media_references",
                                                             "active_media_reference_key",
                                                             "DEFAULT_MEDIA",
                                                             "available_range",
                                                             "available_image_bounds",
                                                             "target_url",
                                                             "children",
                                                             "kind",
                                                             "duration",
                                                             "start_time",
                                                             "rate",
                                                             "value",
                                                             "in_offset",
                                                             "out_offset",
                                                             "transition_type",
                                                             "color",
                                                             "comment",
                                                             "marked_range",
                                                             "effect_name",
                                                             "time_scalar",
                                                             "global_start_time",
                                                             "tracks",
                                                             "generator_kind",
                                                             "parameters",
                                                             "target_url_base",
                                                             "name_prefix",
                                                             "name_suffix",
                                                             "start_frame",
                                                             "frame_step",
                                                             "frame_zero_padding",
                                                             "cmx_3600",
                                                             "reel"};
inline constexpr std::string_view nameCodes = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static_assert(usualNames.size() <= nameCodes.size());

inline constexpr std::size_t noName = usualNames.size();

/// Where a name stands in a table with room to spare, so that few share a place.
constexpr std::size_t placeOf(std::string_view name)
{
    if (name.empty())
        return 0;
    const auto code = [name](std::size_t at) { return static_cast<std::size_t>(static_cast<unsigned char>(name[at])); };
    return (name.size() * 37 + code(0) * 11 + code(name.size() / 2) * 5 + code(name.size() - 1)) % 256;
}

inline constexpr auto nameTable = []
{
    std::array<std::size_t, 256> table{};
    table.fill(noName);
    for (std::size_t i = 0; i < usualNames.size(); ++i)
        table[placeOf(usualNames[i])] = i;
    return table;
}();

/// Texts of that size, by words: names are short, and documents are looked through for little else, so a call would
/// cost as much again.
inline bool isSameText(const char* a, const char* b, std::size_t size)
{
    const auto differs = [&]<class Word>(std::size_t at, Word x)
    {
        Word y = 0;
        std::memcpy(&x, a + at, sizeof x);
        std::memcpy(&y, b + at, sizeof y);
        return x != y;
    };
    if (size < sizeof(std::uint32_t))
    {
        for (std::size_t i = 0; i < size; ++i)
            if (a[i] != b[i])
                return false;
        return true;
    }
    if (size < sizeof(std::uint64_t))
        return !differs(0, std::uint32_t{}) && !differs(size - sizeof(std::uint32_t), std::uint32_t{});
    for (std::size_t i = 0; i + sizeof(std::uint64_t) <= size; i += sizeof(std::uint64_t))
        if (differs(i, std::uint64_t{}))
            return false;
    return !differs(size - sizeof(std::uint64_t), std::uint64_t{});
}

/// Its number; noName for another one, or one whose place another usual name has.
inline std::size_t usualName(std::string_view name)
{
    const std::size_t index = nameTable[placeOf(name)];
    const bool mayBe = index != noName && usualNames[index].size() == name.size();
    return mayBe && isSameText(usualNames[index].data(), name.data(), name.size()) ? index : noName;
}

} // namespace interchange::otio
