/// Cut lists: whatever is read as one, by a strict or a lenient reader at any rate, is written as a list that reads
/// back equal. The first two bytes choose the rate and the leniency.
#include "icEdlReader.h"
#include "icEdlWriter.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_23_976,    DM::FCM_24,       DM::FCM_25,
                           DM::FCM_29_97_DF,    DM::FCM_29_97_NDF, DM::FCM_59_94_DF, DM::FCM_60};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const DM::FrameCodeModes fcm = modes[data[0] % modes.size()];
    const Report::Leniency leniency = data[1] % 2 == 0 ? Report::Strict : Report::Lenient;
    Report report("fuzz.edl", leniency);
    const std::optional<EdlList> list =
        readEdl(std::string(reinterpret_cast<const char*>(data) + 2, size - 2), fcm, report);
    if (!list)
    {
        if (!report.hasErrors() || report.toString().empty())
            std::abort();
        return 0;
    }
    const std::string text = writeEdl(*list);
    Report again("again.edl", leniency);
    const std::optional<EdlList> copy = readEdl(text, list->fcm, again);
    if (!copy || !(*copy == *list))
    {
        std::cerr << report.toString() << again.toString() << text << (copy ? writeEdl(*copy) : "");
        std::abort();
    }
    return 0;
}
