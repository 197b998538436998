#include "icOtioItems.h"

#include "icColours.h"
#include "icLeftovers.h"
#include "icNotes.h"
#include "icOtioOwn.h"
#include "icPath.h"
#include "icText.h"
#include "icTree.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmGapNode.h"
#include "dmMaterial.h"
#include "dmTimewarpSettings.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr Loss otherTransition{"DM614", "play as dissolves"};
constexpr Loss otherGenerator{"DM615", "play black"};
constexpr Loss speedOfSound{"DM617", "plays at normal speed"};

struct Generator
{
    std::string_view kind;
    const wchar_t* type;
};
constexpr std::array<Generator, 8> generators{{{"SMPTEBars", L"INPUT_SMPTE_BARS"},
                                               {"PALBars", L"INPUT_PAL_BARS"},
                                               {"black", L"INPUT_BLACK"},
                                               {"Black", L"INPUT_BLACK"},
                                               {"SolidColor", L"INPUT_COLOUR"},
                                               {"Noise", L"INPUT_NOISE"},
                                               {"Silence", L"INPUT_SILENCE"},
                                               {"Tone", L"INPUT_TONE"}}};

/// What the types of wipes begin with; a pattern's number may follow.
constexpr std::string_view wipeType = "SMPTE_Wipe";

constexpr std::string_view fileScheme = "file://";

/// Whether the path is what stands behind the scheme, and the URL is made of it again.
bool isPlainFileUrl(std::string_view url)
{
    static constexpr std::string_view others = "/-._~";
    const auto isPlain = [](char c)
    { return isDigit(c) || (toUpper(c) >= 'A' && toUpper(c) <= 'Z') || others.find(c) != others.npos; };
    return url.starts_with(fileScheme) && url.substr(fileScheme.size()).starts_with('/') &&
           std::ranges::all_of(url.substr(fileScheme.size()), isPlain);
}

} // namespace

// Members

Mix mixOf(const Value& transition)
{
    const std::string_view type = textOf(&transition, "transition_type");
    return type.starts_with(wipeType)                 ? Mix::Wipe
           : type.empty() || type == "SMPTE_Dissolve" ? Mix::Dissolve
                                                      : Mix::Other;
}

std::optional<int> wipePattern(const Value& transition)
{
    std::string_view type = textOf(&transition, "transition_type");
    const std::string_view event = textOf(member(member(&transition, "metadata"), "cmx_3600"), "transition");
    type.remove_prefix(std::min(type.size(), type.find_first_of("0123456789")));
    const std::optional<int> own = toNumber<int>(type);
    return own || !event.starts_with('W') ? own : toNumber<int>(event.substr(1));
}

std::string_view reelOfMetadata(const Value* metadata)
{
    return textOf(member(metadata, "cmx_3600"), "reel");
}

std::string_view mediaKey(const Value& clip)
{
    const std::string_view active = textOf(&clip, "active_media_reference_key");
    return active.empty() ? "DEFAULT_MEDIA" : active;
}

const Value* mediaOf(const Value& clip)
{
    if (const Value* const one = member(&clip, "media_reference"))
        return one;
    return member(member(&clip, "media_references"), mediaKey(clip));
}

bool isCollection(const Value& object)
{
    return schemaOf(&object) == "SerializableCollection";
}

bool isTimewarp(const Value& effect)
{
    const std::string_view schema = schemaOf(&effect);
    return schema == "LinearTimeWarp" || schema == "FreezeFrame";
}

std::size_t countOfTimewarps(const Value* item)
{
    const Value* const effects = arrayOf(item, "effects");
    return effects ? static_cast<std::size_t>(std::count_if(effects->Begin(), effects->End(), isTimewarp)) : 0;
}

std::optional<double> speedOf(const Value& item)
{
    const Value* const effects = arrayOf(&item, "effects");
    if (!effects)
        return std::nullopt;
    const auto warp = std::find_if(effects->Begin(), effects->End(), isTimewarp);
    if (warp == effects->End())
        return std::nullopt;
    if (schemaOf(warp) == "FreezeFrame")
        return 0;
    const Value* const scalar = member(warp, "time_scalar");
    return scalar && scalar->IsNumber() && std::isfinite(scalar->GetDouble()) ? scalar->GetDouble() : 1.0;
}

std::optional<double> speedOf(const DmPropertySet* effect)
{
    if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect); warp && warp->isConstantSpeed())
        return warp->getSpeed();
    if (const auto* const warp = as<DmATimewarpSettings>(effect); warp && warp->getRatio() > 0)
        return 1 / static_cast<double>(warp->getRatio());
    return std::nullopt;
}

std::optional<int> wholeNumber(const Value* value)
{
    if (!value || !value->IsNumber())
        return std::nullopt;
    const double number = value->GetDouble();
    return number == std::trunc(number) &&
                   std::in_range<int>(static_cast<std::int64_t>(std::clamp(number, -1e12, 1e12)))
               ? std::optional(static_cast<int>(number))
               : std::nullopt;
}

std::optional<Look> lookOf(const Value& item)
{
    const Value* const cdl = member(member(&item, "metadata"), "cdl");
    if (!cdl)
        return std::nullopt;
    const auto isFinite = [](const Value& value) { return value.IsNumber() && std::isfinite(value.GetDouble()); };
    const auto take = [&isFinite](const Value* from, std::array<double, 3>& to)
    {
        if (!from || from->Size() != to.size() || !std::all_of(from->Begin(), from->End(), isFinite))
            return false;
        std::transform(from->Begin(), from->End(), to.begin(), [](const Value& value) { return value.GetDouble(); });
        return true;
    };
    Look look;
    if (const Value* const sop = member(cdl, "asc_sop"))
    {
        look.hasSop = take(arrayOf(sop, "slope"), look.slope) && take(arrayOf(sop, "offset"), look.offset) &&
                      take(arrayOf(sop, "power"), look.power);
        if (!look.hasSop)
            return std::nullopt;
    }
    if (const Value* const saturation = member(cdl, "asc_sat"))
    {
        look.hasSaturation = isFinite(*saturation);
        if (!look.hasSaturation)
            return std::nullopt;
        look.saturation = saturation->GetDouble();
    }
    return look.hasSop || look.hasSaturation ? std::optional(look) : std::nullopt;
}

std::vector<Note> notesOf(const Value& object)
{
    return notesOfMetadata(member(&object, "metadata"));
}

std::vector<Note> notesOfMetadata(const Value* metadata)
{
    std::vector<Note> notes;
    const Value* const comments = arrayOf(member(metadata, "cmx_3600"), "comments");
    if (comments && std::all_of(comments->Begin(), comments->End(), [](const Value& each) { return each.IsString(); }))
        for (const Value& comment : comments->GetArray())
            notes.push_back(noteOf(text(&comment)));
    return notes;
}

Value leftoverValue(const DmTreeNode& node, LeftoverType type, json::Document::AllocatorType& allocator)
{
    const std::optional<std::string> data = leftoverOf(node, type);
    if (!data)
        return {};
    // Parsed in place, in memory that lives as long as the values.
    auto* const text = static_cast<char*>(allocator.Malloc(data->size() + 1));
    std::copy_n(data->c_str(), data->size() + 1, text);
    JsonFault fault;
    json::Document document(&allocator);
    if (!parse(document, text, fault))
        return {};
    return std::move(static_cast<Value&>(document));
}

const Value* ownMember(const Value& object)
{
    const Value* const own = member(member(&object, "metadata"), ownKey);
    return own && own->IsObject() ? own : nullptr;
}

// Messages

Items::Items(Report* report, const ParsedText* source, bool tellsPlaces)
    : _tellsPlaces(tellsPlaces)
    , _report(report)
    , _source(source)
{
}

void Items::setMode(DM::FrameCodeModes fcm)
{
    _fcm = fcm;
    DmString(DM::FcmUtil::getFCMString(fcm)).swap(_fcmText);
    _fps = DM::FcmUtil::getDoubleFPS(fcm);
    _rate = _fps;
    _isExact = isOfMode(_fps);
}

void Items::setRate(double rate)
{
    if (rate > 0 && isOfMode(rate))
        _rate = rate;
}

bool Items::isOfMode(double fps) const
{
    const DM::FrameCodeModes mode = DM::FcmUtil::FPStoFCM(fps, false);
    return mode != DM::FCM_NOT_DEFINED && mode == DM::FcmUtil::toNonDrop(_fcm);
}

std::uint32_t Items::lineOf(const Value* object) const
{
    return _source && object ? _source->lineOf(*object) : 0;
}

void Items::came(const DmTreeNode& node, const Value& object)
{
    if (_report)
        _report->became(&object, node);
    if (!_expected.empty())
        std::erase_if(_expected, [&object](const auto& each) { return each.second == &object; });
    if (_tellsPlaces && _report && _source)
        _report->came(node, _source->lineOf(object));
}

void Items::mistake(const Value* object, std::string what, std::string_view choice)
{
    if (_report)
    {
        _report->mistake(lineOf(object), std::move(what), choice);
        _report->expect(object);
        _expected.emplace_back(findings() - 1, object);
    }
}

void Items::add(Report::Level level, const Value* object, std::string what)
{
    if (_report)
    {
        _report->add(level, lineOf(object), std::move(what));
        _report->expect(object);
        _expected.emplace_back(findings() - 1, object);
    }
}

void Items::about(std::size_t from, const DmTreeNode& node)
{
    if (_report)
        _report->about(from, node);
    std::erase_if(_expected, [from](const auto& each) { return each.first >= from; });
}

bool Items::isExpecting(std::size_t from) const
{
    return std::ranges::any_of(_expected, [from](const auto& each) { return each.first >= from; });
}

void Items::lose(const Loss& loss, const Value& object)
{
    if (_report)
        _report->lose(loss, lineOf(&object));
}

void Items::reportWarnings()
{
    if (!_report || _moved == 0)
        return;
    char by[96];
    std::snprintf(by, sizeof by, "by at most %.4g frames (%.4g ms)", _furthest, 1000.0 * _longest);
    _report->add(Report::Warning, 0,
                 "times of other rates that fall between frames (" + std::to_string(_moved) + "): moved " + by);
}

// Any node

void Items::setName(DmTreeNode& node, const Value& object)
{
    if (const std::string_view name = textOf(&object, "name"); !name.empty())
        setText(node, DmTreeNode::Name, name);
}

// Times

bool Items::isWithinReach(double value, double rate) const
{
    constexpr double limit = 1e12;
    return rate <= limit && std::abs(value) <= limit && std::abs(value * _fps / rate) <= limit;
}

double Items::frames(const Value* time)
{
    const Value* const value = member(time, "value");
    const Value* const rate = member(time, "rate");
    if (!value || !value->IsNumber() || !rate || !rate->IsNumber())
        return 0;
    const double count = value->GetDouble();
    const double ownFps = rate->GetDouble();
    if (count == 0 || !(ownFps > 0) || !std::isfinite(ownFps) || !isWithinReach(count, ownFps))
        return 0;
    if (isOwnRate(ownFps))
        return count;
    const double exact = count * _fps / ownFps;
    constexpr double partsOfFrame = 1000;
    if (_isSound)
        return std::round(exact * partsOfFrame) / partsOfFrame;
    const double nearest = std::round(exact);
    if (const double difference = std::abs(nearest - exact); difference > 1e-6)
    {
        ++_moved;
        _furthest = std::max(_furthest, difference);
        _longest = std::max(_longest, difference / _fps);
    }
    return nearest;
}

std::optional<Items::Range> Items::range(const Value* range)
{
    if (!range || !range->IsObject())
        return std::nullopt;
    return Range{frames(member(range, "start_time")), std::max(0.0, frames(member(range, "duration")))};
}

Extent Items::extent(const Value& item, const std::optional<Range>& material, double speed)
{
    std::optional<Range> played = range(member(&item, "source_range"));
    if (!played)
        played = material;
    if (!played)
    {
        mistake(&item, "an item without a length", "taken as zero");
        played = Range{0, 0};
    }
    Extent extent{played->start, played->start, played->length, 0};
    double end = played->start + played->length * std::max(1.0, std::abs(speed));
    if (material)
    {
        extent.base = std::min(material->start, extent.base);
        end = std::max(end, material->start + material->length);
    }
    extent.materialLength = std::max(1.0, end - extent.base);
    return extent;
}

// Parts of items

Extent Items::clipExtent(const Value& clip, const Value* media)
{
    return extent(clip, range(member(media, "available_range")), speedOf(clip).value_or(1.0));
}

CoSharedPtr<DmSourceNode::Input> Items::generator(const Value& media, double length, eDmTreeMediaType mediaType)
{
    const auto* const known = std::ranges::find(generators, textOf(&media, "generator_kind"), &Generator::kind);
    const bool isKnown = known != generators.end();
    if (!isKnown)
        lose(otherGenerator, media);
    const auto generated =
        orBadAlloc(DmSourceNode::GeneratedInput::create(isKnown ? known->type : L"INPUT_BLACK", length, mediaType));
    require(generated->setFcm(_fcmText));
    setText(*generated, DmSourceNode::Input::Name, textOf(&media, "name"));
    return generated;
}

void Items::setSequence(DmSourceInfo& info, const Value& media, double length)
{
    setText(info, DmSourceInfo::Path, pathOfUrl(textOf(&media, "target_url_base")));
    const int digits = std::clamp(wholeNumber(member(&media, "frame_zero_padding")).value_or(0), 0, 32);
    std::string pattern(textOf(&media, "name_prefix"));
    pattern.append(static_cast<std::size_t>(std::max(1, digits)), '#').append(textOf(&media, "name_suffix"));
    require(info.addFile(toDmString(pattern)));
    const int begin = wholeNumber(member(&media, "start_frame")).value_or(1);
    constexpr double last = std::numeric_limits<int>::max();
    require(info.setFileSeqBegin(begin));
    require(info.setFileSeqEnd(static_cast<int>(std::min(last, begin + length - 1))));
}

CoSharedPtr<DmSourceNode::MediaInput> Items::recorded(DmSourceInfo::SourceType type, std::string_view name,
                                                      std::string_view reel, const Extent& extent,
                                                      eDmTreeMediaType mediaType) const
{
    // It copies the info that it is given: this one is filled where it stays.
    static const CoSharedPtr<DmSourceInfo> fresh = DmSourceInfo::create();
    auto recorded = orBadAlloc(DmSourceNode::MediaInput::create(extent.materialLength, extent.base, fresh, _fcmText,
                                                                mediaType, type != DmSourceInfo::Unknown));
    require(recorded->setFcm(_fcmText));
    DmSourceInfo* const info = recorded->getSrcInfo();
    if (!info)
        throw std::bad_alloc();
    setText(*info, DmSourceInfo::Name, name);
    setText(*info, DmSourceInfo::ReelName, reel);
    require(info->setSourceType(type));
    return recorded;
}

CoSharedPtr<DmSourceNode::Input> Items::input(const Value& clip, const Value* media, const Extent& extent,
                                              eDmTreeMediaType mediaType)
{
    const std::string_view schema = schemaOf(media);
    if (schema == "GeneratorReference")
        return generator(*media, extent.materialLength, mediaType);
    const bool isFile = schema == "ExternalReference";
    const bool isSequence = schema == "ImageSequenceReference";
    const auto type = isFile ? DmSourceInfo::File : isSequence ? DmSourceInfo::FileSequence : DmSourceInfo::Unknown;
    const auto recorded =
        this->recorded(type, textOf(media, "name"), reelOfMetadata(member(&clip, "metadata")), extent, mediaType);
    if (isFile)
        setText(*recorded->getSrcInfo(), DmSourceInfo::Path, pathOfUrl(textOf(media, "target_url")));
    if (isSequence)
        setSequence(*recorded->getSrcInfo(), *media, extent.materialLength);
    // What plays says how much there is at least; the file's own length is kept beside it.
    const std::optional<Range> available = range(member(media, "available_range"));
    if (!available)
        require(dmSetMaterialLengthUnknown(*recorded));
    else if (available->length != extent.materialLength)
        require(dmSetMaterialLength(*recorded, available->length));
    return recorded;
}

CoSharedPtr<DmCompositionNode> Items::composition(const Value& object, std::optional<double> recordStart)
{
    const std::string_view name = textOf(&object, "name");
    auto node = orBadAlloc(DmCompositionNode::create(toDmString(name.empty() ? "untitled" : name), _fcmText, {}));
    const bool isTimeline = schemaOf(&object) == "Timeline";
    const double start = isTimeline ? frames(member(&object, "global_start_time")) : 0.0;
    require(node->setStartTC(start, _fcmText));
    const Value* const stack = isTimeline ? member(&object, "tracks") : &object;
    if (const Value* const markers = schemaOf(stack) == "Stack" ? arrayOf(stack, "markers") : nullptr)
        for (const Value& marker : markers->GetArray())
            if (schemaOf(&marker) == "Marker")
                require(node->addCueMark(mark(marker, -recordStart.value_or(start))));
    return node;
}

CoSharedPtr<DmTrackNode> Items::track(const Value& object, eDmTreeMediaType mediaType, int number)
{
    auto node = orBadAlloc(DmTrackNode::create(number, mediaType));
    require(node->setTrackChannel(number));
    setName(*node, object);
    return node;
}

double Items::lengthOf(const Value& item)
{
    const std::string_view schema = schemaOf(&item);
    const Value* played = member(&item, "source_range");
    if (!played)
        played = member(mediaOf(item), "available_range");
    if (const std::optional<Range> found = range(played))
        return found->length;
    double length = 0;
    if (const Value* const children = arrayOf(&item, "children"))
        for (const Value& child : children->GetArray())
            if (child.IsObject() && schemaOf(&child) != "Transition")
                length = schema == "Stack" ? std::max(length, lengthOf(child)) : length + lengthOf(child);
    return length;
}

CoSharedPtr<DmSegmentNode> Items::gap(const Value& item, eDmTreeMediaType mediaType)
{
    const std::string_view schema = schemaOf(&item);
    const bool isGap = schema == "Gap" || schema == "Filler";
    Range played = range(member(&item, "source_range")).value_or(Range{0, 0});
    if (played.length == 0 && !isGap)
        played.length = lengthOf(item);
    const auto node = orBadAlloc(DmGapNode::create(mediaType, 0, played.length));
    require(node->setRelIn(played.start));
    addEffectsAndMarks(*node, item, 0);
    return node;
}

CoSharedPtr<DmContainerNode> Items::container(const Value& item, const CoSharedPtr<DmCompositionNode>& inside,
                                              double length, eDmTreeMediaType mediaType)
{
    const Extent extent = this->extent(item, Range{0, length});
    auto node = orBadAlloc(DmContainerNode::create(inside, mediaType, 0, extent.length, extent.start - extent.base));
    addEffectsAndMarks(*node, item, extent.base);
    return node;
}

CoSharedPtr<DmTrxEffectNode> Items::transition(const Value& item, eDmTreeMediaType mediaType, double in, double out)
{
    auto node = orBadAlloc(DmTrxEffectNode::create(mix(item, mediaType, in + out), 0, in + out, in));
    setName(*node, item);
    return node;
}

CoSharedPtr<DmSourceNode> Items::clip(const Value& item, eDmTreeMediaType mediaType)
{
    const Value* const media = mediaOf(item);
    const Extent extent = clipExtent(item, media);
    auto node = orBadAlloc(DmSourceNode::create(input(item, media, extent, mediaType), 0, extent.length,
                                                extent.start - extent.base, false, false));
    addEffectsAndMarks(*node, item, extent.base);
    return node;
}

CoSharedPtr<DmSourceNode> Items::clip(const ClipFacts& facts, std::string_view reel, eDmTreeMediaType mediaType)
{
    const bool isKnown = facts.availableLength >= 0;
    const double base = isKnown ? facts.availableStart : facts.start;
    const double end = std::max(facts.start + facts.length, isKnown ? base + facts.availableLength : 0.0);
    const Extent extent{base, facts.start, facts.length, std::max(1.0, end - base)};
    if (!isOwnRate(_fps) || facts.name.empty() || facts.name == "untitled" || base > facts.start ||
        (isKnown && facts.availableLength != extent.materialLength) ||
        (!facts.url.empty() && !isPlainFileUrl(facts.url)))
        return {};
    const auto recorded = this->recorded(facts.url.empty() ? DmSourceInfo::Unknown : DmSourceInfo::File,
                                         facts.mediaName, reel, extent, mediaType);
    if (!facts.url.empty())
        setText(*recorded->getSrcInfo(), DmSourceInfo::Path, facts.url.substr(fileScheme.size()));
    if (!isKnown)
        require(dmSetMaterialLengthUnknown(*recorded));
    auto node = orBadAlloc(DmSourceNode::create(recorded, 0, extent.length, extent.start - extent.base, false, false));
    setText(*node, DmTreeNode::Name, facts.name);
    if (facts.isMuted)
        require(node->setMuted(true));
    return node;
}

CoSharedPtr<DmEffectSettings> Items::mix(const Value& transition, eDmTreeMediaType mediaType, double length)
{
    const auto ofLength = [length](const auto& effect) -> CoSharedPtr<DmEffectSettings>
    {
        require(orBadAlloc(effect)->setLength(length));
        return effect;
    };
    const Mix mix = mixOf(transition);
    if (mix == Mix::Other || (mix == Mix::Wipe && mediaType == DM_MEDIA_AUDIO))
        lose(otherTransition, transition);
    if (mediaType == DM_MEDIA_AUDIO)
        return ofLength(DmADissolveSettings::create());
    if (mix != Mix::Wipe)
        return ofLength(DmVDissolveSettings::create());
    const auto wipe = orBadAlloc(DmWipeSettings::create());
    if (const std::optional<int> pattern = wipePattern(transition))
        require(wipe->setSmptePattern(*pattern));
    return ofLength(wipe);
}

CoSharedPtr<DmCueMark> Items::mark(const Value& marker, double origin)
{
    const Value* const marked = member(&marker, "marked_range");
    const Range at = range(marked).value_or(Range{0, 0});
    auto mark = orBadAlloc(DmCueMark::create(toDmString(textOf(&marker, "name")), at.start - origin));
    require(mark->setCueMarkDuration(at.length));
    setText(*mark, DmCueMark::CueMarkComment, textOf(&marker, "comment"));
    std::array<int, 3> colour{};
    const Value* const given = member(&marker, "color");
    if (given && given->IsObject())
    {
        constexpr std::array<const char*, 3> parts{"r", "g", "b"};
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (const Value* const part = member(given, parts[i]); part && part->IsNumber() && part->GetDouble() > 0)
                colour[i] = static_cast<int>(std::round(255 * std::min(1.0, part->GetDouble())));
    }
    else
        for (const NamedColour& named : namedColours())
            if (named.name == text(given))
                colour = {named.red, named.green, named.blue};
    require(mark->setCueMarkColorRed(colour[0]));
    require(mark->setCueMarkColorGreen(colour[1]));
    require(mark->setCueMarkColorBlue(colour[2]));
    return mark;
}

void Items::addEffectsAndMarks(DmSegmentNode& segment, const Value& item, double origin)
{
    setName(segment, item);
    if (const Value* const enabled = member(&item, "enabled"); enabled && enabled->IsFalse())
        require(segment.setMuted(true));
    if (const Value* const markers = arrayOf(&item, "markers"))
        for (const Value& marker : markers->GetArray())
            if (schemaOf(&marker) == "Marker")
                require(segment.addSegmentMark(mark(marker, origin)));
    if (const auto warp = timewarp(item, segment.getMediaType()))
        require(segment.addEffect(warp));
    if (segment.getMediaType() == DM_MEDIA_VIDEO)
        if (const std::optional<Look> look = lookOf(item))
            require(segment.addEffect(toLookSettings(*look)));
}

CoSharedPtr<DmEffectSettings> Items::timewarp(const Value& item, eDmTreeMediaType mediaType)
{
    const std::optional<double> speed = speedOf(item);
    if (!speed)
        return {};
    if (countOfTimewarps(&item) > 1)
        warn(&item, "more than one timewarp: it plays at the speed of the first");
    if (mediaType == DM_MEDIA_VIDEO)
    {
        const auto warp = orBadAlloc(DmVTimewarpSettings::create());
        require(warp->setSpeed(*speed));
        return warp;
    }
    constexpr double slowest = 1e-6;
    constexpr double fastest = 1e6;
    if (*speed < slowest || *speed > fastest)
    {
        lose(speedOfSound, item);
        return {};
    }
    const auto warp = orBadAlloc(DmATimewarpSettings::create());
    require(warp->setRatio(static_cast<float>(1 / *speed)));
    return warp;
}

} // namespace interchange::otio
