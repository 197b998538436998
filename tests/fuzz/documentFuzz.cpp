/// Documents: whatever is read as a tree is written as a document that reads back as the same tree and is written as
/// the same bytes again, in either layout. What is no JSON is told in the words of the JSON library.
#include "dmJsonImporter.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmTreeJsonBuilder.h"
#include "dmUtf8.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

namespace
{

using Layout = DmTreeJsonBuilder::Layout;

void expect(bool property, const std::string& what)
{
    if (property)
        return;
    std::cerr << what << '\n';
    std::abort();
}

/// What the library itself says of a text; empty when it is JSON.
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
    if (!ours && (!expected.empty() || message.starts_with("JSON parse error : ")))
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const DmPropertySetPtr first = import(std::string(reinterpret_cast<const char*>(data), size));
    if (!first)
        return 0;
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
    expect(write(*second, Layout::Compact) == text, "written otherwise: " + text);

    const std::string pretty = write(*second, Layout::Pretty);
    const DmPropertySetPtr third = import(pretty);
    std::string difference;
    bool equal = false;
    expect(third && dmDeepEqual(*second, *third, equal, &difference) == DM_NO_ERROR && equal,
           "read otherwise at " + difference + ": " + pretty);
    return 0;
}
