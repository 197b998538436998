/// Every class with its properties, attributes and channels: names and types are what documents are made of.
#include "zrFilled.h"
#include "zrTable.h"

using zrTest::fill;
using zrTest::fresh;
using zrTest::valueText;
using zrTest::wide;

namespace
{

/// One property: its type (of class <slot>; ? when it is left out of documents where it has its default), name and what
/// a fresh object holds: the text of a value, the code of a character; "shared" (the frozen default) or "own" for a
/// nested set; nothing for the text, number, list or set that is empty.
std::string described(const DmPropertySet& set, int index)
{
    const DmPropertyDef& def = *set.classData().at(index);
    std::string text = dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type));
    text += def._held ? '<' + dmUtf8(def._held->name) + '>' : "";
    text += (def._skipIfDefault ? "? " : " ") + def._utf8Name;
    const std::string value = valueText(set, index);
    return text + (value.empty() || value == "0" || value == "false" ? "" : " = " + value);
}

std::string described(const DmNameTable& table)
{
    std::string names;
    for (int id = 0; id < table.size(); ++id)
        names += ' ' + dmUtf8(table[id]);
    return names;
}

/// What an effect is beside its properties.
std::string describedEffect(const DmEffectSettings& effect)
{
    std::string text = "    \"" + dmUtf8(effect.getName()) + "\" on";
    text += effect.isSegmentCompatible() ? " segments" : "";
    text += effect.isTrxCompatible() ? " transitions" : "";
    text += std::string(" of ") + dmMediaTypeText(effect.getMediaType()) + '\n';
    DmStringArray keys;
    const auto whole = dmCreateEffect(effect.getPSetName().c_str());
    EXPECT_EQ(whole->getKeysFromPropertyMap(DmEffectSettings::AttributList, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    for (const DmString& key : keys)
        text += "    made with " + dmUtf8(key) + " \"" + dmUtf8(whole->getAttributText(key)) + "\"\n";
    if (effect.getAttributTable().size() > 0)
        text += "    attributes:" + described(effect.getAttributTable()) + '\n';
    if (effect.getChannelTable().size() > 0)
        text += "    channels:" + described(effect.getChannelTable()) + '\n';
    return text;
}

/// The properties of a class from `first` to before `end`, a line each.
std::string described(const DmPropertySet& set, int first, int end)
{
    std::string text;
    for (int i = first; i < end; ++i)
    {
        text += "    " + std::to_string(i) + ' ' + described(set, i) + '\n';
        EXPECT_EQ(set.isPropertyRelevant(i), !set.classData().at(i)->_skipIfDefault) << text;
    }
    return text;
}

/// The path of the first difference, empty when two sets are deeply equal.
std::string difference(const DmPropertySet& a, const DmPropertySet& b)
{
    bool equal = false;
    std::string path;
    EXPECT_EQ(dmDeepEqual(a, b, equal, &path), DM_NO_ERROR);
    return equal ? "" : path.empty() ? "(class)" : path;
}

/// All that are not effects.
std::vector<DmString> nodeClasses()
{
    std::vector<DmString> names;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        if (!DM::dynamicPointerCast<DmEffectSettings>(fresh(name)))
            names.push_back(name);
    return names;
}

} // namespace

TEST(Classes, AreWhatIsWrittenDown)
{
    constexpr int own = DmEffectSettings::EffectPropertyCount;
    std::string found = "every effect\n" + described(*fresh(L"DmPPFxSettings"), 0, own);
    const std::string ofEffects = found.substr(found.find('\n') + 1);
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        const DmPropertySetPtr set = fresh(name);
        ASSERT_TRUE(set);
        EXPECT_EQ(set->getPSetName(), name);
        const auto effect = DM::dynamicPointerCast<DmEffectSettings>(set);
        found += dmUtf8(name) + '\n' + (effect ? describedEffect(*effect) : "");
        found += described(*set, effect ? own : 0, set->classData().size());
        EXPECT_EQ(effect ? described(*set, 0, own) : ofEffects, ofEffects) << dmUtf8(name);
    }
    zrExpectWritten(found, "classes.txt");
}

TEST(Classes, ComeBackWholeFromDocuments)
{
    // As the importer makes them.
    EXPECT_FALSE(DmPropertyFactory::getInstance().setCreateDefaultAttributes(true));
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        SCOPED_TRACE(dmUtf8(name));
        const DmPropertySetPtr set = fresh(name);
        fill(*set);
        for (int i = 0; i < set->classData().size(); ++i)
            EXPECT_TRUE(set->isPropertyRelevant(i)) << set->classData().at(i)->_utf8Name;
        EXPECT_NE(difference(*set, *fresh(name)), "");

        std::string text;
        DmPropertySetPtr read;
        DmJsonChanges changes;
        ASSERT_TRUE(DmTreeJsonBuilder::generateUtf8(set.get(), text).ok());
        ASSERT_TRUE(DmJsonImporter::importSetFromStr(text, read, nullptr, &changes).ok());
        EXPECT_EQ(difference(*set, *read), "");
        EXPECT_EQ(changes.size(), 0U) << changes.list[0].text();
    }
    DmPropertyFactory::getInstance().setCreateDefaultAttributes(false);
}

TEST(TreeClasses, RefuseObjectsOfAnotherClassInTheirSlots)
{
    const DmPropertySetPtr key = fresh(L"DmKeyFrame");
    const DmPropertySetPtr blob = fresh(L"DmBlobNode");
    for (const DmString& name : nodeClasses())
    {
        const DmPropertySetPtr set = fresh(name);
        for (int i = 0; i < set->classData().size(); ++i)
        {
            const DmPropertyDef& def = *set->classData().at(i);
            const bool isList = def._type == DM_VECTOR_PROPERTY_SET;
            if (def._type != DM_PROPERTY_SET && !isList)
                continue;
            const auto store = [&](const DmPropertySetPtr& value) {
                return isList ? set->addValueInPropertyList(i, def._type, &value)
                              : set->setPropertyValue(i, def._type, &value);
            };
            const DmString slot = def._held ? def._held->name : L"";
            EXPECT_EQ(store(key), slot.empty() || slot == L"DmKeyFrame" ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE)
                << dmUtf8(name) << ' ' << def._utf8Name;
            // Three classes hold some nodes only.
            const bool holdsSome = name == L"DmCompositionNode" || name == L"DmTrackNode" || name == L"DmLayerNode";
            EXPECT_EQ(store(blob),
                      slot.empty() || (slot == L"DmTreeNode" && !holdsSome) ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE)
                << dmUtf8(name) << ' ' << def._utf8Name;
        }
    }
}

TEST(TreeClasses, KeepTheirKindWhateverADocumentSays)
{
    for (const DmString& name : nodeClasses())
    {
        const auto treeNode = DM::dynamicPointerCast<DmTreeNode>(fresh(name));
        if (!treeNode)
            continue;
        SCOPED_TRACE(dmUtf8(name));
        const int kind = treeNode->whatIs();
        EXPECT_EQ(std::to_string(kind), valueText(*treeNode, 0));
        const std::int32_t other = kind ^ 1;
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", DM_ENUM, &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValue(L"classId", &other), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(std::to_string(other))), DM_BAD_VALUE);
        EXPECT_EQ(treeNode->setPropertyValueFromStr(L"classId", wide(std::to_string(kind))), DM_NO_ERROR);
        EXPECT_EQ(treeNode->whatIs(), kind);
        EXPECT_EQ(treeNode->isSegment(), kind == 3 || kind == 4 || kind == 5);
        EXPECT_EQ(treeNode->isTransition(), kind == 6 || kind == 7);
    }
}

TEST(TreeClasses, OfInputsHaveASecondNameThatIsNeverWritten)
{
    for (const wchar_t* const name :
         {L"MediaInput", L"GeneratedInput", L"DerivedInput", L"RelinkedInput", L"DictionaryEntry"})
        EXPECT_EQ(fresh((std::wstring(L"DmSourceNode::") + name).c_str())->getPSetName(), name);
    for (const wchar_t* const name : {L"Input", L"DmSourceNode::Input", L"DmSegmentNode", L"DmTreeNode"})
        EXPECT_FALSE(DmPropertyFactory::getInstance().findCreator(name)) << "abstract";
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        EXPECT_EQ(name.view().find(L':'), std::wstring_view::npos) << dmUtf8(name);
}
