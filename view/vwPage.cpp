#include "vwPage.h"

#include "vwEscape.h"
#include "vwLook.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace view
{
namespace
{

/// Writes one JSON text; commas are its own business.
class Writer
{
public:
    explicit Writer(std::string& out)
        : _out(out)
    {
    }
    void open(char bracket)
    {
        next();
        (_out += bracket), _first = true;
    }
    void close(char bracket) { (_out += bracket), _first = false; }
    Writer& key(std::string_view name)
    {
        next();
        addJson(_out, name);
        _out += ':';
        _first = true;
        return *this;
    }
    void number(double value)
    {
        next();
        addNumber(_out, value);
    }
    void text(std::string_view value)
    {
        next();
        addJson(_out, value);
    }
    void yes(bool value)
    {
        next();
        _out += value ? "true" : "false";
    }

private:
    void next()
    {
        if (!_first)
            _out += ',';
        _first = false;
    }

    std::string& _out;
    bool _first = true;
};

void numbers(Writer& json, std::string_view key, const std::vector<double>& values)
{
    json.key(key).open('[');
    for (const double value : values)
        json.number(value);
    json.close(']');
}

std::vector<double> differences(const std::vector<double>& values)
{
    std::vector<double> steps(values.size());
    std::adjacent_difference(values.begin(), values.end(), steps.begin());
    return steps;
}

double digits(const std::vector<double>& values)
{
    double count = 0.0;
    for (const double value : values)
        count += 2.0 + std::log10(1.0 + std::abs(value));
    return count;
}

/// Whole numbers far from where their differences would lose a digit.
bool isWhole(double value)
{
    return value == std::floor(value) && std::abs(value) < 9e15;
}

/// One value for each segment. What all hold is written once, and what nearly all have by default only where it
/// differs.
void column(Writer& json, const std::vector<double>& values, double byDefault)
{
    const auto usual = static_cast<std::size_t>(std::count(values.begin(), values.end(), byDefault));
    json.open('{');
    if (std::equal(values.begin() + 1, values.end(), values.begin()))
        json.key("all").number(values.front());
    else if (usual * 2 > values.size())
    {
        std::vector<double> at;
        std::vector<double> of;
        for (std::size_t i = 0; i < values.size(); ++i)
            if (values[i] != byDefault)
            {
                at.push_back(static_cast<double>(i));
                of.push_back(values[i]);
            }
        numbers(json, "at", differences(at));
        numbers(json, "of", of);
    }
    else
    {
        const std::vector<double> steps = differences(values);
        if (std::all_of(values.begin(), values.end(), isWhole) && digits(steps) < digits(values))
            numbers(json, "d", steps);
        else
            numbers(json, "v", values);
    }
    json.close('}');
}

/// Under its name, unless all have the default.
template <class Values>
void named(Writer& json, std::string_view key, const Values& values, double byDefault = 0.0)
{
    std::vector<double> all(values.size());
    std::transform(values.begin(), values.end(), all.begin(), [](auto value) { return static_cast<double>(value); });
    if (std::all_of(all.begin(), all.end(), [&](double value) { return value == byDefault; }))
        return;
    json.key(key);
    column(json, all, byDefault);
}

void properties(Writer& json, const Properties& pairs)
{
    json.open('[');
    for (const Property& property : pairs)
    {
        json.number(property.name);
        json.number(property.value);
    }
    json.close(']');
}

void effects(Writer& json, std::string_view key, const std::vector<Effect>& all)
{
    if (all.empty())
        return;
    json.key(key).open('[');
    for (const Effect& effect : all)
    {
        json.open('[');
        json.number(effect.owner);
        json.number(effect.name);
        json.yes(effect.muted);
        properties(json, effect.properties);
        json.open('[');
        for (const Curve& curve : effect.curves)
        {
            json.open('[');
            json.number(curve.name);
            json.open('[');
            for (const Key& keyFrame : curve.keys)
            {
                json.number(static_cast<double>(keyFrame.frame));
                json.number(static_cast<double>(keyFrame.value));
            }
            json.close(']');
            json.close(']');
        }
        json.close(']');
        json.close(']');
    }
    json.close(']');
}

void rows(Writer& json, const Scene& scene, const Composition& composition)
{
    json.key("rows").open('[');
    for (const Row& row : composition.rows)
    {
        json.open('[');
        json.text(scene.texts[row.name]);
        json.text(scene.texts[row.detail]);
        json.number(row.isAudio ? 1 : 0);
        json.number(row.top);
        json.number(row.height);
        json.number(row.last - row.first);
        json.number(row.isTrackTop ? 1 : 0);
        json.number(static_cast<double>(row.version));
        properties(json, row.track);
        properties(json, row.layer);
        json.close(']');
    }
    json.close(']');
}

void segments(Writer& json, const Composition& composition)
{
    const Segments& all = composition.segments;
    json.key("cols").open('{');
    if (all.size() > 0)
    {
        named(json, "kind",
              std::vector<int>(reinterpret_cast<const std::uint8_t*>(all.kind.data()),
                               reinterpret_cast<const std::uint8_t*>(all.kind.data()) + all.size()));
        named(json, "flags", all.flags);
        named(json, "tint", all.tint);
        named(json, "length", all.length);
        named(json, "name", all.name);
        named(json, "reel", all.reel);
        named(json, "id", all.id);
        std::vector<double> holes; // from the end of the one in front: 0 for most
        for (const Row& row : composition.rows)
        {
            double at = 0.0;
            for (std::uint32_t i = row.first; i < row.last; ++i)
            {
                holes.push_back(all.in[i] - at);
                at += holes.back(); // as the page adds them up
                at += all.length[i];
            }
        }
        named(json, "hole", holes);
    }
    json.close('}');

    std::vector<double> counts(all.size());
    std::vector<double> record;
    std::vector<double> source;
    std::vector<double> speed;
    std::vector<double> mode;
    for (const Piece& piece : composition.pieces)
    {
        counts[piece.segment] += 1.0;
        record.push_back(piece.record - all.in[piece.segment]);
        source.push_back(piece.source);
        speed.push_back(piece.speed);
        mode.push_back(piece.mode);
    }
    json.key("pieces").open('{');
    if (!composition.pieces.empty())
    {
        named(json, "count", counts);
        named(json, "record", record);
        named(json, "source", source);
        named(json, "speed", speed, 1.0);
        named(json, "mode", mode, composition.mode);
    }
    json.close('}');
}

/// Of each composition, the properties of its segments.
void furtherProperties(Writer& json, const Composition& composition)
{
    json.open('[');
    for (const Column& one : composition.columns)
    {
        json.open('[');
        json.number(one.name);
        json.yes(one.isText);
        if (one.segments.size() == composition.segments.size())
            column(json, one.values, std::nan(""));
        else
        {
            json.open('{');
            std::vector<double> at(one.segments.begin(), one.segments.end());
            numbers(json, "at", differences(at));
            numbers(json, "of", one.values);
            json.close('}');
        }
        json.close(']');
    }
    json.close(']');
}

void transitions(Writer& json, const Composition& composition)
{
    if (composition.transitions.empty())
        return;
    json.key("trx").open('[');
    for (const Transition& one : composition.transitions)
    {
        json.open('[');
        json.number(one.row);
        json.number(one.in);
        json.number(one.length);
        json.number(static_cast<double>(one.shape));
        json.yes(one.muted);
        json.number(one.name);
        properties(json, one.properties);
        if (one.tint != noTint)
            json.number(one.tint);
        json.close(']');
    }
    json.close(']');
    effects(json, "trxEffects", composition.transitionEffects);
}

void marksAndRemarks(Writer& json, const Composition& composition)
{
    const auto segmentOf = [](std::uint32_t segment) { return segment == noSegment ? -1.0 : segment; };
    if (!composition.marks.empty())
    {
        json.key("marks").open('[');
        for (const Mark& mark : composition.marks)
        {
            json.open('[');
            for (const double value :
                 {mark.time, mark.length, static_cast<double>(mark.colour), static_cast<double>(mark.name),
                  static_cast<double>(mark.comment), segmentOf(mark.segment)})
                json.number(value);
            json.close(']');
        }
        json.close(']');
    }
    if (composition.remarks.empty())
        return;
    json.key("remarks").open('[');
    for (const Remark& remark : composition.remarks)
    {
        json.open('[');
        json.number(remark.tint);
        for (const std::string* const words : {&remark.code, &remark.where, &remark.text})
            json.text(*words);
        json.number(segmentOf(remark.row));
        json.number(segmentOf(remark.segment));
        json.number(remark.time);
        json.close(']');
    }
    json.close(']');
}

void axes(Writer& json, std::string_view key, const std::array<Axis, 2>& both)
{
    json.key(key).open('[');
    for (const Axis& axis : both)
    {
        json.open('[');
        json.number(axis.slope);
        json.open('[');
        for (const Axis::Knot& knot : axis.knots)
        {
            json.number(knot.record);
            json.number(knot.place);
        }
        json.close(']');
        json.close(']');
    }
    json.close(']');
}

void versions(Writer& json, const Composition& composition)
{
    if (composition.version != Version::Only)
        json.key("version").number(static_cast<double>(composition.version));
    if (!composition.versions)
        return;
    const Versions& both = *composition.versions;
    json.key("versions").open('{');
    json.key("mode").number(both.oldMode);
    json.key("labelStart").number(both.oldLabelStart);
    axes(json, "axes", both.axes);
    axes(json, "plain", both.plain);
    numbers(json, "extent", {both.plainBegin, both.plainEnd});
    json.key("folds").open('[');
    for (const Fold& fold : both.folds)
    {
        json.open('[');
        for (const double value : {fold.in, fold.out, fold.frames})
            json.number(value);
        json.close(']');
    }
    json.close(']');
    json.key("counterpart");
    std::vector<double> others; // from 1 on; 0 is none
    for (const std::uint32_t other : both.counterpart)
        others.push_back(other == noSegment ? 0.0 : other + 1.0);
    if (others.empty())
    {
        json.open('{');
        json.close('}');
    }
    else
        column(json, others, 0.0);
    json.close('}');
}

void compositionJson(Writer& json, const Scene& scene, const Composition& composition)
{
    json.open('{');
    json.key("name").number(composition.name);
    json.key("mode").number(composition.mode);
    json.key("labelStart").number(composition.labelStart);
    json.key("begin").number(composition.begin);
    json.key("end").number(composition.end);
    json.key("height").number(composition.height);
    json.key("count").number(static_cast<double>(composition.segments.size()));
    rows(json, scene, composition);
    segments(json, composition);
    if (!composition.opens.empty())
        numbers(json, "opens", {composition.opens.begin(), composition.opens.end()});
    effects(json, "effects", composition.effects);
    transitions(json, composition);
    marksAndRemarks(json, composition);
    versions(json, composition);
    json.key("properties");
    properties(json, composition.properties);
    json.close('}');
}

void theme(Writer& json, std::string_view key, const Theme& colours)
{
    json.key(key).open('{');
    const std::pair<const char*, const char*> members[] = {
        {"page", colours.page},       {"lane", colours.lane},   {"panel", colours.panel}, {"line", colours.line},
        {"text", colours.text},       {"dim", colours.dim},     {"gap", colours.gap},     {"trx", colours.trx},
        {"trxLine", colours.trxLine}, {"dense", colours.dense}, {"fault", colours.fault}};
    for (const auto& [name, value] : members)
        json.key(name).text(value);
    json.close('}');
}

void look(Writer& json)
{
    json.key("look").open('{');
    json.key("sizes").open('{');
    const std::pair<const char*, double> members[] = {{"header", sizes.header},       {"ruler", sizes.ruler},
                                                      {"marks", sizes.marks},         {"rowGap", sizes.rowGap},
                                                      {"radius", sizes.radius},       {"smallBox", sizes.smallBox},
                                                      {"labelFrom", sizes.labelFrom}, {"tickApart", sizes.tickApart}};
    for (const auto& [name, value] : members)
        json.key(name).number(value);
    json.close('}');
    theme(json, "light", light);
    theme(json, "dark", dark);
    json.key("tints").open('[');
    const auto tint = [&](const Tint& colours)
    {
        json.open('[');
        for (const char* const colour : {colours.light, colours.dark, colours.edge})
            json.text(colour);
        json.close(']');
    };
    forEachTint(tint);
    json.close(']');
    json.key("changes").open('[');
    for (std::size_t i = 0; i < changeTints.size(); ++i)
    {
        json.open('[');
        json.number(static_cast<double>(changesAt + i));
        json.text(changeTints[i].name);
        json.close(']');
    }
    json.close(']');
    json.close('}');
}

/// What the first picture needs.
void addDrawing(std::string& out, const Scene& scene, std::string_view watch)
{
    Writer json(out);
    json.open('{');
    json.key("title").text(scene.title);
    json.key("subtitle").text(scene.subtitle);
    if (!watch.empty())
        json.key("watch").text(watch);
    json.key("texts").number(static_cast<double>(scene.texts.size()));
    json.key("modes").open('[');
    for (const Mode& mode : scene.modes)
    {
        json.open('{');
        json.key("name").text(mode.name);
        json.key("fps").number(mode.fps);
        json.key("rate").number(mode.rate);
        json.key("drop").number(mode.drop);
        json.key("zero").text(mode.zero);
        json.close('}');
    }
    json.close(']');
    json.key("tops").number(static_cast<double>(scene.tops));
    json.key("notes").open('[');
    for (const std::string& note : scene.notes)
        json.text(note);
    json.close(']');
    look(json);
    json.key("compositions").open('[');
    for (const Composition& composition : scene.compositions)
        compositionJson(json, scene, composition);
    json.close(']');
    json.close('}');
}

/// A line each, escaped as in JSON: the page takes a text apart when it shows it.
void addTexts(std::string& out, const Texts& texts)
{
    for (std::size_t i = 0; i < texts.size(); ++i)
    {
        addJsonText(out, texts[static_cast<TextId>(i)]);
        out += '\n';
    }
}

/// What is told of a segment on request.
void addProperties(std::string& out, const Scene& scene)
{
    Writer json(out);
    json.open('[');
    for (const Composition& composition : scene.compositions)
        furtherProperties(json, composition);
    json.close(']');
}

} // namespace

std::string pageOf(const Scene& scene, const PageParts& parts, std::string_view watch)
{
    std::string out(parts.beforePolicyEnd);
    out += watch.empty() ? "" : "; connect-src 'self'";
    out += parts.beforeTitle;
    addXml(out, scene.title);
    out += parts.beforeScene;
    addDrawing(out, scene, watch);
    out += parts.behindScene;
    out += "<script type=\"text/plain\" id=\"texts\">"; // behind what draws the first picture, which shows few of them
    addTexts(out, scene.texts);
    out += "</script>\n<script type=\"application/json\" id=\"properties\">";
    addProperties(out, scene);
    out += "</script>\n</body>\n</html>\n";
    return out;
}

} // namespace view
