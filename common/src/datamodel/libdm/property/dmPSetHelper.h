/// The texts of the property layer: the persisted name of each property type and the message of each error code.
#pragma once

#include "dmErrorId.h"
#include "dmPropertyType.h"

class ZR_DM_API DmPSetHelper
{
public:
    /// Made on first use and never destroyed.
    static DmPSetHelper& getInstance();

    /// Exact and case-sensitive; DM_NB_TYPES for an unknown name.
    eDmPropType getTypeFromStr(const DmString& name) const;
    /// "N/A" for a value that is no type.
    DmString getStrFromType(eDmPropType type) const;
    /// Adds a pair if the name is absent.
    void insertPair(const DmString& name, eDmPropType type);

    /// "Unknown DM error" for a value that is no code.
    static DmString getStrFromError(eDmErrorId error);

private:
    DmPSetHelper();

    std::map<DmString, eDmPropType> _typesMap;
};
