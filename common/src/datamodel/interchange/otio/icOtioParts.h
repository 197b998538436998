/// Nodes as OpenTimelineIO objects: what is written for a node that no file knows, in full and always the same way.
///
/// What a file has in another way is its difference to these (icOtioPatch.h), so reading makes them, too.
///
/// For sources of this library only.
#pragma once

#include "icOtioItems.h"
#include "icOtioPatch.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"

#include <optional>
#include <string>
#include <string_view>

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
    /// The same of a literal that the object has no member of.
    void put(Value& object, const char* name, Value value) const;
    /// The object that a member is; made one where it is none.
    Value& inner(Value& object, const char* name) const;
    Value time(double frames) const;
    Value range(double start, double length) const;

    // Objects, without children

    /// Of any segment but a container. `length`: what plays, where that is not the node's own.
    Value segment(const DmSegmentNode& node, Trim trim, const Form& form, std::optional<double> length = {});
    /// `inside`: the length of what a container holds.
    Value container(const DmContainerNode& node, Trim trim, const Form& form, std::optional<double> length = {});
    Value gap(double length);
    Value transition(const DmTrxEffectNode& node);
    Value track(const DmTreeNode& node, eDmTreeMediaType mediaType);
    /// A timeline with its stack, or a bare stack; marks count from the record time `origin`.
    Value composition(const DmCompositionNode& node, const Form& form, double origin);
    Value collection(const DmTreeNode& node);

private:
    Value object(const char* schema, const DmTreeNode* node) const;
    Value item(const char* schema, const DmSegmentNode& node, double markOrigin);
    Value reference(const DmSourceNode::Input& input, double base, const DmSourceNode& node);
    Value sequence(Value reference, const DmSourceInfo& info) const;
    Value marks(const DmSetList<DmCueMark>& marks, double origin) const;
    Value effects(const DmSegmentNode& node) const;
    void setLook(Value& object, const DmSegmentNode& node) const;
    void setNotes(Value& object, const DmTreeNode& node) const;

    Items& _items;
    Allocator* _allocator;
};

/// Record frames of a transition's side, as frames of a segment's material.
double headOf(const DmSegmentNode& segment, Trim trim);

} // namespace interchange::otio
