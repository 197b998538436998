#include "dmEditImp.h"

#include "dmKeyFrame.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <algorithm>

DmEdit::DmEdit(DmTimeline timeline, DmEditOptions options)
    : _imp(std::make_unique<Imp>(std::move(timeline), std::move(options)))
{
}

DmEdit::~DmEdit() = default;

DmEditOptions& DmEdit::options()
{
    return _imp->draft.options;
}

const DmEditOptions& DmEdit::options() const
{
    return _imp->draft.options;
}

DmTimeline DmEdit::timeline() const
{
    if (_imp->isChanged)
    {
        _imp->_timeline = DmTimeline(std::make_shared<const DmTimelineValue>(_imp->draft.value), _imp->_timeline);
        _imp->isChanged = false;
    }
    return _imp->_timeline;
}

DmEdit::DmEdit(std::unique_ptr<Imp> imp)
    : _imp(std::move(imp))
{
}

DmEdit DmEdit::can() const
{
    auto question = std::make_unique<Imp>(*_imp);
    question->isQuestion = true;
    return DmEdit(std::move(question));
}

void DmEdit::seedIds(std::uint64_t seed)
{
    _imp->draft.seeded.emplace(seed);
}

const std::vector<DmEdit::Change>& DmEdit::changes() const
{
    return _imp->draft.changes;
}

const std::vector<DmString>& DmEdit::notes() const
{
    return _imp->notes;
}

std::size_t DmEdit::bytes() const
{
    return _imp->draft.bytes;
}

void DmEdit::setProgress(std::function<bool(double)> progress)
{
    _imp->host = std::move(progress);
}

// Properties

namespace
{

/// Rules that an element breaks by itself. What a container holds is not asked: no change of the container does that.
std::vector<DmTreeViolation> violationsOf(const CoSharedPtr<DmTreeNode>& element, eDmTreeMediaType mediaType)
{
    if (element->whatIs() == DM_CONTAINER_NODE)
        return {};
    const auto composition = DmCompositionNode::create(L"", L"", nullptr);
    const auto track = DmTrackNode::create(1, mediaType);
    const auto layer = DmLayerNode::create(1, mediaType, 0, false);
    dmAddUnchecked(*layer, element);
    dmAddUnchecked(*track, layer);
    dmAddUnchecked(*composition, track);
    return DmTreeTool::findViolations(composition, DM_VALIDATE_ALL);
}

} // namespace

void DmEdit::Imp::change(const DmElementPlace& element, const std::function<eDmErrorId(DmTreeNode&)>& how)
{
    DmLane lane = this->lane(element);
    if (!lane.segment(element.index) && !lane.transition(element.index))
        dmRefuse("There is no element %d in the layer.", element.index);
    const double in = lane.in(element.index);
    const double length = lane.length(element.index);
    const bool isSegment = lane.segment(element.index) != nullptr;
    DmRuns::Node own;
    if (isSegment)
        own = lane.ownSegment(element.index);
    else
        own = lane.own<DmTransitionNode>(element.index);
    const std::vector<DmTreeViolation> had = violationsOf(own, lane.mediaType());
    const DmPlayedBeside sides = lane.beside(element.index);
    std::optional<DmSegmentChange> settling;
    std::optional<DmPlayed> was;
    if (DmSegmentNode* const segment = dmSegment(own.get()))
    {
        settling.emplace(*segment, draft.fcm, sides);
        was.emplace(*segment, draft.fcm);
    }
    if (how(*own) != DM_NO_ERROR)
        dmRefuse("%s takes no such change.", lane.called(element.index).c_str());
    static_cast<void>(dmWithElement(own.get(),
                                    [&](auto& node)
                                    {
                                        static_cast<void>(node.setRecIn(in));
                                        return node.setRecLength(length);
                                    }));
    if (const DmSegmentNode* const segment = dmSegment(own.get()))
        if (const DmPlayed now(*segment, draft.fcm);
            now.motion() != was->motion() || now.begin() != was->begin() || now.end() != was->end())
        {
            dmNeedMaterial(*segment, draft.fcm, sides);
            settling->settle(sides);
        }
    if (const std::vector<DmTreeViolation> has = violationsOf(own, lane.mediaType()); has.size() > had.size())
        dmRefuse("%s", dmUtf8(has.back().message).c_str());
    lane.put(element.index, element.index + 1, {own}, 0.0);
}

DmStatus DmEdit::change(const DmElementPlace& element, const std::function<eDmErrorId(DmTreeNode&)>& how)
{
    return _imp->run([&] { _imp->change(element, how); });
}

namespace
{

template <class Change>
std::function<eDmErrorId(DmTreeNode&)> onSegment(Change change)
{
    return [change](DmTreeNode& node)
    {
        DmSegmentNode* const segment = dmSegment(&node);
        return segment ? change(*segment) : DM_BAD_VALUE;
    };
}

} // namespace

/// Of segments that are edited together, those that carry an effect of one class at one place.
std::vector<DmElementPlace> DmEdit::Imp::withEffect(const DmElementPlace& segment, int index)
{
    const auto effectOf = [&](const DmElementPlace& place)
    { return lane(place).needSegment(place.index).getEffects().at(index); };
    std::vector<DmElementPlace> all = together(segment);
    const DmEffectSettings* const effect = effectOf(segment);
    std::erase_if(all,
                  [&](const DmElementPlace& each)
                  {
                      const DmEffectSettings* const other = effectOf(each);
                      return each != segment && !(effect && other && &effect->classData() == &other->classData());
                  });
    return all;
}

DmStatus DmEdit::mute(const DmElementPlace& segment, bool muted)
{
    return _imp->run(
        [&]
        {
            for (const DmElementPlace& each : _imp->together(segment))
                _imp->change(each, onSegment([muted](DmSegmentNode& node) { return node.setMuted(muted); }));
        });
}

DmStatus DmEdit::rename(const DmElementPlace& element, const DmString& name)
{
    return _imp->run(
        [&]
        {
            const bool isSegment = _imp->lane(element).segment(element.index) != nullptr;
            for (const DmElementPlace& each : isSegment ? _imp->together(element) : std::vector{element})
                _imp->change(each, [&name](DmTreeNode& node) { return node.setName(name); });
        });
}

DmStatus DmEdit::addMark(const DmElementPlace& segment, const CoSharedPtr<DmCueMark>& mark)
{
    return _imp->run(
        [&]
        {
            if (!mark)
                dmRefuse("There is no mark.");
            const auto played = [&](const DmElementPlace& place)
            { return DmPlayed(*_imp->lane(place).ownSegment(place.index), _imp->draft.fcm); };
            const std::vector<DmElementPlace> all = _imp->together(segment);
            const double position = mark->getCueMarkTime();
            const std::optional<double> time = played(segment).recordTimeAt(position);
            for (const DmElementPlace& each : all)
            {
                // At one record time in all; each counts from the begin of its own material.
                const std::optional<double> theirs = time ? played(each).positionAt(*time) : std::nullopt;
                if (each != segment && dmIsTime(position) && !theirs)
                    continue;
                const CoSharedPtr<DmCueMark> own = DM::staticPointerCast<DmCueMark>(mark->clone());
                if (each != segment && dmIsTime(position))
                    static_cast<void>(own->setCueMarkTime(*theirs));
                _imp->change(each, onSegment([&own](DmSegmentNode& node) { return node.addSegmentMark(own); }));
            }
        });
}

DmStatus DmEdit::addMark(const CoSharedPtr<DmCueMark>& mark)
{
    return _imp->run(
        [&]
        {
            if (!mark)
                dmRefuse("There is no mark.");
            const CoSharedPtr<DmCompositionNode> composition = _imp->ownComposition();
            static_cast<void>(composition->addCueMark(DM::staticPointerCast<DmCueMark>(mark->clone())));
            _imp->setComposition(composition);
        });
}

DmStatus DmEdit::addEffect(const DmElementPlace& segment, const CoSharedPtr<DmEffectSettings>& effect)
{
    return _imp->run(
        [&]
        {
            const auto add = onSegment(
                [&effect](DmSegmentNode& node)
                {
                    if (!effect || !effect->isSegmentCompatible() || effect->getMediaType() != node.getMediaType())
                        return DM_BAD_VALUE;
                    return node.addEffect(DM::staticPointerCast<DmEffectSettings>(effect->clone()));
                });
            for (const DmElementPlace& each : _imp->together(segment))
                if (each == segment || _imp->lane(each).mediaType() == _imp->lane(segment).mediaType())
                    _imp->change(each, add);
        });
}

DmStatus DmEdit::removeEffect(const DmElementPlace& segment, int index)
{
    return _imp->run(
        [&]
        {
            for (const DmElementPlace& each : _imp->withEffect(segment, index))
                _imp->change(each, onSegment([index](DmSegmentNode& node) { return node.removeEffect(index); }));
        });
}

DmStatus DmEdit::addKeyFrame(const DmElementPlace& segment, int effect, const DmString& channel,
                             const CoSharedPtr<DmKeyFrame>& key)
{
    return _imp->run(
        [&]
        {
            const auto add = onSegment(
                [&](DmSegmentNode& node)
                {
                    DmEffectSettings* const settings = node.getEffects().at(effect);
                    if (!settings || !key || channel.empty())
                        return DM_BAD_VALUE;
                    const CoSharedPtr<DmAnimationChannel> curve = settings->getChannelByName(channel);
                    return curve ? curve->addKeyFrame(DM::staticPointerCast<DmKeyFrame>(key->clone())) : DM_BAD_VALUE;
                });
            for (const DmElementPlace& each : _imp->withEffect(segment, effect))
                _imp->change(each, add);
        });
}
