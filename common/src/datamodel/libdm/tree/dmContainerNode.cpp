#include "dmContainerNode.h"

#include "dmDeclare.h"

DmContainerNode::DmContainerNode(const DmNodeId& id)
    : DmNode(DM_CONTAINER_NODE, id, DmPropertySetInit<DmContainerNode>::data())
{
}

eDmErrorId DmContainerNode::createList()
{
    return declare(*this, DmSegmentNode::createList())
        .mandatory<Composition>(L"composition", _composition, "The composition that plays inside the container.")
        .status();
}

CoSharedPtr<DmContainerNode> DmContainerNode::create(const CoSharedPtr<DmCompositionNode>& composition,
                                                     eDmTreeMediaType mediaType, double recIn, double recLength,
                                                     double relIn)
{
    CoSharedPtr<DmContainerNode> node = placed(create(), mediaType, recIn, recLength, relIn);
    if (node && node->setComposition(composition) != DM_NO_ERROR)
        node.reset();
    return node;
}

eDmErrorId DmContainerNode::setComposition(DmCompositionNode* composition)
{
    return setComposition(CoSharedPtr<DmCompositionNode>(composition));
}

eDmErrorId DmContainerNode::setComposition(const CoSharedPtr<DmCompositionNode>& composition)
{
    return set(Composition, composition);
}
