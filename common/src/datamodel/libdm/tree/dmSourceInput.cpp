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

/// Documents may call a class by its qualified name as well.
const DmClassEntry qualifiedNames[] = {
    {L"DmSourceNode::MediaInput", nullptr, DmPropertySetInit<DmSourceNode::MediaInput>::createInstance},
    {L"DmSourceNode::GeneratedInput", nullptr, DmPropertySetInit<DmSourceNode::GeneratedInput>::createInstance},
    {L"DmSourceNode::DerivedInput", nullptr, DmPropertySetInit<DmSourceNode::DerivedInput>::createInstance},
    {L"DmSourceNode::RelinkedInput", nullptr, DmPropertySetInit<DmSourceNode::RelinkedInput>::createInstance},
    {L"DmSourceNode::DictionaryEntry", nullptr, DmPropertySetInit<DmSourceNode::DictionaryEntry>::createInstance}};

constexpr DmTextTable knownInputTypes{DmSourceNode::GeneratedInput::inputTypes, false, false};

CoSharedPtr<DmPropertySet> copyOf(const DmSourceInfo* info)
{
    return info ? info->clone() : nullptr;
}

} // namespace

// Input

DmSourceNode::Input::Input(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
{
}

eDmErrorId DmSourceNode::Input::createList()
{
    return declare(*this)
        .optional<Name>(L"name", _name, "The name of the material.")
        .mandatory<MediaType>(L"mediaType", _mediaType, "Its medium.", dmMediaTypes)
        .mandatory<SrcLength>(L"srcLength", _srcLength, "Its length.", dmMaterialFrames)
        .optional<SrcFcm>(L"srcFcm", _srcFcm, "The frame-code mode that its frames count in.", dmModeNames())
        .mandatory<PrimaryResolution>(L"primaryResolution", rare()->primaryResolution, rare(),
                                      "The primary format of the picture.")
        .mandatory<PrimaryFrames>(L"primaryFrames", rare()->primaryFrames, rare(),
                                  "Records of single frames in the primary format.")
        .optional<AltResolution>(L"altResolution", rare()->altResolution, rare(),
                                 "The alternative format of the picture.")
        .mandatory<AltFrames>(L"altFrames", rare()->altFrames, rare(),
                              "Records of single frames in the alternative format.")
        .optional<AudioProps>(L"audioProperties", rare()->audioProperties, rare(), "The format of the sound.")
        .mandatory<AudioFrames>(L"audioFrames", rare()->audioFrames, rare(), "Records of single frames of the sound.")
        .mandatory<Processed>(L"processed", rare()->processed, rare(), "The material has been processed.")
        .optional<Comment>(L"comment", rare()->comment, rare(), "Free text.")
        .optional<Anamorphic>(L"anamorphicFlag", rare()->anamorphicFlag, rare(),
                              "How the picture is squeezed: the application's own codes.")
        .optional<HasMedia>(L"hasMedia", _hasMedia, "The media are there.")
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
    return declare(*this)
        .optional<Key>(L"key", _key, "The key.")
        .optional<Value>(L"value", _value, "The value.")
        .status();
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
{
}

eDmErrorId DmSourceNode::MediaInput::createList()
{
    return declare(*this, Input::createList())
        .optional<SrcInStr>(L"srcInStr", rare()->srcInStr, rare(),
                            "The label of the first frame on the tape or in the file.")
        .mandatory<SrcIn>(L"srcIn", _srcIn, "The time of that frame, in the mode of the label.", dmFrames)
        .optional<SrcInFcm>(L"srcInFcm", _srcInFcm, "The frame-code mode of that label.", dmModeNames())
        .optional<SrcInOffset>(L"srcInOffset", rare()->srcInOffset, rare(), "An offset of that time.", dmFrames)
        .mandatory<SrcInfo>(L"srcInfo", _srcInfo, "Where the media came from.")
        .optional<ExtraDataDictionary>(L"extraDataDictionary", rare()->extraDataDictionary, rare(),
                                       "Keys and values that go along with the input.")
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
    if (rare()->srcInStr.empty())
        return 0.0;
    const DmStoredLabel label(rare()->srcInStr, _srcInFcm);
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
    ZR_POST_WARNING("Invalid timecode (%ls) for source '%ls'", rare()->srcInStr.c_str(), getName().c_str());
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
        .mandatory<InputType>(L"inputType", _inputType, "What is generated.", knownInputTypes)
        .mandatory<InputColorRed>(L"inputColorRed", _red, "The red of the colour.", dmZeroToOne)
        .mandatory<InputColorGreen>(L"inputColorGreen", _green, "The green of the colour.", dmZeroToOne)
        .mandatory<InputColorBlue>(L"inputColorBlue", _blue, "The blue of the colour.", dmZeroToOne)
        .mandatory<InputColorAlpha>(L"inputColorAlpha", _alpha, "The opacity of the colour.", dmZeroToOne)
        .mandatory<InputPercentageRatio>(L"inputPercentageRatio", _percentageRatio,
                                         "How much of the picture is filled.")
        .mandatory<InputSoftness>(L"inputSoftness", _softness, "How soft edges are.")
        .mandatory<InputAudioFrequency>(L"inputAudioFrequency", _audioFrequency, "The frequency of the tone.", dmHertz)
        .mandatory<InputAudioLevel>(L"inputAudioLevel", _audioLevel, "The level of the tone.")
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
        .mandatory<SrcInStr>(L"srcInStr", _srcInStr, "The label of the first frame.")
        .mandatory<SrcIn>(L"srcIn", _srcIn, "The time of that frame.", dmMaterialFrames)
        .mandatory<SrcInfo>(L"srcInfo", _srcInfo, "Where the media came from.")
        .mandatory<ReelName>(L"reelName", _reelName, "The name of the reel.")
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
        .mandatory<ReelName>(L"reelName", _reelName, "The name of the reel to look for.")
        .mandatory<SourceName>(L"sourceName", _sourceName, "The name of the source to look for.")
        .status();
}
