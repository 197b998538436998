/// A tree to change, beside the constant one that it is a copy of.
#pragma once

#include "pyError.h"

#include "dmTreeNode.h"

#include <unordered_map>

namespace zrpy
{

/// What nobody changed in it is told from what somebody did when it is read out: the one is the constant tree's own,
/// the other is copied.
class Draft
{
public:
    /// Raises for a tree that cannot be copied.
    explicit Draft(CoSharedPtr<DmTreeNode> original);

    const CoSharedPtr<DmTreeNode>& tree() const { return _tree; }
    /// The tree as it is now, which shares nothing with the draft. The original itself where nothing was changed.
    CoSharedPtr<DmTreeNode> read() const;

private:
    void pair(const DmPropertySet& original, DmPropertySet& copy);

    CoSharedPtr<DmTreeNode> _original;
    CoSharedPtr<DmTreeNode> _tree;
    std::unordered_map<const DmPropertySet*, const DmPropertySet*> _originals; ///< by copy
};

/// A copy that shares nothing; marks of layers, which are no property, come along. Raises where none can be made.
DmPropertySetPtr deepCopyOf(const DmPropertySet& set);

} // namespace zrpy
