#include "dmLaneImp.h"

#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmStoredLabel.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "tuLabel.h"

#include <sys/random.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

void dmRefuse(const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    DmRefusal refusal;
    refusal.status.fail(DM_BAD_VALUE, "%s", text);
    throw refusal;
}

void dmNeedRange(double in, double out)
{
    if (!dmIsTime(in) || !dmIsTime(out) || !(in < out))
        dmRefuse("The range is empty.");
}

namespace
{

bool meets(double a, double b)
{
    return std::abs(a - b) <= dmEditTolerance;
}

} // namespace

// DmEditDraft

DmString DmEditDraft::freshId(const DmString& original)
{
    const auto random = [this]
    {
        std::uint64_t words[2] = {};
        if (seeded)
            for (std::uint64_t& word : words)
                word = (*seeded)();
        else if (getrandom(words, sizeof words, 0) != sizeof words)
            dmRefuse("The system gave no random number for a fresh id.");
        char text[33];
        std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(words[0]),
                      static_cast<unsigned long long>(words[1]));
        return DmString(text);
    };
    const std::wstring_view group = dmLinkGroupOf(original);
    if (group.empty())
        return random();
    const std::size_t copy = copies[original]++;
    std::vector<DmString>& fresh = freshGroups[DmString(group)];
    while (fresh.size() <= copy)
        fresh.push_back(random());
    std::wstring id(fresh[copy].view());
    id += original.view().substr(group.size());
    return DmString(std::wstring_view(id));
}

void DmEditDraft::reidentify(DmSegmentNode& segment)
{
    const DmString original = segment.getSegmentId();
    static_cast<void>(segment.setSegmentId(freshId(original)));
    if (!original.empty())
        static_cast<void>(segment.setOriginalID(original));
}

std::string DmEditDraft::label(double time) const
{
    if (!dmIsTime(time))
        return "no time";
    if (fcm != DM::FCM_NOT_DEFINED)
        return DM::TimeLabel::text(DM::TimeUnit(time + value.labelShift()), fcm);
    char text[40];
    std::snprintf(text, sizeof text, "frame %g", time);
    return text;
}

// DmLane

DmLane::DmLane(DmEditDraft& draft, const DmLayerPlace& place)
    : _draft(draft)
    , _place(place)
{
    if (!draft.value.layer(place))
        dmRefuse("There is no layer %d of track %d.", place.layer + 1, place.track + 1);
}

const DmSegmentNode* DmLane::segment(int index) const
{
    return dmSegment(const_cast<DmTreeNode*>(layer().runs.at(index).node));
}

const DmTransitionNode* DmLane::transition(int index) const
{
    return dmTransition(const_cast<DmTreeNode*>(layer().runs.at(index).node));
}

const DmSegmentNode& DmLane::needSegment(int index) const
{
    const DmSegmentNode* const found = segment(index);
    if (!found)
        dmRefuse("Element %d of the layer is no segment.", index);
    return *found;
}

bool DmLane::isGap(int index) const
{
    const DmSegmentNode* const found = segment(index);
    return found && found->whatIs() == DM_GAP_NODE && !covered(index);
}

const DmSourceNode* DmLane::covered(int index) const
{
    const DmSegmentNode* const found = segment(index);
    return found && found->whatIs() == DM_GAP_NODE && found->getRecLength() <= dmEditTolerance
               ? dynamic_cast<const DmSourceNode*>(found->getBaseBlob())
               : nullptr;
}

bool DmLane::isCut(int index) const
{
    const DmTransitionNode* const found = transition(index);
    return found && found->whatIs() == DM_CUT_NODE;
}

bool DmLane::isPlainGap(int index) const
{
    if (!isGap(index))
        return false;
    const DmSegmentNode& gap = *segment(index);
    return gap.getSegmentId().empty() && gap.getEffects().count() == 0 && gap.getSegmentMarks().count() == 0 &&
           !gap.getBaseBlob() && gap.getComment().empty();
}

double DmLane::length(int index) const
{
    if (const DmSegmentNode* const found = segment(index))
        return found->getRecLength();
    const DmTransitionNode* const found = transition(index);
    return found ? found->getRecLength() : 0.0;
}

double DmLane::begin() const
{
    return layer().bare->getLayerStartTC();
}

double DmLane::end() const
{
    return count() > 0 ? out(count() - 1) : begin();
}

DmPlayedBeside DmLane::beside(int index) const
{
    const DmTransitionNode* const before = transition(index - 1);
    const DmTransitionNode* const behind = transition(index + 1);
    return {before ? before->getRecLength() : 0.0, behind ? behind->getRecLength() : 0.0};
}

DmReach DmLane::reach(int index) const
{
    const DmSegmentNode& segment = needSegment(index);
    const DmSourceNode* const shot = covered(index);
    return DmReach(shot ? *shot : segment, _draft.fcm, beside(index));
}

void DmLane::needFrames(int index) const
{
    if (reach(index).played().motion() == DmPlayed::Motion::Keyed)
        dmRefuse("%s plays at a keyed speed, whose frames beside its keys are not known.", called(index).c_str());
}

double DmLane::roomBefore(int index) const
{
    needFrames(index);
    return std::max(0.0, reach(index).before() - beside(index).before);
}

double DmLane::roomBehind(int index) const
{
    needFrames(index);
    return std::max(0.0, reach(index).behind() - beside(index).behind);
}

std::string DmLane::called(int index) const
{
    const DmSourceNode* const shot = covered(index);
    const DmTreeNode* const node = shot ? shot : layer().runs.at(index).node;
    return node ? '"' + dmUtf8(node->getName()) + "\" at " + _draft.label(in(index)) : std::string("nothing");
}

void DmLane::needWhole(int index) const
{
    const double recIn = in(index);
    if (!dmIsTime(recIn) || !std::isfinite(length(index)) || length(index) < 0.0)
        dmRefuse("%s has no time that could be edited.", called(index).c_str());
    if (index > 0 && (!transition(index - 1) || !meets(out(index - 1), recIn)))
        dmRefuse("In front of %s the layer is broken: nothing meets it.", called(index).c_str());
    if (index + 1 < count() && (!transition(index + 1) || !meets(in(index + 1), out(index))))
        dmRefuse("Behind %s the layer is broken: nothing meets it.", called(index).c_str());
}

void DmLane::needSeam(int seam) const
{
    if (!transition(seam))
        dmRefuse("Element %d of the layer is no seam.", seam);
    if (!segment(seam - 1) || !segment(seam + 1))
        dmRefuse("The seam at %s has no segment on one of its sides.", _draft.label(in(seam)).c_str());
    needWhole(seam - 1);
    needWhole(seam + 1);
}

DmLane::Segment DmLane::ownSegment(int index) const
{
    const DmSourceNode* const shot = covered(index);
    if (!shot)
        return own<DmSegmentNode>(index);
    Segment copy = dmEditCopy<DmSegmentNode>(*shot);
    static_cast<void>(copy->setRecIn(in(index)));
    static_cast<void>(copy->setRecLength(0.0));
    return copy;
}

void DmLane::put(int first, int last, std::vector<Node> nodes, double shiftBehind)
{
    for (Node& node : nodes)
        if (const auto* const source = dynamic_cast<const DmSourceNode*>(node.get());
            source && source->getRecLength() <= dmEditTolerance)
        {
            const Segment gap = makeGap(source->getRecIn(), 0.0);
            static_cast<void>(gap->setBaseBlob(node));
            node = gap;
        }
    for (const Node& node : nodes)
        keepInside(node);
    _draft.bytes += layer().runs.bytesOfSplice() + nodes.size() * (sizeof(DmSourceNode) + 256);
    _draft.value.splice(layer(), first, last, nodes, shiftBehind);
    _draft.changes.push_back({_place, first, last - first, static_cast<int>(nodes.size()), shiftBehind});
}

void DmLane::keepInside(const Node& node) const
{
    const DmSegmentNode* const gap = dmSegment(node.get());
    const auto* const was = gap ? dynamic_cast<const DmSourceNode*>(gap->getBaseBlob()) : nullptr;
    if (!was || gap->whatIs() != DM_GAP_NODE || gap->getRecLength() <= dmEditTolerance)
        return;
    const double head = std::max(0.0, gap->getRecIn() - was->getRecIn());
    const double tail = std::max(0.0, was->getRecOut() - gap->getRecOut());
    if (head == 0.0 && tail == 0.0)
        return;
    if (!(head + tail < was->getRecLength()))
    {
        static_cast<void>(node->setBaseBlob(nullptr));
        return;
    }
    DmSegmentChange change(*dmOwnAttached(*node), _draft.fcm, {});
    change.moveHead(head);
    change.moveTail(-tail);
}

int DmLane::closeEnds(int index)
{
    if (count() == 0)
        return index;
    if (transition(count() - 1))
        put(count(), count(), {makeGap(end(), 0.0)}, 0.0);
    if (!transition(0))
        return index;
    put(0, 0, {makeGap(in(0), 0.0)}, 0.0);
    return index + 1;
}

void DmLane::attachedFollows(int index, double by)
{
    const DmTransitionNode* const node = transition(index);
    if (!node || !dynamic_cast<const DmSourceNode*>(node->getBaseBlob()))
        return;
    const CoSharedPtr<DmTransitionNode> copy = own<DmTransitionNode>(index);
    DmSourceNode& attached = *dmOwnAttached(*copy);
    DmSegmentChange goesOn(attached, _draft.fcm, {});
    if (DmPlayed(attached, _draft.fcm).motion() == DmPlayed::Motion::Constant)
        goesOn.slip(by, false);
    goesOn.settle({});
    static_cast<void>(attached.setRecLength(std::min(attached.getRecLength(), copy->getRecLength())));
    put(index, index + 1, {copy}, 0.0);
}

void DmLane::dropAttached(int index)
{
    const DmTransitionNode* const node = transition(index);
    if (!node || !dynamic_cast<const DmSourceNode*>(node->getBaseBlob()))
        return;
    const CoSharedPtr<DmTransitionNode> copy = own<DmTransitionNode>(index);
    static_cast<void>(copy->setBaseBlob(nullptr));
    put(index, index + 1, {copy}, 0.0);
}

CoSharedPtr<DmSourceNode> DmLane::attachedTo(int index) const
{
    const DmTransitionNode* const node = transition(index);
    return CoSharedPtr<DmSourceNode>(node ? dynamic_cast<DmSourceNode*>(node->getBaseBlob()) : nullptr);
}

void DmLane::attachedIsOf(int segment, const CoSharedPtr<DmSourceNode>& theirs)
{
    const int index = segment + 1;
    if (!transition(index) || length(index) <= dmEditTolerance || (!theirs && !attachedTo(index)))
        return dropAttached(index);
    CoSharedPtr<DmSourceNode> goesOn = theirs ? dmEditCopy(*theirs) : nullptr;
    if (const Segment own = theirs ? Segment() : ownSegment(segment); dynamic_cast<const DmSourceNode*>(own.get()))
    {
        DmSegmentChange tail = change(own, segment);
        tail.moveTail(length(index));
        tail.moveHead(length(segment));
        tail.settle({});
        static_cast<void>(own->setSegmentId(DmString()));
        static_cast<void>(own->setComment(DmString()));
        static_cast<void>(own->setBaseBlob(nullptr));
        static_cast<void>(own->clearList(DmSegmentNode::SegmentMarks, DM_VECTOR_PROPERTY_SET));
        goesOn = DM::staticPointerCast<DmSourceNode>(own);
    }
    if (!goesOn)
        return dropAttached(index);
    static_cast<void>(goesOn->setRecIn(in(index)));
    static_cast<void>(goesOn->setRecLength(std::min(goesOn->getRecLength(), length(index))));
    const CoSharedPtr<DmTransitionNode> copy = own<DmTransitionNode>(index);
    static_cast<void>(copy->setBaseBlob(goesOn));
    put(index, index + 1, {copy}, 0.0);
}

DmLane::Node DmLane::makeCut(double time) const
{
    return DmCutNode::create(mediaType(), time);
}

DmLane::Segment DmLane::makeGap(double time, double length) const
{
    return DmGapNode::create(mediaType(), time, length);
}

void DmLane::needLength(const DmSegmentNode& segment) const
{
    const double least = segment.whatIs() == DM_GAP_NODE ? -dmEditTolerance : dmLeastLength;
    if (!(segment.getRecLength() >= least))
        dmRefuse("\"%s\" would be left without a frame.", dmUtf8(segment.getName()).c_str());
}

void DmLane::fillTo(double time)
{
    const double from = end();
    if (time <= from + dmEditTolerance)
        return;
    if (isPlainGap(count() - 1))
    {
        const Segment gap = ownSegment(count() - 1);
        static_cast<void>(gap->setRecLength(time - gap->getRecIn()));
        put(count() - 1, count(), {gap}, 0.0);
        return;
    }
    std::vector<Node> nodes;
    if (count() > 0)
        nodes.push_back(makeCut(from));
    nodes.push_back(makeGap(from, time - from));
    put(count(), count(), nodes, 0.0);
}

void DmLane::beginBy(double time)
{
    if (count() > 0 ? begin() <= time + dmEditTolerance : begin() == time)
        return;
    const CoSharedPtr<DmLayerNode> bare = dmEditCopy(*layer().bare);
    static_cast<void>(bare->setLayerStartTC(time));
    bare->freeze();
    layer().bare = bare;
    if (count() == 0)
        return;
    closeEnds(0);
    needWhole(0);
    put(0, 0, {makeGap(time, in(0) - time), makeCut(in(0))}, 0.0);
    tidy(0);
}

int DmLane::seamAt(double time)
{
    if (!dmIsTime(time))
        dmRefuse("That is no time.");
    if (time < begin() - dmEditTolerance)
        dmRefuse("%s lies in front of the layer's begin, %s.", _draft.label(time).c_str(),
                 _draft.label(begin()).c_str());
    closeEnds(0);
    if (count() == 0 || time > end() - dmEditTolerance)
    {
        fillTo(time);
        return count();
    }
    if (in(0) > begin() + dmEditTolerance) // the time in front of the first element counts as a gap
        put(0, 0, {makeGap(begin(), in(0) - begin()), makeCut(in(0))}, 0.0);
    if (time < begin() + dmEditTolerance)
        return 0;

    const int index = layer().runs.lastBeginningBy(time + dmEditTolerance);
    if (const DmTransitionNode* const found = transition(index))
    {
        if (time > out(index) + dmEditTolerance || !segment(index + 1) || !segment(index - 1))
            dmRefuse("At %s the layer is broken: nothing plays there.", _draft.label(time).c_str());
        if (found->getRecLength() > dmEditTolerance)
            return seamInTransition(index, time);
        return index + 1;
    }
    if (index < 0 || !segment(index))
        dmRefuse("At %s the layer is broken: nothing plays there.", _draft.label(time).c_str());
    needWhole(index);
    if (meets(in(index), time))
    {
        if (length(index - 1) > dmEditTolerance)
            return seamInTransition(index - 1, time);
        return index;
    }
    if (time > out(index) - dmEditTolerance)
        dmRefuse("At %s the layer is broken: nothing plays there.", _draft.label(time).c_str());
    return splitSegment(index, time);
}

int DmLane::splitSegment(int index, double time)
{
    needWhole(index);
    const Segment first = ownSegment(index);
    const Segment second = ownSegment(index);
    const DmPlayed played(*first, _draft.fcm);
    const std::optional<double> point = played.positionAt(time);
    const DmPlayedBeside sides = beside(index);

    DmSegmentChange firstChange = change(first, index);
    DmSegmentChange secondChange = change(second, index);
    firstChange.moveTail(time - out(index));
    secondChange.moveHead(time - in(index));
    needLength(*first);
    needLength(*second);
    firstChange.settle({sides.before, 0.0});
    secondChange.settle({0.0, sides.behind});

    // A mark goes where its time lies; notes stay with the first half.
    for (int i = first->getSegmentMarks().count(); i-- > 0;)
    {
        const DmCueMark* const mark = first->getSegmentMarks().at(i);
        const bool behind = mark && point && dmIsTime(mark->getCueMarkTime()) &&
                            (played.isReverse() ? mark->getCueMarkTime() < *point : mark->getCueMarkTime() >= *point);
        static_cast<void>((behind ? first : second)->removeSegmentMark(i));
    }
    static_cast<void>(second->setComment(DmString()));
    if (!second->getSegmentId().empty())
        _draft.reidentify(*second);
    put(index, index + 1, {first, makeCut(time), second}, 0.0);
    return index + 2;
}

int DmLane::seamInTransition(int index, double time)
{
    const double a = in(index);
    if (_draft.options.atTransition != DmAtTransition::Shortened || time <= a + dmEditTolerance)
        return cutTransition(index, time);
    if (index + 1 == count())
        closeEnds(0);
    const double b = out(index);
    needWhole(index - 1);
    needWhole(index + 1);
    if (time - 1.0 < a + dmEditTolerance)
        dmRefuse("The transition at %s is too short to be shortened to %s.", _draft.label(a).c_str(),
                 _draft.label(time).c_str());
    const CoSharedPtr<DmTransitionNode> shorter = own<DmTransitionNode>(index);
    static_cast<void>(shorter->setRecLength(time - 1.0 - a));
    if (auto* const effect = dynamic_cast<DmTrxEffectNode*>(shorter.get()); effect && effect->getEffect())
    {
        const CoSharedPtr<DmEffectSettings> settings =
            DM::staticPointerCast<DmEffectSettings>(effect->getEffect()->clone());
        double was = 0.0;
        if (settings->getPropertyValue(L"length", DM_DOUBLE, &was) == DM_NO_ERROR && was > 0.0)
        {
            const double now = time - 1.0 - a;
            static_cast<void>(settings->setPropertyValue(L"length", &now));
        }
        static_cast<void>(effect->setEffect(settings));
    }
    const Segment right = ownSegment(index + 1);
    DmSegmentChange rightChange = change(right, index + 1);
    rightChange.moveHead(time - 1.0 - b);
    rightChange.settle({time - 1.0 - a, beside(index + 1).behind});
    put(index, index + 2, {shorter, right}, 0.0);
    attachedFollows(index, 0.0);
    return splitSegment(index + 1, time);
}

int DmLane::cutTransition(int index, double time)
{
    if (index + 1 == count())
        closeEnds(0);
    const double a = in(index);
    const double b = out(index);
    needWhole(index - 1);
    needWhole(index + 1);
    const Segment left = ownSegment(index - 1);
    const Segment right = ownSegment(index + 1);
    DmSegmentChange leftChange = change(left, index - 1);
    DmSegmentChange rightChange = change(right, index + 1);
    leftChange.moveTail(time - a);
    rightChange.moveHead(time - b);
    if (!covered(index - 1))
        needLength(*left);
    if (!covered(index + 1))
        needLength(*right);
    leftChange.settle({beside(index - 1).before, 0.0});
    rightChange.settle({0.0, beside(index + 1).behind});
    put(index - 1, index + 2, {left, makeCut(time), right}, 0.0);
    return index + 1;
}

void DmLane::replace(int first, int last, const std::vector<Segment>& segments, double shiftBehind)
{
    if (segments.empty())
    {
        if (last == count() && first > 0)
            --first; // the cut in front goes too
        put(first, last, {}, shiftBehind);
        return;
    }
    std::vector<Node> nodes;
    if (first == count() && first > 0)
        nodes.push_back(makeCut(end()));
    double time = first < count() ? in(first) : end();
    for (const Segment& each : segments)
    {
        if (&each != &segments.front())
            nodes.push_back(makeCut(time));
        static_cast<void>(each->setRecIn(time));
        time += each->getRecLength();
        nodes.push_back(each);
    }
    if (last < count() && first == last)
        nodes.push_back(makeCut(time)); // nothing is replaced: one more seam
    put(first, last < count() && first < last ? last - 1 : last, nodes, shiftBehind);
}

void DmLane::lift(double in, double out)
{
    dmNeedRange(in, out);
    out = std::min(out, end());
    if (in >= out - dmEditTolerance)
        dmRefuse("Nothing of the layer lies in the range.");
    seamAt(in);
    const int last = seamAt(out);
    const int first = seamAt(in);
    replace(first, last, {makeGap(in, out - in)}, 0.0);
    tidy(first);
}

void DmLane::tidy(int around)
{
    for (int index = std::min(around + 4, count() - 1); index >= std::max(0, around - 4); --index)
    {
        if (!isPlainGap(index))
            continue;
        const bool cutBefore = index == 0 || isCut(index - 1);
        const bool cutBehind = index + 1 >= count() || isCut(index + 1);
        if (length(index) <= dmEditTolerance && cutBefore && cutBehind && count() > 1)
        {
            if (index == 0)
                put(0, 2, {}, 0.0);
            else
                put(index - 1, index + 1, {}, 0.0);
        }
        else if (index + 2 < count() && isCut(index + 1) && isPlainGap(index + 2))
        {
            const Segment gap = ownSegment(index);
            static_cast<void>(gap->setRecLength(out(index + 2) - in(index)));
            put(index, index + 3, {gap}, 0.0);
        }
    }
}
