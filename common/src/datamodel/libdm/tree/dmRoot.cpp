#include "dmRoot.h"

#include "dmDeclare.h"

#include <new>

DmRoot::DmRoot(const DmNodeId& id)
    : DmNode(DM_ROOT_NODE, id, DmPropertySetInit<DmRoot>::data())
    , _identification(DmIdentification::create())
{
    if (!_identification)
        throw std::bad_alloc(); // the factory answers that there is no root
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
