/// What is asked of, and done with, a timeline tree as a whole.
///
/// Null nodes are answered, by false or by nothing. A tree that holds itself is refused, but by dump: that shows where.
/// Threads: a tree that nobody changes may be asked from any number of threads.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmSourceNode.h"
#include "dmTreeUtil.h"
#include "tuFcm.h"

#include <iosfwd>
#include <string>
#include <vector>

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

/// A source whose times do not fit its input.
struct DmFaultySource
{
    CoSharedPtr<const DmSourceNode> source;
    /// From the first node of the tree on, as DmTreePath::text writes it; the source's first place.
    std::string path;
    /// The label of its record time, in the composition that it stands in; empty outside of one.
    std::string record;
    DmTimeFaults faults;
};

class ZR_DM_API DmTreeTool
{
public:
    // Rules (dmTreeUtil.h)

    /// All of them for a composition whose origin is DM_ORIGIN_STRICT, else those that always hold.
    static unsigned getValidationOptions(const DmCompositionNode* composition);
    static unsigned getValidationOptions(const CoSharedPtr<DmCompositionNode>& composition)
    {
        return getValidationOptions(composition.get());
    }
    /// Checks a composition with its own options. The first rule that is broken is posted as an error.
    static bool isValidTree(DmCompositionNode* composition);
    static bool isValidTree(const CoSharedPtr<DmCompositionNode>& composition);
    /// Every rule that is broken, in the order in which the nodes are visited; posts nothing. `options`: a sum of
    /// eDmValidationOption. With DM_VALIDATE_DURATIONS among them, what a container holds is checked with the same
    /// options, once if several containers share it. `status`, if given, is DM_BAD_VALUE where memory ran out:
    /// violations are missing then.
    static std::vector<DmTreeViolation> findViolations(DmCompositionNode* composition, unsigned options,
                                                       eDmErrorId* status = nullptr);
    static std::vector<DmTreeViolation> findViolations(const CoSharedPtr<DmCompositionNode>& composition,
                                                       unsigned options, eDmErrorId* status = nullptr);

    // Times of sources (DmSourceNode::findTimeFaults), of those in containers too, each source once

    /// `status` as above.
    static std::vector<DmFaultySource> findTimeFaults(const DmTreeNode* tree, eDmErrorId* status = nullptr);
    /// Repairs them. The first status that is not DM_NO_ERROR; what can be repaired is.
    static eDmErrorId repairTimes(DmTreeNode* tree);

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

    /// The tree as indented text, one line for each node (DmAsciiDumpVisitor), containers' too. `maxDepth`: how many
    /// levels below the first node are shown; -1 for all. DM_BAD_VALUE for a tree that holds itself: all the rest is
    /// shown.
    static eDmErrorId dump(DmTreeNode* tree, std::ostream& out, int maxDepth = -1);

    // Record time: frames of the composition's mode. The elements of a layer follow each other in it, as
    // DM_VALIDATE_ORDER asks; of elements that overlap, one may be missed. Nothing is allocated.

    /// The record time that a segment or a transition takes; of every other node, the default range. At once.
    static DmTimeRange getRecordRange(DmTreeNode* element);
    /// The range of its material that a segment plays, in frames of the material's mode (DmPlayed); of a source with an
    /// in-time, from there on (DmMaterial::begin). `compositionFcm`: the mode of the composition that it stands in, for
    /// material of another one. Without material, "relIn" and "recLength"; of other nodes, the default range.
    static DmTimeRange getSourceRange(DmTreeNode* element, DM::FrameCodeModes compositionFcm = DM::FCM_NOT_DEFINED);
    /// The position of the element that plays at a record time, found in some log2(n) comparisons; -1 when none plays:
    /// outside the layer, in a hole, for what is no time. A transition plays from the end of the segment before it to
    /// the begin of the one behind it; a cut plays at no time.
    static int getElementIndexAt(const DmLayerNode* layer, double time);
    /// The element itself; null when none plays.
    static DmTreeNode* getElementAt(const DmLayerNode* layer, double time);
    /// The elements that play at some time of [in, out), and the cuts between them; as fast.
    static DmElementSpan getElementsIn(const DmLayerNode* layer, double in, double out);

    // The same for nodes that are held by CoSharedPtr

    template <class Node>
    static std::vector<DmFaultySource> findTimeFaults(const CoSharedPtr<Node>& tree, eDmErrorId* status = nullptr)
    {
        return findTimeFaults(tree.get(), status);
    }
    template <class Node>
    static eDmErrorId repairTimes(const CoSharedPtr<Node>& tree)
    {
        return repairTimes(tree.get());
    }
    template <class A, class B>
    static bool areEqual(const CoSharedPtr<A>& a, const CoSharedPtr<B>& b, std::string* difference = nullptr)
    {
        return areEqual(a.get(), b.get(), difference);
    }
    template <class Node>
    static eDmErrorId dump(const CoSharedPtr<Node>& tree, std::ostream& out, int maxDepth = -1)
    {
        return dump(tree.get(), out, maxDepth);
    }
    template <class Node>
    static DmTimeRange getRecordRange(const CoSharedPtr<Node>& element)
    {
        return getRecordRange(element.get());
    }
    template <class Node>
    static DmTimeRange getSourceRange(const CoSharedPtr<Node>& element,
                                      DM::FrameCodeModes compositionFcm = DM::FCM_NOT_DEFINED)
    {
        return getSourceRange(element.get(), compositionFcm);
    }
    template <class Layer>
    static int getElementIndexAt(const CoSharedPtr<Layer>& layer, double time)
    {
        return getElementIndexAt(layer.get(), time);
    }
    template <class Layer>
    static DmTreeNode* getElementAt(const CoSharedPtr<Layer>& layer, double time)
    {
        return getElementAt(layer.get(), time);
    }
    template <class Layer>
    static DmElementSpan getElementsIn(const CoSharedPtr<Layer>& layer, double in, double out)
    {
        return getElementsIn(layer.get(), in, out);
    }
};
