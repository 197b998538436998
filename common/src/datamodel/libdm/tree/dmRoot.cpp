#include "dmRoot.h"

#include "dmDeclare.h"

DmRoot::DmRoot(const DmNodeId& id)
    : DmNode(DM_ROOT_NODE, id, DmPropertySetInit<DmRoot>::data())
    , _identification(DmIdentification::create())
{
}

eDmErrorId DmRoot::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .mandatory<Identification>(L"identification", _identification, "Who and what made the tree.")
        .status();
}

eDmErrorId DmRoot::setIdentification(DmIdentification* identification)
{
    return setIdentification(CoSharedPtr<DmIdentification>(identification));
}

eDmErrorId DmRoot::setIdentification(const CoSharedPtr<DmIdentification>& identification)
{
    return set(Identification, identification);
}
