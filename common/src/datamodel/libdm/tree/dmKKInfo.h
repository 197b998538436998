/// The key code of a piece of film: manufacturer, stock, and the foot and frame that it starts at.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmKKInfo final : public DmConcrete<DmKKInfo>
{
public:
    enum Property : int
    {
        Manuf,
        FilmID,
        Prefix,
        Count,
        Frame,
        FootRef,
        FilmGauge,
        TelecineSpeed,
        IsValid,
        PropertyCount
    };

    explicit DmKKInfo(const DmNodeId& id);
    eDmErrorId createList() override;

    char getManuf() const { return _manuf; }
    eDmErrorId setManuf(char code) { return set(Manuf, code); }
    char getFilmID() const { return _filmID; }
    eDmErrorId setFilmID(char code) { return set(FilmID, code); }
    int getPrefix() const { return _prefix; }
    eDmErrorId setPrefix(int prefix) { return set(Prefix, prefix); }
    int getCount() const { return _count; }
    eDmErrorId setCount(int feet) { return set(Count, feet); }
    int getFrame() const { return _frame; }
    eDmErrorId setFrame(int frame) { return set(Frame, frame); }
    int getFootRef() const { return _footRef; }
    eDmErrorId setFootRef(int reference) { return set(FootRef, reference); }
    const DmString& getFilmGauge() const { return _filmGauge; }
    eDmErrorId setFilmGauge(const DmString& gauge) { return set(FilmGauge, gauge); }
    const DmString& getTelecineSpeed() const { return _telecineSpeed; }
    eDmErrorId setTelecineSpeed(const DmString& speed) { return set(TelecineSpeed, speed); }
    bool isValid() const { return _isValid; }
    eDmErrorId setIsValid(bool valid) { return set(IsValid, valid); }

private:
    char _manuf = 0;
    char _filmID = 0;
    bool _isValid = false;
    int _prefix = 0;
    int _count = 0;
    int _frame = 0;
    int _footRef = 0;
    DmString _filmGauge;
    DmString _telecineSpeed;
};
