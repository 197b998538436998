/// ALE files: whatever is read, by a strict or a lenient reader, is a tree that keeps all rules, and comes back byte
/// for byte (but for what was no UTF-8, for a heading that says another mode than was asked for, and for line ends of
/// CR LF and of CR alone in one file: a document does not tell them apart behind the head; a last line without an end
/// may get one). The first two bytes choose the rate and the leniency.
#include "icInterchange.h"
#include "icText.h"

#include "CoMsg.h"
#include "dmCompositionNode.h"
#include "dmTreeTool.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_DF, DM::FCM_60};

void expect(bool property, const std::string& what)
{
    if (property)
        return;
    std::cerr << what << '\n';
    std::abort();
}

/// Whether some lines end in CR LF and some in CR alone.
bool mixesLineEnds(const std::string& text)
{
    bool both = false;
    bool alone = false;
    for (std::size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at + 1))
        (text.compare(at, 2, "\r\n") == 0 ? both : alone) = true;
    return both && alone;
}

bool isLineEnd(std::string_view text)
{
    return text == "\n" || text == "\r\n" || text == "\r";
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    DM::CoMsg::setFilterLevel(DM::CoMsg::UserLevel); // findings are no news here
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    Options options;
    options.format = "ale";
    options.fcm = modes[data[0] % modes.size()];
    options.lenient = data[1] % 2 == 1;
    std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
    const Reading reading = readBuffer(text, options);
    if (!reading.root)
    {
        expect(!reading.findings.empty(), "neither a document nor an error");
        return 0;
    }
    auto* const composition = dynamic_cast<DmCompositionNode*>(reading.root->getChild(0));
    expect(DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty(), "breaks a rule: " + text);
    std::string written;
    expect(writeBuffer(*reading.root, written, options).done, "not written: " + text);
    makeUtf8(text);
    // A mode that is given may be another than the heading says, which then names that one.
    if (options.fcm == DM::FCM_NOT_DEFINED && !mixesLineEnds(text))
        expect(written == text || (written.starts_with(text) && isLineEnd(written.substr(text.size()))),
               text + "\ncame back as\n" + written);
    const Reading again = readBuffer(written, options);
    expect(again.root != nullptr, "not read again: " + written);
    std::string copy;
    expect(writeBuffer(*again.root, copy, options).done && copy == written, written + "\ncame back as\n" + copy);
    return 0;
}
