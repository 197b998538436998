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
        .optional<MediaOrigin>(L"mediaOrigin", rare()->mediaOrigin, rare(),
                               "The origin of the media, as the application names it.")
        .optional<FileTypeCode>(L"fileType", rare()->fileType, rare(),
                                "The type of the file: the application's own codes.")
        .optional<Path>(L"path", _path, "The path of the file.")
        .mandatory<FileList>(L"fileList", rare()->fileList, rare(), "The paths of the files, where there are several.")
        .optional<FileSeqBegin>(L"fileSeqBegin", rare()->fileSeqBegin, rare(),
                                "The number of the first file of a sequence.")
        .optional<FileSeqEnd>(L"fileSeqEnd", rare()->fileSeqEnd, rare(), "The number of the last file of a sequence.")
        .optional<EssenceUID>(L"essenceUID", rare()->essenceUID, rare(), "The identifier of the media.")
        .optional<SourceUID>(L"sourceUID", _sourceUID, "The identifier of the source.")
        .optional<OriginalSourceUID>(L"originalSourceUID", rare()->originalSourceUID, rare(),
                                     "The identifier of the source that this one was made from.")
        .optional<ImageUseResize>(L"imageUseResize", rare()->imageUseResize, rare(),
                                  "The picture is resized when it is imported.")
        .optional<ImageResizeType>(L"imageResizeType", rare()->imageResizeType, rare(), "How it is resized.")
        .optional<ImageFilterType>(L"imageFilterType", rare()->imageFilterType, rare(), "The filter that resizes it.")
        .optional<ImageKeepAspect>(L"imageKeepAspect", rare()->imageKeepAspect, rare(),
                                   "Resizing keeps the proportions.")
        .optional<ImagePanX>(L"imagePanX", rare()->imagePanX, rare(), "How far the resized picture is moved, across.",
                             dmPixels)
        .optional<ImagePanY>(L"imagePanY", rare()->imagePanY, rare(),
                             "How far the resized picture is moved, vertically.", dmPixels)
        .optional<ImageLut>(L"imageLut", rare()->imageLut, rare(), "The look-up table that is applied.")
        .mandatory<ImageChannelsCode>(L"imageChannels", rare()->imageChannels, rare(),
                                      "Which channels of the picture are taken: the application's own codes.")
        .optional<SoftImport>(L"softImport", rare()->softImport, rare(), "The files stay where they are.")
        .optional<PDCaptureMode>(L"PDCaptureMode", rare()->pdCaptureMode, rare(),
                                 "The source is captured with its pulldown removed.")
        .mandatory<PDFrameType>(L"PDFrameType", rare()->pdFrameType, rare(),
                                "The position of the reference frame in the pulldown cadence, \"AA\" to \"DD\".")
        .optional<PDRefFrame>(L"PDRefFrame", rare()->pdRefFrame, rare(), "The reference frame of the pulldown.",
                              dmFrames)
        .optional<PDDFRefFrame>(L"PDDFRefFrame", rare()->pdDFRefFrame, rare(),
                                "The same frame as drop-frame time counts it.", dmFrames)
        .optional<PDDropFrame>(L"PDDropFrame", rare()->pdDropFrame, rare(),
                               "The reference frame is counted in drop-frame time.")
        .optional<PDTimewarpSource>(L"PDTimewarpSource", rare()->pdTimewarpSource, rare(),
                                    "The source with pulldown has a timewarp.")
        .optional<VaricamCaptureMode>(L"VaricamCaptureMode", rare()->varicamCaptureMode, rare(),
                                      "The source is captured from a variable-rate camera.")
        .optional<VaricamTimecode>(L"VaricamTimecode", rare()->varicamTimecode, rare(), "The camera's time code.",
                                   dmFrames)
        .optional<VaricamFcm>(L"VaricamFcm", rare()->varicamFcm, rare(),
                              "The frame-code mode that the camera counts in.", dmModeNames())
        .optional<KkInfo>(L"kkInfo", rare()->kkInfo, rare(), "The key code of the film.")
        .mandatory<Sequence>(L"sequence", rare()->sequence, rare(), "What the source was put together from, in order.")
        .optional<ConsolidateOffset>(L"ConsolidateOffset", rare()->consolidateOffset, rare(),
                                     "How far consolidating moved the media.", dmFrames)
        .mandatoryCdata<AafOptions>(L"aafOptions", rare()->aafOptions, rare(), "Options of an import, as text.")
        .mandatoryCdata<MIOInfo>(L"MIOInfo", rare()->mioInfo, rare(),
                                 "What the reader of the media knows about them, as text.")
        .status();
}

const char* DmSourceInfo::getSourceTypeStr(SourceType type)
{
    return sourceTypes[type >= Unknown && type <= Module ? type : Unknown].text;
}
