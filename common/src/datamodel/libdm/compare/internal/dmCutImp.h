/// A composition as those see it who compare it with another: its shots, each by who it is and by what it plays when.
///
/// A shot is a segment that is no gap. Times are label times of the composition, so that two cuts compare whether or
/// not they count from the same time; the range that a shot plays is in label times of its material.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmRunsImp.h"
#include "dmSegmentNode.h"
#include "dmTrackNode.h"
#include "dmTransitionNode.h"
#include "dmTrxEffectNode.h"

#include "CoHashImp.h"
#include "tuFcm.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace dmCompare
{

/// Who a medium is, in hashes of its texts; 0 for what a document does not say.
struct Medium
{
    std::uint64_t path = 0;    ///< a version in it left out
    std::uint64_t base = 0;    ///< the file's name without its extension, as well
    std::uint64_t reel = 0;    ///< the tape, as well
    std::uint64_t version = 0; ///< the path as it stands

    bool isKnown() const { return (path | base | reel) != 0; }
};

enum class Agreement
{
    No,
    Unknown,
    Yes
};
Agreement agree(const Medium& a, const Medium& b);

struct Shot
{
    const DmSegmentNode* node = nullptr;
    const DmTransitionNode* inFront = nullptr; ///< the transitions beside it; null for a cut and for none
    const DmTransitionNode* behind = nullptr;
    int lane = 0;
    int element = 0; ///< its position in the layer
    int leftOut = 0; ///< shots in front of it that are not among these: the other cut shares them
    bool isShared = false;
    double in = 0.0;
    double out = 0.0;
    double srcIn = 0.0; ///< what of its material it plays; both 0 where that says nothing (a still, a generator)
    double srcOut = 0.0;
    double speed = 1.0; ///< 0 for a freeze
    double rate = 1.0;  ///< frames of the material for one of the record, at normal speed
    std::uint64_t id = 0;
    std::uint64_t name = 0;
    Medium medium;
    bool isKeyed = false;
    double inFrontAt = 0.0; ///< label times of the transitions
    double behindAt = 0.0;

    bool plays() const { return srcOut > srcIn; }
    double lengthInFront() const { return inFront ? inFront->getRecLength() : 0.0; }
    double lengthBehind() const { return behind ? behind->getRecLength() : 0.0; }
};

struct Lane
{
    const DmTrackNode* track;
    const DmLayerNode* layer;
    int trackAt; ///< positions in the document
    int layerAt;
    int first; ///< of its shots
    int last;
    double start;                    ///< label time at which the layer begins
    double end;                      ///< record time at which its last segment ends
    std::string name;                ///< "V1", "A2", "V1.2": the track's own, where it has one
    std::vector<std::string> others; ///< classes of what it holds that is neither segment nor transition

    int count() const { return last - first; }
};
std::string laneName(const DmTrackNode& track, int layerAt);

/// Of a layer of a timeline, its elements, and those that another version of it shares.
struct LayerSource
{
    const DmRuns* runs = nullptr;
    struct Range
    {
        int first;
        int count;
        int shots;
    };
    std::vector<Range> shared;
};
/// By the positions of track and layer.
using LayerSources = std::map<std::pair<int, int>, LayerSource>;

class Cut
{
public:
    /// `path`: of the composition in its document. Of what `sources` say is shared, only the shots at both ends of a
    /// range are among the cut's, with the nodes that the timeline stores.
    Cut(const DmCompositionNode& composition, std::string path, const LayerSources* sources = nullptr);

    const DmCompositionNode& composition() const { return *_composition; }
    const std::string& path() const { return _path; }
    DM::FrameCodeModes fcm() const { return _fcm; }
    const std::vector<Lane>& lanes() const { return _lanes; }
    const std::vector<Shot>& shots() const { return _shots; }
    const Lane& laneOf(const Shot& shot) const { return _lanes[std::size_t(shot.lane)]; }
    std::string pathOf(const Shot& shot) const;
    std::string pathOf(const Lane& lane, int element) const;
    /// The label of a label time.
    std::string label(double time) const;

private:
    class Elements;
    void addLayer(const DmTrackNode& track, const DmLayerNode& layer, int trackAt, int layerAt,
                  const LayerSource* source);

    const DmCompositionNode* _composition;
    std::string _path;
    DM::FrameCodeModes _fcm;
    double _toLabel; ///< from record time
    std::vector<Lane> _lanes;
    std::vector<Shot> _shots;
};

/// The compositions of a document, those in containers aside; their paths are JSON pointers.
std::vector<Cut> cutsOf(const DmRoot& root);

/// Of a shot, what it plays is told from `composition` mode.
Shot shotOf(const DmSegmentNode& segment, DM::FrameCodeModes fcm);

std::uint64_t hashOf(std::wstring_view text);
using DM::CoHash::mixed;

/// Whether an id was made up by a reader of a list: from an event's number ("12-V1"), or from medium and in-time
/// ("A001@90025/2"). Such ids are no names that anybody gave.
bool isMadeUp(const DmString& id);

/// What a clip is called: its name, else its shot's, else its input's.
std::string clipName(const DmSegmentNode& segment);
/// What it plays, in a word: a path, a reel, a generator's kind.
std::string mediumName(const DmSegmentNode& segment);

} // namespace dmCompare
