#include "zrTest.h"
#include "zrTestEnv.h"

using namespace DM;

namespace
{

ZR_ENV_VAR(int, declaredHere, "ZR_TEST_DECLARED", 41);
ZR_ENV_FLAG(flagHere, "ZR_TEST_FLAG");

EnvVarRegistryImp& registry()
{
    return EnvVarRegistryImp::getInstance();
}

std::string listing(void (EnvVarRegistryImp::*write)(std::ostream&) const)
{
    std::ostringstream out;
    (registry().*write)(out);
    return out.str();
}

/// What stands in `text` from the first occurrence of `start` on.
std::string from(const std::string& text, const std::string& start)
{
    const std::size_t at = text.find(start);
    return at == text.npos ? std::string() : text.substr(at);
}

void count(void* calls)
{
    ++*static_cast<int*>(calls);
}

} // namespace

TEST(EnvVar, ConvertsTheTextOfTheEnvironment)
{
    // clang-format off
    static constexpr struct
    {
        const char* text;
        bool asBool;
        int asInt;
    } cases[] = {
        {nullptr, true, 7}, {"", true, 0}, {"false", false, 0}, {"FALSE", false, 0}, {"False", true, 0},
        {"0", false, 0}, {"00", true, 0}, {"-12 frames", true, -12}, {"99999999999999999999", true, 2147483647}
    };
    // clang-format on
    for (const auto& c : cases)
    {
        const ZrTestEnv env("ZR_TEST_CONVERSION", c.text);
        const std::string text = c.text ? c.text : "default";
        EXPECT_EQ(EnvVar<bool>("ZR_TEST_CONVERSION", true).getValue(), c.asBool) << text;
        EXPECT_EQ(EnvVar<int>("ZR_TEST_CONVERSION", 7).getValue(), c.asInt) << text;
        EXPECT_EQ(EnvVar<std::string>("ZR_TEST_CONVERSION", "default").getValue(), text);
        EXPECT_EQ(EnvVar<bool>("ZR_TEST_CONVERSION", false, {.byPresence = true}).getValue(), c.text != nullptr);
    }
}

TEST(EnvVar, ReadsTheEnvironmentOnceUntilRefreshed)
{
    EnvVar<std::string> variable("ZR_TEST_ONCE", "default");
    EXPECT_EQ(variable.getValue(), "default");
    for (const char* const value : {"second", static_cast<const char*>(nullptr)})
    {
        const std::string before = variable.getValue();
        const ZrTestEnv environment("ZR_TEST_ONCE", value);
        EXPECT_EQ(variable.getValue(), before);
        variable.refresh();
        EXPECT_EQ(variable.getValue(), value ? value : "default");
    }
}

TEST(EnvVar, TellsTheOwnerOfEveryRegisteredChange)
{
    int calls = 0;
    EnvVar<std::string> variable("ZR_TEST_CHANGE", "", {.changed = count, .data = &calls});
    variable.setValue("not registered");
    EXPECT_EQ(calls, 0);
    RegEnvVar<std::string> entry(variable, "file");
    EnvVar<std::string> sameName("ZR_TEST_CHANGE", "");
    sameName.setValue("by name");
    EXPECT_EQ(variable.getValue(), "by name");
    EXPECT_EQ(calls, 1);
    entry.dynSetValue("by entry");
    EXPECT_EQ(variable.getValue(), "by entry");
    EXPECT_EQ(calls, 2);
    variable.setValueOnly("quietly");
    EXPECT_EQ(entry.valueText(), "quietly");
    EXPECT_EQ(calls, 2);
}

TEST(EnvVar, KeepsAReadOnlyValue)
{
    int calls = 0;
    EnvVar<int> variable("ZR_TEST_READ_ONLY", 5, {.changed = count, .data = &calls, .readOnly = true});
    RegEnvVar<int> entry(variable, "file");
    entry.dynSetValue(6);
    variable.setValue(7);
    variable.setValueOnly(8);
    EXPECT_TRUE(entry.isReadOnly());
    EXPECT_EQ(variable.getValue(), 5);
    EXPECT_EQ(calls, 0);
}

TEST(EnvVar, StopsOnAValueOfAnotherType)
{
    EnvVar<int> number("ZR_TEST_TYPES", 5);
    RegEnvVar<int> entry(number, "file");
    EnvVar<bool> flag("ZR_TEST_TYPES", false);
    EXPECT_DEATH(flag.setValue(true), "osal/src/envVar.inline:[0-9]+: .*`ev->getType\\(\\) == getType\\(\\)' failed");
    EXPECT_DEATH(entry.dynSetValue(true), "common/src/base/osal/src/envVar.inline:[0-9]+: .*`0' failed");
    EXPECT_DEATH(entry.dynSetValue(1.5f), "`0' failed");
    EXPECT_DEATH(entry.dynSetValue("text"), "`0' failed");
}

TEST(EnvVarRegistry, ListsEntriesInOrderAndForgetsThoseThatAreGone)
{
    EnvVar<bool> first("ZR_TEST_LIST_1", true);
    EnvVar<int> second("ZR_TEST_LIST_2", -3);
    EnvVar<std::string> third("ZR_TEST_LIST_3", "<a href='x'> \"&\"");
    const int before = registry().getNumElements();
    {
        RegEnvVar<bool> entry1(first, "one.cpp");
        RegEnvVar<int> entry2(second, "two.cpp");
        RegEnvVar<std::string> entry3(third, "three.cpp");
        EXPECT_EQ(registry().getNumElements(), before + 3);
        EXPECT_EQ(registry().getEnvVar(before + 1), &entry2);
        EXPECT_TRUE(registry().remove(&entry2));
        EXPECT_FALSE(registry().remove(&entry2));
        EXPECT_EQ(from(listing(&EnvVarRegistryImp::dump), "\nfile : one.cpp"),
                  "\nfile : one.cpp\nname : ZR_TEST_LIST_1\nvalue : true\n"
                  "\nfile : three.cpp\nname : ZR_TEST_LIST_3\nvalue : <a href='x'> \"&\"\n");
        registry().add(&entry2);
        EXPECT_EQ(from(listing(&EnvVarRegistryImp::dumpHtml), "<tr><td align=left>ZR_TEST_LIST_1"),
                  "<tr><td align=left>ZR_TEST_LIST_1</td><td align=center>true</td><td align=center>one.cpp</td></tr>\n"
                  "<tr><td align=left>ZR_TEST_LIST_3</td><td align=center>&lt;a href=&#39;x&#39;&gt; &quot;&amp;&quot;"
                  "</td><td align=center>three.cpp</td></tr>\n"
                  "<tr><td align=left>ZR_TEST_LIST_2</td><td align=center>-3</td><td align=center>two.cpp</td></tr>\n"
                  "</table>\n</body>\n</html>\n");
        registry().add(&entry2);
    }
    EXPECT_EQ(registry().getNumElements(), before);
    EXPECT_DEATH(registry().getEnvVar(before), "`index < static_cast<int>\\(_vars.size\\(\\)\\) && index >= 0' failed");
    EXPECT_DEATH(registry().getEnvVar(-1), "index >= 0' failed");
}

TEST(EnvVarRegistry, WritesTheFieldsOfAnEntryIntoItsBuffer)
{
    const std::string longText(300, 'x');
    EnvVar<std::string> variable("ZR_TEST_FIELDS", "default");
    RegEnvVar<std::string> entry(variable, "fields.cpp");
    entry.dynSetValue(longText);
    const int index = registry().getNumElements() - 1;

    const std::string expected[] = {"ZR_TEST_FIELDS", std::string(127, 'x'), "default", "fields.cpp"};
    char buffer[EnvVarRegistryImp::fieldSize];
    for (int field = 0; field < 4; ++field)
    {
        std::memset(buffer, '#', sizeof(buffer));
        registry().getFieldValueAsStr(buffer, field, index);
        EXPECT_EQ(buffer, expected[field]);
    }
    EXPECT_EQ(entry.valueText(), longText);

    buffer[0] = '#';
    registry().getFieldValueAsStr(buffer, EnvVarRegistryImp::Name, index + 1);
    registry().getFieldValueAsStr(buffer, EnvVarRegistryImp::Name, -1);
    entry.getValueAsStr(buffer, 0);
    EXPECT_EQ(buffer[0], '#');
    registry().getFieldValueAsStr(nullptr, EnvVarRegistryImp::Name, index);
    EXPECT_DEATH(registry().getFieldValueAsStr(buffer, 4, index),
                 "common/src/base/osal/src/envVar:[0-9]+: .*`0' failed");
}

TEST(EnvVarRegistry, SearchesByNameTypeAndCase)
{
    EnvVar<int> number("ZR_TEST_SEARCH", 0);
    EnvVar<bool> lower("zr_test_search", false);
    const RegEnvVar<int> entry1(number, "file");
    const RegEnvVar<bool> entry2(lower, "file");
    static constexpr struct
    {
        int type;
        bool ignoreCase;
        std::size_t found;
    } cases[] = {{0, false, 1}, {0, true, 2}, {EnvVarOther, false, 1}, {EnvVarBool, false, 0}, {EnvVarBool, true, 1}};
    for (const auto& c : cases)
        EXPECT_EQ(registry().search("ZR_TEST_SEARCH", c.type, c.ignoreCase).size(), c.found) << c.type << c.ignoreCase;
    EXPECT_TRUE(registry().search("ZR_TEST_SEARC", 0, true).empty());
}

TEST(EnvVarRegistry, ListsDeclaredVariablesOnceTheyAreUsed)
{
    const ZrTestEnv flag("ZR_TEST_FLAG", "false");
    EXPECT_TRUE(registry().search("ZR_TEST_DECLARED").empty());
    {
        std::array<std::jthread, 4> threads;
        for (std::jthread& thread : threads)
            thread = std::jthread([] { EXPECT_EQ(declaredHere().getValue(), 41); });
    }
    ASSERT_EQ(registry().search("ZR_TEST_DECLARED").size(), 1u);
    EXPECT_EQ(registry().search("ZR_TEST_DECLARED")[0]->getFile(), ZR_SOURCE_FILE);

    EXPECT_TRUE(registry().search("ZR_TEST_FLAG").empty());
    registry().useDeclared();
    registry().useDeclared();
    ASSERT_EQ(registry().search("ZR_TEST_FLAG").size(), 1u);
    EXPECT_EQ(registry().search("ZR_TEST_FLAG")[0]->valueText(), "true");
    EXPECT_TRUE(flagHere().getValue());
    for (const char* const name :
         {"ZR_ASSERT_IGNORE_ALL", "ZR_DISABLE_ASSERT_STACKS", "ZR_ASSERT_STACK_SIZE",
          "ZR_PROGRAM_TOLVANE_CHECK_DISABLED", "ZR_VERBOSE_EXCEPTIONS", "ZR_DEBUG_WEAK_SUBJECT_OBSERVER"})
        EXPECT_EQ(registry().search(name).size(), 1u) << name;
}
