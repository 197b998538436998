/// What a format says and the model has no property for: it travels with a node as text, in a DmBlobNode whose type is
/// the format's name and version ("otio 2"). Those of several formats are chained by their own "baseBlob".
///
///     static constexpr LeftoverType mine{"mine", L"mine 1"};
///     if (setLeftover(*segment, mine, description) != DM_NO_ERROR)
///         ...
///     description = leftoverOf(*segment, mine).value_or("");
///
/// What was attached to the node before stays first: a host's set, or a source that a gap or a transition carries. A
/// set that is no node ends the chain: such a node takes no leftovers.
#pragma once

#include "dmBlobNode.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// A format's leftovers in one version. Blobs of versions that are none of these stay where they are, unread.
struct LeftoverType
{
    std::string_view format;
    std::wstring_view blobType; ///< with the version; the first has none

    friend bool operator==(const LeftoverType&, const LeftoverType&) = default;
};

/// Of cut lists; other formats hand on what they hold of a list's notes (icNotes.h).
inline constexpr LeftoverType edlLeftover{"edl", L"edl 2"};

/// The text that travels with a node in exactly this version; none without.
ZR_DM_API std::optional<std::string> leftoverOf(const DmTreeNode& node, LeftoverType type);

/// Puts the text in the place of the one of the same type, or behind all others; an empty text takes it away.
[[nodiscard]] ZR_DM_API eDmErrorId setLeftover(DmTreeNode& node, LeftoverType type, std::string_view text);

/// Whether that is a leftover, in whatever version: what hosts attach has other types.
ZR_DM_API bool isLeftover(const DmBlobNode& blob);
/// The same of a blob's type: "edl 2".
bool isLeftoverType(std::string_view blobType);

/// Sets leftovers of nodes that had nothing attached: those that say the same share one object, as copies of a node do.
class SharedLeftovers
{
public:
    explicit SharedLeftovers(LeftoverType type)
        : _type(type)
        , _blobs(1024)
    {
    }
    [[nodiscard]] eDmErrorId set(DmTreeNode& node, std::string_view text);
    /// How many texts it has that no other node had before.
    std::size_t size() const { return _size; }

private:
    LeftoverType _type;
    std::size_t _size = 0;
    std::vector<CoSharedPtr<DmBlobNode>> _blobs; ///< the last one of each remainder of its text's hash
};

} // namespace interchange
