/// A cut that breaks no rule, for tests that break one, look it up or copy it:
///
///     track 1, video, one layer, in frames of 25 fps
///       one [0, 100)   dissolve [100, 120)   two [120, 200)   a cut   a gap [200, 250)
#pragma once

#include "treeTools.h"

using Elements = std::vector<CoSharedPtr<DmTreeNode>>;

inline CoSharedPtr<DmSourceNode> clip(const wchar_t* name, double recIn, double recLength, double relIn = 0.0)
{
    const auto input = DmSourceNode::MediaInput::create(1000, 90000, nullptr, L"25 fps", DM_MEDIA_VIDEO, true);
    auto node = DmSourceNode::create(input, recIn, recLength, relIn, false, false);
    ok(input->setFcm(L"25 fps"));
    ok(node->setName(name));
    ok(node->setSegmentId(name));
    return node;
}

/// As documents do it: nobody asks whether the child belongs there. Null is possible.
inline void addAny(DmPropertySet& parent, const DmPropertySetPtr& child)
{
    // As a document brings it: an edit is asked whether the parent may hold it.
    const int children = parent.classData().find(L"children");
    static_cast<DmPropertySetVector*>(const_cast<void*>(parent.fieldOf(children)))->push_back(child);
}

inline CoSharedPtr<DmGapNode> gapOf(double recIn, double recLength)
{
    return DmGapNode::create(DM_MEDIA_VIDEO, recIn, recLength);
}

inline CoSharedPtr<DmCutNode> cutAt(double recIn)
{
    return DmCutNode::create(DM_MEDIA_VIDEO, recIn);
}

inline CoSharedPtr<DmTrxEffectNode> dissolveOf(double recIn, double recLength)
{
    return DmTrxEffectNode::create(DmVDissolveSettings::create(), recIn, recLength);
}

/// A layer of these elements, whatever they are; a composition of one track of one such layer.
inline CoSharedPtr<DmLayerNode> layerOf(const Elements& elements)
{
    auto layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    for (const CoSharedPtr<DmTreeNode>& element : elements)
        addAny(*layer, element);
    return layer;
}

inline CoSharedPtr<DmCompositionNode> compositionOf(const Elements& elements, const wchar_t* name = L"of these")
{
    auto composition = DmCompositionNode::create(name, L"25 fps", nullptr);
    const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    track->addChild(layerOf(elements));
    composition->addChild(track);
    return composition;
}

struct TestCut
{
    CoSharedPtr<DmSourceNode> one = clip(L"one", 0, 100);
    CoSharedPtr<DmTrxEffectNode> dissolve = dissolveOf(100, 20);
    CoSharedPtr<DmSourceNode> two = clip(L"two", 120, 80, 50);
    CoSharedPtr<DmCutNode> cut = cutAt(200);
    CoSharedPtr<DmGapNode> gap = gapOf(200, 50);
    CoSharedPtr<DmCompositionNode> composition = compositionOf({one, dissolve, two, cut, gap}, L"cut");
    DmTrackNode* track = static_cast<DmTrackNode*>(composition->getChild(0));
    DmLayerNode* layer = static_cast<DmLayerNode*>(track->getChild(0));
};

inline CoSharedPtr<DmContainerNode> containerOf(const CoSharedPtr<DmCompositionNode>& composition, double recIn = 0.0)
{
    return DmContainerNode::create(composition, DM_MEDIA_VIDEO, recIn, 100);
}

/// A composition in a container of a composition, and so on.
inline CoSharedPtr<DmCompositionNode> nestedCompositions(int count)
{
    CoSharedPtr<DmCompositionNode> outer = compositionOf({gapOf(0, 100)});
    while (--count > 0)
        outer = compositionOf({containerOf(outer)});
    return outer;
}

/// A composition that holds itself, through a container; taken apart at the end, or it would hold itself for ever.
struct EndlessCut
{
    EndlessCut() { ok(container->setComposition(composition)); }
    ~EndlessCut() { ok(container->setComposition(nullptr)); }
    EndlessCut(const EndlessCut&) = delete;
    EndlessCut& operator=(const EndlessCut&) = delete;

    CoSharedPtr<DmContainerNode> container = containerOf(nullptr);
    CoSharedPtr<DmCompositionNode> composition = compositionOf({container});
};
