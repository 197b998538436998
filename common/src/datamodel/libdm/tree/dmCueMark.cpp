#include "dmCueMark.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmCueMark> registration;

DmCueMark::DmCueMark(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmCueMark>::data())
{
}

eDmErrorId DmCueMark::createList()
{
    return declare(*this)
        .optional(L"cueMarkName", _name)
        .optional(L"cueMarkComment", _comment)
        .optional(L"cueMarkTime", _time)
        .optional(L"cueMarkColorRed", _red)
        .optional(L"cueMarkColorGreen", _green)
        .optional(L"cueMarkColorBlue", _blue)
        .optional(L"cueMarkDuration", _duration)
        .status();
}

CoSharedPtr<DmCueMark> DmCueMark::create(const DmString& name, double frames)
{
    CoSharedPtr<DmCueMark> mark = create();
    if (mark && (mark->setCueMarkName(name) != DM_NO_ERROR || mark->setCueMarkTime(frames) != DM_NO_ERROR))
        mark.reset();
    return mark;
}
