/// How what fails in the library reaches a script: as an exception with words, and never in another way.
#pragma once

#include "dmErrorId.h"

#include <pybind11/pybind11.h>

#include <string>

namespace zrpy
{
namespace py = pybind11;

/// What `code` says, about `what` ("DmSourceNode.recIn"): zrdmtree.DmError with both as attributes.
[[noreturn]] void raiseDmError(int code, const std::string& text);
[[noreturn]] void raiseStatus(eDmErrorId status, const std::string& what);
/// A value that its slot cannot hold: zrdmtree.DmValueError, which is a DmError and a ValueError.
[[noreturn]] void raiseValue(const std::string& text);
[[noreturn]] void raiseType(const std::string& text);

void addErrors(py::module_& module);

/// Runs what a slot of the interpreter calls: exceptions become the interpreter's, and the answer `failed`.
template <class Result, class Body>
Result guarded(Result failed, Body&& body) noexcept
{
    try
    {
        return body();
    }
    catch (py::error_already_set& error)
    {
        error.restore();
    }
    catch (py::builtin_exception& error)
    {
        error.set_error();
    }
    catch (const std::bad_alloc&)
    {
        PyErr_NoMemory();
    }
    catch (const std::exception& error)
    {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return failed;
}

} // namespace zrpy
