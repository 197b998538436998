/// Reads a document straight into fresh objects, as it comes, without holding it: the way of nearly every document.
///
/// It knows the form in which documents are written, and no more. Whatever is wrong, or would be stored otherwise than
/// it stands, or is merely unusual (a key out of order in a map, an exponent of three digits), makes it give up; the
/// document is then read again by the algorithm itself (dmJsonLiteralImp.h), which says what there is to say. So
/// nothing here words an error, and both ways come to the same tree.
///
/// A Double on its way into its field runs through dmJsonImporter.cpp, dmJsonInput.cpp (the bytes), dmJsonFast.cpp (the
/// number, by its property's type: dmPropertyType.h; dmJsonFormat.cpp where it has very many digits), dmJsonKeptImp.h
/// (whether the declaration means it), and, where its field lies beside the object, dmSetAccessImp.h (the door) and
/// dmPropertySet.cpp (the field).
#pragma once

#include "dmJsonInputImp.h"
#include "dmPropertyFactory.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace dmJson
{

class FastReader
{
public:
    explicit FastReader(Pieces& pieces)
        : _pieces(pieces)
        , _at(pieces.at())
    {
    }
    /// False when this is no document for the fast way; then nothing has happened.
    bool read(DmPropertySetPtr& set);

private:
    /// A name that is likely the next one, with the quote and the colon behind it: compared where it would stand, all
    /// at once, without a look for its end. Finding names took an eighth of an import before.
    struct Expected
    {
        explicit Expected(std::string_view name);

        char bytes[Pieces::margin] = {};
        std::uint32_t places = 0; ///< which of the bytes count, a bit each
        unsigned size = 0;        ///< 0: too long, or spelt with escapes
    };
    struct Class;
    /// What is known of a property: the two classes that its slot took last are likely the next ones (shots and cuts
    /// take turns), and the property that followed it last is likely the next to follow.
    struct Property
    {
        Property(const DmPropertySet& object, std::size_t place);

        const DmPropertyDef* def;
        unsigned index;
        bool isInside; ///< its field lies in every object of the class, which does not fix its value
        Expected name;
        Property* follower = nullptr;
        Class* lastHeld[2] = {};
    };
    struct Class
    {
        std::string name;
        Expected expected;
        DmPropertyCreator creator = nullptr;
        std::vector<Property> properties = {}; ///< in index order; empty before the first object
        Property* first = nullptr;             ///< the one that an object began with last
    };
    /// A string, until the reader goes on.
    struct Text
    {
        std::string_view raw;
        bool isPlain; ///< without escapes
        bool isAscii;
    };
    /// A number's digits and where its point stands, as far as 64 bits hold them.
    struct Number
    {
        std::string_view text;
        std::uint64_t digits;
        unsigned decimals;
        bool isNegative;
        bool isInteger;
        bool isExact; ///< digits, decimals and sign say it all
    };

    // What stands next in the document. False: it is not that.

    /// The next character that is no blank; zero at the end of the document, and at what JSON has not.
    char peek()
    {
        const char c = *_at;
        if (c > ' ')
            return c;
        if (c == ' ' && _at[1] > ' ')
            return *++_at; // as behind each colon of the pretty layout
        return peekBehindBlanks();
    }
    char peekBehindBlanks();
    bool take(char c)
    {
        if (peek() != c)
            return false;
        ++_at;
        return true;
    }
    bool take(const Expected& name)
    {
        if (!isAt(name))
            return false;
        _at += 1 + name.size;
        return true;
    }
    bool isAt(const Expected& name) const;
    bool word(std::string_view letters);
    bool string(Text& text);
    bool digits(Number& number);
    bool digitsOneByOne(Number& number);
    bool refill(const char*& at);

    // What it means.

    bool document(DmPropertySetPtr& set);
    bool version();
    bool integer(int& value);
    bool set(Class& type, DmPropertySetPtr& set);
    bool members(Class& type, DmPropertySet& set);
    Property* memberName(Class& type, Property* last);
    Property* findMember(Class& type, Property* last);
    bool value(Property& property, DmPropertySet& owner);
    template <class T>
    static bool store(const Property& property, DmPropertySet& owner, T& value);
    template <class T>
    bool number(const DmPropertyDef& def, T& value);
    bool boolean(bool& value);
    template <class Character>
    bool character(Character& value);
    bool text(DmString& wide);
    bool lines(DmString& text);
    template <class T>
    bool values(std::vector<T>& list);
    template <class T>
    bool element(T& value);
    bool held(Property& property, DmPropertySet& owner, DmPropertySetPtr& set);
    bool elements(Property& property, DmPropertySet& owner, DmPropertySetVector& list);
    bool entries(Property& property, DmPropertySet& owner, DmPropertySetMap& map);
    static bool makeDefault(const DmPropertyDef& def, DmPropertySetPtr& set);

    bool toWide(const Text& text, DmString& wide);
    Class* classOf(const Text& name);

    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };

    Pieces& _pieces;
    const char* _at;
    unsigned _depth = 0; ///< of sets
    std::unordered_map<std::string, Class, Hash, std::equal_to<>> _classes;
    std::string _decoded;          ///< a string with its escapes resolved
    DmPropertySetVector _elements; ///< of the lists that are being read: each is made as long as it is, once
};

} // namespace dmJson
