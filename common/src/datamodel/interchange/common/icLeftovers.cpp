#include "icLeftovers.h"

#include "icText.h"
#include "icTree.h"

#include "dmBlobNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <functional>

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

/// What is attached to the node, to be changed: a leftover is replaced by a copy. Null without memory.
DmTreeNode* ownNextOf(DmTreeNode& node)
{
    auto* const next = const_cast<DmTreeNode*>(nextOf(node));
    if (!next || next->whatIs() != DM_BLOB_NODE || !isLeftover(static_cast<const DmBlobNode&>(*next)))
        return next;
    const CoSharedPtr<DmPropertySet> copy = next->clone();
    return copy && node.setBaseBlob(copy) == DM_NO_ERROR ? static_cast<DmTreeNode*>(copy.get()) : nullptr;
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

bool isLeftover(const DmBlobNode& blob)
{
    return isLeftoverType(dmUtf8(blob.getBlobType()));
}

bool isLeftoverType(std::string_view blobType)
{
    constexpr std::array<std::string_view, 4> formats{"edl", "otio", "fcp7xml", "ale"};
    return std::ranges::find(formats, blobType.substr(0, blobType.find(' '))) != formats.end();
}

eDmErrorId setLeftover(DmTreeNode& node, LeftoverType type, std::string_view text)
{
    const DmBlobNode* found = nullptr;
    const DmTreeNode& last = holderOf(node, type, found);
    if (text.empty() && !found)
        return DM_NO_ERROR;
    if (!found && last.getBaseBlob())
        return DM_BAD_PROPERTY_TYPE;
    const DmPropertySetPtr behind(found ? found->getBaseBlob() : nullptr);
    // Nodes share what is attached to them: what stands in front gives way to copies, and the leftover to a new one.
    DmTreeNode* at = &node;
    while (at && nextOf(*at) != found)
        at = ownNextOf(*at);
    if (!at)
        return DM_BAD_VALUE;
    DmTreeNode& holder = *at;
    if (text.empty())
        return holder.setBaseBlob(behind);
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

eDmErrorId SharedLeftovers::set(DmTreeNode& node, std::string_view text)
{
    if (text.empty())
        return setLeftover(node, _type, text);
    if (node.getBaseBlob())
    {
        ++_size;
        return setLeftover(node, _type, text);
    }
    CoSharedPtr<DmBlobNode>& blob = _blobs[std::hash<std::string_view>()(text) % _blobs.size()];
    if (blob && dmUtf8(blob->getData()) == text)
        return node.setBaseBlob(blob);
    ++_size;
    const eDmErrorId status = setLeftover(node, _type, text);
    blob.reset(status == DM_NO_ERROR ? static_cast<DmBlobNode*>(node.getBaseBlob()) : nullptr);
    return status;
}

} // namespace interchange
