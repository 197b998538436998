/// Trees of any size for benchmarks: one long edit whose segments all differ, each with its input and source info, a
/// grade with a curve, and every fourth with a resize; cuts between them.
///
///     const CoSharedPtr<DmRoot> root = zrDocuments::make(10'000);
///
/// makePlain: the same of clips without format and grade.
#pragma once

#include <ZRdmtree.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace zrDocuments
{

[[noreturn]] inline void giveUp(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(1);
}

inline void must(eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        giveUp(dmUtf8(DmPSetHelper::getStrFromError(status)));
}

inline void must(const DmStatus& status)
{
    if (status.failed())
        giveUp(dmUtf8(status.info()));
}

/// A name with a number in it.
inline DmString numbered(const wchar_t* format, int number)
{
    wchar_t text[64];
    std::swprintf(text, 64, format, number);
    return text;
}

inline void animate(const CoSharedPtr<DmAnimationChannel>& channel, int seed, int keys)
{
    for (int i = 0; i < keys; ++i)
    {
        const float value = 0.8F + static_cast<float>((seed + i * 37) % 1000) / 2500.0F;
        must(channel->addKeyFrame(DmKeyFrame::create2(static_cast<float>(i * 24), value, {}, DmKeyFrame::InterpOrder{1},
                                                      8.0F, 0.0F, -8.0F, 0.0F, DmKeyFrame::AutoRightVelocityFlag)));
    }
}

inline CoSharedPtr<DmSourceNode> makeSegment(int number, double recIn, double length)
{
    const DmString fcm = dmFcmText(DM::FCM_25);
    const CoSharedPtr<DmSourceInfo> info = DmSourceInfo::create();
    must(info->setSourceType(DmSourceInfo::File));
    must(info->setName(numbered(L"A%05d take 3", number)));
    must(info->setReelName(numbered(L"A%03dR2EC", number % 100)));
    must(info->setPath(numbered(L"/media/summer/day12/A%05d.mxf", number)));
    const CoSharedPtr<DmFrameResolution> format = DmFrameResolution::create();
    must(format->setWidth(3840));
    must(format->setHeight(2160));
    must(format->setFrameRatio(3840.0F / 2160.0F));
    must(format->setScanFormat(L"progressive"));
    const auto input = DmSourceNode::MediaInput::create(length + 48, 90000.0 + number, info, fcm, DM_MEDIA_VIDEO, true);
    must(input->setName(info->getName()));
    must(input->setFcm(fcm));
    must(input->setPrimaryRes(format));

    CoSharedPtr<DmSourceNode> source = DmSourceNode::create(input, recIn, length, 24.0, false, false);
    must(source->setName(info->getName()));
    must(source->setSegmentId(numbered(L"5d41402a-bc4b-4a76-b971-%012x", number)));
    must(source->setShotName(numbered(L"SUM_%04d0", number)));
    const CoSharedPtr<DmColourSettings> grade = DmColourSettings::create();
    must(grade->getChannel(DmColourSettings::ChannelId::saturation)->setValue(1.0F + 0.001F * (number % 100)));
    animate(grade->getChannel(DmColourSettings::ChannelId::gain), number, 3);
    must(source->addEffect(grade));
    if (number % 4 == 0)
    {
        const CoSharedPtr<DmResizeSettings> resize = DmResizeSettings::create();
        animate(resize->getChannel(DmResizeSettings::ChannelId::scale_x), number, 2);
        animate(resize->getChannel(DmResizeSettings::ChannelId::scale_y), number, 2);
        must(source->addEffect(resize));
    }
    return source;
}

/// A clip as a cut list brings it: its material, where that is, and what part of it plays.
inline CoSharedPtr<DmSourceNode> makePlainSegment(int number, double recIn, double length)
{
    const DmString fcm = dmFcmText(DM::FCM_25);
    const DmString name = numbered(L"A%07d_C012_0412", number);
    const CoSharedPtr<DmSourceInfo> info = DmSourceInfo::create();
    must(info->setSourceType(DmSourceInfo::File));
    must(info->setName(name));
    must(info->setReelName(numbered(L"A%03d", number % 1000)));
    must(info->setPath(numbered(L"/projects/harbour/rushes/day_04/A%07d_C012_0412.mov", number)));
    const auto input = DmSourceNode::MediaInput::create(length + 48, 90000.0 + number, info, fcm, DM_MEDIA_VIDEO, true);
    must(input->setName(name));
    CoSharedPtr<DmSourceNode> source = DmSourceNode::create(input, recIn, length, 24.0, false, false);
    must(source->setName(name));
    must(source->setSegmentId(numbered(L"5d41402a-%07d", number)));
    return source;
}

/// Segments of `shortest` frames and fewer than `more` frames more.
template <class MakeSegment>
CoSharedPtr<DmRoot> makeOf(int segments, int shortest, int more, const MakeSegment& makeSegment)
{
    CoSharedPtr<DmRoot> root = DmRoot::create();
    const auto edit = DmCompositionNode::create(L"Summer", dmFcmText(DM::FCM_25), DmFrameResolution::create());
    const CoSharedPtr<DmTrackNode> track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    const CoSharedPtr<DmLayerNode> layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    root->addChild(edit);
    edit->addChild(track);
    track->addChild(layer);
    double time = 0;
    for (int i = 0; i < segments; ++i)
    {
        if (i > 0)
            layer->addChild(DmCutNode::create(DM_MEDIA_VIDEO, time));
        const double length = shortest + i % more;
        layer->addChild(makeSegment(i, time, length));
        time += length;
    }
    must(layer->setLayerLength(time));
    must(edit->setCompLength(time));
    return root;
}

inline CoSharedPtr<DmRoot> make(int segments)
{
    return makeOf(segments, 30, 90, makeSegment);
}

/// Short ones: a million end before label time does, which a check would say of each.
inline CoSharedPtr<DmRoot> makePlain(int clips)
{
    return makeOf(clips, 4, 9, makePlainSegment);
}

} // namespace zrDocuments
