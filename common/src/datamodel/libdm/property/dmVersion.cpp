#include "dmVersion.h"

const DmString& DmVersion::getKey()
{
    static const DmString key(L"VERSION");
    return key;
}

const DmString& DmVersion::getMajorKey()
{
    static const DmString key(L"major");
    return key;
}

const DmString& DmVersion::getMinorKey()
{
    static const DmString key(L"minor");
    return key;
}
