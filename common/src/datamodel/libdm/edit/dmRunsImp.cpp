#include "dmRunsImp.h"

#include "dmNoTime.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace
{

/// Keys of a fresh layer lie this far apart: some thirty elements may go in one behind the other at one place before
/// their neighbours get new keys.
constexpr std::uint64_t keyGap = std::uint64_t(1) << 32;

/// Runs below this size are filled up with their neighbour.
constexpr std::size_t leastRun = DmRuns::runSize / 4;

/// Into how many pieces of at most `size` so many things go, each about as large.
std::size_t piecesOf(std::size_t count, std::size_t size)
{
    return (count + size - 1) / size;
}

} // namespace

bool dmIsTime(double frames)
{
    return std::isfinite(frames) && frames < dmNoTime;
}

double dmStoredRecIn(const DmTreeNode* node)
{
    auto* const element = const_cast<DmTreeNode*>(node);
    if (const DmSegmentNode* const segment = dmSegment(element))
        return segment->getRecIn();
    if (const DmTransitionNode* const transition = dmTransition(element))
        return transition->getRecIn();
    return dmNoTime;
}

bool DmRuns::Run::standsAsStored(double shift) const
{
    for (int i = 0; i < count(); ++i)
        if (shifts[std::size_t(i)] + shift != 0.0 && dmIsTime(dmStoredRecIn(node(i))))
            return false;
    return true;
}

DmRuns::DmRuns(std::vector<Node> nodes)
{
    if (nodes.empty())
        return;
    _root = CoSharedPtr<Root>(new Root);
    _root->count = static_cast<int>(nodes.size());
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < nodes.size();)
    {
        CoSharedPtr<Stretch> stretch(new Stretch);
        int count = 0;
        while (i < nodes.size() && stretch->runs.size() < stretchSize * 3 / 4)
        {
            CoSharedPtr<Run> run(new Run);
            const std::size_t size = std::min(nodes.size() - i, std::size_t(runSize * 3 / 4));
            run->reserve(size);
            for (std::size_t j = 0; j < size; ++j, ++i)
                run->add({std::move(nodes[i]), 0.0, key += keyGap});
            count += static_cast<int>(size);
            stretch->runs.emplace_back(std::move(run));
        }
        _root->stretches.push_back({std::move(stretch), 0.0, count});
    }
}

DmRuns::Place DmRuns::placeOf(int index) const
{
    // Stretches are about as large: the guess is right, or next to it.
    const auto& stretches = _root->stretches;
    Place place;
    while (place.stretch + 1 < int(stretches.size()) && index >= stretches[std::size_t(place.stretch)].count)
        index -= stretches[std::size_t(place.stretch++)].count;
    const auto& runs = stretches[std::size_t(place.stretch)].stretch->runs;
    while (place.run + 1 < int(runs.size()) && index >= runs[std::size_t(place.run)].count())
        index -= runs[std::size_t(place.run++)].count();
    place.entry = index;
    return place;
}

int DmRuns::indexAt(const Place& place) const
{
    int index = place.entry;
    for (int i = 0; i < place.stretch; ++i)
        index += _root->stretches[std::size_t(i)].count;
    for (int i = 0; i < place.run; ++i)
        index += stretchAt(place).stretch->runs[std::size_t(i)].count();
    return index;
}

DmRuns::Element DmRuns::elementAt(const Place& place) const
{
    const RunRef& ref = runAt(place);
    const auto entry = std::size_t(place.entry);
    return {ref.run->node(place.entry), ref.run->shifts[entry] + (ref.shift + stretchAt(place).shift),
            ref.run->keys[entry]};
}

DmRuns::Element DmRuns::at(int index) const
{
    return index < 0 || index >= count() ? Element() : elementAt(placeOf(index));
}

bool DmRuns::stepBack(Place& place) const
{
    if (--place.entry >= 0)
        return true;
    if (--place.run < 0)
    {
        if (--place.stretch < 0)
            return false;
        place.run = int(stretchAt(place).stretch->runs.size()) - 1;
    }
    place.entry = runAt(place).count() - 1;
    return true;
}

bool DmRuns::stepOn(Place& place) const
{
    if (++place.entry < runAt(place).count())
        return true;
    place.entry = 0;
    if (++place.run < int(stretchAt(place).stretch->runs.size()))
        return true;
    place.run = 0;
    return ++place.stretch < int(_root->stretches.size());
}

/// The last element at whose place `before` holds, where it holds at all in front of it.
template <class Before>
int DmRuns::lastWith(const Before& before) const
{
    if (!_root)
        return -1;
    const auto lastIn = [](int count, const auto& holds)
    {
        int low = 0;
        for (int high = count; low < high;)
        {
            const int middle = low + (high - low) / 2;
            if (holds(middle))
                low = middle + 1;
            else
                high = middle;
        }
        return low - 1;
    };
    Place place;
    place.stretch = lastIn(int(_root->stretches.size()), [&](int stretch) { return before(Place{stretch, 0, 0}); });
    if (place.stretch < 0)
        return -1;
    place.run = lastIn(int(stretchAt(place).stretch->runs.size()),
                       [&](int run) {
                           return before(Place{place.stretch, run, 0});
                       });
    place.entry = lastIn(runAt(place).count(),
                         [&](int entry) {
                             return before(Place{place.stretch, place.run, entry});
                         });
    return indexAt(place);
}

int DmRuns::lastBeginningBy(double time) const
{
    // What has no time, as an empty element, goes along with what stands behind it.
    return lastWith(
        [this, time](Place place)
        {
            while (!dmIsTime(elementAt(place).recIn()))
                if (!stepOn(place))
                    return false;
            return elementAt(place).recIn() <= time;
        });
}

int DmRuns::indexOf(std::uint64_t key) const
{
    const int index = lastWith([this, key](const Place& place) { return elementAt(place).key <= key; });
    return index >= 0 && at(index).key == key ? index : -1;
}

bool DmRuns::widenFront(Place& from) const
{
    Place wider = from;
    if (!stepBack(wider))
        return false;
    from = {wider.stretch, wider.run, 0};
    return true;
}

bool DmRuns::widenBack(Place& to) const
{
    Place wider = to;
    if (!stepOn(wider))
        return false;
    to = {wider.stretch, wider.run, runAt(wider).count() - 1};
    return true;
}

void DmRuns::copyTo(std::vector<Entry>& entries, int first, int last, double shift) const
{
    Place place = first < last ? placeOf(first) : Place();
    for (int i = first; i < last; ++i, stepOn(place))
    {
        const Element element = elementAt(place);
        entries.push_back({Node(const_cast<DmTreeNode*>(element.node)), element.shift + shift, element.key});
    }
}

bool DmRuns::spreadKeys(std::span<Entry> entries, std::uint64_t lower, std::uint64_t upper, const Rekeyed& rekeyed)
{
    // Behind the last key of the layer they go on as on a fresh one.
    const std::uint64_t step = std::min((upper - lower) / (entries.size() + 1), keyGap);
    if (step == 0)
        return false;
    for (Entry& entry : entries)
    {
        const std::uint64_t was = std::exchange(entry.key, lower += step);
        if (entry.node && was != entry.key)
            rekeyed(*entry.node, was, entry.key);
    }
    return true;
}

DmRuns DmRuns::spliced(int first, int last, std::span<const Node> nodes, double shiftBehind,
                       const Rekeyed& rekeyed) const
{
    if (!_root)
    {
        DmRuns fresh(std::vector<Node>(nodes.begin(), nodes.end()));
        fresh.forEach(0, fresh.count(), [&](const Element& element) { rekeyed(*element.node, 0, element.key); });
        return fresh;
    }

    // The runs that are made anew: those of the elements that go, with so many beside them that their elements are
    // worth a run, and that there are keys for all.
    Place from = placeOf(std::min(first, count() - 1));
    Place to = placeOf(std::min(last, count() - 1));
    from.entry = 0;
    to.entry = runAt(to).count() - 1;
    std::vector<Entry> entries;
    for (;;)
    {
        entries.clear();
        copyTo(entries, indexAt(from), first, 0.0);
        const std::size_t firstNew = entries.size();
        for (const Node& node : nodes)
            entries.push_back({node, 0.0, 0});
        const std::size_t endNew = entries.size();
        copyTo(entries, last, indexAt(to) + 1, shiftBehind);
        if (entries.size() < leastRun && !entries.empty() && (widenFront(from) || widenBack(to)))
            continue;

        Place beside = from;
        const std::uint64_t low = stepBack(beside) ? elementAt(beside).key : 0;
        beside = to;
        const std::uint64_t high = stepOn(beside) ? elementAt(beside).key : ~std::uint64_t(0);
        const std::uint64_t lower = firstNew > 0 ? entries[firstNew - 1].key : low;
        const std::uint64_t upper = endNew < entries.size() ? entries[endNew].key : high;
        // For the new ones between their neighbours', else for all of these, else for more of them.
        if (spreadKeys(std::span(entries).subspan(firstNew, endNew - firstNew), lower, upper, rekeyed))
            break;
        const bool hasRoom = high - low > 4 * (entries.size() + 1);
        const bool isWiderInFront = !hasRoom && widenFront(from);
        const bool isWiderBehind = !hasRoom && widenBack(to);
        if (!isWiderInFront && !isWiderBehind)
        {
            spreadKeys(entries, low, high, rekeyed);
            break;
        }
    }
    return withRuns(from, to, std::move(entries), shiftBehind);
}

DmRuns DmRuns::withRuns(const Place& from, const Place& to, std::vector<Entry> entries, double shiftBehind) const
{
    // New runs, in the stretches that they are in.
    std::vector<RunRef> runs;
    const StretchRef& firstStretch = stretchAt(from);
    for (int i = 0; i < from.run; ++i)
        runs.emplace_back(firstStretch.stretch->runs[std::size_t(i)], firstStretch.shift);
    const std::size_t pieces = piecesOf(entries.size(), runSize);
    for (std::size_t piece = 0; piece < pieces; ++piece)
    {
        const auto at = [&](std::size_t number)
        { return entries.begin() + static_cast<std::ptrdiff_t>(number * entries.size() / pieces); };
        CoSharedPtr<Run> run(new Run);
        run->reserve(static_cast<std::size_t>(at(piece + 1) - at(piece)));
        for (auto entry = at(piece); entry != at(piece + 1); ++entry)
            run->add(std::move(*entry));
        runs.emplace_back(std::move(run));
    }
    const StretchRef& lastStretch = stretchAt(to);
    for (std::size_t i = std::size_t(to.run) + 1; i < lastStretch.stretch->runs.size(); ++i)
        runs.emplace_back(lastStretch.stretch->runs[i], lastStretch.shift + shiftBehind);

    DmRuns result;
    result._root = CoSharedPtr<Root>(new Root);
    auto& stretches = result._root->stretches;
    stretches.reserve(_root->stretches.size() + 2);
    stretches.assign(_root->stretches.begin(), _root->stretches.begin() + from.stretch);
    const std::size_t groups = piecesOf(runs.size(), stretchSize);
    for (std::size_t group = 0; group < groups; ++group)
    {
        const auto at = [&](std::size_t number)
        { return runs.begin() + static_cast<std::ptrdiff_t>(number * runs.size() / groups); };
        CoSharedPtr<Stretch> stretch(new Stretch);
        stretch->runs.assign(std::make_move_iterator(at(group)), std::make_move_iterator(at(group + 1)));
        int count = 0;
        for (const RunRef& ref : stretch->runs)
            count += ref.count();
        stretches.push_back({std::move(stretch), 0.0, count});
    }
    for (std::size_t i = std::size_t(to.stretch) + 1; i < _root->stretches.size(); ++i)
    {
        StretchRef ref = _root->stretches[i];
        ref.shift += shiftBehind;
        stretches.push_back(std::move(ref));
    }
    for (const StretchRef& ref : stretches)
        result._root->count += ref.count;
    if (result._root->count == 0)
        result._root.reset();
    return result;
}

DmRuns DmRuns::mapped(const Map& map, const std::function<void(int first, int count)>& changed) const
{
    DmRuns result = *this;
    int first = 0;
    for (std::size_t s = 0; _root && s < _root->stretches.size(); ++s)
    {
        CoSharedPtr<Stretch> stretch;
        for (std::size_t r = 0; r < _root->stretches[s].stretch->runs.size(); ++r)
        {
            const Run& run = *_root->stretches[s].stretch->runs[r].run;
            CoSharedPtr<Run> other;
            for (std::size_t i = 0; i < run.nodes.size(); ++i, ++first)
            {
                if (!run.nodes[i])
                    continue;
                const Node was(static_cast<DmTreeNode*>(run.nodes[i].get()));
                const Node is = map(was);
                if (is == was)
                    continue;
                if (!other)
                    other = CoSharedPtr<Run>(new Run(run));
                other->shots += (Run::isShot(is.get()) ? 1 : 0) - (Run::isShot(was.get()) ? 1 : 0);
                other->nodes[i] = is;
                changed(first, 1);
            }
            if (!other)
                continue;
            if (!stretch)
                stretch = CoSharedPtr<Stretch>(new Stretch(*_root->stretches[s].stretch));
            stretch->runs[r].run = other;
        }
        if (!stretch)
            continue;
        if (result._root == _root)
            result._root = CoSharedPtr<Root>(new Root(*_root));
        result._root->stretches[s].stretch = stretch;
    }
    return result;
}

std::vector<DmRuns::PlacedRun> DmRuns::placedRuns() const
{
    std::vector<PlacedRun> placed;
    placed.reserve(_root ? _root->stretches.size() * stretchSize : 0);
    int first = 0;
    if (_root)
        for (const StretchRef& stretch : _root->stretches)
            for (const RunRef& ref : stretch.stretch->runs)
            {
                placed.push_back({ref.run.get(), ref.shift + stretch.shift, first, ref.count()});
                first += ref.count();
            }
    return placed;
}

/// By the elements between it and an end, as far as they are the same at times that differ by as much.
void DmRuns::extend(Shared& range, const DmRuns& other, int end, int otherEnd, bool forward) const
{
    const int most = forward ? std::min(end - (range.first + range.count), otherEnd - (range.otherFirst + range.count))
                             : std::min(range.first - end, range.otherFirst - otherEnd);
    if (most <= 0)
        return;
    Place place = placeOf(forward ? range.first + range.count : range.first - 1);
    Place otherPlace = other.placeOf(forward ? range.otherFirst + range.count : range.otherFirst - 1);
    for (int i = 0; i < most; ++i)
    {
        const Element ours = elementAt(place);
        const Element theirs = other.elementAt(otherPlace);
        if (ours.node != theirs.node || ours.shift - theirs.shift != range.later)
            return;
        ++range.count;
        range.shots += Run::isShot(ours.node) ? 1 : 0;
        if (forward)
        {
            stepOn(place);
            other.stepOn(otherPlace);
        }
        else
        {
            --range.first;
            --range.otherFirst;
            stepBack(place);
            other.stepBack(otherPlace);
        }
    }
}

std::vector<DmRuns::Shared> DmRuns::sharedWith(const DmRuns& other) const
{
    std::vector<Shared> all;
    if (!_root || !other._root)
        return all;
    struct Numbered
    {
        int number;
        int first;
        double shift;
    };
    const auto& ours = _root->stretches;
    const auto& theirs = other._root->stretches;
    std::unordered_map<const Stretch*, Numbered> stretches;
    int first = 0;
    for (int i = 0; i < int(theirs.size()); first += theirs[std::size_t(i++)].count)
        stretches.emplace(theirs[std::size_t(i)].stretch.get(), Numbered{i, first, theirs[std::size_t(i)].shift});

    const auto add = [&all](const Shared& range)
    {
        if (!all.empty() && all.back().first + all.back().count == range.first &&
            all.back().otherFirst + all.back().count == range.otherFirst && all.back().later == range.later)
        {
            all.back().count += range.count;
            all.back().shots += range.shots;
        }
        else
            all.push_back(range);
    };
    // Between stretches that are shared, those of the one are searched for runs of the other's.
    int nextStretch = 0;
    int otherFirst = 0;
    std::unordered_map<const Run*, Numbered> runs;
    const auto numberRuns = [&](int endStretch)
    {
        runs.clear();
        int number = 0;
        for (int i = nextStretch; i < endStretch; ++i)
            for (const RunRef& ref : theirs[std::size_t(i)].stretch->runs)
            {
                runs.emplace(ref.run.get(), Numbered{number++, otherFirst, ref.shift + theirs[std::size_t(i)].shift});
                otherFirst += ref.count();
            }
    };
    const auto addRuns = [&](std::size_t begin, std::size_t end, int at)
    {
        int next = 0;
        for (std::size_t i = begin; i < end; ++i)
            for (const RunRef& ref : ours[i].stretch->runs)
            {
                if (const auto found = runs.find(ref.run.get()); found != runs.end() && found->second.number >= next)
                {
                    next = found->second.number + 1;
                    add({at, found->second.first, ref.count(), ref.run->shots,
                         ref.shift + ours[i].shift - found->second.shift});
                }
                at += ref.count();
            }
    };
    std::size_t unsharedFrom = 0;
    int unsharedFirst = 0;
    first = 0;
    for (std::size_t i = 0; i <= ours.size(); ++i)
    {
        const auto found = i < ours.size() ? stretches.find(ours[i].stretch.get()) : stretches.end();
        const bool isShared = found != stretches.end() && found->second.number >= nextStretch;
        if (isShared || i == ours.size())
        {
            numberRuns(isShared ? found->second.number : int(theirs.size()));
            addRuns(unsharedFrom, i, unsharedFirst);
        }
        if (i == ours.size())
            break;
        if (isShared)
        {
            int shots = 0;
            for (const RunRef& ref : ours[i].stretch->runs)
                shots += ref.run->shots;
            add({first, found->second.first, ours[i].count, shots, ours[i].shift - found->second.shift});
            nextStretch = found->second.number + 1;
            otherFirst = found->second.first + ours[i].count;
            unsharedFrom = i + 1;
            unsharedFirst = first + ours[i].count;
        }
        first += ours[i].count;
    }
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        const bool isFirst = i == 0;
        const bool isLast = i + 1 == all.size();
        extend(all[i], other, isFirst ? 0 : all[i - 1].first + all[i - 1].count,
               isFirst ? 0 : all[i - 1].otherFirst + all[i - 1].count, false);
        extend(all[i], other, isLast ? count() : all[i + 1].first, isLast ? other.count() : all[i + 1].otherFirst,
               true);
    }
    return all;
}

std::size_t DmRuns::bytesOfSplice() const
{
    if (!_root)
        return 0;
    return sizeof(Root) + _root->stretches.size() * sizeof(StretchRef) + sizeof(Stretch) +
           stretchSize * sizeof(RunRef) + sizeof(Run) + runSize * sizeof(Entry);
}
