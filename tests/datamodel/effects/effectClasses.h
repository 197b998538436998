/// The effect classes and what each is expected to be, for the tests that walk them all. A new class is a row here.
#pragma once

#include "dmEffect.h"

#include <string>
#include <vector>

struct EffectClass
{
    const char* className;
    const char* typeName;
    const char* use; ///< "segment", "transition", "both" or "neither", then "video" or "audio"
    /// The own properties in index order: "name Type default", with " optional" behind those that are skipped when
    /// they hold it.
    std::vector<std::string> properties;
    std::vector<std::string> attributes;
    std::vector<std::string> channels;
    /// What a fresh effect has, as "name=value".
    std::vector<std::string> defaultAttributes;

    // The class's own functions, by number.
    CoSharedPtr<DmEffectSettings> (*create)();
    const DmString& (*attributName)(int id);
    const DmString& (*channelName)(int id);
    CoSharedPtr<DmSimpleChannel> (*getAttribut)(const DmEffectSettings& effect, int id);
    eDmErrorId (*setAttribut)(DmEffectSettings& effect, int id, const CoSharedPtr<DmSimpleChannel>& attribut);
    CoSharedPtr<DmAnimationChannel> (*getChannel)(const DmEffectSettings& effect, int id);
    CoSharedPtr<DmAnimationChannel> (*getExistingChannel)(const DmEffectSettings& effect, int id);
    eDmErrorId (*setChannel)(DmEffectSettings& effect, int id, const CoSharedPtr<DmAnimationChannel>& channel);
};

/// Every one.
const std::vector<EffectClass>& effectClasses();
/// "frame Float 0", ...: the properties of a set from an index on.
std::vector<std::string> describeProperties(const DmPropertySet& set, int first);
