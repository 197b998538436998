/// OpenTimelineIO documents: whatever is read, by a strict or a lenient reader at any rate, is a tree that keeps all
/// rules, and is written as a document that reads back as an equal tree. What was read without a warning, at
/// the file's own rate, comes back member for member. The first two bytes choose the rate and the leniency.
#define RAPIDJSON_NAMESPACE zrInterchangeRapidjson
#include "icOtioJson.h"
#include "icOtioReader.h"
#include "icOtioWriter.h"
#include "zrFuzz.h"

#include "dmSetTools.h"

#include <algorithm>
#include <array>
#include <vector>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_23_976,    DM::FCM_24,       DM::FCM_25,
                           DM::FCM_29_97_DF,    DM::FCM_29_97_NDF, DM::FCM_59_94_DF, DM::FCM_60};

/// Equal for values that are equal but for the order of members, and for a number's form: 24 is 24.0. Of members of one
/// name the first counts.
std::string canonical(const otio::Value& value)
{
    std::string text;
    std::vector<std::string> parts;
    if (value.IsArray())
        for (const otio::Value& each : value.GetArray())
            parts.push_back(canonical(each));
    else if (value.IsObject())
    {
        for (auto each = value.MemberBegin(); each != value.MemberEnd(); ++each)
            if (value.FindMember(each->name) == each)
                parts.push_back(canonical(each->name) + ':' + canonical(each->value));
        std::ranges::sort(parts);
    }
    else if (value.IsNumber() && value.IsLosslessDouble())
        otio::appendJson(text, otio::Value(value.GetDouble() + 0.0)); // -0.0 is 0.0
    else
        otio::appendJson(text, value);
    for (const std::string& part : parts)
        text += part + ',';
    return (value.IsArray() ? "[" : value.IsObject() ? "{" : "") + text;
}

std::string canonical(std::string text)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.erase(0, byteOrderMark.size());
    otio::json::Document document;
    otio::JsonFault fault;
    expect(otio::parse(document, text.data(), fault), "no JSON: " + fault.what);
    return canonical(document);
}

std::string write(const DmRoot& root, DM::FrameCodeModes fcm)
{
    Report report;
    const std::optional<std::string> text = writeOtio(root, fcm, report);
    expect(text && report.toString("again.otio").empty(), "not written: " + report.toString("again.otio"));
    return *text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const DM::FrameCodeModes fcm = modes[data[0] % modes.size()];
    const Report::Leniency leniency = data[1] % 2 == 0 ? Report::Strict : Report::Lenient;
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
    Report report(leniency);
    const CoSharedPtr<DmRoot> root = readOtio(text, fcm, report);
    expect((root == nullptr) == report.hasErrors(), "result and report differ");
    Report ofWhole(leniency);
    const CoSharedPtr<DmRoot> whole = readOtio(text, fcm, ofWhole, true);
    bool isEqual = !root;
    expect(report.toString("") == ofWhole.toString(""), report.toString("") + "but\n" + ofWhole.toString(""));
    expect((root == nullptr) == (whole == nullptr), "a document in pieces or as a whole only");
    expect(!root || (dmDeepEqual(*root, *whole, isEqual) == DM_NO_ERROR && isEqual), "otherwise as a whole: " + text);
    if (!root)
        return 0;
    Rules().check(root);

    const std::string written = write(*root, fcm);
    if (report.count(Report::Warning) == 0 && fcm == DM::FCM_NOT_DEFINED) // a mode that was given is told
        expect(canonical(text) == canonical(written), text + "\ncame back as\n" + written);
    Report again(leniency);
    const CoSharedPtr<DmRoot> copy = readOtio(written, fcm, again);
    expect(copy != nullptr, again.toString("again.otio") + written);
    // The leftovers of the first reading may spell a number otherwise.
    expect(canonical(write(*copy, fcm)) == canonical(written), "written otherwise the second time: " + written);
    return 0;
}
