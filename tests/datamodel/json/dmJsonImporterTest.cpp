#include "../property/testSets.h"
#include "jsonSets.h"
#include "zrTestInHouse.h"

namespace
{

/// The members of an untouched JsonBox, with one of them as given.
std::string boxWith(const std::string& member)
{
    const std::pair<std::string, const char*> fresh[] = {
        {"name", ""},
        {"leaf", ""},
        {"things", ""},
        {"leaves", ""},
        {"thingMap", R"("thingMap":{})"},
        {"channels", R"("channels":{"gain":{"JsonLeaf":{"when":1.0}}})"},
        {"numbers", R"("numbers":["1","2"])"},
        {"kind", R"("kind":7)"},
        {"notes", ""},
        {"any", ""}};
    std::string box;
    for (const auto& [name, text] : fresh)
    {
        const std::string said = member.starts_with('"' + name + '"') ? member : text;
        box += (box.empty() || said.empty() ? "" : ",") + said;
    }
    return '{' + box + '}';
}

const std::string emptyBox = boxWith("");

/// `{"JsonBox":{members}}`, imported and written, without the version: "{members}".
std::string boxAfter(const std::string& members)
{
    const std::string text = written(*imported("{\"JsonBox\":" + members + "}"));
    const std::string_view before = "{\"JsonBox\":";
    const std::string_view after = ",\"VERSION\":{\"major\":0,\"minor\":1}}";
    EXPECT_TRUE(text.starts_with(before) && text.ends_with(after)) << text;
    return text.substr(before.size(), text.size() - before.size() - after.size());
}

DmStatus importStatus(std::string_view json)
{
    DmPropertySetPtr set;
    DmStatus status = DmJsonImporter::importSetFromStr(json, set);
    EXPECT_EQ(set == nullptr, status.failed()) << json;
    return status;
}

} // namespace

TEST(JsonImporter, ReadsWhatTheWriterWrites)
{
    const std::pair<const char*, std::string> cases[] = {
        {"{}", emptyBox},
        {R"({"name":"\u00c9t\u00e9 \ud83c\udfac"})", boxWith("\"name\":\"\xC3\x89t\xC3\xA9 \xF0\x9F\x8E\xAC\"")},
        {R"({"name":"a\u0000b"})", boxWith(R"("name":"a\u0000b")")},
        // An empty object: a default one where the slot says of which class, else nothing.
        {R"({"leaf":{}})", emptyBox},
        {R"({"leaves":[{},{"JsonLeaf":{"text":"x"}}]})", boxWith(R"("leaves":[{},{"JsonLeaf":{"text":"x"}}])")},
        {R"({"things":[{},{"JsonLeaf":{}},{"JsonLeaf":{"text":"x"}}]})",
         boxWith(R"("things":[{},{},{"JsonLeaf":{"text":"x"}}])")},
        {R"({"thingMap":{"a":{},"b":{"JsonLeaf":{"when":2}}}})",
         boxWith(R"("thingMap":{"a":{},"b":{"JsonLeaf":{"when":2.0}}})")},
        // Entries replace what default attributes put there; the others stay.
        {R"({"channels":{"gain":{"JsonLeaf":{"text":"new"}},"abc":{}}})",
         boxWith(R"("channels":{"abc":{},"gain":{"JsonLeaf":{"text":"new"}}})")},
        // Lists replace what a fresh object holds; a single value is appended.
        {R"({"numbers":["5","-6"]})", boxWith(R"("numbers":["5","-6"])")},
        {R"({"numbers":[7,true,null,"x","8 and more"]})", boxWith(R"("numbers":["7","0","0","0","8"])")},
        {R"({"numbers":[]})", boxWith(R"("numbers":[])")},
        {R"({"numbers":3})", boxWith(R"("numbers":["1","2","3"])")},
        // Lines become one text.
        {R"({"notes":["","a",5,"",""]})", boxWith(R"("notes":["","a","5","",""])")},
        {R"({"notes":"a\nb\n"})", boxWith(R"("notes":["a","b"])")},
        {R"({"notes":[""]})", boxWith(R"("notes":[""])")},
        // Duplicates: the last one counts, whatever its kind, and what came before leaves no trace.
        {R"({"name":"a","name":"b"})", boxWith(R"("name":"b")")},
        {R"({"numbers":["5"],"name":"n","numbers":["6"]})", boxWith(R"("numbers":["6"])").insert(1, R"("name":"n",)")},
        {R"({"numbers":["5"],"numbers":6})", boxWith(R"("numbers":["1","2","6"])")},
        {R"({"notes":["x"],"notes":"y"})", boxWith(R"("notes":["y"])")},
        {R"({"leaf":{"JsonLeaf":{"text":"x"}},"leaf":{}})", emptyBox},
        {R"({"leaf":{"JsonLeaf":{"text":"x"},"JsonLeaf":{}}})", emptyBox},
        {R"({"channels":{"x":{}},"channels":{"y":{}}})",
         boxWith(R"("channels":{"gain":{"JsonLeaf":{"when":1.0}},"y":{}})")},
        {R"({"channels":{"x":{"JsonLeaf":{"text":"1"}},"x":{}}})",
         boxWith(R"("channels":{"gain":{"JsonLeaf":{"when":1.0}},"x":{}})")},
        {R"({"leaf":{"NoClass":{}},"leaf":{}})", emptyBox},
        {R"({"leaf":{"JsonLeaf":5,"JsonLeaf":{"when":2}}})", boxWith(R"("leaf":{"JsonLeaf":{"when":2.0}})")},
        {R"({"leaf":[1],"leaf":{}})", emptyBox},
        {R"({"channels":{"x":{"NoClass":{}},"gain":{},"x":{}}})", boxWith(R"("channels":{"gain":{},"x":{}})")},
        // The reserved name is no property; in a map it is a key unless its value holds the two numbers.
        {R"({"VERSION":{"major":9},"name":"n"})", boxWith(R"("name":"n")")},
        {R"({"VERSION":[1]})", emptyBox},
        {R"({"leaf":{"VERSION":{"major":0,"minor":0},"JsonLeaf":{"when":2}}})",
         boxWith(R"("leaf":{"JsonLeaf":{"when":2.0}})")},
        {R"({"thingMap":{"VERSION":{"JsonLeaf":{"when":2}}}})",
         boxWith(R"("thingMap":{"VERSION":{"JsonLeaf":{"when":2.0}}})")},
        {R"({"thingMap":{"VERSION":{"major":0,"minor":1},"a":{"JsonLeaf":{}}}})", boxWith(R"("thingMap":{"a":{}})")},
        {R"({"thingMap":{"a":{"JsonLeaf":{"when":3},"VERSION":{"major":9,"minor":9}}}})",
         boxWith(R"("thingMap":{"a":{"JsonLeaf":{"when":3.0}}})")},
        {R"({"any":{"JsonLeaf":{"when":1}}})", boxWith(R"("any":{"JsonLeaf":{"when":1.0}})")},
    };
    for (const auto& [members, expected] : cases)
        EXPECT_EQ(boxAfter(members), expected) << members;
}

/// As many digits as there may be on either side of the point, and wherever the pieces end in which a file is read.
TEST(JsonImporter, NumbersAreTheNearestOnesWhateverTheirLength)
{
    const std::string digits = "90718253645546372819";
    const auto check = [](const std::string& number, std::size_t blanks)
    {
        const std::string value = std::string(blanks, ' ') + number;
        const DmPropertySetPtr set = imported("{\"JsonLeaf\":{\"when\":" + value + ",\"level\":" + number + "}}");
        ASSERT_TRUE(set) << number;
        EXPECT_EQ(static_cast<const JsonLeaf&>(*set)._when, std::strtod(number.c_str(), nullptr)) << number;
        EXPECT_EQ(static_cast<const JsonLeaf&>(*set)._level, std::strtof(number.c_str(), nullptr)) << number;
    };
    for (std::size_t whole = 1; whole <= digits.size(); ++whole)
        for (std::size_t decimals = 0; decimals <= digits.size(); ++decimals)
            for (const char* const sign : {"", "-"})
                check(sign + digits.substr(0, whole) + (decimals > 0 ? "." : "") + digits.substr(0, decimals), 0);
    constexpr std::size_t piece = 65536;
    for (std::size_t ahead = 0; ahead < 64; ++ahead)
        check("-90718.25364554", piece - ahead);
}

TEST(JsonImporter, VersionsUpToTheCurrentAreRead)
{
    EXPECT_TRUE(importStatus(R"({"VERSION":{"major":0,"minor":0},"JsonBox":{}})").ok());
    EXPECT_TRUE(importStatus(R"({"JsonBox":{},"VERSION":{"minor":1,"other":[{}],"major":0}})").ok());
    EXPECT_TRUE(importStatus(R"({"JsonBox":{}})").ok());
    EXPECT_TRUE(importStatus(R"({"JsonBox":{},"VERSION":5,"VERSION":{"major":-1,"minor":7}})").ok());
}

/// In the order in which a walk from the top meets them: single values, objects, arrays, each by name.
TEST(JsonImporter, EveryFailureSaysWhyAndHasItsCode)
{
    const std::string nested(1022, '[');
    std::string brackets;
    brackets.resize(10'000'000, '[');
    const std::string tooDeep = R"({"JsonBox":{"x":)" + nested + '[' + std::string(1023, ']') + "}}";
    const std::string deep = R"({"JsonBox":{"x":)" + nested + std::string(1022, ']') + "}}";
    struct Case
    {
        std::string json;
        int code;
        const char* text;
    };
    const Case documents[] = {
        // What the parser says.
        {"", -1, "JSON parse error : The document is empty."},
        {"{\"JsonBox\":{}", -1, "JSON parse error : Missing a comma or '}' after an object member."},
        {"{} {}", -1, "JSON parse error : The document root must not be followed by other values."},
        // A zero byte ends nothing.
        {std::string("{\"JsonBox\":{}}\0junk", 19), -1,
         "JSON parse error : The document root must not be followed by other values."},
        {std::string("{\"JsonBox\":{}}\0", 15), -1,
         "JSON parse error : The document root must not be followed by other values."},
        {std::string("{\"JsonBox\":{\"name\":\"a\0\"}}", 25), -1,
         "JSON parse error : Missing a closing quotation mark in string."},
        {"\xEF\xBB\xBF{}", -1, "JSON parse error : Invalid value."},
        {"{\"JsonBox\":{\"name\":\"\xFF\"}}", -1, "JSON parse error : Invalid encoding in string."},
        {"{\"\xC3(\":1}", -1, "JSON parse error : Invalid encoding in string."},
        {R"({"\udc00":1})", -1, "JSON parse error : Invalid encoding in string."},
        {R"({"JsonLeaf":{"when":1e999}})", -1, "JSON parse error : Number too big to be stored in double."},
        {tooDeep, -1, "JSON parse error : The document is nested too deeply."},
        {brackets, -1, "JSON parse error : The document is nested too deeply."},
        // The document as a whole.
        {"[{}]", -1, "The document is not an object"},
        {"5", -1, "The document is not an object"},
        {"{}", -1, "The document holds no property set"},
        {R"({"VERSION":{"major":0,"minor":1}})", -1, "The document holds no property set"},
        {R"({"NoClass":{},"VERSION":{"major":0,"minor":2}})", -1, "Unhandled version 0.2 (latest supported 0.1)"},
        {R"({"JsonBox":{},"VERSION":3})", -1, "JSON parse error"},
        {R"({"JsonBox":{},"VERSION":{"major":0}})", -1, "JSON parse error"},
        {R"({"JsonBox":{},"VERSION":{"major":0,"minor":1.0}})", -1, "JSON parse error"},
        {R"({"JsonBox":{},"JsonLeaf":{}})", -1, "Found the classes 'JsonBox' and 'JsonLeaf' where one is expected"},
        // Classes.
        {R"({"NoClass":{}})", 1, "Could not instantiate node 'NoClass': Property not found"},
        {R"({"JsonThing":{}})", 1, "Could not instantiate node 'JsonThing': Property not found"},
        {R"({"JsonBox":5})", 5, "Could not instantiate node 'JsonBox': Bad Property Type"},
        {R"({"JsonBox":[]})", 5, "Could not instantiate node 'JsonBox': Bad Property Type"},
        {R"({"NoClass":null})", 1, "Could not instantiate node 'NoClass': Property not found"},
        {R"({"TestOptional":{"hex":"12"}})", 14, "Could not set property 'hex to value 12': Bad value"},
        {R"({"JsonLeaf":{"when":1.8e308}})", 14, "Could not set property 'when to value 1.8e308': Bad value"},
        {deep, 1, "Could not get property type 'x': Property not found"},
        {R"({"JsonBox":{"leaf":{"A":{}},"name":"x)", -1,
         "JSON parse error : Missing a closing quotation mark in string."},
        {R"({"A":{},"B":{}})", 1, "Could not instantiate node 'A': Property not found"},
    };
    const Case members[] = {
        {R"("name":"x",)", -1, "JSON parse error : Missing a name for object member."},
        {R"(/**/)", -1, "JSON parse error : Missing a name for object member."},
        {R"("name":"\u12G4")", -1, "JSON parse error : Incorrect hex digit after \\u escape in string."},
        {R"("name":"\ud800")", -1, "JSON parse error : The surrogate pair in string is invalid."},
        {R"("name":"a\udc00b")", -1, "JSON parse error : Invalid encoding in string."},
        {R"("leaf":{"VERSION":{"major":1,"minor":0}})", -1, "Unhandled version 1.0 (latest supported 0.1)"},
        {R"("thingMap":{"VERSION":{"major":1,"minor":0}})", -1, "Unhandled version 1.0 (latest supported 0.1)"},
        {R"("leaf":{"JsonLeaf":{},"JsonBox":5,"JsonLeaf":{}})", -1,
         "Found the classes 'JsonLeaf' and 'JsonBox' where one is expected"},
        // Single values.
        {R"("nope":1)", 1, "Could not set property 'nope to value 1': Property not found"},
        // Of a name that stands twice, the last member's kind decides.
        {R"("nope":1,"nope":[])", 1, "Could not get property type 'nope': Property not found"},
        {R"("nope":{},"nope":2)", 1, "Could not set property 'nope to value 2': Property not found"},
        {R"("%s%n":1.50)", 1, "Could not set property '%s%n to value 1.5': Property not found"},
        {R"("kind":8)", 14, "Could not set property 'kind to value 8': Bad value"},
        {R"("leaf":null)", 8, "Could not set property 'leaf to value null': Type not implemented"},
        {R"("things":true)", 8, "Could not set property 'things to value true': Type not implemented"},
        {R"("channels":"x")", 8, "Could not set property 'channels to value x': Type not implemented"},
        // Objects.
        {R"("nope":{})", 1, "Could not get property type 'nope': Property not found"},
        {R"("name":{})", 5, "Could not set property 'name': Bad Property Type"},
        {R"("things":{})", 5, "Could not set property 'things': Bad Property Type"},
        {R"("leaf":{"JsonBox":{}})", 5, "Could not set property 'leaf': Bad Property Type"},
        {R"("channels":{"":{}})", 3, "Could not get value from property map 'channels': Empty Id"},
        {R"("channels":{"":5})", 3, "Could not get value from property map 'channels': Empty Id"},
        {R"("channels":{"a\u0000":{}})", 14, "Could not get value from property map 'channels': Bad value"},
        {R"("channels":{"a":1})", 14, "Could not set property 'channels': Bad value"},
        {R"("channels":{"a":[]})", 14, "Could not set property 'channels': Bad value"},
        {R"("channels":{"a":{"JsonLeaf":1}})", 14, "Could not set property 'channels': Bad value"},
        {R"("channels":{"a":{"JsonLeaf":[]}})", 14, "Could not set property 'channels': Bad value"},
        {R"("channels":{"a":{"JsonLeaf":{},"JsonBox":{}}})", -1,
         "Found the classes 'JsonLeaf' and 'JsonBox' where one is expected"},
        {R"("channels":{"a":{"JsonBox":{}}})", 5, "Could not set property 'channels': Bad Property Type"},
        {R"("thingMap":{"VERSION":{"major":0}})", 14, "Could not set property 'thingMap': Bad value"},
        // Arrays.
        {R"("nope":[])", 1, "Could not get property type 'nope': Property not found"},
        {R"("name":[])", 5, "Could not set property 'name': Bad Property Type"},
        {R"("leaf":[{}])", 5, "Could not set property 'leaf': Bad Property Type"},
        {R"("numbers":[[]])", 5, "Could not set property 'numbers': Bad Property Type"},
        {R"("numbers":[{}])", 5, "Could not set property 'numbers': Bad Property Type"},
        {R"("notes":["a",["b"]])", 5, "Could not set property 'notes': Bad Property Type"},
        {R"("things":[null])", 5, "Could not set property 'things': Bad Property Type"},
        {R"("things":[[]])", 5, "Could not set property 'things': Bad Property Type"},
        {R"("leaves":[{"JsonLeaf":{}},{"JsonBox":{}}])", 5, "Could not set property 'leaves': Bad Property Type"},
        // Which of several is reported.
        {R"("b":[],"a":{},"d":1,"c":2)", 1, "Could not set property 'c to value 2': Property not found"},
        {R"("b":[],"c":{},"a":[])", 1, "Could not get property type 'c': Property not found"},
        {R"("things":[5],"leaf":{"A":{}},"channels":{"k":{"B":{}}})", 1,
         "Could not instantiate node 'B': Property not found"},
        {R"("things":[{"A":{}},5,{"B":{}}])", 1, "Could not instantiate node 'A': Property not found"},
        {R"("channels":{"b":{"A":{}},"a":5})", 1, "Could not instantiate node 'A': Property not found"},
        {R"("channels":{"b":{"A":{}},"a":5,"b":{}})", 14, "Could not set property 'channels': Bad value"},
        {R"("kind":8,"leaf":{"A":{}},"kind":7)", 1, "Could not instantiate node 'A': Property not found"},
    };
    const auto check = [](const std::string& json, const Case& c)
    {
        const DmStatus status = importStatus(json);
        EXPECT_EQ(dmUtf8(status.info()), c.text) << json.substr(0, 100);
        EXPECT_EQ(status.reason(), c.code) << json.substr(0, 100);
    };
    for (const Case& c : documents)
        check(c.json, c);
    for (const Case& c : members)
        check("{\"JsonBox\":{" + c.json + "}}", c);
    // A long name is cut between two characters.
    std::string name = "x";
    while (name.size() < 1100)
        name += "\xC3\xA9";
    EXPECT_TRUE(dmUtf8(importStatus("{\"JsonLeaf\":{\"" + name + "\":1}}").info())
                    .starts_with("Could not set property '" + name.substr(0, 401)));
}

/// The value of one property of a TestEvery, set by a document and set from the text that the value stands for.
TEST(JsonImporter, ValuesAreConvertedThroughTheirText)
{
    const char* const names[] = {"int",  "uint",   "enum",    "short",  "ushort",  "int64",  "uint64",
                                 "char", "bool",   "uchar",   "float",  "double",  "string", "cdata",
                                 "ints", "shorts", "uint64s", "floats", "doubles", "strings"};
    std::vector<std::pair<std::string, std::string>> values = {{"-0", "0"},
                                                               {"-9223372036854775809", "-9223372036854776000.0"},
                                                               {"18446744073709551616", "18446744073709552000.0"},
                                                               {"5.70", "5.7"},
                                                               {"1e3", "1000.0"},
                                                               {"1E-7", "1e-7"},
                                                               {"1e-999", "0.0"}};
    // 7.038531e-26: its double lies in the middle between two floats.
    for (const char* const same :
         {"0", "-0.0", "7", "-7", "65", "2147483648", "-2147483649", "9223372036854775808", "1e22", "1e39", "16777217",
          "16777217.0", "7.038531e-26", "0.1", "true", "false", "null"})
        values.emplace_back(same, same);
    for (const char* const text :
         {"", "true", " true", "1", " 12abc", "A", "  Bc", "\xC3\xA9t\xC3\xA9", "\xE4\xB8\xAD\xE4\xB8\xAD", "nan"})
        values.emplace_back('"' + std::string(text) + '"', text);
    const auto wide = [](const std::string& text)
    {
        DmString result;
        EXPECT_TRUE(dmFromUtf8(text, result));
        return result;
    };
    for (const char* const name : names)
        for (const auto& [json, text] : values)
        {
            const DmPropertySetPtr set = imported("{\"TestEvery\":{\"" + std::string(name) + "\":" + json + "}}");
            const auto expected = TestEvery::create();
            EXPECT_EQ(expected->createAttributes(), DM_NO_ERROR);
            EXPECT_EQ(expected->setPropertyValueFromStr(wide(name), wide(text)), DM_NO_ERROR);
            EXPECT_EQ(written(*set), written(*expected)) << name << ' ' << json;
        }
}

TEST(JsonImporter, ACharTakesOneCharacterAsItIs)
{
    for (int code = 0; code < 256; ++code)
    {
        const auto set = TestEvery::create();
        const char character = static_cast<char>(code);
        ASSERT_EQ(set->setPropertyValue(L"char", DM_CHAR, &character), DM_NO_ERROR);
        const DmPropertySetPtr back = imported(written(*set));
        char read = 'x';
        ASSERT_EQ(back->getPropertyValue(L"char", DM_CHAR, &read), DM_NO_ERROR);
        EXPECT_EQ(read, character) << code;
    }
}

TEST(JsonImporter, SetsTheDirtyFlagAndMakesDefaultAttributes)
{
    EXPECT_FALSE(imported(R"({"JsonLeaf":{}})")->isDirty());
    EXPECT_TRUE(imported(R"({"JsonLeaf":{"when":0}})")->isDirty());
    DmString text;
    const DmPropertySetPtr every = imported(R"({"TestEvery":{}})");
    ASSERT_EQ(every->getPropertyValue(L"string", DM_STRING, &text), DM_NO_ERROR);
    EXPECT_EQ(text, L"attributes");
    EXPECT_FALSE(DmPropertyFactory::getInstance().setCreateDefaultAttributes(false)); // that is the thread's own
    EXPECT_TRUE(JsonBox::create()->_channels.empty());
}

TEST(JsonImporter, AFaultStopsAnInHouseProcess)
{
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(importStatus(R"({"NoClass":{}})")), "Could not create property set");
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(importStatus(R"({"JsonBox":{"leaf":5}})")), "Type not implemented!");
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(importStatus(R"({"JsonBox":{"channels":{"a":[]}}})")), "arrayValues.empty");
}
