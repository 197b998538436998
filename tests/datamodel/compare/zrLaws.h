/// What holds for any two and any three documents: for the tests, from seeds, and for the fuzz target, from its input.
#pragma once

#include "zrMutations.h"

#include <ZRdmtree.h>

namespace zrLaws
{

using zrMutations::Source;
using zrMutations::written;

/// Of a document, another version of it, as files have them.
inline CoSharedPtr<DmRoot> changed(const DmRoot& root, Source& source)
{
    const auto copy = zrMutations::reread(root);
    for (unsigned n = source.below(8); n-- > 0;)
        zrMutations::mutate(*copy, source);
    return zrMutations::reread(*copy);
}

/// Why a patch does not lead from one to the other; empty when it does.
inline std::string patchFault(const DmRoot& a, const DmRoot& b)
{
    DmPatch made;
    DmPatch patch;
    CoSharedPtr<DmRoot> result;
    DmPatchReport report;
    if (DmPatch::make(a, b, made).failed() || DmPatch::read(made.json(), patch).failed())
        return "no patch can be made and read";
    if (const DmStatus status = patch.apply(a, result, report); status.failed())
        return dmUtf8(status.info()) + made.json();
    if (written(*result) != written(b) || !report.left.empty())
        return "it leads elsewhere: " + made.json();
    if (patch.isEmpty() != (written(a) == written(b)))
        return "it is empty, or is not";
    return DmDiff::between(&a, &b).isSame() && written(a) != written(b) ? "a wrong \"the same\"" : "";
}

/// Which identity of merges fails; empty when all hold.
inline std::string mergeFault(const DmRoot& a, const DmRoot& b, const DmRoot& c)
{
    const std::string other = written(b);
    const auto merged = [](const DmRoot& base, const DmRoot& ours, const DmRoot& theirs)
    {
        const DmMerge merge = DmMerge::merge(&base, ours, theirs);
        return merge.result() ? written(*merge.result()) : dmUtf8(merge.status().info());
    };
    if (merged(a, a, b) != other)
        return "merge(A, A, B) is not B";
    if (merged(a, b, a) != other)
        return "merge(A, B, A) is not B";
    if (merged(a, b, b) != other)
        return "merge(A, B, B) is not B";
    return DmMerge::merge(&a, b, c).result() && DmMerge::merge(nullptr, b, c).result() ? "" : "no result";
}

} // namespace zrLaws
