#include "pyDocuments.h"

#include "pyRelease.h"
#include "pySet.h"
#include "pyWalk.h"

#include "dmJsonImporter.h"
#include "dmRoot.h"
#include "dmTimeline.h"
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
        const Released others;
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

/// What a document is written of: any object, or the tree of a timeline.
DmPropertySetPtr requireDocument(const py::object& object)
{
    if (py::isinstance<DmTimeline>(object))
        return requireTree(object);
    return DmPropertySetPtr(&requireSet(object, "the document"));
}

py::bytes dumps(const py::object& object, bool compact)
{
    const DmPropertySetPtr set = requireDocument(object);
    std::string text;
    DmStatus status;
    {
        const OthersRun others{set.get()};
        status = DmTreeJsonBuilder::generateUtf8(set.get(), text, layoutOf(compact));
    }
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
    return {text};
}

void saveTo(const py::object& object, const py::bytes& target, bool compact)
{
    const DmPropertySetPtr set = requireDocument(object);
    const std::string path = target;
    DmStatus status;
    {
        const OthersRun others{set.get()};
        status = DmTreeJsonBuilder::generate(set.get(), path.c_str(), layoutOf(compact));
    }
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
