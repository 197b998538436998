/// Who wrote a tree: machine, user and application. The library fills none of it: the application that builds a tree
/// does, before it saves.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmIdentification final : public DmConcrete<DmIdentification>
{
public:
    enum Property : int
    {
        Name,
        IpAddress,
        Host,
        OsName,
        Manuf,
        AppName,
        AppVersion,
        Date,
        Time,
        User,
        FilePathsRoot,
        CompanyName,
        AppMajorVersion,
        AppMinorVersion,
        AppTertiaryVersion,
        AppPatchVersion,
        AppVersionType,
        PropertyCount
    };

    explicit DmIdentification(const DmNodeId& id);
    eDmErrorId createList() override;

    const DmString& getName() const { return _name; }
    eDmErrorId setName(const DmString& name) { return set(Name, name); }
    const DmString& getIpAddress() const { return _ipAddress; }
    eDmErrorId setIpAddress(const DmString& address) { return set(IpAddress, address); }
    const DmString& getHost() const { return _host; }
    eDmErrorId setHost(const DmString& host) { return set(Host, host); }
    const DmString& getOsName() const { return _osName; }
    eDmErrorId setOsName(const DmString& name) { return set(OsName, name); }
    const DmString& getManuf() const { return _manuf; }
    eDmErrorId setManuf(const DmString& manufacturer) { return set(Manuf, manufacturer); }
    const DmString& getAppName() const { return _appName; }
    eDmErrorId setAppName(const DmString& name) { return set(AppName, name); }
    const DmString& getAppVersion() const { return _appVersion; }
    eDmErrorId setAppVersion(const DmString& version) { return set(AppVersion, version); }
    const DmString& getDateStr() const { return _date; }
    eDmErrorId setDateStr(const DmString& date) { return set(Date, date); }
    const DmString& getTimeStr() const { return _time; }
    eDmErrorId setTimeStr(const DmString& time) { return set(Time, time); }
    const DmString& getUser() const { return _user; }
    eDmErrorId setUser(const DmString& user) { return set(User, user); }
    const DmString& getFilePathsRoot() const { return _filePathsRoot; }
    eDmErrorId setFilePathsRoot(const DmString& path) { return set(FilePathsRoot, path); }
    const DmString& getCompanyName() const { return _companyName; }
    eDmErrorId setCompanyName(const DmString& name) { return set(CompanyName, name); }
    int getAppMajorVersion() const { return _appMajorVersion; }
    eDmErrorId setAppMajorVersion(int version) { return set(AppMajorVersion, version); }
    int getAppMinorVersion() const { return _appMinorVersion; }
    eDmErrorId setAppMinorVersion(int version) { return set(AppMinorVersion, version); }
    int getAppTertiaryVersion() const { return _appTertiaryVersion; }
    eDmErrorId setAppTertiaryVersion(int version) { return set(AppTertiaryVersion, version); }
    int getAppPatchVersion() const { return _appPatchVersion; }
    eDmErrorId setAppPatchVersion(int version) { return set(AppPatchVersion, version); }
    const DmString& getAppVersionType() const { return _appVersionType; }
    eDmErrorId setAppVersionType(const DmString& type) { return set(AppVersionType, type); }

private:
    DmString _name;
    DmString _ipAddress;
    DmString _host;
    DmString _osName;
    DmString _manuf;
    DmString _appName;
    DmString _appVersion;
    DmString _date;
    DmString _time;
    DmString _user;
    DmString _filePathsRoot;
    DmString _companyName;
    int _appMajorVersion = 0;
    int _appMinorVersion = 0;
    int _appTertiaryVersion = 0;
    int _appPatchVersion = 0;
    DmString _appVersionType;
};
