/// ALE files: whatever is read, by a strict or a lenient reader, is a tree that keeps all rules, and comes back byte
/// for byte, from a document too (but for what was no UTF-8, and for a heading that says another mode than was asked
/// for). The first two bytes choose the rate and the leniency.
#include "icInterchange.h"
#include "icText.h"
#include "zrFuzz.h"

#include <array>
#include <string_view>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_DF, DM::FCM_60};

} // namespace

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
    Rules().check(reading.root);
    std::string written;
    expect(writeBuffer(*reading.root, written, options).done, "not written: " + text);
    const std::string mark(text.starts_with(byteOrderMark) ? byteOrderMark : std::string_view());
    makeUtf8(text);
    text.insert(0, mark);
    // A mode that is given may be another than the heading says, which then names that one.
    if (options.fcm == DM::FCM_NOT_DEFINED)
        expect(written == text, text + "\ncame back as\n" + written);
    Options document;
    document.format = "json";
    std::string kept;
    expect(writeBuffer(*reading.root, kept, document).done, "no document of " + text);
    const Reading opened = readBuffer(kept, document);
    expect(opened.root != nullptr, "not opened: " + kept);
    std::string fromDocument;
    expect(writeBuffer(*opened.root, fromDocument, options).done && fromDocument == written,
           written + "\ncame back from a document as\n" + fromDocument);
    const Reading again = readBuffer(written, options);
    expect(again.root != nullptr, "not read again: " + written);
    std::string copy;
    expect(writeBuffer(*again.root, copy, options).done && copy == written, written + "\ncame back as\n" + copy);
    return 0;
}
