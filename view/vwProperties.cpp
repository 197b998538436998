#include "vwProperties.h"

#include "CoNumber.h"
#include "dmNoTime.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

namespace view
{
namespace
{

constexpr int deepest = 8;     ///< a set below this is left out: properties of properties of an input go to 3
constexpr int longestList = 4; ///< of the elements of a list, so many are shown
constexpr int longestStrings = 16;

void walk(const DmPropertySet& set, const std::string& prefix, std::initializer_list<std::wstring_view> skip, int depth,
          PropertySink& sink);

template <class T>
T valueOf(const DmPropertySet& set, int index, const DmPropertyDef& def)
{
    T value{};
    return set.getPropertyValue(index, def._type, &value) == DM_NO_ERROR ? value : T{};
}

/// Equal to a value that says nothing: the default of an optional property, or what a fresh instance holds.
template <class T>
bool saysNothing(const T& value, const DmPropertyDef& def)
{
    if constexpr (std::is_floating_point_v<T>)
        if (std::isnan(value))
            return false;
    if (def._default && def._skipIfDefault)
        return value == *static_cast<const T*>(def._default);
    return value == T{};
}

void element(const DmPropertySetPtr& held, const std::string& path, int depth, PropertySink& sink)
{
    if (!held)
        return;
    walk(*held, path, {}, depth + 1, sink);
}

void list(const DmPropertySet& set, int index, const DmPropertyDef& def, const std::string& path, int depth,
          PropertySink& sink)
{
    int size = 0;
    if (set.getListSize(index, def._type, size) != DM_NO_ERROR || size == 0)
        return;
    if (def._type == DM_VECTOR_PROPERTY_SET)
    {
        if (size > longestList)
            sink.text(path, std::to_string(size) + " elements");
        for (int i = 0; i < std::min(size, longestList); ++i)
        {
            DmPropertySetPtr held;
            if (set.getValueFromPropertyList(index, def._type, i, &held) == DM_NO_ERROR)
                element(held, path + '[' + std::to_string(i) + ']', depth, sink);
        }
        return;
    }
    std::string text;
    dmVisitStorage(def._type,
                   [&]<class Storage>(std::type_identity<Storage>)
                   {
                       if constexpr (dmIsVector<Storage>)
                           if constexpr (!std::is_same_v<typename Storage::value_type, DmPropertySetPtr>)
                               for (int i = 0; i < std::min(size, longestStrings); ++i)
                               {
                                   typename Storage::value_type value{};
                                   if (set.getValueFromPropertyList(index, def._type, i, &value) != DM_NO_ERROR)
                                       return;
                                   text += i == 0 ? "" : ", ";
                                   if constexpr (std::is_same_v<typename Storage::value_type, DmString>)
                                       text += dmUtf8(value);
                                   else
                                       text += std::to_string(value);
                               }
                   });
    if (size > longestStrings)
        text += ", ... (" + std::to_string(size) + ')';
    sink.text(path, text);
}

void map(const DmPropertySet& set, int index, const DmPropertyDef& def, const std::string& path, int depth,
         PropertySink& sink)
{
    DmStringArray keys;
    if (set.getKeysFromPropertyMap(index, def._type, keys) != DM_NO_ERROR)
        return;
    for (const DmString& key : keys)
    {
        DmPropertySetPtr held;
        if (set.getValueFromPropertyMap(index, def._type, key, &held) != DM_NO_ERROR || !held)
            continue;
        DmString name; // mostly the key, which is said already
        const bool isKey = held->getPropertyValue(L"name", DM_STRING, &name) == DM_NO_ERROR && name == key;
        const std::string inside = path + '{' + dmUtf8(key) + '}';
        if (isKey)
            walk(*held, inside, {L"name"}, depth + 1, sink);
        else
            walk(*held, inside, {}, depth + 1, sink);
    }
}

/// A float as its own digits say it: 0.94, not the double that lies nearest to it.
template <class Number>
double readable(Number value)
{
    if constexpr (std::is_same_v<Number, float>)
        return readableFloat(value);
    else
        return static_cast<double>(value);
}

void single(const DmPropertySet& set, int index, const DmPropertyDef& def, const std::string& path, int depth,
            PropertySink& sink)
{
    dmVisitStorage(def._type,
                   [&]<class Storage>(std::type_identity<Storage>)
                   {
                       if constexpr (std::is_same_v<Storage, DmPropertySetPtr>)
                           element(valueOf<DmPropertySetPtr>(set, index, def), path, depth, sink);
                       else if constexpr (DmAtomicStorage<Storage>)
                       {
                           const auto value = valueOf<Storage>(set, index, def);
                           if (saysNothing(value, def))
                               return;
                           if constexpr (std::is_same_v<Storage, DmString>)
                               sink.text(path, dmUtf8(value));
                           else if constexpr (std::is_same_v<Storage, bool>)
                               sink.text(path, value ? "yes" : "no");
                           else if (std::isfinite(static_cast<double>(value)) && static_cast<double>(value) != dmNoTime)
                               sink.number(path, readable(value));
                           else if (static_cast<double>(value) == dmNoTime)
                               sink.text(path, "not set");
                           else
                               sink.text(path, std::isnan(static_cast<double>(value)) ? "not a number" : "infinite");
                       }
                   });
}

void walk(const DmPropertySet& set, const std::string& prefix, std::initializer_list<std::wstring_view> skip, int depth,
          PropertySink& sink)
{
    if (depth > deepest)
        return;
    const DmPropertySetData& table = set.classData();
    for (int i = 0; i < table.size(); ++i)
    {
        const DmPropertyDef& def = *table.at(i);
        if (!set.isPropertyRelevant(i) || std::find(skip.begin(), skip.end(), def._name.view()) != skip.end())
            continue;
        const std::string path = prefix.empty() ? def._utf8Name : prefix + '/' + def._utf8Name;
        if (def._type == DM_MAP_PROPERTY_SET)
            map(set, i, def, path, depth, sink);
        else if (dmIsAtomic(def._type))
            single(set, i, def, path, depth, sink);
        else
            list(set, i, def, path, depth, sink);
    }
}

} // namespace

double readableFloat(float value)
{
    std::array<char, 24> text{};
    const char* const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return DM::CoNumber::whole({text.data(), end}).value_or(static_cast<double>(value));
}

void forEachProperty(const DmPropertySet& set, std::initializer_list<std::wstring_view> skip, PropertySink& sink)
{
    walk(set, {}, skip, 0, sink);
}

} // namespace view
