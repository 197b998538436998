/// Which of many things came first under a key: texts and numbers, all of which stay where they are.
///
///     DmFirsts<const DmShotView*> firsts(count);
///     if (const DmShotView* const* first = firsts.add({.text = name}, &shot))
///         ...   // another shot has the name
///
/// A flat table, made once and as large as it will be. Rules that look for what stands twice (media, ids, shot names,
/// reels) ask for a number of each shot: over 100 000 segments that took longer than three walks of a validation in
/// maps of nodes, most of it for their memory; here it takes about half of one.
#pragma once

#include "CoHashImp.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

struct DmFirstsKey
{
    std::wstring_view text;
    std::wstring_view second = {};
    double number = 0.0;
    int kind = 0;

    friend bool operator==(const DmFirstsKey&, const DmFirstsKey&) = default;
};

template <class Value>
class DmFirsts
{
public:
    /// For up to `most` additions.
    explicit DmFirsts(std::size_t most)
        : _slots(std::bit_ceil(2 * most + 1))
    {
        _all.reserve(most);
    }

    /// What was added first under the key; null where that is this value now.
    const Value* add(const DmFirstsKey& key, const Value& value)
    {
        const std::size_t hash = hashOf(key);
        std::size_t at = hash;
        for (;; ++at)
        {
            std::uint32_t& slot = _slots[at & (_slots.size() - 1)];
            if (slot == 0)
            {
                _all.push_back({hash, key, value});
                slot = static_cast<std::uint32_t>(_all.size());
                return nullptr;
            }
            const Entry& entry = _all[slot - 1];
            if (entry.hash == hash && entry.key == key)
                return &entry.value;
        }
    }
    /// How many keys there are.
    std::size_t size() const { return _all.size(); }

private:
    struct Entry
    {
        std::size_t hash;
        DmFirstsKey key;
        Value value;
    };

    static std::size_t hashOf(const DmFirstsKey& key)
    {
        using DM::CoHash::mixed;
        const std::hash<std::wstring_view> hash;
        const auto number = std::bit_cast<std::uint64_t>(key.number + 0.0); // one zero
        return mixed(mixed(hash(key.text), hash(key.second)), number + static_cast<unsigned>(key.kind));
    }

    std::vector<std::uint32_t> _slots; ///< 1 + the place in _all; 0: none
    std::vector<Entry> _all;
};
