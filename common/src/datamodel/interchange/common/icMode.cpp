#include "icMode.h"

#include "dmCompositionNode.h"
#include "dmStoredLabel.h"

DM::FrameCodeModes interchange::modeOf(const DmCompositionNode& node, DM::FrameCodeModes otherwise)
{
    for (const DmString* const text : {&node.getFCM(), &node.getStartTcFcm()})
        if (const DM::FrameCodeModes fcm = dmFcmFromText(*text); fcm != DM::FCM_NOT_DEFINED)
            return fcm;
    return otherwise;
}
