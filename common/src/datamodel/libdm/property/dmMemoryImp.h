/// Where memory may run out: the data model answers DM_BAD_VALUE and throws nothing.
#pragma once

#include "dmErrorId.h"
#include "dmString.h"

#include <new>
#include <stdexcept>

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
