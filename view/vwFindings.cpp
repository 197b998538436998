#include "vwSceneBuild.h"

#include "dmReelNode.h"
#include "dmSegmentNode.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace view
{
namespace
{

/// The positions that a path names on its way down: of a track, of a layer, of an element.
std::vector<int> positionsOf(std::string_view path)
{
    constexpr std::string_view step = "children[";
    std::vector<int> positions;
    while (path.starts_with(step))
    {
        int position = 0;
        const auto end = std::from_chars(path.data() + step.size(), path.data() + path.size(), position).ptr;
        positions.push_back(position);
        path.remove_prefix(std::min(static_cast<std::size_t>(end - path.data()) + 2, path.size()));
    }
    return positions;
}

/// The row of a layer: rows stand in the order in which the scene was built.
std::uint32_t rowOf(const DmCompositionNode& node, int track, int layer)
{
    std::uint32_t row = 0;
    for (const bool isAudio : {false, true})
        for (int i = 0; i < node.getNbChildren(); ++i)
        {
            const int at = isAudio ? i : node.getNbChildren() - 1 - i;
            DmTreeNode* const child = node.getChild(at);
            if (!child || child->whatIs() != DM_TRACK_NODE ||
                (static_cast<DmTrackNode*>(child)->getMediaType() == DM_MEDIA_AUDIO) != isAudio)
                continue;
            for (int k = 0; k < child->getNbChildren(); ++k)
            {
                const int here = isAudio ? k : child->getNbChildren() - 1 - k;
                const DmTreeNode* const one = child->getChild(here);
                if (!one || one->whatIs() != DM_LAYER_NODE)
                    continue;
                if (at == track && here == layer)
                    return row;
                ++row;
            }
        }
    return noSegment;
}

void addOf(DmCompositionNode& node, Composition& composition)
{
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(&node, DM_VALIDATE_ALL))
    {
        Finding finding{Severity::Error, {}, dmUtf8(violation.message), noSegment, noSegment, composition.begin};
        const std::vector<int> at = positionsOf(violation.path);
        if (at.size() >= 2)
            finding.row = rowOf(node, at[0], at[1]);
        const DmTreeNode* const track = at.empty() ? nullptr : node.getChild(at[0]);
        const DmTreeNode* const layer = track && at.size() >= 2 ? track->getChild(at[1]) : nullptr;
        DmTreeNode* const element = layer && at.size() >= 3 ? layer->getChild(at[2]) : nullptr;
        if (const double time = DmTreeTool::getRecordRange(element).in; std::abs(time) < dmNoTime)
            finding.time = std::clamp(time, composition.begin, composition.end);
        if (const DmSegmentNode* const segment = element ? element->asSegment() : nullptr;
            segment && finding.row != noSegment)
        {
            const Row& row = composition.rows[finding.row];
            const auto& in = composition.segments.in;
            const auto found = std::lower_bound(in.begin() + row.first, in.begin() + row.last, segment->getRecIn());
            if (found != in.begin() + row.last)
                finding.segment = static_cast<std::uint32_t>(found - in.begin());
        }
        composition.findings.push_back(std::move(finding));
    }
    std::stable_sort(composition.findings.begin(), composition.findings.end(),
                     [](const Finding& a, const Finding& b) { return a.time < b.time; });
}

void addBelow(const DmTreeNode& node, Scene& scene, std::size_t& next)
{
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        DmTreeNode* const child = node.getChild(i);
        if (child && child->whatIs() == DM_REEL_NODE)
            addBelow(*child, scene, next);
        else if (child && child->whatIs() == DM_COMPOSITION_NODE && next < scene.tops)
            addOf(static_cast<DmCompositionNode&>(*child), scene.compositions[next++]);
    }
}

} // namespace

void addFindings(Scene& scene, const DmRoot& root)
{
    std::size_t next = 0;
    addBelow(root, scene, next);
}

} // namespace view
