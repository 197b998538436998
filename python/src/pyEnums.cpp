#include "pyEnums.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace zrpy
{
namespace
{

struct Enumeration
{
    DmEnumTable values;
    py::object type;
    std::unordered_map<int, py::object> members;
};

// Never destroyed: the interpreter is gone when static objects are.

std::unordered_map<const DmNamedValue*, Enumeration>& byTable()
{
    static auto* const all = new std::unordered_map<const DmNamedValue*, Enumeration>;
    return *all;
}

std::map<std::string, py::object>& byName()
{
    static auto* const all = new std::map<std::string, py::object>;
    return *all;
}

/// Tables of the same values are one enumeration, wherever they stand.
std::pair<int, std::string_view> key(const DmNamedValue& value)
{
    return {value.code, value.name};
}

std::string capitalised(std::string name)
{
    if (!name.empty() && name.front() >= 'a' && name.front() <= 'z')
        name.front() = static_cast<char>(name.front() - 'a' + 'A');
    return name;
}

} // namespace

py::object enumValue(const DmPropertyDef& def, int value)
{
    if (!def._values.empty())
        if (const auto found = byTable().find(def._values.data()); found != byTable().end())
            if (const auto member = found->second.members.find(value); member != found->second.members.end())
                return member->second;
    return py::int_(value);
}

void registerEnum(const DmPropertyDef& def, const std::string& className)
{
    if (def._values.empty() || byTable().contains(def._values.data()))
        return;
    const auto same = [&](const auto& known)
    { return std::ranges::equal(def._values, known.second.values, {}, key, key); };
    if (const auto found = std::ranges::find_if(byTable(), same); found != byTable().end())
    {
        Enumeration copy = found->second;
        byTable().emplace(def._values.data(), std::move(copy));
        return;
    }
    std::string name = capitalised(def._utf8Name);
    if (byName().contains(name))
        name = className + name;
    py::dict members;
    for (const DmNamedValue& each : def._values)
        members[each.name] = each.code;
    Enumeration made{
        def._values, py::module_::import("enum").attr("IntEnum")(name, members, py::arg("module") = "zrdmtree"), {}};
    for (const DmNamedValue& each : def._values)
    {
        const py::object member = made.type(each.code);
        member.attr("text") = each.text;
        made.members.try_emplace(each.code, member);
    }
    byName()[name] = made.type;
    byTable().emplace(def._values.data(), std::move(made));
}

py::object enumOf(const DmPropertyDef& def)
{
    const auto found = def._values.empty() ? byTable().end() : byTable().find(def._values.data());
    return found == byTable().end() ? py::object() : found->second.type;
}

void addEnums(py::module_& module)
{
    module.def("_enum",
               [](const std::string& name) -> py::object
               {
                   const auto found = byName().find(name);
                   return found == byName().end() ? py::none() : found->second;
               });
    module.def("_enum_names",
               []
               {
                   py::list names;
                   for (const auto& [name, type] : byName())
                       names.append(name);
                   return names;
               });
}

} // namespace zrpy
