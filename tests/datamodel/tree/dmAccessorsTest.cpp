/// Every pair of a typed getter and setter: the setter changes the property of its name and no other, tells listeners,
/// and the getter gives what was set.
#include <ZRdmtree.h>

#include <gtest/gtest.h>

#include <cwctype>

namespace
{

/// A value that no property has by default.
template <class T>
T unusual()
{
    if constexpr (std::is_same_v<T, DmString>)
        return DmString(L"Été");
    else if constexpr (std::is_same_v<T, std::vector<DmString>>)
        return {DmString(L"a"), DmString(), DmString(L"b")};
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(1234.5);
    else
        return static_cast<T>(std::is_enum_v<T> ? 1 : 42);
}

template <class T>
class Accessors : private DmPropertyListener
{
public:
    Accessors() { EXPECT_EQ(_set->registerListener(this), DM_NO_ERROR); }
    ~Accessors() override { EXPECT_EQ(_set->unregisterListener(this), DM_NO_ERROR); }

    template <class SetterOf, class Argument, class Getter>
    void check(const std::wstring& property, eDmErrorId (SetterOf::*setter)(Argument), Getter getter)
    {
        using Value = std::remove_cvref_t<Argument>;
        SCOPED_TRACE(dmUtf8(T::className) + "." + dmUtf8(property.c_str()));
        const auto get = [&]
        {
            Value value{};
            if constexpr (std::is_invocable_v<Getter, T&, Value&>) // it gives its value through its argument
                ((*_set).*getter)(value);
            else
                value = ((*_set).*getter)();
            return value;
        };
        const auto value = unusual<Value>();
        EXPECT_NE(get(), value);
        _changed.clear();
        EXPECT_EQ(((*_set).*setter)(value), DM_NO_ERROR);
        EXPECT_EQ(_changed, std::vector<std::wstring>{property}) << "a list is set in one step, too";
        EXPECT_EQ(get(), value);
    }

private:
    void onPropertyChanged(const DmNodeId& /*id*/, eDmPropType /*type*/, const DmString& propertyName) override
    {
        _changed.emplace_back(propertyName.view());
    }

    CoSharedPtr<T> _set = dmCreate<T>();
    std::vector<std::wstring> _changed;
};

/// "recIn" for RecIn; names that begin with two capitals stay.
std::wstring propertyOf(const char* name)
{
    std::wstring property(name, name + std::char_traits<char>::length(name));
    if (property.size() < 2 || std::iswlower(static_cast<wint_t>(property[1])))
        property[0] = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(property[0])));
    return property;
}

using MediaInput = DmSourceNode::MediaInput;
using GeneratedInput = DmSourceNode::GeneratedInput;
using DerivedInput = DmSourceNode::DerivedInput;
using RelinkedInput = DmSourceNode::RelinkedInput;
using DictionaryEntry = DmSourceNode::DictionaryEntry;

} // namespace

#define ACCESSORS(Class_, ...)                                                                                         \
    TEST(TreeAccessors, Of##Class_)                                                                                    \
    {                                                                                                                  \
        using Class = Class_;                                                                                          \
        Accessors<Class> accessors;                                                                                    \
        __VA_ARGS__                                                                                                    \
    }
/// Where both are named after the property; where the getter has its name ("hasMedia"); where neither has.
#define BOTH(Name) accessors.check(propertyOf(#Name), &Class::set##Name, &Class::get##Name);
#define IS(property, Name) accessors.check(L## #property, &Class::set##Name, &Class::property);
#define NAMED(property, Name) accessors.check(L## #property, &Class::set##Name, &Class::get##Name);

// clang-format off

ACCESSORS(DmRoot, BOTH(Name) BOTH(Comment))
ACCESSORS(DmCompositionNode, NAMED(fcm, FCM) BOTH(CompLength) BOTH(SamplingRate) BOTH(StartTCStr) BOTH(StartTcFcm)
    BOTH(InMark) BOTH(OutMark) BOTH(Origin) BOTH(EmbInMark) BOTH(EmbOutMark) IS(isContainerComp, IsContainerComp)
    IS(isMatteContainerComp, IsMatteContainerComp) IS(isSubClipContainerComp, IsSubClipContainerComp)
    BOTH(CurrentVersionUid) BOTH(CurrentVersionName) BOTH(ColourSpace) BOTH(PrimaryVideoTrackIndex)
    BOTH(SecondaryVideoTrackIndex))
ACCESSORS(DmTrackNode, BOTH(TrackNum) BOTH(TrackChannel) BOTH(MediaType) IS(hasStereoFx, HasStereoFx))
ACCESSORS(DmLayerNode, BOTH(LayerNum) BOTH(MediaType) BOTH(LayerStartTC) BOTH(LayerLength)
    NAMED(layerStereoOutputChannel, StereoOutputChannel) IS(isResultLayer, IsResultLayer))
ACCESSORS(DmGapNode, BOTH(RecIn) BOTH(RecLength) BOTH(RelIn) BOTH(MediaType) BOTH(OriginalID) BOTH(SegmentId)
    BOTH(SegmentPreviousIds) BOTH(ShotName) BOTH(Muted))
ACCESSORS(DmSourceNode, IS(isMultiChannel, IsMultiChannel) BOTH(FxChecksum))
ACCESSORS(DmBatchFxNode, BOTH(SetupFileName) BOTH(Setup))
ACCESSORS(DmCutNode, BOTH(RecIn) BOTH(RecLength) BOTH(RelIn) BOTH(MediaType))
ACCESSORS(DmBlobNode, BOTH(BlobType) BOTH(Data))
ACCESSORS(MediaInput, BOTH(Name) BOTH(MediaType) BOTH(SrcLength) NAMED(srcFcm, Fcm) BOTH(Processed) BOTH(Comment)
    BOTH(AnamorphicFlag) IS(hasMedia, HasMedia) BOTH(SrcInStr) BOTH(SrcInFcm) BOTH(SrcInOffset))
ACCESSORS(GeneratedInput, BOTH(InputType) BOTH(InputColorRed) BOTH(InputColorGreen) BOTH(InputColorBlue)
    BOTH(InputColorAlpha) BOTH(InputPercentageRatio) BOTH(InputSoftness) BOTH(InputAudioFrequency)
    BOTH(InputAudioLevel))
ACCESSORS(DerivedInput, BOTH(SrcInStr) BOTH(SrcIn) BOTH(ReelName))
ACCESSORS(RelinkedInput, BOTH(ReelName) BOTH(SourceName))
ACCESSORS(DictionaryEntry, BOTH(Key) BOTH(Value))
ACCESSORS(DmSourceInfo, BOTH(SourceType) BOTH(Name) BOTH(ReelName) BOTH(Track) BOTH(MediaOrigin) BOTH(FileType)
    BOTH(Path) BOTH(FileList) BOTH(FileSeqBegin) BOTH(FileSeqEnd) BOTH(EssenceUID) BOTH(SourceUID)
    BOTH(OriginalSourceUID) BOTH(ImageUseResize) BOTH(ImageResizeType) BOTH(ImageFilterType) BOTH(ImageKeepAspect)
    BOTH(ImagePanX) BOTH(ImagePanY) BOTH(ImageLut) BOTH(ImageChannels) BOTH(SoftImport) BOTH(PDCaptureMode)
    BOTH(PDFrameType) BOTH(PDRefFrame) BOTH(PDDFRefFrame) BOTH(PDDropFrame) BOTH(PDTimewarpSource)
    NAMED(VaricamCaptureMode, VaricamCaptureMode) NAMED(VaricamTimecode, VaricamTimecode)
    NAMED(VaricamFcm, VaricamFcm) BOTH(Sequence) NAMED(ConsolidateOffset, ConsolidateOffset) BOTH(AafOptions)
    BOTH(MIOInfo))
ACCESSORS(DmKKInfo, BOTH(Manuf) BOTH(FilmID) BOTH(Prefix) BOTH(Count) BOTH(Frame) BOTH(FootRef) BOTH(FilmGauge)
    BOTH(TelecineSpeed) IS(isValid, IsValid))
ACCESSORS(DmIdentification, BOTH(Name) BOTH(IpAddress) BOTH(Host) BOTH(OsName) BOTH(Manuf) BOTH(AppName)
    BOTH(AppVersion) NAMED(date, DateStr) NAMED(time, TimeStr) BOTH(User) BOTH(FilePathsRoot) BOTH(CompanyName)
    BOTH(AppMajorVersion) BOTH(AppMinorVersion) BOTH(AppTertiaryVersion) BOTH(AppPatchVersion) BOTH(AppVersionType))
ACCESSORS(DmFrameResolution, BOTH(Width) BOTH(Height) NAMED(ratio, FrameRatio) BOTH(ScanFormat) BOTH(BitsPerPixel)
    NAMED(bufSize, FrameBufferSize) NAMED(colourSpace, ColorSpace) BOTH(CenterX) BOTH(CenterY) BOTH(SizeX) BOTH(SizeY))
ACCESSORS(DmCueMark, BOTH(CueMarkName) BOTH(CueMarkComment) BOTH(CueMarkTime) BOTH(CueMarkColorRed)
    BOTH(CueMarkColorGreen) BOTH(CueMarkColorBlue) BOTH(CueMarkDuration))
ACCESSORS(DmAudioProperties, BOTH(SamplingRate) BOTH(StorageFormat) BOTH(NbSamples) BOTH(StartSample)
    BOTH(NbChannels) BOTH(ChannelIdx))
ACCESSORS(DmFrameNode, BOTH(Frame) BOTH(Path) BOTH(FrameId))
