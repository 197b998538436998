#include "dmTreeTool.h"

#include "dmAsciiDumpVisitor.h"
#include "dmElementImp.h"
#include "dmMaterial.h"
#include "dmMemoryImp.h"
#include "dmPlayed.h"
#include "dmRecordSearch.h"
#include "dmSetTools.h"
#include "dmTreeIterator.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

// Rules

unsigned DmTreeTool::getValidationOptions(const DmCompositionNode* composition)
{
    return composition && composition->getOrigin() == DM_ORIGIN_STRICT ? DM_VALIDATE_ALL : 0U;
}

bool DmTreeTool::isValidTree(DmCompositionNode* composition)
{
    if (!composition)
        return false;
    const auto validate = [composition]
    {
        DmValidationVisitor visitor(getValidationOptions(composition));
        const eDmErrorId status = DmPreIt(composition).applyOrThrow(visitor);
        return visitor.isValid() ? status : DM_BAD_VALUE;
    };
    return dmWithMemory(validate) == DM_NO_ERROR;
}

bool DmTreeTool::isValidTree(const CoSharedPtr<DmCompositionNode>& composition)
{
    return isValidTree(composition.get());
}

std::vector<DmTreeViolation> DmTreeTool::findViolations(DmCompositionNode* composition, unsigned options,
                                                        eDmErrorId* status)
{
    return dmListWithMemory<DmTreeViolation>(status, [&](std::vector<DmTreeViolation>& found)
                                             { DmValidationVisitor::findAll(composition, options, found); });
}

std::vector<DmTreeViolation> DmTreeTool::findViolations(const CoSharedPtr<DmCompositionNode>& composition,
                                                        unsigned options, eDmErrorId* status)
{
    return findViolations(composition.get(), options, status);
}

// Times of sources

namespace
{

/// The composition that a node stands in: the nearest one on the way to it.
const DmCompositionNode* compositionAbove(const DmTreePath& path)
{
    for (int i = 1; i <= path.depth(); ++i)
        if (const auto* const composition = dynamic_cast<const DmCompositionNode*>(path.above(i)))
            return composition;
    return nullptr;
}

/// Calls `use` with each source of a tree, once, and the way to it.
template <class Use>
class EachSource final : public DmTreeVisitor
{
public:
    explicit EachSource(const Use& use)
        : DmTreeVisitor("EachSource")
        , _use(use)
    {
    }
    void visitSourceNode(DmSourceNode* node) override
    {
        if (node->refCount() <= 1 || _known.insert(node).second)
            _use(*node, *path());
    }

private:
    const Use& _use;
    std::unordered_set<const DmSourceNode*> _known; ///< of those that may stand in several places
};

template <class Use>
void forEachSource(DmTreeNode* tree, const Use& use)
{
    EachSource visitor(use);
    static_cast<void>(
        DmPreIt(tree, {.intoContainers = true, .sharedOnce = true}).applyOrThrow(visitor)); // cycles are left out
}

} // namespace

std::vector<DmFaultySource> DmTreeTool::findTimeFaults(const DmTreeNode* tree, eDmErrorId* status)
{
    const auto find = [tree](std::vector<DmFaultySource>& found)
    {
        const auto look = [&found](const DmSourceNode& source, const DmTreePath& path)
        {
            const DmTimeFaults faults = source.findTimeFaults();
            if (faults.empty())
                return;
            const DmCompositionNode* const composition = compositionAbove(path);
            found.push_back({CoSharedPtr<const DmSourceNode>(&source), path.text(),
                             composition ? composition->getRecordLabel(source.getRecIn()) : std::string(), faults});
        };
        forEachSource(const_cast<DmTreeNode*>(tree), look); // visitors are given nodes to change: this one does not
    };
    return dmListWithMemory<DmFaultySource>(status, find);
}

eDmErrorId DmTreeTool::repairTimes(DmTreeNode* tree)
{
    eDmErrorId first = DM_NO_ERROR;
    const auto repair = [&first](DmSourceNode& source, const DmTreePath& /*path*/)
    {
        const eDmErrorId status = source.repairTimes();
        first = first == DM_NO_ERROR ? status : first;
    };
    const eDmErrorId walked = dmWithMemory(
        [&]
        {
            forEachSource(tree, repair);
            return DM_NO_ERROR;
        });
    return first == DM_NO_ERROR ? walked : first;
}

// Copies

CoSharedPtr<DmTreeNode> DmTreeTool::deepClone(const DmTreeNode* tree)
{
    DmPropertySetPtr copy;
    const bool isCopied = tree && dmDeepCopy(*tree, copy) == DM_NO_ERROR;
    return isCopied ? DM::staticPointerCast<DmTreeNode>(copy) : CoSharedPtr<DmTreeNode>();
}

bool DmTreeTool::areEqual(const DmTreeNode* a, const DmTreeNode* b, std::string* difference)
{
    if (!a || !b)
        return a == b;
    bool equal = false;
    return dmDeepEqual(*a, *b, equal, difference) == DM_NO_ERROR && equal;
}

// Text

eDmErrorId DmTreeTool::dump(DmTreeNode* tree, std::ostream& out, int maxDepth)
{
    DmAsciiDumpVisitor visitor(out);
    return DmPreIt(tree, {.intoContainers = true, .sharedOnce = true, .maxDepth = maxDepth}).apply(visitor);
}

// Record time

namespace
{

/// The last segment of a layer that begins at or before a time (with `strictly`, before it); -1 for none.
int lastBegun(const DmLayerNode& layer, double time, bool strictly)
{
    const auto recIn = [&layer](int position)
    {
        const DmSegmentNode* const segment = dmSegment(layer.getChild(position));
        return segment ? std::optional<double>(segment->getRecIn()) : std::nullopt;
    };
    return dmLastBegun(layer.getNbChildren(), time, strictly, recIn);
}

/// Whether a transition that takes time stands at a position. Nothing else tells when it ends but the segment behind
/// it, and where there is none, its own length.
bool isTransitionUntil(const DmLayerNode& layer, int position, double time)
{
    DmTransitionNode* const transition = dmTransition(layer.getChild(position));
    return transition && transition->whatIs() != DM_CUT_NODE &&
           (dmSegment(layer.getChild(position + 1)) || time < transition->getRecOut());
}

} // namespace

DmTimeRange DmTreeTool::getRecordRange(DmTreeNode* element)
{
    if (const DmSegmentNode* const segment = dmSegment(element))
        return {segment->getRecIn(), segment->getRecLength()};
    if (const DmTransitionNode* const transition = dmTransition(element))
        return {transition->getRecIn(), transition->getRecLength()};
    return {};
}

DmTimeRange DmTreeTool::getSourceRange(DmTreeNode* element, DM::FrameCodeModes compositionFcm)
{
    const DmSegmentNode* const segment = dmSegment(element);
    if (!segment || segment->whatIs() == DM_GAP_NODE)
        return {};
    const DmPlayed played(*segment, compositionFcm);
    if (played.motion() == DmPlayed::Motion::None)
        return {segment->getRelIn(), segment->getRecLength()};
    const double begin = segment->getNestedComposition() ? 0.0 : dmMaterialOf(*segment, compositionFcm).begin;
    return {begin + played.begin(), played.length()};
}

int DmTreeTool::getElementIndexAt(const DmLayerNode* layer, double time)
{
    const int begun = layer ? lastBegun(*layer, time, false) : -1;
    if (begun < 0)
        return -1;
    if (time < dmSegment(layer->getChild(begun))->getRecOut())
        return begun;
    return isTransitionUntil(*layer, begun + 1, time) ? begun + 1 : -1;
}

DmTreeNode* DmTreeTool::getElementAt(const DmLayerNode* layer, double time)
{
    return layer ? layer->getChild(getElementIndexAt(layer, time)) : nullptr;
}

DmElementSpan DmTreeTool::getElementsIn(const DmLayerNode* layer, double in, double out)
{
    if (!layer || !(in < out))
        return {};
    // From what plays at the begin, or else the next segment, to the last one that begins before the end.
    DmElementSpan span;
    span.first = getElementIndexAt(layer, in);
    if (span.first < 0)
    {
        span.first = lastBegun(*layer, in, false) + 1;
        while (span.first < layer->getNbChildren() && !dmSegment(layer->getChild(span.first)))
            ++span.first;
    }
    const int begun = lastBegun(*layer, out, true);
    span.last = begun + 1;
    if (begun >= 0 && dmSegment(layer->getChild(begun))->getRecOut() < out && isTransitionUntil(*layer, begun + 1, in))
        ++span.last;
    span.last = std::max(span.first, span.last);
    return span;
}
