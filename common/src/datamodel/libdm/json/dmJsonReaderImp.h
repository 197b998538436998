/// Builds property sets from the events of the JSON parser, as they come: no document is held in memory.
///
/// What a document means is defined by a walk over the whole of it, from the top: of each set the single values first,
/// then the objects, then the arrays, each by name, up to the first fault; a name that stands twice counts where it
/// stands last. The events come in another order. So a fault does not end the reading: it goes up with what it spoils,
/// and where one object has several, the one that the walk would have met first is kept. Nothing that is made here is
/// seen from outside before the end, so the result is that of the walk.
#pragma once

#include "dmJsonInputImp.h"
#include "dmJsonLevelsImp.h"

#include <unordered_map>
#include <variant>

namespace dmJson
{

/// The parser's handler.
class Reader
{
public:
    /// Of the parser that reads `input`: texts are taken from there, and what the parser hands over is not looked at.
    explicit Reader(const Input& input)
        : _input(input)
    {
        _levels.reserve(maxDepth);
    }

    bool Null() { return scalar({Scalar::Null, "null"}); }
    bool Bool(bool value) { return value ? scalar({Scalar::True, "true"}) : scalar({Scalar::False, "false"}); }
    bool RawNumber(const char*, unsigned length, bool) { return scalar({Scalar::Number, _input.number(length)}); }
    bool String(const char*, unsigned length, bool);
    bool StartObject();
    bool Key(const char*, unsigned length, bool);
    bool EndObject(unsigned /*count*/) { return close(); }
    bool StartArray();
    bool EndArray(unsigned /*count*/) { return close(); }

    // Numbers come as their text.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

    /// Why the reader has stopped the parser; null when it has not.
    const char* stopped() const { return _stopped; }
    /// What the document holds: null when it is empty of sets. Sets it only when there is no fault.
    DmStatus finish(DmPropertySetPtr& root, DmJsonPlace& place);

    // For the levels.

    template <class Kind, class... Arguments>
    void open(Arguments&&... arguments);
    ClassEntry& classOf(std::string_view name);
    /// A fault at what is being read.
    FaultPtr fault(Fault&& fault) const;
    static eDmErrorId create(DmPropertyCreator creator, DmPropertySetPtr& set);
    /// A name that is no property's, kept from its event to the following one.
    std::string unknownName;
    /// Which properties of the open sets have been read: a bit each.
    std::vector<bool> seen;

private:
    using Level = std::variant<Ignored, VersionNumbers, Slot, Members, Entries, Elements, Values>;
    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };

    bool scalar(const Scalar& value);
    bool close();
    bool isWellFormed(std::string_view text);

    const Input& _input;
    std::vector<Level> _levels; ///< never grows beyond what it reserves: levels stay where they are
    std::unordered_map<std::string, ClassEntry, Hash, std::equal_to<>> _classes;
    Outcome _document;
    const char* _stopped = nullptr;
};

template <class Kind, class... Arguments>
void Reader::open(Arguments&&... arguments)
{
    if (_levels.size() < maxDepth)
        _levels.emplace_back(std::in_place_type<Kind>, std::forward<Arguments>(arguments)...);
    else
        _stopped = "The document is nested too deeply.";
}

} // namespace dmJson
