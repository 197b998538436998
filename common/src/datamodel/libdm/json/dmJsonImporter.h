/// Opens documents: rebuilds the tree, or any property set, that DmTreeJsonBuilder wrote.
///
///     CoSharedPtr<DmRoot> root;
///     const DmStatus status = DmJsonImporter::importRootFromFile("edit.json", root);
///     if (status.failed())
///         ...                 // status.info() says why; status.reason() is the property layer's code, or -1
///
/// The importer knows no class of the model: objects are made by class name through the factory, with their default
/// attributes, and filled by property name. An unknown class or property fails the whole import, as does a value that
/// its property cannot hold, text that is not UTF-8, nesting deeper than 1024 objects and arrays, and a document of a
/// newer version. The result is set only on success; on failure `place`, where it is given, tells where. What was
/// stored otherwise than it stands is no failure: `changes`, where it is given, lists it (dmJsonChanges.h).
///
/// Memory: a document without faults or changes is read in pieces of 65536 bytes. Any other is held whole, with at most
/// eight bytes for each of its own.
///
/// Threads: imports run beside each other and beside any creation.
#pragma once

#include "dmJsonChanges.h"
#include "dmPropertySet.h"
#include "dmStatus.h"

#include <cstddef>
#include <string_view>

class DmRoot;

/// A document that is no file, or whose reading is to be watched.
class DmJsonSource
{
public:
    virtual ~DmJsonSource() = default;
    /// Puts the next bytes at `to`, at most `size` (which is not 0); returns how many, 0 at the end. A source that
    /// fails seems to end there: whoever made it asks it afterwards.
    virtual std::size_t read(char* to, std::size_t size) = 0;
    /// Goes back to the first byte. A source that cannot answers false; its bytes are then kept while they are read.
    virtual bool rewind() { return false; }
};

class ZR_DM_API DmJsonImporter
{
public:
    /// The document must hold a DmRoot. `root` counts zero: put it in a CoSharedPtr.
    static DmStatus importRootFromFile(const char* path, DmRoot*& root);
    /// `json` is UTF-8 that ends with a zero.
    static DmStatus importRootFromStr(const char* json, DmRoot*& root);
    static DmStatus importRootFromFile(const char* path, CoSharedPtr<DmRoot>& root, DmJsonPlace* place = nullptr,
                                       DmJsonChanges* changes = nullptr);
    static DmStatus importRootFromStr(const char* json, CoSharedPtr<DmRoot>& root, DmJsonPlace* place = nullptr,
                                      DmJsonChanges* changes = nullptr);
    static DmStatus importRoot(DmJsonSource& source, CoSharedPtr<DmRoot>& root, DmJsonPlace* place = nullptr,
                               DmJsonChanges* changes = nullptr);

    /// A document of any property set.
    static DmStatus importSetFromFile(const char* path, CoSharedPtr<DmPropertySet>& set, DmJsonPlace* place = nullptr,
                                      DmJsonChanges* changes = nullptr);
    /// A zero byte ends nothing here.
    static DmStatus importSetFromStr(std::string_view json, CoSharedPtr<DmPropertySet>& set,
                                     DmJsonPlace* place = nullptr, DmJsonChanges* changes = nullptr);
};
