/// A stretch of a layer: it begins at "recIn" in record time, lasts "recLength", and plays the range of its material
/// that begins at "relIn".
///
/// "recIn" and "recLength" are frames of the composition's mode, "relIn" of the material's. Which frame plays when is
/// said by DmPlayed (dmPlayed.h). A mark of the segment counts from the begin of its material, as "relIn" does; a key
/// frame of its effects from "recIn".
///
/// A copy has clones of the effects and the marks, and shares whatever material there is.
#pragma once

#include "dmCueMark.h"
#include "dmEffectSettings.h"
#include "dmLeafNode.h"
#include "dmMediaType.h"
#include "dmOwned.h"

class ZR_DM_API DmSegmentNode : public DmLeafNode
{
public:
    static constexpr const wchar_t* className = dmClassName<DmSegmentNode>;
    enum Property : int
    {
        RecIn = DmLeafNode::PropertyCount,
        RecLength,
        RelIn,
        Effects,
        SegmentMarks,
        MediaType,
        OriginalID,
        SegmentId,
        SegmentPreviousIds,
        ShotName,
        Muted,
        PropertyCount
    };

    using DmTreeNode::asSegment;
    DmSegmentNode* asSegment() final { return this; }

    eDmErrorId createList() override;

    double getRecIn() const { return _recIn; }
    eDmErrorId setRecIn(double frames) { return set(RecIn, frames); }
    double getRecLength() const { return _recLength; }
    eDmErrorId setRecLength(double frames) { return set(RecLength, frames); }
    /// The record time at which the segment has ended.
    double getRecOut() const { return _recIn + _recLength; }
    /// Where in the material the range that plays begins, whatever the speed: frames of the material's mode.
    double getRelIn() const { return _relIn; }
    eDmErrorId setRelIn(double frames) { return set(RelIn, frames); }

    /// In the order in which they are applied.
    const DmSetList<DmEffectSettings>& getEffects() const { return _effects; }
    eDmErrorId addEffect(const CoSharedPtr<DmEffectSettings>& effect) { return addTo(Effects, effect); }
    eDmErrorId removeEffect(int index) { return removeFrom(Effects, index); }
    const DmSetList<DmCueMark>& getSegmentMarks() const { return rare()->segmentMarks; }
    eDmErrorId addSegmentMark(const CoSharedPtr<DmCueMark>& mark) { return addTo(SegmentMarks, mark); }
    eDmErrorId removeSegmentMark(int index) { return removeFrom(SegmentMarks, index); }

    /// That of the layer.
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }
    /// The segment that this one was derived from.
    const DmString& getOriginalID() const { return rare()->originalID; }
    eDmErrorId setOriginalID(const DmString& id) { return set(OriginalID, id); }
    /// Unique within a composition; empty for none.
    const DmString& getSegmentId() const { return _segmentId; }
    eDmErrorId setSegmentId(const DmString& id) { return set(SegmentId, id); }
    const std::vector<DmString>& getSegmentPreviousIds() const { return rare()->segmentPreviousIds; }
    eDmErrorId setSegmentPreviousIds(const std::vector<DmString>& ids) { return setStrings(SegmentPreviousIds, ids); }
    eDmErrorId addSegmentPreviousId(const DmString& id) { return addTo(SegmentPreviousIds, id); }
    const DmString& getShotName() const { return rare()->shotName; }
    eDmErrorId setShotName(const DmString& name) { return set(ShotName, name); }
    bool getMuted() const { return rare()->muted; }
    eDmErrorId setMuted(bool muted) { return set(Muted, muted); }

protected:
    DmSegmentNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    DmSegmentNode(const DmSegmentNode& other) = default;

    /// A record placed in time, as every create() of a segment begins; null when a setter fails.
    template <class T>
    static CoSharedPtr<T> placed(CoSharedPtr<T> node, eDmTreeMediaType mediaType, double recIn, double recLength,
                                 double relIn);

private:
    /// What few segments have.
    struct Rare
    {
        static constexpr int place = RecIn;
        DmOwnedList<DmCueMark> segmentMarks;
        DmString originalID;
        std::vector<DmString> segmentPreviousIds;
        DmString shotName;
        bool muted = false;
    };
    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    double _recIn = 0.0;
    double _recLength = 0.0;
    double _relIn = 0.0;
    DmOwnedList<DmEffectSettings> _effects;
    [[no_unique_address]] DmString _segmentId;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
};

template <class T>
CoSharedPtr<T> DmSegmentNode::placed(CoSharedPtr<T> node, eDmTreeMediaType mediaType, double recIn, double recLength,
                                     double relIn)
{
    if (node && (node->setMediaType(mediaType) != DM_NO_ERROR || node->setRecIn(recIn) != DM_NO_ERROR ||
                 node->setRecLength(recLength) != DM_NO_ERROR || node->setRelIn(relIn) != DM_NO_ERROR))
        node.reset();
    return node;
}
