#include "jsonSets.h"

#include "dmUtf8.h"

namespace
{

const DmPropertySetInit<JsonLeaf> leafRegistration;
const DmPropertySetInit<JsonBox> boxRegistration;

} // namespace

JsonLeaf::JsonLeaf(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<JsonLeaf>::data())
{
}

eDmErrorId JsonLeaf::createList()
{
    return declare(*this).optional(L"text", _text).optional(L"when", _when).optional(L"level", _level).status();
}

JsonBox::JsonBox(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<JsonBox>::data())
{
}

eDmErrorId JsonBox::createList()
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

eDmErrorId JsonBox::createAttributes()
{
    const auto gain = JsonLeaf::create();
    gain->_when = 1;
    _channels.emplace(L"gain", gain);
    return DM_NO_ERROR;
}

DmPropertySetPtr imported(std::string_view json)
{
    DmPropertySetPtr set;
    const DmStatus status = DmJsonImporter::importSetFromStr(json, set);
    EXPECT_TRUE(status.ok()) << json.substr(0, 200) << "\n" << dmUtf8(status.info());
    return set;
}

std::string written(const DmPropertySet& set)
{
    std::string text;
    const DmStatus status = DmTreeJsonBuilder::generateUtf8(&set, text, DmTreeJsonBuilder::Layout::Compact);
    EXPECT_TRUE(status.ok()) << dmUtf8(status.info());
    return text;
}

std::string boxAfter(const std::string& members)
{
    const DmPropertySetPtr box = imported("{\"JsonBox\":" + members + "}");
    if (!box)
        return {};
    const std::string text = written(*box);
    const std::string before = "{\"JsonBox\":";
    const std::string after = ",\"VERSION\":{\"major\":0,\"minor\":1}}";
    EXPECT_TRUE(text.starts_with(before) && text.ends_with(after)) << text;
    return text.substr(before.size(), text.size() - before.size() - after.size());
}
