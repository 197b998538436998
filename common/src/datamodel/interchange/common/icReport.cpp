#include "icReport.h"

#include "icTimeCode.h"
#include "icTree.h"

#include "dmPSetHelper.h"
#include "dmUtf8.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace interchange
{

namespace
{

constexpr std::size_t mostFindings = 100000;
constexpr double limit = 1e12; ///< of times, in frames

/// The codes of what has none of its own, by level.
constexpr std::array<const char*, 3> plainCodes{"DM604", "DM603", "DM601"};

} // namespace

void Report::add(Level level, std::uint32_t line, std::string text)
{
    add(plainCodes[level], level, line, std::move(text));
}

void Report::add(const char* code, Level level, std::uint32_t line, std::string text)
{
    DmFinding finding;
    finding.severity = level;
    finding.code = code;
    finding.line = line;
    finding.text = std::move(text);
    finding.nodePath = _where.path;
    if (_where.node && !(_where.node->getName() == L"untitled"))
        finding.clip = dmUtf8(_where.node->getName());
    if (_where.track != 0)
        finding.track = (_where.mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(_where.track);
    if (_where.time != dmNoTime && _where.fcm != DM::FCM_NOT_DEFINED)
        appendTimeLabel(finding.record, static_cast<std::int64_t>(std::clamp(_where.time, -limit, limit)), _where.fcm);
    add(std::move(finding));
}

void Report::add(DmFinding finding)
{
    ++_counts[finding.severity];
    if (_findings.size() < mostFindings)
        _findings.push_back(std::move(finding));
}

void Report::mistake(std::uint32_t line, std::string what, std::string_view choice)
{
    if (isLenient())
        what.append("; ").append(choice);
    add("DM602", isLenient() ? Warning : Error, line, std::move(what));
}

void Report::lose(const Loss& loss, std::uint32_t line)
{
    const DmFindingCode* const kind = dmFindingCode(loss.code);
    add(loss.code, Warning, line, std::string(kind ? kind->text : loss.code).append(": ").append(loss.choice));
}

void Report::addException()
{
    try
    {
        throw;
    }
    catch (const Refusal& refusal)
    {
        add("DM606", Error, 0,
            "a value that the document refuses: " + dmUtf8(DmPSetHelper::getStrFromError(refusal.status())));
    }
    catch (const std::bad_alloc&)
    {
        add(Error, 0, "not enough memory");
    }
    catch (const std::exception& error)
    {
        add(Error, 0, error.what());
    }
    catch (...)
    {
        add(Error, 0, "an unknown exception");
    }
}

std::vector<DmFinding> Report::findings() const
{
    std::vector<DmFinding> ordered = _findings;
    std::ranges::stable_sort(ordered, {}, &DmFinding::line);
    return ordered;
}

} // namespace interchange
