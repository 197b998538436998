/// What every effect class promises alike, tried on each of them. A new class is a row of the table.
#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmAnnotationSettings.h"
#include "dmAudioEffects.h"
#include "dmColourEffects.h"
#include "dmDefaultFxSettings.h"
#include "dmMaskEffects.h"
#include "dmPPFxFlexletSettings.h"
#include "dmPPFxSettings.h"
#include "dmPPFxStereoToolboxSettings.h"
#include "dmPSetHelper.h"
#include "dmPaintLayer.h"
#include "dmPictureEffects.h"
#include "dmPropertyFactory.h"
#include "dmResizeSettings.h"
#include "dmTextSettings.h"
#include "dmTimewarpSettings.h"
#include "dmTransformEffects.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"
#include "effectTools.h"

#include <algorithm>

namespace
{

struct EffectClass
{
    const char *className, *typeName;
    const char* use; ///< "segment", "transition", "both" or "neither", then "video" or "audio"
    /// The own ones in index order: "name Type of what it holds, default", with " optional" behind those that are
    /// skipped when they hold it.
    const char* properties;
    const char *attributes, *channels;
    const char* defaultAttributes; ///< of a fresh effect: "name=value"
    CoSharedPtr<DmEffectSettings> (*create)();
    const DmNameTable *attributNames, *channelNames;
};

template <class T>
constexpr EffectClass row(const char* className, const char* typeName, const char* use, const char* properties,
                          const char* attributes, const char* channels, const char* defaultAttributes = "")
{
    const auto create = [] { return CoSharedPtr<DmEffectSettings>(T::create()); };
    return {className, typeName,          use,    properties,        attributes,
            channels,  defaultAttributes, create, &T::attributNames, &T::channelNames};
}

// clang-format off
constexpr const char* focusAtStart = "focusAlignment=FOCUS_START";
constexpr const char* timewarpAttributes = "renderType, renderMode, initCurveMode, fieldInterpMode, samplingMode";
constexpr const char* timewarpChannels = "timing, speed, mix, pre_trail, pre_weight, post_trail, post_weight";
constexpr const char* convertAttributes =
    "convert_type, convert_filter, alpha, blur, adaptive_state, adaptive_tolerance, fieldUsed, widescreenMode, "
    "aspect_ratio, destination_width, destination_height, destination_aspect, destination_depth";
#define LAYER_PROPERTIES \
    "startFrame Int 0, duration UInt 0, hold Bool false, ghost Bool false, ghostAfter UInt 3, ghostBefore UInt 3"

#define EFFECT(Class, ...) row<Class>(#Class, __VA_ARGS__)
constexpr EffectClass effectClasses[] = {
    // Video.
    EFFECT(DmPPFxSettings, "PPFx", "segment video", "", "", ""),
    EFFECT(DmPPFxTWSettings, "PPFxTW", "segment video",
        "strobeMode Bool false, isConstantSpeed Bool true, speed Double 1, strobeRepeat Int 1, mix Float 0, "
        "originalRelIn Double 0, twDuration Double 0, extraTimingOffset Double 0 optional, "
        "offsetTimingWithRelIn Bool false optional, forceDuration Bool false optional", timewarpAttributes,
        timewarpChannels),
    EFFECT(DmPPFxCCSettings, "PPFxCC", "segment video", "", "", ""),
    EFFECT(DmPPFxCWSettings, "PPFxCW", "segment video", "", "", ""),
    EFFECT(DmPPFxFlexletSettings, "PPFxFlexlet", "segment video", "presetName String", "", ""),
    EFFECT(DmPPFxCompSettings, "PPFxComp", "segment video", "", "", ""),
    EFFECT(DmPPFxResizeSettings, "PPFxResize", "segment video",
        "backgroundColourRed Float 0 optional, backgroundColourGreen Float 0 optional, "
        "backgroundColourBlue Float 0 optional, propScaling Bool true optional, preserveAspect Bool true optional",
        convertAttributes, "pos_x, pos_y, scale_x, scale_y, width, height, center_x, center_y"),
    EFFECT(DmPPFxStereoToolboxSettings, "PPFxStereoToolbox", "segment video", "FWAligment Int 0", "",
        "XConvergence, FloatingWindow_BL, FloatingWindow_TL, FloatingWindow_TR, FloatingWindow_BR, "
        "FloatingWindow_PRS, FloatingWindow_PRS, FloatingWindow_Offset, FloatingWindow_Aux"),
    EFFECT(DmPPFxLetterboxSettings, "PPFxLetterbox", "segment video",
        "aspectMode Int 0, offset Double 0, ratio Double 1.777777778, colourRed Float 0, colourGreen Float 0, "
        "colourBlue Float 0", "", ""),
    EFFECT(DmColourSettings, "Colour", "segment video", "correctionType Int 0",
        "rewireModeRed, rewireModeGreen, rewireModeBlue",
        "hueShift, saturation, contrast, gain, offset, redGain, redOffset, greenGain, greenOffset, blueGain, "
        "blueOffset, gamma, redGamma, greenGamma, blueGamma, balanceGain, balanceHue"),
    EFFECT(DmCompSettings, "Comp", "segment video", "matteInvert Bool false optional", "compositeMode", "transparency"),
    EFFECT(DmVTimewarpSettings, "VTimewarp", "segment video",
        "strobeMode Bool false, isConstantSpeed Bool true, speed Double 1, strobeRepeat Int 1, mix Float 0, "
        "originalRelIn Double 0", timewarpAttributes, timewarpChannels),
    EFFECT(DmResizeSettings, "Resize", "segment video",
        "length Double 0, preserveAspect Bool true, borderColorRed Float 0, borderColorGreen Float 0, "
        "borderColorBlue Float 0", convertAttributes,
        "width, height, left, right, bottom, top, center_x, center_y, scale_x, scale_y"),
    EFFECT(DmQuillSettings, "Quill", "segment video", "inputs Vector-Int, pathName String", "", ""),
    EFFECT(DmAxisSettings, "Axis", "both video",
        "keyerSetupFile String, keyerSetupOutside Bool false, propScaling Bool true, length Double 0, "
        "swap Bool false, convergence Float 0",
        "focusAlignment, renderMode, surfaceBlendMode, iPrsAlign, iPartialAxis",
        "layerPositionX, layerPositionY, layerPositionZ, layerScaleX, layerScaleY, layerScaleZ, layerRotationX, "
        "layerRotationY, layerRotationZ, layerShearX, layerShearY, layerShearZ, transparency, cropLeft, cropRight, "
        "cropBottom, cropTop, cropSoftness, surfacePositionTLX, surfacePositionTLY, surfacePositionBLX, "
        "surfacePositionBLY, surfacePositionTRX, surfacePositionTRY, surfacePositionBRX, surfacePositionBRY, "
        "offsetPositionX, offsetPositionY, offsetPositionZ, offsetScaleX, offsetScaleY, offsetScaleZ, "
        "offsetRotationX, offsetRotationY, offsetRotationZ, offsetShearX, offsetShearY, offsetShearZ, "
        "shadowColorRed, shadowColorGreen, shadowColorBlue, shadowSoftness, shadowTransparency, shadowPosX, "
        "shadowPosY, blurX, blurY, keyerAxisPosX, keyerAxisPosY, keyerAxisScaleX, keyerAxisScaleY, "
        "keyerLumTolerance, iPosX, iPosY, iScaleX, iScaleY, iRotZ, iPrs, iPrsOffset, iPrsAux, iFwBL, iFwTL, iFwTR, "
        "iFwBR", focusAtStart),
    EFFECT(DmLookSettings, "Look", "both video",
        "SlopeR Double 1 optional, SlopeG Double 1 optional, SlopeB Double 1 optional, OffsetR Double 0 optional, "
        "OffsetG Double 0 optional, OffsetB Double 0 optional, PowerR Double 1 optional, PowerG Double 1 optional, "
        "PowerB Double 1 optional, Saturation Double 1 optional", "", "", focusAtStart),
    EFFECT(DmWipeSettings, "Wipe", "both video",
        "length Double 0, smptePattern Int 1, positionX Float 0, positionY Float 0, rotationZ Float 0, "
        "softness Float 0, inverted Bool false, scaleX Float 1, scaleY Float 1, scaleZ Float 1",
        "focusAlignment, renderMode, startPosition", "dummy", focusAtStart),
    EFFECT(DmFlipSettings, "Flip", "segment video", "orientationType String, domCorrectionType String", "", ""),
    EFFECT(DmSVGSettings, "SVG", "segment video", "svg String", "", ""),
    EFFECT(DmAngularMaskSettings, "AngularMask", "segment video",
        "pivotX Double 0 optional, pivotY Double 0 optional, angleInRadians Float 0 optional", "", ""),
    EFFECT(DmPPFxActionSettings, "PPFxAction", "both video",
        "propScaling Bool true, length Double 0, swap Bool false, backgroundColourRed Float 0, "
        "backgroundColourGreen Float 0, backgroundColourBlue Float 0, useBack Bool false optional, "
        "activeShadow Bool false optional, matteInvert Bool false optional",
        "focusAlignment, renderMode, surfaceBlendMode",
        "imagePositionX, imagePositionY, imagePositionZ, imageScaleX, imageScaleY, imageScaleZ, imageRotationX, "
        "imageRotationY, imageRotationZ, imageShearX, imageShearY, imageShearZ, transparency, cropLeft, cropRight, "
        "cropBottom, cropTop, cropSoftnessLeft, cropSoftnessRight, cropSoftnessBottom, cropSoftnessTop, "
        "shadowColorRed, shadowColorGreen, shadowColorBlue, shadowSoftnessX, shadowSoftnessY, shadowTransparency, "
        "shadowPosX, shadowPosY, blurWidth, blurHeight, blurMWidth, blurMHeight", focusAtStart),
    EFFECT(DmDDTransformSettings, "DDTransform", "segment video", "propScaling Bool true optional", "",
        "positionX, positionY, positionZ, scaleX, scaleY, scaleZ, rotationX, rotationY, rotationZ, shearX, shearY, "
        "shearZ, centerX, centerY, centerZ, transparency, cropLeft, cropRight, cropBottom, cropTop, cropSoftness"),
    EFFECT(DmVDissolveSettings, "VDissolve", "both video",
        "length Double 0, hasToFromColor Bool false, toFromColorRed Float 0, toFromColorGreen Float 0, "
        "toFromColorBlue Float 0", "focusAlignment, renderMode, type, curve_type, blend_type", "mix",
        "blend_type=, curve_type=, focusAlignment=, renderMode=, type="),
    // Audio.
    EFFECT(DmAudioGateSettings, "AudioGate", "segment audio", "", "",
        "threshold, floor, ratio, attack, hold, release, output_gain"),
    EFFECT(DmAudioCompressionSettings, "AudioCompression", "segment audio", "", "",
        "threshold, knee, type, ratio, attack, release, auto_release, output_gain"),
    EFFECT(DmAudioEQSettings, "AudioEQ", "segment audio", "", "",
        "high_type, high_freq, high_gain, high_Q, high_mute, mid_type, mid_freq, mid_gain, mid_Q, mid_mute, "
        "low_type, low_freq, low_gain, low_Q, low_mute"),
    EFFECT(DmAudioDeEsserSettings, "AudioDeEsser", "segment audio", "", "", "type, freq, range, threshold, monitor"),
    EFFECT(DmAudioGainSettings, "AudioGain", "segment audio", "", "", "gain"),
    EFFECT(DmAudioReverbSendSettings, "AudioReverbSend", "segment audio", "", "", "reverb_amount"),
    EFFECT(DmAudioDelaySendSettings, "AudioDelaySend", "segment audio", "", "", "delay_amount"),
    EFFECT(DmAudioModSendSettings, "AudioModSend", "segment audio", "", "", "mod_amount"),
    EFFECT(DmATimewarpSettings, "ATimewarp", "segment audio",
        "length Double 0, ratio Float 1, pitch Float 1, rhythm Float 0, quality Int 2", "", ""),
    EFFECT(DmADissolveSettings, "ADissolve", "transition audio", "length Double 0, hasToFromColor Bool false",
        "focusAlignment", "", "focusAlignment="),
    EFFECT(DmDefaultFxSettings, "DefaultFx", "both video", "length Double 0", "", "", focusAtStart),
    // Layers.
    EFFECT(DmEffectLayer, "Effect", "neither video", LAYER_PROPERTIES, "", ""),
    EFFECT(DmTextLayer, "Text", "neither video",
        LAYER_PROPERTIES ", paragraphs Vector-Property-Set of DmTextParagraph, background Bool false, bgColorRed Float 0, "
        "bgColorGreen Float 0, bgColorBlue Float 0, bgOpacity Float 1", "rollCrawlMode",
        "layerPositionX, layerPositionY, layerScaleX, layerScaleY, layerRotation, layerTransparency"),
    EFFECT(DmPaintLayer, "Paint", "neither video", LAYER_PROPERTIES ", strokes Vector-Property-Set of DmStroke", "", ""),
    // Text and paint.
    EFFECT(DmTextSettings, "Text", "segment video",
        "layers Vector-Property-Set of DmTextLayer, cropEnabled Bool false, cropLeft Int 0, cropRight Int 0, cropBottom Int 0, "
        "cropTop Int 0", "", ""),
    EFFECT(DmTextParagraph, "Text", "neither video",
        "textStr String, imagePath String, fontName String, fontStyle Int 3, fontDir String, outline Bool false, "
        "italicAngle Int 0, indentation Float 0, width Float 0, underline Bool false, dropShadow Bool false",
        "fontEffect, fontType, justification",
        "fontSize, fontKerning, fontLeading, fontColorRed, fontColorGreen, fontColorBlue, fontOpacity, fontSoftness, "
        "outWidth, outColorRed, outColorGreen, outColorBlue, outOpacity, underlineWidth, underlineColorRed, "
        "underlineColorGreen, underlineColorBlue, underlineOpacity, dropShadowColorRed, dropShadowColorGreen, "
        "dropShadowColorBlue, dropShadowOpacity, dropShadowSoftness, scaleX, scaleY, rotation"),
    EFFECT(DmAnnotationSettings, "Annotation", "segment video", "layers Vector-Property-Set of DmEffectLayer", "", ""),
};
#undef EFFECT
// clang-format on

void append(std::string& list, const std::string& text)
{
    list += list.empty() ? text : ", " + text;
}

std::string describeProperties(const DmPropertySet& set, int first, int end)
{
    std::string list;
    for (int i = first; i < end; ++i)
    {
        const DmPropertyDef& def = *set.classData().at(i);
        const std::string value = valueText(set, i);
        append(list, def._utf8Name + ' ' + dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type)) +
                         (def._held ? " of " + dmUtf8(DmString(def._held->name)) : "") +
                         (value.empty() ? "" : ' ' + value) + (def._skipIfDefault ? " optional" : ""));
    }
    return list;
}

std::string namesOf(const DmNameTable& table)
{
    std::string names;
    for (int id = 0; id < table.size(); ++id)
        append(names, dmUtf8(table[id]));
    return names;
}

std::string useOf(const DmEffectSettings& effect)
{
    static constexpr const char* places[2][2] = {{"neither ", "transition "}, {"segment ", "both "}};
    return places[effect.isSegmentCompatible()][effect.isTrxCompatible()] +
           std::string(dmMediaTypeText(effect.getMediaType()));
}

std::string attributesOf(const DmEffectSettings& effect)
{
    DmStringArray keys;
    EXPECT_EQ(effect.getKeysFromPropertyMap(DmEffectSettings::AttributList, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    std::string attributes;
    for (const DmString& key : keys)
    {
        EXPECT_EQ(effect.getAttributByName(key)->getName(), key);
        append(attributes, dmUtf8(key) + '=' + dmUtf8(effect.getAttributText(key)));
    }
    return attributes;
}

/// By class name, as an importer does.
CoSharedPtr<DmEffectSettings> createByName(const DmString& className)
{
    DmPropertySet* set = nullptr;
    EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, set), DM_NO_ERROR);
    return DM::dynamicPointerCast<DmEffectSettings>(DmPropertySetPtr(set));
}

/// Gives every property, attribute and channel of an effect a value that it did not have.
void fill(const EffectClass& row, DmEffectSettings& effect)
{
    for (int i = DmEffectSettings::SetupFileName; i < effect.classData().size(); ++i)
    {
        const DmPropertyDef& def = *effect.classData().at(i);
        if (def._type == DM_PROPERTY_SET || def._type == DM_VECTOR_PROPERTY_SET)
            continue;
        const wchar_t* const text = def._type != DM_BOOL ? L"42" : valueText(effect, i) == "true" ? L"false" : L"true";
        EXPECT_EQ(effect.setPropertyValueFromStr(def._name, def._type, text), DM_NO_ERROR) << def._utf8Name;
    }
    for (int id = 0; id < row.attributNames->size(); ++id)
        EXPECT_EQ(effect.setAttributByName((*row.attributNames)[id], DmSimpleChannel::create(L"text")), DM_NO_ERROR);
    for (int id = 0; id < row.channelNames->size(); ++id)
        EXPECT_EQ(effect.getChannelByName((*row.channelNames)[id])->addKeyFrame(key(5)), DM_NO_ERROR);
}

} // namespace

TEST(EffectClasses, AreWhatTheirTableSaysAndAllInIt)
{
    constexpr int own = DmEffectSettings::EffectPropertyCount;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        SCOPED_TRACE(dmUtf8(name));
        const auto effect = createByName(name);
        const auto* const row = std::find_if(std::begin(effectClasses), std::end(effectClasses),
                                             [&](const EffectClass& each) { return each.className == dmUtf8(name); });
        ASSERT_EQ(effect != nullptr, row != std::end(effectClasses));
        if (!effect)
            continue;
        EXPECT_EQ(effect->getPSetName(), name);
        EXPECT_EQ(dmUtf8(effect->getName()), row->typeName);
        EXPECT_EQ(useOf(*effect), row->use);
        EXPECT_EQ(describeProperties(*effect, own, effect->classData().size()), row->properties);
        EXPECT_EQ(namesOf(*row->attributNames), row->attributes);
        EXPECT_EQ(namesOf(*row->channelNames), row->channels);
        ASSERT_EQ(
            describeProperties(*effect, 0, own),
            "attributList Map-Property-Set of DmSimpleChannel, channelList Map-Property-Set of DmAnimationChannel, "
            "setupFileName String optional, setup CDATA optional, comment String optional, "
            "muted Bool false optional, output Property-Set of DmMediaNode");
    }
}

TEST(EffectClasses, HaveTheirDefaultAttributesOnceHoweverTheyAreMade)
{
    for (const EffectClass& row : effectClasses)
        for (const bool flag : {true, false})
        {
            SCOPED_TRACE(row.className);
            EXPECT_EQ(DmPropertyFactory::getInstance().setCreateDefaultAttributes(flag), !flag);
            EXPECT_EQ(attributesOf(*row.create()), row.defaultAttributes) << flag;
            EXPECT_EQ(attributesOf(*createByName(row.create()->getPSetName())), flag ? row.defaultAttributes : "");
        }
}

TEST(EffectClasses, ClonesAreEqualAndShareNothing)
{
    for (const EffectClass& row : effectClasses)
    {
        SCOPED_TRACE(row.className);
        const auto effect = row.create();
        const DmPropertySetPtr untouched = effect->clone();
        EXPECT_EQ(difference(*effect, *untouched), "");
        fill(row, *effect);
        EXPECT_NE(difference(*effect, *untouched), "");
        const DmPropertySetPtr clone = effect->clone();
        EXPECT_EQ(difference(*effect, *clone), "");
        EXPECT_TRUE(heldByBoth(*effect, *clone).empty());
    }
}

TEST(EffectClasses, ReachAttributesAndChannelsById)
{
    const auto effect = DmPPFxResizeSettings::create();
    using Attribut = DmPPFxResizeSettings::AttributId;
    using Channel = DmPPFxResizeSettings::ChannelId;
    const auto attribut = DmSimpleChannel::create(L"text");
    EXPECT_EQ(effect->setAttribut(Attribut::blur, attribut), DM_NO_ERROR);
    EXPECT_EQ(effect->getAttribut(Attribut::blur), attribut);
    EXPECT_EQ(effect->getAttributByName(DmPPFxResizeSettings::getAttributName(Attribut::blur)), attribut);
    EXPECT_FALSE(effect->getExistingChannel(Channel::width));
    const auto channel = effect->getChannel(Channel::width);
    ASSERT_TRUE(channel);
    EXPECT_EQ(effect->getExistingChannelByName(DmPPFxResizeSettings::getChannelName(Channel::width)), channel);
    const auto other = DmAnimationChannel::create();
    EXPECT_EQ(effect->setChannel(Channel::width, other), DM_NO_ERROR);
    EXPECT_EQ(effect->getExistingChannel(Channel::width), other);
    for (const int outside : {-1, 13, 100000})
    {
        EXPECT_FALSE(effect->getAttribut(Attribut(outside)));
        EXPECT_EQ(effect->setAttribut(Attribut(outside), attribut), DM_BAD_INDEX);
        EXPECT_FALSE(effect->getChannel(Channel(outside)));
        EXPECT_FALSE(effect->getExistingChannel(Channel(outside)));
        EXPECT_EQ(effect->setChannel(Channel(outside), other), DM_BAD_INDEX);
    }
    const auto stereo = DmPPFxStereoToolboxSettings::create();
    using Id = DmPPFxStereoToolboxSettings::ChannelId;
    EXPECT_EQ(stereo->getChannel(Id::FloatingWindow_PRS), stereo->getChannel(Id::FloatingWindow_PRS2));
}

TEST(EffectParts, AreWhatTheirTablesSay)
{
    // clang-format off
    const struct
    {
        DmPropertySetPtr set;
        const char *className, *properties;
    } rows[] = {
        {stored(DmSimpleChannel::create()), "DmSimpleChannel", "name String, value String"},
        {stored(DmAnimationChannel::create()), "DmAnimationChannel", "name String, interpolation Int 1, extrapolation Int 0, version Float 1, value Float 0, " "keyFrameList Vector-Property-Set of DmKeyFrame"},
        {stored(DmKeyFrame::create()), "DmKeyFrame", "frame Float 0, value Float 0, interpMode Int 0, interpOrder Int 1, rightHandleX Float 0, " "rightHandleY Float 0, leftHandleX Float 0, leftHandleY Float 0, breakVel Bool false, " "autoRightVelocity Bool true, autoLeftVelocity Bool true, breakValue Bool false, autoPlateau Bool false"},
        {stored(DmMediaNode::create()), "DmMediaNode", "name String optional, path String optional, mediaType Enum 0, fileList Vector-String"},
        {stored(DmPoint::create()), "DmPoint", "x Double 0, y Double 0, width Double 1"},
        {stored(DmStroke::create()), "DmStroke", "points Vector-Property-Set of DmPoint, red Float 0, green Float 0, blue Float 0, alpha Float 1, type String, " "brush String"}
    };
    // clang-format on
    for (const auto& row : rows)
    {
        EXPECT_EQ(dmUtf8(row.set->getPSetName()), row.className);
        EXPECT_EQ(describeProperties(*row.set, 0, row.set->classData().size()), row.properties) << row.className;
        EXPECT_EQ(difference(*row.set, *row.set->clone()), "") << row.className;
    }
}
