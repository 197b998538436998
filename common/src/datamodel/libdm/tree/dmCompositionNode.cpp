#include "dmCompositionNode.h"

#include "dmDeclare.h"
#include "dmLayerNode.h"
#include "dmStoredLabel.h"

#include "tuLabel.h"
#include "tuTimeUnit.h"
#include "zrAssert.h"

#include <algorithm>
#include <cmath>
#include <optional>

using DM::FCM_NOT_DEFINED;

static const DmPropertySetInit<DmCompositionNode> registration;

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
        .optional(L"fcm", _fcm)
        .optional(L"compLength", _compLength)
        .optional(L"resolution", _resolution)
        .optional(L"altResolution", _altResolution)
        .optional(L"samplingRate", _samplingRate)
        .mandatory(L"startTCStr", _startTCStr)
        .mandatory(L"startTC", _startTC)
        .optional(L"startTcFcm", _startTcFcm)
        .mandatory(L"cueMarks", _cueMarks)
        .optional(L"inMark", _inMark)
        .optional(L"outMark", _outMark)
        .mandatory(L"origin", _origin)
        .optional(L"embInMark", _embInMark)
        .optional(L"embOutMark", _embOutMark)
        .whateverItsStatus() // tolerated on purpose, unlike all others
        .optional(L"isContainerComp", _isContainerComp)
        .optional(L"isMatteContainerComp", _isMatteContainerComp)
        .optional(L"isSubClipContainerComp", _isSubClipContainerComp)
        .mandatory(L"currentVersionUid", _currentVersionUid)
        .mandatory(L"currentVersionName", _currentVersionName)
        .optional(L"colourSpace", _colourSpace)
        .optional(L"primaryVideoTrackIndex", _primaryVideoTrackIndex)
        .optional(L"secondaryVideoTrackIndex", _secondaryVideoTrackIndex)
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
    if (const eDmErrorId status = set(StartTcFcm, fcm); status != DM_NO_ERROR)
        return status;
    const DM::FrameCodeModes mode = dmFcmFromText(fcm);
    char label[14] = ""; // thirteen characters: longer labels, of times beyond 999 hours, are cut
    if (mode != FCM_NOT_DEFINED)
        DM::TimeUnit(frames).toTimeCode(label, sizeof(label), mode);
    if (const eDmErrorId status = setStartTCStr(DmString(label)); status != DM_NO_ERROR)
        return status;
    return set(StartTC, DM::TimeUnit(frames).roundToSubFrames().getFrames());
}

bool DmCompositionNode::countsAbsolutely() const
{
    std::optional<double> least;
    for (int i = 0; i < getNbChildren(); ++i)
    {
        const DmTreeNode* const track = getChild(i);
        for (int j = 0; track && j < track->getNbChildren(); ++j)
            if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(j));
                layer && layer->getNbChildren() > 0)
                least = least ? std::min(*least, layer->getLayerStartTC()) : layer->getLayerStartTC();
    }
    return least && std::abs(*least - getStartTC()) < std::abs(*least);
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
    return recordTime == dmNoTime ? std::string()
                                  : DM::TimeLabel::text(DM::TimeUnit(getLabelTime(recordTime)), dmFcmFromText(_fcm));
}

void DmCompositionNode::checkChild(const DmTreeNode* node) const
{
    ZR_ASSERT_PLAIN(node->whatIs() == DM_TRACK_NODE);
}
