/// Floating numbers from text, in every locale alike: the one reading that documents, cut lists, labels and commands
/// have in common.
#pragma once

#include "zrExport.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace DM::CoNumber
{

/// The number nearest to what a text begins with; `length` is how much of the text that is, 0 when it begins with none.
/// What is too large is an infinity, what is too small a zero.
ZR_DM_API double read(std::string_view text, std::size_t& length,
                      std::chars_format format = std::chars_format::general);
ZR_DM_API float readFloat(std::string_view text, std::size_t& length);

/// The finite number that a text is altogether, without blanks or a plus sign around it.
inline std::optional<double> whole(std::string_view text, std::chars_format format = std::chars_format::general)
{
    std::size_t length = 0;
    const double number = read(text, length, format);
    return length > 0 && length == text.size() && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

} // namespace DM::CoNumber
