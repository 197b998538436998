// Pieces of time: what goes in, and what comes out.
#include "dmEditImp.h"

#include <algorithm>
#include <cmath>

void DmEdit::Imp::insert(const DmLayerPlace& layer, double time, const DmSegmentNode& segment)
{
    DmLane into = lane(layer);
    const DmLane::Segment copy = incoming(into, segment);
    const double length = copy->getRecLength();
    const int index = into.seamAt(time);
    into.replace(index, index, {copy}, length);
    into.tidy(index);
    ripple(time, length, {dmKeyOf(layer)});
}

void DmEdit::Imp::overwrite(const DmLayerPlace& layer, double time, const DmSegmentNode& segment)
{
    DmLane into = lane(layer);
    const DmLane::Segment copy = incoming(into, segment);
    into.seamAt(time);
    const int last = into.seamAt(std::min(time + copy->getRecLength(), into.end()));
    const int first = into.seamAt(time);
    into.replace(first, last, {copy}, 0.0);
    into.tidy(first);
}

namespace
{

const DmSegmentNode& given(const CoSharedPtr<DmSegmentNode>& segment)
{
    if (!segment)
        dmRefuse("There is no segment to put in.");
    return *segment;
}

void needOwnFrames(const DmLane& lane, int index)
{
    if (lane.length(index) <= dmEditTolerance)
        dmRefuse("%s has no frame of its own to be taken out.", lane.called(index).c_str());
}

} // namespace

DmStatus DmEdit::insert(const DmLayerPlace& layer, const DmEditTime& time, const CoSharedPtr<DmSegmentNode>& segment)
{
    return _imp->run([&] { _imp->insert(layer, _imp->frames(time), given(segment)); });
}

DmStatus DmEdit::overwrite(const DmLayerPlace& layer, const DmEditTime& time, const CoSharedPtr<DmSegmentNode>& segment)
{
    return _imp->run([&] { _imp->overwrite(layer, _imp->frames(time), given(segment)); });
}

DmStatus DmEdit::lift(const DmLayerPlace& layer, const DmEditTime& in, const DmEditTime& out)
{
    return _imp->run([&] { _imp->lane(layer).lift(_imp->frames(in), _imp->frames(out)); });
}

DmStatus DmEdit::extract(const DmLayerPlace& layer, const DmEditTime& begin, const DmEditTime& behind)
{
    return _imp->run(
        [&]
        {
            const double in = _imp->frames(begin);
            const double out = _imp->frames(behind);
            dmNeedRange(in, out);
            const double end = _imp->lane(layer).end();
            if (in >= end - dmEditTolerance)
                dmRefuse("Nothing of the layer lies in the range.");
            const double last = std::min(out, end);
            _imp->close(layer, in, last);
            _imp->ripple(last, in - last, {dmKeyOf(layer)});
        });
}

DmStatus DmEdit::liftSegment(const DmElementPlace& segment)
{
    return _imp->run(
        [&]
        {
            // By time: what is done to one layer may move positions in another that is linked twice.
            std::vector<std::pair<DmLayerPlace, std::pair<double, double>>> ranges;
            for (const DmElementPlace& each : _imp->together(segment))
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                needOwnFrames(lane, each.index);
                ranges.push_back({each.inLayer(), {lane.in(each.index), lane.out(each.index)}});
            }
            for (const auto& [layer, range] : ranges)
                _imp->lane(layer).lift(range.first, range.second);
        });
}

DmStatus DmEdit::extractSegment(const DmElementPlace& segment)
{
    return _imp->run(
        [&]
        {
            std::vector<std::pair<DmLayerPlace, std::pair<double, double>>> ranges;
            std::set<std::pair<int, int>> done;
            for (const DmElementPlace& each : _imp->together(segment))
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                needOwnFrames(lane, each.index);
                ranges.push_back({each.inLayer(), {lane.in(each.index), lane.out(each.index)}});
                if (!done.insert(dmKeyOf(each.inLayer())).second)
                    dmRefuse("Two linked segments lie on one layer; edit them unlinked.");
                if (std::abs(ranges.back().second.second - ranges.back().second.first -
                             (ranges.front().second.second - ranges.front().second.first)) > dmEditTolerance)
                    dmRefuse("Linked segments of different lengths would lose their sync; edit them unlinked.");
            }
            for (const auto& [layer, range] : ranges)
                _imp->close(layer, range.first, range.second);
            const auto& [in, out] = ranges.front().second;
            _imp->ripple(out, in - out, done);
        });
}
