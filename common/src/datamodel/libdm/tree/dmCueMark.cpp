#include "dmCueMark.h"

#include "dmDeclare.h"

DmCueMark::DmCueMark(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmCueMark>::data())
{
}

eDmErrorId DmCueMark::createList()
{
    return declare(*this)
        .optional<CueMarkName>(L"cueMarkName", _name, "The name of the mark.")
        .optional<CueMarkComment>(L"cueMarkComment", _comment, "Free text.")
        .optional<CueMarkTime>(L"cueMarkTime", _time, "Where the mark stands; 2147483647 when that is not set.",
                               dmFrames)
        .optional<CueMarkColorRed>(L"cueMarkColorRed", _red, "The red of its colour.")
        .optional<CueMarkColorGreen>(L"cueMarkColorGreen", _green, "The green of its colour.")
        .optional<CueMarkColorBlue>(L"cueMarkColorBlue", _blue, "The blue of its colour.")
        .optional<CueMarkDuration>(L"cueMarkDuration", _duration, "How long the mark lasts; 0 is a point.", dmFrames)
        .status();
}

CoSharedPtr<DmCueMark> DmCueMark::create(const DmString& name, double frames)
{
    CoSharedPtr<DmCueMark> mark = create();
    if (mark && (mark->setCueMarkName(name) != DM_NO_ERROR || mark->setCueMarkTime(frames) != DM_NO_ERROR))
        mark.reset();
    return mark;
}
