/// The report of a failed numeric check.
#pragma once

#include "zrExport.h"

#include <type_traits>

namespace DM::FloatUtil
{

class ThrowAssertionFailed
{
public:
    /// Throws a CoException that names three quantities and their values, for example
    /// "Assertion failed: gain = 1.5, minimum = 0, maximum = 1". Numbers are exact: they read back as they were.
    /// T is float, double or an integer of 8 to 64 bits.
    template <class T, bool isInteger = std::is_integral_v<T>>
    [[noreturn]] ZR_DM_API static void throwAssertionFailed(const char* file, int line, const char* text1,
                                                            const char* text2, const char* text3, T value1, T value2,
                                                            T value3);
};

} // namespace DM::FloatUtil
