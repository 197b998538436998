#include "dmCutView.h"

#include "dmElementImp.h"
#include "dmFirstsImp.h"
#include "dmGapNode.h"
#include "dmMaterial.h"
#include "dmRulesImp.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTreeIterator.h"
#include "dmUtf8.h"

#include <algorithm>
#include <unordered_set>

namespace
{

const DmString noName;

std::wstring_view lastPart(std::wstring_view path)
{
    const std::size_t slash = path.find_last_of(L"/\\");
    return slash == path.npos ? path : path.substr(slash + 1);
}

/// Gives media their numbers.
class MediumNumbers
{
public:
    explicit MediumNumbers(std::size_t mostShots)
        : _firsts(mostShots)
    {
    }

    int of(const DmSegmentNode& segment, const DmSourceNames& names)
    {
        if (!names.path.empty())
            return number({.text = names.path, .kind = 0});
        if (!names.file.empty())
            return number({.text = names.file, .kind = 1});
        const DmString& clip = segment.getName();
        if (!names.reel.empty() && !clip.empty() && clip != L"untitled")
            return number({.text = names.reel, .second = clip.view(), .kind = 2});
        return -1;
    }

private:
    int number(const DmFirstsKey& key)
    {
        const int next = static_cast<int>(_firsts.size());
        const int* const known = _firsts.add(key, next);
        return known ? *known : next;
    }

    DmFirsts<int> _firsts;
};

std::string trackName(const DmTrackNode& track, int positionOfKind)
{
    const int number = track.getTrackNum() > 0 ? track.getTrackNum() : positionOfKind + 1;
    return (track.getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(number);
}

/// The source that a gap of no length carries, which only the transitions beside it show.
const DmSourceNode* carriedBy(const DmSegmentNode& segment)
{
    return segment.whatIs() == DM_GAP_NODE && segment.getRecLength() == 0.0
               ? dynamic_cast<const DmSourceNode*>(segment.getBaseBlob())
               : nullptr;
}

/// The shot's source and what it says of its media.
void addSource(DmShotView& shot)
{
    shot.isMuted = shot.segment->getMuted();
    shot.effects = shot.segment->getEffects().count();
    shot.source = shot.segment->whatIs() == DM_SOURCE_NODE ? static_cast<const DmSourceNode*>(shot.segment) : nullptr;
    shot.input = shot.source ? shot.source->getSrcInput() : nullptr;
    shot.media = dynamic_cast<const DmSourceNode::MediaInput*>(shot.input);
    shot.names = DmSourceNames(shot.input, shot.media);
}

void addShots(DmLaneView& lane, DM::FrameCodeModes fcm)
{
    const int count = lane.layer->getNbChildren();
    lane.elements.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        DmTreeNode* const node = lane.layer->getChild(i);
        lane.elements.push_back({node, dmSegment(node), dmTransition(node)});
    }
    const auto mixLength = [&lane](int position)
    {
        const DmTransitionNode* const transition = lane.at(position).transition;
        return transition && transition->whatIs() == DM_TRX_EFFECT_NODE ? std::max(0.0, transition->getRecLength())
                                                                        : 0.0;
    };
    lane.shots.reserve(static_cast<std::size_t>(count) / 2 + 1);
    for (int i = 0; i < count; ++i)
    {
        const DmSegmentNode* const standing = lane.at(i).segment;
        if (!standing)
            continue;
        const DmSourceNode* const carried = carriedBy(*standing);
        const DmSegmentNode& segment = carried ? *carried : *standing;
        const DmPlayedBeside beside{mixLength(i - 1), mixLength(i + 1)};
        lane.shots.push_back({&segment, standing, i, segment.whatIs() == DM_GAP_NODE, carried != nullptr,
                              standing->getRecIn(), standing->getRecOut(), beside.before, beside.behind,
                              DmPlayed(segment, fcm), dmMaterialOf(segment, fcm, beside)});
        addSource(lane.shots.back());
    }
}

void numberMedia(std::vector<DmCutView>& cuts)
{
    MediumNumbers numbers(dmCountShots(cuts));
    for (DmCutView& cut : cuts)
        for (DmLaneView& lane : cut.lanes)
            for (DmShotView& shot : lane.shots)
                if (shot.material.kind == DmMaterial::Kind::Moving || shot.material.kind == DmMaterial::Kind::Still)
                    shot.medium = numbers.of(*shot.segment, shot.names);
}

} // namespace

const DmString& DmShotView::name() const
{
    return segment->getName() == L"untitled" ? noName : segment->getName();
}

// By which findings are known again

namespace
{

/// What plays in a shot: "/media/A001.mov 01:00:00:00 - 01:00:04:00".
std::string subjectOf(const DmShotView& shot)
{
    const DmSourceNames& names = shot.names;
    std::string medium = dmUtf8(names.path.empty() ? names.file : names.path);
    if (medium.empty())
        medium = dmUtf8(names.reel) + (names.reel.empty() ? "" : " ") + dmUtf8(shot.name());
    const auto label = [&shot](double position) { return dmLabelText(shot.sourceTime(position), shot.played.fcm()); };
    return medium + ' ' + label(shot.played.begin()) + " - " + label(shot.played.end());
}

} // namespace

std::string DmLaneView::subjectAt(int position) const
{
    const auto at = std::ranges::lower_bound(shots, position, {}, &DmShotView::position);
    const bool isShot = at != shots.end() && at->position == position && !at->isGap;
    return isShot ? subjectOf(*at) : subjectAround(at);
}

std::string DmLaneView::subjectAround(std::vector<DmShotView>::const_iterator behind) const
{
    const auto isShot = [](const DmShotView& shot) { return !shot.isGap; };
    const auto before = std::find_if(std::reverse_iterator(behind), shots.rend(), isShot);
    behind = std::find_if(behind, shots.end(), isShot);
    return (before == shots.rend() ? "" : subjectOf(*before)) + " | " +
           (behind == shots.end() ? "" : subjectOf(*behind));
}

DmSourceNames::DmSourceNames(const DmSegmentNode& segment)
{
    if (segment.whatIs() != DM_SOURCE_NODE)
        return;
    const DmSourceNode::Input* const input = static_cast<const DmSourceNode&>(segment).getSrcInput();
    *this = DmSourceNames(input, dynamic_cast<const DmSourceNode::MediaInput*>(input));
}

DmSourceNames::DmSourceNames(const DmSourceNode::Input* input, const DmSourceNode::MediaInput* media)
{
    if (!input)
        return;
    if (const DmSourceInfo* const info = input->getSrcInfo())
    {
        path = info->getPath().view();
        if (path.empty() && !info->getFileList().empty())
            path = info->getFileList().front().view();
        file = path.empty() ? info->getName().view() : lastPart(path);
        if (media)
            reel = info->getReelName().view();
    }
    if (!media)
        reel = dmReelOf(*input).view();
    if (reel == L"AX" || reel == L"ax" || reel == L"BL" || reel == L"bl")
        reel = {};
}

class DmCutViews::Collector final : public DmTreeVisitor
{
public:
    explicit Collector(DmCutViews& views)
        : DmTreeVisitor("DmCutViews")
        , _views(views)
    {
    }

    void visitRootNode(DmRoot* /*node*/) override { addCollection(); }
    void visitReelNode(DmReelNode* /*node*/) override { addCollection(); }

    void visitCompositionNode(DmCompositionNode* node) override
    {
        if (!_known.insert(node).second)
            return;
        DmCutView& cut = _views._cuts.emplace_back();
        cut.composition = node;
        cut.path = path()->text();
        cut.index = static_cast<int>(_views._cuts.size()) - 1;
        cut.isNested = path()->depth() > 0 && path()->index() < 0;
        cut.isStrict = node->getOrigin() == DM_ORIGIN_STRICT;
        cut.fcm = dmFcmFromText(node->getFCM());
        int ofKind[2] = {0, 0};
        for (int i = 0; i < node->getNbChildren(); ++i)
        {
            const auto* const track = dynamic_cast<const DmTrackNode*>(node->getChild(i));
            if (!track)
                continue;
            const bool isPicture = track->getMediaType() != DM_MEDIA_AUDIO;
            const int number = ofKind[isPicture ? 0 : 1]++;
            for (int j = 0; j < track->getNbChildren(); ++j)
                if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(j)))
                {
                    DmLaneView lane{track, layer, i, j, trackName(*track, number), isPicture, {}, {}};
                    addShots(lane, cut.fcm);
                    cut.lanes.push_back(std::move(lane));
                }
        }
    }

    void notFollowed(DmTreeNode* node, DmNotFollowed why) override
    {
        if (why != DmNotFollowed::Known)
            _views._notFollowed.push_back({node, path()->text(), why});
    }

private:
    void addCollection() { _views._collections.push_back({path()->node(), path()->text()}); }

    DmCutViews& _views;
    std::unordered_set<const DmCompositionNode*> _known;
};

DmCutViews::DmCutViews(const DmTreeNode& tree)
{
    Collector collector(*this);
    // Visitors are given nodes to change: this one changes none. What stands below itself is noted on the way.
    static_cast<void>(
        DmPreIt(const_cast<DmTreeNode*>(&tree), {.intoContainers = true, .sharedOnce = true}).apply(collector));
    numberMedia(_cuts);
}
