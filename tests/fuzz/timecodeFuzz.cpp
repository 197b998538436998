/// Timecode text in every mode: whatever is read counts to frames whose label reads back as the same frames, and fields
/// that are called valid are those of their own time.
#include "edlTCConv.h"
#include "tuLabel.h"
#include "tuPulldown.h"
#include "tuTimeUnit.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace DM;

namespace
{

void expect(bool property)
{
    if (!property)
        std::abort();
}

/// Formats, and checks that the label reads back as the same count.
void checkLabel(TimeUnit time, FrameCodeModes fcm)
{
    char label[TimeUnit::labelSize];
    const int length = time.toTimeCode(label, sizeof label, fcm);
    expect(length >= 11 && std::strlen(label) == static_cast<std::size_t>(length));
    expect((label[0] == '-') == (time.getFrameCount() < 0));
    const double count = std::max<double>(time.getFrameCount(), -2147483647.0);
    expect(TimeUnit().fromTimeCode(label, fcm).getFrames() == count);
}

void checkText(const std::string& text, FrameCodeModes fcm)
{
    checkLabel(TimeUnit().fromTimeCode(text.c_str(), fcm), fcm);

    std::array<int, 4> read{};
    TimeUnit::parseTimeCodeString(text.c_str(), read[0], read[1], read[2], read[3]);
    const auto& [hh, mm, ss, ff] = read;
    if (!TimeUnit::isValidTimeCode(hh, mm, ss, ff, fcm))
        return;
    const TimeUnit time = TimeUnit().fromTimeCode(hh, mm, ss, ff, fcm);
    if (time.getFrames() > 2147483647.0)
        return;
    std::array<int, 4> written{};
    time.toTimeCode(written[0], written[1], written[2], written[3], fcm);
    expect(written == read);
}

/// What is read strictly is what is read forgivingly, and its label reads back as the same time.
void checkStrictly(const std::string& text, FrameCodeModes fcm)
{
    TimeUnit time;
    if (TimeLabel::read(text, fcm, time) != TimeLabel::Good)
        return;
    TimeUnit again;
    expect(TimeLabel::read(TimeLabel::text(time, fcm), fcm, again) == TimeLabel::Good && again == time);
    expect(text.find_first_of(".,") != text.npos || TimeUnit().fromTimeCode(text.c_str(), fcm) == time);
}

/// Any double at all as a time.
void checkTime(TimeUnit time, FrameCodeModes fcm)
{
    char text[TimeUnit::timeSize];
    checkLabel(time, fcm);
    time.toTime(text, fcm);
    expect(std::isfinite(time.roundToSubFrames().getFrames()));
    for (const FrameCodeModes to : FcmUtil::getModes())
    {
        TimeUnit equivalent;
        expect(time.getEquivTime(equivalent, fcm, to) && std::isfinite(equivalent.getFrames()));
        expect(std::isfinite(Edl30to24fps(time, to).getFrames()));
    }
    const auto type = static_cast<TU2_3Conv::PD30FrameType>(time.getFrameCount());
    expect(std::isfinite(TU2_3Conv::to30fpsEquiv(time, time, type, true, time).getFrames()));
    expect(std::isfinite(TU2_3Conv::to24fpsEquiv(time, time, type, true, time).getFrames()));
    expect(std::isfinite(Edl24to60fps(time).getFrames() + Edl60to24fps(time).getFrames()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto modes = FcmUtil::getModes();
    const FrameCodeModes fcm = modes[data[0] % modes.size()];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    checkText(text, fcm);
    checkStrictly(text, fcm);
    double frames = 0.0;
    std::memcpy(&frames, text.data(), std::min(text.size(), sizeof frames));
    checkTime(TimeUnit(frames), fcm);
    FcmUtil::getFCMFromString(text.c_str(), false);
    return 0;
}
