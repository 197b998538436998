/// The most memory that this program has had, as the system counts it: what wait4() tells includes that of the program
/// before exec().
#pragma once

#include <cstdio>
#include <cstring>
#include <malloc.h>

namespace zrPeak
{

/// Of a kind of memory ("VmHWM:"), in kB; negative where the system does not tell.
inline double kilobytes(const char* kind)
{
    char line[256];
    double found = -1;
    std::FILE* const status = std::fopen("/proc/self/status", "r");
    while (status && found < 0 && std::fgets(line, sizeof line, status))
        if (std::strncmp(line, kind, std::strlen(kind)) == 0)
            std::sscanf(line + std::strlen(kind), "%lf", &found);
    if (status)
        std::fclose(status);
    return found;
}

/// On standard output.
inline int print()
{
    const double most = kilobytes("VmHWM:");
    return most < 0 || std::printf("%.0f kB\n", most) < 0 ? 1 : 0;
}

/// What a work takes at most beside what the program has before it, in MB.
template <class Work>
double of(const Work& work)
{
    malloc_trim(0);
    if (std::FILE* const reset = std::fopen("/proc/self/clear_refs", "w"))
    {
        std::fputs("5", reset);
        std::fclose(reset);
    }
    const double before = kilobytes("VmRSS:");
    work();
    return (kilobytes("VmHWM:") - before) / 1024;
}

} // namespace zrPeak
