/// A news piece at 29.97 drop frame: cuts on the picture, and most of the work in the sound.
#include "editing.h"

namespace examples
{
namespace
{

constexpr Format format{DM::FCM_29_97_DF, 1920, 1080, L"Rec.709", L"news"};

constexpr Material standUp{L"stand-up bridge", L"CAM1_0417", L"/ingest/0417/CAM1_0417.mxf", 1294704.0, 2700.0};
constexpr Material mayor{L"interview mayor", L"CAM1_0418", L"/ingest/0417/CAM1_0418.mxf", 1302300.0, 9000.0};
constexpr Material engineer{L"interview engineer", L"CAM2_0033", L"/ingest/0417/CAM2_0033.mxf", 1402588.0, 6200.0};
constexpr Material river{L"river high water", L"DRONE_07", L"/ingest/0417/DRONE_07.mov", 0.0, 1800.0};
constexpr Material sandbags{L"sandbags", L"CAM2_0031", L"/ingest/0417/CAM2_0031.mxf", 1399000.0, 1500.0};
constexpr Material pumps{L"pumps at night", L"CAM2_0036", L"/ingest/0417/CAM2_0036.mxf", 1410004.0, 1350.0};
constexpr Material archive{L"archive flood 2002", L"LIB_88213", L"/library/88213.mxf", 107892.0, 900.0};
constexpr Material narration{L"track correspondent", L"VO_0417", L"/ingest/0417/VO_0417.wav", 0.0, 4000.0};

constexpr Clip pictures[] = {
    {river, 210.0, 300.0},    {sandbags, 135.0, 90.0},   {standUp, 360.0, 450.0}, {mayor, 420.0, 3120.0},
    {pumps, 165.0, 60.0},     {engineer, 390.0, 1815.0}, {archive, 180.0, 240.0}, {river, 240.0, 900.0},
    {sandbags, 120.0, 700.0}, {standUp, 330.0, 1500.0},
};

/// What makes a voice intelligible behind traffic.
void cleanVoice(DmSourceNode& clip)
{
    using Eq = DmAudioEQSettings::ChannelId;
    const CoSharedPtr<DmAudioEQSettings> eq = DmAudioEQSettings::create();
    setConstant(eq->getChannel(Eq::low_freq), 120.0F);
    setConstant(eq->getChannel(Eq::low_gain), -12.0F);
    setConstant(eq->getChannel(Eq::mid_freq), 2800.0F);
    setConstant(eq->getChannel(Eq::mid_gain), 2.5F);
    must(clip.addEffect(eq));

    using Compressor = DmAudioCompressionSettings::ChannelId;
    const CoSharedPtr<DmAudioCompressionSettings> compressor = DmAudioCompressionSettings::create();
    setConstant(compressor->getChannel(Compressor::threshold), -18.0F);
    setConstant(compressor->getChannel(Compressor::ratio), 3.0F);
    setConstant(compressor->getChannel(Compressor::output_gain), 4.0F);
    must(clip.addEffect(compressor));
}

/// Location sound of every picture, cross-faded, low where somebody narrates.
void layLocationSound(DmCompositionNode& edit)
{
    constexpr double crossFade = 6.0;
    const CoSharedPtr<DmTrackNode> track = addTrack(edit, 1, DM_MEDIA_AUDIO);
    Layer layer(*track, 0, format);
    bool isFirst = true;
    for (const Clip& picture : pictures)
    {
        if (!isFirst)
            layer.dissolve(crossFade);
        // What the cross-fade takes, the sound in front of it gives.
        const bool isLast = &picture == std::end(pictures) - 1;
        DmSourceNode& clip = layer.clip({picture.material, picture.length - (isLast ? 0.0 : crossFade), picture.relIn});
        const bool speaks =
            &picture.material == &standUp || &picture.material == &mayor || &picture.material == &engineer;
        if (speaks)
            cleanVoice(clip);
        else
        {
            const CoSharedPtr<DmAudioGainSettings> gain = DmAudioGainSettings::create();
            animate(gain->getChannel(DmAudioGainSettings::ChannelId::gain), {{0.0F, -6.0F}, {20.0F, -14.0F}});
            must(clip.addEffect(gain));
        }
        isFirst = false;
    }
}

/// The correspondent, wherever nobody else speaks.
void layNarration(DmCompositionNode& edit)
{
    const CoSharedPtr<DmTrackNode> track = addTrack(edit, 2, DM_MEDIA_AUDIO);
    Layer layer(*track, 0, format);
    double read = 30.0; // into the recording
    for (const Clip& picture : pictures)
    {
        const bool speaks =
            &picture.material == &standUp || &picture.material == &mayor || &picture.material == &engineer;
        if (speaks)
            layer.gap(picture.length);
        else
            cleanVoice(layer.clip({narration, picture.length, read}));
        read += speaks ? 0.0 : picture.length + 15.0;
    }
}

} // namespace

CoSharedPtr<DmRoot> makeNews()
{
    CoSharedPtr<DmRoot> root = makeRoot(L"High water", L"ktanaka", L"2024-04-17");
    const CoSharedPtr<DmCompositionNode> edit = makeComposition(L"High water, 18:00 package", format, "01;00;00;00");
    const CoSharedPtr<DmTrackNode> video = addTrack(*edit, 1, DM_MEDIA_VIDEO);
    {
        Layer layer(*video, 0, format);
        for (const Clip& picture : pictures)
            must(layer.clip(picture).setShotName(picture.material.name));
        must(edit->setCompLength(layer.time()));
    }
    layLocationSound(*edit);
    layNarration(*edit);
    must(edit->addCueMark(makeMark(L"super", L"Mayor A. Lindqvist", 735.0, 255, 255, 255)));
    must(edit->addCueMark(makeMark(L"super", L"Archive, August 2002", 1710.0, 255, 255, 255)));
    root->addChild(edit);
    return root;
}

} // namespace examples
