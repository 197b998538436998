#include "pyList.h"

#include "pyValue.h"

#include <algorithm>

namespace zrpy
{
namespace
{

struct ListObject
{
    PyObject_HEAD PyObject* owner; ///< holds one reference
    int index;
};

PyTypeObject* listType = nullptr;

/// One list property of one set, and what is done with it.
class List
{
    /// A null element may stay where a document has one; scripts bring none.
    template <class T>
    T convert(py::handle value, bool nullAllowed) const
    {
        if constexpr (std::same_as<T, DmPropertySetPtr>)
            if (value.is_none() && !nullAllowed)
                raiseType(name() + " holds objects, not None");
        T converted{};
        fromPython(value, converted, slot());
        return converted;
    }

    /// Calls the visitor with the type of the elements.
    template <class Visitor>
    decltype(auto) visit(Visitor&& visitor) const
    {
        using Result = decltype(visitor(std::type_identity<double>()));
        return dmVisitStorage(_def._type,
                              [&]<class T>(std::type_identity<T>) -> Result
                              {
                                  if constexpr (dmIsVector<T>)
                                      return visitor(std::type_identity<typename T::value_type>());
                                  else
                                      raiseStatus(DM_TYPE_NOT_IMPLEMENTED, name());
                              });
    }

public:
    List(const Reached& owner, int index)
        : _owner(owner)
        , _index(index)
        , _def(*owner.set().classData().at(index))
    {
    }
    explicit List(PyObject* self)
        : List(*reachedBy(reinterpret_cast<ListObject*>(self)->owner), reinterpret_cast<ListObject*>(self)->index)
    {
    }

    std::string name() const { return nameOf(_owner.set(), _def); }

    Py_ssize_t size() const
    {
        int size = 0;
        check(_owner.read().getListSize(_index, _def._type, size));
        return size;
    }

    py::object at(Py_ssize_t element) const
    {
        return visit(
            [&]<class T>(std::type_identity<T>) -> py::object
            {
                T value{};
                check(_owner.read().getValueFromPropertyList(_index, _def._type, static_cast<int>(element), &value));
                return toPython(value, {_owner, _def, static_cast<int>(element)});
            });
    }

    void setAt(Py_ssize_t element, py::handle value)
    {
        visit(
            [&]<class T>(std::type_identity<T>)
            {
                const T converted = convert<T>(value, false);
                check(
                    _owner.write().setValueFromPropertyList(_index, _def._type, static_cast<int>(element), &converted));
            });
    }

    void insert(Py_ssize_t element, py::handle value)
    {
        visit(
            [&]<class T>(std::type_identity<T>)
            {
                const T converted = convert<T>(value, false);
                check(_owner.write().insertValueInPropertyList(_index, _def._type, static_cast<int>(element),
                                                               &converted));
            });
    }

    void removeAt(Py_ssize_t element)
    {
        check(_owner.write().removeValueFromPropertyList(_index, _def._type, static_cast<int>(element)));
    }

    /// All elements, as a list of Python.
    py::list elements() const
    {
        const Py_ssize_t count = size();
        py::list all(count);
        for (Py_ssize_t i = 0; i < count; ++i)
            PyList_SET_ITEM(all.ptr(), i, at(i).release().ptr());
        return all;
    }

    /// Makes the list hold `after`, where it held `before`: as one change, or none where an element does not fit.
    void assign(const py::list& before, const py::list& after)
    {
        visit(
            [&]<class T>(std::type_identity<T>)
            {
                const bool hasNull = before.contains(py::none());
                std::vector<T> made;
                made.reserve(after.size());
                for (const py::handle value : after)
                    made.push_back(convert<T>(value, hasNull));
                check(_owner.write().setPropertyList(_index, _def._type, &made));
            });
    }

    /// At the end, as assign does.
    void extend(py::handle values)
    {
        PyObject* const list = PySequence_List(values.ptr());
        if (!list)
            throw py::error_already_set();
        const auto added = py::reinterpret_steal<py::list>(list);
        visit(
            [&]<class T>(std::type_identity<T>)
            {
                std::vector<T> made(static_cast<std::size_t>(size()));
                for (std::size_t i = 0; i < made.size(); ++i)
                    check(_owner.read().getValueFromPropertyList(_index, _def._type, static_cast<int>(i), &made[i]));
                for (const py::handle value : added)
                    made.push_back(convert<T>(value, false));
                check(_owner.write().setPropertyList(_index, _def._type, &made));
            });
    }

    void clear() { check(_owner.write().clearList(_index, _def._type)); }

private:
    Slot slot() const { return {_owner, _def}; }

    void check(eDmErrorId status) const
    {
        if (status == DM_BAD_INDEX)
            throw py::index_error(name() + ": index out of range");
        if (status == DM_BAD_PROPERTY_TYPE) // its class is one that the list holds: the owner does not want it
            raiseDmError(status, name() + ": an object of that class has no place there");
        if (status != DM_NO_ERROR)
            raiseStatus(status, name());
    }

    const Reached _owner;
    const int _index;
    const DmPropertyDef& _def;
};

bool isList(py::handle object)
{
    return Py_TYPE(object.ptr()) == listType;
}

/// The other side of an operator: a view counts as its elements.
py::object operand(py::handle object)
{
    return isList(object) ? py::object(List(object.ptr()).elements()) : py::reinterpret_borrow<py::object>(object);
}

// What the interpreter calls

void dealloc(PyObject* self)
{
    PyTypeObject* const type = Py_TYPE(self);
    Py_XDECREF(reinterpret_cast<ListObject*>(self)->owner);
    type->tp_free(self);
    Py_DECREF(type);
}

Py_ssize_t length(PyObject* self)
{
    return guarded<Py_ssize_t>(-1, [&] { return List(self).size(); });
}

PyObject* item(PyObject* self, Py_ssize_t index)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  const List list(self);
                                  // The end of an iteration: no message is made for it.
                                  if (index < 0 || index >= list.size())
                                  {
                                      PyErr_SetString(PyExc_IndexError, "index out of range");
                                      throw py::error_already_set();
                                  }
                                  return list.at(index).release().ptr();
                              });
}

PyObject* subscript(PyObject* self, PyObject* key)
{
    return guarded<PyObject*>(nullptr,
                              [&]() -> PyObject*
                              {
                                  if (!PyIndex_Check(key))
                                      return PyObject_GetItem(List(self).elements().ptr(),
                                                              key); // a slice, or a TypeError
                                  Py_ssize_t index = PyNumber_AsSsize_t(key, PyExc_IndexError);
                                  if (index == -1 && PyErr_Occurred())
                                      return nullptr;
                                  return item(self, index < 0 ? index + List(self).size() : index);
                              });
}

/// Does with the elements what a list does, and takes over what came of it.
template <class Change>
py::object through(PyObject* self, Change&& change)
{
    List list(self);
    const py::list before = list.elements();
    const py::list after(before.attr("copy")());
    py::object result = change(after);
    list.assign(before, after);
    return result;
}

int setSubscript(PyObject* self, PyObject* key, PyObject* value)
{
    return guarded<int>(-1,
                        [&]
                        {
                            List list(self);
                            if (PyIndex_Check(key))
                            {
                                Py_ssize_t index = PyNumber_AsSsize_t(key, PyExc_IndexError);
                                if (index == -1 && PyErr_Occurred())
                                    return -1;
                                const Py_ssize_t size = list.size();
                                if (index < 0)
                                    index += size;
                                if (index < 0 || index >= size)
                                    throw py::index_error(list.name() + ": index out of range");
                                if (value)
                                    list.setAt(index, value);
                                else
                                    list.removeAt(index);
                                return 0;
                            }
                            const py::object given = value ? operand(value) : py::object();
                            through(self,
                                    [&](const py::list& elements) -> py::object
                                    {
                                        if ((given ? PyObject_SetItem(elements.ptr(), key, given.ptr())
                                                   : PyObject_DelItem(elements.ptr(), key)) != 0)
                                            throw py::error_already_set();
                                        return py::none();
                                    });
                            return 0;
                        });
}

int contains(PyObject* self, PyObject* value)
{
    return guarded<int>(-1, [&] { return PySequence_Contains(List(self).elements().ptr(), value); });
}

PyObject* compare(PyObject* a, PyObject* b, int operation)
{
    return guarded<PyObject*>(nullptr,
                              [&]() -> PyObject*
                              {
                                  if (!PyList_Check(b) && !isList(b))
                                      Py_RETURN_NOTIMPLEMENTED;
                                  return PyObject_RichCompare(operand(a).ptr(), operand(b).ptr(), operation);
                              });
}

PyObject* concatenate(PyObject* a, PyObject* b)
{
    return guarded<PyObject*>(nullptr, [&] { return PyNumber_Add(operand(a).ptr(), operand(b).ptr()); });
}

PyObject* multiply(PyObject* a, PyObject* b)
{
    return guarded<PyObject*>(nullptr, [&] { return PyNumber_Multiply(operand(a).ptr(), operand(b).ptr()); });
}

PyObject* extendInPlace(PyObject* self, PyObject* values)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  List(self).extend(operand(values));
                                  return Py_NewRef(self);
                              });
}

PyObject* multiplyInPlace(PyObject* self, PyObject* times)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  through(self,
                                          [&](const py::list& elements) -> py::object
                                          {
                                              PyObject* const same = PyNumber_InPlaceMultiply(elements.ptr(), times);
                                              if (!same)
                                                  throw py::error_already_set();
                                              return py::reinterpret_steal<py::object>(same);
                                          });
                                  return Py_NewRef(self);
                              });
}

PyObject* represent(PyObject* self)
{
    return guarded<PyObject*>(nullptr, [&] { return PyObject_Repr(List(self).elements().ptr()); });
}

PyObject* iterate(PyObject* self)
{
    return PySeqIter_New(self);
}

PyObject* append(PyObject* self, PyObject* value)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  List list(self);
                                  list.insert(list.size(), value);
                                  return Py_NewRef(Py_None);
                              });
}

PyObject* extend(PyObject* self, PyObject* values)
{
    PyObject* const same = extendInPlace(self, values);
    Py_XDECREF(same);
    return same ? Py_NewRef(Py_None) : nullptr;
}

PyObject* insert(PyObject* self, PyObject* args)
{
    return guarded<PyObject*>(nullptr,
                              [&]() -> PyObject*
                              {
                                  Py_ssize_t index = 0;
                                  PyObject* value = nullptr;
                                  if (!PyArg_ParseTuple(args, "nO:insert", &index, &value))
                                      return nullptr;
                                  List list(self);
                                  const Py_ssize_t size = list.size();
                                  list.insert(std::clamp(index < 0 ? index + size : index, Py_ssize_t(0), size), value);
                                  return Py_NewRef(Py_None);
                              });
}

PyObject* pop(PyObject* self, PyObject* args)
{
    return guarded<PyObject*>(nullptr,
                              [&]() -> PyObject*
                              {
                                  Py_ssize_t index = -1;
                                  if (!PyArg_ParseTuple(args, "|n:pop", &index))
                                      return nullptr;
                                  List list(self);
                                  const Py_ssize_t size = list.size();
                                  if (index < 0)
                                      index += size;
                                  if (index < 0 || index >= size)
                                      throw py::index_error(size == 0 ? "pop from empty list"
                                                                      : "pop index out of range");
                                  py::object value = list.at(index);
                                  list.removeAt(index);
                                  return value.release().ptr();
                              });
}

PyObject* clear(PyObject* self, PyObject* /*none*/)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  List(self).clear();
                                  return Py_NewRef(Py_None);
                              });
}

/// A method of list on the elements.
py::object callAsList(const py::list& elements, const char* name, PyObject* args, PyObject* keywords)
{
    PyObject* const result = PyObject_Call(elements.attr(name).ptr(), args, keywords);
    if (!result)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(result);
}

/// One that may change them.
template <const auto& name>
PyObject* asListDoes(PyObject* self, PyObject* args, PyObject* keywords)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  return through(self, [&](const py::list& elements)
                                                 { return callAsList(elements, name, args, keywords); })
                                      .release()
                                      .ptr();
                              });
}

/// One that only looks at them.
template <const auto& name>
PyObject* asListSays(PyObject* self, PyObject* args, PyObject* keywords)
{
    return guarded<PyObject*>(nullptr,
                              [&] { return callAsList(List(self).elements(), name, args, keywords).release().ptr(); });
}

constexpr char removeName[] = "remove";
constexpr char reverseName[] = "reverse";
constexpr char sortName[] = "sort";
constexpr char indexName[] = "index";
constexpr char countName[] = "count";
constexpr char copyName[] = "copy";

PyMethodDef likeList(const char* name, PyCFunctionWithKeywords method, const char* doc)
{
    return {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(method)), METH_VARARGS | METH_KEYWORDS,
            doc};
}

PyMethodDef methods[] = {
    {"append", append, METH_O, "Adds an element at the end."},
    {"extend", extend, METH_O, "Adds elements at the end; none when one does not fit."},
    {"insert", insert, METH_VARARGS, "Inserts an element before the index."},
    {"pop", pop, METH_VARARGS, "Removes and returns the element at the index, by default the last."},
    {"clear", clear, METH_NOARGS, "Removes all elements."},
    likeList(removeName, asListDoes<removeName>, "Removes the first element equal to the value."),
    likeList(reverseName, asListDoes<reverseName>, "Reverses the order."),
    likeList(sortName, asListDoes<sortName>, "Sorts in place; key and reverse as for a list."),
    likeList(indexName, asListSays<indexName>, "The first index of an element equal to the value."),
    likeList(countName, asListSays<countName>, "How many elements equal the value."),
    likeList(copyName, asListSays<copyName>, "The elements, as a list."),
    {nullptr, nullptr, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>("A list property: a live view, which changes the object.")},
    {Py_tp_dealloc, reinterpret_cast<void*>(dealloc)},
    {Py_tp_richcompare, reinterpret_cast<void*>(compare)},
    {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
    {Py_tp_repr, reinterpret_cast<void*>(represent)},
    {Py_tp_iter, reinterpret_cast<void*>(iterate)},
    {Py_tp_methods, methods},
    {Py_sq_length, reinterpret_cast<void*>(length)},
    {Py_sq_item, reinterpret_cast<void*>(item)},
    {Py_sq_contains, reinterpret_cast<void*>(contains)},
    {Py_sq_inplace_concat, reinterpret_cast<void*>(extendInPlace)},
    {Py_mp_length, reinterpret_cast<void*>(length)},
    {Py_mp_subscript, reinterpret_cast<void*>(subscript)},
    {Py_mp_ass_subscript, reinterpret_cast<void*>(setSubscript)},
    {Py_nb_add, reinterpret_cast<void*>(concatenate)},
    {Py_nb_multiply, reinterpret_cast<void*>(multiply)},
    {Py_nb_inplace_add, reinterpret_cast<void*>(extendInPlace)},
    {Py_nb_inplace_multiply, reinterpret_cast<void*>(multiplyInPlace)},
    {0, nullptr},
};

PyType_Spec spec = {"zrdmtree.ListView", sizeof(ListObject), 0,
                    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_SEQUENCE | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots};

} // namespace

py::object listView(const Reached& owner, int index)
{
    PyObject* const object = listType->tp_alloc(listType, 0);
    if (!object)
        throw py::error_already_set();
    auto* const view = reinterpret_cast<ListObject*>(object);
    view->owner = owner.object().release().ptr();
    view->index = index;
    return py::reinterpret_steal<py::object>(object);
}

void replaceList(const Reached& owner, int index, py::handle elements)
{
    List list(owner, index);
    if (PyUnicode_Check(elements.ptr()) || PyBytes_Check(elements.ptr()))
        raiseType(list.name() + " is a list, not a text");
    PyObject* const made = PySequence_List(operand(elements).ptr());
    if (!made)
        throw py::error_already_set();
    list.assign(list.elements(), py::reinterpret_steal<py::list>(made));
}

void addLists(py::module_& module)
{
    listType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&spec));
    if (!listType)
        throw py::error_already_set();
    module.attr("ListView") = py::handle(reinterpret_cast<PyObject*>(listType));
    py::module_::import("collections.abc").attr("MutableSequence").attr("register")(module.attr("ListView"));
}

} // namespace zrpy
