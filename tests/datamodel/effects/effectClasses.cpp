#include "effectClasses.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmAnnotationSettings.h"
#include "dmAudioEffects.h"
#include "dmColourEffects.h"
#include "dmDefaultFxSettings.h"
#include "dmEffectLayer.h"
#include "dmMaskEffects.h"
#include "dmPPFxFlexletSettings.h"
#include "dmPPFxSettings.h"
#include "dmPPFxStereoToolboxSettings.h"
#include "dmPSetHelper.h"
#include "dmPaintLayer.h"
#include "dmPictureEffects.h"
#include "dmResizeSettings.h"
#include "dmTextSettings.h"
#include "dmTimewarpSettings.h"
#include "dmTransformEffects.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

namespace
{

using Names = std::vector<std::string>;

template <class T>
EffectClass row(const char* className, const char* typeName, const char* use, Names properties, Names attributes,
                Names channels, Names defaultAttributes = {})
{
    using AttributId = typename T::AttributId;
    using ChannelId = typename T::ChannelId;
    return {className,
            typeName,
            use,
            std::move(properties),
            std::move(attributes),
            std::move(channels),
            std::move(defaultAttributes),
            [] { return CoSharedPtr<DmEffectSettings>(T::create()); },
            [](int id) -> const DmString& { return T::getAttributName(AttributId{id}); },
            [](int id) -> const DmString& { return T::getChannelName(ChannelId{id}); },
            [](const DmEffectSettings& effect, int id)
            { return static_cast<const T&>(effect).getAttribut(AttributId{id}); },
            [](DmEffectSettings& effect, int id, const CoSharedPtr<DmSimpleChannel>& attribut)
            { return static_cast<T&>(effect).setAttribut(AttributId{id}, attribut); },
            [](const DmEffectSettings& effect, int id)
            { return static_cast<const T&>(effect).getChannel(ChannelId{id}); },
            [](const DmEffectSettings& effect, int id)
            { return static_cast<const T&>(effect).getExistingChannel(ChannelId{id}); },
            [](DmEffectSettings& effect, int id, const CoSharedPtr<DmAnimationChannel>& channel)
            { return static_cast<T&>(effect).setChannel(ChannelId{id}, channel); }};
}

const Names none;
const Names focusAtStart{"focusAlignment=FOCUS_START"};

const Names timewarpAttributes{"renderType", "renderMode", "initCurveMode", "fieldInterpMode", "samplingMode"};
const Names timewarpChannels{"timing", "speed", "mix", "pre_trail", "pre_weight", "post_trail", "post_weight"};
const Names convertAttributes{"convert_type",
                              "convert_filter",
                              "alpha",
                              "blur",
                              "adaptive_state",
                              "adaptive_tolerance",
                              "fieldUsed",
                              "widescreenMode",
                              "aspect_ratio",
                              "destination_width",
                              "destination_height",
                              "destination_aspect",
                              "destination_depth"};

/// The properties of every layer, and those that a kind of layer adds.
Names layer(const Names& own)
{
    Names properties{"startFrame Int 0", "duration UInt 0",   "hold Bool false",
                     "ghost Bool false", "ghostAfter UInt 3", "ghostBefore UInt 3"};
    properties.insert(properties.end(), own.begin(), own.end());
    return properties;
}

} // namespace

const std::vector<EffectClass>& effectClasses()
{
    static const std::vector<EffectClass> classes{
        // Video.
        row<DmPPFxSettings>("DmPPFxSettings", "PPFx", "segment video", none, none, none),
        row<DmPPFxTWSettings>("DmPPFxTWSettings", "PPFxTW", "segment video",
                              {"strobeMode Bool false", "isConstantSpeed Bool true", "speed Double 1",
                               "strobeRepeat Int 1", "mix Float 0", "originalRelIn Double 0", "twDuration Double 0",
                               "extraTimingOffset Double 0 optional", "offsetTimingWithRelIn Bool false optional",
                               "forceDuration Bool false optional"},
                              timewarpAttributes, timewarpChannels),
        row<DmPPFxCCSettings>("DmPPFxCCSettings", "PPFxCC", "segment video", none, none, none),
        row<DmPPFxCWSettings>("DmPPFxCWSettings", "PPFxCW", "segment video", none, none, none),
        row<DmPPFxFlexletSettings>("DmPPFxFlexletSettings", "PPFxFlexlet", "segment video", {"presetName String "},
                                   none, none),
        row<DmPPFxCompSettings>("DmPPFxCompSettings", "PPFxComp", "segment video", none, none, none),
        row<DmPPFxResizeSettings>("DmPPFxResizeSettings", "PPFxResize", "segment video",
                                  {"backgroundColourRed Float 0 optional", "backgroundColourGreen Float 0 optional",
                                   "backgroundColourBlue Float 0 optional", "propScaling Bool true optional",
                                   "preserveAspect Bool true optional"},
                                  convertAttributes,
                                  {"pos_x", "pos_y", "scale_x", "scale_y", "width", "height", "center_x", "center_y"}),
        row<DmPPFxStereoToolboxSettings>(
            "DmPPFxStereoToolboxSettings", "PPFxStereoToolbox", "segment video", {"FWAligment Int 0"}, none,
            {"XConvergence", "FloatingWindow_BL", "FloatingWindow_TL", "FloatingWindow_TR", "FloatingWindow_BR",
             "FloatingWindow_PRS", "FloatingWindow_PRS", "FloatingWindow_Offset", "FloatingWindow_Aux"}),
        row<DmPPFxLetterboxSettings>("DmPPFxLetterboxSettings", "PPFxLetterbox", "segment video",
                                     {"aspectMode Int 0", "offset Double 0", "ratio Double 1.777777778",
                                      "colourRed Float 0", "colourGreen Float 0", "colourBlue Float 0"},
                                     none, none),
        row<DmColourSettings>("DmColourSettings", "Colour", "segment video", {"correctionType Int 0"},
                              {"rewireModeRed", "rewireModeGreen", "rewireModeBlue"},
                              {"hueShift", "saturation", "contrast", "gain", "offset", "redGain", "redOffset",
                               "greenGain", "greenOffset", "blueGain", "blueOffset", "gamma", "redGamma", "greenGamma",
                               "blueGamma", "balanceGain", "balanceHue"}),
        row<DmCompSettings>("DmCompSettings", "Comp", "segment video", {"matteInvert Bool false optional"},
                            {"compositeMode"}, {"transparency"}),
        row<DmVTimewarpSettings>("DmVTimewarpSettings", "VTimewarp", "segment video",
                                 {"strobeMode Bool false", "isConstantSpeed Bool true", "speed Double 1",
                                  "strobeRepeat Int 1", "mix Float 0", "originalRelIn Double 0"},
                                 timewarpAttributes, timewarpChannels),
        row<DmResizeSettings>(
            "DmResizeSettings", "Resize", "segment video",
            {"length Double 0", "preserveAspect Bool true", "borderColorRed Float 0", "borderColorGreen Float 0",
             "borderColorBlue Float 0"},
            convertAttributes,
            {"width", "height", "left", "right", "bottom", "top", "center_x", "center_y", "scale_x", "scale_y"}),
        row<DmQuillSettings>("DmQuillSettings", "Quill", "segment video", {"inputs Vector-Int", "pathName String "},
                             none, none),
        row<DmAxisSettings>("DmAxisSettings", "Axis", "both video",
                            {"keyerSetupFile String ", "keyerSetupOutside Bool false", "propScaling Bool true",
                             "length Double 0", "swap Bool false", "convergence Float 0"},
                            {"focusAlignment", "renderMode", "surfaceBlendMode", "iPrsAlign", "iPartialAxis"},
                            {"layerPositionX",
                             "layerPositionY",
                             "layerPositionZ",
                             "layerScaleX",
                             "layerScaleY",
                             "layerScaleZ",
                             "layerRotationX",
                             "layerRotationY",
                             "layerRotationZ",
                             "layerShearX",
                             "layerShearY",
                             "layerShearZ",
                             "transparency",
                             "cropLeft",
                             "cropRight",
                             "cropBottom",
                             "cropTop",
                             "cropSoftness",
                             "surfacePositionTLX",
                             "surfacePositionTLY",
                             "surfacePositionBLX",
                             "surfacePositionBLY",
                             "surfacePositionTRX",
                             "surfacePositionTRY",
                             "surfacePositionBRX",
                             "surfacePositionBRY",
                             "offsetPositionX",
                             "offsetPositionY",
                             "offsetPositionZ",
                             "offsetScaleX",
                             "offsetScaleY",
                             "offsetScaleZ",
                             "offsetRotationX",
                             "offsetRotationY",
                             "offsetRotationZ",
                             "offsetShearX",
                             "offsetShearY",
                             "offsetShearZ",
                             "shadowColorRed",
                             "shadowColorGreen",
                             "shadowColorBlue",
                             "shadowSoftness",
                             "shadowTransparency",
                             "shadowPosX",
                             "shadowPosY",
                             "blurX",
                             "blurY",
                             "keyerAxisPosX",
                             "keyerAxisPosY",
                             "keyerAxisScaleX",
                             "keyerAxisScaleY",
                             "keyerLumTolerance",
                             "iPosX",
                             "iPosY",
                             "iScaleX",
                             "iScaleY",
                             "iRotZ",
                             "iPrs",
                             "iPrsOffset",
                             "iPrsAux",
                             "iFwBL",
                             "iFwTL",
                             "iFwTR",
                             "iFwBR"},
                            focusAtStart),
        row<DmLookSettings>("DmLookSettings", "Look", "both video",
                            {"SlopeR Double 1 optional", "SlopeG Double 1 optional", "SlopeB Double 1 optional",
                             "OffsetR Double 0 optional", "OffsetG Double 0 optional", "OffsetB Double 0 optional",
                             "PowerR Double 1 optional", "PowerG Double 1 optional", "PowerB Double 1 optional",
                             "Saturation Double 1 optional"},
                            none, none, focusAtStart),
        row<DmWipeSettings>("DmWipeSettings", "Wipe", "both video",
                            {"length Double 0", "smptePattern Int 1", "positionX Float 0", "positionY Float 0",
                             "rotationZ Float 0", "softness Float 0", "inverted Bool false", "scaleX Float 1",
                             "scaleY Float 1", "scaleZ Float 1"},
                            {"focusAlignment", "renderMode", "startPosition"}, {"dummy"}, focusAtStart),
        row<DmFlipSettings>("DmFlipSettings", "Flip", "segment video",
                            {"orientationType String ", "domCorrectionType String "}, none, none),
        row<DmSVGSettings>("DmSVGSettings", "SVG", "segment video", {"svg String "}, none, none),
        row<DmAngularMaskSettings>(
            "DmAngularMaskSettings", "AngularMask", "segment video",
            {"pivotX Double 0 optional", "pivotY Double 0 optional", "angleInRadians Float 0 optional"}, none, none),
        row<DmPPFxActionSettings>("DmPPFxActionSettings", "PPFxAction", "both video",
                                  {"propScaling Bool true", "length Double 0", "swap Bool false",
                                   "backgroundColourRed Float 0", "backgroundColourGreen Float 0",
                                   "backgroundColourBlue Float 0", "useBack Bool false optional",
                                   "activeShadow Bool false optional", "matteInvert Bool false optional"},
                                  {"focusAlignment", "renderMode", "surfaceBlendMode"},
                                  {"imagePositionX",  "imagePositionY",   "imagePositionZ",     "imageScaleX",
                                   "imageScaleY",     "imageScaleZ",      "imageRotationX",     "imageRotationY",
                                   "imageRotationZ",  "imageShearX",      "imageShearY",        "imageShearZ",
                                   "transparency",    "cropLeft",         "cropRight",          "cropBottom",
                                   "cropTop",         "cropSoftnessLeft", "cropSoftnessRight",  "cropSoftnessBottom",
                                   "cropSoftnessTop", "shadowColorRed",   "shadowColorGreen",   "shadowColorBlue",
                                   "shadowSoftnessX", "shadowSoftnessY",  "shadowTransparency", "shadowPosX",
                                   "shadowPosY",      "blurWidth",        "blurHeight",         "blurMWidth",
                                   "blurMHeight"},
                                  focusAtStart),
        row<DmDDTransformSettings>(
            "DmDDTransformSettings", "DDTransform", "segment video", {"propScaling Bool true optional"}, none,
            {"positionX", "positionY",    "positionZ", "scaleX",    "scaleY",     "scaleZ",  "rotationX",
             "rotationY", "rotationZ",    "shearX",    "shearY",    "shearZ",     "centerX", "centerY",
             "centerZ",   "transparency", "cropLeft",  "cropRight", "cropBottom", "cropTop", "cropSoftness"}),
        row<DmVDissolveSettings>("DmVDissolveSettings", "VDissolve", "both video",
                                 {"length Double 0", "hasToFromColor Bool false", "toFromColorRed Float 0",
                                  "toFromColorGreen Float 0", "toFromColorBlue Float 0"},
                                 {"focusAlignment", "renderMode", "type", "curve_type", "blend_type"}, {"mix"},
                                 {"blend_type=", "curve_type=", "focusAlignment=", "renderMode=", "type="}),

        // Audio.
        row<DmAudioGateSettings>("DmAudioGateSettings", "AudioGate", "segment audio", none, none,
                                 {"threshold", "floor", "ratio", "attack", "hold", "release", "output_gain"}),
        row<DmAudioCompressionSettings>(
            "DmAudioCompressionSettings", "AudioCompression", "segment audio", none, none,
            {"threshold", "knee", "type", "ratio", "attack", "release", "auto_release", "output_gain"}),
        row<DmAudioEQSettings>("DmAudioEQSettings", "AudioEQ", "segment audio", none, none,
                               {"high_type", "high_freq", "high_gain", "high_Q", "high_mute", "mid_type", "mid_freq",
                                "mid_gain", "mid_Q", "mid_mute", "low_type", "low_freq", "low_gain", "low_Q",
                                "low_mute"}),
        row<DmAudioDeEsserSettings>("DmAudioDeEsserSettings", "AudioDeEsser", "segment audio", none, none,
                                    {"type", "freq", "range", "threshold", "monitor"}),
        row<DmAudioGainSettings>("DmAudioGainSettings", "AudioGain", "segment audio", none, none, {"gain"}),
        row<DmAudioReverbSendSettings>("DmAudioReverbSendSettings", "AudioReverbSend", "segment audio", none, none,
                                       {"reverb_amount"}),
        row<DmAudioDelaySendSettings>("DmAudioDelaySendSettings", "AudioDelaySend", "segment audio", none, none,
                                      {"delay_amount"}),
        row<DmAudioModSendSettings>("DmAudioModSendSettings", "AudioModSend", "segment audio", none, none,
                                    {"mod_amount"}),
        row<DmATimewarpSettings>(
            "DmATimewarpSettings", "ATimewarp", "segment audio",
            {"length Double 0", "ratio Float 1", "pitch Float 1", "rhythm Float 0", "quality Int 2"}, none, none),
        row<DmADissolveSettings>("DmADissolveSettings", "ADissolve", "transition audio",
                                 {"length Double 0", "hasToFromColor Bool false"}, {"focusAlignment"}, none,
                                 {"focusAlignment="}),
        row<DmDefaultFxSettings>("DmDefaultFxSettings", "DefaultFx", "both video", {"length Double 0"}, none, none,
                                 focusAtStart),

        // Layers.
        row<DmEffectLayer>("DmEffectLayer", "Effect", "neither video", layer({}), none, none),
        row<DmTextLayer>(
            "DmTextLayer", "Text", "neither video",
            layer({"paragraphs Vector-Property-Set", "background Bool false", "bgColorRed Float 0",
                   "bgColorGreen Float 0", "bgColorBlue Float 0", "bgOpacity Float 1"}),
            {"rollCrawlMode"},
            {"layerPositionX", "layerPositionY", "layerScaleX", "layerScaleY", "layerRotation", "layerTransparency"}),
        row<DmPaintLayer>("DmPaintLayer", "Paint", "neither video", layer({"strokes Vector-Property-Set"}), none, none),

        // Text and paint.
        row<DmTextSettings>("DmTextSettings", "Text", "segment video",
                            {"layers Vector-Property-Set", "cropEnabled Bool false", "cropLeft Int 0",
                             "cropRight Int 0", "cropBottom Int 0", "cropTop Int 0"},
                            none, none),
        row<DmTextParagraph>("DmTextParagraph", "Text", "neither video",
                             {"textStr String ", "imagePath String ", "fontName String ", "fontStyle Int 3",
                              "fontDir String ", "outline Bool false", "italicAngle Int 0", "indentation Float 0",
                              "width Float 0", "underline Bool false", "dropShadow Bool false"},
                             {"fontEffect", "fontType", "justification"},
                             {"fontSize",
                              "fontKerning",
                              "fontLeading",
                              "fontColorRed",
                              "fontColorGreen",
                              "fontColorBlue",
                              "fontOpacity",
                              "fontSoftness",
                              "outWidth",
                              "outColorRed",
                              "outColorGreen",
                              "outColorBlue",
                              "outOpacity",
                              "underlineWidth",
                              "underlineColorRed",
                              "underlineColorGreen",
                              "underlineColorBlue",
                              "underlineOpacity",
                              "dropShadowColorRed",
                              "dropShadowColorGreen",
                              "dropShadowColorBlue",
                              "dropShadowOpacity",
                              "dropShadowSoftness",
                              "scaleX",
                              "scaleY",
                              "rotation"}),
        row<DmAnnotationSettings>("DmAnnotationSettings", "Annotation", "segment video", {"layers Vector-Property-Set"},
                                  none, none),
    };
    return classes;
}

std::vector<std::string> describeProperties(const DmPropertySet& set, int first)
{
    std::vector<std::string> descriptions;
    const DmPropertySetData& data = set.classData();
    for (int i = first; i < data.size(); ++i)
    {
        const DmPropertyDef& def = *data.at(i);
        std::string text = def._utf8Name + ' ' + dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
        DmString value;
        if (dmIsAtomic(def._type) && def._type != DM_PROPERTY_SET &&
            set.getStrFromPropertyValue(i, def._type, value, nullptr) == DM_NO_ERROR)
            text += ' ' + dmUtf8(value);
        if (def._skipIfDefault)
            text += " optional";
        descriptions.push_back(text);
    }
    return descriptions;
}
