/// What the model says in the columns that people know, and what of a row it does not say: that travels with the row's
/// node, a line an entry.
///
///     Camera <tab> A                         // a column that the model has no property for
///     Start <tab> 1:00:00:00 <tab> 01:00:00:00 // written otherwise: counts as long as the model says the last
///     *cells <tab> 3                         // a short row
///     *more <tab> ...                        // what stands behind the last column
///     *end <tab> CR                          // a line end other than the file's
#pragma once

#include "icAleText.h"
#include "icLeftovers.h"
#include "icLook.h"
#include "icText.h"

#include "dmSegmentNode.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::ale
{

inline constexpr LeftoverType leftoverType{"ale", L"ale"};
inline constexpr LeftoverType headLeftover{"ale", L"ale 2"};

/// What a column says.
enum class Role
{
    Custom,
    Name,
    Tracks,
    Start,
    End,
    Duration,
    Reel,
    Path,
    Directory, ///< of the path
    FileName,
    Rate,
    Sop,
    Saturation,
    Cdl
};
Role roleOf(std::string_view column);
/// Of several columns of a role, the one with the lowest rank says it.
std::size_t rankOf(std::string_view column);

/// A row as the model says it.
struct Row
{
    std::string name;
    std::string tracks;
    double start = 0; ///< in frames of the mode, as labels count
    double end = 0;
    DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED;
    std::string reel;
    std::string path;
    std::string fileName;
    std::optional<Look> look;

    /// The text of a column; empty for one that the model knows nothing of.
    std::string cell(Role role) const;
};
/// Of a segment that a composition of this mode plays. A gap has a name only.
Row rowOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm);
std::optional<Look> lookOf(const DmSegmentNode& segment);

/// What of a row the model does not say.
class Kept
{
public:
    struct Cell
    {
        std::string text;
        std::optional<std::string> was; ///< what the model said; none: whatever it says
    };

    static Kept of(const DmTreeNode& node);
    eDmErrorId keepOn(DmTreeNode& node) const;

    std::map<std::string, Cell, std::less<>> cells;
    std::optional<std::size_t> count; ///< of the cells
    std::string more;
    std::optional<std::string> end;
    bool isRow = false; ///< of a gap: stands for a row
};

/// What stands in front of the rows: it travels with the composition, behind what its lines do not say.
///
///     *mark                  // a byte-order mark; of other encodings *utf-16le and *utf-16be
///     *end <tab> CRLF        // the end of its lines, where that is not LF
///     *end 7 <tab> CR        // of a line that ends otherwise
///     *head
///     Heading
///     ...
struct KeptHead
{
    std::string text;
    Encoding encoding = Encoding::Unmarked;

    /// Of the first version, too, which had the bare text. None where the node has no head.
    static std::optional<KeptHead> of(const DmTreeNode& node);
    eDmErrorId keepOn(DmTreeNode& node) const;
};

} // namespace interchange::ale
