/// The base of every object of the data model: an object whose typed fields are described once per class by a table of
/// definitions, which drives access by name and by index, relevance, comparison, text forms and documents.
///
///     double time = 0;
///     if (mark->getPropertyValue(L"cueMarkTime", DM_DOUBLE, &time) == DM_NO_ERROR && time < 86400)
///         return mark->setPropertyValueFromStr(L"cueMarkTime", L"86400");
///
/// How a class declares its properties: dmDeclare.h. Objects are counted and held through CoSharedPtr.
///
/// Threads: reference counts are atomic; whatever changes an object does so inside the object's mutex, where it looks
/// for the element or the key, and for whether the object is constant. Reads and look-ups take no lock: a read beside
/// a change of the same property is the caller's to prevent. Listeners are called, and the dirty flag is set, after the
/// mutex.
///
/// Nothing throws. Where memory runs out nothing is stored, and the answer is DM_BAD_VALUE.
#pragma once

#include "CoLockWord.h"
#include "dmBlocks.h"
#include "dmListWindow.h"
#include "dmNodeId.h"
#include "dmPropertyDef.h"

#include <new>
#include <span>

/// Is told of every change of the objects it is registered with.
class ZR_DM_API DmPropertyListener
{
public:
    virtual ~DmPropertyListener() = default;
    virtual void onPropertyChanged(const DmNodeId& id, eDmPropType type, const DmString& propertyName) = 0;
};

/// A property by index or by name: every operation takes either. Two registers wide; lives as long as the name.
class DmPropertyRef
{
public:
    DmPropertyRef(int index)
        : _index(index)
    {
    }
    DmPropertyRef(const DmString& name)
        : _name(name.c_str())
        , _length(name.length())
    {
    }
    DmPropertyRef(const wchar_t* name)
        : DmPropertyRef(std::wstring_view(name ? name : L""))
    {
    }

    /// -1, or an index that no property has, when the class has no such property.
    int indexIn(const DmPropertySetData& data) const { return _name ? data.find({_name, _length}) : _index; }

private:
    explicit DmPropertyRef(std::wstring_view name)
        : _name(name.data())
        , _length(static_cast<unsigned>(name.size()))
    {
    }

    const wchar_t* _name = nullptr; ///< null: by index
    union
    {
        int _index;
        unsigned _length;
    };
};

class ZR_DM_API DmPropertySet : public CoRefCountedMT
{
public:
    /// The end of a class's enumerators, where the classes that derive from it go on (dmDeclare.h).
    enum Property : int
    {
        PropertyCount
    };

    /// `classData` is the class's table: made here for the first instance, shared by all later ones.
    DmPropertySet(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    /// The copy shares the table, has the same id and dirty flag, and no listeners.
    DmPropertySet(const DmPropertySet& other);
    ~DmPropertySet() override;

    // Objects lie in blocks (dmBlocks.h), unless their class brings operators of its own.

    static void* operator new(std::size_t size) { return dmBlocks::take(size); }
    static void* operator new(std::size_t size, std::align_val_t alignment) { return ::operator new(size, alignment); }
    static void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept;
    static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
    static void operator delete(void* memory, std::size_t size) { dmBlocks::give(memory, size); }
    static void operator delete(void* memory, std::align_val_t alignment) { ::operator delete(memory, alignment); }

    /// Declares the class's properties (dmDeclare.h); called for the first instance that the factory makes.
    virtual eDmErrorId createList() = 0;
    /// Gives a fresh object its default contents where the class has any.
    virtual eDmErrorId createAttributes();
    /// Null when there is no memory for all of it.
    [[nodiscard]] virtual CoSharedPtr<DmPropertySet> clone() const = 0;
    /// The class's name: its key in the factory and in documents.
    virtual DmString getPSetName() const = 0;
    /// The object from which the property of that index is addressed: the set itself, unless a class keeps some of its
    /// fields in a member of their own.
    virtual const void* getBase(int index) const;

    // Declaration.

    /// Adds a property to the class's table; only from createList(). Properties are added in index order; the field
    /// must lie inside getBase(index) of this instance; the default lives as long as the class. A reserved name is
    /// refused with DM_PROPERTY_ALREADY_EXIST; a duplicate or a bad index is reported by message and adds nothing.
    eDmErrorId addProperty(const DmString& name, eDmPropType type, void* fieldAddress, int index, bool skipIfDefault,
                           const void* defaultValue, DmSerializer serializer = nullptr,
                           DmUnserializer unserializer = nullptr);

    // Introspection.

    const DmPropertySetData& classData() const { return *_data; }
    eDmErrorId getNumberOfProps(int& count) const;
    eDmErrorId getPropertyName(int index, DmString& name) const;
    eDmErrorId getPropertyIndex(const DmString& name, int& index) const;
    eDmErrorId getPropertyDef(int index, DmPropertyDef& def) const;
    eDmErrorId getPropertyType(DmPropertyRef property, eDmPropType& type) const;
    /// Whether the property is worth saving: it is always written, or differs from its default.
    bool isPropertyRelevant(int index) const;
    /// The field of a property, of its storage type; null for an index that no property has.
    const void* fieldOf(int index) const;

    // Single values: `out` and `in` point at a variable of the property's storage type.

    eDmErrorId getPropertyValue(DmPropertyRef property, eDmPropType type, void* out) const;
    eDmErrorId setPropertyValue(DmPropertyRef property, eDmPropType type, const void* in);
    /// With the type of the definition.
    eDmErrorId setPropertyValue(const DmString& name, const void* in);

    // Vectors: `value` points at a variable of the element type. An element that is not there: DM_BAD_INDEX. They are
    // read whole through windows.

    /// The elements of a vector of sets; none for another property.
    DmListWindow<DmPropertySet> elementsOf(int index) const;
    /// The elements of a vector of values, whose element type is Value; none for another property.
    template <class Value>
    std::span<const Value> valuesOf(int index) const;

    eDmErrorId addValueInPropertyList(DmPropertyRef property, eDmPropType type, const void* value);
    /// Before the element; the number of elements is allowed and appends.
    eDmErrorId insertValueInPropertyList(DmPropertyRef property, eDmPropType type, int element, const void* value);
    eDmErrorId getListSize(DmPropertyRef property, eDmPropType type, int& size) const;
    eDmErrorId clearList(DmPropertyRef property, eDmPropType type);
    eDmErrorId removeValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element);
    eDmErrorId getValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element, void* value) const;
    eDmErrorId setValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element, const void* value);
    /// In place of what the vector holds: `list` points at a std::vector of the element type. One change, announced
    /// once.
    eDmErrorId setPropertyList(DmPropertyRef property, eDmPropType type, const void* list);

    // Maps: `value` points at a DmPropertySetPtr. Keys are not empty (DM_EMPTY_ID) and hold no zero (DM_BAD_VALUE).

    /// An existing key is DM_PROPERTY_ALREADY_EXIST.
    eDmErrorId addValueInPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key, const void* value);
    eDmErrorId getMapSize(DmPropertyRef property, eDmPropType type, int& size) const;
    eDmErrorId clearMap(DmPropertyRef property, eDmPropType type);
    /// An absent key is DM_BAD_INDEX.
    eDmErrorId removeValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key);
    /// An absent key gives null and DM_NO_ERROR.
    eDmErrorId getValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                       void* value) const;
    /// Inserts or replaces.
    eDmErrorId setValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                       const void* value);
    /// The keys in map order. An empty map leaves the array as it was.
    eDmErrorId getKeysFromPropertyMap(int index, eDmPropType type, DmStringArray& keys) const;

    // Text forms (dmPropertyText.h).

    /// The text of a value; of a vector's first element. `hasSerializer`, if given, learns whether the class brings its
    /// own text form. Every misuse of index or type is DM_BAD_PROPERTY_TYPE.
    eDmErrorId getStrFromPropertyValue(int index, eDmPropType type, DmString& out, bool* hasSerializer) const;
    /// Sets a value from its text; appends the element to a vector.
    eDmErrorId setPropertyValueFromStr(const DmString& name, eDmPropType type, const DmString& text);
    eDmErrorId setPropertyValueFromStr(const DmString& name, const DmString& text);

    // Listeners are not owned. A notification walks a snapshot: one that unregisters itself, or another, in it is safe.

    /// A constant object takes none: DM_CANNOT_LOCK.
    eDmErrorId registerListener(DmPropertyListener* listener);
    eDmErrorId unregisterListener(DmPropertyListener* listener);
    void notify(const DmNodeId& id, eDmPropType type, const DmString& propertyName);

    // State.

    bool isDirty() const { return _state.has(dirtyFlag); }
    /// A constant object keeps its flag.
    void cleanDirty();
    /// true: takes the object's mutex without waiting, DM_CANNOT_LOCK when it is held. false: releases it.
    eDmErrorId lockPropertySet(bool lock);
    /// Releases the mutex; always DM_CANNOT_UNLOCK, which callers have come to expect.
    eDmErrorId unlockPropertySet();
    const DmNodeId& getNodeId() const { return _id; }
    /// Finds the object that an id names, here or in the lists below. `out` is not counted. DM_NOT_ME when it is
    /// neither.
    eDmErrorId getPropertySetFromNodeId(const DmNodeId& id, DmPropertySet*& out);

    /// Makes this object, and what it holds, a constant: every setter answers DM_CANNOT_LOCK from now on. Takes the
    /// mutexes, one at a time: once it has returned, nothing is stored any more.
    void freeze() { freeze(frozenFlag); }
    bool isFrozen() const { return _state.has(frozenFlag); }
    /// Makes a constant that objects of a class share until they get one of their own: copies, deep ones too, share it.
    void freezeAsSharedDefault() { freeze(frozenFlag | sharedDefaultFlag); }
    bool isSharedDefault() const { return _state.has(sharedDefaultFlag); }

protected:
    /// What clone() is made of: the copy constructor of the object's class.
    template <class T>
    [[nodiscard]] static CoSharedPtr<DmPropertySet> cloneAs(const T& set);

    /// The typed setter: the value's C++ type must be the one in which the property is stored. An `int`, which is what
    /// `set(index, 0)` gives, goes into every number that can hold it; DM_BAD_VALUE where it cannot.
    template <class Value>
    eDmErrorId set(int index, const Value& value);

    // The same for lists; a null element is DM_BAD_VALUE.

    eDmErrorId addTo(int list, const DmPropertySetPtr& element);
    eDmErrorId addTo(int list, const DmString& element);
    eDmErrorId removeFrom(int list, int element);
    /// In place of what the list holds.
    eDmErrorId setStrings(int list, const std::vector<DmString>& strings);

    // Behind the backs of listeners, where a class says so: inside the mutex, refused by a constant object, under the
    // rules for values, classes and keys, but not announced, and leaving the dirty flag.

    template <class Value>
    eDmErrorId setSilently(int index, const Value& value);
    /// Inserts or replaces in a map.
    eDmErrorId putSilently(int map, const DmString& key, const DmPropertySetPtr& entry);
    /// Puts the entry in a map unless there is one under the key that is not null: that one is what `entry` is then.
    eDmErrorId putIfAbsentSilently(int map, const DmString& key, DmPropertySetPtr& entry);
    /// Changes what is no property: an editor's flag, marks that are not saved.
    template <class Change>
    eDmErrorId changeSilently(Change&& change);
    /// insertValueInPropertyList for a caller that has looked itself whether the list may hold the element.
    eDmErrorId insertUnasked(int list, int element, const DmPropertySetPtr& value);
    /// Puts elements in place of `count` others from `first` on: one change, announced once. Asked as insertUnasked is.
    eDmErrorId spliceUnasked(int list, int first, int count, std::span<const DmPropertySetPtr> elements);
    // What a class's createList() says beside its properties.

    /// Edits, not documents, ask the owner of a property before it is given an object to hold.
    void askBeforeHolding(int index, DmMayHold mayHold);
    /// A constant object may keep the list elsewhere than in its field (keepListsElsewhere).
    void mayKeepElsewhere(int list, DmFormOf form);
    /// What the class's objects hold, and is no property, becomes constant with them.
    void holdsBesideProperties(DmHeldBeside beside);
    /// From now on this object, which is a constant, is asked for the forms of its lists (DmPropertyDef::_form).
    void keepListsElsewhere() { _state.set(listsElsewhereFlag); }

private:
    template <class Owner, int next>
    friend class DmDeclaration;
    template <class T>
    friend class DmPropertySetInit;
    friend struct DmClassRecord;
    friend class DmSetAccess;

    DmPropertySet& operator=(const DmPropertySet&) = delete;

    static constexpr DM::CoLockWord::Flags dirtyFlag = 1;
    static constexpr DM::CoLockWord::Flags frozenFlag = 2;
    static constexpr DM::CoLockWord::Flags frozenThroughoutFlag = 4; ///< and all that it holds
    static constexpr DM::CoLockWord::Flags sharedDefaultFlag = 8;
    static constexpr DM::CoLockWord::Flags listsElsewhereFlag = 16;

    const void* fieldOf(int index, const DmPropertyDef& def) const
    {
        return def._isInside ? reinterpret_cast<const char*>(this) + def._offset : fieldOutside(index, def);
    }
    const void* fieldOutside(int index, const DmPropertyDef& def) const;
    /// To be written, inside the mutex: a field that objects share is first made this object's own.
    void* fieldForChange(int index, const DmPropertyDef& def);
    const void* rareOf(const DmPropertyDef& def) const { return reinterpret_cast<const char*>(this) + def._rareAt; }
    eDmErrorId find(DmPropertyRef property, eDmPropType type, const DmPropertyDef*& def, int& index) const;
    eDmErrorId setWhole(int index, int value, bool silently);
    eDmErrorId findMap(DmPropertyRef property, eDmPropType type, const DmPropertyDef*& def, int& index) const;
    template <class Visitor>
    eDmErrorId atList(DmPropertyRef property, eDmPropType type, Visitor&& visitor) const;
    template <class Value>
    eDmErrorId setTyped(int index, const Value& value, bool silently);
    eDmErrorId setStored(int index, eDmPropType storedAs, const void* in, bool silently);
    bool keepsElsewhere(const DmPropertyDef& def) const { return def._form && _state.has(listsElsewhereFlag); }
    struct FreezeLevel;
    void freeze(DM::CoLockWord::Flags flags, const FreezeLevel* above = nullptr);
    void nameClass();
    void forgetClass();
    DmPropertyDef* lastAdded(int expectedIndex);
    const void* keepDefault(std::shared_ptr<const void> value);

    mutable DM::CoLockWord _state; ///< the mutex and the flags; fills the four bytes behind the reference count
    CoSharedPtr<DmPropertySetData> _data;
    DmNodeId _id;
    std::unique_ptr<std::vector<DmPropertyListener*>> _listeners; ///< made for the first listener
};

static_assert(sizeof(DmPropertySet) <= 40, "there are millions of them");

template <class Value>
eDmErrorId DmPropertySet::set(int index, const Value& value)
{
    return setTyped(index, value, false);
}

template <class Value>
eDmErrorId DmPropertySet::setSilently(int index, const Value& value)
{
    return setTyped(index, value, true);
}

template <class Value>
eDmErrorId DmPropertySet::setTyped(int index, const Value& value, bool silently)
{
    constexpr eDmPropType type = dmTypeOf<Value>;
    if constexpr (std::same_as<Value, int>)
        return setWhole(index, value, silently);
    else if constexpr (type == DM_NB_TYPES && std::is_convertible_v<const Value&, DmPropertySetPtr>)
    {
        const DmPropertySetPtr pointer(value);
        return setStored(index, DM_PROPERTY_SET, &pointer, silently);
    }
    else
    {
        static_assert(dmIsAtomic(type), "set() is for single values");
        return setStored(index, type, &value, silently);
    }
}

template <class T>
CoSharedPtr<DmPropertySet> DmPropertySet::cloneAs(const T& set)
{
    const unsigned lost = DmString::lost();
    try
    {
        CoSharedPtr<DmPropertySet> copy(new T(set));
        return lost == DmString::lost() ? copy : CoSharedPtr<DmPropertySet>();
    }
    catch (const std::bad_alloc&)
    {
        return {};
    }
}

template <class Change>
eDmErrorId DmPropertySet::changeSilently(Change&& change)
{
    const DM::CoLockWordGuard guard(_state);
    if (isFrozen())
        return DM_CANNOT_LOCK;
    try
    {
        change();
    }
    catch (const std::bad_alloc&)
    {
        return DM_BAD_VALUE;
    }
    return DM_NO_ERROR;
}

template <class Value>
std::span<const Value> DmPropertySet::valuesOf(int index) const
{
    static_assert(dmTypeOf<std::vector<Value>> != DM_NB_TYPES && !std::same_as<Value, DmPropertySetPtr>);
    const DmPropertyDef* const def = _data->at(index);
    if (!def || def->_type != dmTypeOf<std::vector<Value>>)
        return {};
    return *static_cast<const std::vector<Value>*>(fieldOf(index));
}
