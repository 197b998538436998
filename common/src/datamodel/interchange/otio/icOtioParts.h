/// The parts of OpenTimelineIO objects as the model has them now, put into objects as they came.
///
/// A member is set only where the model has another value than what reading the object gives: what nobody edited keeps
/// its own form.
///
/// For sources of this library only.
#pragma once

#include "icOtioItems.h"

#include "dmTrxEffectNode.h"

#include <optional>
#include <string_view>

namespace interchange::otio
{

/// What transitions have taken of a segment.
struct Trim
{
    double in = 0;
    double out = 0;
};

class Parts
{
public:
    /// The report gets what the form cannot say.
    Parts(json::Document& document, Report& report)
        : _items(true, nullptr, nullptr)
        , _allocator(document.GetAllocator())
        , _report(report)
    {
    }

    Items& items() { return _items; }
    json::Document::AllocatorType& allocator() { return _allocator; }

    // JSON

    Value string(std::string_view text) const;
    void set(Value& object, const char* name, Value value) const;
    /// The object that a member is; made one where it is none.
    Value& inner(Value& object, const char* name) const;
    /// Of a schema, with the members that every object has.
    Value object(const char* schema) const;
    Value time(double frames) const;
    Value range(double start, double length) const;

    // Parts

    void setName(Value& object, const DmTreeNode& node) const;
    void setMix(Value& object, const DmTrxEffectNode& node, bool isKept);
    /// Media, range, notes and all that setDress does, of a clip.
    void setSource(Value& object, const DmSourceNode& node, bool isKept, Trim trim);
    /// `before`: what the object says; its base is where the material starts.
    void setRange(Value& object, const DmSegmentNode& node, const Extent& before, double base, bool isKept,
                  Trim trim) const;
    /// Name, mute, markers, speed and look of any segment.
    void setDress(Value& object, const DmSegmentNode& node, double base);
    /// The object counts its markers from where a mark's time is `origin` less.
    void setMarks(Value& object, const DmSetList<DmCueMark>& marks, double origin);

    /// Notes of cut lists become comments among their metadata.
    void setNotes(Value& object, const DmTreeNode& node) const;

private:
    /// Where material starts and how long it is, in frames of the composition.
    Items::Range material(const DmSourceNode::Input& input, double base) const;
    void setMedia(Value& clip, const DmSourceNode::Input& input, const DmSourceNode::Input* before, double base);
    void setReference(Value& clip, Value reference) const;
    void setSequence(Value& reference, const DmSourceInfo& info) const;
    void setGenerator(Value& reference, const DmSourceNode::GeneratedInput& input);
    void setMark(Value& marker, const DmCueMark& mark, const DmCueMark* before, double origin);
    void setEffects(Value& object, const DmSegmentNode& node);
    void setSpeed(Value& object, eDmTreeMediaType mediaType, const std::optional<double>& now) const;
    void setLook(Value& object, const std::optional<Look>& now) const;

    Items _items;
    json::Document::AllocatorType& _allocator;
    Report& _report;
};

} // namespace interchange::otio
