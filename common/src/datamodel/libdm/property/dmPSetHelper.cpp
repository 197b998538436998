#include "dmPSetHelper.h"

#include "zrAssert.h"

#include <iterator>

namespace
{

/// In the order of eDmPropType. The lower-case "d" of "Vector-double" is in every document that was ever written.
constexpr const wchar_t* typeNames[] = {L"Int",
                                        L"UInt",
                                        L"Enum",
                                        L"Short",
                                        L"UShort",
                                        L"Int64",
                                        L"UInt64",
                                        L"Char",
                                        L"UChar",
                                        L"Float",
                                        L"Bool",
                                        L"Double",
                                        L"String",
                                        L"Property-Set",
                                        L"Vector-Int",
                                        L"Vector-Short",
                                        L"Vector-UInt64",
                                        L"Vector-Float",
                                        L"Vector-double",
                                        L"Vector-String",
                                        L"Vector-Property-Set",
                                        L"Map-Property-Set",
                                        L"CDATA"};

/// In the order of eDmErrorId. These texts reach logs and import reports: their spelling stays.
constexpr const wchar_t* errorTexts[] = {L"No Error",
                                         L"Property not found",
                                         L"Property already exist",
                                         L"Empty Id",
                                         L"DmListener Not found",
                                         L"Bad Property Type",
                                         L"Propertyset already exist",
                                         L"Listener is NULL",
                                         L"Type not implemented",
                                         L"Bad Index",
                                         L"Listener already registered",
                                         L"DM_NOT_ME",
                                         L"Cannot lock",
                                         L"cannot unlock",
                                         L"Bad value",
                                         L"Binary error"};

} // namespace

DmPSetHelper& DmPSetHelper::getInstance()
{
    static DmPSetHelper* const helper = new DmPSetHelper;
    return *helper;
}

DmPSetHelper::DmPSetHelper()
{
    int type = 0;
    for (const wchar_t* const name : typeNames)
        insertPair(DmString(name), static_cast<eDmPropType>(type++));
    ZR_ASSERT_HARD(_typesMap.size() == DM_NB_TYPES);
}

eDmPropType DmPSetHelper::getTypeFromStr(const DmString& name) const
{
    const auto found = _typesMap.find(name);
    return found == _typesMap.end() ? DM_NB_TYPES : found->second;
}

DmString DmPSetHelper::getStrFromType(eDmPropType type) const
{
    for (const auto& [name, value] : _typesMap)
        if (value == type)
            return name;
    return DmString(L"N/A");
}

void DmPSetHelper::insertPair(const DmString& name, eDmPropType type)
{
    _typesMap.emplace(name, type);
}

DmString DmPSetHelper::getStrFromError(eDmErrorId error)
{
    const auto code = static_cast<unsigned>(error);
    return DmString(code < std::size(errorTexts) ? errorTexts[code] : L"Unknown DM error");
}
