#include "icFcp7xmlCut.h"

#include "icIds.h"
#include "icMisplaced.h"
#include "icMode.h"
#include "icPath.h"
#include "icText.h"
#include "icTree.h"

#include "dmGapNode.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>

namespace interchange::xmeml
{

namespace
{

constexpr double tolerance = 1e-6;  ///< of frames
constexpr double leastLength = 0.5; ///< of a clip, in frames
constexpr double leastMix = 1;      ///< of a transition
constexpr int longestTimebase = 1000;

bool isNameless(const DmSourceInfo* info)
{
    return !info || (info->getPath().empty() && info->getReelName().empty() && info->getName().empty());
}

bool hasPlace(const DmSourceInfo* info)
{
    return info && !(info->getPath().empty() && info->getReelName().empty());
}

/// Whether nothing tells its medium from others: "AX" is no reel.
bool isNobodys(const DmSourceInfo* info, const DmSegmentNode& segment)
{
    if (isNameless(info))
        return segment.getName() == L"untitled";
    return info->getPath().empty() && info->getName().empty() && equalsNoCase(dmUtf8(info->getReelName()), "AX");
}

/// By which a medium is told from others. Where a file named it by an id alone, it is that, whatever its clips are
/// called; and where it said nothing else of it, in whatever mode they count.
std::string keyOf(const DmSegmentNode& segment, const DmSourceNode::MediaInput& media, const std::string& id,
                  double before)
{
    const DmSourceInfo* const info = media.getSrcInfo();
    std::string key = id + '\n' + timeText(media.getSrcIn() + before);
    if (id.empty() || hasPlace(info))
        key.append("\n").append(mediumOf(segment));
    if (id.empty() || !isNameless(info))
        key.append("\n").append(dmUtf8(media.getFcm()));
    if (info)
        key.append("\n").append(dmUtf8(info->getReelName())).append("\n").append(dmUtf8(info->getName()));
    return key;
}

/// Whether a file's element says what the model does of where the medium is to be found.
bool isSaidBy(pugi::xml_node file, const DmSegmentNode& segment)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const auto* const media = source ? dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput()) : nullptr;
    const DmSourceInfo* const info = media ? media->getSrcInfo() : nullptr;
    return !info || (dmUtf8(info->getPath()) == pathOfUrl(trimmed(textOf(file, "pathurl"))) &&
                     dmUtf8(info->getReelName()) == textOf(file.child("timecode").child("reel"), "name"));
}

/// The layer that plays: the result layer, else the first.
const DmLayerNode* playedLayer(const DmTrackNode& track)
{
    const DmLayerNode* played = nullptr;
    for (int i = 0; i < track.getNbChildren(); ++i)
        if (const auto* const layer = dynamic_cast<const DmLayerNode*>(track.getChild(i)))
            if (!played || (layer->isResultLayer() && !played->isResultLayer()))
                played = layer;
    return played;
}

const DmSegmentNode* attachedOf(const DmTreeNode& node)
{
    const auto* const attached = dynamic_cast<const DmTreeNode*>(node.getBaseBlob());
    return attached && attached->isSegment() && attached->whatIs() != DM_GAP_NODE ? attached->asSegment() : nullptr;
}

} // namespace

Extent extentOf(const Item& item)
{
    return {item.before ? item.before->getRecIn() : item.recIn, item.behind ? item.behind->getRecOut() : item.recOut};
}

// Values

std::optional<bool> booleanOf(std::string_view text)
{
    text = trimmed(text);
    if (equalsNoCase(text, "TRUE") || text == "1")
        return true;
    if (equalsNoCase(text, "FALSE") || text == "0")
        return false;
    return std::nullopt;
}

Rate Rate::of(DM::FrameCodeModes fcm)
{
    const int timebase = DM::FcmUtil::getIntFPS(fcm);
    return {timebase, DM::FcmUtil::getDoubleFPS(fcm) < timebase - 1e-9};
}

std::optional<Rate> Rate::of(pugi::xml_node rate)
{
    const std::optional<int> timebase = toNumber<int>(trimmed(textOf(rate, "timebase")));
    if (!timebase || *timebase < 1 || *timebase > longestTimebase)
        return std::nullopt;
    return Rate{*timebase, booleanOf(textOf(rate, "ntsc")).value_or(false)};
}

DM::FrameCodeModes Rate::mode(bool drop) const
{
    return DM::FcmUtil::FPStoFCM(fps(), drop);
}

std::string Hint::marks() const
{
    std::string text;
    const auto add = [&text](const char* name, const std::string& value)
    {
        if (value.empty())
            return;
        text.append(" our:").append(name).append("=\"");
        for (const char c : value)
            text += c == '"' || c == '<' || c == '&' ? '_' : c;
        text += '"';
    };
    if (rate)
    {
        add("timebase", std::to_string(rate->timebase));
        add("ntsc", rate->ntsc ? "TRUE" : "FALSE");
    }
    if (at != 0)
        add("at", timeText(at));
    if (key)
        add("key", timeText(*key));
    add("media", media);
    if (isReference)
        add("reference", "1");
    if (before != 0)
        add("before", timeText(before));
    if (isOff)
        add("off", "1");
    return text;
}

Hint Hint::of(pugi::xml_node form)
{
    Hint hint;
    hint.isRead = static_cast<bool>(form);
    const pugi::xml_node file = form.child("our:file");
    hint.hasFile = file && !file.attribute("our:absent");
    hint.id = form.attribute("id").value();
    const int timebase = form.attribute("our:timebase").as_int();
    if (timebase >= 1 && timebase <= longestTimebase)
        hint.rate = Rate{timebase, std::string_view(form.attribute("our:ntsc").value()) == "TRUE"};
    hint.at = toNumber<double>(form.attribute("our:at").value()).value_or(0);
    hint.key = toNumber<double>(form.attribute("our:key").value());
    hint.media = form.attribute("our:media").value();
    hint.isReference = static_cast<bool>(form.attribute("our:reference"));
    hint.before = toNumber<double>(form.attribute("our:before").value()).value_or(0);
    hint.isOff = static_cast<bool>(form.attribute("our:off"));
    return hint;
}

Hint ReadHint::whole() const
{
    Hint hint;
    hint.isRead = true;
    hint.element = element;
    hint.at = at;
    if (!std::isnan(key))
        hint.key = key;
    hint.before = before;
    hint.isOff = isOff;
    hint.id = element.attribute("id").value();
    if (rate.timebase != 0)
        hint.rate = rate;
    if (kind == Plain)
        return hint;
    const pugi::xml_node played = element.child(kind == Nest ? "sequence" : "file");
    hint.media = played.attribute("id").value();
    hint.isReference = played && !played.first_child();
    hint.hasFile = static_cast<bool>(element.child("file"));
    return hint;
}

Form::Form(const DmTreeNode& node)
{
    std::optional<std::string> text = leftoverOf(node, leftoverType);
    if (!text)
        text = leftoverOf(node, firstLeftoverType);
    if (text)
        if (!_document.load_buffer(text->data(), text->size(),
                                   pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_comments |
                                       pugi::parse_pi,
                                   pugi::encoding_utf8))
            _document.reset();
}

std::string timeText(double value)
{
    if (!std::isfinite(value))
        return "0";
    constexpr double parts = 1e6;
    const double nearest = std::round(value);
    if (std::abs(value - nearest) < 1e-4 || std::abs(value) > 1e12)
        value = nearest;
    else
        value = std::round(value * parts) / parts;
    std::string text;
    appendDecimal(text, value == 0 ? 0.0 : value, 1, 0);
    return text;
}

// The cut

Cut::Cut(const DmRoot& root, DM::FrameCodeModes fcm, const ReadHints* hints)
    : _hints(hints)
{
    collect(root, fcm);
    // Those that the document holds keep their ids; what is inside others comes behind.
    const std::vector<const Sequence*> tops = _top;
    for (const Sequence* const sequence : tops)
        addClips(_sequences.at(sequence->node));
    addOwnFiles();
    for (const DmTreeNode* const node : _unnamed)
        if (!_ids.contains(node))
            _ids[node] = take(_takenClips, "", "clipitem-");
    for (File* const file : _unnamedFiles)
        file->id = take(_takenFiles, "", "file-");
}

void Cut::collect(const DmTreeNode& node, DM::FrameCodeModes fcm)
{
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        const DmTreeNode* const child = node.getChild(i);
        if (child && child->whatIs() == DM_COMPOSITION_NODE)
        {
            if (!find(static_cast<const DmCompositionNode*>(child)))
                _top.push_back(&addSequence(static_cast<const DmCompositionNode&>(*child), fcm, true));
        }
        else if (child && child->whatIs() == DM_REEL_NODE && node.whatIs() == DM_ROOT_NODE)
            collect(*child, fcm);
        else
            left.push_back({child, nullptr, nullptr, "DM728", dmNoTime});
    }
}

const Sequence* Cut::find(const DmCompositionNode* node) const
{
    const auto found = _sequences.find(node);
    return found == _sequences.end() ? nullptr : &found->second;
}

Hint Cut::hintOf(const DmTreeNode& node) const
{
    if (!_hints)
        return Hint::of(Form(node).root());
    const auto found = _hints->find(&node);
    return found == _hints->end() ? Hint() : found->second.whole();
}

std::string Cut::take(std::set<std::string>& taken, std::string wanted, const char* stem) const
{
    if (!wanted.empty() && taken.insert(wanted).second)
        return wanted;
    for (std::size_t number = taken.size() + 1;; ++number)
        if (std::string id = stem + std::to_string(number); taken.insert(id).second)
            return id;
}

Sequence& Cut::addSequence(const DmCompositionNode& node, DM::FrameCodeModes otherwise, bool isTop)
{
    Sequence& sequence = _sequences[&node];
    sequence.node = &node;
    sequence.fcm = modeOf(node, otherwise);
    sequence.origin = node.getRecordStart();
    sequence.isTop = isTop;
    const Hint hint = hintOf(node);
    const std::string& wanted = hint.id;
    if (sequence.fcm != DM::FCM_NOT_DEFINED && hint.rate.value_or(Rate::of(sequence.fcm)) == Rate::of(sequence.fcm))
        sequence.rate = Rate::of(sequence.fcm);
    if (!wanted.empty() || !hint.isRead) // as for clips
        sequence.id = take(_takenSequences, wanted, "sequence-");
    _sequencesById[wanted].push_back(&node);
    std::array<int, 3> numbers{};
    std::array<std::vector<int>, 3> said;
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const auto* const track = dynamic_cast<const DmTrackNode*>(node.getChild(i));
            track && static_cast<std::size_t>(track->getMediaType()) < said.size())
            said[static_cast<std::size_t>(track->getMediaType())].push_back(track->getTrackNum());
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        const auto* const track = dynamic_cast<const DmTrackNode*>(node.getChild(i));
        if (track && (track->getMediaType() == DM_MEDIA_VIDEO || track->getMediaType() == DM_MEDIA_AUDIO))
        {
            // Where their numbers leave some out, empty tracks stand.
            const auto kind = static_cast<std::size_t>(track->getMediaType());
            constexpr int mostTracks = 99;
            const bool rises = std::ranges::adjacent_find(said[kind], std::greater_equal()) == said[kind].end();
            if (rises && track->getTrackNum() <= mostTracks)
                numbers[kind] = std::max(numbers[kind], track->getTrackNum() - 1);
            addTracks(sequence, *track, numbers[kind]);
        }
        else
            left.push_back({node.getChild(i), &sequence, nullptr, "DM728", dmNoTime});
    }
    findBegin(sequence);
    findEnd(sequence);
    return sequence;
}

void Cut::findBegin(Sequence& sequence)
{
    constexpr double least = 0.5; // of frames
    const Track* first = nullptr;
    const Item* earliest = nullptr;
    for (const Track& track : sequence.tracks)
        for (const Item& item : track.items)
            if (item.recIn < (earliest ? earliest->recIn : sequence.origin - least))
            {
                first = &track;
                earliest = &item;
            }
    if (!earliest)
        return;
    sequence.origin = earliest->recIn;
    left.push_back({earliest->node, &sequence, first->node, "DM744", earliest->recIn});
}

void Cut::findEnd(Sequence& sequence)
{
    sequence.end = sequence.origin;
    double played = sequence.origin;
    for (const Track& track : sequence.tracks)
    {
        for (const Item& item : track.items)
            played = std::max(played, item.recOut);
        sequence.end = std::max({sequence.end, played, track.filledTo});
    }
    // Where nothing plays but gaps, its length is all that it says.
    constexpr double longest = 1e12;
    if (std::ranges::all_of(sequence.tracks, [](const Track& track) { return track.items.empty(); }))
        sequence.end =
            std::max(sequence.end, sequence.origin + std::clamp(sequence.node->getCompLength(), 0.0, longest));
    // The duration fills the first track of a file when nothing else reaches that far.
    const auto isPicture = [](const Track& track) { return track.node->getMediaType() == DM_MEDIA_VIDEO; };
    const bool hasPicture = std::ranges::any_of(sequence.tracks, isPicture);
    Track* first = nullptr;
    for (Track& track : sequence.tracks)
        if (track.number == 1 && isPicture(track) == hasPicture)
            first = &track;
    for (Track& track : sequence.tracks)
        track.saysFilledTo = track.filledTo > 0;
    if (first && first->filledTo == sequence.end && played < sequence.end &&
        std::ranges::none_of(sequence.tracks,
                             [&](const Track& each) { return &each != first && each.filledTo == sequence.end; }))
        first->saysFilledTo = false;
}

void Cut::addTracks(Sequence& sequence, const DmTrackNode& node, int& number)
{
    const DmLayerNode* const played = playedLayer(node);
    addTrack(sequence, node, played, ++number);
    for (int i = 0; i < node.getNbChildren(); ++i)
    {
        const DmTreeNode* const child = node.getChild(i);
        const auto* const layer = dynamic_cast<const DmLayerNode*>(child);
        if (child && !layer)
            left.push_back({child, &sequence, &node, "DM728", dmNoTime});
        if (!layer || layer == played || layer->getNbChildren() == 0)
            continue;
        Track& further = addTrack(sequence, node, layer, ++number);
        further.isFurther = true;
        further.isDisabled = further.isDisabled || played->isResultLayer();
        for (const Item& item : further.items)
            if (item.segment)
                left.push_back({item.segment, &sequence, &node, "DM726", item.recIn});
    }
}

Track& Cut::addTrack(Sequence& sequence, const DmTrackNode& node, const DmLayerNode* layer, int number)
{
    Track track{&node, number, layer, {}};
    track.items.reserve(static_cast<std::size_t>(layer ? layer->getNbChildren() + 1 : 0) / 2);
    const DmTreeNode* previous = nullptr;
    for (int i = 0; layer && i < layer->getNbChildren(); ++i)
    {
        const DmTreeNode* const child = layer->getChild(i);
        if (!child || child->whatIs() == DM_CUT_NODE)
            continue;
        Item item;
        item.node = child;
        item.mix = dynamic_cast<const DmTrxEffectNode*>(child);
        if (auto mended = item.mix ? mendedMix(*item.mix, previous, layer->getChild(i + 1)) : nullptr)
            item.mix = _mended.emplace_back(std::move(mended)).get();
        item.segment = child->isSegment() ? child->asSegment() : nullptr;
        if (item.segment && child->whatIs() == DM_GAP_NODE)
            item.segment = carriedBy(*child);
        const DmSegmentNode* const placed = child->asSegment();
        item.recIn = item.mix ? item.mix->getRecIn() : placed ? placed->getRecIn() : 0.0;
        item.recOut = item.recIn + (item.mix ? item.mix->getRecLength() : placed ? placed->getRecLength() : 0.0);
        if (!item.mix && !placed)
        {
            left.push_back({child, &sequence, &node, "DM728", dmNoTime});
            continue;
        }
        if (!std::isfinite(item.recIn) || !std::isfinite(item.recOut) || item.recOut < item.recIn)
        {
            left.push_back({child, &sequence, &node, "DM717", dmNoTime});
            continue;
        }
        if (item.mix && item.recOut - item.recIn < leastMix) // a cut
        {
            left.push_back({child, &sequence, &node, "DM740", item.recIn});
            continue;
        }
        if (Item* const last = track.items.empty() ? nullptr : &track.items.back();
            last && last->recOut - item.recIn > tolerance && item.recIn >= last->recIn)
        {
            last->recOut = item.recIn; // the later one covers the end of the earlier one
            left.push_back({last->node, &sequence, &node, "DM703", last->recIn});
        }
        const bool isHole = previous && (previous->whatIs() == DM_GAP_NODE && !carriedBy(*previous));
        const bool touches = !track.items.empty() && previous == track.items.back().node &&
                             std::abs(track.items.back().recOut - item.recIn) <= tolerance;
        if (item.mix)
        {
            item.isFromBlack = isHole || !touches || track.items.back().mix;
            if (const DmSegmentNode* const outgoing = item.isFromBlack ? attachedOf(*child) : nullptr)
            {
                // Nothing of it plays before the transition does.
                Item alone;
                alone.node = outgoing;
                alone.segment = outgoing;
                alone.recIn = item.recIn;
                alone.recOut = item.recIn;
                alone.isCarried = dynamic_cast<const DmSourceNode*>(outgoing) != nullptr;
                track.items.push_back(alone);
                item.isFromBlack = false;
            }
            if (!item.isFromBlack)
                track.items.back().behind = item.mix;
            item.isToBlack = true; // until what follows says otherwise
        }
        else if (item.segment && touches && track.items.back().mix)
        {
            item.before = track.items.back().mix;
            track.items.back().isToBlack = false;
        }
        previous = child;
        if (item.mix || item.segment)
            track.items.push_back(item);
    }
    if (previous && previous->whatIs() == DM_GAP_NODE && !carriedBy(*previous))
        if (const DmSegmentNode* const gap = previous->asSegment();
            std::isfinite(gap->getRecIn() + gap->getRecLength()) && gap->getRecLength() >= leastLength)
            track.filledTo = gap->getRecIn() + gap->getRecLength();
    // The format has no clip without a length but for what a transition shows of it.
    std::erase_if(track.items,
                  [&](const Item& item)
                  {
                      const bool isSeen =
                          item.mix || item.before || item.behind || item.recOut - item.recIn >= leastLength;
                      if (!isSeen)
                          left.push_back({item.segment, &sequence, &node, "DM740", item.recIn});
                      return !isSeen;
                  });
    const auto isOff = [this](const Item& item) { return item.segment && hintOf(*item.segment).isOff; };
    track.isDisabled =
        std::ranges::any_of(track.items, isOff) &&
        std::ranges::all_of(track.items, [](const Item& item) { return !item.segment || item.segment->getMuted(); });
    return sequence.tracks.emplace_back(std::move(track));
}

void Cut::addClips(Sequence& sequence)
{
    const auto groupOf = [](const DmSegmentNode& segment) -> std::string
    {
        const std::string id = dmUtf8(segment.getSegmentId());
        const std::size_t at = id.rfind('#');
        return at == id.npos ? "" : id.substr(0, at);
    };
    std::vector<const DmContainerNode*> containers;
    for (const Track& track : sequence.tracks)
    {
        int index = 0;
        for (const Item& item : track.items)
        {
            ++index;
            if (!item.segment)
                continue;
            const DmSegmentNode& segment = *item.segment;
            const Hint hint = hintOf(segment);
            if (const std::string group = groupOf(segment); !group.empty())
                _links[{sequence.node, group}].push_back({&segment, track.node->getMediaType(), track.number, index});
            // A clip that a file named by nothing stays so; a clip of our own has an id.
            const bool isOurs = hint.id.empty() && !hint.isRead;
            if (!hint.id.empty() && _takenClips.insert(hint.id).second)
                _ids[&segment] = hint.id;
            else if (isOurs || !hint.id.empty())
                _unnamed.push_back(&segment);
            if (const auto* const container = dynamic_cast<const DmContainerNode*>(&segment))
            {
                containers.push_back(container);
                continue;
            }
            addFile(sequence, track, item, hint);
        }
    }
    for (const DmContainerNode* const container : containers)
        addContainer(*container, sequence.fcm);
    for (auto at = _links.lower_bound({sequence.node, ""}); at != _links.end() && at->first.first == sequence.node;
         ++at)
    {
        const std::vector<Linked>& members = at->second;
        if (members.size() > mostLinked)
            left.push_back({members.front().segment, nullptr, nullptr, "DM737", dmNoTime});
        else if (members.size() > 1)
            for (const Linked& member : members)
            {
                _linksOf[member.segment] = &members;
                _unnamed.push_back(member.segment);
            }
    }
}

void Cut::addFile(const Sequence& sequence, const Track& track, const Item& item, const Hint& hint)
{
    const DmSegmentNode& segment = *item.segment;
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    const auto* const media = source ? dynamic_cast<const DmSourceNode::MediaInput*>(source->getSrcInput()) : nullptr;
    if (!media)
        return;
    // A clip that came without a file has none until somebody says what it plays.
    if (hint.isRead && !hint.hasFile && hint.before == 0 && isNameless(media->getSrcInfo()))
        return;
    if (hint.media.empty())
    {
        _ownUses.push_back({&sequence, &track, &item, hint.before});
        return;
    }
    const auto [found, isNew] = _files.try_emplace(keyOf(segment, *media, hint.media, hint.before));
    File& file = found->second;
    if (isNew && _takenFiles.insert(hint.media).second)
        file.id = hint.media;
    else if (isNew)
        _unnamedFiles.push_back(&file);
    file.isSaid = file.isSaid || !hint.isReference || !isNameless(media->getSrcInfo());
    if (isNew && hasPlace(media->getSrcInfo()))
        _filesByMedium.emplace(keyOf(segment, *media, "", hint.before), &file);
    if (!file.definer || (!hint.isReference && hintOf(*file.definer).isReference))
        file.definer = &segment;
    use(file, isNew, sequence, track, item, hint.before);
}

void Cut::addOwnFiles()
{
    for (const Use& each : _ownUses)
    {
        const DmSegmentNode& segment = *each.item->segment;
        const auto& media =
            static_cast<const DmSourceNode::MediaInput&>(*static_cast<const DmSourceNode&>(segment).getSrcInput());
        std::string key = keyOf(segment, media, "", each.before);
        if (isNobodys(media.getSrcInfo(), segment))
        {
            // Nobody says that two of these are the same, but for what is linked.
            const std::string id = dmUtf8(segment.getSegmentId());
            key.append("\n").append(id, 0, id.rfind('#'));
        }
        if (const auto known = _filesByMedium.find(key); known != _filesByMedium.end())
        {
            use(*known->second, false, *each.sequence, *each.track, *each.item, each.before);
            continue;
        }
        const auto [found, isNew] = _files.try_emplace(key);
        if (isNew)
        {
            _unnamedFiles.push_back(&found->second);
            found->second.definer = &segment;
            found->second.isSaid = true;
        }
        use(found->second, isNew, *each.sequence, *each.track, *each.item, each.before);
    }
}

void Cut::use(File& file, bool isNew, const Sequence& sequence, const Track& track, const Item& item, double before)
{
    const DmSegmentNode& segment = *item.segment;
    const auto* const media =
        static_cast<const DmSourceNode::MediaInput*>(static_cast<const DmSourceNode&>(segment).getSrcInput());
    _filesOf[&segment] = &file;
    if (track.node->getMediaType() == DM_MEDIA_VIDEO)
        file.hasPicture = true;
    else
    {
        const DmAudioProperties* const audio = media->getAudioProperties();
        file.channels = std::max({file.channels, 1, audio ? std::min(audio->getChannelIdx(), 1000) + 1 : 1});
    }
    const DmMaterial material = dmMaterialOf(segment, sequence.fcm);
    double begin = material.begin + before;
    double end = material.begin + material.length;
    file.isKnown = material.isLimited();
    file.isUnknown = file.isUnknown && !material.known && !material.isEndless();
    if (!file.isKnown)
    {
        const DmPlayed played(segment, sequence.fcm);
        const Extent extent = extentOf(item);
        end = std::max(end, material.begin + media->getSrcLength());
        for (const double time : {extent.start, extent.end})
            if (const std::optional<double> position = played.positionAt(time);
                position && played.motion() == DmPlayed::Motion::Constant)
            {
                begin = std::min(begin, material.begin + std::floor(*position + tolerance));
                end = std::max(end, material.begin + std::ceil(*position - tolerance));
            }
    }
    file.begin = isNew ? begin : std::min(file.begin, begin);
    file.end = isNew ? end : std::max(file.end, end);
}

void Cut::addContainer(const DmContainerNode& container, DM::FrameCodeModes fcm)
{
    const DmCompositionNode* const own = container.getComposition();
    if (!own)
        return;
    const Hint hint = hintOf(container);
    const DmCompositionNode* inside = find(own) ? own : nullptr;
    // A document that was saved has a sequence as often as it is used.
    const std::string id = hint.media.empty() ? hintOf(*own).id : hint.media;
    if (const auto found = _sequencesById.find(id); !inside && !id.empty() && found != _sequencesById.end())
        for (const DmCompositionNode* const other : found->second)
            if (!inside && DmTreeTool::areEqual(other, own))
                inside = other;
    if (inside)
    {
        _insides[&container] = inside;
        if (Sequence& named = _sequences.at(inside); named.id.empty())
            named.id = take(_takenSequences, "", "sequence-");
        // It stands where the file had it, however many use it before that.
        if (const auto definer = _definers.find(inside);
            definer != _definers.end() && !hint.isReference && hintOf(*definer->second).isReference)
            definer->second = &container;
        return;
    }
    _insides[&container] = own;
    _definers.emplace(own, &container);
    addClips(addSequence(*own, fcm, false));
}

const DmCompositionNode* Cut::insideOf(const DmContainerNode& container) const
{
    const auto found = _insides.find(&container);
    return found == _insides.end() ? nullptr : found->second;
}

const std::string& Cut::idOf(const DmSegmentNode& segment) const
{
    static const std::string none;
    const auto found = _ids.find(&segment);
    return found == _ids.end() ? none : found->second;
}

const File* Cut::fileOf(const DmSegmentNode& segment) const
{
    const auto found = _filesOf.find(&segment);
    return found == _filesOf.end() ? nullptr : found->second;
}

const std::vector<Linked>* Cut::linksOf(const DmSegmentNode& segment) const
{
    const auto found = _linksOf.find(&segment);
    return found == _linksOf.end() ? nullptr : found->second;
}

bool Cut::defines(const DmContainerNode& container) const
{
    const auto found = _definers.find(insideOf(container));
    return found != _definers.end() && found->second == &container;
}

void Cut::defineElsewhere(const std::map<std::string, pugi::xml_node>& files, const std::set<std::string>& sequences)
{
    for (auto& [key, file] : _files)
        if (const auto found = files.find(file.id); found != files.end())
        {
            if (!file.definer || isSaidBy(found->second, *file.definer))
                file.definer = nullptr;
            else
                file.id = take(_takenFiles, "", "file-");
        }
    for (const auto& [inside, container] : _definers)
        if (const Sequence& sequence = _sequences.at(inside); sequences.contains(sequence.id))
            _elsewhere.emplace(sequence.id, &sequence);
    for (const auto& [id, sequence] : _elsewhere)
        _definers.erase(sequence->node);
}

const Sequence* Cut::elsewhere(const std::string& id) const
{
    const auto found = _elsewhere.find(id);
    return found == _elsewhere.end() ? nullptr : found->second;
}

void Cut::leaveUndefined(const std::map<std::string, pugi::xml_node>& kept)
{
    for (auto& [key, file] : _files)
        if (!file.isSaid && file.isUnknown && !kept.contains(file.id))
            file.definer = nullptr;
}

} // namespace interchange::xmeml
