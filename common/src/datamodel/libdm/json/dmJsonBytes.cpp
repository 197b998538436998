#include "dmJsonBytesImp.h"

#include <bit>
#include <immintrin.h>

namespace dmJson
{
namespace
{

static_assert(sizeof(wchar_t) == 4);

// SSE2

__m128i load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

void store(void* to, __m128i bytes)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

const char* plainEndSse2(const char* at, unsigned& high)
{
    for (;; at += sizeof(__m128i))
    {
        const __m128i bytes = load(at);
        const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
        const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
        const auto special =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quote, escape), control)));
        const auto highs = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        high |= highs & ((special & (~special + 1)) - 1);
        if (special != 0)
            return at + std::countr_zero(special);
    }
}

void widenSse2(std::string_view ascii, wchar_t* to)
{
    constexpr std::size_t atOnce = sizeof(__m128i);
    const __m128i zero = _mm_setzero_si128();
    const auto widenAt = [&](std::size_t i)
    {
        const __m128i bytes = load(&ascii[i]);
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        const __m128i high = _mm_unpackhi_epi8(bytes, zero);
        store(to + i, _mm_unpacklo_epi16(low, zero));
        store(to + i + 4, _mm_unpackhi_epi16(low, zero));
        store(to + i + 8, _mm_unpacklo_epi16(high, zero));
        store(to + i + 12, _mm_unpackhi_epi16(high, zero));
    };
    for (std::size_t i = 0; i + atOnce < ascii.size(); i += atOnce)
        widenAt(i);
    widenAt(ascii.size() - atOnce); // over some of those before
}

std::size_t narrowSse2(std::wstring_view text, char* to)
{
    constexpr std::size_t atOnce = sizeof(__m128i);
    std::size_t i = 0;
    for (; i + atOnce <= text.size(); i += atOnce)
    {
        // What is above 0x7FFF is saturated, and what is above 0xFF is 0xFF: neither is below 0x80.
        const __m128i low = _mm_packs_epi32(load(&text[i]), load(&text[i + 4]));
        const __m128i high = _mm_packs_epi32(load(&text[i + 8]), load(&text[i + 12]));
        const __m128i bytes = _mm_packus_epi16(low, high);
        const __m128i control = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)); // and what is above 0x7F
        const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
        const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
        if (_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, escape))) != 0)
            break;
        store(to + i, bytes);
    }
    return i;
}

// AVX2: the same with twice as many

[[gnu::target("avx2")]] __m256i load32(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

[[gnu::target("avx2")]] const char* plainEndAvx2(const char* at, unsigned& high)
{
    for (;; at += sizeof(__m256i))
    {
        const __m256i bytes = load32(at);
        const __m256i quote = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('"'));
        const __m256i escape = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('\\'));
        const __m256i control = _mm256_cmpeq_epi8(_mm256_min_epu8(bytes, _mm256_set1_epi8(0x1F)), bytes);
        const auto special =
            static_cast<unsigned>(_mm256_movemask_epi8(_mm256_or_si256(_mm256_or_si256(quote, escape), control)));
        const auto highs = static_cast<unsigned>(_mm256_movemask_epi8(bytes));
        high |= highs & ((special & (~special + 1)) - 1);
        if (special != 0)
            return at + std::countr_zero(special);
    }
}

[[gnu::target("avx2")]] void widen8(const char* from, wchar_t* to)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_cvtepu8_epi32(bytes));
}

[[gnu::target("avx2")]] void widenAvx2(std::string_view ascii, wchar_t* to)
{
    constexpr std::size_t atOnce = 8;
    const std::size_t last = ascii.size() - atOnce;
    for (std::size_t i = 0; i < last; i += atOnce)
        widen8(&ascii[i], to + i);
    widen8(&ascii[last], to + last); // over some of those before
}

[[gnu::target("avx2")]] std::size_t narrowAvx2(std::wstring_view text, char* to)
{
    constexpr std::size_t atOnce = sizeof(__m256i);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7); // packing goes by halves
    std::size_t i = 0;
    for (; i + atOnce <= text.size(); i += atOnce)
    {
        const __m256i low = _mm256_packs_epi32(load32(&text[i]), load32(&text[i + 8]));
        const __m256i high = _mm256_packs_epi32(load32(&text[i + 16]), load32(&text[i + 24]));
        const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order);
        const __m256i control = _mm256_cmpgt_epi8(_mm256_set1_epi8(0x20), bytes);
        const __m256i quote = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('"'));
        const __m256i escape = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('\\'));
        if (_mm256_movemask_epi8(_mm256_or_si256(control, _mm256_or_si256(quote, escape))) != 0)
            break;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), bytes);
    }
    return i;
}

} // namespace

const Bytes* Bytes::of(Kind kind)
{
    static constexpr Bytes sse2{plainEndSse2, widenSse2, narrowSse2};
    static constexpr Bytes avx2{plainEndAvx2, widenAvx2, narrowAvx2};
    if (kind == Sse2)
        return &sse2;
    return __builtin_cpu_supports("avx2") ? &avx2 : nullptr;
}

const Bytes& Bytes::best()
{
    static const Bytes& widest = of(Avx2) ? *of(Avx2) : *of(Sse2);
    return widest;
}

} // namespace dmJson
