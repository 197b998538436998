#include "icEdlFormat.h"

#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "icText.h"
#include "icTimeCode.h"
#include "icTreeToEdl.h"

namespace interchange
{

namespace
{

/// "TITLE:", "FCM:", or an event: a number, and somewhere behind it four labels.
bool isLineOfList(std::string_view line)
{
    if (startsWithNoCase(line, "TITLE:") || startsWithNoCase(line, "FCM:"))
        return true;
    if (!isAllDigits(takeFirstWord(line)))
        return false;
    int labels = 0;
    while (!line.empty())
        labels += parseTimeLabel(takeFirstWord(line)) ? 1 : 0;
    return labels == 4;
}

class EdlFormat final : public Format
{
public:
    std::string_view name() const override { return "edl"; }
    std::vector<std::string_view> extensions() const override { return {"edl"}; }
    bool looksLike(std::string_view firstBytes) const override
    {
        firstBytes = withoutBlanksInFront(firstBytes);
        // A line of a list may stand in a file of another format.
        if (firstBytes.starts_with('{') || firstBytes.starts_with("<?xml") || firstBytes.starts_with("<!"))
            return false;
        while (!firstBytes.empty())
        {
            const std::size_t end = std::min(firstBytes.find_first_of("\r\n"), firstBytes.size());
            const std::string_view line = trimmed(firstBytes.substr(0, end));
            firstBytes.remove_prefix(std::min(end + 1, firstBytes.size()));
            if (isLineOfList(line))
                return true;
        }
        return false;
    }

    CoSharedPtr<DmRoot> read(Source& source, const Options& options, Report& report) const override
    {
        const std::optional<EdlList> list = readEdl(source.readAll(), options.fcm, report, options.beside);
        return list ? edlToTree(*list, report, options.places) : CoSharedPtr<DmRoot>();
    }

    bool write(const DmRoot& root, Sink& sink, const Options& options, Report& report) const override
    {
        const std::optional<EdlList> list = treeToEdl(root, options, report);
        return list && sink.write(writeEdl(*list));
    }
};

} // namespace

std::shared_ptr<const Format> edlFormat()
{
    return std::make_shared<EdlFormat>();
}

} // namespace interchange
