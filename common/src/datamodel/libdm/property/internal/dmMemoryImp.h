/// Where memory may run out: the data model answers DM_BAD_VALUE and throws nothing.
#pragma once

#include "dmErrorId.h"
#include "dmString.h"

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

/// The status of `work`; DM_BAD_VALUE when it had no memory, for a string either, which only becomes empty.
template <class Work>
eDmErrorId dmWithMemory(Work&& work)
{
    const unsigned lost = DmString::lost();
    try
    {
        const eDmErrorId status = work();
        return DmString::lost() == lost ? status : DM_BAD_VALUE;
    }
    catch (const std::bad_alloc&)
    {
        return DM_BAD_VALUE;
    }
    catch (const std::length_error&)
    {
        return DM_BAD_VALUE;
    }
}

/// The list that `fill(list)` fills; when it has no memory, what there was by then, and DM_BAD_VALUE in `status`.
template <class Element, class Fill>
std::vector<Element> dmListWithMemory(eDmErrorId* status, Fill&& fill)
{
    std::vector<Element> list;
    const eDmErrorId outcome = dmWithMemory(
        [&]
        {
            fill(list);
            return DM_NO_ERROR;
        });
    if (status)
        *status = outcome;
    return list;
}

/// The text that `make()` answers; when it has no memory, an empty one, which counts as lost.
template <class Make>
std::string dmTextWithMemory(Make&& make)
{
    std::string text;
    const auto take = [&]
    {
        text = make();
        return DM_NO_ERROR;
    };
    if (dmWithMemory(take) != DM_NO_ERROR)
        DmString::countLost();
    return text;
}
