#include "envVar.h"

#include "CoInteger.h"
#include "envVar.inline.h"
#include "zrAssert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string_view>
#include <strings.h>

namespace DM
{

template class EnvVar<bool>;
template class EnvVar<int>;
template class EnvVar<std::string>;
template class RegEnvVar<bool>;
template class RegEnvVar<int>;
template class RegEnvVar<std::string>;

void EnvVarUtils::convertFromChar(const char* text, bool& value)
{
    if (!text)
        return;
    const std::string_view word = text;
    value = word != "false" && word != "FALSE" && word != "0";
}

void EnvVarUtils::convertFromChar(const char* text, int& value)
{
    if (!text)
        return;
    const std::string_view digits = text + std::strspn(text, " \t\n\v\f\r");
    std::size_t length = 0;
    value = CoInteger::read<int>(digits, length);
}

void EnvVarUtils::convertFromChar(const char* text, std::string& value)
{
    if (text)
        value = text;
}

BaseRegEnvVar::BaseRegEnvVar(std::string file)
    : _file(std::move(file))
{
}

std::string BaseRegEnvVar::wholeText(void (BaseRegEnvVar::*write)(char*, int) const) const
{
    std::string text(EnvVarRegistryImp::fieldSize, '\0');
    (this->*write)(text.data(), static_cast<int>(text.size()));
    while (std::strlen(text.c_str()) + 1 == text.size())
    {
        text.resize(text.size() * 2);
        (this->*write)(text.data(), static_cast<int>(text.size()));
    }
    text.resize(std::strlen(text.c_str()));
    return text;
}

EnvVarDeclaration::EnvVarDeclaration(Use use)
    : _use(use)
{
    EnvVarRegistryImp& registry = EnvVarRegistryImp::getInstance();
    const CoMutexGuard guard(registry._mutex);
    registry._declared.push_back(use);
}

EnvVarDeclaration::~EnvVarDeclaration()
{
    EnvVarRegistryImp& registry = EnvVarRegistryImp::getInstance();
    const CoMutexGuard guard(registry._mutex);
    std::erase(registry._declared, _use);
}

EnvVarRegistryImp& EnvVarRegistryImp::getInstance()
{
    // Never destroyed: entries of other libraries may leave the list after this one's objects are gone.
    static EnvVarRegistryImp& instance = *new EnvVarRegistryImp;
    return instance;
}

void EnvVarRegistryImp::add(BaseRegEnvVar* entry)
{
    const CoMutexGuard guard(_mutex);
    _vars.push_back(entry);
}

bool EnvVarRegistryImp::remove(const BaseRegEnvVar* entry)
{
    const CoMutexGuard guard(_mutex);
    const auto at = std::find(_vars.begin(), _vars.end(), entry);
    if (at == _vars.end())
        return false;
    _vars.erase(at);
    return true;
}

int EnvVarRegistryImp::getNumElements() const
{
    const CoMutexGuard guard(_mutex);
    return static_cast<int>(_vars.size());
}

BaseRegEnvVar* EnvVarRegistryImp::getEnvVar(int index) const
{
    const CoMutexGuard guard(_mutex);
    ZR_ASSERT_PLAIN(index < static_cast<int>(_vars.size()) && index >= 0);
    return _vars[static_cast<std::size_t>(index)];
}

std::vector<BaseRegEnvVar*> EnvVarRegistryImp::search(const std::string& name, int type, bool ignoreCase) const
{
    const CoMutexGuard guard(_mutex);
    const auto compare = ignoreCase ? strcasecmp : std::strcmp;
    std::vector<BaseRegEnvVar*> found;
    for (BaseRegEnvVar* const entry : _vars)
    {
        if (compare(entry->getName(), name.c_str()) == 0 && (type == 0 || entry->getType() == type))
            found.push_back(entry);
    }
    return found;
}

void EnvVarRegistryImp::getFieldValueAsStr(char* buffer, int field, int index) const
{
    if (!buffer || index < 0 || index >= getNumElements())
        return;
    const BaseRegEnvVar& entry = *getEnvVar(index);
    switch (field)
    {
    case Name:
        return writeText(buffer, fieldSize, entry.getName());
    case Value:
        return entry.getValueAsStr(buffer, fieldSize);
    case Default:
        return entry.getDefaultValueAsStr(buffer, fieldSize);
    case File:
        return writeText(buffer, fieldSize, entry.getFile().c_str());
    default:
        ZR_ASSERT_PLAIN(0);
    }
}

void EnvVarRegistryImp::dump(std::ostream& out) const
{
    const CoMutexGuard guard(_mutex);
    for (const BaseRegEnvVar* const entry : _vars)
    {
        out << '\n';
        entry->dump(out);
    }
}

namespace
{

std::string escapeHtml(std::string_view text)
{
    constexpr std::string_view special = "&<>\"'";
    constexpr const char* entities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"};
    std::string escaped;
    for (const char c : text)
    {
        if (const std::size_t at = special.find(c); at != special.npos)
            escaped += entities[at];
        else
            escaped += c;
    }
    return escaped;
}

} // namespace

void EnvVarRegistryImp::dumpHtml(std::ostream& out) const
{
    // "Environnement" stays as it is: pages are recognised by it.
    out << "<html>\n<body>\n<table border=1>\n"
           "<tr><th colspan=3>Environnement Variables</th></tr>\n<tr>";
    for (const char* const title : {"Name", "Value", "File"})
        out << "<td align=center><font size=+1>" << title << "</font></td>";
    out << "</tr>\n";
    const CoMutexGuard guard(_mutex);
    for (const BaseRegEnvVar* const entry : _vars)
    {
        out << "<tr><td align=left>" << escapeHtml(entry->getName()) << "</td><td align=center>"
            << escapeHtml(entry->valueText()) << "</td><td align=center>" << escapeHtml(entry->getFile())
            << "</td></tr>\n";
    }
    out << "</table>\n</body>\n</html>\n";
}

void EnvVarRegistryImp::useDeclared()
{
    std::vector<EnvVarDeclaration::Use> declared;
    {
        const CoMutexGuard guard(_mutex);
        declared = _declared;
    }
    for (const EnvVarDeclaration::Use use : declared)
        use();
}

} // namespace DM
