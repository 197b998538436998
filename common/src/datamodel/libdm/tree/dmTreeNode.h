/// The base of every node of the timeline tree: a property set with a kind, a name, a comment and, if need be, another
/// set attached to it.
///
///     DmRoot
///       DmReelNode                       any number, or compositions directly
///         DmCompositionNode
///           DmTrackNode
///             DmLayerNode                in record order: segment, transition, segment, ...
///               DmSegmentNode            DmSourceNode, DmGapNode, DmContainerNode
///               DmTransitionNode         DmCutNode, DmTrxEffectNode
///
/// Nodes are counted and held through CoSharedPtr. They know their children and not their parents: one node may stand
/// in several trees. Threads: as every property set; a tree that nobody changes may be read by any number of threads.
///
/// A reference from a getter is good until the object's next setter.
#pragma once

#include "dmPropertySet.h"
#include "dmPropertySetInit.h"
#include "dmTreeVisitor.h"

#include <cstdint>
#include <type_traits>

/// The kinds of nodes: number, what people call it, and its role in a layer (DmNodeRole). Each class has its own, and
/// documents keep the numbers, so that they never change. A line here is all that a new class needs outside its files.
// clang-format off
#define ZR_TREE_NODE_KINDS(KIND) \
    KIND(DM_COMPOSITION_NODE, 0, "composition",       None)       \
    KIND(DM_TRACK_NODE,       1, "track",             None)       \
    KIND(DM_LAYER_NODE,       2, "layer",             None)       \
    KIND(DM_SOURCE_NODE,      3, "source",            Segment)    \
    KIND(DM_CONTAINER_NODE,   4, "container",         Segment)    \
    KIND(DM_GAP_NODE,         5, "gap",               Segment)    \
    KIND(DM_CUT_NODE,         6, "cut",               Transition) \
    KIND(DM_TRX_EFFECT_NODE,  7, "transition effect", Transition) \
    KIND(DM_BLOB_NODE,        8, "blob",              None)       \
    KIND(DM_REEL_NODE,        9, "reel",              None)       \
    KIND(DM_ROOT_NODE,       10, "root",              None)       \
    KIND(DM_BATCH_FX_NODE,   11, "batch effect",      None)
// clang-format on

enum eDmTreeNodeClassId : int
{
#define ZR_KIND(name, number, text, role) name = (number),
    ZR_TREE_NODE_KINDS(ZR_KIND)
#undef ZR_KIND
};

/// What a node is to the layer that holds it.
enum class DmNodeRole
{
    None,
    Segment,
    Transition
};

template <DmNodeRole wanted>
constexpr bool dmIsOfRole(eDmTreeNodeClassId kind)
{
    constexpr std::uint32_t kinds = 0 // a bit each
#define ZR_KIND(name, number, text, role) | std::uint32_t(DmNodeRole::role == wanted) << (number)
        ZR_TREE_NODE_KINDS(ZR_KIND);
#undef ZR_KIND
    return (kinds >> kind & 1U) != 0;
}

class ZR_DM_API DmTreeNode : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = dmClassName<DmTreeNode>;
    enum Property : int
    {
        ClassId,
        Name,
        Comment,
        BaseBlob,
        PropertyCount
    };

    DmTreeNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    /// Shares the attached set. The comment is the original's own: the copy has none.
    DmTreeNode(const DmTreeNode& other);

    eDmErrorId createList() override;

    /// The kind: fixed by the class, whatever a document says.
    eDmTreeNodeClassId whatIs() const { return _classId; }
    /// What a layer plays: sources, containers and gaps. A batch effect is none, although it derives from
    /// DmSegmentNode: layers refuse it.
    bool isSegment() const { return isSegment(_classId); }
    static constexpr bool isSegment(eDmTreeNodeClassId kind) { return dmIsOfRole<DmNodeRole::Segment>(kind); }
    /// What stands between two segments: cuts and transition effects.
    bool isTransition() const { return isTransition(_classId); }
    static constexpr bool isTransition(eDmTreeNodeClassId kind) { return dmIsOfRole<DmNodeRole::Transition>(kind); }

    const DmString& getName() const { return _name; }
    eDmErrorId setName(const DmString& name) { return set(Name, name); }
    const DmString& getComment() const { return rare()->comment; }
    eDmErrorId setComment(const DmString& comment) { return set(Comment, comment); }
    /// A set of any class that goes along with the node; null when there is none.
    DmPropertySet* getBaseBlob() const { return _baseBlob.get(); }
    eDmErrorId setBaseBlob(const DmPropertySetPtr& blob) { return set(BaseBlob, blob); }

    /// The node as the segment, or as the transition, that its class makes it; null for all others.
    virtual DmSegmentNode* asSegment() { return nullptr; }
    virtual DmTransitionNode* asTransition() { return nullptr; }
    const DmSegmentNode* asSegment() const { return const_cast<DmTreeNode*>(this)->asSegment(); }
    const DmTransitionNode* asTransition() const { return const_cast<DmTreeNode*>(this)->asTransition(); }
    /// The composition that is the node's material; null for all nodes but containers, and for those without one. Walks
    /// into containers go there.
    virtual DmCompositionNode* getNestedComposition() const { return nullptr; }

    virtual int getNbChildren() const { return 0; }
    /// Null when there is no such child, and when it is null.
    virtual DmTreeNode* getChild(int index) const;

    /// Calls the visitor's function for this class.
    virtual void accept(DmTreeVisitor& visitor) = 0;
    /// Calls the visitor's function for this class after the children; leaves have none.
    virtual void postProcess(DmTreeVisitor& visitor);

private:
    /// What few nodes have.
    struct Rare
    {
        static constexpr int place = 0;
        DmString comment;
    };
    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    // In the order that packs, numbers behind the lengths of texts, here and in the classes that derive: there are
    // millions of them.
    [[no_unique_address]] DmDefaultString _name{DmString::Untitled};
    eDmTreeNodeClassId _classId;
    DmPropertySetPtr _baseBlob;

protected:
    DmRares _rares; ///< of all classes of a node
};

/// What every class of node supplies, written once: beside what DmConcrete does, the visitor's functions for the class.
///
///     class DmCutNode final : public DmNode<DmCutNode, DmTransitionNode, &DmTreeVisitor::visitCutNode>
template <class T, class Base, auto visit, auto postVisit = nullptr>
class ZR_DM_API DmNode : public DmConcrete<T, Base>
{
public:
    void accept(DmTreeVisitor& visitor) override
    {
        visitor.visiting(*this);
        (visitor.*visit)(static_cast<T*>(this));
    }
    void postProcess(DmTreeVisitor& visitor) override
    {
        if constexpr (!std::is_null_pointer_v<decltype(postVisit)>)
            (visitor.*postVisit)(static_cast<T*>(this));
        else
            Base::postProcess(visitor);
    }

protected:
    using DmConcrete<T, Base>::DmConcrete;
};
