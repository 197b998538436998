#include "icFcp7xmlText.h"

#include "icFcp7xmlCut.h"
#include "icText.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <map>
#include <unordered_map>
#include <utility>

namespace interchange::xmeml
{

namespace
{

constexpr std::string_view ours = "our:";
constexpr const char* wasMark = "our:was";
constexpr const char* tailMark = "our:tail";
constexpr const char* absentMark = "our:absent";
constexpr const char* keyMark = "our:key";
constexpr const char* timesMark = "our:times";
constexpr const char* ofMark = "our:of";
constexpr const char* fromSideMark = "our:from";

/// Text that an element begins with lies in the element itself: it saves a third of what is parsed.
constexpr unsigned parseFlags = pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_comments |
                                pugi::parse_pi | pugi::parse_doctype | pugi::parse_embed_pcdata;

bool isOurs(std::string_view name)
{
    return name.starts_with(ours);
}

void appendEscaped(std::string& out, std::string_view text, bool isAttribute)
{
    for (const char c : text)
        switch (c)
        {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += isAttribute ? "&quot;" : "\"";
            break;
        case '\n':
        case '\t':
        case '\r':
            if (isAttribute || c == '\r')
                out.append("&#").append(std::to_string(static_cast<int>(c))).append(";");
            else
                out += c;
            break;
        default:
            out += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
        }
}

bool isCharacter(std::uint32_t c)
{
    return c >= ' ' ? !(c >= 0xD800 && c < 0xE000) && c != 0xFFFE && c != 0xFFFF && c < 0x110000
                    : c == '\t' || c == '\n' || c == '\r';
}

/// Of a reference by number (&#10; &#xA;), its length; 0 for what is none.
std::size_t lengthOfReference(std::string_view text, std::uint32_t& character)
{
    if (!text.starts_with("&#"))
        return 0;
    const bool isHexadecimal = text.size() > 2 && text[2] == 'x';
    const char* const first = text.data() + (isHexadecimal ? 3 : 2);
    const auto [last, error] = std::from_chars(first, text.data() + text.size(), character, isHexadecimal ? 16 : 10);
    if (error == std::errc::result_out_of_range)
        character = 0x110000;
    return last != first && last != text.data() + text.size() && *last == ';'
               ? static_cast<std::size_t>(last - text.data()) + 1
               : 0;
}

/// Whether an element holds text or nothing, and no element.
bool isLeaf(pugi::xml_node element)
{
    const pugi::xml_node child = element.first_child();
    return !child || (!child.next_sibling() && child.type() == pugi::node_pcdata);
}

/// All text of an element, one behind the other.
void appendText(std::string& text, pugi::xml_node element)
{
    for (pugi::xml_node at = element; at;)
    {
        if (at.type() == pugi::node_pcdata || at.type() == pugi::node_cdata)
            text.append(at.value()).append("|");
        if (at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at != element && !at.next_sibling())
            at = at.parent();
        at = at == element ? pugi::xml_node() : at.next_sibling();
    }
}
std::string allText(pugi::xml_node element)
{
    std::string text;
    appendText(text, element);
    return text;
}

/// Names the children of an element apart: several of one name by what they are about, or else by their count.
class Keys
{
public:
    std::string of(pugi::xml_node child)
    {
        const std::string_view name = child.name();
        std::string key(name);
        if (name == "link")
            key.append("=").append(textOf(child, "linkclipref"));
        else if (name == "parameter")
            key.append("=").append(textOf(child, "parameterid"));
        else if (name == "filter")
            key.append("=").append(child.child("effect").child_value("effectid"));
        const int count = ++_counts[key];
        return count == 1 ? key : key.append("#").append(std::to_string(count));
    }

private:
    std::unordered_map<std::string, int> _counts;
};

/// Tells the places of a form that name no key: the first of a name has that, the next one "#2" behind it.
class Places
{
public:
    std::string next(std::string_view name) const
    {
        const auto found = _counts.find(name);
        std::string key(name);
        return found == _counts.end() ? key : key.append("#").append(std::to_string(found->second + 1));
    }
    void take(std::string_view name) { ++_counts[name]; }

private:
    std::unordered_map<std::string_view, int> _counts;
};

std::map<std::string, pugi::xml_node, std::less<>> keyed(pugi::xml_node parent)
{
    std::map<std::string, pugi::xml_node, std::less<>> children;
    Keys keys;
    for (const pugi::xml_node child : parent.children())
        if (child.type() == pugi::node_element)
            children.emplace(keys.of(child), child);
    return children;
}

class TextOutput final : public Output
{
public:
    void write(std::string_view written) override { text += written; }
    std::string text;
};

void print(std::string& out, pugi::xml_node node)
{
    struct Writer final : pugi::xml_writer
    {
        explicit Writer(std::string& target)
            : to(target)
        {
        }
        void write(const void* data, std::size_t size) override { to.append(static_cast<const char*>(data), size); }
        std::string& to;
    };
    Writer writer(out);
    node.print(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
}

class FormMaker
{
public:
    FormMaker(const NodeSet& nodes, std::string_view marks, bool isLast, const Series& series)
        : _nodes(nodes)
        , _marks(marks)
        , _isLast(isLast)
        , _series(series)
    {
    }

    void element(pugi::xml_node element, pugi::xml_node plain, std::string_view name);
    std::string text;

private:
    void place(pugi::xml_node element, pugi::xml_node plain, Places& places, std::string_view key);
    void head(pugi::xml_node element, std::string_view name);
    void body(pugi::xml_node element, pugi::xml_node plain);
    void attribute(std::string_view name, std::string_view value)
    {
        text.append(" ").append(name).append("=\"");
        appendEscaped(text, value, true);
        text += '"';
    }
    void leaf(pugi::xml_node element, pugi::xml_node plain);
    /// `isLast`: lets go of what stands in the text then, but for what others may refer to.
    void verbatim(pugi::xml_node node, bool isLast);
    /// One of the series.
    void next(pugi::xml_node element);
    void endOfRow();

    const NodeSet& _nodes;
    std::string_view _marks;
    bool _isLast;
    const Series& _series;
    std::size_t _at = 0; ///< in the series
    std::string _place;  ///< of the last of it, which stands in no text yet
    std::size_t _times = 0;
    bool _isOwn = false; ///< what was made last says something that the model does not
};

void FormMaker::leaf(pugi::xml_node element, pugi::xml_node plain)
{
    const std::string_view said = element.child_value();
    const std::string_view model = plain.child_value();
    if (said == model)
    {
        text += "/>";
        return;
    }
    if (said.starts_with(model) && !model.empty() && said.substr(model.size()).starts_with('.') &&
        said.find_first_not_of('0', model.size() + 1) == said.npos)
    {
        attribute(tailMark, said.substr(model.size()));
        text += "/>";
        return;
    }
    attribute(wasMark, model);
    _isOwn = true;
    // A time of the sequence: it moves along with the transition.
    const auto side = toNumber<double>(plain.attribute(sideMark).value());
    if (const auto time = toNumber<double>(said); side && time)
    {
        attribute(fromSideMark, timeText(*time - *side));
        if (const std::string written = timeText(*time); said.starts_with(written) && said != written)
            attribute(tailMark, said.substr(written.size()));
        text += "/>";
        return;
    }
    text += '>';
    appendEscaped(text, said, false);
    text.append("</").append(ours).append(element.name()).append(">");
}

void FormMaker::verbatim(pugi::xml_node node, bool isLast)
{
    _isOwn = true;
    if (const pugi::xml_attribute id = node.attribute(elsewhereMark))
    {
        text.append("<").append(itemsName);
        attribute(elsewhereMark, id.value());
        text += "/>";
        return;
    }
    if (_nodes.contains(node.internal_object()))
    {
        text.append("<").append(itemsName).append("/>");
        return;
    }
    if (node.type() != pugi::node_element || isLeaf(node))
    {
        print(text, node);
        if (isLast)
            node.parent().remove_child(node);
        return;
    }
    text.append("<").append(node.name());
    for (const pugi::xml_attribute each : node.attributes())
        attribute(each.name(), each.value());
    text += '>';
    appendEscaped(text, node.value(), false);
    const std::string_view name = node.name();
    isLast = isLast && name != "file" && name != "sequence";
    for (pugi::xml_node child = node.first_child(); child;)
    {
        const pugi::xml_node next = child.next_sibling();
        verbatim(child, isLast);
        child = next;
    }
    text.append("</").append(name).append(">");
    if (isLast && !node.first_child())
        node.parent().remove_child(node);
}

void FormMaker::head(pugi::xml_node element, std::string_view name)
{
    text.append("<").append(name);
    for (const pugi::xml_attribute each : element.attributes())
        if (const std::string_view said = each.name(); said != lengthMark && said != filledMark && said != relInMark &&
                                                       said != fileNameMark && said != elsewhereMark) // the model's
        {
            attribute(each.name(), each.value());
            _isOwn = true;
        }
}

void FormMaker::element(pugi::xml_node element, pugi::xml_node plain, std::string_view name)
{
    head(element, name);
    text.append(_marks);
    body(element, plain);
    text.append("</").append(name).append(">");
}

void FormMaker::place(pugi::xml_node element, pugi::xml_node plain, Places& places, std::string_view key)
{
    const std::string name = std::string(ours) + element.name();
    head(element, name);
    if (key == places.next(element.name()))
        places.take(element.name());
    else
        attribute(keyMark, key);
    if (isLeaf(element) && isLeaf(plain))
        return leaf(element, plain);
    body(element, plain);
    text.append("</").append(name).append(">");
}

void FormMaker::next(pugi::xml_node element)
{
    pugi::xml_document scratch;
    const pugi::xml_node plain = _at < _series.count ? _series.make(scratch, _at++) : pugi::xml_node();
    std::string before = std::exchange(text, {});
    Places places;
    _isOwn = false;
    if (plain)
        place(element, plain, places, _series.name);
    else
        verbatim(element, false);
    std::swap(text, before);
    if (plain && _isOwn && _series.key)
        before.insert(before.find_first_of(" />", 1),
                      std::string(" ").append(ofMark).append("=\"") + _series.key(_at - 1) + '"');
    if (_isLast)
        element.parent().remove_child(element);
    if (_times != 0 && before == _place)
    {
        ++_times;
        return;
    }
    endOfRow();
    _place = std::move(before);
    _times = 1;
}

void FormMaker::endOfRow()
{
    const bool isPlace = _place.starts_with("<our:");
    if (isPlace)
    {
        const std::size_t head = 1 + ours.size() + std::string_view(_series.name).size();
        text.append(_place, 0, head);
        if (_times > 1)
            attribute(timesMark, std::to_string(_times));
        text.append(_place, head);
    }
    else
        for (; _times != 0; --_times)
            text.append(_place);
    _times = 0;
    _place.clear();
}

void FormMaker::body(pugi::xml_node element, pugi::xml_node plain)
{
    const auto isSpace = [](std::string_view said) { return said.find_first_not_of(" \t\r\n") == said.npos; };
    text += '>';
    if (!isSpace(element.value()))
        appendEscaped(text, element.value(), false);
    auto open = keyed(plain);
    Keys keys;
    Places places;
    bool hasItems = false;
    const bool hasSeries = static_cast<bool>(plain.child(seriesName));
    pugi::xml_node nextChild;
    for (pugi::xml_node child = element.first_child(); child; child = nextChild)
    {
        nextChild = child.next_sibling();
        if (child.type() == pugi::node_pcdata && isSpace(child.value()))
            continue;
        if (hasSeries && std::string_view(child.name()) == _series.name)
        {
            next(child);
            continue;
        }
        if (hasSeries)
            endOfRow();
        if (_nodes.contains(child.internal_object()))
        {
            if (!hasItems || std::string_view(child.name()) == "sequence")
                text.append("<").append(itemsName).append("/>");
            hasItems = true;
            continue;
        }
        const std::string key = child.type() == pugi::node_element ? keys.of(child) : std::string();
        const auto found = open.find(key);
        if (found == open.end() || key.empty())
        {
            verbatim(child, _isLast);
            continue;
        }
        if (key == "file") // which has a form of its own
        {
            text.append("<").append(ours).append("file");
            if (const pugi::xml_attribute which = child.attribute(formMark))
                attribute(formMark, which.value());
            text += "/>";
        }
        else
            place(child, found->second, places, key);
        open.erase(found);
    }
    if (hasSeries)
        endOfRow();
    if (const pugi::xml_attribute others = plain.attribute(othersMark))
    {
        text.append("<").append(ours).append("link");
        attribute(othersMark, others.value());
        text += "/>";
    }
    for (const auto& [key, child] : open)
        if (!child.attribute(optionalMark) && !child.attribute(usualMark) && !isOurs(child.name()))
        {
            text.append("<").append(ours).append(child.name());
            if (key != child.name())
                attribute(keyMark, key);
            attribute(absentMark, allText(child));
            text += "/>";
        }
}

std::string_view plainName(std::string_view name)
{
    return isOurs(name) ? name.substr(ours.size()) : name;
}

} // namespace

// Parsing

ParsedXml::ParsedXml(std::string bytes)
    : _text(std::move(bytes))
{
    for (std::size_t at = _text.find('\n'); at != _text.npos; at = _text.find('\n', at + 1))
        _lineEnds.push_back(static_cast<std::uint32_t>(at));
}

std::uint32_t ParsedXml::lineAt(std::ptrdiff_t offset) const
{
    if (offset < 0)
        return 0;
    const auto end = std::ranges::lower_bound(_lineEnds, static_cast<std::uint32_t>(offset));
    return static_cast<std::uint32_t>(end - _lineEnds.begin()) + 1;
}

std::uint32_t ParsedXml::lineOf(pugi::xml_node node) const
{
    return node ? lineAt(node.offset_debug()) : 0;
}

std::vector<std::uint32_t> blankNoCharacters(std::string& xml)
{
    std::vector<std::uint32_t> lines;
    std::uint32_t line = 1;
    std::size_t end = 0;           ///< of what stays
    std::string_view literalUntil; ///< in which a reference is none
    for (std::size_t i = 0; i < xml.size();)
    {
        const std::string_view rest = std::string_view(xml).substr(i);
        std::uint32_t character = static_cast<unsigned char>(xml[i]);
        std::size_t length = 1;
        if (!literalUntil.empty() && rest.starts_with(literalUntil))
            literalUntil = {};
        else if (literalUntil.empty() && character == '<')
            literalUntil = rest.starts_with("<![CDATA[") ? "]]>" : rest.starts_with("<!--") ? "-->" : "";
        else if (literalUntil.empty() && character == '&')
            length = std::max<std::size_t>(1, lengthOfReference(rest, character));
        else if (rest.starts_with("\xEF\xBF\xBE") || rest.starts_with("\xEF\xBF\xBF"))
        {
            character = 0xFFFF;
            length = 3;
        }
        line += xml[i] == '\n' ? 1 : 0;
        if (isCharacter(character))
        {
            if (end != i)
                std::copy_n(xml.begin() + static_cast<std::ptrdiff_t>(i), length,
                            xml.begin() + static_cast<std::ptrdiff_t>(end));
            end += length;
        }
        else
        {
            lines.push_back(line);
            xml[end++] = ' ';
        }
        i += length;
    }
    xml.resize(end);
    return lines;
}

bool ParsedXml::parse(XmlFault& fault)
{
    const pugi::xml_parse_result result = _document.load_buffer_inplace(_text.data(), _text.size(), parseFlags);
    if (result.status == pugi::status_out_of_memory)
        throw std::bad_alloc();
    if (!result)
    {
        fault = {lineAt(result.offset), std::string("no XML: ") + result.description()};
        return false;
    }
    int depth = 0;
    for (pugi::xml_node at = _document.first_child(); at;)
    {
        if (at.type() == pugi::node_doctype && std::string_view(at.value()).find('[') != std::string_view::npos)
        {
            fault = {lineOf(at), "a document type with declarations of its own"};
            return false;
        }
        if (at.first_child())
        {
            at = at.first_child();
            if (++depth >= deepestXml)
            {
                fault = {lineOf(at), "elements nested more than " + std::to_string(deepestXml) + " deep"};
                return false;
            }
            continue;
        }
        while (at && !at.next_sibling())
        {
            at = at.parent();
            --depth;
        }
        at = at.next_sibling();
    }
    return true;
}

// Elements

void Figure::add(std::string_view text)
{
    for (const char c : text)
        _figure = (_figure ^ static_cast<unsigned char>(c)) * 0x100000001B3;
}

std::string Figure::text() const
{
    char text[17];
    return {text, std::to_chars(text, text + sizeof text, _figure, 16).ptr};
}

bool areAlike(pugi::xml_node a, pugi::xml_node b)
{
    const auto isSame = [](const char* one, const char* other) { return std::string_view(one) == other; };
    if (a.type() != b.type() || !isSame(a.name(), b.name()) || !isSame(a.value(), b.value()))
        return false;
    return std::ranges::equal(a.attributes(), b.attributes(),
                              [&](pugi::xml_attribute one, pugi::xml_attribute other)
                              { return isSame(one.name(), other.name()) && isSame(one.value(), other.value()); }) &&
           std::ranges::equal(a.children(), b.children(), areAlike);
}

pugi::xml_node add(pugi::xml_node parent, const char* name)
{
    pugi::xml_node child = parent.append_child(name);
    if (!child)
        throw std::bad_alloc();
    return child;
}

pugi::xml_node add(pugi::xml_node parent, const char* name, std::string_view text)
{
    pugi::xml_node child = add(parent, name);
    if (!text.empty() && !child.append_child(pugi::node_pcdata).set_value(std::string(text).c_str()))
        throw std::bad_alloc();
    return child;
}

// Output

void Output::indent()
{
    static constexpr std::string_view tabs = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
    for (int left = _depth; left > 0; left -= static_cast<int>(tabs.size()))
        write(tabs.substr(0, std::min(tabs.size(), static_cast<std::size_t>(left))));
}

void Output::line(std::string_view text)
{
    indent();
    write(text);
    write("\n");
}

void Output::begin(std::string_view name, pugi::xml_node attributes, pugi::xml_node further)
{
    indent();
    std::string tag("<");
    tag.append(name);
    const auto append = [&tag](const char* attribute, const char* value)
    {
        tag.append(" ").append(attribute).append("=\"");
        appendEscaped(tag, value, true);
        tag += '"';
    };
    // Those of the form in their order, with the values of the plain element.
    for (const pugi::xml_attribute each : attributes.attributes())
        if (!isOurs(each.name()))
            append(each.name(), further.attribute(each.name()) ? further.attribute(each.name()).value() : each.value());
    for (const pugi::xml_attribute each : further.attributes())
        if (!isOurs(each.name()) && !attributes.attribute(each.name()))
            append(each.name(), each.value());
    write(tag);
}

void Output::open(std::string_view name, pugi::xml_node attributes, pugi::xml_node further, bool isEmpty)
{
    begin(name, attributes, further);
    write(isEmpty ? "/>\n" : ">\n");
    _depth += isEmpty ? 0 : 1;
}

void Output::close(std::string_view name)
{
    --_depth;
    indent();
    write("</");
    write(name);
    write(">\n");
}

void Output::leaf(std::string_view name, pugi::xml_node attributes, pugi::xml_node further, std::string_view text)
{
    begin(name, attributes, further);
    if (text.empty())
        return write("/>\n");
    std::string escaped;
    appendEscaped(escaped, text, false);
    write(">");
    write(escaped);
    write("</");
    write(name);
    write(">\n");
}

// Forms

std::string formOf(pugi::xml_node element, pugi::xml_node plain, const NodeSet& nodes, std::string_view marks,
                   bool isLast, const Series& series)
{
    FormMaker maker(nodes, marks, isLast, series);
    maker.element(element, plain, element.name());
    return std::move(maker.text);
}

namespace
{

/// As it stands, but for the nodes inside.
void writeVerbatim(Output& out, pugi::xml_node node, const WriteItems& items, std::string_view parent)
{
    if (node.type() == pugi::node_element)
    {
        if (std::string_view(node.name()) == itemsName)
            return items(out, parent, node);
        if (isLeaf(node))
            return out.leaf(node.name(), node, {}, node.child_value());
        // Text beside elements stands as it was; where nodes are among them, each on a line.
        const bool isMixed = std::ranges::any_of(node.children(), [](pugi::xml_node child)
                                                 { return child.type() == pugi::node_pcdata; });
        const auto isItems = [](pugi::xml_node child) { return std::string_view(child.name()) == itemsName; };
        if (!isMixed || node.find_node(isItems))
        {
            out.open(node.name(), node, {}, false);
            for (const pugi::xml_node child : node.children())
                writeVerbatim(out, child, items, node.name());
            return out.close(node.name());
        }
    }
    std::string text;
    print(text, node);
    out.line(trimmed(text));
}

/// Of each of the series its place; empty where all stand in the order of their places.
std::vector<pugi::xml_node> placesOf(const Series& series, pugi::xml_node form)
{
    struct Row
    {
        pugi::xml_node place;
        std::string_view of; ///< empty where it says no more of one than of another
        std::size_t left;
    };
    std::vector<Row> rows;
    std::size_t all = 0;
    const std::string name = std::string(ours).append(series.name);
    for (const pugi::xml_node each : form.children(name.c_str()))
    {
        rows.push_back({each, each.attribute(ofMark).value(), each.attribute(timesMark).as_uint(1)});
        all += rows.back().left;
    }
    std::vector<pugi::xml_node> places;
    if (!series.key || std::ranges::all_of(rows, &std::string_view::empty, &Row::of))
        return places;
    std::unordered_map<std::string_view, std::deque<std::size_t>> named; // in their order
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (!rows[i].of.empty())
            named[rows[i].of].push_back(i);
    places.resize(series.count);
    std::vector<std::size_t> own(series.count, rows.size()); ///< the row that says something of this one
    for (std::size_t i = 0; i < series.count; ++i)
    {
        const std::string key = series.key(i);
        const auto found = named.find(key);
        if (found == named.end() || found->second.empty())
            continue;
        own[i] = found->second.front();
        if (--rows[own[i]].left == 0)
            found->second.pop_front();
        places[i] = rows[own[i]].place;
    }
    // All others in their order between these; who was renamed only where nobody came or went.
    const bool isSame = all == series.count;
    std::size_t at = 0;
    const Row* beside = nullptr;
    for (std::size_t i = 0; i < series.count; ++i)
    {
        if (places[i])
        {
            at = std::max(at, own[i] + 1);
            beside = nullptr;
            continue;
        }
        while (at < rows.size() && !places[i])
        {
            Row& row = rows[at];
            if (!row.of.empty() && row.left == 0) // whose it is comes later
                break;
            if (row.of.empty())
                beside = &row;
            if (row.left == 0 || (!row.of.empty() && !isSame))
            {
                ++at;
                continue;
            }
            --row.left;
            places[i] = row.place;
        }
        if (!places[i] && beside)
            places[i] = beside->place;
    }
    return places;
}

/// An element on its way out: what the form keeps of it, with what the model says by now.
class Filling
{
public:
    Filling(Output& out, pugi::xml_node form, pugi::xml_node plain, const WriteItems& items, const Series& series)
        : _out(out)
        , _form(form)
        , _plain(plain)
        , _items(items)
        , _series(series)
        , _name(form ? plainName(form.name()) : std::string_view(plain.name()))
        , _hasSeries(plain.child(seriesName))
        , _open(keyed(plain))
    {
    }

    void write()
    {
        addKept();
        addNew();
        _out.open(_name, _form, _plain, _entries.empty());
        if (_entries.empty())
            return;
        _isRangeEdited = std::ranges::any_of(_entries, isEdited);
        findRows();
        for (const Entry& entry : _entries)
            write(entry);
        _out.close(_name);
    }

private:
    struct Entry
    {
        pugi::xml_node form;
        pugi::xml_node plain; ///< null for what only the form has
        bool isItems = false;
        std::size_t times = 0; ///< so many of the series
    };

    void addKept();
    void addKept(pugi::xml_node child);
    void addNew();
    void addNew(std::size_t at, Entry entry)
    {
        _entries.insert(_entries.begin() + static_cast<std::ptrdiff_t>(at), entry);
    }
    void findRows();
    void write(const Entry& entry);
    void writeRow(const Entry& row);
    void writeLeaf(const Entry& entry);

    /// In and out are one statement: where one was edited, what the file said of the other no longer counts. So are all
    /// four where the file names the cut inside a transition, and we the transition's far side.
    static bool isRange(const Entry& entry)
    {
        const std::string_view said = entry.plain.name();
        const bool isPlace = said == "start" || said == "end";
        return said == "in" || said == "out" ||
               (isPlace && std::string_view(entry.form.attribute(wasMark).value()) == "-1");
    }
    static bool isEdited(const Entry& entry)
    {
        const pugi::xml_attribute was = entry.form.attribute(wasMark);
        return was && isRange(entry) && std::string_view(entry.plain.child_value()) != was.value();
    }

    Output& _out;
    const pugi::xml_node _form;
    const pugi::xml_node _plain;
    const WriteItems& _items;
    const Series& _series;
    const std::string_view _name;
    const bool _hasSeries;
    std::map<std::string, pugi::xml_node, std::less<>> _open; ///< of the plain element, what no entry has yet
    Places _places;
    std::vector<Entry> _entries;
    bool _isRangeEdited = false;
    std::size_t _placed = 0; ///< of the series
    std::size_t _made = 0;
    std::vector<pugi::xml_node> _ownPlaces; ///< of each of the series, unless they stand in the order of the rows
    std::unordered_map<const void*, const Entry*> _rowOf; ///< of such a place
    const Entry* _lastRow = nullptr;
};

/// What the file said, as long as the model does.
void Filling::addKept()
{
    for (const pugi::xml_node child : _form.children())
        if (isOurs(child.name()))
            addKept(child);
        else
            _entries.push_back({child, {}});
}

void Filling::addKept(pugi::xml_node child)
{
    const std::string_view name = child.name();
    if (name == itemsName)
    {
        _entries.push_back({child, {}, true});
        _open.erase(itemsName);
        return;
    }
    if (child.attribute(othersMark)) // the plain element leaves them out
        return;
    if (_hasSeries && plainName(name) == _series.name)
    {
        const std::size_t times = child.attribute(timesMark).as_uint(1);
        const std::size_t taken = std::min(times, _series.count - _placed);
        if (taken != 0) // else the model has no more of them
            _entries.push_back({child, {}, false, taken});
        _placed += taken;
        return;
    }
    const pugi::xml_attribute key = child.attribute(keyMark);
    const auto found = _open.find(key ? std::string(key.value()) : _places.next(plainName(name)));
    if (!key)
        _places.take(plainName(name));
    if (found == _open.end())
        return; // the model says it no more
    if (child.attribute(absentMark) && allText(found->second) != child.attribute(absentMark).value())
        return; // it says something else now
    if (!child.attribute(absentMark))
        _entries.push_back({child, found->second});
    _open.erase(found);
}

/// What is new stands behind what the plain element has before it.
void Filling::addNew()
{
    std::unordered_set<const void*> left;
    for (const auto& [key, child] : _open)
        left.insert(child.internal_object());
    std::size_t at = 0;
    for (const pugi::xml_node child : _plain.children())
    {
        const bool isItems = std::string_view(child.name()) == itemsName;
        if (std::string_view(child.name()) == seriesName)
        {
            const auto last = std::ranges::find_if(_entries.rbegin(), _entries.rend(), &Entry::times);
            if (last != _entries.rend())
                at = static_cast<std::size_t>(_entries.rend() - last);
            if (_placed < _series.count)
                addNew(at++, {{}, {}, false, _series.count - _placed});
            continue;
        }
        const auto kept = std::ranges::find_if(_entries, [&](const Entry& entry)
                                               { return entry.plain == child || (entry.isItems && isItems); });
        if (kept != _entries.end())
            at = static_cast<std::size_t>(kept - _entries.begin()) + 1;
        else if (left.contains(child.internal_object()) && !child.attribute(optionalMark) &&
                 !(_form && child.attribute(usualMark)))
            addNew(at++, {{}, isItems ? pugi::xml_node() : child, isItems});
    }
}

void Filling::findRows()
{
    _ownPlaces = placesOf(_series, _form);
    for (const Entry& entry : _entries)
        if (entry.times != 0)
        {
            _lastRow = &entry;
            if (!_ownPlaces.empty())
                _rowOf.emplace(entry.form.internal_object(), &entry);
        }
}

void Filling::write(const Entry& entry)
{
    if (entry.isItems)
        _items(_out, _name, entry.form);
    else if (entry.times != 0)
        writeRow(entry);
    else if (!entry.plain)
        writeVerbatim(_out, entry.form, _items, _name);
    else if (entry.plain.attribute(defineMark))
        _items(_out, "file", entry.form);
    else if (!isLeaf(entry.plain) || (entry.form && !isLeaf(entry.form)))
        fill(_out, entry.form, entry.plain, _items);
    else
        writeLeaf(entry);
}

void Filling::writeRow(const Entry& row)
{
    // Where each has its place, what stands between the rows stays where it is among them.
    const auto isBehind = [&](std::size_t index)
    {
        const auto found = _rowOf.find(_ownPlaces[index].internal_object());
        return &row != _lastRow && found != _rowOf.end() && found->second > &row;
    };
    const bool isInOrder = _ownPlaces.empty();
    for (std::size_t wanted = row.times; _made < _series.count;)
    {
        if (isInOrder ? wanted == 0 : isBehind(_made))
            break;
        pugi::xml_document scratch;
        const pugi::xml_node place = isInOrder ? row.form : _ownPlaces[_made];
        if (const pugi::xml_node one = _series.make(scratch, _made++))
        {
            fill(_out, place, one, _items);
            --wanted;
        }
    }
}

void Filling::writeLeaf(const Entry& entry)
{
    std::string text = entry.plain.child_value();
    const pugi::xml_attribute was = entry.form.attribute(wasMark);
    if (was && text == was.value() && !(_isRangeEdited && isRange(entry)))
    {
        const auto side = toNumber<double>(entry.plain.attribute(sideMark).value());
        const auto from = toNumber<double>(entry.form.attribute(fromSideMark).value());
        if (side && from)
            text = timeText(*side + *from);
        else if (!entry.plain.attribute(sideMark)) // one that did not say from where may stand elsewhere by now
            text = entry.form.child_value();
    }
    if (text != "-1" || !entry.form.attribute(fromSideMark)) // the far side has no parts of a frame
        text += entry.form.attribute(tailMark).value();
    _out.leaf(plainName(entry.plain.name()), entry.form, entry.plain, text);
}

} // namespace

void fill(Output& out, pugi::xml_node form, pugi::xml_node plain, const WriteItems& items, const Series& series)
{
    Filling(out, form, plain, items, series).write();
}

std::string outsideOf(const pugi::xml_document& document)
{
    std::string text;
    const auto add = [&](const char* name, pugi::xml_node first, pugi::xml_node end)
    {
        std::string part;
        for (pugi::xml_node each = first; each && each != end; each = each.next_sibling())
            if (each.type() == pugi::node_comment || each.type() == pugi::node_pi)
                print(part, each);
        if (!part.empty())
            text.append("<").append(name).append(">").append(part).append("</").append(name).append(">");
    };
    const pugi::xml_node element = document.document_element();
    add(frontName, document.first_child(), element);
    add(rearName, element.next_sibling(), {});
    return text;
}

void writeOutside(Output& out, pugi::xml_node part)
{
    for (const pugi::xml_node each : part.children())
        writeVerbatim(out, each, {}, "");
}

} // namespace interchange::xmeml
