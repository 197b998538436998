/// How every benchmark here reports: one line for each promised figure, a ratio of two costs measured in the same run,
/// so that it means the same on a fast machine and on a busy one. Costs are processor time: of wall-clock time, a busy
/// machine takes more from the longer of two works, which it interrupts more often.
///
///     zrRatio::print("format a label", 0.5, [] { formatAll(); }, [] { snprintfAll(); });
///     // format a label: ratio 0.12 (limit 0.50)
#pragma once

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace zrRatio
{

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Of all threads of the process.
inline double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Work>
double secondsOf(const Work& work)
{
    const double start = processorSeconds();
    work();
    return processorSeconds() - start;
}

/// One work's time over that of the other, run in turns: the median of the ratios of neighbours, which share what the
/// machine is busy with. Each should take at least some 10 microseconds.
template <class Work, class Reference>
double of(const Work& work, const Reference& reference, int rounds = 101)
{
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i)
    {
        const double workTime = secondsOf(work);
        ratios.push_back(workTime / secondsOf(reference));
    }
    return median(std::move(ratios));
}

inline void print(const char* name, double limit, double ratio)
{
    std::printf("%s: ratio %.2f (limit %.2f)\n", name, ratio, limit);
}

template <class Work, class Reference>
void print(const char* name, double limit, const Work& work, const Reference& reference, int rounds = 101)
{
    print(name, limit, of(work, reference, rounds));
}

} // namespace zrRatio
