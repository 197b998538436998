/// What the importer says of values that it could not keep as they stood.
#include "../property/testSets.h"
#include "jsonSets.h"

namespace
{

/// The changes of a document, each "line:column path: what", a line each.
std::string changesOf(const std::string& json)
{
    DmPropertySetPtr set;
    DmJsonChanges changes;
    const DmStatus status = DmJsonImporter::importSetFromStr(json, set, nullptr, &changes);
    EXPECT_TRUE(status.ok()) << dmUtf8(status.info()) << '\n' << json;
    std::string text;
    for (const DmJsonChange& change : changes.list)
        text +=
            std::to_string(change.place.line) + ':' + std::to_string(change.place.column) + ' ' + change.text() + '\n';
    return text;
}

/// Of one property of a TestEvery: "was became what", or nothing.
std::string changeOf(const std::string& name, const std::string& value)
{
    const std::string text = changesOf("{\"TestEvery\":{\"" + name + "\":" + value + "}}");
    const std::string before = "1:" + std::to_string(18 + name.size()) + ' ' + name + ": ";
    if (text.empty())
        return "";
    EXPECT_EQ(text.find(before), 0U) << text;
    return text.substr(before.size(), text.size() - before.size() - 1);
}

} // namespace

TEST(JsonChanges, TellWhatBecameOfAValue)
{
    const struct
    {
        const char* name;
        const char* value;
        const char* change; ///< "" for none
    } cases[] = {
        {"int", "25", ""},
        {"int", "25.0", ""},
        {"int", "2.5e1", ""},
        {"int", "-0", ""},
        {"int", "-2147483648", ""},
        {"int", "1.5", "1.5 became 1"},
        {"int", "3000000000", "3000000000 became 2147483647"},
        {"int", "1e22", "1e22 became 1"},
        {"int", "\"7\"", "\"7\" became 7"},
        {"int", "true", "true became 0"},
        {"int", "null", "null became 0"},
        {"enum", "1.5", "1.5 became 1"},
        {"uint", "-1", "-1 became 4294967295"},
        {"uint", "-0", ""},
        {"short", "40000", "40000 became 32767"},
        {"int64", "1e18", ""},
        {"int64", "-9223372036854775809", "-9223372036854775809 became -9223372036854775808"},
        {"uint64", "18446744073709551615", ""},
        {"uint64", "18446744073709551616", "18446744073709551616 became 18446744073709551615"},
        {"float", "0.1", ""},
        {"float", "1e39", "1e39 became 3.402823466e+38"},
        {"float", "1e-50", "1e-50 became 0"},
        {"float", "0e0", ""},
        {"double", "9007199254740993", ""},
        {"double", "12345678901234567890123", ""},
        {"double", "1e-999", "1e-999 became 0"},
        {"double", "\"x\"", "\"x\" became 0"},
        {"double", "\"1.5\"", "\"1.5\" became 1.5"},
        {"bool", "1", "1 became false"},
        {"bool", "\"true\"", "\"true\" became true"},
        {"string", "null", "null became \"null\""},
        {"string", "1.50", "1.50 became \"1.5\""},
        {"char", "\"A\"", ""},
        {"char", "\" \"", ""},
        {"char", "\"\\u00e9\"", ""},
        {"char", "\"AB\"", "\"AB\" became \"A\""},
        {"char", "\"\\u4e2d\"", "\"\\u4e2d\" became \"_\""},
        {"uchar", "\"7\"", ""},
        {"uchar", "\"65\"", "\"65\" became \"54\""},
        {"cdata", "\"a\"", "\"a\" became \"a\""},
        {"ints", "5", "5 became \"5\""},
    };
    for (const auto& [name, value, change] : cases)
        EXPECT_EQ(changeOf(name, value), change) << name << ' ' << value;
}

TEST(JsonChanges, TellOfElementsWhereTheyStand)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("ints":["7","-0"])", ""},
        {R"("ints":["7",8])", "1:27 ints[1]: 8 became \"8\"\n"},
        {R"("ints":["8 and more"])", "1:23 ints[0]: \"8 and more\" became \"8\"\n"},
        {R"("shorts":["99999"])", "1:25 shorts[0]: \"99999\" became \"32767\"\n"},
        {R"("floats":["0.100000001","1e+20","1e99"])", "1:47 floats[2]: \"1e99\" became \"3.402823466e+38\"\n"},
        {R"("doubles":["1.",".5"," 1"])",
         "1:26 doubles[0]: \"1.\" became \"1\"\n1:31 doubles[1]: \".5\" became \"0.5\"\n"
         "1:36 doubles[2]: \" 1\" became \"1\"\n"},
        {R"("strings":["a",null])", "1:30 strings[1]: null became \"null\"\n"},
        {R"("cdata":["a",5])", "1:28 cdata[1]: 5 became \"5\"\n"},
        {R"("points":[{"TestPoint":{"x":"y"}},{}])", "1:43 points[0]/x: \"y\" became 0\n"},
        {R"("pointMap":{"k":{"TestPoint":{"x":null}}})", "1:49 pointMap[\"k\"]/x: null became 0\n"},
    };
    for (const auto& [member, changes] : cases)
        EXPECT_EQ(changesOf("{\"TestEvery\":{" + std::string(member) + "}}"), changes) << member;
}

TEST(JsonChanges, TellWhatIsLost)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{\"JsonBox\":\n{\"name\":\"a\",\n\"name\":\"b\"}}", "2:9 name: \"a\" is lost: the name stands again\n"},
        {R"({"JsonBox":{"numbers":["1"],"numbers":["2"]}})", "1:23 numbers: [...] is lost: the name stands again\n"},
        {R"({"JsonBox":{"thingMap":{"a":{},"a":{}}}})", "1:29 thingMap/a: {} is lost: the name stands again\n"},
        {R"({"JsonBox":{"VERSION":{"major":9}}})", "1:23 VERSION: {...} is lost: this is no property\n"},
        {R"({"JsonBox":{},"VERSION":{"major":0,"minor":1,"patch":2}})",
         "1:54 VERSION/patch: 2 is lost: a version has two numbers\n"},
        {R"({"JsonBox":{},"VERSION":{"minor":1,"major":0}})", ""},
    };
    for (const auto& [json, changes] : cases)
        EXPECT_EQ(changesOf(json), changes) << json;
}

TEST(JsonChanges, TellOfCodesAndNamesThatMeanNothing)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("fcm":"25 fps")", ""}, {R"("fcm":"???")", ""},
        {R"("fcm":"")", ""},       {R"("fcm":"27 fps")", "1:29 fcm: \"27 fps\" means nothing here\n"},
        {R"("origin":77)", ""}, // the application's own codes
    };
    for (const auto& [member, changes] : cases)
        EXPECT_EQ(changesOf("{\"DmCompositionNode\":{" + std::string(member) + "}}"), changes) << member;
    EXPECT_EQ(changesOf(R"({"DmLayerNode":{"mediaType":2}})"), "");
    EXPECT_EQ(changesOf(R"({"DmLayerNode":{"mediaType":7}})"),
              "1:29 mediaType: 7 is none of the enumeration's values\n");
    // Unusual, and kept as they are.
    EXPECT_EQ(changesOf(R"({"DmFrameResolution":{"width":0,"height":-1}})"), "");
    EXPECT_EQ(changesOf(R"({"DmStroke":{"red":1,"green":4.5,"blue":-0.25}})"), "");
}

TEST(JsonChanges, AreTheFirstThousandInTheOrderOfTheDocument)
{
    std::string json = "{\"JsonBox\":{\"things\":[{\"JsonLeaf\":{\"when\":null}}";
    for (int i = 1; i < 5000; ++i)
        json += ",\n{\"JsonLeaf\":{\"when\":null}}";
    json += "],\n\"kind\":\"7\"}}";
    DmPropertySetPtr set;
    DmJsonChanges changes;
    ASSERT_TRUE(DmJsonImporter::importSetFromStr(json, set, nullptr, &changes).ok());
    EXPECT_EQ(changes.size(), 5001U);
    ASSERT_EQ(changes.list.size(), DmJsonChanges::most);
    for (std::size_t i = 0; i < changes.list.size(); ++i)
    {
        EXPECT_EQ(changes.list[i].place.line, i + 1);
        EXPECT_EQ(changes.list[i].path, "things[" + std::to_string(i) + "]/when");
    }
    // A list that is used again begins anew, and a document that cannot be read has none.
    ASSERT_TRUE(DmJsonImporter::importSetFromStr(R"({"JsonBox":{}})", set, nullptr, &changes).ok());
    EXPECT_EQ(changes.size(), 0U);
    EXPECT_TRUE(DmJsonImporter::importSetFromStr(R"({"JsonBox":{"name":1,"x":2}})", set, nullptr, &changes).failed());
    EXPECT_EQ(changes.size(), 0U);
}

TEST(JsonChanges, BothWaysOfReadingComeToTheSame)
{
    const char* const documents[] = {
        R"({"TestEvery":{"int":-5,"uint":7,"char":"A","float":0.1,"bool":true,"double":1.5e-7,"string":"a\n\u00e9"}})",
        R"({"TestEvery":{"double":123456789012345678901234567890,"float":16777217,"int64":-9223372036854775808}})",
        R"({"TestEvery":{"float":7.038531e-26,"double":-0.0,"int":-0,"uint":0}})",
        R"({"TestEvery":{"floats":["0.100000001","-0.0","0","1e10"],"ints":["-0","7"],"strings":["","\ud83c\udfac"]}})",
        R"({"TestEvery":{"points":[{},{"TestPoint":{"x":2}}],"pointMap":{"a":{},"b":{"TestPoint":{"y":3}}},"point":{}}})",
        R"({"TestEvery":{"pointMap":{"b":{},"a":{}},"cdata":["","a","",""],"uint64s":["18446744073709551615"]}})",
        R"({"TestEvery":{"cdata":[],"cdata":[""],"ints":[]}})",
        R"({"TestEvery":{"shorts":["-32769"],"string":"","bool":false}})",
    };
    for (const std::string json : documents)
    {
        DmPropertySetPtr sets[2];
        DmJsonChanges changes[2];
        ASSERT_TRUE(DmJsonImporter::importSetFromStr(json, sets[0], nullptr, &changes[0]).ok()) << json;
        ASSERT_TRUE(DmJsonImporter::importSetFromStr(otherwise(json), sets[1], nullptr, &changes[1]).ok()) << json;
        EXPECT_EQ(written(*sets[0]), written(*sets[1])) << json;
        EXPECT_EQ(changes[0].size(), changes[1].size()) << json;
        EXPECT_EQ(sets[0]->isDirty(), sets[1]->isDirty()) << json;
    }
}
