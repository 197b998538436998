#include "pyConvert.h"

#include "pyFindings.h"
#include "pyRelease.h"
#include "pySet.h"
#include "pyTime.h"
#include "pyWalk.h"

#include "icInterchange.h"

namespace zrpy
{
namespace
{

interchange::Options optionsOf(const std::string& format, const py::object& fcm, bool lenient)
{
    interchange::Options options;
    options.format = format;
    options.lenient = lenient;
    if (!fcm.is_none())
        options.fcm = toMode(fcm);
    if (!format.empty() && !interchange::formatNamed(format))
    {
        std::string known;
        for (const auto& each : interchange::formats())
            known += (known.empty() ? "'" : ", '") + std::string(each->name()) + "'";
        raiseValue("there is no format '" + format + "'; there are " + known);
    }
    return options;
}

/// (what came of it or None, findings, what is wrong in one text)
py::tuple answer(const py::object& made, std::vector<DmFinding>&& findings, const std::string& name)
{
    const std::string text = made.is_none() ? dmFindingsText(name, findings) : std::string();
    return py::make_tuple(made, toPython(std::move(findings)),
                          py::str(text.substr(0, text.find_last_not_of('\n') + 1)));
}

/// Nobody else sees what is made, so the interpreter goes on meanwhile.
template <class Read>
py::tuple reading(const std::string& name, Read&& read)
{
    interchange::Reading made;
    {
        const Released others;
        made = read();
    }
    return answer(wrap(made.root.get()), std::move(made.findings), name);
}

py::tuple readFile(const py::bytes& path, const std::string& name, const std::string& format, const py::object& fcm,
                   bool lenient)
{
    const std::string file = path;
    const interchange::Options options = optionsOf(format, fcm, lenient);
    return reading(name, [&] { return interchange::readFile(file, options); });
}

py::tuple readBytes(const py::bytes& document, const std::string& name, const std::string& format,
                    const py::object& fcm, bool lenient)
{
    const auto bytes = static_cast<std::string_view>(document); // the caller keeps them, and nobody can change them
    const interchange::Options options = optionsOf(format, fcm, lenient);
    return reading(name, [&] { return interchange::readBuffer(bytes, options, name); });
}

/// A tree that may be changed is written with the interpreter held, so that nobody changes it meanwhile.
template <class Write>
interchange::Writing writing(const DmRoot& root, Write&& write)
{
    const OthersRun others{&root};
    return write();
}

py::tuple writeFile(const py::object& object, const py::bytes& path, const std::string& name, const std::string& format,
                    const py::object& fcm)
{
    const CoSharedPtr<DmRoot> root = requireRoot(object);
    const std::string file = path;
    const interchange::Options options = optionsOf(format, fcm, false);
    interchange::Writing made = writing(*root, [&] { return interchange::writeFile(*root, file, options); });
    return answer(made.done ? py::object(py::bool_(true)) : py::none(), std::move(made.findings), name);
}

py::tuple writeBytes(const py::object& object, const std::string& format, const py::object& fcm)
{
    const CoSharedPtr<DmRoot> root = requireRoot(object);
    const interchange::Options options = optionsOf(format, fcm, false);
    std::string bytes;
    interchange::Writing made = writing(*root, [&] { return interchange::writeBuffer(*root, bytes, options); });
    return answer(made.done ? py::object(py::bytes(bytes)) : py::none(), std::move(made.findings), "<document>");
}

} // namespace

void addConversions(py::module_& module)
{
    module.def("_read_file", &readFile);
    module.def("_read_bytes", &readBytes);
    module.def("_write_file", &writeFile);
    module.def("_write_bytes", &writeBytes);
    module.def(
        "formats",
        []
        {
            py::list names;
            for (const auto& each : interchange::formats())
                names.append(py::str(std::string(each->name())));
            return names;
        },
        "The names of the formats that are read and written.");
    module.def("_format_of_path",
               [](const std::string& path)
               {
                   const auto format = interchange::formatOfPath(path);
                   return format ? std::string(format->name()) : std::string();
               });
}

} // namespace zrpy
