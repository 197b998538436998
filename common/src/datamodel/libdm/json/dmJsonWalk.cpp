#include "dmJsonWalkImp.h"

#include "dmJsonFormatImp.h"
#include "dmPSetHelper.h"
#include "dmPropertyText.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "zrAssert.h"
#include "zrPost.h"

#include <charconv>
#include <cmath>

namespace dmJson
{
namespace
{

using PrettyWriter = zrRapidjson::PrettyWriter<Output>;
using CompactWriter = zrRapidjson::Writer<Output>;

template <class T>
T numberAt(const void* field)
{
    T value;
    std::memcpy(&value, field, sizeof(T));
    return value;
}

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

template <class Writer>
class Walk
{
public:
    explicit Walk(Output& output)
        : _writer(output)
    {
        if constexpr (std::same_as<Writer, PrettyWriter>)
            _writer.SetIndent('\t', 1);
    }

    void document(const DmPropertySet& root)
    {
        beginObject();
        Place place{nullptr, nullptr, &root, Place::Top};
        properties(place);
        if (place.isOpen)
            endObject();
        version();
        endObject();
    }

private:
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
    };

    void open(Place& place)
    {
        if (place.isOpen)
            return;
        if (place.kind == Place::Member)
        {
            open(*place.above);
            key(place.def->_utf8Name);
        }
        if (place.kind != Place::Top)
            beginObject();
        const std::string& name = place.set->classData().utf8ClassName();
        if (name.empty()) // made without the factory
            key(dmUtf8(place.set->getPSetName()));
        else
            key(name);
        beginObject();
        place.isOpen = true;
    }

    void close(const Place& place)
    {
        if (!place.isOpen)
            return;
        endObject();
        endObject();
    }

    void properties(Place& place)
    {
        const DmPropertySet& set = *place.set;
        if (++_sets > maxDepth / 2)
            tooDeep();
        const int count = set.classData().size();
        for (int i = 0; i < count; ++i)
            if (set.isPropertyRelevant(i))
                property(place, i, *set.classData().at(i));
        --_sets;
    }

    void property(Place& place, int index, const DmPropertyDef& def)
    {
        const void* const field = place.set->fieldOf(index);
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>)
                       {
                           if constexpr (std::is_void_v<T>)
                               unsupported(def);
                           else if constexpr (DmNumberStorage<T>)
                           {
                               if (def._serializer || sizeof(T) == 1)
                                   small(place, def, field);
                               else
                                   number(place, def, numberAt<T>(field));
                           }
                           else if constexpr (std::same_as<T, DmPropertySetVector>)
                               value(place, def, place.set->elementsOf(index));
                           else
                               value(place, def, *static_cast<const T*>(field));
                       });
    }

    void member(Place& place, const DmPropertyDef& def)
    {
        open(place);
        key(def._utf8Name);
    }

    template <class T>
    void number(Place& place, const DmPropertyDef& def, T value)
    {
        if constexpr (std::is_floating_point_v<T>)
        {
            if (!std::isfinite(value))
                cannotWrite(*place.set, def, "is no finite number");
            char buffer[numberSize];
            const std::string_view text = formatDouble(value, buffer);
            member(place, def);
            _writer.RawValue(text.data(), text.size(), zrRapidjson::kNumberType);
        }
        else
        {
            member(place, def);
            if constexpr (std::same_as<T, std::uint64_t>)
                _writer.Uint64(value);
            else if constexpr (std::same_as<T, std::int64_t>)
                _writer.Int64(value);
            else if constexpr (std::same_as<T, std::uint32_t>)
                _writer.Uint(value);
            else
                _writer.Int(value);
        }
    }

    /// A bool, a character, or a number with a text form of its class's.
    void small(Place& place, const DmPropertyDef& def, const void* field)
    {
        if (def._type == DM_BOOL && !def._serializer)
        {
            member(place, def);
            _writer.Bool(numberAt<bool>(field));
        }
        else
            serialized(place, def, field);
    }

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

    void value(Place& place, const DmPropertyDef& def, const DmPropertySetPtr& held)
    {
        if (!held)
            return;
        Place below{&place, &def, held.get(), Place::Member};
        properties(below);
        close(below);
    }

    void value(Place& place, const DmPropertyDef& def, const DmListWindow<DmPropertySet>& list)
    {
        member(place, def);
        beginArray();
        for (const DmPropertySet* const held : list)
            element(held);
        endArray();
    }

    void value(Place& place, const DmPropertyDef& def, const DmPropertySetMap& map)
    {
        member(place, def);
        beginObject();
        for (const auto& [name, held] : map)
        {
            string(*place.set, def, name.view());
            element(held.get());
        }
        endObject();
    }

    template <class Element>
    void value(Place& place, const DmPropertyDef& def, const std::vector<Element>& list)
    {
        member(place, def);
        beginArray();
        for (const Element& one : list)
            listed(*place.set, def, one);
        endArray();
    }

    void element(const DmPropertySet* held)
    {
        Place place{nullptr, nullptr, held, Place::Element};
        if (held)
            properties(place);
        if (place.isOpen)
            return close(place);
        beginObject();
        endObject();
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
            _writer.String(buffer, static_cast<unsigned>(result.ptr - buffer));
        }
    }

    /// A final line end is understood: it adds no empty line.
    void lines(const DmPropertySet& set, const DmPropertyDef& def, std::wstring_view text)
    {
        beginArray();
        for (std::size_t begin = 0; begin < text.size();)
        {
            const std::size_t end = std::min(text.find(L'\n', begin), text.size());
            string(set, def, text.substr(begin, end - begin));
            begin = end + 1;
        }
        endArray();
    }

    void string(const DmPropertySet& set, const DmPropertyDef& def, std::wstring_view text)
    {
        _utf8.clear();
        if (!dmToUtf8(text, _utf8))
            cannotWrite(set, def, "holds a character that UTF-8 has not");
        key(_utf8);
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
        key(versionKeys().version);
        beginObject();
        key(versionKeys().major);
        _writer.Int(major);
        key(versionKeys().minor);
        _writer.Int(minor);
        endObject();
    }

    /// A name, or a string: to the library they are the same.
    void key(const std::string& text) { _writer.String(text.data(), static_cast<unsigned>(text.size())); }
    void enter()
    {
        if (++_depth > maxDepth)
            tooDeep();
    }
    void beginObject()
    {
        enter();
        _writer.StartObject();
    }
    void endObject()
    {
        --_depth;
        _writer.EndObject();
    }
    void beginArray()
    {
        enter();
        _writer.StartArray();
    }
    void endArray()
    {
        --_depth;
        _writer.EndArray();
    }

    Writer _writer;
    std::size_t _depth = 0; ///< open objects and arrays
    std::size_t _sets = 0;  ///< sets that the walk is inside of
    std::string _utf8;
};

} // namespace

void writeDocument(const DmPropertySet& root, bool pretty, Output& output)
{
    if (pretty)
        Walk<PrettyWriter>(output).document(root);
    else
        Walk<CompactWriter>(output).document(root);
}

} // namespace dmJson
