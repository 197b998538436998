/// The search behind all look-ups by time: a row of things in time order, some of which may have no time.
#pragma once

#include <optional>

/// The last position in [0, count) whose time lies at or before `time` (with `strictly`, before it); -1 when there is
/// none. `timeAt(position)` is a std::optional<double>, empty for a position that has no time: those are passed over.
///
/// At most log2(count) + 1 times are compared, and no position is looked at twice, whatever the row holds. A time that
/// is not a number lies nowhere.
template <class TimeAt>
int dmLastBegun(int count, double time, bool strictly, const TimeAt& timeAt)
{
    int found = -1;
    int first = 0;
    int last = count;
    while (first < last)
    {
        const int middle = first + (last - first) / 2;
        int position = middle;
        std::optional<double> begin = timeAt(position);
        while (!begin && position > first)
            begin = timeAt(--position);
        if (begin && !(strictly ? *begin < time : *begin <= time))
            last = position;
        else
        {
            found = begin ? position : found;
            first = middle + 1;
        }
    }
    return found;
}
