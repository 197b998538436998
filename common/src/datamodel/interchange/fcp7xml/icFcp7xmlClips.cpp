#include "icFcp7xmlMaker.h"

#include "icLook.h"
#include "icPath.h"
#include "icTimeCode.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmAudioEffects.h"
#include "dmMaterial.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"
#include "dmTransformEffects.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>

namespace interchange::xmeml
{

namespace
{

constexpr Loss speedOfSound{"DM617", "plays at normal speed"};

/// Without what comes of rates that are no whole numbers.
double settled(double frames)
{
    constexpr double nearly = 1e-6;
    return std::abs(std::round(frames) - frames) < nearly ? std::round(frames) : frames;
}

/// In frames of the record from the segment's begin: the same, whatever part of the clip is in front of that.
float keyTime(double when, double clipTime, double recordPerClip)
{
    constexpr double parts = 1e5;
    return static_cast<float>(std::round((when - clipTime) * recordPerClip * parts) / parts);
}

} // namespace

CoSharedPtr<DmTrxEffectNode> Maker::transition(const Entry& entry, eDmTreeMediaType mediaType)
{
    const pugi::xml_node effect = entry.element.child("effect");
    const double length = entry.recOut - entry.recIn;
    const std::string_view id = textOf(effect, "effectid");
    const std::optional<double> code = number(effect, "wipecode");
    const bool isWipe = textOf(effect, "effectcategory") == "Wipe" || (code && *code > 0);
    const bool isDissolve = id == "Cross Dissolve" || id == "dissolve" || id.empty() || mediaType == DM_MEDIA_AUDIO;
    if (!isWipe && !isDissolve)
        lose(entry.element, {"DM614", "read as dissolves"});
    CoSharedPtr<DmEffectSettings> settings;
    const auto ofLength = [length](const auto& made) -> CoSharedPtr<DmEffectSettings>
    {
        require(orBadAlloc(made)->setLength(length));
        return made;
    };
    if (mediaType == DM_MEDIA_AUDIO)
        settings = ofLength(DmADissolveSettings::create());
    else if (!isWipe)
        settings = ofLength(DmVDissolveSettings::create());
    else
    {
        const auto wipe = orBadAlloc(DmWipeSettings::create());
        constexpr double highest = 999;
        require(wipe->setSmptePattern(static_cast<int>(std::clamp(code.value_or(1), 0.0, highest))));
        settings = ofLength(wipe);
    }
    auto node = orBadAlloc(DmTrxEffectNode::create(settings, entry.recIn, length, std::min(entry.cut, length)));
    if (const std::string_view name = textOf(entry.element, "name"); !name.empty())
        require(node->setName(toDmString(name)));
    return node;
}

// Clips

Medium Maker::mediumOf(const Stage& stage, const Entry& entry, pugi::xml_node file)
{
    Medium medium;
    medium.element = file;
    if (file && !file.first_child())
        if (const auto found = _files.find(std::string_view(file.attribute("id").value())); found != _files.end())
            medium.element = found->second;
    if (isAnother(_files, file) &&
        textOf(file, "pathurl") !=
            textOf(_files.find(std::string_view(file.attribute("id").value()))->second, "pathurl"))
        warn(file, "a file by the id of another: it gets one of its own");
    const pugi::xml_node timecode = medium.element.child("timecode");
    const bool drops = isDropFrame(timecode);
    std::optional<Rate> rate = this->rate(medium.element.child("rate"));
    if (!rate)
        rate = this->rate(timecode.child("rate"));
    medium.rate = rate.value_or(entry.rate);
    medium.fcm = medium.rate.mode(drops);
    if (medium.fcm == DM::FCM_NOT_DEFINED)
        medium.fcm = entry.rate.mode(drops);
    // What has no file drops labels as the sequence does.
    if (medium.fcm == DM::FCM_NOT_DEFINED ||
        (!file && DM::FcmUtil::toNonDrop(medium.fcm) == DM::FcmUtil::toNonDrop(stage.fcm)))
        medium.fcm = stage.fcm;
    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
    if (const std::optional<double> length = time(medium.element, "duration"); length && *length > 0)
    {
        medium.span = settled(*length * fps / medium.rate.fps());
        if (medium.element.child("duration").attribute(lengthMark).value() != std::string_view("unknown"))
            medium.length = medium.span;
    }
    std::optional<double> begin = time(timecode, "frame");
    if (!begin)
        if (const std::optional<TimeLabel> label = parseTimeLabel(trimmed(textOf(timecode, "string")));
            label && isInDay(*label, medium.fcm))
            begin = static_cast<double>(framesOf(*label, medium.fcm)) * medium.rate.fps() / fps;
    medium.begin = begin.value_or(0) * fps / medium.rate.fps();
    return medium;
}

CoSharedPtr<DmSourceNode::Input> Maker::input(const Entry& entry, const Medium& medium, double length,
                                              eDmTreeMediaType mediaType)
{
    const DmString fcmText = dmFcmText(medium.fcm);
    if (isNamed(entry.element, "generatoritem"))
    {
        const GeneratorKind* const kind = generatorOf(textOf(entry.element.child("effect"), "effectid"));
        if (!kind)
            lose(entry.element, {"DM615", "play as black"});
        const wchar_t* const otherwise = mediaType == DM_MEDIA_AUDIO ? L"INPUT_SILENCE" : L"INPUT_BLACK";
        const auto generated =
            orBadAlloc(DmSourceNode::GeneratedInput::create(kind ? kind->type : otherwise, length, mediaType));
        require(generated->setFcm(fcmText));
        return generated;
    }
    const std::string path = pathOfUrl(trimmed(textOf(medium.element, "pathurl")));
    const auto info = orBadAlloc(DmSourceInfo::create());
    require(info->setSourceType(path.empty() ? DmSourceInfo::Unknown : DmSourceInfo::File));
    if (const pugi::xml_node name = medium.element.child("name");
        name.attribute(fileNameMark).value() != std::string_view("unknown"))
        require(info->setName(toDmString(name.child_value())));
    require(info->setPath(toDmString(path)));
    require(info->setReelName(toDmString(textOf(medium.element.child("timecode").child("reel"), "name"))));
    auto media =
        orBadAlloc(DmSourceNode::MediaInput::create(length, medium.begin, info, fcmText, mediaType, !path.empty()));
    require(media->setFcm(fcmText));
    std::string label;
    appendTimeLabel(label, std::llround(medium.begin), medium.fcm);
    require(media->setSrcInStr(toDmString(label)));
    if (medium.length)
        require(dmSetMaterialLength(*media, *medium.length));
    else
        require(dmSetMaterialLengthUnknown(*media));
    if (mediaType == DM_MEDIA_AUDIO)
    {
        const double channel = number(entry.element.child("sourcetrack"), "trackindex").value_or(1);
        const auto audio = orBadAlloc(DmAudioProperties::create());
        require(audio->setChannelIdx(static_cast<int>(std::clamp(channel, 1.0, 1e5)) - 1));
        require(media->setAudioProperties(audio));
        require(info->setTrack(static_cast<int>(std::clamp(channel, 1.0, 1e5))));
    }
    return media;
}

CoSharedPtr<DmCueMark> Maker::mark(pugi::xml_node marker, double origin, double ratio)
{
    charge(weight::ofMarker, marker);
    const double in = time(marker, "in").value_or(0);
    const double out = time(marker, "out").value_or(-1);
    auto made = orBadAlloc(DmCueMark::create(toDmString(textOf(marker, "name")), origin + in * ratio));
    require(made->setCueMarkComment(toDmString(textOf(marker, "comment"))));
    if (out > in && out != -1) // a point
        require(made->setCueMarkDuration((out - in) * ratio));
    if (const pugi::xml_node colour = marker.child("color"))
    {
        const auto part = [this, colour](const char* name)
        { return static_cast<int>(std::clamp(number(colour, name).value_or(0), 0.0, 255.0)); };
        require(made->setCueMarkColorRed(part("red")));
        require(made->setCueMarkColorGreen(part("green")));
        require(made->setCueMarkColorBlue(part("blue")));
    }
    return made;
}

bool Maker::addChannels(const Stage& stage, DmEffectSettings& effect, pugi::xml_node element, double clipTime,
                        double recordPerClip)
{
    bool hasAny = false;
    for (const Parameter* const each : parametersOf(textOf(element, "effectid")))
    {
        const pugi::xml_node parameter = parameterOf(element, each->id);
        const auto valueIn = [this, each](pugi::xml_node holder)
        { return each->part ? number(holder.child("value"), each->part, true) : number(holder, "value", true); };
        CoSharedPtr<DmAnimationChannel> channel;
        const auto open = [&]
        {
            if (!channel)
                channel = orBadAlloc(effect.getChannelByName(each->channel));
            hasAny = true;
        };
        const auto stored = [&](double value)
        { return static_cast<float>(std::clamp(channelValue(*each, value, stage.size), -1e9, 1e9)); };
        for (const pugi::xml_node key : parameter.children("keyframe"))
        {
            const std::optional<double> when = time(key, "when");
            const std::optional<double> value = valueIn(key);
            if (!when || !value)
                continue;
            open();
            const auto made = orBadAlloc(DmKeyFrame::create2(
                keyTime(*when, clipTime, recordPerClip), stored(*value), {}, DmKeyFrame::InterpOrder{1}, 0, 0, 0, 0,
                DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag));
            require(channel->addKeyFrame(made));
        }
        if (const std::optional<double> value = valueIn(parameter); value && !channel)
        {
            open();
            require(channel->setValue(stored(*value)));
        }
    }
    return hasAny;
}

void Maker::addEffects(Stage& stage, DmSegmentNode& node, const Entry& entry, const Medium& medium, ReadHint& hint)
{
    const bool isSound = node.getMediaType() == DM_MEDIA_AUDIO;
    const double recordPerClip = stage.fps / entry.rate.fps();
    const double clipTime =
        entry.in + (entry.speed.factor < 0 ? entry.end - entry.recOut : entry.recIn - entry.start) / recordPerClip;
    bool hasSpeed = false;
    std::size_t effects = 0;
    for (const pugi::xml_node filter : entry.element.children("filter"))
    {
        const pugi::xml_node effect = filter.child("effect");
        const std::string_view id = textOf(effect, "effectid");
        CoSharedPtr<DmEffectSettings> made;
        if (id == "timeremap" && entry.speed.isSet && !hasSpeed)
        {
            hasSpeed = true;
            constexpr double fastest = 1e6;
            if (isSound)
            {
                if (entry.speed.isKeyed || entry.speed.factor <= 0 || entry.speed.factor > fastest)
                {
                    lose(filter, speedOfSound);
                    continue;
                }
                const auto warp = orBadAlloc(DmATimewarpSettings::create());
                require(warp->setRatio(static_cast<float>(1 / entry.speed.factor)));
                made = warp;
            }
            else
            {
                const auto warp = orBadAlloc(DmVTimewarpSettings::create());
                if (entry.speed.isKeyed)
                {
                    require(warp->setConstantSpeed(false));
                    const auto timing = orBadAlloc(warp->getChannelByName(L"timing"));
                    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
                    for (const pugi::xml_node key : parameterOf(effect, "graphdict").children("keyframe"))
                        if (const auto when = time(key, "when"), value = number(key, "value", true); when && value)
                        {
                            hint.key = std::fmin(hint.key, *when); // of none, the other
                            require(timing->addKeyFrame(orBadAlloc(DmKeyFrame::create2(
                                keyTime(*when, clipTime, recordPerClip),
                                static_cast<float>(*value * fps / medium.rate.fps() - node.getRelIn()), {},
                                DmKeyFrame::InterpOrder{1}, 0, 0, 0, 0,
                                DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag))));
                        }
                    hint.at = clipTime;
                }
                else
                    require(warp->setSpeed(entry.speed.factor));
                made = warp;
            }
        }
        else if (!isSound && (id == "basic" || id == "crop" || id == "opacity"))
        {
            const auto axis = orBadAlloc(DmAxisSettings::create());
            if (addChannels(stage, *axis, effect, clipTime, recordPerClip))
                made = axis;
        }
        else if (isSound && id == "audiolevels")
        {
            const auto gain = orBadAlloc(DmAudioGainSettings::create());
            if (addChannels(stage, *gain, effect, clipTime, recordPerClip))
                made = gain;
        }
        if (!made)
            continue;
        charge(weight::ofEffect, filter);
        if (++effects > _mostEffects)
        {
            _mostEffects = effects;
            charge(weight::ofPlainEffect, filter);
        }
        if (isOff(filter))
            require(made->setMuted(true));
        require(node.addEffect(made));
    }
    const pugi::xml_node colour = entry.element.child("colorinfo");
    Look look;
    readSop(textOf(colour, "asc_sop"), look);
    if (const auto numbers = numbersOf(textOf(colour, "asc_sat")); numbers.size() == 1 && numbers[0] >= 0)
    {
        look.saturation = numbers[0];
        look.hasSaturation = true;
    }
    if (!isSound && (look.hasSop || look.hasSaturation))
        require(node.addEffect(toLookSettings(look)));
}

CoSharedPtr<DmSegmentNode> Maker::clip(Stage& stage, const Entry& entry, eDmTreeMediaType mediaType,
                                       const std::string& label)
{
    const pugi::xml_node element = entry.element;
    const double length = entry.recOut - entry.recIn;
    const pugi::xml_node place = element.child("sequence");
    pugi::xml_node nested = definitionOf(place);
    ReadHint hint;
    hint.element = element;
    CoSharedPtr<DmCompositionNode> inside;
    if (isAnother(_sequences, place))
    {
        const pugi::xml_node other = _sequences.find(std::string_view(place.attribute("id").value()))->second;
        if (areAlike(place, other))
            nested = other;
        else
            warn(place, "a sequence by the id of another: it gets one of its own");
    }
    if (nested && nested.first_child())
        inside = sequence(nested, false);
    const pugi::xml_node file = element.child("file");
    Medium medium = mediumOf(stage, entry, file);
    if (inside)
    {
        medium.fcm = dmFcmFromText(inside->getFCM());
        medium.span = inside->getCompLength();
        medium.length = medium.span;
        medium.begin = inside->getStartTC();
    }
    if (entry.rate != Rate::of(medium.fcm))
        hint.rate = entry.rate;
    const double fps = DM::FcmUtil::getDoubleFPS(medium.fcm);
    const double clipFps = entry.rate.fps();
    const bool isConstant = !entry.speed.isKeyed && entry.speed.factor != 0;
    const double speed = isConstant ? std::abs(entry.speed.factor) : 1.0;
    const bool isBackwards = entry.speed.factor < 0;
    const double head = (isBackwards ? entry.end - entry.recOut : entry.recIn - entry.start) / stage.fps * clipFps;
    double relIn = (entry.in + head) * speed * fps / clipFps;
    if (entry.speed.factor == 0)
        relIn = entry.in * fps / clipFps;
    if (entry.speed.isKeyed)
    {
        // Where the curve is at the segment's begin.
        const pugi::xml_node graph = parameterOf(effectOf(element, "timeremap"), "graphdict");
        std::vector<std::pair<double, double>> keys;
        for (const pugi::xml_node key : graph.children("keyframe"))
            if (const auto when = time(key, "when"), value = number(key, "value", true); when && value)
                keys.emplace_back(*when, *value);
        double value = frameAt(std::move(keys), entry.in + head);
        if (const auto said = toNumber<double>(graph.attribute(relInMark).value()); said && std::abs(*said) < limit)
            value = *said;
        relIn = std::max(0.0, value * fps / medium.rate.fps());
    }
    if (const double nearest = std::round(relIn); mediaType != DM_MEDIA_AUDIO || std::abs(nearest - relIn) < 1e-3)
        relIn = std::abs(nearest - relIn) < 1e-3 ? nearest : relIn;
    double before = 0; ///< the file's begin
    if (relIn < 0)
    {
        warn(element, "plays from before its file begins, from frame " + timeText(relIn));
        before = -relIn;
        hint.before = before;
        medium.begin -= before;
        medium.span += before;
        if (medium.length)
            *medium.length += before;
        relIn = 0;
    }
    const double playedEnd = entry.speed.factor == 0 ? relIn + 1
                             : entry.speed.isKeyed   ? relIn
                                                     : relIn + length / stage.fps * fps * speed;
    const bool isEndless = isNamed(element, "generatoritem") || isTrue(element, "stillframe", false);
    // With what the transitions beside it show of it.
    const double shownEnd =
        isConstant && !isBackwards ? playedEnd + (entry.end - entry.recOut) / stage.fps * fps * speed : playedEnd;
    if (medium.length && shownEnd > *medium.length + 0.5 && !isEndless)
        warn(element,
             "plays up to frame " + timeText(shownEnd) + " of " + timeText(*medium.length) + " that there are");
    const double materialLength = std::max({medium.span, std::ceil(playedEnd - 1e-6), relIn + length, 1.0});

    CoSharedPtr<DmSegmentNode> node;
    if (inside)
        node = orBadAlloc(DmContainerNode::create(inside, mediaType, entry.recIn, length, relIn));
    else
        node = orBadAlloc(DmSourceNode::create(input(entry, medium, materialLength, mediaType), entry.recIn, length,
                                               relIn, false, false));
    if (const std::string_view name = textOf(element, "name"); !name.empty())
        require(node->setName(toDmString(name)));
    hint.isOff = stage.isTrackOff && !isOff(element);
    if (hint.isOff || isOff(element))
        require(node->setMuted(true));
    addEffects(stage, *node, entry, medium, hint);
    for (const pugi::xml_node marker : element.children("marker"))
        require(node->addSegmentMark(mark(marker, before, fps / clipFps * speed)));

    hint.kind = inside ? ReadHint::Nest : ReadHint::Clip;
    _nodes.insert(element.internal_object());
    if (inside)
        _nodes.insert(place.internal_object());
    takeAttached(*node, element);
    came(*node, element);
    _hints.emplace(node.get(), hint);
    stage.clips.push_back({node, element, &label});
    return node;
}

} // namespace interchange::xmeml
