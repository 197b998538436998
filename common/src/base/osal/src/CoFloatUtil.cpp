#include "CoFloatUtil.h"

#include "CoException.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace DM::FloatUtil
{

namespace
{

template <class T>
std::string quantity(const char* text, T value)
{
    char number[32];
    const std::to_chars_result end = std::to_chars(number, number + sizeof(number), value);
    return std::string(text) + " = " + std::string(number, end.ptr);
}

} // namespace

template <class T, bool isInteger>
void ThrowAssertionFailed::throwAssertionFailed(const char* file, int line, const char* text1, const char* text2,
                                                const char* text3, T value1, T value2, T value3)
{
    static_assert(isInteger == std::is_integral_v<T>);
    const std::string message = "Assertion failed: " + quantity(text1, value1) + ", " + quantity(text2, value2) + ", " +
                                quantity(text3, value3);
    throw CoException(message.c_str(), line, file);
}

#define ZR_INSTANTIATE(T)                                                                                              \
    template ZR_DM_API void ThrowAssertionFailed::throwAssertionFailed<T>(const char*, int, const char*, const char*,  \
                                                                          const char*, T, T, T)
ZR_INSTANTIATE(float);
ZR_INSTANTIATE(double);
ZR_INSTANTIATE(std::int8_t);
ZR_INSTANTIATE(std::uint8_t);
ZR_INSTANTIATE(std::int16_t);
ZR_INSTANTIATE(std::uint16_t);
ZR_INSTANTIATE(std::int32_t);
ZR_INSTANTIATE(std::uint32_t);
ZR_INSTANTIATE(std::int64_t);
ZR_INSTANTIATE(std::uint64_t);
#undef ZR_INSTANTIATE

} // namespace DM::FloatUtil
