#include "icFcp7xmlAttached.h"

#include "icFcp7xmlCut.h"
#include "icTree.h"

#include "dmJsonImporter.h"
#include "dmTreeJsonBuilder.h"

#include <charconv>

namespace interchange::xmeml
{

namespace
{

/// Of what XML has no place for, the length in bytes.
std::size_t lengthOfNone(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    if (first < ' ')
        return first == '\n' || first == '\t' ? 0 : 1;
    return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF") ? 3 : 0;
}

} // namespace

bool isForeign(std::string_view blobType)
{
    return isLeftoverType(blobType) && blobType.substr(0, blobType.find(' ')) != leftoverType.format;
}

std::string attachedText(std::string_view leftover)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    std::size_t escaped = 0;
    for (std::size_t i = 0; i < leftover.size(); ++i)
    {
        escaped = escaped != 0 ? escaped : lengthOfNone(leftover.substr(i));
        const auto byte = static_cast<unsigned char>(leftover[i]);
        if (escaped != 0)
        {
            text.append("\\x").append(1, digits[byte / 16]).append(1, digits[byte % 16]);
            --escaped;
        }
        else
            text.append(byte == '\\' ? "\\" : "").append(1, leftover[i]);
    }
    return text;
}

std::string textOfAttached(std::string_view text)
{
    std::string leftover;
    while (!text.empty())
    {
        unsigned value = 0;
        constexpr std::size_t length = 4; // of "\x01"
        const bool isByte = text.size() >= length && text.starts_with("\\x");
        if (isByte && std::from_chars(text.data() + 2, text.data() + length, value, 16).ptr == text.data() + length)
        {
            leftover += static_cast<char>(value);
            text.remove_prefix(length);
            continue;
        }
        if (text.size() > 1 && text.starts_with('\\'))
            text.remove_prefix(1);
        leftover += text.front();
        text.remove_prefix(1);
    }
    return leftover;
}

std::string textOfSource(const DmSourceNode& source)
{
    const CoSharedPtr<DmPropertySet> copy = orBadAlloc(source.clone());
    require(static_cast<DmSourceNode&>(*copy).setBaseBlob({}));
    std::string text;
    if (DmTreeJsonBuilder::generateUtf8(copy.get(), text, DmTreeJsonBuilder::Layout::Compact).failed())
        text.clear();
    return text;
}

CoSharedPtr<DmSourceNode> sourceOf(std::string_view text)
{
    CoSharedPtr<DmPropertySet> set;
    if (DmJsonImporter::importSetFromStr(text, set).failed())
        return {};
    auto source = DM::dynamicPointerCast<DmSourceNode>(set);
    if (source)
        require(source->setBaseBlob({}));
    return source;
}

} // namespace interchange::xmeml
