/// A thirty-second commercial at 25 frames: short shots, dissolves, a grade, music and a voice.
#include "editing.h"

#include <iterator>

namespace examples
{
namespace
{

constexpr Format format{DM::FCM_25, 1920, 1080, L"Rec.709", L"soda"};

constexpr Material orchard{L"orchard dawn", L"A001C002", L"/media/soda/A001C002.mxf", 900125.0, 412.0};
constexpr Material hands{L"hands picking", L"A001C005", L"/media/soda/A001C005.mxf", 903050.0, 260.0};
constexpr Material crate{L"crate drop", L"A001C007", L"/media/soda/A001C007.mxf", 904800.0, 180.0};
constexpr Material slice{L"slice macro", L"A002C001", L"/media/soda/A002C001.mxf", 990000.0, 300.0};
constexpr Material bubbles{L"bubbles 100 fps", L"A002C003", L"/media/soda/A002C003.mxf", 992210.0, 640.0};
constexpr Material terrace{L"terrace \u00e9t\u00e9", L"A003C004", L"/media/soda/A003C004.mxf", 1080300.0, 380.0};
constexpr Material toast{L"toast", L"A003C006", L"/media/soda/A003C006.mxf", 1082000.0, 210.0};
constexpr Material packShot{L"pack shot", L"VFX010_v07", L"/media/soda/vfx/VFX010_v07.mov", 25025.0, 200.0};
constexpr Material music{L"mx lemon v3", L"MX", L"/media/soda/audio/mx_lemon_v3.wav", 0.0, 900.0};
constexpr Material voice{L"vo take 4", L"VO", L"/media/soda/audio/vo_take4.wav", 0.0, 600.0};

/// A warm grade that opens up over the shot.
CoSharedPtr<DmColourSettings> warmGrade(float saturation, float lengthInFrames)
{
    using Channel = DmColourSettings::ChannelId;
    CoSharedPtr<DmColourSettings> colour = DmColourSettings::create();
    setConstant(colour->getChannel(Channel::saturation), saturation);
    setConstant(colour->getChannel(Channel::redGain), 1.06F);
    setConstant(colour->getChannel(Channel::blueGain), 0.94F);
    animate(colour->getChannel(Channel::gain), {{0.0F, 0.85F}, {lengthInFrames / 2, 0.97F}, {lengthInFrames, 1.0F}});
    return colour;
}

CoSharedPtr<DmLookSettings> productLook()
{
    CoSharedPtr<DmLookSettings> look = DmLookSettings::create();
    must(look->setSlopeR(1.08));
    must(look->setSlopeG(1.02));
    must(look->setSlopeB(0.97));
    must(look->setOffsetB(-0.004));
    must(look->setPowerG(0.98));
    must(look->setSaturation(1.15));
    return look;
}

void cutPictures(DmCompositionNode& edit)
{
    const struct
    {
        Clip clip;
        double dissolve; ///< from the shot before; 0 is a cut
        float saturation;
    } shots[] = {
        {{orchard, 88.0, 100.0}, 0.0, 1.05F},  {{hands, 62.0, 40.0}, 12.0, 1.1F},
        {{crate, 50.0, 30.0}, 0.0, 1.1F},      {{slice, 84.0, 75.0}, 0.0, 1.3F},
        {{bubbles, 96.0, 220.0}, 16.0, 1.25F}, {{terrace, 110.0, 60.0}, 12.0, 1.1F},
        {{toast, 72.0, 48.0}, 0.0, 1.1F},
    };
    const CoSharedPtr<DmTrackNode> track = addTrack(edit, 1, DM_MEDIA_VIDEO);
    Layer layer(*track, 0, format);
    for (const auto& shot : shots)
    {
        if (shot.dissolve > 0.0)
            layer.dissolve(shot.dissolve);
        DmSourceNode& source = layer.clip(shot.clip);
        must(source.setShotName(shot.clip.material.name));
        must(source.addEffect(warmGrade(shot.saturation, static_cast<float>(shot.clip.length))));
    }
    layer.dissolve(18.0);
    must(layer.clip({packShot, 105.0, 25.0}).addEffect(productLook()));
    const CoSharedPtr<DmVDissolveSettings> fade = DmVDissolveSettings::create();
    must(fade->setLength(15.0));
    must(fade->setHasToFromColor(true));
    must(fade->setToFromColor(255.0F, 0.0F, 0.0F, 0.0F));
    layer.transition(fade, 15.0);
    layer.generated(L"INPUT_BLACK", 10.0);
    must(edit.setCompLength(layer.time()));
}

void laySounds(DmCompositionNode& edit)
{
    const double length = edit.getCompLength();
    {
        const CoSharedPtr<DmTrackNode> track = addTrack(edit, 1, DM_MEDIA_AUDIO);
        Layer layer(*track, 0, format);
        const CoSharedPtr<DmAudioGainSettings> gain = DmAudioGainSettings::create();
        // Down under the voice, and out with the picture.
        animate(gain->getChannel(DmAudioGainSettings::ChannelId::gain),
                {{0.0F, 0.0F}, {340.0F, 0.0F}, {352.0F, -9.0F}, {600.0F, -9.0F}, {612.0F, 0.0F}, {745.0F, -60.0F}});
        must(layer.clip({music, length}).addEffect(gain));
    }
    const CoSharedPtr<DmTrackNode> track = addTrack(edit, 2, DM_MEDIA_AUDIO);
    Layer layer(*track, 0, format);
    layer.gap(350.0);
    layer.clip({voice, 250.0, 75.0});
    layer.gap(length - layer.time());
}

} // namespace

CoSharedPtr<DmRoot> makeCommercial()
{
    CoSharedPtr<DmRoot> root = makeRoot(L"Lemon soda, spring campaign", L"ines", L"2024-03-11");
    const CoSharedPtr<DmCompositionNode> edit = makeComposition(L"Lemon soda 30\"", format, "10:00:00:00");
    cutPictures(*edit);
    laySounds(*edit);
    must(edit->addCueMark(makeMark(L"voice", L"first word", 362.0, 255, 200, 0)));
    must(edit->addCueMark(makeMark(L"logo", L"legal line must be readable from here on", 640.0, 0, 160, 255)));
    root->addChild(edit);
    return root;
}

CoSharedPtr<DmRoot> makeCommercialWithMistakes()
{
    CoSharedPtr<DmRoot> root = makeCommercial();
    auto* const edit = static_cast<DmCompositionNode*>(root->getChild(0));
    auto* const pictures = static_cast<DmLayerNode*>(edit->getChild(0)->getChild(0));
    constexpr int crateAt = 4;
    constexpr int cutBehindCrate = 5;
    must(static_cast<DmSourceNode*>(pictures->getChild(crateAt))->setRelIn(150.0));
    pictures->removeChild(cutBehindCrate);
    return root;
}

} // namespace examples
