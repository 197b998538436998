/// The material of a segment: where it begins and how much of it there is, as far as anybody knows.
///
///     const DmMaterial material = dmMaterialOf(*segment);
///     if (material.isLimited() && segment->getRelIn() + wanted > material.length)
///         ...   // there are not that many frames
///
/// Frames are those of the material's own mode: a source's "srcFcm", a nested composition's "fcm"; where that is
/// undefined, the composition's that the segment stands in. They count from the material's begin, as "relIn" does.
///
/// Lists do not say how long a file is: their readers can only set "srcLength" to what is played. So a media input has
/// an entry "materialLength" in its extra data where it knows better: "unknown", or the file's own length where
/// "srcLength" had to be made longer for what plays. Without that entry "srcLength" is the length; unless it is just
/// what the source plays, which says nothing about more.
#pragma once

#include "dmSourceNode.h"
#include "tuFcm.h"

/// The key of the entry, and its value for a length that nobody knows; others are frames ("1500").
inline constexpr const wchar_t* dmMaterialLengthKey = L"materialLength";
inline constexpr const wchar_t* dmMaterialLengthUnknown = L"unknown";

struct DmMaterial
{
    enum class Kind
    {
        None,     ///< a gap, a source without input, a container without composition
        Moving,   ///< frame by frame
        Still,    ///< a single frame, held for as long as a segment lasts: "relIn" says nothing
        Generated ///< made by the system, for as long as a segment lasts
    };
    Kind kind = Kind::None;
    /// The label time of the first frame: of a source its in-time (as DmSourceNode::MediaInput::getSrcIn gives it, or
    /// else its label), of a container the start time code of its composition.
    double begin = 0.0;
    /// How much there is: of unknown material, what the document says is played; 0 without any material.
    double length = 0.0;
    /// The length is the material's own, and not only what the document plays of it.
    bool known = false;
    /// As stored: FCM_NOT_DEFINED for the composition's that the segment stands in.
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED;

    /// There is as much as anybody asks for, whatever the length is.
    bool isEndless() const { return kind == Kind::Still || kind == Kind::Generated; }
    /// A segment may play no further than the length.
    bool isLimited() const { return known && !isEndless(); }
};

/// What is played beside the segment itself, by the transitions in front of it and behind it: lengths in frames.
struct DmPlayedBeside
{
    double before = 0.0;
    double behind = 0.0;
};

/// Of a source, or of a container: its composition's length ("compLength"; where that is not set, up to the end of what
/// stands in it). Of a gap, and of a source without input, there is none. `compositionFcm` is the mode of "recLength",
/// for material in another one.
ZR_DM_API DmMaterial dmMaterialOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm = DM::FCM_NOT_DEFINED,
                                  DmPlayedBeside beside = {});

/// Stores the entry: the file's own length in frames of its mode, or that nobody knows it. A length that is negative or
/// no number is DM_BAD_VALUE; else the status of the setter. An entry that says "unknown" is a constant that all such
/// inputs share: another one takes its place.
[[nodiscard]] ZR_DM_API eDmErrorId dmSetMaterialLength(DmSourceNode::MediaInput& input, double length);
[[nodiscard]] ZR_DM_API eDmErrorId dmSetMaterialLengthUnknown(DmSourceNode::MediaInput& input);

/// The reel that material is known by: what a derived or a relinked input says, else what its source info does; empty
/// where neither does. Good until the input's next setter.
ZR_DM_API const DmString& dmReelOf(const DmSourceNode::Input& input);
