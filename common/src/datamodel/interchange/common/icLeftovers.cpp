#include "icLeftovers.h"

#include "icText.h"

#include "dmBlobNode.h"
#include "dmUtf8.h"

namespace interchange
{

namespace
{

constexpr int longestChain = 64; ///< of a document that somebody made by hand, and that may run in a circle

std::string nameOf(LeftoverType type)
{
    std::string name(type.format);
    return type.version == 1 ? name : name.append(" ").append(std::to_string(type.version));
}

DmTreeNode* nextOf(const DmTreeNode& node)
{
    return dynamic_cast<DmTreeNode*>(node.getBaseBlob());
}

/// The node whose attached set is the leftover; the last of the chain where there is none.
const DmTreeNode& holderOf(const DmTreeNode& node, const DmString& name, const DmBlobNode*& found)
{
    found = nullptr;
    const DmTreeNode* at = &node;
    for (int i = 0; i < longestChain; ++i)
    {
        const DmTreeNode* const next = nextOf(*at);
        if (!next)
            break;
        if (next->whatIs() == DM_BLOB_NODE && static_cast<const DmBlobNode*>(next)->getBlobType() == name)
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
    holderOf(node, toDmString(nameOf(type)), found);
    return found ? std::optional(dmUtf8(found->getData())) : std::nullopt;
}

eDmErrorId setLeftover(DmTreeNode& node, LeftoverType type, std::string_view text)
{
    const DmString name = toDmString(nameOf(type));
    const DmBlobNode* found = nullptr;
    auto& holder = const_cast<DmTreeNode&>(holderOf(node, name, found));
    const DmPropertySetPtr behind(found ? found->getBaseBlob() : nullptr);
    if (text.empty())
        return found ? holder.setBaseBlob(behind) : DM_NO_ERROR;
    if (!found && holder.getBaseBlob())
        return DM_BAD_PROPERTY_TYPE;
    // A new one: copies of a node share what is attached to them.
    const auto blob = DmBlobNode::create(name, toDmString(text));
    if (!blob)
        return DM_BAD_VALUE;
    const eDmErrorId status = behind ? blob->setBaseBlob(behind) : DM_NO_ERROR;
    return status == DM_NO_ERROR ? holder.setBaseBlob(blob) : status;
}

} // namespace interchange
