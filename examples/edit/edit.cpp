/// Loads a timeline, edits it ten times, takes the last three edits back, and saves what is left.
///
///     edit IN.json OUT.json
#include <ZRdmtree.h>

#include <cstdlib>
#include <functional>
#include <iostream>

namespace
{

/// The record times of this cut count from its begin.
constexpr double at25(double seconds)
{
    return seconds * 25;
}

/// The segment that plays on the first layer of a track at a time.
DmElementPlace at(const DmEdit& edit, int track, double time)
{
    return edit.timeline().at({track, 0}, time).value_or(DmElementPlace{track, 0, -1});
}

/// The seam in front of it.
DmElementPlace seamBefore(const DmEdit& edit, int track, double time)
{
    DmElementPlace place = at(edit, track, time);
    --place.index;
    return place;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::cerr << "usage: edit IN.json OUT.json\n";
        return EXIT_FAILURE;
    }
    DmRoot* loaded = nullptr;
    DmStatus status = DmJsonImporter::importRootFromFile(argv[1], loaded);
    if (status.failed())
    {
        std::cerr << argv[1] << ": " << dmUtf8(status.info()) << '\n';
        return EXIT_FAILURE;
    }
    // The tree is handed over: it becomes constant in place.
    DmHistory history(DmTimeline::takeOver(CoSharedPtr<DmTreeNode>(loaded), 0, &status));

    // The picture alone; sound stays where it is.
    DmEditOptions options;
    options.syncLock = false;
    const struct
    {
        const wchar_t* name;
        std::function<DmStatus(DmEdit&)> edit;
    } steps[] = {
        {L"trim a tail", [](DmEdit& e) { return e.rippleTrim(at(e, 0, at25(7)), DM_TAIL, -12); }},
        {L"roll a cut", [](DmEdit& e) { return e.roll(seamBefore(e, 0, at25(7)), 3); }},
        {L"slip a shot", [](DmEdit& e) { return e.slip(at(e, 0, at25(9)), 5); }},
        {L"slide a shot", [](DmEdit& e) { return e.slide(at(e, 0, at25(7)), -2); }},
        {L"split a shot",
         [](DmEdit& e) {
             return e.split({0, 0}, at25(14));
         }},
        {L"take half of it out", [](DmEdit& e) { return e.extractSegment(at(e, 0, at25(14))); }},
        {L"shorten a dissolve", [](DmEdit& e) { return e.transition(seamBefore(e, 0, at25(5)), 6, DM_BEGINS_AT_CUT); }},
        {L"lift a second",
         [](DmEdit& e) {
             return e.lift({0, 0}, at25(1), at25(2));
         }},
        {L"rename a shot", [](DmEdit& e) { return e.rename(at(e, 0, at25(7)), L"crate, tighter"); }},
        {L"mute a shot", [](DmEdit& e) { return e.mute(at(e, 0, at25(7)), true); }},
    };
    for (const auto& step : steps)
    {
        DmEdit edit(history.current(), options);
        status = step.edit(edit);
        if (status.failed())
            std::cout << dmUtf8(step.name) << ": " << dmUtf8(status.info()) << '\n';
        else
            history.add(step.name, edit);
    }
    std::cout << history.count() << " steps done\n";
    for (int i = 0; i < 3 && history.canUndo(); ++i)
    {
        std::cout << "took back: " << dmUtf8(history.undoName()) << '\n';
        history.undo();
    }

    const CoSharedPtr<DmRoot> root = history.current().root();
    if (!root || (status = DmTreeJsonBuilder::generate(root, argv[2])).failed())
    {
        std::cerr << argv[2] << ": " << dmUtf8(status.info()) << '\n';
        return EXIT_FAILURE;
    }
    history.markSaved();
    std::cout << DmTreeTool::findViolations(history.current().composition(), DM_VALIDATE_ALL).size()
              << " violations in " << argv[2] << '\n';
    return EXIT_SUCCESS;
}
