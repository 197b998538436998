/// UTF-8 to and from the data model's wide strings, directly: nothing depends on the process's locale.
#pragma once

#include "dmString.h"

#include <string>
#include <string_view>

/// Sets `out` to the text. False, and `out` untouched, when the bytes are not well-formed UTF-8 (surrogates and
/// overlong forms included) or memory runs out. Zero characters are kept.
[[nodiscard]] ZR_DM_API bool dmFromUtf8(std::string_view utf8, DmString& out);

/// Whether the bytes are well-formed UTF-8.
ZR_DM_API bool dmIsUtf8(std::string_view utf8);

/// Appends the text to `out`. False at the first unit that is no character (a surrogate, or above 0x10FFFF); what
/// stands before it has then been appended.
[[nodiscard]] ZR_DM_API bool dmToUtf8(std::wstring_view text, std::string& out);

/// The text as UTF-8, for people: units that are no characters come out as U+FFFD.
ZR_DM_API std::string dmUtf8(std::wstring_view text);
inline std::string dmUtf8(const DmString& text)
{
    return dmUtf8(text.view());
}
inline std::string dmUtf8(const wchar_t* text)
{
    return dmUtf8(std::wstring_view(text));
}
