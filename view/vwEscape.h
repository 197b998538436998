/// Texts of a document in markup and in scripts: as they are read, and never as anything else.
#pragma once

#include <string>
#include <string_view>

namespace view
{

/// For the content of an XML element and for an attribute in quotes. What XML forbids comes out as U+FFFD.
void addXml(std::string& to, std::string_view utf8);
std::string xml(std::string_view utf8);

/// A JSON string, in quotes, that may stand inside a script element: '<' and the line ends of scripts are escaped.
void addJson(std::string& to, std::string_view utf8);
/// What stands between its quotes: one line, whatever the text.
void addJsonText(std::string& to, std::string_view utf8);

/// A number in the fewest characters that read back as the same double.
void addNumber(std::string& to, double value);
/// A pixel, to a hundredth.
void addPixel(std::string& to, double value);

} // namespace view
