#include "dmJsonWriterImp.h"

#include "dmJsonFormatImp.h"
#include "dmJsonTextImp.h"
#include "dmNumberAtImp.h"
#include "dmPSetHelper.h"
#include "dmPropertyText.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "zrAssert.h"
#include "zrPost.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace dmJson
{
namespace
{

/// A value for which JSON has no word.
[[noreturn]] void cannotWrite(const DmPropertySet& set, const DmPropertyDef& def, const char* what)
{
    ZR_POST_ERROR("In PropertySet %ls. Property \"%ls\" %s", set.getPSetName().c_str(), def._name.c_str(), what);
    throw WriteFailed("Json exception");
}

[[noreturn]] void failed(eDmErrorId status)
{
    throw WriteFailed(dmUtf8(DmPSetHelper::getStrFromError(status)));
}

template <bool isPretty>
class Walk
{
public:
    explicit Walk(Output& output)
        : _output(output)
        , _text(output)
    {
    }

    void document(const DmPropertySet& root)
    {
        begin('{');
        Place place{nullptr, nullptr, &root, Place::Top};
        properties(place);
        if (place.isOpen)
            _text.end('}');
        version();
        _text.end('}');
    }

private:
    using Name = typename JsonText<isPretty>::Name;

    /// What is the same in all objects of a class. Names are empty where UTF-8 has not what they hold.
    struct Property
    {
        const DmPropertyDef* def;
        Name name;
        bool isInside;  ///< as the definition has it
        bool isSkipped; ///< as long as the object shares the rare block that it lies in
        /// Of a field inside the object that is left out at its default: the bytes of a number, or a text that is
        /// empty. Most fields are, so that they are looked at before anything is done by type: a fifth of a save's time
        /// went into that.
        enum AtDefault : std::uint8_t
        {
            Unknown,
            Byte,
            FourBytes,
            EightBytes,
            EmptyText
        } atDefault;
        std::uint64_t bytes;
    };
    struct Class
    {
        Name name;
        std::vector<Property> properties;
    };

    /// Where a set's object goes. It is begun with the first property that is written: a set that writes none leaves no
    /// trace there, nor do those that hold nothing but it.
    struct Place
    {
        enum Kind
        {
            Top,    ///< in the document's own object
            Member, ///< under a property's name
            Element ///< in an array, or under a name that is written already
        };

        Place* above;
        const DmPropertyDef* def;
        const DmPropertySet* set;
        Kind kind;
        bool isOpen = false;
        std::size_t at = 0; ///< the property that is being written
        const Class* type = nullptr;
    };

    void open(Place& place)
    {
        if (place.isOpen)
            return;
        if (place.kind == Place::Member)
            member(*place.above, *place.def);
        if (place.kind != Place::Top)
            begin('{');
        if (!place.type->name.empty())
            _text.member(place.type->name);
        else // that of a set which was made without the factory has none yet
            name(place.set->getPSetName());
        begin('{');
        place.isOpen = true;
    }

    void close(const Place& place)
    {
        if (!place.isOpen)
            return;
        _text.end('}');
        _text.end('}');
    }

    void properties(Place& place)
    {
        const DmPropertySet& set = *place.set;
        if (++_sets > maxDepth / 2)
            tooDeep();
        place.type = &classOf(set);
        const DmRareBlock* block = nullptr; ///< the one that was looked at last
        bool isShared = false;
        for (place.at = 0; place.at < place.type->properties.size(); ++place.at)
        {
            const Property& known = place.type->properties[place.at];
            if (isAtDefault(set, known))
                continue;
            if (known.isSkipped)
            {
                if (std::exchange(block, known.def->_rare) != known.def->_rare)
                    isShared = DmSetAccess::isShared(set, *known.def);
                if (isShared)
                    continue;
            }
            property(place, static_cast<int>(place.at), known);
        }
        --_sets;
    }

    /// False for what is to be looked at more closely, too.
    static bool isAtDefault(const DmPropertySet& set, const Property& known)
    {
        const void* const field = reinterpret_cast<const char*>(&set) + known.def->_offset;
        switch (known.atDefault)
        {
        case Property::Byte:
            return dmNumberAt<std::uint8_t>(field) == known.bytes;
        case Property::FourBytes:
            return dmNumberAt<std::uint32_t>(field) == known.bytes;
        case Property::EightBytes:
            return dmNumberAt<std::uint64_t>(field) == known.bytes;
        case Property::EmptyText:
            return static_cast<const DmString*>(field)->empty();
        case Property::Unknown:
            break;
        }
        return false;
    }
    static void addDefault(Property& known)
    {
        const DmPropertyDef& def = *known.def;
        if (!known.isInside || !def._skipIfDefault || !def._default)
            return;
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>)
                       {
                           if constexpr (DmNumberStorage<T>)
                           {
                               if constexpr (std::is_floating_point_v<T>)
                                   if (std::isnan(dmNumberAt<T>(def._default)))
                                       return; // what is no number is never at its default
                               known.atDefault = sizeof(T) == 1   ? Property::Byte
                                                 : sizeof(T) == 4 ? Property::FourBytes
                                                 : sizeof(T) == 8 ? Property::EightBytes
                                                                  : Property::Unknown;
                               std::memcpy(&known.bytes, def._default, std::min(sizeof(T), sizeof known.bytes));
                           }
                           else if constexpr (std::same_as<T, DmString>)
                               known.atDefault = static_cast<const DmString*>(def._default)->empty()
                                                     ? Property::EmptyText
                                                     : Property::Unknown;
                       });
    }

    /// Whether a property is worth saving, without a call for those that are compared with their default quickly.
    template <class T>
    static bool isRelevant(const DmPropertySet& set, int index, const DmPropertyDef& def, const void* field)
    {
        if (!def._skipIfDefault)
            return true;
        if (!def._default)
            return set.isPropertyRelevant(index);
        if constexpr (DmNumberStorage<T>)
            return dmNumberAt<T>(field) != dmNumberAt<T>(def._default);
        else if constexpr (std::same_as<T, DmString>)
            return !(*static_cast<const DmString*>(field) == *static_cast<const DmString*>(def._default));
        else
            return set.isPropertyRelevant(index);
    }

    void property(Place& place, int index, const Property& known)
    {
        const DmPropertyDef& def = *known.def;
        const void* const field =
            known.isInside ? reinterpret_cast<const char*>(place.set) + def._offset : place.set->fieldOf(index);
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>)
                       {
                           if constexpr (std::is_void_v<T>)
                           {
                               if (place.set->isPropertyRelevant(index))
                                   unsupported(def);
                           }
                           else if (!isRelevant<T>(*place.set, index, def, field))
                               return;
                           else if constexpr (DmNumberStorage<T>)
                           {
                               if constexpr (sizeof(T) > 1 || std::same_as<T, bool>)
                                   if (!def._serializer)
                                       return number(place, def, dmNumberAt<T>(field));
                               serialized(place, def, field);
                           }
                           else if constexpr (std::same_as<T, DmPropertySetPtr>)
                               propertySetToJson(*place.set, def._type, index, place);
                           else if constexpr (std::same_as<T, DmPropertySetVector>)
                               propertySetListToJson(*place.set, def._type, index, place);
                           else if constexpr (std::same_as<T, DmPropertySetMap>)
                               propertySetMapToJson(*place.set, def._type, index, place);
                           else if constexpr (dmIsVector<T>)
                               values(place, def, place.set->template valuesOf<typename T::value_type>(index));
                           else
                               value(place, def, *static_cast<const T*>(field));
                       });
    }

    void member(Place& place, const DmPropertyDef& def)
    {
        member(place, def, 0, [](char* to) { return to; });
    }
    template <class Write>
    void member(Place& place, const DmPropertyDef& def, std::size_t most, const Write& write)
    {
        open(place);
        if (const Name& known = place.type->properties[place.at].name; !known.empty())
            return _text.member(known, most, write);
        name(def._name);
        _text.value(most, write);
    }

    const Class& classOf(const DmPropertySet& set)
    {
        const DmPropertySetData& data = set.classData();
        if (_last.first == &data)
            return *_last.second;
        const auto [found, isNew] = _classes.try_emplace(&data);
        Class& type = found->second;
        if (isNew)
        {
            type.name = spell(data.className());
            for (int i = 0; i < data.size(); ++i)
            {
                const DmPropertyDef& def = *data.at(i);
                type.properties.push_back(
                    {&def, spell(def._name), def._isInside, isSkippedWhenShared(def), Property::Unknown, 0});
                addDefault(type.properties.back());
            }
        }
        _last = {&data, &type};
        return type;
    }

    /// Most fields of rare blocks are at their default in the block that objects share.
    static bool isSkippedWhenShared(const DmPropertyDef& def)
    {
        if (!def._rare || !def._skipIfDefault || !def._default)
            return false;
        const DmRares none;
        const void* const field = static_cast<const char*>(def._rare->read(&none)) + def._offset;
        return dmVisitStorage(def._type,
                              [&]<class T>(std::type_identity<T>)
                              {
                                  if constexpr (DmNumberStorage<T>)
                                      return dmNumberAt<T>(field) == dmNumberAt<T>(def._default);
                                  else if constexpr (std::same_as<T, DmString>)
                                      return *static_cast<const DmString*>(field) ==
                                             *static_cast<const DmString*>(def._default);
                                  return false;
                              });
    }

    Name spell(const DmString& name)
    {
        _spelling.empty(); // of a name that could not be spelt
        _spelling.text().clear();
        JsonText<isPretty> text(_spelling);
        if (name.empty() || !text.string(name.view()))
            return {};
        text.colon();
        _spelling.empty();
        return Name(_spelling.text());
    }

    template <class T>
    void number(Place& place, const DmPropertyDef& def, T value)
    {
        if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(value))
                cannotWrite(*place.set, def, "is no finite number");
        member(place, def, numberSize,
               [value](char* to)
               {
                   if constexpr (std::same_as<T, bool>)
                   {
                       const std::string_view word = value ? "true" : "false";
                       return std::copy(word.begin(), word.end(), to);
                   }
                   else if constexpr (std::is_floating_point_v<T>)
                       return writeDouble(value, to);
                   else
                       return std::to_chars(to, to + numberSize, value).ptr;
               });
    }

    /// A character, or what has a text form of its class's.
    void serialized(Place& place, const DmPropertyDef& def, const void* value)
    {
        const DmString text = textOf(def, value);
        if (text.empty())
            return;
        member(place, def);
        string(*place.set, def, text.view());
    }

    void value(Place& place, const DmPropertyDef& def, const DmString& text)
    {
        if (def._serializer)
            serialized(place, def, &text);
        else if (!text.empty())
        {
            member(place, def);
            if (def._type == DM_CDATA)
                lines(*place.set, def, text.view());
            else
                string(*place.set, def, text.view());
        }
    }

    // What a property of a set holds, into the place where the set itself goes.

    /// Nothing for a set that writes nothing.
    void propertySetToJson(const DmPropertySet& set, eDmPropType type, int index, Place& json)
    {
        ZR_ASSERT_SOFT(type == DM_PROPERTY_SET);
        const auto* const held = static_cast<const DmPropertySetPtr*>(set.fieldOf(index))->get();
        if (!held)
            return;
        Place below{&json, set.classData().at(index), held, Place::Member};
        properties(below);
        close(below);
    }

    void propertySetListToJson(const DmPropertySet& set, eDmPropType type, int index, Place& json)
    {
        ZR_ASSERT_SOFT(type == DM_VECTOR_PROPERTY_SET);
        member(json, *set.classData().at(index));
        begin('[');
        const DmListWindow<DmPropertySet> elements = set.elementsOf(index);
        const double part = _part; // of the document, that the list is taken to be
        _part = part / static_cast<double>(std::max<std::size_t>(elements.size(), 1));
        double reached = _reached;
        for (const DmPropertySet* const held : elements)
        {
            _output.reached(_reached = reached);
            _text.next();
            element(held);
            reached += _part;
        }
        _part = part;
        _text.end(']');
    }

    void propertySetMapToJson(const DmPropertySet& set, eDmPropType type, int index, Place& json)
    {
        ZR_ASSERT_SOFT(type == DM_MAP_PROPERTY_SET);
        const DmPropertyDef& def = *set.classData().at(index);
        member(json, def);
        begin('{');
        for (const auto& [key, held] : *static_cast<const DmPropertySetMap*>(set.fieldOf(index)))
        {
            _text.next();
            string(set, def, key.view());
            _text.colon();
            element(held.get());
        }
        _text.end('}');
    }

    template <class Element>
    void values(Place& place, const DmPropertyDef& def, std::span<const Element> list)
    {
        member(place, def);
        begin('[');
        for (const Element& one : list)
        {
            _text.next();
            listed(*place.set, def, one);
        }
        _text.end(']');
    }

    void element(const DmPropertySet* held)
    {
        Place place{nullptr, nullptr, held, Place::Element};
        if (held)
            properties(place);
        if (place.isOpen)
            return close(place);
        begin('{');
        _text.end('}');
    }

    /// An element of a vector of values is a string, whatever it is.
    template <class Element>
    void listed(const DmPropertySet& set, const DmPropertyDef& def, const Element& one)
    {
        if (def._serializer)
            string(set, def, textOf(def, &one).view());
        else if constexpr (std::same_as<Element, DmString>)
            string(set, def, one.view());
        else
        {
            char buffer[numberSize];
            std::to_chars_result result{};
            if constexpr (std::is_floating_point_v<Element>)
            {
                if (!std::isfinite(one))
                    cannotWrite(set, def, "holds a number that is not finite");
                result = std::to_chars(buffer, buffer + numberSize, one, std::chars_format::general,
                                       std::numeric_limits<Element>::max_digits10);
            }
            else
                result = std::to_chars(buffer, buffer + numberSize, one);
            _text.asciiString({buffer, static_cast<std::size_t>(result.ptr - buffer)});
        }
    }

    /// A final line end is understood: it adds no empty line.
    void lines(const DmPropertySet& set, const DmPropertyDef& def, std::wstring_view text)
    {
        begin('[');
        for (std::size_t at = 0; at < text.size();)
        {
            const std::size_t end = std::min(text.find(L'\n', at), text.size());
            _text.next();
            string(set, def, text.substr(at, end - at));
            at = end + 1;
        }
        _text.end(']');
    }

    void string(const DmPropertySet& set, const DmPropertyDef& def, std::wstring_view text)
    {
        if (!_text.string(text))
            cannotWrite(set, def, "holds a character that UTF-8 has not");
    }

    static DmString textOf(const DmPropertyDef& def, const void* value)
    {
        DmString text;
        if (const eDmErrorId status = DmPropertySet_Str_Utils::textOfValue(def, value, text); status != DM_NO_ERROR)
            failed(status);
        return text;
    }

    [[noreturn]] static void unsupported(const DmPropertyDef& def)
    {
        ZR_ASSERT_SOFT(!"Unsupported property type!");
        throw WriteFailed("Unsupported property type '" +
                          dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type)) + "'");
    }

    [[noreturn]] static void tooDeep() { throw WriteFailed("The tree is nested too deeply to be read again"); }

    void version()
    {
        int major = 0;
        int minor = 0;
        DmVersion::getCurrent().get(major, minor);
        _text.next();
        _text.asciiString(versionKeys().version);
        _text.colon();
        begin('{');
        for (const auto& [key, number] : {std::pair(&versionKeys().major, major), {&versionKeys().minor, minor}})
        {
            _text.next();
            _text.asciiString(*key);
            _text.colon();
            _text.raw(std::to_string(number));
        }
        _text.end('}');
    }

    void name(const DmString& name)
    {
        _text.next();
        if (!_text.string(name.view()))
            throw WriteFailed("Json exception");
        _text.colon();
    }
    void begin(char bracket)
    {
        if (_text.depth() == maxDepth)
            tooDeep();
        _text.begin(bracket);
    }

    Output& _output;
    JsonText<isPretty> _text;
    double _part = 1.0;    ///< of the document, that is being written
    double _reached = 0.0; ///< where that begins
    std::unordered_map<const DmPropertySetData*, Class> _classes;
    std::pair<const DmPropertySetData*, const Class*> _last; ///< of the set before
    TextOutput _spelling;
    std::size_t _sets = 0; ///< sets that the walk is inside of
};

} // namespace

void writeDocument(const DmPropertySet& root, bool pretty, Output& output)
{
    if (pretty)
        Walk<true>(output).document(root);
    else
        Walk<false>(output).document(root);
    output.empty();
}

} // namespace dmJson
