/// A document as xmeml sees it: sequences of tracks of items, with the ids by which they name each other. The reader
/// makes one of what it has read, to see what the writer would write of it; the writer makes one of what there is.
///
/// For sources of this library only.
#pragma once

#include "icFcp7xmlText.h"

#include "icLeftovers.h"
#include "icReport.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "tuFcm.h"

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace interchange::xmeml
{

inline constexpr LeftoverType leftoverType{"fcp7xml", L"fcp7xml 2"};
/// Without rows of markers, and with the times themselves of cuts inside transitions.
inline constexpr LeftoverType firstLeftoverType{"fcp7xml", L"fcp7xml"};

/// None where it is neither.
std::optional<bool> booleanOf(std::string_view text);

/// How a file says a rate: 29.97 is the timebase 30 with "ntsc" TRUE.
struct Rate
{
    int timebase = 0;
    bool ntsc = false;

    static Rate of(DM::FrameCodeModes fcm);
    /// None where the element says none that can be.
    static std::optional<Rate> of(pugi::xml_node rate);
    double fps() const { return ntsc ? timebase * 1000.0 / 1001.0 : timebase; }
    /// Without dropping labels, unless `drop`.
    DM::FrameCodeModes mode(bool drop) const;
    friend bool operator==(const Rate&, const Rate&) = default;
};

/// What a file said of a clip by which others understand it.
struct Hint
{
    std::string id;
    std::optional<Rate> rate; ///< in which its times count, where that is not its material's
    // Of keyed speeds: the clip time at the segment's begin, and of the first key frame, when that was read
    double at = 0;
    std::optional<double> key;
    std::string media;        ///< id of its file or sequence
    bool isReference = false; ///< which the file defines elsewhere
    double before = 0;        ///< so many frames in front of its file's begin are the material's as well
    bool isOff = false;       ///< muted by its track
    bool isRead = false;      ///< it came from a file
    bool hasFile = false;     ///< which said something of its medium
    pugi::xml_node element{}; ///< while that file is being read

    /// As attributes of a form, and read from those.
    std::string marks() const;
    static Hint of(pugi::xml_node form);
};

/// The same while the file is being read, of which there is one for every node: the element has the rest.
struct ReadHint
{
    enum Kind : std::uint8_t
    {
        Plain,
        Clip, ///< of a file
        Nest  ///< of a sequence
    };
    pugi::xml_node element;
    double at = 0;
    double key = std::numeric_limits<double>::quiet_NaN();
    double before = 0;
    Rate rate; ///< without a timebase: none
    Kind kind = Plain;
    bool isOff = false;

    Hint whole() const;
};
using ReadHints = std::unordered_map<const DmTreeNode*, ReadHint>;

/// A form that travels with a node; empty without one.
class Form
{
public:
    Form() = default;
    explicit Form(const DmTreeNode& node);
    pugi::xml_node root() const { return _document.document_element(); }

private:
    pugi::xml_document _document;
};

/// A number as files have it: whole where it is.
std::string timeText(double value);

/// What stands on a track.
struct Item
{
    const DmTreeNode* node = nullptr;
    const DmSegmentNode* segment = nullptr; ///< itself, or the one that travels with a gap; null for a transition
    const DmTrxEffectNode* mix = nullptr;   ///< null for a segment
    double recIn = 0;
    double recOut = 0;
    const DmTrxEffectNode* before = nullptr; ///< mixes into it
    const DmTrxEffectNode* behind = nullptr;
    bool isFromBlack = false; ///< of a transition
    bool isToBlack = false;
    bool isCut = false;     ///< a later one covers its end
    bool isCarried = false; ///< by the transition behind it
};

/// Record time of an item with what its transitions show of it.
struct Extent
{
    double start;
    double end;
};
Extent extentOf(const Item& item);

struct Track
{
    const DmTrackNode* node;
    int number;               ///< among its kind, from 1 on
    const DmLayerNode* layer; ///< the one that plays; null without any
    std::vector<Item> items;
    double filledTo = 0;       ///< the end of a gap behind the last item; 0 without one
    bool saysFilledTo = false; ///< the sequence's duration alone does not
    bool isFurther = false;    ///< a further layer of the node: a track above that of the layer that plays
    bool isDisabled = false;   ///< beside a result layer; or since it was read, and nothing in it plays by now
};

struct Sequence
{
    const DmCompositionNode* node;
    DM::FrameCodeModes fcm;
    double origin = 0; ///< the record time that a file's times count from
    double end = 0;    ///< of what stands in it, gaps included, in record time
    std::vector<Track> tracks;
    std::string id;
    bool isTop = false;
    std::optional<Rate> rate; ///< in which items without one count, where the model and the file have the same
};

/// A medium.
struct File
{
    std::string id;
    bool hasPicture = false;
    int channels = 0;
    bool isKnown = false;  ///< how long it is; else it spans what plays of it
    bool isUnknown = true; ///< nobody says how long it is, and it is no still
    double begin = 0;      ///< the label time of its first frame, in frames of its mode
    double end = 0;
    bool isSaid = false;                    ///< somebody says more of it than its id
    const DmSegmentNode* definer = nullptr; ///< where it is defined; null where the file's own words do that elsewhere
};

/// Each of a group names all others: larger ones than anybody's editing system makes are none.
inline constexpr std::size_t mostLinked = 128;

/// What is linked is told from what stands alone by the '#' in its id.
struct Linked
{
    const DmSegmentNode* segment;
    eDmTreeMediaType mediaType;
    int track;
    int index; ///< among the items of its track, from 1 on
};

class Cut
{
public:
    /// `hints`: of what was just read; without them each node's form says them. `fcm`: of compositions without a mode.
    Cut(const DmRoot& root, DM::FrameCodeModes fcm, const ReadHints* hints);

    /// Those that stand in the document itself, in its order.
    const std::vector<const Sequence*>& top() const { return _top; }
    const Sequence* find(const DmCompositionNode* node) const;
    Hint hintOf(const DmTreeNode& node) const;
    /// Empty for a clip that has none.
    const std::string& idOf(const DmSegmentNode& segment) const;
    /// Null for a segment without a file.
    const File* fileOf(const DmSegmentNode& segment) const;
    /// Whether the sequence is to be defined in this container.
    bool defines(const DmContainerNode& container) const;
    const std::vector<Linked>* linksOf(const DmSegmentNode& segment) const;
    /// Files that words of the document's own define, and sequences that stand in these. A file of which the model says
    /// something else by now is another one.
    void defineElsewhere(const std::map<std::string, pugi::xml_node>& files, const std::set<std::string>& sequences);
    /// Such a sequence; null for one that is used no more.
    const Sequence* elsewhere(const std::string& id) const;
    /// An id that a file used and never defined stays that, but for `kept`, of which its words are still there.
    void leaveUndefined(const std::map<std::string, pugi::xml_node>& kept);

private:
    void collect(const DmTreeNode& node, DM::FrameCodeModes fcm);
    Sequence& addSequence(const DmCompositionNode& node, DM::FrameCodeModes otherwise, bool isTop);
    void addFile(const Sequence& sequence, const Track& track, const Item& item, const Hint& hint);
    /// Those whose medium no file named: it may be one that a file named elsewhere.
    void addOwnFiles();
    void use(File& file, bool isNew, const Sequence& sequence, const Track& track, const Item& item, double before);
    /// What begins before the composition's start label has no other place than the begin of the sequence.
    void findBegin(Sequence& sequence);
    static void findEnd(Sequence& sequence);
    void addTracks(Sequence& sequence, const DmTrackNode& node, int& number);
    Track& addTrack(Sequence& sequence, const DmTrackNode& node, const DmLayerNode* layer, int number);
    void addClips(Sequence& sequence);
    void addContainer(const DmContainerNode& container, DM::FrameCodeModes fcm);
    std::string take(std::set<std::string>& taken, std::string wanted, const char* stem) const;

    const ReadHints* _hints;
    std::vector<const Sequence*> _top;
    std::map<const DmCompositionNode*, Sequence> _sequences;
    std::map<std::string, std::vector<const DmCompositionNode*>> _sequencesById;
    std::unordered_map<const DmTreeNode*, const DmCompositionNode*> _insides; ///< of equal ones, the first
    std::unordered_map<const DmTreeNode*, std::string> _ids;
    std::map<std::string, File> _files;
    std::map<std::string, File*> _filesByMedium; ///< that have an id of a file's
    struct Use
    {
        const Sequence* sequence;
        const Track* track;
        const Item* item;
        double before;
    };
    std::vector<Use> _ownUses; ///< of media that no file named
    std::unordered_map<const DmTreeNode*, const File*> _filesOf;
    std::unordered_map<const DmCompositionNode*, const DmContainerNode*> _definers;
    std::map<std::string, const Sequence*> _elsewhere;
    std::map<std::pair<const DmCompositionNode*, std::string>, std::vector<Linked>> _links;
    std::unordered_map<const DmTreeNode*, const std::vector<Linked>*> _linksOf;
    std::set<std::string> _takenClips, _takenFiles, _takenSequences;
    std::vector<CoSharedPtr<DmTrxEffectNode>> _mended; ///< copies of transitions that say other times than they take
    // What gets a new id when all are known that stand in the document
    std::vector<const DmTreeNode*> _unnamed;
    std::vector<File*> _unnamedFiles;

public:
    /// The composition that stands for a container's own: one of several that are equal.
    const DmCompositionNode* insideOf(const DmContainerNode& container) const;
    /// Nodes that have no place, and further layers.
    struct Left
    {
        const DmTreeNode* node;
        const Sequence* sequence;
        const DmTrackNode* track;
        const char* code;
        double time;
    };
    std::vector<Left> left;
};

} // namespace interchange::xmeml
