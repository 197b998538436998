/// What the reader and the writer of OpenTimelineIO documents share: JSON, times, and the making of single segments.
///
/// The writer makes each segment a second time from the members that travelled with its node: what is equal to the node
/// as it is now was not edited, and goes out as it came in.
///
/// For sources of this library only: rapidjson is compiled in a namespace of our own.
#pragma once

#include "icReport.h"

#include "dmCueMark.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "tuFcm.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::otio
{

namespace json = RAPIDJSON_NAMESPACE;
using Value = json::Value;

/// Nesting of JSON values; deeper documents are refused, since writing them recurs.
constexpr int deepestJson = 1000;
/// The blob type under which an object's members travel with a node.
constexpr const wchar_t* blobType = L"otio";

/// Parses in place; false with the reason. Never deeper than deepestJson.
bool parse(json::Document& document, char* text, std::string& error, std::size_t& offset);

// Members; null, "" or false where the object has none of this kind

const Value* member(const Value* object, const char* name);
const Value* arrayOf(const Value* object, const char* name);
std::string_view text(const Value* value);
std::string_view textOf(const Value* object, const char* name);
/// The schema without its version: "Clip" of "Clip.2".
std::string_view schemaOf(const Value* object);
bool isTrack(std::string_view schema);

/// Attaches the object's members to a node, without the children that the tree holds itself.
void keep(DmTreeNode& node, const Value& object);
/// Attaches an object without members: the node has none in the document, its only child stands for it.
void keepImplied(DmTreeNode& node);

/// A stretch of material, in frames of the composition.
struct Extent
{
    double base = 0;           ///< where the material starts
    double start = 0;          ///< where what is played starts
    double length = 0;         ///< of what is played
    double materialLength = 0; ///< holds all that is played
};

class Items
{
public:
    /// Tells nothing without a report. `anyRate` converts from rates that no frame-code mode has.
    Items(DM::FrameCodeModes fcm, bool anyRate, Report* report, const std::string* source, const char* parsed);

    DM::FrameCodeModes fcm() const { return _fcm; }
    double fps() const { return _fps; }
    std::uint32_t lineOf(const Value* object) const;
    void mistake(const Value* object, std::string what, std::string_view choice);
    void warn(const Value* object, std::string what);
    /// Says what conversions between rates have cost.
    void tell();

    // Times

    struct Range
    {
        double start;
        double length;
    };
    double frames(const Value* time);
    std::optional<Range> range(const Value* range);
    Extent extent(const Value& item, const std::optional<Range>& material);

    // Parts of items

    CoSharedPtr<DmSourceNode> clip(const Value& item, eDmTreeMediaType mediaType);
    const Value* mediaOf(const Value& clip) const;
    Extent clipExtent(const Value& clip);
    CoSharedPtr<DmCueMark> mark(const Value& marker, double origin);
    /// Name, mute, markers and timewarp of any segment.
    void dress(DmSegmentNode& segment, const Value& item, double origin);
    static bool isTimewarp(const Value& effect);
    static std::optional<double> speedOf(const Value& item);

private:
    CoSharedPtr<DmSourceNode::Input> input(const Value* media, const Extent& extent, eDmTreeMediaType mediaType);

    DM::FrameCodeModes _fcm;
    double _fps;
    bool _anyRate;
    Report* _report;
    const std::string* _source;
    const char* _parsed;
    std::size_t _moved = 0;
    double _furthest = 0;
};

/// The speed that the first timewarp of a segment plays at; none without one.
std::optional<double> speedOf(const DmSegmentNode& segment);
/// What the data model answers when memory ran out.
void require(eDmErrorId status);

} // namespace interchange::otio
