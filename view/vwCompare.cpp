#include "vwCompare.h"

#include "vwLook.h"
#include "vwPlaces.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

namespace view
{
namespace
{

constexpr double beside = 3.0; ///< seconds around a change that are not folded

/// A shot of both versions: its segment in each.
struct Same
{
    std::uint32_t before;
    std::uint32_t after;
};

double framesOf(const Scene& scene, const Composition& composition, double seconds)
{
    const double rate = scene.modes[composition.mode].rate;
    return seconds * (rate > 0.0 ? rate : 25.0);
}

/// Frames of the new version for one of the old.
double rateOf(const Scene& scene, const Composition& composition)
{
    const double old = scene.modes[composition.versions->oldMode].rate;
    const double now = scene.modes[composition.mode].rate;
    return old > 0.0 && now > 0.0 ? now / old : 1.0;
}

/// Finds the segments of both versions that are one shot, and notes each at the other.
std::vector<Same> segmentsOf(Composition& composition, const DmCounterparts& matched)
{
    std::map<std::tuple<Version, int, int, std::uint32_t>, std::uint32_t> at;
    for (const Row& row : composition.rows)
        for (std::uint32_t i = row.first; i < row.last; ++i)
            at.try_emplace({row.version, row.trackAt, row.layerAt, composition.segments.position[i]}, i);
    const auto find = [&](Version version, const DmCounterparts::Place& place) {
        return at.find({version, place.track, place.layer, static_cast<std::uint32_t>(place.element)});
    };
    std::vector<Same> all;
    composition.versions->counterpart.assign(composition.segments.size(), noSegment);
    for (const DmCounterparts::Pair& pair : matched.shots)
    {
        const auto one = find(Version::Old, pair.before);
        const auto other = find(Version::New, pair.after);
        if (one == at.end() || other == at.end())
            continue;
        composition.versions->counterpart[one->second] = other->second;
        composition.versions->counterpart[other->second] = one->second;
        all.push_back({one->second, other->second});
    }
    return all;
}

/// The pairs of the row that most shots have in common, pictures before sound: by it the versions are laid.
std::vector<Same> leadingPairs(const Composition& composition, const std::vector<Same>& all)
{
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<Same>> byRows;
    for (const Same& same : all)
        byRows[{rowOf(composition, same.before), rowOf(composition, same.after)}].push_back(same);
    const std::vector<Same>* best = nullptr;
    bool bestIsPicture = false;
    for (const auto& [rows, pairs] : byRows)
    {
        const bool isPicture = !composition.rows[rows.second].isAudio;
        if (!best || std::pair(isPicture, pairs.size()) > std::pair(bestIsPicture, best->size()))
        {
            best = &pairs;
            bestIsPicture = isPicture;
        }
    }
    return best ? *best : std::vector<Same>();
}

/// Record times of both versions that show the same.
struct Anchor
{
    double before;
    double after;
};

/// The first frame that both show, where a head was trimmed; else where each begins.
Anchor anchorOf(const Composition& composition, const Same& same, double rate)
{
    const Segments& segments = composition.segments;
    Anchor anchor{segments.in[same.before], segments.in[same.after]};
    const Piece* const one = firstPiece(composition, same.before);
    const Piece* const other = firstPiece(composition, same.after);
    if (!one || !other || one->mode != other->mode || one->speed == 0.0 || other->speed == 0.0)
        return anchor;
    const double later = (other->source - one->source) / other->speed; // frames of the new version
    const double longer = segments.length[same.after] - segments.length[same.before] * rate;
    if (std::abs(longer) < 0.5) // slipped, or as it was
        return anchor;
    if (later > 0.0 && later < segments.length[same.before] * rate)
        anchor.before += later / rate;
    else if (later < 0.0 && -later < segments.length[same.after])
        anchor.after -= later;
    return anchor;
}

/// Of anchors in the order of the old version, as many as keep their order in the new one.
std::vector<Anchor> inOrder(const std::vector<Anchor>& all)
{
    std::vector<std::size_t> ends; // by length of a run: the anchor that such a run ends at least late with
    std::vector<std::size_t> front(all.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        const auto at = std::ranges::upper_bound(ends, all[i].after, {}, [&](std::size_t k) { return all[k].after; });
        if (at != ends.begin())
            front[i] = *(at - 1);
        if (at == ends.end())
            ends.push_back(i);
        else
            *at = i;
    }
    std::vector<Anchor> run;
    for (std::size_t i = ends.empty() ? all.size() : ends.back(); i < all.size(); i = front[i])
        run.push_back(all[i]);
    std::ranges::reverse(run);
    return run;
}

void setExtent(Composition& composition)
{
    double begin = HUGE_VAL;
    double end = -HUGE_VAL;
    for (const Row& row : composition.rows)
    {
        const Axis& axis = composition.axisOf(row);
        for (std::uint32_t i = row.first; i < row.last; ++i)
        {
            begin = std::min(begin, axis.placeOfIn(composition.segments.in[i]));
            end = std::max(end, axis.placeOfOut(composition.segments.out(i)));
        }
    }
    composition.begin = begin < end ? begin : 0.0;
    composition.end = std::max(end, composition.begin + 1.0);
}

// Changes

/// What the colours of changes say, in the order of changeTints.
enum Change : std::uint8_t
{
    Added,
    Removed,
    Moved,
    Trimmed,
    Retimed,
    Replaced,
    Mixed,
    Other
};

Change changeOf(DmChangeKind kind)
{
    switch (kind)
    {
    case DmChangeKind::Added:
    case DmChangeKind::TrackAdded:
    case DmChangeKind::LayerAdded:
    case DmChangeKind::CompositionAdded:
        return Added;
    case DmChangeKind::Removed:
    case DmChangeKind::TrackRemoved:
    case DmChangeKind::LayerRemoved:
    case DmChangeKind::CompositionRemoved:
        return Removed;
    case DmChangeKind::Moved:
    case DmChangeKind::TrackMoved:
    case DmChangeKind::LayerMoved:
        return Moved;
    case DmChangeKind::Head:
    case DmChangeKind::Tail:
    case DmChangeKind::Slipped:
        return Trimmed;
    case DmChangeKind::Speed:
    case DmChangeKind::Rate:
        return Retimed;
    case DmChangeKind::Replaced:
        return Replaced;
    case DmChangeKind::TransitionAdded:
    case DmChangeKind::TransitionRemoved:
    case DmChangeKind::TransitionChanged:
        return Mixed;
    default:
        return Other;
    }
}

/// Of several changes of one shot, the first of these gives the colour.
int rankOf(Change change)
{
    static constexpr int ranks[] = {0, 0, 2, 3, 4, 1, 6, 5};
    return ranks[change];
}

bool isOfMark(DmChangeKind kind)
{
    return kind == DmChangeKind::MarkAdded || kind == DmChangeKind::MarkRemoved || kind == DmChangeKind::MarkChanged;
}

/// The version in which a change is seen.
Version versionOf(const DmChange& change)
{
    const bool isGone = change.newPath.empty() || change.kind == DmChangeKind::TransitionRemoved ||
                        change.kind == DmChangeKind::MarkRemoved;
    return isGone ? Version::Old : Version::New;
}

class Marker
{
public:
    explicit Marker(Scene& scene)
        : _scene(scene)
        , _places(scene)
    {
    }

    void add(const DmChange& change)
    {
        const Version version = versionOf(change);
        const std::string& path = version == Version::Old ? change.oldPath : change.newPath;
        const Place place = _places.find(path, version).value_or(Place{0});
        if (place.composition >= _scene.compositions.size())
            return;
        Composition& composition = _scene.compositions[place.composition];
        const Change what = changeOf(change.kind);
        Remark remark{static_cast<std::uint8_t>(changesAt + what),
                      {},
                      whereOf(change),
                      change.text(),
                      place.row,
                      place.segment,
                      place.time.value_or(composition.axisOf(place.row).recordAt(composition.begin))};
        if (isOfMark(change.kind) && place.segment == noSegment)
            remark.time = version == Version::Old ? change.oldRecord : change.newRecord;
        if (what == Mixed)
            addTransition(composition, change, version, remark);
        else if (place.segment != noSegment)
            colour(composition, place.segment, what);
        composition.remarks.push_back(std::move(remark));
    }

private:
    static std::string whereOf(const DmChange& change)
    {
        std::string where = change.clip;
        const std::string& label = change.newLabel.empty() ? change.oldLabel : change.newLabel;
        for (const std::string* const part : {&change.track, &label})
            if (!part->empty())
                (where += where.empty() ? "" : ", ") += *part;
        return where;
    }

    /// A change of a transition names a shot beside it; in the older version that is the shot's counterpart.
    static void addTransition(Composition& composition, const DmChange& change, Version version, Remark& remark)
    {
        if (remark.row == noSegment)
            return;
        const bool isOld = version == Version::Old;
        const double labelStart =
            isOld && composition.versions ? composition.versions->oldLabelStart : composition.labelStart;
        remark.time = (isOld ? change.oldRecord : change.newRecord) - labelStart;
        for (Transition& transition : composition.transitions)
            if (transition.row == remark.row && std::abs(transition.in - remark.time) < 0.5)
                transition.tint = static_cast<std::uint8_t>(changesAt + Mixed);
    }

    static void colour(Composition& composition, std::uint32_t segment, Change what)
    {
        const auto put = [&](std::uint32_t at)
        {
            std::uint8_t& tint = composition.segments.tint[at];
            if (tint < changesAt || rankOf(what) < rankOf(static_cast<Change>(tint - changesAt)))
                tint = static_cast<std::uint8_t>(changesAt + what);
        };
        put(segment);
        if (composition.versions && composition.versions->counterpart[segment] != noSegment)
            put(composition.versions->counterpart[segment]);
    }

    Scene& _scene;
    Places _places;
};

struct Stretch
{
    double in;
    double out;
};

/// What of a composition something is said of, a little around it, in order and apart.
std::vector<Stretch> seenOf(const Composition& composition, double around)
{
    std::vector<Stretch> all;
    const auto addSegment = [&](std::uint32_t i)
    {
        const Axis& axis = composition.axisOf(rowOf(composition, i));
        all.push_back({axis.placeOfIn(composition.segments.in[i]), axis.placeOfOut(composition.segments.out(i))});
    };
    for (std::uint32_t i = 0; i < composition.segments.size(); ++i)
        if (composition.segments.tint[i] >= changesAt)
            addSegment(i);
    for (const Remark& remark : composition.remarks)
    {
        const double at = composition.axisOf(remark.row).placeOfIn(remark.time);
        if (remark.row != noSegment)
            all.push_back({at, at});
    }
    for (const Transition& transition : composition.transitions)
        if (transition.tint != noTint)
        {
            const Axis& axis = composition.axisOf(transition.row);
            all.push_back({axis.placeOfIn(transition.in), axis.placeOfOut(transition.in + transition.length)});
        }
    for (Stretch& stretch : all)
        stretch = {std::max(stretch.in - around, composition.begin), std::min(stretch.out + around, composition.end)};
    std::ranges::sort(all, {}, &Stretch::in);
    std::vector<Stretch> apart;
    for (const Stretch& stretch : all)
        if (!apart.empty() && stretch.in <= apart.back().out)
            apart.back().out = std::max(apart.back().out, stretch.out);
        else
            apart.push_back(stretch);
    return apart;
}

/// The axis, drawn as `places` says: straight between the places that it is given for.
Axis folded(const Axis& axis, const std::vector<Axis::Knot>& places)
{
    Axis all = axis;
    for (const Axis::Knot& bend : places) // "record" is the place without folds
        all.knots.push_back({axis.recordAt(bend.record), bend.record});
    std::ranges::sort(all.knots, [](const Axis::Knot& a, const Axis::Knot& b)
                      { return std::pair(a.place, a.record) < std::pair(b.place, b.record); });
    const Axis bends{1.0, places};
    for (Axis::Knot& knot : all.knots)
        knot.place = bends.placeOfIn(knot.place);
    return all;
}

} // namespace

void align(Composition& composition, const Scene& scene, const DmCounterparts& matched)
{
    const double rate = rateOf(scene, composition);
    const std::vector<Same> all = segmentsOf(composition, matched);
    std::vector<Anchor> anchors;
    for (const Same& same : leadingPairs(composition, all))
        anchors.push_back(anchorOf(composition, same, rate));
    std::ranges::stable_sort(anchors, {}, &Anchor::before);
    anchors = inOrder(anchors);
    if (anchors.empty())
        anchors.push_back({-composition.versions->oldLabelStart, -composition.labelStart});
    Axis& old = composition.versions->axes[0];
    Axis& now = composition.versions->axes[1];
    old.slope = rate;
    Anchor last = anchors.front();
    double place = last.after;
    old.knots.push_back({last.before, place});
    now.knots.push_back({last.after, place});
    for (const Anchor& anchor : anchors)
    {
        const double inOld = (anchor.before - last.before) * rate;
        const double inNew = anchor.after - last.after;
        const double next = place + std::max(inOld, inNew);
        const auto leaveHole = [&](Axis& axis, double record, double length)
        {
            if (next - place - length < 1e-6)
                return;
            axis.knots.push_back({record, place + length});
            axis.knots.push_back({record, next});
        };
        leaveHole(old, anchor.before, inOld);
        leaveHole(now, anchor.after, inNew);
        place = next;
        last = anchor;
    }
    setExtent(composition);
    composition.segments.tint.assign(composition.segments.size(), static_cast<std::uint8_t>(unchangedAt));
}

void addChanges(Scene& scene, const DmDiff& diff)
{
    Marker marker(scene);
    for (const DmChange& change : diff.changes())
        if (change.kind != DmChangeKind::Shifted)
            marker.add(change);
    for (Composition& composition : scene.compositions)
        std::ranges::stable_sort(composition.remarks, {},
                                 [&](const Remark& remark)
                                 { return composition.axisOf(remark.row).placeOfIn(remark.time); });
    scene.subtitle = diff.isSame() ? "the same" : diff.stat();
}

void fold(Composition& composition, const Scene& scene)
{
    Versions& versions = *composition.versions;
    versions.plain = versions.axes;
    versions.plainBegin = composition.begin;
    versions.plainEnd = composition.end;
    const std::vector<Stretch> seen = seenOf(composition, framesOf(scene, composition, beside));
    if (seen.empty())
        return;
    double length = 0.0;
    for (const Stretch& stretch : seen)
        length += stretch.out - stretch.in;
    const double width =
        std::clamp(length / 30.0, framesOf(scene, composition, 1.0), framesOf(scene, composition, 20.0));
    // The pictures that a fold hides are counted in the row that the versions are laid by.
    std::vector<Axis::Knot> bends;
    double at = composition.begin;
    double gone = 0.0; // by folds so far
    const auto foldUp = [&](double in, double out)
    {
        if (out - in < 4.0 * width)
            return;
        bends.push_back({in, in - gone});
        gone += out - in - width;
        bends.push_back({out, out - gone});
        versions.folds.push_back({bends[bends.size() - 2].place, bends.back().place, out - in});
    };
    for (const Stretch& stretch : seen)
    {
        foldUp(at, stretch.in);
        at = stretch.out;
    }
    foldUp(at, composition.end);
    if (bends.empty())
        return;
    for (Axis& axis : versions.axes)
        axis = folded(axis, bends);
    setExtent(composition);
}

} // namespace view
