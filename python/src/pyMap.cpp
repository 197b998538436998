#include "pyMap.h"

#include "pyValue.h"

#include "dmUtf8.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace zrpy
{
namespace
{

/// One map property of one set, which it keeps alive.
class Map
{
public:
    Map(const Reached& owner, int index)
        : _object(owner.object())
        , _owner(owner)
        , _index(index)
        , _def(owner.set().classData().at(index))
    {
    }

    std::string name() const { return nameOf(_owner.set(), *_def); }

    int size() const
    {
        int size = 0;
        check(_owner.read().getMapSize(_index, _def->_type, size));
        return size;
    }

    py::list keys() const
    {
        DmStringArray keys;
        check(_owner.read().getKeysFromPropertyMap(_index, _def->_type, keys));
        py::list all;
        for (const DmString& each : keys)
            all.append(fromText(each));
        return all;
    }

    bool contains(py::handle key) const
    {
        const std::optional<DmString> text = asked(key);
        DmStringArray keys;
        check(_owner.read().getKeysFromPropertyMap(_index, _def->_type, keys));
        return text && std::ranges::find(keys, *text) != keys.end();
    }

    py::object at(py::handle key) const
    {
        const std::optional<DmString> text = asked(key);
        DmPropertySetPtr entry;
        if (text)
            check(_owner.read().getValueFromPropertyMap(_index, _def->_type, *text, &entry));
        if (!entry && !contains(key))
            missing(key);
        return _owner.held(entry.get(), *_def);
    }

    void setAt(py::handle key, py::handle value)
    {
        const DmPropertySetPtr entry = convert(value);
        check(_owner.write().setValueFromPropertyMap(_index, _def->_type, newKey(key), &entry));
    }

    void remove(py::handle key)
    {
        const std::optional<DmString> text = asked(key);
        const eDmErrorId status =
            text ? _owner.write().removeValueFromPropertyMap(_index, _def->_type, *text) : DM_BAD_INDEX;
        if (status == DM_BAD_INDEX)
            missing(key);
        check(status);
    }

    void clear() { check(_owner.write().clearMap(_index, _def->_type)); }

    void replace(const py::dict& entries)
    {
        std::vector<std::pair<DmString, DmPropertySetPtr>> made;
        for (const auto& [key, value] : entries)
            made.emplace_back(newKey(key), convert(value));
        clear();
        for (const auto& [key, entry] : made)
            check(_owner.write().setValueFromPropertyMap(_index, _def->_type, key, &entry));
    }

private:
    [[noreturn]] static void missing(py::handle key)
    {
        PyErr_SetObject(PyExc_KeyError, py::make_tuple(key).ptr()); // as a dict says it, of tuples too
        throw py::error_already_set();
    }

    /// A key to look for; none for what no map has.
    static std::optional<DmString> asked(py::handle key)
    {
        DmString text;
        Py_ssize_t size = 0;
        const char* const utf8 = PyUnicode_Check(key.ptr()) ? PyUnicode_AsUTF8AndSize(key.ptr(), &size) : nullptr;
        PyErr_Clear(); // lone surrogates
        // A map would look a key up as far as its first zero.
        if (!utf8 || std::char_traits<char>::length(utf8) != static_cast<std::size_t>(size) || !dmFromUtf8(utf8, text))
            return {};
        return text;
    }

    DmString newKey(py::handle key) const
    {
        DmString text = toText(key, "a key of " + name());
        if (text.empty())
            raiseValue("a key of " + name() + " is not empty");
        if (text.view().find(L'\0') != std::wstring_view::npos)
            raiseValue("a key of " + name() + " holds no zero character");
        return text;
    }

    DmPropertySetPtr convert(py::handle value) const
    {
        if (value.is_none())
            raiseType(name() + " holds objects, not None");
        DmPropertySetPtr entry;
        fromPython(value, entry, Slot{_owner, *_def});
        return entry;
    }

    void check(eDmErrorId status) const
    {
        if (status != DM_NO_ERROR)
            raiseStatus(status, name());
    }

    py::object _object; ///< keeps the owner alive
    Reached _owner;
    int _index;
    const DmPropertyDef* _def;
};

} // namespace

py::object mapView(const Reached& owner, int index)
{
    return py::cast(Map(owner, index));
}

void replaceMap(const Reached& owner, int index, py::handle entries)
{
    Map map(owner, index);
    PyObject* const dict = PyDict_New();
    const auto made = py::reinterpret_steal<py::dict>(dict);
    if (PyDict_Update(dict, entries.ptr()) != 0)
    {
        PyErr_Clear();
        raiseType(map.name() + " is a mapping");
    }
    map.replace(made);
}

void addMaps(py::module_& module)
{
    py::class_<Map> type(module, "MapView",
                         "A map property: a live view, which changes the object; keys are in order.");
    type.def("__len__", &Map::size)
        .def("__contains__", &Map::contains)
        .def("__iter__", [](const Map& self) { return py::iter(self.keys()); })
        .def("__getitem__", &Map::at)
        .def("__setitem__", &Map::setAt)
        .def("__delitem__", &Map::remove)
        .def("__reversed__", [](const Map& self) { return py::iter(self.keys().attr("__reversed__")()); })
        .def("clear", &Map::clear)
        .def("copy", [](const py::object& self) { return py::dict(self); })
        .def("popitem",
             [](Map& self)
             {
                 const py::list keys = self.keys();
                 if (keys.empty())
                     throw py::key_error("popitem(): the mapping is empty");
                 const py::object last = keys[keys.size() - 1];
                 const py::tuple item = py::make_tuple(last, self.at(last));
                 self.remove(last);
                 return item;
             })
        .def("__repr__", [](const py::object& self) { return py::repr(py::dict(self)); });
    type.attr("__hash__") = py::none();

    // The rest is what the abstract class makes of these.
    const py::object mapping = py::module_::import("collections.abc").attr("MutableMapping");
    for (const char* const name :
         {"keys", "items", "values", "get", "pop", "update", "setdefault", "__eq__", "_MutableMapping__marker"})
        type.attr(name) = mapping.attr(name);
    mapping.attr("register")(type);
}

} // namespace zrpy
