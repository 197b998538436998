/// The XML of xmeml files: parsing, and what of an element the model does not say.
///
/// The writer makes each element anew from the model: the *plain* element. What a file says beyond it travels with the
/// node as a *form*: the file's element in which what the plain one says stands as an empty place, "our:" in front of
/// its name.
///
///     <clipitem id="clipitem-1" frameBlend="FALSE">
///       <masterclipid>masterclip-1</masterclipid>     what the model has no property for
///       <our:name/>                                   the model's, here
///       <our:in our:tail=".0"/>                       the model's, with more behind it
///       <our:end our:was="-1" our:from="-12"/>        the file's, so far from the far side of the transition behind it
///       <our:pixelaspectratio our:was="square">...    the file's, as long as the model says "square"
///       <our:rate our:absent="25|FALSE|"/>            not in the file, as long as the model says that
///       <our:link our:others="cbf29ce4"/>             nor are other links, as long as they are of the same clips
///       <our:marker our:times="3">...</our:marker>    three in a row of which the file says the same beside the model
///       <our:marker our:of="9d0c5f1">...</our:marker> of the one that has this figure, wherever it stands by now
///       <our:items/>                                  where the nodes inside stand
///       <our:items our:of="s2"/>                      one that others use, in words of the file's own
///     </clipitem>
///
/// What is not in the file, and says no more than that, has no place in the form either: <enabled>TRUE</enabled>.
///
/// For sources of this library only.
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace interchange::xmeml
{

/// Nesting of elements; deeper files are refused.
constexpr int deepestXml = 1000;

/// What is wrong with a text, and where.
struct XmlFault
{
    std::uint32_t line = 0;
    std::string what;
};

/// Puts blanks for characters that XML has no place for, themselves or as references (&#0;). The line of each.
std::vector<std::uint32_t> blankNoCharacters(std::string& xml);

/// A file's bytes, parsed in place.
class ParsedXml
{
public:
    explicit ParsedXml(std::string bytes);
    ParsedXml(const ParsedXml&) = delete;
    ParsedXml& operator=(const ParsedXml&) = delete;

    bool parse(XmlFault& fault);
    pugi::xml_node root() const { return _document.document_element(); }
    const pugi::xml_document& document() const { return _document; }
    std::uint32_t lineOf(pugi::xml_node node) const;
    std::size_t size() const { return _text.size(); }

private:
    std::uint32_t lineAt(std::ptrdiff_t offset) const;

    std::string _text;
    std::vector<std::uint32_t> _lineEnds;
    pugi::xml_document _document;
};

// Elements

inline std::string_view textOf(pugi::xml_node parent, const char* child)
{
    return parent.child(child).child_value();
}
/// Elements that stand for nothing in a file but a place in a form.
inline constexpr const char* itemsName = "our:items";
/// Marks a plain element that is only written where the form has a place for it.
inline constexpr const char* optionalMark = "our:optional";

/// Marks a plain element that says what a file without it means: a form without a place for it leaves it out.
inline constexpr const char* usualMark = "our:usual";

/// An attribute of a file's duration: "unknown" where that is only what is known to play.
inline constexpr const char* lengthMark = "materialLength";
/// An attribute of a track: up to there it is filled, where the sequence's duration alone does not say that.
inline constexpr const char* filledMark = "filledTo";
/// An attribute of the curve of a changing speed: the relative in-time of its clip, where that is not what plays first.
inline constexpr const char* relInMark = "relIn";
/// An attribute of a file's name: "unknown" where it is only what its clip is called.
inline constexpr const char* fileNameMark = "fileName";
/// An element of what other formats say of a node: it holds a leftover of the type in its attribute, or, of a
/// transition, the source that it carries.
inline constexpr const char* attachedName = "attached";
inline constexpr const char* attachedType = "type";
/// An attribute of a clip that is nothing but what the transition behind it carries.
inline constexpr const char* carriedMark = "carried";
/// Of a plain clip, and of a place in a form: the links that the file has not, as one figure.
inline constexpr const char* othersMark = "our:others";

/// Elements of one name that are made one at a time: of each, a plain element takes far more memory than the model
/// does. One stands for all of them in the plain element, where they stand.
struct Series
{
    const char* name = "";
    std::size_t count = 0;
    /// Null for one that has no element.
    std::function<pugi::xml_node(pugi::xml_node parent, std::size_t index)> make = {};
    /// By which one is known again, wherever it stands by now.
    std::function<std::string(std::size_t index)> key = {};
};
inline constexpr const char* seriesName = "our:series";

/// Of a plain time that says the far side of a transition: where that is. A place has what the file says from there on.
inline constexpr const char* sideMark = "our:side";

/// Marks an element of a file that is a node, and stands in words of the file's own: of a form's place for it, its id.
inline constexpr const char* elsewhereMark = "our:of";

/// Of a form of a file, and of the file's place in that of its clip: which of those under one id it is.
inline constexpr const char* formMark = "our:form";

/// Marks a plain file that stands here in full: it is written like the nodes inside.
inline constexpr const char* defineMark = "our:define";

/// A figure that the same texts have in every build.
class Figure
{
public:
    void add(std::string_view text);
    std::string text() const;

private:
    std::uint64_t _figure = 0xCBF29CE484222325; // FNV-1a
};

/// Whether two elements say the same, in the same order.
bool areAlike(pugi::xml_node a, pugi::xml_node b);

pugi::xml_node add(pugi::xml_node parent, const char* name);
pugi::xml_node add(pugi::xml_node parent, const char* name, std::string_view text);
inline pugi::xml_node optional(pugi::xml_node element)
{
    element.append_attribute(optionalMark) = "1";
    return element;
}
inline pugi::xml_node usual(pugi::xml_node element, bool isUsual = true)
{
    if (isUsual)
        element.append_attribute(usualMark) = "1";
    return element;
}

// Output

class Output
{
public:
    virtual ~Output() = default;
    virtual void write(std::string_view text) = 0;

    /// The attributes in their order, with the values of further ones, and those that are only among these.
    void open(std::string_view name, pugi::xml_node attributes, pugi::xml_node further, bool isEmpty);
    void close(std::string_view name);
    void leaf(std::string_view name, pugi::xml_node attributes, pugi::xml_node further, std::string_view text);
    void line(std::string_view text);

private:
    void begin(std::string_view name, pugi::xml_node attributes, pugi::xml_node further);
    void indent();

    int _depth = 0;
};

// Forms

using NodeSet = std::unordered_set<const void*>;

/// What `element` says beyond `plain`; elements in `nodes` have become nodes of their own. `marks`: further attributes.
/// `isLast`: nobody asks for the element again; what only the form has of it goes as the form grows.
/// `series`: of the plain element.
std::string formOf(pugi::xml_node element, pugi::xml_node plain, const NodeSet& nodes, std::string_view marks = "",
                   bool isLast = false, const Series& series = {});
/// Writes the nodes that stand in an element of this name, or its file; where the form says so, one at a time. `place`:
/// where they stand in the form; null where it has none.
using WriteItems = std::function<void(Output&, std::string_view parent, pugi::xml_node place)>;
/// Writes what the form and the plain element say together; `form` may be null.
void fill(Output& out, pugi::xml_node form, pugi::xml_node plain, const WriteItems& items, const Series& series = {});

/// What stands in front of a document's element and behind it, comments and instructions, as parts of its form.
std::string outsideOf(const pugi::xml_document& document);
inline constexpr const char* frontName = "our:front";
inline constexpr const char* rearName = "our:rear";
/// Writes such a part.
void writeOutside(Output& out, pugi::xml_node part);

} // namespace interchange::xmeml
