/// What the reader and the writer of OpenTimelineIO documents share: JSON, times, and the making of single segments.
///
/// The writer makes each segment a second time from the members that travelled with its node: what is equal to the node
/// as it is now was not edited, and goes out as it came in.
///
/// For sources of this library only: rapidjson is compiled in a namespace of our own.
#pragma once

#include "icLeftovers.h"
#include "icLook.h"
#include "icNotes.h"
#include "icOtioShape.h"
#include "icOtioShort.h"
#include "icReport.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmCueMark.h"
#include "dmEffectSettings.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "tuFcm.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace interchange::otio
{

/// What a file says and a node does not (icOtioPatch.h), as it travels with the node; once it was all that it said.
inline constexpr LeftoverType leftoverType{"otio", L"otio 2"};
inline constexpr LeftoverType oldLeftoverType{"otio", L"otio"};

/// Of containers: what documents can be read again with.
constexpr int deepestNesting = 75;

/// A stretch of material, in frames of the composition.
struct Extent
{
    double base = 0;           ///< where the material starts
    double start = 0;          ///< where what is played starts
    double length = 0;         ///< of what is played
    double materialLength = 0; ///< holds all that is played
};

/// How a transition mixes.
enum class Mix
{
    Dissolve,
    Wipe,
    Other
};
Mix mixOf(const Value& transition);
/// The SMPTE number of a wipe: of its type's own digits, or of an event's "W012" among the metadata of cut lists.
std::optional<int> wipePattern(const Value& transition);
/// The JSON that travels with a node, parsed; null without any.
Value leftoverValue(const DmTreeNode& node, LeftoverType type, json::Document::AllocatorType& allocator);
/// What of an object is ours (icOtioOwn.h); null for nothing.
const Value* ownMember(const Value& object);
/// The comments of cut lists among an object's metadata.
std::vector<Note> notesOf(const Value& object);
std::vector<Note> notesOfMetadata(const Value* metadata);
/// The reel among a clip's metadata of cut lists; empty for none.
std::string_view reelOfMetadata(const Value* metadata);
/// The name under which a clip's media reference stands among several.
std::string_view mediaKey(const Value& clip);
/// The one that plays; null for none.
const Value* mediaOf(const Value& clip);
bool isCollection(const Value& object);
bool isTimewarp(const Value& effect);
/// How many of an item's effects are timewarps.
std::size_t countOfTimewarps(const Value* item);
/// The speed that the first timewarp plays at; none without one.
std::optional<double> speedOf(const Value& item);
/// That of a constant timewarp; none of any other effect, or of null.
std::optional<double> speedOf(const DmPropertySet* effect);
/// That an integer is, or a double without a fraction; none for what is none, or too large.
std::optional<int> wholeNumber(const Value* value);
/// The look among an item's metadata; none where that is not three times three numbers, a saturation, or both.
std::optional<Look> lookOf(const Value& item);

class Items
{
public:
    /// Tells nothing without a report, and where nodes came from on request.
    Items(Report* report, const ParsedText* source, bool tellsPlaces = false);

    /// What times are converted to.
    void setMode(DM::FrameCodeModes fcm);
    DM::FrameCodeModes fcm() const { return _fcm; }
    const DmString& fcmText() const { return _fcmText; }
    double fps() const { return _fps; }
    /// How a file says that rate: 23.976 is written for 24000/1001, too. Nothing changes for one of another mode.
    void setRate(double rate);
    double rate() const { return _rate; }
    /// Times at that rate are those of the mode.
    bool isOwnRate(double fps) const { return fps == _fps ? _isExact : fps == _rate || isOfMode(fps); }

    // Messages

    /// The node was made of the object.
    void came(const DmTreeNode& node, const Value& object);
    void mistake(const Value* object, std::string what, std::string_view choice);
    void warn(const Value* object, std::string what) { add(Report::Warning, object, std::move(what)); }
    void add(Report::Level level, const Value* object, std::string what);
    void lose(const Loss& loss, const Value& object);
    /// How many findings there are, and: those from there on are about the node.
    std::size_t findings() const { return _report ? _report->size() : 0; }
    /// Whether one from there on waits for the node that is made of its object.
    bool isExpecting(std::size_t from) const;
    void about(std::size_t from, const DmTreeNode& node);
    /// Says what conversions between rates have cost.
    void reportWarnings();

    // Any node

    /// Gives the node the object's name, if it has one.
    static void setName(DmTreeNode& node, const Value& object);

    // Times

    struct Range
    {
        double start;
        double length;
    };
    /// Zero for what is no time, which is said elsewhere (icOtioCheck.h).
    double frames(const Value* time);
    /// Times beyond it are mistakes.
    bool isWithinReach(double value, double rate) const;
    /// Times of sound fall between frames, to the thousandth.
    void setMediaType(eDmTreeMediaType type) { _isSound = type == DM_MEDIA_AUDIO; }
    std::optional<Range> range(const Value* range);
    /// `speed`: how much of the material a frame of what plays takes.
    Extent extent(const Value& item, const std::optional<Range>& material, double speed = 1);

    // Parts of items

    /// `recordStart`: what its marks count from, where that is not the start.
    CoSharedPtr<DmCompositionNode> composition(const Value& object, std::optional<double> recordStart = {});
    static CoSharedPtr<DmTrackNode> track(const Value& object, eDmTreeMediaType mediaType, int number);
    /// For an item of another schema, too, that nothing is made of.
    CoSharedPtr<DmSegmentNode> gap(const Value& item, eDmTreeMediaType mediaType);
    CoSharedPtr<DmContainerNode> container(const Value& item, const CoSharedPtr<DmCompositionNode>& inside,
                                           double length, eDmTreeMediaType mediaType);
    CoSharedPtr<DmTrxEffectNode> transition(const Value& item, eDmTreeMediaType mediaType, double in, double out);
    CoSharedPtr<DmSourceNode> clip(const Value& item, eDmTreeMediaType mediaType);
    /// Of what a usual clip's text says; null where the clip is none.
    CoSharedPtr<DmSourceNode> clip(const ClipFacts& facts, std::string_view reel, eDmTreeMediaType mediaType);
    CoSharedPtr<DmCueMark> mark(const Value& marker, double origin);
    CoSharedPtr<DmEffectSettings> mix(const Value& transition, eDmTreeMediaType mediaType, double length);
    /// Null without one, and for sound that would stand still, run backwards or beyond what can be heard.
    CoSharedPtr<DmEffectSettings> timewarp(const Value& item, eDmTreeMediaType mediaType);
    /// Name, mute, markers, timewarp and look of any segment.
    void addEffectsAndMarks(DmSegmentNode& segment, const Value& item, double origin);

private:
    bool isOfMode(double fps) const;
    /// What an item plays for that nothing is made of.
    double lengthOf(const Value& item);
    std::uint32_t lineOf(const Value* object) const;
    Extent clipExtent(const Value& clip, const Value* media);
    CoSharedPtr<DmSourceNode::Input> input(const Value& clip, const Value* media, const Extent& extent,
                                           eDmTreeMediaType mediaType);
    /// Without its path.
    CoSharedPtr<DmSourceNode::MediaInput> recorded(DmSourceInfo::SourceType type, std::string_view name,
                                                   std::string_view reel, const Extent& extent,
                                                   eDmTreeMediaType mediaType) const;
    CoSharedPtr<DmSourceNode::Input> generator(const Value& media, double length, eDmTreeMediaType mediaType);
    static void setSequence(DmSourceInfo& info, const Value& media, double length);

    DM::FrameCodeModes _fcm = DM::FCM_NOT_DEFINED;
    DmString _fcmText;
    double _fps = 0;
    double _rate = 0;
    bool _isExact = false; ///< that rate is the mode's
    bool _isSound = false;
    bool _tellsPlaces = false;
    Report* _report;
    const ParsedText* _source;
    std::vector<std::pair<std::size_t, const Value*>> _expected; ///< findings, and what they are about
    std::size_t _moved = 0;
    double _furthest = 0; ///< in frames
    double _longest = 0;  ///< in seconds
};

} // namespace interchange::otio
