// A merged layer's elements: what stands where the plan says.
#include "dmLaneMergeImp.h"

#include "dmValueMergeImp.h"

#include "dmCueMark.h"
#include "dmEditImp.h"
#include "dmGapNode.h"
#include "dmJsonImporter.h"
#include "dmMaterial.h"
#include "dmReachImp.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTimelineImp.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>

namespace dmCompare
{
namespace
{

/// What stands between two shots of a cut that are neighbours, or between one and an end of its layer.
std::vector<const DmTreeNode*> elementsBetween(const Cut& cut, const Lane& lane, int left, int right)
{
    std::vector<const DmTreeNode*> elements;
    const int first = left < 0 ? 0 : cut.shots()[std::size_t(left)].element + 1;
    const int last = right < 0 ? lane.layer->getNbChildren() : cut.shots()[std::size_t(right)].element;
    for (int i = first; i < last; ++i)
        elements.push_back(lane.layer->getChild(i));
    return elements;
}

bool isFiller(const DmTreeNode* node)
{
    return node && (node->whatIs() == DM_GAP_NODE || node->whatIs() == DM_CUT_NODE);
}

/// Whether that is one cut that says nothing of itself, as builders put it in.
bool isPlainCut(const std::vector<const DmTreeNode*>& elements)
{
    const DmTreeNode* const node = elements.size() == 1 ? elements.front() : nullptr;
    return node && node->whatIs() == DM_CUT_NODE && node->getName() == L"untitled" && !node->getBaseBlob() &&
           node->getComment().empty() && node->asTransition()->getRecLength() == 0.0 &&
           node->asTransition()->getRelIn() == 0.0;
}

/// As they would stand anywhere.
std::string textOf(const std::vector<const DmTreeNode*>& elements)
{
    std::string text;
    for (const DmTreeNode* const node : elements)
    {
        json::Document value;
        if (!node || !elementAtZero(*node, value))
            return {};
        for (const char* const time : {"recIn", "recLength"})
            membersOf(value)->RemoveMember(time);
        text += dmCompare::textOf(value);
    }
    return text;
}

/// The source that is attached to a transition goes on from where the shot in front plays to now.
void goOn(DmTransitionNode& transition, const Shot& was, const Shot& now, DM::FrameCodeModes fcm)
{
    DmSourceNode* const attached = dmOwnAttached(transition);
    const auto isPlain = [](const Shot& shot) { return shot.plays() && !shot.isKeyed && shot.speed > 0.0; };
    if (!attached || !isPlain(was) || !isPlain(now) || agree(was.medium, now.medium) == Agreement::No)
        return;
    const double by = (now.srcOut - was.srcOut) / (was.rate * was.speed);
    if (isNothing(by))
        return;
    DmSegmentChange change(*attached, fcm, {});
    change.slip(by, false);
    change.settle({});
}

/// What a side has between two shots, as a conflict names it.
std::string fillersText(const std::vector<const DmTreeNode*>& fillers)
{
    double gaps = 0.0;
    for (const DmTreeNode* const each : fillers)
        if (const DmSegmentNode* const segment = each ? each->asSegment() : nullptr)
            gaps += segment->getRecLength();
    if (gaps > 0.0)
        return "nothing for " + std::to_string(std::llround(gaps)) + " frames";
    const bool isMix = std::ranges::any_of(fillers, [](const DmTreeNode* each)
                                           { return each && each->asTransition() && each->whatIs() != DM_CUT_NODE; });
    return isMix ? "a transition" : "a cut";
}

} // namespace

/// What lies between two shots of a cut that stand beside each other, or between one and a gap or an end.
LaneMerge::Joint LaneMerge::jointOf(const Cut& cut, const Seams& seams, int left, int right)
{
    const std::vector<Shot>& shots = cut.shots();
    const Shot* const a = left < 0 ? nullptr : &shots[std::size_t(left)];
    const Shot* const b = right < 0 ? nullptr : &shots[std::size_t(right)];
    const auto before = [&] { return seams.out[std::size_t(left)] - a->out; };
    const auto behind = [&] { return b->in - seams.in[std::size_t(right)]; };
    if (a && b)
        return a->behind && a->behind == b->inFront ? Joint{a->behind, before(), behind()} : Joint();
    if (a && a->behind && (std::size_t(left) + 1 == shots.size() || a[1].inFront != a->behind))
        return {a->behind, before(), a->lengthBehind() - before()};
    if (b && b->inFront && (right == 0 || b[-1].behind != b->inFront))
        return {b->inFront, b->lengthInFront() - behind(), behind()};
    return {};
}

bool LaneMerge::isTrimTold(const Piece& behind) const
{
    const int shot = _sides.favoured == 0 ? behind.ours : behind.theirs;
    return shot >= 0 &&
           std::ranges::any_of(_conflicts,
                               [&](const DmMergeConflict& each) {
                                   return each.what == bothTrimmed &&
                                          each.record == _sides.side(_sides.favoured).shot(shot).node->getRecIn();
                               });
}

LaneMerge::Joint LaneMerge::chooseJoint(const Piece* left, const Piece* right)
{
    const auto in = [&](const Cut& cut, const Seams& seams, int Piece::*which, Joint& joint)
    {
        const int a = left ? left->*which : -1;
        const int b = right ? right->*which : -1;
        const bool isThere =
            left && right ? a >= 0 && b == a + 1 && cut.shots()[std::size_t(a)].lane == cut.shots()[std::size_t(b)].lane
                          : a >= 0 || b >= 0;
        if (isThere)
            joint = jointOf(cut, seams, a, b);
        return isThere;
    };
    Joint base;
    Joint ours;
    Joint theirs;
    in(_base, _seams, &Piece::base, base);
    const bool inOurs = in(_ours.cut(), _ours.seams(), &Piece::ours, ours);
    const bool inTheirs = in(_theirs.cut(), _theirs.seams(), &Piece::theirs, theirs);
    theirs.side = 1;
    const bool isRefused = _refused.contains(right ? right->seam : left->seam + 1);
    if (!inTheirs || (inOurs && isRefused && _sides.favoured == 0))
        return ours;
    if (!inOurs || (isRefused && _sides.favoured == 1))
        return theirs;
    const auto same = [](const Joint& a, const Joint& b, bool isLoose)
    {
        if (!a.node || !b.node)
            return a.node == b.node;
        json::Document one;
        json::Document other;
        const bool read = elementAtZero(*a.node, one) && elementAtZero(*b.node, other);
        for (json::Document* const each : {&one, &other})
            if (Value* const members = read && isLoose ? membersOf(*each) : nullptr)
                members->RemoveMember("baseBlob");
        return read && isNothing(a.before - b.before) && isNothing(a.behind - b.behind) && isSame(one, other);
    };
    // What is attached follows the shot in front, whatever the sides made of it.
    for (const bool isLoose : {false, true})
    {
        if (same(ours, theirs, isLoose) || same(base, theirs, isLoose))
            return ours;
        if (same(base, ours, isLoose))
            return theirs;
    }
    const Joint& favoured = _sides.favoured == 1 ? theirs : ours;
    const auto isLong = [](const Joint& joint) { return joint.node ? joint.node->getRecLength() : 0.0; };
    if (isNothing(isLong(ours) - isLong(theirs)) && right && isTrimTold(*right))
        return favoured; // it goes with the cut that it is on
    DmMergeConflict& found =
        _sides.addConflict(_conflicts, 0, right ? right->ours : left->ours, "both changed the transition");
    const auto shown = [](const Joint& joint)
    {
        const auto frames = [](double count) { return std::to_string(std::llround(count)); };
        return joint.node ? frames(joint.node->getRecLength()) + " frames, " + frames(joint.before) +
                                " of them in front of the cut"
                          : std::string("a cut");
    };
    found.ours = shown(ours);
    found.theirs = shown(theirs);
    return favoured;
}

/// What the shot has beside its times, keys standing as they did in the old cut.
CoSharedPtr<DmSegmentNode> LaneMerge::contents(const Piece& piece)
{
    // By how much later than the old shot's picture a side's begins.
    const auto headIn = [&](const Side& side, int shot)
    {
        if (piece.base < 0)
            return 0.0;
        double shift = side.edit(piece.base).shift;
        for (const Part& part : side.edit(piece.base).parts)
            shift = part.shot == shot ? part.shift : shift;
        return side.shot(shot).in - shift - _base.shots()[std::size_t(piece.base)].in;
    };
    if (piece.base >= 0 && piece.ours >= 0 && piece.theirs >= 0 && piece.like->plays() && !piece.like->isKeyed)
    {
        // Where one side alone changed it, it is that one's.
        const bool sameOurs = _ours.edit(piece.base).isSame;
        if (sameOurs || _theirs.edit(piece.base).isSame)
        {
            const Side& side = sameOurs ? _theirs : _ours;
            const int shot = sameOurs ? piece.theirs : piece.ours;
            const CoSharedPtr<DmPropertySet> copy = copyOf(*side.shot(shot).node);
            auto* const segment = dynamic_cast<DmSegmentNode*>(copy.get());
            if (segment)
                DmSegmentChange::shiftKeys(*segment, headIn(side, shot));
            return CoSharedPtr<DmSegmentNode>(segment);
        }
    }
    json::Document base;
    json::Document ours;
    json::Document theirs;
    const auto valueIn = [&](const Side& side, int shot, json::Document& value)
    { valueOfShot(side.shot(shot), headIn(side, shot), value); };
    if (piece.base >= 0)
        valueOfShot(_base.shots()[std::size_t(piece.base)], 0.0, base);
    if (piece.ours >= 0)
        valueIn(_ours, piece.ours, ours);
    if (piece.theirs >= 0)
        valueIn(_theirs, piece.theirs, theirs);
    // What is made as it plays begins nowhere, whatever was there before.
    if (dmMaterialOf(*piece.like->node, _base.fcm()).isEndless())
        for (json::Document* const value : {&base, &ours, &theirs})
            if (Value* const members = membersOf(*value))
                members->RemoveMember("relIn");
    // Of parts that both sides made, each is called what the side calls it that begins it; of a shot that an edit of
    // each gave a fresh id, there is nothing to choose.
    const bool isMade = memberOf(membersOf(ours), "originalID") && memberOf(membersOf(theirs), "originalID");
    if (const int called = piece.called < 0 && isMade ? _sides.favoured : piece.called;
        called >= 0 && piece.ours >= 0 && piece.theirs >= 0)
    {
        json::Document& from = called == 0 ? ours : theirs;
        json::Document& to = called == 0 ? theirs : ours;
        for (const char* const name : {"segmentId", "originalID", "segmentPreviousIds"})
            if (Value* const members = membersOf(to))
            {
                members->RemoveMember(name);
                if (const Value* const value = memberOf(membersOf(from), name))
                    members->AddMember(Value(name, to.GetAllocator()), Value(*value, to.GetAllocator()),
                                       to.GetAllocator());
            }
    }
    const auto orNull = [](const json::Document& value)
    { return value.IsNull() ? nullptr : static_cast<const Value*>(&value); };
    const Value* const one = orNull(ours);
    const Value* const other = orNull(theirs);
    json::Document result;
    std::string text;
    if (one && other)
    {
        Conflicts found;
        ValueMerge merge(result.GetAllocator(), _sides.favoured == 1, found);
        bool isThere = false;
        const Value merged = merge.merge(orNull(base), one, other, "/DmLayerNode", isThere);
        text = textOf(merged);
        for (const DmMergeConflict& each : found)
        {
            DmMergeConflict& told = _sides.addConflict(_conflicts, 0, piece.ours, "");
            told.what = each.what;
            told.path += each.path.substr(std::string_view("/DmLayerNode").size());
            told.ours = each.ours;
            told.theirs = each.theirs;
        }
    }
    else if (one || other)
        text = textOf(one ? *one : *other);
    CoSharedPtr<DmPropertySet> set;
    if (text.empty() || DmJsonImporter::importSetFromStr(text, set).failed())
        return {};
    return CoSharedPtr<DmSegmentNode>(dynamic_cast<DmSegmentNode*>(set.get()));
}

CoSharedPtr<DmSegmentNode> LaneMerge::makeShot(const Piece& piece, const Joint& inFront, const Joint& behind)
{
    const CoSharedPtr<DmSegmentNode> node = contents(piece);
    if (!node)
        return {};
    const Shot& like = *piece.like;
    const double in = piece.in + inFront.behind;
    const double out = piece.out - behind.before;
    const double head = in - like.in - piece.later;
    const double tail = out - like.out - piece.later;
    if (out - in < dmLeastLength)
        return {};
    if (piece.base >= 0)
        DmSegmentChange::shiftKeys(*node, -(in - piece.later - _base.shots()[std::size_t(piece.base)].in));
    if (auto* const source = dynamic_cast<DmSourceNode*>(node.get()))
        DmSegmentChange::ownInput(*source);
    const DM::FrameCodeModes fcm = _base.fcm();
    const DmPlayedBeside beside{inFront.before + inFront.behind, behind.before + behind.behind};
    const DmMaterial material = dmMaterialOf(*node, fcm);
    // A mark goes with the part in which its time lies.
    for (int i = node->getSegmentMarks().count(); i-- > 0;)
        if (const DmCueMark* const mark = node->getSegmentMarks().at(i); mark && dmIsTime(mark->getCueMarkTime()))
            if (const double time = material.begin + mark->getCueMarkTime();
                time < piece.marksFrom - leastDifference || time > piece.marksTo - leastDifference)
                static_cast<void>(node->removeSegmentMark(i));
    DmSegmentChange change(*node, fcm, beside);
    const double pace = like.rate * std::abs(like.speed);
    if (like.plays() && !like.isKeyed)
    {
        const double srcIn =
            like.speed < 0.0 ? like.srcIn - (tail + piece.slip) * pace : like.srcIn + (head + piece.slip) * pace;
        change.setBegin(srcIn - material.begin);
    }
    if (node->setRecLength(out - in) != DM_NO_ERROR)
        return {};
    change.settle(beside);
    const DmMaterial now = dmMaterialOf(*node, fcm);
    if (now.isLimited() && like.plays() && !like.isKeyed && like.speed > 0.0 &&
        (node->getRelIn() - beside.before * pace < -leastDifference ||
         node->getRelIn() + (out - in + beside.behind) * pace > now.length + leastDifference))
        return {}; // there is not that much
    return node;
}

/// What both changed between two shots; empty where they do not have the same there, which is told.
std::vector<CoSharedPtr<DmPropertySet>> LaneMerge::mergeFillers(const std::vector<const DmTreeNode*>* base,
                                                                const std::vector<const DmTreeNode*>& ours,
                                                                const std::vector<const DmTreeNode*>& theirs,
                                                                const Lane& lane, int left, double in)
{
    const auto addConflict =
        [&](std::size_t at, const std::string& what, const std::string& one, const std::string& other)
    {
        const int first = left < 0 ? 0 : _ours.shot(left).element + 1;
        const auto* const segment = at < ours.size() ? ours[at]->asSegment() : nullptr;
        DmMergeConflict& found = _conflicts.emplace_back();
        found.path = _sides.pointerOf(lane) + '/' + std::to_string(first + int(at));
        found.track = lane.name;
        found.clip = segment ? dmUtf8(segment->getName()) : "";
        found.record = segment    ? segment->getRecIn()
                       : left < 0 ? lane.layer->getLayerStartTC()
                                  : _ours.shot(left).node->getRecOut();
        found.label = _ours.cut().label(found.record + lane.start - lane.layer->getLayerStartTC());
        found.result = in;
        found.what = what;
        found.ours = one;
        found.theirs = other;
    };
    const auto sameClass = [](const DmTreeNode* a, const DmTreeNode* b)
    { return a && b && a->whatIs() == b->whatIs(); };
    std::vector<CoSharedPtr<DmPropertySet>> all;
    if (!std::ranges::equal(ours, theirs, sameClass))
    {
        if (base)
            addConflict(0, "both changed what is between two shots", fillersText(ours), fillersText(theirs));
        return all;
    }
    const bool isBase = base && std::ranges::equal(*base, ours, sameClass);
    for (std::size_t i = 0; i < ours.size(); ++i)
    {
        json::Document values[3];
        if ((isBase && !elementAtZero(*(*base)[i], values[0])) || !elementAtZero(*ours[i], values[1]) ||
            !elementAtZero(*theirs[i], values[2]))
            return {};
        Conflicts found;
        json::Document result;
        ValueMerge merge(result.GetAllocator(), _sides.favoured == 1, found);
        bool isThere = false;
        const Value value = merge.merge(isBase ? &values[0] : nullptr, &values[1], &values[2], "/DmLayerNode", isThere);
        CoSharedPtr<DmPropertySet> set;
        if (DmJsonImporter::importSetFromStr(textOf(value), set).failed())
            return {};
        all.push_back(set);
        for (const DmMergeConflict& each : found)
            addConflict(i, each.what, each.ours, each.theirs);
    }
    return all;
}

bool LaneMerge::placeFillers(DmLayerBuilder& builder, int laneAt, const Piece* left, const Piece* right, double in,
                             double out)
{
    const Lane* lanes[] = {&_base.lanes()[std::size_t(laneAt)],
                           &_ours.cut().lanes()[std::size_t(_ours.lanes()[std::size_t(laneAt)])],
                           &_theirs.cut().lanes()[std::size_t(_theirs.lanes()[std::size_t(laneAt)])]};
    const auto of = [&](const Cut& cut, const Lane& lane, int Piece::*which, std::vector<const DmTreeNode*>& elements)
    {
        const int a = left ? left->*which : -1;
        const int b = right ? right->*which : -1;
        const bool isThere = (!left || (a >= lane.first && a < lane.last)) &&
                             (!right || (b >= lane.first && b < lane.last)) &&
                             (left ? a + 1 : lane.first) == (right ? b : lane.last);
        if (isThere)
            elements = elementsBetween(cut, lane, a, b);
        return isThere;
    };
    std::vector<const DmTreeNode*> base;
    std::vector<const DmTreeNode*> ours;
    std::vector<const DmTreeNode*> theirs;
    const bool inBase = of(_base, *lanes[0], &Piece::base, base);
    const bool inOurs = of(_ours.cut(), *lanes[1], &Piece::ours, ours);
    const bool inTheirs = of(_theirs.cut(), *lanes[2], &Piece::theirs, theirs);
    if (!inOurs && !inTheirs)
        return true;
    if ((!inBase || isPlainCut(base)) && (!inOurs || isPlainCut(ours)) && (!inTheirs || isPlainCut(theirs)))
        return true;
    const bool isTheirs = inTheirs && (!inOurs || (inBase && textOf(base) == textOf(ours)));
    const bool differ = inOurs && inTheirs && !isTheirs && textOf(ours) != textOf(theirs) &&
                        !(inBase && textOf(base) == textOf(theirs));
    std::vector<CoSharedPtr<DmPropertySet>> merged;
    if (differ)
        merged = mergeFillers(inBase ? &base : nullptr, ours, theirs, *lanes[1], left ? left->ours : -1, in);
    std::vector<const DmTreeNode*> chosen = isTheirs || (differ && _sides.favoured == 1) ? theirs : ours;
    if (!merged.empty())
        std::ranges::transform(merged, chosen.begin(),
                               [](const CoSharedPtr<DmPropertySet>& each)
                               { return static_cast<const DmTreeNode*>(each.get()); });
    std::vector<const DmTreeNode*> fillers;
    double length = 0.0;
    int gaps = 0;
    for (const DmTreeNode* const node : chosen)
        if (isFiller(node))
        {
            fillers.push_back(node);
            if (node->whatIs() == DM_GAP_NODE)
            {
                length += node->asSegment()->getRecLength();
                ++gaps;
            }
        }
    // A gap that another edit made longer or shorter is the same gap; of several, nobody knows which.
    if (!isNothing(length - (out - in)) && gaps != 1)
        return true;
    if (gaps == 1 && out - in < leastDifference && !isNothing(length))
        return true;
    for (const DmTreeNode* const node : fillers)
    {
        const CoSharedPtr<DmPropertySet> copy = copyOf(*node);
        if (auto* const gap = dynamic_cast<DmGapNode*>(copy.get()))
        {
            const double gapLength = gaps == 1 ? out - in : gap->getRecLength();
            if (gap->setRecLength(gapLength) != DM_NO_ERROR)
                return false;
            dmStandAt(*gap, in);
            in += gapLength;
        }
        else if (copy)
            dmStandAt(static_cast<DmTreeNode&>(*copy), in);
        if (!copy || builder.place(CoSharedPtr<DmTreeNode>(static_cast<DmTreeNode*>(copy.get()))) != DM_NO_ERROR)
            return false;
    }
    return true;
}

CoSharedPtr<DmLayerNode> LaneMerge::build(int laneAt, const std::vector<Piece>& pieces, const Piece*& misfit)
{
    const Lane& own = _ours.cut().lanes()[std::size_t(_ours.lanes()[std::size_t(laneAt)])];
    const double toRecord = own.layer->getLayerStartTC() - own.start;
    // What a shot has in front of it and behind it; of shots that meet, both are one.
    std::vector<Joint> fronts(pieces.size());
    std::vector<Joint> backs(pieces.size());
    const auto meets = [&](std::size_t i)
    { return i > 0 && i < pieces.size() && isNothing(pieces[i - 1].out - pieces[i].in); };
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        fronts[i] = meets(i) ? backs[i - 1] : chooseJoint(nullptr, &pieces[i]);
        backs[i] = chooseJoint(&pieces[i], meets(i + 1) ? &pieces[i + 1] : nullptr);
    }
    DmLayerBuilder builder(own.layer->getLayerNum(), own.layer->getMediaType(), own.layer->getLayerStartTC());
    const auto placeJoint = [&](const Joint& joint, double seam, const Piece* left, const DmSegmentNode* shot)
    {
        const CoSharedPtr<DmPropertySet> copy = copyOf(*joint.node);
        auto* const transition = dynamic_cast<DmTransitionNode*>(copy.get());
        if (!transition || transition->setRecLength(joint.before + joint.behind) != DM_NO_ERROR)
            return false;
        dmStandAt(*transition, seam - joint.before + toRecord);
        if (const int was = !left ? -1 : joint.side == 0 ? left->ours : left->theirs; was >= 0 && shot)
            goOn(*transition, _sides.side(joint.side).shot(was), shotOf(*shot, _base.fcm()), _base.fcm());
        return builder.place(CoSharedPtr<DmTreeNode>(transition)) == DM_NO_ERROR;
    };
    CoSharedPtr<DmSegmentNode> shot;
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        const Piece& piece = pieces[i];
        misfit = &piece;
        const bool isJoined = meets(i);
        if (!isJoined || !fronts[i].node)
        {
            const double in = i == 0 ? own.start : pieces[i - 1].out + (isJoined ? 0.0 : backs[i - 1].behind);
            const double out = piece.in - (isJoined ? 0.0 : fronts[i].before);
            if (out < in - leastDifference || !placeFillers(builder, laneAt, i == 0 ? nullptr : &pieces[i - 1], &piece,
                                                            in + toRecord, out + toRecord))
                return {};
        }
        if (fronts[i].node && !placeJoint(fronts[i], piece.in, isJoined ? &pieces[i - 1] : nullptr, shot.get()))
            return {};
        shot = makeShot(piece, fronts[i], backs[i]);
        if (!shot)
            return {};
        dmStandAt(*shot, piece.in + fronts[i].behind + toRecord);
        if (builder.place(CoSharedPtr<DmTreeNode>(shot.get())) != DM_NO_ERROR)
            return {};
        if (backs[i].node && !meets(i + 1) && !placeJoint(backs[i], piece.out, &piece, shot.get()))
            return {};
    }
    // A gap at the end is as long as it was.
    const auto lengthBehind = [](const Side& side, int laneNumber)
    {
        const Lane& lane = side.cut().lanes()[std::size_t(side.lanes()[std::size_t(laneNumber)])];
        const double last =
            lane.count() == 0 ? lane.start : side.shot(lane.last - 1).out + side.shot(lane.last - 1).lengthBehind();
        return std::max(0.0, lane.end - lane.layer->getLayerStartTC() + lane.start - last);
    };
    const double behind = std::max(lengthBehind(_ours, laneAt), lengthBehind(_theirs, laneAt));
    const double end = pieces.empty() ? own.start : pieces.back().out + backs.back().behind;
    if (behind > leastDifference && (!placeFillers(builder, laneAt, pieces.empty() ? nullptr : &pieces.back(), nullptr,
                                                   end + toRecord, end + behind + toRecord) ||
                                     builder.fillTo(end + behind + toRecord) != DM_NO_ERROR))
        return {};
    misfit = nullptr;
    return builder.finish();
}

} // namespace dmCompare
