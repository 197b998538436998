/// What travels beside the model's own words: with a node, what its file says and it does not (the leftover); with an
/// object, what its node has and OpenTimelineIO has no words for (the member "ZRdmtree" among its metadata).
///
///     {"node": {...},          // of the node (icOtioOwn.h)
///      "attached": [...],      // what hangs on it, without the leftovers of this format
///      "before": [...],        // what stands in front of it on its layer, where that is not what always does
///      ...}                    // the rest says itself, in icOtioWriter.cpp
///
/// For sources of this library only.
#pragma once

#include "icOtioCheck.h"
#include "icOtioMatch.h"
#include "icOtioParts.h"

#include "dmCompositionNode.h"

#include <optional>
#include <vector>

namespace interchange::otio
{

/// What stands between two elements of a layer where nobody says otherwise.
enum class Between
{
    Nothing,
    Cut,
    EmptyGap
};
/// Null elements are the ends of the layer, or a hole.
Between usualBetween(const DmTreeNode* before, const DmTreeNode* behind);
/// One of them, at that record time; null for nothing.
CoSharedPtr<DmTreeNode> makeBetween(Between what, eDmTreeMediaType mediaType, double time);

class Keep
{
public:
    Keep(Items& items, Parts& parts)
        : _items(items)
        , _parts(parts)
    {
    }

    // Reading

    /// Gives the node what its object says under our key, and its notes, which it answers.
    std::vector<Note> take(DmTreeNode& node, const Value& object, const Value* own) const;
    /// Keeps what the object of a usual clip says beyond its node. None where the clip is not a usual one.
    std::optional<Manner> keepUsual(DmSourceNode& node, const Value& object, Trim trim, const std::vector<Note>& notes);
    /// The same of a fresh one whose leftover is known; empty for none.
    static void keepKnown(DmTreeNode& node, const std::vector<Note>& notes, std::string_view leftover);
    /// Keeps what the object says beyond what is written for the node as it is: `describe` tells a listener that.
    template <class Describe>
    void keepDifference(DmTreeNode& node, const Value& object, const Form& form, Describe&& describe);

    // Writing

    /// The form of the object that is written for a node, and what the node's file said otherwise: null for nothing.
    Form formOf(const DmTreeNode& node, Value& difference);
    /// What a file says of a node that stands alone, read as readers do: of the kind of `like`, whose children and
    /// place it has. `number`: of a track among its kind.
    CoSharedPtr<DmTreeNode> read(const Value& object, const DmTreeNode& like, double length, int number);
    /// Sets "node" and "attached" of an object's own member, which stays null where there is nothing to say.
    void describeDifference(Value& own, const DmTreeNode& node, const DmTreeNode& read, const Value& object);

private:
    /// Whether the nodes below say what stands among the object's children.
    static bool leavesChildren(const DmTreeNode& node)
    {
        return !node.isSegment() || node.whatIs() == DM_CONTAINER_NODE;
    }
    void keepLeftover(DmTreeNode& node, Value leftover, const Form& form);
    Value attached(const DmTreeNode& node);
    Value plainOf(const DmTreeNode& node, const Form& form);

    Items& _items;
    Parts& _parts;
};

template <class Describe>
void Keep::keepDifference(DmTreeNode& node, const Value& object, const Form& form, Describe&& describe)
{
    if (form.isImplied || form.wholeValue)
        return keepLeftover(node, {}, form);
    Matcher matcher(object, leavesChildren(node));
    describe(matcher);
    if (!matcher.isMatch())
    {
        const std::size_t before = _items.findings();
        checkMembers(_items, object);
        _items.about(before, node);
    }
    keepLeftover(node,
                 matcher.isMatch()
                     ? matcher.difference(_parts.allocator())
                     : differenceOf(_parts.value(describe), object, _parts.allocator(), leavesChildren(node)),
                 form);
}

} // namespace interchange::otio
