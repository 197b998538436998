#include "dmJsonLevelsImp.h"

#include "dmJsonReaderImp.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "CoUtf8.h"

#include <algorithm>
#include <cstring>

namespace dmJson
{
namespace
{

DmString versionText(const DmVersion& version)
{
    DmString text;
    const std::string narrow = version.toString();
    return dmFromUtf8(narrow, text) ? text : DmString();
}

/// Puts an object into a slot of another, `put` being told the field.
template <class Field, class Put>
eDmErrorId hold(DmPropertySet& owner, int index, const DmPropertySetPtr& held, Put put)
{
    const DmPropertyDef& def = *owner.classData().at(index);
    if (owner.isFrozen())
        return DM_CANNOT_LOCK;
    if (const eDmErrorId status = DmSetAccess::checkSlot(owner, def, held.get()); status != DM_NO_ERROR)
        return status;
    put(*static_cast<Field*>(DmSetAccess::field(owner, index, def)));
    DmSetAccess::changed(owner, def);
    return DM_NO_ERROR;
}

/// What a document says replaces what a fresh object holds.
template <class T>
void clearList(DmPropertySet& owner, int index)
{
    if constexpr (dmIsVector<T>)
        static_cast<T*>(DmSetAccess::field(owner, index, *owner.classData().at(index)))->clear();
}

} // namespace

DmString quoted(std::string_view text)
{
    constexpr std::size_t enough = 1024;
    if (text.size() > enough)
        text = text.substr(0, DM::CoUtf8::cut(text.data(), enough));
    DmString wide;
    return dmFromUtf8(text, wide) ? wide : DmString();
}

// Ignored, VersionNumbers

void Ignored::object(Reader& reader)
{
    reader.open<Ignored>();
}

void VersionNumbers::key(Reader& /*reader*/, std::string_view name)
{
    _current = name == versionKeys().major ? Major : name == versionKeys().minor ? Minor : Other;
    if (_current != Other)
        _numbers[_current].reset();
}

void VersionNumbers::scalar(Reader& /*reader*/, const Scalar& value)
{
    int number = 0;
    if (_current != Other && toInt(value, number))
        _numbers[_current] = number;
}

Outcome VersionNumbers::close(Reader& reader)
{
    Outcome outcome;
    outcome.isVersion = true;
    if (!complete())
        outcome.fault = reader.fault({.kind = Fault::VersionShape});
    else if (const DmVersion version(*_numbers[Major], *_numbers[Minor]); version > DmVersion::getCurrent())
        outcome.fault = reader.fault(
            {.kind = Fault::Version, .name = versionText(version), .other = versionText(DmVersion::getCurrent())});
    return outcome;
}

// Slot

void Slot::key(Reader& reader, std::string_view name)
{
    _atVersion = name == versionKeys().version;
    if (!_atVersion)
        _current = &reader.classOf(name);
    if (_kind == VersionEntry)
    {
        if (!_numbers)
            _numbers = std::make_unique<VersionNumbers>();
        _numbers->key(reader, name);
    }
}

bool Slot::begin()
{
    if (_class && _class != _current)
        _second = _current;
    else
    {
        _class = _current;
        _fault.reset();
    }
    return !_second;
}

/// A value of a class that is no object.
void Slot::refuse(Reader& reader, Fault::Kind entryKind)
{
    if (_atVersion)
    {
        if (!isEntry())
            _versionFault = reader.fault({.kind = Fault::VersionShape});
    }
    else if (begin())
    {
        if (isEntry())
            _fault = reader.fault({.kind = entryKind, .code = DM_BAD_VALUE, .name = _holder->_name});
        else
            _fault = reader.fault({.kind = Fault::Instantiate,
                                   .code = _class->creator ? DM_BAD_PROPERTY_TYPE : DM_PROPERTY_NOT_FOUND,
                                   .name = _class->name});
    }
}

void Slot::scalar(Reader& reader, const Scalar& value)
{
    if (_numbers)
        _numbers->scalar(reader, value);
    refuse(reader, Fault::EntryScalar);
}

void Slot::array(Reader& reader)
{
    refuse(reader, Fault::EntryArray);
    reader.open<Ignored>();
}

void Slot::object(Reader& reader)
{
    if (_atVersion && !isEntry())
        return reader.open<VersionNumbers>();
    if (_atVersion || !begin())
        return reader.open<Ignored>();
    _set.reset();
    const eDmErrorId status = Reader::create(_class->creator, _set);
    if (status == DM_NO_ERROR)
        return reader.open<Members>(reader, *_set, *_class);
    _fault = reader.fault({.kind = Fault::Instantiate, .code = status, .name = _class->name});
    reader.open<Ignored>();
}

void Slot::take(Reader& /*reader*/, Outcome&& outcome)
{
    if (outcome.isVersion)
        _versionFault = std::move(outcome.fault);
    else if (outcome.fault)
        _fault = std::move(outcome.fault);
}

/// An empty object stands for a default one, where the slot says of which class.
void Slot::closeEmpty(Reader& reader)
{
    if (_kind == Document || _kind == Nested)
        return;
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = _holder->_held ? factory.findCreator(_holder->_held->name) : nullptr;
    eDmErrorId status = DM_BAD_VALUE;
    if (creator)
        status = Reader::create(creator, _set);
    if (status != DM_NO_ERROR && (creator || isEntry()))
        _fault = reader.fault({.kind = Fault::Property, .code = status, .name = _holder->_name});
}

Outcome Slot::close(Reader& reader)
{
    if (_numbers && _numbers->complete())
        return _numbers->close(reader);
    if (_second && !_fault)
        _fault = reader.fault({.kind = Fault::Classes, .name = _class->name, .other = _second->name});
    if (!_class)
        closeEmpty(reader);
    if (_versionFault) // the walk looks at the version first
        _fault = std::move(_versionFault);
    return {std::move(_set), std::move(_fault), false};
}

// Members

ShortName::ShortName(std::string_view text)
    : _text(text)
{
    const auto load = [&text]<class Word>(std::size_t at, Word word)
    {
        std::memcpy(&word, text.data() + at, sizeof word);
        return word;
    };
    const std::size_t size = text.size();
    if (size >= 8)
    {
        _head = load(0, std::uint64_t());
        _tail = load(size - 8, std::uint64_t());
    }
    else if (size >= 4)
    {
        _head = load(0, std::uint32_t());
        _tail = load(size - 4, std::uint32_t());
    }
    else
    {
        _head = size > 0 ? load(0, std::uint8_t()) + 256U * load(size / 2, std::uint8_t()) : 0;
        _tail = size > 0 ? load(size - 1, std::uint8_t()) : 0;
    }
}

Members::Members(Reader& reader, DmPropertySet& set, ClassEntry& classEntry)
    : _set(&set)
    , _data(&set.classData())
    , _class(&classEntry)
    , _seen(reader.seen.size())
{
    const int count = _data->size();
    reader.seen.resize(_seen + static_cast<std::size_t>(count));
    if (classEntry.properties.empty())
        for (int i = 0; i < count; ++i)
            classEntry.properties.emplace_back(_data->at(i)->_utf8Name);
}

void Members::find(std::string_view name)
{
    const ShortName wanted(name);
    const std::vector<ShortName>& names = _class->properties;
    const auto from = names.begin() + _next;
    auto found = std::find(from, names.end(), wanted);
    if (found == names.end())
    {
        found = std::find(names.begin(), from, wanted);
        if (found == from)
        {
            _index = Unknown;
            return;
        }
    }
    _index = static_cast<int>(found - names.begin());
    _next = _index + 1;
}

void Members::key(Reader& reader, std::string_view name)
{
    find(name);
    if (_index >= 0)
    {
        std::vector<bool>::reference seen = reader.seen[_seen + static_cast<std::size_t>(_index)];
        if (seen)
            restart();
        seen = true;
        return;
    }
    if (name == versionKeys().version)
        _index = Skipped;
    else
        reader.unknownName = name;
}

/// A member that comes again: what came before it counts no more. A number or a text is set anew anyway.
void Members::restart()
{
    if (_faults)
        std::erase_if(*_faults, [this](const MemberFault& fault) { return fault.name == def()._utf8Name; });
    if (!_untouched && Reader::create(_class->creator, _untouched) != DM_NO_ERROR)
        return;
    dmVisitStorage(def()._type,
                   [this]<class T>(std::type_identity<T>)
                   {
                       if constexpr (dmIsVector<T> || std::same_as<T, DmPropertySetPtr> ||
                                     std::same_as<T, DmPropertySetMap>)
                           *static_cast<T*>(DmSetAccess::field(*_set, _index, def())) =
                               *static_cast<const T*>(_untouched->fieldOf(_index));
                   });
}

void Members::add(Reader& reader, Group group, FaultPtr fault)
{
    if (!_faults)
        _faults = std::make_unique<std::vector<MemberFault>>();
    const bool known = _index >= 0;
    MemberFault added{group, known, known ? def()._utf8Name : reader.unknownName, std::move(fault)};
    // Of unknown names, which a document may hold without number, the first is enough: it stays one.
    const auto unknown = known ? _faults->end()
                               : std::find_if(_faults->begin(), _faults->end(),
                                              [](const MemberFault& earlier) { return !earlier.known; });
    if (unknown == _faults->end())
        _faults->push_back(std::move(added));
    else if (!(*unknown < added))
        *unknown = std::move(added);
}

void Members::refuse(Reader& reader, Group group, Fault&& fault)
{
    fault.name = _index >= 0 ? def()._name : quoted(reader.unknownName);
    add(reader, group, reader.fault(std::move(fault)));
}

void Members::scalar(Reader& reader, const Scalar& value)
{
    if (_index == Skipped)
        return;
    const eDmErrorId status = _index >= 0 ? store(*_set, _index, value) : DM_PROPERTY_NOT_FOUND;
    if (status == DM_NO_ERROR)
        return;
    char buffer[numberSize];
    const std::string_view text = textOf(value, buffer);
    refuse(reader, Scalars,
           {.kind = Fault::FromText,
            .code = status,
            .other = quoted(text.empty() ? value.text : text),
            .set = DmPropertySetPtr(_set)});
}

void Members::object(Reader& reader)
{
    _group = Objects;
    if (_index == Skipped)
        return reader.open<Ignored>();
    if (_index == Unknown)
    {
        refuse(reader, Objects, {.kind = Fault::PropertyType, .code = DM_PROPERTY_NOT_FOUND});
        return reader.open<Ignored>();
    }
    if (def()._type == DM_PROPERTY_SET)
        return reader.open<Slot>(Slot::Nested, &def());
    if (def()._type == DM_MAP_PROPERTY_SET)
        return reader.open<Entries>(*_set, _index);
    refuse(reader, Objects, {.kind = Fault::Property, .code = DM_BAD_PROPERTY_TYPE});
    reader.open<Ignored>();
}

void Members::array(Reader& reader)
{
    _group = Arrays;
    if (_index == Skipped)
        return reader.open<Ignored>();
    if (_index == Unknown)
    {
        refuse(reader, Arrays, {.kind = Fault::PropertyType, .code = DM_PROPERTY_NOT_FOUND});
        return reader.open<Ignored>();
    }
    const eDmPropType type = def()._type;
    if (type == DM_VECTOR_PROPERTY_SET)
        return reader.open<Elements>(*_set, _index);
    if (type == DM_CDATA || dmIsVectorOfValues(type))
        return reader.open<Values>(*_set, _index);
    refuse(reader, Arrays, {.kind = Fault::Property, .code = DM_BAD_PROPERTY_TYPE});
    reader.open<Ignored>();
}

void Members::take(Reader& reader, Outcome&& outcome)
{
    if (outcome.fault)
        return add(reader, _group, std::move(outcome.fault));
    if (!outcome.set)
        return;
    const eDmErrorId status =
        hold<DmPropertySetPtr>(*_set, _index, outcome.set, [&](DmPropertySetPtr& field) { field.swap(outcome.set); });
    if (status != DM_NO_ERROR)
        refuse(reader, Objects, {.kind = Fault::Property, .code = status});
}

Outcome Members::close(Reader& reader)
{
    reader.seen.resize(_seen);
    if (!_faults || _faults->empty())
        return {};
    return {{}, std::move(std::min_element(_faults->begin(), _faults->end())->fault), false};
}

// Entries

void Entries::key(Reader& /*reader*/, std::string_view name)
{
    if (!dmFromUtf8(name, _key))
        _key.clear();
}

/// The entry that was read is done: a fault of the same key that came before counts no more.
void Entries::finish(FaultPtr fault)
{
    ++_count;
    if (fault)
        _faults[_key] = {_count, std::move(fault)};
    else
        _faults.erase(_key);
}

void Entries::refuse(Reader& reader, Fault::Kind kind)
{
    finish(reader.fault({.kind = kind, .code = DM_BAD_VALUE, .name = def()._name}));
}

void Entries::object(Reader& reader)
{
    const bool isEmpty = _key.empty();
    if (isEmpty || _key.view().find(L'\0') != std::wstring_view::npos)
    {
        finish(
            reader.fault({.kind = Fault::MapKey, .code = isEmpty ? DM_EMPTY_ID : DM_BAD_VALUE, .name = def()._name}));
        return reader.open<Ignored>();
    }
    reader.open<Slot>(_key == DmVersion::getKey() ? Slot::VersionEntry : Slot::Entry, &def());
}

void Entries::array(Reader& reader)
{
    refuse(reader, Fault::EntryArray);
    reader.open<Ignored>();
}

void Entries::take(Reader& reader, Outcome&& outcome)
{
    const bool isRefused = !outcome.set && !outcome.fault && !outcome.isVersion;
    if (outcome.set && !outcome.fault)
    {
        const eDmErrorId status = hold<DmPropertySetMap>(
            *_owner, _index, outcome.set,
            [&](DmPropertySetMap& map) { map.try_emplace(map.end(), _key)->second.swap(outcome.set); });
        if (status != DM_NO_ERROR)
            outcome.fault = reader.fault({.kind = Fault::Property, .code = status, .name = def()._name});
    }
    if (!isRefused)
        finish(std::move(outcome.fault));
}

Outcome Entries::close(Reader& /*reader*/)
{
    const auto first = std::min_element(_faults.begin(), _faults.end(),
                                        [](const auto& a, const auto& b) { return a.second.first < b.second.first; });
    return {{}, first == _faults.end() ? FaultPtr() : std::move(first->second.second), false};
}

// Elements

Elements::Elements(DmPropertySet& owner, int index)
    : _owner(&owner)
    , _index(index)
{
    clearList<DmPropertySetVector>(owner, index);
}

void Elements::refuse(Reader& reader, eDmErrorId code)
{
    if (!_fault)
        _fault = reader.fault({.kind = Fault::Property, .code = code, .name = _owner->classData().at(_index)->_name});
}

void Elements::object(Reader& reader)
{
    reader.open<Slot>(Slot::Element, _owner->classData().at(_index));
}

void Elements::array(Reader& reader)
{
    refuse(reader, DM_BAD_PROPERTY_TYPE);
    reader.open<Ignored>();
}

void Elements::take(Reader& reader, Outcome&& outcome)
{
    if (_fault)
        return;
    if (outcome.fault)
    {
        _fault = std::move(outcome.fault);
        return;
    }
    const eDmErrorId status = hold<DmPropertySetVector>(
        *_owner, _index, outcome.set, [&](DmPropertySetVector& list) { list.push_back(std::move(outcome.set)); });
    if (status != DM_NO_ERROR)
        refuse(reader, status);
}

// Values

Values::Values(DmPropertySet& owner, int index)
    : _owner(&owner)
    , _index(index)
{
    dmVisitStorage(def()._type, [&]<class T>(std::type_identity<T>) { clearList<T>(owner, index); });
}

void Values::refuse(Reader& reader, eDmErrorId code)
{
    if (!_fault)
        _fault = reader.fault({.kind = Fault::Property, .code = code, .name = def()._name});
}

void Values::scalar(Reader& reader, const Scalar& value)
{
    if (!isText())
    {
        if (const eDmErrorId status = store(*_owner, _index, value); status != DM_NO_ERROR)
            refuse(reader, status);
        return;
    }
    char buffer[numberSize];
    const std::string_view line = textOf(value, buffer);
    if (_any)
        _lines += '\n';
    _lines += line;
    _any = true;
    _lastEmpty = line.empty();
}

void Values::object(Reader& reader)
{
    refuse(reader, DM_BAD_PROPERTY_TYPE);
    reader.open<Ignored>();
}

/// The lines become one text. Its last line end is not written; so a last line that is empty stands for one more.
Outcome Values::close(Reader& reader)
{
    if (isText() && !_fault)
    {
        if (_lastEmpty)
            _lines += '\n';
        if (const eDmErrorId status = store(*_owner, _index, {Scalar::String, _lines}); status != DM_NO_ERROR)
            refuse(reader, status);
    }
    return {{}, std::move(_fault), false};
}

} // namespace dmJson
