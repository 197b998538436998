/// Nodes as OpenTimelineIO objects: what is written for a node that no file knows, in full and always the same way.
///
/// What a file has in another way is its difference to these (icOtioPatch.h), so reading makes them, too.
///
/// For sources of this library only.
#pragma once

#include "icColours.h"
#include "icOtioItems.h"
#include "icOtioListener.h"
#include "icOtioPatch.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::otio
{

/// What transitions have taken of a segment, in record time.
struct Trim
{
    double in = 0;
    double out = 0;
};

/// Which of several objects stands for a node: what of its form is no difference of members.
struct Form
{
    std::string schema;              ///< "Stack" for a composition, "Track" for a container; empty: the usual one
    std::string key;                 ///< of the media reference that plays; empty: "DEFAULT_MEDIA"
    bool isSingle = false;           ///< a clip with one media reference, as old files have it
    bool isImplied = false;          ///< the file has no object for the node, its only child stands there instead
    double rate = 0;                 ///< of a composition's times, as its file says it; 0: as the mode has it
    std::optional<Value> wholeValue; ///< an object that is nothing we know, kept as it is

    static Form of(const Value& object, eDmTreeNodeClassId kind);
    static Form fromValue(const Value& value, Allocator& allocator);
    /// Null for the usual form.
    Value toValue(Allocator& allocator) const;
};

class Parts
{
public:
    /// Both last longer than this.
    Parts(Items& items, Allocator& allocator)
        : _items(items)
        , _allocator(&allocator)
    {
    }

    /// Where values are made from now on.
    void setAllocator(Allocator& allocator) { _allocator = &allocator; }
    Allocator& allocator() { return *_allocator; }

    // JSON

    Value string(std::string_view text) const;
    void set(Value& object, const char* name, Value value) const;
    /// The object that a member is; made one where it is none.
    Value& inner(Value& object, const char* name) const;
    /// What a listener is told, as a value.
    template <class Describe>
    Value value(Describe&& describe) const
    {
        ValueMaker maker(*_allocator);
        describe(maker);
        return maker.take();
    }

    // Objects, without children

    /// Of any segment but a container. `length`: what plays, where that is not the node's own.
    void segment(Listener& to, const DmSegmentNode& node, Trim trim, const Form& form,
                 std::optional<double> length = {}) const;
    void container(Listener& to, const DmContainerNode& node, Trim trim, const Form& form,
                   std::optional<double> length = {}) const;
    void gap(Listener& to, double length) const;
    /// The nearest that has a name.
    static const NamedColour& colourOf(const DmCueMark& mark);
    /// Whether a transition is one of those that the format knows.
    static bool hasSchema(const DmTrxEffectNode& node);
    void transition(Listener& to, const DmTrxEffectNode& node) const;
    void track(Listener& to, const DmTreeNode& node, eDmTreeMediaType mediaType) const;
    /// A timeline with its stack, or a bare stack; marks count from the record time `origin`.
    void composition(Listener& to, const DmCompositionNode& node, const Form& form, double origin) const;
    void collection(Listener& to, const DmTreeNode& node) const;

private:
    /// What of a node stands among its object's metadata.
    struct Metadata
    {
        std::optional<Look> look;
        std::string_view transition; ///< as an event has it
        std::vector<Note> notes;
        std::string_view reel;
    };

    std::string_view utf8(const DmString& text) const;
    std::string_view nameOf(const DmTreeNode& node) const;
    void time(Listener& to, const char* name, double frames) const;
    void range(Listener& to, const char* name, Items::Range range) const;
    /// Schema, metadata and name; the object stays open.
    void begin(Listener& to, std::string_view schema, std::string_view name) const { begin(to, schema, name, {}); }
    void begin(Listener& to, std::string_view schema, std::string_view name, const Metadata& metadata) const;
    void item(Listener& to, std::string_view schema, const DmSegmentNode& node, double markOrigin,
              std::string_view reel) const;
    void stack(Listener& to, const DmCompositionNode& node, std::string_view name, double origin) const;
    void reference(Listener& to, const DmSourceNode::Input& input, Items::Range material) const;
    void sequence(Listener& to, const DmSourceInfo& info) const;
    void marks(Listener& to, const DmSetList<DmCueMark>& marks, double origin) const;
    void effects(Listener& to, const DmSegmentNode& node) const;
    static std::optional<Look> lookOf(const DmSegmentNode& node);
    /// Notes of cut lists become comments among their metadata.
    static std::vector<Note> notesOf(const DmTreeNode& node);

    Items& _items;
    Allocator* _allocator;
    mutable std::string _text;
};

/// Record frames of a transition's side, as frames of a segment's material.
double headOf(const DmSegmentNode& segment, Trim trim);
/// What a segment's source range says. `base`: where its material starts; `ratio`: frames of the composition in one of
/// the material.
Items::Range sourceRangeOf(const DmSegmentNode& segment, Trim trim, double length, double base, double ratio);
/// Where an input's material starts, and its length, in frames of the composition.
Items::Range materialOf(const DmSourceNode::Input& input, double fps);
/// What the available range of an input's reference says: none for a length that nobody knows.
std::optional<Items::Range> availableRangeOf(const DmSourceNode::Input& input, Items::Range material);
/// The schema of a reference to an input.
const char* referenceSchema(const DmSourceNode::Input& input);

} // namespace interchange::otio
