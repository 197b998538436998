/// Cut lists: whatever is read as one, by a strict or a lenient reader at any rate, is written as a list that reads
/// back equal, and makes a valid document; one without mistakes or losses comes back from its document as it was. The
/// first two bytes choose the rate and the leniency.
#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "icTreeToEdl.h"

#include "dmCompositionNode.h"
#include "dmTreeTool.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <span>
#include <string>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_23_976,    DM::FCM_24,       DM::FCM_25,
                           DM::FCM_29_97_DF,    DM::FCM_29_97_NDF, DM::FCM_59_94_DF, DM::FCM_60};

void expect(bool property, const Report& report, const std::string& list)
{
    if (property)
        return;
    std::cerr << report.toString("fuzz.edl") << list;
    std::abort();
}

void checkDocument(const EdlList& list, Report& report)
{
    const CoSharedPtr<DmRoot> root = edlToTree(list, report);
    expect(root &&
               DmTreeTool::findViolations(dynamic_cast<DmCompositionNode*>(root->getChild(0)), DM_VALIDATE_ALL).empty(),
           report, writeEdl(list));
    Options options;
    options.fcm = list.fcm;
    const std::optional<EdlList> back = treeToEdl(*root, options, report);
    const bool isWhole = report.count(Report::Warning) == 0;
    expect(back && (!isWhole || *back == list), report, writeEdl(list) + (back ? writeEdl(*back) : ""));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const DM::FrameCodeModes fcm = modes[data[0] % modes.size()];
    const Report::Leniency leniency = data[1] % 2 == 0 ? Report::Strict : Report::Lenient;
    Report report(leniency);
    const std::optional<EdlList> list =
        readEdl(std::string(reinterpret_cast<const char*>(data) + 2, size - 2), fcm, report);
    if (!list)
    {
        expect(report.hasErrors() && !report.toString("fuzz.edl").empty(), report, "neither a list nor an error");
        return 0;
    }
    const std::string text = writeEdl(*list);
    Report again(leniency);
    const std::optional<EdlList> copy = readEdl(text, list->fcm, again);
    // Control characters become blanks.
    const std::span<const std::uint8_t> bytes(data + 2, size - 2);
    const bool hasControls = std::ranges::any_of(
        bytes, [](std::uint8_t c) { return (c < ' ' && c != '\t' && c != '\n' && c != '\r') || c == '\x7F'; });
    expect(copy && (hasControls || *copy == *list), again, text + (copy ? writeEdl(*copy) : ""));
    checkDocument(*list, report);
    return 0;
}
