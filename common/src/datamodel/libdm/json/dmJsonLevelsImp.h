/// What the open objects and arrays of a document stand for while it is read: each takes the events between its
/// brackets, and hands what it has come to, a set or a fault, to the one that holds it.
#pragma once

#include "dmJsonImporter.h"
#include "dmJsonScalarImp.h"
#include "dmPropertyFactory.h"
#include "dmStatus.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace dmJson
{

class Reader;

/// Why a document cannot be imported.
struct Fault
{
    enum Kind
    {
        PropertyType, ///< no such property
        FromText,     ///< a single value that its property refuses
        Property,     ///< a value of a wrong kind, or refused
        Instantiate,  ///< a class that cannot be made
        MapKey,
        EntryArray, ///< a map entry that is no object of one class
        EntryScalar,
        Classes,      ///< two classes where one is expected
        Version,      ///< newer than this library
        VersionShape, ///< no two integers
        NoObject      ///< the document is a single value or an array
    };

    Kind kind;
    int code = -1;
    DmString name = {};        ///< of the property, or of the class
    DmString other = {};       ///< the value, the second class, or the version
    DmPropertySetPtr set = {}; ///< FromText: whose property
    DmJsonPlace place = {};

    DmStatus report() const;
};
using FaultPtr = std::unique_ptr<Fault>;

/// A text of the document for a fault: its beginning is enough, because messages are cut anyway.
DmString quoted(std::string_view text);

/// What an object or array of the document has come to.
struct Outcome
{
    DmPropertySetPtr set = {};
    FaultPtr fault = {};
    bool isVersion = false;
};

/// A name, told from others by a few comparisons: its length and its first and last eight bytes say it all up to 16.
class ShortName
{
public:
    explicit ShortName(std::string_view text);
    bool operator==(const ShortName& other) const
    {
        return _text.size() == other._text.size() && _head == other._head && _tail == other._tail &&
               (_text.size() <= 16 || _text == other._text);
    }

private:
    std::string_view _text;
    std::uint64_t _head;
    std::uint64_t _tail;
};

struct ClassEntry
{
    DmString name;
    DmPropertyCreator creator;         ///< null for a name that is no class
    std::vector<ShortName> properties; ///< in index order; empty before the first object
};

// An open object or array, by what it stands for. Each takes the events between its brackets: a member's name, a single
// value, the beginning of an object or array (which it opens in the reader), and what the latter has come to.

/// Something that nobody looks at.
struct Ignored
{
    void key(Reader&, std::string_view) {}
    void scalar(Reader&, const Scalar&) {}
    void object(Reader& reader);
    void array(Reader& reader) { object(reader); }
    void take(Reader&, Outcome&&) {}
    Outcome close(Reader&) { return {}; }
};

/// The two numbers of a version.
class VersionNumbers : public Ignored
{
public:
    void key(Reader&, std::string_view name);
    void scalar(Reader&, const Scalar& value);
    Outcome close(Reader&);

    bool complete() const { return _numbers[Major] && _numbers[Minor]; }

private:
    enum Number
    {
        Major,
        Minor,
        Other
    };

    Number _current = Other;
    std::optional<int> _numbers[Other];
};

/// A property-set object, {"class": {members}}, or the document itself, which is one with a version beside.
class Slot
{
public:
    enum Kind
    {
        Document,
        Nested,
        Element,
        Entry,
        VersionEntry ///< of a key that is also the name under which a document holds its version
    };

    Slot(Kind kind, const DmPropertyDef* holder)
        : _kind(kind)
        , _holder(holder)
    {
    }
    void key(Reader& reader, std::string_view name);
    void scalar(Reader& reader, const Scalar& value);
    void object(Reader& reader);
    void array(Reader& reader);
    void take(Reader&, Outcome&& outcome);
    Outcome close(Reader&);

private:
    bool isEntry() const { return _kind == Entry || _kind == VersionEntry; }
    /// Begins the value of a class; false, with a fault, when that class is not the one expected.
    bool begin();
    void refuse(Reader& reader, Fault::Kind entryKind);
    void closeEmpty(Reader& reader);

    Kind _kind;
    bool _atVersion = false;
    const DmPropertyDef* _holder; ///< null for the document
    ClassEntry* _class = nullptr;
    ClassEntry* _current = nullptr;
    ClassEntry* _second = nullptr; ///< another class than _class, which is an error
    DmPropertySetPtr _set;
    FaultPtr _fault;
    FaultPtr _versionFault;
    std::unique_ptr<VersionNumbers> _numbers; ///< VersionEntry: its members, if it is a version
};

/// The members of a property set.
class Members
{
public:
    Members(Reader& reader, DmPropertySet& set, ClassEntry& classEntry);
    void key(Reader& reader, std::string_view name);
    void scalar(Reader& reader, const Scalar& value);
    void object(Reader& reader);
    void array(Reader& reader);
    void take(Reader&, Outcome&& outcome);
    Outcome close(Reader& reader);

private:
    enum Group
    {
        Scalars,
        Objects,
        Arrays
    };
    struct MemberFault
    {
        Group group;
        bool known;
        std::string name;
        FaultPtr fault;

        bool operator<(const MemberFault& other) const
        {
            return group != other.group ? group < other.group : name < other.name;
        }
    };
    enum : int
    {
        Unknown = -1,
        Skipped = -2 ///< the reserved name of the version, which is no property
    };

    const DmPropertyDef& def() const { return *_data->at(_index); }
    void find(std::string_view name);
    void restart();
    void refuse(Reader& reader, Group group, Fault&& fault);
    void add(Reader& reader, Group group, FaultPtr fault);

    DmPropertySet* _set;
    const DmPropertySetData* _data;
    const ClassEntry* _class;
    int _index = Unknown;        ///< of the member that is being read
    int _next = 0;               ///< where the following name is looked for first
    Group _group = Scalars;      ///< of the object or array that is open
    std::size_t _seen;           ///< where this set's bits begin in the reader's
    DmPropertySetPtr _untouched; ///< a fresh object, for members that come twice
    std::unique_ptr<std::vector<MemberFault>> _faults;
};

/// The entries of a map property.
class Entries
{
public:
    Entries(DmPropertySet& owner, int index)
        : _owner(&owner)
        , _index(index)
    {
    }
    void key(Reader&, std::string_view name);
    void scalar(Reader& reader, const Scalar&) { refuse(reader, Fault::EntryScalar); }
    void object(Reader& reader);
    void array(Reader& reader);
    void take(Reader&, Outcome&& outcome);
    Outcome close(Reader&);

private:
    const DmPropertyDef& def() const { return *_owner->classData().at(_index); }
    void refuse(Reader& reader, Fault::Kind kind);
    void finish(FaultPtr fault);

    DmPropertySet* _owner;
    int _index;
    DmString _key;
    std::size_t _count = 0;
    std::unordered_map<DmString, std::pair<std::size_t, FaultPtr>> _faults; ///< by key, with their place
};

/// The elements of a vector of sets.
class Elements
{
public:
    Elements(DmPropertySet& owner, int index);
    void key(Reader&, std::string_view) {}
    void scalar(Reader& reader, const Scalar&) { refuse(reader, DM_BAD_PROPERTY_TYPE); }
    void object(Reader& reader);
    void array(Reader& reader);
    void take(Reader&, Outcome&& outcome);
    Outcome close(Reader&) { return {{}, std::move(_fault), false}; }

private:
    void refuse(Reader& reader, eDmErrorId code);

    DmPropertySet* _owner;
    int _index;
    FaultPtr _fault; ///< the first
};

/// The elements of a vector of values, or the lines of a CDATA text.
class Values
{
public:
    Values(DmPropertySet& owner, int index);
    void key(Reader&, std::string_view) {}
    void scalar(Reader&, const Scalar& value);
    void object(Reader& reader);
    void array(Reader& reader) { object(reader); }
    void take(Reader&, Outcome&&) {}
    Outcome close(Reader&);

private:
    const DmPropertyDef& def() const { return *_owner->classData().at(_index); }
    bool isText() const { return def()._type == DM_CDATA; }
    void refuse(Reader& reader, eDmErrorId code);

    DmPropertySet* _owner;
    int _index;
    bool _any = false;
    bool _lastEmpty = false;
    std::string _lines;
    FaultPtr _fault; ///< the first
};

} // namespace dmJson
