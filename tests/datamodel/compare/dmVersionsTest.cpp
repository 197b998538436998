// Random versions of random cuts: what is said of what changed, of what two versions are together, and of what a patch
// does to another version.
#include "zrMutations.h"
#include "zrTable.h"
#include "zrTest.h"

namespace
{

using zrMutations::Source;
using zrRandomEdits::indented;

using zrOperations::Arguments;

/// Those of which no naive model tells what they do.
const zrOperations::Operation further[] = {
    {"relink", "",
     [](DmEdit& e, const Arguments&) {
         return e.relink({L"", L"", L"A", L"Z", L"", L""});
     },
     nullptr},
    {"redact", "", [](DmEdit& e, const Arguments&) { return e.redact(); }, nullptr},
    {"keep-track", "e", [](DmEdit& e, const Arguments& a) { return e.keepTracks({a.element.track}); }, nullptr},
    {"drop-effect", "e", [](DmEdit& e, const Arguments& a) { return e.removeEffect(a.element, 0); }, nullptr},
    {"key", "en",
     [](DmEdit& e, const Arguments& a)
     {
         const auto key = DmKeyFrame::create();
         static_cast<void>(key->setFrame(float(a.amount)));
         return e.addKeyFrame(a.element, 0, L"timing", key);
     },
     nullptr},
    {"conform-clock", "n",
     [](DmEdit& e, const Arguments& a) { return e.conform(zrOperations::modeOf(a.amount), DmEdit::Conform::Clock); },
     nullptr}};

/// As somebody else may have left it.
DmTimeline found(const DmTimeline& drawn, Source& source)
{
    const auto root = zrMutations::reread(static_cast<const DmRoot&>(*drawn.tree()));
    for (unsigned n = source.below(5); n-- > 0;)
        zrMutations::mutate(*root, source);
    if (source.below(5) == 0 && root->getNbChildren() > 0)
    {
        const auto reel = DmReelNode::create();
        reel->addChild(root->getChild(0));
        static_cast<void>(root->removeChild(0));
        root->addChild(reel);
    }
    return DmTimeline::publish(zrMutations::reread(*root));
}

DmTimeline edited(DmTimeline now, unsigned edits, const char* name, Source& source, std::string& told)
{
    for (unsigned n = edits; n-- > 0 && now.trackCount() > 0;)
    {
        constexpr std::size_t common = std::size(zrOperations::all);
        constexpr std::size_t whole = common + std::size(zrOperations::whole);
        const unsigned choice = source.below(unsigned(whole + std::size(further)));
        const zrOperations::Operation& operation = choice < common  ? zrOperations::all[choice]
                                                   : choice < whole ? zrOperations::whole[choice - common]
                                                                    : further[choice - whole];
        const Arguments with = zrRandomEdits::argumentsFor(operation, now, source);
        DmEditOptions options;
        for (const auto& [word, flag] : zrRandomEdits::flags)
            options.*flag ^= source.below(6) == 0;
        options.atTransition = source.below(4) == 0 ? DmAtTransition::Shortened : DmAtTransition::Cut;
        DmEdit edit(now, options);
        edit.seedIds(source.below(1000));
        if (!operation.run(edit, with).ok())
            continue;
        now = edit.timeline();
        told += std::string(name) + ": " + zrRandomEdits::wordsOf(operation, with, edit.options()) + '\n';
    }
    return now;
}

/// Some edits, and now and then what no edit does.
CoSharedPtr<DmRoot> version(const DmTimeline& start, const char* name, Source& source, std::string& told)
{
    const DmTimeline now = edited(start, 2 + source.below(4), name, source, told);
    const auto root = zrMutations::reread(static_cast<const DmRoot&>(*now.tree()));
    for (unsigned n = source.below(4); n > 1; --n)
        zrMutations::mutate(*root, source);
    return zrMutations::reread(*root);
}

std::string told(const std::string& what, const DmDiff& diff)
{
    return what + '\n' + indented(diff.text(true));
}

std::string told(const std::string& what, const DmRoot& from, const DmMerge& merge)
{
    std::string text = what + (merge.status().ok() ? "" : ": " + dmUtf8(merge.status().info())) + '\n';
    for (const DmMergeConflict& conflict : merge.conflicts())
        text += "  ! " + conflict.text() + '\n';
    for (const std::string& note : merge.notes())
        text += "  * " + note + '\n';
    return merge.result() ? told(text + "  ours -> merged", DmDiff::between(&from, merge.result().get())) : text;
}

std::string told(const DmSegmentNode& segment, DM::FrameCodeModes fcm)
{
    static constexpr const char* motions[] = {"nothing", "moves", "held", "keyed"};
    static constexpr const char* kinds[] = {"no material", "material", "a still", "generated"};
    std::ostringstream text;
    const DmPlayed played(segment, fcm);
    const DmMaterial material = dmMaterialOf(segment, fcm, {1.0, 2.0});
    text << motions[int(played.motion())] << ' ' << played.begin() << '-' << played.end() << " at " << played.speed()
         << '*' << played.rate();
    for (const double time : {segment.getRecIn(), segment.getRecIn() + 2.5})
        text << ", " << time << ": " << played.positionAt(time).value_or(-1.0) << " is "
             << played.recordTimeAt(played.positionAt(time).value_or(0.0)).value_or(-1.0);
    text << "; " << kinds[int(material.kind)] << ' ' << material.begin << " + " << material.length
         << (material.known ? "" : " or more") << '\n';
    return text.str();
}

} // namespace

TEST(Versions, OfAnyShapePlayAndBreakRulesAsIsWrittenDown)
{
    std::ostringstream all;
    for (unsigned seed = 100; seed < 140; ++seed)
    {
        Source source(seed);
        std::string drawing = zrRandomEdits::randomDrawing(source) + '\n';
        drawing += zrRandomEdits::randomDrawing(source);
        const DmTimeline start = found(zrDrawing::timeline(drawing, "A6/40 B5 C4/30"), source);
        const unsigned edits = source.below(8);
        std::string words;
        const auto root = version(edited(start, edits, "", source, words), "", source, words);
        ASSERT_TRUE(root) << seed;
        for (unsigned n = source.below(5); n-- > 0;)
            zrMutations::mutate(*root, source);
        all << "== " << seed << '\n';
        EXPECT_EQ(DmTreeTool::dump(root, all), DM_NO_ERROR);
        for (int i = 0; i < root->getNbChildren(); ++i)
        {
            auto* const composition = dynamic_cast<DmCompositionNode*>(root->getChild(i));
            if (!composition)
                continue;
            for (const DmTreeViolation& each : DmTreeTool::findViolations(composition, DM_VALIDATE_ALL))
                all << "! " << each.path << ": " << dmUtf8(each.message) << '\n';
            for (int track = 0; track < composition->getNbChildren(); ++track)
                for (DmPlayListIterator at(composition, track); !at.isDone(); at.next())
                {
                    all << track << '.' << at.position() << ' ' << at.recordRange().in << '-' << at.recordRange().out()
                        << " of " << at.sourceRange().in << '-' << at.sourceRange().out() << ' ';
                    if (const DmSegmentNode* const segment = at.element()->asSegment())
                        all << told(*segment, dmFcmFromText(composition->getFCM()));
                    else
                        all << "a seam\n";
                }
        }
    }
    zrExpectWritten(all.str(), "shapes.txt");
}

TEST(Versions, AreToldPutTogetherAndPatchedAsIsWrittenDown)
{
    std::string all;
    for (unsigned seed = 1; seed <= 80; ++seed)
    {
        Source source(seed);
        std::string drawing = zrRandomEdits::randomDrawing(source);
        for (unsigned n = source.below(3); n-- > 0;)
        {
            std::string track = zrRandomEdits::randomDrawing(source);
            if (source.below(2) == 0)
                std::ranges::transform(track, track.begin(), [](unsigned char c) { return char(std::tolower(c)); });
            drawing += '\n' + track;
        }
        const DmTimeline drawn =
            zrDrawing::timeline(drawing, "A6/40 B5 C4/30 D3 a6/40 b5 c4/30 d3", source.below(2) == 0);
        all += "== " + std::to_string(seed) + ": " + zrRandomEdits::inOneLine(drawn) + '\n';
        const DmTimeline old = found(drawn, source);
        const unsigned edits = source.below(4);
        const DmTimeline start = edited(old, edits, "base", source, all);
        const auto base = zrMutations::reread(static_cast<const DmRoot&>(*start.tree()));
        const auto ours = version(start, "ours", source, all);
        const auto theirs = version(start, "theirs", source, all);
        ASSERT_TRUE(base && ours && theirs) << seed;
        all += told("base -> ours", DmDiff::between(base, ours));
        all += told("base -> theirs", DmDiff::between(base, theirs));
        all += told("merged", *ours, DmMerge::merge(base.get(), *ours, *theirs));
        if (seed % 4 == 0)
            all +=
                told("merged, theirs stands", *ours, DmMerge::merge(base.get(), *ours, *theirs, DmMergeFavour::Theirs));
        if (seed % 4 == 1)
            all += told("merged without a base", *ours, DmMerge::merge(nullptr, *ours, *theirs));
        DmPatch patch;
        CoSharedPtr<DmRoot> patched;
        DmPatchReport report;
        ASSERT_TRUE(DmPatch::make(*base, *ours, patch).ok());
        const DmStatus status = patch.apply(*theirs, patched, report);
        all += "patched, " + std::to_string(patch.json().size()) + " bytes: " + std::to_string(report.applied) +
               " applied, " + std::to_string(report.skipped) + " there already " + dmUtf8(status.info()) + '\n';
        for (const std::string& left : report.left)
            all += "  ! " + left + '\n';
        if (patched)
            all += told("  theirs -> patched", DmDiff::between(theirs, patched));
    }
    zrExpectWritten(all, "versions.txt");
}
