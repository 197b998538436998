#include "dmSourceInfo.h"

#include "dmDeclare.h"
#include "dmStoredLabel.h"

static const DmPropertySetInit<DmSourceInfo> registration;

DmSourceInfo::DmSourceInfo(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmSourceInfo>::data())
    , _varicamFcm(dmFcmText(DM::FCM_NOT_DEFINED))
    , _kkInfo(dmSharedDefault<DmKKInfo>())
{
}

eDmErrorId DmSourceInfo::createList()
{
    return declare(*this)
        .mandatory(L"sourceType", _sourceType)
        .optional(L"name", _name)
        .optional(L"reelName", _reelName)
        .mandatory(L"track", _track)
        .optional(L"mediaOrigin", _mediaOrigin)
        .optional(L"fileType", _fileType)
        .optional(L"path", _path)
        .mandatory(L"fileList", _fileList)
        .optional(L"fileSeqBegin", _fileSeqBegin)
        .optional(L"fileSeqEnd", _fileSeqEnd)
        .optional(L"essenceUID", _essenceUID)
        .optional(L"sourceUID", _sourceUID)
        .optional(L"originalSourceUID", _originalSourceUID)
        .optional(L"imageUseResize", _imageUseResize)
        .optional(L"imageResizeType", _imageResizeType)
        .optional(L"imageFilterType", _imageFilterType)
        .optional(L"imageKeepAspect", _imageKeepAspect)
        .optional(L"imagePanX", _imagePanX)
        .optional(L"imagePanY", _imagePanY)
        .optional(L"imageLut", _imageLut)
        .mandatory(L"imageChannels", _imageChannels)
        .optional(L"softImport", _softImport)
        .optional(L"PDCaptureMode", _pdCaptureMode)
        .mandatory(L"PDFrameType", _pdFrameType)
        .optional(L"PDRefFrame", _pdRefFrame)
        .optional(L"PDDFRefFrame", _pdDFRefFrame)
        .optional(L"PDDropFrame", _pdDropFrame)
        .optional(L"PDTimewarpSource", _pdTimewarpSource)
        .optional(L"VaricamCaptureMode", _varicamCaptureMode)
        .optional(L"VaricamTimecode", _varicamTimecode)
        .optional(L"VaricamFcm", _varicamFcm)
        .optional(L"kkInfo", _kkInfo)
        .mandatory(L"sequence", _sequence)
        .optional(L"ConsolidateOffset", _consolidateOffset)
        .mandatoryCdata(L"aafOptions", _aafOptions)
        .mandatoryCdata(L"MIOInfo", _mioInfo)
        .status();
}

const char* DmSourceInfo::getSourceTypeStr(SourceType type)
{
    static constexpr const char* texts[] = {"Unknown", "Reel",  "Varicam",      "Spirit",
                                            "File",    "Files", "FileSequence", "Module"};
    return texts[type >= Unknown && type <= Module ? type : Unknown];
}
