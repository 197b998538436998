#include "icFcp7xmlMaker.h"

#include "icFcp7xmlAttached.h"

#include "CoNumber.h"

#include <algorithm>
#include <array>

namespace interchange::xmeml
{

void Maker::tell(pugi::xml_node element, const char* what, bool decides, std::string_view choice)
{
    if (element.first_child().type() == pugi::node_element || !_told.insert(element.internal_object()).second)
        return;
    constexpr std::size_t longest = 40;
    const std::string_view text = trimmed(element.child_value());
    std::string said = element.name();
    if (text.empty())
        said.append(" is empty");
    else
        said.append(" is '")
            .append(text.substr(0, longest))
            .append(text.size() > longest ? "...', " : "', ")
            .append(what);
    if (decides && !text.empty())
        mistake(element, std::move(said), choice);
    else
        warn(element, said.append("; ").append(choice));
}

std::optional<double> Maker::number(pugi::xml_node parent, const char* name, bool decides)
{
    const pugi::xml_node child = parent.child(name);
    if (!child)
        return std::nullopt;
    std::string_view text = trimmed(child.child_value());
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    const std::optional<double> number = DM::CoNumber::whole(text);
    if (number && std::abs(*number) <= limit)
        return number;
    tell(child, number ? "more than can be counted" : "which is no number", decides, "taken for not said");
    return std::nullopt;
}

std::optional<double> Maker::time(pugi::xml_node parent, const char* name)
{
    const std::optional<double> time = number(parent, name, true);
    if (time && !toNumber<double>(trimmed(textOf(parent, name))))
        tell(parent.child(name), "which is no way to write a time", false, "taken for " + timeText(*time));
    return time;
}

double Maker::wholeTime(pugi::xml_node parent, const char* name, double ratio)
{
    const std::optional<double> said = time(parent, name);
    if (said && ratio == 1 && *said != std::round(*said))
        tell(parent.child(name), "which is between frames", false, "taken for " + timeText(std::round(*said)));
    return std::max(0.0, std::round(said.value_or(0) * ratio));
}

bool Maker::isTrue(pugi::xml_node parent, const char* name, bool otherwise)
{
    const pugi::xml_node child = parent.child(name);
    const std::optional<bool> said = booleanOf(child.child_value());
    if (child && !said)
        tell(child, "which is neither TRUE nor FALSE", true, otherwise ? "taken for TRUE" : "taken for FALSE");
    return said.value_or(otherwise);
}

std::optional<Rate> Maker::rate(pugi::xml_node element)
{
    const std::optional<Rate> rate = Rate::of(element);
    if (!rate && element.child("timebase"))
        tell(element.child("timebase"), "which is no rate", true, "taken for not said");
    isTrue(element, "ntsc", false);
    return rate;
}

bool Maker::isDropFrame(pugi::xml_node timecode)
{
    const pugi::xml_node format = timecode.child("displayformat");
    const std::string_view said = trimmed(format.child_value());
    if (format && !equalsNoCase(said, "DF") && !equalsNoCase(said, "NDF"))
        tell(format, "which is neither DF nor NDF", true, "taken for NDF");
    return equalsNoCase(said, "DF");
}

Speed Maker::speedOf(pugi::xml_node item)
{
    const pugi::xml_node effect = effectOf(item, "timeremap");
    if (!effect)
        return {};
    Speed speed;
    speed.isKeyed = number(parameterOf(effect, "variablespeed"), "value", true).value_or(0) != 0;
    if (speed.isKeyed)
    {
        speed.isSet = static_cast<bool>(parameterOf(effect, "graphdict").child("keyframe"));
        speed.isKeyed = speed.isSet;
        return speed;
    }
    const std::optional<double> percent = number(parameterOf(effect, "speed"), "value", true);
    if (!percent)
        return speed;
    speed.isSet = true;
    speed.factor = shifted(*percent, -2);
    if (isTrue(parameterOf(effect, "reverse"), "value", false))
        speed.factor = -std::abs(speed.factor);
    constexpr double slowest = 1e-6;
    if (std::abs(speed.factor) < slowest)
        speed.factor = 0;
    return speed;
}

void Maker::tellFractions(pugi::xml_node item, double ratio)
{
    for (const char* const name : {"start", "end"})
        static_cast<void>(wholeTime(item, name, ratio));
}

bool Maker::readMix(const Stage& stage, Entry& entry)
{
    const std::optional<double> start = time(entry.element, "start");
    const std::optional<double> end = time(entry.element, "end");
    if (!start || !end || *start < 0 || *end <= *start)
    {
        mistake(entry.element, "a transition without a length", "left out");
        return false;
    }
    const double ratio = stage.fps / entry.rate.fps();
    entry.start = entry.recIn = stage.origin + std::round(*start * ratio);
    entry.end = entry.recOut = stage.origin + std::round(*end * ratio);
    tellFractions(entry.element, ratio);
    const double length = entry.end - entry.start;
    const std::string_view alignment = trimmed(textOf(entry.element, "alignment"));
    constexpr std::array<std::string_view, 5> alignments{"start", "center", "end", "start-black", "end-black"};
    if (entry.element.child("alignment") && std::ranges::find(alignments, alignment) == alignments.end())
        tell(entry.element.child("alignment"), "which is none that there is", true, "taken for center");
    entry.cut = alignment.starts_with("start") ? 0.0 : alignment.starts_with("end") ? length : std::floor(length / 2);
    return length >= 1;
}

bool Maker::readClip(const Stage& stage, Entry& entry, Entry* before, const Entry* behind, double last)
{
    const pugi::xml_node element = entry.element;
    const std::optional<Rate> rate = this->rate(element.child("rate"));
    // A sequence's times count in its own rate, whatever mode stands for that.
    const double recordRatio = stage.fps / entry.rate.fps();
    const Rate sequenceRate = entry.rate;
    entry.rate = rate.value_or(sequenceRate);
    entry.speed = speedOf(element);
    const double recordPerClip = stage.fps / entry.rate.fps();
    entry.in = time(element, "in").value_or(0);
    double out = time(element, "out").value_or(-1);
    if (entry.in == -1 && out == -1) // neither is set
        entry.in = 0;
    const double start = time(element, "start").value_or(-1);
    const double end = time(element, "end").value_or(-1);
    if (out < entry.in && end > start && start >= 0)
        out = entry.in + (end - start) * recordRatio / recordPerClip;
    entry.out = out;
    const double length = (out - entry.in) * recordPerClip;
    const auto record = [&](double time) { return stage.origin + time * recordRatio; };
    if (start >= 0)
        entry.start = record(start);
    else if (before)
        entry.start = before->start;
    else
        entry.start = end >= 0 ? record(end) - length : last;
    if (end >= 0)
        entry.end = record(end);
    else if (behind)
        entry.end = behind->end;
    else
        entry.end = entry.start + length;
    if (start < 0 && !before && end < 0)
        mistake(element, "a clip without a place", "it stands behind what is before it");
    const bool isSound = std::string_view(element.parent().parent().name()) == "audio";
    const auto whole = [isSound](double time) { return isSound ? std::round(time * 1000) / 1000 : std::round(time); };
    entry.start = whole(std::max(entry.start, stage.origin));
    entry.end = whole(entry.end);
    if (!isSound)
        tellFractions(element, recordRatio);
    if (!(entry.end - entry.start >= leastLength))
    {
        mistake(element, "a clip without a length", "left out");
        return false;
    }
    if (std::abs(length - (entry.end - entry.start)) > 1.0 && out >= 0)
        warn(element, "in and out are " + timeText(length) + " frames of the sequence, start and end " +
                          timeText(entry.end - entry.start) + ": the record length holds");
    entry.recIn = entry.start;
    entry.recOut = entry.end;
    if (before && entry.start < before->end && entry.end >= before->end)
    {
        entry.recIn = before->end;
        before->hasIncoming = true;
    }
    return true;
}

std::vector<Entry> Maker::entriesOf(const Stage& stage, pugi::xml_node track)
{
    const auto isItem = [](pugi::xml_node child)
    { return isNamed(child, "clipitem") || isNamed(child, "generatoritem") || isNamed(child, "transitionitem"); };
    const auto isCarried = [](pugi::xml_node child)
    {
        pugi::xml_node behind = child.attribute(carriedMark) ? child.next_sibling() : pugi::xml_node();
        while (behind && behind.type() != pugi::node_element)
            behind = behind.next_sibling();
        const pugi::xml_node attached = behind.child(attachedName);
        return isNamed(behind, "transitionitem") && attached && !attached.attribute(attachedType) &&
               sourceOf(attached.child_value());
    };
    std::vector<Entry> entries; // what is left out makes room in front of what is still to be read
    const auto items = static_cast<std::size_t>(std::ranges::count_if(track.children(), isItem));
    charge(items * weight::ofEntry, track);
    entries.reserve(items);
    const Rate rate = this->rate(stage.element.child("rate")).value_or(Rate::of(stage.fcm));
    double mixEnd = stage.origin;
    for (const pugi::xml_node child : track.children())
        if (isItem(child) && isCarried(child))
            _nodes.insert(child.internal_object());
        else if (isItem(child))
        {
            Entry entry;
            entry.element = child;
            entry.isMix = isNamed(child, "transitionitem");
            entry.rate = rate;
            if (entry.isMix)
            {
                if (!readMix(stage, entry))
                    continue;
                if (entry.start < mixEnd)
                {
                    mistake(child, "a transition that begins before the one before it has ended", "left out");
                    continue;
                }
                mixEnd = entry.end;
            }
            entries.push_back(entry);
        }
    double last = stage.origin;
    Entry* before = nullptr; ///< a transition right before
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Entry entry = entries[i];
        if (!entry.isMix)
        {
            Entry* const behind = i + 1 < entries.size() && entries[i + 1].isMix ? &entries[i + 1] : nullptr;
            if (!readClip(stage, entry, before, behind, last))
            {
                before = nullptr;
                continue;
            }
            if (behind && entry.end > behind->start && entry.start <= behind->start)
            {
                entry.recOut = std::max(entry.recIn, behind->start);
                behind->hasOutgoing = true;
            }
        }
        last = entry.end;
        entries[kept] = entry;
        before = entry.isMix ? &entries[kept] : nullptr;
        ++kept;
    }
    entries.resize(kept);
    std::ranges::stable_sort(entries, {}, &Entry::recIn);
    double end = stage.origin;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        Entry& entry = entries[i];
        if (entry.recIn < end - 1e-6 && i > 0)
        {
            warn(entry.element, "begins before the item before it has ended: the later one covers that");
            Entry& earlier = entries[i - 1];
            if (entry.recIn - earlier.recIn >= leastLength)
                earlier.recOut = entry.recIn;
            else
            {
                entry.recIn = end;
                entry.recOut = std::max(end, entry.recOut);
            }
        }
        end = std::max(end, entry.recOut);
    }
    return entries;
}

} // namespace interchange::xmeml
