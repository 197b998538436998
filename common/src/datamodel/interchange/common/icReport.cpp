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
#include <functional>
#include <new>
#include <numeric>
#include <utility>

namespace interchange
{

namespace
{

constexpr std::size_t mostFindings = 100000;
constexpr std::size_t furtherErrors = 100;
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
    // Errors say why there is no document.
    if (_kept.size() >= mostFindings + (finding.severity == Error ? furtherErrors : 0))
    {
        ++_left;
        return;
    }
    finding.text.shrink_to_fit();
    _kept.push_back({std::move(finding.text), finding.code, {}, nullptr, 0, none, finding.line, finding.severity});
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
    wait(reinterpret_cast<std::uintptr_t>(thing));
    _isLineOpen = false;
}

void Report::expectLine()
{
    if (_isLineOpen)
        wait(_kept.back().line);
    _isLineOpen = false;
}

/// The last one does. Rows of indices, as findings are many where memory is short.
void Report::wait(std::uintptr_t thing)
{
    const auto addToRow = [this](std::size_t index)
    {
        std::uint32_t& first = _expected[std::hash<std::uintptr_t>()(_kept[index].expected) % _expected.size()];
        _kept[index].next = std::exchange(first, static_cast<std::uint32_t>(index));
    };
    _kept.back().expected = thing;
    if (++_waiting <= _expected.size())
        return addToRow(_kept.size() - 1);
    _expected.assign(_expected.size() * 2 + 61, none);
    for (std::size_t i = 0; i < _kept.size(); ++i)
        if (_kept[i].expected != 0)
            addToRow(i);
}

void Report::settle(std::uintptr_t thing, const DmTreeNode& node)
{
    expectLine();
    if (_waiting == 0)
        return;
    std::uint32_t* at = &_expected[std::hash<std::uintptr_t>()(thing) % _expected.size()];
    while (*at != none)
    {
        Kept& kept = _kept[*at];
        if (kept.expected != thing)
        {
            at = &kept.next;
            continue;
        }
        *at = kept.next;
        kept.expected = 0;
        --_waiting;
        if (!kept.node)
            kept.node.reset(const_cast<DmTreeNode*>(&node));
    }
}

namespace
{

/// A node, and what is about it.
using Wanted = std::pair<const DmTreeNode*, std::uint32_t>;

/// Says of each what is wanted where its node stands. `of`: it, with the members that a finding has for that.
template <class Of>
void locateAll(const DmRoot& root, std::vector<Wanted> wanted, const Of& of)
{
    if (wanted.empty())
        return;
    std::ranges::sort(wanted);
    const auto completeThose = [&wanted, &of](const DmTreeNode* node, const auto& say)
    {
        for (auto each = std::ranges::lower_bound(wanted, Wanted(node, 0)); each != wanted.end() && each->first == node;
             ++each)
            say(of(each->second));
    };
    const DmCutViews views(root);
    for (const DmCutViews::Collection& each : views.collections())
        completeThose(each.node, [&each](auto& finding) { finding.nodePath = each.path; });
    for (const DmCutView& cut : views.cuts())
    {
        completeThose(cut.composition, [&cut](auto& finding) { finding.nodePath = cut.path; });
        for (const DmLaneView& lane : cut.lanes)
        {
            const std::string track = cut.path + "/children[" + std::to_string(lane.trackIndex) + ']';
            const std::string layer = track + "/children[" + std::to_string(lane.layerIndex) + ']';
            const auto sayPlace = [&lane](auto& finding, const std::string& path)
            {
                finding.nodePath = path;
                if (finding.track.empty())
                    finding.track = lane.name;
            };
            completeThose(lane.track, [&](auto& finding) { sayPlace(finding, track); });
            completeThose(lane.layer, [&](auto& finding) { sayPlace(finding, layer); });
            for (std::size_t i = 0; i < lane.elements.size(); ++i)
            {
                const DmElementView& element = lane.elements[i];
                const auto say = [&](auto& finding)
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

} // namespace

void Report::locate(const DmRoot& root, bool paths)
{
    std::vector<Wanted> wanted;
    for (std::size_t i = 0; i < _kept.size(); ++i)
        if (_kept[i].node)
            wanted.emplace_back(_kept[i].node.get(), static_cast<std::uint32_t>(i));
    std::vector<std::pair<std::uint32_t, std::string>> pathsBefore;
    if (!paths)
        for (const auto& [node, index] : wanted)
            pathsBefore.emplace_back(index, _kept[index].further ? _kept[index].further->nodePath : std::string());
    locateAll(root, std::move(wanted), [this](std::uint32_t index) -> Further& { return _kept[index].own(); });
    for (auto& [index, path] : pathsBefore)
        if (_kept[index].further)
            _kept[index].own().nodePath = std::move(path);
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

void Report::Kept::complete(DmFinding& finding) const
{
    finding.severity = severity;
    finding.code = code;
    finding.line = line;
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
}

DmFinding Report::Kept::whole() const&
{
    DmFinding finding;
    finding.text = text;
    complete(finding);
    return finding;
}

DmFinding Report::Kept::whole() &&
{
    DmFinding finding;
    finding.text = std::move(text);
    complete(finding);
    return finding;
}

std::vector<DmFinding> Report::findings() const
{
    std::vector<DmFinding> all;
    all.reserve(_kept.size() + 1); // and a word of those that were not kept
    for (const Kept& each : _kept)
        all.push_back(each.whole());
    return inOrder(std::move(all), _left);
}

/// Those of lines in their order, with next to no memory.
void Report::sort()
{
    if (std::ranges::is_sorted(_kept, {}, &Kept::line))
        return;
    std::vector<std::uint32_t> order(_kept.size()); ///< who comes there
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::sort(order, {}, [this](std::uint32_t i) { return std::pair(_kept[i].line, i); });
    for (std::uint32_t i = 0; i < order.size(); ++i)
        for (std::uint32_t at = i; order[at] != at;)
        {
            const std::uint32_t from = std::exchange(order[at], at);
            if (from == i)
                break;
            std::swap(_kept[at], _kept[from]);
            at = from;
        }
}

std::vector<DmFinding> Report::takeFindings(const DmRoot* root)
{
    _expected.clear();
    _waiting = 0;
    _isLineOpen = false;
    sort();
    std::vector<DmFinding> all;
    std::vector<Wanted> wanted;
    all.reserve(_kept.size() + 1); // and a word of those that were not kept
    for (; !_kept.empty(); _kept.pop_front())
    {
        if (root && _kept.front().node)
            wanted.emplace_back(_kept.front().node.get(), static_cast<std::uint32_t>(all.size()));
        all.push_back(std::move(_kept.front()).whole());
    }
    if (root)
        locateAll(*root, std::move(wanted), [&all](std::uint32_t index) -> DmFinding& { return all[index]; });
    return inOrder(std::move(all), std::exchange(_left, 0));
}

} // namespace interchange
