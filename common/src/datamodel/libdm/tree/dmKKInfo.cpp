#include "dmKKInfo.h"

#include "dmDeclare.h"

DmKKInfo::DmKKInfo(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmKKInfo>::data())
{
}

eDmErrorId DmKKInfo::createList()
{
    return declare(*this)
        .mandatory<Manuf>(L"manuf", _manuf, "The code of the manufacturer.")
        .mandatory<FilmID>(L"filmID", _filmID, "The code of the film stock.")
        .mandatory<Prefix>(L"prefix", _prefix, "The prefix of the key code.")
        .mandatory<Count>(L"count", _count, "The foot of the key code.")
        .mandatory<Frame>(L"frame", _frame, "The frame within that foot.", dmFrames)
        .mandatory<FootRef>(L"footRef", _footRef, "The reference that feet are counted from.")
        .mandatory<FilmGauge>(L"filmGauge", _filmGauge, "The gauge of the film.")
        .mandatory<TelecineSpeed>(L"telecineSpeed", _telecineSpeed, "The speed of the telecine.")
        .mandatory<IsValid>(L"isValid", _isValid, "The record holds a key code.")
        .status();
}
