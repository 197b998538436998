#include "lineDiff.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace dmtree
{
namespace
{

using Lines = std::vector<std::string_view>;

Lines linesOf(std::string_view text)
{
    Lines lines;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

struct Step
{
    char kind; ///< ' ', '-' or '+'
    std::string_view line;
};

/// Fewest changes first: after `d` of them, `reached[k + d]` is how far down the old text one comes on diagonal k.
std::vector<Step> stepsBetween(const Lines& before, const Lines& after)
{
    constexpr int mostChanges = 2000; // beyond that the texts have hardly anything in common
    const int n = static_cast<int>(before.size());
    const int m = static_cast<int>(after.size());
    std::vector<std::vector<int>> trace;
    std::vector<int> reached{0, 0, 0};
    const auto isAdded = [](const std::vector<int>& at, int k, int d)
    { return k == -d || (k != d && at[static_cast<std::size_t>(k + d)] < at[static_cast<std::size_t>(k + d + 2)]); };
    bool isDone = false;
    for (int d = 0; d <= std::min(n + m, mostChanges) && !isDone; ++d)
    {
        // One wider on each side than the last round's, so that neighbours can be asked without asking whether they are
        std::vector<int> now(static_cast<std::size_t>(2 * d + 3), -1);
        for (int k = -d; k <= d && !isDone; k += 2)
        {
            int x = d == 0                   ? 0
                    : isAdded(reached, k, d) ? reached[static_cast<std::size_t>(k + d + 2)]
                                             : reached[static_cast<std::size_t>(k + d)] + 1;
            while (x < n && x - k < m && x - k >= 0 &&
                   before[static_cast<std::size_t>(x)] == after[static_cast<std::size_t>(x - k)])
                ++x;
            now[static_cast<std::size_t>(k + d + 1)] = x;
            isDone = x >= n && x - k >= m;
        }
        trace.push_back(reached);
        reached.assign(1, -1);
        reached.insert(reached.end(), now.begin(), now.end());
        reached.push_back(-1);
    }
    std::vector<Step> steps;
    if (!isDone)
    {
        for (const std::string_view line : before)
            steps.push_back({'-', line});
        for (const std::string_view line : after)
            steps.push_back({'+', line});
        return steps;
    }
    int x = n;
    int y = m;
    for (int d = static_cast<int>(trace.size()) - 1; d >= 0; --d)
    {
        const int k = x - y;
        const std::vector<int>& at = trace[static_cast<std::size_t>(d)];
        const bool added = d != 0 && isAdded(at, k, d);
        const int fromX = d == 0 ? 0 : at[static_cast<std::size_t>(added ? k + d + 2 : k + d)];
        const int startX = d == 0 || added ? fromX : fromX + 1;
        while (x > startX)
        {
            steps.push_back({' ', before[static_cast<std::size_t>(--x)]});
            --y;
        }
        if (d != 0 && added)
            steps.push_back({'+', after[static_cast<std::size_t>(--y)]});
        else if (d != 0)
            steps.push_back({'-', before[static_cast<std::size_t>(--x)]});
    }
    std::ranges::reverse(steps);
    return steps;
}

std::string rangeText(std::size_t first, std::size_t count)
{
    return std::to_string(count == 0 ? first : first + 1) + (count == 1 ? "" : ',' + std::to_string(count));
}

} // namespace

std::string lineDiff(std::string_view before, std::string_view after, std::string_view oldName,
                     std::string_view newName)
{
    constexpr std::size_t around = 3;
    std::string text;
    const std::vector<Step> steps = stepsBetween(linesOf(before), linesOf(after));
    const auto isChange = [](const Step& step) { return step.kind != ' '; };
    std::size_t oldLine = 0;
    std::size_t newLine = 0;
    for (std::size_t done = 0; done < steps.size();)
    {
        const auto behind = steps.begin() + static_cast<std::ptrdiff_t>(done);
        const auto change = static_cast<std::size_t>(std::find_if(behind, steps.end(), isChange) - steps.begin());
        const std::size_t first = std::max(done, change - std::min(change, around));
        oldLine += first - done;
        newLine += first - done;
        if (change == steps.size())
            break;
        std::size_t last = change; // behind the last change of the hunk
        for (std::size_t i = change; i < steps.size() && i < last + 2 * around + 1; ++i)
            if (isChange(steps[i]))
                last = i + 1;
        last = std::min(last + around, steps.size());
        std::string hunk;
        std::size_t olds = 0;
        std::size_t news = 0;
        for (std::size_t i = first; i < last; ++i)
        {
            olds += steps[i].kind != '+' ? 1 : 0;
            news += steps[i].kind != '-' ? 1 : 0;
            hunk.append(1, steps[i].kind).append(steps[i].line).append("\n");
        }
        text.append("@@ -" + rangeText(oldLine, olds) + " +" + rangeText(newLine, news) + " @@\n").append(hunk);
        oldLine += olds;
        newLine += news;
        done = last;
    }
    if (!text.empty())
        text = std::string("--- ").append(oldName).append("\n+++ ").append(newName).append("\n").append(text);
    return text;
}

} // namespace dmtree
