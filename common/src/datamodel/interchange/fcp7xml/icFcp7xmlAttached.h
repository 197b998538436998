/// What other formats say of a node, as the text of an element.
///
/// For sources of this library only.
#pragma once

#include "dmSourceNode.h"

#include <string>
#include <string_view>

namespace interchange::xmeml
{

/// Whether that is a type of leftovers that are not of xmeml itself.
bool isForeign(std::string_view blobType);

/// A leftover, with "\x01" for characters that XML has no place for; and back.
std::string attachedText(std::string_view leftover);
std::string textOfAttached(std::string_view text);

/// A source without what is attached to it, as JSON; and back, null where it is none.
std::string textOfSource(const DmSourceNode& source);
CoSharedPtr<DmSourceNode> sourceOf(std::string_view text);

} // namespace interchange::xmeml
