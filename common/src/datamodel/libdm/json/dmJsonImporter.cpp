#include "dmJsonImporter.h"

#include "dmDefaultAttributesImp.h"
#include "dmJsonFastImp.h"
#include "dmJsonInputImp.h"
#include "dmJsonLiteralImp.h"
#include "dmRoot.h"

#include "zrAssert.h"

#include <cstring>
#include <exception>

namespace
{

constexpr int noCode = -1;

DmStatus read(DmJsonSource& source, DmPropertySetPtr& set, DmJsonPlace* place, DmJsonChanges* changes,
              bool mayChange = true)
{
    if (changes)
        *changes = {};
    DmJsonPlace stopped;
    const DmDefaultAttributes defaultAttributes;
    DmPropertySetPtr made;
    DmStatus status;
    try
    {
        dmJson::Pieces pieces(source, mayChange);
        if (!dmJson::FastReader(pieces).read(made))
        {
            std::string text;
            if (pieces.all(text))
                status = dmJson::LiteralReader(text, changes).read(made, stopped);
            else
                status.fail(noCode, "JSON parse error"); // somebody has written the file meanwhile
        }
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
DmStatus handOut(DmStatus status, CoSharedPtr<DmRoot>& made, DmRoot*& root)
{
    if (status.ok())
        root = made.release();
    return status;
}

} // namespace

DmStatus DmJsonImporter::importSetFromFile(const char* path, CoSharedPtr<DmPropertySet>& set, DmJsonPlace* place,
                                           DmJsonChanges* changes)
{
    DmStatus status;
    dmJson::FileSource file(path ? path : "");
    if (file.error() != 0)
    {
        status.fail(noCode, "Could not open file '%s'", path ? path : "");
        return status;
    }
    DmPropertySetPtr made;
    status = read(file, made, place, changes);
    if (file.error() != 0) // what was read is not the document
        status.fail(noCode, "Could not read file '%s': %s", path, std::strerror(file.error()));
    if (status.ok())
        set = made;
    return status;
}

DmStatus DmJsonImporter::importSetFromStr(std::string_view json, CoSharedPtr<DmPropertySet>& set, DmJsonPlace* place,
                                          DmJsonChanges* changes)
{
    dmJson::TextSource text(json);
    return read(text, set, place, changes, false);
}

DmStatus DmJsonImporter::importRootFromFile(const char* path, CoSharedPtr<DmRoot>& root, DmJsonPlace* place,
                                            DmJsonChanges* changes)
{
    DmPropertySetPtr set;
    DmStatus status = importSetFromFile(path, set, place, changes);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRootFromStr(const char* json, CoSharedPtr<DmRoot>& root, DmJsonPlace* place,
                                           DmJsonChanges* changes)
{
    dmJson::ZeroEndedSource text(json ? json : "");
    DmPropertySetPtr set;
    DmStatus status = read(text, set, place, changes, false);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRoot(DmJsonSource& source, CoSharedPtr<DmRoot>& root, DmJsonPlace* place,
                                    DmJsonChanges* changes)
{
    DmPropertySetPtr set;
    DmStatus status = read(source, set, place, changes);
    return asRoot(std::move(status), set, root);
}

DmStatus DmJsonImporter::importRootFromFile(const char* path, DmRoot*& root)
{
    CoSharedPtr<DmRoot> made;
    DmStatus status = importRootFromFile(path, made);
    return handOut(std::move(status), made, root);
}

DmStatus DmJsonImporter::importRootFromStr(const char* json, DmRoot*& root)
{
    CoSharedPtr<DmRoot> made;
    DmStatus status = importRootFromStr(json, made);
    return handOut(std::move(status), made, root);
}
