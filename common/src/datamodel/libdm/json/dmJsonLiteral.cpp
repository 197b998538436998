#include "dmJsonLiteralImp.h"

#include "dmJsonFormatImp.h"
#include "dmJsonKeptImp.h"
#include "dmNumberAtImp.h"
#include "dmPSetHelper.h"
#include "dmPropertyFactory.h"
#include "dmRapidJsonImp.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "CoInteger.h"
#include "CoUtf8.h"
#include "zrAssert.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>

namespace dmJson
{

enum LiteralReader::Fault : int
{
    PropertyType, ///< no such property
    FromText,     ///< a single value that its property refuses
    Property,     ///< a value of a wrong kind, or refused
    Instantiate,  ///< a class that cannot be made
    MapKey,
    EntryArray, ///< a map entry that is no object of one class
    EntryScalar,
    Classes,      ///< two classes where one is expected
    NewerVersion, ///< than this library's
    VersionShape, ///< no two integers
    NoObject      ///< the document is a single value or an array
};

namespace
{

constexpr int noCode = -1;

/// What a fault says, and the check of which it is the failure.
struct FaultText
{
    const char* text;
    const char* check;
};

/// In the order of Fault. The texts without arguments apart, all take the fault's name and the text of its code or,
/// where it has one, its other name. The misplaced quote of the second stays: scripts look for it.
constexpr FaultText faultTexts[] = {
    {"Could not get property type '%ls': %ls", "!\"Could not get property type\""},
    {"Could not set property '%ls to value %ls': %ls", "!\"Could not set property\""},
    {"Could not set property '%ls': %ls", "!\"Could not set property\""},
    {"Could not instantiate node '%ls': %ls", "!\"Could not create property set\""},
    {"Could not get value from property map '%ls': %ls", "!\"Could not get value from property map\""},
    {"Could not set property '%ls': %ls", "arrayValues.empty()"},
    {"Could not set property '%ls': %ls", "atomicValues.empty()"},
    {"Found the classes '%ls' and '%ls' where one is expected", "objectValues.size() == 1"},
    {"Unhandled version %ls (latest supported %ls)", "!\"Unhandled future version\""},
    {"JSON parse error", "!\"VERSION is not a version\""},
    {"The document is not an object", "jsonObject.IsObject()"},
};

bool toInt(const Value& value, int& number)
{
    const std::string_view text = value.kind() == Parsed::Number ? value.raw() : std::string_view();
    const std::optional<int> whole = DM::CoInteger::whole<int>(text);
    number = whole.value_or(number);
    return whole.has_value();
}

/// The two numbers of a version, each as it stands last; none when one is missing.
std::optional<DmVersion> versionOf(const Value& value)
{
    if (!value.isObject())
        return std::nullopt;
    std::optional<int> major;
    std::optional<int> minor;
    for (Value name = value.begin(); !(name == value.end()); name = name.next().next())
    {
        const std::string text = name.text();
        if (text != versionKeys().major && text != versionKeys().minor)
            continue;
        std::optional<int>& number = text == versionKeys().major ? major : minor;
        int read = 0;
        number = toInt(name.next(), read) ? std::optional(read) : std::nullopt;
    }
    return major && minor ? std::optional(DmVersion(*major, *minor)) : std::nullopt;
}

/// What a property, or the place in it, is called.
template <class Slot>
std::string pathOf(const Slot* slot)
{
    if (!slot)
        return "";
    const std::string above = pathOf(slot->above);
    std::string path = above + (above.empty() ? "" : "/") + slot->def->_utf8Name;
    if (slot->element >= 0)
        path += '[' + std::to_string(slot->element) + ']';
    if (!slot->key.empty())
        path += "[\"" + std::string(slot->key) + "\"]";
    return path;
}

/// The places of many offsets, which are asked for in ascending order, in one pass over the text.
class Places
{
public:
    explicit Places(std::string_view text)
        : _text(text)
    {
    }
    DmJsonPlace of(std::size_t offset)
    {
        for (; _at < offset; ++_at)
            if (_text[_at] == '\n')
            {
                ++_line;
                _lineBegin = _at + 1;
            }
        return {_line, offset - _lineBegin + 1};
    }

private:
    std::string_view _text;
    std::size_t _at = 0;
    std::uint64_t _line = 1;
    std::size_t _lineBegin = 0;
};

} // namespace

DmString quoted(std::string_view text)
{
    constexpr std::size_t enough = 1024;
    if (text.size() > enough)
        text = text.substr(0, DM::CoUtf8::cut(text.data(), enough));
    DmString wide;
    return dmFromUtf8(text, wide) ? wide : DmString();
}

DmStatus LiteralReader::read(DmPropertySetPtr& set, DmJsonPlace& place)
{
    if (const char* const error = _document.parse(_faultOffset))
        _status.fail(noCode, "JSON parse error : %s", error);
    else if (!_document.top().isObject())
        fail(NoObject, _document.top(), noCode, {});
    else if (traverse(_document.top(), nullptr, set))
        finishChanges();
    if (_status.failed())
        place = Places(_document.text()).of(_faultOffset);
    return _status;
}

bool LiteralReader::createPropertySet(const std::string& className, const Value& value, DmPropertySetPtr& set)
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    DmString name;
    eDmErrorId status = dmFromUtf8(className, name) ? DM_NO_ERROR : DM_BAD_VALUE;
    if (status == DM_NO_ERROR && !value.isObject())
        status = factory.findCreator(name.view()) ? DM_BAD_PROPERTY_TYPE : DM_PROPERTY_NOT_FOUND;
    if (status == DM_NO_ERROR)
    {
        DmPropertySet* made = nullptr;
        status = factory.createPropertySetInstance(name, DmNodeId(), 0, made);
        set = DmPropertySetPtr(made);
    }
    return status == DM_NO_ERROR || fail(Instantiate, value, status, quoted(className));
}

/// Sorts an object's members. One whose name stands again is lost.
void LiteralReader::classifyJsonValues(const Value& object, const Slot* slot, Classified& values)
{
    for (const auto& [name, value] : members(object, slot))
    {
        if (name == versionKeys().version)
            note(DmJsonChange::NoProperty, value, slot, {}, name);
        else if (value.isObject())
            values.objects.emplace(name, value);
        else if (value.isArray())
            values.arrays.emplace(name, value);
        else
            values.atomics.emplace(name, value);
    }
}

/// The text that a property is set from: a string's own, a number's as it would be written again. Empty for a number
/// that no double holds.
std::string LiteralReader::atomicToString(const Value& value)
{
    if (value.kind() != Parsed::Number)
        return value.text();
    char buffer[numberSize];
    return std::string(canonicalNumber(value.raw(), buffer));
}

/// The members in the order of the document. One whose name stands twice has its first place and its last value.
std::vector<LiteralReader::Member> LiteralReader::members(const Value& object, const Slot* slot)
{
    std::vector<Member> members;
    std::unordered_map<std::string, std::size_t> places;
    for (Value name = object.begin(); !(name == object.end()); name = name.next().next())
    {
        const Value value = name.next();
        const auto [place, isNew] = places.try_emplace(name.text(), members.size());
        if (isNew)
            members.emplace_back(place->first, value);
        else
        {
            note(DmJsonChange::Twice, members[place->second].second, slot, {}, place->first);
            members[place->second].second = value;
        }
    }
    return members;
}

/// Reads the object in which a property, or the document, holds its set: a class name and the members of the set, or
/// nothing. Of a map, the object in which it holds its entries.
bool LiteralReader::traverse(const Value& object, const Slot* parent, DmPropertySetPtr& set)
{
    const bool isMap = parent && parent->def->_type == DM_MAP_PROPERTY_SET;
    std::string className;
    const auto isVersion = [isMap](const std::string& name, const Value& value)
    { return name == versionKeys().version && (!isMap || versionOf(value)); };

    const std::vector<Member> all = members(object, parent);
    for (const auto& [name, value] : all)
        if (isVersion(name, value) && !readVersion(value, parent))
            return false;
    for (const auto& [name, value] : all)
    {
        if (isVersion(name, value))
            continue;
        if (isMap)
        {
            if (!readEntry(*parent, name, value))
                return false;
            continue;
        }
        if (set)
            return fail(Classes, value, noCode, quoted(className), quoted(name));
        className = name;
        if (!createPropertySet(name, value, set) || !populatePropertySet(*set, value, parent))
            return false;
    }
    return true;
}

bool LiteralReader::readVersion(const Value& value, const Slot* slot)
{
    const std::optional<DmVersion> version = versionOf(value);
    if (!version)
        return fail(VersionShape, value, noCode, {});
    const DmVersion current = DmVersion::getCurrent();
    if (*version > current)
        return fail(NewerVersion, value, noCode, quoted(version->toString()), quoted(current.toString()));
    for (const auto& [name, member] : members(value, slot))
        if (name != versionKeys().major && name != versionKeys().minor)
            note(DmJsonChange::NoVersion, member, slot, {}, versionKeys().version + '/' + name);
    return true;
}

/// An empty object is a default one, where the slot says of which class, else null.
bool LiteralReader::createDefault(const Slot& slot, const Value& value, DmPropertySetPtr& set)
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = slot.def->_held ? factory.findCreator(slot.def->_held->name) : nullptr;
    if (!creator)
        return true;
    DmPropertySet* made = nullptr;
    const eDmErrorId status = factory.create(creator, DmNodeId(), 0, made);
    set = DmPropertySetPtr(made);
    return status == DM_NO_ERROR || failProperty(value, status, slot);
}

bool LiteralReader::readEntry(const Slot& map, const std::string& key, const Value& value)
{
    const DmString& name = map.def->_name;
    DmString wideKey;
    if (!dmFromUtf8(key, wideKey))
        return fail(MapKey, value, DM_BAD_VALUE, name);
    if (key.empty() || key.find('\0') != key.npos)
        return fail(MapKey, value, key.empty() ? DM_EMPTY_ID : DM_BAD_VALUE, name);
    if (!value.isObject())
        return fail(value.isArray() ? EntryArray : EntryScalar, value, DM_BAD_VALUE, name);

    Slot entry = map;
    entry.key = key;
    const auto values = std::make_unique<Classified>();
    classifyJsonValues(value, &entry, *values);
    if (values->objects.size() > 1)
    {
        std::vector<Member> classes(values->objects.begin(), values->objects.end());
        std::ranges::sort(classes, {}, [](const Member& member) { return member.second.offset(); });
        return fail(Classes, classes[1].second, noCode, quoted(classes[0].first), quoted(classes[1].first));
    }
    for (const auto& [fault, wrong] : {std::pair(EntryArray, &values->arrays), {EntryScalar, &values->atomics}})
        if (!wrong->empty())
            return fail(fault, wrong->begin()->second, DM_BAD_VALUE, name);

    DmPropertySetPtr set;
    if (values->objects.empty())
    {
        if (!createDefault(entry, value, set))
            return false;
    }
    else if (const auto& [className, members] = *values->objects.begin();
             !createPropertySet(className, members, set) || !populatePropertySet(*set, members, &entry))
        return false;
    const eDmErrorId status = map.owner->setValueFromPropertyMap(map.index, map.def->_type, wideKey, &set);
    return status == DM_NO_ERROR || failProperty(value, status, map);
}

bool LiteralReader::populatePropertySet(DmPropertySet& set, const Value& object, const Slot* above)
{
    const auto values = std::make_unique<Classified>(); // a document may be deep, and the stack small
    classifyJsonValues(object, above, *values);
    for (const auto& [name, value] : values->atomics)
        if (!setAtomic(set, name, value, above))
            return false;
    for (const auto& [name, value] : values->objects)
        if (!setObject(set, name, value, above))
            return false;
    for (const auto& [name, value] : values->arrays)
        if (!setArray(set, name, value, above))
            return false;
    return true;
}

bool LiteralReader::setAtomic(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above)
{
    const std::string text = atomicToString(value);
    DmString wideName;
    DmString wideText;
    eDmErrorId status = DM_BAD_VALUE;
    const bool hasText = !text.empty() || value.kind() == Parsed::String;
    if (hasText && dmFromUtf8(name, wideName) && dmFromUtf8(text, wideText))
    {
        const int index = set.classData().find(wideName.view());
        const DmPropertyDef* const def = set.classData().at(index);
        // A Char takes one character as it is, a blank included.
        if (def && def->_type == DM_CHAR && !def->_unserializer && wideText.length() == 1 && wideText[0] < 256)
        {
            const char character = static_cast<char>(wideText[0]);
            status = set.setPropertyValue(index, DM_CHAR, &character);
        }
        else
            status = set.setPropertyValueFromStr(wideName, wideText);
        if (status == DM_NO_ERROR)
            noteValue({&set, index, def, above}, value);
    }
    return status == DM_NO_ERROR || fail(FromText, value, status, quoted(name), quoted(hasText ? text : value.text()));
}

bool LiteralReader::findProperty(const std::string& name, const Value& value, Slot& slot)
{
    DmString wide;
    if (dmFromUtf8(name, wide))
        slot.index = slot.owner->classData().find(wide.view());
    slot.def = slot.owner->classData().at(slot.index);
    return slot.def || fail(PropertyType, value, DM_PROPERTY_NOT_FOUND, quoted(name));
}

bool LiteralReader::setObject(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above)
{
    Slot slot{&set, -1, nullptr, above};
    if (!findProperty(name, value, slot))
        return false;
    const eDmPropType type = slot.def->_type;
    if (type != DM_PROPERTY_SET && type != DM_MAP_PROPERTY_SET)
        return failProperty(value, DM_BAD_PROPERTY_TYPE, slot);
    DmPropertySetPtr child;
    if (!traverse(value, &slot, child))
        return false;
    if (!child)
        return true;
    const eDmErrorId status = set.setPropertyValue(slot.index, type, &child);
    return status == DM_NO_ERROR || failProperty(value, status, slot);
}

/// What a document says replaces what a fresh object holds.
bool LiteralReader::setArray(DmPropertySet& set, const std::string& name, const Value& value, const Slot* above)
{
    Slot slot{&set, -1, nullptr, above};
    if (!findProperty(name, value, slot))
        return false;
    const eDmPropType type = slot.def->_type;
    if (type == DM_CDATA)
        return setLines(slot, value);
    const bool ofValues = dmIsVectorOfValues(type);
    if (!ofValues && type != DM_VECTOR_PROPERTY_SET)
        return failProperty(value, DM_BAD_PROPERTY_TYPE, slot);
    if (const eDmErrorId status = set.clearList(slot.index, type); status != DM_NO_ERROR)
        return failProperty(value, status, slot);
    for (Value element = value.begin(); !(element == value.end()); element = element.next())
    {
        ++slot.element;
        if (ofValues ? !addValue(slot, element) : !addElement(slot, element))
            return false;
    }
    return true;
}

bool LiteralReader::addElement(const Slot& slot, const Value& value)
{
    if (!value.isObject())
        return failProperty(value, DM_BAD_PROPERTY_TYPE, slot);
    DmPropertySetPtr child;
    if (!traverse(value, &slot, child) || (!child && !createDefault(slot, value, child)))
        return false;
    // As the quick way does: of what a document says the owner is not asked whether it may hold it, the validation is.
    eDmErrorId status = DmSetAccess::checkSlot(*slot.owner, *slot.def, child.get());
    if (status == DM_NO_ERROR)
        status = DmSetAccess::append(*slot.owner, DmStore::Fresh, slot.index, *slot.def, std::move(child));
    if (status == DM_NO_ERROR)
        DmSetAccess::touch(*slot.owner);
    return status == DM_NO_ERROR || failProperty(value, status, slot);
}

bool LiteralReader::addValue(const Slot& slot, const Value& value)
{
    if (!value.isScalar())
        return failProperty(value, DM_BAD_PROPERTY_TYPE, slot);
    const std::string text = atomicToString(value);
    DmString wide;
    eDmErrorId status = DM_BAD_VALUE;
    if ((!text.empty() || value.kind() == Parsed::String) && dmFromUtf8(text, wide))
        status = slot.owner->setPropertyValueFromStr(slot.def->_name, wide);
    if (status != DM_NO_ERROR)
        return failProperty(value, status, slot);
    noteValue(slot, value);
    return true;
}

/// The lines become one text. Its last line end is not written; so a last line that is empty stands for one more.
bool LiteralReader::setLines(Slot& slot, const Value& array)
{
    std::string text;
    for (Value line = array.begin(); !(line == array.end()); line = line.next())
    {
        ++slot.element;
        if (!line.isScalar())
            return failProperty(line, DM_BAD_PROPERTY_TYPE, slot);
        const std::string lineText = atomicToString(line);
        text += slot.element > 0 ? "\n" : "";
        text += lineText;
        if (line.kind() != Parsed::String)
            note(DmJsonChange::Converted, line, &slot, '"' + lineText + '"');
        if (lineText.empty() && line.next() == array.end())
            text += '\n';
    }
    DmString wide;
    eDmErrorId status = DM_BAD_VALUE;
    if (dmFromUtf8(text, wide))
        status = slot.owner->setPropertyValueFromStr(slot.def->_name, wide);
    return status == DM_NO_ERROR || failProperty(array, status, slot);
}

// Faults

bool LiteralReader::fail(Fault fault, const Value& value, int code, const DmString& name, const DmString& other)
{
    const FaultText& words = faultTexts[fault];
    softAssertFailed(words.check, ZR_SOURCE_FILE, __LINE__);
    const DmString error = DmPSetHelper::getStrFromError(static_cast<eDmErrorId>(code));
    if (fault == FromText)
        _status.fail(code, words.text, name.c_str(), other.c_str(), error.c_str());
    else
        _status.fail(code, words.text, name.c_str(), other.empty() ? error.c_str() : other.c_str());
    _faultOffset = value.offset();
    return false;
}

bool LiteralReader::failProperty(const Value& value, eDmErrorId code, const Slot& slot)
{
    return fail(Property, value, code, slot.def->_name);
}

// Changes

/// Of a value that is stored: in the property, or as the last element of its list.
void LiteralReader::noteValue(const Slot& slot, const Value& value)
{
    if (!_changes)
        return;
    const void* const field = slot.owner->fieldOf(slot.index);
    dmVisitStorage(slot.def->_type,
                   [&]<class T>(std::type_identity<T>)
                   {
                       const void* stored = field;
                       if constexpr (dmIsVector<T> && !std::same_as<T, DmPropertySetVector>)
                           stored = &slot.owner->template valuesOf<typename T::value_type>(slot.index).back();
                       const bool isKept = slot.element >= 0 ? isElementKept(*slot.def, value, stored)
                                                             : dmJson::isKept(*slot.def, value, stored);
                       if (!isKept)
                           note(DmJsonChange::Converted, value, &slot, shownValue(*slot.def, stored));
                       else if constexpr (std::same_as<T, DmString>)
                           noteMeaning(DmJsonChange::NoName, value, slot, *static_cast<const T*>(stored));
                       else if constexpr (DmNumberStorage<T>)
                           noteMeaning(DmJsonChange::NotInTable, value, slot, dmNumberAt<T>(stored));
                   });
}

template <class T>
void LiteralReader::noteMeaning(DmJsonChange::Reason notInTable, const Value& value, const Slot& slot, const T& stored)
{
    if (!isMeant(*slot.def, stored))
        note(notInTable, value, &slot);
}

void LiteralReader::note(DmJsonChange::Reason reason, const Value& value, const Slot* slot, std::string became,
                         std::string_view name)
{
    if (!_changes)
        return;
    std::string path = pathOf(slot);
    if (!name.empty())
        path += (path.empty() ? "" : "/") + std::string(name);
    _noted.push_back({value.offset(), {reason, {}, std::move(path), value.shown(), std::move(became)}});
    if (_noted.size() == 2 * DmJsonChanges::most)
        keepFirst();
}

/// The walk meets them in another order than that of the document.
void LiteralReader::keepFirst()
{
    std::ranges::stable_sort(_noted, {}, &Change::offset);
    if (_noted.size() <= DmJsonChanges::most)
        return;
    _more += _noted.size() - DmJsonChanges::most;
    _noted.resize(DmJsonChanges::most);
}

void LiteralReader::finishChanges()
{
    if (!_changes)
        return;
    keepFirst();
    Places places(_document.text());
    for (Change& noted : _noted)
    {
        noted.change.place = places.of(noted.offset);
        _changes->list.push_back(std::move(noted.change));
    }
    _changes->more = _more;
}

} // namespace dmJson

std::string DmJsonChange::text() const
{
    const std::string what = path + ": " + was;
    switch (reason)
    {
    case Converted:
        return what + " became " + became;
    case Twice:
        return what + " is lost: the name stands again";
    case NoVersion:
        return what + " is lost: a version has two numbers";
    case NoProperty:
        return what + " is lost: this is no property";
    case NoName:
        return what + " means nothing here";
    case NotInTable:
        return what + " is none of the enumeration's values";
    }
    return what;
}
