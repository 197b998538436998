#include "dmTrxEffectNode.h"

#include "dmDeclare.h"

DmTrxEffectNode::DmTrxEffectNode(const DmNodeId& id)
    : DmNode(DM_TRX_EFFECT_NODE, id, DmPropertySetInit<DmTrxEffectNode>::data())
{
}

eDmErrorId DmTrxEffectNode::createList()
{
    return declare(*this, DmTransitionNode::createList())
        .mandatory<Effect>(L"effect", _effect, "The effect that leads from one segment into the next.")
        .status();
}

CoSharedPtr<DmTrxEffectNode> DmTrxEffectNode::create(const CoSharedPtr<DmEffectSettings>& effect, double recIn,
                                                     double recLength, double relIn)
{
    CoSharedPtr<DmTrxEffectNode> node = create();
    if (node && (node->setEffect(effect) != DM_NO_ERROR || node->setRecIn(recIn) != DM_NO_ERROR ||
                 node->setRecLength(recLength) != DM_NO_ERROR || node->setRelIn(relIn) != DM_NO_ERROR ||
                 node->setMediaType(effect ? effect->getMediaType() : DM_MEDIA_UNDEFINED) != DM_NO_ERROR))
        node.reset();
    return node;
}
