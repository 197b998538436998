/// Documents that are deep, large, cut off or damaged.
#include "../property/testSets.h"
#include "jsonSets.h"
#include "zrTable.h"
#include "zrTestSmallStack.h"

namespace
{

/// Boxes inside each other, below `begin` and above `end` each.
std::string nested(int boxes, const std::string& begin, const std::string& end)
{
    std::string text;
    for (int i = 1; i < boxes; ++i)
        text += "{\"JsonBox\":{" + begin;
    text += "{\"JsonBox\":{}}";
    for (int i = 1; i < boxes; ++i)
        text += end + "}}";
    return text;
}

DmStatus roundTrip(const std::string& json)
{
    DmPropertySetPtr set;
    std::string text;
    DmStatus status = DmJsonImporter::importSetFromStr(json, set);
    if (status.ok())
        status = DmTreeJsonBuilder::generateUtf8(set.get(), text);
    if (status.failed())
        return status;
    const DmPropertySetPtr again = imported(text);
    // An unsigned character is written as its number and read as that number's first digit.
    const unsigned char character = 0;
    for (const DmPropertySetPtr& one : {set, again})
        static_cast<void>(one->setPropertyValue(L"uchar", DM_UCHAR, &character));
    std::string difference;
    bool equal = false;
    EXPECT_EQ(dmDeepEqual(*set, *again, equal, &difference), DM_NO_ERROR);
    EXPECT_TRUE(equal) << difference << '\n' << json.substr(0, 300);
    return {};
}

/// Something of every kind, in little text.
const std::string sample =
    R"({"TestEvery":{"int":-5,"uint":4294967295,"char":"A","float":0.1,"bool":true,"double":1.5e-7,)"
    "\"string\":\"\xC3\x89t\xC3\xA9 \\\"\\u00e9\\ud83c\\udfac\\n\","
    R"("point":{"TestPoint":{"x":1}},"ints":["1","2"],"floats":["0.5"],"strings":["a","",null],)"
    R"("points":[{"TestPoint":{"x":2.5,"label":"p"}},{}],"pointMap":{"k":{"TestPoint":{"y":3}},"l":{}},)"
    R"("cdata":["one","","two"]},"VERSION":{"major":0,"minor":1}})";

/// What a text has in the place of a part of another one.
std::string difference(const std::string& was, const std::string& became)
{
    if (was == became)
        return "the same";
    const auto front = std::mismatch(was.begin(), was.end(), became.begin(), became.end());
    const auto back = std::mismatch(was.rbegin(), std::make_reverse_iterator(front.first), became.rbegin(),
                                    std::make_reverse_iterator(front.second));
    return std::string(front.first, back.first.base()) + " -> " + std::string(front.second, back.second.base());
}

} // namespace

TEST(JsonLimits, TheDeepestTreeFitsASmallStack)
{
    // An inner box takes two levels, and the last one five with its channel; one in a list or a map takes three.
    for (const std::string& json :
         {nested(510, "\"inner\":", ""), nested(340, "\"things\":[", "]"), nested(340, "\"thingMap\":{\"k\":", "}")})
        zrTestOnSmallStack([&] { EXPECT_EQ(dmUtf8(roundTrip(json).info()), "") << json.substr(0, 30); });
}

TEST(JsonLimits, WhatIsDeeperIsNeitherReadNorWritten)
{
    zrTestOnSmallStack(
        [&]
        {
            EXPECT_EQ(dmUtf8(roundTrip(nested(513, "\"inner\":", "")).info()),
                      "JSON parse error : The document is nested too deeply.");
            // Read, but with what the last one holds too deep to be read again.
            EXPECT_EQ(dmUtf8(roundTrip(nested(512, "\"inner\":", "")).info()),
                      "The tree is nested too deeply to be read again");
        });

    // Sets that write nothing are not followed for ever either.
    const auto endless = TestOptional::create();
    const float number = 0.25F;
    ASSERT_EQ(endless->setPropertyValue(TestOptional::NotANumber, DM_FLOAT, &number), DM_NO_ERROR);
    const DmPropertySetPtr self(endless.get());
    ASSERT_EQ(endless->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &self), DM_NO_ERROR);
    std::string text;
    EXPECT_EQ(dmUtf8(DmTreeJsonBuilder::generateUtf8(endless.get(), text).info()),
              "The tree is nested too deeply to be read again");
    ASSERT_EQ(endless->clearList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET), DM_NO_ERROR);
}

TEST(JsonLimits, ACutDocumentIsNeverAccepted)
{
    ASSERT_TRUE(roundTrip(sample).ok());
    for (std::size_t length = 0; length < sample.size(); ++length)
    {
        DmPropertySetPtr set;
        const DmStatus status = DmJsonImporter::importSetFromStr(std::string_view(sample).substr(0, length), set);
        EXPECT_TRUE(dmUtf8(status.info()).starts_with("JSON parse error : ")) << length;
        EXPECT_FALSE(set);
    }
}

TEST(JsonLimits, ADamagedDocumentFailsOrIsReadConsistently)
{
    for (std::size_t at = 0; at < sample.size(); ++at)
        for (const int flip : {1, 2, 4, 8, 16, 32, 64, 128, 255})
        {
            std::string damaged = sample;
            damaged[at] = static_cast<char>(damaged[at] ^ flip);
            const DmStatus status = roundTrip(damaged);
            EXPECT_EQ(status.ok(), status.info().empty());
            if (at < 4)
                continue; // the name that is spelled otherwise
            DmPropertySetPtr sets[2];
            const DmStatus statuses[] = {DmJsonImporter::importSetFromStr(damaged, sets[0]),
                                         DmJsonImporter::importSetFromStr(otherwise(damaged), sets[1])};
            EXPECT_EQ(dmUtf8(statuses[0].info()), dmUtf8(statuses[1].info())) << damaged;
            if (sets[0] && sets[1])
            {
                EXPECT_EQ(written(*sets[0]), written(*sets[1])) << damaged;
            }
        }
}

TEST(JsonLimits, OtherCharactersInADocumentMeanWhatIsWrittenDown)
{
    const std::string whole = written(*imported(sample));
    const auto isLetter = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; };
    std::string told;
    for (std::size_t at = 0; at < sample.size(); ++at)
    {
        if (at > 0 && isLetter(sample[at - 1]) && isLetter(sample[at]) && isLetter(sample[at + 1]))
            continue;                                              // inside a word one letter is like another
        std::vector<std::pair<std::string, std::string>> outcomes; // of which characters
        for (const char* const other : {"", "\"", "{", "}", "[", "]", ",", ":", "7", "-", ".", "e", "\\", "\n", "\xC3"})
        {
            std::string damaged = sample;
            damaged.replace(at, 1, other);
            DmPropertySetPtr set;
            DmJsonPlace place;
            const DmStatus status = DmJsonImporter::importSetFromStr(damaged, set, &place);
            const std::string outcome =
                set ? difference(whole, written(*set))
                    : dmUtf8(status.info()) + " at " + std::to_string(place.line) + ':' + std::to_string(place.column);
            const std::string shown = *other == '\0' ? "none" : *other == '\n' ? "\\n" : other;
            const auto same = std::ranges::find(outcomes, outcome, &std::pair<std::string, std::string>::first);
            if (same == outcomes.end())
                outcomes.emplace_back(outcome, shown);
            else
                same->second += ' ' + shown;
        }
        told += std::to_string(at) + ' ' + sample[at] + '\n';
        for (const auto& [outcome, others] : outcomes)
            told += "  " + others + ": " + outcome + '\n';
    }
    std::string shown;
    for (const char c : told)
        if (char code[8]; c == '\n' || (c >= ' ' && c < 0x7F))
            shown += c;
        else
        {
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(c));
            shown += code;
        }
    zrExpectWritten(shown, "damaged.txt");
}

TEST(JsonLimits, AStringOfAHundredMegabytesIsRead)
{
    constexpr std::size_t size = 100'000'000;
    const DmPropertySetPtr set = imported("{\"JsonLeaf\":{\"text\":\"" + std::string(size, 'x') + "\"}}");
    EXPECT_EQ(static_cast<const JsonLeaf&>(*set)._text.length(), size);
}

/// A number with more digits than a buffer holds, and the members of an object by the ten thousand.
TEST(JsonLimits, LongNumbersAndManyMembersAreRead)
{
    const DmPropertySetPtr set = imported("{\"JsonLeaf\":{\"when\":0." + std::string(200'000, '0') +
                                          "1e200000,\"level\":1" + std::string(300, '0') + "}}");
    ASSERT_TRUE(set);
    EXPECT_EQ(static_cast<const JsonLeaf&>(*set)._when, 0.1);
    EXPECT_EQ(static_cast<const JsonLeaf&>(*set)._level, std::numeric_limits<float>::max());

    std::string members = "{\"JsonBox\":{\"channels\":{";
    std::string faults = "{\"JsonBox\":{\"channels\":{";
    for (int i = 0; i < 50'000; ++i)
    {
        members += "\"k" + std::to_string(i % 10'000) + "\":{\"JsonLeaf\":{\"when\":" + std::to_string(i) + "}},";
        faults += "\"k" + std::to_string(i) + "\":5,";
    }
    const DmPropertySetPtr box = imported(members + "\"last\":{}}}}");
    EXPECT_EQ(static_cast<const JsonBox&>(*box)._channels.size(), 10'002U);
    EXPECT_EQ(static_cast<const JsonBox&>(*box)._channels.at(L"k9999")->_when, 49'999);
    EXPECT_EQ(dmUtf8(roundTrip(faults + "\"last\":{}}}}").info()), "Could not set property 'channels': Bad value");
}
