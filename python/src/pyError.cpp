#include "pyError.h"

#include "dmPSetHelper.h"
#include "dmUtf8.h"

#include <exception>
#include <utility>

namespace zrpy
{
namespace
{

// Owned for the life of the process, as the interpreter's own exceptions are.
PyObject* dmError = nullptr;
PyObject* dmValueError = nullptr;

struct NamedCode
{
    const char* name;
    eDmErrorId code;
};

constexpr NamedCode codes[] = {
    {"DM_NO_ERROR", DM_NO_ERROR},
    {"DM_PROPERTY_NOT_FOUND", DM_PROPERTY_NOT_FOUND},
    {"DM_PROPERTY_ALREADY_EXIST", DM_PROPERTY_ALREADY_EXIST},
    {"DM_EMPTY_ID", DM_EMPTY_ID},
    {"DM_LISTENER_NOT_FOUND", DM_LISTENER_NOT_FOUND},
    {"DM_BAD_PROPERTY_TYPE", DM_BAD_PROPERTY_TYPE},
    {"DM_PROPERTYSET_ALREADY_EXIST", DM_PROPERTYSET_ALREADY_EXIST},
    {"DM_LISTENER_IS_NULL", DM_LISTENER_IS_NULL},
    {"DM_TYPE_NOT_IMPLEMENTED", DM_TYPE_NOT_IMPLEMENTED},
    {"DM_BAD_INDEX", DM_BAD_INDEX},
    {"DM_LISTENER_ALREADY_REGISTERED", DM_LISTENER_ALREADY_REGISTERED},
    {"DM_NOT_ME", DM_NOT_ME},
    {"DM_CANNOT_LOCK", DM_CANNOT_LOCK},
    {"DM_CANNOT_UNLOCK", DM_CANNOT_UNLOCK},
    {"DM_BAD_VALUE", DM_BAD_VALUE},
    {"DM_BINARY_ERROR", DM_BINARY_ERROR},
};

[[noreturn]] void raise(PyObject* type, int code, const std::string& text)
{
    const py::object error = py::reinterpret_borrow<py::object>(type)(text);
    error.attr("code") = code;
    error.attr("text") = text;
    error.attr("findings") = py::list();
    PyErr_SetObject(type, error.ptr());
    throw py::error_already_set();
}

} // namespace

void raiseDmError(int code, const std::string& text)
{
    raise(dmError, code, text);
}

void raiseStatus(eDmErrorId status, const std::string& what)
{
    if (status == DM_CANNOT_LOCK)
        raise(dmError, status,
              what + ": the object is a constant: a default that many objects share, for which own() gives its owner a "
                     "copy to change, or part of a published timeline, which edit() makes a new one of");
    raise(status == DM_BAD_VALUE ? dmValueError : dmError, status,
          what + ": " + dmUtf8(DmPSetHelper::getStrFromError(status)));
}

void raiseValue(const std::string& text)
{
    raise(dmValueError, DM_BAD_VALUE, text);
}

void raiseType(const std::string& text)
{
    throw py::type_error(text);
}

void addErrors(py::module_& module)
{
    dmError = PyErr_NewExceptionWithDoc("zrdmtree.DmError",
                                        "What the library refused: `code` is a number of zrdmtree.DmErrorId, `text` "
                                        "says why; of a file,\n`findings` is all there is to say about it.",
                                        PyExc_Exception, nullptr);
    const py::tuple bases = py::make_tuple(py::handle(dmError), py::handle(PyExc_ValueError));
    dmValueError = PyErr_NewExceptionWithDoc("zrdmtree.DmValueError",
                                             "A value that the property cannot hold: a DmError, and a ValueError.",
                                             bases.ptr(), nullptr);
    if (!dmError || !dmValueError)
        throw py::error_already_set();
    module.attr("DmError") = py::handle(dmError);
    module.attr("DmValueError") = py::handle(dmValueError);

    // An argument that no value can be made of is not a failure of the program.
    py::register_local_exception_translator(
        [](std::exception_ptr raised)
        {
            try
            {
                std::rethrow_exception(std::move(raised));
            }
            catch (const py::cast_error&)
            {
                PyErr_SetString(PyExc_TypeError, "an argument is of a wrong kind, or beyond what can be held");
            }
        });

    py::dict names;
    for (const NamedCode& each : codes)
        names[each.name] = static_cast<int>(each.code);
    module.attr("DmErrorId") =
        py::module_::import("enum").attr("IntEnum")("DmErrorId", names, py::arg("module") = "zrdmtree");
}

} // namespace zrpy
