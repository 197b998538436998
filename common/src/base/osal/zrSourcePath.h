/// The name under which a source file speaks in messages and assertion texts: its path from "common/src/" on, without
/// extension, and without the room if it is of libdm ("common/src/datamodel/libdm/<file>"). Computed at compile time
/// from __FILE__; a path without "common/src/" stays as the compiler was given it.
#pragma once

#include <cstddef>
#include <string_view>

namespace zrSourcePathDetail
{

template <std::size_t N>
struct Text
{
    char data[N]{};
};

template <std::size_t N>
consteval Text<N> shorten(const char (&path)[N])
{
    constexpr std::string_view top = "common/src/";
    constexpr std::string_view libdm = "common/src/datamodel/libdm/";
    std::string_view rest(path, N - 1);
    if (const std::size_t at = rest.rfind(top); at != rest.npos)
    {
        rest.remove_prefix(at);
        const std::size_t slash = rest.rfind('/');
        if (const std::size_t dot = rest.rfind('.'); dot != rest.npos && dot > slash)
            rest = rest.substr(0, dot);
    }
    Text<N> result;
    std::size_t length = 0;
    if (rest.starts_with(libdm))
    {
        for (const char c : libdm)
            result.data[length++] = c;
        rest.remove_prefix(rest.rfind('/') + 1);
    }
    for (const char c : rest)
        result.data[length++] = c;
    return result;
}

} // namespace zrSourcePathDetail

#define ZR_SOURCE_FILE                                                                                                 \
    (                                                                                                                  \
        []() noexcept -> const char*                                                                                   \
        {                                                                                                              \
            static constexpr auto zrSourcePath = zrSourcePathDetail::shorten(__FILE__);                                \
            return zrSourcePath.data;                                                                                  \
        }())
