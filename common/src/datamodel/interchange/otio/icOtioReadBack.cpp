#include "icOtioReadBack.h"

#include "icLeftovers.h"
#include "icPath.h"
#include "icTree.h"
#include "icUnsaid.h"

#include "dmADissolveSettings.h"
#include "dmBlobNode.h"
#include "dmMaterial.h"
#include "dmSetTools.h"
#include "dmTimewarpSettings.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"

#include <algorithm>
#include <cmath>

namespace interchange::otio
{

namespace
{

constexpr double furthest = 1e12; ///< times beyond it are mistakes to the reader

/// Whether all properties are those of a set that was read, but for some that are looked at in another way.
template <class Set>
bool isLike(const Set& set, const Set& read, std::initializer_list<int> others)
{
    const DmPropertySetData& data = set.classData();
    if (&data != &read.classData())
        return false;
    std::uint64_t isOther = 0;
    for (const int index : others)
        isOther |= std::uint64_t{1} << index;
    for (int i = 0; i < data.size(); ++i)
        if ((isOther >> i & 1U) == 0 && !isSameProperty(set, read, i))
            return false;
    return true;
}

template <class Dissolve>
bool isDissolve(const DmEffectSettings& effect, const DmEffectSettings& read, double length)
{
    const auto* const dissolve = as<Dissolve>(&effect);
    return dissolve && dissolve->getLength() == length && isLike(effect, read, {Dissolve::Length});
}

/// Adds to what is written only, and nothing that is read.
bool isAddition(const Value& difference, bool isObject = true)
{
    if (difference.IsNull())
        return true;
    for (const auto& part : difference.GetObject())
    {
        const std::string_view name = text(&part.name);
        if (name == "form" && isObject)
            continue;
        if ((name != "added" && name != "inside") || !part.value.IsObject())
            return false;
        for (const auto& each : part.value.GetObject())
            if (text(&each.name) == "cdl" ||
                (name == "inside" && (!each.value.IsObject() || !isAddition(each.value, false))))
                return false;
    }
    return true;
}

/// A document may say others.
bool isPlayed(eDmTreeMediaType mediaType)
{
    return mediaType == DM_MEDIA_VIDEO || mediaType == DM_MEDIA_AUDIO;
}

/// The comments of cut lists among what is added.
const Value* addedComments(const Value& difference)
{
    const Value* const metadata = member(member(&difference, "inside"), "metadata");
    if (const Value* const whole = member(member(metadata, "added"), "cmx_3600"))
        return member(whole, "comments");
    const Value* const ofList = member(member(metadata, "inside"), "cmx_3600");
    return member(member(ofList, "added"), "comments");
}

} // namespace

const ReadBack::Fresh& ReadBack::fresh(eDmTreeMediaType mediaType)
{
    Fresh& made = _fresh[static_cast<std::size_t>(mediaType)];
    if (made.clip)
        return made;
    // Whatever their own words are: those are looked at one by one.
    Items items(nullptr, nullptr);
    items.setMode(_items.fcm());
    json::Document object;
    std::string text = R"({"OTIO_SCHEMA": "Clip.2", "media_reference": {"OTIO_SCHEMA": "MissingReference.1"}})";
    JsonFault fault;
    if (!parse(object, text.data(), fault))
        throw JsonError(fault.what);
    made.clip = items.clip(object, mediaType);
    made.gap = items.gap(object, mediaType);
    made.mark = items.mark(object, 0);
    made.mix = items.transition(object, mediaType, 0, 0);
    return made;
}

bool ReadBack::comesBack(const DmString& text)
{
    _text.clear();
    return dmToUtf8(text.view(), _text) && _text.find('\0') == _text.npos;
}

bool ReadBack::isBlob(const DmTreeNode& node, const Value& difference) const
{
    const auto* const first = as<DmBlobNode>(node.getBaseBlob());
    if (!first)
        return !node.getBaseBlob() && !addedComments(difference);
    const bool isLast = !first->getBaseBlob();
    if (first->getBlobType() == L"otio 2")
        return isLast && !addedComments(difference);
    if (!(first->getBlobType() == L"edl 2"))
        return false;
    if (!isLast)
    {
        const auto* const second = as<DmBlobNode>(first->getBaseBlob());
        if (!second || second->getBaseBlob() || !(second->getBlobType() == L"otio 2"))
            return false;
    }
    std::vector<Note> notes;
    for (const Note& note : interchange::notesOf(node))
        if (!isOfModel(note.kind))
            notes.push_back(noteOf(noteText(note)));
    if (const Value* const comments = notes.empty() ? addedComments(difference) : nullptr)
    {
        if (!comments->IsArray())
            return false;
        for (const Value& each : comments->GetArray())
            if (each.IsString())
                notes.push_back(noteOf(text(&each)));
            else
                return false;
    }
    std::string lines;
    appendNoteLines(lines, notes);
    return !lines.empty() && dmUtf8(first->getData()) == lines;
}

bool ReadBack::areMarks(const DmSegmentNode& node, const DmCueMark& fresh, double base)
{
    for (const DmPropertySetPtr& each : node.getSegmentMarks())
    {
        const auto* const mark = dynamic_cast<const DmCueMark*>(each.get());
        if (!mark)
            return false;
        const double time = mark->getCueMarkTime();
        const double length = mark->getCueMarkDuration();
        const NamedColour& colour = Parts::colourOf(*mark);
        const bool hasTimes = time != dmNoTime && length != dmNoTime && std::abs(time + base) <= furthest &&
                              length >= 0 && length <= furthest && time + base - base == time;
        if (!hasTimes || mark->getCueMarkColorRed() != colour.red || mark->getCueMarkColorGreen() != colour.green ||
            mark->getCueMarkColorBlue() != colour.blue || !comesBack(mark->getCueMarkName()) ||
            !comesBack(mark->getCueMarkComment()) ||
            !isLike(*mark, fresh,
                    {DmCueMark::CueMarkName, DmCueMark::CueMarkComment, DmCueMark::CueMarkTime,
                     DmCueMark::CueMarkColorRed, DmCueMark::CueMarkColorGreen, DmCueMark::CueMarkColorBlue,
                     DmCueMark::CueMarkDuration}))
            return false;
    }
    return true;
}

bool ReadBack::isInfo(const DmSourceInfo& info, const DmSourceInfo& fresh)
{
    const bool isFile = !info.getPath().empty();
    if (info.getSourceType() != (isFile ? DmSourceInfo::File : DmSourceInfo::Unknown) || !comesBack(info.getName()) ||
        !comesBack(info.getReelName()) || !comesBack(info.getPath()))
        return false;
    // Of a path that a letter and a colon begin, with or without a slash in front, the slashes change.
    const bool isUsual = _text.starts_with('/') && !(_text.size() > 2 && _text[2] == ':');
    if (isFile && !isUsual && pathOfUrl(urlOfPath(_text)) != _text)
        return false;
    return isLike(info, fresh, {DmSourceInfo::Type, DmSourceInfo::Name, DmSourceInfo::ReelName, DmSourceInfo::Path});
}

bool ReadBack::isSource(const DmSourceNode& node, const DmSourceNode& fresh, Trim trim, double length)
{
    using Input = DmSourceNode::MediaInput;
    const auto* const input = as<Input>(node.getSrcInput());
    const DmSourceInfo* const info = input ? input->getSrcInfo() : nullptr;
    const auto& freshInput = static_cast<const Input&>(*fresh.getSrcInput());
    if (!info || !isInfo(*info, *freshInput.getSrcInfo()) || input->getMediaType() != node.getMediaType() ||
        input->hasMedia() == info->getPath().empty() || !(input->getFcm() == _items.fcmText()) ||
        !(input->getSrcInFcm() == _items.fcmText()) ||
        !isLike(*input, freshInput,
                {Input::MediaType, Input::SrcLength, Input::SrcFcm, Input::HasMedia, Input::SrcIn, Input::SrcInFcm,
                 Input::SrcInfo, Input::ExtraDataDictionary}) ||
        !isLike(node, fresh,
                {DmSourceNode::ClassId, DmSourceNode::Name, DmSourceNode::BaseBlob, DmSourceNode::RecIn,
                 DmSourceNode::RecLength, DmSourceNode::RelIn, DmSourceNode::Effects, DmSourceNode::SegmentMarks,
                 DmSourceNode::MediaType, DmSourceNode::SegmentId, DmSourceNode::Muted, DmSourceNode::SrcInput}))
        return false;
    const auto& extra = input->getExtraDataDictionary();
    const bool isUnknown = extra.count() == 1 && extra.at(0) && extra.at(0)->getKey() == dmMaterialLengthKey &&
                           extra.at(0)->getValue() == dmMaterialLengthUnknown;
    if (extra.count() != 0 && !isUnknown)
        return false;
    // What is written, and what is made of that.
    const double base = input->getSrcIn();
    const double head = headOf(node, trim);
    const double start = base + node.getRelIn() - head;
    const double written = length + trim.in + trim.out;
    const double speed = node.getEffects().count() == 0 ? 1.0 : speedOf(node.getEffects()[0].get()).value_or(0.0);
    const double begin = isUnknown ? start : std::min(base, start);
    const double played = start + written * std::max(1.0, std::abs(speed));
    const double end = isUnknown ? played : std::max(played, base + input->getSrcLength());
    return std::abs(start) <= furthest && std::abs(base) <= furthest && written >= 0 && written <= furthest &&
           input->getSrcLength() >= 0 && input->getSrcLength() <= furthest && begin == base &&
           std::max(1.0, end - begin) == input->getSrcLength() && start - begin + head == node.getRelIn() &&
           areMarks(node, *_fresh[static_cast<std::size_t>(node.getMediaType())].mark, base);
}

bool ReadBack::isSame(const DmSegmentNode& node, Trim trim, double length, const Value& difference)
{
    const eDmTreeMediaType mediaType = node.getMediaType();
    const bool isSource = node.whatIs() == DM_SOURCE_NODE;
    if ((!isSource && node.whatIs() != DM_GAP_NODE) || !isPlayed(mediaType) || !isExact() || !isAddition(difference) ||
        !isBlob(node, difference) || node.getName().empty() || !comesBack(node.getName()) ||
        length + trim.in + trim.out - trim.in - trim.out != node.getRecLength())
        return false;
    const Fresh& fresh = this->fresh(mediaType);
    const auto& effects = node.getEffects();
    if (effects.count() > 1)
        return false;
    if (effects.count() == 1)
    {
        // A constant speed of picture, and nothing that a channel or an attribute says beside it.
        const auto* const warp = as<DmVTimewarpSettings>(effects[0].get());
        const std::optional<double> speed = speedOf(warp);
        if (!speed || !std::isfinite(*speed) || mediaType != DM_MEDIA_VIDEO)
            return false;
        const auto made = orBadAlloc(DmVTimewarpSettings::create());
        bool isEqual = false;
        if (made->setSpeed(*speed) != DM_NO_ERROR || dmDeepEqual(*warp, *made, isEqual) != DM_NO_ERROR || !isEqual)
            return false;
    }
    if (isSource)
        return this->isSource(static_cast<const DmSourceNode&>(node), *fresh.clip, trim, length);
    const double head = headOf(node, trim);
    return node.getRelIn() - head + head == node.getRelIn() && std::abs(node.getRelIn() - head) <= furthest &&
           length >= 0 && length + trim.in + trim.out <= furthest && areMarks(node, *fresh.mark, 0) &&
           isLike(node, *fresh.gap,
                  {DmSegmentNode::ClassId, DmSegmentNode::Name, DmSegmentNode::BaseBlob, DmSegmentNode::RecIn,
                   DmSegmentNode::RecLength, DmSegmentNode::RelIn, DmSegmentNode::Effects, DmSegmentNode::SegmentMarks,
                   DmSegmentNode::MediaType, DmSegmentNode::SegmentId, DmSegmentNode::Muted});
}

bool ReadBack::isSame(const DmTrxEffectNode& node, const Value& difference)
{
    const eDmTreeMediaType mediaType = node.getMediaType();
    if (!isPlayed(mediaType) || !isExact() || !isAddition(difference) || !isBlob(node, difference) ||
        node.getName().empty() || !comesBack(node.getName()))
        return false;
    const DmTrxEffectNode& fresh = *this->fresh(mediaType).mix;
    const double in = node.getRelIn();
    const double out = node.getRecLength() - in;
    const DmEffectSettings* const effect = node.getEffect();
    return effect && in >= 0 && out >= 0 && in + out <= furthest && in + out == node.getRecLength() &&
           (isDissolve<DmVDissolveSettings>(*effect, *fresh.getEffect(), in + out) ||
            isDissolve<DmADissolveSettings>(*effect, *fresh.getEffect(), in + out)) &&
           isLike(node, fresh,
                  {DmTrxEffectNode::ClassId, DmTrxEffectNode::Name, DmTrxEffectNode::BaseBlob, DmTrxEffectNode::RecIn,
                   DmTrxEffectNode::RecLength, DmTrxEffectNode::RelIn, DmTrxEffectNode::MediaType,
                   DmTrxEffectNode::Effect});
}

// What is added

void Adder::beginObject()
{
    _levels.push_back({std::exchange(_next, nullptr), _isMetadata, {}});
    _to.beginObject();
}

void Adder::endObject()
{
    const Level level = std::move(_levels.back());
    const auto isTold = [&level](const Value& name)
    { return std::ranges::find(level.told, otio::text(&name)) != level.told.end(); };
    if (const Value* const inside = level.isMetadata ? member(level.difference, "inside") : nullptr)
        for (const auto& each : inside->GetObject())
            if (!isTold(each.name))
            {
                // What others say beside a thing of ours stays when that is gone.
                json::Document rest(json::kObjectType);
                applyDifference(rest, each.value, rest.GetAllocator(), true);
                if (rest.ObjectEmpty())
                    continue;
                _to.name(otio::text(&each.name));
                _to.value(rest);
            }
    if (const Value* const added = member(level.difference, "added"))
        for (const auto& each : added->GetObject())
            if (!isTold(each.name))
            {
                _to.name(otio::text(&each.name));
                _to.value(each.value);
            }
    _levels.pop_back();
    _isMetadata = !_levels.empty() && _levels.back().isMetadata;
    _to.endObject();
}

void Adder::beginList()
{
    _levels.push_back({nullptr, false, {}});
    _next = nullptr;
    _to.beginList();
}

void Adder::endList()
{
    _levels.pop_back();
    _isMetadata = !_levels.empty() && _levels.back().isMetadata;
    _to.endList();
}

void Adder::name(std::string_view name)
{
    take(name);
    _to.name(name);
}

void Adder::time(std::string_view name, double rate, double frames)
{
    if (hasInside(name))
        return Listener::time(name, rate, frames);
    take(name);
    _to.time(name, rate, frames);
}

void Adder::range(std::string_view name, double rate, double start, double length)
{
    if (hasInside(name))
        return Listener::range(name, rate, start, length);
    take(name);
    _to.range(name, rate, start, length);
}

bool Adder::hasInside(std::string_view name) const
{
    const Value* const difference = _levels.back().difference;
    return difference && member(member(difference, "inside"), name);
}

void Adder::take(std::string_view name)
{
    Level& level = _levels.back();
    _next = level.difference ? member(member(level.difference, "inside"), name) : nullptr;
    _isMetadata = level.isMetadata || name == "metadata";
    if (level.difference)
        level.told.emplace_back(name);
}

} // namespace interchange::otio
