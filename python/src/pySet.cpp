#include "pySet.h"

#include "pyDraft.h"
#include "pyListener.h"
#include "pyState.h"
#include "pyTypes.h"
#include "pyValue.h"

#include "dmPropertyFactory.h"
#include "dmSetTools.h"
#include "dmUtf8.h"

#include <structmember.h>

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

namespace zrpy
{
namespace
{

struct SetObject
{
    PyObject_HEAD DmPropertySet* set; ///< holds one reference
    Draft* draft;                     ///< of the session that it was reached through, holds one reference; or null
    PyObject* weakReferences;
};

/// The living object of each set that has one: not counted, taken out when it dies.
std::unordered_map<const DmPropertySet*, PyObject*>& objects(Draft* draft)
{
    static auto* const all = new std::unordered_map<const DmPropertySet*, PyObject*>;
    return draft ? draft->objects() : *all;
}

PyTypeObject* baseType = nullptr;

Reached reached(PyObject* self)
{
    const auto* const object = reinterpret_cast<SetObject*>(self);
    return {*object->set, object->draft};
}

DmPropertySet& settled(PyObject* self)
{
    return reached(self).settled();
}

void setDraft(SetObject& object, Draft* draft)
{
    const CoSharedPtr<Draft> before(object.draft);
    if (before)
        static_cast<void>(before->unref()); // `before` holds another
    object.draft = CoSharedPtr<Draft>(draft).detach();
}

/// A constant has an object in each session, and one beside them. What can be changed has one, which goes over to the
/// session that it is reached through.
py::object objectOf(DmPropertySet* set, Draft* draft)
{
    auto& all = objects(set->isFrozen() ? draft : nullptr);
    if (const auto found = all.find(set); found != all.end())
    {
        auto& known = *reinterpret_cast<SetObject*>(found->second);
        if (draft && known.draft != draft)
            setDraft(known, draft);
        return py::reinterpret_borrow<py::object>(found->second);
    }
    PyTypeObject* const type = typeOf(*set);
    auto object = py::reinterpret_steal<py::object>(type->tp_alloc(type, 0));
    if (!object)
        throw py::error_already_set();
    auto* const made = reinterpret_cast<SetObject*>(object.ptr());
    made->set = DmPropertySetPtr(set).detach();
    setDraft(*made, draft);
    all[set] = object.ptr();
    return object;
}

/// What can be changed may have become a constant since.
void forget(PyObject* self, const DmPropertySet* set, Draft* draft)
{
    auto& all = objects(draft);
    if (const auto found = all.find(set); found != all.end() && found->second == self)
        all.erase(found);
}

void dealloc(PyObject* self)
{
    PyTypeObject* const type = Py_TYPE(self);
    auto* const object = reinterpret_cast<SetObject*>(self);
    DmPropertySetPtr set;
    const CoSharedPtr<Draft> draft(object->draft);
    if (object->set)
    {
        forget(self, object->set, nullptr);
        if (draft)
            forget(self, object->set, draft.get());
        set.reset(object->set);
        static_cast<void>(object->set->unref()); // `set` holds another
        setDraft(*object, nullptr);
    }
    if (object->weakReferences)
        PyObject_ClearWeakRefs(self);
    type->tp_free(self);
    Py_DECREF(type);
}

PyObject* create(PyTypeObject* type, PyObject* args, PyObject* keywords)
{
    return guarded<PyObject*>(
        nullptr,
        [&]
        {
            const ClassType* const made = classTypeOf(type);
            if (!made || !made->isConcrete())
                raiseType(std::string(type->tp_name) + " is abstract: make an object of a class that derives from it");
            if (PyTuple_GET_SIZE(args) != 0)
                raiseType(made->name + "() takes properties by name only");
            const DmPropertySetPtr set = createSet(made->className);
            if (!set)
                raiseStatus(DM_PROPERTY_NOT_FOUND, made->name);
            const py::object object = wrap(set);
            // Plain values first: what an object may hold depends on them.
            for (const bool objects : {false, true})
                for (const auto& [name, value] : keywords ? py::reinterpret_borrow<py::dict>(keywords) : py::dict())
                {
                    const int index = set->classData().find(toText(name, "a property's name").view());
                    if (index < 0)
                        raiseType(made->name + " has no property '" + std::string(py::str(name)) + "'");
                    if (holdsObjects(set->classData().at(index)->_type) == objects)
                        setValue(*set, index, value);
                }
            return object.inc_ref().ptr();
        });
}

PyObject* compare(PyObject* a, PyObject* b, int operation)
{
    if ((operation != Py_EQ && operation != Py_NE) || !unwrap(a) || !unwrap(b))
        Py_RETURN_NOTIMPLEMENTED;
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  bool equal = a == b;
                                  if (!equal)
                                      if (const eDmErrorId status = dmDeepEqual(settled(a), settled(b), equal);
                                          status != DM_NO_ERROR)
                                          raiseStatus(status, "comparing " + std::string(Py_TYPE(a)->tp_name));
                                  return py::bool_(equal == (operation == Py_EQ)).release().ptr();
                              });
}

/// The properties that say something: scalars as they would be given to the class, of collections how many there are.
PyObject* represent(PyObject* self)
{
    return guarded<PyObject*>(
        nullptr,
        [&]
        {
            const DmPropertySet& set = reached(self).read();
            const DmPropertySetData& data = set.classData();
            std::string text;
            const auto add = [&](const DmPropertyDef& def, const std::string& value)
            { text += (text.empty() ? "" : ", ") + def._utf8Name + "=" + value; };
            for (int i = 0; i < data.size(); ++i)
            {
                const DmPropertyDef& def = *data.at(i);
                int size = 0;
                if (def._type == DM_MAP_PROPERTY_SET)
                {
                    if (set.getMapSize(i, def._type, size) == DM_NO_ERROR && size > 0)
                        add(def, "<" + std::to_string(size) + " by name>");
                }
                else if (!dmIsAtomic(def._type))
                {
                    if (set.getListSize(i, def._type, size) == DM_NO_ERROR && size > 0)
                        add(def, "<list of " + std::to_string(size) + ">");
                }
                else if (!def._constant &&
                         !(def._default && DmPropertySet_Atomic_Utils::compareAtomicManip(set, i, def._default)))
                {
                    if (def._type != DM_PROPERTY_SET)
                        add(def, py::repr(getValue(reached(self), i)));
                    else if (const auto& held = *static_cast<const DmPropertySetPtr*>(set.fieldOf(i)))
                        add(def, "<" + dmUtf8(held->getPSetName()) + ">");
                }
            }
            return py::str(dmUtf8(set.getPSetName()) + "(" + text + ")").release().ptr();
        });
}

/// What a copy shares and what it has of its own says the class; every text comes along, the comment too.
PyObject* copy(PyObject* self, PyObject* /*none*/)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  const DmPropertySet& set = settled(self);
                                  const DmPropertySetPtr made = set.clone();
                                  const DmPropertySetData& data = set.classData();
                                  for (int i = 0; i < data.size(); ++i)
                                      if (data.at(i)->_type == DM_STRING &&
                                          !DmPropertySet_Atomic_Utils::compareAtomicManip(*made, i, set.fieldOf(i)))
                                          if (const eDmErrorId status =
                                                  made->setPropertyValue(i, DM_STRING, set.fieldOf(i));
                                              status != DM_NO_ERROR)
                                              raiseStatus(status, nameOf(set, *data.at(i)));
                                  return wrap(made).release().ptr();
                              });
}

PyObject* deepCopy(PyObject* self, PyObject* /*memo*/)
{
    return guarded<PyObject*>(nullptr, [&] { return wrap(deepCopyOf(settled(self))).release().ptr(); });
}

PyObject* reduce(PyObject* self, PyObject* /*none*/)
{
    return guarded<PyObject*>(
        nullptr,
        [&]
        {
            const py::object restore = py::module_::import("zrdmtree").attr("_restore");
            return py::make_tuple(restore, py::make_tuple(stateOf(settled(self)))).release().ptr();
        });
}

/// A shared default is replaced by a copy, so that it can be changed; what is the owner's own stays.
PyObject* own(PyObject* self, PyObject* name)
{
    return guarded<PyObject*>(
        nullptr,
        [&]
        {
            const Reached owner = reached(self);
            const DmPropertySet& set = owner.read();
            const int index = set.classData().find(toText(name, "a property's name").view());
            const DmPropertyDef* const def = set.classData().at(index);
            if (!def || def->_type != DM_PROPERTY_SET)
                raiseType(dmUtf8(set.getPSetName()) + ".own() takes the name of a property that holds an object");
            const DmPropertySetPtr held(*static_cast<const DmPropertySetPtr*>(set.fieldOf(index)));
            if (held && (held->isFrozen() || set.isFrozen()))
            {
                const DmPropertySetPtr copied = owner.draft() ? owner.draft()->settled(*held).clone() : held->clone();
                if (const eDmErrorId status = owner.write().setPropertyValue(index, DM_PROPERTY_SET, &copied);
                    status != DM_NO_ERROR)
                    raiseStatus(status, nameOf(set, *def));
                return owner.held(copied.get(), *def).release().ptr();
            }
            return owner.held(held.get(), *def).release().ptr();
        });
}

PyObject* listen(PyObject* self, PyObject* callable)
{
    return guarded<PyObject*>(nullptr, [&] { return subscribe(reached(self), callable).release().ptr(); });
}

PyObject* noSubclass(PyObject* /*type*/, PyObject* /*args*/, PyObject* /*keywords*/)
{
    PyErr_SetString(PyExc_TypeError,
                    "classes of the model are declared in C++ (dmDeclare.h), where documents find them");
    return nullptr;
}

/// An identity for dictionaries: equal for the same object only, which it keeps alive.
struct Key
{
    explicit Key(const Reached& reached)
        : set(&reached.set())
        , draft(reached.draft())
    {
    }

    DmPropertySetPtr set;
    CoSharedPtr<Draft> draft;
};

PyObject* key(PyObject* self, void* /*unused*/)
{
    return guarded<PyObject*>(nullptr, [&] { return py::cast(Key(reached(self))).release().ptr(); });
}

PyMethodDef methods[] = {
    {"__copy__", copy, METH_NOARGS, "A copy that shares its children, with the comment."},
    {"__deepcopy__", deepCopy, METH_O, "An independent copy; what is held twice is held twice in it."},
    {"__reduce__", reduce, METH_NOARGS, "For pickle: the object and all that it holds."},
    {"__init_subclass__", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(noSubclass)),
     METH_VARARGS | METH_KEYWORDS | METH_CLASS, nullptr},
    {"own", own, METH_O,
     "own(name) -> object\n\nThe object that the property holds, to be changed: a default that many objects share is "
     "first\nreplaced by a copy of its own."},
    {"listen", listen, METH_O,
     "listen(callable) -> Subscription\n\nCalls callable(object, name) after every change of a property, until the "
     "subscription is closed\nor dropped."},
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef properties[] = {
    {"key", key, nullptr,
     "An identity for dictionaries and sets: equal for the same object only. Where a class has a property of\n"
     "this name, zrdmtree.key(object).",
     nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

PyMemberDef members[] = {
    {"__weaklistoffset__", T_PYSSIZET, offsetof(SetObject, weakReferences), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr},
};

PyType_Slot slots[] = {
    {Py_tp_doc, const_cast<char*>("An object of the model: what all classes have.\n\n`==` compares everything that two "
                                  "objects hold; `is` and `.key` tell whether they are the same one.")},
    {Py_tp_dealloc, reinterpret_cast<void*>(dealloc)},
    {Py_tp_new, reinterpret_cast<void*>(create)},
    {Py_tp_richcompare, reinterpret_cast<void*>(compare)},
    {Py_tp_hash, reinterpret_cast<void*>(PyObject_HashNotImplemented)},
    {Py_tp_repr, reinterpret_cast<void*>(represent)},
    {Py_tp_methods, methods},
    {Py_tp_getset, properties},
    {Py_tp_members, members},
    {0, nullptr},
};

PyType_Spec spec = {"zrdmtree.DmPropertySet", sizeof(SetObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};

} // namespace

// Reached

DmPropertySet& Reached::read() const
{
    return _draft ? _draft->current(*_set) : *_set;
}

DmPropertySet& Reached::write() const
{
    return _draft ? _draft->own(*_set) : *_set;
}

DmPropertySet& Reached::settled() const
{
    return _draft ? _draft->settled(*_set) : *_set;
}

bool Reached::isConstant() const
{
    return _set->isFrozen() && !(_draft && _draft->isOpen());
}

py::object Reached::object() const
{
    return objectOf(_set, _draft);
}

py::object Reached::held(DmPropertySet* held, const DmPropertyDef& def, int element) const
{
    // A shared default is nobody's to set.
    const bool isDefault = def._type == DM_PROPERTY_SET && def._default &&
                           static_cast<const DmPropertySetPtr*>(def._default)->get() == held;
    if (!held || !_draft || isDefault)
        return wrap(held);
    _draft->reach(*held, *_set, element);
    return objectOf(held, _draft);
}

py::object wrap(DmPropertySet* set)
{
    return set ? objectOf(set, nullptr) : py::none();
}

std::optional<Reached> reachedBy(py::handle object)
{
    if (!PyObject_TypeCheck(object.ptr(), baseType))
        return {};
    return reached(object.ptr());
}

DmPropertySet* unwrap(py::handle object)
{
    return PyObject_TypeCheck(object.ptr(), baseType) ? &settled(object.ptr()) : nullptr;
}

Reached requireReached(py::handle object, const char* what)
{
    const std::optional<Reached> found = reachedBy(object);
    if (!found)
        raiseType(std::string(what) + " is an object of the model, not " +
                  (object.is_none() ? "None" : Py_TYPE(object.ptr())->tp_name));
    return *found;
}

DmPropertySet& requireSet(py::handle object, const char* what)
{
    return requireReached(object, what).settled();
}

DmPropertySetPtr createSet(const DmString& className)
{
    DmPropertySet* set = nullptr;
    const eDmErrorId status = DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, set);
    DmPropertySetPtr made(set);
    return status == DM_NO_ERROR ? made : DmPropertySetPtr();
}

std::string nameOf(const DmPropertySet& set, const DmPropertyDef& def)
{
    return dmUtf8(set.getPSetName()) + "." + def._utf8Name;
}

bool holds(const DmPropertySet& set, const DmPropertySet& inside)
{
    std::vector<const DmPropertySet*> open{&set};
    std::unordered_set<const DmPropertySet*> seen;
    while (!open.empty())
    {
        const DmPropertySet* const next = open.back();
        open.pop_back();
        if (next == &inside)
            return true;
        if (next->refCount() > 1 && !seen.insert(next).second)
            continue;
        dmForEachHeld(*next,
                      [&](const DmPropertySetPtr& held)
                      {
                          open.push_back(held.get());
                          return true;
                      });
    }
    return false;
}

void addSets(py::module_& module)
{
    baseType = reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&spec));
    if (!baseType)
        throw py::error_already_set();
    module.attr("DmPropertySet") = py::handle(reinterpret_cast<PyObject*>(baseType));
    setBaseType(baseType);

    py::class_<Key>(module, "Key", "Which object it is, as a key of dictionaries; keeps the object alive.")
        .def_property_readonly("object", [](const Key& self) { return Reached(*self.set, self.draft.get()).object(); })
        .def("__hash__", [](const Key& self) { return std::hash<const void*>()(self.set.get()) >> 4; })
        .def("__eq__",
             [](const Key& self, const py::object& other)
             {
                 return py::isinstance<Key>(other) && py::cast<const Key&>(other).set == self.set &&
                        py::cast<const Key&>(other).draft == self.draft;
             })
        .def("__repr__", [](const Key& self) { return "<Key of " + dmUtf8(self.set->getPSetName()) + ">"; });
    module.def(
        "key", [](const py::object& object) { return Key(requireReached(object, "key()'s argument")); },
        py::arg("object"), "An identity of an object, for dictionaries and sets.");
    module.def(
        "is_constant",
        [](const py::object& object) { return requireReached(object, "is_constant()'s argument").isConstant(); },
        py::arg("object"), "Whether an object cannot be changed: a shared default, or part of a published timeline.");
    module.def("_restore_state", &restore);
}

} // namespace zrpy
