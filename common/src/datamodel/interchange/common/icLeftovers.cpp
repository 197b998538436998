#include "icLeftovers.h"

#include "icText.h"
#include "icTree.h"

#include "dmBlobNode.h"
#include "dmUtf8.h"

namespace interchange
{

namespace
{

constexpr int longestChain = 64; ///< of a document that somebody made by hand, and that may run in a circle

const DmTreeNode* nextOf(const DmTreeNode& node)
{
    const DmPropertySet* const set = node.getBaseBlob();
    const DmBlobNode* const blob = as<DmBlobNode>(set);
    return blob ? blob : dynamic_cast<const DmTreeNode*>(set);
}

/// The node whose attached set is the leftover; the last of the chain where there is none.
const DmTreeNode& holderOf(const DmTreeNode& node, LeftoverType type, const DmBlobNode*& found)
{
    found = nullptr;
    const DmTreeNode* at = &node;
    for (int i = 0; i < longestChain; ++i)
    {
        const DmTreeNode* const next = nextOf(*at);
        if (!next)
            break;
        if (next->whatIs() == DM_BLOB_NODE &&
            static_cast<const DmBlobNode*>(next)->getBlobType().view() == type.blobType)
        {
            found = static_cast<const DmBlobNode*>(next);
            break;
        }
        at = next;
    }
    return *at;
}

} // namespace

std::optional<std::string> leftoverOf(const DmTreeNode& node, LeftoverType type)
{
    if (!node.getBaseBlob())
        return std::nullopt;
    const DmBlobNode* found = nullptr;
    holderOf(node, type, found);
    return found ? std::optional(dmUtf8(found->getData())) : std::nullopt;
}

eDmErrorId setLeftover(DmTreeNode& node, LeftoverType type, std::string_view text)
{
    const DmBlobNode* found = nullptr;
    auto& holder = const_cast<DmTreeNode&>(holderOf(node, type, found));
    const DmPropertySetPtr behind(found ? found->getBaseBlob() : nullptr);
    if (text.empty())
        return found ? holder.setBaseBlob(behind) : DM_NO_ERROR;
    if (!found && holder.getBaseBlob())
        return DM_BAD_PROPERTY_TYPE;
    // A new one: copies of a node share what is attached to them.
    const CoSharedPtr<DmBlobNode> blob = DmBlobNode::create();
    if (!blob)
        return DM_BAD_VALUE;
    eDmErrorId status = dmTakeText(*blob, DmBlobNode::BlobType, DmString(type.blobType));
    if (status == DM_NO_ERROR)
        status = dmTakeText(*blob, DmBlobNode::Data, toDmString(text));
    if (status == DM_NO_ERROR && behind)
        status = blob->setBaseBlob(behind);
    return status == DM_NO_ERROR ? holder.setBaseBlob(blob) : status;
}

} // namespace interchange
