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

std::vector<DmFinding> inOrder(std::vector<DmFinding> findings)
{
    if (!std::ranges::is_sorted(findings, {}, &DmFinding::line))
        std::ranges::stable_sort(findings, {}, &DmFinding::line);
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
    if (_where.node)
        finding.clip = nameOf(*_where.node);
    if (_where.track != 0)
        finding.track = (_where.mediaType == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(_where.track);
    if (_where.time != dmNoTime && _where.fcm != DM::FCM_NOT_DEFINED)
        appendTimeLabel(finding.record, static_cast<std::int64_t>(std::clamp(_where.time, -limit, limit)), _where.fcm);
    add(std::move(finding));
    if (_where.node && _nodes.size() == _findings.size())
        _nodes.back().reset(const_cast<DmTreeNode*>(_where.node));
}

void Report::add(DmFinding finding)
{
    ++_counts[finding.severity];
    if (_findings.size() >= mostFindings)
        return;
    if (finding.line != 0)
        _expected.emplace(finding.line, _findings.size());
    _findings.push_back(std::move(finding));
    _nodes.emplace_back();
}

void Report::about(std::size_t from, const DmTreeNode& node)
{
    for (std::size_t i = from; i < _findings.size(); ++i)
    {
        if (_nodes[i])
            continue;
        _nodes[i].reset(const_cast<DmTreeNode*>(&node));
        if (_findings[i].clip.empty())
            _findings[i].clip = nameOf(node);
    }
}

void Report::settle(std::uintptr_t thing, const DmTreeNode& node)
{
    if (_expected.empty())
        return;
    const auto [first, last] = _expected.equal_range(thing);
    for (auto each = first; each != last; ++each)
        if (!_nodes[each->second])
        {
            _nodes[each->second].reset(const_cast<DmTreeNode*>(&node));
            _findings[each->second].clip = nameOf(node);
        }
    _expected.erase(first, last);
}

void Report::locate(const DmRoot& root, bool paths)
{
    std::unordered_multimap<const DmTreeNode*, DmFinding*> wanted;
    for (std::size_t i = 0; i < _findings.size(); ++i)
        if (_nodes[i])
            wanted.emplace(_nodes[i].get(), &_findings[i]);
    if (wanted.empty())
        return;
    const auto completeThose = [&wanted, paths](const DmTreeNode* node, const auto& say)
    {
        const auto [first, last] = wanted.equal_range(node);
        for (auto each = first; each != last; ++each)
        {
            const std::string path = each->second->nodePath;
            say(*each->second);
            if (!paths)
                each->second->nodePath = path;
        }
    };
    const DmCutViews views(root);
    for (const DmCutViews::Collection& each : views.collections())
        completeThose(each.node, [&each](DmFinding& finding) { finding.nodePath = each.path; });
    for (const DmCutView& cut : views.cuts())
    {
        completeThose(cut.composition, [&cut](DmFinding& finding) { finding.nodePath = cut.path; });
        for (const DmLaneView& lane : cut.lanes)
        {
            const std::string track = cut.path + "/children[" + std::to_string(lane.trackIndex) + ']';
            const std::string layer = track + "/children[" + std::to_string(lane.layerIndex) + ']';
            const auto sayPlace = [&lane](DmFinding& finding, const std::string& path)
            {
                finding.nodePath = path;
                if (finding.track.empty())
                    finding.track = lane.name;
            };
            completeThose(lane.track, [&](DmFinding& finding) { sayPlace(finding, track); });
            completeThose(lane.layer, [&](DmFinding& finding) { sayPlace(finding, layer); });
            for (std::size_t i = 0; i < lane.elements.size(); ++i)
            {
                const DmElementView& element = lane.elements[i];
                const auto say = [&](DmFinding& finding)
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
    return inOrder(_findings);
}

std::vector<DmFinding> Report::takeFindings()
{
    _nodes.clear();
    _expected.clear();
    return inOrder(std::exchange(_findings, {}));
}

} // namespace interchange
