#include "pyDocuments.h"

#include "pySet.h"

#include "dmJsonImporter.h"
#include "dmRoot.h"
#include "dmTreeJsonBuilder.h"
#include "dmUtf8.h"

#include <string>

namespace zrpy
{
namespace
{

[[noreturn]] void raiseFailed(const DmStatus& status, const DmJsonPlace& place, const std::string& name)
{
    std::string where = name;
    if (place.line != 0)
        where += ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
    raiseDmError(status.reason(), where + ": " + dmUtf8(status.info()));
}

/// Nobody else sees what an import makes, so the interpreter may go on meanwhile.
template <class Import>
py::object imported(const std::string& name, Import&& import)
{
    DmPropertySetPtr set;
    DmJsonPlace place;
    DmStatus status;
    {
        const py::gil_scoped_release others;
        status = import(set, place);
    }
    if (status.failed())
        raiseFailed(status, place, name);
    return wrap(set);
}

/// A document of any property set.
py::object loads(const py::bytes& document, const std::string& name)
{
    const auto text = static_cast<std::string_view>(document); // the caller keeps the bytes, which nobody can change
    return imported(name, [&](DmPropertySetPtr& set, DmJsonPlace& place)
                    { return DmJsonImporter::importSetFromStr(text, set, &place); });
}

py::object loadFrom(const py::bytes& path, const std::string& name)
{
    const std::string file = path;
    return imported(name, [&](DmPropertySetPtr& set, DmJsonPlace& place)
                    { return DmJsonImporter::importSetFromFile(file.c_str(), set, &place); });
}

DmTreeJsonBuilder::Layout layoutOf(bool compact)
{
    return compact ? DmTreeJsonBuilder::Layout::Compact : DmTreeJsonBuilder::Layout::Environment;
}

py::bytes dumps(const py::object& object, bool compact)
{
    std::string text;
    const DmStatus status =
        DmTreeJsonBuilder::generateUtf8(&requireSet(object, "the document"), text, layoutOf(compact));
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
    return {text};
}

void saveTo(const py::object& object, const py::bytes& target, bool compact)
{
    const std::string path = target;
    const DmStatus status =
        DmTreeJsonBuilder::generate(&requireSet(object, "the document"), path.c_str(), layoutOf(compact));
    if (status.failed())
        raiseDmError(status.reason(), path + ": " + dmUtf8(status.info()));
}

} // namespace

void addDocuments(py::module_& module)
{
    module.def("_loads", &loads, py::arg("document"), py::arg("name"));
    module.def("_load", &loadFrom, py::arg("path"), py::arg("name"));
    module.def("_dumps", &dumps, py::arg("object"), py::arg("compact"));
    module.def("_save", &saveTo, py::arg("object"), py::arg("path"), py::arg("compact"));
}

} // namespace zrpy
