#include "icPath.h"

#include "icText.h"

#include <algorithm>
#include <cctype>

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

std::string decoded(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
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
    for (const char c : path)
    {
        constexpr std::string_view unreserved = "/-._~!$&'()*+,;=@";
        const bool isPlain =
            isDigit(c) || (toUpper(c) >= 'A' && toUpper(c) <= 'Z') || unreserved.find(c) != unreserved.npos;
        constexpr std::string_view hex = "0123456789ABCDEF";
        if (isNative && c == '\\')
            url += '/';
        else if (isPlain)
            url += c;
        else
            url.append({'%', hex[static_cast<unsigned char>(c) >> 4], hex[static_cast<unsigned char>(c) & 15]});
    }
    return url;
}

} // namespace interchange
