/// Property sets that hold each other in every way, and short forms of importing and writing them. TestEvery and
/// TestOptional (testSets.h) have a property of every type.
#pragma once

#include "zrTest.h"

/// Abstract: no object of it can be made.
class JsonThing : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = L"JsonThing";
    eDmErrorId createList() override { return DM_NO_ERROR; }

protected:
    using DmPropertySet::DmPropertySet;
};

/// Writes nothing while it is fresh.
class JsonLeaf final : public DmConcrete<JsonLeaf, JsonThing>
{
public:
    static constexpr const wchar_t* className = L"JsonLeaf";
    explicit JsonLeaf(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<JsonLeaf>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this).optional(L"text", _text).optional(L"when", _when).optional(L"level", _level).status();
    }

    DmString _text;
    double _when = 0;
    float _level = 0;
};

/// Holds the others. A fresh one made with default attributes has a gain.
class JsonBox final : public DmConcrete<JsonBox, JsonThing>
{
public:
    static constexpr const wchar_t* className = L"JsonBox";
    explicit JsonBox(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<JsonBox>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this)
            .optional(L"name", _name)
            .optional(L"leaf", _leaf)
            .optional(L"inner", _inner)
            .optional(L"things", _things)
            .optional(L"leaves", _leaves)
            .mandatory(L"thingMap", _thingMap)
            .mandatory(L"channels", _channels)
            .mandatory(L"numbers", _numbers)
            .constant(L"kind", _kind)
            .optionalCdata(L"notes", _notes)
            .mandatory(L"any", _any)
            .status();
    }
    eDmErrorId createAttributes() override
    {
        const auto gain = JsonLeaf::create();
        gain->_when = 1;
        _channels.emplace(L"gain", gain);
        return DM_NO_ERROR;
    }

    DmString _name{L"box"};
    DmNested<JsonLeaf> _leaf;
    DmNested<JsonBox> _inner;
    DmSetList<JsonThing> _things;
    DmSetList<JsonLeaf> _leaves;
    DmSetMap<JsonThing> _thingMap;
    DmSetMap<JsonLeaf> _channels;
    std::vector<std::int32_t> _numbers{1, 2};
    std::int32_t _kind = 7;
    DmString _notes;
    DmPropertySetPtr _any;
};

inline const DmPropertySetInit<JsonLeaf> jsonLeafRegistration;
inline const DmPropertySetInit<JsonBox> jsonBoxRegistration;

/// What a document says, as a set; with a failure of the test when it cannot be imported.
inline DmPropertySetPtr imported(std::string_view json)
{
    DmPropertySetPtr set;
    const DmStatus status = DmJsonImporter::importSetFromStr(json, set);
    EXPECT_TRUE(status.ok()) << json.substr(0, 200) << dmUtf8(status.info());
    return set;
}

/// The same document, which begins with a class name, spelled with an escape in that: one of the things that the quick
/// way of reading leaves to the other one.
inline std::string otherwise(std::string json)
{
    const unsigned letter = static_cast<unsigned char>(json[2]);
    constexpr const char* digits = "0123456789abcdef";
    return json.replace(2, 1, std::string("\\u00") + digits[letter / 16] + digits[letter % 16]);
}

/// A document in the compact layout.
inline std::string written(const DmPropertySet& set)
{
    std::string text;
    const DmStatus status = DmTreeJsonBuilder::generateUtf8(&set, text, DmTreeJsonBuilder::Layout::Compact);
    EXPECT_TRUE(status.ok()) << dmUtf8(status.info());
    return text;
}
