/// Operations on whole property sets, whatever their class, by their definitions alone: comparison, copy and walk go
/// into nested sets, vectors and maps in any depth.
///
/// A set that holds itself, on whatever way, and a chain deeper than dmMaxNesting are refused with DM_BAD_VALUE. A set
/// that is held twice is met twice by the walk, compared once and copied once.
#pragma once

#include "dmPropertySet.h"

#include <string>

/// The way from the set at which an operation began to one property of it, or to one element of a collection.
struct ZR_DM_API DmPropertyPath
{
    const DmPropertyPath* above; ///< to the property or element that holds `owner`; null at the top
    const DmPropertySet* owner;
    int index;           ///< of the property in the owner's class
    int element;         ///< of a vector of sets; -1 for the property itself
    const DmString* key; ///< of a map entry; null otherwise

    const DmPropertyDef& def() const { return *owner->classData().at(index); }
    const void* field() const { return owner->fieldOf(index); }
    /// "children[2]/effects[0]/channelList["gain"]/value"
    std::string text() const;
};

enum class DmWalkStep
{
    Into, ///< go on, into what the property holds
    Over, ///< go on with the next property
    Stop
};

class ZR_DM_API DmPropertyWalker
{
public:
    virtual ~DmPropertyWalker() = default;
    /// Called for each property, in index order, before what it holds.
    virtual DmWalkStep property(const DmPropertyPath& path) = 0;
    /// Called for each set that a property holds, before its properties; null elements are passed over.
    virtual DmWalkStep held(const DmPropertyPath& path, const DmPropertySet& set);
};

/// Walks all properties of a set and of what it holds, depth first. Stopping is DM_NO_ERROR.
ZR_DM_API eDmErrorId dmWalk(const DmPropertySet& set, DmPropertyWalker& walker);

/// Whether two sets are of one class and hold equal values throughout; ids, listeners and dirty flags do not count. A
/// floating value that is not a number equals another such. `difference`, if given, learns the path of the first
/// difference.
ZR_DM_API eDmErrorId dmDeepEqual(const DmPropertySet& a, const DmPropertySet& b, bool& equal,
                                 std::string* difference = nullptr);

/// An independent copy, made through the factory with fresh ids, that may be changed although the source is a constant.
/// What is held twice in the source is held twice in the copy; the defaults of classes are shared.
ZR_DM_API eDmErrorId dmDeepCopy(const DmPropertySet& source, CoSharedPtr<DmPropertySet>& copy);

/// Sets a text by index, as the typed setters do, but without a copy: the set takes it over, and `text` has what the
/// set had. Makers of trees do little else than set texts.
ZR_DM_API eDmErrorId dmTakeText(DmPropertySet& set, int index, DmString&& text);

/// Calls `visit(held)` for each set that a set's properties hold themselves, until it returns false; null elements are
/// passed over.
template <class Visit>
bool dmForEachHeld(const DmPropertySet& set, Visit&& visit)
{
    const DmPropertySetData& data = set.classData();
    for (int i = 0; i < data.size(); ++i)
    {
        const eDmPropType type = data.at(i)->_type;
        if (type == DM_PROPERTY_SET)
        {
            const auto& held = *static_cast<const DmPropertySetPtr*>(set.fieldOf(i));
            if (held && !visit(held))
                return false;
        }
        else if (type == DM_VECTOR_PROPERTY_SET)
        {
            const DmListWindow<DmPropertySet> elements = set.elementsOf(i);
            for (auto element = elements.begin(); element != elements.end(); ++element)
                if (const DmPropertySetPtr* const held = element.place(); held && *held && !visit(*held))
                    return false;
        }
        else if (type == DM_MAP_PROPERTY_SET)
        {
            for (const auto& [key, held] : *static_cast<const DmPropertySetMap*>(set.fieldOf(i)))
                if (held && !visit(held))
                    return false;
        }
    }
    return true;
}

namespace DmPropertySet_Atomic_Utils
{
/// Whether a property equals the value at `value`, of its storage type, as relevance sees it: numbers by value (NaN
/// never), strings by text, nested sets property by property. Collections never.
ZR_DM_API bool compareAtomicManip(const DmPropertySet& set, int index, const void* value);
/// Whether each property of a set equals itself in that sense: not so where it holds a collection, nothing for a nested
/// set, or a value that is not a number.
ZR_DM_API bool equalsItself(const DmPropertySet& set);

// One half of the text forms (PSetFuncPair): single values, by index.
ZR_DM_API eDmErrorId getAtomicValue(const DmPropertySet& set, int index, eDmPropType type, void* value);
ZR_DM_API eDmErrorId setAtomicValue(DmPropertySet& set, int index, eDmPropType type, const void* value);
} // namespace DmPropertySet_Atomic_Utils

namespace DmPropertySet_Collection_Utils
{
// The other half: a vector's first element is read, and a value is added at its end.
ZR_DM_API eDmErrorId getValueInList(const DmPropertySet& set, int index, eDmPropType type, void* value);
ZR_DM_API eDmErrorId setValueInList(DmPropertySet& set, int index, eDmPropType type, const void* value);
} // namespace DmPropertySet_Collection_Utils
