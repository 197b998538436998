#include "dmKKInfo.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmKKInfo> registration;

DmKKInfo::DmKKInfo(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmKKInfo>::data())
{
}

eDmErrorId DmKKInfo::createList()
{
    return declare(*this)
        .mandatory(L"manuf", _manuf)
        .mandatory(L"filmID", _filmID)
        .mandatory(L"prefix", _prefix)
        .mandatory(L"count", _count)
        .mandatory(L"frame", _frame)
        .mandatory(L"footRef", _footRef)
        .mandatory(L"filmGauge", _filmGauge)
        .mandatory(L"telecineSpeed", _telecineSpeed)
        .mandatory(L"isValid", _isValid)
        .status();
}
