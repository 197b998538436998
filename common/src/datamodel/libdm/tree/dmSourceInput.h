/// The material of a source: what it is, how long it is, in which frame-code mode and format.
///
/// Several sources may share one input. A copy shares nothing. "srcLength" is the material's length in frames of its
/// own mode, "srcFcm"; "srcIn" the time at which it starts on its tape or in its file.
///
/// A reference from a getter is good until the object's next setter.
#pragma once

#include "dmAudioProperties.h"
#include "dmFrameNode.h"
#include "dmFrameResolution.h"
#include "dmSourceInfo.h"
#include "dmSourceNode.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow" // clang: each class counts its properties, within DmSourceNode that does, too

/// The base of all inputs.
class ZR_DM_API DmSourceNode::Input : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = dmClassName<Input>;
    enum Property : int
    {
        Name,
        MediaType,
        SrcLength,
        SrcFcm,
        PrimaryResolution,
        PrimaryFrames,
        AltResolution,
        AltFrames,
        AudioProps,
        AudioFrames,
        Processed,
        Comment,
        Anamorphic,
        HasMedia,
        PropertyCount
    };
    /// The application's own codes.
    enum AnamorphicFlag : int
    {
        AnamorphicUndefined = 0
    };

    eDmErrorId createList() override;

    const DmString& getName() const { return _name; }
    eDmErrorId setName(const DmString& name) { return set(Name, name); }
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }
    double getSrcLength() const { return _srcLength; }
    eDmErrorId setSrcLength(double frames) { return set(SrcLength, frames); }
    const DmString& getFcm() const { return _srcFcm; }
    eDmErrorId setFcm(const DmString& fcm) { return set(SrcFcm, fcm); }

    // Formats: setters share the record. There is no primary one until it is set; the others are null only where a
    // document or a caller made them so. own...() give what may be changed: the shared default is first replaced by a
    // copy, which is a change of the property; null where there is none or the input is a constant.

    const DmFrameResolution* getPrimaryRes() const { return rare()->primaryResolution.get(); }
    DmFrameResolution* ownPrimaryRes() { return rare()->primaryResolution.own(*this, PrimaryResolution); }
    eDmErrorId setPrimaryRes(const CoSharedPtr<DmFrameResolution>& format) { return set(PrimaryResolution, format); }
    const DmFrameResolution* getAltRes() const { return rare()->altResolution.get(); }
    DmFrameResolution* ownAltRes() { return rare()->altResolution.own(*this, AltResolution); }
    eDmErrorId setAltRes(const CoSharedPtr<DmFrameResolution>& format) { return set(AltResolution, format); }
    const DmAudioProperties* getAudioProperties() const { return rare()->audioProperties.get(); }
    DmAudioProperties* ownAudioProperties() { return rare()->audioProperties.own(*this, AudioProps); }
    eDmErrorId setAudioProperties(const CoSharedPtr<DmAudioProperties>& format) { return set(AudioProps, format); }

    // Frame by frame, where the media are kept so.

    const DmSetList<DmFrameNode>& getPrimaryFrames() const { return rare()->primaryFrames; }
    int getNumberOfPrimaryFrames() const { return rare()->primaryFrames.count(); }
    eDmErrorId addPrimaryFrame(const CoSharedPtr<DmFrameNode>& frame) { return addTo(PrimaryFrames, frame); }
    eDmErrorId removePrimaryFrame(int index) { return removeFrom(PrimaryFrames, index); }
    const DmSetList<DmFrameNode>& getAltFrames() const { return rare()->altFrames; }
    int getNumberOfAltFrames() const { return rare()->altFrames.count(); }
    eDmErrorId addAltFrame(const CoSharedPtr<DmFrameNode>& frame) { return addTo(AltFrames, frame); }
    eDmErrorId removeAltFrame(int index) { return removeFrom(AltFrames, index); }
    const DmSetList<DmFrameNode>& getAudioFrames() const { return rare()->audioFrames; }
    int getNumberOfAudioFrames() const { return rare()->audioFrames.count(); }
    eDmErrorId addAudioFrame(const CoSharedPtr<DmFrameNode>& frame) { return addTo(AudioFrames, frame); }
    eDmErrorId removeAudioFrame(int index) { return removeFrom(AudioFrames, index); }

    bool getProcessed() const { return rare()->processed; }
    eDmErrorId setProcessed(bool processed) { return set(Processed, processed); }
    const DmString& getComment() const { return rare()->comment; }
    eDmErrorId setComment(const DmString& comment) { return set(Comment, comment); }
    AnamorphicFlag getAnamorphicFlag() const { return rare()->anamorphicFlag; }
    eDmErrorId setAnamorphicFlag(AnamorphicFlag flag) { return set(Anamorphic, flag); }
    bool hasMedia() const { return _hasMedia; }
    eDmErrorId setHasMedia(bool has) { return set(HasMedia, has); }

    /// Null when there is none, and for kinds of inputs that have none.
    virtual DmSourceInfo* getSrcInfo() const;

protected:
    Input(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    Input(const Input& other) = default;

private:
    /// What few inputs have.
    struct Rare
    {
        static constexpr int place = 0;
        DmOwnedRecord<DmFrameResolution> primaryResolution;
        DmOwnedList<DmFrameNode> primaryFrames;
        DmOwnedRecord<DmFrameResolution> altResolution{dmSharedDefault<DmFrameResolution>()};
        DmOwnedList<DmFrameNode> altFrames;
        DmOwnedRecord<DmAudioProperties> audioProperties{dmSharedDefault<DmAudioProperties>()};
        DmOwnedList<DmFrameNode> audioFrames;
        DmString comment;
        AnamorphicFlag anamorphicFlag = AnamorphicUndefined;
        bool processed = false;
    };
    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    // In the order that packs: every clip has one of these.
    [[no_unique_address]] DmString _name;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
    double _srcLength = 0.0;
    [[no_unique_address]] DmDefaultString _srcFcm{DmString::NoMode};
    bool _hasMedia = false;

protected:
    DmRares _rares; ///< of all classes of an input
};

/// A key and a value that go along with a media input.
class ZR_DM_API DmSourceNode::DictionaryEntry final : public DmConcrete<DmSourceNode::DictionaryEntry>
{
public:
    enum Property : int
    {
        Key,
        Value,
        PropertyCount
    };

    explicit DictionaryEntry(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    static CoSharedPtr<DictionaryEntry> create(const DmString& key, const DmString& value);

    const DmString& getKey() const { return _key; }
    eDmErrorId setKey(const DmString& key) { return set(Key, key); }
    const DmString& getValue() const { return _value; }
    eDmErrorId setValue(const DmString& value) { return set(Value, value); }

private:
    DmString _key;
    DmString _value;
};

/// Recorded media.
class ZR_DM_API DmSourceNode::MediaInput final : public DmConcrete<DmSourceNode::MediaInput, DmSourceNode::Input>
{
public:
    enum Property : int
    {
        SrcInStr = FirstOwn,
        SrcIn,
        SrcInFcm,
        SrcInOffset,
        SrcInfo,
        ExtraDataDictionary,
        PropertyCount
    };

    explicit MediaInput(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    /// Copies the source info.
    static CoSharedPtr<MediaInput> create(double srcLength, double srcIn, const CoSharedPtr<DmSourceInfo>& sourceInfo,
                                          const DmString& srcInFcm, eDmTreeMediaType mediaType, bool hasMedia);

    /// Where the material starts, in frames of the input's own mode ("srcFcm"). That is "srcIn", except that
    ///   - a Varicam source's time (its source info is of that type, or captured in that mode) is first relabelled as
    ///     EdlVaricamToTC does, in the mode "VaricamFcm", or else "srcInFcm": what the camera counts at 60 stands for
    ///     30, what it counts at 24 lies on a tape of 30. From then on it counts in 29.97 NDF and 23.976; a mode of
    ///     another family is reported by that function and changes nothing;
    ///   - a time that counts in another mode than the input's is converted to the same wall-clock time in that one.
    /// Modes that are not defined are the process-wide default mode; without one, nothing is converted to or from them.
    /// With ZR_DISABLE_TCC it is "srcIn" whatever the source.
    double getSrcIn() const;
    eDmErrorId setSrcIn(double frames) { return set(SrcIn, frames); }
    /// Where the material starts on its tape, in frames of "srcInFcm": "srcIn" where that is positive, else what the
    /// label says. 0 for a label that cannot be read, which is warned about.
    double getTapeSrcIn() const;
    const DmString& getSrcInStr() const { return rare()->srcInStr; }
    eDmErrorId setSrcInStr(const DmString& label) { return set(SrcInStr, label); }
    const DmString& getSrcInFcm() const { return _srcInFcm; }
    eDmErrorId setSrcInFcm(const DmString& fcm) { return set(SrcInFcm, fcm); }
    double getSrcInOffset() const { return rare()->srcInOffset; }
    eDmErrorId setSrcInOffset(double frames) { return set(SrcInOffset, frames); }

    DmSourceInfo* getSrcInfo() const override { return _srcInfo.get(); }
    /// Copies the info; null takes it away.
    eDmErrorId setSrcInfo(const DmSourceInfo* info);
    eDmErrorId setSrcInfo(const CoSharedPtr<DmSourceInfo>& info) { return setSrcInfo(info.get()); }

    const DmSetList<DictionaryEntry>& getExtraDataDictionary() const { return rare()->extraDataDictionary; }
    eDmErrorId addExtraData(const CoSharedPtr<DictionaryEntry>& entry) { return addTo(ExtraDataDictionary, entry); }
    eDmErrorId removeExtraData(int index) { return removeFrom(ExtraDataDictionary, index); }

private:
    /// What few media inputs have.
    struct Rare
    {
        static constexpr int place = FirstOwn;
        DmString srcInStr;
        double srcInOffset = 0.0;
        DmOwnedList<DictionaryEntry> extraDataDictionary;
    };
    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    double _srcIn = 0.0;
    DmDefaultString _srcInFcm{DmString::NoMode};
    DmOwnedRecord<DmSourceInfo> _srcInfo;
};

/// Material that the system makes: a colour, bars, noise, a tone.
class ZR_DM_API DmSourceNode::GeneratedInput final
    : public DmConcrete<DmSourceNode::GeneratedInput, DmSourceNode::Input>
{
public:
    enum Property : int
    {
        InputType = FirstOwn,
        InputColorRed,
        InputColorGreen,
        InputColorBlue,
        InputColorAlpha,
        InputPercentageRatio,
        InputSoftness,
        InputAudioFrequency,
        InputAudioLevel,
        PropertyCount
    };
    /// What "inputType" may be.
    static constexpr const wchar_t* inputTypes[] = {L"INPUT_BLACK",        L"INPUT_COLOUR",     L"INPUT_NOISE",
                                                    L"INPUT_COLOUR_NOISE", L"INPUT_SMPTE_BARS", L"INPUT_PAL_BARS",
                                                    L"INPUT_SILENCE",      L"INPUT_TONE"};

    explicit GeneratedInput(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    static CoSharedPtr<GeneratedInput> create(const DmString& inputType, double srcLength, eDmTreeMediaType mediaType);

    const DmString& getInputType() const { return _inputType; }
    eDmErrorId setInputType(const DmString& type) { return set(InputType, type); }
    float getInputColorRed() const { return _red; }
    eDmErrorId setInputColorRed(float red) { return set(InputColorRed, red); }
    float getInputColorGreen() const { return _green; }
    eDmErrorId setInputColorGreen(float green) { return set(InputColorGreen, green); }
    float getInputColorBlue() const { return _blue; }
    eDmErrorId setInputColorBlue(float blue) { return set(InputColorBlue, blue); }
    float getInputColorAlpha() const { return _alpha; }
    eDmErrorId setInputColorAlpha(float alpha) { return set(InputColorAlpha, alpha); }
    float getInputPercentageRatio() const { return _percentageRatio; }
    eDmErrorId setInputPercentageRatio(float ratio) { return set(InputPercentageRatio, ratio); }
    int getInputSoftness() const { return _softness; }
    eDmErrorId setInputSoftness(int softness) { return set(InputSoftness, softness); }
    double getInputAudioFrequency() const { return _audioFrequency; }
    eDmErrorId setInputAudioFrequency(double hertz) { return set(InputAudioFrequency, hertz); }
    double getInputAudioLevel() const { return _audioLevel; }
    eDmErrorId setInputAudioLevel(double level) { return set(InputAudioLevel, level); }

private:
    DmString _inputType{inputTypes[0]};
    float _red = 0.0F;
    float _green = 0.0F;
    float _blue = 0.0F;
    float _alpha = 0.0F;
    float _percentageRatio = 0.0F;
    int _softness = 0;
    double _audioFrequency = 0.0;
    double _audioLevel = 0.0;
};

/// Material that was made from another source.
class ZR_DM_API DmSourceNode::DerivedInput final : public DmConcrete<DmSourceNode::DerivedInput, DmSourceNode::Input>
{
public:
    enum Property : int
    {
        SrcInStr = FirstOwn,
        SrcIn,
        SrcInfo,
        ReelName,
        PropertyCount
    };

    explicit DerivedInput(const DmNodeId& id);
    eDmErrorId createList() override;

    const DmString& getSrcInStr() const { return _srcInStr; }
    eDmErrorId setSrcInStr(const DmString& label) { return set(SrcInStr, label); }
    double getSrcIn() const { return _srcIn; }
    eDmErrorId setSrcIn(double frames) { return set(SrcIn, frames); }
    DmSourceInfo* getSrcInfo() const override { return _srcInfo.get(); }
    /// Copies the info; null takes it away.
    eDmErrorId setSrcInfo(const DmSourceInfo* info);
    eDmErrorId setSrcInfo(const CoSharedPtr<DmSourceInfo>& info) { return setSrcInfo(info.get()); }
    const DmString& getReelName() const { return _reelName; }
    eDmErrorId setReelName(const DmString& name) { return set(ReelName, name); }

private:
    DmString _srcInStr;
    double _srcIn = 0.0;
    DmOwnedRecord<DmSourceInfo> _srcInfo;
    DmString _reelName;
};

/// A source that is to be found again by name.
class ZR_DM_API DmSourceNode::RelinkedInput final : public DmConcrete<DmSourceNode::RelinkedInput, DmSourceNode::Input>
{
public:
    enum Property : int
    {
        ReelName = FirstOwn,
        SourceName,
        PropertyCount
    };

    explicit RelinkedInput(const DmNodeId& id);
    eDmErrorId createList() override;

    const DmString& getReelName() const { return _reelName; }
    eDmErrorId setReelName(const DmString& name) { return set(ReelName, name); }
    const DmString& getSourceName() const { return _sourceName; }
    eDmErrorId setSourceName(const DmString& name) { return set(SourceName, name); }

private:
    DmString _reelName;
    DmString _sourceName;
};

#pragma GCC diagnostic pop
