#include "pyTable.h"

#include "pySet.h"
#include "pyTime.h"
#include "pyValue.h"
#include "pyWalk.h"

#include "dmMaterial.h"
#include "dmNoTime.h"
#include "dmPlayed.h"
#include "dmSourceInfo.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace zrpy
{
namespace
{

py::object text(const std::string& utf8)
{
    return py::str(utf8);
}

std::string pathOf(const DmSourceInfo& info)
{
    return dmUtf8(info.getPath().empty() && !info.getFileList().empty() ? info.getFileList().front() : info.getPath());
}

/// What rows have in common is made once.
class Common
{
public:
    struct Composition
    {
        const DmCompositionNode* node = nullptr;
        DM::FrameCodeModes mode = DM::FCM_NOT_DEFINED;
        double labelShift = 0.0;
        py::object name = py::none();
    };

    const Composition& of(const DmCompositionNode* node)
    {
        if (node && node != _composition.node)
            _composition = {node, dmFcmFromText(node->getFCM()), node->getLabelTime(0.0), fromText(node->getName())};
        return node ? _composition : _none;
    }
    struct Media
    {
        py::object name = py::none();
        py::object reel = py::none();
        py::object path = py::none();
    };

    /// Looks up only what another segment may have, too.
    Media of(const DmSourceNode::Input* input, const DmSourceInfo* info)
    {
        if (!input)
            return {};
        if (input->refCount() == 1)
            return mediaOf(*input, info);
        const auto [at, isNew] = _media.try_emplace(input);
        if (isNew)
            at->second = mediaOf(*input, info);
        return at->second;
    }

    /// The last that was made of something: most rows have the same as the row before.
    class Last
    {
    public:
        template <class Make>
        const py::object& of(const void* from, const Make& make)
        {
            if (from != _from || !_made)
            {
                _made = make();
                _from = from;
            }
            return _made;
        }

    private:
        const void* _from = nullptr;
        py::object _made;
    };
    Last track;
    Last kind;

private:
    static Media mediaOf(const DmSourceNode::Input& input, const DmSourceInfo* info)
    {
        Media media;
        media.name = fromText(input.getName());
        if (info)
        {
            media.reel = fromText(info->getReelName());
            media.path = text(pathOf(*info));
        }
        return media;
    }

    Composition _composition;
    const Composition _none{};
    std::unordered_map<const DmSourceNode::Input*, Media> _media; ///< the rows' segments keep the inputs
};

/// One segment, with what several columns ask of it.
struct Row
{
    Row(const SegmentPlace& at, Common& all)
        : place(at)
        , segment(*at.segment)
        , common(all)
        , composition(all.of(at.composition))
        , mode(composition.mode)
        , source(segment.whatIs() == DM_SOURCE_NODE ? static_cast<const DmSourceNode&>(segment).getSrcInput() : nullptr)
        , info(source ? source->getSrcInfo() : nullptr)
    {
    }

    const DmPlayed& played()
    {
        if (!_played)
            _played.emplace(segment, mode);
        return *_played;
    }
    const Common::Media& media()
    {
        if (!_media)
            _media = common.of(source, info);
        return *_media;
    }
    const DmMaterial& material()
    {
        if (!_material)
            _material = dmMaterialOf(segment, mode);
        return *_material;
    }

    const SegmentPlace& place;
    const DmSegmentNode& segment;
    Common& common;
    const Common::Composition& composition;
    const DM::FrameCodeModes mode;
    const DmSourceNode::Input* const source;
    const DmSourceInfo* const info;

private:
    std::optional<DmPlayed> _played;
    std::optional<DmMaterial> _material;
    std::optional<Common::Media> _media;
};

py::object recordLabel(const Row& row, double time)
{
    if (!row.composition.node)
        return py::none();
    return text(time == dmNoTime ? std::string() : labelOf(time + row.composition.labelShift, row.mode));
}

/// The label of a frame of the material that plays; None for what has no frames of its own.
py::object materialLabel(Row& row, double frame)
{
    const DmMaterial& material = row.material();
    if (material.kind != DmMaterial::Kind::Moving)
        return py::none();
    const DM::FrameCodeModes mode = material.fcm == DM::FCM_NOT_DEFINED ? row.mode : material.fcm;
    return text(labelOf(material.begin + frame, mode));
}

/// None in a composition without a mode.
py::object secondsOf(const Row& row)
{
    unsigned rate = 0;
    unsigned per = 1;
    if (row.mode == DM::FCM_NOT_DEFINED || !DM::FcmUtil::getRational(row.mode, rate, per, false))
        return py::none();
    return py::float_(row.segment.getRecLength() * per / rate);
}

py::object effectsOf(const Row& row)
{
    std::string names;
    for (int i = 0; i < row.segment.getEffects().count(); ++i)
        if (const DmEffectSettings* const effect = row.segment.getEffects().at(i))
            names += (names.empty() ? "" : ", ") + dmUtf8(effect->getName());
    return text(names);
}

std::string trackName(const DmTrackNode& track)
{
    if (track.getName() != L"untitled" && !track.getName().empty())
        return dmUtf8(track.getName());
    return (track.getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(track.getTrackNum());
}

struct Column
{
    const char* name;
    py::object (*value)(Row& row);
};

constexpr Column columns[] = {
    {"composition", [](Row& row) -> py::object { return row.composition.name; }},
    {"track",
     [](Row& row) -> py::object
     {
         const DmTrackNode* const track = row.place.track;
         return track ? row.common.track.of(track, [track] { return text(trackName(*track)); }) : py::none();
     }},
    {"layer",
     [](Row& row) -> py::object
     { return row.place.layer ? py::object(py::int_(row.place.layer->getLayerNum())) : py::none(); }},
    {"index", [](Row& row) -> py::object { return py::int_(row.place.index); }},
    {"kind",
     [](Row& row) -> py::object
     { return row.common.kind.of(&row.segment.classData(), [&row] { return fromText(row.segment.getPSetName()); }); }},
    {"name", [](Row& row) -> py::object { return fromText(row.segment.getName()); }},
    {"shot", [](Row& row) -> py::object { return fromText(row.segment.getShotName()); }},
    {"recIn", [](Row& row) -> py::object { return py::float_(row.segment.getRecIn()); }},
    {"recLength", [](Row& row) -> py::object { return py::float_(row.segment.getRecLength()); }},
    {"seconds", [](Row& row) -> py::object { return secondsOf(row); }},
    {"recOut", [](Row& row) -> py::object { return py::float_(row.segment.getRecOut()); }},
    {"in", [](Row& row) -> py::object { return recordLabel(row, row.segment.getRecIn()); }},
    {"out", [](Row& row) -> py::object { return recordLabel(row, row.segment.getRecOut()); }},
    {"media", [](Row& row) -> py::object { return row.media().name; }},
    {"reel", [](Row& row) -> py::object { return row.media().reel; }},
    {"path", [](Row& row) -> py::object { return row.media().path; }},
    {"sourceIn", [](Row& row) -> py::object { return materialLabel(row, row.played().begin()); }},
    {"sourceOut", [](Row& row) -> py::object { return materialLabel(row, row.played().end()); }},
    {"speed",
     [](Row& row) -> py::object
     {
         return row.played().motion() == DmPlayed::Motion::Keyed || row.played().motion() == DmPlayed::Motion::None
                    ? py::none()
                    : py::object(py::float_(row.played().speed()));
     }},
    {"effects", [](Row& row) -> py::object { return effectsOf(row); }},
    {"muted", [](Row& row) -> py::object { return py::bool_(row.segment.getMuted()); }},
    {"segmentId", [](Row& row) -> py::object { return fromText(row.segment.getSegmentId()); }},
    {"object", [](Row& row) -> py::object { return wrap(row.place.segment.get()); }},
};

/// Those of the names; without names all, but for the objects themselves.
std::vector<const Column*> chosen(const py::object& names)
{
    std::vector<const Column*> all;
    if (names.is_none())
    {
        for (const Column& each : columns)
            if (std::string_view(each.name) != "object")
                all.push_back(&each);
        return all;
    }
    if (PyUnicode_Check(names.ptr()))
        raiseType("columns is a list of names");
    for (const py::handle name : py::iter(names))
    {
        const std::string wanted = dmUtf8(toText(name, "a column's name"));
        const auto* const found =
            std::ranges::find(columns, wanted, [](const Column& each) { return std::string(each.name); });
        if (found == std::end(columns))
        {
            std::string known;
            for (const Column& each : columns)
                known += (known.empty() ? "" : ", ") + std::string(each.name);
            raiseValue("there is no column '" + wanted + "'; there are " + known);
        }
        all.push_back(found);
    }
    return all;
}

py::list table(const py::object& node, const py::object& names, const py::object& track, const py::object& at,
               bool intoContainers)
{
    const std::vector<const Column*> asked = chosen(names);
    std::vector<py::object> keys;
    for (const Column* const each : asked)
        keys.push_back(py::reinterpret_steal<py::object>(PyUnicode_InternFromString(each->name)));

    // A copy of a whole dict has all its keys at once, and does not grow.
    py::dict unfilled;
    for (const py::object& key : keys)
        if (PyDict_SetItem(unfilled.ptr(), key.ptr(), Py_None) != 0)
            throw py::error_already_set();

    const std::vector<SegmentPlace> places = segmentsOf(node, track, at, intoContainers);
    py::list rows(places.size());
    Common common;
    Py_ssize_t next = 0;
    for (const SegmentPlace& place : places)
    {
        Row row(place, common);
        const py::object record = py::reinterpret_steal<py::object>(PyDict_Copy(unfilled.ptr()));
        if (!record)
            throw py::error_already_set();
        for (std::size_t i = 0; i < asked.size(); ++i)
            if (PyDict_SetItem(record.ptr(), keys[i].ptr(), asked[i]->value(row).ptr()) != 0)
                throw py::error_already_set();
        PyList_SET_ITEM(rows.ptr(), next++, record.inc_ref().ptr());
    }
    return rows;
}

py::list playing(const py::object& node, const py::object& at, const py::object& track)
{
    if (at.is_none())
        raiseType("a time is asked for: record time in frames, a label, or a Time");
    py::list all;
    Common common;
    for (const SegmentPlace& place : segmentsOf(node, track, at, false))
    {
        Row row(place, common);
        const std::optional<double> frame = row.played().frameAt(*place.at);
        py::dict record;
        record["segment"] = wrap(place.segment.get());
        record["track"] = place.track ? text(trackName(*place.track)) : py::none();
        record["frame"] = frame ? py::object(py::float_(*frame)) : py::none();
        record["label"] = frame ? materialLabel(row, *frame) : py::none();
        all.append(record);
    }
    return all;
}

} // namespace

void addTables(py::module_& module)
{
    module.def("table", &table, py::arg("node"), py::arg("columns") = py::none(), py::kw_only(),
               py::arg("track") = py::none(), py::arg("at") = py::none(), py::arg("into_containers") = false,
               "One row for each segment, as dicts: for pandas.DataFrame, csv.DictWriter and the like.\n\n"
               "columns: their names, in order; by default all but \"object\", the segment itself.");
    module.def(
        "playing", &playing, py::arg("node"), py::arg("at"), py::kw_only(), py::arg("track") = py::none(),
        "What plays at a record time: for each segment the frame of its material, from the material's begin, and "
        "its\nlabel; None for what has no frames of its own, and between the keys of a keyed speed.");
    py::list names;
    for (const Column& each : columns)
        names.append(each.name);
    module.attr("TABLE_COLUMNS") = py::tuple(names);
}

} // namespace zrpy
