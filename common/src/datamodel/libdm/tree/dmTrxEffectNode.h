/// A transition that is made by an effect: a dissolve, a wipe. A copy has a clone of the effect.
#pragma once

#include "dmEffectSettings.h"
#include "dmOwnedRecord.h"
#include "dmTransitionNode.h"

class ZR_DM_API DmTrxEffectNode final
    : public DmNode<DmTrxEffectNode, DmTransitionNode, &DmTreeVisitor::visitTrxEffectNode>
{
public:
    enum Property : int
    {
        Effect = FirstOwn,
        PropertyCount
    };

    explicit DmTrxEffectNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    /// Shares the effect and takes its media type.
    static CoSharedPtr<DmTrxEffectNode> create(const CoSharedPtr<DmEffectSettings>& effect, double recIn,
                                               double recLength, double relIn = 0.0);

    /// Null when there is none, which validation reports.
    DmEffectSettings* getEffect() const { return _effect.get(); }
    eDmErrorId setEffect(const CoSharedPtr<DmEffectSettings>& effect) { return set(Effect, effect); }

private:
    DmOwnedRecord<DmEffectSettings> _effect;
};
