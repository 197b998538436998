/// The text of an ALE file: a head of keys and values that ends in the names of the columns, and rows of cells. Views
/// into the text, which has to live as long.
///
///     Heading
///     FIELD_DELIM <tab> TABS
///     FPS <tab> 24
///
///     Column
///     Name <tab> Start <tab> End
///
///     Data
///     A001C001 <tab> 01:00:00:00 <tab> 01:00:04:00
///
/// What follows a keyword may stand on its line, behind a blank.
#pragma once

#include "icFormat.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::ale
{

struct Line
{
    std::string_view text;
    std::string_view end; ///< "\n", "\r\n", "\r", or nothing at the end of the file
};
/// The first line, which is taken from the text.
Line takeLine(std::string_view& text);

std::vector<std::string_view> cellsOf(std::string_view row);

struct Head
{
    std::string_view text;     ///< all of it, with "Data" and what separates that from the first row
    std::string_view lineEnd;  ///< of its first line
    std::string_view fps;      ///< the value as it stands; empty without one
    std::string_view format;   ///< of the picture, likewise: 1080, PAL, NTSC
    std::string_view lastLine; ///< of the columns, without its end
    std::vector<std::string_view> columns;
    std::uint32_t lines = 0;   ///< that end in it
    std::uint32_t fpsLine = 0; ///< from 1 on
    bool hasOtherDelimiter = false;

    /// That of the rate, which may also be a mode's name ("23.976 fps", "PAL"); not defined for another one.
    DM::FrameCodeModes mode(bool drops) const;
    /// Takes it from the front of the text; none where it has no columns or no data.
    static std::optional<Head> take(std::string_view& text);
};

/// A name for each column by which its cells are kept: its own, with a count behind it where that is another one's too.
std::vector<std::string> keysOf(const std::vector<std::string_view>& columns);

} // namespace interchange::ale
