#include "icPath.h"

#include "icText.h"

#include <algorithm>
#include <array>

namespace interchange
{

namespace
{

constexpr std::string_view scheme = "file://";

int digitOf(char c)
{
    const char upper = toUpper(c);
    return isDigit(c) ? c - '0' : upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

/// What stands for itself in a URL, by its code.
constexpr auto plainCharacters = []
{
    std::array<bool, 256> table{};
    constexpr std::string_view others = "/-._~!$&'()*+,;=@";
    for (std::size_t code = 0; code < table.size(); ++code)
    {
        const char c = static_cast<char>(code);
        table[code] = isDigit(c) || (toUpper(c) >= 'A' && toUpper(c) <= 'Z') || others.find(c) != others.npos;
    }
    return table;
}();

bool isPlain(char c)
{
    return plainCharacters[static_cast<unsigned char>(c)];
}

std::string decoded(std::string_view text)
{
    const std::size_t plain = std::min(text.find('%'), text.size());
    std::string out(text.substr(0, plain));
    for (std::size_t i = plain; i < text.size(); ++i)
    {
        const bool isCode =
            text[i] == '%' && i + 2 < text.size() && digitOf(text[i + 1]) >= 0 && digitOf(text[i + 2]) >= 0;
        const int code = isCode ? digitOf(text[i + 1]) * 16 + digitOf(text[i + 2]) : 0;
        out += code != 0 ? static_cast<char>(code) : text[i]; // a zero stays written out
        i += code != 0 ? 2 : 0;
    }
    return out;
}

bool hasDrive(std::string_view path)
{
    const char first = path.empty() ? ' ' : toUpper(path[0]);
    return path.size() >= 2 && first >= 'A' && first <= 'Z' && path[1] == ':';
}

} // namespace

std::string pathOfUrl(std::string_view url)
{
    if (!startsWithNoCase(url, "FILE://"))
        return std::string(url);
    const std::string_view rest = url.substr(scheme.size());
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string_view authority = rest.substr(0, slash);
    std::string path = decoded(rest.substr(slash));
    if (path.size() > 2 && hasDrive(std::string_view(path).substr(1)))
    {
        path.erase(0, 1);
        std::ranges::replace(path, '/', '\\');
        return path;
    }
    if (authority.empty() || equalsNoCase(authority, "LOCALHOST"))
        return path;
    std::string share = "\\\\" + decoded(authority) + path;
    std::ranges::replace(share, '/', '\\');
    return share;
}

std::string urlOfPath(std::string_view path, std::string_view authority)
{
    const bool isShare = path.starts_with("\\\\");
    if (!path.starts_with('/') && !hasDrive(path) && !isShare)
        return std::string(path);
    std::string url(scheme);
    if (isShare)
        path.remove_prefix(2);
    else
        url.append(authority);
    if (hasDrive(path))
        url += '/';
    const bool isNative = isShare || hasDrive(path);
    while (!path.empty())
    {
        const auto length = static_cast<std::size_t>(std::ranges::find_if_not(path, isPlain) - path.begin());
        url.append(path, 0, length);
        if (length == path.size())
            break;
        constexpr std::string_view hex = "0123456789ABCDEF";
        const auto code = static_cast<unsigned char>(path[length]);
        if (isNative && path[length] == '\\')
            url += '/';
        else
            url.append({'%', hex[code >> 4], hex[code & 15]});
        path.remove_prefix(length + 1);
    }
    return url;
}

} // namespace interchange
