#include "icAleReader.h"

#include "icAleColumns.h"
#include "icIds.h"
#include "icText.h"
#include "icTimeCode.h"
#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmMaterial.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>

namespace interchange
{

using namespace ale;

namespace
{

/// What a row says, by role: of several columns of a kind the one counts that is known best, and says something.
struct Facts
{
    std::string_view operator[](Role role) const { return texts[static_cast<std::size_t>(role)]; }

    std::array<std::string_view, static_cast<std::size_t>(Role::Cdl) + 1> texts;
    std::vector<bool> used; ///< of the columns: the model has what they say
};

struct Range
{
    std::int64_t start = 0;
    std::int64_t length = 0;
};

class Reader
{
public:
    Reader(std::string_view text, Encoding encoding, const Options& options, Report& report)
        : _text(text)
        , _encoding(encoding)
        , _options(options)
        , _report(report)
    {
    }

    CoSharedPtr<DmRoot> read();

private:
    bool chooseMode(std::string_view rows);
    /// What the labels of the rows tell of the mode.
    struct Labels
    {
        bool dropsFirst = false; ///< of the first one
        bool drops = false;      ///< of any
        int mostFrames = 0;
    };
    Labels labelsOf(std::string_view rows) const;
    DM::FrameCodeModes guess(const Labels& labels) const;
    /// The row's own: at the rate that it says, dropping labels where its do.
    DM::FrameCodeModes modeOf(const Facts& facts) const;
    Facts factsOf(const std::vector<std::string_view>& cells) const;
    std::optional<Range> range(const Facts& facts, DM::FrameCodeModes fcm);
    std::optional<std::int64_t> frames(std::string_view label, const char* column, DM::FrameCodeModes fcm);
    void row(const Line& line);
    CoSharedPtr<DmSourceNode> source(const Facts& facts, Range range, DM::FrameCodeModes fcm, bool isSound,
                                     double length);
    std::optional<Look> look(const Facts& facts);
    Kept kept(const std::vector<std::string_view>& cells, const Facts& facts, const DmSegmentNode& node,
              const Line& line) const;

    std::string_view _text;
    Encoding _encoding;
    const Options& _options;
    Report& _report;
    Head _head;
    std::vector<std::string> _keys;
    std::vector<Role> _roles;
    std::vector<std::size_t> _byRank; ///< columns, the best known first
    DM::FrameCodeModes _fcm = DM::FCM_NOT_DEFINED;
    std::uint32_t _line = 0;
    double _at = 0;
    IdMaker _ids;
    std::array<DmLayerBuilder, 2> _layers{DmLayerBuilder(0, DM_MEDIA_VIDEO), DmLayerBuilder(0, DM_MEDIA_AUDIO)};
    bool _hasSound = false;
};

CoSharedPtr<DmRoot> Reader::read()
{
    std::string_view rest = _text;
    const std::optional<Head> head = Head::take(rest);
    if (!head)
    {
        _report.add(Report::Error, 0, "an ALE has a line 'Column' with the names behind it, and a line 'Data'");
        return {};
    }
    _head = *head;
    if (_head.hasOtherDelimiter)
        _report.mistake(1, "a field delimiter other than TABS", "taken as tabs");
    _keys = keysOf(_head.columns);
    std::ranges::transform(_head.columns, std::back_inserter(_roles), roleOf);
    _byRank.resize(_roles.size());
    std::iota(_byRank.begin(), _byRank.end(), std::size_t{0});
    std::ranges::stable_sort(_byRank, {}, [this](std::size_t i) { return rankOf(_head.columns[i]); });
    if (!chooseMode(rest))
        return {};
    _line = _head.lines;
    while (!rest.empty())
    {
        ++_line;
        row(takeLine(rest));
    }
    const DmString fcm = dmFcmText(_fcm);
    auto composition = orBadAlloc(DmCompositionNode::create(L"untitled", fcm, {}));
    require(composition->setStartTC(0, fcm));
    require(composition->setCompLength(_at));
    require(composition->setPrimaryVideoTrackIndex(0));
    for (std::size_t i = 0; i < (_hasSound ? 2U : 1U); ++i)
    {
        const auto track = orBadAlloc(DmTrackNode::create(1, i == 0 ? DM_MEDIA_VIDEO : DM_MEDIA_AUDIO));
        require(track->setTrackChannel(1));
        track->addChild(orBadAlloc(_layers[i].finish()));
        composition->addChild(track);
    }
    require(KeptHead{std::string(_head.text), _encoding}.keepOn(*composition));
    if (_options.places)
        _report.came(*composition, 1);
    auto root = orBadAlloc(DmRoot::create());
    root->addChild(composition);
    return _report.hasErrors() ? CoSharedPtr<DmRoot>() : root;
}

Reader::Labels Reader::labelsOf(std::string_view rows) const
{
    Labels labels;
    bool isFirst = true;
    while (!rows.empty())
    {
        const std::vector<std::string_view> cells = cellsOf(takeLine(rows).text);
        for (std::size_t i = 0; i < std::min(cells.size(), _roles.size()); ++i)
            if (_roles[i] == Role::Start || _roles[i] == Role::End)
                if (const std::optional<TimeLabel> label = parseTimeLabel(trimmed(cells[i])))
                {
                    labels.dropsFirst = std::exchange(isFirst, false) ? label->drop : labels.dropsFirst;
                    labels.drops = labels.drops || label->drop;
                    labels.mostFrames = std::max(labels.mostFrames, label->frames);
                }
    }
    return labels;
}

/// Where nobody says the rate: that of the picture's format, or else the lowest in which all labels exist.
DM::FrameCodeModes Reader::guess(const Labels& labels) const
{
    const DM::FrameCodeModes ofFormat = startsWithNoCase(_head.format, "PAL")    ? DM::FCM_25
                                        : startsWithNoCase(_head.format, "NTSC") ? DM::FCM_29_97_NDF
                                                                                 : DM::FCM_NOT_DEFINED;
    for (const DM::FrameCodeModes fcm :
         {ofFormat, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_NDF, DM::FCM_50, DM::FCM_59_94_NDF})
        if (fcm != DM::FCM_NOT_DEFINED && labels.mostFrames < DM::FcmUtil::getIntFPS(fcm) &&
            (!labels.drops || DM::FcmUtil::toDrop(fcm) != fcm))
            return labels.dropsFirst ? DM::FcmUtil::toDrop(fcm) : fcm;
    return labels.drops ? DM::FCM_29_97_DF : DM::FCM_24;
}

DM::FrameCodeModes Reader::modeOf(const Facts& facts) const
{
    const std::optional<double> rate = toNumber<double>(facts[Role::Rate]);
    const DM::FrameCodeModes own =
        rate ? DM::FcmUtil::FPStoFCM(*rate, DM::FcmUtil::isDropFrame(_fcm)) : DM::FCM_NOT_DEFINED;
    const DM::FrameCodeModes fcm = own == DM::FCM_NOT_DEFINED ? _fcm : own;
    const std::optional<TimeLabel> start = parseTimeLabel(facts[Role::Start]);
    if (!start || _options.fcm != DM::FCM_NOT_DEFINED)
        return fcm;
    // Where the heading names no more than a rate, the labels say the rest.
    const bool isOpen = _head.fps.empty() || toNumber<double>(_head.fps);
    return start->drop ? DM::FcmUtil::toDrop(fcm) : isOpen ? DM::FcmUtil::toNonDrop(fcm) : fcm;
}

bool Reader::chooseMode(std::string_view rows)
{
    const Labels labels = labelsOf(rows);
    const DM::FrameCodeModes said = _head.mode(labels.dropsFirst);
    _fcm = _options.fcm != DM::FCM_NOT_DEFINED ? _options.fcm : said;
    if (_options.fcm != DM::FCM_NOT_DEFINED && said != DM::FCM_NOT_DEFINED &&
        DM::FcmUtil::toNonDrop(_options.fcm) != DM::FcmUtil::toNonDrop(said))
        _report.add(Report::Warning, _head.fpsLine,
                    "the heading says " + std::string(_head.fps) + " frames a second, another mode was asked for");
    if (_fcm != DM::FCM_NOT_DEFINED)
        return true;
    if (!_head.fps.empty())
    {
        _report.add(Report::Error, _head.fpsLine,
                    "no frame-code mode has the rate '" + std::string(_head.fps) + "'; name one with --fcm");
        return false;
    }
    _fcm = guess(labels);
    _report.add(Report::Notice, 0,
                "no rate in the heading, so the frame-code mode is taken to be '" +
                    std::string(DM::FcmUtil::getFCMString(_fcm)) + "' (--fcm names another)");
    return true;
}

Facts Reader::factsOf(const std::vector<std::string_view>& cells) const
{
    Facts facts;
    facts.used.resize(_roles.size());
    for (const std::size_t i : _byRank)
        if (std::string_view& text = facts.texts[static_cast<std::size_t>(_roles[i])];
            i < cells.size() && text.empty() && _roles[i] != Role::Custom && !trimmed(cells[i]).empty())
        {
            text = trimmed(cells[i]);
            facts.used[i] = true;
        }
    return facts;
}

std::optional<std::int64_t> Reader::frames(std::string_view label, const char* column, DM::FrameCodeModes fcm)
{
    const std::optional<TimeLabel> parsed = parseTimeLabel(label);
    if (parsed && isInDay(*parsed, fcm))
        return framesOf(*parsed, fcm);
    _report.mistake(_line,
                    std::string(column) + " is '" + std::string(label.substr(0, 40)) + "', no time code of '" +
                        DM::FcmUtil::getFCMString(fcm) + "'",
                    "the row is kept as a gap");
    return std::nullopt;
}

/// None for a row without times, and, behind a mistake, for one whose times make no sense.
std::optional<Range> Reader::range(const Facts& facts, DM::FrameCodeModes fcm)
{
    if (facts[Role::Start].empty() || (facts[Role::End].empty() && facts[Role::Duration].empty()))
        return std::nullopt;
    const bool hasEnd = !facts[Role::End].empty();
    const std::optional<std::int64_t> start = frames(facts[Role::Start], "Start", fcm);
    const std::optional<std::int64_t> other =
        hasEnd ? frames(facts[Role::End], "End", fcm) : frames(facts[Role::Duration], "Duration", fcm);
    if (!start || !other)
        return std::nullopt;
    const std::int64_t day = framesOfDay(fcm);
    std::int64_t length = hasEnd ? *other - *start : *other;
    const std::optional<TimeLabel> said = hasEnd ? parseTimeLabel(facts[Role::Duration]) : std::nullopt;
    const bool isLong = said && isInDay(*said, fcm) && framesOf(*said, fcm) == length + day;
    if (length < -day / 2 || (length < 0 && isLong)) // past midnight
        length += day;
    if (length < 0)
    {
        _report.mistake(_line, "End is before Start", "the row is kept as a gap");
        return std::nullopt;
    }
    if (said && isInDay(*said, fcm) && framesOf(*said, fcm) != length)
    {
        std::string lasts;
        appendTimeLabel(lasts, length, fcm);
        _report.add(Report::Warning, _line,
                    "Duration is " + std::string(facts[Role::Duration]) + ", from Start to End it is " + lasts +
                        ": that counts");
    }
    return length == 0 ? std::optional<Range>() : Range{*start, length};
}

std::optional<Look> Reader::look(const Facts& facts)
{
    Look look;
    const auto refuse = [this](const char* column)
    { _report.add(Report::Warning, _line, std::string(column) + " is no colour correction: kept as it stands"); };
    if (!facts[Role::Sop].empty() && !readSop(facts[Role::Sop], look))
        refuse("ASC_SOP");
    if (const auto numbers = numbersOf(facts[Role::Saturation]); numbers.size() == 1 && numbers[0] >= 0)
    {
        look.saturation = numbers[0];
        look.hasSaturation = true;
    }
    else if (!facts[Role::Saturation].empty())
        refuse("ASC_SAT");
    if (!look.hasSop && !look.hasSaturation && !facts[Role::Cdl].empty() && !readSop(facts[Role::Cdl], look))
        refuse("CDL");
    return look.hasSop || look.hasSaturation ? std::optional(look) : std::nullopt;
}

CoSharedPtr<DmSourceNode> Reader::source(const Facts& facts, Range range, DM::FrameCodeModes fcm, bool isSound,
                                         double length)
{
    const DmString fcmText = dmFcmText(fcm);
    const bool isWholePath = facts[Role::FileName].find_first_of("/\\") != std::string_view::npos;
    std::string path(facts[Role::Path]);
    if (path.empty() && isWholePath)
        path = facts[Role::FileName];
    if (path.empty() && !facts[Role::FileName].empty() &&
        (facts[Role::Directory].ends_with('/') || facts[Role::Directory].ends_with('\\')))
        path.append(facts[Role::Directory]).append(facts[Role::FileName]);
    const auto info = orBadAlloc(DmSourceInfo::create());
    require(info->setSourceType(path.empty() ? DmSourceInfo::Reel : DmSourceInfo::File));
    require(info->setReelName(toDmString(facts[Role::Reel])));
    require(info->setPath(toDmString(path)));
    if (!isWholePath)
        require(info->setName(toDmString(facts[Role::FileName])));
    require(info->setTrack(1));
    const auto media = orBadAlloc(DmSourceNode::MediaInput::create(
        std::max(static_cast<double>(range.length), length), static_cast<double>(range.start), info, fcmText,
        isSound ? DM_MEDIA_AUDIO : DM_MEDIA_VIDEO, !path.empty()));
    require(media->setFcm(fcmText));
    std::string label;
    appendTimeLabel(label, range.start, fcm);
    require(media->setSrcInStr(toDmString(label)));
    require(dmSetMaterialLength(*media, static_cast<double>(range.length)));
    auto node = orBadAlloc(DmSourceNode::create(media, _at, length, 0, false, false));
    if (!facts[Role::Name].empty())
        require(node->setName(toDmString(facts[Role::Name])));
    if (const std::optional<Look> found = look(facts))
    {
        if (isSound)
            _report.lose({"DM612", "kept as they stand"}, _line);
        else
            require(node->addEffect(toLookSettings(*found)));
    }
    require(node->setSegmentId(toDmString(_ids.make(*node))));
    return node;
}

Kept Reader::kept(const std::vector<std::string_view>& cells, const Facts& facts, const DmSegmentNode& node,
                  const Line& line) const
{
    Kept kept;
    kept.isRow = node.whatIs() == DM_GAP_NODE;
    const Row row = rowOf(node, _fcm);
    for (std::size_t i = 0; i < _roles.size(); ++i)
    {
        // What another column says beside this one is not the model's; what a short row leaves out is, once it changes.
        const bool isModels = i >= cells.size() || facts.used[i];
        const std::string_view text = i < cells.size() ? cells[i] : std::string_view();
        if (std::string model = row.cell(_roles[i]); text != model)
            kept.cells.emplace(
                _keys[i], Kept::Cell{std::string(text), isModels ? std::optional(std::move(model)) : std::nullopt});
    }
    if (cells.size() != _keys.size())
        kept.count = cells.size();
    for (std::size_t i = _keys.size(); i < cells.size(); ++i)
        kept.more.append(i == _keys.size() ? "" : "\t").append(cells[i]);
    if (line.end != _head.lineEnd)
        kept.end = line.end;
    return kept;
}

void Reader::row(const Line& line)
{
    const std::vector<std::string_view> cells = cellsOf(line.text);
    const Facts facts = factsOf(cells);
    const DM::FrameCodeModes fcm = modeOf(facts);
    if (const std::string said(facts[Role::Rate]);
        !said.empty() && DM::FcmUtil::FPStoFCM(toNumber<double>(said).value_or(0), false) == DM::FCM_NOT_DEFINED)
        _report.add(Report::Warning, _line,
                    "FPS is '" + said.substr(0, 40) + "', which no mode has: the row counts as the others");
    const std::string tracks(facts[Role::Tracks]);
    const bool isSound = tracks.find_first_of("Vv") == tracks.npos && tracks.find_first_of("Aa") != tracks.npos;
    CoSharedPtr<DmSegmentNode> node;
    DmLayerBuilder* layer = _layers.data();
    if (const std::optional<Range> range = this->range(facts, fcm))
    {
        const double ratio = DM::FcmUtil::getDoubleFPS(_fcm) / DM::FcmUtil::getDoubleFPS(fcm);
        const double length = std::max(1.0, std::round(static_cast<double>(range->length) * ratio));
        node = source(facts, *range, fcm, isSound, length);
        layer = &_layers[isSound ? 1 : 0];
        _hasSound = _hasSound || isSound;
        _at += length;
    }
    else
    {
        node = orBadAlloc(DmGapNode::create(DM_MEDIA_VIDEO, _at, 0));
        if (!facts[Role::Name].empty())
            require(node->setName(toDmString(facts[Role::Name])));
    }
    require(kept(cells, facts, *node, line).keepOn(*node));
    require(layer->place(node));
    if (_options.places)
        _report.came(*node, _line);
}

} // namespace

CoSharedPtr<DmRoot> readAle(std::string bytes, const Options& options, Report& report)
{
    try
    {
        const Encoding encoding = encodingOf(bytes);
        fromUtf16(bytes);
        if (makeUtf8(bytes))
            report.add(Report::Notice, 0, "the text is no UTF-8: taken as Latin-1");
        return Reader(bytes, encoding, options, report).read();
    }
    catch (...)
    {
        report.addException();
    }
    return {};
}

} // namespace interchange
