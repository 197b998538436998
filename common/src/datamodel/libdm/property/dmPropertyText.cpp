#include "dmPropertyText.h"

#include "dmNumberText.h"
#include "dmPSetHelper.h"
#include "dmSetTools.h"

#include "zrAssert.h"
#include "zrPost.h"

namespace
{

template <class T>
struct ElementOf
{
    using type = T;
};
template <class T>
struct ElementOf<std::vector<T>>
{
    using type = T;
};

/// Whether a value of a storage type, or each element of it, has a text.
template <class T>
concept HasText = DmNumberStorage<T> || std::same_as<T, DmString>;

/// Calls `visitor` with the C++ type of one value: of the property, or of a vector's element; with void when it has no
/// text.
template <class Visitor>
decltype(auto) visitText(eDmPropType type, Visitor&& visitor)
{
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>)
                          {
                              if constexpr (std::is_void_v<T>)
                                  return visitor(std::type_identity<void>());
                              else
                              {
                                  using Element = typename ElementOf<T>::type;
                                  if constexpr (HasText<Element>)
                                      return visitor(std::type_identity<Element>());
                                  else
                                      return visitor(std::type_identity<void>());
                              }
                          });
}

eDmErrorId notConvertible()
{
    ZR_ASSERT_SOFT(!"Type not implemented!");
    return DM_TYPE_NOT_IMPLEMENTED;
}

template <class T>
eDmErrorId format(T value, DmString& text)
{
    if constexpr (std::same_as<T, signed char>)
    {
        // The character itself, while the unsigned one below is its decimal number: documents hold both forms.
        const auto character = static_cast<wchar_t>(static_cast<unsigned char>(value));
        DmString result(std::wstring_view(&character, 1));
        text.swap(result);
    }
    else
    {
        char buffer[dmNumberText::maxChars];
        const std::string_view narrow = dmNumberText::format(value, buffer);
        if (!text.reallocBuff(static_cast<unsigned>(narrow.size())))
            return DM_BAD_VALUE;
        for (unsigned i = 0; i < narrow.size(); ++i)
            text[i] = static_cast<wchar_t>(narrow[i]);
        text[static_cast<unsigned>(narrow.size())] = 0;
    }
    return DM_NO_ERROR;
}

} // namespace

PSetFuncPair<DmGetValue> DmPropertySet_Str_Utils::getters()
{
    return {DmPropertySet_Atomic_Utils::getAtomicValue, DmPropertySet_Collection_Utils::getValueInList};
}

PSetFuncPair<DmSetValue> DmPropertySet_Str_Utils::setters()
{
    return {DmPropertySet_Atomic_Utils::setAtomicValue, DmPropertySet_Collection_Utils::setValueInList};
}

eDmErrorId DmPropertySet_Str_Utils::textOfValue(const DmPropertyDef& def, const void* value, DmString& text)
{
    return visitText(def._type,
                     [&]<class T>(std::type_identity<T>) -> eDmErrorId
                     {
                         if constexpr (std::is_void_v<T>)
                             return notConvertible();
                         else
                         {
                             if (def._serializer)
                                 return def._serializer(value, text);
                             if constexpr (std::same_as<T, DmString>)
                             {
                                 const auto& from = *static_cast<const DmString*>(value);
                                 text = from;
                                 return text.length() == from.length() ? DM_NO_ERROR : DM_BAD_VALUE;
                             }
                             else
                                 return format(*static_cast<const T*>(value), text);
                         }
                     });
}

eDmErrorId DmPropertySet::getStrFromPropertyValue(int index, eDmPropType type, DmString& out, bool* hasSerializer) const
{
    ZR_ASSERT_SOFT_AS("propertyIdx >= 0", index >= 0);
    ZR_ASSERT_SOFT_AS("propertyIdx < nbProperties", index < _data->size());
    const DmPropertyDef* const property = _data->at(index);
    if (!property)
        return DM_BAD_PROPERTY_TYPE;
    ZR_ASSERT_SOFT(type == property->_type);
    if (type != property->_type)
        return DM_BAD_PROPERTY_TYPE;
    if (hasSerializer)
        *hasSerializer = property->_serializer != nullptr;

    return visitText(
        type,
        [&]<class T>(std::type_identity<T>) -> eDmErrorId
        {
            if constexpr (std::is_void_v<T>)
                return notConvertible();
            else
            {
                T value{};
                const eDmErrorId status = DmPropertySet_Str_Utils::getters().of(type)(*this, index, type, &value);
                return status == DM_NO_ERROR ? DmPropertySet_Str_Utils::textOfValue(*property, &value, out) : status;
            }
        });
}

eDmErrorId DmPropertySet::setPropertyValueFromStr(const DmString& name, const DmString& text)
{
    eDmPropType type = DM_NB_TYPES;
    const eDmErrorId status = getPropertyType(name, type);
    return status == DM_NO_ERROR ? setPropertyValueFromStr(name, type, text) : status;
}

eDmErrorId DmPropertySet::setPropertyValueFromStr(const DmString& name, eDmPropType type, const DmString& text)
{
    const int index = _data->find(name.view());
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
    {
        ZR_POST_DEBUG("In PropertySet %ls. Invalid Property \"%ls\". Property at index %d does not exist",
                      getPSetName().c_str(), name.c_str(), index);
        return DM_PROPERTY_NOT_FOUND;
    }
    if (def->_type != type)
    {
        const DmPSetHelper& helper = DmPSetHelper::getInstance();
        ZR_POST_DEBUG("In PropertySet %ls. Invalid Property Type for %ls. Expected \"%ls\", Received \"%ls\"",
                      getPSetName().c_str(), name.c_str(), helper.getStrFromType(def->_type).c_str(),
                      helper.getStrFromType(type).c_str());
        return DM_BAD_PROPERTY_TYPE;
    }

    const eDmErrorId outcome =
        visitText(type,
                  [&]<class T>(std::type_identity<T>) -> eDmErrorId
                  {
                      if constexpr (std::is_void_v<T>)
                          return notConvertible();
                      else
                      {
                          T value{};
                          if (def->_unserializer)
                          {
                              if (const eDmErrorId status = def->_unserializer(text, &value); status != DM_NO_ERROR)
                                  return status;
                          }
                          else if constexpr (std::same_as<T, DmString>)
                          {
                              value = text;
                              if (value.length() != text.length())
                                  return DM_BAD_VALUE;
                          }
                          else
                              value = dmNumberText::parse<T>(text.view());
                          return DmPropertySet_Str_Utils::setters().of(type)(*this, index, type, &value);
                      }
                  });
    if (outcome != DM_NO_ERROR)
    {
        ZR_POST_DEBUG("In PropertySet %ls. Invalid Property \"%ls\" with value %ls. because of %ls",
                      getPSetName().c_str(), name.c_str(), text.c_str(),
                      DmPSetHelper::getStrFromError(outcome).c_str());
        ZR_ASSERT_SOFT(outcome == DM_NO_ERROR);
    }
    return outcome;
}
