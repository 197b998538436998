/// Paths: native and decoded in the model, URLs in files.
#pragma once

#include <string>
#include <string_view>

namespace interchange
{

/// The path that a file's URL names ("file:///a%20b.mov": "/a b.mov"; "file://localhost/S%3A/a.mov": "S:\\a.mov");
/// any other text, a URL of another kind among them, as it stands.
std::string pathOfUrl(std::string_view url);

/// The URL of an absolute path; any other text as it stands. `authority` stands behind "file://".
std::string urlOfPath(std::string_view path, std::string_view authority = "");

} // namespace interchange
