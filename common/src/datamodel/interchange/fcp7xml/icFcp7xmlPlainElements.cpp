#include "icFcp7xmlPlainElements.h"

#include "icFcp7xmlAttached.h"
#include "icLook.h"
#include "icPath.h"
#include "icText.h"
#include "icTimeCode.h"
#include "icTree.h"

#include "dmATimewarpSettings.h"
#include "dmAudioEffects.h"
#include "dmBlobNode.h"
#include "dmColourEffects.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"
#include "dmTransformEffects.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <unordered_set>

namespace interchange::xmeml
{

namespace
{

constexpr std::array<Parameter, 10> parameters{
    {{"basic", "scale", "Scale", nullptr, L"layerScaleX", Parameter::Same},
     {"basic", "rotation", "Rotation", nullptr, L"layerRotationZ", Parameter::Same},
     {"basic", "center", "Center", "horiz", L"layerPositionX", Parameter::OfWidth},
     {"basic", "center", "Center", "vert", L"layerPositionY", Parameter::OfHeight},
     {"crop", "left", "left", nullptr, L"cropLeft", Parameter::Same},
     {"crop", "right", "right", nullptr, L"cropRight", Parameter::Same},
     {"crop", "top", "top", nullptr, L"cropTop", Parameter::Same},
     {"crop", "bottom", "bottom", nullptr, L"cropBottom", Parameter::Same},
     {"opacity", "opacity", "opacity", nullptr, L"transparency", Parameter::Opacity},
     {"audiolevels", "level", "Level", nullptr, L"gain", Parameter::Level}}};

constexpr std::array<GeneratorKind, 9> generators{{{"Slug", L"INPUT_BLACK"},
                                                   {"Black", L"INPUT_BLACK"},
                                                   {"Color", L"INPUT_COLOUR"},
                                                   {"Noise", L"INPUT_NOISE"},
                                                   {"Bars and Tone (NTSC)", L"INPUT_SMPTE_BARS"},
                                                   {"Bars and Tone (PAL)", L"INPUT_PAL_BARS"},
                                                   {"Bars and Tone", L"INPUT_SMPTE_BARS"},
                                                   {"Silence", L"INPUT_SILENCE"},
                                                   {"Tone", L"INPUT_TONE"}}};

/// Filters that an axis is, by the channels that it has.
constexpr std::array<std::pair<const char*, const char*>, 3> motions{
    {{"basic", "Basic Motion"}, {"crop", "Crop"}, {"opacity", "Opacity"}}};

/// The properties of nodes that elements say, or that have no need to be said.
constexpr std::wstring_view said[] = {
    L"name", L"transition.name", L"effects", L"segmentMarks", L"cueMarks", L"muted", L"effect", L"effect.length",
    L"effect.smptePattern", L"fcm", L"startTC", L"startTCStr", L"startTcFcm", L"inMark", L"outMark", L"samplingRate",
    L"resolution.width", L"resolution.height", L"trackNum", L"trackChannel", L"srcInput.mediaType", L"srcInput.name",
    L"srcInput.srcLength", L"srcInput.srcFcm", L"srcInput.srcInStr", L"srcInput.srcIn", L"srcInput.srcInFcm",
    L"srcInput.hasMedia", L"srcInput.extraDataDictionary", L"srcInput.srcInfo.sourceType", L"srcInput.srcInfo.name",
    L"srcInput.srcInfo.reelName", L"srcInput.srcInfo.track", L"srcInput.srcInfo.path",
    L"srcInput.audioProperties.channelIdx", L"srcInput.inputType",
    // Told by what generators and channels lose of themselves
    L"effect.positionX", L"effect.positionY", L"effect.rotationZ", L"effect.softness", L"effect.inverted",
    L"effect.scaleX", L"effect.scaleY", L"effect.scaleZ", L"srcInput.inputColorRed", L"srcInput.inputColorGreen",
    L"srcInput.inputColorBlue", L"srcInput.inputColorAlpha", L"srcInput.inputPercentageRatio",
    L"srcInput.inputSoftness", L"srcInput.audioProperties.nbChannels", L"srcInput.audioProperties.startSample",
    L"srcInput.srcInfo.fileType", L"srcInput.srcInfo.imageChannels", L"srcInput.srcInfo.PDFrameType"};

constexpr double silence = 1e-5; ///< a factor: -100 dB

/// What a generator may be set to, and the format has no words for.
std::array<double, 6> looksOf(const DmSourceNode::GeneratedInput& input)
{
    return {input.getInputColorRed(),   input.getInputColorGreen(),      input.getInputColorBlue(),
            input.getInputColorAlpha(), input.getInputPercentageRatio(), static_cast<double>(input.getInputSoftness())};
}

/// Whether a wipe is its pattern and nothing else.
bool isPlainWipe(const DmWipeSettings& wipe)
{
    const auto fresh = DmWipeSettings::create();
    const auto looks = [](const DmWipeSettings& each)
    {
        return std::array<double, 8>{each.getPositionX(),
                                     each.getPositionY(),
                                     each.getRotationZ(),
                                     each.getSoftness(),
                                     each.getInverted() ? 1.0 : 0.0,
                                     each.getScaleX(),
                                     each.getScaleY(),
                                     each.getScaleZ()};
    };
    return !fresh || looks(*fresh) == looks(wipe);
}

/// Whether an axis does something that no parameter of a filter is.
bool hasOtherChannels(const DmAxisSettings& axis)
{
    const auto fresh = DmAxisSettings::create();
    DmStringArray names;
    axis.getChannelNames(names);
    for (unsigned i = 0; fresh && i < names.size(); ++i)
    {
        const CoSharedPtr<DmAnimationChannel> channel = axis.getExistingChannelByName(names[i]);
        const CoSharedPtr<DmAnimationChannel> usual = fresh->getChannelByName(names[i]);
        const bool isSet =
            channel && usual && (channel->getNbKeyFrames() > 0 || channel->getValue() != usual->getValue());
        if (isSet && std::ranges::none_of(parameters, [&](const Parameter& each) { return names[i] == each.channel; }))
            return true;
    }
    return false;
}

const char* boolText(bool value)
{
    return value ? "TRUE" : "FALSE";
}

/// Of a keyed speed, at the segment's begin. Its key frames stand where they stood in the clip's time, however much the
/// begin has moved over them; those that no file had count from the first one, or from the begin in front of it.
double clipTimeOf(const DmPlayed& played, const Hint& hint, double recIn, double perRecord)
{
    if (played.keys().empty())
        return hint.at;
    const double first = played.keys().front().recordTime - recIn;
    if (!hint.isRead)
        return std::max(0.0, -first * perRecord);
    if (!hint.key)
        return hint.at;
    const auto was = static_cast<float>((*hint.key - hint.at) / perRecord); // as key frames have it
    return hint.at - (first - static_cast<double>(was)) * perRecord;
}

/// Whether in and out stand as the file had them.
bool comesBack(const DmSegmentNode& segment, double in, double out)
{
    const Form form(segment);
    const auto isSaid = [&form](const char* name, double time)
    {
        const pugi::xml_node place = form.root().child(name);
        const pugi::xml_attribute was = place.attribute("our:was");
        return place && (!was || was.value() == timeText(time));
    };
    return isSaid("our:in", in) && isSaid("our:out", out);
}

/// Of links: the same as long as they are of the same clips.
std::string figureOf(std::vector<std::string_view> ids)
{
    std::ranges::sort(ids);
    Figure figure;
    for (const std::string_view id : ids)
    {
        figure.add("link=");
        figure.add(id);
    }
    return figure.text();
}

/// By which a mark is known again: not by its time, which edits in front of it move.
std::string keyOf(const DmCueMark* mark)
{
    Figure figure;
    if (mark)
        for (const DmString* const text : {&mark->getCueMarkName(), &mark->getCueMarkComment()})
        {
            figure.add(dmUtf8(*text));
            figure.add("|");
        }
    return figure.text();
}

Where whereOf(const Sequence& sequence, const Track& track, const Item& item)
{
    return {item.segment ? static_cast<const DmTreeNode*>(item.segment) : item.mix, track.node->getMediaType(),
            track.node->getTrackNum(), sequence.node->getLabelTime(item.recIn), sequence.fcm};
}

std::string percentText(double speed)
{
    std::string text;
    appendDecimal(text, std::isfinite(speed) ? shifted(speed, 2) : 0.0, 1, 0);
    return text;
}

std::string ticks(double frames, double fps)
{
    return timeText(std::round(frames * 254016000000.0 / fps));
}

} // namespace

std::vector<const Parameter*> parametersOf(std::string_view filter)
{
    std::vector<const Parameter*> found;
    for (const Parameter& each : parameters)
        if (filter == each.filter)
            found.push_back(&each);
    return found;
}

void sizeOf(const DmCompositionNode& composition, int& width, int& height)
{
    width = 0;
    height = 0;
    if (const DmFrameResolution* const resolution = composition.getResolution())
    {
        resolution->getWidth(width);
        resolution->getHeight(height);
    }
    if (width < 1 || height < 1)
    {
        width = 1920;
        height = 1080;
    }
}

/// What a value of the file is a part of: the picture's width or height; 1 for all others.
double extentOf(const Parameter& parameter, const Sequence& sequence)
{
    if (parameter.unit != Parameter::OfWidth && parameter.unit != Parameter::OfHeight)
        return 1;
    int width = 0;
    int height = 0;
    sizeOf(*sequence.node, width, height);
    return parameter.unit == Parameter::OfWidth ? width : height;
}

double channelValue(const Parameter& parameter, double value, const Sequence& sequence)
{
    if (parameter.unit == Parameter::Opacity)
        return 100 - value;
    if (parameter.unit == Parameter::Level)
        return 20 * std::log10(std::max(value, silence));
    return value * extentOf(parameter, sequence);
}

double fileValue(const Parameter& parameter, double value, const Sequence& sequence)
{
    if (parameter.unit == Parameter::Opacity)
        return 100 - value;
    if (parameter.unit == Parameter::Level)
        return value <= -100 ? 0 : std::pow(10, value / 20);
    return value / extentOf(parameter, sequence);
}

double frameAt(std::vector<std::pair<double, double>> keys, double time)
{
    std::ranges::stable_sort(keys, {}, &std::pair<double, double>::first);
    double frame = keys.empty() ? 0.0 : keys.front().second;
    for (std::size_t i = 0; i + 1 < keys.size(); ++i)
        if (const auto& [from, to] = std::pair(keys[i], keys[i + 1]); time >= from.first && to.first > from.first)
            frame =
                from.second + (to.second - from.second) * std::min(1.0, (time - from.first) / (to.first - from.first));
    return frame;
}

const GeneratorKind* generatorOf(std::string_view effectId)
{
    const auto found =
        std::ranges::find(generators, effectId, [](const GeneratorKind& kind) { return std::string_view(kind.id); });
    return found == generators.end() ? nullptr : &*found;
}

bool isSound(const Track& track)
{
    return track.node->getMediaType() == DM_MEDIA_AUDIO;
}

PlainElements::PlainElements(const Cut& cut, Report* report)
    : _cut(cut)
    , _report(report)
    , _unsaid(leftoverType.format, said)
{
}

// Texts and times

pugi::xml_node PlainElements::text(pugi::xml_node parent, const char* name, std::string value)
{
    bool isChanged = false;
    for (char& c : value)
        if (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r')
        {
            c = ' ';
            isChanged = true;
        }
    if (isChanged)
        lose("DM733", "control characters become blanks");
    return add(parent, name, value);
}

pugi::xml_node PlainElements::text(pugi::xml_node parent, const char* name, const DmString& value)
{
    return text(parent, name, dmUtf8(value));
}

pugi::xml_node PlainElements::rate(pugi::xml_node parent, Rate rate)
{
    const pugi::xml_node node = add(parent, "rate");
    add(node, "timebase", std::to_string(rate.timebase));
    usual(add(node, "ntsc", boolText(rate.ntsc)), !rate.ntsc);
    return node;
}

pugi::xml_node PlainElements::timecode(pugi::xml_node parent, double frames, DM::FrameCodeModes fcm,
                                       const DmString* reel)
{
    const pugi::xml_node node = add(parent, "timecode");
    rate(node, Rate::of(fcm));
    std::string label;
    constexpr double limit = 1e15;
    appendTimeLabel(label, std::llround(std::clamp(frames, -limit, limit)), fcm);
    add(node, "string", label);
    add(node, "frame", timeText(frames));
    add(node, "displayformat", DM::FcmUtil::isDropFrame(fcm) ? "DF" : "NDF");
    if (!reel)
        return node;
    const pugi::xml_node holder = add(node, "reel");
    add(holder, "name", dmUtf8(*reel));
    if (reel->empty())
        optional(holder);
    return node;
}

void PlainElements::format(pugi::xml_node parent, const Sequence& sequence, bool isSound)
{
    const pugi::xml_node node = add(add(parent, "format"), "samplecharacteristics");
    if (isSound)
    {
        add(node, "depth", "16");
        const double rate = sequence.node->getSamplingRate();
        add(node, "samplerate", timeText(rate > 0 ? rate : 48000));
        return;
    }
    int width = 0;
    int height = 0;
    sizeOf(*sequence.node, width, height);
    rate(node, Rate::of(sequence.fcm));
    add(node, "width", std::to_string(width));
    add(node, "height", std::to_string(height));
    add(node, "pixelaspectratio", "square");
}

void PlainElements::markers(pugi::xml_node parent, const DmSetList<DmCueMark>& marks, double origin, double ratio,
                            const Where& where)
{
    if (marks.empty())
        return;
    add(parent, seriesName);
    const auto make = [=, this, &marks](pugi::xml_node holder, std::size_t index) -> pugi::xml_node
    {
        const auto* const mark = static_cast<const DmCueMark*>(marks[index].get());
        if (_report)
            _report->at(where);
        return mark ? marker(holder, *mark, origin, ratio) : pugi::xml_node();
    };
    const auto key = [&marks](std::size_t index) { return keyOf(static_cast<const DmCueMark*>(marks[index].get())); };
    _series = {"marker", marks.size(), make, key};
}

pugi::xml_node PlainElements::marker(pugi::xml_node parent, const DmCueMark& mark, double origin, double ratio)
{
    if (mark.getCueMarkTime() == dmNoTime)
    {
        lose("DM722", "left out");
        return {};
    }
    const pugi::xml_node node = add(parent, "marker");
    usual(text(node, "name", mark.getCueMarkName()), mark.getCueMarkName().empty());
    usual(text(node, "comment", mark.getCueMarkComment()), mark.getCueMarkComment().empty());
    const double in = (mark.getCueMarkTime() - origin) * ratio;
    const double length = mark.getCueMarkDuration();
    const bool isPoint = length == dmNoTime || !(length > 0);
    usual(add(node, "in", timeText(in)), in == 0);
    usual(add(node, "out", isPoint ? "-1" : timeText(in + length * ratio)), isPoint);
    const int red = mark.getCueMarkColorRed();
    const int green = mark.getCueMarkColorGreen();
    const int blue = mark.getCueMarkColorBlue();
    if (red == 0 && green == 0 && blue == 0)
        return node;
    const pugi::xml_node colour = add(node, "color");
    add(colour, "alpha", "0");
    add(colour, "red", std::to_string(red));
    add(colour, "green", std::to_string(green));
    add(colour, "blue", std::to_string(blue));
    return node;
}

// Sequences and tracks

void PlainElements::tellUnsaidAround(const DmRoot& root, bool reels)
{
    if (!_report)
        return;
    _report->at({.node = &root});
    tellUnsaid(root, true);
    for (int i = 0; reels && i < root.getNbChildren(); ++i)
        if (const DmTreeNode* const child = root.getChild(i); child && child->whatIs() == DM_REEL_NODE)
            _unsaid.reportAround(*child, *_report);
    _report->at({});
}

void PlainElements::attached(pugi::xml_node element, const DmTreeNode& node) const
{
    constexpr int longestChain = 64;
    const DmPropertySet* at = _report ? node.getBaseBlob() : nullptr;
    for (int i = 0; at && i < longestChain; ++i)
    {
        const auto* const held = dynamic_cast<const DmTreeNode*>(at);
        const auto* const blob = dynamic_cast<const DmBlobNode*>(at);
        const auto* const source = dynamic_cast<const DmSourceNode*>(at);
        if (const std::string type = blob ? dmUtf8(blob->getBlobType()) : ""; blob && isForeign(type))
            add(element, attachedName, attachedText(dmUtf8(blob->getData()))).append_attribute(attachedType) =
                type.c_str();
        else if (source && at == node.getBaseBlob() && node.asTransition())
            add(element, attachedName, textOfSource(*source));
        at = held ? held->getBaseBlob() : nullptr;
    }
}

pugi::xml_node PlainElements::sequence(pugi::xml_node parent, const Sequence& sequence)
{
    const DmCompositionNode& node = *sequence.node;
    _series = {};
    tellUnsaid(node, true);
    pugi::xml_node made = add(parent, "sequence");
    if (!sequence.id.empty())
        made.append_attribute("id") = sequence.id.c_str();
    text(made, "name", node.getName());
    add(made, "duration", timeText(sequence.end - sequence.origin));
    rate(made, Rate::of(sequence.fcm));
    const auto mark = [&](const char* name, double time)
    {
        if (time != dmNoTime && time < sequence.origin)
            lose("DM722", "left out: it lies in front of the sequence");
        const bool isSet = time != dmNoTime && time >= sequence.origin;
        const pugi::xml_node child = add(made, name, isSet ? timeText(time - sequence.origin) : "-1");
        if (!isSet)
            optional(child);
    };
    mark("in", node.getInMark());
    mark("out", node.getOutMark());
    timecode(made, node.getLabelTime(sequence.origin), sequence.fcm, nullptr);
    const pugi::xml_node media = add(made, "media");
    for (const bool sound : {false, true})
    {
        const pugi::xml_node kind = add(media, sound ? "audio" : "video");
        format(kind, sequence, sound);
        add(kind, itemsName);
        if (std::ranges::none_of(sequence.tracks, [sound](const Track& each) { return isSound(each) == sound; }))
            optional(kind);
    }
    markers(made, node.getCueMarks(), sequence.origin, 1, {.node = &node});
    attached(made, node);
    return made;
}

pugi::xml_node PlainElements::track(pugi::xml_node parent, const Sequence& sequence, const Track& track)
{
    if (_report)
    {
        _report->at({.node = track.node});
        if (!track.isFurther)
            tellUnsaid(*track.node, true);
        if (track.layer)
            tellUnsaidIn(sequence, track);
        _report->at({.node = sequence.node});
    }
    pugi::xml_node made = add(parent, "track");
    if (track.saysFilledTo)
        made.append_attribute(filledMark) = timeText(track.filledTo - sequence.origin).c_str();
    add(made, itemsName);
    const pugi::xml_node enabled = add(made, "enabled", boolText(!track.isDisabled));
    if (!track.isDisabled)
        optional(enabled);
    optional(add(made, "locked", "FALSE"));
    if (isSound(track))
    {
        const int channel = track.node->getTrackChannel();
        const pugi::xml_node output = add(made, "outputchannelindex", std::to_string(channel));
        if (channel < 1)
            optional(output);
    }
    if (!track.isFurther)
        attached(made, *track.node);
    return made;
}

void PlainElements::tellUnsaidIn(const Sequence& sequence, const Track& track)
{
    tellUnsaid(*track.layer);
    for (int i = 0; _report && i < track.layer->getNbChildren(); ++i)
    {
        const DmTreeNode* const child = track.layer->getChild(i);
        const bool isPlain =
            child && (child->whatIs() == DM_CUT_NODE || (child->whatIs() == DM_GAP_NODE && !carriedBy(*child)));
        if (!isPlain)
            continue;
        const double recIn = child->asSegment() ? child->asSegment()->getRecIn() : child->asTransition()->getRecIn();
        _report->at({child, track.node->getMediaType(), track.node->getTrackNum(), sequence.node->getLabelTime(recIn),
                     sequence.fcm});
        tellUnsaid(*child);
    }
}

// Items

pugi::xml_node PlainElements::item(pugi::xml_node parent, const Sequence& sequence, const Track& track,
                                   const Item& item)
{
    _series = {};
    if (_report)
        _report->at(whereOf(sequence, track, item));
    const DmTreeNode& node = item.segment ? static_cast<const DmTreeNode&>(*item.segment) : *item.mix;
    tellUnsaid(node, true);
    pugi::xml_node made = item.mix ? transition(parent, sequence, track, item) : clip(parent, sequence, track, item);
    if (item.isCarried)
        made.append_attribute(carriedMark) = "TRUE";
    else
        attached(made, node);
    return made;
}

pugi::xml_node PlainElements::transition(pugi::xml_node parent, const Sequence& sequence, const Track& track,
                                         const Item& item)
{
    const DmTrxEffectNode& mix = *item.mix;
    const bool sound = isSound(track);
    const pugi::xml_node made = add(parent, "transitionitem");
    if (!(mix.getName() == L"untitled"))
        text(made, "name", mix.getName());
    add(made, "start", timeText(item.recIn - sequence.origin));
    add(made, "end", timeText(item.recOut - sequence.origin));
    const double length = item.recOut - item.recIn;
    const double cut = mix.getRelIn();
    const bool isCentre = cut == std::floor(length / 2) || cut == std::ceil(length / 2);
    const double nearest = cut * 4 < length ? 0 : cut * 4 > 3 * length ? length : length / 2;
    const bool blackOnly = item.isFromBlack || item.isToBlack;
    const char* alignment = nearest == 0 ? "start" : nearest == length ? "end" : "center";
    if (item.isFromBlack && !item.isToBlack)
        alignment = "start-black";
    else if (item.isToBlack && !item.isFromBlack)
        alignment = "end-black";
    else if (!isCentre && cut != 0 && cut != length && !blackOnly)
        lose("DM736", "written as the nearest of start, center and end");
    add(made, "alignment", alignment);
    optional(add(made, "cutPointTicks", ticks(cut, DM::FcmUtil::getDoubleFPS(sequence.fcm))));
    rate(made, Rate::of(sequence.fcm));
    const pugi::xml_node effect = add(made, "effect");
    const auto* const wipe = dynamic_cast<const DmWipeSettings*>(mix.getEffect());
    const bool isDissolve = dynamic_cast<const DmVDissolveSettings*>(mix.getEffect()) || sound;
    if (!wipe && !isDissolve)
        lose("DM712", "written as a dissolve");
    if (wipe && !isPlainWipe(*wipe))
        lose("DM730", "left out");
    const char* const name = wipe ? "Edge Wipe" : sound ? "Cross Fade (+3dB)" : "Cross Dissolve";
    add(effect, "name", name);
    add(effect, "effectid", sound ? "KGAudioTransCrossFade3dB" : name);
    add(effect, "effectcategory", wipe ? "Wipe" : "Dissolve");
    add(effect, "effecttype", "transition");
    add(effect, "mediatype", sound ? "audio" : "video");
    const pugi::xml_node code = add(effect, "wipecode", std::to_string(wipe ? wipe->getSmptePattern() : 0));
    if (!wipe)
        optional(code);
    return made;
}

pugi::xml_node PlainElements::clip(pugi::xml_node parent, const Sequence& sequence, const Track& track,
                                   const Item& item)
{
    const DmSegmentNode& segment = *item.segment;
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const auto* const container = dynamic_cast<const DmContainerNode*>(&segment);
    const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
    const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(input);
    const bool sound = isSound(track);
    const Hint hint = _cut.hintOf(segment);
    const File* const file = _cut.fileOf(segment);

    // Times: of the clip at its own rate, and at its speed.
    const DmPlayed played(segment, sequence.fcm);
    const Extent extent = extentOf(item);
    const DmMaterial material = dmMaterialOf(segment, sequence.fcm);
    const double recordFps = DM::FcmUtil::getDoubleFPS(sequence.fcm);
    const double materialFps = recordFps * played.rate();
    const bool isConstant = played.motion() == DmPlayed::Motion::Constant;
    const double speed = isConstant ? std::abs(played.speed()) : 1.0;
    const bool isHeld = played.motion() == DmPlayed::Motion::Freeze && material.kind != DmMaterial::Kind::Still;
    const bool isInside = file && (!file->isKnown || hint.before != 0);
    const double offset = isInside ? material.begin - file->begin : 0.0; ///< in the file
    Rate clipRate = hint.rate.value_or(Rate::of(played.fcm()));
    struct Range
    {
        double in;
        double out;
        double at; ///< at the segment's begin
    };
    const auto rangeAt = [&](double fps)
    {
        const double head = item.recIn - extent.start;
        const double tail = extent.end - item.recOut;
        const double perRecord = fps / recordFps;
        const double begin = (segment.getRelIn() + offset) / speed * fps / materialFps;
        Range range{begin, 0, begin};
        if (played.motion() == DmPlayed::Motion::Keyed)
            range.at = clipTimeOf(played, hint, item.recIn, perRecord);
        range.in = range.at - (isHeld ? 0.0 : played.isReverse() ? tail : head) * perRecord;
        range.out = range.in + (extent.end - extent.start) * perRecord;
        return range;
    };
    const auto isWhole = [](double value) { return std::abs(value - std::round(value)) < 1e-3; };
    Range range = rangeAt(clipRate.fps());
    if (!isWhole(range.in) || !isWhole(range.out))
        if (const Range own = rangeAt(materialFps); isWhole(own.in) && isWhole(own.out))
        {
            range = own;
            clipRate = Rate::of(played.fcm());
        }
    const double clipFps = clipRate.fps();
    const double length = file ? file->end - file->begin : material.length;
    double duration = file || container ? length / speed * clipFps / materialFps : range.out;
    if (material.isEndless() && input)
        duration = std::max(range.out, input->getSrcLength() * clipFps / materialFps);
    if (material.isEndless() && range.in < 0) // whatever it is, it looks the same
        range = {0, range.out - range.in, range.at - range.in};
    if (range.in < 0)
        lose("DM719", "written as they are");
    if (_report && (!isWhole(range.in) || !isWhole(range.out)) && !comesBack(segment, range.in, range.out))
        lose("DM717", "written with their fraction");

    pugi::xml_node made = add(parent, generated ? "generatoritem" : "clipitem");
    if (!_cut.idOf(segment).empty())
        made.append_attribute("id") = _cut.idOf(segment).c_str();
    const bool isNamed = !(segment.getName() == L"untitled");
    const bool isEnabled = !segment.getMuted() || (track.isDisabled && hint.isOff);
    usual(text(made, "name", isNamed ? segment.getName() : DmString()), !isNamed);
    usual(add(made, "enabled", boolText(isEnabled)), isEnabled);
    usual(add(made, "duration", timeText(duration)));
    usual(rate(made, clipRate), clipRate == sequence.rate);
    const auto place = [&](const char* name, double time, const DmTrxEffectNode* mix)
    {
        const std::string text = timeText(time - sequence.origin);
        pugi::xml_node child = usual(add(made, name, mix ? "-1" : text), mix);
        if (mix)
            child.append_attribute(sideMark) = text.c_str();
    };
    place("start", extent.start, item.before);
    place("end", extent.end, item.behind);
    usual(add(made, "in", timeText(range.in)), range.in == 0);
    usual(add(made, "out", timeText(range.out)), !item.before && !item.behind);
    optional(add(made, "pproTicksIn", ticks(range.in, clipFps)));
    optional(add(made, "pproTicksOut", ticks(range.out, clipFps)));
    if (file)
    {
        pugi::xml_node child = add(made, "file");
        child.append_attribute("id") = file->id.c_str();
        // A file that defines a medium at each of its uses comes back as it was.
        const bool isOwn = !hint.id.empty() && hint.id == _cut.idOf(segment) && hint.media == file->id;
        if (file->definer == &segment || (isOwn && !hint.isReference))
            child.append_attribute(defineMark) = "1";
    }
    else if (container && container->getComposition())
        add(made, itemsName);
    if (generated)
    {
        const auto kind = std::ranges::find_if(generators, [generated](const GeneratorKind& each)
                                               { return generated->getInputType() == each.type; });
        const char* const id = kind == generators.end() ? "Slug" : kind->id;
        if (kind == generators.end())
            lose("DM715", "written as black");
        const auto fresh = DmSourceNode::GeneratedInput::create(generated->getInputType(), 1, segment.getMediaType());
        if (fresh && looksOf(*fresh) != looksOf(*generated))
            lose("DM731", "left out");
        const pugi::xml_node effect = add(made, "effect");
        add(effect, "name", id);
        add(effect, "effectid", id);
        add(effect, "effecttype", "generator");
        add(effect, "mediatype", sound ? "audio" : "video");
    }
    if (sound)
    {
        const pugi::xml_node origin = add(made, "sourcetrack");
        add(origin, "mediatype", "audio");
        const DmAudioProperties* const audio = input ? input->getAudioProperties() : nullptr;
        const int channel = audio ? std::clamp(audio->getChannelIdx(), 0, 100000) + 1 : 1;
        add(origin, "trackindex", std::to_string(channel));
    }
    effects(made, sequence, item, range.at, clipFps / recordFps, offset);
    markers(made, segment.getSegmentMarks(), -offset, clipFps / materialFps / speed, whereOf(sequence, track, item));
    links(made, segment, hint.element);
    return made;
}

void PlainElements::links(pugi::xml_node clip, const DmSegmentNode& segment, pugi::xml_node element)
{
    const std::vector<Linked>* const linked = _cut.linksOf(segment);
    if (!linked)
        return;
    const Form form = element ? Form() : Form(segment);
    std::unordered_set<std::string_view> named;
    for (const pugi::xml_node each : element.children("link"))
        named.insert(each.child_value("linkclipref"));
    std::string_view figure; ///< of those that the file did not have
    for (const pugi::xml_node each : form.root().children("our:link"))
        if (const pugi::xml_attribute others = each.attribute(othersMark))
            figure = others.value();
        else if (const std::string_view key = each.attribute("our:key").value(); key.starts_with("link="))
            named.insert(key.substr(std::string_view("link=").size()));
    std::vector<std::string_view> others;
    for (const Linked& each : *linked)
        if (const std::string& id = _cut.idOf(*each.segment); !named.contains(id))
            others.emplace_back(id);
    const bool areOthersSaid = element || (!figure.empty() && figure == figureOf(others));
    if (element && !others.empty())
        clip.append_attribute(othersMark) = figureOf(others).c_str();
    for (const Linked& each : *linked)
    {
        const std::string& id = _cut.idOf(*each.segment);
        if (areOthersSaid && !named.contains(id))
            continue;
        const pugi::xml_node link = add(clip, "link");
        add(link, "linkclipref", id);
        add(link, "mediatype", each.mediaType == DM_MEDIA_AUDIO ? "audio" : "video");
        add(link, "trackindex", std::to_string(each.track));
        add(link, "clipindex", std::to_string(each.index));
    }
}

pugi::xml_node PlainElements::file(pugi::xml_node parent, const Sequence& sequence, const DmSegmentNode& segment)
{
    const File* const file = _cut.fileOf(segment);
    const auto& media =
        static_cast<const DmSourceNode::MediaInput&>(*static_cast<const DmSourceNode&>(segment).getSrcInput());
    const DmSourceInfo* const info = media.getSrcInfo();
    const DmPlayed played(segment, sequence.fcm);
    const std::string length = timeText(file->end - file->begin);
    const std::string path = info ? dmUtf8(info->getPath()) : "";
    std::string name = info ? dmUtf8(info->getName()) : "";
    if (name.empty())
        name = path.substr(path.find_last_of("/\\") + 1);
    if (name.empty() && !(segment.getName() == L"untitled"))
        name = dmUtf8(segment.getName());
    pugi::xml_node made = add(parent, "file");
    if (!file->id.empty())
        made.append_attribute("id") = file->id.c_str();
    const bool isNameless = !info || info->getName().empty();
    pugi::xml_node named = usual(text(made, "name", name), isNameless);
    if (isNameless && !name.empty())
        named.append_attribute(fileNameMark) = "unknown";
    if (!path.empty())
        text(made, "pathurl", urlOfPath(path, "localhost"));
    // What says no rate counts as the clip does, and from zero.
    const bool isOfClip = !_cut.hintOf(segment).rate;
    usual(rate(made, Rate::of(played.fcm())), isOfClip);
    pugi::xml_node duration = usual(add(made, "duration", length), file->isUnknown);
    if (file->isUnknown)
        duration.append_attribute(lengthMark) = "unknown";
    const DmString none;
    const DmString& reel = info ? info->getReelName() : none;
    usual(timecode(made, file->begin, played.fcm(), &reel),
          isOfClip && file->begin == 0 && reel.empty() && !DM::FcmUtil::isDropFrame(played.fcm()));
    const pugi::xml_node kinds = usual(add(made, "media"), file->channels == 0);
    if (file->hasPicture)
        add(add(kinds, "video"), "duration", length);
    if (file->channels > 0)
        add(add(kinds, "audio"), "channelcount", std::to_string(file->channels));
    return made;
}

// Effects

pugi::xml_node PlainElements::filter(pugi::xml_node clip, const char* name, const char* id, bool isSound,
                                     const DmEffectSettings& effect)
{
    const pugi::xml_node made = add(clip, "filter");
    const pugi::xml_node enabled = add(made, "enabled", boolText(!effect.isMuted()));
    if (!effect.isMuted())
        optional(enabled);
    const pugi::xml_node node = add(made, "effect");
    add(node, "name", name);
    add(node, "effectid", id);
    const char* const category = isSound ? id : "motion";
    add(node, "effectcategory", category);
    add(node, "effecttype", category);
    add(node, "mediatype", isSound ? "audio" : "video");
    return node;
}

void PlainElements::channels(pugi::xml_node clip, const Sequence& sequence, const DmEffectSettings& effect,
                             const char* filter, const char* name, bool isSound, double clipTime, double clipPerRecord)
{
    pugi::xml_node node;
    pugi::xml_node parameter;
    const char* last = "";
    for (const Parameter* const each : parametersOf(filter))
    {
        const CoSharedPtr<DmAnimationChannel> channel = effect.getExistingChannelByName(each->channel);
        if (!channel)
            continue;
        if (!node)
            node = this->filter(clip, name, filter, isSound, effect);
        const bool isFurther = std::string_view(last) == each->id;
        if (!isFurther)
        {
            parameter = add(node, "parameter");
            add(parameter, "parameterid", each->id);
            add(parameter, "name", each->name);
        }
        last = each->id;
        const auto setValue = [&](pugi::xml_node holder, float value)
        {
            const std::string number = timeText(fileValue(*each, static_cast<double>(value), sequence));
            pugi::xml_node place = holder.child("value");
            if (!each->part)
                add(holder, "value", number);
            else
                add(place ? place : add(holder, "value"), each->part, number);
        };
        if (channel->getNbKeyFrames() == 0)
            setValue(parameter, channel->getValue());
        for (int i = 0; i < channel->getNbKeyFrames(); ++i)
        {
            const CoSharedPtr<DmKeyFrame> key = channel->getKeyFrame(i);
            if (!key)
                continue;
            // The parts of a value have their key frames together.
            const std::string when = timeText(clipTime + static_cast<double>(key->getFrame()) * clipPerRecord);
            pugi::xml_node holder;
            for (pugi::xml_node other = parameter.child("keyframe"); isFurther && other && !holder;
                 other = other.next_sibling("keyframe"))
                if (when == other.child_value("when") && !other.child("value").child(each->part))
                    holder = other;
            if (!holder)
            {
                holder = add(parameter, "keyframe");
                add(holder, "when", when);
            }
            setValue(holder, key->getValue());
        }
    }
}

void PlainElements::effects(pugi::xml_node clip, const Sequence& sequence, const Item& item, double clipTime,
                            double clipPerRecord, double offset)
{
    bool hasSpeed = false;
    bool hasLook = false;
    const auto parameter = [](pugi::xml_node effect, const char* id, const std::string& value)
    {
        const pugi::xml_node node = add(effect, "parameter");
        add(node, "parameterid", id);
        add(node, "name", id);
        add(node, "value", value);
        return node;
    };
    for (const DmPropertySetPtr& each : item.segment->getEffects())
    {
        const auto* const effect = static_cast<const DmEffectSettings*>(each.get());
        const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect);
        const auto* const soundWarp = dynamic_cast<const DmATimewarpSettings*>(effect);
        const auto* const look = dynamic_cast<const DmLookSettings*>(effect);
        if ((warp || soundWarp) && !hasSpeed && !effect->isMuted())
        {
            hasSpeed = true;
            const pugi::xml_node made = filter(clip, "Time Remap", "timeremap", false, *effect);
            made.child("mediatype").text().set(soundWarp ? "audio" : "video");
            const bool isKeyed = warp && !warp->isConstantSpeed();
            double speed = isKeyed ? 1.0 : warp ? warp->getSpeed() : 1.0;
            if (soundWarp && soundWarp->getRatio() > 0)
                speed = std::round(1e8 / static_cast<double>(soundWarp->getRatio())) / 1e8;
            parameter(made, "variablespeed", isKeyed ? "1" : "0");
            parameter(made, "speed", percentText(std::abs(speed)));
            parameter(made, "reverse", boolText(speed < 0));
            if (!isKeyed)
                continue;
            pugi::xml_node graph = parameter(made, "graphdict", "0");
            std::vector<std::pair<double, double>> keys;
            const double relIn = item.segment->getRelIn() + offset;
            const CoSharedPtr<DmAnimationChannel> timing = warp->getExistingChannelByName(L"timing");
            for (int i = 0; timing && i < timing->getNbKeyFrames(); ++i)
                if (const CoSharedPtr<DmKeyFrame> key = timing->getKeyFrame(i))
                {
                    const pugi::xml_node node = add(graph, "keyframe");
                    keys.emplace_back(clipTime + static_cast<double>(key->getFrame()) * clipPerRecord,
                                      relIn + static_cast<double>(key->getValue()));
                    add(node, "when", timeText(keys.back().first));
                    add(node, "value", timeText(keys.back().second));
                }
            if (constexpr double nearly = 1e-3; std::abs(frameAt(keys, clipTime) - relIn) > nearly)
                graph.append_attribute(relInMark) = timeText(relIn).c_str();
        }
        else if (look && !hasLook && !look->isMuted() && toLook(*look).isFinite())
        {
            hasLook = true;
            const Look values = toLook(*look);
            const pugi::xml_node made = add(clip, "colorinfo");
            if (values.hasSop)
                add(made, "asc_sop", sopText(values));
            if (values.hasSaturation)
                add(made, "asc_sat", numberText(values.saturation));
        }
        else if (const auto* const axis = dynamic_cast<const DmAxisSettings*>(effect))
        {
            for (const auto& [id, name] : motions)
                channels(clip, sequence, *axis, id, name, false, clipTime, clipPerRecord);
            if (hasOtherChannels(*axis))
                lose("DM711", "what of an axis no filter has is left out");
        }
        else if (dynamic_cast<const DmAudioGainSettings*>(effect))
            channels(clip, sequence, *effect, "audiolevels", "Audio Levels", true, clipTime, clipPerRecord);
        else if (effect)
            lose("DM711", "left out");
    }
}

} // namespace interchange::xmeml
