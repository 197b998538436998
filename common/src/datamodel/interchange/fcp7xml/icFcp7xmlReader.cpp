#include "icFcp7xmlReader.h"

#include "icFcp7xmlMaker.h"
#include "icIds.h"
#include "icTree.h"

#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace interchange
{

namespace xmeml
{

namespace
{

constexpr int deepestNesting = 75; ///< of sequences: what documents can be read again with
constexpr std::size_t mostForAByte = 30;
constexpr std::size_t mostForAll = std::size_t{1} << 20; ///< beside that

} // namespace

void Maker::charge(std::size_t bytes, pugi::xml_node at)
{
    _charged += bytes;
    if (_charged > mostForAByte * _xml.size() + mostForAll)
        throw TooMuch{_xml.lineOf(at)};
}

void Maker::told(pugi::xml_node at)
{
    const bool isKept = _report.size() == _report.count();
    const auto becomesNode = [this](pugi::xml_node each)
    {
        constexpr std::array<std::string_view, 5> names{"clipitem", "generatoritem", "transitionitem", "track",
                                                        "sequence"};
        return std::ranges::find(names, std::string_view(each.name())) != names.end() || each == _xml.root();
    };
    pugi::xml_node about = at;
    while (about && !becomesNode(about))
        about = about.parent();
    _report.expect(about.internal_object());
    charge(isKept ? weight::ofMessage : weight::ofElement, at);
}

void Maker::findDefinitions()
{
    for (pugi::xml_node at = _xml.root(); at;)
    {
        charge(weight::ofElement, at);
        if (isNamed(at, "file") && at.first_child() && at.attribute("id"))
            _files.emplace(at.attribute("id").value(), at);
        if (isNamed(at, "sequence") && at.first_child() && at.attribute("id"))
            findSequence(at);
        if (at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at && !at.next_sibling())
            at = at.parent();
        at = at ? at.next_sibling() : at;
    }
}

/// In clips of sequences they become nodes where they stand, as those do that stand in the document itself. Others, of
/// master clips, do when somebody uses them.
void Maker::findSequence(pugi::xml_node element)
{
    const auto clipHolder = [](pugi::xml_node clip)
    {
        const pugi::xml_node media = clip.parent().parent().parent();
        return isNamed(clip, "clipitem") && isNamed(clip.parent(), "track") && isNamed(media, "media") &&
                       isNamed(media.parent(), "sequence")
                   ? media.parent()
                   : pugi::xml_node();
    };
    pugi::xml_node at = element;
    while (const pugi::xml_node holder = clipHolder(at.parent()))
        at = holder;
    at = at.parent();
    while (isNamed(at, "children") || isNamed(at, "bin") || isNamed(at, "project"))
        at = at.parent();
    const bool isPlaced = at == _xml.root();
    while (at && !isNamed(at, "sequence"))
        at = at.parent();
    if (isPlaced)
        _sequences.emplace(element.attribute("id").value(), element);
    else if (!at)
        _sequencesElsewhere.emplace(element.attribute("id").value(), element);
}

pugi::xml_node Maker::definitionOf(pugi::xml_node sequence)
{
    const std::string_view id = sequence.attribute("id").value();
    if (!sequence || sequence.first_child() || id.empty())
        return sequence;
    if (const auto found = _sequences.find(id); found != _sequences.end())
        return found->second;
    const auto found = _sequencesElsewhere.find(id);
    if (found == _sequencesElsewhere.end())
        return sequence;
    if (!found->second.attribute(elsewhereMark))
        found->second.append_attribute(elsewhereMark) = found->first.c_str();
    return found->second;
}

void Maker::addSequences(DmRoot& root)
{
    std::map<const void*, CoSharedPtr<DmReelNode>> reels;
    for (pugi::xml_node at = _xml.root().first_child(); at;)
    {
        const bool isSequence = isNamed(at, "sequence") && at.first_child();
        if (isSequence)
        {
            pugi::xml_node bin = at.parent();
            while (bin && !isNamed(bin, "bin"))
                bin = bin.parent();
            const CoSharedPtr<DmCompositionNode> made = sequence(at, true);
            _nodes.insert(at.internal_object());
            if (bin && made)
            {
                CoSharedPtr<DmReelNode>& reel = reels[bin.internal_object()];
                if (!reel)
                {
                    reel = orBadAlloc(DmReelNode::create());
                    if (const std::string_view name = textOf(bin, "name"); !name.empty())
                        require(reel->setName(toDmString(name)));
                    came(*reel, bin);
                    root.addChild(reel);
                }
                reel->addChild(made);
            }
            else if (made)
                root.addChild(made);
        }
        // What is inside clips belongs to their tracks.
        const bool goesInto = !isSequence && (isNamed(at, "project") || isNamed(at, "children") || isNamed(at, "bin"));
        if (goesInto && at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at && !at.next_sibling())
            at = at.parent();
        at = at ? at.next_sibling() : at;
    }
}

CoSharedPtr<DmRoot> Maker::make()
{
    if (!isNamed(_xml.root(), "xmeml"))
    {
        _report.add(Report::Error, _xml.lineOf(_xml.root()), "no xmeml");
        return {};
    }
    try
    {
        findDefinitions();
        auto root = orBadAlloc(DmRoot::create());
        takeAttached(*root, _xml.root());
        addSequences(*root);
        if (root->getNbChildren() == 0)
            mistake(_xml.root(), "no sequence", "the document holds nothing");
        if (_report.hasErrors())
            return {};
        _sequences.clear();
        _sequencesElsewhere.clear();
        _read.clear();
        keepForms(*root);
        return root;
    }
    catch (const TooMuch& refused)
    {
        _report.add(Report::Error, refused.line,
                    "too many elements with next to nothing in them: they would take more than " +
                        std::to_string(mostForAByte) + " times the memory of the file");
    }
    return {};
}

// Sequences

DM::FrameCodeModes Maker::modeOf(pugi::xml_node sequence)
{
    const pugi::xml_node timecode = sequence.child("timecode");
    const bool drops = isDropFrame(timecode);
    std::optional<Rate> rate = this->rate(sequence.child("rate"));
    if (!rate)
        rate = this->rate(timecode.child("rate"));
    const DM::FrameCodeModes said = rate ? rate->mode(drops) : DM::FCM_NOT_DEFINED;
    if (said != DM::FCM_NOT_DEFINED)
        return said;
    const DM::FrameCodeModes other = _options.fcm != DM::FCM_NOT_DEFINED ? _options.fcm
                                     : rate ? DM::FcmUtil::FPStoApproximateFCM(rate->fps(), drops)
                                            : DM::FCM_24;
    const std::string choice = std::string("its times are converted to '") + DM::FcmUtil::getFCMString(other) + "'";
    if (!rate && _options.fcm == DM::FCM_NOT_DEFINED)
        mistake(sequence, "a sequence without a rate", "taken as '24 fps'");
    else if (rate && _options.fcm == DM::FCM_NOT_DEFINED)
        mistake(sequence, "a sequence at " + timeText(rate->fps()) + " frames a second, which no frame-code mode has",
                choice);
    return other;
}

CoSharedPtr<DmCompositionNode> Maker::sequence(pugi::xml_node element, bool isTop)
{
    if (const auto found = _read.find(element.internal_object()); found != _read.end())
        return found->second;
    if (_depth >= deepestNesting || !_open.insert(element.internal_object()).second)
    {
        mistake(element, _depth >= deepestNesting ? "sequences nested too deeply" : "a sequence that holds itself",
                "it plays nothing there");
        return {};
    }
    ++_depth;
    charge(weight::ofSequence, element);
    const DM::FrameCodeModes fcm = modeOf(element);
    const DmString fcmText = dmFcmText(fcm);
    const std::string_view name = textOf(element, "name");
    auto node =
        orBadAlloc(DmCompositionNode::create(name.empty() ? DmString(L"untitled") : toDmString(name), fcmText, {}));
    if (!isTop)
        require(node->setIsContainerComp(true));
    const std::optional<Rate> rate = this->rate(element.child("rate"));
    const double fps = DM::FcmUtil::getDoubleFPS(fcm);
    const double ratio = rate && rate->mode(false) == DM::FCM_NOT_DEFINED ? fps / rate->fps() : 1.0;
    double start = wholeTime(element.child("timecode"), "frame", ratio);
    require(node->setStartTC(start, fcmText));
    start = node->getStartTC();
    const pugi::xml_node media = element.child("media");
    const pugi::xml_node picture = media.child("video").child("format").child("samplecharacteristics");
    const std::optional<double> width = number(picture, "width");
    const std::optional<double> height = number(picture, "height");
    constexpr double largest = 1e6;
    if (width && height && *width >= 1 && *height >= 1 && *width <= largest && *height <= largest)
        if (DmFrameResolution* const resolution = node->ownResolution())
        {
            require(resolution->setWidth(static_cast<int>(*width)));
            require(resolution->setHeight(static_cast<int>(*height)));
        }
    if (const auto sampled = number(media.child("audio").child("format").child("samplecharacteristics"), "samplerate");
        sampled && *sampled > 0)
        require(node->setSamplingRate(*sampled));
    const double said = wholeTime(element, "duration", ratio);
    Stage stage{*node, element, fcm, fps, start, {}, {}, start, start + said};
    stage.size.node = node.get();
    stage.size.fcm = fcm;
    addTracks(stage, media.child("video"), DM_MEDIA_VIDEO);
    addTracks(stage, media.child("audio"), DM_MEDIA_AUDIO);
    link(stage);
    const double length = std::max(stage.end, stage.saidEnd) - start;
    if (stage.end < stage.saidEnd)
        fillFirst(stage, length);
    require(node->setCompLength(length));
    for (const auto& [child, isIn] : {std::pair("in", true), std::pair("out", false)})
        if (const std::optional<double> at = time(element, child); at && *at >= 0)
            require(isIn ? node->setInMark(start + *at * ratio) : node->setOutMark(start + *at * ratio));
    for (const pugi::xml_node marker : element.children("marker"))
        require(node->addCueMark(mark(marker, start, ratio)));
    hintOf(*node, element).rate = rate.value_or(Rate());
    takeAttached(*node, element);
    came(*node, element);
    --_depth;
    _open.erase(element.internal_object());
    _read[element.internal_object()] = node;
    return node;
}

void Maker::fillFirst(Stage& stage, double length)
{
    for (int i = 0; length > 0 && i < stage.node.getNbChildren(); ++i)
        if (const auto layer =
                DM::dynamicPointerCast<DmLayerNode>(CoSharedPtr<DmTreeNode>(stage.node.getChild(i)->getChild(0))))
        {
            DmLayerBuilder builder(layer);
            require(builder.fillTo(stage.origin + length));
            orBadAlloc(builder.finish());
            return;
        }
}

void Maker::addTracks(Stage& stage, pugi::xml_node kind, eDmTreeMediaType mediaType)
{
    int number = 0;
    for (const pugi::xml_node element : kind.children("track"))
    {
        ++number;
        charge(weight::ofTrack, element);
        const std::string& label =
            stage.labels.emplace_back((mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(number));
        const auto track = orBadAlloc(DmTrackNode::create(number, mediaType));
        const std::optional<double> channel = this->number(element, "outputchannelindex");
        require(
            track->setTrackChannel(channel && *channel >= 0 && *channel <= 1e6 ? static_cast<int>(*channel) : number));
        DmLayerBuilder layer(0, mediaType, stage.origin);
        stage.isTrackOff = isOff(element);
        place(stage, layer, entriesOf(stage, element), mediaType, label);
        if (const auto filledTo = toNumber<double>(element.attribute(filledMark).value());
            filledTo && *filledTo < limit)
            require(layer.fillTo(std::min(stage.origin + *filledTo, stage.saidEnd)));
        track->addChild(orBadAlloc(layer.finish()));
        stage.end = std::max(stage.end, layer.getEnd());
        const int index = stage.node.addChild(track) - 1;
        if (mediaType == DM_MEDIA_VIDEO && number == 1)
            require(stage.node.setPrimaryVideoTrackIndex(index));
        _nodes.insert(element.internal_object());
        hintOf(*track, element);
        takeAttached(*track, element);
        came(*track, element);
    }
}

void Maker::place(Stage& stage, DmLayerBuilder& layer, const std::vector<Entry>& entries, eDmTreeMediaType mediaType,
                  const std::string& label)
{
    // With a cut behind it where a segment follows: the builder takes a bare one for its own, and away.
    const auto nothing = [&](double time, bool isBehindMix)
    {
        require(layer.place(orBadAlloc(DmGapNode::create(mediaType, time, 0))));
        if (isBehindMix)
            require(layer.place(orBadAlloc(DmCutNode::create(mediaType, time))));
    };
    const Entry* previous = nullptr;
    for (const Entry& entry : entries)
    {
        const std::size_t before = _report.size();
        const bool touches = previous && layer.getEnd() >= entry.recIn - 1e-6;
        const double length = entry.recOut - entry.recIn;
        if (entry.isMix && length < 1)
        {
            mistake(entry.element, "a transition that another item covers", "left out");
            continue;
        }
        // A transition mixes with its neighbours: with nothing, where it has none.
        if (touches && ((entry.isMix && !entry.hasOutgoing && !previous->isMix) ||
                        (previous->isMix && !previous->hasIncoming && !entry.isMix)))
            nothing(layer.getEnd(), previous->isMix);
        charge(entry.isMix ? weight::ofTransition : weight::ofClip, entry.element);
        if (entry.isMix)
        {
            const auto node = transition(entry, mediaType);
            _report.about(before, *node);
            require(layer.place(node));
            _nodes.insert(entry.element.internal_object());
            hintOf(*node, entry.element);
            takeAttached(*node, entry.element);
            came(*node, entry.element);
        }
        else if (const CoSharedPtr<DmSegmentNode> node = clip(stage, entry, mediaType, label))
        {
            _report.about(before, *node);
            if (length >= leastLength)
                require(layer.place(node));
            else
            {
                // Its transitions leave nothing of it.
                const auto gap = orBadAlloc(DmGapNode::create(mediaType, entry.recIn, 0));
                require(gap->setBaseBlob(node));
                require(layer.place(gap));
            }
        }
        else
            continue;
        previous = &entry;
    }
}

/// Gives the clips of a sequence their ids; those that are linked share the part before the '#'.
void Maker::link(Stage& stage)
{
    std::unordered_map<std::string_view, std::size_t> byId;
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        if (const std::string_view id = stage.clips[i].id(); !id.empty())
            byId.emplace(id, i);
    std::vector<std::size_t> group(stage.clips.size());
    std::iota(group.begin(), group.end(), std::size_t{0});
    const auto rootOf = [&group](std::size_t i)
    {
        while (group[i] != i)
            i = group[i] = group[group[i]];
        return i;
    };
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        for (const pugi::xml_node each : stage.clips[i].element.children("link"))
            if (const auto found = byId.find(textOf(each, "linkclipref")); found != byId.end())
            {
                const std::size_t a = rootOf(i);
                const std::size_t b = rootOf(found->second);
                group[std::max(a, b)] = std::min(a, b);
            }
    std::vector<std::size_t> sizes(stage.clips.size());
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
        ++sizes[rootOf(i)];
    if (std::ranges::any_of(sizes, [](std::size_t size) { return size > mostLinked; }))
    {
        warn(stage.element,
             "more than " + std::to_string(mostLinked) + " clips linked with each other: read as not linked");
        std::vector<std::size_t> roots(group.size());
        for (std::size_t i = 0; i < roots.size(); ++i)
            roots[i] = rootOf(i);
        for (std::size_t i = 0; i < roots.size(); ++i)
            group[i] = sizes[roots[i]] > mostLinked ? i : roots[i];
        for (std::size_t i = 0; i < roots.size(); ++i)
            sizes[i] = group[i] == i && roots[i] != i ? 1 : sizes[i];
        for (std::size_t& size : sizes)
            size = size > mostLinked ? 1 : size;
    }
    IdMaker ids;
    std::vector<std::string> names(stage.clips.size());
    for (std::size_t i = 0; i < stage.clips.size(); ++i)
    {
        const std::size_t first = rootOf(i);
        if (names[first].empty())
            names[first] = ids.make(*stage.clips[first].node);
        std::string id = names[first];
        if (sizes[first] > 1)
            id = ids.unique(id + '#' + *stage.clips[i].label);
        require(stage.clips[i].node->setSegmentId(toDmString(id)));
    }
}

} // namespace xmeml

namespace
{

void tellNoCharacters(const std::vector<std::uint32_t>& lines, Report& report)
{
    constexpr std::size_t most = 1000;
    for (std::size_t i = 0; i < std::min(lines.size(), most); ++i)
        report.add(Report::Warning, lines[i], "a character that XML has no place for: a blank stands there");
    if (lines.size() > most)
        report.add(Report::Warning, lines[most],
                   std::to_string(lines.size() - most) +
                       " more characters that XML has no place for: blanks stand there");
}

} // namespace

CoSharedPtr<DmRoot> readFcp7xml(std::string bytes, const Options& options, Report& report)
{
    try
    {
        if (fromUtf16(bytes))
            report.add(Report::Notice, 0, "the text is UTF-16: it goes out as UTF-8");
        // Other encodings say themselves what they are.
        const bool isOther = bytes.find('\0') < 4 || bytes.substr(0, 200).find("-16\"") != bytes.npos;
        std::string declared = bytes.substr(0, 200);
        std::ranges::transform(declared, declared.begin(), toUpper);
        if (!isOther && declared.find("8859-1") == declared.npos && makeUtf8(bytes))
            report.add(Report::Notice, 0, "the text is no UTF-8: taken as Latin-1");
        if (!isOther)
            tellNoCharacters(xmeml::blankNoCharacters(bytes), report);
        const bool isTextBehind = trimmed(std::string_view(bytes).substr(bytes.rfind('>') + 1)).size() > 0;
        const bool isTextInFront = trimmed(std::string_view(bytes).substr(0, bytes.find('<'))).size() > 0;
        const std::string_view said = std::string_view(bytes).substr(0, bytes.find_last_not_of(" \t\r\n") + 1);
        const auto lastLine = static_cast<std::uint32_t>(1 + std::ranges::count(said, '\n'));
        xmeml::ParsedXml xml(std::move(bytes));
        xmeml::XmlFault fault;
        if (!xml.parse(fault))
        {
            report.add(Report::Error, fault.line, fault.what);
            return {};
        }
        if (isTextInFront && !isOther)
            report.add(Report::Warning, 1, "text in front of the document: left out");
        for (pugi::xml_node each = xml.root().next_sibling(); each; each = each.next_sibling())
            if (each.type() == pugi::node_element)
                report.add(Report::Warning, xml.lineOf(each), "an element behind the document's: left out");
        if (isTextBehind && !isOther)
            report.add(Report::Warning, lastLine, "text behind the document: left out");
        CoSharedPtr<DmRoot> root = xmeml::Maker(xml, options, report).make();
        return report.hasErrors() ? CoSharedPtr<DmRoot>() : root;
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
