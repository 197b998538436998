#include "dmTreeJsonBuilder.h"

#include "dmJsonWriterImp.h"
#include "dmSaveFileImp.h"
#include "dmUtf8.h"

#include "envVar.h"

#include <cerrno>
#include <cstring>
#include <new>

namespace
{

constexpr int noCode = -1;

ZR_ENV_VAR(bool, prettyJson, "ZR_PRETTY_JSON_DMTREE", true);

DmStatus failure(const char* text)
{
    DmStatus status;
    status.fail(noCode, "%s", text);
    return status;
}

/// Builds the document and hands its text to the output; `status` says why that failed.
bool build(const DmPropertySet& root, DmTreeJsonBuilder::Layout layout, dmJson::Output& output, DmStatus& status)
{
    using Layout = DmTreeJsonBuilder::Layout;
    const bool pretty = layout == Layout::Environment ? prettyJson().getValue() : layout == Layout::Pretty;
    try
    {
        dmJson::writeDocument(root, pretty, output);
        return true;
    }
    catch (const dmJson::WriteFailed& failed)
    {
        status = failure(failed.what());
    }
    catch (const std::exception&)
    {
        status = failure("Json exception");
    }
    return false;
}

DmStatus nullRoot()
{
    return failure("Cannot generate JSON for a null DmTree");
}

} // namespace

DmStatus DmTreeJsonBuilder::generateUtf8(const DmPropertySet* root, std::string& out, Layout layout)
{
    if (!root)
        return nullRoot();
    DmStatus status;
    try
    {
        dmJson::TextOutput output;
        if (build(*root, layout, output, status))
            out = std::move(output.text());
    }
    catch (const std::bad_alloc&)
    {
        status = failure("Json exception");
    }
    return status;
}

DmStatus DmTreeJsonBuilder::generateStr(const DmPropertySet* root, DmString& out, Layout layout)
{
    std::string text;
    DmStatus status = generateUtf8(root, text, layout);
    if (status.ok() && !dmFromUtf8(text, out))
        status = failure("Json exception");
    return status;
}

DmStatus DmTreeJsonBuilder::generate(const DmPropertySet* root, const char* path, Layout layout)
{
    if (!root)
        return nullRoot();
    DmStatus status;
    try
    {
        dmJson::SaveFile file;
        if (!path || !file.open(path))
            status.fail(noCode, "Could not open file '%s'", path ? path : "");
        else if ((!build(*root, layout, file, status) && file.error() != 0) || (status.ok() && !file.commit()))
            status.fail(noCode, "Could not write file '%s': %s", path, std::strerror(file.error()));
    }
    catch (const std::bad_alloc&)
    {
        status.fail(noCode, "Could not write file '%s': %s", path, std::strerror(ENOMEM));
    }
    return status;
}
