/// Documents: whatever is read is written as a document that reads back as the same and is written as the same bytes
/// again, in either layout, but for texts that are empty; a tree can be shown, copied, checked, repaired and converted.
/// What is no JSON is told in the words of the JSON library.
#include "icEdlWriter.h"
#include "icOtioWriter.h"
#include "icTreeToEdl.h"
#include "zrFuzz.h"

#include "dmJsonImporter.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmSourceNode.h"
#include "dmTreeJsonBuilder.h"
#include "dmTreeUtil.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <sstream>

namespace
{

using Layout = DmTreeJsonBuilder::Layout;

/// What the library itself says of a text, which ends at a NUL for it; empty when it is JSON.
std::string parserMessage(const std::string& text)
{
    rapidjson::BaseReaderHandler<> nobody;
    rapidjson::StringStream stream(text.c_str());
    rapidjson::Reader reader;
    reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, nobody);
    const std::string message = rapidjson::GetParseError_En(reader.GetParseErrorCode());
    return reader.HasParseError() ? "JSON parse error : " + message : "";
}

void checkMessage(const std::string& text, const std::string& message)
{
    const std::string expected = parserMessage(text);
    const bool ours = message.ends_with("nested too deeply.") || message.ends_with("Invalid encoding in string.");
    if (!ours && text.find('\0') == text.npos && (!expected.empty() || message.starts_with("JSON parse error : ")))
        expect(message == expected, message + "\ninstead of\n" + expected);
}

DmPropertySetPtr import(const std::string& text)
{
    DmPropertySetPtr set;
    const DmStatus status = DmJsonImporter::importSetFromStr(text, set);
    const std::string message = dmUtf8(status.info());
    expect(status.ok() == (set != nullptr) && status.ok() == message.empty(), "status and result differ: " + message);
    checkMessage(text, message);
    return set;
}

std::string write(const DmPropertySet& set, Layout layout)
{
    std::string text;
    const DmStatus status = DmTreeJsonBuilder::generateUtf8(&set, text, layout);
    const std::string message = dmUtf8(status.info());
    // What a class adds to what was read may be one level too deep.
    expect(status.ok() || message.find("nested") != message.npos, "cannot write: " + message);
    return text;
}

/// Checks each composition by all rules, and repairs the times of each source.
class Checks : public DmTreeVisitor
{
public:
    Checks()
        : DmTreeVisitor("Checks")
    {
    }
    void visitCompositionNode(DmCompositionNode* node) override
    {
        const bool valid = DmTreeTool::isValidTree(node);
        const unsigned options = DmTreeTool::getValidationOptions(node);
        expect(valid == DmTreeTool::findViolations(node, options).empty(), "validation and its findings differ");
        static_cast<void>(DmTreeTool::findViolations(node, DM_VALIDATE_ALL));
    }
    void visitSourceNode(DmSourceNode* node) override { static_cast<void>(node->checkTimeIntegrity()); }
};

/// What tools do with a tree that they have opened.
void use(const CoSharedPtr<DmRoot>& root)
{
    std::ostringstream text;
    expect(DmTreeTool::dump(root.get(), text) == DM_NO_ERROR && !text.str().empty(), "cannot be shown");
    const CoSharedPtr<DmRoot> copy = DmTreeTool::deepClone(root);
    interchange::Report report;
    if (const auto list = interchange::treeToEdl(*root, {}, report))
        static_cast<void>(interchange::writeEdl(*list));
    static_cast<void>(interchange::writeOtio(*root, DM::FCM_24, report));
    std::string difference;
    expect(DmTreeTool::areEqual(root.get(), copy.get(), &difference), "copied otherwise at " + difference);
    Checks checks;
    expect(DmPreIt(copy, {.intoContainers = true}).apply(checks) == DM_NO_ERROR, "cannot be walked");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const DmPropertySetPtr first = import(std::string(reinterpret_cast<const char*>(data), size));
    if (!first)
        return 0;
    if (const CoSharedPtr<DmRoot> root = DM::dynamicPointerCast<DmRoot>(first))
        use(root);
    const std::string text = write(*first, Layout::Compact);
    if (text.empty())
        return 0;
    const DmPropertySetPtr second = import(text);
    if (!second)
    {
        // All that there was had its default value.
        expect(text == R"({"VERSION":{"major":0,"minor":1}})", "not read back: " + text);
        return 0;
    }
    // An empty text is not written, and comes back as what its property has from the start.
    const std::string again = write(*second, Layout::Compact);
    expect(again == text || again.size() > text.size(), "written otherwise: " + text + "\n" + again);

    const std::string pretty = write(*second, Layout::Pretty);
    const DmPropertySetPtr third = import(pretty);
    std::string difference;
    bool equal = false;
    expect(third && dmDeepEqual(*second, *third, equal, &difference) == DM_NO_ERROR && equal,
           "read otherwise at " + difference + ": " + pretty);
    expect(write(*third, Layout::Compact) == again, "written otherwise: " + again);
    return 0;
}
