#include "dmIdentification.h"

#include "dmDeclare.h"

DmIdentification::DmIdentification(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmIdentification>::data())
{
}

/// The optional ones came later: documents from before are read as well.
eDmErrorId DmIdentification::createList()
{
    return declare(*this)
        .mandatory<Name>(L"name", _name, "The name that goes with the tree.")
        .mandatory<IpAddress>(L"ipAddress", _ipAddress, "The network address of the machine that made the tree.")
        .mandatory<Host>(L"host", _host, "The name of that machine.")
        .mandatory<OsName>(L"osName", _osName, "Its operating system.")
        .mandatory<Manuf>(L"manuf", _manuf, "The manufacturer.")
        .mandatory<AppName>(L"appName", _appName, "The application that made the tree.")
        .mandatory<AppVersion>(L"appVersion", _appVersion, "Its version, as it shows it.")
        .mandatory<Date>(L"date", _date, "The day on which the tree was made, as the application writes it.")
        .mandatory<Time>(L"time", _time, "The time of day, as the application writes it.")
        .mandatory<User>(L"user", _user, "Who was logged in.")
        .mandatory<FilePathsRoot>(L"filePathsRoot", _filePathsRoot, "The directory that paths of files begin at.")
        .mandatory<CompanyName>(L"companyName", _companyName, "The name of the company.")
        .optional<AppMajorVersion>(L"appMajorVersion", _appMajorVersion,
                                   "The first number of the application's version.", dmNotNegative)
        .optional<AppMinorVersion>(L"appMinorVersion", _appMinorVersion,
                                   "The second number of the application's version.", dmNotNegative)
        .optional<AppTertiaryVersion>(L"appTertiaryVersion", _appTertiaryVersion,
                                      "The third number of the application's version.", dmNotNegative)
        .optional<AppPatchVersion>(L"appPatchVersion", _appPatchVersion, "The number of the patch.", dmNotNegative)
        .optional<AppVersionType>(L"appVersionType", _appVersionType, "The kind of that version, for example a beta.")
        .status();
}
