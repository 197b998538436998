// Filling in what a list does not say of its media.
#include "icInterchange.h"
#include "icLook.h"
#include "icShown.h"
#include "icText.h"
#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmMaterial.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

namespace interchange
{

namespace
{

constexpr Loss fitsTwo{"DM616", "nothing is filled in"};
/// Lists cut reels to this length, or a longer one.
constexpr std::size_t shortestReel = 8;

struct Row
{
    double begin;
    double end;
    DM::FrameCodeModes fcm;
    std::string reel;
    std::string path;
    const DmLookSettings* look;
};

struct Place
{
    const DmCompositionNode& composition;
    const DmTrackNode& track;
    DM::FrameCodeModes fcm;
};

std::string upper(std::string text)
{
    std::ranges::transform(text, text.begin(), toUpper);
    return text;
}

const DmLookSettings* lookOf(const DmSegmentNode& segment)
{
    for (const DmPropertySetPtr& effect : segment.getEffects())
        if (const auto* const look = dynamic_cast<const DmLookSettings*>(effect.get()))
            return look;
    return nullptr;
}

using Visit = std::function<void(DmSourceNode&, const Place&, DmPlayedBeside)>;

/// Calls it for each source with a source info, in nested compositions too.
void forEachSource(const DmTreeNode& in, const Place* place, std::set<const DmTreeNode*>& seen, const Visit& visit)
{
    for (int i = 0; i < in.getNbChildren(); ++i)
    {
        DmTreeNode* const node = in.getChild(i);
        if (!node)
            continue;
        const DmCompositionNode* const nested = node->getNestedComposition();
        const auto* const composition = nested                                  ? nested
                                        : node->whatIs() == DM_COMPOSITION_NODE ? static_cast<DmCompositionNode*>(node)
                                                                                : nullptr;
        if (composition && seen.insert(composition).second)
        {
            const DM::FrameCodeModes own = dmFcmFromText(composition->getFCM());
            for (int k = 0; k < composition->getNbChildren(); ++k)
                if (const auto* const track = dynamic_cast<const DmTrackNode*>(composition->getChild(k)))
                {
                    const Place inside{*composition, *track,
                                       own != DM::FCM_NOT_DEFINED ? own
                                       : place                    ? place->fcm
                                                                  : DM::FCM_24};
                    forEachSource(*track, &inside, seen, visit);
                }
        }
        else if (!composition)
        {
            // What transitions leave nothing of travels with a gap.
            auto* const source =
                dynamic_cast<DmSourceNode*>(node->whatIs() == DM_GAP_NODE ? node->getBaseBlob() : node);
            if (source && place && source->getSrcInput() && source->getSrcInput()->getSrcInfo())
                visit(*source, *place, playedBeside(in, i));
            forEachSource(*node, place, seen, visit);
        }
    }
}

class Media
{
public:
    explicit Media(const DmRoot& root)
    {
        std::set<const DmTreeNode*> seen;
        forEachSource(root, nullptr, seen,
                      [this](DmSourceNode& source, const Place& place, DmPlayedBeside)
                      {
                          const DmSourceInfo& info = *source.getSrcInput()->getSrcInfo();
                          const DmMaterial material = dmMaterialOf(source, place.fcm);
                          const DM::FrameCodeModes fcm = material.fcm != DM::FCM_NOT_DEFINED ? material.fcm : place.fcm;
                          const DmString& name = !info.getReelName().empty() ? info.getReelName()
                                                 : !info.getName().empty()   ? info.getName()
                                                                             : source.getName();
                          _rows.emplace(upper(dmUtf8(name)),
                                        Row{material.begin, material.begin + material.length, fcm,
                                            dmUtf8(info.getReelName()), dmUtf8(info.getPath()), lookOf(source)});
                      });
    }

    /// The rows that fit a source; those that it has only a part of the name of, where there are no others.
    std::vector<const Row*> find(const DmSourceNode& source, DM::FrameCodeModes compositionFcm,
                                 DmPlayedBeside beside) const
    {
        const Shown shown = shownOf(source, compositionFcm, beside);
        const DmMaterial material = dmMaterialOf(source, compositionFcm);
        const DM::FrameCodeModes fcm = material.fcm != DM::FCM_NOT_DEFINED ? material.fcm : compositionFcm;
        const auto holds = [&](const Row& row)
        {
            const double ratio = DM::FcmUtil::getDoubleFPS(row.fcm) / DM::FcmUtil::getDoubleFPS(fcm);
            constexpr double tolerance = 0.5;
            return (material.begin + shown.begin) * ratio >= row.begin - tolerance &&
                   (material.begin + shown.end) * ratio <= row.end + tolerance;
        };
        std::vector<const Row*> found;
        const auto add = [&](const Row& row)
        {
            if (holds(row) && std::ranges::find(found, &row) == found.end())
                found.push_back(&row);
        };
        const std::string reel = upper(dmUtf8(source.getSrcInput()->getSrcInfo()->getReelName()));
        for (const std::string& name : {reel, upper(dmUtf8(source.getName()))})
            if (!name.empty())
                for (auto [each, end] = _rows.equal_range(name); each != end; ++each)
                    add(each->second);
        if (found.empty() && reel.size() >= shortestReel)
            for (auto each = _rows.lower_bound(reel); each != _rows.end() && each->first.starts_with(reel); ++each)
                add(each->second);
        return found;
    }

private:
    std::multimap<std::string, Row> _rows; ///< by their names
};

void fillFrom(DmSourceNode& source, const Row& row)
{
    DmSourceInfo& info = *source.getSrcInput()->getSrcInfo();
    if (info.getReelName().empty() && !row.reel.empty())
        require(info.setReelName(toDmString(row.reel)));
    if (info.getPath().empty() && !row.path.empty())
    {
        require(info.setPath(toDmString(row.path)));
        require(info.setSourceType(DmSourceInfo::File));
    }
    if (row.look && source.getMediaType() == DM_MEDIA_VIDEO && !lookOf(source))
        require(source.addEffect(toLookSettings(toLook(*row.look))));
}

} // namespace

std::vector<DmFinding> fillMedia(DmRoot& cut, const DmRoot& media)
{
    Report report;
    try
    {
        const Media rows(media);
        std::set<const DmTreeNode*> seen;
        forEachSource(cut, nullptr, seen,
                      [&](DmSourceNode& source, const Place& place, DmPlayedBeside beside)
                      {
                          const std::vector<const Row*> found = rows.find(source, place.fcm, beside);
                          if (found.size() == 1)
                              return fillFrom(source, *found.front());
                          report.at({&source, place.track.getMediaType(), place.track.getTrackNum(),
                                     place.composition.getLabelTime(source.getRecIn()), place.fcm});
                          if (found.size() > 1)
                              report.lose(fitsTwo);
                      });
        report.locate(cut);
    }
    catch (...)
    {
        report.addException();
    }
    return report.findings();
}

} // namespace interchange
