/// An operation over a tree: one function for each class of node, which does nothing until one is overridden.
///
///     class ClipCounter : public DmTreeVisitor
///     {
///     public:
///         ClipCounter() : DmTreeVisitor("ClipCounter") {}
///         void visitSourceNode(DmSourceNode*) override { ++clips; }
///         int clips = 0;
///     };
///
/// DmTreeNode::accept calls the function of the node's own class. One that is not overridden calls that of the node's
/// kind, and that one visitNode; what is overridden calls nothing more unless it says so. So a visitor that is about
/// all segments overrides visitSegment, and meets those of classes that are yet to be written. The node is never null.
/// Which nodes are visited, and in which order, is the business of whoever walks, for example of a DmPreIt. A node that
/// stands in several places is visited at each.
#pragma once

#include "zrExport.h"

class DmBatchFxNode;
class DmBlobNode;
class DmCollectionNode;
class DmCompositionNode;
class DmContainerNode;
class DmCutNode;
class DmGapNode;
class DmLayerNode;
class DmReelNode;
class DmRoot;
class DmSegmentNode;
class DmSourceNode;
class DmTrackNode;
class DmTransitionNode;
class DmTreeNode;
class DmTreePath;
class DmTrxEffectNode;

/// Why a walk does not go on below a node.
enum class DmNotFollowed
{
    BelowItself, ///< the node stands below itself: it has been visited higher up, and is not visited here
    TooDeep,     ///< the node stands deeper than dmMaxNesting, and is not visited
    Known        ///< a walk that goes into shared nodes once has been below the node, which is visited, before
};

class ZR_DM_API DmTreeVisitor
{
public:
    /// The name is kept as a pointer: a literal. It heads the lines that ZR_DEBUG_DM_TREE_VISITOR asks for, which is
    /// read here.
    explicit DmTreeVisitor(const char* name);
    virtual ~DmTreeVisitor();

    const char* getName() const { return _name; }

    // By class

    virtual void visitCompositionNode(DmCompositionNode* node);
    virtual void visitTrackNode(DmTrackNode* node);
    virtual void visitLayerNode(DmLayerNode* node);
    virtual void visitTransitionNode(DmTransitionNode* node); ///< for transitions that have no function of their own
    virtual void visitCutNode(DmCutNode* node);
    virtual void visitTrxEffectNode(DmTrxEffectNode* node);
    virtual void visitSegmentNode(DmSegmentNode* node); ///< for segments that have no function of their own
    virtual void visitSourceNode(DmSourceNode* node);
    virtual void visitContainerNode(DmContainerNode* node);
    virtual void visitGapNode(DmGapNode* node);
    virtual void visitBlobNode(DmBlobNode* node);
    virtual void visitBatchFxNode(DmBatchFxNode* node);
    virtual void visitReelNode(DmReelNode* node);
    virtual void visitRootNode(DmRoot* node);

    // By kind: where the functions above end, unless they are overridden

    virtual void visitNode(DmTreeNode* node); ///< everything
    virtual void visitCollection(DmCollectionNode* node);
    virtual void visitSegment(DmSegmentNode* node);
    virtual void visitContainer(DmSegmentNode* node); ///< segments that play a composition; goes on to visitSegment
    virtual void visitTransition(DmTransitionNode* node);

    // Of collections, after their children; by class, and where these end, by kind

    virtual void postProcessCollection(DmCollectionNode* node);
    virtual void postProcessCompositionNode(DmCompositionNode* node);
    virtual void postProcessTrackNode(DmTrackNode* node);
    virtual void postProcessLayerNode(DmLayerNode* node);
    virtual void postProcessReelNode(DmReelNode* node);
    virtual void postProcessRootNode(DmRoot* node);

    /// A node whose children the walk leaves out.
    virtual void notFollowed(DmTreeNode* node, DmNotFollowed why);

    /// The way that the walk has come, the node being visited included; null outside a walk.
    const DmTreePath* path() const { return _path; }
    bool hasStopped() const { return _stopped; }

    /// Called by accept: the trace, when it is asked for.
    void visiting(const DmTreeNode& node) const
    {
        if (_trace)
            trace(node);
    }

protected:
    /// Ends the walk, and every later one, before the next node; false lets walks go on again.
    void stop(bool stopped = true) { _stopped = stopped; }

private:
    friend class DmTreeIterator;

    void trace(const DmTreeNode& node) const;

    const char* _name;
    const DmTreePath* _path = nullptr;
    bool _trace;
    bool _stopped = false;
};
