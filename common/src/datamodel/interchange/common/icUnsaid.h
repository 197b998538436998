/// What a document says and a format has no words for: properties that are set, and sets that are attached.
#pragma once

#include "icReport.h"

#include "dmPropertySet.h"

#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace interchange
{

/// Whether both sets, which are of one class, say the same there.
bool isSameProperty(const DmPropertySet& a, const DmPropertySet& b, int index);

class Unsaid
{
public:
    /// `said`: the properties that the format says, or has no need to: "muted", "srcInput.srcInfo.path",
    /// "effect.length" of transitions. Sets that lie on the way to one are looked into. Names are those of compositions
    /// and clips; of transitions that is "transition.name". `format`: whose leftovers are written.
    Unsaid(std::string_view format, std::span<const std::wstring_view> said)
        : _format(format)
        , _said(said)
    {
    }

    /// Names, as losses of the node, its properties that are set and not said, and what somebody attached to it. That
    /// there is something that only the format says that it was read from is said once, unless it is `handedOn`.
    void report(const DmTreeNode& node, Report& report, bool handedOn = false);
    /// The same of what holds the compositions: the root, and reels.
    void reportAround(const DmTreeNode& root, Report& report);

private:
    bool isSaid(std::wstring_view path) const;
    bool isNameSaid(const DmTreeNode& node) const;
    bool isOnTheWay(std::wstring_view path) const;
    void addUnsaid(const DmPropertySet& set, const std::wstring& path, std::string& names);
    const DmPropertySet* freshOf(const DmPropertySet& set);

    std::string_view _format;
    std::span<const std::wstring_view> _said;
    std::set<std::string, std::less<>> _toldFormats; ///< once is enough for a document
    std::unordered_map<const DmPropertySetData*, CoSharedPtr<DmPropertySet>> _fresh;
};

} // namespace interchange
