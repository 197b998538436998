/// A segment whose material is a composition of its own: a nested edit. A copy shares the composition.
#pragma once

#include "dmCompositionNode.h"
#include "dmSegmentNode.h"

class ZR_DM_API DmContainerNode final
    : public DmNode<DmContainerNode, DmSegmentNode, &DmTreeVisitor::visitContainerNode>
{
public:
    enum Property : int
    {
        Composition = FirstOwn,
        PropertyCount
    };

    explicit DmContainerNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    /// Shares the composition.
    static CoSharedPtr<DmContainerNode> create(const CoSharedPtr<DmCompositionNode>& composition,
                                               eDmTreeMediaType mediaType, double recIn, double recLength,
                                               double relIn = 0.0);

    /// Null when there is none, which validation reports.
    DmCompositionNode* getComposition() const { return _composition.get(); }
    DmCompositionNode* getNestedComposition() const override { return _composition.get(); }
    /// Shares the composition. One that holds this container, on whatever way, is an error that every walk reports.
    eDmErrorId setComposition(DmCompositionNode* composition);
    eDmErrorId setComposition(const CoSharedPtr<DmCompositionNode>& composition);

private:
    DmNested<DmCompositionNode> _composition;
};
