#include "icFcp7xmlFormat.h"

#include "icFcp7xmlReader.h"
#include "icFcp7xmlWriter.h"
#include "icText.h"

namespace interchange
{

namespace
{

class Fcp7xmlFormat final : public Format
{
public:
    std::string_view name() const override { return "fcp7xml"; }
    std::vector<std::string_view> extensions() const override { return {"xml"}; }
    bool looksLike(std::string_view firstBytes) const override
    {
        return withoutBlanksInFront(firstBytes).starts_with('<') && firstBytes.find("<xmeml") != firstBytes.npos;
    }

    CoSharedPtr<DmRoot> read(Source& source, const Options& options, Report& report) const override
    {
        return readFcp7xml(source.readAll(), options, report);
    }

    bool write(const DmRoot& root, Sink& sink, const Options& options, Report& report) const override
    {
        return writeFcp7xml(root, options.fcm, sink, report);
    }
};

} // namespace

std::shared_ptr<const Format> fcp7xmlFormat()
{
    return std::make_shared<Fcp7xmlFormat>();
}

} // namespace interchange
