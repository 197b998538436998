#include "dmSourceInfo.h"

#include "dmDeclare.h"
#include "dmStoredLabel.h"

namespace
{

/// In the order of their codes.
constexpr DmNamedValue sourceTypes[] = {{DmSourceInfo::Unknown, "Unknown", "Unknown"},
                                        {DmSourceInfo::Reel, "Reel", "Reel"},
                                        {DmSourceInfo::Varicam, "Varicam", "Varicam"},
                                        {DmSourceInfo::Spirit, "Spirit", "Spirit"},
                                        {DmSourceInfo::File, "File", "File"},
                                        {DmSourceInfo::Files, "Files", "Files"},
                                        {DmSourceInfo::FileSequence, "FileSequence", "FileSequence"},
                                        {DmSourceInfo::Module, "Module", "Module"}};

} // namespace

DmSourceInfo::DmSourceInfo(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmSourceInfo>::data())
{
}

eDmErrorId DmSourceInfo::createList()
{
    return declare(*this)
        .mandatory<Type>(L"sourceType", _sourceType, "The kind of source.", sourceTypes)
        .optional<Name>(L"name", _name, "The name of the source.")
        .optional<ReelName>(L"reelName", _reelName, "The name of the tape or roll.")
        .mandatory<Track>(L"track", _track, "The track of the tape or file.")
        .optional<MediaOrigin>(L"mediaOrigin", _rare->mediaOrigin, _rare,
                               "The origin of the media, as the application names it.")
        .optional<FileTypeCode>(L"fileType", _rare->fileType, _rare,
                                "The type of the file: the application's own codes.")
        .optional<Path>(L"path", _path, "The path of the file.")
        .mandatory<FileList>(L"fileList", _rare->fileList, _rare, "The paths of the files, where there are several.")
        .optional<FileSeqBegin>(L"fileSeqBegin", _rare->fileSeqBegin, _rare,
                                "The number of the first file of a sequence.")
        .optional<FileSeqEnd>(L"fileSeqEnd", _rare->fileSeqEnd, _rare, "The number of the last file of a sequence.")
        .optional<EssenceUID>(L"essenceUID", _rare->essenceUID, _rare, "The identifier of the media.")
        .optional<SourceUID>(L"sourceUID", _sourceUID, "The identifier of the source.")
        .optional<OriginalSourceUID>(L"originalSourceUID", _rare->originalSourceUID, _rare,
                                     "The identifier of the source that this one was made from.")
        .optional<ImageUseResize>(L"imageUseResize", _rare->imageUseResize, _rare,
                                  "The picture is resized when it is imported.")
        .optional<ImageResizeType>(L"imageResizeType", _rare->imageResizeType, _rare, "How it is resized.")
        .optional<ImageFilterType>(L"imageFilterType", _rare->imageFilterType, _rare, "The filter that resizes it.")
        .optional<ImageKeepAspect>(L"imageKeepAspect", _rare->imageKeepAspect, _rare, "Resizing keeps the proportions.")
        .optional<ImagePanX>(L"imagePanX", _rare->imagePanX, _rare, "How far the resized picture is moved, across.",
                             dmPixels)
        .optional<ImagePanY>(L"imagePanY", _rare->imagePanY, _rare, "How far the resized picture is moved, vertically.",
                             dmPixels)
        .optional<ImageLut>(L"imageLut", _rare->imageLut, _rare, "The look-up table that is applied.")
        .mandatory<ImageChannelsCode>(L"imageChannels", _rare->imageChannels, _rare,
                                      "Which channels of the picture are taken: the application's own codes.")
        .optional<SoftImport>(L"softImport", _rare->softImport, _rare, "The files stay where they are.")
        .optional<PDCaptureMode>(L"PDCaptureMode", _rare->pdCaptureMode, _rare,
                                 "The source is captured with its pulldown removed.")
        .mandatory<PDFrameType>(L"PDFrameType", _rare->pdFrameType, _rare,
                                "The position of the reference frame in the pulldown cadence, \"AA\" to \"DD\".")
        .optional<PDRefFrame>(L"PDRefFrame", _rare->pdRefFrame, _rare, "The reference frame of the pulldown.", dmFrames)
        .optional<PDDFRefFrame>(L"PDDFRefFrame", _rare->pdDFRefFrame, _rare,
                                "The same frame as drop-frame time counts it.", dmFrames)
        .optional<PDDropFrame>(L"PDDropFrame", _rare->pdDropFrame, _rare,
                               "The reference frame is counted in drop-frame time.")
        .optional<PDTimewarpSource>(L"PDTimewarpSource", _rare->pdTimewarpSource, _rare,
                                    "The source with pulldown has a timewarp.")
        .optional<VaricamCaptureMode>(L"VaricamCaptureMode", _rare->varicamCaptureMode, _rare,
                                      "The source is captured from a variable-rate camera.")
        .optional<VaricamTimecode>(L"VaricamTimecode", _rare->varicamTimecode, _rare, "The camera's time code.",
                                   dmFrames)
        .optional<VaricamFcm>(L"VaricamFcm", _rare->varicamFcm, _rare, "The frame-code mode that the camera counts in.",
                              dmModeNames())
        .optional<KkInfo>(L"kkInfo", _rare->kkInfo, _rare, "The key code of the film.")
        .mandatory<Sequence>(L"sequence", _rare->sequence, _rare, "What the source was put together from, in order.")
        .optional<ConsolidateOffset>(L"ConsolidateOffset", _rare->consolidateOffset, _rare,
                                     "How far consolidating moved the media.", dmFrames)
        .mandatoryCdata<AafOptions>(L"aafOptions", _rare->aafOptions, _rare, "Options of an import, as text.")
        .mandatoryCdata<MIOInfo>(L"MIOInfo", _rare->mioInfo, _rare,
                                 "What the reader of the media knows about them, as text.")
        .status();
}

const char* DmSourceInfo::getSourceTypeStr(SourceType type)
{
    return sourceTypes[type >= Unknown && type <= Module ? type : Unknown].text;
}
