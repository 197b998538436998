/// Many bytes of long texts at once: where plain text ends, widening it, narrowing it.
///
/// Most texts of a document (names, ids, paths) are shorter than 64 characters and are done where they are met, with
/// the registers that every x86-64 processor has (SSE2): a call would cost more than wider registers save, and blanks
/// are never that many. The rest of a longer one, as setups and notes are, is handed to the widest registers that this
/// processor has (AVX2), which is found out when the first one comes.
///
/// What pays for it, each against SSE2 over texts of 64, 256 and 4096 characters: finding the end takes 0.6, 0.4 and
/// 0.5 of the time, widening 0.6, 0.5 and 0.7, narrowing 0.7, 0.3 and 0.6.
#pragma once

#include <cstddef>
#include <string_view>

namespace dmJson
{

/// The work on long texts, with the registers of one kind.
struct Bytes
{
    enum Kind
    {
        Sse2,
        Avx2
    };
    /// From which length on a call pays.
    static constexpr std::size_t manyBytes = 64;

    /// The first byte that means something inside a string: a quote, a backslash, a control character. There is one,
    /// and 32 bytes behind it may be looked at. `high` is other than 0 when a byte before it is no ASCII.
    const char* (*plainEnd)(const char* at, unsigned& high);
    /// Text of a byte a character; many of them.
    void (*widen)(std::string_view ascii, wchar_t* to);
    /// Writes the bytes of characters that stand for themselves, from the first on, and answers how many they are; it
    /// may stop up to 31 before one that does not, and before the end.
    std::size_t (*narrow)(std::wstring_view text, char* to);

    /// Null when this processor has them not.
    static const Bytes* of(Kind kind);
    /// The widest that it has.
    static const Bytes& best();
};

} // namespace dmJson
