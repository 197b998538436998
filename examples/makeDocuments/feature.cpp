/// Reel 3 of a feature at 23.976: film scans, a nested visual-effects shot, speed changes, a title, scene marks.
#include "editing.h"

#include <utility>

namespace examples
{
namespace
{

constexpr Format format{DM::FCM_23_976, 4096, 1716, L"ACEScct", L"r3"};
constexpr Format insideShot{DM::FCM_23_976, 4096, 1716, L"ACEScct", L"vfx0340"};

constexpr Material station{L"042-3 station wide", L"B114", L"/scans/B114/042-3.0086400.dpx", 86400.0, 1440.0};
constexpr Material nora{L"042A-5 Nora close", L"B114", L"/scans/B114/042A-5.0088210.dpx", 88210.0, 980.0};
constexpr Material train{L"042B-1 train arrives", L"B115", L"/scans/B115/042B-1.0172800.dpx", 172800.0, 2100.0};
constexpr Material crowd{L"042C-2 crowd", L"B115", L"/scans/B115/042C-2.0175330.dpx", 175330.0, 760.0};
constexpr Material letter{L"043-4 insert letter", L"B116", L"/scans/B116/043-4.0259200.dpx", 259200.0, 620.0};
constexpr Material window{L"043-7 window rain", L"B116", L"/scans/B116/043-7.0260400.dpx", 260400.0, 900.0};
constexpr Material street{L"044-1 street dusk", L"B119", L"/scans/B119/044-1.0345600.dpx", 345600.0, 1900.0};
constexpr Material plate{L"VFX0340 plate", L"B117", L"/scans/B117/VFX0340.0266100.dpx", 266100.0, 300.0};
constexpr Material skyline{L"VFX0340 skyline", L"CG", L"/vfx/0340/comp_v012.1001.exr", 1001.0, 260.0};
constexpr Material dialogue{L"042 dialogue", L"SR042", L"/sound/SR042_mix.wav", 86400.0, 6000.0};

/// The scan's key code: where the frame is on the negative.
void setKeyCode(DmSourceNode& clip, int prefix, int feet)
{
    const CoSharedPtr<DmKKInfo> keyCode = DmKKInfo::create();
    must(keyCode->setManuf('K'));
    must(keyCode->setFilmID('J'));
    must(keyCode->setPrefix(prefix));
    must(keyCode->setCount(feet));
    must(keyCode->setFilmGauge(L"35mm 4p"));
    must(keyCode->setIsValid(true));
    must(clip.getSrcInput()->getSrcInfo()->setKkInfo(keyCode));
}

/// Half speed all through.
CoSharedPtr<DmPPFxTWSettings> slowMotion(double length)
{
    CoSharedPtr<DmPPFxTWSettings> timewarp = DmPPFxTWSettings::create();
    must(timewarp->setSpeed(0.5));
    must(timewarp->setMix(0.5F));
    must(timewarp->setTwDuration(length));
    return timewarp;
}

/// Normal speed that ramps down to a quarter: which frame of the material plays at which frame of the clip.
CoSharedPtr<DmPPFxTWSettings> speedRamp()
{
    CoSharedPtr<DmPPFxTWSettings> timewarp = DmPPFxTWSettings::create();
    must(timewarp->setConstantSpeed(false));
    animate(timewarp->getChannel(DmTimewarpSettings::ChannelId::timing),
            {{0.0F, 0.0F}, {48.0F, 48.0F}, {96.0F, 72.0F}, {192.0F, 96.0F}});
    return timewarp;
}

CoSharedPtr<DmColourSettings> dusk()
{
    using Channel = DmColourSettings::ChannelId;
    CoSharedPtr<DmColourSettings> colour = DmColourSettings::create();
    setConstant(colour->getChannel(Channel::saturation), 0.82F);
    setConstant(colour->getChannel(Channel::blueGamma), 1.12F);
    must(colour->setSetup(L"Day for night.\nKeep the lamp in the window warm.\n"));
    return colour;
}

/// Where and when: two lines, lower left, faded in.
CoSharedPtr<DmTextSettings> placeTitle()
{
    using Channel = DmTextParagraph::ChannelId;
    const CoSharedPtr<DmTextLayer> layer = DmTextLayer::create();
    layer->setFrameRange(24, 96);
    setConstant(layer->getChannel(DmTextLayer::ChannelId::layerPositionX), -1400.0F);
    setConstant(layer->getChannel(DmTextLayer::ChannelId::layerPositionY), -560.0F);
    for (const auto& [text, size] : {std::pair(L"Tr\u00f3polis", 96.0F), {L"October 1944", 64.0F}})
    {
        const CoSharedPtr<DmTextParagraph> paragraph = DmTextParagraph::create();
        must(paragraph->setTextStr(text));
        must(paragraph->setFontName(L"DejaVu Sans"));
        must(paragraph->setDropShadow(true));
        setConstant(paragraph->getChannel(Channel::fontSize), size);
        animate(paragraph->getChannel(Channel::fontOpacity), {{24.0F, 0.0F}, {36.0F, 1.0F}});
        must(layer->addParagraph(paragraph));
    }
    CoSharedPtr<DmTextSettings> title = DmTextSettings::create();
    must(title->addLayer(layer));
    return title;
}

/// A shot that was made of two pictures: the plate below, the skyline on a layer above it.
CoSharedPtr<DmCompositionNode> makeShot()
{
    CoSharedPtr<DmCompositionNode> shot = makeComposition(L"VFX0340", insideShot, "00:00:41:17");
    must(shot->setIsContainerComp(true));
    must(shot->setCompLength(168.0));
    const CoSharedPtr<DmTrackNode> lower = addTrack(*shot, 1, DM_MEDIA_VIDEO);
    Layer(*lower, 0, insideShot).clip({plate, 168.0, 40.0});
    const CoSharedPtr<DmTrackNode> upper = addTrack(*shot, 2, DM_MEDIA_VIDEO);
    Layer layer(*upper, 0, insideShot);
    layer.gap(24.0);
    must(layer.clip({skyline, 144.0, 8.0}).addEffect(dusk()));
    return shot;
}

void cutPictures(DmCompositionNode& edit)
{
    const CoSharedPtr<DmTrackNode> track = addTrack(edit, 1, DM_MEDIA_VIDEO);
    Layer layer(*track, 0, format);
    DmSourceNode& opening = layer.clip({station, 312.0, 96.0});
    setKeyCode(opening, 123456, 4011);
    must(opening.addEffect(placeTitle()));
    setKeyCode(layer.clip({nora, 144.0, 210.0}), 123456, 4124);
    DmSourceNode& arrival = layer.clip({train, 192.0, 480.0});
    must(arrival.addEffect(speedRamp()));
    must(arrival.addSegmentMark(makeMark(L"whistle", L"sync with the effect track", 48.0, 0, 255, 0)));
    must(layer.clip({crowd, 240.0, 60.0}).addEffect(slowMotion(240.0)));
    const CoSharedPtr<DmWipeSettings> wipe = DmWipeSettings::create();
    must(wipe->setLength(36.0));
    must(wipe->setSmptePattern(1));
    must(wipe->setSoftness(0.25F));
    layer.transition(wipe, 36.0);
    layer.clip({letter, 168.0, 120.0});
    layer.clip({window, 264.0, 200.0});
    layer.dissolve(48.0);
    layer.container(makeShot(), L"VFX0340", 168.0);
    must(layer.clip({street, 420.0, 300.0}).addEffect(dusk()));
    must(edit.setCompLength(layer.time()));
}

} // namespace

CoSharedPtr<DmRoot> makeFeature()
{
    CoSharedPtr<DmRoot> root = makeRoot(L"The Last Platform", L"m.okafor", L"2024-05-14");
    const CoSharedPtr<DmReelNode> reel = DmReelNode::create();
    must(reel->setName(L"Reel 3"));
    const CoSharedPtr<DmCompositionNode> edit = makeComposition(L"Reel 3, locked cut", format, "03:00:00:00");
    cutPictures(*edit);
    const CoSharedPtr<DmTrackNode> sound = addTrack(*edit, 1, DM_MEDIA_AUDIO);
    Layer(*sound, 0, format).clip({dialogue, edit->getCompLength()});
    const struct
    {
        const wchar_t* scene;
        const wchar_t* what;
        double time;
    } scenes[] = {{L"42", L"the station", 0.0}, {L"43", L"the letter", 924.0}, {L"44", L"the street", 1572.0}};
    for (const auto& mark : scenes)
        must(edit->addCueMark(makeMark(mark.scene, mark.what, mark.time, 200, 0, 120)));
    reel->addChild(edit);
    root->addReel(reel);
    return root;
}

} // namespace examples
