#include "dmCompositionNode.h"

#include "dmDeclare.h"
#include "dmLayerStartsImp.h"
#include "dmMemoryImp.h"
#include "dmStoredLabel.h"

#include "tuLabel.h"
#include "tuTimeUnit.h"
#include "zrAssert.h"

using DM::FCM_NOT_DEFINED;

DmCompositionNode::DmCompositionNode(const DmNodeId& id)
    : DmNode(DM_COMPOSITION_NODE, id, DmPropertySetInit<DmCompositionNode>::data())
    , _fcm(dmFcmText(FCM_NOT_DEFINED))
    , _resolution(dmSharedDefault<DmFrameResolution>())
    , _altResolution(dmSharedDefault<DmFrameResolution>())
    , _startTcFcm(_fcm)
{
}

eDmErrorId DmCompositionNode::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .optional<Fcm>(L"fcm", _fcm, "The frame-code mode that all times of the composition count in.", dmModeNames())
        .optional<CompLength>(L"compLength", _compLength, "The length.", dmFrames)
        .optional<Resolution>(L"resolution", _resolution, "The format of the picture.")
        .optional<AltResolution>(L"altResolution", _altResolution, "The alternative format of the picture.")
        .optional<SamplingRate>(L"samplingRate", _samplingRate, "The sampling rate of the sound.", dmHertz)
        .mandatory<StartTCStr>(L"startTCStr", _startTCStr, "The start time code as a label.")
        .mandatory<StartTC>(L"startTC", _startTC, "The start time code, counted from midnight.", dmFrames)
        .optional<StartTcFcm>(L"startTcFcm", _startTcFcm,
                              "The frame-code mode that the label of the start is written in.", dmModeNames())
        .mandatory<CueMarks>(L"cueMarks", _cueMarks, "Marks on the composition.")
        .optional<InMark>(L"inMark", _inMark, "The in mark; 2147483647 when none is set.", dmFrames)
        .optional<OutMark>(L"outMark", _outMark, "The out mark; 2147483647 when none is set.", dmFrames)
        .mandatory<Origin>(L"origin", _origin, "Where the composition came from: the application's own codes.")
        .optional<EmbInMark>(L"embInMark", _embInMark, "The embedded in mark; 2147483647 when none is set.", dmFrames)
        .optional<EmbOutMark>(L"embOutMark", _embOutMark, "The embedded out mark; 2147483647 when none is set.",
                              dmFrames)
        .whateverItsStatus() // tolerated on purpose, unlike all others
        .optional<IsContainerComp>(L"isContainerComp", _isContainerComp,
                                   "The composition is the inside of a container.")
        .optional<IsMatteContainerComp>(L"isMatteContainerComp", _isMatteContainerComp,
                                        "The composition is the inside of a matte container.")
        .optional<IsSubClipContainerComp>(L"isSubClipContainerComp", _isSubClipContainerComp,
                                          "The composition is the inside of a sub-clip container.")
        .mandatory<CurrentVersionUid>(L"currentVersionUid", _currentVersionUid,
                                      "The identifier of the current version.")
        .mandatory<CurrentVersionName>(L"currentVersionName", _currentVersionName, "The name of the current version.")
        .optional<ColourSpace>(L"colourSpace", _colourSpace, "The name of the colour space.")
        .optional<PrimaryVideoTrackIndex>(L"primaryVideoTrackIndex", _primaryVideoTrackIndex,
                                          "The position of the primary video track; -1 when none is named.",
                                          DmRange{-1, 2147483647})
        .optional<SecondaryVideoTrackIndex>(L"secondaryVideoTrackIndex", _secondaryVideoTrackIndex,
                                            "The position of the secondary video track; -1 when none is named.",
                                            DmRange{-1, 2147483647})
        .status();
}

CoSharedPtr<DmCompositionNode> DmCompositionNode::create(const DmString& name, const DmString& fcm,
                                                         const CoSharedPtr<DmFrameResolution>& resolution)
{
    CoSharedPtr<DmCompositionNode> node = create();
    if (node &&
        (node->setName(name) != DM_NO_ERROR || node->setFCM(fcm) != DM_NO_ERROR ||
         node->setStartTC(0.0, fcm) != DM_NO_ERROR || (resolution && node->setResolution(resolution) != DM_NO_ERROR)))
        node.reset();
    return node;
}

double DmCompositionNode::getStartTC() const
{
    if (_startTC > 0.0)
        return _startTC;
    if (_startTCStr.empty())
        return 0.0;
    const DmStoredLabel label(_startTCStr, _startTcFcm);
    const DM::FrameCodeModes startTcFcm = label.fcm();
    if (startTcFcm == FCM_NOT_DEFINED)
    {
        if (label.isZero())
            return 0.0;
        ZR_ASSERT_SOFT(startTcFcm != FCM_NOT_DEFINED);
        if (!DmStoredLabel::hasDefaultMode())
            return 0.0;
    }
    if (label.isValid())
        return label.toFrames();
    ZR_ASSERT_SOFT(!"Invalid timecode");
    return 0.0;
}

eDmErrorId DmCompositionNode::setStartTC(double frames, const DmString& fcm)
{
    const DM::FrameCodeModes mode = dmFcmFromText(fcm);
    char label[14] = ""; // thirteen characters: longer labels, of times beyond 999 hours, are cut
    if (mode != FCM_NOT_DEFINED)
        DM::TimeUnit(frames).toTimeCode(label, sizeof(label), mode);
    const unsigned lost = DmString::lost();
    const DmString text(label);
    if (DmString::lost() != lost)
        return DM_BAD_VALUE;
    if (const eDmErrorId status = set(StartTcFcm, fcm); status != DM_NO_ERROR)
        return status;
    if (const eDmErrorId status = setStartTCStr(text); status != DM_NO_ERROR)
        return status;
    return set(StartTC, DM::TimeUnit(frames).roundToSubFrames().getFrames());
}

bool DmCompositionNode::countsAbsolutely() const
{
    return DmLayerStarts(*this).areAbsolute(getStartTC());
}

double DmCompositionNode::getLabelTime(double recordTime) const
{
    return recordTime == dmNoTime ? dmNoTime : recordTime + (getStartTC() - getRecordStart());
}

double DmCompositionNode::getRecordTime(double labelTime) const
{
    return labelTime == dmNoTime ? dmNoTime : labelTime - (getStartTC() - getRecordStart());
}

std::string DmCompositionNode::getRecordLabel(double recordTime) const
{
    if (recordTime == dmNoTime)
        return {};
    return dmTextWithMemory(
        [&] { return DM::TimeLabel::text(DM::TimeUnit(getLabelTime(recordTime)), dmFcmFromText(_fcm)); });
}

eDmErrorId DmCompositionNode::mayHold(const DmTreeNode* node) const
{
    if (!node)
        return DM_BAD_VALUE;
    return node->whatIs() == DM_TRACK_NODE ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE;
}

void DmCompositionNode::checkChild(const DmTreeNode* node) const
{
    ZR_ASSERT_PLAIN(node->whatIs() == DM_TRACK_NODE);
}
