#include "icDocumentFormat.h"

#include "icText.h"

#include "dmJsonImporter.h"
#include "dmTreeJsonBuilder.h"
#include "dmUtf8.h"

#include <algorithm>

namespace interchange
{

namespace
{

class JsonSource final : public DmJsonSource
{
public:
    explicit JsonSource(Source& source)
        : _source(source)
    {
    }
    std::size_t read(char* to, std::size_t size) override { return _source.read(to, size); }
    bool rewind() override { return _source.seek(0); }

private:
    Source& _source;
};

class DocumentFormat final : public Format
{
public:
    std::string_view name() const override { return "json"; }
    std::vector<std::string_view> extensions() const override { return {"json"}; }
    bool looksLike(std::string_view firstBytes) const override
    {
        // An object whose only member is called by a class of ours.
        firstBytes = withoutBlanksInFront(firstBytes);
        return firstBytes.starts_with('{') && withoutBlanksInFront(firstBytes.substr(1)).starts_with("\"Dm");
    }

    CoSharedPtr<DmRoot> read(Source& source, const Options& /*options*/, Report& report) const override
    {
        const auto add = [&report](const char* code, Report::Level level, const DmJsonPlace& place, std::string text)
        {
            DmFinding finding;
            finding.severity = level;
            finding.code = code;
            finding.line = static_cast<std::uint32_t>(place.line);
            finding.column = static_cast<std::uint32_t>(place.column);
            finding.text = std::move(text);
            report.add(std::move(finding));
        };
        JsonSource json(source);
        CoSharedPtr<DmRoot> root;
        DmJsonPlace place;
        DmJsonChanges changes;
        const DmStatus status = DmJsonImporter::importRoot(json, root, &place, &changes);
        if (const std::string wrong = source.fault(); !wrong.empty())
            report.add(Report::Error, 0, wrong); // what was read is not the document
        else if (status.failed())
            add("DM601", Report::Error, place, dmUtf8(status.info()));
        const Report::Level level = report.isLenient() ? Report::Warning : Report::Error;
        for (const DmJsonChange& change : changes.list)
            add("DM607", level, change.place, change.text());
        if (changes.more != 0)
            report.add("DM607", level, 0, std::to_string(changes.more) + " more values");
        return root;
    }

    bool write(const DmRoot& root, Sink& sink, const Options& /*options*/, Report& report) const override
    {
        std::string text;
        const DmStatus status = DmTreeJsonBuilder::generateUtf8(&root, text);
        if (status.failed())
            report.add("DM701", Report::Error, 0, dmUtf8(status.info()));
        return status.ok() && sink.write(text);
    }
};

} // namespace

std::shared_ptr<const Format> documentFormat()
{
    return std::make_shared<DocumentFormat>();
}

} // namespace interchange
