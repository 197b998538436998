#include "dmTreeVisitor.h"

#include "dmBatchFxNode.h"
#include "dmBlobNode.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmRoot.h"
#include "dmSourceNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"

#include "envVar.h"
#include "zrPost.h"

namespace
{
ZR_ENV_VAR(bool, traceVisitors, "ZR_DEBUG_DM_TREE_VISITOR", false);
}

DmTreeVisitor::DmTreeVisitor(const char* name)
    : _name(name ? name : "")
    , _trace(traceVisitors().getValue())
{
}

DmTreeVisitor::~DmTreeVisitor() = default;

// From class to kind, and from kind to node.

void DmTreeVisitor::visitCompositionNode(DmCompositionNode* node)
{
    visitCollection(node);
}

void DmTreeVisitor::visitTrackNode(DmTrackNode* node)
{
    visitCollection(node);
}

void DmTreeVisitor::visitLayerNode(DmLayerNode* node)
{
    visitCollection(node);
}

void DmTreeVisitor::visitTransitionNode(DmTransitionNode* node)
{
    visitTransition(node);
}

void DmTreeVisitor::visitCutNode(DmCutNode* node)
{
    visitTransition(node);
}

void DmTreeVisitor::visitTrxEffectNode(DmTrxEffectNode* node)
{
    visitTransition(node);
}

void DmTreeVisitor::visitSegmentNode(DmSegmentNode* node)
{
    visitSegment(node);
}

void DmTreeVisitor::visitSourceNode(DmSourceNode* node)
{
    visitSegment(node);
}

void DmTreeVisitor::visitContainerNode(DmContainerNode* node)
{
    visitContainer(node);
}

void DmTreeVisitor::visitGapNode(DmGapNode* node)
{
    visitSegment(node);
}

void DmTreeVisitor::visitBlobNode(DmBlobNode* node)
{
    visitNode(node);
}

void DmTreeVisitor::visitBatchFxNode(DmBatchFxNode* node)
{
    visitSegment(node);
}

void DmTreeVisitor::visitReelNode(DmReelNode* node)
{
    visitCollection(node);
}

void DmTreeVisitor::visitRootNode(DmRoot* node)
{
    visitCollection(node);
}

void DmTreeVisitor::visitNode(DmTreeNode* /*node*/) {}

void DmTreeVisitor::visitCollection(DmCollectionNode* node)
{
    visitNode(node);
}

void DmTreeVisitor::visitSegment(DmSegmentNode* node)
{
    visitNode(node);
}

void DmTreeVisitor::visitContainer(DmSegmentNode* node)
{
    visitSegment(node);
}

void DmTreeVisitor::visitTransition(DmTransitionNode* node)
{
    visitNode(node);
}

void DmTreeVisitor::postProcessCollection(DmCollectionNode* /*node*/) {}

void DmTreeVisitor::postProcessCompositionNode(DmCompositionNode* node)
{
    postProcessCollection(node);
}

void DmTreeVisitor::postProcessTrackNode(DmTrackNode* node)
{
    postProcessCollection(node);
}

void DmTreeVisitor::postProcessLayerNode(DmLayerNode* node)
{
    postProcessCollection(node);
}

void DmTreeVisitor::postProcessReelNode(DmReelNode* node)
{
    postProcessCollection(node);
}

void DmTreeVisitor::postProcessRootNode(DmRoot* node)
{
    postProcessCollection(node);
}

void DmTreeVisitor::notFollowed(DmTreeNode* /*node*/, DmNotFollowed /*why*/) {}

/// At notice level: who sets the variable wants to see the lines without turning every other debug message on.
void DmTreeVisitor::trace(const DmTreeNode& node) const
{
    ZR_POST_NOTICE("DmTree VISITOR %s: Visiting %ls \"%ls\"", _name, node.getPSetName().c_str(),
                   node.getName().c_str());
}
