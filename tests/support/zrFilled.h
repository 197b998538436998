/// Objects of any class with a value in every property that a fresh one does not have.
#pragma once

#include "zrTest.h"

namespace zrTest
{

/// A new object of a class; null when the factory does not know it.
inline DmPropertySetPtr fresh(const DmString& className)
{
    DmPropertySet* made = nullptr;
    const eDmErrorId status =
        DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, made);
    DmPropertySetPtr set(made);
    EXPECT_EQ(status, DM_NO_ERROR) << dmUtf8(className);
    return set;
}

inline DmString wide(const std::string& text)
{
    return std::wstring(text.begin(), text.end()).c_str();
}

inline std::string valueText(const DmPropertySet& set, int index)
{
    const DmPropertyDef& def = *set.classData().at(index);
    int size = 0;
    if (set.getListSize(index, def._type, size) == DM_NO_ERROR || set.getMapSize(index, def._type, size) == DM_NO_ERROR)
        return std::to_string(size);
    if (def._type == DM_PROPERTY_SET)
    {
        const auto& held = *static_cast<const DmPropertySetPtr*>(set.fieldOf(index));
        return !held ? "" : held->isFrozen() ? "shared" : "own";
    }
    if (def._type == DM_CHAR)
        return std::to_string(*static_cast<const signed char*>(set.fieldOf(index)));
    DmString text;
    EXPECT_EQ(set.getStrFromPropertyValue(index, def._type, text, nullptr), DM_NO_ERROR);
    return dmUtf8(text);
}

/// A new object that a property may hold: of the class that it holds, or of the first that derives from it.
inline DmPropertySetPtr freshFor(const DmPropertySet& owner, const DmPropertyDef& def)
{
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        if (const DmPropertySetPtr set = fresh(name);
            (!def._held || def._held->accepts(*set)) && (!def._mayHold || def._mayHold(owner, *set) == DM_NO_ERROR))
            return set;
    ADD_FAILURE() << "nothing goes into " << def._utf8Name;
    return {};
}

/// A text that the property takes, and that a fresh object does not have.
inline DmString unusualText(const DmPropertySet& set, int index)
{
    const DmPropertyDef& def = *set.classData().at(index);
    const std::string now = valueText(set, index);
    if (def._type == DM_BOOL)
        return now == "true" ? L"false" : L"true";
    for (const DmNamedValue& value : def._values)
        if (const std::string code = std::to_string(value.code); code != now)
            return wide(code);
    if (def._texts)
        for (const wchar_t* const text : def._texts->texts)
            if (*text && dmUtf8(text) != now) // empty ones are not written
                return text;
    return def._type == DM_STRING || def._type == DM_CDATA || def._type == DM_VECTOR_STRING ? L"Été \n <&\"" : L"42";
}

/// Gives every property another value, and what it holds too.
inline void fill(DmPropertySet& set, int depth = 0)
{
    for (int i = 0; i < set.classData().size(); ++i)
    {
        const DmPropertyDef& def = *set.classData().at(i);
        const bool isMap = def._type == DM_MAP_PROPERTY_SET;
        const bool isList = def._type == DM_VECTOR_PROPERTY_SET;
        SCOPED_TRACE(def._utf8Name);
        if (!isMap && !isList && def._type != DM_PROPERTY_SET)
        {
            const DmString text = def._constant ? wide(valueText(set, i)) : unusualText(set, i);
            EXPECT_EQ(set.setPropertyValueFromStr(def._name, def._type, text), DM_NO_ERROR);
            continue;
        }
        if (depth > 1)
            continue;
        const DmPropertySetPtr held = freshFor(set, def);
        ASSERT_TRUE(held);
        EXPECT_EQ(isMap    ? set.addValueInPropertyMap(i, def._type, L"gain", &held)
                  : isList ? set.addValueInPropertyList(i, def._type, &held)
                           : set.setPropertyValue(i, def._type, &held),
                  DM_NO_ERROR);
        fill(*held, depth + 1);
    }
}

} // namespace zrTest
