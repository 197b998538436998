#include "dmSourceInput.h"

#include "dmDeclare.h"
#include "dmStoredLabel.h"

#include "edlTCConv.h"
#include "envVar.h"
#include "zrAssert.h"
#include "zrPost.h"

using DM::FCM_NOT_DEFINED;
using DM::TimeUnit;

namespace
{
ZR_ENV_VAR(bool, disableTimeCodeConversion, "ZR_DISABLE_TCC", false);

/// Registers an input under its class name, and under the qualified one that documents use as well.
template <class T>
class InputRegistration
{
public:
    explicit InputRegistration(const DmString& qualifiedName)
    {
        [[maybe_unused]] const eDmErrorId status =
            DmPropertyFactory::getInstance().registerAlias(qualifiedName, DmPropertySetInit<T>::createInstance);
        ZR_ASSERT_HARD(status == DM_NO_ERROR);
    }

private:
    DmPropertySetInit<T> _registration;
};

const InputRegistration<DmSourceNode::MediaInput> mediaInput(L"DmSourceNode::MediaInput");
const InputRegistration<DmSourceNode::GeneratedInput> generatedInput(L"DmSourceNode::GeneratedInput");
const InputRegistration<DmSourceNode::DerivedInput> derivedInput(L"DmSourceNode::DerivedInput");
const InputRegistration<DmSourceNode::RelinkedInput> relinkedInput(L"DmSourceNode::RelinkedInput");
const InputRegistration<DmSourceNode::DictionaryEntry> dictionaryEntry(L"DmSourceNode::DictionaryEntry");

CoSharedPtr<DmPropertySet> copyOf(const DmSourceInfo* info)
{
    return info ? info->clone() : nullptr;
}

} // namespace

// Input

DmSourceNode::Input::Input(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
    , _srcFcm(dmFcmText(FCM_NOT_DEFINED))
    , _altResolution(dmSharedDefault<DmFrameResolution>())
    , _audioProperties(dmSharedDefault<DmAudioProperties>())
{
}

eDmErrorId DmSourceNode::Input::createList()
{
    return declare(*this)
        .optional(L"name", _name)
        .mandatory(L"mediaType", _mediaType)
        .mandatory(L"srcLength", _srcLength)
        .optional(L"srcFcm", _srcFcm)
        .mandatory(L"primaryResolution", _primaryResolution)
        .mandatory(L"primaryFrames", _primaryFrames)
        .optional(L"altResolution", _altResolution)
        .mandatory(L"altFrames", _altFrames)
        .optional(L"audioProperties", _audioProperties)
        .mandatory(L"audioFrames", _audioFrames)
        .mandatory(L"processed", _processed)
        .optional(L"comment", _comment)
        .optional(L"anamorphicFlag", _anamorphicFlag)
        .optional(L"hasMedia", _hasMedia)
        .status();
}

DmSourceInfo* DmSourceNode::Input::getSrcInfo() const
{
    return nullptr;
}

// DictionaryEntry

DmSourceNode::DictionaryEntry::DictionaryEntry(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DictionaryEntry>::data())
{
}

eDmErrorId DmSourceNode::DictionaryEntry::createList()
{
    return declare(*this).optional(L"key", _key).optional(L"value", _value).status();
}

CoSharedPtr<DmSourceNode::DictionaryEntry> DmSourceNode::DictionaryEntry::create(const DmString& key,
                                                                                 const DmString& value)
{
    CoSharedPtr<DictionaryEntry> entry = create();
    if (entry && (entry->setKey(key) != DM_NO_ERROR || entry->setValue(value) != DM_NO_ERROR))
        entry.reset();
    return entry;
}

// MediaInput

DmSourceNode::MediaInput::MediaInput(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<MediaInput>::data())
    , _srcInFcm(dmFcmText(FCM_NOT_DEFINED))
{
}

eDmErrorId DmSourceNode::MediaInput::createList()
{
    return declare(*this, Input::createList())
        .optional(L"srcInStr", _srcInStr)
        .mandatory(L"srcIn", _srcIn)
        .optional(L"srcInFcm", _srcInFcm)
        .optional(L"srcInOffset", _srcInOffset)
        .mandatory(L"srcInfo", _srcInfo)
        .optional(L"extraDataDictionary", _extraDataDictionary)
        .status();
}

CoSharedPtr<DmSourceNode::MediaInput> DmSourceNode::MediaInput::create(double srcLength, double srcIn,
                                                                       const CoSharedPtr<DmSourceInfo>& sourceInfo,
                                                                       const DmString& srcInFcm,
                                                                       eDmTreeMediaType mediaType, bool hasMedia)
{
    CoSharedPtr<MediaInput> input = create();
    if (input && (input->setSrcLength(srcLength) != DM_NO_ERROR || input->setSrcIn(srcIn) != DM_NO_ERROR ||
                  input->setSrcInfo(sourceInfo) != DM_NO_ERROR || input->setSrcInFcm(srcInFcm) != DM_NO_ERROR ||
                  input->setMediaType(mediaType) != DM_NO_ERROR || input->setHasMedia(hasMedia) != DM_NO_ERROR))
        input.reset();
    return input;
}

namespace
{

bool isVaricam(const DmSourceInfo* info)
{
    return info && (info->getSourceType() == DmSourceInfo::Varicam || info->getVaricamCaptureMode());
}

/// The time as a label of the camera's mode, and `mode`, the mode that it counts in from then on.
TimeUnit fromVaricam(TimeUnit time, DM::FrameCodeModes camera, DM::FrameCodeModes& mode)
{
    TimeUnit label;
    if (camera == FCM_NOT_DEFINED || !DM::EdlVaricamToTC(time, camera, label))
        return time;
    const int rate = DM::FcmUtil::getIntFPS(camera);
    mode = rate == 60 ? DM::FCM_29_97_NDF : rate == 24 ? DM::FCM_23_976 : camera;
    return label;
}

} // namespace

double DmSourceNode::MediaInput::getSrcIn() const
{
    if (disableTimeCodeConversion().getValue())
        return _srcIn;
    TimeUnit time(_srcIn);
    DM::FrameCodeModes mode = dmModeOrDefault(dmFcmFromText(_srcInFcm));
    if (isVaricam(_srcInfo.get()))
    {
        const DM::FrameCodeModes camera = dmFcmFromText(_srcInfo->getVaricamFcm());
        time = fromVaricam(time, camera == FCM_NOT_DEFINED ? mode : camera, mode);
    }
    const DM::FrameCodeModes own = dmModeOrDefault(dmFcmFromText(getFcm()));
    if (mode != own && mode != FCM_NOT_DEFINED && own != FCM_NOT_DEFINED)
        static_cast<void>(time.getEquivTime(time, mode, own)); // both modes have a rate
    return time.getFrames();
}

double DmSourceNode::MediaInput::getTapeSrcIn() const
{
    if (_srcIn > 0.0)
        return _srcIn;
    if (_srcInStr.empty())
        return 0.0;
    const DmStoredLabel label(_srcInStr, _srcInFcm);
    const DM::FrameCodeModes srcInFcm = label.fcm();
    if (srcInFcm == FCM_NOT_DEFINED)
    {
        ZR_POST_WARNING("Invalid src in fps (%ls) for source '%ls'", _srcInFcm.c_str(), getName().c_str());
        if (label.isZero())
            return 0.0;
        ZR_ASSERT_SOFT(srcInFcm != FCM_NOT_DEFINED);
        if (!DmStoredLabel::hasDefaultMode())
            return 0.0;
    }
    if (label.isValid())
        return label.toFrames();
    ZR_POST_WARNING("Invalid timecode (%ls) for source '%ls'", _srcInStr.c_str(), getName().c_str());
    return 0.0;
}

eDmErrorId DmSourceNode::MediaInput::setSrcInfo(const DmSourceInfo* info)
{
    return set(SrcInfo, copyOf(info));
}

// GeneratedInput

DmSourceNode::GeneratedInput::GeneratedInput(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<GeneratedInput>::data())
{
}

eDmErrorId DmSourceNode::GeneratedInput::createList()
{
    return declare(*this, Input::createList())
        .mandatory(L"inputType", _inputType)
        .mandatory(L"inputColorRed", _red)
        .mandatory(L"inputColorGreen", _green)
        .mandatory(L"inputColorBlue", _blue)
        .mandatory(L"inputColorAlpha", _alpha)
        .mandatory(L"inputPercentageRatio", _percentageRatio)
        .mandatory(L"inputSoftness", _softness)
        .mandatory(L"inputAudioFrequency", _audioFrequency)
        .mandatory(L"inputAudioLevel", _audioLevel)
        .status();
}

CoSharedPtr<DmSourceNode::GeneratedInput>
DmSourceNode::GeneratedInput::create(const DmString& inputType, double srcLength, eDmTreeMediaType mediaType)
{
    CoSharedPtr<GeneratedInput> input = create();
    if (input && (input->setInputType(inputType) != DM_NO_ERROR || input->setSrcLength(srcLength) != DM_NO_ERROR ||
                  input->setMediaType(mediaType) != DM_NO_ERROR))
        input.reset();
    return input;
}

// DerivedInput

DmSourceNode::DerivedInput::DerivedInput(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DerivedInput>::data())
{
}

eDmErrorId DmSourceNode::DerivedInput::createList()
{
    return declare(*this, Input::createList())
        .mandatory(L"srcInStr", _srcInStr)
        .mandatory(L"srcIn", _srcIn)
        .mandatory(L"srcInfo", _srcInfo)
        .mandatory(L"reelName", _reelName)
        .status();
}

eDmErrorId DmSourceNode::DerivedInput::setSrcInfo(const DmSourceInfo* info)
{
    return set(SrcInfo, copyOf(info));
}

// RelinkedInput

DmSourceNode::RelinkedInput::RelinkedInput(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<RelinkedInput>::data())
{
}

eDmErrorId DmSourceNode::RelinkedInput::createList()
{
    return declare(*this, Input::createList())
        .mandatory(L"reelName", _reelName)
        .mandatory(L"sourceName", _sourceName)
        .status();
}
