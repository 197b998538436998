/// Every pair of a typed getter and setter: the setter changes the property of its name and no other, tells listeners,
/// and the getter gives what was set.
#include "dmAudioProperties.h"
#include "dmBatchFxNode.h"
#include "dmBlobNode.h"
#include "dmCompositionNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "dmUtf8.h"

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
    else if constexpr (std::is_enum_v<T>)
        return static_cast<T>(1);
    else if constexpr (std::is_same_v<T, bool>)
        return true;
    else if constexpr (std::is_same_v<T, std::vector<DmString>>)
        return {DmString(L"a"), DmString(), DmString(L"b")};
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(1234.5);
    else
        return static_cast<T>(42);
}

template <class T>
class Accessors : private DmPropertyListener
{
public:
    Accessors() { EXPECT_EQ(_set->registerListener(this), DM_NO_ERROR); }
    ~Accessors() override { EXPECT_EQ(_set->unregisterListener(this), DM_NO_ERROR); }

    template <class SetterOf, class Argument, class GetterOf, class Result>
    void operator()(const wchar_t* property, eDmErrorId (SetterOf::*setter)(Argument),
                    Result (GetterOf::*getter)() const)
    {
        check(property, setter,
              [getter](const T& set, std::remove_cvref_t<Argument>& value) { value = (set.*getter)(); });
    }
    /// A getter that gives its value through its argument.
    template <class SetterOf, class Argument, class GetterOf>
    void operator()(const wchar_t* property, eDmErrorId (SetterOf::*setter)(Argument),
                    void (GetterOf::*getter)(std::remove_cvref_t<Argument>&) const)
    {
        check(property, setter, [getter](const T& set, std::remove_cvref_t<Argument>& value) { (set.*getter)(value); });
    }

private:
    template <class SetterOf, class Argument, class Get>
    void check(const wchar_t* property, eDmErrorId (SetterOf::*setter)(Argument), Get get)
    {
        using Value = std::remove_cvref_t<Argument>;
        SCOPED_TRACE(dmUtf8(T::className) + "." + dmUtf8(property));
        const auto value = unusual<Value>();
        Value before{};
        get(*_set, before);
        EXPECT_NE(before, value);
        _changed.clear();
        EXPECT_EQ(((*_set).*setter)(value), DM_NO_ERROR);
        // A list is cleared and filled.
        EXPECT_EQ(_changed, std::vector<std::wstring>(std::is_same_v<Value, std::vector<DmString>> ? 4 : 1, property));
        Value after{};
        get(*_set, after);
        EXPECT_EQ(after, value);
    }

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

} // namespace

/// Where the two are named after the property.
#define GET_SET(Name) accessors(propertyOf(#Name).c_str(), &Class::set##Name, &Class::get##Name)
/// "isContainerComp", "hasMedia": the getter is the property's name.
#define IS_SET(property, Name) accessors(L## #property, &Class::set##Name, &Class::property)
/// Where they are not.
#define NAMED(property, Name) accessors(L## #property, &Class::set##Name, &Class::get##Name)

// clang-format off

TEST(TreeAccessors, OfCollections)
{
    {
        using Class = DmRoot;
        Accessors<Class> accessors;
        GET_SET(Name); GET_SET(Comment);
    }
    {
        using Class = DmCompositionNode;
        Accessors<Class> accessors;
        NAMED(fcm, FCM); GET_SET(CompLength); GET_SET(SamplingRate); GET_SET(StartTCStr); GET_SET(StartTcFcm);
        GET_SET(InMark); GET_SET(OutMark); GET_SET(Origin); GET_SET(EmbInMark); GET_SET(EmbOutMark);
        IS_SET(isContainerComp, IsContainerComp); IS_SET(isMatteContainerComp, IsMatteContainerComp);
        IS_SET(isSubClipContainerComp, IsSubClipContainerComp); GET_SET(CurrentVersionUid);
        GET_SET(CurrentVersionName); GET_SET(ColourSpace); GET_SET(PrimaryVideoTrackIndex);
        GET_SET(SecondaryVideoTrackIndex);
    }
    {
        using Class = DmTrackNode;
        Accessors<Class> accessors;
        GET_SET(TrackNum); GET_SET(TrackChannel); GET_SET(MediaType); IS_SET(hasStereoFx, HasStereoFx);
    }
    {
        using Class = DmLayerNode;
        Accessors<Class> accessors;
        GET_SET(LayerNum); GET_SET(MediaType); GET_SET(LayerStartTC); GET_SET(LayerLength);
        NAMED(layerStereoOutputChannel, StereoOutputChannel); IS_SET(isResultLayer, IsResultLayer);
    }
}

TEST(TreeAccessors, OfLeaves)
{
    {
        using Class = DmGapNode;
        Accessors<Class> accessors;
        GET_SET(RecIn); GET_SET(RecLength); GET_SET(RelIn); GET_SET(MediaType); GET_SET(OriginalID);
        GET_SET(SegmentId); GET_SET(SegmentPreviousIds); GET_SET(ShotName); GET_SET(Muted);
    }
    {
        using Class = DmSourceNode;
        Accessors<Class> accessors;
        IS_SET(isMultiChannel, IsMultiChannel); GET_SET(FxChecksum);
    }
    {
        using Class = DmBatchFxNode;
        Accessors<Class> accessors;
        GET_SET(SetupFileName); GET_SET(Setup);
    }
    {
        using Class = DmCutNode;
        Accessors<Class> accessors;
        GET_SET(RecIn); GET_SET(RecLength); GET_SET(RelIn); GET_SET(MediaType);
    }
    {
        using Class = DmBlobNode;
        Accessors<Class> accessors;
        GET_SET(BlobType); GET_SET(Data);
    }
}

TEST(TreeAccessors, OfInputs)
{
    {
        using Class = DmSourceNode::MediaInput;
        Accessors<Class> accessors;
        GET_SET(Name); GET_SET(MediaType); GET_SET(SrcLength); NAMED(srcFcm, Fcm); GET_SET(Processed);
        GET_SET(Comment); GET_SET(AnamorphicFlag); IS_SET(hasMedia, HasMedia); GET_SET(SrcInStr); GET_SET(SrcInFcm);
        GET_SET(SrcInOffset);
    }
    {
        using Class = DmSourceNode::GeneratedInput;
        Accessors<Class> accessors;
        GET_SET(InputType); GET_SET(InputColorRed); GET_SET(InputColorGreen); GET_SET(InputColorBlue);
        GET_SET(InputColorAlpha); GET_SET(InputPercentageRatio); GET_SET(InputSoftness);
        GET_SET(InputAudioFrequency); GET_SET(InputAudioLevel);
    }
    {
        using Class = DmSourceNode::DerivedInput;
        Accessors<Class> accessors;
        GET_SET(SrcInStr); GET_SET(SrcIn); GET_SET(ReelName);
    }
    {
        using Class = DmSourceNode::RelinkedInput;
        Accessors<Class> accessors;
        GET_SET(ReelName); GET_SET(SourceName);
    }
    {
        using Class = DmSourceNode::DictionaryEntry;
        Accessors<Class> accessors;
        GET_SET(Key); GET_SET(Value);
    }
    {
        using Class = DmSourceInfo;
        Accessors<Class> accessors;
        GET_SET(SourceType); GET_SET(Name); GET_SET(ReelName); GET_SET(Track); GET_SET(MediaOrigin);
        GET_SET(FileType); GET_SET(Path); GET_SET(FileList); GET_SET(FileSeqBegin); GET_SET(FileSeqEnd);
        GET_SET(EssenceUID); GET_SET(SourceUID); GET_SET(OriginalSourceUID); GET_SET(ImageUseResize);
        GET_SET(ImageResizeType); GET_SET(ImageFilterType); GET_SET(ImageKeepAspect); GET_SET(ImagePanX);
        GET_SET(ImagePanY); GET_SET(ImageLut); GET_SET(ImageChannels); GET_SET(SoftImport); GET_SET(PDCaptureMode);
        GET_SET(PDFrameType); GET_SET(PDRefFrame); GET_SET(PDDFRefFrame); GET_SET(PDDropFrame);
        GET_SET(PDTimewarpSource); NAMED(VaricamCaptureMode, VaricamCaptureMode);
        NAMED(VaricamTimecode, VaricamTimecode); NAMED(VaricamFcm, VaricamFcm); GET_SET(Sequence);
        NAMED(ConsolidateOffset, ConsolidateOffset); GET_SET(AafOptions); GET_SET(MIOInfo);
    }
    {
        using Class = DmKKInfo;
        Accessors<Class> accessors;
        GET_SET(Manuf); GET_SET(FilmID); GET_SET(Prefix); GET_SET(Count); GET_SET(Frame); GET_SET(FootRef);
        GET_SET(FilmGauge); GET_SET(TelecineSpeed); IS_SET(isValid, IsValid);
    }
}

TEST(TreeAccessors, OfRecords)
{
    {
        using Class = DmIdentification;
        Accessors<Class> accessors;
        GET_SET(Name); GET_SET(IpAddress); GET_SET(Host); GET_SET(OsName); GET_SET(Manuf); GET_SET(AppName);
        GET_SET(AppVersion); NAMED(date, DateStr); NAMED(time, TimeStr); GET_SET(User); GET_SET(FilePathsRoot);
        GET_SET(CompanyName); GET_SET(AppMajorVersion); GET_SET(AppMinorVersion); GET_SET(AppTertiaryVersion);
        GET_SET(AppPatchVersion); GET_SET(AppVersionType);
    }
    {
        using Class = DmFrameResolution;
        Accessors<Class> accessors;
        GET_SET(Width); GET_SET(Height); NAMED(ratio, FrameRatio); GET_SET(ScanFormat); GET_SET(BitsPerPixel);
        NAMED(bufSize, FrameBufferSize); NAMED(colourSpace, ColorSpace); GET_SET(CenterX); GET_SET(CenterY);
        GET_SET(SizeX); GET_SET(SizeY);
    }
    {
        using Class = DmCueMark;
        Accessors<Class> accessors;
        GET_SET(CueMarkName); GET_SET(CueMarkComment); GET_SET(CueMarkTime); GET_SET(CueMarkColorRed);
        GET_SET(CueMarkColorGreen); GET_SET(CueMarkColorBlue); GET_SET(CueMarkDuration);
    }
    {
        using Class = DmAudioProperties;
        Accessors<Class> accessors;
        GET_SET(SamplingRate); GET_SET(StorageFormat); GET_SET(NbSamples); GET_SET(StartSample); GET_SET(NbChannels);
        GET_SET(ChannelIdx);
    }
    {
        using Class = DmFrameNode;
        Accessors<Class> accessors;
        GET_SET(Frame); GET_SET(Path); GET_SET(FrameId);
    }
}
