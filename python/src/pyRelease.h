/// Letting other threads of the interpreter run while the library works.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

#include <initializer_list>

namespace zrpy
{

/// Lets them run as long as it lives, where all of the sets are constant or null. A tree that can be changed is worked
/// on with the interpreter held, so that nobody changes it meanwhile.
class OthersRun
{
public:
    OthersRun(std::initializer_list<const DmPropertySet*> sets)
    {
        for (const DmPropertySet* const set : sets)
            if (set && !set->isFrozen())
                return;
        _held = PyEval_SaveThread();
    }
    OthersRun(const OthersRun&) = delete;
    OthersRun& operator=(const OthersRun&) = delete;
    ~OthersRun()
    {
        if (_held)
            PyEval_RestoreThread(_held);
    }

private:
    PyThreadState* _held = nullptr;
};

} // namespace zrpy
