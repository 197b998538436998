/// Property sets that hold each other in every way, and short forms of importing and writing them. TestEvery and
/// TestOptional (testSets.h) have a property of every type.
#pragma once

#include "dmDeclare.h"
#include "dmJsonImporter.h"
#include "dmPropertySetInit.h"
#include "dmSlots.h"
#include "dmTreeJsonBuilder.h"

#include <gtest/gtest.h>

#include <string>

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
    explicit JsonLeaf(const DmNodeId& id);
    eDmErrorId createList() override;

    DmString _text;
    double _when = 0;
    float _level = 0;
};

/// Holds the others. A fresh one made with default attributes has a gain.
class JsonBox final : public DmConcrete<JsonBox, JsonThing>
{
public:
    static constexpr const wchar_t* className = L"JsonBox";
    explicit JsonBox(const DmNodeId& id);
    eDmErrorId createList() override;
    eDmErrorId createAttributes() override;

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

/// What a document says, as a set; with a failure of the test when it cannot be imported.
DmPropertySetPtr imported(std::string_view json);
/// A document in the compact layout.
std::string written(const DmPropertySet& set);
/// `{"JsonBox":{members}}`, imported and written, without the version: "{members}".
std::string boxAfter(const std::string& members);
