/// What one property of a class is, and the table of a class's properties.
#pragma once

#include "CoRefCountedMT.h"
#include "dmErrorId.h"
#include "dmPropertyType.h"
#include "dmRare.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
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

// What a declaration tells people and tools about a property. All of it is the program's own text and lives as long.

/// In what a number counts, as in DmUnit{"frames"}.
struct DmUnit
{
    const char* text;
};

/// The usual values: setters and documents may go beyond (a colour brighter than white), and that is no mistake.
struct DmRange
{
    double least;
    double most;
};

/// One value of an enumeration.
struct DmNamedValue
{
    std::int32_t code;
    const char* name; ///< the enumerator
    const char* text; ///< what people are shown
};
/// All values of an enumeration: another code means nothing.
using DmEnumTable = std::span<const DmNamedValue>;

/// The texts that a String has a meaning for.
struct DmTextTable
{
    std::span<const wchar_t* const> texts;
    bool isComplete; ///< another text means nothing, and is a mistake
    bool ignoresCase;

    ZR_DM_API bool contains(std::wstring_view text) const;
};

class DmListForm;

/// Whether a set may hold another in a property: a status that says why not. Asked before edits, not for documents.
using DmMayHold = eDmErrorId (*)(const DmPropertySet& owner, const DmPropertySet& held);
/// The form in which a constant set keeps a list of sets; null: in the list's field.
using DmFormOf = const DmListForm* (*)(const DmPropertySet& owner);
/// Calls `visit(held, data)` for each set that a set holds beside its properties.
using DmHeldBeside = void (*)(const DmPropertySet& owner, void (*visit)(DmPropertySet& held, void* data), void* data);

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

    const DmHeldClass* _held = nullptr;       ///< null: any property set
    bool _constant = false;                   ///< fixed by the class: setting another value is DM_BAD_VALUE
    bool _isInside = false;                   ///< the field lies in the object itself, as it does in all of the class
    std::optional<bool> _defaultEqualsItself; ///< decided once, of a nested default that is a constant
    DmMayHold _mayHold = nullptr;             ///< null: whatever is of the class
    DmFormOf _form = nullptr;                 ///< null: always in the field
    std::string _utf8Name;                    ///< the name as documents spell it

    const DmRareBlock* _rare = nullptr; ///< of a field in a rare block (dmRare.h); _offset is then inside the block
    std::ptrdiff_t _rareAt = 0;         ///< bytes from the set to its DmRares

    const char* _meaning = "";           ///< one sentence; empty when the declaration has none
    const char* _unit = "";              ///< empty for what has none
    std::optional<DmRange> _range;       ///< of numbers
    DmEnumTable _values;                 ///< of an Enum; empty where the codes are the application's
    const DmTextTable* _texts = nullptr; ///< of a String
};

/// Finds a class's properties by name: an open table, as large as twice the names at least, hashed by a few characters,
/// since a class has few names and most differ there.
class ZR_DM_API DmNameIndex
{
public:
    /// The index that was added with a name; -1 for a name that was not.
    int find(std::wstring_view name) const
    {
        for (std::size_t slot = hash(name);; ++slot)
        {
            const Entry& entry = _slots[slot & _mask];
            if (entry.index < 0 || entry.name == name)
                return entry.index;
        }
    }
    /// The name must outlive this, and must not have been added before.
    void add(std::wstring_view name, int index);
    void clear();

private:
    struct Entry
    {
        std::wstring_view name;
        int index = -1;
    };

    static std::size_t hash(std::wstring_view name)
    {
        const std::size_t length = name.size();
        if (length == 0)
            return 0;
        std::size_t mixed = length;
        for (const wchar_t c : {name[0], name[length / 2], name[length - 1], name[length * 3 / 4]})
            mixed = mixed * 31 + static_cast<std::size_t>(c);
        return mixed * 0x9E3779B97F4A7C15 >> 32;
    }

    std::vector<Entry> _slots{4};
    std::size_t _mask = 3;
    std::size_t _count = 0;
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
    int find(std::wstring_view name) const { return _indices.find(name); }
    /// The class's name; empty until the factory has made an instance.
    const DmString& className() const { return _className; }
    const std::string& utf8ClassName() const { return _utf8ClassName; }
    /// Null when the class's objects hold no sets but in their properties.
    DmHeldBeside heldBeside() const { return _heldBeside; }

private:
    friend class DmPropertySet;

    DmNameIndex _indices; ///< by the definitions' own names
    std::vector<std::unique_ptr<DmPropertyDef>> _defs;
    std::vector<std::shared_ptr<const void>> _defaults; ///< what the definitions' defaults point at
    DmString _className;
    std::string _utf8ClassName;
    DmHeldBeside _heldBeside = nullptr;
};
