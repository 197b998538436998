#include "dmIdentification.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmIdentification> registration;

DmIdentification::DmIdentification(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmIdentification>::data())
{
}

/// The optional ones came later: documents from before are read as well.
eDmErrorId DmIdentification::createList()
{
    return declare(*this)
        .mandatory(L"name", _name)
        .mandatory(L"ipAddress", _ipAddress)
        .mandatory(L"host", _host)
        .mandatory(L"osName", _osName)
        .mandatory(L"manuf", _manuf)
        .mandatory(L"appName", _appName)
        .mandatory(L"appVersion", _appVersion)
        .mandatory(L"date", _date)
        .mandatory(L"time", _time)
        .mandatory(L"user", _user)
        .mandatory(L"filePathsRoot", _filePathsRoot)
        .mandatory(L"companyName", _companyName)
        .optional(L"appMajorVersion", _appMajorVersion)
        .optional(L"appMinorVersion", _appMinorVersion)
        .optional(L"appTertiaryVersion", _appTertiaryVersion)
        .optional(L"appPatchVersion", _appPatchVersion)
        .optional(L"appVersionType", _appVersionType)
        .status();
}
