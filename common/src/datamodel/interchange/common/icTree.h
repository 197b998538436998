/// What the makers of trees share.
#pragma once

#include "CoSharedPtr.h"
#include "dmStatus.h"

#include <new>

namespace interchange
{

/// What the data model answers when memory ran out is as good as no memory: nothing is half made.
inline void require(eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        throw std::bad_alloc();
}

template <class T>
const CoSharedPtr<T>& made(const CoSharedPtr<T>& object)
{
    if (!object)
        throw std::bad_alloc();
    return object;
}

} // namespace interchange
