/// User-visible strings, each under a tag, that a resource file can replace.
///
///     static CoLocale::Entry untitled("tree.untitled", "untitled");
///     CoLocale::populateRegistry("/etc/strings.fr", "French");
///     show(CoLocale::lookupTag("tree.untitled"));
///
/// The registry is filled at load time and by the host at start-up; nothing of it is synchronised.
#pragma once

#include "zrExport.h"

#include <string>
#include <vector>

namespace DM
{

class ZR_DM_API CoLocale
{
public:
    /// A tag and its text. Enters itself into the registry, and leaves it when destroyed.
    class ZR_DM_API Entry
    {
    public:
        Entry(const char* tag, const char* text);
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        ~Entry();

        const std::string& tag() const { return _tag; }
        const std::string& text() const { return _text; }
        void setText(const std::string& text) { _text = text; }

        /// By the bytes of the tags.
        bool operator<(const Entry& other) const { return _tag < other._tag; }

    private:
        std::string _tag;
        std::string _text;
    };

    /// In order of construction until populateRegistry() sorts it. The entries belong to those who declared them.
    static std::vector<Entry*>& registry();

    /// Sorts the registry by tag, then replaces the text of every entry whose tag the section names. A null or empty
    /// file or section replaces nothing. Throws CoException when the file cannot be read; no text is replaced then.
    static void populateRegistry(const char* file, const char* section);
    /// Writes the registry as a resource file, under the section `dumpSection`. Throws CoException when that fails.
    static void dumpRegistry(const char* file);
    static constexpr const char* dumpSection = "Locale";

    /// The text of the first entry with this tag, "Unknown" if there is none. A null tag stops the process.
    static const char* lookupTag(const char* tag);
};

} // namespace DM
