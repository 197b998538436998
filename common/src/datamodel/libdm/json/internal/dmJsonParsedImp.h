/// A document as it was parsed: each value with its place in the text. Nothing is copied; a value takes 16 bytes, so
/// that the whole never takes more than eight bytes a byte of the document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace dmJson
{

/// Appends a string of a document, given without its quotes, to `out`, with its escapes resolved. False when an escape
/// is none, or stands for no character.
bool decode(std::string_view raw, std::string& out);

class Parsed
{
    struct Node
    {
        std::uint64_t offset;
        std::uint64_t next : 56; ///< the index of what stands behind
        std::uint64_t kind : 8;
    };

public:
    enum Kind : unsigned
    {
        Null,
        False,
        True,
        Number,
        String,
        Object, ///< followed by a String and a value a member
        Array   ///< followed by a value an element
    };

    /// A value, by its place in the order of the document; the one behind all others is the end.
    class Value
    {
    public:
        Kind kind() const { return static_cast<Kind>(node().kind); }
        bool isObject() const { return kind() == Object; }
        bool isArray() const { return kind() == Array; }
        bool isScalar() const { return kind() < Object; }
        std::size_t offset() const { return node().offset; }

        /// The first that stands inside an object or array, and what stands behind all of it: equal when it is empty.
        Value begin() const { return {_document, _index + 1}; }
        Value end() const { return next(); }
        Value next() const { return {_document, node().next}; }
        bool operator==(const Value& other) const { return _index == other._index; }

        /// A scalar as it stands in the text.
        std::string_view raw() const;
        /// A string's characters; the text of another scalar.
        std::string text() const;
        /// The beginning of what stands there, for people.
        std::string shown() const;

    private:
        friend class Parsed;
        Value(const Parsed* document, std::size_t index)
            : _document(document)
            , _index(index)
        {
        }
        const Node& node() const { return _document->_nodes[_index]; }

        const Parsed* _document;
        std::size_t _index;
    };

    /// `text` must outlive this.
    explicit Parsed(std::string_view text)
        : _text(text)
    {
    }
    /// Why the text is no document, in the words of the JSON library; null when it is one. UTF-8 and the depth are
    /// checked too. `offset` is then where the parser was.
    const char* parse(std::size_t& offset);
    /// What the document holds.
    Value top() const { return {this, 0}; }
    std::string_view text() const { return _text; }

private:
    friend class ParsedBuilder;

    std::string_view _text;
    std::deque<Node> _nodes;
};

using Value = Parsed::Value;

} // namespace dmJson
