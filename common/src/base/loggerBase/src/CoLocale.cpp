#include "CoLocale.h"

#include "CoConfigFileReader.h"
#include "CoException.h"
#include "CoFile.h"
#include "zrAssert.h"
#include "zrPost.h"

#include <algorithm>
#include <system_error>

namespace DM
{

CoLocale::Entry::Entry(const char* tag, const char* text)
    : _tag(tag ? tag : "")
    , _text(text ? text : "")
{
    registry().push_back(this);
}

CoLocale::Entry::~Entry()
{
    std::erase(registry(), this);
}

std::vector<CoLocale::Entry*>& CoLocale::registry()
{
    // Never destroyed: entries of other libraries may leave it after this one's static objects are gone.
    static auto* const entries = new std::vector<Entry*>;
    return *entries;
}

void CoLocale::populateRegistry(const char* file, const char* section)
{
    std::stable_sort(registry().begin(), registry().end(), [](const Entry* a, const Entry* b) { return *a < *b; });
    if (!file || !*file || !section || !*section)
        return;
    ZR_POST_NOTICE("Loading localized '%s' strings from resource file '%s'.", section, file);
    try
    {
        const CoConfigFileReader resource{std::string(file)};
        for (Entry* const entry : registry())
            if (const std::string* const text = resource.find(section, entry->tag()))
                entry->setText(*text);
    }
    catch (const CoException& error)
    {
        throw CoException(error.what(), __LINE__, ZR_SOURCE_FILE);
    }
}

void CoLocale::dumpRegistry(const char* file)
{
    std::string text = CoConfigFileReader::sectionLine(dumpSection);
    for (const Entry* const entry : registry())
        text += CoConfigFileReader::entryLine(entry->tag(), entry->text());

    const char* const path = file ? file : "";
    CoReplaceFile target;
    if (!target.open(path) || !target.write(text) || !target.commit())
    {
        const std::string reason = std::generic_category().message(target.error());
        throw CoException((std::string(path) + ": cannot be written: " + reason).c_str(), __LINE__, ZR_SOURCE_FILE);
    }
    ZR_POST_NOTICE("Locale registry successfully written to '%s'", file);
}

const char* CoLocale::lookupTag(const char* tag)
{
    ZR_ASSERT_PLAIN_AS("tag != 0", tag);
    for (const Entry* const entry : registry())
        if (entry->tag() == tag)
            return entry->text().c_str();
    return "Unknown";
}

} // namespace DM
