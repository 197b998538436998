#include "dmTreeVisitor.h"

#include "dmTreeNode.h"

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

// A visitor overrides what it is about.

void DmTreeVisitor::visitCompositionNode(DmCompositionNode* /*node*/) {}
void DmTreeVisitor::visitTrackNode(DmTrackNode* /*node*/) {}
void DmTreeVisitor::visitLayerNode(DmLayerNode* /*node*/) {}
void DmTreeVisitor::visitTransitionNode(DmTransitionNode* /*node*/) {}
void DmTreeVisitor::visitCutNode(DmCutNode* /*node*/) {}
void DmTreeVisitor::visitTrxEffectNode(DmTrxEffectNode* /*node*/) {}
void DmTreeVisitor::visitSegmentNode(DmSegmentNode* /*node*/) {}
void DmTreeVisitor::visitSourceNode(DmSourceNode* /*node*/) {}
void DmTreeVisitor::visitContainerNode(DmContainerNode* /*node*/) {}
void DmTreeVisitor::visitGapNode(DmGapNode* /*node*/) {}
void DmTreeVisitor::visitBlobNode(DmBlobNode* /*node*/) {}
void DmTreeVisitor::visitBatchFxNode(DmBatchFxNode* /*node*/) {}
void DmTreeVisitor::visitReelNode(DmReelNode* /*node*/) {}
void DmTreeVisitor::visitRootNode(DmRoot* /*node*/) {}
void DmTreeVisitor::postProcessCompositionNode(DmCompositionNode* /*node*/) {}
void DmTreeVisitor::postProcessTrackNode(DmTrackNode* /*node*/) {}
void DmTreeVisitor::postProcessLayerNode(DmLayerNode* /*node*/) {}
void DmTreeVisitor::postProcessReelNode(DmReelNode* /*node*/) {}
void DmTreeVisitor::postProcessRootNode(DmRoot* /*node*/) {}
void DmTreeVisitor::notFollowed(DmTreeNode* /*node*/, DmNotFollowed /*why*/) {}

/// At notice level: who sets the variable wants to see the lines without turning every other debug message on.
void DmTreeVisitor::trace(const DmTreeNode& node) const
{
    ZR_POST_NOTICE("DmTree VISITOR %s: Visiting %ls \"%ls\"", _name, node.getPSetName().c_str(),
                   node.getName().c_str());
}
