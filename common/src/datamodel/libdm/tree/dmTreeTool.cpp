#include "dmTreeTool.h"

#include "dmAsciiDumpVisitor.h"
#include "dmElementImp.h"
#include "dmRecordSearch.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmTreeIterator.h"

#include <algorithm>

// Rules

unsigned DmTreeTool::getValidationOptions(const DmCompositionNode* composition)
{
    return composition && composition->getOrigin() == DM_ORIGIN_STRICT ? DM_VALIDATE_ALL : 0U;
}

bool DmTreeTool::isValidTree(DmCompositionNode* composition)
{
    if (!composition)
        return false;
    DmValidationVisitor visitor(getValidationOptions(composition));
    return DmPreIt(composition).apply(visitor) == DM_NO_ERROR && visitor.isValid();
}

bool DmTreeTool::isValidTree(const CoSharedPtr<DmCompositionNode>& composition)
{
    return isValidTree(composition.get());
}

std::vector<DmTreeViolation> DmTreeTool::findViolations(DmCompositionNode* composition, unsigned options)
{
    return DmValidationVisitor::findAll(composition, options);
}

std::vector<DmTreeViolation> DmTreeTool::findViolations(const CoSharedPtr<DmCompositionNode>& composition,
                                                        unsigned options)
{
    return findViolations(composition.get(), options);
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

DmTimeRange DmTreeTool::getSourceRange(DmTreeNode* element)
{
    const DmSegmentNode* const segment = dmSegment(element);
    if (!segment || segment->whatIs() == DM_GAP_NODE)
        return {};
    double in = segment->getRelIn();
    if (const auto* const source = dynamic_cast<const DmSourceNode*>(segment))
    {
        const DmSourceNode::Input* const input = source->getSrcInput();
        if (const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(input))
            in += media->getSrcIn();
        else if (const auto* const derived = dynamic_cast<const DmSourceNode::DerivedInput*>(input))
            in += derived->getSrcIn();
    }
    return {in, segment->getRecLength()};
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
