/// The top of a tree: compositions, reels of them, and the record of who wrote it.
#pragma once

#include "dmCollectionNode.h"
#include "dmIdentification.h"
#include "dmOwnedRecord.h"
#include "dmReelNode.h"

class ZR_DM_API DmRoot final
    : public DmNode<DmRoot, DmCollectionNode, &DmTreeVisitor::visitRootNode, &DmTreeVisitor::postProcessRootNode>
{
public:
    enum Property : int
    {
        Identification = FirstOwn,
        PropertyCount
    };

    explicit DmRoot(const DmNodeId& id);
    eDmErrorId createList() override;

    /// Null only where a document or a caller made it so.
    const DmIdentification* getIdentification() const { return _identification.get(); }
    DmIdentification* getIdentification() { return _identification.get(); }
    /// To be changed: a constant record is first replaced by a copy. Null where there is none or the root is a
    /// constant.
    DmIdentification* ownIdentification() { return _identification.own(*this, Identification); }
    /// Shares the record.
    eDmErrorId setIdentification(DmIdentification* identification);
    eDmErrorId setIdentification(const CoSharedPtr<DmIdentification>& identification);

    /// As addChild.
    int addReel(DmReelNode* reel) { return addChild(reel); }
    int addReel(const CoSharedPtr<DmReelNode>& reel) { return addChild(reel); }

private:
    DmOwnedRecord<DmIdentification> _identification;
};
