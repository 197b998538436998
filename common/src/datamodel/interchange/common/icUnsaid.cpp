#include "icUnsaid.h"

#include "icLeftovers.h"
#include "icNotes.h"

#include "dmADissolveSettings.h"
#include "dmBlobNode.h"
#include "dmColourEffects.h"
#include "dmMaterial.h"
#include "dmPropertyFactory.h"
#include "dmSegmentNode.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"

#include <algorithm>
#include <cmath>

namespace interchange
{

namespace
{

constexpr const char* unsaidProperties = "DM737";
constexpr const char* unsaidSets = "DM738";
constexpr const char* unsaidLeftovers = "DM739";

/// What the tree's structure gives, what tells a node from others, and who wrote the document: no cut list has them.
constexpr std::wstring_view never[] = {L"classId",
                                       L"children",
                                       L"baseBlob",
                                       L"composition",
                                       L"mediaType",
                                       L"segmentId",
                                       L"originalID",
                                       L"recIn",
                                       L"recLength",
                                       L"relIn",
                                       L"compLength",
                                       L"fxChecksum",
                                       L"identification",
                                       L"layerNum",
                                       L"layerStartTC",
                                       L"layerLength",
                                       L"isResultLayer",
                                       L"isContainerComp",
                                       L"primaryVideoTrackIndex"};

bool areEqual(const DmPropertySet* a, const DmPropertySet* b)
{
    bool equal = false;
    return a == b || (a && b && dmDeepEqual(*a, *b, equal) == DM_NO_ERROR && equal);
}

/// What a node is called where nobody named it. Lists number their tracks.
std::wstring usualName(const DmTreeNode& node)
{
    const auto* const track = dynamic_cast<const DmTrackNode*>(&node);
    if (!track || track->getName() == L"untitled")
        return L"untitled";
    return (track->getMediaType() == DM_MEDIA_AUDIO ? L"A" : L"V") + std::to_wstring(track->getTrackNum());
}

/// The effect of a transition of those that lists have words for; null for others, which are named as what they are.
const DmEffectSettings* knownMixOf(const DmTreeNode& node)
{
    const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(&node);
    const DmEffectSettings* const effect = mix ? mix->getEffect() : nullptr;
    const bool isKnown = dynamic_cast<const DmVDissolveSettings*>(effect) ||
                         dynamic_cast<const DmADissolveSettings*>(effect) ||
                         dynamic_cast<const DmWipeSettings*>(effect);
    return isKnown ? effect : nullptr;
}

/// Those that have a value: others are what an effect comes with. Where the cut lies is told by itself.
void addAttributes(const DmEffectSettings& effect, std::string& names)
{
    for (const auto& [name, each] :
         *static_cast<const DmPropertySetMap*>(effect.fieldOf(DmEffectSettings::AttributList)))
        if (const auto* const attribute = dynamic_cast<const DmSimpleChannel*>(each.get());
            attribute && !attribute->getValue().empty() && name != L"focusAlignment")
            names.append(", effect.").append(dmUtf8(name));
}

/// What people note of effects, whether a format has words for them or not. Looks have other use for theirs (icLook.h).
void addUnsaidOfEffects(const DmSegmentNode& segment, std::string& names)
{
    for (const DmPropertySetPtr& each : segment.getEffects())
        if (const auto* const effect = dynamic_cast<const DmEffectSettings*>(each.get());
            effect && !dynamic_cast<const DmLookSettings*>(effect))
        {
            if (!effect->getComment().empty())
                names.append(", effects.comment");
            if (!effect->getSetupFileName().empty())
                names.append(", effects.setupFileName");
        }
}

/// What an input says of its media that no list does, where it is not said of the clip or of the source, too.
void addUnsaidOfMedia(const DmTreeNode& node, std::string& names)
{
    const auto* const source = dynamic_cast<const DmSourceNode*>(&node);
    const DmSourceNode::Input* const input = source ? source->getSrcInput() : nullptr;
    if (!input)
        return;
    const DmSourceInfo* const info = input->getSrcInfo();
    if (const DmString& name = input->getName();
        !name.empty() && name != node.getName() && (!info || name != info->getName()))
        names.append(", srcInput.name");
    const auto* const media = dynamic_cast<const DmSourceNode::MediaInput*>(input);
    if (!media)
        return;
    for (const DmPropertySetPtr& each : media->getExtraDataDictionary())
        if (const auto* const entry = dynamic_cast<const DmSourceNode::DictionaryEntry*>(each.get());
            entry && entry->getKey() != dmMaterialLengthKey)
            return static_cast<void>(names.append(", srcInput.extraDataDictionary"));
}

} // namespace

bool isSameProperty(const DmPropertySet& a, const DmPropertySet& b, int index)
{
    // Fields at their default are nearly all shared.
    if (a.fieldOf(index) == b.fieldOf(index))
        return true;
    return dmVisitStorage(a.classData().at(index)->_type,
                          [&](auto type)
                          {
                              using T = typename decltype(type)::type;
                              if constexpr (std::is_void_v<T>)
                                  return true;
                              else if constexpr (std::is_same_v<T, DmPropertySetVector>)
                              {
                                  const DmListWindow<DmPropertySet> x = a.elementsOf(index);
                                  const DmListWindow<DmPropertySet> y = b.elementsOf(index);
                                  return x.size() == y.size() && std::equal(x.begin(), x.end(), y.begin(), areEqual);
                              }
                              else if constexpr (dmIsVector<T>)
                                  return std::ranges::equal(a.template valuesOf<typename T::value_type>(index),
                                                            b.template valuesOf<typename T::value_type>(index));
                              else
                              {
                                  const T& x = *static_cast<const T*>(a.fieldOf(index));
                                  const T& y = *static_cast<const T*>(b.fieldOf(index));
                                  if constexpr (std::is_same_v<T, DmPropertySetPtr>)
                                      return areEqual(x.get(), y.get());
                                  else if constexpr (std::is_same_v<T, DmPropertySetMap>)
                                      return std::ranges::equal(x, y,
                                                                [](const auto& one, const auto& other) {
                                                                    return one.first == other.first &&
                                                                           areEqual(one.second.get(),
                                                                                    other.second.get());
                                                                });
                                  else if constexpr (std::is_floating_point_v<T>)
                                      return x == y || (std::isnan(x) && std::isnan(y));
                                  else
                                      return x == y;
                              }
                          });
}

bool Unsaid::isNameSaid(const DmTreeNode& node) const
{
    switch (node.whatIs())
    {
    case DM_COMPOSITION_NODE:
    case DM_SOURCE_NODE:
    case DM_CONTAINER_NODE:
        return isSaid(L"name");
    case DM_TRX_EFFECT_NODE:
        return isSaid(L"transition.name");
    default:
        return false;
    }
}

bool Unsaid::isSaid(std::wstring_view path) const
{
    return std::ranges::find(_said, path) != _said.end() || std::ranges::find(never, path) != std::end(never);
}

bool Unsaid::isOnTheWay(std::wstring_view path) const
{
    return std::ranges::any_of(
        _said, [path](std::wstring_view each)
        { return each.size() > path.size() && each.starts_with(path) && each[path.size()] == L'.'; });
}

const DmPropertySet* Unsaid::freshOf(const DmPropertySet& set)
{
    const auto [found, isNew] = _fresh.try_emplace(&set.classData());
    if (isNew)
    {
        const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
        const DmPropertyCreator creator = factory.findCreator(set.classData().className().view());
        DmPropertySet* made = nullptr;
        if (creator && factory.createBare(creator, made) == DM_NO_ERROR)
            found->second.reset(made);
    }
    return found->second.get();
}

void Unsaid::addUnsaid(const DmPropertySet& set, const std::wstring& path, std::string& names)
{
    const DmPropertySet* const fresh = freshOf(set);
    const DmPropertySetData& data = set.classData();
    for (int i = 0; fresh && i < data.size(); ++i)
    {
        if (isSameProperty(set, *fresh, i)) // nearly always
            continue;
        const std::wstring name = path + std::wstring(data.at(i)->_name.view());
        if (name == L"name" || name == L"effect.attributList" || isSaid(name))
            continue;
        std::string inside;
        if (data.at(i)->_type == DM_PROPERTY_SET)
        {
            if (const auto& held = *static_cast<const DmPropertySetPtr*>(set.fieldOf(i)))
                addUnsaid(*held, name + L'.', inside);
            if (inside.empty())
                continue;
        }
        if (isOnTheWay(name))
            names += inside;
        else
            names.append(", ").append(dmUtf8(DmString(name.c_str())));
    }
}

void Unsaid::reportAround(const DmTreeNode& root, Report& report)
{
    report.at({.node = &root});
    this->report(root, report);
    for (int i = 0; i < root.getNbChildren(); ++i)
        if (const DmTreeNode* const child = root.getChild(i); child && child->whatIs() == DM_REEL_NODE)
            reportAround(*child, report);
    report.at({});
}

void Unsaid::report(const DmTreeNode& node, Report& report, bool handedOn)
{
    const auto tellNames = [&report](const char* code, std::string names)
    {
        if (!names.empty())
            report.lose({code, names.erase(0, 2).append(": left out")});
    };
    std::string names;
    if (const DmString& name = node.getName(); !isNameSaid(node) && !name.empty() && name.view() != usualName(node))
        names.append(", name \"").append(dmUtf8(name)).append("\"");
    addUnsaid(node, {}, names);
    if (const DmEffectSettings* const mix = knownMixOf(node))
    {
        addUnsaid(*mix, L"effect.", names);
        addAttributes(*mix, names);
    }
    if (const DmSegmentNode* const segment = node.asSegment())
        addUnsaidOfEffects(*segment, names);
    addUnsaidOfMedia(node, names);
    tellNames(unsaidProperties, std::move(names));

    std::string sets;
    constexpr int longestChain = 64;
    const DmPropertySet* at = node.getBaseBlob();
    for (int i = 0; at && i < longestChain; ++i)
    {
        const auto* const held = dynamic_cast<const DmTreeNode*>(at);
        const auto* const blob = dynamic_cast<const DmBlobNode*>(at);
        const std::string type = blob ? dmUtf8(blob->getBlobType()) : std::string();
        const std::string_view format = std::string_view(type).substr(0, type.find(' '));
        const bool isOurs = blob && isLeftoverType(type);
        // Of lists, others hand on the notes; the rest of it is about places in the list itself.
        const bool isSilent =
            handedOn || (format == edlLeftover.format &&
                         std::ranges::all_of(notesOf(node), [](const Note& note) { return isOfModel(note.kind); }));
        const bool plays = held && held->isSegment() && node.asTransition(); // what a transition comes from
        if (!isOurs && !plays)
            sets.append(", ").append(dmUtf8(at->classData().className()));
        else if (isOurs && format != _format && !isSilent && _toldFormats.insert(std::string(format)).second)
        {
            DmFinding finding;
            finding.severity = DmFinding::Note;
            finding.code = unsaidLeftovers;
            finding.text = dmFindingCode(unsaidLeftovers)->text + (": " + std::string(format)) + ": left out";
            report.add(std::move(finding));
        }
        at = held ? held->getBaseBlob() : nullptr;
    }
    tellNames(unsaidSets, std::move(sets));
}

} // namespace interchange
