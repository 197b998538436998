/// A named, coloured point or range on a composition, a layer or a segment. `dmNoTime` is a mark whose time is not set.
///
/// Marks of compositions and layers are at record times: frames of the composition's mode. A mark of a segment counts
/// from the begin of the segment's material, as "relIn" does, in frames of the material's mode: it stays on its
/// picture, whatever the segment plays of it.
#pragma once

#include "dmNoTime.h"
#include "dmPropertySetInit.h"

class ZR_DM_API DmCueMark final : public DmConcrete<DmCueMark>
{
public:
    enum Property : int
    {
        CueMarkName,
        CueMarkComment,
        CueMarkTime,
        CueMarkColorRed,
        CueMarkColorGreen,
        CueMarkColorBlue,
        CueMarkDuration,
        PropertyCount
    };

    explicit DmCueMark(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    static CoSharedPtr<DmCueMark> create(const DmString& name, double frames);

    const DmString& getCueMarkName() const { return _name; }
    eDmErrorId setCueMarkName(const DmString& name) { return set(CueMarkName, name); }
    const DmString& getCueMarkComment() const { return _comment; }
    eDmErrorId setCueMarkComment(const DmString& comment) { return set(CueMarkComment, comment); }
    double getCueMarkTime() const { return _time; }
    eDmErrorId setCueMarkTime(double frames) { return set(CueMarkTime, frames); }
    int getCueMarkColorRed() const { return _red; }
    eDmErrorId setCueMarkColorRed(int red) { return set(CueMarkColorRed, red); }
    int getCueMarkColorGreen() const { return _green; }
    eDmErrorId setCueMarkColorGreen(int green) { return set(CueMarkColorGreen, green); }
    int getCueMarkColorBlue() const { return _blue; }
    eDmErrorId setCueMarkColorBlue(int blue) { return set(CueMarkColorBlue, blue); }
    /// Frames; 0 for a point.
    double getCueMarkDuration() const { return _duration; }
    eDmErrorId setCueMarkDuration(double frames) { return set(CueMarkDuration, frames); }

private:
    DmString _name;
    DmString _comment;
    double _time = dmNoTime;
    int _red = 0;
    int _green = 0;
    int _blue = 0;
    double _duration = 0.0;
};
