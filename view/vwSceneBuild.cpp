#include "vwSceneBuild.h"

#include "vwCompare.h"
#include "vwLayout.h"
#include "vwLook.h"
#include "vwProperties.h"

#include "dmADissolveSettings.h"
#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmMaterial.h"
#include "dmPlayed.h"
#include "dmReelNode.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <unordered_map>

namespace view
{
namespace
{

constexpr double longest = 1e8;        ///< frames, some three weeks: what lasts longer has no length that can be drawn
constexpr std::size_t mostKeys = 2000; ///< of a curve, so many are drawn

bool isDrawable(double time)
{
    return std::abs(time) < dmNoTime; // not a number is not
}

bool isLength(double length)
{
    return length >= 0.0 && length <= longest;
}

/// Collects the properties of one set as texts.
class TextSink final : public PropertySink
{
public:
    explicit TextSink(Texts& texts)
        : _texts(texts)
    {
    }
    void number(const std::string& path, double value) override
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.10g", value);
        this->text(path, text);
    }
    void text(const std::string& path, std::string_view value) override
    {
        properties.push_back({_texts.add(path), _texts.add(value)});
    }
    Properties properties;

private:
    Texts& _texts;
};

Properties propertiesOf(Texts& texts, const DmPropertySet& set, std::initializer_list<std::wstring_view> skip)
{
    TextSink sink(texts);
    forEachProperty(set, skip, sink);
    return std::move(sink.properties);
}

/// Collects the properties of many segments, a column a path.
class ColumnSink final : public PropertySink
{
public:
    ColumnSink(Texts& texts, std::vector<Column>& columns)
        : _texts(texts)
        , _columns(columns)
    {
    }
    void begin(std::uint32_t segment) { _segment = segment; }
    void number(const std::string& path, double value) override { put(path, false, value); }
    void text(const std::string& path, std::string_view value) override { put(path, true, _texts.add(value)); }

private:
    void put(const std::string& path, bool isText, double value)
    {
        const auto [known, isNew] = _at.try_emplace(path + (isText ? '"' : '#'), _columns.size());
        if (isNew)
            _columns.push_back({_texts.add(path), isText, {}, {}});
        Column& column = _columns[known->second];
        column.segments.push_back(_segment);
        column.values.push_back(value);
    }

    Texts& _texts;
    std::vector<Column>& _columns;
    std::unordered_map<std::string, std::size_t> _at;
    std::uint32_t _segment = 0;
};

class Builder
{
public:
    explicit Builder(Scene& scene)
        : _scene(scene)
    {
    }

    /// A composition of a document, with its path.
    struct Top
    {
        DmCompositionNode* node;
        std::string path;
    };
    static void findTops(const DmTreeNode& node, const std::string& path, std::vector<Top>& tops)
    {
        for (int i = 0; i < node.getNbChildren(); ++i)
        {
            DmTreeNode* const child = node.getChild(i);
            const std::string childPath = path + (path.empty() ? "children[" : "/children[") + std::to_string(i) + ']';
            if (child && child->whatIs() == DM_COMPOSITION_NODE)
                tops.push_back({static_cast<DmCompositionNode*>(child), childPath});
            else if (child && child->whatIs() == DM_REEL_NODE)
                findTops(*child, childPath, tops);
        }
    }

    void addTops(const DmTreeNode& root)
    {
        std::vector<Top> tops;
        findTops(root, {}, tops);
        for (const Top& top : tops)
            if (indexOf(top.node) + 1 == _wanted.size() && _wanted.back().path.empty())
                _wanted.back().path = top.path;
    }

    /// What is in both is one composition; then what is new, then what is gone.
    void addVersions(const DmRoot& before, const DmRoot& after)
    {
        std::vector<Top> olds;
        std::vector<Top> news;
        findTops(before, {}, olds);
        findTops(after, {}, news);
        _matched = dmCounterparts(before, after);
        for (const DmCounterparts& matched : _matched)
        {
            const auto old = std::ranges::find(olds, matched.oldPath, &Top::path);
            const auto now = std::ranges::find(news, matched.newPath, &Top::path);
            if (old == olds.end() || now == news.end())
                continue;
            _wanted.push_back({now->node, now->path, Version::New, old->node, &matched});
            olds.erase(old);
            news.erase(now);
        }
        for (const Top& top : news)
            _wanted.push_back({top.node, top.path, Version::New});
        for (const Top& top : olds)
            _wanted.push_back({top.node, top.path, Version::Old});
    }

    /// Builds all, and what containers hold on the way: a composition once, wherever it is opened from.
    void build()
    {
        _scene.tops = _wanted.size();
        for (std::size_t i = 0; i < _wanted.size(); ++i) // those that containers hold join on the way
        {
            const Wanted wanted = _wanted[i];
            Composition composition;
            buildOne(wanted, composition);
            _scene.compositions.push_back(std::move(composition));
        }
        if (_withoutTime > 0)
            note(_withoutTime, "has times that cannot be drawn, and stands behind what is in front of it",
                 "have times that cannot be drawn, and stand behind what is in front of them");
        if (_overlapping > 0)
            note(_overlapping, "begins before the one in front of it has ended",
                 "begin before the one in front of them has ended");
        if (_lengthless > 0)
            note(_lengthless, "has no length, and is drawn as a line", "have no length, and are drawn as lines");
        if (_early > 0)
            note(_early, "begins before record time 0", "begin before record time 0");
        if (_missing > 0)
            note(_missing, "is empty and is left out", "are empty and are left out");
        for (std::size_t i = 0; i < _scene.tops; ++i)
            if (const Composition& one = _scene.compositions[i]; one.segments.size() == 0)
                _scene.notes.push_back("The composition \"" + _scene.texts[one.name] + "\" holds no segment.");
        if (_scene.tops == 0)
            _scene.notes.emplace_back("The document holds no composition.");
    }

private:
    struct Wanted
    {
        DmCompositionNode* node;
        std::string path = {}; ///< in its document; empty for what a container holds
        Version version = Version::Only;
        DmCompositionNode* before = nullptr; ///< its older version
        const DmCounterparts* matched = nullptr;
    };

    /// A layer, as a row of its own.
    struct Lane
    {
        DmLayerNode* layer;
        DmTrackNode* track;
        int trackAt;
        int layerAt;
        bool isTrackTop;
        bool isAudio;
        Version version;
        DM::FrameCodeModes fcm;
        std::string name;
        std::string detail;
    };

    struct Placed
    {
        DmSegmentNode* node;
        double in;
        double length;
        int position;
        bool timeless;
    };

    void note(std::size_t count, const char* one, const char* many)
    {
        _scene.notes.push_back(std::to_string(count) + (count == 1 ? " element " : " elements ") +
                               (count == 1 ? one : many) + '.');
    }

    std::uint32_t indexOf(DmCompositionNode* node)
    {
        const auto [known, isNew] = _index.try_emplace(node, static_cast<std::uint32_t>(_wanted.size()));
        if (isNew)
            _wanted.push_back({node});
        return known->second;
    }

    std::uint16_t modeOf(DM::FrameCodeModes wanted)
    {
        const DM::FrameCodeModes fcm = dmModeOrDefault(wanted);
        const auto [known, isNew] = _modes.try_emplace(fcm, static_cast<std::uint16_t>(_scene.modes.size()));
        if (isNew)
        {
            Mode mode{fcm, "frames", 0, 0.0, 0, "0"};
            if (fcm != DM::FCM_NOT_DEFINED)
            {
                mode.name = DM::FcmUtil::getFCMString(fcm);
                mode.fps = DM::FcmUtil::getIntFPS(fcm);
                mode.rate = DM::FcmUtil::getDoubleFPS(fcm);
                mode.drop = DM::FcmUtil::isDropFrame(fcm) ? mode.fps / 15 : 0;
                mode.zero = labelOf(mode, 0.0);
            }
            _scene.modes.push_back(std::move(mode));
        }
        return known->second;
    }

    TextId text(const DmString& value) { return value.empty() ? 0 : _scene.texts.add(dmUtf8(value)); }

    static double labelStartOf(const DmCompositionNode& node)
    {
        const double start = node.getLabelTime(0.0);
        return isDrawable(start) ? start : 0.0;
    }

    void buildOne(const Wanted& wanted, Composition& composition)
    {
        DmCompositionNode& node = *wanted.node;
        composition.path = wanted.path;
        composition.version = wanted.version;
        composition.name = text(node.getName());
        composition.mode = modeOf(dmFcmFromText(node.getFCM()));
        composition.labelStart = labelStartOf(node);
        composition.properties = propertiesOf(_scene.texts, node, {L"classId", L"name", L"children", L"cueMarks"});
        if (wanted.before)
        {
            composition.versions.emplace();
            composition.versions->oldPath = wanted.matched->oldPath;
            composition.versions->oldMode = modeOf(dmFcmFromText(wanted.before->getFCM()));
            composition.versions->oldLabelStart = labelStartOf(*wanted.before);
        }
        addRows(wanted, composition);
        for (int i = 0; i < node.getCueMarks().count(); ++i)
            addMark(composition, node.getCueMarks().at(i), noSegment, 0.0, 0.0);
        if (wanted.before)
            align(composition, _scene, *wanted.matched);
        else
            setExtent(node, composition);
    }

    // Rows: video from the highest track down, then sound.

    void addRows(const Wanted& wanted, Composition& composition)
    {
        std::vector<Lane> lanes = lanesOf(*wanted.node, wanted.version);
        if (wanted.before)
            lanes = together(lanesOf(*wanted.before, Version::Old), lanes, *wanted.matched);
        ColumnSink columns(_scene.texts, composition.columns);
        double top = 0.0;
        for (std::size_t i = 0; i < lanes.size(); ++i)
        {
            const Lane& lane = lanes[i];
            if (i > 0)
            {
                const bool isFollowed = lane.version == Version::New && lanes[i - 1].version == Version::Old;
                top += isFollowed ? sizes.versionGap : wanted.before ? sizes.pairGap : sizes.rowGap;
                if (lane.isAudio && !lanes[i - 1].isAudio)
                    top += sizes.divider;
            }
            addRow(lane, top, composition, columns);
            top += composition.rows.back().height;
        }
        composition.height = std::max(top, sizes.video);
    }

    static DmTrackNode* trackOf(const DmCompositionNode& node, int index)
    {
        DmTreeNode* const child = node.getChild(index);
        return child && child->whatIs() == DM_TRACK_NODE ? static_cast<DmTrackNode*>(child) : nullptr;
    }

    std::vector<Lane> lanesOf(DmCompositionNode& node, Version version)
    {
        std::vector<Lane> lanes;
        const int count = node.getNbChildren();
        const auto isAudioAt = [&](int at) { return trackOf(node, at)->getMediaType() == DM_MEDIA_AUDIO; };
        for (const bool isAudio : {false, true})
        {
            int ordinal = 1;
            for (int i = 0; i < count && !isAudio; ++i)
                ordinal += trackOf(node, i) && !isAudioAt(i) ? 1 : 0;
            for (int i = 0; i < count; ++i)
            {
                const int at = isAudio ? i : count - 1 - i;
                if (trackOf(node, at) && isAudioAt(at) == isAudio)
                    addLanes(node, at, isAudio ? ordinal++ : --ordinal, version, lanes);
            }
        }
        return lanes;
    }

    void addLanes(DmCompositionNode& node, int trackAt, int ordinal, Version version, std::vector<Lane>& lanes)
    {
        DmTrackNode& track = *trackOf(node, trackAt);
        const bool isAudio = track.getMediaType() == DM_MEDIA_AUDIO;
        const std::string trackName =
            (isAudio ? "A" : "V") + std::to_string(track.getTrackNum() > 0 ? track.getTrackNum() : ordinal);
        const int count = track.getNbChildren();
        bool isTop = true;
        for (int i = 0; i < count; ++i)
        {
            const int at = isAudio ? i : count - 1 - i;
            DmTreeNode* const child = track.getChild(at);
            if (!child || child->whatIs() != DM_LAYER_NODE)
            {
                ++_missing;
                continue;
            }
            auto& layer = static_cast<DmLayerNode&>(*child);
            const std::string ownName = track.getName() == L"untitled" ? "" : dmUtf8(track.getName());
            lanes.push_back({&layer, &track, trackAt, at, isTop, isAudio, version, dmFcmFromText(node.getFCM()),
                             count > 1 ? trackName + '.' + std::to_string(at + 1) : trackName,
                             layer.isResultLayer() && count > 1 ? "result"
                             : ownName == trackName             ? ""
                                                                : ownName});
            isTop = false;
        }
    }

    /// Each old row above the new one that it became, in the order of the new ones; what is gone where it was.
    static std::vector<Lane> together(std::vector<Lane> olds, std::vector<Lane> news, const DmCounterparts& matched)
    {
        const auto isAt = [](const Lane& lane, const DmCounterparts::Place& place)
        { return lane.trackAt == place.track && lane.layerAt == place.layer; };
        for (std::vector<Lane>* const lanes : {&olds, &news})
            for (Lane& lane : *lanes)
                lane.name += lane.version == Version::Old ? " old" : " new";
        std::vector<bool> isLeft(olds.size(), true); // to be laid in front of what they stand in front of
        std::vector<std::size_t> partner(news.size(), olds.size());
        std::vector<bool> hasPartner(olds.size(), false);
        for (const DmCounterparts::Pair& pair : matched.layers)
        {
            const auto old = std::ranges::find_if(olds, [&](const Lane& lane) { return isAt(lane, pair.before); });
            const auto now = std::ranges::find_if(news, [&](const Lane& lane) { return isAt(lane, pair.after); });
            if (old == olds.end() || now == news.end() || old->isAudio != now->isAudio)
                continue;
            partner[static_cast<std::size_t>(now - news.begin())] = static_cast<std::size_t>(old - olds.begin());
            hasPartner[static_cast<std::size_t>(old - olds.begin())] = true;
        }
        std::vector<Lane> all;
        const auto leave = [&](std::size_t upTo, bool isAudio)
        {
            for (std::size_t i = 0; i < upTo; ++i)
                if (isLeft[i] && !hasPartner[i] && olds[i].isAudio == isAudio)
                {
                    isLeft[i] = false;
                    all.push_back(olds[i]);
                }
        };
        for (const bool isAudio : {false, true})
        {
            for (std::size_t k = 0; k < news.size(); ++k)
            {
                if (news[k].isAudio != isAudio)
                    continue;
                if (partner[k] < olds.size())
                {
                    leave(partner[k], isAudio);
                    all.push_back(olds[partner[k]]);
                }
                all.push_back(news[k]);
            }
            leave(olds.size(), isAudio);
        }
        return all;
    }

    void addRow(const Lane& lane, double top, Composition& composition, ColumnSink& columns)
    {
        _fcm = lane.fcm;
        Row row{};
        row.isAudio = lane.isAudio;
        row.isTrackTop = lane.isTrackTop;
        row.version = lane.version;
        row.top = top;
        row.height = lane.isAudio ? sizes.audio : sizes.video;
        row.name = _scene.texts.add(lane.name);
        row.detail = _scene.texts.add(lane.detail);
        row.trackAt = lane.trackAt;
        row.layerAt = lane.layerAt;
        row.track = propertiesOf(_scene.texts, *lane.track, {L"classId", L"children"});
        row.layer = propertiesOf(_scene.texts, *lane.layer, {L"classId", L"children"});
        addLayer(*lane.layer, row, composition, columns);
        composition.rows.push_back(std::move(row));
    }

    // Elements

    void addLayer(DmLayerNode& layer, Row& row, Composition& composition, ColumnSink& columns)
    {
        const auto rowIndex = static_cast<std::uint32_t>(composition.rows.size());
        std::vector<Placed> placed;
        placed.reserve(static_cast<std::size_t>(layer.getNbChildren()));
        double at = 0.0;
        for (int i = 0; i < layer.getNbChildren(); ++i)
        {
            DmTreeNode* const child = layer.getChild(i);
            if (DmSegmentNode* const segment = child ? child->asSegment() : nullptr)
            {
                Placed place{segment, segment->getRecIn(), segment->getRecLength(), i, false};
                place.timeless = !isDrawable(place.in) || !isLength(place.length);
                if (!isDrawable(place.in))
                    place.in = at;
                if (!isLength(place.length))
                    place.length = place.length < 0.0 ? 0.0 : 1.0;
                at = place.in + place.length;
                placed.push_back(place);
            }
            else if (DmTransitionNode* const transition = child ? child->asTransition() : nullptr)
                addTransition(*transition, rowIndex, i, at, composition);
            else
                ++_missing;
        }
        std::stable_sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) { return a.in < b.in; });
        row.first = static_cast<std::uint32_t>(composition.segments.size());
        double taken = -dmNoTime;
        for (const Placed& place : placed)
        {
            addSegment(place, place.in < taken - 1e-5, row.isAudio, composition, columns);
            taken = std::max(taken, place.in + place.length);
        }
        row.last = static_cast<std::uint32_t>(composition.segments.size());
    }

    void addSegment(const Placed& place, bool overlaps, bool isAudio, Composition& composition, ColumnSink& columns)
    {
        DmSegmentNode& node = *place.node;
        Segments& segments = composition.segments;
        const auto index = static_cast<std::uint32_t>(segments.size());
        const auto* const source = node.whatIs() == DM_SOURCE_NODE ? static_cast<const DmSourceNode*>(&node) : nullptr;
        const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
        const Kind kind = node.whatIs() == DM_GAP_NODE                               ? Kind::Gap
                          : node.whatIs() == DM_CONTAINER_NODE                       ? Kind::Container
                          : dynamic_cast<const DmSourceNode::GeneratedInput*>(input) ? Kind::Generated
                                                                                     : Kind::Source;
        const TextId reel = reelOf(input);
        segments.kind.push_back(kind);
        segments.in.push_back(place.in);
        segments.length.push_back(place.length);
        segments.name.push_back(kind == Kind::Gap && node.getName() == L"untitled" ? 0 : text(node.getName()));
        segments.reel.push_back(reel);
        segments.id.push_back(text(node.getSegmentId()));
        segments.position.push_back(static_cast<std::uint32_t>(place.position));
        segments.tint.push_back(tintOf(kind, isAudio, reel ? reel : input ? text(input->getName()) : 0));

        std::uint8_t flags = node.getMuted() ? Muted : 0;
        flags |= place.timeless ? NoTime : 0;
        flags |= overlaps ? Overlaps : 0;
        _withoutTime += place.timeless ? 1 : 0;
        _overlapping += overlaps ? 1 : 0;
        _lengthless += place.length == 0.0 && !place.timeless ? 1 : 0;
        _early += place.in < 0.0 ? 1 : 0;
        flags |= addEffects(composition.effects, node.getEffects(), index) ? HasEffects : 0;
        const int marks = node.getSegmentMarks().count();
        const std::optional<DmPlayed> played =
            marks > 0 ? std::optional<DmPlayed>(std::in_place, node, _fcm) : std::nullopt;
        for (int i = 0; i < marks; ++i)
        {
            // A segment's marks count as its material does, at whatever speed that plays.
            const DmCueMark* const mark = node.getSegmentMarks().at(i);
            const bool isConstant = mark && played->motion() == DmPlayed::Motion::Constant;
            const double origin = isConstant ? played->recordTimeOf(mark->getCueMarkTime()).value_or(0.0) -
                                                   node.getRecIn() - mark->getCueMarkTime()
                                             : -node.getRelIn();
            addMark(composition, mark, index, place.in + origin, place.in);
            flags |= HasMarks;
        }
        flags |= addPieces(node, place, index, composition) ? Keyed : 0;
        segments.flags.push_back(flags);
        if (kind == Kind::Container)
            if (DmCompositionNode* const inside = static_cast<DmContainerNode&>(node).getComposition())
            {
                composition.opens.push_back(index);
                composition.opens.push_back(indexOf(inside));
            }
        columns.begin(index);
        forEachProperty(node,
                        {L"classId", L"name", L"recIn", L"recLength", L"effects", L"segmentMarks", L"mediaType",
                         L"segmentId", L"muted", L"composition"},
                        columns);
    }

    TextId reelOf(const DmSourceNode::Input* input) { return input ? text(dmReelOf(*input)) : 0; }

    std::uint8_t tintOf(Kind kind, bool isAudio, TextId material)
    {
        if (kind == Kind::Generated || kind == Kind::Gap)
            return static_cast<std::uint8_t>(generatedAt);
        if (kind == Kind::Container)
            return static_cast<std::uint8_t>(containerAt);
        auto& known = isAudio ? _audioTints : _videoTints;
        const std::size_t next = known.size() % (isAudio ? audioTints.size() : videoTints.size());
        const auto tint = static_cast<std::uint8_t>(next + (isAudio ? videoTints.size() : 0));
        return known.try_emplace(material, tint).first->second;
    }

    /// Whether the speed is keyed: what stands between the keys is then the straight line between them.
    bool addPieces(const DmSegmentNode& node, const Placed& place, std::uint32_t index, Composition& composition)
    {
        const DmPlayed played(node, _fcm);
        if (played.motion() == DmPlayed::Motion::None || place.timeless)
            return false;
        const double begin = dmMaterialOf(node, _fcm).begin;
        const std::uint16_t mode = modeOf(played.fcm());
        const auto add = [&](double record, double position, double speed)
        {
            const double source = begin + position;
            if (isDrawable(record) && isDrawable(source) && std::isfinite(speed))
                composition.pieces.push_back({index, mode, record, source, speed});
        };
        if (played.motion() != DmPlayed::Motion::Keyed)
        {
            const double at = played.positionAt(place.in).value_or(played.begin());
            add(place.in, at, played.speed() * played.rate());
            return false;
        }
        const std::vector<DmPlayed::Key>& keys = played.keys();
        for (std::size_t i = 0; i < std::min(keys.size(), mostKeys); ++i)
        {
            const bool isLast = i + 1 == keys.size();
            const double span = isLast ? 0.0 : keys[i + 1].recordTime - keys[i].recordTime;
            add(keys[i].recordTime, keys[i].position,
                span > 0.0 ? (keys[i + 1].position - keys[i].position) / span : 0.0);
        }
        return true;
    }

    bool addEffects(std::vector<Effect>& to, const DmSetList<DmEffectSettings>& effects, std::uint32_t owner)
    {
        const std::size_t before = to.size();
        for (int i = 0; i < effects.count(); ++i)
            if (const DmEffectSettings* const effect = effects.at(i))
                to.push_back(effectOf(*effect, owner));
        return to.size() > before;
    }

    Effect effectOf(const DmEffectSettings& settings, std::uint32_t owner)
    {
        Effect effect{owner, text(settings.getName()), settings.isMuted(), {}, {}};
        effect.properties = propertiesOf(_scene.texts, settings, {L"channelList", L"muted"});
        DmStringArray names;
        settings.getChannelNames(names);
        for (const DmString& name : names)
        {
            const CoSharedPtr<DmAnimationChannel> channel = settings.getExistingChannelByName(name);
            if (!channel)
                continue;
            const int count = channel->getNbKeyFrames();
            if (count == 0)
            {
                TextSink value(_scene.texts);
                value.number(dmUtf8(name), readableFloat(channel->getValue()));
                effect.properties.push_back(value.properties.front());
                continue;
            }
            Curve curve{text(name), {}};
            for (int i = 0; i < std::min(count, static_cast<int>(mostKeys)); ++i)
                if (const CoSharedPtr<DmKeyFrame> key = channel->getKeyFrame(i);
                    key && std::isfinite(key->getFrame()) && std::isfinite(key->getValue()))
                    curve.keys.push_back({key->getFrame(), key->getValue()});
            std::stable_sort(curve.keys.begin(), curve.keys.end(),
                             [](const Key& a, const Key& b) { return a.frame < b.frame; });
            effect.curves.push_back(std::move(curve));
        }
        return effect;
    }

    void addTransition(DmTransitionNode& node, std::uint32_t row, int position, double at, Composition& composition)
    {
        if (node.whatIs() == DM_CUT_NODE && node.getRecLength() == 0.0)
            return;
        Transition transition{};
        transition.row = row;
        transition.position = static_cast<std::uint32_t>(position);
        const bool usable = isDrawable(node.getRecIn()) && isLength(node.getRecLength());
        transition.in = usable ? node.getRecIn() : at;
        transition.length = usable ? node.getRecLength() : 0.0;
        _withoutTime += usable ? 0 : 1;
        transition.shape = Shape::Other;
        transition.name = text(node.getName() == L"untitled" ? DmString() : node.getName());
        transition.properties = propertiesOf(_scene.texts, node, {L"classId", L"name", L"effect", L"mediaType"});
        if (node.whatIs() == DM_TRX_EFFECT_NODE)
            if (const DmEffectSettings* const effect = static_cast<DmTrxEffectNode&>(node).getEffect())
            {
                transition.shape = shapeOf(*effect);
                transition.muted = effect->isMuted();
                composition.transitionEffects.push_back(
                    effectOf(*effect, static_cast<std::uint32_t>(composition.transitions.size())));
                if (transition.name == 0)
                    transition.name = text(effect->getName());
            }
        composition.transitions.push_back(std::move(transition));
    }

    static Shape shapeOf(const DmEffectSettings& effect)
    {
        if (const auto* dissolve = dynamic_cast<const DmVDissolveSettings*>(&effect))
            return dissolve->hasToFromColor() ? Shape::Fade : Shape::Dissolve;
        if (dynamic_cast<const DmADissolveSettings*>(&effect))
            return Shape::Dissolve;
        return dynamic_cast<const DmWipeSettings*>(&effect) ? Shape::Wipe : Shape::Other;
    }

    void addMark(Composition& composition, const DmCueMark* node, std::uint32_t segment, double origin,
                 double otherwise)
    {
        if (!node)
            return;
        const auto part = [](int value) { return static_cast<std::uint32_t>(std::clamp(value, 0, 255)); };
        Mark mark{};
        const bool usable = isDrawable(node->getCueMarkTime()) && isDrawable(origin + node->getCueMarkTime());
        mark.time = usable ? origin + node->getCueMarkTime() : otherwise;
        mark.length = isLength(node->getCueMarkDuration()) ? node->getCueMarkDuration() : 0.0;
        mark.colour = part(node->getCueMarkColorRed()) << 16 | part(node->getCueMarkColorGreen()) << 8 |
                      part(node->getCueMarkColorBlue());
        mark.name = text(node->getCueMarkName());
        mark.comment = text(node->getCueMarkComment());
        mark.segment = segment;
        _withoutTime += usable ? 0 : 1;
        composition.marks.push_back(mark);
    }

    /// From the first element to the last; of an empty one, a stretch to look at.
    static void setExtent(const DmCompositionNode& node, Composition& composition)
    {
        double begin = dmNoTime;
        double end = -dmNoTime;
        const auto take = [&](double in, double out)
        {
            begin = std::min(begin, in);
            end = std::max(end, out);
        };
        const Segments& segments = composition.segments;
        for (std::size_t i = 0; i < segments.size(); ++i)
            take(segments.in[i], segments.out(i));
        for (const Transition& transition : composition.transitions)
            take(transition.in, transition.in + transition.length);
        for (const Mark& mark : composition.marks)
            take(mark.time, mark.time);
        if (begin > end)
            take(0.0, isLength(node.getCompLength()) ? node.getCompLength() : 0.0);
        composition.begin = begin;
        composition.end = std::max(end, begin + 1.0);
    }

    Scene& _scene;
    std::vector<Wanted> _wanted;
    std::vector<DmCounterparts> _matched;
    std::unordered_map<const DmCompositionNode*, std::uint32_t> _index;
    std::map<DM::FrameCodeModes, std::uint16_t> _modes;
    std::unordered_map<TextId, std::uint8_t> _videoTints;
    std::unordered_map<TextId, std::uint8_t> _audioTints;
    DM::FrameCodeModes _fcm = DM::FCM_NOT_DEFINED; ///< of the row being built
    std::size_t _withoutTime = 0;
    std::size_t _overlapping = 0;
    std::size_t _lengthless = 0;
    std::size_t _early = 0;
    std::size_t _missing = 0;
};

} // namespace

Scene sceneOf(const DmRoot& root, const std::string& title)
{
    Scene scene;
    scene.title = title;
    Builder builder(scene);
    builder.addTops(root);
    builder.build();
    return scene;
}

Scene sceneOf(const DmRoot& before, const DmRoot& after, const DmDiff& diff, const std::string& title)
{
    Scene scene;
    scene.title = title;
    Builder builder(scene);
    builder.addVersions(before, after);
    builder.build();
    addChanges(scene, diff);
    for (Composition& composition : scene.compositions)
        if (composition.versions)
            fold(composition, scene);
    return scene;
}

} // namespace view
