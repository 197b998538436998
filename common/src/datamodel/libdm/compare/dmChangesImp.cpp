#include "dmChangesImp.h"

#include "dmMatchImp.h"

#include "dmBlobNode.h"
#include "dmCueMark.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

namespace dmCompare
{
namespace
{

/// Differences of times below this are noise of arithmetic.
constexpr double leastTime = 1e-4;

double rateOf(DM::FrameCodeModes fcm)
{
    return fcm == DM::FCM_NOT_DEFINED ? 0.0 : DM::FcmUtil::getDoubleFPS(fcm);
}

} // namespace

std::string framesText(double frames)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", std::round(std::abs(frames) * 1000.0) / 1000.0);
    return std::string(text) + (std::string_view(text) == "1" ? " frame" : " frames");
}

std::string childPath(const std::string& above, int position)
{
    return (above.empty() ? above : above + '/') + "children[" + std::to_string(position) + ']';
}

bool haveLeftovers(const DmTreeNode& a, const DmTreeNode& b)
{
    const auto isLeftover = [](const DmPropertySet* blob) { return !blob || blob->getPSetName() == L"DmBlobNode"; };
    return isLeftover(a.getBaseBlob()) && isLeftover(b.getBaseBlob());
}

namespace
{

/// "edl" of leftovers of the type "edl 2"; empty for a node without any, as for one with a note of somebody else.
std::wstring_view formatOf(const DmTreeNode& node)
{
    const auto* const blob = dynamic_cast<const DmBlobNode*>(node.getBaseBlob());
    const std::wstring_view type = blob ? blob->getBlobType().view() : std::wstring_view();
    const std::size_t end = type.find(L' ');
    const std::wstring_view version = end == type.npos ? std::wstring_view() : type.substr(end + 1);
    const bool isFormat = !version.empty() && version.find_first_not_of(L"0123456789") == version.npos;
    return isFormat ? type.substr(0, end) : std::wstring_view();
}

/// Of a composition that has no leftovers, its first shot speaks.
const DmTreeNode& speakerOf(const Cut& cut)
{
    const bool isMute = formatOf(cut.composition()).empty() && !cut.shots().empty();
    return isMute ? static_cast<const DmTreeNode&>(*cut.shots().front().node) : cut.composition();
}

} // namespace

bool areOfOtherFormats(const DmTreeNode& a, const DmTreeNode& b)
{
    return formatOf(a) != formatOf(b);
}

bool areOfOtherFormats(const Cut& a, const Cut& b)
{
    return areOfOtherFormats(speakerOf(a), speakerOf(b));
}

bool isFormatsOwn(const Difference& difference)
{
    constexpr std::string_view nothings[] = {"", "0", "Unknown", "unknown", "untitled", "nothing"};
    for (const std::string_view nothing : nothings)
        if (difference.was == nothing || difference.became == nothing)
            return true;
    const auto label = [](std::string text)
    {
        std::ranges::replace_if(
            text, [](char c) { return c == ';' || c == '+' || c == '#' || c == '.'; }, ':');
        return text;
    };
    return difference.path.ends_with("Str") && label(difference.was) == label(difference.became);
}

Changes::Changes(const Cut& before, const Cut& after, double tolerance, bool eachShift, std::vector<DmChange>& changes)
    : _before(before)
    , _after(after)
    , _tolerance(std::max(tolerance, leastTime))
    , _eachShift(eachShift)
    , _countsShots(areNumbered(before.shots()) && areNumbered(after.shots()))
    , _areOfOtherFormats(dmCompare::areOfOtherFormats(before, after))
    , _changes(changes)
{
    const double old = rateOf(before.fcm());
    const double now = rateOf(after.fcm());
    if (old > 0.0 && now > 0.0)
        _toOld = old / now;
}

bool Changes::isNothing(double frames) const
{
    return std::abs(frames) <= _tolerance;
}

long long Changes::amountOf(double frames)
{
    return std::llround(std::clamp(frames, -1e15, 1e15));
}

Edges Changes::edgesOf(const Shot& a, const Shot& b) const
{
    Edges edges;
    const double longer = (b.out - b.in) * _toOld - (a.out - a.in);
    const bool comparable = a.plays() && b.plays() && !a.isKeyed && !b.isKeyed && a.speed != 0.0 &&
                            std::abs(a.speed - b.speed) < 1e-9 && agree(a.medium, b.medium) != Agreement::No;
    if (comparable)
    {
        const double toOld = rateOf(_after.fcm()) > 0.0 ? a.rate / b.rate * _toOld : 1.0;
        const double frame = a.rate * std::abs(a.speed);
        const double in = (b.srcIn * toOld - a.srcIn) / frame;
        const double out = (b.srcOut * toOld - a.srcOut) / frame;
        edges.head = a.speed > 0.0 ? in : -out;
        edges.tail = a.speed > 0.0 ? out : -in;
        edges.isSlip = isNothing(longer) && !isNothing(edges.head) && isNothing(edges.head - edges.tail) &&
                       isNothing(b.lengthInFront() * _toOld - a.lengthInFront()) &&
                       isNothing(b.lengthBehind() * _toOld - a.lengthBehind());
        return edges;
    }
    const bool endStays = isNothing(b.out * _toOld - a.out) && !isNothing(b.in * _toOld - a.in);
    (endStays ? edges.head : edges.tail) = endStays ? -longer : longer;
    return edges;
}

DmChange& Changes::add(Kind kind)
{
    DmChange& change = _changes.emplace_back();
    change.kind = kind;
    change.composition = dmUtf8(_before.composition().getName());
    return change;
}

DmChange& Changes::addOf(Kind kind, const Shot& shot, const Shot* now, double frames)
{
    const bool isOld = kind == Kind::Removed || now;
    const Cut& cut = isOld ? _before : _after;
    const Shot& named = now ? *now : shot;
    const Cut& namedCut = now ? _after : cut;
    DmChange& change = add(kind);
    change.track = namedCut.laneOf(named).name;
    change.clip = clipName(*named.node);
    change.frames = std::round(frames * 1e6) / 1e6;
    change.oldRecord = isOld ? shot.in : named.in * _toOld;
    change.newRecord = now ? now->in : shot.in;
    if (isOld)
    {
        change.oldLabel = _before.label(shot.in);
        change.oldPath = _before.pathOf(shot);
    }
    if (now || !isOld)
    {
        change.newLabel = _after.label(named.in);
        change.newPath = _after.pathOf(named);
    }
    return change;
}

void Changes::tellShift(const Shot& shot, const Shot& now, double frames, int count)
{
    const double rounded = std::round(frames * 1e6) / 1e6;
    if (!_eachShift && !_changes.empty())
        if (DmChange& last = _changes.back(); last.kind == Kind::Shifted && last.frames == rounded && last.count > 0 &&
                                              last.track == _after.laneOf(now).name)
        {
            last.count += count;
            return;
        }
    addOf(Kind::Shifted, shot, &now, frames).count = count;
}

void Changes::tellProperty(const std::string& path, const Difference& difference, const std::string& track)
{
    DmChange& change = add(Kind::Property);
    change.track = track;
    change.oldPath = change.newPath = path;
    change.property = difference.path;
    change.was = difference.was;
    change.became = difference.became;
}

void Changes::compare(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const LeftOut& leftOut,
                      const Tell& sink, double keysBy)
{
    _isSound = compareSets(a, b, path, leftOut, sink, keysBy) && _isSound;
}

void Changes::compareAny(const DmPropertySet& a, const DmPropertySet& b, const std::string& path,
                         const std::string& track, const LeftOut& leftOut)
{
    compare(a, b, {}, leftOut,
            [&](const Difference& difference)
            {
                if (!_areOfOtherFormats || !isFormatsOwn(difference))
                    tellProperty(path, difference, track);
            });
}

void Changes::compareMarks(const DmSetList<DmCueMark>& before, const DmSetList<DmCueMark>& after,
                           const std::string& path, const std::string& track, const std::string& clip,
                           const MarkLabel& label, double marksBy)
{
    using Key = std::pair<std::wstring, long long>;
    const auto keyOf = [](const DmCueMark& mark, bool byTime, double by = 0.0)
    {
        const double time = std::clamp(mark.getCueMarkTime() + by, -1e12, 1e12);
        return Key(std::wstring(mark.getCueMarkName().view()), byTime ? std::llround(time * 1000.0) : 0);
    };
    const auto marksOf = [](const DmSetList<DmCueMark>& list)
    {
        std::vector<const DmCueMark*> marks;
        for (const auto& mark : list)
            if (mark)
                marks.push_back(static_cast<const DmCueMark*>(mark.get()));
        return marks;
    };
    std::vector<const DmCueMark*> olds = marksOf(before);
    std::vector<const DmCueMark*> news = marksOf(after);
    const auto note = [&](Kind kind, const DmCueMark& mark) -> DmChange&
    {
        DmChange& change = add(kind);
        change.track = track;
        change.clip = clip;
        change.oldPath = change.newPath = path;
        change.oldRecord = change.newRecord = mark.getCueMarkTime();
        (kind == Kind::MarkRemoved ? change.oldLabel : change.newLabel) = label(mark, kind == Kind::MarkRemoved);
        change.property = dmUtf8(mark.getCueMarkName());
        return change;
    };
    const auto compareTwo = [&](const DmCueMark& mark, const DmCueMark& other)
    {
        const double later = other.getCueMarkTime() * _toOld - mark.getCueMarkTime();
        const bool isShift = clip.empty() && !isNothing(later) && isExplained(later);
        if (isShift)
        {
            DmChange& change = note(Kind::Shifted, other);
            change.clip = "mark " + change.property;
            change.frames = later;
        }
        const Tell sink = [&](const Difference& difference)
        {
            if (difference.path == "cueMarkTime" && (isShift || isNothing(later) || isNothing(later + marksBy)))
                return;
            DmChange& change = note(Kind::MarkChanged, other);
            change.property += ' ' + difference.path;
            change.was = difference.was;
            change.became = difference.became;
        };
        compare(mark, other, {}, {}, sink);
    };
    for (const std::pair<bool, double>& pass : {std::pair(true, marksBy), std::pair(true, 0.0), std::pair(false, 0.0)})
    {
        const bool byTime = pass.first;
        std::map<Key, std::vector<std::size_t>> left;
        for (std::size_t i = news.size(); i-- > 0;)
            left[keyOf(*news[i], byTime, pass.second)].push_back(i);
        std::erase_if(olds,
                      [&](const DmCueMark* mark)
                      {
                          const auto found = left.find(keyOf(*mark, byTime));
                          if (found == left.end() || found->second.empty())
                              return false;
                          compareTwo(*mark, *std::exchange(news[found->second.back()], nullptr));
                          found->second.pop_back();
                          return true;
                      });
        std::erase(news, nullptr);
    }
    for (const DmCueMark* const mark : olds)
        note(Kind::MarkRemoved, *mark);
    for (const DmCueMark* const mark : news)
        note(Kind::MarkAdded, *mark);
}

} // namespace dmCompare
