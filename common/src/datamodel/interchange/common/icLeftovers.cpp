#include "icLeftovers.h"

#include "icText.h"
#include "icTree.h"

#include "dmBlobNode.h"
#include "dmUtf8.h"

#include <algorithm>

namespace interchange
{

namespace
{

constexpr int longestChain = 64; ///< of a document that somebody made by hand, and that may run in a circle

/// "otio 2"; of version 1 the bare name.
DmString nameOf(LeftoverType type)
{
    std::string name(type.format);
    return toDmString(type.version == 1 ? name : name.append(" ").append(std::to_string(type.version)));
}

/// Looked for at every node, so without a string of the name.
bool hasType(const DmBlobNode& blob, LeftoverType type)
{
    const std::wstring_view name = blob.getBlobType().view();
    const std::size_t size = type.format.size();
    if (name.size() < size || !std::equal(type.format.begin(), type.format.end(), name.begin()))
        return false;
    if (type.version == 1 || name.size() == size)
        return type.version == 1 && name.size() == size;
    const std::string version = std::to_string(type.version);
    return name[size] == L' ' && std::ranges::equal(version, name.substr(size + 1));
}

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
        if (next->whatIs() == DM_BLOB_NODE && hasType(*static_cast<const DmBlobNode*>(next), type))
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
    const auto blob = DmBlobNode::create(nameOf(type), toDmString(text));
    if (!blob)
        return DM_BAD_VALUE;
    const eDmErrorId status = behind ? blob->setBaseBlob(behind) : DM_NO_ERROR;
    return status == DM_NO_ERROR ? holder.setBaseBlob(blob) : status;
}

} // namespace interchange
