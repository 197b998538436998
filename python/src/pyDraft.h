/// What a session sets in a timeline, which is constant: each set is copied when it is first set, alone.
#pragma once

#include "pyError.h"

#include "dmTimeline.h"

#include <functional>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace zrpy
{

/// Sets are known by the constant one, whether it has a copy by now or not, and copies hold constant ones: what was
/// copied takes their places when the draft is read out.
class Draft final : public DM::CoRefCountedMT
{
public:
    explicit Draft(DmTimeline timeline);
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    const DmTimeline& timeline() const { return _timeline; }
    bool isOpen() const { return _isOpen; }
    /// From now on nothing can be set.
    void close() { _isOpen = false; }

    /// A set as it is now, to read: of what it holds, `current` again.
    DmPropertySet& current(DmPropertySet& set) const;
    template <class Node>
    Node& current(Node& node) const
    {
        return static_cast<Node&>(current(static_cast<DmPropertySet&>(node)));
    }
    /// Its copy; of what is no constant, itself. Raises when the draft is closed, and where none can be made.
    DmPropertySet& own(DmPropertySet& set);
    /// Remembers that a set was found in an owner, at a position of one of its lists.
    void reach(DmPropertySet& held, const DmPropertySet& owner, int element);

    /// The set with all that it holds, constant, for those who know nothing of drafts. It lives until it is asked for
    /// again.
    DmPropertySet& settled(DmPropertySet& set);
    /// The timeline with what was set; itself where nothing was.
    DmTimeline read() const;

    CoSharedPtr<DmCompositionNode> composition() const;
    /// Where an element stands in what read() answers.
    std::optional<DmElementPlace> placeOf(const DmPropertySet& element) const;
    /// Until `visit(track, layer, place)` returns false.
    void forEachLayer(const std::function<bool(DmTrackNode&, DmLayerNode&, const DmLayerPlace&)>& visit) const;

    /// The objects of Python that stand for sets of the draft: not counted.
    std::unordered_map<const DmPropertySet*, PyObject*>& objects() { return _objects; }

private:
    struct Copy
    {
        DmPropertySetPtr original;
        DmPropertySetPtr copy;
    };
    struct Way
    {
        DmPropertySetPtr held;
        const DmPropertySet* owner;
        int element;
    };

    /// Below what of the timeline's tree something was copied.
    struct Touched
    {
        std::vector<DmElementPlace> elements;
        std::unordered_set<DmTreeNode*> nodes;         ///< above the elements, by what they hold beside these
        std::unordered_set<const DmPropertySet*> kept; ///< stands as it is
    };

    /// None where layers or tracks came, went or hold other elements: then all is looked at.
    std::optional<Touched> touched() const;
    bool keepsChildren(const DmPropertySet& node) const;

    DmTimeline _timeline;
    /// What stands above the elements, from the top down to the layers; nothing but its parent holds any of it.
    std::vector<DmTreeNode*> _frame;
    std::unordered_map<const DmPropertySet*, DmLayerPlace> _layers;
    CoSharedPtr<DmTreeNode> _tree;                          ///< keeps them
    std::unordered_map<const DmPropertySet*, Copy> _copies; ///< by original
    std::unordered_map<const DmPropertySet*, Way> _ways;    ///< by what was found
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _settled;
    std::unordered_map<const DmPropertySet*, PyObject*> _objects;
    bool _isOpen = true;
};

/// The marks of a layer, which are no property; nothing for what is no layer.
DmPropertySetVector marksOf(const DmPropertySet& set);
/// In the place of those that it has. Raises for a constant.
void storeMarks(DmPropertySet& layer, const DmPropertySetVector& marks);

/// A copy that shares nothing; marks of layers, which are no property, come along. Raises where none can be made.
DmPropertySetPtr deepCopyOf(const DmPropertySet& set);

} // namespace zrpy
