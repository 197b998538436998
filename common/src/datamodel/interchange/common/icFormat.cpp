#include "icFormat.h"

#include <algorithm>
#include <stdexcept>

namespace interchange
{

std::string Source::readAll()
{
    constexpr std::size_t step = 1 << 16;
    constexpr std::size_t longestStep = std::size_t{16} << 20;
    std::string bytes;
    std::size_t held = 0;
    if (const std::optional<std::uint64_t> known = size())
        bytes.reserve(static_cast<std::size_t>(*known) + 1); // and a byte to see the end with
    for (;;)
    {
        bytes.resize(held < bytes.capacity() ? std::min(bytes.capacity(), held + longestStep) : held + step);
        const std::size_t got = read(bytes.data() + held, bytes.size() - held);
        held += got;
        if (got == 0)
            break;
    }
    bytes.resize(held);
    if (const std::string wrong = fault(); !wrong.empty())
        throw std::runtime_error(wrong);
    return bytes;
}

} // namespace interchange
