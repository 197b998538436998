/// Hashes of what has several parts: the one way in which they are put together.
///
///     std::unordered_set<std::pair<const void*, const void*>, CoHash::OfPair> known;
///     return CoHash::mixed(hashOf(name), hashOf(value));
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace DM::CoHash
{

/// Of two hashes, in this order: each bit of either is all over the result.
constexpr std::uint64_t mixed(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t x = a ^ (b + 0x9e3779b97f4a7c15U + (a << 6U) + (a >> 2U));
    x = (x ^ (x >> 31U)) * 0xbf58476d1ce4e5b9U;
    return x ^ (x >> 29U);
}

/// For tables whose keys are pairs.
struct OfPair
{
    template <class First, class Second>
    std::size_t operator()(const std::pair<First, Second>& pair) const
    {
        return mixed(std::hash<First>()(pair.first), std::hash<Second>()(pair.second));
    }
};

} // namespace DM::CoHash
