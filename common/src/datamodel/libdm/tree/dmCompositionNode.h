/// An edit: its tracks, its frame-code mode, its format, its start time code and its marks.
///
/// Children are tracks. All times are frames of the composition's mode ("fcm"); a mark that is not set is at dmNoTime.
///
/// Record time is the composition's: the same t is the same instant on all its layers. Its label is t itself where the
/// composition counts absolutely, as cut lists do, and else the start time code plus t, as where a layer begins at 0.
#pragma once

#include "dmCollectionNode.h"
#include "dmCueMark.h"
#include "dmFrameResolution.h"
#include "dmOwned.h"
#include "dmOwnedRecord.h"

#include <string>

/// Where a composition came from. The values are the application's; the library gives a meaning to one of them.
enum eDmOrigin : int
{
    DM_ORIGIN_UNDEFINED = 0,
    DM_ORIGIN_STRICT = 5 ///< validated by every rule there is (DmTreeTool::isValidTree)
};

class ZR_DM_API DmCompositionNode final
    : public DmNode<DmCompositionNode, DmCollectionNode, &DmTreeVisitor::visitCompositionNode,
                    &DmTreeVisitor::postProcessCompositionNode>
{
public:
    enum Property : int
    {
        Fcm = FirstOwn,
        CompLength,
        Resolution,
        AltResolution,
        SamplingRate,
        StartTCStr,
        StartTC,
        StartTcFcm,
        CueMarks,
        InMark,
        OutMark,
        Origin,
        EmbInMark,
        EmbOutMark,
        IsContainerComp,
        IsMatteContainerComp,
        IsSubClipContainerComp,
        CurrentVersionUid,
        CurrentVersionName,
        ColourSpace,
        PrimaryVideoTrackIndex,
        SecondaryVideoTrackIndex,
        PropertyCount
    };

    explicit DmCompositionNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    /// Starts at time zero of the mode, and shares the resolution; a null one leaves the default.
    static CoSharedPtr<DmCompositionNode> create(const DmString& name, const DmString& fcm,
                                                 const CoSharedPtr<DmFrameResolution>& resolution);

    /// The name of the frame-code mode, "???" for none (dmFcmFromText).
    const DmString& getFCM() const { return _fcm; }
    eDmErrorId setFCM(const DmString& fcm) { return set(Fcm, fcm); }
    double getCompLength() const { return _compLength; }
    eDmErrorId setCompLength(double frames) { return set(CompLength, frames); }

    // Null only where a document or a caller made it so. Setters share the record. own...() give what may be changed:
    // the shared default is first replaced by a copy, which is a change of the property; null where the composition is
    // a constant.

    const DmFrameResolution* getResolution() const { return _resolution.get(); }
    DmFrameResolution* ownResolution() { return _resolution.own(*this, Resolution); }
    eDmErrorId setResolution(const CoSharedPtr<DmFrameResolution>& resolution) { return set(Resolution, resolution); }
    const DmFrameResolution* getAltResolution() const { return _altResolution.get(); }
    DmFrameResolution* ownAltResolution() { return _altResolution.own(*this, AltResolution); }
    eDmErrorId setAltResolution(const CoSharedPtr<DmFrameResolution>& resolution)
    {
        return set(AltResolution, resolution);
    }

    /// Samples per second.
    double getSamplingRate() const { return _samplingRate; }
    eDmErrorId setSamplingRate(double rate) { return set(SamplingRate, rate); }

    /// Frames. The stored count where it is positive; otherwise the stored label, which is all that some documents
    /// carry, read in its own mode, or in the default mode. 0 for a label that cannot be read.
    double getStartTC() const;
    /// Sets the count, to the nearest sub-frame, its label in the mode, and the mode's name. A text that names no mode
    /// leaves no label.
    eDmErrorId setStartTC(double frames, const DmString& fcm);
    const DmString& getStartTCStr() const { return _startTCStr; }
    eDmErrorId setStartTCStr(const DmString& label) { return set(StartTCStr, label); }
    const DmString& getStartTcFcm() const { return _startTcFcm; }
    eDmErrorId setStartTcFcm(const DmString& fcm) { return set(StartTcFcm, fcm); }

    // Record time

    /// Whether record times are label times already: of the layers that hold elements, the least "layerStartTC" lies
    /// nearer to the start time code than to 0. Without such a layer they are not. Looks at tracks and layers only.
    bool countsAbsolutely() const;
    /// The record time of the start time code: itself where the composition counts absolutely, else 0.
    double getRecordStart() const { return countsAbsolutely() ? getStartTC() : 0.0; }
    /// The label time, in frames, of a record time, and the reverse; dmNoTime stays what it is.
    double getLabelTime(double recordTime) const;
    double getRecordTime(double labelTime) const;
    /// The label of a record time as people read it (DM::TimeLabel::text), in the composition's mode, or the default
    /// mode where that is undefined; a count of frames where there is none. Empty for dmNoTime.
    std::string getRecordLabel(double recordTime) const;

    const DmSetList<DmCueMark>& getCueMarks() const { return _cueMarks; }
    eDmErrorId addCueMark(const CoSharedPtr<DmCueMark>& mark) { return addTo(CueMarks, mark); }
    eDmErrorId removeCueMark(int index) { return removeFrom(CueMarks, index); }
    double getInMark() const { return _inMark; }
    eDmErrorId setInMark(double frames) { return set(InMark, frames); }
    double getOutMark() const { return _outMark; }
    eDmErrorId setOutMark(double frames) { return set(OutMark, frames); }
    double getEmbInMark() const { return _embInMark; }
    eDmErrorId setEmbInMark(double frames) { return set(EmbInMark, frames); }
    double getEmbOutMark() const { return _embOutMark; }
    eDmErrorId setEmbOutMark(double frames) { return set(EmbOutMark, frames); }

    eDmOrigin getOrigin() const { return _origin; }
    eDmErrorId setOrigin(eDmOrigin origin) { return set(Origin, origin); }
    /// The composition is the inside of a container (of a matte, of a sub-clip).
    bool isContainerComp() const { return _isContainerComp; }
    eDmErrorId setIsContainerComp(bool is) { return set(IsContainerComp, is); }
    bool isMatteContainerComp() const { return _isMatteContainerComp; }
    eDmErrorId setIsMatteContainerComp(bool is) { return set(IsMatteContainerComp, is); }
    bool isSubClipContainerComp() const { return _isSubClipContainerComp; }
    eDmErrorId setIsSubClipContainerComp(bool is) { return set(IsSubClipContainerComp, is); }
    const DmString& getCurrentVersionUid() const { return _currentVersionUid; }
    eDmErrorId setCurrentVersionUid(const DmString& uid) { return set(CurrentVersionUid, uid); }
    const DmString& getCurrentVersionName() const { return _currentVersionName; }
    eDmErrorId setCurrentVersionName(const DmString& name) { return set(CurrentVersionName, name); }
    const DmString& getColourSpace() const { return _colourSpace; }
    eDmErrorId setColourSpace(const DmString& name) { return set(ColourSpace, name); }
    /// -1: none is named.
    int getPrimaryVideoTrackIndex() const { return _primaryVideoTrackIndex; }
    eDmErrorId setPrimaryVideoTrackIndex(int index) { return set(PrimaryVideoTrackIndex, index); }
    int getSecondaryVideoTrackIndex() const { return _secondaryVideoTrackIndex; }
    eDmErrorId setSecondaryVideoTrackIndex(int index) { return set(SecondaryVideoTrackIndex, index); }

    /// A track.
    eDmErrorId mayHold(const DmTreeNode* node) const override;

protected:
    /// A track, or the process stops, whatever the host allows.
    void checkChild(const DmTreeNode* node) const override;

private:
    DmString _fcm;
    double _compLength = 0.0;
    DmOwnedRecord<DmFrameResolution> _resolution;
    DmOwnedRecord<DmFrameResolution> _altResolution;
    double _samplingRate = 0.0;
    DmString _startTCStr;
    double _startTC = 0.0;
    DmString _startTcFcm;
    DmOwnedList<DmCueMark> _cueMarks;
    double _inMark = dmNoTime;
    double _outMark = dmNoTime;
    eDmOrigin _origin = DM_ORIGIN_UNDEFINED;
    double _embInMark = dmNoTime;
    double _embOutMark = dmNoTime;
    bool _isContainerComp = false;
    bool _isMatteContainerComp = false;
    bool _isSubClipContainerComp = false;
    DmString _currentVersionUid;
    DmString _currentVersionName;
    DmString _colourSpace;
    int _primaryVideoTrackIndex = -1;
    int _secondaryVideoTrackIndex = -1;
};
