#include "icAleWriter.h"

#include "icAleColumns.h"
#include "icIds.h"
#include "icMisplaced.h"
#include "icMode.h"
#include "icShown.h"
#include "icText.h"
#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmLayerNode.h"
#include "dmMaterial.h"
#include "dmReelNode.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmTransitionNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>

namespace interchange
{

using namespace ale;

namespace
{

constexpr Loss otherEffect{"DM711", "left out"};
constexpr Loss mix{"DM728", "left out"};
constexpr Loss muted{"DM716", "written like the others"};
constexpr Loss nestedCut{"DM714", "left out"};
constexpr Loss otherText{"DM733", "line ends and tabs become blanks"};
constexpr Loss furtherComposition{"DM727", "left out"};
constexpr Loss otherLook{"DM735", "that of the first clip is written"};

/// What may stand in a row, without tabs and line ends.
std::string clean(std::string text, Report& report)
{
    bool isChanged = false;
    for (char& c : text)
        if (c == '\t' || c == '\n' || c == '\r')
        {
            c = ' ';
            isChanged = true;
        }
    if (isChanged)
        report.lose(otherText);
    return text;
}

bool isSource(const DmTreeNode* node)
{
    return node && node->whatIs() == DM_SOURCE_NODE;
}

/// A row to be written.
struct Line
{
    Row row;
    Kept kept;
};

/// Where in a document a segment is.
struct Place
{
    const DmCompositionNode& composition;
    DM::FrameCodeModes fcm;
    const DmTrackNode& track;
    const DmLayerNode& layer;
    int index;
};

class Writer
{
public:
    Writer(DM::FrameCodeModes fcm, Report& report)
        : _fcm(fcm)
        , _report(report)
    {
    }

    std::optional<std::string> write(const DmRoot& root);

private:
    void collect(const DmTreeNode& node, std::vector<const DmCompositionNode*>& compositions) const;
    template <class Visit>
    void forEachSegment(const DmCompositionNode& composition, DM::FrameCodeModes fcm, Visit&& visit);
    void at(const Place& place, const DmTreeNode& node, double time);

    // A row a source

    void addRows(const DmCompositionNode& composition);
    void addRow(const Place& place, const DmSegmentNode& segment);

    // A row a medium

    void addMedia(const DmCompositionNode& composition, DM::FrameCodeModes fcm);
    void addMedium(const Place& place, const DmSegmentNode& segment);

    std::string freshHead(const DmCompositionNode& composition) const;
    std::string headOf(std::string_view text) const;
    std::string text(std::string head);

    DM::FrameCodeModes _fcm; ///< of the heading
    Report& _report;
    std::vector<Line> _lines;
    std::unordered_map<std::string, std::size_t> _media; ///< where in the lines
    std::set<std::size_t> _severalNames;                 ///< those whose clips have more than one
    std::set<const DmCompositionNode*> _seen;
};

void Writer::collect(const DmTreeNode& node, std::vector<const DmCompositionNode*>& compositions) const
{
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const DmTreeNode* const child = node.getChild(i))
        {
            if (child->whatIs() == DM_COMPOSITION_NODE)
                compositions.push_back(static_cast<const DmCompositionNode*>(child));
            else if (child->whatIs() == DM_REEL_NODE && node.whatIs() == DM_ROOT_NODE)
                collect(*child, compositions);
        }
}

template <class Visit>
void Writer::forEachSegment(const DmCompositionNode& composition, DM::FrameCodeModes fcm, Visit&& visit)
{
    for (int i = 0; i < composition.getNbChildren(); ++i)
    {
        const auto* const track = dynamic_cast<const DmTrackNode*>(composition.getChild(i));
        for (int k = 0; track && k < track->getNbChildren(); ++k)
        {
            const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(k));
            for (int n = 0; layer && n < layer->getNbChildren(); ++n)
            {
                const DmTreeNode* const node = layer->getChild(n);
                const Place place{composition, fcm, *track, *layer, n};
                if (node)
                    visit(place, *node);
                // A source that nothing plays of travels with a gap, the outgoing one of a mix with that: it plays
                // where nothing stands in front of the mix.
                if (node && !(node->asTransition() && n > 0 && isSource(layer->getChild(n - 1))))
                    if (const auto* const attached = dynamic_cast<const DmTreeNode*>(node->getBaseBlob());
                        attached && attached->whatIs() == DM_SOURCE_NODE)
                        visit(place, *attached);
            }
        }
    }
}

void Writer::at(const Place& place, const DmTreeNode& node, double time)
{
    _report.at({&node, place.track.getMediaType(), place.track.getTrackNum(), place.composition.getLabelTime(time),
                place.fcm});
}

// A row a source

void Writer::addRows(const DmCompositionNode& composition)
{
    tellMisplaced(composition, _report);
    struct Placed
    {
        double recIn;
        double recLength;
        Line line;
    };
    std::vector<Placed> placed;
    forEachSegment(composition, _fcm,
                   [&](const Place& place, const DmTreeNode& node)
                   {
                       const DmSegmentNode* const segment = node.asSegment();
                       if (!segment)
                       {
                           const DmTransitionNode* const transition = node.asTransition();
                           at(place, node, transition ? transition->getRecIn() : dmNoTime);
                           if (transition && node.whatIs() != DM_CUT_NODE)
                               _report.lose(mix);
                           return;
                       }
                       const std::size_t before = _lines.size();
                       addRow(place, *segment);
                       if (_lines.size() == before)
                           return;
                       placed.push_back({segment->getRecIn(), segment->getRecLength(), std::move(_lines.back())});
                       _lines.pop_back();
                   });
    std::ranges::stable_sort(placed, [](const Placed& a, const Placed& b)
                             { return a.recIn != b.recIn ? a.recIn < b.recIn : a.recLength < b.recLength; });
    for (Placed& each : placed)
        _lines.push_back(std::move(each.line));
}

void Writer::addRow(const Place& place, const DmSegmentNode& segment)
{
    at(place, segment, segment.getRecIn());
    if (segment.whatIs() == DM_CONTAINER_NODE)
        return _report.lose(nestedCut);
    Line line{rowOf(segment, place.fcm), Kept::of(segment)};
    if (segment.whatIs() != DM_SOURCE_NODE && !line.kept.isRow)
        return;
    if (segment.getMuted())
        _report.lose(muted);
    bool hasLook = false;
    for (const DmPropertySetPtr& effect : segment.getEffects())
    {
        const bool isLook = dynamic_cast<const DmLookSettings*>(effect.get()) != nullptr && line.row.look && !hasLook;
        hasLook = hasLook || isLook;
        if (effect && !isLook)
            _report.lose(otherEffect);
    }
    _lines.push_back(std::move(line));
}

// A row a medium

void Writer::addMedia(const DmCompositionNode& composition, DM::FrameCodeModes fcm)
{
    if (!_seen.insert(&composition).second)
        return;
    tellMisplaced(composition, _report);
    std::vector<std::pair<const DmCompositionNode*, DM::FrameCodeModes>> inside;
    forEachSegment(composition, fcm,
                   [&](const Place& place, const DmTreeNode& node)
                   {
                       if (const DmCompositionNode* const nested = node.getNestedComposition())
                           inside.emplace_back(nested, modeOf(*nested, fcm));
                       else if (const DmSegmentNode* const segment = node.asSegment();
                                segment && node.whatIs() == DM_SOURCE_NODE)
                           addMedium(place, *segment);
                   });
    for (const auto& [nested, mode] : inside)
        addMedia(*nested, mode);
}

void Writer::addMedium(const Place& place, const DmSegmentNode& segment)
{
    const auto& source = static_cast<const DmSourceNode&>(segment);
    const DmSourceInfo* const info = source.getSrcInput() ? source.getSrcInput()->getSrcInfo() : nullptr;
    if (!info)
        return; // bars and tones are no media
    at(place, segment, segment.getRecIn());
    const DmPlayedBeside beside = playedBeside(place.layer, place.index);
    const DmMaterial material = dmMaterialOf(segment, place.fcm, beside);
    Row row = rowOf(segment, place.fcm);
    if (material.isLimited())
    {
        row.start = material.begin;
        row.end = material.begin + material.length;
    }
    else
    {
        const Shown shown = shownOf(segment, place.fcm, beside);
        row.start = material.begin + shown.begin;
        row.end = material.begin + shown.end;
    }
    row.start = std::floor(row.start);
    row.end = std::ceil(row.end);
    const bool isSound = segment.getMediaType() == DM_MEDIA_AUDIO;
    row.tracks = isSound ? "A" + std::to_string(std::clamp(info->getTrack(), 1, 999)) : "V";
    // The auxiliary source of lists is no reel: its clips are told apart by their names.
    const bool isAuxiliary = row.path.empty() && row.fileName.empty() && equalsNoCase(row.reel, "AX");
    if (isAuxiliary)
        row.reel.clear();
    // Short reels that lists cut to their length are those of several files.
    const std::string key = mediumOf(segment) + '\n' + (isAuxiliary ? row.name : row.path.empty() ? row.fileName : "");
    const auto [found, isNew] = _media.emplace(key, _lines.size());
    if (isNew)
        return _lines.push_back({std::move(row), {}});
    Row& medium = _lines[found->second].row;
    if (medium.fcm != row.fcm)
    {
        const double ratio = DM::FcmUtil::getDoubleFPS(medium.fcm) / DM::FcmUtil::getDoubleFPS(row.fcm);
        row.start = std::floor(row.start * ratio);
        row.end = std::ceil(row.end * ratio);
    }
    medium.start = std::min(medium.start, row.start);
    medium.end = std::max(medium.end, row.end);
    // Of several clips of it: the medium's own. A clip that nobody named is called by its reel.
    if (medium.name == medium.reel && !_severalNames.contains(found->second))
        medium.name = row.name;
    else if (medium.name != row.name && row.name != row.reel && _severalNames.insert(found->second).second)
        medium.name = !medium.fileName.empty() ? medium.fileName : !medium.reel.empty() ? medium.reel : medium.name;
    if (medium.tracks.find(row.tracks) == std::string::npos)
        medium.tracks = isSound ? medium.tracks + row.tracks : row.tracks + medium.tracks;
    if (!medium.look)
        medium.look = row.look;
    else if (row.look && !(*row.look == *medium.look))
        _report.lose(otherLook);
}

// Text

std::string Writer::freshHead(const DmCompositionNode& composition) const
{
    int height = 0;
    int width = 0;
    if (const DmFrameResolution* const resolution = composition.getResolution())
    {
        resolution->getHeight(height);
        resolution->getWidth(width);
    }
    std::string head = "Heading\nFIELD_DELIM\tTABS\nVIDEO_FORMAT\t";
    head += height == 1080 || height == 720 ? std::to_string(height)
            : height == 576                 ? "PAL"
            : height == 486                 ? "NTSC"
            : width == 0                    ? "1080"
                                            : "CUSTOM";
    head.append("\nAUDIO_FORMAT\t48khz\nFPS\t").append(DM::FcmUtil::getFPSString(_fcm));
    head += "\n\nColumn\nName\tTracks\tStart\tEnd\tDuration\tTape";
    const auto addIfAny = [&](const char* column)
    {
        const Role role = roleOf(column);
        if (std::ranges::any_of(_lines, [role](const Line& line) { return !line.row.cell(role).empty(); }))
            head.append("\t").append(column);
    };
    addIfAny("Source File");
    addIfAny("UNC Path");
    if (std::ranges::any_of(_lines, [this](const Line& line)
                            { return DM::FcmUtil::toNonDrop(line.row.fcm) != DM::FcmUtil::toNonDrop(_fcm); }))
        head += "\tFPS";
    addIfAny("ASC_SOP");
    addIfAny("ASC_SAT");
    return head + "\n\nData\n";
}

/// The head as it was read, with the rate of the composition and a column for each custom one that a row has.
std::string Writer::headOf(std::string_view text) const
{
    std::string_view rest = text;
    const std::optional<Head> head = Head::take(rest);
    if (!head || !rest.empty())
        return {};
    std::string made(text);
    const std::vector<std::string> keys = keysOf(head->columns);
    std::set<std::string, std::less<>> missing;
    for (const Line& line : _lines)
        for (const auto& [key, cell] : line.kept.cells)
            if (!cell.text.empty() && std::ranges::find(keys, key) == keys.end())
                missing.insert(key);
    std::string further;
    for (const std::string& key : missing)
        further.append("\t").append(key);
    made.insert(static_cast<std::size_t>(head->lastLine.data() - text.data()) + head->lastLine.size(), further);
    if (!head->fps.empty() && DM::FcmUtil::toNonDrop(head->mode(false)) != DM::FcmUtil::toNonDrop(_fcm))
        made.replace(static_cast<std::size_t>(head->fps.data() - text.data()), head->fps.size(),
                     DM::FcmUtil::getFPSString(_fcm));
    return made;
}

std::string Writer::text(std::string made)
{
    std::string_view rest = made;
    const Head head = *Head::take(rest);
    const std::string lineEnd(head.lineEnd.empty() ? "\n" : head.lineEnd);
    const std::vector<std::string> keys = keysOf(head.columns);
    std::vector<Role> roles;
    std::ranges::transform(head.columns, std::back_inserter(roles), roleOf);
    std::string out(head.text);
    if (!_lines.empty() && !isBlank(out.back()))
        out += lineEnd;
    for (std::size_t n = 0; n < _lines.size(); ++n)
    {
        const Line& line = _lines[n];
        const Kept& kept = line.kept;
        std::vector<std::string> cells;
        for (std::size_t i = 0; i < keys.size(); ++i)
        {
            std::string model = line.row.cell(roles[i]);
            const auto found = kept.cells.find(keys[i]);
            const bool counts = found != kept.cells.end() && (!found->second.was || *found->second.was == model);
            cells.push_back(counts ? found->second.text : clean(std::move(model), _report));
        }
        if (kept.count && *kept.count < cells.size())
        {
            const auto end = cells.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(1, *kept.count));
            if (std::all_of(end, cells.end(), [](const std::string& cell) { return cell.empty(); }))
                cells.erase(end, cells.end());
        }
        for (std::size_t i = 0; i < cells.size(); ++i)
            out.append(i == 0 ? "" : "\t").append(cells[i]);
        if (kept.count && *kept.count > keys.size())
            out.append("\t").append(kept.more);
        const bool isLast = n + 1 == _lines.size();
        out += kept.end && (isLast || !kept.end->empty()) ? *kept.end : lineEnd;
    }
    return out;
}

std::optional<std::string> Writer::write(const DmRoot& root)
{
    std::vector<const DmCompositionNode*> compositions;
    collect(root, compositions);
    if (compositions.empty())
    {
        _report.add("DM701", Report::Error, 0, "the document holds no composition");
        return std::nullopt;
    }
    const DmCompositionNode& first = *compositions.front();
    _fcm = modeOf(first, _fcm);
    if (_fcm == DM::FCM_NOT_DEFINED)
    {
        _report.add("DM701", Report::Error, 0,
                    "the composition names no frame-code mode, and no other was given (--fcm names one)");
        return std::nullopt;
    }
    tellMisplaced(root, _report);
    const std::optional<KeptHead> kept = KeptHead::of(first);
    std::string head;
    if (kept)
    {
        addRows(first);
        for (std::size_t i = 1; i < compositions.size(); ++i)
        {
            _report.at({compositions[i], DM_MEDIA_UNDEFINED, 0, dmNoTime, DM::FCM_NOT_DEFINED});
            _report.lose(furtherComposition);
        }
        head = headOf(kept->text);
    }
    else
    {
        for (const DmCompositionNode* const composition : compositions)
            addMedia(*composition, modeOf(*composition, _fcm));
        _report.at({});
        _report.add("DM734", Report::Notice, 0,
                    "an ALE lists media: where, how fast and with which effects a cut plays them is not in it");
    }
    _report.at({});
    return encoded(text(head.empty() ? freshHead(first) : std::move(head)), kept ? kept->encoding : Encoding::Unmarked);
}

} // namespace

std::optional<std::string> writeAle(const DmRoot& root, DM::FrameCodeModes fcm, Report& report)
{
    try
    {
        return Writer(fcm, report).write(root);
    }
    catch (...)
    {
        report.addException();
    }
    return std::nullopt;
}

} // namespace interchange
