#include "icOtioFormat.h"

#include "icOtioReader.h"
#include "icOtioWriter.h"
#include "icText.h"

namespace interchange
{

namespace
{

class OtioFormat final : public Format
{
public:
    std::string_view name() const override { return "otio"; }
    std::vector<std::string_view> extensions() const override { return {"otio"}; }
    bool looksLike(std::string_view firstBytes) const override
    {
        return withoutBlanksInFront(firstBytes).starts_with('{') &&
               firstBytes.find("\"OTIO_SCHEMA\"") != firstBytes.npos;
    }

    CoSharedPtr<DmRoot> read(Source& source, const Options& options, Report& report) const override
    {
        return readOtio(source.readAll(), options.fcm, report, options.places);
    }

    bool write(const DmRoot& root, Sink& sink, const Options& options, Report& report) const override
    {
        return writeOtio(root, options.fcm, sink, report);
    }
};

} // namespace

std::shared_ptr<const Format> otioFormat()
{
    return std::make_shared<OtioFormat>();
}

} // namespace interchange
