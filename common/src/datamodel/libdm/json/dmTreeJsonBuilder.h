/// Saves a tree, or any property set, as a JSON document, which DmJsonImporter reads.
///
///     const DmStatus status = DmTreeJsonBuilder::generate(root.get(), "edit.json");
///     if (status.failed())
///         ...                 // the old file, if there was one, is as it was
///
/// The builder knows no class of the model: it writes what the definitions of each set call relevant, in their order,
/// so that the same tree gives the same bytes. Numbers are written so that they read back as the same values; one that
/// is not finite has no JSON form and fails the write with "Json exception", as does a character that UTF-8 has not.
/// What the importer would refuse for its depth is refused here.
///
/// Threads: calls are independent of each other; nobody may change the tree meanwhile.
#pragma once

#include "dmPropertySet.h"
#include "dmStatus.h"

#include <string>

class ZR_DM_API DmTreeJsonBuilder
{
public:
    enum class Layout
    {
        Environment, ///< pretty unless ZR_PRETTY_JSON_DMTREE is false
        Pretty,      ///< a line a value, indented by a tab a level
        Compact      ///< no white space at all
    };

    /// Sets `out` to the whole text.
    static DmStatus generateStr(const DmPropertySet* root, DmString& out, Layout layout = Layout::Environment);
    /// The file is replaced as a whole or not at all; its mode stays. A symbolic link is followed. What is no regular
    /// file (a pipe, /dev/stdout) is written in place.
    static DmStatus generate(const DmPropertySet* root, const char* path, Layout layout = Layout::Environment);
    /// The text as it would stand in a file.
    static DmStatus generateUtf8(const DmPropertySet* root, std::string& out, Layout layout = Layout::Environment);

    static DmStatus generateStr(const CoSharedPtr<DmPropertySet>& root, DmString& out,
                                Layout layout = Layout::Environment)
    {
        return generateStr(root.get(), out, layout);
    }
    static DmStatus generate(const CoSharedPtr<DmPropertySet>& root, const char* path,
                             Layout layout = Layout::Environment)
    {
        return generate(root.get(), path, layout);
    }
    static DmStatus generateUtf8(const CoSharedPtr<DmPropertySet>& root, std::string& out,
                                 Layout layout = Layout::Environment)
    {
        return generateUtf8(root.get(), out, layout);
    }
};
