#include "dmStoredLabel.h"

#include "dmUtf8.h"
#include "tuTimeUnit.h"
#include "zrAssert.h"

using DM::FCM_NOT_DEFINED;
using DM::FcmUtil;

namespace
{

/// Labels and modes are short: the rest of a text that is neither is not converted.
std::string shortText(const DmString& text)
{
    return dmUtf8(text.view().substr(0, 64));
}

} // namespace

DM::FrameCodeModes dmFcmFromText(const DmString& text)
{
    if (text.empty())
        return FCM_NOT_DEFINED;
    // Nearly all that a cut asks for is one text.
    thread_local std::wstring last;
    thread_local DM::FrameCodeModes mode = FCM_NOT_DEFINED;
    if (text.view() != last)
    {
        mode = FcmUtil::getFCMFromString(shortText(text).c_str(), false);
        last = text.view().substr(0, 64); // of a longer one, never the same
    }
    return mode;
}

DmString dmFcmText(DM::FrameCodeModes fcm)
{
    const std::string_view name = FcmUtil::getFCMString(fcm);
    return DmString(std::wstring(name.begin(), name.end()));
}

const DmTextTable& dmModeNames()
{
    struct Table
    {
        std::vector<DmString> names = {DmString(), dmFcmText(FCM_NOT_DEFINED)};
        std::vector<const wchar_t*> texts;

        Table()
        {
            for (const DM::FrameCodeModes mode : FcmUtil::getModes())
                names.push_back(dmFcmText(mode));
            for (const DmString& name : names)
                texts.push_back(name.c_str());
        }
    };
    static const Table kept;
    static const DmTextTable table{kept.texts, true, true};
    return table;
}

DM::FrameCodeModes dmModeOrDefault(DM::FrameCodeModes fcm)
{
    return fcm == FCM_NOT_DEFINED ? DM::TimeUnit::findDefaultFcm() : fcm;
}

DmStoredLabel::DmStoredLabel(const DmString& label, const DmString& fcmText)
    : _isNegative(label.c_str()[0] == L'-')
    , _fcm(dmFcmFromText(fcmText))
{
    DM::TimeUnit::parseTimeCodeString(shortText(label).c_str(), _hours, _minutes, _seconds, _frames);
}

bool DmStoredLabel::isValid() const
{
    return DM::TimeUnit::isValidTimeCode(_hours, _minutes, _seconds, _frames, _fcm);
}

double DmStoredLabel::toFrames() const
{
    const double frames = DM::TimeUnit().fromTimeCode(_hours, _minutes, _seconds, _frames, _fcm).getFrames();
    return _isNegative ? -frames : frames;
}

bool DmStoredLabel::hasDefaultMode()
{
    // Asking the real one for a default that does not exist stops the process before the host's gate is asked.
    struct TimeUnit
    {
        static DM::FrameCodeModes getDefaultFcm() { return DM::TimeUnit::findDefaultFcm(); }
    };
    ZR_ASSERT_SOFT(TimeUnit::getDefaultFcm() != FCM_NOT_DEFINED);
    return DM::TimeUnit::hasDefaultFcm();
}
