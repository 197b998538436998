// Operations that reach every node, inside containers too, and share what they do not change.
#include "dmEditImp.h"
#include "dmRewriteImp.h"

#include "CoNumber.h"
#include "dmContainerNode.h"
#include "dmKeyFrame.h"
#include "dmNesting.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace
{

bool isOneOf(const DmString& name, std::initializer_list<std::wstring_view> names)
{
    return std::ranges::find(names, name.view()) != names.end();
}

/// A name without a meaning for each name, the same for equal ones.
class Neutral
{
public:
    explicit Neutral(const char* word)
        : _word(word)
    {
    }
    DmString operator()(const DmString& name)
    {
        if (name.empty())
            return {};
        const auto [found, isNew] = _names.emplace(name, DmString());
        if (isNew)
            found->second = DmString((_word + std::to_string(_names.size())).c_str());
        return found->second;
    }

private:
    std::string _word;
    std::map<DmString, DmString> _names;
};

class Redaction
{
public:
    bool operator()(DmPropertySet& set)
    {
        const bool isEffect = dynamic_cast<DmEffectSettings*>(&set) != nullptr;
        const bool isChannel = dynamic_cast<DmChannel*>(&set) != nullptr;
        bool any = false;
        const DmPropertySetData& data = set.classData();
        for (int i = 0; i < data.size(); ++i)
        {
            const DmPropertyDef& def = *data.at(i);
            if (def._type == DM_STRING || def._type == DM_CDATA)
            {
                DmString was;
                if (set.getPropertyValue(i, def._type, &was) != DM_NO_ERROR || was.empty())
                    continue;
                const DmString now = isChannel ? channelText(def._name, was) : text(set, def._name, was, isEffect);
                if (now != was)
                    any = set.setPropertyValue(i, def._type, &now) == DM_NO_ERROR || any;
            }
            else if (int size = 0; def._type == DM_VECTOR_STRING &&
                                   set.getListSize(i, DM_VECTOR_STRING, size) == DM_NO_ERROR && size > 0)
                any = set.clearList(i, DM_VECTOR_STRING) == DM_NO_ERROR || any;
        }
        if (auto* const node = dynamic_cast<DmTreeNode*>(&set); node && node->getBaseBlob())
            any = node->setBaseBlob(attachedTo(*node)) == DM_NO_ERROR || any;
        if (auto* const media = dynamic_cast<DmSourceNode::MediaInput*>(&set))
            any = redactEntries(*media) || any;
        if (auto* const layer = dynamic_cast<DmLayerNode*>(&set))
            any = redactMarks(*layer) || any;
        return any;
    }

private:
    static DmString channelText(const DmString& property, const DmString& was)
    {
        // A parameter's value stays where it is a number or a switch; any other may be somebody's word.
        const bool isParameter = DM::CoNumber::whole(dmUtf8(was)) || isOneOf(was, {L"true", L"false", L"yes", L"no"});
        return property == DmString(L"value") && !isParameter ? DmString() : was;
    }

    DmString text(const DmPropertySet& set, const DmString& property, const DmString& was, bool isEffect)
    {
        if (isOneOf(property, {L"fcm", L"startTCStr", L"startTcFcm", L"srcFcm", L"srcInStr", L"srcInFcm", L"VaricamFcm",
                               L"inputType", L"scanFormat", L"storageFormat", L"colourSpace", L"imageResizeType",
                               L"imageFilterType", L"PDFrameType", L"filmGauge", L"telecineSpeed", L"key", L"value"}))
            return was;
        if (isOneOf(property, {L"segmentId", L"originalID"}))
            return idFor(was);
        if (property == DmString(L"reelName"))
            return _reels(was);
        if (property == DmString(L"name"))
            return dynamic_cast<const DmSegmentNode*>(&set) || dynamic_cast<const DmSourceNode::Input*>(&set) ||
                           dynamic_cast<const DmSourceInfo*>(&set)
                       ? _clips(was)
                   : dynamic_cast<const DmTreeNode*>(&set) ? DmString(L"untitled")
                                                           : DmString();
        if (isEffect && isOneOf(property, {L"orientationType", L"domCorrectionType"}))
            return was; // a parameter
        return {};
    }

    DmString idFor(const DmString& was)
    {
        const std::wstring_view group = dmLinkGroupOf(was);
        if (group.empty())
            return _ids(was);
        std::wstring id(_ids(DmString(group)).view());
        id += L'#';
        id += _ids(DmString(was.view().substr(group.size() + 1))).view();
        return DmString(std::wstring_view(id));
    }

    /// Leftovers go, wherever they stand in the chain; a source that a gap or a transition plays stays.
    static DmPropertySetPtr attachedTo(const DmTreeNode& node)
    {
        const bool isHolder = node.whatIs() == DM_GAP_NODE || dynamic_cast<const DmTransitionNode*>(&node);
        const DmTreeNode* at = isHolder ? dynamic_cast<DmTreeNode*>(node.getBaseBlob()) : nullptr;
        for (int i = 0; i < dmMaxNesting && at && !dynamic_cast<const DmSourceNode*>(at); ++i)
            at = dynamic_cast<DmTreeNode*>(at->getBaseBlob());
        return DmPropertySetPtr(const_cast<DmTreeNode*>(at));
    }

    static bool redactEntries(DmSourceNode::MediaInput& media)
    {
        bool any = false;
        for (int i = media.getExtraDataDictionary().count(); i-- > 0;)
            if (const DmSourceNode::DictionaryEntry* const entry = media.getExtraDataDictionary().at(i);
                !entry || entry->getKey() != DmString(dmMaterialLengthKey))
                any = media.removeValueFromPropertyList(DmSourceNode::MediaInput::ExtraDataDictionary,
                                                        DM_VECTOR_PROPERTY_SET, i) == DM_NO_ERROR ||
                      any;
        return any;
    }

    /// They are no property: the copy's are its own.
    static bool redactMarks(DmLayerNode& layer)
    {
        for (int i = 0; i < layer.getCueMarks().count(); ++i)
            if (DmCueMark* const mark = layer.getCueMarks().at(i))
            {
                static_cast<void>(mark->setCueMarkName(DmString()));
                static_cast<void>(mark->setCueMarkComment(DmString()));
            }
        return layer.getCueMarks().count() > 0;
    }

    Neutral _clips{"clip "};
    Neutral _reels{"REEL"};
    Neutral _ids{"id"};
};

bool replaceBegin(DmString& text, const DmString& from, const DmString& to)
{
    if (from.empty() || !text.view().starts_with(from.view()))
        return false;
    std::wstring now(to.view());
    now += text.view().substr(from.view().size());
    DmString(std::wstring_view(now)).swap(text);
    return true;
}

} // namespace

bool DmEdit::Imp::rewrite(DmRewrite& how)
{
    int count = 1;
    for (const DmTimelineValue::Track& track : draft.value.tracks)
        for (const DmTimelineValue::Layer& layer : track.layers)
            count += layer.runs.count();
    int done = 0;
    bool any = false;
    const auto rewritten = [&]<class Node>(CoSharedPtr<Node>& pointer)
    {
        if (!pointer)
            return;
        const CoSharedPtr<Node> was = pointer;
        pointer = DM::staticPointerCast<Node>(how(DmPropertySetPtr(was)));
        any = any || pointer != was;
    };
    rewritten(draft.value.top);
    rewritten(draft.value.bare);
    for (int t = 0; t < int(draft.value.tracks.size()); ++t)
    {
        DmTimelineValue::Track& track = draft.value.tracks[std::size_t(t)];
        rewritten(track.bare);
        rewritten(track.other);
        for (int l = 0; l < int(track.layers.size()); ++l)
        {
            DmTimelineValue::Layer& layer = track.layers[std::size_t(l)];
            rewritten(layer.bare);
            rewritten(layer.other);
            bool idsChanged = false;
            const DmRuns now = layer.runs.mapped(
                [&](const DmRuns::Node& was)
                {
                    if (done++ % 1024 == 0)
                        progress(double(done) / count);
                    const auto is = DM::staticPointerCast<DmTreeNode>(how(DmPropertySetPtr(was)));
                    if (const DmSegmentNode* const segment = dmSegment(was.get()); segment && is != was)
                        idsChanged = idsChanged || dmSegment(is.get())->getSegmentId() != segment->getSegmentId();
                    return is;
                },
                [&](int first, int number)
                {
                    draft.changes.push_back({{t, l}, first, number, number, 0.0});
                    draft.bytes += sizeof(DmSourceNode) + 256;
                    any = true;
                });
            if (idsChanged)
                draft.value.leave(layer);
            layer.runs = now;
            if (idsChanged)
                draft.value.enter(layer);
        }
    }
    return any;
}

DmStatus DmEdit::relink(const Relink& how)
{
    return _imp->run(
        [&]
        {
            const auto relinked = [&](DmPropertySet& set)
            {
                bool any = false;
                if (auto* const info = dynamic_cast<DmSourceInfo*>(&set))
                {
                    DmString path = info->getPath();
                    if (replaceBegin(path, how.fromPath, how.toPath))
                        any = info->setPath(path) == DM_NO_ERROR;
                    std::vector<DmString> files = info->getFileList();
                    bool filesChanged = false;
                    for (DmString& file : files)
                        filesChanged = replaceBegin(file, how.fromPath, how.toPath) || filesChanged;
                    if (filesChanged)
                        any = info->setFileList(files) == DM_NO_ERROR;
                    if (!how.fromReel.empty() && info->getReelName() == how.fromReel)
                        any = info->setReelName(how.toReel) == DM_NO_ERROR;
                }
                if (auto* const input = dynamic_cast<DmSourceNode::Input*>(&set))
                    if (!how.fromName.empty() && input->getName() == how.fromName)
                        any = input->setName(how.toName) == DM_NO_ERROR;
                if (auto* const derived = dynamic_cast<DmSourceNode::DerivedInput*>(&set))
                    if (!how.fromReel.empty() && derived->getReelName() == how.fromReel)
                        any = derived->setReelName(how.toReel) == DM_NO_ERROR;
                if (auto* const input = dynamic_cast<DmSourceNode::RelinkedInput*>(&set))
                    if (!how.fromReel.empty() && input->getReelName() == how.fromReel)
                        any = input->setReelName(how.toReel) == DM_NO_ERROR;
                return any;
            };
            DmRewrite all(
                [](const DmPropertySet& set)
                { return dynamic_cast<const DmSourceInfo*>(&set) || dynamic_cast<const DmSourceNode::Input*>(&set); },
                relinked);
            if (!_imp->rewrite(all))
                dmRefuse("No source has such a path, name or reel.");
        });
}

DmStatus DmEdit::redact()
{
    return _imp->run(
        [&]
        {
            Redaction redaction;
            DmRewrite all([](const DmPropertySet&) { return true; },
                          [&](DmPropertySet& set) { return redaction(set); });
            static_cast<void>(_imp->rewrite(all));
        });
}

namespace
{

DmCompositionNode& needComposition(const DmLane& lane, int index)
{
    const auto* const node = dynamic_cast<const DmContainerNode*>(&lane.needSegment(index));
    if (!node || !node->getComposition())
        dmRefuse("%s is no container of a composition.", lane.called(index).c_str());
    return *node->getComposition();
}

} // namespace

void DmEdit::Imp::playInstead(const DmElementPlace& container, const CoSharedPtr<DmCompositionNode>& is)
{
    DmLane lane = this->lane(container);
    const CoSharedPtr<DmCompositionNode> was(&needComposition(lane, container.index));
    if (is == was)
        return;
    const std::size_t changesBefore = draft.changes.size();
    if (options().ownComposition)
    {
        const auto own = lane.own<DmContainerNode>(container.index);
        static_cast<void>(own->setComposition(is));
        lane.put(container.index, container.index + 1, {own}, 0.0);
    }
    else
    {
        DmRewrite all({}, {},
                      [](const DmPropertySet& set) { return dynamic_cast<const DmTreeNode*>(&set) != nullptr; });
        all.replace(*was, is);
        static_cast<void>(rewrite(all));
    }
    for (std::size_t i = changesBefore; i < draft.changes.size(); ++i)
    {
        const Change& change = draft.changes[i];
        const DmLane changed = this->lane(change.layer);
        const auto* const use = dynamic_cast<const DmContainerNode*>(changed.segment(change.first));
        if (!use || use->getComposition() != is.get())
            continue;
        const CoSharedPtr<DmContainerNode> before = dmEditCopy(*use);
        static_cast<void>(before->setComposition(was));
        const DmReach now(*use, draft.fcm, {});
        const double end = now.played().end();
        if (now.material().isLimited() && end > now.material().length + 1e-3 &&
            end <= dmMaterialOf(*before, draft.fcm).length + 1e-3)
            dmRefuse("%s plays the composition up to frame %g; it would have %g.", changed.called(change.first).c_str(),
                     end, now.material().length);
    }
}

DmStatus DmEdit::inside(const DmElementPlace& container, const std::function<DmStatus(DmEdit&)>& edits)
{
    return _imp->run(
        [&]
        {
            DmEdit session(DmTimeline::publish(&needComposition(_imp->lane(container), container.index)),
                           _imp->options());
            session.options().unlockedTracks.clear(); // they are tracks of this timeline
            session.setProgress(_imp->host);
            session._imp->draft.seeded = _imp->draft.seeded;
            if (const DmStatus status = edits(session); !status.ok())
                throw DmRefusal{status};
            _imp->draft.seeded = session._imp->draft.seeded;
            const CoSharedPtr<DmCompositionNode> is = session.timeline().composition();
            if (!is)
                throw std::bad_alloc();
            _imp->playInstead(container, is);
            _imp->draft.bytes += session.bytes();
            _imp->notes.insert(_imp->notes.end(), session.notes().begin(), session.notes().end());
        });
}

DmStatus DmEdit::inside(const DmElementPlace& container, const DmTimeline& edited)
{
    return _imp->run(
        [&]
        {
            const CoSharedPtr<DmCompositionNode> is = edited.composition();
            if (!is)
                dmRefuse("There is no timeline to play.");
            _imp->playInstead(container, is);
        });
}

namespace
{

/// Record times of one mode in another.
class Conforming
{
public:
    Conforming(const DmTimelineValue& value, DM::FrameCodeModes from, DM::FrameCodeModes to, bool byClock)
        : _from(from)
        , _to(to)
        , _byClock(byClock)
        , _start(value.bare->getStartTC())
        , _recordStart(_start - value.labelShift())
        , _newStart(relabelled(_start))
    {
    }

    DM::FrameCodeModes from() const { return _from; }
    DM::FrameCodeModes to() const { return _to; }
    double ratio() const { return DM::FcmUtil::getDoubleFPS(_to) / DM::FcmUtil::getDoubleFPS(_from); }
    double newStart() const { return _newStart; }
    double recordStart() const { return _recordStart; }

    double time(double record) const
    {
        if (!dmIsTime(record))
            return record;
        const double newRecordStart = _recordStart != 0.0 ? _newStart : 0.0;
        if (_byClock)
            return newRecordStart + std::round((record - _recordStart) * ratio());
        return relabelled(record - _recordStart + _start) - _newStart + newRecordStart;
    }

private:
    double relabelled(double labelTime) const
    {
        int hours = 0;
        int minutes = 0;
        int seconds = 0;
        int frames = 0;
        const bool isNegative = labelTime < 0.0;
        DM::TimeUnit(std::abs(labelTime)).toTimeCode(hours, minutes, seconds, frames, _from);
        const int from = DM::FcmUtil::getIntFPS(_from);
        const int to = DM::FcmUtil::getIntFPS(_to);
        if (from != to)
            frames = std::min(to - 1, static_cast<int>(std::lround(frames * double(to) / from)));
        DM::TimeUnit time;
        time.fromTimeCode(hours, minutes, seconds, frames, _to, true, true);
        return isNegative ? -time.getFrames() : time.getFrames();
    }

    DM::FrameCodeModes _from, _to;
    bool _byClock;
    double _start, _recordStart;
    double _newStart;
};

void scaleKeys(const DmPropertySet& set, double ratio)
{
    dmForEachHeld(set,
                  [ratio](const DmPropertySetPtr& held)
                  {
                      if (auto* const key = dynamic_cast<DmKeyFrame*>(held.get()))
                          static_cast<void>(key->setFrame(static_cast<float>(key->getFrame() * ratio)));
                      else if (!held->isFrozen())
                          scaleKeys(*held, ratio);
                      return true;
                  });
}

void conformMark(DmCueMark& mark, const Conforming& to)
{
    static_cast<void>(mark.setCueMarkTime(to.time(mark.getCueMarkTime())));
    static_cast<void>(mark.setCueMarkDuration(std::round(mark.getCueMarkDuration() * to.ratio())));
}

/// Of a transition that is a fresh copy, and of its effect where that says one.
void setLength(DmTransitionNode& transition, double length)
{
    static_cast<void>(transition.setRecLength(length));
    auto* const node = dynamic_cast<DmTrxEffectNode*>(&transition);
    if (!node || !node->getEffect())
        return;
    const CoSharedPtr<DmEffectSettings> effect = DM::staticPointerCast<DmEffectSettings>(node->getEffect()->clone());
    double was = 0.0;
    if (effect->getPropertyValue(L"length", DM_DOUBLE, &was) != DM_NO_ERROR || was <= 0.0)
        return;
    static_cast<void>(effect->setPropertyValue(L"length", DM_DOUBLE, &length));
    static_cast<void>(node->setEffect(effect));
}

/// The elements of a layer, each a fresh copy at its time.
class ConformedElements
{
public:
    explicit ConformedElements(const Conforming& to)
        : _to(to)
        , _oldFcm(dmFcmText(to.from()))
    {
    }

    void operator()(DmTreeNode& node)
    {
        if (DmSegmentNode* const segment = dmSegment(&node))
        {
            conform(*segment);
            if (segment->getRecLength() < dmLeastLength && segment->whatIs() != DM_GAP_NODE)
                dmRefuse("In that mode \"%s\" would be left without a frame.", dmUtf8(segment->getName()).c_str());
        }
        else if (DmTransitionNode* const transition = dmTransition(&node))
            conform(*transition);
        if (DmSourceNode* const attached = dmOwnAttached(node))
            conform(*attached);
    }

private:
    /// A copy of the set with the mode that was the composition's, one for all that share it.
    template <class Set, class Change>
    CoSharedPtr<Set> withMode(Set& set, const Change& change)
    {
        DmPropertySetPtr& copy = _withMode[&set];
        if (!copy)
        {
            copy = set.clone();
            if (!copy)
                throw std::bad_alloc();
            static_cast<void>(change(static_cast<Set&>(*copy)));
            copy->freeze();
        }
        return DM::staticPointerCast<Set>(copy);
    }

    void conform(DmSegmentNode& segment)
    {
        // Material without a mode of its own counts in what was the composition's.
        if (auto* const source = dynamic_cast<DmSourceNode*>(&segment); source && source->getSrcInput())
            if (dmFcmFromText(source->getSrcInput()->getFcm()) == DM::FCM_NOT_DEFINED)
                static_cast<void>(source->setSrcInput(
                    withMode(*source->getSrcInput(), [this](auto& input) { return input.setFcm(_oldFcm); })));
        if (auto* const container = dynamic_cast<DmContainerNode*>(&segment); container && container->getComposition())
            if (dmFcmFromText(container->getComposition()->getFCM()) == DM::FCM_NOT_DEFINED)
                static_cast<void>(container->setComposition(
                    withMode(*container->getComposition(), [this](auto& nested) { return nested.setFCM(_oldFcm); })));
        const double in = _to.time(segment.getRecIn());
        const double length = _to.time(segment.getRecOut()) - in;
        DmSegmentChange change(segment, _to.to(), {});
        static_cast<void>(segment.setRecIn(in));
        static_cast<void>(segment.setRecLength(length));
        for (int e = 0; e < segment.getEffects().count(); ++e)
            if (const DmEffectSettings* const effect = segment.getEffects().at(e))
                scaleKeys(*effect, _to.ratio());
        change.settle({});
    }

    void conform(DmTransitionNode& transition) const
    {
        const double in = _to.time(transition.getRecIn());
        const double length = _to.time(transition.getRecOut()) - in;
        static_cast<void>(transition.setRecIn(in));
        setLength(transition, length);
        static_cast<void>(transition.setRelIn(std::round(transition.getRelIn() * _to.ratio())));
        auto* const node = dynamic_cast<DmTrxEffectNode*>(&transition);
        if (!node || !node->getEffect())
            return;
        const CoSharedPtr<DmEffectSettings> effect =
            DM::staticPointerCast<DmEffectSettings>(node->getEffect()->clone());
        scaleKeys(*effect, _to.ratio());
        static_cast<void>(node->setEffect(effect));
    }

    const Conforming& _to;
    DmString _oldFcm;
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _withMode;
};

/// Where a seam's rounding leaves a transition a frame longer than its shots have material for, it is that much
/// shorter.
void keepHandles(DmLane& lane)
{
    for (int i = 1; i + 1 < lane.count(); ++i)
    {
        const double length = lane.length(i);
        if (!lane.transition(i) || length <= dmEditTolerance || !lane.segment(i - 1) || !lane.segment(i + 1))
            continue;
        const DmReach left = lane.reach(i - 1);
        const DmReach right = lane.reach(i + 1);
        const auto missing = [length](const DmReach& reach, double frames)
        {
            const bool isPlain = reach.played().motion() == DmPlayed::Motion::Constant;
            return isPlain && length > frames && length <= frames + 1.0 ? length - frames : 0.0;
        };
        const double later = missing(right, right.before());
        const double earlier = missing(left, left.behind());
        if (later + earlier == 0.0)
            continue;
        if (length - later - earlier < dmLeastLength)
        {
            lane.cutTransition(i, later > 0.0 ? lane.out(i) : lane.in(i));
            continue;
        }
        const DmLane::Segment outgoing = lane.ownSegment(i - 1);
        const DmLane::Segment incoming = lane.ownSegment(i + 1);
        const auto between = lane.own<DmTransitionNode>(i);
        DmSegmentChange outgoingChange = lane.change(outgoing, i - 1);
        DmSegmentChange incomingChange = lane.change(incoming, i + 1);
        outgoingChange.moveTail(later);
        incomingChange.moveHead(-earlier);
        dmStandAt(*between, between->getRecIn() + later);
        setLength(*between, length - later - earlier);
        lane.put(i - 1, i + 2, {outgoing, between, incoming}, 0.0);
    }
}

CoSharedPtr<DmLayerNode> conformed(const DmLayerNode& bare, const Conforming& to)
{
    CoSharedPtr<DmLayerNode> layer = dmEditCopy(bare);
    const double end = layer->getLayerStartTC() + layer->getLayerLength();
    const double start = to.time(layer->getLayerStartTC());
    static_cast<void>(layer->setLayerStartTC(start));
    static_cast<void>(layer->setLayerLength(to.time(end) - start));
    for (int i = 0; i < layer->getCueMarks().count(); ++i)
        if (DmCueMark* const mark = layer->getCueMarks().at(i))
            conformMark(*mark, to);
    layer->freeze();
    return layer;
}

void conformTimes(DmCompositionNode& composition, const Conforming& to)
{
    const double length = to.time(to.recordStart() + composition.getCompLength()) - to.time(to.recordStart());
    static_cast<void>(composition.setCompLength(length));
    for (int i = 0; i < composition.getCueMarks().count(); ++i)
        if (DmCueMark* const mark = composition.getCueMarks().at(i))
            conformMark(*mark, to);
    for (const int mark : {DmCompositionNode::InMark, DmCompositionNode::OutMark, DmCompositionNode::EmbInMark,
                           DmCompositionNode::EmbOutMark})
    {
        double was = dmNoTime;
        static_cast<void>(composition.getPropertyValue(mark, DM_DOUBLE, &was));
        const double now = to.time(was);
        static_cast<void>(composition.setPropertyValue(mark, DM_DOUBLE, &now));
    }
    static_cast<void>(composition.setStartTC(to.newStart(), dmFcmText(to.to())));
    static_cast<void>(composition.setFCM(dmFcmText(to.to())));
}

} // namespace

DmStatus DmEdit::conform(DM::FrameCodeModes fcm, Conform keep)
{
    return _imp->run(
        [&]
        {
            const DM::FrameCodeModes from = _imp->draft.fcm;
            if (from == DM::FCM_NOT_DEFINED || fcm == DM::FCM_NOT_DEFINED)
                dmRefuse("Both modes must be known.");
            if (from == fcm)
                return;
            const Conforming to(_imp->draft.value, from, fcm, keep == Conform::Clock);
            ConformedElements conform(to);
            std::size_t done = 0;
            std::size_t all = 1;
            for (const DmTimelineValue::Track& track : _imp->draft.value.tracks)
                for (const DmTimelineValue::Layer& layer : track.layers)
                    all += std::size_t(layer.runs.count());
            for (int t = 0; t < int(_imp->draft.value.tracks.size()); ++t)
                for (int l = 0; l < int(_imp->draft.value.tracks[std::size_t(t)].layers.size()); ++l)
                {
                    DmTimelineValue::Layer* const layer = _imp->draft.value.layer({t, l});
                    if (!layer)
                        continue;
                    DmLane lane = _imp->lane(DmLayerPlace{t, l});
                    std::vector<DmRuns::Node> nodes;
                    layer->runs.forEach(0, layer->runs.count(),
                                        [&](const DmRuns::Element& element)
                                        {
                                            if (done++ % 1024 == 0)
                                                _imp->progress(double(done) / double(all));
                                            DmRuns::Node copy = element.node ? dmEditCopy(*element.node) : nullptr;
                                            if (copy)
                                            {
                                                dmStandAt(*copy, element.recIn());
                                                conform(*copy);
                                                if (const DmTransitionNode* const transition = dmTransition(copy.get());
                                                    transition && transition->getRecLength() <= dmEditTolerance)
                                                    copy = lane.makeCut(transition->getRecIn());
                                                copy->freeze();
                                            }
                                            nodes.push_back(std::move(copy));
                                        });
                    const int count = layer->runs.count();
                    _imp->draft.changes.push_back({{t, l}, 0, count, count, 0.0});
                    _imp->draft.bytes += std::size_t(count) * (sizeof(DmSourceNode) + 256);
                    _imp->draft.value.leave(*layer);
                    layer->bare = conformed(*layer->bare, to);
                    layer->runs = DmRuns(std::move(nodes));
                    _imp->draft.value.enter(*layer);
                    for (int i = lane.count(); i-- > 0;)
                        if (lane.isGap(i) && lane.length(i) <= dmEditTolerance)
                            lane.tidy(i);
                }
            const CoSharedPtr<DmCompositionNode> composition = _imp->ownComposition();
            conformTimes(*composition, to);
            _imp->setComposition(composition);
            _imp->draft.fcm = fcm;
            for (int t = 0; t < int(_imp->draft.value.tracks.size()); ++t)
                for (int l = 0; l < int(_imp->draft.value.tracks[std::size_t(t)].layers.size()); ++l)
                    if (_imp->draft.value.layer({t, l}))
                    {
                        DmLane lane = _imp->lane(DmLayerPlace{t, l});
                        keepHandles(lane);
                    }
        });
}
