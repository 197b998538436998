/// Letting other threads of the interpreter run while the library works.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

#include <initializer_list>
#include <unistd.h>

namespace zrpy
{

/// Lets them run as long as it lives.
class Released
{
public:
    Released()
        : _held(PyEval_SaveThread())
    {
    }
    Released(const Released&) = delete;
    Released& operator=(const Released&) = delete;
    ~Released() { restore(_held); }

    /// An interpreter that ends meanwhile ends the threads that come back to it by unwinding them, which no C++ on the
    /// way outlives: they wait here for the end of the process.
    static void restore(PyThreadState* held) noexcept
    {
        try
        {
            PyEval_RestoreThread(held);
        }
        catch (...)
        {
            for (;;)
                pause();
        }
    }

private:
    PyThreadState* const _held;
};

/// The same where all of the sets are constant or null. A tree that can be changed is worked on with the interpreter
/// held, so that nobody changes it meanwhile.
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
            Released::restore(_held);
    }

private:
    PyThreadState* _held = nullptr; ///< null where the interpreter is held
};

} // namespace zrpy
