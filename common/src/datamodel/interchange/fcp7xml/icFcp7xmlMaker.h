/// Makes the nodes of what an xmeml file says. Where the items of a track stand is told in icFcp7xmlItems.cpp, what
/// they become in icFcp7xmlClips.cpp, and what the model does not say is kept by icFcp7xmlKept.cpp.
///
/// For sources of this library only.
#pragma once

#include "icFcp7xmlPlainElements.h"

#include "icFormat.h"
#include "icLeftovers.h"
#include "icText.h"

#include "dmLayerBuilder.h"

#include <cmath>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace interchange::xmeml
{

/// Shorter clips, in frames, are none.
inline constexpr double leastLength = 0.5;
inline constexpr double limit = 1e12; ///< of times, in frames

/// What is made of elements takes so many bytes, however little stands in these.
namespace weight
{

inline constexpr std::size_t ofElement = 64;
inline constexpr std::size_t ofEntry = 150;
inline constexpr std::size_t ofSequence = 1500;
inline constexpr std::size_t ofTrack = 750;
inline constexpr std::size_t ofTransition = 2600;
inline constexpr std::size_t ofClip = 1200;
inline constexpr std::size_t ofFile = 1200;
inline constexpr std::size_t ofMarker = 140;
inline constexpr std::size_t ofEffect = 1000;
inline constexpr std::size_t ofPlainEffect = 3000; ///< of the elements that it would be
inline constexpr std::size_t ofForm = 250;         ///< beside its text
inline constexpr std::size_t ofLetter = 6;         ///< of that: kept as wide ones, and while it grows
inline constexpr std::size_t ofMessage = 500;

} // namespace weight

inline bool isNamed(pugi::xml_node node, std::string_view name)
{
    return node.name() == name;
}
inline pugi::xml_node effectOf(pugi::xml_node item, std::string_view effectId)
{
    for (const pugi::xml_node filter : item.children("filter"))
        if (filter.child("effect").child_value("effectid") == effectId)
            return filter.child("effect");
    return {};
}
inline pugi::xml_node parameterOf(pugi::xml_node effect, std::string_view id)
{
    for (const pugi::xml_node parameter : effect.children("parameter"))
        if (parameter.child_value("parameterid") == id)
            return parameter;
    return {};
}

/// A file as it is defined.
struct Medium
{
    pugi::xml_node element;
    Rate rate;
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED; ///< in which its material counts
    std::optional<double> length;                 ///< in frames of that
    double span = 0;                              ///< the length, or as much as is known to be there
    double begin = 0;
};

/// The speed of a clip.
struct Speed
{
    bool isSet = false;
    bool isKeyed = false;
    double factor = 1; ///< 0 for a freeze
};

/// An item on its way to a layer. Times are record time.
struct Entry
{
    pugi::xml_node element;
    bool isMix = false;
    double start = 0; ///< with what transitions show of it
    double end = 0;
    double recIn = 0;
    double recOut = 0;
    double in = 0; ///< in the clip's own frames
    double out = 0;
    Rate rate;
    Speed speed;
    // Of a transition
    bool hasIncoming = false;
    bool hasOutgoing = false;
    double cut = 0;
};

class Maker
{
public:
    Maker(const ParsedXml& xml, const Options& options, Report& report)
        : _xml(xml)
        , _options(options)
        , _report(report)
    {
    }

    CoSharedPtr<DmRoot> make();

private:
    /// What a clip can be linked by.
    struct Made
    {
        CoSharedPtr<DmSegmentNode> node;
        pugi::xml_node element;
        const std::string* label; ///< of its track: "V1"

        std::string_view id() const { return element.attribute("id").value(); }
    };
    /// A sequence that is being read.
    struct Stage
    {
        DmCompositionNode& node;
        pugi::xml_node element;
        DM::FrameCodeModes fcm;
        double fps;
        double origin;
        xmeml::Sequence size; ///< for the units of pictures
        std::vector<Made> clips;
        double end;
        double saidEnd;                   ///< by the duration
        std::deque<std::string> labels{}; ///< of its tracks
        bool isTrackOff = false;
    };

    // What elements say; none where there is no such child, or, with a finding, where its text is none of that

    /// In frames; of what decides which frames play when.
    std::optional<double> time(pugi::xml_node parent, const char* name);
    /// The same, of what begins and ends with frames; 0 where it is not said. `ratio`: of the rate in which it counts.
    double wholeTime(pugi::xml_node parent, const char* name, double ratio);
    std::optional<double> number(pugi::xml_node parent, const char* name, bool decides = false);
    bool isTrue(pugi::xml_node parent, const char* name, bool otherwise);
    bool isOff(pugi::xml_node element) { return !isTrue(element, "enabled", true); }
    std::optional<Rate> rate(pugi::xml_node element);
    bool isDropFrame(pugi::xml_node timecode);
    /// Once of each element, however often it is asked.
    void tell(pugi::xml_node element, const char* what, bool decides, std::string_view choice);

    // Messages
    void mistake(pugi::xml_node at, std::string what, std::string_view choice)
    {
        _report.mistake(_xml.lineOf(at), std::move(what), choice);
        told(at);
    }
    void warn(pugi::xml_node at, std::string what)
    {
        _report.add(Report::Warning, _xml.lineOf(at), std::move(what));
        told(at);
    }
    void lose(pugi::xml_node at, const Loss& loss)
    {
        _report.lose(loss, _xml.lineOf(at));
        told(at);
    }
    /// Of what is defined inside a clip: whether its id is another's, defined before it.
    template <class Definitions>
    bool isAnother(const Definitions& definitions, pugi::xml_node defined) const
    {
        const auto found = definitions.find(std::string_view(defined.attribute("id").value()));
        return defined.first_child() && found != definitions.end() && found->second != defined;
    }
    /// The last message is about the item, track or sequence in which that stands.
    void told(pugi::xml_node at);

    /// A file that takes so many bytes that it is out of all proportion is refused: this throws TooMuch.
    void charge(std::size_t bytes, pugi::xml_node at);
    struct TooMuch
    {
        std::uint32_t line;
    };
    ReadHint& hintOf(const DmTreeNode& node, pugi::xml_node element)
    {
        ReadHint& hint = _hints[&node];
        hint.element = element;
        return hint;
    }
    /// What other formats say of it, out of its element.
    void takeAttached(DmTreeNode& node, pugi::xml_node element);
    void came(const DmTreeNode& node, pugi::xml_node at)
    {
        _report.became(at.internal_object(), node);
        if (_options.places)
            _report.came(node, _xml.lineOf(at));
    }

    void findDefinitions();
    void findSequence(pugi::xml_node element);
    /// The one that the element names, if it is none itself.
    pugi::xml_node definitionOf(pugi::xml_node sequence);
    void addSequences(DmRoot& root);
    CoSharedPtr<DmCompositionNode> sequence(pugi::xml_node element, bool isTop);
    DM::FrameCodeModes modeOf(pugi::xml_node sequence);
    void addTracks(Stage& stage, pugi::xml_node kind, eDmTreeMediaType mediaType);
    /// Behind all that stands in it a sequence plays a gap, up to its duration.
    static void fillFirst(Stage& stage, double length);
    std::vector<Entry> entriesOf(const Stage& stage, pugi::xml_node track);
    /// Pictures begin and end with frames.
    void tellFractions(pugi::xml_node item, double ratio);
    bool readMix(const Stage& stage, Entry& entry);
    bool readClip(const Stage& stage, Entry& entry, Entry* before, const Entry* behind, double last);
    Speed speedOf(pugi::xml_node item);
    void place(Stage& stage, DmLayerBuilder& layer, const std::vector<Entry>& entries, eDmTreeMediaType mediaType,
               const std::string& label);
    CoSharedPtr<DmTrxEffectNode> transition(const Entry& entry, eDmTreeMediaType mediaType);
    CoSharedPtr<DmSegmentNode> clip(Stage& stage, const Entry& entry, eDmTreeMediaType mediaType,
                                    const std::string& label);
    CoSharedPtr<DmSourceNode::Input> input(const Entry& entry, const Medium& medium, double length,
                                           eDmTreeMediaType mediaType);
    Medium mediumOf(const Stage& stage, const Entry& entry, pugi::xml_node file);
    void addEffects(Stage& stage, DmSegmentNode& node, const Entry& entry, const Medium& medium, ReadHint& hint);
    bool addChannels(const Stage& stage, DmEffectSettings& effect, pugi::xml_node element, double clipTime,
                     double recordPerClip);
    CoSharedPtr<DmCueMark> mark(pugi::xml_node marker, double origin, double ratio);
    void link(Stage& stage);
    void keepForms(DmRoot& root);
    void keep(DmTreeNode& node, pugi::xml_node element, pugi::xml_node plain, bool isAlways, bool isLast,
              const Series& series = {});
    /// Lets go of an item whose form is kept: what the parser has of it takes as much memory as the form that it left.
    void drop(const DmTreeNode& node, pugi::xml_node element);

    const ParsedXml& _xml;
    const Options& _options;
    Report& _report;
    std::map<std::string, pugi::xml_node, std::less<>> _files;
    std::map<std::string, pugi::xml_node, std::less<>> _sequences;
    std::map<std::string, pugi::xml_node, std::less<>> _sequencesElsewhere; ///< in what is kept as it stands
    std::map<const void*, CoSharedPtr<DmCompositionNode>> _read;            ///< by element
    std::set<const void*> _open;                                            ///< being read
    std::unordered_set<const void*> _told;                                  ///< what is wrong in these
    int _depth = 0;
    std::size_t _charged = 0;
    std::size_t _mostEffects = 0; ///< of a clip: what is made of them all at once is gone again before the next one

    // For the forms
    NodeSet _nodes;
    ReadHints _hints;
    SharedLeftovers _forms{leftoverType};
};

} // namespace interchange::xmeml
