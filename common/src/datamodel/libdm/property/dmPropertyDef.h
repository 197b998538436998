/// What one property of a class is, and the table of a class's properties.
#pragma once

#include "CoRefCountedMT.h"
#include "dmErrorId.h"
#include "dmPropertyType.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

using DM::CoRefCountedMT;

/// Text form of a value, for a property whose class brings its own: the pointers are of the property's storage type.
using DmSerializer = eDmErrorId (*)(const void* value, DmString& text);
using DmUnserializer = eDmErrorId (*)(const DmString& text, void* value);

/// The class that a nested-set, vector or map property holds.
struct DmHeldClass
{
    const wchar_t* name;
    /// Whether an object may stand in the slot: it is of the class or derives from it.
    bool (*accepts)(const DmPropertySet& set);
};

/// One property of a class. Owned by the class's table, constant once the class is declared.
struct DmPropertyDef
{
    DmString _name; ///< also its key in documents
    eDmPropType _type = DM_NB_TYPES;
    std::ptrdiff_t _offset = 0;     ///< bytes from DmPropertySet::getBase to the field
    bool _skipIfDefault = false;    ///< relevant only when it differs from its default
    const void* _default = nullptr; ///< a value of the storage type
    DmSerializer _serializer = nullptr;
    DmUnserializer _unserializer = nullptr;

    const DmHeldClass* _held = nullptr; ///< null: any property set
    bool _constant = false;             ///< fixed by the class: setting another value is DM_BAD_VALUE
    std::string _utf8Name;              ///< the name as documents spell it
};

/// The table of one class's properties, shared by all its instances. Written while the class is declared, before any
/// concurrent use, and read without a lock afterwards.
class ZR_DM_API DmPropertySetData : public CoRefCountedMT
{
public:
    int size() const { return static_cast<int>(_defs.size()); }
    /// Null for an index that no property has.
    const DmPropertyDef* at(int index) const
    {
        return static_cast<std::size_t>(index) < _defs.size() ? _defs[static_cast<std::size_t>(index)].get() : nullptr;
    }
    /// The index of a name, -1 when the class has no such property.
    int find(std::wstring_view name) const
    {
        const auto found = _indices.find(name);
        return found == _indices.end() ? -1 : found->second;
    }
    /// The class's name; empty until the factory has made an instance.
    const DmString& className() const { return _className; }
    const std::string& utf8ClassName() const { return _utf8ClassName; }

private:
    friend class DmPropertySet;

    std::unordered_map<std::wstring_view, int> _indices; ///< views of the definitions' names
    std::vector<std::unique_ptr<DmPropertyDef>> _defs;
    std::vector<std::shared_ptr<const void>> _defaults; ///< what the definitions' defaults point at
    DmString _className;
    std::string _utf8ClassName;
};
