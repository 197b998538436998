#include "icAleFormat.h"

#include "icAleReader.h"
#include "icAleWriter.h"
#include "icText.h"

namespace interchange
{

namespace
{

class AleFormat final : public Format
{
public:
    std::string_view name() const override { return "ale"; }
    std::vector<std::string_view> extensions() const override { return {"ale"}; }
    bool looksLike(std::string_view firstBytes) const override
    {
        firstBytes = withoutBlanksInFront(firstBytes);
        return equalsNoCase(takeFirstWord(firstBytes), "HEADING");
    }

    CoSharedPtr<DmRoot> read(Source& source, const Options& options, Report& report) const override
    {
        return readAle(source.readAll(), options, report);
    }

    bool write(const DmRoot& root, Sink& sink, const Options& options, Report& report) const override
    {
        const std::optional<std::string> text = writeAle(root, options.fcm, report);
        return text && sink.write(*text);
    }
};

} // namespace

std::shared_ptr<const Format> aleFormat()
{
    return std::make_shared<AleFormat>();
}

} // namespace interchange
