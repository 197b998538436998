#include "../property/testSets.h"
#include "jsonSets.h"
#include "zrCapturingRouter.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

namespace
{

using Layout = DmTreeJsonBuilder::Layout;

/// A set of one property that cannot be written: of a type that does not exist, or whose text form fails.
template <bool HasType>
class JsonBroken final : public DmConcrete<JsonBroken<HasType>>
{
public:
    static constexpr const wchar_t* className = HasType ? L"JsonMute" : L"JsonBroken";
    explicit JsonBroken(const DmNodeId& id)
        : DmConcrete<JsonBroken>(id, DmPropertySetInit<JsonBroken>::data())
    {
    }
    eDmErrorId createList() override
    {
        if constexpr (!HasType)
            return this->addProperty(L"broken", static_cast<eDmPropType>(99), &_value, 0, false, nullptr);
        return declare(*this)
            .mandatory(L"mute", _value)
            .textForm([](const void*, DmString&) { return DM_BINARY_ERROR; },
                      [](const DmString&, void*) { return DM_BINARY_ERROR; })
            .status();
    }

private:
    int _value = 0;
};
const DmPropertySetInit<JsonBroken<false>> brokenRegistration;
const DmPropertySetInit<JsonBroken<true>> muteRegistration;

template <class T>
void setField(DmPropertySet& set, const wchar_t* name, const T& value)
{
    constexpr eDmPropType type = dmTypeOf<T>;
    if constexpr (type == DM_STRING)
        ASSERT_EQ(set.setPropertyValue(DmString(name), &value), DM_NO_ERROR);
    else
        ASSERT_EQ(set.setPropertyValue(name, type, &value), DM_NO_ERROR);
}

template <class T>
void addTo(DmPropertySet& set, const wchar_t* name, const T& value)
{
    ASSERT_EQ(set.addValueInPropertyList(name, dmTypeOf<std::vector<T>>, &value), DM_NO_ERROR);
}

} // namespace

TEST(JsonWriter, EveryTypeHasItsForm)
{
    const auto set = TestEvery::create();
    setField(*set, L"int", std::int32_t(-5));
    setField(*set, L"uint", std::uint32_t(4294967295));
    setField(*set, L"short", std::int16_t(-6));
    setField(*set, L"ushort", std::uint16_t(65535));
    setField(*set, L"int64", std::numeric_limits<std::int64_t>::min());
    setField(*set, L"uint64", std::numeric_limits<std::uint64_t>::max());
    setField(*set, L"char", 'A');
    setField(*set, L"uchar", static_cast<unsigned char>(65));
    setField(*set, L"float", 0.1F);
    setField(*set, L"bool", true);
    setField(*set, L"double", 0.1);
    setField(*set, L"string", DmString(L"Été \"x\"\\/\n\u0001\U0001F3AC"));
    setField(*set, L"cdata", DmString(L"one\ntwo\n"));
    addTo(*set, L"ints", std::int32_t(-7));
    addTo(*set, L"shorts", std::int16_t(8));
    addTo(*set, L"uint64s", std::numeric_limits<std::uint64_t>::max());
    addTo(*set, L"floats", 0.1F);
    addTo(*set, L"doubles", 0.1);
    addTo(*set, L"strings", DmString(L"s"));
    addTo(*set, L"strings", DmString());
    EXPECT_EQ(written(*set),
              R"({"TestEvery":{"int":-5,"uint":4294967295,"enum":2,"short":-6,"ushort":65535,)"
              R"("int64":-9223372036854775808,"uint64":18446744073709551615,"char":"A","uchar":"65",)"
              R"("float":0.10000000149011612,"bool":true,"double":0.1,)"
              R"("string":"Été \"x\"\\/\n\u0001)"
              "\xF0\x9F\x8E\xAC\","
              R"("ints":["-7"],"shorts":["8"],"uint64s":["18446744073709551615"],"floats":["0.100000001"],)"
              R"("doubles":["0.10000000000000001"],"strings":["s",""],"points":[],"pointMap":{},)"
              R"("cdata":["one","two"]},"VERSION":{"major":0,"minor":1}})");
}

TEST(JsonWriter, TextThatIsEmptyIsAbsentAndATextFormIsAString)
{
    EXPECT_EQ(written(*TestEvery::create()).find("\"string\""), std::string::npos);
    const auto set = TestOptional::create();
    setField(*set, L"notANumber", 1.0F);
    setField(*set, L"hex", std::int32_t(255));
    EXPECT_EQ(written(*set), R"({"TestOptional":{"kind":7,"notANumber":1.0,"hex":"0xff","anything":[]},)"
                             R"("VERSION":{"major":0,"minor":1}})");
}

TEST(JsonWriter, PrettyLayoutIndentsByTabs)
{
    const auto box = JsonBox::create();
    box->_leaves.push_back(JsonLeaf::create());
    const char* const pretty = "{\n\t\"JsonBox\": {\n\t\t\"leaves\": [\n\t\t\t{}\n\t\t],\n\t\t\"thingMap\": {},\n"
                               "\t\t\"channels\": {},\n\t\t\"numbers\": [\n\t\t\t\"1\",\n\t\t\t\"2\"\n\t\t],\n"
                               "\t\t\"kind\": 7\n\t},\n\t\"VERSION\": {\n\t\t\"major\": 0,\n\t\t\"minor\": 1\n\t}\n}";
    DmString text;
    ASSERT_TRUE(DmTreeJsonBuilder::generateStr(box, text).ok());
    EXPECT_EQ(dmUtf8(text), pretty); // the default of the environment
    ASSERT_TRUE(DmTreeJsonBuilder::generateStr(box, text, Layout::Compact).ok());
    EXPECT_EQ(text.view().find_first_of(L" \t\n"), std::wstring_view::npos);
}

TEST(JsonWriter, TheEnvironmentAsksForTheCompactLayout)
{
    const ZrTestEnv compact("ZR_PRETTY_JSON_DMTREE", "false");
    const auto writesCompact = []
    {
        const auto box = JsonBox::create();
        std::string text;
        return DmTreeJsonBuilder::generateUtf8(box.get(), text).ok() && text == written(*box);
    };
    EXPECT_EXIT(std::exit(writesCompact() ? 0 : 1), testing::ExitedWithCode(0), ""); // it is read once a process
}

TEST(JsonWriter, ASetThatWritesNothingVanishesButKeepsItsPlace)
{
    const auto box = JsonBox::create();
    box->_leaf = JsonLeaf::create();            // vanishes
    box->_things.push_back(JsonLeaf::create()); // keep their places
    box->_things.push_back(DmPropertySetPtr());
    box->_things.push_back(JsonBox::create());
    box->_thingMap.emplace(L"b", JsonLeaf::create());
    box->_thingMap.emplace(L"a", DmPropertySetPtr());
    const std::string empty = R"({"thingMap":{},"channels":{},"numbers":["1","2"],"kind":7})";
    EXPECT_EQ(written(*box), R"({"JsonBox":{"things":[{},{},{"JsonBox":)" + empty +
                                 R"(}],"thingMap":{"a":{},"b":{}},"channels":{},"numbers":["1","2"],"kind":7},)"
                                 R"("VERSION":{"major":0,"minor":1}})");
    EXPECT_EQ(written(*JsonLeaf::create()), R"({"VERSION":{"major":0,"minor":1}})");

    // What holds nothing but a set that writes nothing vanishes with it.
    const auto optional = TestOptional::create();
    setField(*optional, L"notANumber", 0.0F);
    const DmPropertySetPtr any = stored(JsonLeaf::create());
    setField(*optional, L"any", any);
    EXPECT_EQ(written(*optional).find("any\""), std::string::npos);
}

TEST(JsonWriter, CdataIsSplitAtLineEnds)
{
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"a", R"(["a"])"},        {L"a\n", R"(["a"])"}, {L"a\nb\n", R"(["a","b"])"},   {L"\na", R"(["","a"])"},
        {L"a\n\n", R"(["a",""])"}, {L"\n", R"([""])"},   {L"a\r\nb", R"(["a\r","b"])"}, {L"\n\n\n", R"(["","",""])"},
    };
    for (const auto& [text, json] : cases)
    {
        const auto box = JsonBox::create();
        box->_notes = text;
        EXPECT_NE(written(*box).find(std::string("\"notes\":") + json + '}'), std::string::npos) << written(*box);
    }
}

TEST(JsonWriter, DoublesAreShortestAndLaidOutAlike)
{
    const std::pair<double, const char*> cases[] = {
        {250, "250.0"},
        {-0.0, "-0.0"},
        {1e20, "100000000000000000000.0"},
        {1e21, "1e21"},
        {-1.5e-7, "-1.5e-7"},
        {0.000001, "0.000001"},
        {9007199254740991.0, "9007199254740991.0"},
        {5e-324, "5e-324"},
        {1.7976931348623157e308, "1.7976931348623157e308"},
        {9.5e-100, "9.5e-100"},
        {541.64839282314, "541.64839282314"}, // for which the quick algorithms need more digits
    };
    for (const auto& [value, json] : cases)
    {
        const auto set = TestEvery::create();
        setField(*set, L"double", value);
        EXPECT_NE(written(*set).find(std::string("\"double\":") + json + ','), std::string::npos)
            << json << ' ' << written(*set);
    }
}

TEST(JsonWriter, FailuresSayWhy)
{
    const auto with = [](const auto& set, auto change)
    {
        change(*set);
        return stored(set);
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const auto selfHolding = JsonBox::create();
    ASSERT_TRUE(selfHolding);
    selfHolding->_any = selfHolding;

    const struct
    {
        const char* text;
        DmPropertySetPtr set;
        const char* posted = ""; ///< the error message beside it
    } cases[] = {
        {"Cannot generate JSON for a null DmTree", nullptr},
        {"Unsupported property type 'N/A'", stored(JsonBroken<false>::create())},
        {"Binary error", stored(JsonBroken<true>::create())},
        {"Json exception", stored(TestOptional::create()),
         "In PropertySet TestOptional. Property \"notANumber\" is no finite number"},
        {"Json exception", with(TestEvery::create(), [&](TestEvery& set) { setField(set, L"double", -infinity); }),
         "In PropertySet TestEvery. Property \"double\" is no finite number"},
        {"Json exception",
         with(TestEvery::create(), [&](TestEvery& set) { addTo(set, L"floats", static_cast<float>(infinity)); }),
         "In PropertySet TestEvery. Property \"floats\" holds a number that is not finite"},
        {"Json exception", with(TestEvery::create(), [&](TestEvery& set) { addTo(set, L"doubles", std::nan("")); }),
         "In PropertySet TestEvery. Property \"doubles\" holds a number that is not finite"},
        {"Json exception", with(JsonBox::create(), [](JsonBox& set) { set._name = L"\xD800"; }),
         "In PropertySet JsonBox. Property \"name\" holds a character that UTF-8 has not"},
        {"Json exception", with(JsonBox::create(), [](JsonBox& set) { set._notes = L"a\n\x110000"; }),
         "In PropertySet JsonBox. Property \"notes\" holds a character that UTF-8 has not"},
        {"Json exception",
         with(JsonBox::create(), [](JsonBox& set) { set._thingMap.emplace(L"\xDFFF", JsonLeaf::create()); }),
         "In PropertySet JsonBox. Property \"thingMap\" holds a character that UTF-8 has not"},
        {"The tree is nested too deeply to be read again", stored(selfHolding)},
    };
    for (const auto& [text, set, posted] : cases)
    {
        const zrTest::CapturingRouter router;
        std::string out = "untouched";
        const DmStatus status = DmTreeJsonBuilder::generateUtf8(set.get(), out);
        EXPECT_EQ(dmUtf8(status.info()), text);
        EXPECT_EQ(status.reason(), -1);
        EXPECT_EQ(out, "untouched");
        EXPECT_EQ(router.messages.empty() ? "" : router.messages[0].text(), posted);
    }
    selfHolding->_any.reset();
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(written(*JsonBroken<false>::create())), "Unsupported property type!");
}
