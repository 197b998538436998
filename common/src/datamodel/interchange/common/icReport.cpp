#include "icReport.h"

#include "icTimeCode.h"
#include "icTree.h"

#include "dmCutView.h"
#include "dmPSetHelper.h"
#include "dmSegmentNode.h"
#include "dmTransitionNode.h"
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

/// That of a clip or a composition; empty for what nobody named.
std::string nameOf(const DmTreeNode& node)
{
    const bool isPlace = node.whatIs() == DM_TRACK_NODE || node.whatIs() == DM_LAYER_NODE;
    return isPlace || node.getName() == L"untitled" ? std::string() : dmUtf8(node.getName());
}

/// In the order of lines, with a word of those that were not kept.
std::vector<DmFinding> inOrder(std::vector<DmFinding> findings, std::size_t left)
{
    if (!std::ranges::is_sorted(findings, {}, &DmFinding::line))
        std::ranges::stable_sort(findings, {}, &DmFinding::line);
    if (left != 0)
    {
        DmFinding rest;
        rest.severity = Report::Notice;
        rest.code = plainCodes[Report::Notice];
        rest.text = std::to_string(left) + " further messages are left out";
        findings.push_back(std::move(rest));
    }
    return findings;
}

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
    finding.clip = _where.node ? nameOf(*_where.node) : std::string(_where.clip);
    if (_where.track != 0)
        finding.track = (_where.mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(_where.track);
    if (_where.time != dmNoTime && _where.fcm != DM::FCM_NOT_DEFINED)
        appendTimeLabel(finding.record, static_cast<std::int64_t>(std::clamp(_where.time, -limit, limit)), _where.fcm);
    add(std::move(finding));
    if (_where.node && _left == 0)
        _kept.back().node.reset(const_cast<DmTreeNode*>(_where.node));
}

void Report::add(DmFinding finding)
{
    expectLine();
    ++_counts[finding.severity];
    if (_kept.size() >= mostFindings)
    {
        ++_left;
        return;
    }
    finding.text.shrink_to_fit();
    _kept.push_back({std::move(finding.text), finding.code, {}, nullptr, finding.line, finding.severity});
    const std::string* const texts[] = {&finding.nodePath, &finding.clip, &finding.track, &finding.record,
                                        &finding.subject};
    if (finding.column != 0 || std::ranges::any_of(texts, [](const std::string* each) { return !each->empty(); }))
        _kept.back().own() = {finding.column,           std::move(finding.nodePath), std::move(finding.clip),
                              std::move(finding.track), std::move(finding.record),   std::move(finding.subject)};
    _isLineOpen = finding.line != 0;
}

void Report::about(std::size_t from, const DmTreeNode& node)
{
    for (std::size_t i = from; i < _kept.size(); ++i)
        if (!_kept[i].node)
            _kept[i].node.reset(const_cast<DmTreeNode*>(&node));
}

void Report::expect(const void* thing)
{
    if (_left != 0) // it was not kept
        return;
    _expected.emplace(reinterpret_cast<std::uintptr_t>(thing), static_cast<std::uint32_t>(_kept.size() - 1));
    _isLineOpen = false;
}

void Report::expectLine()
{
    if (_isLineOpen)
        _expected.emplace(_kept.back().line, static_cast<std::uint32_t>(_kept.size() - 1));
    _isLineOpen = false;
}

void Report::settle(std::uintptr_t thing, const DmTreeNode& node)
{
    expectLine();
    if (_expected.empty())
        return;
    const auto [first, last] = _expected.equal_range(thing);
    for (auto each = first; each != last; ++each)
        if (Kept& kept = _kept[each->second]; !kept.node)
            kept.node.reset(const_cast<DmTreeNode*>(&node));
    _expected.erase(first, last);
}

void Report::locate(const DmRoot& root, bool paths)
{
    std::unordered_multimap<const DmTreeNode*, Kept*> wanted;
    for (Kept& each : _kept)
        if (each.node)
            wanted.emplace(each.node.get(), &each);
    if (wanted.empty())
        return;
    const auto completeThose = [&wanted, paths](const DmTreeNode* node, const auto& say)
    {
        const auto [first, last] = wanted.equal_range(node);
        for (auto each = first; each != last; ++each)
        {
            Further& further = each->second->own();
            const std::string path = further.nodePath;
            say(further);
            if (!paths)
                further.nodePath = path;
        }
    };
    const DmCutViews views(root);
    for (const DmCutViews::Collection& each : views.collections())
        completeThose(each.node, [&each](Further& finding) { finding.nodePath = each.path; });
    for (const DmCutView& cut : views.cuts())
    {
        completeThose(cut.composition, [&cut](Further& finding) { finding.nodePath = cut.path; });
        for (const DmLaneView& lane : cut.lanes)
        {
            const std::string track = cut.path + "/children[" + std::to_string(lane.trackIndex) + ']';
            const std::string layer = track + "/children[" + std::to_string(lane.layerIndex) + ']';
            const auto sayPlace = [&lane](Further& finding, const std::string& path)
            {
                finding.nodePath = path;
                if (finding.track.empty())
                    finding.track = lane.name;
            };
            completeThose(lane.track, [&](Further& finding) { sayPlace(finding, track); });
            completeThose(lane.layer, [&](Further& finding) { sayPlace(finding, layer); });
            for (std::size_t i = 0; i < lane.elements.size(); ++i)
            {
                const DmElementView& element = lane.elements[i];
                const auto say = [&](Further& finding)
                {
                    sayPlace(finding, layer + "/children[" + std::to_string(i) + ']');
                    finding.subject = lane.subjectAt(static_cast<int>(i));
                    if (finding.record.empty() && (element.segment || element.transition))
                        finding.record = cut.composition->getRecordLabel(
                            element.segment ? element.segment->getRecIn() : element.transition->getRecIn());
                };
                if (!element.node)
                    continue;
                completeThose(element.node, say);
                completeThose(dynamic_cast<const DmTreeNode*>(element.node->getBaseBlob()), say);
            }
        }
    }
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
    add(loss.code, kind ? kind->severity : Warning, line,
        std::string(kind ? kind->text : loss.code).append(": ").append(loss.choice));
}

void Report::addException()
{
    const std::size_t errors = _counts[Error];
    try
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
    catch (const std::bad_alloc&)
    {
        _counts[Error] = errors + 1; // nor is there memory to keep it
        ++_left;
    }
}

DmFinding Report::Kept::whole() const
{
    DmFinding finding;
    finding.severity = severity;
    finding.code = code;
    finding.line = line;
    finding.text = text;
    if (further)
    {
        finding.column = further->column;
        finding.nodePath = further->nodePath;
        finding.clip = further->clip;
        finding.track = further->track;
        finding.record = further->record;
        finding.subject = further->subject;
    }
    if (finding.clip.empty() && node)
        finding.clip = nameOf(*node);
    return finding;
}

std::vector<DmFinding> Report::findings() const
{
    std::vector<DmFinding> all;
    all.reserve(_kept.size());
    for (const Kept& each : _kept)
        all.push_back(each.whole());
    return inOrder(std::move(all), _left);
}

std::vector<DmFinding> Report::takeFindings()
{
    _expected.clear();
    _isLineOpen = false;
    std::vector<DmFinding> all;
    all.reserve(_kept.size());
    for (; !_kept.empty(); _kept.pop_front())
        all.push_back(_kept.front().whole());
    return inOrder(std::move(all), std::exchange(_left, 0));
}

} // namespace interchange
