/// Where media came from: the tape, film or files, how they were captured, and what identifies them there.
///
/// Times (PD..., Varicam..., ConsolidateOffset) are frames. "PD" is pulldown, "Varicam" a variable-rate camera; what
/// only one kind of source has keeps its default for the others.
///
/// A reference from a getter is good until the object's next setter.
#pragma once

#include "dmKKInfo.h"
#include "dmOwnedRecord.h"
#include "dmStoredLabel.h"

class ZR_DM_API DmSourceInfo final : public DmConcrete<DmSourceInfo>
{
public:
    enum Property : int
    {
        Type,
        Name,
        ReelName,
        Track,
        MediaOrigin,
        FileTypeCode,
        Path,
        FileList,
        FileSeqBegin,
        FileSeqEnd,
        EssenceUID,
        SourceUID,
        OriginalSourceUID,
        ImageUseResize,
        ImageResizeType,
        ImageFilterType,
        ImageKeepAspect,
        ImagePanX,
        ImagePanY,
        ImageLut,
        ImageChannelsCode,
        SoftImport,
        PDCaptureMode,
        PDFrameType,
        PDRefFrame,
        PDDFRefFrame,
        PDDropFrame,
        PDTimewarpSource,
        VaricamCaptureMode,
        VaricamTimecode,
        VaricamFcm,
        KkInfo,
        Sequence,
        ConsolidateOffset,
        AafOptions,
        MIOInfo,
        PropertyCount
    };

    enum SourceType : int
    {
        Unknown = 0,
        Reel = 1,
        Varicam = 2,
        Spirit = 3,
        File = 4,
        Files = 5,
        FileSequence = 6,
        Module = 7
    };
    /// For display; that of Unknown for every other value.
    static const char* getSourceTypeStr(SourceType type);

    /// The application's own codes.
    enum FileType : int
    {
        FileTypeUndefined = 0
    };
    enum ImageChannels : int
    {
        ImageChannelsUndefined = 0
    };

    explicit DmSourceInfo(const DmNodeId& id);
    eDmErrorId createList() override;

    SourceType getSourceType() const { return _sourceType; }
    eDmErrorId setSourceType(SourceType type) { return set(Type, type); }
    const DmString& getName() const { return _name; }
    eDmErrorId setName(const DmString& name) { return set(Name, name); }
    const DmString& getReelName() const { return _reelName; }
    eDmErrorId setReelName(const DmString& name) { return set(ReelName, name); }
    int getTrack() const { return _track; }
    eDmErrorId setTrack(int track) { return set(Track, track); }
    const DmString& getMediaOrigin() const { return rare()->mediaOrigin; }
    eDmErrorId setMediaOrigin(const DmString& origin) { return set(MediaOrigin, origin); }
    FileType getFileType() const { return rare()->fileType; }
    eDmErrorId setFileType(FileType type) { return set(FileTypeCode, type); }
    const DmString& getPath() const { return _path; }
    eDmErrorId setPath(const DmString& path) { return set(Path, path); }
    const std::vector<DmString>& getFileList() const { return rare()->fileList; }
    eDmErrorId setFileList(const std::vector<DmString>& files) { return setStrings(FileList, files); }
    eDmErrorId addFile(const DmString& file) { return addTo(FileList, file); }
    int getFileSeqBegin() const { return rare()->fileSeqBegin; }
    eDmErrorId setFileSeqBegin(int number) { return set(FileSeqBegin, number); }
    int getFileSeqEnd() const { return rare()->fileSeqEnd; }
    eDmErrorId setFileSeqEnd(int number) { return set(FileSeqEnd, number); }
    const DmString& getEssenceUID() const { return rare()->essenceUID; }
    eDmErrorId setEssenceUID(const DmString& uid) { return set(EssenceUID, uid); }
    const DmString& getSourceUID() const { return _sourceUID; }
    eDmErrorId setSourceUID(const DmString& uid) { return set(SourceUID, uid); }
    const DmString& getOriginalSourceUID() const { return rare()->originalSourceUID; }
    eDmErrorId setOriginalSourceUID(const DmString& uid) { return set(OriginalSourceUID, uid); }

    bool getImageUseResize() const { return rare()->imageUseResize; }
    eDmErrorId setImageUseResize(bool use) { return set(ImageUseResize, use); }
    const DmString& getImageResizeType() const { return rare()->imageResizeType; }
    eDmErrorId setImageResizeType(const DmString& type) { return set(ImageResizeType, type); }
    const DmString& getImageFilterType() const { return rare()->imageFilterType; }
    eDmErrorId setImageFilterType(const DmString& type) { return set(ImageFilterType, type); }
    bool getImageKeepAspect() const { return rare()->imageKeepAspect; }
    eDmErrorId setImageKeepAspect(bool keep) { return set(ImageKeepAspect, keep); }
    int getImagePanX() const { return rare()->imagePanX; }
    eDmErrorId setImagePanX(int pixels) { return set(ImagePanX, pixels); }
    int getImagePanY() const { return rare()->imagePanY; }
    eDmErrorId setImagePanY(int pixels) { return set(ImagePanY, pixels); }
    const DmString& getImageLut() const { return rare()->imageLut; }
    eDmErrorId setImageLut(const DmString& lut) { return set(ImageLut, lut); }
    ImageChannels getImageChannels() const { return rare()->imageChannels; }
    eDmErrorId setImageChannels(ImageChannels channels) { return set(ImageChannelsCode, channels); }
    bool getSoftImport() const { return rare()->softImport; }
    eDmErrorId setSoftImport(bool soft) { return set(SoftImport, soft); }

    bool getPDCaptureMode() const { return rare()->pdCaptureMode; }
    eDmErrorId setPDCaptureMode(bool on) { return set(PDCaptureMode, on); }
    /// "AA" to "DD": the position of the reference frame in the cadence.
    const DmString& getPDFrameType() const { return rare()->pdFrameType; }
    eDmErrorId setPDFrameType(const DmString& type) { return set(PDFrameType, type); }
    double getPDRefFrame() const { return rare()->pdRefFrame; }
    eDmErrorId setPDRefFrame(double frames) { return set(PDRefFrame, frames); }
    double getPDDFRefFrame() const { return rare()->pdDFRefFrame; }
    eDmErrorId setPDDFRefFrame(double frames) { return set(PDDFRefFrame, frames); }
    bool getPDDropFrame() const { return rare()->pdDropFrame; }
    eDmErrorId setPDDropFrame(bool drop) { return set(PDDropFrame, drop); }
    bool getPDTimewarpSource() const { return rare()->pdTimewarpSource; }
    eDmErrorId setPDTimewarpSource(bool timewarp) { return set(PDTimewarpSource, timewarp); }
    bool getVaricamCaptureMode() const { return rare()->varicamCaptureMode; }
    eDmErrorId setVaricamCaptureMode(bool on) { return set(VaricamCaptureMode, on); }
    double getVaricamTimecode() const { return rare()->varicamTimecode; }
    eDmErrorId setVaricamTimecode(double frames) { return set(VaricamTimecode, frames); }
    const DmString& getVaricamFcm() const { return rare()->varicamFcm; }
    eDmErrorId setVaricamFcm(const DmString& fcm) { return set(VaricamFcm, fcm); }

    /// Null only where a document or a caller made it so.
    const DmKKInfo* getKkInfo() const { return rare()->kkInfo.get(); }
    /// To be changed: the shared default is first replaced by a copy, which is a change of the property. Null where
    /// there is none or this is a constant.
    DmKKInfo* ownKkInfo() { return rare()->kkInfo.own(*this, KkInfo); }
    /// Shares the record.
    eDmErrorId setKkInfo(const CoSharedPtr<DmKKInfo>& info) { return set(KkInfo, info); }
    const std::vector<DmString>& getSequence() const { return rare()->sequence; }
    eDmErrorId setSequence(const std::vector<DmString>& sequence) { return setStrings(Sequence, sequence); }
    double getConsolidateOffset() const { return rare()->consolidateOffset; }
    eDmErrorId setConsolidateOffset(double frames) { return set(ConsolidateOffset, frames); }
    const DmString& getAafOptions() const { return rare()->aafOptions; }
    eDmErrorId setAafOptions(const DmString& options) { return set(AafOptions, options); }
    const DmString& getMIOInfo() const { return rare()->mioInfo; }
    eDmErrorId setMIOInfo(const DmString& info) { return set(MIOInfo, info); }

private:
    /// What few sources have: none of the sample cuts sets more than one of these.
    struct Rare
    {
        static constexpr int place = 0;
        DmString mediaOrigin;
        FileType fileType = FileTypeUndefined;
        std::vector<DmString> fileList;
        int fileSeqBegin = 0;
        int fileSeqEnd = 0;
        DmString essenceUID;
        DmString originalSourceUID;
        bool imageUseResize = false;
        DmString imageResizeType{L"RESIZE_INVALID_TYPE"};
        DmString imageFilterType{L"IP_FILTER_INVALID"};
        bool imageKeepAspect = false;
        int imagePanX = 0;
        int imagePanY = 0;
        DmString imageLut;
        ImageChannels imageChannels = ImageChannelsUndefined;
        bool softImport = false;
        bool pdCaptureMode = false;
        DmString pdFrameType;
        double pdRefFrame = 0.0;
        double pdDFRefFrame = 0.0;
        bool pdDropFrame = false;
        bool pdTimewarpSource = false;
        bool varicamCaptureMode = false;
        double varicamTimecode = 0.0;
        DmString varicamFcm{dmFcmText(DM::FCM_NOT_DEFINED)};
        DmOwnedRecord<DmKKInfo> kkInfo{dmSharedDefault<DmKKInfo>()};
        std::vector<DmString> sequence;
        double consolidateOffset = 0.0;
        DmString aafOptions;
        DmString mioInfo;
    };

    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    // In the order that packs, numbers behind the lengths of texts: every clip has one of these.
    [[no_unique_address]] DmString _name;
    SourceType _sourceType = Unknown;
    [[no_unique_address]] DmString _reelName;
    int _track = 0;
    DmString _path;
    DmString _sourceUID;
    DmRares _rares;
};
