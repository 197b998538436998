/// Creates objects of the data model by class name.
#pragma once

#include "dmPropertySet.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Makes an object with that id, uncounted; with its default attributes when asked. `out` is set even when an error is
/// returned and the object was made all the same.
using DmPropertyCreator = eDmErrorId (*)(const DmNodeId& id, DmPropertySet*& out, bool createAttributes);

class ZR_DM_API DmPropertyFactory
{
public:
    static DmPropertyFactory& getInstance();

    /// DM_PROPERTYSET_ALREADY_EXIST when the name is taken: the first registration stays.
    eDmErrorId registerCreator(const DmString& className, DmPropertyCreator creator);
    /// The same for another name that documents know a class by: everything but classNames() answers to it.
    eDmErrorId registerAlias(const DmString& name, DmPropertyCreator creator);

    /// A new object of a class, uncounted, with a fresh id: a number of its own, below `parentId` at `index` when there
    /// is a parent. DM_PROPERTY_NOT_FOUND for an unregistered class; `out` and the counter are then untouched.
    eDmErrorId createPropertySetInstance(const DmString& className, const DmNodeId& parentId, int index,
                                         DmPropertySet*& out) const;

    /// The creator of a class, null when it is not registered: for those who make many objects of one class.
    DmPropertyCreator findCreator(std::wstring_view className) const;
    eDmErrorId create(DmPropertyCreator creator, const DmNodeId& parentId, int index, DmPropertySet*& out) const;
    /// Without a parent and without default attributes, whatever the process-wide setting: for copies.
    eDmErrorId createBare(DmPropertyCreator creator, DmPropertySet*& out) const;

    /// Whether objects get their default attributes; process-wide. Returns the setting before.
    bool setCreateDefaultAttributes(bool create);

    /// Every registered class, sorted; without aliases. `status`, if given, is DM_BAD_VALUE where memory ran out: names
    /// are missing then.
    std::vector<DmString> classNames(eDmErrorId* status = nullptr) const;

private:
    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::wstring_view name) const { return std::hash<std::wstring_view>()(name); }
    };

    struct Entry
    {
        DmPropertyCreator creator;
        bool isAlias;
    };

    DmPropertyFactory() = default;

    std::unordered_map<std::wstring, Entry, Hash, std::equal_to<>> _creators;
    mutable std::atomic<std::uint64_t> _nextId{0};
    std::atomic<bool> _createDefaultAttributes{false};
};
