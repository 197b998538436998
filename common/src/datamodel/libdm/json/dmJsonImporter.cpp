#include "dmJsonImporter.h"

#include "dmJsonInputImp.h"
#include "dmJsonReaderImp.h"
#include "dmPSetHelper.h"
#include "dmRoot.h"

#include "zrAssert.h"

#include <cstring>
#include <exception>

namespace
{

constexpr int noCode = -1;

/// What a fault says, and the check of which it is the failure.
struct FaultText
{
    const char* text;
    const char* check;
};

/// In the order of Fault::Kind. The texts without arguments apart, all take the fault's name and the text of its code
/// or, where it has one, its other name. The misplaced quote of the second stays: scripts look for it.
constexpr FaultText faultTexts[] = {
    {"Could not get property type '%ls': %ls", "!\"Could not get property type\""},
    {"Could not set property '%ls to value %ls': %ls", "!\"Could not set property\""},
    {"Could not set property '%ls': %ls", "!\"Could not set property\""},
    {"Could not instantiate node '%ls': %ls", "!\"Could not create property set\""},
    {"Could not get value from property map '%ls': %ls", "!\"Could not get value from property map\""},
    {"Could not set property '%ls': %ls", "arrayValues.empty()"},
    {"Could not set property '%ls': %ls", "atomicValues.empty()"},
    {"Found the classes '%ls' and '%ls' where one is expected", "objectValues.size() == 1"},
    {"Unhandled version %ls (latest supported %ls)", "!\"Unhandled future version\""},
    {"JSON parse error", "!\"VERSION is not a version\""},
    {"The document is not an object", "jsonObject.IsObject()"},
};

/// Default attributes for every object that is made in a scope.
class DefaultAttributes
{
public:
    DefaultAttributes()
        : _before(DmPropertyFactory::getInstance().setCreateDefaultAttributes(true))
    {
    }
    DefaultAttributes(const DefaultAttributes&) = delete;
    DefaultAttributes& operator=(const DefaultAttributes&) = delete;
    ~DefaultAttributes() { DmPropertyFactory::getInstance().setCreateDefaultAttributes(_before); }

private:
    bool _before;
};

DmStatus parse(DmJsonSource& source, DmPropertySetPtr& set, DmJsonPlace& place)
{
    // Numbers stay texts, for us to convert: the parser's own exact conversion overflows on absurd exponents.
    constexpr unsigned flags = zrRapidjson::kParseInsituFlag | zrRapidjson::kParseNumbersAsStringsFlag;
    dmJson::Input input(source);
    dmJson::Reader reader(input);
    zrRapidjson::GenericReader<zrRapidjson::UTF8<>, zrRapidjson::UTF8<>> parser;
    parser.Parse<flags>(input, reader);
    if (!parser.HasParseError())
        return reader.finish(set, place);
    place = input.place();
    const char* const reason = reader.stopped();
    DmStatus status;
    status.fail(noCode, "JSON parse error : %s",
                reason ? reason : zrRapidjson::GetParseError_En(parser.GetParseErrorCode()));
    return status;
}

DmStatus read(DmJsonSource& source, DmPropertySetPtr& set, DmJsonPlace* place)
{
    DmJsonPlace stopped;
    const DefaultAttributes defaultAttributes;
    DmPropertySetPtr made;
    DmStatus status;
    try
    {
        status = parse(source, made, stopped);
    }
    catch (const std::exception&)
    {
        status.fail(noCode, "JSON parse error");
    }
    if (status.ok() && !made)
        status.fail(noCode, "The document holds no property set");
    if (status.ok())
        set = made;
    else if (place)
        *place = stopped;
    return status;
}

DmStatus asRoot(DmStatus status, const DmPropertySetPtr& set, CoSharedPtr<DmRoot>& root)
{
    if (status.failed())
        return status;
    const CoSharedPtr<DmRoot> dmRoot = dynamicPointerCast<DmRoot>(set);
    ZR_ASSERT_SOFT(dmRoot);
    if (dmRoot)
        root = dmRoot;
    else
        status.fail(noCode, "The document holds a '%ls', not a tree", set->getPSetName().c_str());
    return status;
}

/// Hands the root out uncounted.
DmStatus released(DmStatus status, CoSharedPtr<DmRoot>& made, DmRoot*& root)
{
    if (status.ok())
        root = made.release();
    return status;
}

} // namespace

DmStatus dmJson::Fault::report() const
{
    if (set) // the property layer says for itself what it refuses
        static_cast<void>(set->setPropertyValueFromStr(name, other));
    const FaultText& fault = faultTexts[kind];
    softAssertFailed(fault.check, ZR_SOURCE_FILE, __LINE__);

    const DmString error = DmPSetHelper::getStrFromError(static_cast<eDmErrorId>(code));
    DmStatus status;
    if (kind == FromText)
        status.fail(code, fault.text, name.c_str(), other.c_str(), error.c_str());
    else
        status.fail(code, fault.text, name.c_str(), other.empty() ? error.c_str() : other.c_str());
    return status;
}

DmStatus DmJsonImporter::importSetFromFile(const char* path, CoSharedPtr<DmPropertySet>& set, DmJsonPlace* place)
{
    DmStatus status;
    dmJson::FileSource file;
    if (!path || !file.open(path))
    {
        status.fail(noCode, "Could not open file '%s'", path ? path : "");
        return status;
    }
    DmPropertySetPtr made;
    status = read(file, made, place);
    if (file.error() != 0) // what was read is not the document
        status.fail(noCode, "Could not read file '%s': %s", path, std::strerror(file.error()));
    if (status.ok())
        set = made;
    return status;
}

DmStatus DmJsonImporter::importSetFromStr(std::string_view json, CoSharedPtr<DmPropertySet>& set, DmJsonPlace* place)
{
    dmJson::TextSource text(json);
    return read(text, set, place);
}

DmStatus DmJsonImporter::importRootFromFile(const char* path, CoSharedPtr<DmRoot>& root, DmJsonPlace* place)
{
    DmPropertySetPtr set;
    DmStatus status = importSetFromFile(path, set, place);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRootFromStr(const char* json, CoSharedPtr<DmRoot>& root, DmJsonPlace* place)
{
    DmPropertySetPtr set;
    DmStatus status = importSetFromStr(json ? json : "", set, place);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRoot(DmJsonSource& source, CoSharedPtr<DmRoot>& root, DmJsonPlace* place)
{
    DmPropertySetPtr set;
    DmStatus status = read(source, set, place);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRootFromFile(const char* path, DmRoot*& root)
{
    CoSharedPtr<DmRoot> made;
    DmStatus status = importRootFromFile(path, made);
    return released(std::move(status), made, root);
}

DmStatus DmJsonImporter::importRootFromStr(const char* json, DmRoot*& root)
{
    CoSharedPtr<DmRoot> made;
    DmStatus status = importRootFromStr(json, made);
    return released(std::move(status), made, root);
}
