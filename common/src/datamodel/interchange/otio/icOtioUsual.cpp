#include "icOtioUsual.h"

#include "icOtioMatch.h"
#include "icOtioOwn.h"
#include "icPath.h"
#include "icText.h"
#include "icTree.h"

#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <functional>

namespace interchange::otio
{

namespace
{

constexpr json::SizeType membersOfClip = 7;      ///< with one media reference, that all clips have
constexpr json::SizeType membersOfReference = 4; ///< of missing media, that all have
constexpr json::SizeType membersOfRange = 3;
constexpr json::SizeType mostOfMetadata = 8; ///< each is held against all others

bool isText(const Value* value, std::string_view expected)
{
    return value && value->IsString() && text(value) == expected;
}

/// Whether the document has the text as the file does.
bool isTextOf(const Value* value, const DmString& held)
{
    if (!value || !value->IsString())
        return false;
    const std::string_view said = text(value);
    const std::wstring_view kept = held.view();
    bool isAscii = said.size() == kept.size();
    for (std::size_t i = 0; isAscii && i < said.size(); ++i)
        isAscii = static_cast<unsigned char>(said[i]) < 0x80 && static_cast<wchar_t>(said[i]) == kept[i];
    return isAscii || dmUtf8(held) == said;
}

bool isEmptyList(const Value* value)
{
    return value && value->IsArray() && value->Empty();
}

bool isRangeOf(const Value* value, Items::Range range, double rate)
{
    if (!value || !value->IsObject() || value->MemberCount() != membersOfRange ||
        !isText(memberOrNull(*value, schemaKey), "TimeRange.1"))
        return false;
    const Value* const start = memberOrNull(*value, "start_time");
    const Value* const length = memberOrNull(*value, "duration");
    return start && length && isTimeOf(*start, rate, range.start) && isTimeOf(*length, rate, range.length);
}

/// Of most paths the URL is what stands behind "file://", as it stands.
bool isUrlOf(const Value* value, const DmString& path)
{
    constexpr std::string_view scheme = "file://";
    constexpr std::string_view others = "/-._~";
    if (!value || !value->IsString())
        return false;
    const std::string_view said = text(value);
    const std::wstring_view kept = path.view();
    bool isPlain = said.starts_with(scheme) && said.size() - scheme.size() == kept.size() && kept.starts_with(L'/') &&
                   kept.find(L':') == kept.npos;
    for (std::size_t i = 0; isPlain && i < kept.size(); ++i)
    {
        const char c = said[scheme.size() + i];
        const bool isSame = isDigit(c) || (toUpper(c) >= 'A' && toUpper(c) <= 'Z') || others.find(c) != others.npos;
        isPlain = isSame && static_cast<wchar_t>(c) == kept[i];
    }
    return isPlain || urlOfPath(dmUtf8(path)) == said;
}

bool isReferenceOf(const Value& reference, const DmSourceNode::MediaInput& input, const DmSourceInfo& info,
                   Items::Range material, double rate, Manner& manner)
{
    const std::string_view schema = referenceSchema(input);
    const bool isFile = schema == "ExternalReference.1";
    const Value* const metadata = memberOrNull(reference, "metadata");
    const Value* const name = memberOrNull(reference, "name");
    const Value* const bounds = memberOrNull(reference, "available_image_bounds");
    manner.hasMediaName = !name || !name->IsNull();
    manner.hasBounds = bounds;
    if ((!isFile && schema != "MissingReference.1") ||
        reference.MemberCount() != membersOfReference + (isFile ? 1 : 0) + (bounds ? 1 : 0) ||
        !isText(memberOrNull(reference, schemaKey), schema) || !metadata || !metadata->IsObject() ||
        !metadata->ObjectEmpty() || (bounds && !bounds->IsNull()) ||
        !(manner.hasMediaName ? isTextOf(name, info.getName()) : info.getName().empty()) ||
        (isFile && !isUrlOf(memberOrNull(reference, "target_url"), info.getPath())))
        return false;
    const Value* const said = memberOrNull(reference, "available_range");
    const std::optional<Items::Range> available = availableRangeOf(input, material);
    return available ? isRangeOf(said, *available, rate) : said && said->IsNull();
}

/// Whether no name stands among the members of metadata twice, and none that is more than metadata.
bool isUsualMetadata(const Value& metadata)
{
    if (!metadata.IsObject() || metadata.MemberCount() > mostOfMetadata)
        return false;
    for (auto each = metadata.MemberBegin(); each != metadata.MemberEnd(); ++each)
    {
        const std::string_view name = text(&each->name);
        if (name == schemaKey || name == ownKey || name == "cdl")
            return false;
        for (auto other = metadata.MemberBegin(); other != each; ++other)
            if (text(&other->name) == name)
                return false;
    }
    return true;
}

/// What of a clip's notes is shown to other programs as comments, and comes back as those.
enum class Shown
{
    None,
    All,
    Some
};

Shown shownOf(const std::vector<Note>& notes)
{
    const auto isComment = [](const Note& note)
    {
        return note.kind == NoteKind::Comment &&
               note.text.find_first_of(std::string_view("\n\r\0", 3)) == std::string::npos;
    };
    if (std::ranges::all_of(notes, [](const Note& note) { return isOfModel(note.kind); }))
        return Shown::None;
    return std::ranges::all_of(notes, isComment) ? Shown::All : Shown::Some;
}

void append(std::string& out, const Value& value)
{
    const std::string_view string = text(&value);
    const auto isPlain = [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != '"' && c != '\\'; };
    if (value.IsString() && std::ranges::all_of(string, isPlain))
        out.append(1, '"').append(string).append(1, '"');
    else if (value.IsArray() && !value.Empty())
    {
        char before = '[';
        for (const Value& each : value.GetArray())
        {
            out += std::exchange(before, ',');
            append(out, each);
        }
        out += ']';
    }
    else
        appendJson(out, value);
}

/// "added":{...} of the members for which `isAdded` holds, with `before` in front; nothing without any.
template <class IsAdded>
bool appendAdded(std::string& out, std::string_view before, const Value& object, IsAdded&& isAdded)
{
    bool hasAny = false;
    for (const auto& each : object.GetObject())
    {
        if (!isAdded(text(&each.name)))
            continue;
        if (hasAny)
            out += ',';
        else
            out.append(before).append(R"("added":{)");
        hasAny = true;
        append(out, each.name);
        out += ':';
        append(out, each.value);
    }
    if (hasAny)
        out += '}';
    return hasAny;
}

/// What a clip's metadata says beyond reel and comments: "metadata":{...}, or nothing. False where they are no usual
/// ones.
bool appendMetadata(std::string& out, const Value& metadata, Shown shown, bool isOurs)
{
    constexpr const char ofLists[] = "cmx_3600";
    const std::string_view reel = reelOfMetadata(&metadata);
    const bool hasReel = !reel.empty();
    const bool isShown = hasReel || shown == Shown::All;
    const Value* const list = memberOrNull(metadata, ofLists);
    // Of members that stand there twice something is said, unless all is as it is written.
    const bool isUsualList = list && list->IsObject() && isUsualMetadata(*list);
    if ((!isOurs && list && list->IsObject() && !isUsualList) ||
        (isShown && (!isUsualList || (hasReel && !isText(memberOrNull(*list, "reel"), reel)))))
        return false;
    const std::size_t before = out.size();
    const auto begin = [&] {
        return out.size() != before ? "," : out.back() == '{' ? R"("metadata":{)" : R"(,"metadata":{)";
    };
    const auto appendOthers = [&]
    { return appendAdded(out, begin(), metadata, [&](std::string_view name) { return !isShown || name != ofLists; }); };
    const bool areOthersFirst = !isShown || (!isOurs && text(&metadata.MemberBegin()->name) != ofLists);
    if (areOthersFirst)
        appendOthers();
    if (isShown)
    {
        const auto isAdded = [&](std::string_view name)
        { return !(hasReel && name == "reel") && !(shown == Shown::All && name == "comments"); };
        const std::size_t size = out.size();
        out.append(begin()).append(R"("inside":{"cmx_3600":{)");
        if (appendAdded(out, {}, *list, isAdded))
            out += "}}";
        else
            out.resize(size);
    }
    if (!areOthersFirst)
        appendOthers();
    if (out.size() != before)
        out += '}';
    return true;
}

void appendPart(std::string& out, std::string_view part)
{
    if (out.back() != '{')
        out += ',';
    out += part;
}

/// What a media reference does not say as it is written: "media_reference":{...}, or nothing.
void appendMedia(std::string& out, const Manner& manner)
{
    if (manner.hasMediaName && manner.hasBounds)
        return;
    appendPart(out, manner.isSingle ? R"("media_reference":{)" : R"("media_references":{"inside":{"DEFAULT_MEDIA":{)");
    if (!manner.hasMediaName)
        appendPart(out, R"("other":{"name":["",null]})");
    if (!manner.hasBounds)
        appendPart(out, R"("missing":{"available_image_bounds":null})");
    out += manner.isSingle ? "}" : "}}}";
}

} // namespace

std::optional<Manner> usualManner(const Value& clip, const DmSourceNode& node, Trim trim, const Items& items)
{
    const auto* const input = as<DmSourceNode::MediaInput>(node.getSrcInput());
    const DmSourceInfo* const info = input ? input->getSrcInfo() : nullptr;
    const Value* const metadata = memberOrNull(clip, "metadata");
    const Value* const enabled = memberOrNull(clip, "enabled");
    const Value* const colour = memberOrNull(clip, "color");
    const Value* const single = memberOrNull(clip, "media_reference");
    const Value* const references = single ? nullptr : memberOrNull(clip, "media_references");
    const Value* media = single;
    if (references && references->IsObject() && references->MemberCount() == 1 &&
        text(&references->MemberBegin()->name) == "DEFAULT_MEDIA" &&
        isText(memberOrNull(clip, "active_media_reference_key"), "DEFAULT_MEDIA"))
        media = &references->MemberBegin()->value;
    Manner manner;
    manner.isOld = isText(memberOrNull(clip, schemaKey), "Clip.1");
    manner.isSingle = single;
    manner.hasEnabled = enabled;
    manner.hasColour = colour;
    const json::SizeType members = membersOfClip + (enabled ? 1 : 0) + (colour ? 1 : 0) + (single ? 0 : 1);
    if (!info || !metadata || !media || !media->IsObject() || clip.MemberCount() != members ||
        (enabled && !enabled->IsBool()) || (colour && !colour->IsNull()) ||
        node.getMuted() != (enabled && enabled->IsFalse()) ||
        (!manner.isOld && !isText(memberOrNull(clip, schemaKey), "Clip.2")))
        return std::nullopt;
    const Items::Range material = materialOf(*input, items.fps());
    const Items::Range played = sourceRangeOf(node, trim, node.getRecLength(), material.start, 1);
    const bool isUsual = isEmptyList(memberOrNull(clip, "effects")) && isEmptyList(memberOrNull(clip, "markers")) &&
                         node.getEffects().count() == 0 && isTextOf(memberOrNull(clip, "name"), node.getName()) &&
                         !(node.getName() == L"untitled") &&
                         isRangeOf(memberOrNull(clip, "source_range"), played, items.rate()) &&
                         isReferenceOf(*media, *input, *info, material, items.rate(), manner);
    // What differs is told in the order of the file.
    manner.isMediaFirst = std::less<>()(single ? single : references, metadata);
    const bool isInOrder = !manner.isOld || text(&clip.MemberBegin()->name) == schemaKey;
    const bool hasColourBehind =
        !colour || manner.isOurs() || (manner.hasMediaName && manner.hasBounds && std::less<>()(metadata, colour));
    return isUsual && isInOrder && hasColourBehind ? std::optional(manner) : std::nullopt;
}

std::optional<std::string> usualLeftover(const Value& metadata, const Manner& manner, const std::vector<Note>& notes)
{
    const Shown shown = shownOf(notes);
    if (shown == Shown::Some || !isUsualMetadata(metadata))
        return std::nullopt;
    constexpr std::size_t usualSize = 320;
    std::string out;
    out.reserve(usualSize);
    out = '{';
    if (manner.isOld)
        appendPart(out, R"("other":{"OTIO_SCHEMA":["Clip.2","Clip.1"]})");
    const std::size_t before = out.size();
    appendPart(out, R"("inside":{)");
    const std::size_t begin = out.size();
    if (manner.isMediaFirst)
        appendMedia(out, manner);
    if (!appendMetadata(out, metadata, shown, manner.isOurs()))
        return std::nullopt;
    if (!manner.isMediaFirst)
        appendMedia(out, manner);
    if (out.size() == begin)
        out.resize(before);
    else
        out += '}';
    if (manner.hasColour)
        appendPart(out, R"("added":{"color":null})");
    if (!manner.hasEnabled)
        appendPart(out, R"("missing":{"enabled":true})");
    if (manner.isSingle)
        appendPart(out, R"("form":{"single":true})");
    if (out.size() == 1)
        return std::string();
    out += '}';
    return out;
}

} // namespace interchange::otio
