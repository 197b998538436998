/// What every effect class promises alike, tried on each of them.
#include "dmPropertyFactory.h"
#include "dmStroke.h"
#include "dmUtf8.h"
#include "effectClasses.h"
#include "effectTools.h"

#include <algorithm>

namespace
{

using Names = std::vector<std::string>;

/// The names that a class answers for its ids, up to the first id that has none.
Names namesOf(const DmString& (*name)(int id))
{
    EXPECT_TRUE(name(-1).empty());
    Names names;
    for (int id = 0; !name(id).empty(); ++id)
        names.push_back(dmUtf8(name(id)));
    return names;
}

std::string useOf(const DmEffectSettings& effect)
{
    const bool segment = effect.isSegmentCompatible();
    const bool transition = effect.isTrxCompatible();
    const std::string place = segment && transition ? "both"
                              : segment             ? "segment"
                              : transition          ? "transition"
                                                    : "neither";
    return place + ' ' + dmMediaTypeText(effect.getMediaType());
}

Names attributesOf(const DmEffectSettings& effect)
{
    DmStringArray keys;
    EXPECT_EQ(effect.getKeysFromPropertyMap(DmEffectSettings::AttributList, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    Names attributes;
    for (const DmString& key : keys)
    {
        EXPECT_EQ(effect.getAttributByName(key)->getName(), key);
        attributes.push_back(dmUtf8(key) + '=' + dmUtf8(effect.getAttributText(key)));
    }
    return attributes;
}

/// By class name, as an importer does.
CoSharedPtr<DmEffectSettings> createByName(const EffectClass& row)
{
    DmPropertySet* set = nullptr;
    const std::string name = row.className;
    EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(
                  DmString(std::wstring(name.begin(), name.end()).c_str()), DmNodeId(), 0, set),
              DM_NO_ERROR)
        << name;
    return CoSharedPtr<DmEffectSettings>(dynamic_cast<DmEffectSettings*>(set));
}

/// Gives every property, attribute and channel of an effect a value that it did not have.
void fill(const EffectClass& row, DmEffectSettings& effect)
{
    for (int i = DmEffectSettings::SetupFileName; i < effect.classData().size(); ++i)
    {
        const DmPropertyDef& def = *effect.classData().at(i);
        DmString before;
        if (def._type == DM_PROPERTY_SET || def._type == DM_VECTOR_PROPERTY_SET || def._type == DM_MAP_PROPERTY_SET)
            continue;
        const bool isTrue =
            effect.getStrFromPropertyValue(i, def._type, before, nullptr) == DM_NO_ERROR && before == L"true";
        EXPECT_EQ(effect.setPropertyValueFromStr(def._name, def._type,
                                                 def._type != DM_BOOL ? L"42"
                                                 : isTrue             ? L"false"
                                                                      : L"true"),
                  DM_NO_ERROR)
            << def._utf8Name;
    }
    for (int id = 0; !row.attributName(id).empty(); ++id)
        EXPECT_EQ(row.setAttribut(effect, id, DmSimpleChannel::create(L"text")), DM_NO_ERROR);
    for (int id = 0; !row.channelName(id).empty(); ++id)
        EXPECT_EQ(row.getChannel(effect, id)->addKeyFrame(key(5)), DM_NO_ERROR);
}

} // namespace

TEST(EffectClasses, AreWhatTheirTablesSay)
{
    for (const EffectClass& row : effectClasses())
    {
        SCOPED_TRACE(row.className);
        const auto effect = createByName(row);
        ASSERT_TRUE(effect);
        EXPECT_EQ(dmUtf8(effect->getPSetName()), row.className);
        EXPECT_EQ(dmUtf8(effect->getName()), row.typeName);
        EXPECT_EQ(useOf(*effect), row.use);
        EXPECT_EQ(describeProperties(*effect, DmEffectSettings::EffectPropertyCount), row.properties);
        EXPECT_EQ(namesOf(row.attributName), row.attributes);
        EXPECT_EQ(namesOf(row.channelName), row.channels);
        const Names base = describeProperties(*effect, 0);
        ASSERT_EQ(Names(base.begin(), base.begin() + 7),
                  (Names{"attributList Map-Property-Set", "channelList Map-Property-Set",
                         "setupFileName String  optional", "setup CDATA  optional", "comment String  optional",
                         "muted Bool false optional", "output Property-Set"}));
    }
}

TEST(EffectClasses, AreAllTried)
{
    Names tried;
    for (const EffectClass& row : effectClasses())
        tried.emplace_back(row.className);
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        DmPropertySet* set = nullptr;
        ASSERT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(name, DmNodeId(), 0, set), DM_NO_ERROR);
        const DmPropertySetPtr made(set);
        const bool isEffect = dynamic_cast<DmEffectSettings*>(set) != nullptr;
        EXPECT_EQ(std::count(tried.begin(), tried.end(), dmUtf8(name)), isEffect ? 1 : 0) << dmUtf8(name);
    }
}

TEST(EffectClasses, HaveTheirDefaultAttributesOnceHoweverTheyAreMade)
{
    DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    for (const EffectClass& row : effectClasses())
    {
        SCOPED_TRACE(row.className);
        for (const bool flag : {false, true})
        {
            factory.setCreateDefaultAttributes(flag);
            EXPECT_EQ(attributesOf(*row.create()), row.defaultAttributes) << flag;
            EXPECT_EQ(attributesOf(*createByName(row)), flag ? row.defaultAttributes : Names()) << flag;
        }
        factory.setCreateDefaultAttributes(false);
        // Made a second time, they are in their own way; a class without any does not mind.
        EXPECT_EQ(row.create()->createAttributes(),
                  row.defaultAttributes.empty() ? DM_NO_ERROR : DM_PROPERTY_ALREADY_EXIST);
    }
}

TEST(EffectClasses, ReachAttributesAndChannelsById)
{
    for (const EffectClass& row : effectClasses())
    {
        SCOPED_TRACE(row.className);
        const auto effect = row.create();
        const int attributs = static_cast<int>(row.attributes.size());
        const int channels = static_cast<int>(row.channels.size());
        for (int id = 0; id < attributs; ++id)
        {
            const auto attribut = DmSimpleChannel::create(L"text");
            EXPECT_EQ(row.setAttribut(*effect, id, attribut), DM_NO_ERROR);
            EXPECT_EQ(row.getAttribut(*effect, id), attribut);
            EXPECT_EQ(effect->getAttributByName(row.attributName(id)), attribut);
        }
        DmStringArray names;
        effect->getChannelNames(names);
        EXPECT_EQ(names.size(), 0U);
        for (int id = 0; id < channels; ++id)
        {
            // One class has two ids of one name: the second finds what was set under the first.
            const bool fresh = std::count(row.channels.begin(), row.channels.begin() + id, row.channels[id]) == 0;
            EXPECT_EQ(row.getExistingChannel(*effect, id) == nullptr, fresh) << id;
            const auto channel = row.getChannel(*effect, id);
            ASSERT_TRUE(channel);
            EXPECT_EQ(channel->getVersion(), fresh ? DmKeyFrame::DM_KEY_VERSION_2 : DmKeyFrame::DM_KEY_VERSION_1);
            EXPECT_EQ(effect->getExistingChannelByName(row.channelName(id)), channel);
            const auto other = DmAnimationChannel::create();
            EXPECT_EQ(row.setChannel(*effect, id, other), DM_NO_ERROR);
            EXPECT_EQ(row.getChannel(*effect, id), other);
        }
        for (const int outside : {-1, attributs, channels, 100000})
        {
            if (outside < 0 || outside >= attributs)
            {
                EXPECT_FALSE(row.getAttribut(*effect, outside));
                EXPECT_EQ(row.setAttribut(*effect, outside, DmSimpleChannel::create(L"")), DM_BAD_INDEX);
            }
            if (outside < 0 || outside >= channels)
            {
                EXPECT_FALSE(row.getChannel(*effect, outside));
                EXPECT_FALSE(row.getExistingChannel(*effect, outside));
                EXPECT_EQ(row.setChannel(*effect, outside, DmAnimationChannel::create()), DM_BAD_INDEX);
            }
        }
    }
}

TEST(EffectClasses, ClonesAreEqualAndShareNothing)
{
    for (const EffectClass& row : effectClasses())
    {
        SCOPED_TRACE(row.className);
        const auto effect = row.create();
        const DmPropertySetPtr untouched = effect->clone();
        EXPECT_EQ(difference(*effect, *untouched), "");
        EXPECT_EQ(difference(*row.create(), *untouched), "");
        fill(row, *effect);
        EXPECT_NE(difference(*effect, *untouched), "");

        const auto clone = staticPointerCast<DmEffectSettings>(effect->clone());
        EXPECT_EQ(dmUtf8(clone->getPSetName()), row.className);
        EXPECT_EQ(difference(*effect, *clone), "");
        EXPECT_TRUE(heldByBoth(*effect, *clone).empty());
        DmPropertySetPtr copy;
        ASSERT_EQ(dmDeepCopy(*effect, copy), DM_NO_ERROR);
        EXPECT_EQ(difference(*effect, *copy), "");

        fill(row, *clone); // once more: bools change back, every channel gets a second key
        EXPECT_EQ(clone->setComment(L"changed"), DM_NO_ERROR);
        EXPECT_NE(difference(*effect, *clone), "");
        EXPECT_EQ(difference(*effect, *copy), "");
    }
}

TEST(EffectParts, AreWhatTheirTablesSay)
{
    const struct
    {
        DmPropertySetPtr set;
        const char* className;
        Names properties;
    } rows[] = {{stored(DmSimpleChannel::create()), "DmSimpleChannel", {"name String ", "value String "}},
                {stored(DmAnimationChannel::create()),
                 "DmAnimationChannel",
                 {"name String ", "interpolation Int 1", "extrapolation Int 0", "version Float 1", "value Float 0",
                  "keyFrameList Vector-Property-Set"}},
                {stored(DmKeyFrame::create()),
                 "DmKeyFrame",
                 {"frame Float 0", "value Float 0", "interpMode Int 0", "interpOrder Int 1", "rightHandleX Float 0",
                  "rightHandleY Float 0", "leftHandleX Float 0", "leftHandleY Float 0", "breakVel Bool false",
                  "autoRightVelocity Bool true", "autoLeftVelocity Bool true", "breakValue Bool false",
                  "autoPlateau Bool false"}},
                {stored(DmMediaNode::create()),
                 "DmMediaNode",
                 {"name String  optional", "path String  optional", "mediaType Enum 0", "fileList Vector-String"}},
                {stored(DmPoint::create()), "DmPoint", {"x Double 0", "y Double 0", "width Double 1"}},
                {stored(DmStroke::create()),
                 "DmStroke",
                 {"points Vector-Property-Set", "red Float 0", "green Float 0", "blue Float 0", "alpha Float 1",
                  "type String ", "brush String "}}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(dmUtf8(row.set->getPSetName()), row.className);
        EXPECT_EQ(describeProperties(*row.set, 0), row.properties) << row.className;
        EXPECT_EQ(difference(*row.set, *row.set->clone()), "") << row.className;
    }
}
