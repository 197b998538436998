// What a page is given of a scene: one JSON value that the page's script takes apart, texts a line each, and
// properties.
#include "vwPage.h"
#include "vwSceneBuild.h"
#include "vwSvg.h"
#include "zrTest.h"

namespace
{

using namespace view;

/// One of everything: a shot on a track and its sound, a dissolve with an effect, a mark, a remark, two versions.
Scene scene()
{
    Scene all;
    all.title = "a<b";
    all.subtitle = "say \"\\\x1F\x7F\"";
    all.modes = {{DM::FCM_29_97_DF, "29.97 fps DF", 30, 29.97, 2, "00:00:00;00"}};
    all.tops = 1;
    all.notes = {"one", "two"};
    Texts& texts = all.texts;
    Composition& cut = all.compositions.emplace_back();
    cut.name = texts.add("Cut");
    cut.mode = 0;
    cut.version = Version::New;
    cut.labelStart = 1000;
    cut.begin = 1;
    cut.end = 90;
    cut.height = 80;
    cut.rows = {{false, true, Version::Old, 0, 46, texts.add("V1"), texts.add("main"), 0, 3, 0, 0, {{1, 2}}, {{3, 4}}},
                {true, true, Version::New, 50, 30, texts.add("A1"), 0, 3, 3, 1, 0, {}, {}}};
    Segments& shots = cut.segments;
    shots.kind = {Kind::Source, Kind::Gap, Kind::Container};
    shots.flags = {Muted, 0, 0};
    shots.tint = {1, 1, 1};
    shots.in = {0, 10, 35};
    shots.length = {10, 20, 5};
    shots.name = {2, 0, 0};
    shots.reel = {0, 0, 0};
    shots.id = {7, 8, 9};
    cut.pieces = {{0, 0, 0, 500, 1}, {0, 0, 4, 504, 2}, {2, 1, 35, 0.5, -1}};
    cut.opens = {2, 1};
    cut.columns = {{5, true, {0, 2}, {3, 4}}, {6, false, {0, 1, 2}, {8, 8, 8}}};
    cut.effects = {{0, 4, true, {{1, 2}}, {{3, {{0.5F, 2}, {1, 4}}}}}};
    cut.transitions = {{0, 0, 30, 5, Shape::Wipe, true, 3, {{1, 3}}, 7}, {0, 1, 40, 1, Shape::Fade, false, 0, {}}};
    cut.transitionEffects = {{1, 5, false, {}, {}}};
    cut.marks = {{12, 3, 0xFF8000, 2, 3, 1}, {13, 0, 1, 0, 0, noSegment}};
    cut.remarks = {{4, "DM101", "here", "</script>", 0, 2, 36}, {5, "", "", "", noSegment, noSegment, 0}};
    cut.properties = {{2, 3}};
    Versions& both = cut.versions.emplace();
    both.oldMode = 0;
    both.oldLabelStart = 10;
    both.axes = {Axis{2, {{0, 1}}}, Axis{1, {{5, 6}, {7, 8}}}};
    both.plainBegin = 3;
    both.plainEnd = 95;
    both.folds = {{20, 22, 400}};
    both.counterpart = {noSegment, 0, 1};
    return all;
}

std::string between(const std::string& text, const std::string& from, const std::string& to)
{
    const std::size_t begin = text.find(from) + from.size();
    return text.substr(begin, text.find(to, begin) - begin);
}

CoSharedPtr<DmRoot> document(const std::string& name)
{
    CoSharedPtr<DmRoot> root;
    const DmStatus status = DmJsonImporter::importRootFromFile((ZR_DRAWN "/" + name).c_str(), root);
    EXPECT_TRUE(status.ok()) << dmUtf8(status.info());
    return root;
}

void expectAsKept(const std::string& name, const std::string& now)
{
    const std::string path = ZR_DRAWN "/" + name;
    if (std::getenv("WRITE_DRAWN"))
        std::ofstream(path, std::ios::binary) << now;
    std::ifstream file(path, std::ios::binary);
    const std::string kept{std::istreambuf_iterator<char>(file), {}};
    const auto [is, was] = std::ranges::mismatch(now, kept);
    const auto around = [](const std::string& text, std::string::const_iterator at)
    {
        const auto from = std::size_t(std::max<std::ptrdiff_t>(at - text.begin() - 60, 0));
        return text.substr(from, 160);
    };
    EXPECT_EQ(now.size(), kept.size()) << name;
    EXPECT_EQ(around(now, is), around(kept, was)) << name;
}

void expectDrawnAsKept(const std::string& name, const Scene& scene, const std::vector<SvgOptions>& stills)
{
    expectAsKept(name + ".scene", pageOf(scene, {"", "\n", "\n", "\n"}));
    for (std::size_t i = 0; i < stills.size(); ++i)
        expectAsKept(name + '-' + std::to_string(i) + ".svg", svgOf(scene, stills[i]));
}

} // namespace

// Documents with one of everything, and how they have always been drawn. Who means to draw them otherwise runs this
// with WRITE_DRAWN=1 and looks at the pictures.
TEST(Drawn, IsWhatItWas)
{
    const auto root = document("everything.json");
    Scene scene = sceneOf(*root, "everything");
    addFindings(scene, *root);
    expectDrawnAsKept("everything", scene,
                      {{},
                       {.width = 700, .range = Window{55.0, 190.0, 1.0}, .tracks = {"V1", "A1"}},
                       {.width = 900, .composition = 1},
                       {.composition = 2},
                       {.composition = 3}});
    const auto before = document("before.json");
    const auto after = document("after.json");
    const auto versions = [](const DmRoot& one, const DmRoot& other)
    { return sceneOf(one, other, DmDiff::between(&one, &other), "versions"); };
    expectDrawnAsKept("versions", versions(*before, *after), {{.width = 1600}, {.composition = 1}, {.composition = 2}});
    expectDrawnAsKept("back", versions(*after, *before), {});
}

TEST(SceneOfAPage, SaysAllThatIsDrawn)
{
    const std::string page = pageOf(scene(), {"{policy", "}{title}", "{scene}", "{rest}"}, "/now");
    EXPECT_EQ(page.substr(0, page.find("{scene}")), "{policy; connect-src 'self'}{title}a&lt;b");
    std::string drawing = between(page, "{scene}", "{rest}");
    const std::string look = between(drawing, R"(,"look":)", R"(,"compositions")");
    EXPECT_EQ(drawing.erase(drawing.find(look), look.size()),
              R"({"title":"a\u003cb","subtitle":"say \"\\\u001f\u007f\"","watch":"/now","texts":5,)"
              R"("modes":[{"name":"29.97 fps DF","fps":30,"rate":29.97,"drop":2,"zero":"00:00:00;00"}],"tops":1,)"
              R"("notes":["one","two"],"look":,)"
              R"("compositions":[{"name":1,"mode":0,"labelStart":1000,"begin":1,"end":90,"height":80,"count":3,)"
              R"("rows":[["V1","main",0,0,46,3,1,1,[1,2],[3,4]],["A1","",1,50,30,0,1,2,[],[]]],)"
              R"("cols":{"kind":{"d":[0,3,-1]},"flags":{"at":[0],"of":[1]},"tint":{"all":1},"length":{"v":[10,20,5]},)"
              R"("name":{"at":[0],"of":[2]},"id":{"d":[7,1,1]},"hole":{"at":[2],"of":[5]}},)"
              R"("pieces":{"count":{"v":[2,0,1]},"record":{"at":[1],"of":[4]},"source":{"v":[500,504,0.5]},)"
              R"("speed":{"v":[1,2,-1]},"mode":{"at":[2],"of":[1]}},)"
              R"("opens":[2,1],"effects":[[0,4,true,[1,2],[[3,[0.5,2,1,4]]]]],)"
              R"("trx":[[0,30,5,1,true,3,[1,3],7],[0,40,1,2,false,0,[]]],"trxEffects":[[1,5,false,[],[]]],)"
              R"("marks":[[12,3,16744448,2,3,1],[13,0,1,0,0,-1]],"remarks":[[4,"DM101","here",)"
              R"("\u003c/script\u003e",0,2,36],[5,"","","",-1,-1,0]],)"
              R"("version":2,"versions":{"mode":0,"labelStart":10,"axes":[[2,[0,1]],[1,[5,6,7,8]]],"plain":[[1,[]],[1,)"
              R"([]]],)"
              R"("extent":[3,95],"folds":[[20,22,400]],"counterpart":{"d":[0,1,1]}},"properties":[2,3]}]})");
    EXPECT_EQ(between(page, "id=\"texts\">", "</script>"), "\nCut\nV1\nmain\nA1\n");
    EXPECT_EQ(between(page, "id=\"properties\">", "</script>"),
              R"([[[5,true,{"at":[0,2],"of":[3,4]}],[6,false,{"all":8}]]])");
    EXPECT_EQ(between(look, "\"changes\":", "}"),
              R"([[20,"added"],[21,"removed"],[22,"moved"],[23,"trimmed"],[24,"speed"],[25,"replaced"],)"
              R"([26,"transition"],[27,"other"]])");
}
