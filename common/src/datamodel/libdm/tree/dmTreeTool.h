/// What is asked of, and done with, a timeline tree as a whole.
///
/// Null nodes are answered, by false or by nothing. A tree that holds itself is refused by all that would follow it.
/// Threads: a tree that nobody changes may be asked from any number of threads.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmTreeUtil.h"

#include <iosfwd>

/// A stretch of time: [in, in + length).
struct DmTimeRange
{
    double in = dmNoTime;
    double length = 0.0;

    double out() const { return in + length; }
    bool contains(double time) const { return time >= in && time < out(); }
    bool operator==(const DmTimeRange&) const = default;
};

/// Elements of a layer that stand behind each other: positions [first, last).
struct DmElementSpan
{
    int first = 0;
    int last = 0;

    int count() const { return last - first; }
};

class ZR_DM_API DmTreeTool
{
public:
    // Rules (dmTreeUtil.h)

    /// All of them for a composition whose origin is DM_ORIGIN_STRICT, else those that always hold.
    static unsigned getValidationOptions(const DmCompositionNode* composition);
    /// Checks a composition with its own options. The first rule that is broken is posted as an error.
    static bool isValidTree(DmCompositionNode* composition);
    static bool isValidTree(const CoSharedPtr<DmCompositionNode>& composition);
    /// Every rule that is broken, in the order in which the nodes are visited; posts nothing. `options`: a sum of
    /// eDmValidationOption. What a container holds is checked with its own options, once if several containers share
    /// it.
    static std::vector<DmTreeViolation> findViolations(DmCompositionNode* composition, unsigned options);
    static std::vector<DmTreeViolation> findViolations(const CoSharedPtr<DmCompositionNode>& composition,
                                                       unsigned options);

    // Copies

    /// An independent tree, equal to this one, of nodes with fresh node ids: what is shared inside the tree is shared
    /// inside the copy. Marks of layers, which are no property, stay behind. Null for a tree that holds itself.
    static CoSharedPtr<DmTreeNode> deepClone(const DmTreeNode* tree);
    template <class Node>
    static CoSharedPtr<Node> deepClone(const CoSharedPtr<Node>& tree)
    {
        return DM::staticPointerCast<Node>(deepClone(static_cast<const DmTreeNode*>(tree.get())));
    }
    /// Whether two trees are of one class and hold equal values throughout; false for trees that hold themselves.
    /// `difference`, if given, learns where the first difference is: "children[0]/children[0]/children[3]/recIn".
    static bool areEqual(const DmTreeNode* a, const DmTreeNode* b, std::string* difference = nullptr);

    // Text

    /// The tree as indented text, one node a line (DmAsciiDumpVisitor), with what containers hold. `maxDepth`: how many
    /// levels below the first node are shown; -1 for all. DM_BAD_VALUE for a tree that holds itself: all the rest is
    /// shown.
    static eDmErrorId dump(DmTreeNode* tree, std::ostream& out, int maxDepth = -1);

    // Record time: frames of the composition's mode. The elements of a layer follow each other in it, as
    // DM_VALIDATE_ORDER asks; of elements that overlap, one may be missed. Nothing is allocated.

    /// The record time that a segment or a transition takes; of every other node, the default range. At once.
    static DmTimeRange getRecordRange(DmTreeNode* element);
    /// What a source plays: from its material's in-time (as DmSourceNode::MediaInput::getSrcIn gives it) plus "relIn"
    /// on, as long as it takes record time, in frames of the material; effects that change the speed are left out of
    /// account. Of a generated or a relinked source and of a container, from "relIn" on. Of every other node, the
    /// default range.
    static DmTimeRange getSourceRange(DmTreeNode* element);
    /// The position of the element that plays at a record time, found in some log2(n) comparisons; -1 when none plays:
    /// outside the layer, in a hole, for what is no time. A transition plays from the end of the segment before it to
    /// the begin of the one behind it; a cut plays at no time.
    static int getElementIndexAt(const DmLayerNode* layer, double time);
    /// The element itself; null when none plays.
    static DmTreeNode* getElementAt(const DmLayerNode* layer, double time);
    /// The elements that play at some time of [in, out), and the cuts between them; as fast.
    static DmElementSpan getElementsIn(const DmLayerNode* layer, double in, double out);
};
