/// What the rules look at: the compositions of a tree, nested ones too, with what each shot plays worked out once.
///
///     const DmCutViews views(*root);
///     for (const DmCutView& cut : views.cuts())
///         for (const DmLaneView& lane : cut.lanes)
///             for (const DmShotView& shot : lane.shots)
///                 std::cout << lane.name << ' ' << shot.recIn << ' ' << shot.played.speed() << '\n';
///
/// Views point into the tree and are good as long as it lives and nobody changes it. A composition that stands in
/// several places is viewed once, at its first.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "tuFcm.h"

#include <string>
#include <vector>

/// Where a segment's material comes from, as far as it is said: empty texts where it is not.
struct ZR_DM_API DmSourceNames
{
    DmSourceNames() = default;
    explicit DmSourceNames(const DmSegmentNode& segment);
    /// Of an input, or of null; `media` is the same, where it is one.
    DmSourceNames(const DmSourceNode::Input* input, const DmSourceNode::MediaInput* media);

    std::wstring_view path;
    std::wstring_view file; ///< a file's name without its folder
    std::wstring_view reel; ///< "AX" and "BL" are none: every list has them
};

/// A child of a layer, told by class: `segment` and `transition` are null for what is neither.
struct DmElementView
{
    const DmTreeNode* node = nullptr;
    const DmSegmentNode* segment = nullptr;
    const DmTransitionNode* transition = nullptr;
};

/// A segment of a layer, or the source that a gap of no length carries: what is seen of that one are the transitions
/// beside it.
struct DmShotView
{
    const DmSegmentNode* segment;  ///< what plays
    const DmSegmentNode* standing; ///< in the layer: that, or the gap that carries it
    int position;                  ///< among the layer's children
    bool isGap;                    ///< nothing plays
    bool isCarried;                ///< by a gap of no length
    double recIn;
    double recOut;
    double mixBefore = 0.0; ///< length of the transition in front, which shows the shot too
    double mixBehind = 0.0;
    DmPlayed played;
    DmMaterial material;
    DmSourceNames names = {};
    const DmSourceNode* source = nullptr;            ///< the segment, where it is one
    const DmSourceNode::Input* input = nullptr;      ///< the source's
    const DmSourceNode::MediaInput* media = nullptr; ///< the same, where it is one
    bool isMuted = false;
    int effects = 0; ///< how many it has
    /// Shots of one medium have one number: of one path; else of one file name; else of one reel and clip name. -1: not
    /// known.
    int medium = -1;

    double recLength() const { return recOut - recIn; }
    // What is seen of it, the transitions beside it counted

    double seenIn() const { return recIn - mixBefore; }
    double seenOut() const { return recOut + mixBehind; }

    /// The label time of a point of its material, in frames of played.fcm().
    double sourceTime(double inMaterial) const { return material.begin + inMaterial; }
    /// Frame by frame, of recorded media or a nested edit.
    bool isMoving() const { return material.kind == DmMaterial::Kind::Moving; }
    /// At one speed throughout, which is not 0.
    bool isSteady() const { return played.motion() == DmPlayed::Motion::Constant && isMoving(); }
    /// The shot's name; empty where nobody gave it one.
    const DmString& name() const;
};

/// A layer.
struct ZR_DM_API DmLaneView
{
    const DmTrackNode* track;
    const DmLayerNode* layer;
    int trackIndex;   ///< among the composition's children
    int layerIndex;   ///< among the track's
    std::string name; ///< of the track: "V1", "A2"
    bool isPicture;
    std::vector<DmElementView> elements; ///< the layer's children
    std::vector<DmShotView> shots;       ///< in the order in which they stand

    /// A child; nothing beside the first and the last.
    DmElementView at(int position) const
    {
        const bool isThere = position >= 0 && position < static_cast<int>(elements.size());
        return isThere ? elements[static_cast<std::size_t>(position)] : DmElementView();
    }

    // By which what is said here is known again in a later version (DmFinding::subject)

    /// Of a child: what plays in the shot, or in those on both sides of what is none.
    std::string subjectAt(int position) const;
    /// Of what lies in front of a shot.
    std::string subjectAround(std::vector<DmShotView>::const_iterator behind) const;
};

struct DmCutView
{
    const DmCompositionNode* composition;
    std::string path; ///< from the tree's first node on; empty for that one itself
    int index;        ///< among the cuts of the tree
    bool isNested;
    bool isStrict; ///< its origin asks for every rule
    DM::FrameCodeModes fcm;
    std::vector<DmLaneView> lanes;
};

class ZR_DM_API DmCutViews
{
public:
    explicit DmCutViews(const DmTreeNode& tree);

    const std::vector<DmCutView>& cuts() const { return _cuts; }

    /// A root or a reel, and where it stands.
    struct Collection
    {
        const DmTreeNode* node;
        std::string path;
    };
    const std::vector<Collection>& collections() const { return _collections; }
    /// Nodes that stand below themselves or too deep, with the path to each.
    struct NotFollowed
    {
        const DmTreeNode* node;
        std::string path;
        DmNotFollowed why;
    };
    const std::vector<NotFollowed>& notFollowed() const { return _notFollowed; }

private:
    class Collector;

    std::vector<DmCutView> _cuts;
    std::vector<Collection> _collections;
    std::vector<NotFollowed> _notFollowed;
};
