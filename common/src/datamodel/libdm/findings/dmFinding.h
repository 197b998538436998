/// Something that is to be said about a document or a cut list: what is wrong with it, what a conversion cannot carry,
/// what was taken for granted. One type for checks and conversions, whose codes stand in one table.
///
///     for (const DmFinding& finding : found)
///         std::cerr << finding.toString("reel1.edl") << '\n'; // reel1.edl:12: warning: a gap of 3 frames
#pragma once

#include "zrExport.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct ZR_DM_API DmFinding
{
    enum Severity : std::uint8_t
    {
        Note,
        Warning,
        Error
    };

    Severity severity = Warning;
    const char* code = "";     ///< of dmFindingCodes(), which lasts as long as the program
    std::uint32_t line = 0;    ///< in the file, from 1 on; 0: of the file as a whole, or not known
    std::uint32_t column = 0;  ///< from 1 on; 0: not known
    std::string nodePath = {}; ///< from the root on: "children[0]/children[2]"
    std::string clip = {};     ///< its name
    std::string track = {};    ///< "V1", "A2"
    std::string record = {};   ///< the label of its record time
    std::string text = {};     ///< UTF-8, without a line end
    /// By which a finding of an earlier cut is known again, wherever it plays by now: the medium and its range that
    /// plays, or those of the shots around. Empty where there is no shot.
    std::string subject = {};

    /// "error", "warning" or "note".
    const char* severityName() const;
    /// One line without its end: "FILE:LINE: warning: CLIP, V1, 01:00:02:00: text". An error carries no word in front
    /// of it: "FILE:LINE: text" is the form that editors and build tools jump to.
    std::string toString(std::string_view fileName) const;

    friend bool operator==(const DmFinding& a, const DmFinding& b) = default;
};

/// A line a finding. Of one code no more than `shownOfOne` are shown, the rest is one line that counts them; 0 shows
/// all.
ZR_DM_API std::string dmFindingsText(std::string_view fileName, std::span<const DmFinding> findings,
                                     std::size_t shownOfOne = 5);

/// A kind of finding. Groups by the first digit: 1 structure, 2 times, 3 cut, 4 media, 5 delivery, 6 reading cut lists,
/// 7 writing them.
struct DmFindingCode
{
    const char* code; ///< "DM601"
    DmFinding::Severity severity;
    const char* text; ///< what it finds, in the plural
};

/// All of them, by code.
ZR_DM_API std::span<const DmFindingCode> dmFindingCodes();
/// Null for a code that there is not.
ZR_DM_API const DmFindingCode* dmFindingCode(std::string_view code);
