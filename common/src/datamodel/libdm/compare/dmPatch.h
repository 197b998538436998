/// A difference between two documents as a value that can be kept, sent, and put on a document.
///
///     DmPatch patch;
///     DmStatus status = DmPatch::make(*before, *after, patch);
///     ...
///     CoSharedPtr<DmRoot> result;
///     DmPatchReport report;
///     status = patch.apply(*other, result, report);
///
/// Put on the document that it was made from, it gives the other one, in the bytes in which the library writes it,
/// whatever both hold. On another document each change looks for its shot by who that is (docs/comparing.md) and for
/// its property in it: where the value is the old one it becomes the new one, where it is the new one already nothing
/// is done, and else the change is named and left out.
///
/// Of documents: two objects that are one in memory are patched each at its place.
#pragma once

#include "dmRoot.h"
#include "dmStatus.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct DmPatchReport
{
    int applied = 0;
    int skipped = 0; ///< there already
    /// One sentence for each change that was left out: where, and why.
    std::vector<std::string> left = {};
};

class ZR_DM_API DmPatch
{
public:
    /// No changes.
    DmPatch();
    DmPatch(DmPatch&& other) noexcept;
    DmPatch& operator=(DmPatch&& other) noexcept;
    ~DmPatch();

    /// Fails for trees that cannot be written.
    static DmStatus make(const DmRoot& before, const DmRoot& after, DmPatch& patch);
    /// From the JSON text that json() gives (docs/patch.schema.json); fails for any other, and says why.
    static DmStatus read(std::string_view json, DmPatch& patch);

    bool isEmpty() const;
    std::string json() const;
    /// `result` is a tree of its own, and is set on success only: where the patch leads to no document, the status says
    /// so.
    DmStatus apply(const DmRoot& document, CoSharedPtr<DmRoot>& result, DmPatchReport& report) const;

private:
    struct Imp;
    std::unique_ptr<Imp> _imp;
};
