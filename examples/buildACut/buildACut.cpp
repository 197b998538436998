/// Builds a cut from nothing: two shots with a dissolve between them, the second one graded, over one piece of music;
/// with cue marks. Prints it as text, and what is wrong with it, if anything is.
#include <ZRdmtree.h>

#include <cstdlib>
#include <iostream>

namespace
{

/// Every setter says whether it did what it was asked for.
void must(eDmErrorId status)
{
    if (status == DM_NO_ERROR)
        return;
    std::cerr << "buildACut: " << dmUtf8(DmPSetHelper::getStrFromError(status)) << '\n';
    std::exit(EXIT_FAILURE);
}

/// A stretch of recorded media: `length` frames from the frame `from` of a tape that begins at ten hours.
CoSharedPtr<DmSourceNode> clip(const wchar_t* name, eDmTreeMediaType type, double from, double length)
{
    const double tenHours = 10 * 60 * 60 * 25;
    const auto media = DmSourceNode::MediaInput::create(2500, tenHours, nullptr, L"25 fps", type, true);
    must(media->setName(name));
    must(media->setFcm(L"25 fps"));
    auto segment = DmSourceNode::create(media, 0, length, from, false, false);
    must(segment->setName(name));
    must(segment->setSegmentId(name));
    return segment;
}

/// A colour correction whose gain rises from 1 to 1.5 within a second.
CoSharedPtr<DmEffectSettings> brightening()
{
    const auto colour = DmColourSettings::create();
    const auto gain = colour->getChannel(DmColourSettings::ChannelId::gain);
    for (const auto& [frame, value] : {std::pair(0.0F, 1.0F), {25.0F, 1.5F}})
        must(gain->addKeyFrame(DmKeyFrame::create2(frame, value, {}, {}, 0, 0, 0, 0, 0)));
    return colour;
}

} // namespace

int main()
{
    const auto composition = DmCompositionNode::create(L"Harbour", L"25 fps", DmFrameResolution::create());
    must(composition->setStartTC(60 * 60 * 25, L"25 fps"));

    DmTrackBuilder picture(1, DM_MEDIA_VIDEO);
    const auto boat = clip(L"boat", DM_MEDIA_VIDEO, 50, 100);
    const auto crane = clip(L"crane", DM_MEDIA_VIDEO, 0, 125);
    must(crane->addEffect(brightening()));
    must(picture.append(boat));
    must(picture.append(DmTrxEffectNode::create(DmVDissolveSettings::create(), 0, 25)));
    must(picture.append(crane));
    must(picture.addTo(*composition));

    DmTrackBuilder sound(2, DM_MEDIA_AUDIO);
    const auto music = clip(L"waltz", DM_MEDIA_AUDIO, 0, 200);
    must(music->setRecIn(50)); // the music begins two seconds into the cut
    must(sound.place(music));
    must(sound.addTo(*composition));

    must(composition->addCueMark(DmCueMark::create(L"music in", 50)));
    must(boat->addSegmentMark(DmCueMark::create(L"gull", 30)));

    must(DmTreeTool::dump(composition.get(), std::cout));
    const std::vector<DmTreeViolation> violations = DmTreeTool::findViolations(composition, DM_VALIDATE_ALL);
    for (const DmTreeViolation& violation : violations)
        std::cout << violation.path << ": " << dmUtf8(violation.message) << '\n';
    if (violations.empty())
        std::cout << "breaks no rule\n";
}
