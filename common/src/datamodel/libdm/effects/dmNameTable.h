/// The stored names of a class's attributes or channels, in the order of the enumeration that counts them. Both are
/// spelled once: the enumerator is the name.
///
///     class DmAudioGainSettings ...
///     {
///         ZR_DM_NAMES(enum class ChannelId, channelNames, gain)
///
///     effect->getChannel(DmAudioGainSettings::ChannelId::gain);
///
/// A table is a constant of its class and costs nothing at load: its strings are made on first use, from any thread,
/// and stay until the process ends.
#pragma once

#include "dmString.h"

#include <atomic>
#include <type_traits>

class ZR_DM_API DmNameTable
{
public:
    /// Names divided by commas; blanks around them do not count. `list` is a literal.
    constexpr explicit DmNameTable(const wchar_t* list)
        : _list(list)
        , _size(*list ? 1 : 0)
    {
        for (; *list; ++list)
            _size += *list == L',' ? 1 : 0;
    }

    constexpr int size() const { return _size; }

    /// The empty name for an index outside the table.
    const DmString& operator[](int index) const
    {
        const DmString* const made = _names.load(std::memory_order_acquire);
        const bool inside = static_cast<unsigned>(index) < static_cast<unsigned>(_size);
        return (made ? made : make())[inside ? index : _size];
    }
    template <class Id>
    requires std::is_enum_v<Id>
    const DmString& operator[](Id id) const { return (*this)[static_cast<int>(id)]; }

    /// The first index of a name, `otherwise` for a name that is not in the table. Exact comparison.
    int find(const DmString& name, int otherwise) const;

private:
    const DmString* make() const;

    const wchar_t* _list;
    int _size;
    mutable std::atomic<const DmString*> _names{nullptr}; ///< one more than the size: the last one is empty
};

/// Declares, inside a class, an enumeration (from 0) and the table of its enumerators' names.
#define ZR_DM_NAMES(enumeration, table, ...)                                                                           \
    enumeration:                                                                                                       \
    int{__VA_ARGS__};                                                                                                  \
    static inline constinit const DmNameTable table{L"" #__VA_ARGS__};
