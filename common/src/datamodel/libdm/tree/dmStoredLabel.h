/// Times as documents keep them: a label ("01:00:00:00", with a "-" in front of a negative one) beside the name of the
/// frame-code mode that it is written in.
#pragma once

#include "dmPropertyDef.h"
#include "dmString.h"
#include "tuFcm.h"

/// The mode of a name ("25 fps", in upper or lower case); FCM_NOT_DEFINED for every other text.
ZR_DM_API DM::FrameCodeModes dmFcmFromText(const DmString& text);
/// The name of a mode, "???" for FCM_NOT_DEFINED: what the nodes' frame-code properties hold.
ZR_DM_API DmString dmFcmText(DM::FrameCodeModes fcm);
/// The names of all modes, and the two texts of none: what such a property may hold.
ZR_DM_API const DmTextTable& dmModeNames();
/// The mode itself, or the process-wide default for FCM_NOT_DEFINED, or FCM_NOT_DEFINED where there is none.
ZR_DM_API DM::FrameCodeModes dmModeOrDefault(DM::FrameCodeModes fcm);

class ZR_DM_API DmStoredLabel
{
public:
    DmStoredLabel(const DmString& label, const DmString& fcmText);

    DM::FrameCodeModes fcm() const { return _fcm; }
    bool isZero() const { return _hours == 0 && _minutes == 0 && _seconds == 0 && _frames == 0; }
    /// Whether the mode (or the default mode, for a label in none) has this label.
    bool isValid() const;
    /// The frame count of a valid label.
    double toFrames() const;

    /// Whether there is a default mode to read labels without a mode in. A soft assertion where there is none.
    static bool hasDefaultMode();

private:
    int _hours = 0;
    int _minutes = 0;
    int _seconds = 0;
    int _frames = 0;
    bool _isNegative = false;
    DM::FrameCodeModes _fcm;
};
