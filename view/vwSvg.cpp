#include "vwSvg.h"

#include "vwDescribe.h"
#include "vwEscape.h"
#include "vwLook.h"

#include <algorithm>
#include <cmath>

namespace view
{
namespace
{

constexpr double titleHeight = 44.0;
constexpr double margin = 12.0;
constexpr double noteHeight = 18.0;

/// Of a track, or of one of its layers.
bool isRowOf(std::string_view name, const std::string& track)
{
    return name == track || name.starts_with(track + '.');
}

void addThemeRules(std::string& out, const Theme& theme, const char* Tint::*fill)
{
    const auto rule = [&](const char* selector, const char* property, const char* value)
    { out.append(selector).append("{").append(property).append(":").append(value).append("}"); };
    rule(".page", "fill", theme.page);
    rule(".lane", "fill", theme.lane);
    rule(".head", "fill", theme.panel);
    rule(".grid,.rule", "stroke", theme.line);
    rule("text", "fill", theme.text);
    rule(".dim", "fill", theme.dim);
    rule(".gap", "stroke", theme.gap);
    rule(".fold", "fill", theme.panel);
    rule(".fold", "stroke", theme.gap);
    rule(".slope,.mine", "stroke", theme.trxLine);
    rule(".mine", "fill", theme.trxLine);
    rule(".dense", "fill", theme.dense);
    rule(".sign", "stroke", theme.page);
    rule(".overlap", "stroke", theme.fault);
    int number = 0;
    const auto tint = [&](const Tint& colours)
    { rule((".t" + std::to_string(number++)).c_str(), "fill", colours.*fill); };
    forEachTint(tint);
}

void addStyle(std::string& out)
{
    out += "<style>text{font:12px 'DejaVu Sans',system-ui,sans-serif;dominant-baseline:middle}"
           ".title{font-size:17px;font-weight:600}.name{font-weight:600}.small,.dim{font-size:10.5px}"
           ".label{font-size:10.5px;font-variant-numeric:tabular-nums}"
           ".grid{stroke-width:1;opacity:.55}.gap{fill:none;stroke-dasharray:3 4}.slope{stroke-width:1.2;fill:none}"
           ".muted{opacity:.38}.overlap{stroke-width:2;fill:none;stroke-dasharray:5 3}"
           ".sign{stroke-width:1}";
    int number = 0;
    const auto edge = [&](const Tint& tint)
    {
        const std::string at = std::to_string(number++);
        out += ".t" + at + "{stroke:" + tint.edge + "}.s" + at + "{fill:" + tint.edge + "}";
        if (number > static_cast<int>(changesAt))
            out += ".k" + at + "{fill:none;stroke-width:2.5;stroke:" + tint.edge + "}";
    };
    forEachTint(edge);
    addThemeRules(out, light, &Tint::light);
    out += "@media (prefers-color-scheme:dark){";
    addThemeRules(out, dark, &Tint::dark);
    out += "}</style>\n";
}

void openSvg(std::string& out, double width, double height, const std::string& title)
{
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 ";
    addPixel(out, width);
    out += ' ';
    addPixel(out, height);
    out += "\" width=\"";
    addPixel(out, width);
    out += "\" height=\"";
    addPixel(out, height);
    out += "\" role=\"img\">\n<title>" + xml(isolated(title)) + "</title>\n";
    addStyle(out);
}

/// Of a document that holds no composition: what there is to say of it.
std::string emptyStill(const Scene& scene, double width)
{
    std::string out;
    openSvg(out, width, titleHeight + noteHeight * static_cast<double>(scene.notes.size() + 1), scene.title);
    out += "<rect class=\"page\" width=\"100%\" height=\"100%\"/>\n";
    double y = titleHeight;
    for (const std::string& note : scene.notes)
    {
        out += "<text class=\"dim\" x=\"";
        addPixel(out, margin);
        out += "\" y=\"";
        addPixel(out, y);
        out += "\">" + xml(note) + "</text>\n";
        y += noteHeight;
    }
    return out + "</svg>\n";
}

class Painter
{
public:
    Painter(const Scene& scene, const Composition& composition, const SvgOptions& options)
        : _scene(scene)
        , _composition(composition)
        , _options(options)
        , _window(windowOf(composition, options))
        , _left(margin + sizes.header)
        , _top(titleHeight + sizes.ruler + (composition.marks.empty() ? 0.0 : sizes.marks))
    {
        placeRows();
    }

    std::string draw()
    {
        const double legend = _composition.versions ? noteHeight + margin : 0.0;
        const double height = _top + _height + margin + legend + noteHeight * static_cast<double>(_scene.notes.size());
        openSvg(_out, _options.width, height, text(_composition.name));
        rect("page", 0.0, 0.0, _options.width, height);
        drawTitle();
        for (std::size_t i = 0; i < _rows.size(); ++i)
            drawLane(*_rows[i], _tops[i]);
        drawRuler();
        for (std::size_t i = 0; i < _rows.size(); ++i)
            drawRow(*_rows[i], _tops[i]);
        if (_composition.versions)
        {
            for (const Fold& fold : _composition.versions->folds)
                drawFold(fold);
            drawLegend();
        }
        drawMarks();
        for (const Remark& remark : _composition.remarks)
            drawRemark(remark);
        double y = _top + _height + noteHeight + legend;
        for (const std::string& note : _scene.notes)
        {
            line("small dim", margin, y, note);
            y += noteHeight;
        }
        _out += "</svg>\n";
        return std::move(_out);
    }

private:
    const std::string& text(TextId id) const { return _scene.texts[id]; }
    const Mode& mode() const { return _scene.modes[_composition.mode]; }
    double x(double place) const { return _left + _window.x(place); }
    double x(const Axis& axis, double time) const { return x(axis.placeOfIn(time)); }
    double right() const { return _options.width - margin; }
    void number(double value) { addPixel(_out, value); }

    void placeRows()
    {
        double up = 0.0; // what the rows that are left out would have taken
        for (const Row& row : _composition.rows)
        {
            const std::string& name = text(row.name);
            const bool wanted =
                _options.tracks.empty() || std::any_of(_options.tracks.begin(), _options.tracks.end(),
                                                       [&](const std::string& track) { return isRowOf(name, track); });
            if (!wanted)
            {
                up += row.height + sizes.rowGap;
                continue;
            }
            _rows.push_back(&row);
            _tops.push_back(_top + row.top - up);
            _height = row.top - up + row.height;
        }
        _height = std::max(_height, sizes.video);
    }

    // Shapes

    void rect(const char* style, double left, double top, double width, double height, double radius = 0.0)
    {
        _out.append("<rect class=\"").append(style).append("\" x=\"");
        number(left);
        _out += "\" y=\"";
        number(top);
        _out += "\" width=\"";
        number(width);
        _out += "\" height=\"";
        number(height);
        if (radius > 0.0)
        {
            _out += "\" rx=\"";
            number(std::min(radius, width / 2.0));
        }
        _out += "\"/>\n";
    }

    void path(const std::string& style, std::initializer_list<std::pair<double, double>> points, bool closed)
    {
        _out += "<path class=\"" + style + "\" d=\"";
        char command = 'M';
        for (const auto& [px, py] : points)
        {
            _out += command;
            number(px);
            _out += ' ';
            number(py);
            command = 'L';
        }
        _out += closed ? "Z\"/>\n" : "\"/>\n";
    }

    void line(const std::string& style, double left, double top, std::string_view words, const char* more = "")
    {
        _out += "<text class=\"" + style + "\" x=\"";
        number(left);
        _out += "\" y=\"";
        number(top);
        _out.append("\"").append(more).append(">");
        addXml(_out, words);
        _out += "</text>\n";
    }

    /// Cut where the box ends.
    void lineWithin(const std::string& style, double left, double middle, double width, std::string_view words)
    {
        if (words.empty() || width < 4.0)
            return;
        _out += "<svg x=\"";
        number(left);
        _out += "\" y=\"";
        number(middle - 9.0);
        _out += "\" width=\"";
        number(width);
        _out += "\" height=\"18\">";
        line(style, 0.0, 9.0, isolated(shortened(words, static_cast<std::size_t>(width / 3.0) + 1)));
        _out += "</svg>\n";
    }

    // The parts of the picture

    void drawTitle()
    {
        lineWithin("title", margin, 20.0, _options.width * 0.6, text(_composition.name));
        line("small dim", right(), 20.0, summaryOf(_scene, _composition), " text-anchor=\"end\"");
    }

    void drawLane(const Row& row, double top)
    {
        rect("lane", _left, top, right() - _left, row.height);
        rect("head", margin, top, sizes.header - 8.0, row.height, sizes.radius);
        lineWithin("name", margin + 10.0, top + row.height / 2.0 - (row.detail ? 7.0 : 0.0), sizes.header - 24.0,
                   text(row.name));
        if (row.detail)
            lineWithin("small dim", margin + 10.0, top + row.height / 2.0 + 9.0, sizes.header - 24.0, text(row.detail));
    }

    void drawRuler()
    {
        const double bottom = titleHeight + sizes.ruler;
        for (const Tick& tick : ticksOf(_scene, _composition, _window))
        {
            const double at = x(tick.time);
            path("rule", {{at, bottom - (tick.hasLabel ? 10.0 : 5.0)}, {at, bottom}}, false);
            if (!tick.hasLabel)
                continue;
            path("grid", {{at, bottom}, {at, _top + _height}}, false);
            if (at + 78.0 < _options.width)
                line("label dim", at, titleHeight + 14.0,
                     labelOf(mode(), _composition.axisOf(noSegment).recordAt(tick.time) + _composition.labelStart));
        }
        path("rule", {{_left, bottom}, {right(), bottom}}, false);
    }

    void drawRow(const Row& row, double top)
    {
        _out += "<g data-row=\"" + xml(text(row.name)) + "\">\n";
        const std::vector<Box> boxes = boxesOf(_composition, row, _window);
        for (const Box& box : boxes)
            drawBox(row, box, top);
        const auto rowIndex = static_cast<std::uint32_t>(&row - _composition.rows.data());
        for (const Transition& transition : _composition.transitions)
            if (transition.row == rowIndex)
                drawTransition(row, transition, top);
        _out += "</g>\n";
    }

    void drawBox(const Row& row, const Box& box, double top)
    {
        const Segments& segments = _composition.segments;
        const std::uint32_t i = box.first;
        const double left = std::max(_left + box.left, _left);
        const double end = std::min(_left + box.right, right());
        const double width = end - left;
        if (width <= 0.0)
            return;
        const bool isGap = segments.kind[i] == Kind::Gap;
        _out += "<g data-segment=\"" + std::to_string(i) + "\" data-count=\"" + std::to_string(box.count) + '"';
        if (segments.flags[i] & Muted)
            _out += " class=\"muted\"";
        _out += ">\n<title>" +
                xml(box.count > 1 ? std::to_string(box.count) + " segments" : describe(_scene, _composition, i)) +
                "</title>\n";
        if (box.count > 1)
            rect("dense", left, top, width, row.height);
        else if (isGap)
            rect("gap", left + 1.5, top + 1.5, std::max(width - 3.0, 0.5), row.height - 3.0, sizes.radius);
        else
            rect(("t" + std::to_string(segments.tint[i])).c_str(), left + 0.5, top + 0.5, std::max(width - 1.0, 0.5),
                 row.height - 1.0, width < 8.0 ? 0.0 : sizes.radius);
        if (segments.flags[i] & (Overlaps | NoTime))
            rect("overlap", left + 1.0, top + 1.0, std::max(width - 2.0, 0.5), row.height - 2.0);
        if (box.count == 1 && width >= sizes.labelFrom && !isGap)
            drawWords(row, i, left, top, width);
        _out += "</g>\n";
    }

    void drawWords(const Row& row, std::uint32_t i, double left, double top, double width)
    {
        const Segments& segments = _composition.segments;
        const std::string badge = badgeOf(_scene, _composition, i);
        const double badgeWidth = badge.empty() || width < 90.0 ? 0.0 : 8.0 + 6.6 * static_cast<double>(badge.size());
        const double middle = top + row.height / 2.0;
        lineWithin("name", left + 7.0, middle - 8.0, width - 10.0 - badgeWidth, text(segments.name[i]));
        lineWithin("small dim", left + 7.0, middle + 9.0, width - 10.0, sourceLine(_scene, _composition, i));
        if (badgeWidth > 0.0)
            line("small", left + width - 6.0, middle - 8.0, badge, " text-anchor=\"end\"");
        for (const Mark& mark : _composition.marks)
            if (const double at = x(_composition.axisOf(row), mark.time);
                mark.segment == i && at >= left && at <= left + width)
                path("mine", {{at - 4.0, top}, {at + 4.0, top}, {at, top + 6.0}}, true);
    }

    void drawTransition(const Row& row, const Transition& transition, double top)
    {
        const Axis& axis = _composition.axisOf(row);
        const double left = x(axis, transition.in);
        const double end = std::max(x(axis.placeOfOut(transition.in + transition.length)), left + 1.0);
        const double bottom = top + row.height;
        if (end <= _left || left >= right())
            return;
        const bool isCut = left < _left || end > right();
        if (isCut)
            openWindow(top, row.height);
        _out += transition.muted ? "<g class=\"muted\">\n" : "<g>\n";
        _out += "<title>" + xml(describeTransition(_scene, _composition, transition)) + "</title>\n";
        const auto [before, behind] = tintsBeside(_composition, row, transition);
        if (end - left < 3.0)
        {
            const std::string sign = "s" + std::to_string(transition.tint);
            rect(transition.tint == noTint ? "dense" : sign.c_str(), left, top, end - left, row.height);
        }
        else if (transition.shape == Shape::Wipe)
        {
            const double middle = (left + end) / 2.0;
            path(before, {{left, top}, {middle, top}, {middle, bottom}, {left, bottom}}, true);
            path(behind, {{middle, top}, {end, top}, {end, bottom}, {middle, bottom}}, true);
            path("slope", {{middle, top}, {middle, bottom}}, false);
        }
        else
        {
            path(before, {{left, top}, {left, bottom}, {end, bottom}}, true);
            path(transition.shape == Shape::Fade ? "mine" : behind, {{left, top}, {end, top}, {end, bottom}}, true);
            path("slope", {{left, top}, {end, bottom}}, false);
        }
        if (transition.tint != noTint)
            path("k" + std::to_string(transition.tint), {{left, top}, {end, top}, {end, bottom}, {left, bottom}}, true);
        _out += isCut ? "</g></svg>\n" : "</g>\n";
    }

    /// What is drawn in it ends where the time line does; its coordinates are those around it.
    void openWindow(double top, double height)
    {
        const double sides[] = {_left, top, right() - _left, height};
        const char* const names[] = {"<svg x=\"", "\" y=\"", "\" width=\"", "\" height=\""};
        for (std::size_t i = 0; i < std::size(sides); ++i)
            (_out += names[i]), number(sides[i]);
        _out += "\" viewBox=\"";
        for (const double side : sides)
            number(side), _out += ' ';
        _out.back() = '"';
        _out += '>';
    }

    /// A stretch that nothing is said of, over all rows, with torn edges.
    void drawFold(const Fold& fold)
    {
        const double left = std::max(x(fold.in), _left);
        const double end = std::min(x(fold.out), right());
        if (end - left < 1.0)
            return;
        const double tooth = std::min(4.0, (end - left) / 4.0);
        const double bottom = _top + _height;
        _out += "<g class=\"fold\"><title>" + xml(lengthOf(fold) + " unchanged") + "</title><path d=\"M";
        const auto point = [&](double px, double py)
        {
            number(px);
            _out += ' ';
            number(py);
            _out += ' ';
        };
        const int teeth = std::max(static_cast<int>((bottom - _top) / 8.0), 1);
        const auto y = [&](int at) { return _top + (bottom - _top) * at / teeth; };
        for (int i = 0; i <= teeth; ++i)
            point(left + (i % 2 == 0 ? 0.0 : tooth), y(i));
        for (int i = teeth; i >= 0; --i)
            point(end - (i % 2 == 0 ? 0.0 : tooth), y(i));
        _out += "Z\"/></g>\n";
        if (end - left >= 60.0)
            line("label dim", (left + end) / 2.0, titleHeight + 14.0, lengthOf(fold), " text-anchor=\"middle\"");
    }
    std::string lengthOf(const Fold& fold) const { return labelOf(mode(), fold.frames); }

    /// What the colours say, of those that are seen.
    void drawLegend()
    {
        double at = _left;
        const double top = _top + _height + margin;
        for (std::size_t i = 0; i < changeTints.size(); ++i)
        {
            const std::size_t tint = changesAt + i;
            if (std::ranges::none_of(_composition.remarks, [&](const Remark& remark) { return remark.tint == tint; }))
                continue;
            rect(("t" + std::to_string(tint)).c_str(), at, top, 12.0, 12.0, 2.0);
            line("small", at + 18.0, top + 6.0, changeTints[i].name);
            at += 96.0;
        }
    }

    /// Flags below the ruler, each with as much of its name as there is room for up to the next one.
    void drawMarks()
    {
        const double top = titleHeight + sizes.ruler;
        std::vector<std::pair<double, const Mark*>> flags;
        for (const Mark& mark : _composition.marks)
            if (const double at = x(_composition.axisOf(noSegment), mark.time);
                mark.segment == noSegment && at >= _left && at <= right())
                flags.emplace_back(at, &mark);
        std::ranges::stable_sort(flags, {}, &std::pair<double, const Mark*>::first);
        for (std::size_t i = 0; i < flags.size(); ++i)
        {
            const auto& [at, mark] = flags[i];
            const double next = i + 1 < flags.size() ? flags[i + 1].first : right();
            char colour[24] = "";
            if (mark->colour)
                std::snprintf(colour, sizeof colour, " fill=\"#%06x\"", mark->colour);
            _out += "<g><title>" +
                    xml(labelOf(mode(), mark->time + _composition.labelStart) + "  " + isolated(text(mark->name)) +
                        (mark->comment ? "\n" + isolated(text(mark->comment)) : "")) +
                    "</title><path";
            _out.append(mark->colour ? colour : " class=\"mine\"").append(" d=\"M");
            number(at);
            _out += ' ';
            number(top + 3.0);
            _out += "h8l-3 4l3 4h-8v8h-1.5v-16z\"/></g>\n";
            lineWithin("small dim", at + 11.0, top + 8.0, std::min(90.0, next - at - 13.0), text(mark->name));
        }
    }

    void drawRemark(const Remark& remark)
    {
        const double at = x(_composition.axisOf(remark.row), remark.time);
        const auto row = std::find_if(_rows.begin(), _rows.end(),
                                      [&](const Row* one)
                                      { return remark.row != noSegment && one == &_composition.rows[remark.row]; });
        if (at < _left || at > right() || (remark.row != noSegment && row == _rows.end()))
            return;
        const double top = row == _rows.end()
                               ? titleHeight + sizes.ruler - 8.0
                               : _tops[static_cast<std::size_t>(row - _rows.begin())] + (*row)->height - 9.0;
        _out += "<g class=\"sign\"><title>" +
                xml(isolated(remark.where) + (remark.where.empty() ? "" : "\n") + remark.text +
                    (remark.code.empty() ? "" : " [" + remark.code + ']')) +
                "</title>";
        path("s" + std::to_string(remark.tint), {{at, top - 3.0}, {at + 7.0, top + 9.0}, {at - 7.0, top + 9.0}}, true);
        _out += "</g>\n";
    }

    const Scene& _scene;
    const Composition& _composition;
    const SvgOptions& _options;
    const Window _window;
    const double _left;
    const double _top;
    double _height = 0.0;
    std::vector<const Row*> _rows;
    std::vector<double> _tops;
    std::string _out;
};

} // namespace

bool hasTrack(const Scene& scene, const Composition& composition, const std::string& track)
{
    return std::any_of(composition.rows.begin(), composition.rows.end(),
                       [&](const Row& row) { return isRowOf(scene.texts[row.name], track); });
}

Window windowOf(const Composition& composition, const SvgOptions& options)
{
    const double width = std::max(options.width - 2.0 * margin - sizes.header, 16.0);
    if (options.range)
        return {options.range->in, std::max(options.range->out, options.range->in + 1.0), width};
    return {composition.begin, composition.end, width};
}

std::string svgOf(const Scene& scene, const SvgOptions& options)
{
    if (options.composition >= scene.compositions.size())
        return emptyStill(scene, options.width);
    return Painter(scene, scene.compositions[options.composition], options).draw();
}

} // namespace view
