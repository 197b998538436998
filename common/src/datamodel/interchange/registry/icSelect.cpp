#include "icSelect.h"

#include "icText.h"
#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmReelNode.h"
#include "dmTrackNode.h"
#include "dmUtf8.h"

#include <algorithm>

namespace interchange
{

namespace
{

/// Without a name the first.
CoSharedPtr<DmCompositionNode> find(const DmCollectionNode& in, const std::string& name, std::string& others)
{
    for (int i = 0; i < in.getNbChildren(); ++i)
    {
        DmTreeNode* const child = in.getChild(i);
        if (!child)
            continue;
        if (child->whatIs() == DM_REEL_NODE)
        {
            if (auto found = find(static_cast<DmReelNode&>(*child), name, others))
                return found;
        }
        else if (child->whatIs() == DM_COMPOSITION_NODE)
        {
            if (name.empty() || dmUtf8(child->getName()) == name)
                return CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(child));
            others.append(others.empty() ? "" : ", ").append(dmUtf8(child->getName()));
        }
    }
    return {};
}

int countOf(const DmTreeNode& in, const std::string& name)
{
    int count = 0;
    for (int i = 0; i < in.getNbChildren(); ++i)
        if (const DmTreeNode* const child = in.getChild(i))
            count += child->whatIs() == DM_REEL_NODE ? countOf(*child, name)
                     : child->whatIs() == DM_COMPOSITION_NODE && dmUtf8(child->getName()) == name ? 1
                                                                                                  : 0;
    return count;
}

std::string nameOf(const DmTrackNode& track)
{
    return (track.getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(track.getTrackNum());
}

/// A composition of the same properties with some of the tracks; null with an error where one of them is not there.
CoSharedPtr<DmCompositionNode> withTracks(const DmCompositionNode& composition, const std::vector<std::string>& tracks,
                                          Report& report)
{
    const CoSharedPtr<DmPropertySet> copy = orBadAlloc(composition.clone());
    CoSharedPtr<DmCompositionNode> chosen(static_cast<DmCompositionNode*>(copy.get()));
    std::vector<std::string> missing = tracks;
    int primary = -1;
    const DmTreeNode* const before = composition.getChild(composition.getPrimaryVideoTrackIndex());
    for (int i = chosen->getNbChildren() - 1; i >= 0; --i)
    {
        const auto* const track = dynamic_cast<const DmTrackNode*>(chosen->getChild(i));
        if (!track)
            continue;
        if (std::ranges::find(tracks, nameOf(*track)) == tracks.end())
            chosen->removeChild(i);
        else
            std::erase(missing, nameOf(*track));
    }
    for (int i = 0; i < chosen->getNbChildren(); ++i)
        if (chosen->getChild(i) == before && before)
            primary = i;
    require(chosen->setPrimaryVideoTrackIndex(primary));
    if (missing.empty())
        return chosen;
    report.add("DM701", Report::Error, 0, "there is no track " + missing.front());
    return {};
}

} // namespace

CoSharedPtr<DmRoot> select(const DmRoot& root, const Options& options, Report& report)
{
    auto chosen = orBadAlloc(DmRoot::create());
    std::string others;
    CoSharedPtr<DmCompositionNode> composition = find(root, options.composition, others);
    if (!composition)
    {
        report.add("DM701", Report::Error, 0,
                   options.composition.empty()
                       ? "there is no composition"
                       : "no composition is called \"" + options.composition + "\"; there are: " + others);
        return {};
    }
    if (!options.composition.empty() && countOf(root, options.composition) > 1)
    {
        report.at({.node = composition.get()});
        report.lose({"DM727", "of several of one name only the first is written"});
        report.at({});
    }
    if (!options.tracks.empty())
        composition = withTracks(*composition, options.tracks, report);
    if (!composition)
        return {};
    chosen->addChild(composition);
    return chosen;
}

} // namespace interchange
