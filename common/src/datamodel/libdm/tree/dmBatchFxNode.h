/// A segment that is the result of a batch effect. Layers do not take it, although it is a segment.
#pragma once

#include "dmSegmentNode.h"

class ZR_DM_API DmBatchFxNode final : public DmNode<DmBatchFxNode, DmSegmentNode, &DmTreeVisitor::visitBatchFxNode>
{
public:
    enum Property : int
    {
        SetupFileName = FirstOwn,
        Setup,
        PropertyCount
    };

    explicit DmBatchFxNode(const DmNodeId& id);
    eDmErrorId createList() override;

    const DmString& getSetupFileName() const { return _setupFileName; }
    eDmErrorId setSetupFileName(const DmString& name) { return set(SetupFileName, name); }
    /// The setup itself, as the effect wrote it.
    const DmString& getSetup() const { return _setup; }
    eDmErrorId setSetup(const DmString& setup) { return set(Setup, setup); }

private:
    DmString _setupFileName;
    DmString _setup;
};
