/// Merges, held against the naive model of what plays (zrNaive.h). It knows frames only: of two edited rows of them,
/// what was taken out of either is out, and what was put in is in.
#pragma once

#include "zrMutations.h"
#include "zrNaive.h"

#include <ZRdmtree.h>

namespace zrMergeModel
{

struct Script
{
    std::vector<bool> keeps;
    std::vector<zrNaive::Frames> puts; ///< in front of each frame, and at the end
};

inline Script scriptOf(const zrNaive::Frames& before, const zrNaive::Frames& after)
{
    Script script{std::vector<bool>(before.size()), std::vector<zrNaive::Frames>(before.size() + 1)};
    std::size_t next = 0;
    for (const std::string& frame : after)
    {
        const auto found = std::find(before.begin() + std::ptrdiff_t(next), before.end(), frame);
        if (found != before.end())
        {
            next = std::size_t(found - before.begin());
            script.keeps[next++] = true;
        }
        else
            script.puts[next].push_back(frame);
    }
    return script;
}

inline zrNaive::Frames together(const zrNaive::Frames& base, const zrNaive::Frames& ours, const zrNaive::Frames& theirs)
{
    const Script one = scriptOf(base, ours);
    const Script other = scriptOf(base, theirs);
    zrNaive::Frames all;
    for (std::size_t i = 0; i <= base.size(); ++i)
    {
        all.insert(all.end(), one.puts[i].begin(), one.puts[i].end());
        all.insert(all.end(), other.puts[i].begin(), other.puts[i].end());
        if (i < base.size() && one.keeps[i] && other.keeps[i])
            all.push_back(base[i]);
    }
    return all;
}

/// Random edits of every fourth shot, from the `first` on: another editor's are those between, so that no seam is
/// touched by both.
inline DmTimeline edited(const DmTimeline& base, int first, char fresh, zrMutations::Source& source)
{
    DmTimeline now = base;
    for (unsigned n = 1 + source.below(4); n-- > 0;)
    {
        const int letter = first + 4 * int(source.below(2));
        const auto place = now.find(DmString((std::string(1, char('A' + letter)) + "#T0").c_str()));
        const unsigned kind = source.below(7);
        if (!place)
            continue;
        DmEdit edit(now);
        edit.seedIds(source.below(200) * 16 + n * 4 + unsigned(first));
        const double by = 1 + source.below(3);
        DmStatus status;
        switch (kind)
        {
        case 0:
            status = edit.rippleTrim(*place, DM_TAIL, source.below(2) == 0 ? -by : by);
            break;
        case 1:
            status = edit.rippleTrim(*place, DM_HEAD, source.below(2) == 0 ? -by : by);
            break;
        case 2:
            status = edit.slip(*place, by);
            break;
        case 3:
            status = edit.extractSegment(*place);
            break;
        case 4:
            status = edit.insert({0, 0}, now.recIn(*place) + source.below(5),
                                 zrDrawing::shot(fresh, 0, by, {double(10 * n), 90}));
            break;
        case 5:
            status = edit.split({0, 0}, now.recIn(*place) + by);
            break;
        default:
            if (place->index > 0)
                status = edit.transition({0, 0, place->index - 1}, 2, DM_CENTRED_ON_CUT);
            break;
        }
        if (status.ok())
            now = edit.timeline();
    }
    return now;
}

/// Why a merge does not play what it should; empty when it does.
inline std::string fault(zrMutations::Source& source, bool& isEdited)
{
    std::string drawing;
    std::string materials;
    for (char name = 'A'; name < 'I'; ++name)
    {
        drawing += (name == 'A' ? "" : "|") + std::string(8 + source.below(5), name);
        materials += std::string(1, name) + "20/60 ";
    }
    const DmTimeline base = zrDrawing::timeline(drawing, materials, true);
    const DmTimeline ours = edited(base, 0, 'X', source);
    const DmTimeline theirs = edited(base, 2, 'Y', source);
    const zrNaive::Frames frames = zrNaive::framesOf(base, 0);
    const zrNaive::Frames expected = together(frames, zrNaive::framesOf(ours, 0), zrNaive::framesOf(theirs, 0));
    isEdited = frames != expected;
    for (const bool swapped : {false, true})
    {
        const DmTimeline& one = swapped ? theirs : ours;
        const DmTimeline& other = swapped ? ours : theirs;
        const DmMerge merge = DmMerge::merge(base.root().get(), *one.root(), *other.root());
        const DmTimeline result = DmTimeline::publish(merge.result());
        const std::string what = "\n" + zrDrawing::draw(base) + "\n" + zrDrawing::draw(one) + "\n" +
                                 zrDrawing::draw(other) + "\n" + zrDrawing::draw(result);
        if (!merge.conflicts().empty())
            return merge.conflicts()[0].text() + what;
        if (zrNaive::framesOf(result, 0) != expected)
            return "it plays other frames" + what;
    }
    return {};
}

} // namespace zrMergeModel
