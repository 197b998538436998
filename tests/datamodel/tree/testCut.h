/// A cut that breaks no rule, for tests that break one, look it up or copy it:
///
///     track 1, video, one layer, in frames of 25 fps
///       one [0, 100)   dissolve [100, 120)   two [120, 200)   a cut   a gap [200, 250)
#pragma once

#include "dmADissolveSettings.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"

#include <gtest/gtest.h>

inline CoSharedPtr<DmSourceNode> clip(const wchar_t* name, double recIn, double recLength, double relIn = 0.0)
{
    const auto input = DmSourceNode::MediaInput::create(1000, 90000, nullptr, L"25 fps", DM_MEDIA_VIDEO, true);
    auto node = DmSourceNode::create(input, recIn, recLength, relIn, false, false);
    EXPECT_EQ(input->setFcm(L"25 fps"), DM_NO_ERROR);
    EXPECT_EQ(node->setName(name), DM_NO_ERROR);
    EXPECT_EQ(node->setSegmentId(name), DM_NO_ERROR);
    return node;
}

/// As documents do it: nobody asks whether the child belongs there. Null is possible.
inline void addAny(DmPropertySet& parent, const DmPropertySetPtr& child)
{
    EXPECT_EQ(parent.addValueInPropertyList(L"children", DM_VECTOR_PROPERTY_SET, &child), DM_NO_ERROR);
}

struct TestCut
{
    TestCut()
    {
        for (const CoSharedPtr<DmTreeNode>& element :
             std::initializer_list<CoSharedPtr<DmTreeNode>>{one, dissolve, two, cut, gap})
            layer->addChild(element);
        track->addChild(layer);
        composition->addChild(track);
    }

    CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
    CoSharedPtr<DmTrackNode> track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    CoSharedPtr<DmLayerNode> layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    CoSharedPtr<DmSourceNode> one = clip(L"one", 0, 100);
    CoSharedPtr<DmTrxEffectNode> dissolve = DmTrxEffectNode::create(DmVDissolveSettings::create(), 100, 20);
    CoSharedPtr<DmSourceNode> two = clip(L"two", 120, 80, 50);
    CoSharedPtr<DmCutNode> cut = DmCutNode::create(DM_MEDIA_VIDEO, 200);
    CoSharedPtr<DmGapNode> gap = DmGapNode::create(DM_MEDIA_VIDEO, 200, 50);
};

/// A composition of one track, one layer and these elements, whatever they are.
inline CoSharedPtr<DmCompositionNode> compositionOf(const std::vector<CoSharedPtr<DmTreeNode>>& elements)
{
    auto composition = DmCompositionNode::create(L"of these", L"25 fps", nullptr);
    const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    const auto layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    for (const CoSharedPtr<DmTreeNode>& element : elements)
        addAny(*layer, element);
    track->addChild(layer);
    composition->addChild(track);
    return composition;
}

inline CoSharedPtr<DmContainerNode> containerOf(const CoSharedPtr<DmCompositionNode>& composition, double recIn = 0.0)
{
    return DmContainerNode::create(composition, DM_MEDIA_VIDEO, recIn, 100);
}

/// A composition in a container of a composition, and so on.
inline CoSharedPtr<DmCompositionNode> nestedCompositions(int count)
{
    CoSharedPtr<DmCompositionNode> outer = compositionOf({DmGapNode::create(DM_MEDIA_VIDEO, 0, 100)});
    while (--count > 0)
        outer = compositionOf({containerOf(outer)});
    return outer;
}

/// A composition that holds itself, through a container; taken apart at the end, or it would hold itself for ever.
struct EndlessCut
{
    EndlessCut() { EXPECT_EQ(container->setComposition(composition), DM_NO_ERROR); }
    ~EndlessCut() { EXPECT_EQ(container->setComposition(nullptr), DM_NO_ERROR); }
    EndlessCut(const EndlessCut&) = delete;
    EndlessCut& operator=(const EndlessCut&) = delete;

    CoSharedPtr<DmContainerNode> container = containerOf(nullptr);
    CoSharedPtr<DmCompositionNode> composition = compositionOf({container});
};
