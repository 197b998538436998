/// Reads configuration files: sections of named values, one to a line.
///
///     # a comment; so is a line or the rest of a line that begins with ';' (behind a value: after a blank)
///     [French]
///     tree.untitled = sans titre
///     tree.quote    = "  kept as it stands: # \"quoted\" \\ \n"
///
/// Names and values are trimmed; quoted ones are kept as they stand, with the escapes \" \\ \n \r \t. A section
/// may be continued further down; of two values of one name the later counts; what stands above all sections belongs to
/// the section "". Text is UTF-8, in lines of at most maxLineLength bytes.
///
/// Everything that is wrong with a file is told by a CoException: what() names the file and, for a bad line, its number
/// ("strings.fr:12: missing '='"), expertData() holds the line itself.
#pragma once

#include "zrExport.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace DM
{

class ZR_DM_API CoConfigFileReader
{
public:
    /// Far more than a value needs; a longer line is a file of another kind.
    static constexpr std::size_t maxLineLength = 65536;
    /// What may be held in memory: a file that never ends (a device, a pipe) is given up here.
    static constexpr std::size_t maxFileSize = std::size_t{16} << 20;

    /// Reads a whole file. Throws CoException.
    explicit CoConfigFileReader(const std::string& path);
    /// Reads a text as if it stood in a file of that name. Throws CoException.
    CoConfigFileReader(std::string_view text, const std::string& name);

    bool hasSection(std::string_view section) const { return _sections.find(section) != _sections.end(); }
    /// The value of a name in a section, null if it has none. Valid as long as the reader.
    const std::string* find(std::string_view section, std::string_view name) const;

    // The writer's side: lines, newline included, that read back as what they were made from (texts without zero
    // bytes).
    static std::string sectionLine(std::string_view section);
    static std::string entryLine(std::string_view name, std::string_view value);

private:
    using Section = std::map<std::string, std::string, std::less<>>;

    void read(std::string_view text, const std::string& name);
    Section* readLine(std::string_view line, Section* section);

    std::map<std::string, Section, std::less<>> _sections;
};

} // namespace DM
