#include "pyTypes.h"

#include "pyEnums.h"
#include "pySet.h"
#include "pyValue.h"

#include "dmCollectionNode.h"
#include "dmNumberText.h"
#include "dmPSetHelper.h"
#include "dmPropertyFactory.h"
#include "dmPropertyText.h"
#include "dmSegmentNode.h"
#include "dmSlots.h"
#include "dmTransitionNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace zrpy
{
namespace
{

PyTypeObject* baseType = nullptr;

/// All classes by name: those of the factory, and the abstract ones that slots hold. Grows when a host loads more.
class Registry
{
public:
    static Registry& instance()
    {
        static auto* const registry = new Registry;
        return *registry;
    }

    ClassType* find(const std::string& name)
    {
        if (const auto found = _byName.find(name); found != _byName.end())
            return found->second.get();
        refresh();
        const auto found = _byName.find(name);
        return found == _byName.end() ? nullptr : found->second.get();
    }
    const std::map<std::string, std::unique_ptr<ClassType>>& all()
    {
        refresh();
        return _byName;
    }

private:
    ClassType& named(const std::string& name)
    {
        std::unique_ptr<ClassType>& entry = _byName[name];
        if (!entry)
        {
            entry = std::make_unique<ClassType>();
            entry->name = name;
            static_cast<void>(dmFromUtf8(name, entry->className));
        }
        return *entry;
    }

    void refresh()
    {
        const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
        const std::vector<DmString> names = factory.classNames();
        if (names.size() == _known)
            return;
        _known = names.size();
        // What functions answer with and no slot holds.
        for (const DmHeldClass* const held :
             {dmHeldClassOf<DmCollectionNode>(), dmHeldClassOf<DmSegmentNode>(), dmHeldClassOf<DmTransitionNode>()})
            named(dmUtf8(held->name)).held = held;
        for (const DmString& each : names)
        {
            ClassType& made = named(dmUtf8(each));
            DmPropertySet* set = nullptr;
            if (made.prototype || factory.createBare(factory.findCreator(each.view()), set) != DM_NO_ERROR)
            {
                const DmPropertySetPtr dropped(set);
                continue;
            }
            made.prototype = DmPropertySetPtr(set);
            const DmPropertySetData& data = set->classData();
            for (int i = 0; i < data.size(); ++i)
            {
                registerEnum(*data.at(i), made.name);
                if (const DmHeldClass* const held = data.at(i)->_held)
                    named(dmUtf8(held->name)).held = held;
            }
        }
    }

    std::map<std::string, std::unique_ptr<ClassType>> _byName;
    std::size_t _known = 0;
};

/// The definition that an attribute reads in a set: its own, or, for that of an abstract class, the one of that name.
int indexIn(const DmPropertySet& set, const PropertyAccess& access)
{
    if (access.data == &set.classData())
        return access.index;
    const int index = set.classData().find(access.def->_name.view());
    if (index < 0)
    {
        PyErr_SetString(PyExc_AttributeError,
                        (dmUtf8(set.getPSetName()) + " has no property '" + access.def->_utf8Name + "'").c_str());
        throw py::error_already_set();
    }
    return index;
}

PyObject* get(PyObject* self, void* closure)
{
    return guarded<PyObject*>(nullptr,
                              [&]
                              {
                                  const Reached owner = *reachedBy(self);
                                  const auto& access = *static_cast<const PropertyAccess*>(closure);
                                  return getValue(owner, indexIn(owner.set(), access)).release().ptr();
                              });
}

int set(PyObject* self, PyObject* value, void* closure)
{
    return guarded<int>(-1,
                        [&]
                        {
                            const Reached owner = *reachedBy(self);
                            const auto& access = *static_cast<const PropertyAccess*>(closure);
                            const int index = indexIn(owner.set(), access);
                            if (!value)
                                raiseType(nameOf(owner.set(), *access.def) + " is a property and cannot be deleted");
                            setValue(owner, index, value);
                            return 0;
                        });
}

std::string numberText(double number)
{
    char buffer[dmNumberText::maxChars];
    return std::string(dmNumberText::format(number, buffer));
}

/// What help() says of a property.
std::string describe(const DmPropertyDef& def)
{
    std::string text = def._meaning;
    text += text.empty() ? "" : " ";
    text += dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
    if (def._held)
        text += " of " + dmUtf8(def._held->name);
    if (*def._unit)
        text += std::string(" in ") + def._unit;
    if (def._range)
        text += " from " + numberText(def._range->least) + " to " + numberText(def._range->most);
    DmString value;
    if (def._default && def._type != DM_PROPERTY_SET &&
        DmPropertySet_Str_Utils::textOfValue(def, def._default, value) == DM_NO_ERROR && !value.empty() &&
        std::ranges::all_of(value.view(), [](wchar_t c) { return c >= L' '; }))
        text += "; " + dmUtf8(value) + " by default";
    if (def._constant)
        text += "; fixed by the class";
    return text;
}

void addAttribute(ClassType& made, const DmPropertySetData* data, const DmPropertyDef& def, int index)
{
    PropertyAccess& access = made.access.emplace_back(PropertyAccess{data, &def, index, describe(def)});
    made.attributes.push_back({def._utf8Name.c_str(), get, set, access.doc.c_str(), &access});
}

PyTypeObject* typeFor(ClassType& made);

/// Both in the order of names.
bool containsAll(const std::vector<const ClassType*>& classes, const std::vector<const ClassType*>& others)
{
    return std::ranges::includes(classes, others, {}, &ClassType::name, &ClassType::name);
}

/// The classes that every object of this one is of: as slots tell, which are all that knows of abstract classes.
std::vector<ClassType*> basesOf(const ClassType& made)
{
    const auto& all = Registry::instance().all();
    const auto accepted = [&](const ClassType& by)
    {
        std::vector<const ClassType*> classes;
        for (const auto& [name, each] : all)
            if (each->isConcrete() && by.accepts(*each->prototype))
                classes.push_back(each.get());
        return classes;
    };
    const std::vector<const ClassType*> ours = accepted(made);
    std::vector<std::pair<ClassType*, std::vector<const ClassType*>>> candidates;
    for (const auto& [name, each] : all)
        if (each.get() != &made && each->held)
            if (std::vector<const ClassType*> theirs = accepted(*each);
                (theirs.size() > ours.size() || (theirs.size() == ours.size() && !each->isConcrete() &&
                                                 (made.isConcrete() || each->name < made.name))) &&
                containsAll(theirs, ours))
                candidates.emplace_back(each.get(), std::move(theirs));

    std::vector<ClassType*> bases;
    for (const auto& [candidate, theirs] : candidates)
        if (std::ranges::none_of(candidates,
                                 [&, &theirs = theirs, &candidate = candidate](const auto& other) {
                                     return other.first != candidate && other.second.size() < theirs.size() &&
                                            containsAll(theirs, other.second);
                                 }))
            bases.push_back(candidate);
    return bases;
}

void makeType(ClassType& made)
{
    std::string doc;
    if (made.isConcrete())
    {
        const DmPropertySetData& data = made.prototype->classData();
        for (int i = 0; i < data.size(); ++i)
            addAttribute(made, &data, *data.at(i), i);
        doc = made.name + "(**properties)";
    }
    else
    {
        // What all its classes have.
        const DmPropertySetData* first = nullptr;
        std::vector<const DmPropertySetData*> others;
        for (const auto& [name, each] : Registry::instance().all())
            if (each->isConcrete() && made.accepts(*each->prototype))
                (first ? others.emplace_back(&each->prototype->classData()) : first = &each->prototype->classData());
        for (int i = 0; first && i < first->size(); ++i)
        {
            const DmPropertyDef& def = *first->at(i);
            if (std::ranges::all_of(others,
                                    [&](const DmPropertySetData* other)
                                    {
                                        const DmPropertyDef* const same = other->at(other->find(def._name.view()));
                                        return same && same->_type == def._type;
                                    }))
                addAttribute(made, nullptr, def, i);
        }
        doc = made.name + ": abstract; what its classes have in common.";
    }
    made.attributes.push_back({nullptr, nullptr, nullptr, nullptr, nullptr});

    py::list bases;
    for (ClassType* const base : basesOf(made))
        bases.append(py::handle(reinterpret_cast<PyObject*>(typeFor(*base))));
    if (bases.empty())
        bases.append(py::handle(reinterpret_cast<PyObject*>(baseType)));

    made.qualifiedName = "zrdmtree." + made.name;
    PyType_Slot slots[] = {
        {Py_tp_doc, doc.data()},
        {Py_tp_getset, made.attributes.data()},
        {0, nullptr},
    };
    PyType_Spec spec = {made.qualifiedName.c_str(), 0, 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};
    made.type = reinterpret_cast<PyTypeObject*>(PyType_FromSpecWithBases(&spec, py::tuple(bases).ptr()));
    if (!made.type)
        throw py::error_already_set();
}

std::unordered_map<const PyTypeObject*, ClassType*>& classesByType()
{
    static auto* const all = new std::unordered_map<const PyTypeObject*, ClassType*>;
    return *all;
}

PyTypeObject* typeFor(ClassType& made)
{
    if (!made.type)
    {
        makeType(made);
        classesByType()[made.type] = &made;
        // Methods that are no properties are given to classes by name, in the package.
        const py::object methods = py::module_::import("zrdmtree._zrdmtree").attr("_methods");
        const auto type = py::handle(reinterpret_cast<PyObject*>(made.type));
        if (methods.contains(made.name))
            for (const auto& [name, method] : py::dict(methods[made.name.c_str()]))
                if (!py::hasattr(type, name))
                    py::setattr(type, name, method);
    }
    return made.type;
}

py::dict definitionOf(const DmPropertyDef& def)
{
    py::dict made;
    made["name"] = def._utf8Name;
    made["type"] = fromText(DmPSetHelper::getInstance().getStrFromType(def._type));
    made["holds"] = def._held ? py::object(py::str(dmUtf8(def._held->name))) : py::none();
    made["optional"] = def._skipIfDefault;
    made["constant"] = def._constant;
    made["doc"] = describe(def);
    made["unit"] = def._unit;
    made["meaning"] = def._meaning;
    made["range"] = def._range ? py::object(py::make_tuple(def._range->least, def._range->most)) : py::none();
    const py::object enumeration = enumOf(def);
    made["enumeration"] = enumeration ? enumeration : py::none();
    return made;
}

} // namespace

bool ClassType::accepts(const DmPropertySet& set) const
{
    return held ? held->accepts(set) : prototype && &prototype->classData() == &set.classData();
}

void setBaseType(PyTypeObject* type)
{
    baseType = type;
}

PyTypeObject* typeOf(const DmPropertySet& set)
{
    static auto* const known = new std::unordered_map<const DmPropertySetData*, PyTypeObject*>;
    PyTypeObject*& type = (*known)[&set.classData()];
    if (!type)
    {
        ClassType* const made = Registry::instance().find(dmUtf8(set.getPSetName()));
        type = made ? typeFor(*made) : baseType;
    }
    return type;
}

const ClassType* classTypeOf(const PyTypeObject* type)
{
    const auto found = classesByType().find(type);
    return found == classesByType().end() ? nullptr : found->second;
}

py::object typeOfClass(const std::string& name)
{
    ClassType* const made = Registry::instance().find(name);
    return made ? py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(typeFor(*made))) : py::object();
}

py::list typeNames()
{
    py::list names;
    for (const auto& [name, each] : Registry::instance().all())
        names.append(name);
    return names;
}

void addTypes(py::module_& module)
{
    module.attr("_methods") = py::dict();
    module.def("_type",
               [](const std::string& name) -> py::object
               {
                   const py::object type = typeOfClass(name);
                   return type ? type : py::none();
               });
    module.def("_type_names", &typeNames);
    module.def(
        "_definitions",
        [](const py::handle& type)
        {
            py::list made;
            if (const ClassType* const known = classTypeOf(reinterpret_cast<PyTypeObject*>(type.ptr())))
                for (const PropertyAccess& access : known->access)
                    made.append(definitionOf(*access.def));
            return made;
        },
        "The definitions of a class's properties, in index order.");
}

} // namespace zrpy
