#include "zrRuleCases.h"

#include "dmResizeSettings.h"
#include "dmTimewarpSettings.h"

namespace
{

using namespace zrRules;
using Composition = DmCompositionNode;

std::function<void(Composition&)> speedOfFirst(double speed)
{
    return [speed](Composition& it)
    {
        const auto warp = DmVTimewarpSettings::create();
        static_cast<void>(warp->setSpeed(speed));
        static_cast<void>(at<DmSegmentNode>(it, 0).addEffect(warp));
    };
}

/// Attaches to the first transition what it leaves, as a list says it.
std::function<void(Composition&)> leaves(double srcIn)
{
    return [srcIn](Composition& it)
    {
        const auto input =
            DmSourceNode::MediaInput::create(1.0, srcIn, DmSourceInfo::create(), L"25 fps", DM_MEDIA_VIDEO, true);
        static_cast<void>(input->setFcm(L"25 fps"));
        auto& mix = at<DmTrxEffectNode>(it, 1);
        static_cast<void>(mix.setBaseBlob(DmSourceNode::create(input, mix.getRecIn(), 0.0, 0.0, false, false)));
    };
}

std::function<void(Composition&)> keysAt(float first, float second)
{
    return [=](Composition& it)
    {
        const auto resize = DmResizeSettings::create();
        for (const float frame : {first, second})
            static_cast<void>(resize->getChannel(DmResizeSettings::ChannelId::scale_x)
                                  ->addKeyFrame(DmKeyFrame::create2(frame, frame, {}, {}, 0, 0, 0, 0, 0)));
        static_cast<void>(at<DmSegmentNode>(it, 0).addEffect(resize));
    };
}

DmFindingOptions handles(double frames)
{
    DmFindingOptions options;
    options.handles = frames;
    return options;
}

const RuleCase cases[] = {
    {"DM201",
     {"AAAAAAAAAA|BB", "A5/12"},
     {"A V1 00:00:00:00: It plays to 00:00:40:15 of its source, 3 frames beyond the material's end at 00:00:40:12"},
     {"AAAAAAAAAA|BB", "A2/12"},
     Mending::Unsafe},
    {"DM201", // speeds are counted, and a whole frame is no rounding
     {"AAAAAAAAAA|BB", "A0/19", speedOfFirst(2.0)},
     {"A V1 00:00:00:00: It plays to 00:00:40:20 of its source, 1 frame beyond the material's end at 00:00:40:19"},
     {"AAAAAAAAAA|BB", "A0/12", speedOfFirst(1.2)}},
    {"DM201",
     {"AAAA", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0).setRelIn(-5.0)); }},
     {"A V1 00:00:00:00: It begins 5 frames before its material"},
     {"AAAA"}, // of unknown length
     Mending::Unsafe},
    {"DM202",
     {"AAAAAAAAAA", "",
      [](Composition& it)
      {
          static_cast<void>(mediaAt(it, 0).getSrcInfo()->setFileSeqBegin(1001));
          static_cast<void>(mediaAt(it, 0).getSrcInfo()->setFileSeqEnd(1008));
      }},
     {"A V1 00:00:00:00: It plays 2 frames beyond file number 1008, the last"},
     {"AAAAAAAAAA", "",
      [](Composition& it)
      {
          static_cast<void>(mediaAt(it, 0).getSrcInfo()->setFileSeqBegin(1001));
          static_cast<void>(mediaAt(it, 0).getSrcInfo()->setFileSeqEnd(1010));
      }}},
    {"DM203",
     {"AAAA|BB", "",
      [](Composition& it)
      {
          static_cast<void>(mediaAt(it, 0).setSrcInStr(L"01:01:00:00"));
          static_cast<void>(mediaAt(it, 0).setSrcInFcm(L"29.97 fps DF"));
      }},
     {"A V1 00:00:00:00: There is no source label \"01:01:00:00\" at 29.97 fps DF"},
     {"AAAA|BB", "",
      [](Composition& it)
      {
          static_cast<void>(mediaAt(it, 0).setSrcInStr(L"01:10:00:00"));
          static_cast<void>(mediaAt(it, 0).setSrcInFcm(L"29.97 fps DF"));
      }}},
    {"DM204",
     {"AAAA|BB", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 2).setRecLength(1.5)); }},
     {"B V1 00:00:00:04: It ends between two frames, at 5.5"},
     {"AAAA\nbb", "", [](Composition& it) { static_cast<void>(at<DmSegmentNode>(it, 0, 1).setRecLength(1.5)); }},
     Mending::Unsafe},
    {"DM205",
     {"AAAA|BBBB", "A5/30 B12/30"},
     {"A V1 00:00:00:00: It has 5 frames in front, and 12 frames are asked for"},
     {"AAAA|BBBB", "A12/28 B0/4"}, // the second uses its file whole
     {},
     handles(12.0)},
    {"DM205", // beyond what transitions use
     {"AAAA//BBBB", "A12/28 B13/40"},
     {"A V1 00:00:00:00: It has 10 frames behind, and 12 frames are asked for",
      "B V1 00:00:00:06: It has 11 frames in front, and 12 frames are asked for"},
     {"AAAA//BBBB", "A12/30 B14/40"},
     {},
     handles(12.0)},
    {"DM206",
     {"AAAA//BBBB", "A0/5 B9/40"},
     {"A V1 00:00:00:00: The transition out of it plays 1 frame behind its material's end"},
     {"AAAA//BBBB", "A0/6 B2/40"},
     Mending::Unsafe},
    {"DM206",
     {"AAAA//BBBB", "B1/40"},
     {"B V1 00:00:00:06: The transition into it plays 1 frame before its material begins"},
     {"AAAA//BBBB"}, // nobody knows
     Mending::Unsafe},
    {"DM207",
     {"AAAA//BBBB", "A0 B5", leaves(1010.0)},
     {"A V1 00:00:00:04: It leaves the source at 00:00:40:10, and what played ends at 00:00:40:04"},
     {"AAAA//BBBB", "A0 B5", leaves(1004.0)}},
    {"DM208",
     {"AAAA|BB", "", keysAt(10.0F, 20.0F)},
     {"A V1 00:00:00:00: No key of the channel \"scale_x\" of its effect \"Resize\" lies inside"},
     {"AAAA|BB", "", keysAt(2.0F, 20.0F)}},
};

} // namespace

TEST(TimeRules, FindWhatBreaksThemAndNothingNearby)
{
    for (const RuleCase& row : cases)
        check(row);
}
