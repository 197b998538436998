#include "modes.h"

#include "tuTimeUnit.h"

#include <CLI/CLI.hpp>

#include <cstdlib>

namespace dmtree
{

using DM::FcmUtil;

std::string modeNames()
{
    std::string names;
    for (const DM::FrameCodeModes fcm : FcmUtil::getModes())
        names += (names.empty() ? "'" : ", '") + std::string(FcmUtil::getFCMString(fcm)) + "'";
    return names;
}

std::string modeHelp()
{
    return modeNames() + ", or in short the rate, PAL or NTSC; df behind it for labels that drop ('29.97 df')";
}

std::string checkMode(const std::string& name)
{
    return modeOf(name) != DM::FCM_NOT_DEFINED ? ""
                                               : "'" + name + "' is no frame-code mode. The modes are " + modeNames() +
                                                     "; in short 25, PAL, 29.97, NTSC, '29.97 df' and so on";
}

DM::FrameCodeModes modeOf(const std::string& name)
{
    return FcmUtil::getFCMFromName(name);
}

std::string wrongDefaultMode()
{
    const char* const name = std::getenv("ZR_DEFAULT_FCM");
    if (!name || FcmUtil::getFCMFromString(name, true) != DM::FCM_NOT_DEFINED)
        return "";
    return "the environment variable ZR_DEFAULT_FCM is '" + std::string(name) +
           "', which names no frame-code mode. The modes, as they must stand there, are " + modeNames();
}

DM::FrameCodeModes modeOrDefaultOf(const std::string& name)
{
    if (!name.empty())
        return modeOf(name);
    if (const DM::FrameCodeModes fcm = DM::TimeUnit::findDefaultFcm(); fcm != DM::FCM_NOT_DEFINED)
        return fcm;
    if (const std::string wrong = wrongDefaultMode(); !wrong.empty())
        throw CLI::ValidationError(wrong + ". Correct it, or name one with --fcm");
    throw CLI::ValidationError("no frame-code mode: name one with --fcm, or in the environment variable "
                               "ZR_DEFAULT_FCM. The modes are " +
                               modeNames());
}

} // namespace dmtree
