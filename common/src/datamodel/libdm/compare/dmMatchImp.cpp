#include "dmMatchImp.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace dmCompare
{
namespace
{

constexpr std::uint64_t noKey = 0;
/// Of ranges of one medium, so many neighbours by in-time are looked at for an overlap.
constexpr int overlapWindow = 16;

std::uint64_t bits(double time)
{
    return static_cast<std::uint64_t>(std::llround(std::clamp(time, -1e15, 1e15) * 1000.0));
}

class Matcher
{
public:
    Matcher(std::span<const Shot> before, std::span<const Shot> after)
        : _before(before)
        , _after(after)
        , _match{std::vector<int>(before.size(), -1), std::vector<int>(after.size(), -1)}
    {
    }

    Match run(std::span<const std::pair<int, int>> known)
    {
        const bool numbered = areNumbered(_before) && areNumbered(_after);
        for (const auto& [a, b] : known)
            pair(a, b);
        const auto id = [numbered](const Shot& shot)
        { return numbered || isMadeUp(shot.node->getSegmentId()) ? noKey : shot.id; };
        const auto agreeing = [](const Shot& a, const Shot& b) { return agree(a.medium, b.medium) != Agreement::No; };
        const auto any = [](const Shot&, const Shot&) { return true; };
        byKey(id, agreeing, Repeated::Left);
        byOrigin();
        for (const auto which : {&Medium::reel, &Medium::path})
        {
            const auto range = [which](const Shot& shot)
            {
                const std::uint64_t medium = shot.medium.*which;
                return medium == 0 ? noKey : mixed(mixed(medium, bits(shot.srcIn)), bits(shot.srcOut));
            };
            byKey(range, any, Repeated::InOrder);
        }
        for (const auto which : {&Medium::reel, &Medium::path})
            byOverlap(which);
        // Another range of a medium that both play is another shot, whatever both are called.
        const auto named = [](const Shot& a, const Shot& b)
        { return agree(a.medium, b.medium) != Agreement::Yes || !a.plays() || !b.plays(); };
        byKey([](const Shot& shot) { return shot.name; }, named, Repeated::InOrder);
        byKey(id, any, Repeated::Left);
        byPlace();
        return std::move(_match);
    }

private:
    enum class Repeated
    {
        Left,   ///< a key that several have tells nothing
        InOrder ///< they are taken in order
    };
    struct Seen
    {
        int before = -1;
        int after = -1;
        int beforeCount = 0;
        int afterCount = 0;
    };

    bool isFree(int before, int after) const
    {
        return before >= 0 && after >= 0 && before < int(_before.size()) && after < int(_after.size()) &&
               _match.toNew[std::size_t(before)] < 0 && _match.toOld[std::size_t(after)] < 0;
    }
    void pair(int before, int after)
    {
        _match.toNew[std::size_t(before)] = after;
        _match.toOld[std::size_t(after)] = before;
    }
    template <class Visit>
    static void forFree(std::span<const Shot> shots, const std::vector<int>& matched, Visit&& visit)
    {
        for (std::size_t i = 0; i < shots.size(); ++i)
            if (matched[i] < 0)
                visit(static_cast<int>(i), shots[i]);
    }

    template <class Key, class May>
    void byKey(const Key& key, const May& may, Repeated repeated)
    {
        std::unordered_map<std::uint64_t, Seen> seen;
        forFree(_before, _match.toNew,
                [&](int i, const Shot& shot)
                {
                    if (const std::uint64_t k = key(shot); k != noKey)
                    {
                        Seen& entry = seen[k];
                        entry.before = i;
                        ++entry.beforeCount;
                    }
                });
        if (seen.empty())
            return;
        forFree(_after, _match.toOld,
                [&](int i, const Shot& shot)
                {
                    const std::uint64_t k = key(shot);
                    if (const auto found = k == noKey ? seen.end() : seen.find(k); found != seen.end())
                    {
                        found->second.after = i;
                        ++found->second.afterCount;
                    }
                });
        const auto fits = [&](int before, int after)
        {
            const Shot& a = _before[std::size_t(before)];
            const Shot& b = _after[std::size_t(after)];
            const std::uint64_t k = key(a);
            return k != noKey && k == key(b) && may(a, b);
        };
        for (const auto& [k, entry] : seen)
            if (entry.beforeCount == 1 && entry.afterCount == 1 && fits(entry.before, entry.after))
                pair(entry.before, entry.after);
        if (repeated == Repeated::Left)
            return;
        // A copy goes with the neighbour that is known; what stands at an end, with the end.
        const auto beside = [&](int before, int after)
        {
            if (isFree(before, after) && fits(before, after))
                pair(before, after);
        };
        const auto oldCount = static_cast<int>(_before.size());
        const auto newCount = static_cast<int>(_after.size());
        beside(0, 0);
        for (int i = 0; i + 1 < oldCount; ++i)
            if (const int at = _match.toNew[std::size_t(i)]; at >= 0)
                beside(i + 1, at + 1);
        beside(oldCount - 1, newCount - 1);
        for (int i = oldCount; --i > 0;)
            if (const int at = _match.toNew[std::size_t(i)]; at >= 0)
                beside(i - 1, at - 1);
        std::unordered_map<std::uint64_t, std::vector<int>> queues;
        forFree(_after, _match.toOld,
                [&](int i, const Shot& shot)
                {
                    if (const std::uint64_t k = key(shot); k != noKey && seen.contains(k))
                        queues[k].push_back(i);
                });
        for (auto& [k, queue] : queues)
            std::ranges::reverse(queue);
        forFree(_before, _match.toNew,
                [&](int i, const Shot& shot)
                {
                    const auto queue = queues.find(key(shot));
                    if (queue == queues.end() || queue->second.empty() || !fits(i, queue->second.back()))
                        return;
                    pair(i, queue->second.back());
                    queue->second.pop_back();
                });
    }

    /// What was derived from what: halves of a split, copies, shots that got another id.
    void byOrigin()
    {
        std::unordered_map<std::uint64_t, std::vector<int>> origins;
        const auto forOrigins = [](const Shot& shot, const auto& visit)
        {
            if (!shot.node->getOriginalID().empty())
                visit(hashOf(shot.node->getOriginalID().view()));
            for (const DmString& id : shot.node->getSegmentPreviousIds())
                if (!id.empty())
                    visit(hashOf(id.view()));
        };
        forFree(_after, _match.toOld,
                [&](int i, const Shot& shot)
                { forOrigins(shot, [&](std::uint64_t id) { origins[id].push_back(i); }); });
        // Of several, the first that is left: each is looked at once, taken or not.
        std::unordered_map<std::uint64_t, std::size_t> next;
        const auto take = [&](std::uint64_t id, int before)
        {
            const auto found = id == 0 ? origins.end() : origins.find(id);
            if (found == origins.end())
                return false;
            std::size_t& at = next[id];
            while (at < found->second.size() && _match.toOld[std::size_t(found->second[at])] >= 0)
                ++at;
            if (at == found->second.size())
                return false;
            pair(before, found->second[at++]);
            return true;
        };
        std::unordered_set<std::uint64_t> oldOrigins;
        forFree(_before, _match.toNew,
                [&](int, const Shot& shot) { forOrigins(shot, [&](std::uint64_t id) { oldOrigins.insert(id); }); });
        std::unordered_map<std::uint64_t, int> ids;
        forFree(_after, _match.toOld,
                [&](int i, const Shot& shot)
                {
                    if (shot.id != 0)
                        ids.emplace(shot.id, i);
                });
        // Of a shot and what was split off it, on whichever side, the one that still has its id, whoever made that up.
        forFree(_before, _match.toNew,
                [&](int i, const Shot& shot)
                {
                    const bool isOrigin = origins.contains(shot.id) || oldOrigins.contains(shot.id);
                    const auto same = isOrigin ? ids.find(shot.id) : ids.end();
                    if (same != ids.end() && isFree(i, same->second))
                        pair(i, same->second);
                });
        forFree(_before, _match.toNew,
                [&](int i, const Shot& shot)
                {
                    if (take(shot.id, i))
                        return;
                    bool done = false;
                    forOrigins(shot,
                               [&](std::uint64_t id)
                               {
                                   const auto found = done ? ids.end() : ids.find(id);
                                   if (found != ids.end() && isFree(i, found->second))
                                   {
                                       pair(i, found->second);
                                       done = true;
                                   }
                                   done = done || take(id, i);
                               });
                });
    }

    /// One medium's ranges in order of their in-times: each old one takes, among its neighbours, the one that it shares
    /// the most with.
    void byOverlap(std::uint64_t Medium::*which)
    {
        using Entry = std::tuple<std::uint64_t, double, int>;
        std::vector<Entry> after;
        std::vector<Entry> before;
        const auto add = [which](std::vector<Entry>& to)
        {
            return [which, &to](int i, const Shot& shot)
            {
                if (shot.medium.*which != 0 && shot.plays())
                    to.emplace_back(shot.medium.*which, shot.srcIn, i);
            };
        };
        forFree(_after, _match.toOld, add(after));
        forFree(_before, _match.toNew, add(before));
        std::ranges::sort(after);
        std::ranges::sort(before);
        auto from = after.begin();
        for (const Entry& wanted : before)
        {
            const auto& medium = std::get<0>(wanted);
            const int i = std::get<2>(wanted);
            const Shot& shot = _before[std::size_t(i)];
            from = std::lower_bound(from, after.end(), Entry{medium, std::get<1>(wanted), -1});
            int best = -1;
            double most = 0.0;
            const auto look = [&](auto entry)
            {
                if (std::get<0>(*entry) != medium)
                    return false;
                const int at = std::get<2>(*entry);
                const Shot& other = _after[std::size_t(at)];
                const double shared = std::min(shot.srcOut, other.srcOut) - std::max(shot.srcIn, other.srcIn);
                if (isFree(i, at) && shared > most)
                {
                    most = shared;
                    best = at;
                }
                return true;
            };
            auto entry = from;
            for (int n = 0; n < overlapWindow && entry != after.end() && look(entry); ++n)
                ++entry;
            entry = from;
            for (int n = 0; n < overlapWindow && entry != after.begin() && look(std::prev(entry)); ++n)
                --entry;
            if (best >= 0)
                pair(i, best);
        }
    }

    /// A shot alone between the same neighbours, as long as before: other material was put in its place.
    void byPlace()
    {
        const auto neighbour = [](std::span<const Shot> shots, int i, int by)
        {
            const int at = i + by;
            const bool isThere = at >= 0 && at < int(shots.size());
            return isThere && shots[std::size_t(at)].lane == shots[std::size_t(i)].lane ? at : -1;
        };
        forFree(_before, _match.toNew,
                [&](int i, const Shot& shot)
                {
                    const int left = neighbour(_before, i, -1);
                    const int right = neighbour(_before, i, 1);
                    int at = -1;
                    if (left >= 0 && _match.toNew[std::size_t(left)] >= 0)
                        at = neighbour(_after, _match.toNew[std::size_t(left)], 1);
                    else if (left < 0 && right >= 0 && _match.toNew[std::size_t(right)] >= 0)
                        at = neighbour(_after, _match.toNew[std::size_t(right)], -1);
                    if (at < 0 || !isFree(i, at))
                        return;
                    const int newRight = neighbour(_after, at, 1);
                    const bool sameRight =
                        right < 0 ? newRight < 0 : newRight >= 0 && _match.toNew[std::size_t(right)] == newRight;
                    const int newLeft = neighbour(_after, at, -1);
                    const bool sameLeft = (left < 0) == (newLeft < 0);
                    const Shot& other = _after[std::size_t(at)];
                    const auto whole = [](const Shot& each)
                    { return each.out - each.in + each.lengthInFront() + each.lengthBehind(); };
                    if (sameRight && sameLeft && std::abs(whole(shot) - whole(other)) < 0.5)
                        pair(i, at);
                });
    }

    std::span<const Shot> _before;
    std::span<const Shot> _after;
    Match _match;
};

} // namespace

bool areNumbered(std::span<const Shot> shots)
{
    constexpr std::size_t longest = 9;
    std::map<int, long> last; // by lane
    for (const Shot& shot : shots)
    {
        const std::wstring_view text = shot.node->getSegmentId().view();
        if (text.empty() || text.size() > longest || text.find_first_not_of(L"0123456789") != text.npos)
            return false;
        long number = 0;
        for (const wchar_t digit : text)
            number = number * 10 + (digit - L'0');
        const auto [lane, isFirst] = last.try_emplace(shot.lane, number);
        if (!isFirst && number != lane->second + 1 + shot.leftOut)
            return false;
        lane->second = number;
    }
    return !shots.empty();
}

Match matchShots(std::span<const Shot> before, std::span<const Shot> after, std::span<const std::pair<int, int>> known)
{
    return Matcher(before, after).run(known);
}

std::vector<int> matchLanes(const Cut& before, const Cut& after, const Match& match)
{
    std::vector<int> matched(before.lanes().size(), -1);
    std::vector<bool> taken(after.lanes().size(), false);
    const auto mayPair = [&](int a, int b)
    {
        return matched[std::size_t(a)] < 0 && !taken[std::size_t(b)] &&
               before.lanes()[std::size_t(a)].track->getMediaType() ==
                   after.lanes()[std::size_t(b)].track->getMediaType();
    };
    const auto pair = [&](int a, int b)
    {
        matched[std::size_t(a)] = b;
        taken[std::size_t(b)] = true;
    };
    std::unordered_map<std::uint64_t, int> votes;
    for (std::size_t i = 0; i < match.toNew.size(); ++i)
        if (match.toNew[i] >= 0)
            votes[(std::uint64_t(before.shots()[i].lane) << 32U) |
                  std::uint64_t(after.shots()[std::size_t(match.toNew[i])].lane)] += 1 + before.shots()[i].leftOut;
    std::vector<std::pair<int, std::uint64_t>> order;
    for (const auto& [lanes, count] : votes)
        order.emplace_back(-count, lanes);
    std::ranges::sort(order);
    for (const auto& [count, lanes] : order)
        if (const int a = int(lanes >> 32U), b = int(lanes & 0xffffffffU); mayPair(a, b))
            pair(a, b);
    // By number, then by order alone for lanes of which neither side tells anything.
    for (const bool byNumber : {true, false})
    {
        std::map<std::tuple<int, int, int>, std::vector<int>> left;
        const auto key = [byNumber](const Lane& lane)
        {
            const int type = lane.track->getMediaType();
            return byNumber ? std::tuple(type, lane.track->getTrackNum(), lane.layer->getLayerNum())
                            : std::tuple(type, lane.trackAt, lane.layerAt);
        };
        for (int b = int(after.lanes().size()); b-- > 0;)
            if (!taken[std::size_t(b)])
                left[key(after.lanes()[std::size_t(b)])].push_back(b);
        for (int a = 0; a < int(before.lanes().size()); ++a)
            if (const auto found = left.find(key(before.lanes()[std::size_t(a)]));
                found != left.end() && !found->second.empty() && mayPair(a, found->second.back()))
            {
                const int b = found->second.back();
                if (!byNumber &&
                    (before.lanes()[std::size_t(a)].count() != 0 || after.lanes()[std::size_t(b)].count() != 0))
                    continue;
                pair(a, b);
                found->second.pop_back();
            }
    }
    return matched;
}

std::vector<bool> keepsOrder(std::span<const int> positions)
{
    std::vector<int> tails; ///< of runs of each length, the element that ends lowest
    std::vector<int> before(positions.size(), -1);
    for (int i = 0; i < int(positions.size()); ++i)
    {
        if (positions[std::size_t(i)] < 0)
            continue;
        const auto at = std::ranges::lower_bound(tails, positions[std::size_t(i)], {},
                                                 [&](int tail) { return positions[std::size_t(tail)]; });
        before[std::size_t(i)] = at == tails.begin() ? -1 : *std::prev(at);
        if (at == tails.end())
            tails.push_back(i);
        else
            *at = i;
    }
    std::vector<bool> keeps(positions.size(), false);
    for (int i = tails.empty() ? -1 : tails.back(); i >= 0; i = before[std::size_t(i)])
        keeps[std::size_t(i)] = true;
    return keeps;
}

} // namespace dmCompare
