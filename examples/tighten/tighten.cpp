/// Takes twelve frames off the tail of the shot that plays at a label on the first track, pulls all behind it there,
/// and says what changed:
///
///     tighten IN OUT LABEL          of any formats
#include <ZRdmtree.h>
#include <icInterchange.h>

#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    const interchange::Reading cut = interchange::readFile(argv[1]);
    std::cerr << dmFindingsText(argv[1], cut.findings);
    if (!cut.root)
        return 2;
    const DmTimeline before = DmTimeline::publish(cut.root);
    DmEditOptions options;
    options.syncLock = false; // the other tracks stay where they are
    DmEdit edit(before, options);
    double time = 0.0;
    DmStatus status = before.readLabel(argv[3], time);
    if (const auto shot = before.at({0, 0}, time); shot && status.ok())
        status = edit.rippleTrim(*shot, DM_TAIL, -12);
    if (status.failed())
    {
        std::cerr << argv[3] << ": " << dmUtf8(status.info()) << '\n';
        return 1;
    }
    const DmTimeline after = edit.timeline(); // a new one, which shares what did not change; `before` is as it was
    std::cout << DmDiff::between(before, after).text();
    const interchange::Writing written = interchange::writeFile(*after.root(), argv[2]);
    std::cerr << dmFindingsText(argv[2], written.findings);
    return written.done ? 0 : 2;
}
