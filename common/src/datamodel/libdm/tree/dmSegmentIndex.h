/// Finds the segments of a composition by their "segmentId".
///
///     DmSegmentIndex index(composition);
///     if (const DmSegmentNode* const segment = index.find(L"a1"))
///         show(segment);
///
/// The composition is walked once, on the first question; from then on an answer takes constant time. What containers
/// hold has ids of its own and is not part of it. Of segments with one id, the first of the walk is found; an empty id
/// is nobody's.
///
/// The index knows the composition as it was on that first question. It is stale when since then a segment was added or
/// removed, or given another id: a segment that was added is not found, one that was removed still is, and one whose id
/// was changed is found neither under the old id nor under the new one. refresh() puts that right. The segments found
/// stay alive as long as the index does.
///
/// Threads: the first question changes the index. From then on any number of threads may ask.
#pragma once

#include "dmCompositionNode.h"

#include <memory>

template <class Kept>
class DmIdTable;
class DmSegmentNode;

class ZR_DM_API DmSegmentIndex
{
public:
    /// Keeps the composition alive; an index of none finds nothing.
    explicit DmSegmentIndex(const CoSharedPtr<DmCompositionNode>& composition);
    explicit DmSegmentIndex(DmCompositionNode* composition);
    DmSegmentIndex(DmSegmentIndex&& other) noexcept;
    DmSegmentIndex& operator=(DmSegmentIndex&& other) noexcept;
    ~DmSegmentIndex();

    /// Null when no segment has the id. `status`, if given, is DM_BAD_VALUE when there was no memory to know it: the
    /// next question walks again.
    DmSegmentNode* find(const DmString& id, eDmErrorId* status = nullptr);
    /// The next question walks the composition again.
    void refresh();

private:
    CoSharedPtr<DmCompositionNode> _composition;
    std::unique_ptr<DmIdTable<CoSharedPtr<DmSegmentNode>>> _segments; ///< null until the first question
};
