// A patch leads from any document to any other; on a third one it does what it can, and names the rest.
#include "zrLaws.h"
#include "zrTest.h"

namespace
{

using zrMutations::Source;

/// The patch as a file has it.
DmPatch made(const DmRoot& before, const DmRoot& after)
{
    DmPatch patch;
    DmPatch back;
    EXPECT_TRUE(DmPatch::make(after, before, patch).ok()); // what it was before is gone
    EXPECT_TRUE(DmPatch::make(before, after, patch).ok());
    const DmStatus status = DmPatch::read(patch.json(), back);
    EXPECT_TRUE(status.ok()) << dmUtf8(status.info());
    EXPECT_EQ(back.json(), patch.json());
    return back;
}

DmSegmentNode& shotAt(const CoSharedPtr<DmRoot>& root, int element)
{
    return *root->getChild(0)->getChild(0)->getChild(0)->getChild(element)->asSegment();
}

} // namespace

TEST(Patch, LeadsFromAnyDocumentToAnyOther)
{
    for (unsigned seed = 1; seed <= 60; ++seed)
    {
        Source source(seed);
        const auto a = zrMutations::randomDocument(source);
        const auto b = source.below(5) == 0 ? zrMutations::randomDocument(source) : zrLaws::changed(*a, source);
        ASSERT_TRUE(a && b);
        EXPECT_EQ(zrLaws::patchFault(*a, *b), "") << seed;
    }
}

TEST(Patch, FindsItsShotsInOtherDocuments)
{
    const auto cut = [](const char* drawing, const std::function<void(const CoSharedPtr<DmRoot>&)>& change = {})
    {
        const auto root = zrDrawing::tree(drawing);
        if (change)
            change(root);
        return zrMutations::reread(*root);
    };
    const auto names = [](const CoSharedPtr<DmRoot>& root, int element, const wchar_t* name)
    { static_cast<void>(shotAt(root, element).setName(name)); };
    const auto base = cut("AAAA|BBBB|CCCC");
    const DmPatch patch = made(*base, *cut("AAAA|BBBB|CCCC", [&](const auto& root) { names(root, 2, L"Beach"); }));
    const struct
    {
        const char* what;
        CoSharedPtr<DmRoot> document;
        int element; ///< where the shot stands in it
        const wchar_t* name;
        int applied;
        int skipped;
        std::size_t left;
    } rows[] = {
        {"itself", base, 2, L"Beach", 1, 0, 0},
        {"moved", cut("BBBB|AAAA|CCCC"), 0, L"Beach", 1, 0, 0},
        {"done", cut("XX|AAAA|BBBB|CCCC", [&](const auto& root) { names(root, 4, L"Beach"); }), 4, L"Beach", 0, 1, 0},
        {"otherwise", cut("XX|AAAA|BBBB|CCCC", [&](const auto& root) { names(root, 4, L"Coast"); }), 4, L"Coast", 0, 0,
         1},
        {"gone", cut("AAAA|CCCC"), 2, L"C", 0, 0, 1},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        CoSharedPtr<DmRoot> result;
        DmPatchReport report;
        ASSERT_TRUE(patch.apply(*row.document, result, report).ok());
        EXPECT_EQ(dmUtf8(shotAt(result, row.element).getName()), dmUtf8(row.name));
        EXPECT_EQ(report.applied, row.applied);
        EXPECT_EQ(report.skipped, row.skipped);
        EXPECT_EQ(report.left.size(), row.left);
    }
    // On a document that has it already it changes nothing, whatever else plays the same material.
    const auto both = cut("AAAA|BBBB\naaaa|bbbb");
    const auto trimmed = cut("AAA|BBBB\naaaa|bbbb", [&](const auto& root) { names(root, 0, L"Alpha"); });
    DmPatchReport again;
    CoSharedPtr<DmRoot> unchanged;
    ASSERT_TRUE(made(*both, *trimmed).apply(*trimmed, unchanged, again).ok());
    EXPECT_TRUE(again.left.empty());
    EXPECT_TRUE(DmTreeTool::areEqual(unchanged.get(), trimmed.get()));
    // A transition goes between the shots that it was put between.
    const DmPatch dissolve = made(*cut("AAAA|BBBB|CCCC"), *cut("AAA//BBB|CCCC"));
    ASSERT_TRUE(dissolve.apply(*cut("AAAA|CCCC"), unchanged, again).ok());
    EXPECT_EQ(zrDrawing::draw(DmTimeline::publish(unchanged)).find('/'), std::string::npos);
    EXPECT_FALSE(again.left.empty());
    // What is put behind a shot goes behind it there.
    DmPatchReport report;
    CoSharedPtr<DmRoot> result;
    const DmPatch added = made(*cut("AAAA|BBBB"), *cut("AAAA|BBBB|CC"));
    ASSERT_TRUE(added.apply(*cut("BBBB"), result, report).ok());
    EXPECT_EQ(zrDrawing::draw(DmTimeline::publish(result)).back(), 'C') << zrDrawing::draw(DmTimeline::publish(result));
}

TEST(Patch, RefusesWhatIsNone)
{
    for (const char* const text :
         {"", "{}", "[]", "{\"patch\":2,\"shots\":[],\"changes\":[]}", "{\"patch\":1,\"shots\":[],\"changes\":{}}",
          "{\"patch\":1,\"shots\":[],\"changes\":[{}]}",
          "{\"patch\":1,\"shots\":[],\"changes\":[{\"path\":\"/x\",\"shot\":0}]}",
          "{\"patch\":1,\"shots\":[{\"path\":\"/x\",\"shot\":{\"DmRoot\":{}}}],\"changes\":[]}",
          "{\"patch\":1,\"shots\":[],\"changes\":[{\"path\":\"/x\",\"list\":[{\"at\":-1,\"old\":[],\"new\":[]}]}]}"})
    {
        DmPatch patch;
        EXPECT_TRUE(DmPatch::read(text, patch).failed()) << text;
    }
    // One that leads to no document.
    DmPatch patch;
    CoSharedPtr<DmRoot> result;
    DmPatchReport report;
    ASSERT_TRUE(
        DmPatch::read("{\"patch\":1,\"shots\":[],\"changes\":[{\"path\":\"/DmRoot/colour\",\"new\":1}]}", patch).ok());
    EXPECT_TRUE(patch.apply(*zrDrawing::tree("AA"), result, report).failed());
    EXPECT_FALSE(result);
}
