#include "zrTempDir.h"
#include "zrTest.h"

using DM::CoConfigFileReader;

namespace
{

/// The value, "(none)" where there is none.
std::string value(const CoConfigFileReader& reader, std::string_view section, std::string_view name)
{
    const std::string* const found = reader.find(section, name);
    return found ? *found : "(none)";
}

/// What is thrown where a reader is made, "" if nothing is.
std::string complaint(const std::function<CoConfigFileReader()>& make)
{
    try
    {
        make();
        return "";
    }
    catch (const DM::CoException& error)
    {
        return error.what() + std::string("|") + error.expertData();
    }
}

} // namespace

TEST(ConfigFile, ReadsWhatTheSyntaxAllows)
{
    const struct
    {
        const char *text, *name, *value;
    } cases[] = {
        {"a=1", "a", "1"},
        {"  a\t=  one two \t\r\n", "a", "one two"},
        {"a = 1\na = 2", "a", "2"},
        {"a =", "a", ""},
        {"a = b = c", "a", "b = c"},
        {"a = x#y;z", "a", "x#y;z"},
        {"a = x # y", "a", "x"},
        {"a = ;y", "a", ""},
        {"# a = 1\n ;a = 2\n\n", "a", "(none)"},
        {R"(a = "  x # y  " ; why)", "a", "  x # y  "},
        {R"(a = "\"q\"\\\n\r\t")", "a", "\"q\"\\\n\r\t"},
        {R"(a = C:\temp "here")", "a", R"(C:\temp "here")"},
        {R"("a = b" = c)", "a = b", "c"},
        {R"("" = c)", "", "c"},
        {"\uFEFFa = 1", "a", "1"},
        {"été = déjà vu", "été", "déjà vu"},
        {"a = first\n[other]\na = second", "a", "first"},
        {"[other]\nb = 1\n[]\na = 1", "a", "1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(value(CoConfigFileReader(c.text, "f"), "", c.name), c.value) << c.text;
}

TEST(ConfigFile, SectionsKeepTheirNamesApart)
{
    const CoConfigFileReader reader("[ one ] # a comment\na = 1\n[\"two]\"]\na = 2\n[one]\nb = 3\n[empty]", "f");
    EXPECT_EQ(value(reader, "one", "a"), "1");
    EXPECT_EQ(value(reader, "one", "b"), "3");
    EXPECT_EQ(value(reader, "two]", "a"), "2");
    EXPECT_EQ(value(reader, "three", "a"), "(none)");
    EXPECT_TRUE(reader.hasSection("empty"));
    EXPECT_FALSE(reader.hasSection("three"));
}

TEST(ConfigFile, ABadLineIsReportedWithFileAndLine)
{
    const struct
    {
        std::string text;
        const char* what;
    } cases[] = {
        {"a = 1\nno sense\nc = 2", "f:2: missing '='|no sense"},
        {"\n\n= 1", "f:3: missing name before '='|"},
        {"[section", "f:1: missing ']'|"},
        {"[section] a = 1", "f:1: unexpected text at the end of the line|"},
        {"a = \"x\" y", "f:1: unexpected text at the end of the line|"},
        {"a = \"x\nb = 1", "f:1: missing closing quote|"},
        {"a = \"x\\", "f:1: missing closing quote|"},
        {"a = \"\\q\"", R"(f:1: unknown escape: only \", \\, \n, \r and \t are known|)"},
        {"a = 1\nb = " + std::string(CoConfigFileReader::maxLineLength, 'x'), "f:2: line too long|"},
        {std::string("a = 1\nb\0 = 2", 12), "f: binary data, not a configuration file|"},
    };
    for (const auto& c : cases)
    {
        const std::string what = complaint([&] { return CoConfigFileReader(c.text, "f"); });
        EXPECT_EQ(what.rfind(c.what, 0), 0u) << what;
    }
}

TEST(ConfigFile, AFileThatIsNoneIsRefused)
{
    for (const auto& [path, part] :
         {std::pair{"/no/such/file", "/no/such/file: cannot be read: No such file or directory"},
          {"", ": cannot be read: No such file or directory"},
          {"/", "/: cannot be read: Is a directory"},
          {"/dev/zero", "/dev/zero: too large"},
          {"/proc/self/exe", "binary data"}})
    {
        const std::string file = path;
        const std::string what = complaint([&] { return CoConfigFileReader(file); });
        EXPECT_NE(what.find(part), std::string::npos) << what;
    }
}

TEST(ConfigFile, WhatIsWrittenReadsBack)
{
    const std::string texts[] = {"plain", "",     " blanks ", "a=b",   "[x]",   "#x",   ";x", "\"",   "\\",
                                 "\\n",   "a\nb", "\t\r\n",   "a ] b", "x # y", "x\ry", "é€", "a\"b", "C:\\temp"};
    std::string file = CoConfigFileReader::sectionLine("se[]ction");
    for (const std::string& text : texts)
        file += CoConfigFileReader::entryLine(text, "<" + text) + CoConfigFileReader::entryLine("<" + text, text);

    const ZrTempDir directory;
    const CoConfigFileReader reader(directory.write("config", file));
    for (const std::string& text : texts)
    {
        EXPECT_EQ(value(reader, "se[]ction", text), "<" + text);
        EXPECT_EQ(value(reader, "se[]ction", "<" + text), text);
    }
}

TEST(ReplaceFile, LeavesNothingHalfWrittenWhereASignalEndsTheProcess)
{
    const ZrTempDir directory;
    const std::string path = directory.write("cut.edl", "old");
    DM::CoReplaceFile file;
    ASSERT_TRUE(file.open(path.c_str()) && file.write("new"));
    DM::CoReplaceFile::removeAll(); // what a handler does
    const auto files = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
    EXPECT_EQ(ZrTempDir::read(path), "old");
}

TEST(FileReader, GivesNothingOfWhatItCannotRead)
{
    for (const char* const path : {"/no/such/file", "/"})
    {
        DM::CoFileReader reader(path);
        char byte = 0;
        EXPECT_EQ(reader.read(&byte, 1), 0U);
        EXPECT_NE(reader.error(), 0);
    }
}
