/// The two ways of reading a document, held against each other: both come to the same tree, and say the same of what
/// they could not keep; or both refuse it in the same words. A class whose name is spelled with an escape is left by
/// the quick way to the other one, and means the same.
#include "zrFuzz.h"

#include "dmJsonImporter.h"
#include "dmSetTools.h"
#include "dmTreeJsonBuilder.h"

#include <cstdio>

namespace
{

/// The same document with an escape in its first name; false where it does not begin with one that has a letter.
bool spellOtherwise(std::string& text)
{
    constexpr const char* blanks = " \t\r\n";
    const std::size_t brace = text.find_first_not_of(blanks);
    if (brace == text.npos || text[brace] != '{')
        return false;
    const std::size_t quote = text.find_first_not_of(blanks, brace + 1);
    if (quote == text.npos || text[quote] != '"' || quote + 1 == text.size())
        return false;
    const char letter = text[quote + 1];
    if (letter < 'A' || letter > 'Z')
        return false;
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(letter));
    text.replace(quote + 1, 1, escape);
    return true;
}

struct Result
{
    DmPropertySetPtr set;
    DmJsonChanges changes;
    std::string message;
};

Result import(const std::string& text)
{
    Result result;
    result.message = dmUtf8(DmJsonImporter::importSetFromStr(text, result.set, nullptr, &result.changes).info());
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    const Result one = import(text);
    if (!spellOtherwise(text))
        return 0;
    const Result other = import(text);
    expect(one.message == other.message, one.message + "\nand\n" + other.message);
    expect(one.changes.size() == other.changes.size(), "other changes");
    for (std::size_t i = 0; i < one.changes.list.size(); ++i)
        expect(one.changes.list[i].text() == other.changes.list[i].text(), one.changes.list[i].text());
    if (!one.set || !other.set)
        return 0;
    std::string difference;
    bool equal = false;
    expect(dmDeepEqual(*one.set, *other.set, equal, &difference) == DM_NO_ERROR && equal, "differ at " + difference);
    std::string texts[2];
    for (const auto& [set, written] : {std::pair(one.set, &texts[0]), {other.set, &texts[1]}})
        static_cast<void>(DmTreeJsonBuilder::generateUtf8(set.get(), *written));
    expect(texts[0] == texts[1], "written otherwise");
    return 0;
}
